// Of one kind a hundred warnings are told with their place, and the rest is counted: also beside errors, and each
// severity by itself.

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

TEST(WarningRest, ManyNotesHideNoWarning) {
    std::string nodes, conduits;
    for (int k = 0; k < 120; ++k) {
        const std::string n = std::to_string(k);
        nodes += "J" + n + "\n";
        conduits.append("C").append(n).append(" J").append(n);
        conduits += " O1 NO 500 0.02 0.013 CIRCULAR 0.6\n";  // 0.02 % is unusual, 0.001 a doubt
    }
    const TvModel model;
    ASSERT_EQ(model.openText(aDay("[OUTFALLS]\nO1\n[JUNCTIONS]\nJ\n" + nodes + "[CONDUITS]\n" + conduits +
                                  "C J O1 NO 500 0.001 0.013 CIRCULAR 0.6\n")),
              TV_OK);
    int32_t notes = 0, doubts = 0;
    for (const tv_message& message : model.getMessages()) {
        if (std::string(message.name) == "W-unit-slope") {
            ++(message.severity == TV_NOTE ? notes : doubts);
            if (std::string(message.text) == "20 more of this kind") {
                EXPECT_EQ(message.severity, TV_NOTE);
            }
        }
    }
    EXPECT_EQ(notes, 101);
    EXPECT_EQ(doubts, 1);
}
