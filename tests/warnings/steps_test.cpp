// How much a warning about a step weighs.

#include <gtest/gtest.h>

#include "support/tvmodel.h"
#include "warnings/cases.h"

/// The severity of what is said of a conduit of DN 600 at 5 %, which runs 4.86 m/s full and half full, and 14 % more at
/// 0.8 of its depth (Manning); a routing step takes a minute. -1 if nothing is said.
static int32_t getSeverity(const std::string& length) {
    const TvModel model;
    EXPECT_EQ(model.openText(aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\nC1 J1 O1 NO " + length +
                                  " 5 0.013 CIRCULAR 0.6\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n")),
              TV_OK);
    for (const tv_message& message : model.getMessages()) {
        if (std::string(message.name) == "W-step-conduit") {
            return message.severity;
        }
    }
    return -1;
}

TEST(WarningSteps, AConduitThatEmptiesOnlyNearlyFullWeighsLess) {
    EXPECT_EQ(getSeverity("280"), TV_SERIOUS);  // 291 m are passed half full
    EXPECT_EQ(getSeverity("310"), TV_DOUBT);
    EXPECT_EQ(getSeverity("340"), -1);  // 332 m at most
}
