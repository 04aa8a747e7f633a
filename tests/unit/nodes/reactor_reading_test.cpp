// Treatment reactors: their sections with all messages, and their place in the network.

#include <gtest/gtest.h>

#include <string>

#include "model/decay.h"
#include "model/errors.h"
#include "model/pattern.h"
#include "model/project.h"
#include "routing/network.h"
#include "support/model.h"
#include "support/reactors.h"

// --- [REACTORS] ----------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, ReadsAStirredTank) {
    ASSERT_EQ(open(withReactor("R cstr SUR flow_capacity 43200 250 30 40")), 0) << readReport();
    EXPECT_EQ(node("R").kind, REACTOR);
    EXPECT_STREQ(node("R").id, "R");
    EXPECT_EQ(reactor().type, CSTR);
    EXPECT_EQ(reactor().surpassNode, findNode("SUR"));
    EXPECT_EQ(reactor().capacityType, FLOW_CAPACITY);
    EXPECT_EQ(reactor().flowCapacity, 0.5);
    EXPECT_EQ(reactor().surfaceLoading, 0.0);
    EXPECT_EQ(reactor().volume, 250.0);
    EXPECT_EQ(reactor().retentionTime, 0.0);
    EXPECT_EQ(reactor().area, 30.0);
    EXPECT_EQ(reactor().initFraction, 0.4);
}

TEST_F(ReactorTest, ReadsAPlugFlowReactor) {
    ASSERT_EQ(open(withReactor("R PFR SUR SURFACE_LOADING 21600 1.5 30 rubbish")), 0) << readReport();
    EXPECT_EQ(reactor().type, PFR);
    EXPECT_EQ(reactor().capacityType, SURFACE_LOADING);
    EXPECT_EQ(reactor().surfaceLoading, 0.25);
    EXPECT_EQ(reactor().flowCapacity, 0.0);
    EXPECT_EQ(reactor().retentionTime, 5400.0);
    EXPECT_EQ(reactor().volume, 0.0);
    EXPECT_EQ(reactor().initFraction, 0.0);
}

TEST_F(ReactorTest, PlugFlowReactorMayHaveNoRetention) {
    ASSERT_EQ(open(withReactor("R PFR SUR FLOW_CAPACITY 1 0 0")), 0) << readReport();
    EXPECT_EQ(reactor().retentionTime, 0.0);
}

TEST_F(ReactorTest, StartFillingIsAtMostFull) {
    ASSERT_EQ(open(withReactor("R CSTR SUR FLOW_CAPACITY 1 10 0 250")), 0) << readReport();
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
    ReactorProject text = withReactor("R TUB SUR FLOW_CAPACITY 1 10 0 0");
    text.decay = "R A FIRST 1 \"\"";
    text.emptying = "R EMP 1 1 1 \"\"";
    expectRefused(text, "205: invalid keyword TUB at line");
    EXPECT_NE(readReport().find("ERROR 209: undefined object R at line 22 of [REACTORS_DECAY] section:"),
              std::string::npos)
        << readReport();
    EXPECT_NE(readReport().find("ERROR 209: undefined object R at line 24 of [REACTORS_EMPTYING] section:"),
              std::string::npos)
        << readReport();
}

// --- [REACTORS_DECAY], [REACTORS_EMPTYING], [INITIAL_CONCENTRATION] ------------------------------------------------

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
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 1 1 0");
    text.pollutants = "A 0\nB 0\nC 0\nD 0\n";
    text.decay = "R A CONST_CONCEN 5 \"\"\nR B CONST_RATIO 0.5 \"\"\nR C ZERO 43200 \"\"\nR D first 21600 MONTHS";
    ASSERT_EQ(open(text), 0) << readReport();
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
    ASSERT_EQ(open(withEmptying("R EMP 1800 7200000 43200000 HOURS")), 0) << readReport();
    EXPECT_EQ(reactor().emptyingNode, findNode("EMP"));
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
    ReactorProject text;
    text.pollutants = "A 0\n[REACTORS_DECAY]\nR A FIRST 1 \"\"\n";
    expectRefused(text, "209: undefined object R at line 11 of [REACTORS_DECAY] section:");
}

TEST_F(ReactorTest, InitialConcentrationIsTaken) {
    ReactorProject text;
    text.quality = "R 0 A 12.5";
    ASSERT_EQ(open(text), 0) << readReport();
    EXPECT_EQ(reactor().initQual[0], 12.5);
}

TEST_F(ReactorTest, InitialConcentrationTakesAWordForZero) {
    ReactorProject text;
    text.quality = "R 0 A much";
    ASSERT_EQ(open(text), 0) << readReport();
    EXPECT_EQ(reactor().initQual[0], 0.0);
}

TEST_F(ReactorTest, WrongInitialConcentrationsAreRefused) {
    ReactorProject text;
    text.quality = "R 0 X 1";
    expectRefused(text, "209: undefined object X at line");
    text.quality = "R 0 A -1x";
    expectRefused(text, "211: invalid number -1x at line");
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST_F(ReactorTest, RemovalLawsAndPatternsAreTestedPollutantByPollutant) {
    ReactorProject text;
    text.pollutants = "A 0\nB 0\nC 0\n";
    text.decay = "R A CONST_CONCEN 5 HOURS\nR B CONST_RATIO 0.5 HOURS\nR C FIRST 1 MONTHS";
    EXPECT_EQ(open(text), 509);
    const std::string type = "  \n  ERROR 515: reacting type of Reactor R must be a ZERO or FIRST type.\n";
    const std::string pattern = "  \n  ERROR 509: Pattern HOURS of reactor must be an monthly type.";
    EXPECT_NE(readReport().find("\n" + type + pattern + "\n" + type + pattern), std::string::npos) << readReport();
    EXPECT_EQ(readReport().find("ERROR", readReport().rfind(pattern) + pattern.size()), std::string::npos);
}

TEST_F(ReactorTest, PlugFlowReactorTakesAllLaws) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 1 1 0");
    text.decay = "R A CONST_RATIO 0.5 \"\"";
    EXPECT_EQ(open(text), 0) << readReport();
}

TEST_F(ReactorTest, PatternOfEvaporationMayBeOfAnyType) {
    EXPECT_EQ(open(withEmptying("R EMP 1 1 1 HOURS")), 0) << readReport();
}

TEST_F(ReactorTest, SurplusAndEmptyingCantGoToASwmmNode) {
    ASSERT_EQ(open(withEmptying("R EMP 1 1 1 \"\"")), 0);
    const std::string message = "\n  \n  ERROR 149: the surpass or emptying node of Reactor R can not be a SWMM node.";
    node("SUR").kind = SWMM;
    const std::string before = readReport();
    reactor_validate(testModel(), node("R"), reactor());
    EXPECT_EQ(readReport(), before + message);
    EXPECT_EQ(testModel().error.code, ERR_REACTOR_TARGET_SWMM);
    node("EMP").kind = SWMM;
    reactor_validate(testModel(), node("R"), reactor());
    EXPECT_EQ(readReport(), before + message + message + message);
}

TEST_F(ReactorTest, SurplusIntoATreatmentPlantPasses) {
    ASSERT_EQ(open({}), 0);
    node("SUR").kind = VORN;
    reactor_validate(testModel(), node("R"), reactor());
    EXPECT_EQ(testModel().error.code, ERR_NONE);
}

TEST_F(ReactorTest, ReactorNeedsExactlyOneOutlet) {
    ReactorProject text;
    text.more = "[CONNECTIONS]\nC2 R OUT NO 0";
    EXPECT_EQ(open(text), 133);
    text = withReactor("R CSTR SUR FLOW_CAPACITY 1 10 0 0\nR2 CSTR SUR FLOW_CAPACITY 1 10 0 0");
    EXPECT_EQ(open(text), 137);
    EXPECT_NE(readReport().find("ERROR 137: Node R2 has no downstream link."), std::string::npos);
}

// --- place in the network ------------------------------------------------------------------------------------------

TEST_F(ReactorTest, SurplusIsAnEdgeOfTheNetwork) {
    ASSERT_EQ(open({}), 0);
    int32_t targets[2];
    EXPECT_EQ(nodekinds_getDirectEdges(testModel(), findNode("R"), targets), 1);
    EXPECT_EQ(targets[0], findNode("SUR"));
    EXPECT_EQ(node("SUR").isHead, 0);
    EXPECT_EQ(node("EMP").isHead, 1);
}

TEST_F(ReactorTest, OneNodeForSurplusAndEmptyingCountsOnceAndIsMetTwice) {
    ASSERT_EQ(open(withEmptying("R SUR 1 1 1 \"\"")), 0);
    int32_t targets[2];
    EXPECT_EQ(nodekinds_getDirectEdges(testModel(), findNode("R"), targets), 2);
    EXPECT_EQ(nodekinds_getDirectTargets(testModel(), findNode("R"), targets), 1);
}

TEST_F(ReactorTest, CircleOverSurplusNamesTheNodeThatClosesIt) {
    ReactorProject text = withReactor("R CSTR J FLOW_CAPACITY 1 10 0 0");
    text.more = "[JUNCTIONS]\nH\nJ\n[CONNECTIONS]\nC2 J R NO 0\nC3 H J NO 0";
    EXPECT_EQ(open(text), 131);
    EXPECT_NE(readReport().find("ERROR 131: Object J form cyclic loops in the drainage system."), std::string::npos)
        << readReport();
}

TEST_F(ReactorTest, TargetsAreVisitedBehindTheReactor) {
    ReactorProject text = withReactor("R CSTR J FLOW_CAPACITY 1 10 0 0");
    text.emptying = "R J2 1 1 1 \"\"";
    text.more = "[JUNCTIONS]\nJ2\nJ\n[CONNECTIONS]\nC2 J SUR NO 0\nC3 J2 EMP NO 0";
    start(text);
    const auto placeOf = [](const char* name) {
        int32_t* end = testModel().sortedNodes + testModel().nodes.size();
        return std::find(testModel().sortedNodes, end, findNode(name)) - testModel().sortedNodes;
    };
    EXPECT_LT(placeOf("R"), placeOf("J"));
    EXPECT_LT(placeOf("J"), placeOf("J2"));  // surplus first, whatever the order of the table
}

TEST_F(ReactorTest, FlowForANodeThatHadItsTurnIsLostAtTheNextRoll) {
    start({});
    node("SUR").newLatFlow = 5.0;
    nodekinds_shiftState(testModel(), node("SUR"));
    EXPECT_EQ(node("SUR").newLatFlow, 0.0);
    EXPECT_EQ(node("SUR").oldLatFlow, 5.0);
}
