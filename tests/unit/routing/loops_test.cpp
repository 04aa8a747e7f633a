// The network as a graph: random networks against the walk over all paths, and large ones at what they may cost.
//
// Nothing is read from a file here: the tests fill the tables of nodes and links themselves.

#include "routing/loops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <list>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/model.h"
#include "support/network.h"

// --- circles -------------------------------------------------------------------------------------------------------

TEST_F(NetworkTest, recycleLinkMayCloseALoop) {
    addNodes({JUNCTION, JUNCTION});
    connect({"AB", "~BA"});
    EXPECT_EQ(validate(), "");
    EXPECT_EQ(heads(), Indices({0}));
}

TEST_F(NetworkTest, loopWithoutHeadSpansTooFewNodes) {
    addNodes({JUNCTION, JUNCTION});
    connect({"AB", "BA"});
    EXPECT_EQ(validate(), report({TOO_FEW}));
    EXPECT_EQ(testModel().error.code, ERR_UNREACHED_NODES);
    EXPECT_EQ(errors_getPublicCode(testModel().error.code), 135);
}

// Nothing leads to D and E, but after the first message nothing is counted.
TEST_F(NetworkTest, loopBehindAHeadNamesTheClosingLinkAndEndsTheTest) {
    addNodes(5);
    connect({"AB", "BC", "CB", "DE", "ED"});
    EXPECT_EQ(validate(), report({cyclic("CB")}));
    EXPECT_EQ(testModel().error.code, ERR_CYCLIC_LOOP);
    EXPECT_EQ(errors_getPublicCode(testModel().error.code), 131);
}

TEST_F(NetworkTest, linkToItselfIsALoopWhereAPathReachesIt) {
    addNodes(2);
    connect({"AB", "BB"});
    EXPECT_EQ(validate(), report({cyclic("BB")}));
}

TEST_F(NetworkTest, laggedLinkToItselfIsNoLoop) {
    addNodes(2);
    connect({"AB", "~BB"});
    EXPECT_EQ(validate(), "");
}

TEST_F(NetworkTest, loopMayCloseAtTheHeadItself) {
    addNodes(2);
    connect({"~BA", "AB", "BA"});
    EXPECT_EQ(validate(), report({cyclic("BA")}));
}

TEST_F(NetworkTest, firstOfParallelClosingLinksIsNamed) {
    addNodes(3);
    connect({"AB", "~CB", "CB1", "CB2", "BC1", "BC2"});
    EXPECT_EQ(validate(), report({cyclic("CB1")}));
}

// Two circles, on the second the path has three nodes and on the first four.
TEST_F(NetworkTest, pathWithFewestNodesIsMetFirst) {
    addNodes(6);
    connect({"AB", "BC", "CD", "DB", "AE", "EF", "FE"});
    EXPECT_EQ(validate(), report({cyclic("FE")}));
}

// A long tail with a short circle and a short tail with a long circle: both paths have four nodes.
TEST_F(NetworkTest, ofPathsOfOneLengthTheEarlierOutletOfTheHeadIsMetFirst) {
    addNodes(7);
    connect({"AB", "AE", "BC", "CD", "DD", "EF", "FG", "GE"});
    EXPECT_STREQ(checkLoops().loopName, "DD");
    std::swap(testModel().links[0], testModel().links[1]);
    EXPECT_STREQ(checkLoops().loopName, "GE");
}

TEST_F(NetworkTest, ofPathsOfOneLengthThatOfTheEarlierHeadIsMetFirst) {
    addNodes(4);
    connect({"DB", "BB", "AC", "CC"});  // the links of the later head stand first
    EXPECT_EQ(validate(), report({cyclic("CC")}));
}

// Behind the tail AB both C and D close, and B leads to D first.
TEST_F(NetworkTest, ofPathsWithACommonTailTheEarlierLinkDecides) {
    addNodes(4);
    connect({"AB", "BD", "BC", "CB", "DD"});
    EXPECT_EQ(validate(), report({cyclic("DD")}));
}

// The path ABCD closes at B and at C. The circle from B has the shorter tail, but DC stands first.
TEST_F(NetworkTest, ofTwoClosingLinksOfOnePathTheEarlierIsNamed) {
    addNodes(4);
    connect({"DC", "DB", "AB", "BC", "CD"});
    EXPECT_EQ(validate(), report({cyclic("DC")}));
}

// --- numbers of paths ----------------------------------------------------------------------------------------------

TEST_F(NetworkTest, nodeBehindTwoPumpsHasAPathForEach) {
    addNodes({TANK, OUTFALL, VORN, VORN});
    addLink("P1", 0, 1, PUMP);
    addLink("P2", 0, 1, PUMP);
    connect({"CD", "DC"});
    // A, AB over P1, AB over P2: one less than the nodes.
    EXPECT_EQ(checkLoops().pathCount, 3);
    EXPECT_EQ(readReport(), report({TOO_FEW}));
}

// A, two paths to B, two to C: as many as the nodes, though nothing leads to the circle of D and E.
TEST_F(NetworkTest, doublePathsHideUnreachedNodes) {
    addNodes({SPLITTER, JUNCTION, OUTFALL, JUNCTION, JUNCTION});
    connect({"AB1", "AB2", "BC", "DE", "ED"});
    EXPECT_EQ(validate(), "");
}

TEST_F(NetworkTest, pathsOneShortOfTheNodesFail) {
    addNodes({SPLITTER, JUNCTION, OUTFALL, JUNCTION, JUNCTION, JUNCTION});
    connect({"AB1", "AB2", "BC", "DE", "EF", "FD"});
    EXPECT_EQ(validate(), report({TOO_FEW}));
}

// B is a head for its first inflow is lagged, and stands on the path from A as well.
TEST_F(NetworkTest, headWithInflowHasAPathOfItsOwnToo) {
    addNodes(6);
    connect({"~AB", "AB", "CD", "DE", "EF", "FC"});
    EXPECT_EQ(checkLoops().pathCount, 3);  // A, B, AB
}

TEST_F(NetworkTest, laggedLinkMakesNoPath) {
    addNodes(5);
    connect({"AB", "~AB", "CD", "DE", "EC"});
    EXPECT_EQ(checkLoops().pathCount, 2);  // A, AB
}
// --- order ---------------------------------------------------------------------------------------------------------

// --- against the walk itself ---------------------------------------------------------------------------------------

/// The walk over all paths as it is defined, the shorter ones first: the name it ends with, or none, and the number of
/// paths.
static std::pair<std::string, int64_t> walkAllPaths() {
    std::deque<std::list<int32_t>> paths;
    int64_t count = 0;
    for (int32_t k = 0; k < testModel().nodes.size(); ++k) {
        if (testModel().nodes[k].isHead) {
            paths.push_back({k});
            ++count;
        }
    }
    for (; !paths.empty(); paths.pop_front()) {
        const std::list<int32_t> path = paths.front();
        const auto contains = [&](int32_t node) { return std::find(path.begin(), path.end(), node) != path.end(); };
        const auto extend = [&](int32_t node) {
            paths.push_back(path);
            paths.back().push_back(node);
            ++count;
        };
        for (const Link& link : testModel().links) {
            if (link.fromNode != path.back() || link.isLagged) {
                continue;
            }
            if (contains(link.toNode)) {
                return {link.id, count};
            }
            extend(link.toNode);
        }
        int32_t targets[2];
        const int32_t targetCount = nodekinds_getDirectTargets(testModel(), path.back(), targets);
        for (int32_t t = 0; t < targetCount; ++t) {
            if (contains(targets[t])) {
                return {testModel().nodes[targets[t]].id, count};
            }
            extend(targets[t]);
        }
    }
    return {"", count};
}

/// The number of inflows that each node waits for.
static std::vector<int32_t> countUpstream() {
    std::vector<int32_t> counts(testModel().nodes.rows.size(), 0);
    for (const Link& link : testModel().links) {
        counts[static_cast<size_t>(link.toNode)] += link.isLagged ? 0 : 1;
    }
    for (const Reactor& reactor : testModel().reactors) {
        ++counts[static_cast<size_t>(reactor.surpassNode)];
        if (reactor.emptyingNode >= 0 && reactor.emptyingNode != reactor.surpassNode) {
            ++counts[static_cast<size_t>(reactor.emptyingNode)];
        }
    }
    for (const LidMono& mono : testModel().lidMonos) {
        if (mono.unit.drainNode >= 0) {
            ++counts[static_cast<size_t>(mono.unit.drainNode)];
        }
    }
    return counts;
}

/// The order of a step with lists that are searched from end to end.
static std::vector<int32_t> sortWithLists() {
    std::vector<int32_t> sorted(testModel().nodes.rows.size(), 0);
    std::vector<int32_t> visitedCounts(testModel().nodes.rows.size(), 0);
    const std::vector<int32_t> upstreamCounts = countUpstream();
    std::list<int32_t> visited, pending;
    size_t k = 0;
    const auto append = [&](int32_t node) {
        visited.push_back(node);
        pending.push_back(node);
        sorted[k++] = node;
    };
    const auto isListed = [&](int32_t node) {
        return std::find(visited.begin(), visited.end(), node) != visited.end() ||
               std::find(pending.begin(), pending.end(), node) != pending.end();
    };
    const auto meetDirectTarget = [&](int32_t to) {
        if (to >= 0 && !isListed(to) &&
            ++visitedCounts[static_cast<size_t>(to)] == upstreamCounts[static_cast<size_t>(to)]) {
            append(to);
        }
    };
    for (int32_t n = 0; n < testModel().nodes.size(); ++n) {
        if (testModel().nodes[n].isHead) {
            append(n);
        }
    }
    while (!pending.empty()) {
        const Node& node = testModel().nodes[pending.front()];
        if (node.kind == REACTOR) {
            meetDirectTarget(testModel().reactors[node.kindIndex].surpassNode);
            meetDirectTarget(testModel().reactors[node.kindIndex].emptyingNode);
        }
        if (node.kind == LID_MONO) {
            meetDirectTarget(testModel().lidMonos[node.kindIndex].unit.drainNode);
        }
        for (const Link& link : testModel().links) {
            const int32_t to = link.toNode;
            if (link.fromNode != pending.front() || isListed(to)) {
                continue;
            }
            if (++visitedCounts[static_cast<size_t>(to)] >= upstreamCounts[static_cast<size_t>(to)]) {
                append(to);
            }
        }
        pending.pop_front();
    }
    return sorted;
}

/// A small network without regard to the rules of kinds; some nodes discharge to others directly. Links prefer higher
/// nodes, so that there are some circles and not too many.
static void makeRandomNetwork(std::mt19937& random) {
    const auto draw = [&](uint32_t count) { return static_cast<int32_t>(random() % count); };
    NetworkTest::clear();
    const int32_t nodeCount = 1 + draw(9);
    const int32_t linkCount = draw(static_cast<uint32_t>(nodeCount) * 2);
    const int32_t backward = draw(4);
    Tables::addNodes(nodeCount);
    for (int32_t k = 0; k < linkCount; ++k) {
        int32_t from = draw(static_cast<uint32_t>(nodeCount));
        int32_t to = draw(static_cast<uint32_t>(nodeCount));
        if (from > to && draw(4) > backward) {
            std::swap(from, to);
        }
        if (from == to && draw(3) > 0) {
            to = (to + 1) % nodeCount;
        }
        Tables::addLink("L" + std::to_string(k), from, to);
        testModel().links.back().isLagged = draw(8) == 0;
    }
    const auto drawDownstream = [&](int32_t node) {
        const int32_t ahead = nodeCount - 1 - node;
        return ahead > 0 && draw(8) > 0 ? node + 1 + draw(static_cast<uint32_t>(ahead))
                                        : draw(static_cast<uint32_t>(nodeCount));
    };
    for (int32_t node = draw(2) == 0 ? 0 : nodeCount; node < nodeCount; ++node) {
        switch (draw(6)) {
            case 0: Tables::makeReactor(node, drawDownstream(node), draw(3) == 0 ? -1 : drawDownstream(node)); break;
            case 1: Tables::makeLidMono(node, draw(3) == 0 ? -1 : drawDownstream(node)); break;
            default: break;
        }
    }
    topology_indexLinks(testModel());
    if (draw(2) == 0) {
        for (int32_t k = draw(3); k >= 0; --k) {
            testModel().nodes[draw(static_cast<uint32_t>(nodeCount))].isHead = 1;
        }
    }
}

TEST_F(NetworkTest, smallNetworksPassAndFailAsInTheWalkOverAllPaths) {
    std::mt19937 random(20240229);
    int32_t loops = 0, tooFew = 0, passed = 0;
    for (int32_t trial = 0; trial < 20000; ++trial) {
        makeRandomNetwork(random);
        network_validate(testModel());
        testModel().error.code = 0;  // the rules of kinds are not asked for
        network_checkCycles(testModel());
        const auto [loopName, pathCount] = walkAllPaths();
        const LoopCheck check = loops_check(testModel());
        const int64_t nodeCount = static_cast<int64_t>(testModel().nodes.size());
        if (!loopName.empty()) {
            ASSERT_NE(check.loopName, nullptr) << "trial " << trial;
            ASSERT_EQ(check.loopName, loopName) << "trial " << trial;
            ASSERT_EQ(testModel().error.code, ERR_CYCLIC_LOOP);
            ++loops;
        } else {
            ASSERT_EQ(check.loopName, nullptr) << "trial " << trial;
            ASSERT_EQ(check.pathCount, std::min(pathCount, nodeCount)) << "trial " << trial;
            ASSERT_EQ(testModel().error.code, pathCount < nodeCount ? ERR_UNREACHED_NODES : 0);
            ++(pathCount < nodeCount ? tooFew : passed);
        }
    }
    EXPECT_GT(loops, 1000);
    EXPECT_GT(tooFew, 1000);
    EXPECT_GT(passed, 1000);
}

TEST_F(NetworkTest, smallNetworksAreSortedAsWithLists) {
    std::mt19937 random(19960806);
    for (int32_t trial = 0; trial < 20000; ++trial) {
        makeRandomNetwork(random);
        network_validate(testModel());
        ASSERT_EQ(sort(), sortWithLists()) << "trial " << trial;
    }
}

// --- large networks ------------------------------------------------------------------------------------------------

static int64_t size() {
    return static_cast<int64_t>(testModel().nodes.size() + testModel().links.size());
}

/// Nodes without names, for networks where only circles are asked for.
static void addNamelessNodes(int32_t count) {
    Node node{};
    node.kind = SWMM;
    testModel().nodes.rows.resize(testModel().nodes.rows.size() + static_cast<size_t>(count), node);
    testModel().counts.objects[NODE] += count;
    testModel().counts.nodeKinds[SWMM] += count;
}

static void addNamelessLink(int32_t from, int32_t to, const char* id = "inside") {
    Link link{};
    link.id = id;
    link.fromNode = from;
    link.toNode = to;
    testModel().links.push_back(link);
    ++testModel().counts.objects[LINK];
    ++testModel().counts.linkKinds[PIPE];
}

/// Splitters whose two branches rejoin at the next one: 2^60 paths to the last node, and more than 64 bits can number.
TEST_F(NetworkTest, ladderOfRejoiningSplittersIsCountedWithoutWalking) {
    for (const int32_t rungs : {60, 150}) {
        NetworkTest::clear();
        addNode("S0", SPLITTER);
        for (int32_t k = 1; k <= rungs; ++k) {
            const int32_t from = testModel().counts.objects[NODE] - 1;
            const std::string number = std::to_string(k);
            addNode("A" + number);
            addNode("B" + number);
            addNode("S" + number, k < rungs ? SPLITTER : OUTFALL);
            addLink("LA" + number, from, from + 1);
            addLink("LB" + number, from, from + 2);
            addLink("MA" + number, from + 1, from + 3);
            addLink("MB" + number, from + 2, from + 3);
        }
        EXPECT_EQ(validate(), "");
        EXPECT_LE(testModel().visitCount, 3 * size());
        EXPECT_EQ(loops_check(testModel()).pathCount, 3 * rungs + 1);
    }
}

TEST_F(NetworkTest, loopBehindALadderIsFoundWithoutWalking) {
    addNamelessNodes(62);
    for (int32_t k = 0; k < 60; ++k) {
        addNamelessLink(k, k + 1);
        addNamelessLink(k, k + 1);
    }
    addNamelessLink(60, 61);
    addNamelessLink(61, 60, "closing");
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, 5 * size());
}

TEST_F(NetworkTest, chainOfAMillionNodesIsValidatedAndSortedNodeByNode) {
    const int32_t count = 1000000;
    testModel().nodes.reserve(count);
    testModel().links.reserve(count);
    addNode("0");
    for (int32_t k = 1; k < count; ++k) {
        addNode(std::to_string(k), k < count - 1 ? JUNCTION : OUTFALL);
        addNamelessLink(k - 1, k);
    }
    EXPECT_EQ(validate(), "");
    EXPECT_LE(testModel().visitCount, 3 * size());
    const std::vector<int32_t> sorted = sort();
    for (int32_t k = 0; k < count; ++k) {
        ASSERT_EQ(sorted[static_cast<size_t>(k)], k);
    }
}

TEST_F(NetworkTest, smallLoopBehindAChainOfAMillionNodesIsFound) {
    const int32_t count = 1000000;
    addNamelessNodes(count);
    for (int32_t k = 1; k < count; ++k) {
        addNamelessLink(k - 1, k);
    }
    addNamelessLink(count - 1, count - 3, "closing");
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, 3 * size());
}

TEST_F(NetworkTest, chainOfAMillionNodesBackToItsStartIsFound) {
    const int32_t count = 1000000;
    addNamelessNodes(count);
    for (int32_t k = 1; k < count; ++k) {
        addNamelessLink(k - 1, k);
    }
    addNamelessLink(count - 1, 1, "closing");
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, 6 * size());
}

TEST_F(NetworkTest, ringOfTwoThousandNodesIsFoundAtTheCostOfItsLinks) {
    addNamelessNodes(2001);
    for (int32_t k = 0; k < 2000; ++k) {
        addNamelessLink(k, (k + 1) % 2000, k == 999 ? "closing" : "inside");
    }
    addNamelessLink(2000, 1000);
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, 6 * size());
}

/// A head at each node of a ring, so that a lasso of one length starts at each: the first head's is the one.
TEST_F(NetworkTest, ringWithAHeadAtEachNodeIsFoundAtTheCostOfItsLinks) {
    const int32_t ring = 2000;
    addNamelessNodes(2 * ring);
    for (int32_t k = 0; k < ring; ++k) {
        addNamelessLink(ring + k, ring + (k + 1) % ring, k == ring - 1 ? "closing" : "inside");
        // Heads at the even places of the ring in rising order, at the odd ones in falling order.
        addNamelessLink(k, ring + (k % 2 == 0 ? k : ring - k));
    }
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, 6 * size());
}

/// A square of streets, each crossing draining to the next in both directions, and the last back to the first.
TEST_F(NetworkTest, gridClosedByOneLinkIsFoundAtTheCostOfItsLinks) {
    const int32_t side = 100;
    addNamelessNodes(side * side + 1);
    for (int32_t row = 0; row < side; ++row) {
        for (int32_t column = 0; column < side; ++column) {
            const int32_t node = row * side + column;
            if (column + 1 < side) {
                addNamelessLink(node, node + 1);
            }
            if (row + 1 < side) {
                addNamelessLink(node, node + side);
            }
        }
    }
    addNamelessLink(side * side, 0);
    addNamelessLink(side * side - 1, 0, "closing");
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, 6 * size());
}

/// A chain with a link from each node to any other: all hang together, and many nodes have to be asked for a circle.
TEST_F(NetworkTest, tangledNetworkIsNotDividedAnewForEachNode) {
    const int32_t count = 20000;
    std::mt19937 random(5);
    addNamelessNodes(count);
    for (int32_t k = 1; k < count; ++k) {
        addNamelessLink(k - 1, k);
        addNamelessLink(k, 1 + static_cast<int32_t>(random() % (count - 1)));
    }
    const LoopCheck check = checkLoops();
    EXPECT_NE(check.loopName, nullptr);
    EXPECT_LE(check.visits, 100 * size());
}

/// Each node drains to all others, and a chain leads to the first one.
TEST_F(NetworkTest, denseNetworkCostsAtMostItsSizeForEachNodeOnLoops) {
    const int32_t dense = 200;
    addNamelessNodes(dense + 50);
    for (int32_t from = 0; from < dense; ++from) {
        for (int32_t to = 0; to < dense; ++to) {
            if (from != to) {
                addNamelessLink(from, to, from == 1 && to == 0 ? "closing" : "inside");
            }
        }
    }
    for (int32_t k = 0; k < 50; ++k) {
        addNamelessLink(dense + k, k < 49 ? dense + k + 1 : 0);
    }
    const LoopCheck check = checkLoops();
    EXPECT_STREQ(check.loopName, "closing");
    EXPECT_LE(check.visits, size() * dense);
}
