// Of one kind a hundred warnings are told with their place, and the rest is counted: also beside errors.

#include <gtest/gtest.h>

#include "support/tvmodel.h"
#include "warnings/cases.h"

TEST(WarningRest, IsCountedBesideErrorsToo) {
    std::string lines;
    for (int k = 0; k < 130; ++k) {
        lines += ";" + std::to_string(k) + "\n";
    }
    for (const char* more : {"", "[CURVES]\nAREA NONSENSE 0 1\n"}) {
        const TvModel model;
        const int32_t code = model.openText(
            aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n" + lines + "[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n" + more));
        EXPECT_EQ(code, *more ? 200 : TV_OK);
        int count = 0;
        std::string last;
        for (const tv_message& message : model.getMessages()) {
            if (message.level == TV_WARNING && std::string(message.name) == "W-semicolon") {
                ++count;
                last = message.text;
            }
        }
        EXPECT_EQ(count, 101);
        EXPECT_EQ(last, "30 more of this kind");
    }
}
