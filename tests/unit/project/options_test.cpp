#include "project/options.h"

#include <gtest/gtest.h>

#include "model/errors.h"
#include "model/project.h"
#include "support/model.h"
#include "text/datetime.h"

struct OptionLines : testing::Test {
    void SetUp() override { options_setDefaults(testModel()); }
    void TearDown() override { options_setDefaults(testModel()); }

    static void expectError(const char* key, const char* value, int32_t error, const char* name) {
        testModel().error.objectName = "before";
        EXPECT_EQ(options_read(testModel(), key, value), error) << key << ' ' << value;
        EXPECT_EQ(testModel().error.objectName, name) << key << ' ' << value;
    }
};

TEST_F(OptionLines, HaveDefaults) {
    const Options& options = testModel().options;
    EXPECT_EQ(options.startDate, 43831.0);
    EXPECT_EQ(options.endDate, 43831.0);
    EXPECT_EQ(options.startTime, 0.0);
    EXPECT_EQ(options.endTime, 0.0);
    EXPECT_EQ(options.startDateTime, 43831.0);
    EXPECT_EQ(options.runoffStep, 300);
    EXPECT_EQ(options.routingStep, 5);
    EXPECT_EQ(options.reportStep, 300);
    EXPECT_EQ(options.reportAverage, 1);
    EXPECT_EQ(options.lidMonoRainfall, 0);
    EXPECT_EQ(options.eventMinValue, 2.0);
    EXPECT_EQ(options.eventInterval, 120.0);
    EXPECT_EQ(options.startDryDays, 0.0);
    EXPECT_EQ(options.conduitLengthening, 0.0);
}

TEST_F(OptionLines, TakeDatesAndTimes) {
    EXPECT_EQ(options_read(testModel(), "start_date", "2021/03/01"), 0);
    EXPECT_EQ(options_read(testModel(), "START_TIME", "6:00"), 0);
    EXPECT_EQ(options_read(testModel(), "END_DATE", "2021-MAR-02"), 0);
    EXPECT_EQ(options_read(testModel(), "END_TIME", "7.5"), 0);
    EXPECT_EQ(testModel().options.startDate, datetime_encodeDate(2021, 3, 1));
    EXPECT_EQ(testModel().options.startTime, 0.25);
    EXPECT_EQ(testModel().options.endDate, datetime_encodeDate(2021, 3, 2));
    EXPECT_EQ(testModel().options.endTime, 7.5 / 24.0);
    expectError("START_DATE", "2021/02/30", ERR_DATE_TIME, "2021/02/30");
    expectError("START_TIME", "x", ERR_DATE_TIME, "x");
    expectError("END_DATE", "7", ERR_DATE_TIME, "7");
    expectError("END_TIME", "12:-1", ERR_DATE_TIME, "12:-1");
    EXPECT_EQ(testModel().options.startDate, datetime_encodeDate(2021, 3, 1));  // a refused value leaves the one before
}

TEST_F(OptionLines, TakeStepsInHoursOrAsClockReading) {
    const Options& options = testModel().options;
    EXPECT_EQ(options_read(testModel(), "RUNOFF_STEP", "24:00:00"), 0);
    EXPECT_EQ(options.runoffStep, 86400);
    EXPECT_EQ(options_read(testModel(), "RUNOFF_STEP", "0.5"), 0);
    EXPECT_EQ(options.runoffStep, 1800);
    EXPECT_EQ(options_read(testModel(), "ROUTING_STEP", "0:00:07"), 0);
    EXPECT_EQ(options.routingStep, 7);
    EXPECT_EQ(options_read(testModel(), "REPORT_STEP", "36:00:00"), 0);
    EXPECT_EQ(options.reportStep, 129600);
    EXPECT_EQ(options_read(testModel(), "REPORT_STEP", "7h"), 0);
    EXPECT_EQ(options.reportStep, 25200);
}

TEST_F(OptionLines, CutTheDaysOfANegativeStepTowardsZero) {
    // -1 h: no whole days, and 23 h of the day before.
    EXPECT_EQ(options_read(testModel(), "REPORT_STEP", "-1"), 0);
    EXPECT_EQ(testModel().options.reportStep, 23 * 3600);
    expectError("REPORT_STEP", "-48", ERR_NUMBER, "-48");
}

TEST_F(OptionLines, RefuseStepsThatAreNone) {
    expectError("ROUTING_STEP", "0:00:00", ERR_NUMBER, "0:00:00");
    expectError("ROUTING_STEP", "abc", ERR_DATE_TIME, "abc");
    expectError("ROUTING_STEP", "0.0001", ERR_NUMBER, "0.0001");  // 0.36 s
    for (const char* value : {"inf", "nan", "1e300", "-inf", "600000"}) {
        expectError("ROUTING_STEP", value, ERR_NUMBER, value);
    }
    EXPECT_EQ(options_read(testModel(), "ROUTING_STEP", "596523"), 0);  // the largest whole hours that 32 bits hold
    EXPECT_EQ(testModel().options.routingStep, 596523 * 3600);
}

TEST_F(OptionLines, CountEventIntervalsInMinutes) {
    EXPECT_EQ(options_read(testModel(), "EVENT_INTERVAL", "120"), 0);
    EXPECT_EQ(testModel().options.eventInterval, 7200.0);
    expectError("EVENT_INTERVAL", "-1", ERR_NUMBER, "-1");
    EXPECT_EQ(testModel().options.eventInterval, 7200.0);
}

TEST_F(OptionLines, TakeNumbersThatAreNotNegative) {
    EXPECT_EQ(options_read(testModel(), "START_DRY_DAYS", "3.5"), 0);
    EXPECT_EQ(options_read(testModel(), "EVENT_MIN_VALUE", "0"), 0);
    EXPECT_EQ(options_read(testModel(), "CONDUIT_LENGTHENING", "10"), 0);
    EXPECT_EQ(testModel().options.startDryDays, 3.5);
    EXPECT_EQ(testModel().options.eventMinValue, 0.0);
    EXPECT_EQ(testModel().options.conduitLengthening, 10.0);
    for (const char* key : {"START_DRY_DAYS", "EVENT_MIN_VALUE", "CONDUIT_LENGTHENING"}) {
        expectError(key, "-0.1", ERR_NUMBER, "-0.1");
        expectError(key, "x", ERR_NUMBER, "x");
    }
}

TEST_F(OptionLines, TakeNoAndYes) {
    EXPECT_EQ(options_read(testModel(), "REPORT_AVERAGE", "No"), 0);
    EXPECT_EQ(testModel().options.reportAverage, 0);
    EXPECT_EQ(options_read(testModel(), "LID_MONO_RAINFALL", "yes"), 0);
    EXPECT_EQ(testModel().options.lidMonoRainfall, 1);
    expectError("REPORT_AVERAGE", "1", ERR_KEYWORD, "1");
    expectError("LID_MONO_RAINFALL", "Y", ERR_KEYWORD, "Y");
}

TEST_F(OptionLines, PassOverTheSettingsOfHosts) {
    for (const char* key : {"EVENT_RAIN", "RTC_ON", "RTC_STEP"}) {
        EXPECT_EQ(options_read(testModel(), key, "whatever"), 0);
    }
}

TEST_F(OptionLines, RefuseAnUnknownKey) {
    expectError("ROUTING", "5", ERR_KEYWORD, "ROUTING");
}
