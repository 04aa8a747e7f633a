// Treatment reactors: plug flow, balances, whole runs, rows of results and tables of the report.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "results/massbal.h"
#include "results/rows.h"
#include "routing/routing.h"
#include "support/model.h"
#include "support/reactors.h"

// --- plug flow -----------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, PlugFlowDelaysAndReactsForItsRetention) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0.5 0");
    text.inflow = "R FLOW FLOW 0.2 \"\" 1\nR CONCEN A 50 \"\" 1";
    text.decay = "R A FIRST 24 \"\"";
    start(text);
    for (int32_t k = 1; k <= 119; ++k) {
        step();
        // What came in the first step, at 1 minute, leaves at 31 minutes.
        EXPECT_NEAR(reactor().newOutflow, k < 31 ? 0.0 : 0.2, 1e-9) << k;
        EXPECT_NEAR(node("R").newQual[0], k < 31 ? 0.0 : 50.0 * std::exp(-24.0 / 48.0), 1e-6) << k;
    }
}

TEST_F(ReactorTest, PlugFlowOfZeroOrderLosesByTheRetention) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0.5 0");
    text.inflow = "R FLOW FLOW 0.2 \"\" 1\nR CONCEN A 50 \"\" 1";
    text.decay = "R A ZERO 960 \"\"";  // 20 mg/L in half an hour
    start(text);
    step(60);
    EXPECT_NEAR(node("R").newQual[0], 30.0, 1e-6);
}

TEST_F(ReactorTest, RetentionBetweenTwoStepsIsInterpolated) {
    // Inflow in one step only: a quarter of the step late, three quarters leave in the one and a quarter in the next.
    start(withReactor("R PFR SUR FLOW_CAPACITY 864000 0.020833333333333332 0"));  // 75 s
    const double flows[] = {0.0, 1.0, 0.0, 0.0, 0.0, 0.0};
    std::vector<double> out;
    for (const double flow : flows) {
        testModel().clock.newRoutingTime += 60000.0;
        update(flow, 10.0);
        out.push_back(reactor().newOutflow);
    }
    // The pulse of minute 2 stands at minute 3.25, with 0 at 2.25 and 4.25.
    const double expected[] = {0.0, 0.0, 0.75, 0.25, 0.0, 0.0};
    for (size_t k = 0; k < out.size(); ++k) {
        EXPECT_NEAR(out[k], expected[k], 1e-5) << k;
    }
}

TEST_F(ReactorTest, WhatWouldLeaveBehindTheEndIsCountedAsDelayed) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0.5 0");
    text.inflow = "R FLOW FLOW 0.2 \"\" 1\nR CONCEN A 50 \"\" 1";
    start(text);
    runToEnd();
    // Of the 120 steps the last 30 come too late; that of 90 minutes leaves at the very end.
    EXPECT_NEAR(testModel().totals.flow.delayedVolume, 30.0 * 60.0 * 0.2, 1e-9);
    EXPECT_NEAR(testModel().totals.quality[0].delayedMass, 30.0 * 60.0 * 0.2 * 50.0 / 1000.0, 1e-9);
    EXPECT_EQ(reactor().flowQueue.end, 90);
}

TEST_F(ReactorTest, PlugFlowWithoutRetentionOnlyTakesOut) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0 0");
    text.pollutants = "A 0\nB 0\nC 0\nD 0\n";
    text.decay = "R A CONST_CONCEN 5 \"\"\nR B CONST_RATIO 0.25 \"\"\nR C ZERO 1e9 \"\"\nR D FIRST 1e9 \"\"";
    start(text);
    node("R").newInflow = 2.0;
    for (int32_t p = 0; p < 4; ++p) {
        node("R").massInflow[p] = 2.0 * 20.0 / 1000.0;
    }
    reactor_update(testModel(), node("R"), reactor());
    const double expected[] = {5.0, 15.0, 20.0, 20.0};
    for (int32_t p = 0; p < 4; ++p) {
        EXPECT_DOUBLE_EQ(node("R").newQual[p], expected[p]);
        EXPECT_NEAR(reactor().statReactedLoad[p], (20.0 - expected[p]) * 2.0 / 1000.0 * 60.0, 1e-12);
        EXPECT_NEAR(reactor().statOutflowLoad[p], expected[p] * 2.0 / 1000.0 * 60.0, 1e-12);
    }
    EXPECT_EQ(reactor().newOutflow, 2.0);
}

TEST_F(ReactorTest, PlugFlowWithoutRetentionAndWaterHasNoConcentration) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 864000 0 0"));
    update(0.0);
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(node("R").newQual[0], 0.0);
}

TEST_F(ReactorTest, LostEntriesOfAQueueAreReadAsIfNeverQueued) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 864000 0.016666666666666666 0"));  // 60 s
    arena_failAfter(1);
    testModel().clock.newRoutingTime = 60000.0;
    update(1.0);
    arena_failAfter(0);
    testModel().clock.newRoutingTime = 120000.0;
    update(1.0);
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(testModel().error.code, ERR_NONE);
    testModel().clock.newRoutingTime = 180000.0;
    update(1.0);
    EXPECT_NEAR(reactor().newOutflow, 1.0, 1e-9);
}

// --- balances ------------------------------------------------------------------------------------------------------

/// A reactor that does everything at once: fills, overflows, surpasses, evaporates, infiltrates, reacts and empties.
static ReactorProject withEverything(const std::string& reactorLine) {
    ReactorProject text = withReactor(reactorLine);
    text.emptying = "R EMP 60 30 400 HOURS";
    text.quality = "R 0 A 20";
    text.decay = "R A FIRST 10 MONTHS";
    text.inflow = "R FLOW FLOW 0 TS 1\nR CONCEN A 40 \"\" 1";
    text.more =
        "[TIMESERIES]\nTS 2023/12/30 0:00 0 2023/12/31 0:00 0 2024/01/01 0:00 0 2024/01/01 1:00 0.2 2024/01/01 2:00 0 "
        "2024/01/02 0:00 0\n"
        "[CONTROL_RULES]\nRULE X\nIF OUTFALL SUR INFLOW > 0\nTHEN REACTOR R EMPTYING = YES";
    text.step = "0:00:10";
    return text;
}

TEST_F(ReactorTest, StirredTankKeepsItsOwnBalance) {
    start(withEverything("R CSTR SUR FLOW_CAPACITY 5000 150 80 30"));
    runToEnd();
    const Reactor& r = reactor();
    const double in = node("R").statInflowVolume, first = 0.3 * 150.0;
    for (const double part : {r.statSurpass, r.statEmptying, r.statEvap, r.statInfil, r.statOutflow, r.storedVolume}) {
        EXPECT_GT(part, 0.0);
    }
    EXPECT_NEAR(in + first, r.statSurpass + r.statEmptying + r.statEvap + r.statInfil + r.statOutflow + r.storedVolume,
                1e-9);
    EXPECT_NEAR((in * 40.0 + first * 20.0) / 1000.0,
                r.statSurpassLoad[0] + r.statEmptyingLoad[0] + r.statInfilLoad[0] + r.statReactedLoad[0] +
                    r.statOutflowLoad[0] + r.storedVolume * r.qual[0] / 1000.0,
                1e-9);
}

TEST_F(ReactorTest, StirredTankKeepsTheBalanceOfTheNetwork) {
    start(withEverything("R CSTR SUR FLOW_CAPACITY 5000 150 80 30"));
    runToEnd();
    double flowError, qualityError;
    const FlowTotalsRecord flow = massbal_closeFlow(testModel(), &flowError);
    const QualTotalsRecord quality = massbal_closeQuality(testModel(), 0, &qualityError);
    EXPECT_NEAR(flowError, 0.0, 1e-9);
    EXPECT_NEAR(qualityError, 0.0, 1e-9);
    EXPECT_EQ(flow.initStorage, 45.0);
    EXPECT_EQ(flow.finalStorage, reactor().storedVolume);
    EXPECT_EQ(flow.evapLoss, reactor().statEvap);
    EXPECT_EQ(flow.seepageLoss, reactor().statInfil);
    EXPECT_DOUBLE_EQ(quality.initStorage, 45.0 * 20.0 / 1000.0);
    EXPECT_DOUBLE_EQ(quality.finalStorage, reactor().storedVolume * reactor().qual[0] / 1000.0);
    EXPECT_EQ(quality.reactedLoss, reactor().statReactedLoad[0]);
    EXPECT_EQ(quality.seepageLoss, reactor().statInfilLoad[0]);
}

TEST_F(ReactorTest, PlugFlowReactorKeepsTheBalanceOfTheNetwork) {
    start(withEverything("R PFR SUR FLOW_CAPACITY 5000 0.25 80"));
    runToEnd();
    double flowError, qualityError;
    massbal_closeFlow(testModel(), &flowError);
    massbal_closeQuality(testModel(), 0, &qualityError);
    EXPECT_NEAR(flowError, 0.0, 1e-3);  // dates hold a hundred-thousandth of a second, so readings do, too
    EXPECT_NEAR(qualityError, 0.0, 1e-3);
    EXPECT_GT(reactor().statSurpass, 0.0);
    EXPECT_GT(reactor().statReactedLoad[0], 0.0);
}

TEST_F(ReactorTest, ErrorOfTheStepHalvesWithTheStep) {
    // Mixing and reaction in turn is a scheme of first order: halving the step halves what it is off.
    double errors[3];
    const char* const steps[] = {"0:00:40", "0:00:20", "0:00:10"};
    for (size_t k = 0; k < 3; ++k) {
        ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 60 0 100");
        text.inflow = "R FLOW FLOW 0.1 \"\" 1\nR CONCEN A 50 \"\" 1";
        text.decay = "R A FIRST 86.4 \"\"";
        text.step = steps[k];
        start(text);
        runToEnd();
        errors[k] = reactor().qual[0];
        tarnvelde_close();
    }
    EXPECT_NEAR((errors[0] - errors[1]) / (errors[1] - errors[2]), 2.0, 0.1);
}

// --- runs ----------------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, SecondRunEqualsTheFirst) {
    for (const char* line : {"R CSTR SUR FLOW_CAPACITY 5000 150 80 30", "R PFR SUR FLOW_CAPACITY 5000 0.25 80"}) {
        start(withEverything(line));
        runToEnd();
        const Reactor first = reactor();
        const double load = reactor().statOutflowLoad[0], inflow = node("SUR").statInflowVolume;
        tarnvelde_end();
        ASSERT_EQ(tarnvelde_start(0), 0);
        runToEnd();
        EXPECT_EQ(reactor().storedVolume, first.storedVolume);
        EXPECT_EQ(reactor().statSurpass, first.statSurpass);
        EXPECT_EQ(reactor().statEmptying, first.statEmptying);
        EXPECT_EQ(reactor().statEvap, first.statEvap);
        EXPECT_EQ(reactor().statOutflow, first.statOutflow);
        EXPECT_EQ(reactor().statOutflowLoad[0], load);
        EXPECT_EQ(node("SUR").statInflowVolume, inflow);
        tarnvelde_close();
    }
}

TEST_F(ReactorTest, ANewRunStartsAtRestButKeepsTheRateOfTheHost) {
    start(withEverything("R CSTR SUR FLOW_CAPACITY 5000 150 80 30"));
    tarnvelde_setReactorEmptyingValue("R", 0.125);
    step(300);
    tarnvelde_end();
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(reactor().isEmptying, 0);
    EXPECT_EQ(reactor().storedVolume, 45.0);
    EXPECT_EQ(reactor().qual[0], 20.0);
    for (const double flow : {reactor().oldOutflow, reactor().newOutflow, reactor().surpassFlow, reactor().emptyingFlow,
                              reactor().evapDepth, reactor().infilDepth}) {
        EXPECT_EQ(flow, 0.0);
    }
    EXPECT_EQ(reactor().emptyingRate, 0.125);
}

TEST_F(ReactorTest, OutflowOfTheStepBeforeIsKept) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 100"));
    update(1.0);
    const double before = reactor().newOutflow;
    EXPECT_DOUBLE_EQ(before, 1.0);
    update(0.25);
    EXPECT_EQ(reactor().oldOutflow, before);
}

TEST_F(ReactorTest, WorksWithoutPollutants) {
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 10 50");
    text.pollutants = "";
    text.emptying = "R EMP 1800 60 24 \"\"";
    start(text);
    reactor().isEmptying = 1;
    update(1.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.5);
    text.reactor = "R PFR SUR FLOW_CAPACITY 43200 0.5 10";
    tarnvelde_close();
    start(text);
    step(3);
}

TEST_F(ReactorTest, FailedAllocationAtTheStartIsTheMemoryError) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 43200 0.5 10");
    bool hasSucceeded = false;
    int32_t failures = 0;
    for (int64_t count = 1; !hasSucceeded; ++count) {
        ASSERT_EQ(open(text), 0);
        arena_failAfter(count);
        const int32_t code = tarnvelde_start(0);
        arena_failAfter(0);
        EXPECT_TRUE(code == 0 || code == 101) << code;
        hasSucceeded = code == 0;
        failures += code == 101 ? 1 : 0;
        tarnvelde_step(nullptr);
        tarnvelde_report();
        tarnvelde_end();
        tarnvelde_close();
    }
    EXPECT_GE(failures, 3);  // statistics, state, queues
}

TEST_F(ReactorTest, FailedAllocationWhileReadingIsTheMemoryError) {
    bool hasSucceeded = false;
    for (int64_t count = 1; !hasSucceeded; ++count) {
        arena_failAfter(count);
        const int32_t code = open({});
        arena_failAfter(0);
        EXPECT_TRUE(code == 0 || code == 101 || code == 200) << code;
        hasSucceeded = code == 0;
        tarnvelde_close();
    }
}

// --- results -------------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, RowHoldsPresentAndInterpolatedValues) {
    ReactorProject text;
    text.pollutants = "A 0\nB 0\n";
    start(text);
    Node& n = node("R");
    n.oldInflow = 1.0, n.newInflow = 2.0;
    n.oldLatFlow = 3.0, n.newLatFlow = 5.0;
    n.oldQual[0] = 10.0, n.newQual[0] = 14.0;
    n.oldQual[1] = 0.1, n.newQual[1] = 0.3;
    Reactor& r = reactor();
    r.storedVolume = 77.0;
    r.oldOutflow = 0.5, r.newOutflow = 0.75;
    r.surpassFlow = 0.125;
    r.evapDepth = 4.5;
    r.infilDepth = 6.5;
    r.emptyingFlow = 8.5;
    float row[11];
    row[10] = -1.0f;
    rows_fill(testModel(), REACTOR_TABLE, findNode("R"), 0.25, row);
    const float expected[] = {77.0f, 1.25f, 3.5f, 0.5625f, 0.125f,
                              4.5f,  6.5f,  8.5f, 11.0f,   static_cast<float>(0.75 * 0.1 + 0.25 * 0.3),
                              -1.0f};
    for (size_t k = 0; k < 11; ++k) {
        EXPECT_EQ(row[k], expected[k]) << k;
    }
}

TEST_F(ReactorTest, ReportHasBothTables) {
    ReactorProject text;
    text.pollutants = "A 0\nB 0\n";
    start(text);
    Reactor& r = reactor();
    r.statSurpass = 1.0, r.statEvap = 2.0, r.statInfil = 3.0, r.statEmptying = 4.0, r.statOutflow = 5.0;
    double value = 10.0;
    for (double* loads :
         {r.statSurpassLoad, r.statInfilLoad, r.statEmptyingLoad, r.statReactedLoad, r.statOutflowLoad}) {
        loads[0] = value;
        loads[1] = value + 0.5;
        value += 1.0;
    }
    testing::internal::CaptureStdout();
    tarnvelde_report();
    testing::internal::GetCapturedStdout();
    const std::string expected =
        "\n  "
        "\n  ************************"
        "\n  Reactor Quantity Summary"
        "\n  ************************"
        "\n                            Surpass            Evap.           Infil.         Emptying          Outflow"
        "\n  Reactor                        m3               m3               m3               m3               m3"
        "\n  ---------------- ---------------- ---------------- ---------------- ---------------- ----------------"
        "\n  R                           1.000            2.000            3.000            4.000            5.000"
        "\n  "
        "\n  ***********************"
        "\n  Reactor Quality Summary"
        "\n  ***********************"
        "\n                                  A                B"
        "\n  Reactor                        kg               kg"
        "\n  ---------------- ---------------- ----------------"
        "\n  *Surpassing*"
        "\n  R                          10.000           10.500"
        "\n  *Infiltration*"
        "\n  R                          11.000           11.500"
        "\n  *Emptying*"
        "\n  R                          12.000           12.500"
        "\n  *Reacted*"
        "\n  R                          13.000           13.500"
        "\n  *Outflow*"
        "\n  R                          14.000           14.500"
        "\n  \n  *****************\n  Link Flow Summary";
    EXPECT_NE(readReport().find(expected), std::string::npos) << readReport();
}

TEST_F(ReactorTest, SecondReportHasNoLoadsLeft) {
    start({});
    reactor().statOutflowLoad[0] = 3.0;
    reactor().statOutflow = 5.0;
    testing::internal::CaptureStdout();
    tarnvelde_report();
    EXPECT_EQ(reactor().statOutflowLoad[0], 0.0);
    EXPECT_EQ(reactor().statOutflow, 5.0);
    tarnvelde_report();
    tarnvelde_end();
    tarnvelde_report();
    testing::internal::GetCapturedStdout();
    EXPECT_NE(readReport().find("*Outflow*\n  R                           3.000"), std::string::npos);
    EXPECT_NE(readReport().find("*Outflow*\n  R                           0.000"), std::string::npos);
}

TEST_F(ReactorTest, ReportOfAProjectWithoutPollutantsHasNoQualityTable) {
    ReactorProject text;
    text.pollutants = "";
    start(text);
    testing::internal::CaptureStdout();
    tarnvelde_report();
    testing::internal::GetCapturedStdout();
    EXPECT_NE(readReport().find("Reactor Quantity Summary"), std::string::npos);
    EXPECT_EQ(readReport().find("Reactor Quality Summary"), std::string::npos);
}
