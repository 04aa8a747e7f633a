// Clocks of outside engines between those of the network: what is passed at the times in between, when an engine has
// enough, what a second run begins with, and nodes that are visited more than once in a step.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "coupling/converter.h"
#include "coupling/feed.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "links/connection.h"
#include "model/project.h"
#include "support/coupledflow.h"
#include "support/engines.h"
#include "support/model.h"
#include "support/storage.h"

using Strings = std::vector<std::string>;

static constexpr double DT = COUPLED_STEP;

// --- what goes in between two states -------------------------------------------------------------------------------

/// The numbers that calls of an entry pass, those that begin so.
static std::vector<double> takePassed(CoupledProject& p, const std::string& beginning) {
    std::vector<double> numbers;
    for (const std::string& call : p.takeCalls(beginning)) {
        numbers.push_back(std::stod(call.substr(beginning.size())));
    }
    return numbers;
}

static void expectNear(const std::vector<double>& numbers, const std::vector<double>& expected,
                       const std::string& what) {
    ASSERT_EQ(numbers.size(), expected.size()) << what;
    for (size_t k = 0; k < numbers.size(); ++k) {
        EXPECT_NEAR(numbers[k], expected[k], 1e-12) << what << ", call " << k;
    }
}

/// Flows of three routing steps, and what an engine meets whose own step is three quarters of theirs. Its clock stands
/// at 0, 0.75 | 1.5 | 2.25, 3 routing steps when it is asked; at 3 exactly, it steps once more.
static const std::vector<double> NetworkFlows = {1.0, 3.0, 7.0};
static const std::vector<double> EngineFlows = {0.0, 0.75 * 1.0, 0.5 * 1.0 + 0.5 * 3.0, 0.75 * 3.0 + 0.25 * 7.0, 7.0};

static std::vector<double> scale(const std::vector<double>& numbers, double factor) {
    std::vector<double> scaled;
    for (const double number : numbers) {
        scaled.push_back(number * factor);
    }
    return scaled;
}

static void runFlows(CoupledProject& p) {
    p.start();
    for (const double flow : NetworkFlows) {
        setFlow(flow);
        p.step();
    }
}

static const std::string Source =
    "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[DWFS]\nJ FLOW 0 \"\"\nJ A 64 \"\"\n";

TEST(SwmmClock, BetweenTwoStatesTakesFlowAndLoadInProportion) {
    for (const bool isLoad : {false, true}) {
        CoupledProject p(Source + "[CONNECTIONS]\nC J S NO 0\n[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\n", 6);
        p.model("m.inp", getPassingModel(6, "step 506.25\nsubstances A\n"));
        runFlows(p);
        if (isLoad) {
            expectNear(takePassed(p, "m swmm_setExtPollutLoad \"IN\" \"A\" "), scale(EngineFlows, 0.064), "kg/s");
        } else {
            expectNear(takePassed(p, "m swmm_setExtInflow \"IN\" "), EngineFlows, "m3/s");
        }
    }
}

static const std::string PlantConverters =
    "[CONVERTERS]\nCI COD POLLUTANT A 2\nCI NH4 CONSTANT 4 0.5\nCI NO3 CONSTANT 0 0\nCI TP CONSTANT 0 0\n"
    "CI TSS CONSTANT 0 0\nCI ALK CONSTANT 0 0\nCE VORN_EFFLUENT\nCE A CONSTANT 3 1\n";

TEST(VornClock, BetweenTwoStatesTakesFlowAndConstituentsInProportion) {
    // m3/s; COD from twice 64 mg/L; NH4 from half of 4 mg/L, in g/s.
    const double perFlow[] = {1.0, 128.0, 2.0};
    const std::string project =
        Source + "[CONNECTIONS]\nC J P NO 0\n[VORN_INPS]\nP m.sti NO\nINFLUENT I C CI\n" + PlantConverters;
    for (int index = 0; index < 3; ++index) {
        CoupledProject p(project, 6);
        p.model("m.sti", getPassingPlant(6, "step 506.25\n"));
        runFlows(p);
        const std::string call = "m vorn_setExtInflow \"I\" " + std::to_string(index) + " ";
        expectNear(takePassed(p, call), scale(EngineFlows, perFlow[index]), call);
    }
}

// --- what comes out between two states -----------------------------------------------------------------------------

TEST(VornClock, BetweenTwoStatesGivesFlowAndLoadInProportion) {
    CoupledProject p(Source +
                         "[CONNECTIONS]\nC J P NO 0\nD P O NO 0\n[VORN_INPS]\nP m.sti NO\nINFLUENT I C CI\n"
                         "EFFLUENT E D CE\n" +
                         PlantConverters,
                     8);
    p.model("m.sti", getPassingPlant(8, "step 1350\n"));
    p.start();
    setFlow(0.5);
    // The plant steps at 0, with nothing, and at 2 routing steps, with all; what it then has stands at 4.
    const double flows[] = {0.0, 0.0, 0.25, 0.5};
    for (const double flow : flows) {
        p.step();
        EXPECT_EQ(p.link("D").newFlow, flow);
        EXPECT_NEAR(p.link("D").newQual[0], flow > 0.0 ? 3.0 : 0.0, 1e-12);
    }
    EXPECT_EQ(testModel().totals.flow.vornInflow, DT * 0.25);  // the flow of the step before
    EXPECT_NEAR(testModel().totals.quality[0].vornInflow, DT * 0.003 * 0.75, 1e-15);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 0.0);
    EXPECT_EQ(testModel().totals.quality[0].swmmInflow, 0.0);
}

TEST(SwmmOutflows, AreMultipliedAndThenDivided) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[OUTFALLS]\nO\n[CONNECTIONS]\nD S O NO 0\n[SWMM_INPS]\nS m.inp NO\nOUTFLOW OUT D\n", 4);
    p.model("m.inp", getPassingModel(4, "substances A\nspring OUT 0.7 5.3\n"));
    p.start();
    p.step();
    const double flow = 0.7, concentration = flow * 5.3 / 1000.0 / flow * 1000.0;  // as the engine gives it
    ASSERT_NE(flow * concentration / 1000.0, flow * (concentration / 1000.0));
    EXPECT_EQ(testModel().swmmNodes[0].outside.outflows.head->newLoad[0], flow * concentration / 1000.0);
}

// --- elapsed times -------------------------------------------------------------------------------------------------

static std::vector<std::optional<double>> Elapsed;  ///< days that the engine of these tests stores, call by call
static size_t StepCalls;

static int stepEngine(double* elapsed) {
    const std::optional<double> days = Elapsed.at(StepCalls++);
    *elapsed = days.value_or(*elapsed);
    return 0;
}

static const OutsideCalls Calls = {{nullptr}, {nullptr}, {stepEngine}, {nullptr}, {nullptr}};

/// Steps an engine up to a routing clock, ms; the number of its steps.
static size_t advance(OutsideNode& outside, double routingTime, const std::vector<std::optional<double>>& elapsed) {
    const double before = testModel().clock.newRoutingTime;
    testModel().clock.newRoutingTime = routingTime;
    Elapsed = elapsed;
    StepCalls = 0;
    outside_advance(
        testModel(), outside, Calls, [] {}, [] {});
    testModel().clock.newRoutingTime = before;
    return StepCalls;
}

TEST(EngineClock, ThatIsNoNumberEndsTheRepetition) {
    OutsideNode outside{};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(advance(outside, 675000.0, {COUPLED_STEP_DAYS / 2.0, nan, 1.0}), 2u);
    EXPECT_EQ(outside.oldTime, 337500.0);
    EXPECT_TRUE(std::isnan(outside.newTime));
    // It isn't ahead either, so it is asked once more in the next step.
    EXPECT_EQ(advance(outside, 1350000.0, {nan, 1.0}), 1u);
    EXPECT_TRUE(std::isnan(outside.oldTime));
}

TEST(EngineClock, ThatIsNotStoredIsZeroAndNotThatOfTheCallBefore) {
    OutsideNode outside{};
    EXPECT_EQ(advance(outside, 675000.0, {COUPLED_STEP_DAYS / 2.0, std::nullopt, 1.0}), 2u);
    EXPECT_EQ(outside.oldTime, 337500.0);
    EXPECT_EQ(outside.newTime, 0.0);
}

TEST(EngineClock, IsTheProductOfDaysAndTheMillisecondsOfADay) {
    // Times of whole seconds where two products would round otherwise than one.
    int count = 0;
    for (int seconds = 1; seconds <= 86400; ++seconds) {
        const double elapsed = seconds / 86400.0;
        if (elapsed * 86400000.0 == elapsed * 86400.0 * 1000.0) {
            continue;
        }
        ++count;
        OutsideNode outside{};
        EXPECT_EQ(advance(outside, 0.0, {elapsed}), 1u);
        ASSERT_EQ(outside.newTime, elapsed * 86400000.0) << seconds << " s";
    }
    EXPECT_GT(count, 0);
}

/// Steps of an engine of 60 s in each routing step of 60 s, from the first on. Its clock is a rounded product, which
/// may lie a bit beside the whole milliseconds of the routing clock.
static std::vector<size_t> countStepsOfAMinute(int routingSteps) {
    std::vector<size_t> counts;
    double engineTime = 0.0;  // ms
    int engineSteps = 0;
    for (int k = 1; k <= routingSteps; ++k) {
        const int before = engineSteps;
        while (engineTime <= k * 60000.0) {
            ++engineSteps;
            engineTime = engineSteps * 60.0 / 86400.0 * 86400000.0;
        }
        counts.push_back(static_cast<size_t>(engineSteps - before));
    }
    return counts;
}

TEST(EngineClock, MeetsTheRoutingClockToTheLastBit) {
    static constexpr int STEPS = 230;
    const std::vector<size_t> expected = countStepsOfAMinute(STEPS);
    // At the routing clock exactly, the engine steps once more. Where rounding puts it past that clock it waits.
    ASSERT_EQ(expected[0], 2u);
    ASSERT_GT(55 * 60.0 / 86400.0 * 86400000.0, 3300000.0);
    ASSERT_EQ(expected[55 - 1], 0u);
    ASSERT_EQ(expected[56 - 1], 2u);
    // Where rounding does so twice in a row, the first step of the engine in the second of them is enough.
    ASSERT_GT(197 * 60.0 / 86400.0 * 86400000.0, 11820000.0);
    ASSERT_GT(198 * 60.0 / 86400.0 * 86400000.0, 11880000.0);
    ASSERT_EQ(expected[197 - 1], 0u);
    ASSERT_EQ(expected[198 - 1], 1u);
    CoupledProject p(getGeneral(240) + "[OUTFALLS]\nO\n[SWMM_INPS]\nS m.inp NO\n");
    p.model("m.inp", "period 44256 0 44256 14400\nstep 60\n");
    p.start();
    ASSERT_EQ(testModel().options.routingStep, 60);
    p.takeCalls();
    for (int k = 1; k <= STEPS; ++k) {
        p.step();
        EXPECT_EQ(p.takeCalls("m swmm_step").size(), expected[static_cast<size_t>(k - 1)]) << "routing step " << k;
    }
}

// --- a second run --------------------------------------------------------------------------------------------------

TEST(CoupledRecords, BeginASecondRunWithNothing) {
    CoupledProject p(Source +
                         "[CONNECTIONS]\nC J S NO 0\n[PIPES]\nX S O NO 2700 1 0 0\n"
                         "[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\nOUTFLOW OUT X\n",
                     4);
    p.model("m.inp", getPassingModel(4, "substances A\n"));
    p.start();
    setFlow(0.5);
    p.step(4);
    const CoupledFlow& in = *testModel().swmmNodes[0].outside.inflows.head;
    const CoupledFlow& out = *testModel().swmmNodes[0].outside.outflows.head;
    EXPECT_EQ(in.newFlow, 0.5);
    EXPECT_GT(out.sumFlow, 0.0);
    EXPECT_GT(out.sumCount, 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    for (const CoupledFlow* record : {&in, &out}) {
        EXPECT_EQ(record->oldFlow, 0.0);
        EXPECT_EQ(record->newFlow, 0.0);
        EXPECT_EQ(record->sumFlow, 0.0);
        EXPECT_EQ(record->sumCount, 0);
        EXPECT_EQ(record->oldLoad[0], 0.0);
        EXPECT_EQ(record->newLoad[0], 0.0);
        EXPECT_EQ(record->sumLoad[0], 0.0);
    }
    EXPECT_EQ(testModel().swmmNodes[0].outside.oldTime, 0.0);
    EXPECT_EQ(testModel().swmmNodes[0].outside.newTime, 0.0);
}

// --- nodes that are visited again ----------------------------------------------------------------------------------

/// A circle of C and D that no head leads into. The two ways to S give the walk over all paths the number of nodes that
/// it asks for, so the project passes, and S, which is node 0, is visited in the two open places again.
static const std::string Circle =
    "[JUNCTIONS]\nC\nD\n[SPLITTERS]\nJ K RATIO 0.5\n[OUTFALLS]\nO\n[CONNECTIONS]\nK J S NO 0\nL J S NO 0\nM S O NO 0\n"
    "N C D NO 0\nQ D C NO 0\n[POLLUTANTS]\nA 0\n[DWFS]\nJ FLOW 4 \"\"\nJ A 8 \"\"\n";

TEST(NodeOrder, VisitsASwmmNodeInThePlaceOfNodesThatAreNeverReached) {
    CoupledProject p("[SWMM_INPS]\nS m.inp NO\nINFLOW IN K\nOUTFLOW OUT M\n" + Circle, 4);
    p.model("m.inp", getPassingModel(4, "substances A\nspring OUT 0.25\n"));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    ASSERT_EQ(p.findNode("S"), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("S", "OUT", 1.0), 0);
    p.takeCalls();
    p.step();
    // Three times the 2 m3/s of K are added up; its load is set three times.
    const CoupledFlow& in = *testModel().swmmNodes[0].outside.inflows.head;
    EXPECT_EQ(in.newFlow, 3.0 * 2.0);
    EXPECT_NEAR(in.newLoad[0], 2.0 * 8.0 / 1000.0, 1e-15);
    EXPECT_EQ(testModel().totals.flow.swmmOutflow, DT * 2.0 * 3.0);
    EXPECT_NEAR(testModel().totals.quality[0].swmmOutflow, DT * 0.016 * 3.0, 1e-12);
    // The engine is ahead after the first visit, with the inflow as it was then, and meets the request in that alone.
    const Strings calls = p.takeCalls("m swmm_setExtInflow");
    EXPECT_EQ(calls, (Strings{"m swmm_setExtInflow \"OUT\" 1 = 0", "m swmm_setExtInflow \"IN\" 0 = 0",
                              "m swmm_setExtInflow \"OUT\" 1 = 0", "m swmm_setExtInflow \"IN\" 2 = 0"}));
    // What leaves is queued in each visit, and counted as the flow that stood before it: 0, then 1.25 twice.
    EXPECT_EQ(testModel().connections[2].flowQueue.end - testModel().connections[2].flowQueue.first, 3);
    EXPECT_EQ(p.link("M").newFlow, 1.25);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * 1.25 * 2.0);
}

TEST(NodeOrder, VisitsAPlantInThePlaceOfNodesThatAreNeverReached) {
    CoupledProject p("[VORN_INPS]\nS m.sti NO\nINFLUENT I K CI\nEFFLUENT E M CE\n" + Circle + PlantConverters, 4);
    p.model("m.sti", getPassingPlant(4));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    ASSERT_EQ(p.findNode("S"), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    p.takeCalls();
    p.step();
    // Here the constituents add up as the flow does: COD from twice 8 mg/L.
    const CoupledFlow& in = *testModel().vornNodes[0].outside.inflows.head;
    EXPECT_EQ(in.newFlow, 3.0 * 2.0);
    EXPECT_NEAR(in.newLoad[0], 3.0 * 2.0 * 16.0, 1e-12);
    EXPECT_EQ(testModel().totals.flow.vornOutflow, DT * 2.0 * 3.0);
    EXPECT_EQ(p.takeCalls("m vorn_step").size(), 2u);
    EXPECT_EQ(testModel().connections[2].flowQueue.end - testModel().connections[2].flowQueue.first, 3);
}
