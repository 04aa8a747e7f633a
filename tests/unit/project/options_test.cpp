#include "project/options.h"

#include <gtest/gtest.h>

#include "model/errors.h"
#include "model/project.h"
#include "text/datetime.h"

struct Options : testing::Test {
    void SetUp() override { options_setDefaults(); }
    void TearDown() override { options_setDefaults(); }

    static void expectError(const char* key, const char* value, int32_t error, const char* name) {
        ErrorObjectName = "before";
        EXPECT_EQ(options_read(key, value), error) << key << ' ' << value;
        EXPECT_EQ(ErrorObjectName, name) << key << ' ' << value;
    }
};

TEST_F(Options, HaveDefaults) {
    EXPECT_EQ(StartDate, 43831.0);
    EXPECT_EQ(EndDate, 43831.0);
    EXPECT_EQ(StartTime, 0.0);
    EXPECT_EQ(EndTime, 0.0);
    EXPECT_EQ(StartDateTime, 43831.0);
    EXPECT_EQ(RunoffStep, 300);
    EXPECT_EQ(RoutingStep, 5);
    EXPECT_EQ(ReportStep, 300);
    EXPECT_EQ(ReportAverage, 1);
    EXPECT_EQ(LidMonoRainfall, 0);
    EXPECT_EQ(EventMinValue, 2.0);
    EXPECT_EQ(EventInterval, 120.0);
    EXPECT_EQ(StartDryDays, 0.0);
    EXPECT_EQ(ConduitLengthening, 0.0);
}

TEST_F(Options, TakeDatesAndTimes) {
    EXPECT_EQ(options_read("start_date", "2021/03/01"), 0);
    EXPECT_EQ(options_read("START_TIME", "6:00"), 0);
    EXPECT_EQ(options_read("END_DATE", "2021-MAR-02"), 0);
    EXPECT_EQ(options_read("END_TIME", "7.5"), 0);
    EXPECT_EQ(StartDate, datetime_encodeDate(2021, 3, 1));
    EXPECT_EQ(StartTime, 0.25);
    EXPECT_EQ(EndDate, datetime_encodeDate(2021, 3, 2));
    EXPECT_EQ(EndTime, 7.5 / 24.0);
    expectError("START_DATE", "2021/02/30", ERR_DATE_TIME, "2021/02/30");
    expectError("START_TIME", "x", ERR_DATE_TIME, "x");
    expectError("END_DATE", "7", ERR_DATE_TIME, "7");
    expectError("END_TIME", "12:-1", ERR_DATE_TIME, "12:-1");
    EXPECT_EQ(StartDate, datetime_encodeDate(2021, 3, 1));  // a refused value leaves the one before
}

TEST_F(Options, TakeStepsInHoursOrAsClockReading) {
    EXPECT_EQ(options_read("RUNOFF_STEP", "24:00:00"), 0);
    EXPECT_EQ(RunoffStep, 86400);
    EXPECT_EQ(options_read("RUNOFF_STEP", "0.5"), 0);
    EXPECT_EQ(RunoffStep, 1800);
    EXPECT_EQ(options_read("ROUTING_STEP", "0:00:07"), 0);
    EXPECT_EQ(RoutingStep, 7);
    EXPECT_EQ(options_read("REPORT_STEP", "36:00:00"), 0);
    EXPECT_EQ(ReportStep, 129600);
    EXPECT_EQ(options_read("REPORT_STEP", "7h"), 0);
    EXPECT_EQ(ReportStep, 25200);
}

TEST_F(Options, CutTheDaysOfANegativeStepTowardsZero) {
    // -1 h: no whole days, and 23 h of the day before.
    EXPECT_EQ(options_read("REPORT_STEP", "-1"), 0);
    EXPECT_EQ(ReportStep, 23 * 3600);
    expectError("REPORT_STEP", "-48", ERR_NUMBER, "-48");
}

TEST_F(Options, RefuseStepsThatAreNone) {
    expectError("ROUTING_STEP", "0:00:00", ERR_NUMBER, "0:00:00");
    expectError("ROUTING_STEP", "abc", ERR_DATE_TIME, "abc");
    expectError("ROUTING_STEP", "0.0001", ERR_NUMBER, "0.0001");  // 0.36 s
    for (const char* value : {"inf", "nan", "1e300", "-inf", "600000"}) {
        expectError("ROUTING_STEP", value, ERR_NUMBER, value);
    }
    EXPECT_EQ(options_read("ROUTING_STEP", "596523"), 0);  // the largest whole hours that 32 bits hold
    EXPECT_EQ(RoutingStep, 596523 * 3600);
}

TEST_F(Options, CountEventIntervalsInMinutes) {
    EXPECT_EQ(options_read("EVENT_INTERVAL", "120"), 0);
    EXPECT_EQ(EventInterval, 7200.0);
    expectError("EVENT_INTERVAL", "-1", ERR_NUMBER, "-1");
    EXPECT_EQ(EventInterval, 7200.0);
}

TEST_F(Options, TakeNumbersThatAreNotNegative) {
    EXPECT_EQ(options_read("START_DRY_DAYS", "3.5"), 0);
    EXPECT_EQ(options_read("EVENT_MIN_VALUE", "0"), 0);
    EXPECT_EQ(options_read("CONDUIT_LENGTHENING", "10"), 0);
    EXPECT_EQ(StartDryDays, 3.5);
    EXPECT_EQ(EventMinValue, 0.0);
    EXPECT_EQ(ConduitLengthening, 10.0);
    for (const char* key : {"START_DRY_DAYS", "EVENT_MIN_VALUE", "CONDUIT_LENGTHENING"}) {
        expectError(key, "-0.1", ERR_NUMBER, "-0.1");
        expectError(key, "x", ERR_NUMBER, "x");
    }
}

TEST_F(Options, TakeNoAndYes) {
    EXPECT_EQ(options_read("REPORT_AVERAGE", "No"), 0);
    EXPECT_EQ(ReportAverage, 0);
    EXPECT_EQ(options_read("LID_MONO_RAINFALL", "yes"), 0);
    EXPECT_EQ(LidMonoRainfall, 1);
    expectError("REPORT_AVERAGE", "1", ERR_KEYWORD, "1");
    expectError("LID_MONO_RAINFALL", "Y", ERR_KEYWORD, "Y");
}

TEST_F(Options, PassOverTheSettingsOfHosts) {
    for (const char* key : {"EVENT_RAIN", "RTC_ON", "RTC_STEP"}) {
        EXPECT_EQ(options_read(key, "whatever"), 0);
    }
}

TEST_F(Options, RefuseAnUnknownKey) {
    expectError("ROUTING", "5", ERR_KEYWORD, "ROUTING");
}
