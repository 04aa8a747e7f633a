// What a value of the host does, when, and for how long, function by function.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/allkinds.h"

namespace {

double result(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    tarnvelde_getResult(object, id, code, &value);
    return value;
}

double got(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getResult(object, id, code, &value), 0) << object << " " << id << " " << code;
    return value;
}

double get(int32_t object, const char* id, int32_t code, int32_t expected = 0) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getParam(object, id, code, &value), expected) << object << " " << id << " " << code;
    return value;
}

void step(int count = 1) {
    double days = 0.0;
    for (int k = 0; k < count; ++k) {
        ASSERT_EQ(tarnvelde_step(&days), 0);
    }
}

class HostValues : public ::testing::Test {
protected:
    AllKinds project;

    void SetUp() override { project.start(); }
};

}  // namespace

// --- parameters ----------------------------------------------------------------------------------------------------

TEST(ParamsOfPumps, StartUpAndShutOffDepth) {
    Project file(getGeneral(4) +
                 "[TANKS]\nT SHAPE 10 2\n[OUTFALLS]\nO\n[PUMPS]\nPU T O DUTY NO OFF 3 0.5\n"
                 "[CURVES]\nSHAPE TANK 0 1000 20 1000\nDUTY PUMP2 0 0.05 20 0.05\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    EXPECT_EQ(get(9, "PU", 0, -1), 0.0);
    EXPECT_EQ(get(9, "PU", 1, -1), 3.0);
    EXPECT_EQ(get(9, "PU", 2, -1), 0.5);
}

// K is 60 s, and the first firing gets 0.3 m3/s into an empty reach: O = I dt/2 / (K + dt/2), with dt the period.
TEST(ParamsOfPipes, KActsAtOnceAndThePeriodFollowsAtTheNextStart) {
    Project file(getGeneral(10) +
                 "[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 60 1 0 0\n[INFLOWS]\nJ FLOW FLOW 0.3 \"\" 1\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_setParam(8, "P", 0, 120.0), 0);
    step(2);
    EXPECT_NEAR(result(8, "P", 2), 0.3 * 30.0 / (120.0 + 30.0), 1e-15);  // 0.06
    EXPECT_NEAR(result(8, "P", 0), (0.3 - 0.06) * 60.0, 1e-12);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    step(2);
    EXPECT_NEAR(result(8, "P", 2), 0.3 * 60.0 / (120.0 + 60.0), 1e-15);  // 0.1
    EXPECT_NEAR(result(8, "P", 0), (0.3 - 0.1) * 120.0, 1e-12);
}

// To the last bit: the logarithm is that of 1 - 0.98, which isn't 0.02.
TEST(ParamsOfLand, DryingTimeToTheLastBit) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    const double logarithm = std::log(0.020000000000000018);
    EXPECT_EQ(get(1, "S", 11), logarithm / 5.0 / -86400.0 * -86400.0 / logarithm);
}

TEST_F(HostValues, SplitterValueCountsWhileTheHostHasSetNone) {
    ASSERT_EQ(tarnvelde_setParam(5, "SP", 1, 0.3), 0);
    ASSERT_EQ(tarnvelde_setExtInflow("SP", 2.0), 0);
    project.step();
    EXPECT_EQ(result(5, "SP", 2), 0.3);
    ASSERT_EQ(tarnvelde_setSplittedValue("SP", 1.5), 0);  // a flow here, and so above 1 as well
    ASSERT_EQ(tarnvelde_setParam(5, "SP", 1, 0.1), 0);
    ASSERT_EQ(tarnvelde_setExtInflow("SP", 2.0), 0);
    project.step();
    EXPECT_EQ(result(5, "SP", 2), 1.5);
}

// --- inflows, flows and dates --------------------------------------------------------------------------------------

TEST_F(HostValues, TestsOfValuesLetZeroOneAndNoNumbersPass) {
    for (const double value : {0.0, -0.0, static_cast<double>(NAN)}) {
        EXPECT_EQ(tarnvelde_setExtInflow("J", value), 0);
        EXPECT_EQ(tarnvelde_setExtLoad("J", "", value), 0);
        EXPECT_EQ(tarnvelde_setSplittedValue("SP", value), 0);
        EXPECT_EQ(tarnvelde_setReactorEmptyingValue("R", value), 0);
        EXPECT_EQ(tarnvelde_setWeirParams("W", 1, value), 0);
    }
    EXPECT_EQ(tarnvelde_setSetting("W", 1.0), 0);
    EXPECT_EQ(tarnvelde_setSetting("W", std::nextafter(1.0, 2.0)), -1);
}

TEST_F(HostValues, PumpFlowHasNoSign) {
    EXPECT_EQ(tarnvelde_setPumpFlow("PU", -0.05), 0);
    project.step();
    EXPECT_EQ(result(9, "PU", 0), 0.0);  // the tank gives nothing, and takes nothing
}

TEST_F(HostValues, InflowsAreTakenForNodesWithOutsideModels) {
    EXPECT_EQ(tarnvelde_setExtInflow("SW", 0.1), 0);
    EXPECT_EQ(tarnvelde_setExtInflow("V", 0.1), 0);
    project.step();
}

TEST_F(HostValues, HostInflowsSurviveTheEndAndNotTheNextOpen) {
    ASSERT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
    ASSERT_EQ(tarnvelde_setExtLoad("J", "", 0.004), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    project.step();
    EXPECT_EQ(result(2, "J", 0), 0.1);
    EXPECT_NEAR(got(2, "J", 3), 40.0, 1e-12);
    ASSERT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
    ASSERT_EQ(project.open(), 0);  // over the open one
    ASSERT_EQ(tarnvelde_start(0), 0);
    project.step();
    EXPECT_EQ(result(2, "J", 0), 0.0);
}

// A pipe of four steps that fires in the second one. The flow set before the fourth step is old and new flow in it, so
// that its load is 10 mg/L in full; were it the new one only, a quarter would still be the flow of the firing.
TEST(LinkFlow, StandsUntilTheNextFiring) {
    Project file(getGeneral(10) +
                 "[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 240 1 0 0\n[POLLUTANTS]\nB 0\n"
                 "[INFLOWS]\nJ FLOW FLOW 0.3 \"\" 1\nJ MASS B 0.003 \"\" 1\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    ASSERT_EQ(tarnvelde_start(0), 0);
    step(3);
    EXPECT_NEAR(result(8, "P", 2), 0.1, 1e-15);
    ASSERT_EQ(tarnvelde_setLinkFlow("P", 0.5), 0);
    step();
    EXPECT_EQ(result(8, "P", 2), 0.5);
    EXPECT_NEAR(result(4, "O", 0), 0.5, 1e-15);
    EXPECT_NEAR(got(4, "O", 2), 10.0, 1e-12);
}

// Rain of one hour, in samples of one hour: the event ends two minutes and an hour before the sample that closes it,
// at 0:58. The clock is a millisecond ahead. The second event begins at 3:00.
TEST(RainEvents, BeginAndEndOfAnEvent) {
    Project file(getGeneral(300) +
                 "EVENT_INTERVAL 2\n[RAINGAGES]\nG INTENSITY 1:00 RAIN\n[OUTFALLS]\nO\n"
                 "[SUBCATCHS]\nS G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n"
                 "[TIMESERIES]\nRAIN 2021/03/01 0:00 36 1:00 0 2:00 0 3:00 36 4:00 0 5:00 0 6:00 0\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    EXPECT_EQ(tarnvelde_isInEvent("G"), 0);  // the events are found at the start
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(tarnvelde_isInEvent("G"), 1);
    step(57);
    EXPECT_EQ(tarnvelde_isInEvent("G"), 1);
    step();
    EXPECT_EQ(tarnvelde_isInEvent("G"), 0);
    step(121);
    EXPECT_EQ(tarnvelde_isInEvent("G"), 0);  // 2:59
    step();
    EXPECT_EQ(tarnvelde_isInEvent("G"), 1);  // 3:00
}

TEST(Dates, WithTimes) {
    Project file(
        "[GENERAL]\nSTART_DATE 2021/03/01\nSTART_TIME 6:00\nEND_DATE 2021/03/02\nEND_TIME 18:00\n"
        "ROUTING_STEP 0:01:30\n[OUTFALLS]\nO\n");
    ASSERT_EQ(file.open(), 0) << file.getReport();
    double start = 0.0, end = 0.0, seconds = 0.0;
    EXPECT_EQ(tarnvelde_getDateTime(&start, &end), 0);
    EXPECT_EQ(start, 44256.25);
    EXPECT_EQ(end, 44257.75);
    EXPECT_EQ(tarnvelde_getRoutingStep(&seconds), 0);
    EXPECT_EQ(seconds, 90.0);
}

// The first pass ends with an error, before the dates are put together: the start is that of a project without options,
// 1 January 2020. The step was read.
TEST(Dates, OfAnOpenThatFailed) {
    Project good(getGeneral(4) + "[OUTFALLS]\nO\n");
    ASSERT_EQ(good.open(), 0);
    Project bad(getGeneral(4) + "[OUTFALLS]\nO\nO\n");
    ASSERT_EQ(bad.open(), 200);
    double start = 7.0, end = 7.0, seconds = 7.0;
    EXPECT_EQ(tarnvelde_getDateTime(&start, &end), 0);
    EXPECT_EQ(start, 43831.0);
    EXPECT_EQ(end, 0.0);
    EXPECT_EQ(tarnvelde_getRoutingStep(&seconds), 0);
    EXPECT_EQ(seconds, 60.0);
}

// --- continuity errors ---------------------------------------------------------------------------------------------

namespace {

/// Two steps of 18 m3 each; J's load comes in the second one alone. That is the step in which the pipe fires, and what
/// comes in it gets lost: half of the water, and all of the load.
struct Balance {
    Project file{getGeneral(2) +
                 "[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 60 1 0 0\n[POLLUTANTS]\nJ 0\n"
                 "[INFLOWS]\nJ FLOW FLOW 0.3 \"\" 1\n"};

    Balance() {
        EXPECT_EQ(file.open(), 0) << file.getReport();
        EXPECT_EQ(tarnvelde_start(0), 0);
        step();
        EXPECT_EQ(tarnvelde_setExtLoad("J", "", 0.003), 0);
        step();
    }

    static void expectErrors(double runoff, double flow, double quality) {
        double errors[3] = {77.0, 77.0, 77.0};
        EXPECT_EQ(tarnvelde_getMassBalErr(&errors[0], &errors[1], &errors[2]), 0);
        EXPECT_NEAR(errors[0], runoff, 1e-9);
        EXPECT_NEAR(errors[1], flow, 1e-9);
        EXPECT_NEAR(errors[2], quality, 1e-9);
    }
};

}  // namespace

TEST(BalanceErrors, StandBetweenEndAndClose) {
    Balance balance;
    ASSERT_EQ(tarnvelde_report(), 0);
    Balance::expectErrors(0.0, 0.0, 0.0);
    ASSERT_EQ(tarnvelde_end(), 0);
    Balance::expectErrors(0.0, 50.0, 100.0);
    double flow = 77.0;
    EXPECT_EQ(tarnvelde_getMassBalErr(nullptr, &flow, nullptr), 0);
    EXPECT_NEAR(flow, 50.0, 1e-9);
    tarnvelde_close();
    Balance::expectErrors(0.0, 0.0, 0.0);
}

TEST(BalanceErrors, AreZeroInTheNextProjectUntilItsReport) {
    Balance balance;
    ASSERT_EQ(tarnvelde_report(), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(balance.file.open(), 0);
    Balance::expectErrors(0.0, 0.0, 0.0);
}

TEST(BalanceErrors, AreZeroWithoutAReportAndAfterAnError) {
    {
        Balance balance;
        ASSERT_EQ(tarnvelde_end(), 0);
        Balance::expectErrors(0.0, 0.0, 0.0);
    }
    Balance balance;
    EXPECT_EQ(tarnvelde_start(0), 400);  // stays the current error, and so no report is made
    EXPECT_EQ(tarnvelde_report(), 400);
    tarnvelde_end();
    Balance::expectErrors(0.0, 0.0, 0.0);
}

// --- SWMM nodes ----------------------------------------------------------------------------------------------------

// T is the first of the tanks, and so its request is tested by SW's engine; but SW isn't the node that it names.
TEST_F(HostValues, RequestsForOtherNodesAreDroppedAtTheNextTurn) {
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("T", "OUT", 0.5), 0);
    EXPECT_EQ(tarnvelde_setSwmmSetting("T", "R", 0.25), 0);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("T", "OUT", "B", 0.125), 0);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("OS", "OUT", 0.5), -1);  // the third outfall; there is one engine
    project.takeCalls();
    project.step(2);
    for (const std::string& call : project.takeCalls("a swmm_set")) {
        EXPECT_EQ(call.find("\"OUT\""), std::string::npos) << call;
        EXPECT_EQ(call.find("swmm_setSetting"), std::string::npos) << call;
    }
}

// The engine goes ahead by one step of its own in the first routing step, and from then on makes one in each.
TEST_F(HostValues, ARequestReachesTheEngineOnceInItsStep) {
    project.step();
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", "OUT", 0.5), 0);
    project.takeCalls();
    project.step();
    const std::vector<std::string> calls = project.takeCalls("a swmm_setExtInflow \"OUT\"");
    EXPECT_EQ(calls, std::vector<std::string>{"a swmm_setExtInflow \"OUT\" 0.5 = 0"});
}

TEST_F(HostValues, EmptyNamesOfObjectsMakeNoCall) {
    double value = 77.0;
    project.takeCalls();
    EXPECT_EQ(tarnvelde_setSwmmRainfall("SW", "", 1.0), -1);
    EXPECT_EQ(tarnvelde_getSwmmResult("SW", 1, "", 4, &value), -1);
    EXPECT_EQ(tarnvelde_getSwmmObjIndex("SW", 1, ""), -1);
    EXPECT_EQ(tarnvelde_getSwmmCurrentSetting("SW", "", &value), -1);
    EXPECT_EQ(tarnvelde_getSwmmParam("SW", 1, "", 0, &value), -1);
    EXPECT_EQ(tarnvelde_setSwmmParam("SW", 1, "", 0, 1.0), -1);
    EXPECT_EQ(tarnvelde_getSwmmNodeParam("SW", 1, "", 0, &value), -1);
    EXPECT_EQ(tarnvelde_setSwmmNodeParam("SW", 1, "", 0, 1.0), -1);
    EXPECT_EQ(tarnvelde_getSwmmLinkParam("SW", 2, "", 0, &value), -1);
    EXPECT_EQ(tarnvelde_setSwmmLinkParam("SW", 2, "", 0, 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmNodeDepth("SW", "", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmLinkDepth("SW", "", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmLinkFlow("SW", "", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtInflow("SW", "", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmSetting("SW", "", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSwmmExtLoad("SW", "", "B", 1.0), -1);
    EXPECT_EQ(value, 77.0);
    EXPECT_TRUE(project.takeCalls().empty());
}
