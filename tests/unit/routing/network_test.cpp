// The network as a graph: the rules of connection with their messages, circles, and the order of a step.
//
// Nothing is read from a file here: the tests fill the tables of nodes and links themselves.

#include "routing/network.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/model.h"
#include "support/network.h"

// --- rules of connection -------------------------------------------------------------------------------------------

TEST_F(NetworkTest, emptyNetworkPasses) {
    EXPECT_EQ(validate(), "");
    EXPECT_EQ(testModel().error.code, 0);
}

TEST_F(NetworkTest, outfallAloneIsHeadAndWholeNetwork) {
    addNode("OUT", OUTFALL);
    EXPECT_EQ(validate(), "");
    EXPECT_EQ(heads(), Indices({0}));
    EXPECT_EQ(sort(), Indices({0}));
}

TEST_F(NetworkTest, tanksOutfallsAndCoupledNodesNeedNoLink) {
    addNodes({TANK, OUTFALL, SWMM, VORN});
    EXPECT_EQ(validate(), "");
    EXPECT_EQ(testModel().error.code, 0);
}

TEST_F(NetworkTest, junctionsAndSplittersNeedAnOutlet) {
    addNodes({SPLITTER, JUNCTION, SPLITTER});
    EXPECT_EQ(validate(),
              report({"ERROR 137: Node A has no downstream link.", "ERROR 137: Node B has no downstream link.",
                      "ERROR 137: Node C has no downstream link."}));
    EXPECT_EQ(testModel().error.code, ERR_NO_OUTLET);
    EXPECT_EQ(errors_getPublicCode(testModel().error.code), 137);
}

TEST_F(NetworkTest, laggedLinkIsAnOutlet) {
    addNodes({JUNCTION, OUTFALL});
    connect({"~AB"});
    EXPECT_EQ(validate(), "");
}

TEST_F(NetworkTest, eachSurplusOutletOfJunctionIsReported) {
    addNodes({JUNCTION, OUTFALL});
    connect({"AB1", "AB2", "~AB"});
    const std::string message = "ERROR 133: Node A has more than one outlet link.";
    EXPECT_EQ(validate(), report({message, message}));
    EXPECT_EQ(testModel().error.code, ERR_MULTIPLE_OUTLETS);
    EXPECT_EQ(errors_getPublicCode(testModel().error.code), 133);
}

TEST_F(NetworkTest, splittersTanksAndCoupledNodesMayHaveManyOutlets) {
    addNodes({SPLITTER, TANK, SWMM, VORN, OUTFALL});
    for (int32_t k = 0; k < 12; ++k) {
        addLink("L" + std::to_string(k), k % 4, 4, WEIR);
    }
    EXPECT_EQ(validate(), "");
}

TEST_F(NetworkTest, eachOutletOfOutfallIsReported) {
    addNodes({OUTFALL, OUTFALL});
    connect({"AB1", "AB2"});
    const std::string message = "ERROR 139: Outfall A has one outlet link.";
    EXPECT_EQ(validate(), report({message, message}));
    EXPECT_EQ(testModel().error.code, ERR_OUTFALL_OUTLET);
    EXPECT_EQ(errors_getPublicCode(testModel().error.code), 139);
}

TEST_F(NetworkTest, tankTakesPumpsWeirsAndOrificesOnly) {
    addNodes({TANK, OUTFALL});
    const int32_t kinds[] = {PUMP, PIPE, WEIR, CONNECTION, ORIFICE, CONDUIT};
    for (const int32_t kind : kinds) {
        addLink("L" + std::to_string(kind), 0, 1, kind);
    }
    const std::string message = "ERROR 145: the link from Tank A is not pump, weir or orifice.";
    EXPECT_EQ(validate(), report({message, message, message}));
    EXPECT_EQ(testModel().error.code, ERR_TANK_LINK);
    EXPECT_EQ(errors_getPublicCode(testModel().error.code), 145);
}

// The look-up finds no row, so no link starts there, whatever the table of links holds.
TEST_F(NetworkTest, nodeWithoutKnownNameIsReportedByEachRuleThatLooksItUp) {
    addNodes({JUNCTION, SPLITTER, OUTFALL});
    connect({"AC1", "AC2", "BC"});
    testModel().names = {};
    EXPECT_EQ(validate(), report({"ERROR 209: undefined object A ", "ERROR 137: Node A has no downstream link.",
                                  "ERROR 209: undefined object B ", "ERROR 137: Node B has no downstream link.",
                                  "ERROR 209: undefined object A "}));
    EXPECT_EQ(testModel().error.code, ERR_UNDEFINED_OBJECT);
}

TEST_F(NetworkTest, rulesFollowEachOtherAndTheLastFailureIsTheCode) {
    addNodes({TANK, OUTFALL, JUNCTION, JUNCTION, SPLITTER, VORN, VORN});
    connect({"AB", "BC", "DB1", "DB2", "FG", "GF"});
    // From the heads A, D and E: A, AB, ABC, D, two DB, two DBC, E: nine paths for seven nodes.
    EXPECT_EQ(validate(),
              report({"ERROR 137: Node C has no downstream link.", "ERROR 137: Node E has no downstream link.",
                      "ERROR 133: Node D has more than one outlet link.", "ERROR 139: Outfall B has one outlet link.",
                      "ERROR 145: the link from Tank A is not pump, weir or orifice."}));
    EXPECT_EQ(testModel().error.code, ERR_TANK_LINK);
}

TEST_F(NetworkTest, circleIsTestedBehindTheRules) {
    addNodes({JUNCTION, OUTFALL});
    connect({"AB", "BB"});
    EXPECT_EQ(validate(), report({"ERROR 139: Outfall B has one outlet link.", cyclic("BB")}));
    EXPECT_EQ(testModel().error.code, ERR_CYCLIC_LOOP);
}

TEST_F(NetworkTest, passingLeavesAnEarlierFailure) {
    addNode("O", OUTFALL);
    testModel().error.code = ERR_INPUT;
    EXPECT_EQ(validate(), "");
    EXPECT_EQ(testModel().error.code, ERR_INPUT);
}

TEST_F(NetworkTest, percentInNameIsPlainText) {
    addNode("%s%n");
    EXPECT_EQ(validate(), report({"ERROR 137: Node %s%n has no downstream link."}));
}

// --- heads ---------------------------------------------------------------------------------------------------------

TEST_F(NetworkTest, nodesWithoutInflowAreHeads) {
    addNodes(3);
    connect({"CB", "AB"});
    validate();
    EXPECT_EQ(heads(), Indices({0, 2}));
}

TEST_F(NetworkTest, laggedInflowAloneMakesAHead) {
    addNodes(2);
    connect({"~AB"});
    EXPECT_EQ(validate(), "");
    EXPECT_EQ(heads(), Indices({0, 1}));
}

TEST_F(NetworkTest, laggedFirstInflowMakesAHeadDespiteTheSecond) {
    addNodes(2);
    connect({"~AB", "AB"});
    validate();
    EXPECT_EQ(heads(), Indices({0, 1}));
}

TEST_F(NetworkTest, laggedSecondInflowMakesNoHead) {
    addNodes(2);
    connect({"AB", "~AB"});
    validate();
    EXPECT_EQ(heads(), Indices({0}));
}

TEST_F(NetworkTest, linkToItselfHoldsANodeBack) {
    addNodes(1);
    connect({"AA"});
    EXPECT_EQ(validate(), report({TOO_FEW}));
    EXPECT_EQ(heads(), Indices());
}

TEST_F(NetworkTest, headStaysHead) {
    addNodes(2);
    connect({"AB"});
    testModel().nodes[1].isHead = 1;
    validate();
    EXPECT_EQ(heads(), Indices({0, 1}));
}

TEST_F(NetworkTest, headsComeByIndexAndTargetsByLink) {
    addNodes(6);
    connect({"FC", "BE", "BA", "ED"});
    EXPECT_EQ(validateAndSort(), Indices({1, 5, 4, 0, 2, 3}));
}

TEST_F(NetworkTest, nodeWaitsForTheLastOfItsInflows) {
    addNodes(4);
    connect({"AD", "AB", "BC", "CD"});
    EXPECT_EQ(validateAndSort(), Indices({0, 1, 2, 3}));
}

TEST_F(NetworkTest, eachOfTwoParallelLinksIsWaitedFor) {
    addNodes(3);
    connect({"AC1", "AC2", "AB"});
    EXPECT_EQ(validateAndSort(), Indices({0, 2, 1}));
}

TEST_F(NetworkTest, laggedLinkIsNotWaitedForButReleasesItsTargetEarly) {
    addNodes(4);
    connect({"AB", "BC", "CD", "~AD"});
    // D goes ahead of C, whose water it takes.
    EXPECT_EQ(validateAndSort(), Indices({0, 1, 3, 2}));
}

// With equality in place of "at least" the count would run past the mark and the node would be lost.
TEST_F(NetworkTest, linkReleasesATargetThatNothingWaitsFor) {
    addNodes(2);
    connect({"~AB"});
    testModel().nodes[0].isHead = 1;
    topology_indexLinks(testModel());
    EXPECT_EQ(sort(), Indices({0, 1}));
}

TEST_F(NetworkTest, headWithInflowKeepsItsPlaceAtTheFront) {
    addNodes(3);
    connect({"~BC", "AB", "BC"});
    EXPECT_EQ(validateAndSort(), Indices({0, 2, 1}));
}

TEST_F(NetworkTest, nodesNeverReleasedLeaveNodeZeroAtTheEnd) {
    addNodes(5);
    connect({"AB", "BA", "CD", "AD"});
    // A and B wait for each other, D for A; only C and E go.
    EXPECT_EQ(validateAndSort(), Indices({2, 4, 0, 0, 0}));
}

TEST_F(NetworkTest, directTargetsComeAheadOfLinksSurpassFirst) {
    addNodes(5);
    connect({"AB"});
    makeReactor(0, 4, 3);
    makeLidMono(4, 2);
    EXPECT_EQ(validateAndSort(), Indices({0, 4, 3, 1, 2}));
}

TEST_F(NetworkTest, nodeWaitsForWhatDischargesToItDirectly) {
    addNodes(4);
    connect({"AB", "BC"});
    makeReactor(2, 3, -1);
    makeLidMono(0, 3);
    EXPECT_EQ(validateAndSort(), Indices({0, 1, 2, 3}));
}

TEST_F(NetworkTest, reactorThatEmptiesToItsSurpassNodeReleasesItTooEarly) {
    addNodes(3);
    connect({"AB", "BC"});
    makeReactor(0, 2, 2);
    // C waits for the reactor and for the link from B, and has the reactor twice.
    EXPECT_EQ(validateAndSort(), Indices({0, 2, 1}));
}

TEST_F(NetworkTest, sortingAgainGivesTheSameOrder) {
    addNodes(4);
    connect({"AD", "AB", "BC", "CD"});
    const std::vector<int32_t> first = validateAndSort();
    EXPECT_EQ(sort(), first);
}
