// The order of the visits: which node goes ahead of which, and that nobody can tell it from the sorted order.

#include "routing/visitorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "links/pipe.h"
#include "model/model.h"
#include "routing/loadbook.h"
#include "routing/visits.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/project.h"
#include "support/stateruns.h"
#include "support/tvmodel.h"

static std::string tellVisits(const Model& model) {
    std::string text;
    for (const Visit& visit : model.visits) {
        text += std::string(text.empty() ? "" : " ") + model.nodes[visit.node].id;
    }
    return text;
}

/// The visits of a network of pipes without pollutants; `ends` are two nodes each.
static std::string tellVisits(const std::string& nodes, const std::vector<std::string>& ends) {
    std::string text = getGeneral(10) + nodes + "[PIPES]\n";
    for (size_t k = 0; k < ends.size(); ++k) {
        text += "P" + std::to_string(k) + " " + ends[k] + " NO 120 1 0 0\n";
    }
    const StartedProject project(text);
    return tellVisits(testModel());
}

TEST(VisitOrder, IsThatOfTheFileWhereTheFileGoesDownstream) {
    // The sorted order begins with all heads: A, C, D.
    EXPECT_EQ(tellVisits("[JUNCTIONS]\nA\nB\nC\nD\n[OUTFALLS]\nO\n", {"A B", "B O", "C O", "D O"}), "A B C D O");
}

TEST(VisitOrder, GoesBackForANodeAsSoonAsItHasWhatItWaitsFor) {
    EXPECT_EQ(tellVisits("[JUNCTIONS]\nE\nD\nC\nA\nB\n[OUTFALLS]\nO\n", {"C D", "D E", "E O", "A C", "B O"}),
              "A C D E B O");
}

TEST(VisitOrder, OfOutfallsIsTheSortedOne) {
    // Z is met first on the way through the file, but reached last in the sorted order.
    EXPECT_EQ(tellVisits("[JUNCTIONS]\nA\nB\nC\nH\n[OUTFALLS]\nZ\nY\n", {"A B", "B C", "C Z", "H Y"}), "A B C H Y Z");
}

/// Whether a chain of pipes counts as one that the tables hold from front to back. The steps tell how far apart in the
/// file neighbours in it stand.
static bool isChainStraight(int count, int nodeStep, int pipeStep) {
    std::string nodes = getGeneral(10) + "[JUNCTIONS]\n", pipes = "[OUTFALLS]\nO\n[PIPES]\n";
    for (int k = 0; k < count; ++k) {
        const int pipe = k * pipeStep % count;
        nodes += "N" + std::to_string(k * nodeStep % count) + "\n";
        pipes += "P" + std::to_string(pipe) + " N" + std::to_string(pipe) + " " +
                 (pipe + 1 < count ? "N" + std::to_string(pipe + 1) : "O") + " NO 120 1 0 0\n";
    }
    const StartedProject project(nodes + pipes);
    return testModel().isOrderStraight;
}

TEST(VisitOrder, IsStraightIfItGoesThroughTheTablesInShortSteps) {
    EXPECT_TRUE(isChainStraight(101, 1, 1));
    EXPECT_FALSE(isChainStraight(101, 100, 1)) << "back to front";
    EXPECT_FALSE(isChainStraight(101, 30, 1)) << "from one end to the other";
}

TEST(VisitOrder, IsNotStraightIfThePipesStandOtherwise) {
    EXPECT_TRUE(isChainStraight(101, 1, 1));
    EXPECT_FALSE(isChainStraight(101, 1, 100)) << "back to front";
    EXPECT_FALSE(isChainStraight(101, 1, 30)) << "from one end to the other";
}

/// Whether a visit adds to no total and fills no node but over pipes.
static bool isPlain(const Model& model, int32_t node) {
    return model.nodes[node].kind == JUNCTION &&
           std::all_of(model.links.begin(), model.links.end(), [&](const Link& link) {
               return link.fromNode != node || (link.kind == PIPE && !model.pipes[link.kindIndex].hasDecay);
           });
}

/// The places of the nodes in the sorted order, and in that of the visits.
struct Places {
    std::vector<int32_t> sorted, visited;

    explicit Places(const Model& model) : sorted(model.nodes.rows.size()), visited(sorted) {
        for (int32_t k = 0; k < model.nodes.size(); ++k) {
            sorted.at(static_cast<size_t>(model.sortedNodes[k])) = k;
            visited.at(static_cast<size_t>(model.visits[k].node)) = k;
        }
    }
    bool isSame(int32_t a, int32_t b) const {
        const auto i = static_cast<size_t>(a), j = static_cast<size_t>(b);
        return (sorted.at(i) < sorted.at(j)) == (visited.at(i) < visited.at(j));
    }
};

/// Some links of a text become lagged ones.
static std::string lagSomeLinks(std::string text) {
    int count = 0;
    for (size_t at = text.find(" NO "); at != std::string::npos; at = text.find(" NO ", at + 1)) {
        text.replace(at, 4, ++count % 4 == 0 ? " YES " : " NO ");
    }
    return text;
}

TEST(VisitOrder, KeepsTheEndsOfALinkAndWhatCanBeToldApartInTheSortedOrder) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        const StartedProject project(getGeneral(10) + lagSomeLinks(generateNetwork(seed, 30, 1)));
        const Model& model = testModel();
        const Places places(model);
        for (const Link& link : model.links) {
            EXPECT_TRUE(places.isSame(link.fromNode, link.toNode)) << "seed " << seed << ", link " << link.id;
        }
        for (int32_t a = 0; a < model.nodes.size(); ++a) {
            for (int32_t b = 0; b < a; ++b) {
                EXPECT_TRUE(isPlain(model, a) || isPlain(model, b) || places.isSame(a, b)) << "seed " << seed;
            }
        }
    }
}

/// Whether the visits are those of the sorted nodes.
static bool isSorted(const Model& model) {
    return std::equal(model.visits.begin(), model.visits.end(), model.sortedNodes,
                      [](const Visit& visit, int32_t node) { return visit.node == node; });
}

TEST(VisitOrder, LeavesWhatTheSortedOrderLeaves) {
    int differing = 0;
    for (unsigned seed = 0; seed < 24; ++seed) {
        const GeneratedFolder folder(seed);
        ModelRun free(folder, "free"), sorted(folder, "sorted");
        sorted.model->loadBook->isWanted = true;  // which looks at the totals between two visits
        free.start();
        sorted.start();
        ASSERT_TRUE(isSorted(*sorted.model));
        differing += isSorted(*free.model) ? 0 : 1;
        for (bool isOn = true; isOn;) {
            isOn = free.step(30);
            ASSERT_EQ(sorted.step(30), isOn);
            ASSERT_EQ(tellDifference(*free.model, free.save(), sorted.save()), "") << "seed " << seed;
        }
    }
    EXPECT_GT(differing, 12);
}

/// Two chains of pipes with a pollutant, in which nothing decays by the file.
static std::string makeChains() {
    std::string nodes = "[JUNCTIONS]\n", pipes = "[OUTFALLS]\nO\n[PIPES]\n";
    for (int k = 0; k < 12; ++k) {
        const std::string name = std::to_string(k);
        nodes += "N" + name + "\n";
        const std::string next = k == 5 || k == 11 ? "O" : "N" + std::to_string(k + 1);
        pipes.append("P").append(name).append(" N").append(name).append(" ").append(next).append(" NO 120 2 0.2 0\n");
    }
    return getGeneral(120) + "[POLLUTANTS]\nX 0\n" + nodes + pipes +
           "[DWFS]\nN0 FLOW 0.7 \"\"\nN0 X 31 \"\"\nN6 FLOW 0.9 \"\"\nN6 X 17 \"\"\n";
}

/// Lets all pipes decay, each at a rate of its own.
static void decayAll(const TvModel& model) {
    int32_t variable = -1;
    ASSERT_EQ(tv_findVariable(TV_LINK, "decay_coefficient", &variable), TV_OK);
    for (int32_t k = 0; k < 12; ++k) {
        ASSERT_EQ(tv_setValue(model, variable, k, 0, 1.0 + 0.37 * k), TV_OK);
    }
}

static std::vector<char> saveState(const TvModel& model) {
    size_t size = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::vector<char> bytes(size);
    EXPECT_EQ(tv_saveState(model, bytes.data(), size, &size), TV_OK);
    return bytes;
}

static void stepModel(const TvModel& model, int steps) {
    for (int k = 0; k < steps; ++k) {
        ASSERT_EQ(tv_step(model), TV_OK);
    }
}

TEST(VisitOrder, IsMadeAnewWhenAHostLetsPipesDecay) {
    const TvModel free, sorted, restored;
    for (const TvModel* model : {&free, &sorted, &restored}) {
        ASSERT_EQ(model->openText(makeChains()), TV_OK);
        ASSERT_EQ(tv_keepLoads(*model, model == &sorted ? 1 : 0), TV_OK);
        ASSERT_EQ(tv_start(*model, nullptr, nullptr), TV_OK);
    }
    for (const TvModel* model : {&free, &sorted}) {
        stepModel(*model, 20);
        decayAll(*model);
    }
    ASSERT_EQ(tv_restoreState(restored, saveState(sorted).data(), saveState(sorted).size()), TV_OK);
    for (const TvModel* model : {&free, &sorted, &restored}) {
        stepModel(*model, 60);
    }
    EXPECT_EQ(saveState(free), saveState(sorted));
    EXPECT_EQ(saveState(restored), saveState(sorted));
}
