// Treatment reactors: their sections with all messages, the reaction laws against closed forms, and each stage of a
// step: surplus, mixing, overflow, evaporation, infiltration, emptying, plug flow.

#include "routing/reactor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "engine/arena.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "input/pattern.h"
#include "results/massbal.h"
#include "routing/decay.h"
#include "routing/network.h"
#include "routing/node.h"
#include "routing/routing.h"
#include "support/project.h"
#include "support/tempfolder.h"
#include "tarnvelde.h"

/// What a project of one reactor R says beside the network that all of them have: R overflows over a connection without
/// delay into OUT, its surplus goes to SUR and its emptying to EMP.
struct ProjectText {
    std::string reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 0 0";
    std::string decay;
    std::string emptying;
    std::string inflow;   ///< lines of [INFLOWS]
    std::string quality;  ///< lines of [INITIAL_CONCENTRATION]
    std::string pollutants = "A 0\n";
    std::string more;  ///< whole sections
    std::string endTime = "2:00:00";
    std::string step = "0:01:00";
};

static std::string makeText(const ProjectText& t) {
    return "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME " + t.endTime + "\nROUTING_STEP " + t.step +
           "\nRUNOFF_STEP 0:30:00\nREPORT_STEP 0:30:00\n[POLLUTANTS]\n" + t.pollutants +
           "[OUTFALLS]\nOUT\nSUR\nEMP\n[PATTERNS]\nMONTHS MONTHLY 2 3\nHOURS HOURLY 4 5\n[REACTORS]\n" + t.reactor +
           "\n[CONNECTIONS]\nC R OUT NO 0\n[REACTORS_DECAY]\n" + t.decay + "\n[REACTORS_EMPTYING]\n" + t.emptying +
           "\n[INITIAL_CONCENTRATION]\n" + t.quality + "\n[INFLOWS]\n" + t.inflow + "\n" + t.more + "\n";
}

/// A whole day of seconds, for rates that files give per day.
static constexpr double DAY = 86400.0;

class ReactorTest : public ::testing::Test {
protected:
    void TearDown() override { tarnvelde_close(); }

    int32_t open(const ProjectText& text) {
        folder.write("m.inp", makeText(text));
        testing::internal::CaptureStdout();
        const int32_t code =
            tarnvelde_open(folder.file("m.inp").c_str(), folder.file("m.rpt").c_str(), folder.file("m.bin").c_str());
        testing::internal::GetCapturedStdout();
        return code;
    }

    void start(const ProjectText& text) {
        ASSERT_EQ(open(text), 0) << report();
        ASSERT_EQ(tarnvelde_start(0), 0) << report();
    }

    std::string report() {
        if (ReportFile) {
            std::fflush(ReportFile);
        }
        return readFile(folder.path / "m.rpt");
    }

    static void runToEnd() { ASSERT_EQ(stepToEnd(), 0); }

    static void step(int32_t count = 1) {
        double elapsed;
        for (int32_t k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
    }

    /// One update of R with an inflow (m3/s) and its concentration (mg/L), apart from the rest of a step.
    static void update(double inflow, double concentration = 0.0) {
        for (const char* name : {"R", "SUR", "EMP"}) {
            node_shiftState(tarnvelde_findObject(1, name));
        }
        node("R").newInflow = inflow;
        if (project_pollutantCount() > 0) {
            node("R").massInflow[0] = inflow * concentration / 1000.0;
        }
        reactor_update(tarnvelde_findObject(1, "R"));
    }

    /// Expects the project to be refused with one message about a line.
    void expectRefused(const ProjectText& text, const std::string& message) {
        EXPECT_EQ(open(text), 200);
        EXPECT_NE(report().find("\n  ERROR " + message), std::string::npos) << "wanted " << message << report();
    }

    static Node& node(const char* name) { return Nodes[static_cast<size_t>(tarnvelde_findObject(1, name))]; }

    static Reactor& reactor() { return Reactors[0]; }

    TempFolder folder;
};

static ProjectText withReactor(const std::string& line) {
    ProjectText text;
    text.reactor = line;
    return text;
}

static ProjectText withDecay(const std::string& line) {
    ProjectText text;
    text.decay = line;
    return text;
}

static ProjectText withEmptying(const std::string& line) {
    ProjectText text;
    text.emptying = line;
    return text;
}

// --- [REACTORS] ----------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, ReadsAStirredTank) {
    ASSERT_EQ(open(withReactor("R cstr SUR flow_capacity 43200 250 30 40")), 0) << report();
    EXPECT_EQ(node("R").kind, REACTOR);
    EXPECT_STREQ(node("R").id, "R");
    EXPECT_EQ(reactor().type, CSTR);
    EXPECT_EQ(reactor().surpassNode, tarnvelde_findObject(1, "SUR"));
    EXPECT_EQ(reactor().capacityType, FLOW_CAPACITY);
    EXPECT_EQ(reactor().flowCapacity, 0.5);
    EXPECT_EQ(reactor().surfaceLoading, 0.0);
    EXPECT_EQ(reactor().volume, 250.0);
    EXPECT_EQ(reactor().retentionTime, 0.0);
    EXPECT_EQ(reactor().area, 30.0);
    EXPECT_EQ(reactor().initFraction, 0.4);
}

TEST_F(ReactorTest, ReadsAPlugFlowReactor) {
    ASSERT_EQ(open(withReactor("R PFR SUR SURFACE_LOADING 21600 1.5 30 rubbish")), 0) << report();
    EXPECT_EQ(reactor().type, PFR);
    EXPECT_EQ(reactor().capacityType, SURFACE_LOADING);
    EXPECT_EQ(reactor().surfaceLoading, 0.25);
    EXPECT_EQ(reactor().flowCapacity, 0.0);
    EXPECT_EQ(reactor().retentionTime, 5400.0);
    EXPECT_EQ(reactor().volume, 0.0);
    EXPECT_EQ(reactor().initFraction, 0.0);
}

TEST_F(ReactorTest, PlugFlowReactorMayHaveNoRetention) {
    ASSERT_EQ(open(withReactor("R PFR SUR FLOW_CAPACITY 1 0 0")), 0) << report();
    EXPECT_EQ(reactor().retentionTime, 0.0);
}

TEST_F(ReactorTest, StartFillingIsAtMostFull) {
    ASSERT_EQ(open(withReactor("R CSTR SUR FLOW_CAPACITY 1 10 0 250")), 0) << report();
    EXPECT_EQ(reactor().initFraction, 1.0);
}

TEST_F(ReactorTest, WrongReactorLinesAreRefused) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {{"R CSTR SUR FLOW_CAPACITY 1 10", "203: too few items at line"},
                 {"R tub nowhere FLOW x", "203: too few items at line"},
                 {"R TUB SUR FLOW_CAPACITY 1 10 0 0", "205: invalid keyword TUB at line"},
                 {"R CSTR nowhere FLOW_CAPACITY 1 10 0 0", "209: undefined object nowhere at line"},
                 {"R CSTR SUR FLOW 1 10 0 0", "205: invalid keyword FLOW at line"},
                 {"R CSTR SUR FLOW_CAPACITY -1 10 0 0", "211: invalid number -1 at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1m 10 0 0", "211: invalid number 1m at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 0.0 0 0", "211: invalid number 0.0 at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 -2 0 0", "211: invalid number -2 at line"},
                 {"R PFR SUR FLOW_CAPACITY 1 -2 0", "211: invalid number -2 at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 10 -3 0", "211: invalid number -3 at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 10 0", "203: too few items at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 10 x", "211: invalid number x at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 10 0 -4", "211: invalid number -4 at line"},
                 {"R CSTR SUR FLOW_CAPACITY 1 10 0 full", "211: invalid number full at line"}};
    for (const auto& c : cases) {
        expectRefused(withReactor(c.line), c.message);
    }
}

TEST_F(ReactorTest, RefusedReactorIsNoReactorToOtherSections) {
    ProjectText text = withReactor("R TUB SUR FLOW_CAPACITY 1 10 0 0");
    text.decay = "R A FIRST 1 \"\"";
    text.emptying = "R EMP 1 1 1 \"\"";
    expectRefused(text, "205: invalid keyword TUB at line");
    EXPECT_NE(report().find("ERROR 209: undefined object R at line 22 of [REACTORS_DECAY] section:"), std::string::npos)
        << report();
    EXPECT_NE(report().find("ERROR 209: undefined object R at line 24 of [REACTORS_EMPTYING] section:"),
              std::string::npos)
        << report();
}

// --- [REACTORS_DECAY], [REACTORS_EMPTYING], [INITIAL_CONCENTRATION] -------------------------------------------------

TEST_F(ReactorTest, WithoutFurtherLinesNothingReactsOrIsLost) {
    ASSERT_EQ(open({}), 0);
    EXPECT_EQ(reactor().reactionType[0], -1);
    EXPECT_EQ(reactor().reactionPattern[0], -1);
    EXPECT_EQ(reactor().emptyingNode, -1);
    EXPECT_EQ(reactor().evapPattern, -1);
    EXPECT_EQ(reactor().emptyingRate, 0.0);
    EXPECT_EQ(reactor().infilRate, 0.0);
    EXPECT_EQ(reactor().evapRate, 0.0);
}

TEST_F(ReactorTest, RatesOfReactionAreReadPerDay) {
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 1 1 0");
    text.pollutants = "A 0\nB 0\nC 0\nD 0\n";
    text.decay = "R A CONST_CONCEN 5 \"\"\nR B CONST_RATIO 0.5 \"\"\nR C ZERO 43200 \"\"\nR D first 21600 MONTHS";
    ASSERT_EQ(open(text), 0) << report();
    const int32_t types[] = {CONST_CONCEN, CONST_RATIO, ZERO_ORDER, FIRST_ORDER};
    const double coefficients[] = {5.0, 0.5, 0.5, 0.25};
    for (int32_t p = 0; p < 4; ++p) {
        EXPECT_EQ(reactor().reactionType[p], types[p]);
        EXPECT_EQ(reactor().reactionCoeff[p], coefficients[p]);
        EXPECT_EQ(reactor().reactionPattern[p], p == 3 ? 0 : -1);
    }
}

TEST_F(ReactorTest, WrongDecayLinesAreRefused) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {{"R A FIRST 1", "203: too few items at line"},
                 {"nobody A FIRST 1 \"\"", "209: undefined object nobody at line"},
                 {"OUT A FIRST 1 \"\"", "209: undefined object OUT at line"},
                 {"R X FIRST 1 \"\"", "209: undefined object X at line"},
                 {"R A SECOND 1 \"\"", "205: invalid keyword SECOND at line"},
                 {"R A FIRST -1 \"\"", "211: invalid number -1 at line"},
                 {"R A FIRST 1d \"\"", "211: invalid number 1d at line"},
                 {"R A FIRST 1 NEVER", "209: undefined object NEVER at line"}};
    for (const auto& c : cases) {
        expectRefused(withDecay(c.line), c.message);
    }
}

TEST_F(ReactorTest, RefusedDecayLineChangesNothing) {
    open(withDecay("R A FIRST 1 NEVER"));
    EXPECT_EQ(reactor().reactionType[0], -1);
}

TEST_F(ReactorTest, LossesAreReadInTheirUnits) {
    ASSERT_EQ(open(withEmptying("R EMP 1800 7200000 43200000 HOURS")), 0) << report();
    EXPECT_EQ(reactor().emptyingNode, tarnvelde_findObject(1, "EMP"));
    EXPECT_EQ(reactor().emptyingRate, 0.5);  // m3/h
    EXPECT_EQ(reactor().infilRate, 2.0);     // mm/h
    EXPECT_EQ(reactor().evapRate, 0.5);      // mm/day
    EXPECT_EQ(reactor().evapPattern, 1);
}

TEST_F(ReactorTest, WrongEmptyingLinesAreRefused) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {{"R EMP 1 1 1", "203: too few items at line"},
                 {"EMP EMP 1 1 1 \"\"", "209: undefined object EMP at line"},
                 {"R nowhere 1 1 1 \"\"", "209: undefined object nowhere at line"},
                 {"R \"\" 1 1 1 \"\"", "209: undefined object  at line"},
                 {"R EMP -1 1 1 \"\"", "211: invalid number -1 at line"},
                 {"R EMP 1 -2 1 \"\"", "211: invalid number -2 at line"},
                 {"R EMP 1 1 -3 \"\"", "211: invalid number -3 at line"},
                 {"R EMP 1 1 x \"\"", "211: invalid number x at line"},
                 {"R EMP 1 1 1 NEVER", "209: undefined object NEVER at line"}};
    for (const auto& c : cases) {
        expectRefused(withEmptying(c.line), c.message);
    }
}

TEST_F(ReactorTest, DecayAheadOfTheReactorsIsRefused) {
    ProjectText text;
    text.pollutants = "A 0\n[REACTORS_DECAY]\nR A FIRST 1 \"\"\n";
    expectRefused(text, "209: undefined object R at line 11 of [REACTORS_DECAY] section:");
}

TEST_F(ReactorTest, InitialConcentrationIsTaken) {
    ProjectText text;
    text.quality = "R 0 A 12.5";
    ASSERT_EQ(open(text), 0) << report();
    EXPECT_EQ(reactor().initQual[0], 12.5);
}

TEST_F(ReactorTest, InitialConcentrationTakesAWordForZero) {
    ProjectText text;
    text.quality = "R 0 A much";
    ASSERT_EQ(open(text), 0) << report();
    EXPECT_EQ(reactor().initQual[0], 0.0);
}

TEST_F(ReactorTest, WrongInitialConcentrationsAreRefused) {
    ProjectText text;
    text.quality = "R 0 X 1";
    expectRefused(text, "209: undefined object X at line");
    text.quality = "R 0 A -1x";
    expectRefused(text, "211: invalid number -1x at line");
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, RemovalLawsAndPatternsAreTestedPollutantByPollutant) {
    ProjectText text;
    text.pollutants = "A 0\nB 0\nC 0\n";
    text.decay = "R A CONST_CONCEN 5 HOURS\nR B CONST_RATIO 0.5 HOURS\nR C FIRST 1 MONTHS";
    EXPECT_EQ(open(text), 509);
    const std::string type = "  \n  ERROR 515: reacting type of Reactor R must be a ZERO or FIRST type.\n";
    const std::string pattern = "  \n  ERROR 509: Pattern HOURS of reactor must be an monthly type.";
    EXPECT_NE(report().find("\n" + type + pattern + "\n" + type + pattern), std::string::npos) << report();
    EXPECT_EQ(report().find("ERROR", report().rfind(pattern) + pattern.size()), std::string::npos);
}

TEST_F(ReactorTest, PlugFlowReactorTakesAllLaws) {
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 1 1 0");
    text.decay = "R A CONST_RATIO 0.5 \"\"";
    EXPECT_EQ(open(text), 0) << report();
}

TEST_F(ReactorTest, PatternOfEvaporationMayBeOfAnyType) {
    EXPECT_EQ(open(withEmptying("R EMP 1 1 1 HOURS")), 0) << report();
}

TEST_F(ReactorTest, SurplusAndEmptyingCantGoToASwmmNode) {
    ASSERT_EQ(open(withEmptying("R EMP 1 1 1 \"\"")), 0);
    const std::string message = "\n  \n  ERROR 149: the surpass or emptying node of Reactor R can not be a SWMM node.";
    node("SUR").kind = SWMM;
    const std::string before = report();
    reactor_validate(tarnvelde_findObject(1, "R"));
    EXPECT_EQ(report(), before + message);
    EXPECT_EQ(ErrorCode, ERR_REACTOR_TARGET_SWMM);
    node("EMP").kind = SWMM;
    reactor_validate(tarnvelde_findObject(1, "R"));
    EXPECT_EQ(report(), before + message + message + message);
}

TEST_F(ReactorTest, SurplusIntoATreatmentPlantPasses) {
    ASSERT_EQ(open({}), 0);
    node("SUR").kind = VORN;
    reactor_validate(tarnvelde_findObject(1, "R"));
    EXPECT_EQ(ErrorCode, ERR_NONE);
}

TEST_F(ReactorTest, ReactorNeedsExactlyOneOutlet) {
    ProjectText text;
    text.more = "[CONNECTIONS]\nC2 R OUT NO 0";
    EXPECT_EQ(open(text), 133);
    text = withReactor("R CSTR SUR FLOW_CAPACITY 1 10 0 0\nR2 CSTR SUR FLOW_CAPACITY 1 10 0 0");
    EXPECT_EQ(open(text), 137);
    EXPECT_NE(report().find("ERROR 137: Node R2 has no downstream link."), std::string::npos);
}

// --- place in the network ------------------------------------------------------------------------------------------

TEST_F(ReactorTest, SurplusIsAnEdgeOfTheNetwork) {
    ASSERT_EQ(open({}), 0);
    int32_t targets[2];
    EXPECT_EQ(network_getDirectEdges(tarnvelde_findObject(1, "R"), targets), 1);
    EXPECT_EQ(targets[0], tarnvelde_findObject(1, "SUR"));
    EXPECT_EQ(node("SUR").isHead, 0);
    EXPECT_EQ(node("EMP").isHead, 1);
}

TEST_F(ReactorTest, OneNodeForSurplusAndEmptyingCountsOnceAndIsMetTwice) {
    ASSERT_EQ(open(withEmptying("R SUR 1 1 1 \"\"")), 0);
    int32_t targets[2];
    EXPECT_EQ(network_getDirectEdges(tarnvelde_findObject(1, "R"), targets), 2);
    EXPECT_EQ(network_getDirectTargets(tarnvelde_findObject(1, "R"), targets), 1);
}

TEST_F(ReactorTest, CircleOverSurplusNamesTheNodeThatClosesIt) {
    ProjectText text = withReactor("R CSTR J FLOW_CAPACITY 1 10 0 0");
    text.more = "[JUNCTIONS]\nH\nJ\n[CONNECTIONS]\nC2 J R NO 0\nC3 H J NO 0";
    EXPECT_EQ(open(text), 131);
    EXPECT_NE(report().find("ERROR 131: Object J form cyclic loops in the drainage system."), std::string::npos)
        << report();
}

TEST_F(ReactorTest, TargetsAreVisitedBehindTheReactor) {
    ProjectText text = withReactor("R CSTR J FLOW_CAPACITY 1 10 0 0");
    text.emptying = "R J2 1 1 1 \"\"";
    text.more = "[JUNCTIONS]\nJ2\nJ\n[CONNECTIONS]\nC2 J SUR NO 0\nC3 J2 EMP NO 0";
    start(text);
    const auto placeOf = [](const char* name) {
        int32_t* end = SortedNodes + Nodes.size();
        return std::find(SortedNodes, end, tarnvelde_findObject(1, name)) - SortedNodes;
    };
    EXPECT_LT(placeOf("R"), placeOf("J"));
    EXPECT_LT(placeOf("J"), placeOf("J2"));  // surplus first, whatever the order of the table
}

TEST_F(ReactorTest, FlowForANodeThatHadItsTurnIsLostAtTheNextRoll) {
    start({});
    node("SUR").newLatFlow = 5.0;
    node_shiftState(tarnvelde_findObject(1, "SUR"));
    EXPECT_EQ(node("SUR").newLatFlow, 0.0);
    EXPECT_EQ(node("SUR").oldLatFlow, 5.0);
}

// --- reaction laws -------------------------------------------------------------------------------------------------

static double react(int32_t type, double coefficient, double concentration, double seconds, int32_t pattern = -1,
                    DateTime date = 0.0) {
    Reactor reactor{};
    reactor.reactionType = &type;
    reactor.reactionCoeff = &coefficient;
    reactor.reactionPattern = &pattern;
    return reactor_react(reactor, 0, concentration, seconds, date);
}

TEST(ReactionTest, ConstantConcentrationIsNeverRaised) {
    EXPECT_EQ(react(CONST_CONCEN, 5.0, 20.0, 60.0), 5.0);
    EXPECT_EQ(react(CONST_CONCEN, 5.0, 3.0, 60.0), 3.0);
}

TEST(ReactionTest, ConstantRatioTakesItsShareButNotMoreThanAll) {
    EXPECT_EQ(react(CONST_RATIO, 0.25, 20.0, 60.0), 15.0);
    EXPECT_EQ(react(CONST_RATIO, 3.0, 20.0, 60.0), 0.0);
}

TEST(ReactionTest, ZeroOrderEndsAtNothing) {
    EXPECT_EQ(react(ZERO_ORDER, 0.25, 20.0, 60.0), 5.0);
    EXPECT_EQ(react(ZERO_ORDER, 0.25, 20.0, 80.0), 0.0);
    EXPECT_EQ(react(ZERO_ORDER, 0.25, 20.0, 800.0), 0.0);
}

TEST(ReactionTest, FirstOrderIsExponential) {
    EXPECT_DOUBLE_EQ(react(FIRST_ORDER, 0.01, 20.0, 60.0), 20.0 * std::exp(-0.6));
}

TEST(ReactionTest, NoReactionLeavesTheConcentration) {
    EXPECT_EQ(react(-1, 0.5, 20.0, 60.0), 20.0);
}

TEST(ReactionTest, PatternIsAskedByTheHourWhateverItsTypeSays) {
    Pattern months{};
    months.type = PATTERN_MONTHLY;
    months.factors[0] = 1.0;
    months.factors[13] = 3.0;
    Patterns.assign(1, months);
    EXPECT_EQ(react(ZERO_ORDER, 0.1, 20.0, 10.0, 0, 45000.0), 19.0);
    EXPECT_EQ(react(ZERO_ORDER, 0.1, 20.0, 10.0, 0, 45000.0 + 13.5 / 24.0), 17.0);
    Patterns.clear();
}

// --- stirred tank: batch and steady state --------------------------------------------------------------------------

TEST_F(ReactorTest, FirstOrderBatchFollowsTheExponential) {
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 1 100 0 50");
    text.quality = "R 0 A 80";
    text.decay = "R A FIRST 12 \"\"";
    start(text);
    for (int32_t k = 1; k <= 119; ++k) {
        step();
        EXPECT_NEAR(reactor().qual[0], 80.0 * std::exp(-12.0 * k * 60.0 / DAY), 1e-11);
    }
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, ZeroOrderBatchFallsInALineToNothing) {
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 1 100 0 50");
    text.quality = "R 0 A 80";
    text.decay = "R A ZERO 1440 \"\"";  // 1 mg/L per minute
    start(text);
    for (int32_t k = 1; k <= 119; ++k) {
        step();
        EXPECT_NEAR(reactor().qual[0], k < 80 ? 80.0 - k : 0.0, 1e-10);
    }
    EXPECT_NEAR(reactor().statReactedLoad[0], 80.0 * 50.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, SteadyStirredTankLiesOnItsClosedForm) {
    // Mixing and reaction in turn: c = E (I cin + V c) / (I + V). With shorter steps this is Q cin / (Q + k V).
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 60 0 100");
    text.inflow = "R FLOW FLOW 0.1 \"\" 1\nR CONCEN A 50 \"\" 1";
    text.decay = "R A FIRST 86.4 \"\"";  // 0.001 per second
    text.endTime = "12:00:00";
    text.step = "0:00:05";
    start(text);
    runToEnd();
    const double in = 5.0 * 0.1, volume = 60.0, left = std::exp(-0.001 * 5.0);
    const double steady = left * in * 50.0 / (in + volume - volume * left);
    EXPECT_NEAR(reactor().qual[0], steady, 1e-9);
    const double continuous = 0.1 * 50.0 / (0.1 + 0.001 * volume);
    EXPECT_NEAR(steady, continuous, 0.001 * 5.0 * continuous);
    EXPECT_NEAR(reactor().newOutflow, 0.1, 1e-12);
    EXPECT_NEAR(node("OUT").newQual[0], steady, 1e-9);
}

TEST_F(ReactorTest, TracerWashesOutOfAStirredTank) {
    // Without reaction and with clean inflow each step dilutes by V / (I + V).
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 60 0 100"));
    reactor().qual[0] = 100.0;
    for (int32_t k = 1; k <= 50; ++k) {
        update(0.1);
        EXPECT_NEAR(node("R").newQual[0], 100.0 * std::pow(60.0 / 66.0, k), 1e-10);
    }
}

// --- stirred tank: filling and surplus -----------------------------------------------------------------------------

TEST_F(ReactorTest, TankBelowItsVolumeGivesNothing) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 10"));
    update(1.0, 20.0);  // 60 m3 into 10 of 100
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(node("R").newQual[0], 0.0);
    EXPECT_EQ(reactor().storedVolume, 70.0);
    EXPECT_DOUBLE_EQ(reactor().qual[0], 60.0 * 20.0 / 70.0);
}

TEST_F(ReactorTest, TankFilledExactlyGivesNothing) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 40"));
    update(1.0, 20.0);
    EXPECT_EQ(reactor().storedVolume, 100.0);
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(node("R").newQual[0], 0.0);
}

TEST_F(ReactorTest, FullTankPassesTheRestOn) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 100"));
    update(1.5, 20.0);
    EXPECT_EQ(reactor().storedVolume, 100.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 1.5);
    EXPECT_EQ(reactor().surpassFlow, 0.0);
    EXPECT_DOUBLE_EQ(node("R").newQual[0], 90.0 * 20.0 / 190.0);
}

TEST_F(ReactorTest, FullTankLetsItsCapacityThroughAndTheRestSurpasses) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 100"));  // 0.5 m3/s
    update(2.0, 20.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.5);
    EXPECT_DOUBLE_EQ(reactor().surpassFlow, 1.5);
    EXPECT_DOUBLE_EQ(node("SUR").newLatFlow, 1.5);
    EXPECT_DOUBLE_EQ(node("SUR").massInflow[0], 1.5 * 20.0 / 1000.0);
    EXPECT_DOUBLE_EQ(reactor().statSurpassLoad[0], 1.5 * 20.0 / 1000.0 * 60.0);
}

TEST_F(ReactorTest, TankFillsUpBeforeAnythingSurpasses) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 40"));
    update(1.25);  // 75 m3: 60 fill it, 15 are within the 30 that may run through
    EXPECT_EQ(reactor().surpassFlow, 0.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.25);
    reactor().storedVolume = 40.0;
    update(2.0);  // 120 m3: 60 fill it, 30 run through, 30 surpass
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.5);
    EXPECT_DOUBLE_EQ(reactor().surpassFlow, 0.5);
}

TEST_F(ReactorTest, CapacityCanGoWithTheSurface) {
    start(withReactor("R CSTR SUR SURFACE_LOADING 8640 100 5 100"));  // 0.1 m/s on 5 m2
    update(2.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.5);
    EXPECT_DOUBLE_EQ(reactor().surpassFlow, 1.5);
}

TEST_F(ReactorTest, PlugFlowReactorTakesItsCapacity) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 43200 0 0"));
    update(2.0, 20.0);
    EXPECT_EQ(reactor().newOutflow, 0.5);
    EXPECT_EQ(reactor().surpassFlow, 1.5);
    EXPECT_DOUBLE_EQ(node("SUR").massInflow[0], 1.5 * 20.0 / 1000.0);
}

TEST_F(ReactorTest, InflowOfExactlyTheCapacitySurpassesWithNothing) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 43200 0 0"));
    reactor().surpassFlow = 9.0;
    update(0.5);
    EXPECT_EQ(reactor().surpassFlow, 0.0);
    EXPECT_EQ(reactor().newOutflow, 0.5);
}

TEST_F(ReactorTest, SurplusOfTwoReactorsAddsUpInOneNode) {
    start({});
    node("SUR").newLatFlow = 0.0;
    reactor().flowCapacity = 0.0;
    reactor().storedVolume = reactor().volume;
    update(2.0, 10.0);
    node("R").newInflow = 1.0;
    node("R").massInflow[0] = 0.5;
    reactor_update(tarnvelde_findObject(1, "R"));
    EXPECT_DOUBLE_EQ(node("SUR").newLatFlow, 3.0);
    EXPECT_DOUBLE_EQ(node("SUR").massInflow[0], 0.02 + 0.5);
}

TEST_F(ReactorTest, ReactorThatIsItsOwnSurplusNodeKeepsItsInletConcentration) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 43200 0 0"));
    reactor().surpassNode = tarnvelde_findObject(1, "R");
    update(2.0, 20.0);
    EXPECT_DOUBLE_EQ(node("R").newQual[0], 20.0);
}

TEST_F(ReactorTest, LoadWithoutWaterIsNotTakenIn) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 50"));
    node("R").massInflow[0] = 3.0;
    node("R").newInflow = 0.0;
    reactor_update(tarnvelde_findObject(1, "R"));
    EXPECT_EQ(reactor().qual[0], 0.0);
}

TEST_F(ReactorTest, EmptyTankHasNoConcentration) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 0"));
    reactor().qual[0] = 7.0;
    update(0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
}

// --- evaporation and infiltration ----------------------------------------------------------------------------------

/// Half full: 50 m3 on 10 m2, with the losses of a [REACTORS_EMPTYING] line.
static ProjectText withLosses(const std::string& infiltration, const std::string& evaporation,
                              const std::string& pattern = "\"\"") {
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 10 50");
    text.emptying = "R EMP 0 " + infiltration + " " + evaporation + " " + pattern;
    text.quality = "R 0 A 20";
    return text;
}

TEST_F(ReactorTest, EvaporationLeavesTheLoadBehind) {
    start(withLosses("0", "1440000"));  // 1 m per minute: 10 m3 in a step
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 40.0, 1e-12);
    EXPECT_NEAR(reactor().qual[0], 20.0 * 50.0 / 40.0, 1e-12);
    EXPECT_NEAR(reactor().evapFlow, 1440000.0, 1e-6);
    EXPECT_EQ(reactor().statInfilLoad[0], 0.0);
}

TEST_F(ReactorTest, EvaporationThatDriesOutLosesTheLoad) {
    start(withLosses("0", "14400000"));  // 100 m3 in a step
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_NEAR(reactor().evapFlow, 50.0 / 60.0 / 10.0 * 8.64e7, 1e-6);
    EXPECT_DOUBLE_EQ(reactor().statInfilLoad[0], 20.0 * 50.0 / 1000.0);
}

TEST_F(ReactorTest, EvaporationFollowsItsPatternByTheHour) {
    start(withLosses("0", "144000", "HOURS"));  // 1 m3 in a step, times 4 in the first hour and 5 in the second
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 46.0, 1e-12);
    NewRoutingTime = 3600.0 * 1000.0;
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 41.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationTakesItsLoadAlong) {
    start(withLosses("60000", "0"));  // 1 m per minute: 10 m3 in a step
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 40.0, 1e-12);
    EXPECT_DOUBLE_EQ(reactor().qual[0], 20.0);
    EXPECT_NEAR(reactor().infilFlow, 60000.0, 1e-8);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 10.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationTakesNoMoreThanIsThere) {
    start(withLosses("600000", "0"));  // 100 m3 in a step
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_NEAR(reactor().infilFlow, 50.0 / 60.0 / 10.0 * 3.6e6, 1e-8);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 50.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationOfExactlyTheStoreDriesIt) {
    ProjectText text = withLosses("3600000", "0");  // 1 m/s
    text.reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 1 60";
    start(text);  // 60 m3 on 1 m2
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0) << "a dry store has no concentration";
    EXPECT_DOUBLE_EQ(reactor().infilFlow, 3600000.0);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 60.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationGetsWhatEvaporationLeaves) {
    start(withLosses("600000", "1440000"));
    update(0.0);
    EXPECT_NEAR(reactor().infilFlow, 40.0 / 60.0 / 10.0 * 3.6e6, 1e-8);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 50.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, ReactorWithoutAreaLosesNothing) {
    ProjectText text = withLosses("600000", "14400000");
    text.reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 0 50";
    start(text);
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 50.0);
    EXPECT_EQ(reactor().evapFlow, 0.0);
    EXPECT_EQ(reactor().infilFlow, 0.0);
}

TEST_F(ReactorTest, DryStoreWithoutLossesHasNoConcentration) {
    // No water and no loss: the loss counts as large enough to dry the store, and nothing is booked.
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 10 0"));
    update(0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_EQ(reactor().statInfilLoad[0], 0.0);
}

TEST_F(ReactorTest, PlugFlowReactorLosesNothing) {
    ProjectText text = withLosses("60000", "1440000");
    text.reactor = "R PFR SUR FLOW_CAPACITY 864000 0 10";
    start(text);
    reactor().isEmptying = 1;
    reactor().emptyingRate = 1.0;
    update(1.0, 10.0);
    EXPECT_EQ(reactor().newOutflow, 1.0);
    EXPECT_EQ(reactor().evapFlow, 0.0);
    EXPECT_EQ(reactor().infilFlow, 0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(node("EMP").newLatFlow, 0.0);
}

// --- emptying ------------------------------------------------------------------------------------------------------

/// Half full: 50 m3 at 20 mg/L; empties 0.5 m3/s, 30 m3 in a step.
static ProjectText withEmptyingRate() {
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 50");
    text.emptying = "R EMP 1800 0 0 \"\"";
    text.quality = "R 0 A 20";
    return text;
}

TEST_F(ReactorTest, NothingIsEmptiedUntilARuleSaysSo) {
    start(withEmptyingRate());
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, EmptyingSendsWaterAndLoadToItsNode) {
    start(withEmptyingRate());
    reactor().isEmptying = 1;
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.5);
    EXPECT_EQ(reactor().storedVolume, 20.0);
    EXPECT_EQ(reactor().qual[0], 20.0);
    EXPECT_EQ(node("EMP").newLatFlow, 0.5);
    EXPECT_DOUBLE_EQ(node("EMP").massInflow[0], 0.5 * 20.0 / 1000.0);
    EXPECT_DOUBLE_EQ(reactor().statEmptyingLoad[0], 0.5 * 20.0 / 1000.0 * 60.0);
}

TEST_F(ReactorTest, LastOfTheWaterGoesWithItsConcentration) {
    start(withEmptyingRate());
    reactor().isEmptying = 1;
    update(0.0);
    update(0.0);
    EXPECT_DOUBLE_EQ(reactor().emptyingFlow, 20.0 / 60.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_DOUBLE_EQ(node("EMP").massInflow[0], 20.0 / 60.0 * 20.0 / 1000.0);
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
}

TEST_F(ReactorTest, StoreEmptiedExactlyKeepsItsConcentrationForTheStep) {
    start(withEmptyingRate());
    reactor().isEmptying = 1;
    reactor().storedVolume = 30.0;
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.5);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 20.0);
}

TEST_F(ReactorTest, ReactorWithoutEmptyingNodeKeepsItsWater) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 50"));
    reactor().isEmptying = 1;
    ASSERT_EQ(tarnvelde_setReactorEmptyingValue("R", 0.5), 0);
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, RuleWithoutEmptyingNodeLosesNothing) {
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 50");
    text.more = "[CONTROL_RULES]\nRULE X\nIF OUTFALL OUT INFLOW >= 0\nTHEN REACTOR R EMPTYING = YES";
    start(text);
    ASSERT_EQ(tarnvelde_setReactorEmptyingValue("R", 0.5), 0);
    step(10);
    EXPECT_EQ(reactor().isEmptying, 1);
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, RuleEmptiesFromTheFirstStepOn) {
    ProjectText text = withEmptyingRate();
    text.more =
        "[CONTROL_RULES]\nRULE X\nIF REACTOR R FILL > 0.25\nTHEN REACTOR R EMPTYING = YES\n"
        "ELSE REACTOR R EMPTYING = NO";
    start(text);
    step();
    EXPECT_EQ(reactor().storedVolume, 20.0);
    EXPECT_EQ(node("EMP").newInflow, 0.5);
    step();  // the rule sees a fill of 0.2
    EXPECT_EQ(reactor().storedVolume, 20.0);
}

TEST_F(ReactorTest, HostSetsTheRateOfEmptying) {
    start(withEmptyingRate());
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("r", 0.25), 0);
    reactor().isEmptying = 1;
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.25);
}

TEST_F(ReactorTest, HostCantSetARateOfAnythingElse) {
    start(withEmptyingRate());
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("R", -0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("OUT", 0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("C", 0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("", 0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue(nullptr, 0.25), -1);
    EXPECT_EQ(reactor().emptyingRate, 0.5);
}

// --- plug flow -----------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, PlugFlowDelaysAndReactsForItsRetention) {
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0.5 0");
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
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0.5 0");
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
        NewRoutingTime += 60000.0;
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
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0.5 0");
    text.inflow = "R FLOW FLOW 0.2 \"\" 1\nR CONCEN A 50 \"\" 1";
    start(text);
    runToEnd();
    // Of the 120 steps the last 30 come too late; that of 90 minutes leaves at the very end.
    EXPECT_NEAR(FlowTotals.delayedVolume, 30.0 * 60.0 * 0.2, 1e-9);
    EXPECT_NEAR(QualTotals[0].delayedMass, 30.0 * 60.0 * 0.2 * 50.0 / 1000.0, 1e-9);
    EXPECT_EQ(reactor().flowQueue.end, 90);
}

TEST_F(ReactorTest, PlugFlowWithoutRetentionOnlyTakesOut) {
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 864000 0 0");
    text.pollutants = "A 0\nB 0\nC 0\nD 0\n";
    text.decay = "R A CONST_CONCEN 5 \"\"\nR B CONST_RATIO 0.25 \"\"\nR C ZERO 1e9 \"\"\nR D FIRST 1e9 \"\"";
    start(text);
    const int32_t index = tarnvelde_findObject(1, "R");
    node("R").newInflow = 2.0;
    for (int32_t p = 0; p < 4; ++p) {
        node("R").massInflow[p] = 2.0 * 20.0 / 1000.0;
    }
    reactor_update(index);
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
    NewRoutingTime = 60000.0;
    update(1.0);
    arena_failAfter(0);
    NewRoutingTime = 120000.0;
    update(1.0);
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(ErrorCode, ERR_NONE);
    NewRoutingTime = 180000.0;
    update(1.0);
    EXPECT_NEAR(reactor().newOutflow, 1.0, 1e-9);
}

// --- balances ------------------------------------------------------------------------------------------------------

/// A reactor that does everything at once: fills, overflows, surpasses, evaporates, infiltrates, reacts and empties.
static ProjectText withEverything(const std::string& reactorLine) {
    ProjectText text = withReactor(reactorLine);
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
    const FlowTotalsRecord flow = massbal_closeFlow(&flowError);
    const QualTotalsRecord quality = massbal_closeQuality(0, &qualityError);
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
    massbal_closeFlow(&flowError);
    massbal_closeQuality(0, &qualityError);
    EXPECT_NEAR(flowError, 0.0, 1e-3);  // dates hold a hundred-thousandth of a second, so readings do, too
    EXPECT_NEAR(qualityError, 0.0, 1e-3);
    EXPECT_GT(reactor().statSurpass, 0.0);
    EXPECT_GT(reactor().statReactedLoad[0], 0.0);
}

TEST_F(ReactorTest, ErrorOfTheStepHalvesWithTheStep) {
    // Mixing and reaction in turn is a scheme of first order: halving the step halves what it is off.
    double results[3];
    const char* const steps[] = {"0:00:40", "0:00:20", "0:00:10"};
    for (size_t k = 0; k < 3; ++k) {
        ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 60 0 100");
        text.inflow = "R FLOW FLOW 0.1 \"\" 1\nR CONCEN A 50 \"\" 1";
        text.decay = "R A FIRST 86.4 \"\"";
        text.step = steps[k];
        start(text);
        runToEnd();
        results[k] = reactor().qual[0];
        tarnvelde_close();
    }
    EXPECT_NEAR((results[0] - results[1]) / (results[1] - results[2]), 2.0, 0.1);
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
                              reactor().evapFlow, reactor().infilFlow}) {
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
    ProjectText text = withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 10 50");
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
    ProjectText text = withReactor("R PFR SUR FLOW_CAPACITY 43200 0.5 10");
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
    ProjectText text;
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
    r.evapFlow = 4.5;
    r.infilFlow = 6.5;
    r.emptyingFlow = 8.5;
    float row[11];
    row[10] = -1.0f;
    reactor_getResults(tarnvelde_findObject(1, "R"), 0.25, row);
    const float expected[] = {77.0f, 1.25f, 3.5f, 0.5625f, 0.125f,
                              4.5f,  6.5f,  8.5f, 11.0f,   static_cast<float>(0.75 * 0.1 + 0.25 * 0.3),
                              -1.0f};
    for (size_t k = 0; k < 11; ++k) {
        EXPECT_EQ(row[k], expected[k]) << k;
    }
}

TEST_F(ReactorTest, ReportHasBothTables) {
    ProjectText text;
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
    EXPECT_NE(report().find(expected), std::string::npos) << report();
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
    EXPECT_NE(report().find("*Outflow*\n  R                           3.000"), std::string::npos);
    EXPECT_NE(report().find("*Outflow*\n  R                           0.000"), std::string::npos);
}

TEST_F(ReactorTest, ReportOfAProjectWithoutPollutantsHasNoQualityTable) {
    ProjectText text;
    text.pollutants = "";
    start(text);
    testing::internal::CaptureStdout();
    tarnvelde_report();
    testing::internal::GetCapturedStdout();
    EXPECT_NE(report().find("Reactor Quantity Summary"), std::string::npos);
    EXPECT_EQ(report().find("Reactor Quality Summary"), std::string::npos);
}
