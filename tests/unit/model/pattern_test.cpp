#include "model/pattern.h"

#include <gtest/gtest.h>

#include <string>

#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "support/lines.h"
#include "support/model.h"
#include "support/tables.h"

struct PatternLines : testing::Test, Tables {
    void SetUp() override {
        addName(PATTERN, "P");
        testModel().patterns.fill(1, Pattern{});
    }
};

TEST_F(PatternLines, GoOnOverSeveralLinesUpTo24Factors) {
    EXPECT_EQ(parseLine("p HOURLY 1 2 3", pattern_read), 0);
    std::string more = "P";
    for (int k = 4; k <= 30; ++k) {
        more += " " + std::to_string(k);
    }
    EXPECT_EQ(parseLine(more, pattern_read), 0);
    EXPECT_EQ(testModel().patterns[0].count, 24);
    EXPECT_EQ(testModel().patterns[0].factors[23], 24.0);
    EXPECT_EQ(testModel().patterns[0].type, PATTERN_HOURLY);
    EXPECT_EQ(parseLine("P more words", pattern_read), 0);  // nothing is read any more, so nothing is tested
}

TEST_F(PatternLines, AreRefused) {
    expectLineError("P", pattern_read, ERR_ITEMS, "");
    expectLineError("X HOURLY 1", pattern_read, ERR_UNDEFINED_OBJECT, "X");
    expectLineError("P DAILY 1", pattern_read, ERR_KEYWORD, "DAILY");
    expectLineError("P 1 x 3", pattern_read, ERR_NUMBER, "x");
    EXPECT_EQ(testModel().patterns[0].count, 1);
}

TEST_F(PatternLines, MayHoldTheTypeAlone) {
    EXPECT_EQ(parseLine("P monthly", pattern_read), 0);
    EXPECT_EQ(testModel().patterns[0].type, PATTERN_MONTHLY);
    EXPECT_EQ(testModel().patterns[0].count, 0);
}

TEST_F(PatternLines, AreLookedUpByTheHourWhateverTheType) {
    for (const int32_t type : {PATTERN_MONTHLY, PATTERN_HOURLY}) {
        testModel().patterns[0].type = type;
        for (int32_t h = 0; h < 24; ++h) {
            testModel().patterns[0].factors[h] = 10.0 + h;
            EXPECT_EQ(pattern_getFactor(testModel(), 0, h), 10.0 + h);
        }
        EXPECT_EQ(pattern_hourlyFactor(testModel(), 0, 43831.0), 10.0);
        EXPECT_EQ(pattern_hourlyFactor(testModel(), 0, 43831.0 + 0.5), 22.0);
        EXPECT_EQ(pattern_hourlyFactor(testModel(), 0, 43831.0 + 7.0 / 24.0 - 1e-7), 17.0);  // rounded up to the hour
        EXPECT_EQ(pattern_hourlyFactor(testModel(), 0, 43831.0 + 86399.9 / 86400.0), 33.0);
        EXPECT_EQ(pattern_hourlyFactor(testModel(), 0, 43831.0), 10.0);
    }
}

TEST_F(PatternLines, CountAsOneOutsideTheTable) {
    EXPECT_EQ(pattern_getFactor(testModel(), -1, 7), 1.0);
    EXPECT_EQ(pattern_getFactor(testModel(), 1, 7), 1.0);
    EXPECT_EQ(pattern_hourlyFactor(testModel(), -1, 43831.0), 1.0);
    EXPECT_EQ(pattern_hourlyFactor(testModel(), 1, 43831.0), 1.0);
    EXPECT_EQ(pattern_hourlyFactor(testModel(), INT32_MAX, 43831.0), 1.0);
}
