// Where the kinds of node are told apart: what may leave a node of a kind, and where it discharges without a link.

#include "routing/nodekinds.h"

#include <gtest/gtest.h>

#include <string>

#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "support/model.h"
#include "support/tables.h"

struct NodeKinds : testing::Test, Tables {};

TEST_F(NodeKinds, HaveARuleForTheirOutlets) {
    EXPECT_EQ(nodekinds_getOutletRule(JUNCTION), OUTLETS_ONE);
    EXPECT_EQ(nodekinds_getOutletRule(SPLITTER), OUTLETS_SOME);
    EXPECT_EQ(nodekinds_getOutletRule(OUTFALL), OUTLETS_NONE);
    EXPECT_EQ(nodekinds_getOutletRule(TANK), OUTLETS_OF_TANK);
    EXPECT_EQ(nodekinds_getOutletRule(SWMM), OUTLETS_ANY);
    EXPECT_EQ(nodekinds_getOutletRule(VORN), OUTLETS_ANY);
}

TEST_F(NodeKinds, WithoutDirectDischargeHaveNoTargets) {
    int32_t targets[2];
    for (int32_t kind = 0; kind < NODE_KIND_COUNT; ++kind) {
        if (kind != REACTOR && kind != LID_MONO) {
            const int32_t node = addNode("N" + std::to_string(kind), kind);
            EXPECT_EQ(nodekinds_getDirectEdges(testModel(), node, targets), 0) << kind;
        }
    }
}

TEST_F(NodeKinds, ReactorDischargesItsSurplusAheadOfItsEmptying) {
    addNodes(3);
    makeReactor(0, 2, 1);
    int32_t targets[2];
    ASSERT_EQ(nodekinds_getDirectEdges(testModel(), 0, targets), 2);
    EXPECT_EQ(targets[0], 2);
    EXPECT_EQ(targets[1], 1);
}

TEST_F(NodeKinds, ReactorWithOneNodeForBothHasTwoEdgesAndOneTarget) {
    addNodes(2);
    makeReactor(0, 1, 1);
    int32_t targets[2];
    EXPECT_EQ(nodekinds_getDirectEdges(testModel(), 0, targets), 2);
    ASSERT_EQ(nodekinds_getDirectTargets(testModel(), 0, targets), 1);
    EXPECT_EQ(targets[0], 1);
}

TEST_F(NodeKinds, ReactorWithoutAnEmptyingNodeHasItsSurplusAlone) {
    addNodes(2);
    makeReactor(0, 1, -1);
    int32_t targets[2];
    ASSERT_EQ(nodekinds_getDirectTargets(testModel(), 0, targets), 1);
    EXPECT_EQ(targets[0], 1);
}

TEST_F(NodeKinds, LidMonomerDischargesItsDrainIfItHasANodeForIt) {
    addNodes(3);
    makeLidMono(0, 2);
    makeLidMono(1, -1);
    int32_t targets[2];
    ASSERT_EQ(nodekinds_getDirectTargets(testModel(), 0, targets), 1);
    EXPECT_EQ(targets[0], 2);
    EXPECT_EQ(nodekinds_getDirectTargets(testModel(), 1, targets), 0);
}

TEST_F(NodeKinds, HaveDecayWhereTheyStoreWater) {
    addNode("J", JUNCTION);
    addNode("T", TANK);
    Decay decay{};
    testModel().tanks.resize(1);
    testModel().tanks[0].decay = &decay;
    EXPECT_EQ(nodekinds_findDecay(testModel(), node("J")), nullptr);
    EXPECT_EQ(nodekinds_findDecay(testModel(), node("T")), &decay);
}
