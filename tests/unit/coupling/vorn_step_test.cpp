// Treatment-plant nodes in a run: the calls of their engines, one by one, and the totals that they add to.

#include <gtest/gtest.h>

#include "coupling/converter.h"
#include "coupling/coupled.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "hydrology/subcatch.h"
#include "model/project.h"
#include "nodes/inflows.h"
#include "support/coupledflow.h"
#include "support/engines.h"
#include "support/model.h"
#include "support/storage.h"

using Strings = std::vector<std::string>;

static constexpr double DT = COUPLED_STEP;

/// Dry weather at J runs over C into plant P, and what leaves the plant runs over D to an outfall, both without delay.
static const std::string Through =
    "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J P NO 0\nD P O NO 0\n"
    "[DWFS]\nJ FLOW 0.5 \"\"\nJ A 64 \"\"\n"
    "[VORN_INPS]\nP m.sti YES\nINFLUENT I C CI\nEFFLUENT E D CE\n";

/// COD from the pollutant, the others from constants; the effluent's pollutant from two components and a constant.
static const std::string Converters2 =
    "[CONVERTERS]\nCI COD POLLUTANT A 2\nCI NH4 CONSTANT 4 0.5\nCI NO3 CONSTANT 0 0\nCI TP CONSTANT 0 0\n"
    "CI TSS CONSTANT 0 0\nCI ALK CONSTANT 0 0\nCE VORN_EFFLUENT\nCE A POLLUTANT S_F 99\nCE A POLLUTANT S_NH4 0\n"
    "CE A CONSTANT 3 7\n";

static std::string inCall(const std::string& unit, int index, double value) {
    return "m vorn_setExtInflow \"" + unit + "\" " + std::to_string(index) + " " + showNumber(value) + " = 0";
}

static double readValue(const std::string& call) {
    return std::stod(call.substr(call.find(" : ") + 3));
}

/// The value that an inflow call passes.
static double readPassed(const std::string& call) {
    const size_t end = call.rfind(" = ");
    return std::stod(call.substr(call.rfind(' ', end - 1)));
}

TEST(VornCalls, OfAWholeRunWithEqualSteps) {
    CoupledProject p(Through + Converters2, 3);
    p.model("m.sti", getPassingPlant(3));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    p.takeCalls();
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(p.takeCalls(), Strings{"m vorn_start 1 = 0"});
    p.step();
    const Strings calls = p.takeCalls();
    ASSERT_EQ(calls.size(), 2u * 11u);
    // The old state, at the start of the step: flow, then the points of the converter in their order.
    EXPECT_EQ(Strings(calls.begin(), calls.begin() + 7),
              (Strings{inCall("I", 0, 0), inCall("I", 1, 0), inCall("I", 2, 0), inCall("I", 3, 0), inCall("I", 4, 0),
                       inCall("I", 5, 0), inCall("I", 6, 0)}));
    EXPECT_EQ(calls[7], "m vorn_step = 0 : " + showNumber(COUPLED_STEP_DAYS));
    EXPECT_EQ(calls[8], "m vorn_getExtOutflow \"E\" 0 = 0 : 0");
    EXPECT_EQ(calls[9], "m vorn_getExtOutflow \"E\" 2 = 0 : 0");  // S_F
    EXPECT_EQ(calls[10], "m vorn_getExtOutflow \"E\" 5 = 0 : 0");
    // The new state, at its end: 0.5 m3/s, with 64 mg/L twice as COD and 4 mg/L half as NH4, in g/s.
    EXPECT_EQ(calls[11], inCall("I", 0, 0.5));
    EXPECT_NEAR(readPassed(calls[12]), 0.5 * 64.0 * 2.0, 1e-12);
    EXPECT_EQ(calls[13], inCall("I", 2, 0.5 * 4.0 * 0.5));
    EXPECT_EQ(calls[18], "m vorn_step = 0 : " + showNumber(2 * COUPLED_STEP_DAYS));
    EXPECT_EQ(calls[19], "m vorn_getExtOutflow \"E\" 0 = 0 : 0.5");
    EXPECT_NEAR(readValue(calls[20]), 128.0 * 0.12, 1e-12);
    EXPECT_NEAR(readValue(calls[21]), 2.0, 1e-12);
    // The factors of the effluent's points have no effect.
    EXPECT_NEAR(testModel().vornNodes[0].outside.outflows.head->newLoad[0], (128.0 * 0.12 + 2.0 + 3.0) * 0.5 / 1000.0,
                1e-15);
    p.step();
    EXPECT_EQ(p.takeCalls("m vorn_step"), Strings{"m vorn_step = 0 : 0"});  // over: the third step was the last
    p.step();
    EXPECT_EQ(p.takeCalls("m vorn_step"), Strings{"m vorn_step = 0 : 0"});
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(p.takeCalls("m vorn_end").size(), 1u);
    tarnvelde_close();
    EXPECT_EQ(p.takeCalls(), Strings{"m vorn_close = 0"});
}

TEST(VornCalls, WithCoarserAndFinerSteps) {
    CoupledProject p(Through + Converters2, 6);
    p.model("m.sti", getPassingPlant(6, "step 1687.5\n"));
    p.start();
    std::vector<size_t> counts;
    for (int k = 0; k < 6; ++k) {
        p.step();
        counts.push_back(p.takeCalls("m vorn_step").size());
    }
    // Up to 2.5, 5 and 6 steps; the third call ends the plant, which is then asked in each routing step.
    EXPECT_EQ(counts, (std::vector<size_t>{1, 0, 1, 0, 1, 1}));
    CoupledProject q(Through + Converters2, 6);
    q.model("m.sti", getPassingPlant(6, "step 225\n"));
    q.start();
    q.takeCalls();
    q.step();
    EXPECT_EQ(q.takeCalls("m vorn_step").size(), 4u);  // 225, 450, 675: there it steps once more
    q.step();
    EXPECT_EQ(q.takeCalls("m vorn_step").size(), 3u);
}

TEST(VornCalls, AskEachEffluentForAllOfItsPointsBeforeTheNext) {
    CoupledProject p(Through + "EFFLUENT F D2 CE\n[CONNECTIONS]\nD2 P O NO 0\n" + Converters2, 4);
    p.model("m.sti", getPassingPlant(4, "effluent F\n"));
    p.start();
    p.takeCalls();
    p.step();
    const Strings calls = p.takeCalls("m vorn_getExtOutflow");
    // Flow, S_F and S_NH4 of either one, in both steps of the engine.
    const Strings expected = {"\"E\" 0", "\"E\" 2", "\"E\" 5", "\"F\" 0", "\"F\" 2", "\"F\" 5"};
    ASSERT_EQ(calls.size(), 2u * expected.size());
    for (size_t k = 0; k < calls.size(); ++k) {
        const std::string beginning = "m vorn_getExtOutflow " + expected[k % expected.size()] + " = 0";
        EXPECT_EQ(calls[k].substr(0, beginning.size()), beginning) << "call " << k;
    }
}

TEST(VornCalls, WithoutAnInfluentStepThePlantOnly) {
    CoupledProject p("[OUTFALLS]\nO\n[VORN_INPS]\nP m.sti NO\n", 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.takeCalls();
    p.step(2);
    EXPECT_EQ(p.takeCalls(), (Strings{"m vorn_step = 0 : " + showNumber(COUPLED_STEP_DAYS),
                                      "m vorn_step = 0 : " + showNumber(2 * COUPLED_STEP_DAYS),
                                      "m vorn_step = 0 : " + showNumber(3 * COUPLED_STEP_DAYS)}));
}

TEST(VornCalls, ThatAreRefusedGiveNothing) {
    CoupledProject p(Through + Converters2, 4);
    p.model("m.sti",
            getPassingPlant(4, "refuse vorn_step 4\nrefuse vorn_getExtOutflow 4\nrefuse vorn_setExtInflow 4\n"));
    p.start();
    p.takeCalls();
    p.step();
    EXPECT_EQ(p.takeCalls().size(), 11u);
    EXPECT_EQ(testModel().vornNodes[0].outside.outflows.head->newFlow, 0.0);
    EXPECT_EQ(testModel().vornNodes[0].outside.outflows.head->newLoad[0], 0.0);
}

TEST(VornStart, AFailureStopsTheStart) {
    CoupledProject p("[OUTFALLS]\nO\n[VORN_INPS]\nP m.sti NO\nQ n.sti NO\n[SWMM_INPS]\nS s.inp NO\n", 4);
    p.model("m.sti", getPassingPlant(4, "refuse vorn_start 3\n")).model("n.sti", getPassingPlant(4));
    p.model("s.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0);
    p.takeCalls();
    EXPECT_EQ(tarnvelde_start(0), 932);
    EXPECT_EQ(p.takeCalls(), Strings{"m vorn_start 0 = 3"});
    EXPECT_EQ(p.getErrors(), Strings{"ERROR 932: cannot start vorn simulation for vorn node P."});
    const Strings calls = p.takeCalls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].rfind("m vorn_end", 0), 0u);
    EXPECT_EQ(calls[1], "s swmm_close = 0");  // all SWMM nodes come first
    EXPECT_EQ(calls[2], "m vorn_close = 0");
    EXPECT_EQ(calls[3], "n vorn_close = 0");
    EXPECT_TRUE(p.getCopies().empty());
}

TEST(VornClose, LeavesNoNodeBehindAndClosesEachPlantOnce) {
    CoupledProject p("[OUTFALLS]\nO\n[VORN_INPS]\nP m.sti NO\nQ n.sti NO\n[SWMM_INPS]\nS s.inp NO\n", 4);
    p.model("m.sti", getPassingPlant(4)).model("n.sti", getPassingPlant(4)).model("s.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0);
    ASSERT_EQ(testModel().vornNodes.size(), 2);
    p.takeCalls();
    coupled_deleteNodes(testModel());
    EXPECT_EQ(p.takeCalls(), (Strings{"s swmm_close = 0", "m vorn_close = 0", "n vorn_close = 0"}));
    EXPECT_TRUE(testModel().vornNodes.empty());
    EXPECT_TRUE(testModel().swmmNodes.empty());
    tarnvelde_close();
    EXPECT_TRUE(p.takeCalls().empty());
}

// --- influents -----------------------------------------------------------------------------------------------------

TEST(VornInflows, TwoInfluentsOfOneLinkEachTakeTheWholeFlow) {
    CoupledProject p(Through + "[VORN_INPS]\nINFLUENT I C CI\n" + Converters2, 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.step();
    EXPECT_EQ(testModel().totals.flow.vornOutflow, 2 * DT * 0.5);
    EXPECT_NEAR(testModel().totals.quality[0].vornOutflow, 2 * DT * 0.032, 1e-12);
    for (const CoupledFlow* record = testModel().vornNodes[0].outside.inflows.head; record; record = record->next) {
        EXPECT_EQ(record->newFlow, 0.5);
        EXPECT_NEAR(record->newLoad[0], 64.0, 1e-12);
    }
}

TEST(VornInflows, AllInfluentsSendThePointsOfTheFirstConverter) {
    CoupledProject p(
        Through +
            "[VORN_INPS]\nINFLUENT K E2 CJ\n[JUNCTIONS]\nL\n[CONNECTIONS]\nE2 L P NO 0\n[DWFS]\nL FLOW 0.25 \"\"\n" +
            Converters2 +
            "CJ ALK CONSTANT 8 1\nCJ COD CONSTANT 0 0\nCJ NH4 CONSTANT 0 0\n"
            "CJ NO3 CONSTANT 16 1\nCJ TP CONSTANT 0 0\nCJ TSS CONSTANT 0 0\nCI COD CONSTANT 0 0\n",
        4);
    p.model("m.sti", getPassingPlant(4, "influent K\n"));
    p.start();
    p.takeCalls();
    p.step();
    const Strings calls = p.takeCalls("m vorn_setExtInflow \"K\"");
    const Strings expected = {inCall("K", 0, 0.25), inCall("K", 1, 0), inCall("K", 2, 0),   inCall("K", 3, 4.0),
                              inCall("K", 4, 0),    inCall("K", 5, 0), inCall("K", 6, 2.0), inCall("K", 1, 0)};
    ASSERT_EQ(calls.size(), 16u);
    EXPECT_EQ(Strings(calls.begin() + 8, calls.end()), expected);  // COD twice, as the first converter has it
}

TEST(VornInflows, PointsOfTheOtherTypeAreUsedAsTheyStandOrPassedOver) {
    // Two pollutants: the effluent points' targets 0 and 1 are COD and NH4 here, and component 1 the second pollutant;
    // component 18 is no pollutant at all.
    CoupledProject p(
        "[POLLUTANTS]\nA 0\nB 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J P NO 0\nD P O NO 0\n"
        "[DWFS]\nJ FLOW 0.5 \"\"\nJ B 64 \"\"\n[VORN_INPS]\nP m.sti NO\nINFLUENT I C CE\nEFFLUENT E D CI\n"
        "[CONVERTERS]\nCE VORN_EFFLUENT\nCE A POLLUTANT S_F 1\nCE B POLLUTANT X_MeP 1\nCE B CONSTANT 2 1\n"
        "CI COD POLLUTANT B 1\nCI NH4 CONSTANT 6 1\nCI NO3 CONSTANT 1 1\nCI TP CONSTANT 1 1\n"
        "CI TSS CONSTANT 1 1\nCI ALK CONSTANT 1 1\n",
        4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.takeCalls();
    p.step();
    const Strings calls = p.takeCalls();
    ASSERT_EQ(calls.size(), 2u * 6u);
    EXPECT_EQ(calls[6], inCall("I", 0, 0.5));
    EXPECT_NEAR(readPassed(calls[7]), 0.5 * 64.0, 1e-12);
    EXPECT_EQ(calls[8], inCall("I", 2, 0.5 * 2.0 * 1.0));
    EXPECT_EQ(calls[10], "m vorn_getExtOutflow \"E\" 0 = 0 : 0.5");
    EXPECT_EQ(calls[11].rfind("m vorn_getExtOutflow \"E\" 2 = 0 : ", 0), 0u);  // pollutant 1 as component 1
    EXPECT_NEAR(testModel().vornNodes[0].outside.outflows.head->newLoad[0], 64.0 * 0.12 * 0.5 / 1000.0, 1e-15);
    EXPECT_EQ(testModel().vornNodes[0].outside.outflows.head->newLoad[1],
              6.0 * 0.5 / 1000.0);  // constituent 1 as pollutant 1
}

TEST(VornInflows, OfAPipeThatHasNotFiredApplyEveryPointToNothing) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nC J P NO 1350 1 0 0\n[CONNECTIONS]\n"
        "D P O NO 0\n[DWFS]\nJ FLOW 0.5 \"\"\n[VORN_INPS]\nP m.sti NO\nINFLUENT I C CI\nEFFLUENT E D CE\n" +
            Converters2,
        4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.step();
    for (int c = 0; c < CONSTITUENT_COUNT; ++c) {
        EXPECT_EQ(testModel().vornNodes[0].outside.inflows.head->newLoad[c], 0.0);
    }
    EXPECT_EQ(testModel().totals.flow.vornOutflow, 0.0);
}

TEST(VornInflows, RunoffStaysInTheNode) {
    CoupledProject p(Through + Converters2, 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.node("P").newLatFlow += 0.25;  // as runoff, or an inflow of the node, would
    p.step(2);
    EXPECT_EQ(p.node("P").newLatFlow, 0.25);
    EXPECT_EQ(testModel().vornNodes[0].outside.inflows.head->newFlow, 0.5);
}

TEST(VornInflows, RunoffOfALandStaysInTheNodeAndIsWetWeather) {
    CoupledProject p(
        "[RAINGAGES]\nG INTENSITY 1:00 T\n[TIMESERIES]\nT 2021/03/01 0:00 36\n"
        "[SUBCATCHS]\nB G P 1 100 100 1 0.015 0.1 0.01 0.01 50 5 4 3 0\n" +
            Through + Converters2,
        3);
    p.model("m.sti", getPassingPlant(3));
    p.start();
    const Subcatch& b = testModel().subcatches[0];
    double sum = 0.0;
    for (int k = 0; k < 3; ++k) {
        p.step();
        const double f = subcatch_getWeight(testModel(), testModel().clock.oldRoutingTime);
        sum += f * b.thisRunoff + (1.0 - f) * b.lastRunoff;
        EXPECT_DOUBLE_EQ(p.node("P").newLatFlow, sum);  // what comes in piles up
        EXPECT_DOUBLE_EQ(testModel().totals.flow.wetWeatherInflow, DT * sum);
    }
    EXPECT_GT(sum, 0.15);                                                    // of 0.1 m3/s that fall, three times
    EXPECT_EQ(testModel().vornNodes[0].outside.inflows.head->newFlow, 0.5);  // of the link of the same number
    EXPECT_EQ(testModel().totals.flow.vornOutflow, 3 * DT * 0.5);
}

// --- states --------------------------------------------------------------------------------------------------------

TEST(VornStates, OfAllConstituentsRoll) {
    CoupledProject p(Through +
                         "[CONVERTERS]\nCI COD POLLUTANT A 2\nCI NH4 CONSTANT 4 0.5\nCI NO3 CONSTANT 6 1\n"
                         "CI TP CONSTANT 2 1\nCI TSS CONSTANT 10 1\nCI ALK CONSTANT 5 1\n"
                         "CE VORN_EFFLUENT\nCE A CONSTANT 3 1\n",
                     4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    const CoupledFlow& record = *testModel().vornNodes[0].outside.inflows.head;
    const double amounts[CONSTITUENT_COUNT] = {64.0, 1.0, 3.0, 1.0, 5.0, 2.5};  // g/s, of 0.5 m3/s
    for (int step = 1; step <= 3; ++step) {
        p.step();
        for (int c = 0; c < CONSTITUENT_COUNT; ++c) {
            EXPECT_NEAR(record.newLoad[c], amounts[c], 1e-12) << "step " << step << ", constituent " << c;
            EXPECT_NEAR(record.oldLoad[c], step > 1 ? amounts[c] : 0.0, 1e-12)
                << "step " << step << ", constituent " << c;
        }
    }
}

/// What runs through a plant of 0.5 m3/s is made of constants.
static const std::string Constants =
    "[CONVERTERS]\nCI COD CONSTANT 0 0\nCI NH4 CONSTANT 0 0\nCI NO3 CONSTANT 0 0\nCI TP CONSTANT 0 0\n"
    "CI TSS CONSTANT 0 0\nCI ALK CONSTANT 0 0\nCE VORN_EFFLUENT\n";

TEST(VornStates, OfAllPollutantsRoll) {
    CoupledProject p("[POLLUTANTS]\nB 0\n" + Through + Constants + "CE A CONSTANT 3 1\nCE B CONSTANT 5 1\n", 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    const CoupledFlow& record = *testModel().vornNodes[0].outside.outflows.head;
    for (int step = 1; step <= 3; ++step) {
        p.step();
        EXPECT_DOUBLE_EQ(record.newLoad[0], 5.0 * 0.5 / 1000.0) << "step " << step;  // B
        EXPECT_DOUBLE_EQ(record.newLoad[1], 3.0 * 0.5 / 1000.0) << "step " << step;  // A
    }
}

// --- effluents -----------------------------------------------------------------------------------------------------

TEST(VornOutflows, EachTakesItsOwnConverter) {
    CoupledProject p(Through + "EFFLUENT E D2 CF\n[CONNECTIONS]\nD2 P O NO 0\n" + Constants +
                         "CE A CONSTANT 3 1\nCF VORN_EFFLUENT\nCF A CONSTANT 5 1\n",
                     4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.step();
    const CoupledFlow& record = *testModel().vornNodes[0].outside.outflows.head;
    EXPECT_EQ(record.newFlow, 0.5);
    EXPECT_EQ(record.next->newFlow, 0.5);
    EXPECT_DOUBLE_EQ(record.newLoad[0], 0.0015);
    EXPECT_DOUBLE_EQ(record.next->newLoad[0], 0.0025);
}

TEST(VornOutflows, ThatThePlantDoesNotStoreAreNothing) {
    CoupledProject p(Through + Constants + "CE A POLLUTANT S_F 1\nCE A POLLUTANT S_NH4 1\n", 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    testModel().vornNodes[0].entries.vorn_getExtOutflow.function = [](const char*, int index, double* value) {
        switch (index) {
            case 0: *value = 0.5; return 0;
            case 2: *value = 8.0; return 0;  // S_F
            default: return -1;
        }
    };
    p.step();
    // The concentration of S_F doesn't stay for S_NH4.
    EXPECT_EQ(testModel().vornNodes[0].outside.outflows.head->newFlow, 0.5);
    EXPECT_EQ(testModel().vornNodes[0].outside.outflows.head->newLoad[0], 8.0 * 0.5 / 1000.0);
}

TEST(VornOutflows, ThatAreSubtractedLeaveNothingNegative) {
    CoupledProject p(Through + Constants + "CE A CONSTANT 3 1\nCE A CONSTANT 5 1 SUBTRACT\nCE A CONSTANT 2 1\n", 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    p.step();
    EXPECT_DOUBLE_EQ(testModel().vornNodes[0].outside.outflows.head->newLoad[0], 2.0 * 0.5 / 1000.0);
    CoupledProject q(Through + Constants + "CE A CONSTANT 5 1\nCE A CONSTANT 3 1 SUBTRACT\nCE A CONSTANT 2 1\n", 4);
    q.model("m.sti", getPassingPlant(4));
    q.start();
    q.step();
    EXPECT_DOUBLE_EQ(testModel().vornNodes[0].outside.outflows.head->newLoad[0], 4.0 * 0.5 / 1000.0);
}

TEST(VornOutflows, AreMultipliedAndThenDivided) {
    const double concentration = 0.013, flow = 0.1;  // mg/L, m3/s: another order differs in the last bit
    ASSERT_NE(concentration * flow / 1000.0, concentration / 1000.0 * flow);
    ASSERT_NE(concentration * flow / 1000.0, concentration * (flow / 1000.0));
    ASSERT_NE(concentration * flow / 1000.0, concentration * flow * 0.001);
    CoupledProject p(Through + Constants + "CE A CONSTANT 0.013 1\n", 4);
    p.model("m.sti", getPassingPlant(4));
    p.start();
    setFlow(flow);
    p.step();
    const CoupledFlow& record = *testModel().vornNodes[0].outside.outflows.head;
    EXPECT_EQ(record.newFlow, flow);
    EXPECT_EQ(record.newLoad[0], concentration * flow / 1000.0);
}

// --- books ---------------------------------------------------------------------------------------------------------

TEST(VornBooks, AgreeWithTheTotalsOfTheNetwork) {
    static constexpr int STEPS = 10;
    // One pollutant that goes through the plant as COD, and comes back as the parts of it that are COD.
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J P NO 0\nD P O NO 0\n"
        "[DWFS]\nJ FLOW 0.5 H\nJ A 64 \"\"\n[PATTERNS]\nH HOURLY 1 0.5 2\n"
        "[VORN_INPS]\nP m.sti NO\nINFLUENT I C CI\nEFFLUENT E D CE\n[CONVERTERS]\nCI COD POLLUTANT A 1\n"
        "CI NH4 CONSTANT 0 0\nCI NO3 CONSTANT 0 0\nCI TP CONSTANT 0 0\nCI TSS CONSTANT 0 0\n"
        "CI ALK CONSTANT 0 0\nCE VORN_EFFLUENT\nCE A POLLUTANT S_F 1\nCE A POLLUTANT S_A 1\n"
        "CE A POLLUTANT S_I 1\nCE A POLLUTANT X_I 1\nCE A POLLUTANT X_S 1\nCE A POLLUTANT X_H 1\n"
        "CE A POLLUTANT X_PAO 1\nCE A POLLUTANT X_PHA 1\nCE A POLLUTANT X_AUT 1\n",
        STEPS);
    p.model("m.sti", getPeriod(STEPS) + "step 675\ninfluent I\neffluent E\nbasin 5400\n");
    p.start();
    p.step(STEPS);
    const CoupledFlow& in = *testModel().vornNodes[0].outside.inflows.head;
    const double lastFlow = in.newFlow, lastLoad = in.newLoad[0] / 1000.0;
    tarnvelde_end();
    std::istringstream book(p.takeCalls("m vorn_end").at(0));
    std::string word;
    double water[3], cod[3];
    book >> word >> word >> word >> word >> word >> word;
    for (double& number : water) {
        book >> number;
    }
    book >> word;
    for (double& number : cod) {
        book >> number;
    }
    EXPECT_NEAR(water[0], water[1] + water[2], 1e-9 * water[0]);
    EXPECT_NEAR(cod[0], cod[1] + cod[2], 1e-9 * cod[0]);
    // The plant is a step ahead: the last step's share of what the network has given comes too late for it.
    EXPECT_NEAR(testModel().totals.flow.vornOutflow - DT * lastFlow, water[0], 1e-9 * water[0]);
    EXPECT_NEAR(testModel().totals.quality[0].vornOutflow - DT * lastLoad, cod[0] / 1000.0, 1e-12 * cod[0]);
    EXPECT_NEAR(testModel().totals.flow.externalOutflow, water[1], 1e-9 * water[1]);
    EXPECT_NEAR(testModel().totals.quality[0].externalOutflow, cod[1] / 1000.0, 1e-12 * cod[1]);
    EXPECT_NEAR(testModel().totals.flow.vornInflow + DT * p.link("D").newFlow, water[1], 1e-9 * water[1]);
    EXPECT_NEAR(testModel().totals.quality[0].vornInflow, cod[1] / 1000.0, 1e-12 * cod[1]);
}

/// The figure of a row of a table of the report, as it stands there.
static std::string readFigure(const std::string& report, const std::string& table, const std::string& row) {
    const std::string begin = "\n  " + row + " ";
    const size_t at = report.find(begin, report.find(table));
    if (at == std::string::npos) {
        return "none";
    }
    std::istringstream words(report.substr(at + begin.size()));
    std::string figure;
    words >> figure;
    return figure;
}

TEST(CoupledReport, HoldsTheVolumesAndTheMassesOfBothKinds) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J P NO 0\n"
        "[CONDUITS]\nX S O NO 5000 0.001 0.02 RECTANGULAR 3 2\n[DWFS]\nJ FLOW 0.5 \"\"\nJ A 64 \"\"\n"
        "[SWMM_INPS]\nS m.inp NO\nOUTFLOW OUT X\n[VORN_INPS]\nP m.sti NO\nINFLUENT I C CI\n[CONVERTERS]\n"
        "CI COD POLLUTANT A 1\nCI NH4 CONSTANT 0 0\nCI NO3 CONSTANT 0 0\nCI TP CONSTANT 0 0\n"
        "CI TSS CONSTANT 0 0\nCI ALK CONSTANT 0 0\n",
        8);
    p.model("m.inp", getPassingModel(8, "substances A\nspring OUT 0.25 8\n")).model("m.sti", getPassingPlant(8));
    p.start();
    p.step(8);
    ASSERT_EQ(tarnvelde_report(), 0);
    const double flowError = testModel().totals.flowError, qualityError = testModel().totals.qualityError;
    tarnvelde_end();
    tarnvelde_close();
    const std::string report = p.getReport();
    // Eight steps of 675 s with 0.5 and 0.25 m3/s, and with 64 and 8 g/m3 in them.
    const std::string flow = "Flow Routing Continuity", quality = "Quality Routing Continuity";
    EXPECT_EQ(readFigure(report, flow, "Dry Weather Inflow"), "2700.000");
    EXPECT_EQ(readFigure(report, flow, "SWMM Inflow"), "1350.000");
    EXPECT_EQ(readFigure(report, flow, "VORN Outflow"), "2700.000");
    EXPECT_EQ(readFigure(report, quality, "Dry Weather Inflow"), "172.800");
    EXPECT_EQ(readFigure(report, quality, "SWMM Inflow"), "10.800");
    EXPECT_EQ(readFigure(report, quality, "VORN Outflow"), "172.800");
    // The rest is what the conduit holds and has given to the outfall.
    const auto readRest = [&](const std::string& table) {
        const double left = std::stod(readFigure(report, table, "External Outflow"));
        EXPECT_GT(left, 0.0);
        return left + std::stod(readFigure(report, table, "Final Storage"));
    };
    const double water = 2700.0 + 1350.0, mass = 172.8 + 10.8;
    EXPECT_NEAR(flowError, (water - 2700.0 - readRest(flow)) / water * 100.0, 1e-4);
    EXPECT_NEAR(qualityError, (mass - 172.8 - readRest(quality)) / mass * 100.0, 1e-3);
}
