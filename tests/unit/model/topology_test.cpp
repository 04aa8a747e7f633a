// The links of each node, on tables that a test fills itself.

#include "model/topology.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/model.h"
#include "support/tables.h"

using Indices = std::vector<int32_t>;

static Indices list(LinkList links) {
    return {links.begin(), links.end()};
}

struct Topology : testing::Test, Tables {};

TEST_F(Topology, ListsTheLinksOfANodeInTheOrderOfTheirTable) {
    addNodes(3);
    connect({"BC", "AB", "BA", "AB2", "AC"});
    topology_indexLinks(testModel());
    EXPECT_EQ(list(topology_getOutgoing(testModel(), 0)), (Indices{1, 3, 4}));
    EXPECT_EQ(list(topology_getOutgoing(testModel(), 1)), (Indices{0, 2}));
    EXPECT_EQ(list(topology_getIncoming(testModel(), 1)), (Indices{1, 3}));
    EXPECT_EQ(list(topology_getIncoming(testModel(), 2)), (Indices{0, 4}));
}

TEST_F(Topology, ListsALinkToItsOwnNodeAtBothEnds) {
    addNodes(1);
    connect({"AA"});
    topology_indexLinks(testModel());
    EXPECT_EQ(list(topology_getOutgoing(testModel(), 0)), Indices{0});
    EXPECT_EQ(list(topology_getIncoming(testModel(), 0)), Indices{0});
}

TEST_F(Topology, ListsALaggedLinkLikeAnyOther) {
    addNodes(2);
    connect({"~AB"});
    topology_indexLinks(testModel());
    EXPECT_EQ(list(topology_getOutgoing(testModel(), 0)), Indices{0});
    EXPECT_EQ(list(topology_getIncoming(testModel(), 1)), Indices{0});
}

TEST_F(Topology, KnowsNoLinksOfALonelyNode) {
    addNodes(1);
    topology_indexLinks(testModel());
    EXPECT_EQ(topology_getOutgoing(testModel(), 0).count, 0);
    EXPECT_EQ(topology_getIncoming(testModel(), 0).count, 0);
}

TEST_F(Topology, KnowsNoLinksBeforeTheyAreSortedAndWhenItHasForgottenThem) {
    addNodes(2);
    connect({"AB"});
    EXPECT_EQ(topology_getOutgoing(testModel(), 0).count, 0);
    topology_indexLinks(testModel());
    EXPECT_EQ(topology_getOutgoing(testModel(), 0).count, 1);
    testModel().outgoingLinks = testModel().incomingLinks = {};
    EXPECT_EQ(topology_getOutgoing(testModel(), 0).count, 0);
    EXPECT_EQ(topology_getIncoming(testModel(), 1).count, 0);
}
