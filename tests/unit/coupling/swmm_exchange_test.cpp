// What SWMM nodes and their engines tell each other in a step: the order of it where there are several records or
// requests, what the engine leaves unsaid, and requests for another node.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "coupling/swmm.h"
#include "links/link.h"
#include "model/project.h"
#include "support/engines.h"
#include "support/model.h"

using Strings = std::vector<std::string>;

// --- order ---------------------------------------------------------------------------------------------------------

/// What an engine step with two inflows and two outflows calls, without the loads, which are rounded. IN gets its flow,
/// m3/s, and passes it on to OUT, which gets one of its own as well.
static Strings getOrder(double in, double out) {
    return {"m swmm_setExtInflow \"IN\" " + showNumber(in) + " = 0",
            "m swmm_setExtPollutLoad \"IN\" \"A\" ",
            "m swmm_setExtInflow \"OUT\" " + showNumber(out) + " = 0",
            "m swmm_setExtPollutLoad \"OUT\" \"A\" ",
            "m swmm_step = 0 : ",
            "m swmm_getResult 1 \"OUT\" 4 = 0 : " + showNumber(in + out),
            "m swmm_isPollut \"A\" = 0 : 0",
            "m swmm_getResult 1 \"OUT\" 6 = 0 : ",
            "m swmm_getResult 1 \"IN\" 4 = 0 : " + showNumber(in),
            "m swmm_isPollut \"A\" = 0 : 0",
            "m swmm_getResult 1 \"IN\" 6 = 0 : "};
}

TEST(SwmmCalls, FinishEachRecordBeforeTheNext) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\nK\n[OUTFALLS]\nO\n"
        "[CONNECTIONS]\nC J S NO 0\nE K S NO 0\nD S O NO 0\nD2 S O NO 0\n"
        "[DWFS]\nJ FLOW 0.5 \"\"\nJ A 8 \"\"\nK FLOW 0.25 \"\"\nK A 8 \"\"\n"
        "[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\nINFLOW OUT E\nOUTFLOW OUT D\nOUTFLOW IN D2\n");
    p.model("m.inp", getPassingModel(4, "substances A\n"));
    p.start();
    p.takeCalls();
    p.step();
    // The engine steps twice: at the old state, where nothing flows, and at the new one.
    Strings expected = getOrder(0.0, 0.0);
    for (const std::string& beginning : getOrder(0.5, 0.25)) {
        expected.push_back(beginning);
    }
    const Strings calls = p.takeCalls();
    ASSERT_EQ(calls.size(), expected.size());
    for (size_t k = 0; k < calls.size(); ++k) {
        EXPECT_EQ(calls[k].substr(0, expected[k].size()), expected[k]) << "call " << k;
    }
}

TEST(SwmmRequests, ForSettingsEachAskForTheRoutingStep) {
    CoupledProject p("[OUTFALLS]\nO\n[SWMM_INPS]\nS m.inp NO\n");
    p.model("m.inp", getPassingModel(4));
    p.start();
    ASSERT_EQ(tarnvelde_setSwmmSetting("S", "R", 0.5), 0);
    ASSERT_EQ(tarnvelde_setSwmmSetting("S", "R", 0.25), 0);
    p.takeCalls();
    p.step();
    Strings expected;
    for (const double engineStep : {1.0, 2.0}) {
        for (const char* setting : {"0.5", "0.25"}) {
            expected.emplace_back("m swmm_getRoutingStep = 675");
            expected.push_back("m swmm_setSetting \"R\" " + std::string(setting) + " 675 = 0");
        }
        expected.push_back("m swmm_step = 0 : " + showNumber(engineStep * COUPLED_STEP_DAYS));
    }
    EXPECT_EQ(p.takeCalls(), expected);
}

TEST(SwmmRequests, ForLoadsAreAllGivenInTheirOrder) {
    CoupledProject p("[POLLUTANTS]\nA 0\nB 0\n[OUTFALLS]\nO\n[SWMM_INPS]\nS m.inp NO\n");
    p.model("m.inp", getPassingModel(4, "substances A B\n"));
    p.start();
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "OUT", "A", 0.5), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "IN", "A", 0.25), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "OUT", "B", 0.75), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("S", "OUT", "A", 0.125), 0);
    p.takeCalls();
    p.step();
    // Nothing is added up here: of two loads of one object and pollutant the engine gets both, and the last one counts
    // if it keeps one.
    Strings expected;
    for (const double engineStep : {1.0, 2.0}) {
        expected.insert(
            expected.end(),
            {"m swmm_setExtPollutLoad \"OUT\" \"A\" 0.5 = 0", "m swmm_setExtPollutLoad \"IN\" \"A\" 0.25 = 0",
             "m swmm_setExtPollutLoad \"OUT\" \"B\" 0.75 = 0", "m swmm_setExtPollutLoad \"OUT\" \"A\" 0.125 = 0",
             "m swmm_step = 0 : " + showNumber(engineStep * COUPLED_STEP_DAYS)});
    }
    EXPECT_EQ(p.takeCalls(), expected);
    p.step();
    EXPECT_EQ(p.takeCalls(), Strings{"m swmm_step = 0 : " + showNumber(3.0 * COUPLED_STEP_DAYS)}) << "once";
}

// --- loads ---------------------------------------------------------------------------------------------------------

TEST(SwmmInflows, KeepTheSignOfALoadOfAPipeThatIsZero) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J S NO 6750 1 0.2 0\n"
        "[SWMM_INPS]\nS m.inp NO\nINFLOW IN P\n",
        20);
    p.model("m.inp", getPassingModel(20, "substances A\n"));
    p.start();
    const CoupledFlow& record = *testModel().swmmNodes[0].outside.inflows.head;
    p.step();
    EXPECT_FALSE(std::signbit(record.newLoad[0])) << "no firing yet, no load";
    p.step();  // the first firing
    Link& link = testModel().links[0];
    link.oldFlow = link.newFlow = -0.5;
    p.step();
    EXPECT_EQ(record.newFlow, -0.5);
    EXPECT_EQ(record.newLoad[0], 0.0);
    EXPECT_TRUE(std::signbit(record.newLoad[0]));
}

// --- requests for another node -------------------------------------------------------------------------------------

TEST(SwmmRequests, ForALaterNodeReachNoEngine) {
    CoupledProject p("[POLLUTANTS]\nA 0\n[OUTFALLS]\nO\n[SWMM_INPS]\nS m.inp NO\nT n.inp NO\n");
    for (const char* name : {"m.inp", "n.inp"}) {
        p.model(name, getPassingModel(4, "substances A\n"));
    }
    p.start();
    ASSERT_EQ(tarnvelde_setSwmmSetting("T", "R", 0.5), 0);
    ASSERT_EQ(tarnvelde_setSwmmExtLoad("T", "OUT", "A", 0.25), 0);
    p.takeCalls();
    p.step();
    // S comes first and empties the queues, but takes nothing that isn't meant for it. Neither node has records, so
    // that only steps are left.
    const std::string first = "swmm_step = 0 : " + showNumber(COUPLED_STEP_DAYS);
    const std::string second = "swmm_step = 0 : " + showNumber(2.0 * COUPLED_STEP_DAYS);
    EXPECT_EQ(p.takeCalls(), (Strings{"m " + first, "m " + second, "n " + first, "n " + second}));
    EXPECT_TRUE(testModel().requests.swmmSettings.empty());
    EXPECT_TRUE(testModel().requests.swmmLoads.empty());
}

// --- what the engine leaves unsaid ---------------------------------------------------------------------------------

static Strings Asked;  ///< what the results of an engine step are asked for: pollutants and properties

/// A flow of 0.5 m3/s, in which the engine knows one concentration, its property 6. It stores nothing else.
static int tellFirstConcentration(int, const char*, int property, double* value) {
    Asked.push_back(std::to_string(property));
    switch (property) {
        case 4: *value = 0.5; return 0;
        case 6: *value = 8.0; return 0;
        default: return -1;
    }
}

using PollutantCall = int (*)(const char* name, int* index);

/// Steps an engine that answers so for pollutants A and B in one outflow, and expects what is asked in its latest step
/// and the loads that come of it, kg/s.
static void expectLoads(PollutantCall isPollut, const Strings& asked, double a, double b) {
    CoupledProject p(
        "[POLLUTANTS]\nA 0\nB 0\n[OUTFALLS]\nO\n[CONNECTIONS]\nD S O NO 0\n"
        "[SWMM_INPS]\nS m.inp NO\nOUTFLOW OUT D\n");
    p.model("m.inp", getPassingModel(4, "substances A B\n"));
    p.start();
    testModel().swmmNodes[0].entries.swmm_isPollut.function = isPollut;
    testModel().swmmNodes[0].entries.swmm_getResult.function = tellFirstConcentration;
    p.step();
    Asked.clear();
    p.step();  // the engine is ahead by now, and steps once
    EXPECT_EQ(Asked, asked);
    const CoupledFlow& record = *testModel().swmmNodes[0].outside.outflows.head;
    EXPECT_EQ(record.newFlow, 0.5);
    EXPECT_EQ(record.newLoad[0], a);
    EXPECT_EQ(record.newLoad[1], b);
}

static constexpr double LOAD = 0.5 * 8.0 / 1000.0;  ///< kg/s, of the flow and the one concentration

TEST(SwmmOutflows, WhoseConcentrationIsNotStoredHaveNoLoad) {
    const auto isPollut = [](const char* name, int* index) {
        Asked.emplace_back(name);
        *index = *name == 'A' ? 0 : 1;
        return 0;
    };
    expectLoads(isPollut, {"4", "A", "6", "B", "7"}, LOAD, 0.0);
}

TEST(SwmmOutflows, WhosePollutantsIndexIsNotStoredAreOfTheFirstOne) {
    // A is the engine's second pollutant, and its index doesn't stay for B.
    const auto isPollut = [](const char* name, int* index) {
        Asked.emplace_back(name);
        if (*name == 'A') {
            *index = 1;
        }
        return 0;
    };
    expectLoads(isPollut, {"4", "A", "7", "B", "6"}, 0.0, LOAD);
}

TEST(SwmmOutflows, OfAPollutantThatTheModelDoesNotKnowAreNotAskedFor) {
    const auto isPollut = [](const char* name, int* index) {
        Asked.emplace_back(name);
        if (*name == 'A') {
            *index = 0;
            return 0;
        }
        return -1;
    };
    expectLoads(isPollut, {"4", "A", "6", "B"}, LOAD, 0.0);
}
