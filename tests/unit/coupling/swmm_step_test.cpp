// SWMM nodes in a run: the calls of their engines, one by one, and the totals that they add to.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "coupling/swmm.h"
#include "hydrology/subcatch.h"
#include "model/project.h"
#include "support/coupledflow.h"
#include "support/engines.h"
#include "support/model.h"
#include "support/storage.h"

using Strings = std::vector<std::string>;

/// Dry weather at J runs over C into node S, and what leaves the model runs over D to an outfall, both without delay.
static const std::string Through =
    "[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J S NO 0\nD S O NO 0\n[DWFS]\nJ FLOW 0 \"\"\n"
    "[SWMM_INPS]\nS m.inp YES\nINFLOW IN C\nOUTFLOW OUT D\n";

static std::string inflowCall(const std::string& id, double flow) {
    return "m swmm_setExtInflow \"" + id + "\" " + showNumber(flow) + " = 0";
}

static std::string stepCall(double steps) {
    return "m swmm_step = 0 : " + showNumber(steps * COUPLED_STEP_DAYS);
}

static std::string resultCall(const std::string& id, int property, double value) {
    return "m swmm_getResult 1 \"" + id + "\" " + std::to_string(property) + " = 0 : " + showNumber(value);
}

static Strings join(std::initializer_list<Strings> parts) {
    Strings all;
    for (const Strings& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

/// A step of the passing engine of Through.
static Strings engineStep(double flow, double elapsedSteps, double outflow) {
    return {inflowCall("IN", flow), stepCall(elapsedSteps), resultCall("OUT", 4, outflow)};
}

// --- calls ---------------------------------------------------------------------------------------------------------

TEST(SwmmCalls, OfAWholeRunWithEqualSteps) {
    CoupledProject p(Through, 3);
    p.model("m.inp", getPassingModel(3));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    p.takeCalls();
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(p.takeCalls(), Strings{"m swmm_start 1 = 0"});
    // An engine exactly at the routing clock steps once more, so the first routing step takes two: at the old state and
    // at the new one. From then on the engine is one step ahead.
    setFlow(1.0);
    p.step();
    EXPECT_EQ(p.takeCalls(), join({engineStep(0.0, 1, 0.0), engineStep(1.0, 2, 1.0)}));
    setFlow(2.0);
    p.step();
    // The third step ends the run of the engine, which tells 0.
    EXPECT_EQ(p.takeCalls(), engineStep(2.0, 0, 2.0));
    setFlow(4.0);
    p.step();
    // Its clock is at 0 again, two steps before the old routing clock: (1 - -2) * 2 + -2 * 4. A model that is over
    // takes nothing in, and its results stand.
    EXPECT_EQ(p.takeCalls(), engineStep(3.0 * 2.0 - 2.0 * 4.0, 0, 2.0));
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(p.takeCalls("m swmm_end").size(), 1u);
    tarnvelde_close();
    EXPECT_EQ(p.takeCalls(), Strings{"m swmm_close = 0"});
}

TEST(SwmmCalls, WithFinerEngineSteps) {
    CoupledProject p(Through, 3);
    p.model("m.inp", getPassingModel(3, "step 337.5\n"));
    p.start();
    p.takeCalls();
    setFlow(1.0);
    p.step();
    EXPECT_EQ(p.takeCalls(), join({engineStep(0.0, 0.5, 0.0), engineStep(0.5, 1, 0.5), engineStep(1.0, 1.5, 1.0)}));
    setFlow(3.0);
    p.step();
    EXPECT_EQ(p.takeCalls(), join({engineStep(2.0, 2, 2.0), engineStep(3.0, 2.5, 3.0)}));
}

TEST(SwmmCalls, WithCoarserEngineSteps) {
    CoupledProject p(Through, 6);
    p.model("m.inp", getPassingModel(6, "step 1687.5\n"));  // two and a half routing steps
    p.start();
    p.takeCalls();
    setFlow(1.0);
    p.step();
    EXPECT_EQ(p.takeCalls(), engineStep(0.0, 2.5, 0.0));
    p.step();
    EXPECT_EQ(p.takeCalls(), Strings{});  // the engine is ahead
    setFlow(3.0);
    p.step();
    EXPECT_EQ(p.takeCalls(), engineStep(2.0, 5, 2.0));  // half way from 1 to 3
    p.step();
    EXPECT_EQ(p.takeCalls(), Strings{});
    p.step();
    EXPECT_EQ(p.takeCalls(), engineStep(3.0, 0, 3.0));
}

TEST(SwmmCalls, OfAnEngineThatIsOverEarly) {
    CoupledProject p(Through, 4);
    p.model("m.inp", getPassingModel(4, "over 675\n"));
    p.start();
    p.takeCalls();
    setFlow(1.0);
    p.step();
    EXPECT_EQ(p.takeCalls(), engineStep(0.0, 0, 0.0));
    p.step();
    EXPECT_EQ(p.takeCalls(), engineStep(1.0, 0, 0.0));  // asked once in every routing step
}

TEST(SwmmCalls, OfARefusedStepAreThoseOfAnEngineThatIsOver) {
    CoupledProject p(Through, 4);
    p.model("m.inp", getPassingModel(4, "refuse swmm_step 9\nrefuse swmm_getResult 9\nrefuse swmm_setExtInflow 9\n"));
    p.start();
    p.takeCalls();
    setFlow(1.0);
    p.step(2);
    EXPECT_EQ(p.takeCalls(),
              (Strings{"m swmm_setExtInflow \"IN\" 0 = 9", "m swmm_step = 9", "m swmm_getResult 1 \"OUT\" 4 = 9",
                       "m swmm_setExtInflow \"IN\" 1 = 9", "m swmm_step = 9", "m swmm_getResult 1 \"OUT\" 4 = 9"}));
    EXPECT_EQ(testModel().swmmNodes[0].outside.outflows.head->newFlow, 0.0);
}

TEST(SwmmCalls, PassLoadsOfAllPollutantsInTheirOrder) {
    CoupledProject p("[POLLUTANTS]\nA 0\nB 0\n[DWFS]\nJ A 512 \"\"\n" + Through, 4);
    p.model("m.inp", getPassingModel(4, "substances B A\n"));
    p.start();
    p.takeCalls();
    setFlow(0.5);
    p.step();
    const Strings calls = p.takeCalls();
    ASSERT_EQ(calls.size(), 18u);
    const double load = 512.0 * 0.5 / 1000.0;  // kg/s, on its way through concentrations and back
    EXPECT_EQ(calls[1], "m swmm_setExtPollutLoad \"IN\" \"A\" 0 = 0");
    EXPECT_EQ(calls[2], "m swmm_setExtPollutLoad \"IN\" \"B\" 0 = 0");
    EXPECT_EQ(calls[4], resultCall("OUT", 4, 0.0));
    EXPECT_EQ(calls[5], "m swmm_isPollut \"A\" = 0 : 1");
    EXPECT_EQ(calls[6], resultCall("OUT", 7, 0.0));
    EXPECT_EQ(calls[7], "m swmm_isPollut \"B\" = 0 : 0");
    EXPECT_EQ(calls[8], resultCall("OUT", 6, 0.0));
    EXPECT_EQ(calls[9], inflowCall("IN", 0.5));
    const std::string passed = "m swmm_setExtPollutLoad \"IN\" \"A\" ";
    ASSERT_EQ(calls[10].rfind(passed, 0), 0u);
    EXPECT_NEAR(std::stod(calls[10].substr(passed.size())), load, 1e-12);
    EXPECT_EQ(calls[11], "m swmm_setExtPollutLoad \"IN\" \"B\" 0 = 0");
    EXPECT_NEAR(testModel().swmmNodes[0].outside.outflows.head->newLoad[0], load, 1e-12);
    EXPECT_EQ(testModel().swmmNodes[0].outside.outflows.head->newLoad[1], 0.0);
}

TEST(SwmmCalls, OfTwoNodesFollowTheOrderOfTheNetwork) {
    CoupledProject p(
        "[OUTFALLS]\nO\n[CONNECTIONS]\nC T S NO 0\nD S O NO 0\n"
        "[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\nOUTFLOW OUT D\nT n.inp NO\nOUTFLOW OUT C\n",
        4);
    p.model("m.inp", getPassingModel(4)).model("n.inp", getPassingModel(4, "spring OUT 0.25\n"));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    p.takeCalls();
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(p.takeCalls(), (Strings{"m swmm_start 0 = 0", "n swmm_start 0 = 0"}));  // in the order of the table
    p.step(2);
    const Strings calls = p.takeCalls();
    EXPECT_EQ(calls.front().substr(0, 1), "n");  // upstream first
    EXPECT_EQ(calls.back(), resultCall("OUT", 4, 0.25));
    tarnvelde_end();
    const Strings ends = p.takeCalls();
    EXPECT_EQ(ends[0].rfind("m swmm_end", 0), 0u);
    EXPECT_EQ(ends[1].rfind("n swmm_end", 0), 0u);
}

// --- start and end -------------------------------------------------------------------------------------------------

static const std::string ThreeNodes = "[OUTFALLS]\nO\n[SWMM_INPS]\nA a.inp NO\nB b.inp NO\nC c.inp NO\n";

TEST(SwmmStart, AFailureStopsTheStart) {
    CoupledProject p(ThreeNodes);
    p.model("a.inp", getPassingModel(4)).model("b.inp", getPassingModel(4, "refuse swmm_start 5\n"));
    p.model("c.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0);
    p.takeCalls();
    EXPECT_EQ(tarnvelde_start(1), 239);
    EXPECT_EQ(p.takeCalls(), (Strings{"a swmm_start 0 = 0", "b swmm_start 0 = 5"}));
    double elapsed = -1.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 239);
    EXPECT_TRUE(p.takeCalls().empty());
    EXPECT_EQ(tarnvelde_end(), 239);
    // The engine that refused is ended as well, the one after it is not.
    const Strings ends = p.takeCalls();
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_EQ(ends[0].rfind("a swmm_end", 0), 0u);
    EXPECT_EQ(ends[1].rfind("b swmm_end", 0), 0u);
    EXPECT_EQ(p.getErrors(), Strings{"ERROR 239: cannot start swmm simulation for swmm node B."});
    EXPECT_EQ(p.takeCalls(), (Strings{"a swmm_close = 0", "b swmm_close = 0", "c swmm_close = 0"}));
    EXPECT_FALSE(std::filesystem::exists(p.results));
    EXPECT_TRUE(p.getCopies().empty());
}

TEST(SwmmStart, ACloseInMidRunEndsTheEnginesFirst) {
    CoupledProject p(ThreeNodes);
    for (const std::string name : {"a", "b", "c"}) {
        p.model(name + ".inp", getPassingModel(4));
    }
    p.start();
    p.step();
    p.takeCalls();
    tarnvelde_close();
    const Strings calls = p.takeCalls();
    ASSERT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls[2].rfind("c swmm_end", 0), 0u);
    EXPECT_EQ(calls[3], "a swmm_close = 0");
    EXPECT_TRUE(p.getCopies().empty());
}

TEST(SwmmStart, ASecondRunIsTheFirstOnceMore) {
    CoupledProject p(Through, 4);
    p.model("m.inp", getPeriod(4) + "step 300 450\nnode IN\nnode OUT\nreach R IN OUT 900 20\n");
    p.start();
    setFlow(1.5);
    p.takeCalls();
    const auto run = [&] {
        p.step(4);
        const double in = testModel().totals.flow.swmmInflow, out = testModel().totals.flow.swmmOutflow;
        EXPECT_EQ(tarnvelde_end(), 0);
        EXPECT_EQ(testModel().swmmNodes[0].outside.inflows.head->newLoad, nullptr);
        Strings calls = p.takeCalls();
        calls.push_back(showNumber(in) + " " + showNumber(out));
        return calls;
    };
    const Strings first = run();
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(testModel().swmmNodes[0].outside.newTime, 0.0);
    EXPECT_EQ(p.takeCalls(), Strings{"m swmm_start 1 = 0"});
    EXPECT_EQ(run(), first);
    ASSERT_EQ(tarnvelde_end(), 0);  // ended already
    EXPECT_TRUE(p.takeCalls().empty());
}

TEST(SwmmStart, AnEngineThatIsNotStartedAgainIsNotEndedAgain) {
    CoupledProject p(ThreeNodes);
    for (const std::string name : {"a", "b", "c"}) {
        p.model(name + ".inp", getPassingModel(4));
    }
    p.start();
    p.step();
    ASSERT_EQ(tarnvelde_end(), 0);
    p.takeCalls();
    testModel().swmmNodes[1].entries.swmm_start.function = [](int) { return 5; };
    EXPECT_EQ(tarnvelde_start(0), 239);
    tarnvelde_close();
    const Strings ends = p.takeCalls("c swmm_end");
    EXPECT_TRUE(ends.empty()) << "its run of before was ended already";
}

// --- what comes in -------------------------------------------------------------------------------------------------

TEST(SwmmInflows, FlowsOfEqualNumbersAddUpAndLoadsDoNot) {
    // The records are found by number alone: C is link 0, and so is the first subcatchment.
    CoupledProject p("[POLLUTANTS]\nA 0\n[DWFS]\nJ A 512 \"\"\nK A 256 \"\"\nK FLOW 0.25 \"\"\n" + Through +
                         "[JUNCTIONS]\nK\n[CONNECTIONS]\nE K S NO 0\n",
                     4);
    p.model("m.inp", getPassingModel(4, "substances A\n"));
    p.start();
    setFlow(0.5);
    p.step();
    const CoupledFlow& record = *testModel().swmmNodes[0].outside.inflows.head;
    EXPECT_EQ(record.newFlow, 0.5);  // E has no record: its water is lost here, and counted nowhere
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, COUPLED_STEP * 0.5);
    const double loads[] = {0.125};
    swmm_takeInflow(testModel(), 0, 0, 2.0, loads);
    EXPECT_EQ(record.newFlow, 2.5);
    EXPECT_EQ(record.newLoad[0], 0.125);
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, COUPLED_STEP * 0.5 + COUPLED_STEP * 2.0);
}

TEST(SwmmInflows, TheFirstRecordOfALinkTakesAll) {
    CoupledProject p(Through + "INFLOW OUT C\n", 4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    setFlow(0.5);
    p.step();
    const CoupledFlow* head = testModel().swmmNodes[0].outside.inflows.head;
    EXPECT_EQ(head->newFlow, 0.5);
    EXPECT_EQ(head->next->newFlow, 0.0);
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, COUPLED_STEP * 0.5);
}

TEST(SwmmInflows, RunoffIsSetAndInNoTotal) {
    CoupledProject p(Through, 4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    const int32_t node = p.findNode("S");
    swmm_takeRunoff(testModel(), 0, 0, 0.75);
    swmm_takeRunoff(testModel(), 0, 0, 0.25);  // a second subcatchment of the number replaces the first
    swmm_takeRunoff(testModel(), 0, 5, 9.0);   // nobody's
    EXPECT_EQ(testModel().swmmNodes[0].outside.inflows.head->newFlow, 0.25);
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, 0.0);
    EXPECT_EQ(testModel().nodes[node].newLatFlow, 0.0);
}

TEST(SwmmInflows, RunoffReachesTheEngine) {
    // A sealed hectare under 36 mm/h.
    CoupledProject p(
        "[RAINGAGES]\nG INTENSITY 1:00 T\n[TIMESERIES]\nT 2021/03/01 0:00 36\n[OUTFALLS]\nO\n"
        "[SUBCATCHS]\nB G S 1 100 100 1 0.015 0.1 0.01 0.01 50 5 4 3 0\n[SWMM_INPS]\nS m.inp NO\nINFLOW IN B\n",
        4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    p.takeCalls();
    const Subcatch& b = testModel().subcatches[0];
    const CoupledFlow& record = *testModel().swmmNodes[0].outside.inflows.head;
    double flows[3];
    for (double& flow : flows) {
        p.step();
        const double f = subcatch_getWeight(testModel(), testModel().clock.oldRoutingTime);
        EXPECT_EQ(record.newFlow, f * b.thisRunoff + (1.0 - f) * b.lastRunoff);
        EXPECT_EQ(p.node("S").newLatFlow, 0.0);
        flow = record.newFlow;
    }
    EXPECT_GT(flows[0], 0.05);  // of the 0.1 m3/s that fall
    EXPECT_LT(flows[2], 0.1);
    EXPECT_EQ(testModel().totals.flow.wetWeatherInflow, 0.0);
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, 0.0);
    // The engine is one step ahead, exactly at the new routing clock.
    EXPECT_EQ(p.takeCalls("m swmm_setExtInflow"), (Strings{inflowCall("IN", 0.0), inflowCall("IN", flows[0]),
                                                           inflowCall("IN", flows[1]), inflowCall("IN", flows[2])}));
}

TEST(SwmmInflows, OfALaggedLinkAreThoseOfTheStepBefore) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J S YES 0\n"
        "[DWFS]\nJ FLOW 0.5 \"\"\nJ A 8 \"\"\n[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\n",
        4);
    p.model("m.inp", getPassingModel(4, "substances A\n"));
    p.start();
    const CoupledFlow& record = *testModel().swmmNodes[0].outside.inflows.head;
    for (int k = 0; k < 3; ++k) {
        p.step();
        EXPECT_EQ(record.newFlow, k > 0 ? 0.5 : 0.0);
        EXPECT_NEAR(record.newLoad[0], k > 0 ? 0.5 * 8.0 / 1000.0 : 0.0, 1e-15);
        EXPECT_EQ(testModel().totals.flow.swmmOutflow, k * 0.5 * COUPLED_STEP);
        EXPECT_NEAR(testModel().totals.quality[0].swmmOutflow, k * 0.004 * COUPLED_STEP, 1e-12);
    }
}

TEST(SwmmInflows, OfTheNodeItselfPileUp) {
    CoupledProject p(Through + "[DWFS]\nS FLOW 0.125 \"\"\n", 4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    p.step(3);
    EXPECT_EQ(p.node("S").newLatFlow, 3 * 0.125);
    EXPECT_EQ(p.node("S").newInflow, 3 * 0.125);
    EXPECT_EQ(testModel().swmmNodes[0].outside.inflows.head->newFlow, 0.0);
    EXPECT_EQ(testModel().totals.flow.dryWeatherInflow, COUPLED_STEP * 0.125 * 3);
}

TEST(SwmmInflows, OfAPipeThatHasNotFiredAreNothing) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nC J S NO 1350 1 0 0\n[DWFS]\n"
        "J FLOW 1 \"\"\nJ A 8 \"\"\n[SWMM_INPS]\nS m.inp YES\nINFLOW IN C\n",
        6);
    p.model("m.inp", getPassingModel(6, "substances A\n"));
    p.start();
    p.step();
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, 0.0);
    EXPECT_EQ(testModel().totals.quality[0].swmmOutflow, 0.0);
    p.step(4);
    EXPECT_GT(testModel().totals.flow.swmmOutflow, 0.0);
    EXPECT_GT(testModel().totals.quality[0].swmmOutflow, 0.0);
}

TEST(SwmmInflows, OfALaggedPipeAreThoseOfAStepBefore) {
    // A pipe of three steps, N = 1 and X = 0 delivers out = (q K / 2 + S) / (1.5 K). It fires in steps 2 and 4; in the
    // latter the clock stands a step before the new period, so that with K two thirds of its flow count and nothing of
    // its load.
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nC J S YES 2025 1 0 0\n[DWFS]\n"
        "J FLOW 2 \"\"\nJ A 30 \"\"\n[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\n",
        6);
    p.model("m.inp", getPassingModel(6, "substances A\n"));
    p.start();
    const CoupledFlow& record = *testModel().swmmNodes[0].outside.inflows.head;
    const double first = 2.0 / 3.0, second = (2.0 / 2.0 + (2.0 - first)) / 1.5;
    p.step(2);
    EXPECT_DOUBLE_EQ(record.newFlow, first);
    EXPECT_EQ(record.newLoad[0], 0.0);
    p.step(2);
    EXPECT_DOUBLE_EQ(record.newFlow, 1.0 / 3.0 * first + 2.0 / 3.0 * second);
    EXPECT_NEAR(record.newLoad[0], first * 30.0 / 1000.0, 1e-15);
}

TEST(SwmmInflows, OfTwoPipesHaveLoadsOfTheirOwn) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\nJ2\n[OUTFALLS]\nO\n[PIPES]\nC J S NO 675 1 0 0\nC2 J2 S NO 675 1 0 0\n"
        "[DWFS]\nJ FLOW 1 \"\"\nJ A 8 \"\"\nJ2 FLOW 1 \"\"\nJ2 A 16 \"\"\n"
        "[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\nINFLOW OUT C2\n",
        8);
    p.model("m.inp", getPassingModel(8, "substances A\n"));
    p.start();
    const CoupledFlow& first = *testModel().swmmNodes[0].outside.inflows.head;
    const CoupledFlow& second = *first.next;
    for (int k = 0; k < 8; ++k) {
        p.step();
        EXPECT_NEAR(first.newLoad[0], 0.008 * first.newFlow, 1e-15);
        EXPECT_NEAR(second.newLoad[0], 0.016 * second.newFlow, 1e-15);
        EXPECT_EQ(first.newFlow, second.newFlow);
    }
    EXPECT_GT(first.newFlow, 0.9);  // full by now
}

// --- requests of the host ------------------------------------------------------------------------------------------

TEST(SwmmRequests, ReachTheEngineInEachOfItsStepsAndAreGone) {
    CoupledProject p("[POLLUTANTS]\nA 0\n" + Through, 4);
    p.model("m.inp", getPassingModel(4, "step 337.5\nsubstances A\n"));
    p.start();
    ASSERT_EQ(tarnvelde_setSwmmSetting("S", "R", 0.5), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "OUT", "A", 0.25), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("s", "OUT", 2.0), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", 3.0), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "IN", "no such", 0.5), 0);
    p.takeCalls();
    p.step();
    const Strings calls = p.takeCalls();
    const Strings requests = {"m swmm_setExtInflow \"OUT\" 2 = 0",
                              "m swmm_setExtInflow \"IN\" 3 = 0",
                              "m swmm_setExtPollutLoad \"OUT\" \"A\" 0.25 = 0",
                              "m swmm_setExtPollutLoad \"IN\" \"no such\" 0.5 = -1",
                              "m swmm_setExtInflow \"IN\" 0 = 0",  // the record's own, which wins
                              "m swmm_setExtPollutLoad \"IN\" \"A\" 0 = 0",
                              "m swmm_getRoutingStep = 337.5",
                              "m swmm_setSetting \"R\" 0.5 337.5 = 0"};
    ASSERT_EQ(calls.size(), 3u * 12u);
    for (size_t engineStep = 0; engineStep < 3; ++engineStep) {
        const auto first = calls.begin() + static_cast<std::ptrdiff_t>(12 * engineStep);
        EXPECT_EQ(Strings(first, first + 8), requests);
    }
    EXPECT_TRUE(testModel().requests.swmmInflows.empty() && testModel().requests.swmmSettings.empty() &&
                testModel().requests.swmmLoads.empty());
    p.step();
    for (const std::string& call : p.takeCalls()) {
        EXPECT_EQ(call.find("\"OUT\" 2 "), std::string::npos);
        EXPECT_EQ(call.find("swmm_setSetting"), std::string::npos);
        EXPECT_EQ(call.find("swmm_getRoutingStep"), std::string::npos);
    }
}

TEST(SwmmRequests, ForANodeThatIsAheadOrLaterAreDropped) {
    CoupledProject p("[OUTFALLS]\nO\n[SWMM_INPS]\nS m.inp NO\nT n.inp NO\n", 8);
    p.model("m.inp", getPassingModel(8, "step 2025\n")).model("n.inp", getPassingModel(8));
    p.start();
    p.step();
    p.takeCalls();
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("T", "IN", 1.0), 0);  // S comes first, and empties all
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("S", "IN", 1.0), 0);  // S is ahead
    p.takeCalls();
    p.step();
    for (const std::string& call : p.takeCalls()) {
        EXPECT_EQ(call.find("setExtInflow"), std::string::npos) << call;
    }
    EXPECT_TRUE(testModel().requests.swmmInflows.empty());
}

TEST(SwmmRequests, ArePassedByPlantsUntouched) {
    // The plant lies upstream of the SWMM node and has its turn first.
    CoupledProject p(
        "[OUTFALLS]\nO\n[CONNECTIONS]\nC P S NO 0\nD S O NO 0\n[VORN_INPS]\nP m.sti NO\n"
        "[SWMM_INPS]\nS m.inp NO\n",
        4);
    p.model("m.inp", getPassingModel(4, "substances A\n")).model("m.sti", getPassingPlant(4));
    p.start();
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("S", "OUT", 1.0), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "OUT", "A", 0.25), 0);
    ASSERT_EQ(tarnvelde_setSwmmSetting("S", "R", 0.5), 0);
    p.takeCalls();
    p.step();
    const Strings calls = p.takeCalls();
    EXPECT_EQ(calls.front().rfind("m vorn_step", 0), 0u) << calls.front();
    for (const char* call : {"m swmm_setExtInflow \"OUT\" 1 = 0", "m swmm_setExtPollutLoad \"OUT\" \"A\" 0.25 = 0",
                             "m swmm_setSetting \"R\" 0.5 675 = 0"}) {
        EXPECT_EQ(std::count(calls.begin(), calls.end(), call), 2) << call;  // in both steps of the engine
    }
}

TEST(SwmmRequests, WaitForTheFirstStepAndGoAtTheClose) {
    CoupledProject p(Through, 4);
    p.model("m.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("S", "OUT", 1.0), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(testModel().requests.swmmInflows.size(), 1u);
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(testModel().requests.swmmInflows.size(), 1u);
    tarnvelde_close();
    EXPECT_TRUE(testModel().requests.swmmInflows.empty());
}

TEST(SwmmRequests, OfAnotherNodesIndexAreNeverUsed) {
    CoupledProject p(Through, 4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    // J has the place 0 among the junctions, so it reaches the engine of S.
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("J", "OUT", 1.0), 0);
    p.takeCalls();
    p.step();
    for (const std::string& call : p.takeCalls()) {
        EXPECT_EQ(call.find("\"OUT\" 1 "), std::string::npos) << call;
    }
    EXPECT_TRUE(testModel().requests.swmmInflows.empty());
}

// --- rules ---------------------------------------------------------------------------------------------------------

TEST(SwmmRules, ActInEveryStepBeforeTheHostsSetting) {
    CoupledProject p(Through + "[CONTROL_RULES]\nRULE R1\nIF JUNCTION J INFLOW >= 0\nTHEN SWMM S R SETTING = 0.25\n",
                     4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    p.takeCalls();
    ASSERT_EQ(tarnvelde_setSwmmSetting("S", "R", 0.75), 0);
    p.takeCalls();
    p.step();
    Strings calls = p.takeCalls();
    EXPECT_EQ(calls[0], "m swmm_isLink \"R\" = 0");
    EXPECT_EQ(calls[1], "m swmm_setSetting \"R\" 0.25 675 = 0");
    EXPECT_EQ(calls[4], "m swmm_setSetting \"R\" 0.75 675 = 0");
    p.step();
    calls = p.takeCalls();
    EXPECT_EQ(calls[1], "m swmm_setSetting \"R\" 0.25 675 = 0");
}

TEST(SwmmRules, CallInTheOrderOfTheCellsOfTheirTargets) {
    // A rule puts its lines forward from the last to the first: R2, R1. The list keeps the cells of the largest step so
    // far and fills them from its head, in the order in which targets are met; each further target goes in front.
    CoupledProject p(Through +
                         "[CONTROL_RULES]\nRULE X\nIF JUNCTION J INFLOW >= 0\nTHEN SWMM S R1 SETTING = 0.25\n"
                         "AND SWMM S R2 SETTING = 0.5\nRULE Y\nIF JUNCTION J INFLOW > 0\n"
                         "THEN SWMM S R SETTING = 0.75\n",
                     6);
    p.model("m.inp", getPassingModel(6, "node X\nnode Y\nnode Z\nreach R1 X Y 0\nreach R2 Y Z 0\n"));
    p.start();
    p.takeCalls();
    const std::string r1 = "m swmm_setSetting \"R1\" 0.25 675 = 0", r2 = "m swmm_setSetting \"R2\" 0.5 675 = 0",
                      r = "m swmm_setSetting \"R\" 0.75 675 = 0";
    const std::string setting = "m swmm_setSetting";
    p.step();
    EXPECT_EQ(p.takeCalls(setting), (Strings{r1, r2})) << "two new targets";
    setFlow(1.0);
    p.step();
    EXPECT_EQ(p.takeCalls(setting), (Strings{r2, r1})) << "both known";
    p.step();
    EXPECT_EQ(p.takeCalls(setting), (Strings{r, r2, r1})) << "one new behind two known";
    setFlow(0.0);
    p.step();
    EXPECT_EQ(p.takeCalls(setting), (Strings{r2, r1, r})) << "three known";
    setFlow(1.0);
    p.step();
    EXPECT_EQ(p.takeCalls(setting), (Strings{r2, r1})) << "two of three";
    p.step();
    EXPECT_EQ(p.takeCalls(setting), (Strings{r2, r1, r})) << "the third cell was kept";
}

TEST(SwmmRules, OnALinkThatTheModelDoesNotKnowDoNothing) {
    CoupledProject p(
        Through + "[CONTROL_RULES]\nRULE R1\nIF JUNCTION J INFLOW >= 0\nTHEN SWMM S nobody SETTING = 0.5\n", 4);
    p.model("m.inp", getPassingModel(4));
    p.start();
    p.takeCalls();
    p.step();
    const Strings calls = p.takeCalls();
    EXPECT_EQ(calls.at(0), "m swmm_isLink \"nobody\" = -1");
    for (const std::string& call : calls) {
        EXPECT_EQ(call.find("swmm_setSetting"), std::string::npos) << call;
    }
}

// --- books ---------------------------------------------------------------------------------------------------------

/// Numbers of a book: in, out and growth of the store, as a log line tells them behind a word.
static std::vector<double> readBook(const std::string& line, const std::string& word) {
    std::istringstream stream(line.substr(line.find(" " + word + " ") + word.size() + 2));
    std::vector<double> numbers(3);
    for (double& number : numbers) {
        stream >> number;
    }
    return numbers;
}

TEST(SwmmBooks, AgreeWithTheTotalsOfTheNetwork) {
    static constexpr int STEPS = 12;
    CoupledProject p("[POLLUTANTS]\nA 0\n[DWFS]\nJ A 100 \"\"\n" + Through, STEPS);
    p.model("m.inp", getPeriod(STEPS) + "step 675\nsubstances A\nnode IN\nnode OUT\nreach R IN OUT 1800\n");
    p.start();
    double lastFlow = 0.0, lastLoad = 0.0;
    for (int k = 0; k < STEPS; ++k) {
        setFlow(0.125 * (1 + k % 4));
        p.step();
        lastFlow = testModel().swmmNodes[0].outside.inflows.head->newFlow;
        lastLoad = testModel().swmmNodes[0].outside.inflows.head->newLoad[0];
    }
    tarnvelde_end();
    const std::string book = p.takeCalls("m swmm_end").at(0);
    const std::vector<double> water = readBook(book, "water"), mass = readBook(book, "A");
    EXPECT_NEAR(water[0], water[1] + water[2], 1e-9 * water[0]);
    EXPECT_NEAR(mass[0], mass[1] + mass[2], 1e-9 * mass[0]);
    EXPECT_GT(water[2], 0.0);
    // The engine is a step ahead: of what the network has given, the last step's share comes too late for it.
    EXPECT_NEAR(testModel().totals.flow.swmmOutflow - COUPLED_STEP * lastFlow, water[0], 1e-9 * water[0]);
    EXPECT_NEAR(testModel().totals.quality[0].swmmOutflow - COUPLED_STEP * lastLoad, mass[0], 1e-9 * mass[0]);
    // All that leaves the model reaches the outfall; a connection counts its water a step late, its mass at once.
    EXPECT_NEAR(testModel().totals.flow.externalOutflow, water[1], 1e-9 * water[1]);
    EXPECT_NEAR(testModel().totals.quality[0].externalOutflow, mass[1], 1e-9 * mass[1]);
    EXPECT_NEAR(testModel().totals.flow.swmmInflow + COUPLED_STEP * p.link("D").newFlow, water[1], 1e-9 * water[1]);
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, mass[1], 1e-9 * mass[1]);
}
