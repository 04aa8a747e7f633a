// The visits of a step: statistics of nodes and links against books kept beside the run. Some are made in the middle of
// a step, where the object is in hand anyway: they must come out as if all were made after it.

#include "routing/visits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "links/conduit.h"
#include "links/pipe.h"
#include "model/project.h"
#include "nodes/tank.h"
#include "results/massbal.h"
#include "routing/network.h"
#include "support/allkinds.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/pipes.h"

// --- statistics ----------------------------------------------------------------------------------------------------

struct LinkBook {
    double flowVolume = 0.0, maxFlow = 0.0, floodVolume = 0.0, maxFlood = 0.0;
};

struct NodeBook {
    double inflowVolume = 0.0, maxInflow = 0.0;
};

/// What the statistics and totals of a run should hold, added up from the state after each step.
struct Books {
    Table<NodeBook> nodes = table_make(testModel().nodes.size(), NodeBook{});
    Table<LinkBook> links = table_make(testModel().links.size(), LinkBook{});
    double flood = 0.0, outflow = 0.0;

    static double getFlood(const Link& link) {
        switch (link.kind) {
            case PIPE: return testModel().pipes[link.kindIndex].newFlood;
            case CONDUIT: return testModel().conduits[link.kindIndex].newFlood;
            default: return 0.0;
        }
    }

    void add() {
        const Model& model = testModel();
        const double dt = model.options.routingStep;
        for (int32_t k = 0; k < model.links.size(); ++k) {
            const Link& link = model.links[k];
            const double overflow = getFlood(link);
            links[k].flowVolume += dt * link.newFlow;
            links[k].maxFlow = std::max(links[k].maxFlow, link.newFlow);
            links[k].floodVolume += dt * overflow;
            links[k].maxFlood = std::max(links[k].maxFlood, overflow);
            flood += dt * overflow;
        }
        for (int32_t k = 0; k < model.nodes.size(); ++k) {
            const Node& node = model.nodes[k];
            nodes[k].inflowVolume += dt * node.newInflow;
            nodes[k].maxInflow = std::max(nodes[k].maxInflow, node.newInflow);
            flood += node.kind == TANK ? dt * model.tanks[node.kindIndex].newFlood : 0.0;
            outflow += node.kind == OUTFALL ? dt * node.newInflow : 0.0;
        }
    }

    void compare(const std::string& what) const {
        const Model& model = testModel();
        for (int32_t k = 0; k < model.nodes.size(); ++k) {
            ASSERT_EQ(model.nodes[k].statInflowVolume, nodes[k].inflowVolume) << what << ", node " << model.nodes[k].id;
            ASSERT_EQ(model.nodes[k].statMaxInflow, nodes[k].maxInflow) << what << ", node " << model.nodes[k].id;
        }
        for (int32_t k = 0; k < model.links.size(); ++k) {
            ASSERT_EQ(model.links[k].statFlowVolume, links[k].flowVolume) << what << ", link " << model.links[k].id;
            ASSERT_EQ(model.links[k].statMaxFlow, links[k].maxFlow) << what << ", link " << model.links[k].id;
            ASSERT_EQ(model.linkFloods[k].volume, links[k].floodVolume) << what << ", link " << model.links[k].id;
            ASSERT_EQ(model.linkFloods[k].maximum, links[k].maxFlood) << what << ", link " << model.links[k].id;
        }
        EXPECT_EQ(model.totals.flow.floodingLoss, flood) << what;
        EXPECT_EQ(model.totals.flow.externalOutflow, outflow) << what;
    }
};

/// Runs an opened project twice, `act` ahead of each step.
template <typename Act>
static void compareBooks(int steps, const std::string& what, Act act) {
    for (int run = 0; run < 2; ++run) {
        ASSERT_EQ(tarnvelde_start(0), 0) << what;
        Books books;
        double elapsed;
        for (int k = 0; k < steps; ++k) {
            act();
            ASSERT_EQ(tarnvelde_step(&elapsed), 0) << what;
            books.add();
        }
        books.compare(what + ", run " + std::to_string(run + 1));
        tarnvelde_end();
    }
}

static void compareBooks(int steps, const std::string& what) {
    compareBooks(steps, what, [] {});
}

/// Some links of a text become recycle links.
static std::string lagSomeLinks(std::string text, std::mt19937& random) {
    const std::string no = " NO ";
    for (size_t at = text.find(no); at != std::string::npos; at = text.find(no, at + 1)) {
        if (random() % 4 == 0) {
            text.replace(at, no.size(), " YES ");
        }
    }
    return text;
}

static int countUnvisited() {
    int count = 0;
    for (int32_t k = 1; k < testModel().nodes.size(); ++k) {
        count += testModel().sortedNodes[k] == 0 ? 1 : 0;
    }
    return count;
}

TEST(Statistics, OfRandomNetworksAreThoseOfTheStateBehindEachStep) {
    std::mt19937 random(1871);
    for (unsigned seed = 0; seed < 60; ++seed) {
        Project project(getGeneral(120) + lagSomeLinks(generateNetwork(seed, 25, 1), random));
        ASSERT_EQ(project.open(), 0) << project.getReport();
        compareBooks(120, "network " + std::to_string(seed));
    }
}

TEST(Statistics, OfANetworkWithACircleOffTheWayCountAStepOnce) {
    // Node 0 is visited again in place of C and D, which wait for each other; pipes are among its links.
    Project project(getGeneral(120) +
                    "[JUNCTIONS]\nB\nC\nD\n[SPLITTERS]\nS K RATIO 0.5\n[OUTFALLS]\nOUT\n"
                    "[PIPES]\nK S B NO 120 1 0.1 0\nM B OUT NO 60 2 0 2.5\nN C D NO 60 1 0 0\n"
                    "[CONNECTIONS]\nL S B NO 0\nO D C NO 0\n"
                    "[INFLOWS]\nS FLOW FLOW 4 \"\" 1\nC FLOW FLOW 9 \"\" 1\n");
    ASSERT_EQ(project.open(), 0) << project.getReport();
    compareBooks(120, "circle");
    EXPECT_GT(project.node("B").statInflowVolume, 0.0);
    EXPECT_GT(project.linkFlood("M").volume, 0.0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_GT(countUnvisited(), 0);
    tarnvelde_end();
}

TEST(Statistics, OfFlowsThatAHostStoresAreThoseBehindTheStep) {
    Project project(getGeneral(120) + generateNetwork(7, 25, 1));
    ASSERT_EQ(project.open(), 0) << project.getReport();
    std::mt19937 random(3);
    compareBooks(120, "flows of a host", [&] {
        const Link& link = testModel().links[random() % testModel().links.rows.size()];
        tarnvelde_setLinkFlow(link.id, static_cast<double>(random() % 100) / 100.0);
    });
}

/// A pipe C from a junction into a node M of another kind, and a pipe D from there into a junction.
static std::string getPipesAt(const std::string& coupled) {
    return "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nJ\nK\n[OUTFALLS]\nO\n[PIPES]\nC J M NO 1350 1 0 0\nD M K NO 1350 1 0 0\n"
           "[CONNECTIONS]\nE K O NO 0\n[DWFS]\nJ FLOW 1 \"\"\nJ A 8 \"\"\n" +
           coupled;
}

static void comparePipesAt(CoupledProject& project, int steps, const std::string& what) {
    ASSERT_EQ(project.open(), 0) << project.getReport();
    compareBooks(steps, what);
    for (const char* pipe : {"C", "D"}) {
        EXPECT_GT(Records::link(pipe).statFlowVolume, 0.0) << what << ' ' << pipe;
    }
}

TEST(Statistics, OfPipesIntoAndOutOfAnOutsideModelAreThoseOfTheStateBehindEachStep) {
    constexpr int steps = 12;
    CoupledProject sewer(getPipesAt("[SWMM_INPS]\nM m.inp YES\nINFLOW IN C\nOUTFLOW OUT D\n"), steps);
    sewer.model("m.inp", getPassingModel(steps, "substances A\n"));
    comparePipesAt(sewer, steps, "sewer model");
    tarnvelde_close();
    CoupledProject plant(getPipesAt("[VORN_INPS]\nM m.sti YES\nINFLUENT I C CI\nEFFLUENT E D CE\n"
                                    "[CONVERTERS]\nCI COD POLLUTANT A 1\nCI NH4 CONSTANT 0 0\nCI NO3 CONSTANT 0 0\n"
                                    "CI TP CONSTANT 0 0\nCI TSS CONSTANT 0 0\nCI ALK CONSTANT 0 0\n"
                                    "CE VORN_EFFLUENT\nCE A POLLUTANT S_F 1\n"),
                         steps);
    plant.model("m.sti", getPassingPlant(steps));
    comparePipesAt(plant, steps, "plant model");
}

TEST(Statistics, OfEveryKindOfObjectAreThoseOfTheStateBehindEachStep) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0) << project.getReport();
    compareBooks(ALL_KINDS_STEPS, "every kind", [] {
        for (const char* node : {"J", "T", "R", "M"}) {
            tarnvelde_setExtInflow(node, 0.2);
        }
    });
    EXPECT_GT(project.node("T").statInflowVolume, 0.0);
}

// --- what comes to a node ------------------------------------------------------------------------------------------

/// Junctions J0 to J5 that as many pipes enter as their numbers say, each from a head of its own.
static std::string makeStars(int pollutants) {
    std::string heads = "[JUNCTIONS]\n", pipes = "[OUTFALLS]\nO\n[PIPES]\n", flows = "[DWFS]\n", quality;
    int count = 0;
    for (int k = 0; k < 6; ++k) {
        const std::string node = "J" + std::to_string(k);
        heads += node + "\n";
        pipes.append("P").append(node).append(" ").append(node).append(" O NO 60 1 0 0\n");
        for (int i = 0; i < k; ++i) {
            const std::string name = std::to_string(count++);
            heads += "H" + name + "\n";
            pipes.append("Q").append(name).append(" H").append(name).append(" ").append(node).append(" NO 60 1 0 0\n");
            flows += "H" + name + " FLOW 0." + std::to_string(137 + 61 * count) + " \"\"\n";
            for (int p = 0; p < pollutants; ++p) {
                flows += "H" + name + " X" + std::to_string(p) + " " + std::to_string(3 + count * (p + 7)) + " \"\"\n";
            }
        }
    }
    for (int p = 0; p < pollutants; ++p) {
        quality += "X" + std::to_string(p) + " 0\n";
    }
    return getGeneral(30) + "[POLLUTANTS]\n" + quality + heads + pipes + flows;
}

/// What the pipes deliver into a node in the last step, added up in the order of the file: flow and loads.
static std::vector<double> addUpDeliveries(const Model& model, int32_t node) {
    std::vector<double> sums(static_cast<size_t>(1 + model_pollutantCount(model)), 0.0);
    for (const Link& link : model.links) {
        if (link.toNode == node) {
            std::vector<double> loads(sums.size() - 1, 0.0);
            sums[0] += pipe_deliver(model, link, model.pipes[link.kindIndex], model.clock.oldRoutingTime, loads.data());
            for (size_t p = 0; p < loads.size(); ++p) {
                sums[1 + p] += loads[p];
            }
        }
    }
    return sums;
}

TEST(Deliveries, OfAnyNumberOfPipesAreAddedInTheOrderOfTheFile) {
    for (const int pollutants : {0, 1, 2, 5}) {
        StartedProject m(makeStars(pollutants));
        for (int step = 0; step < 20; ++step) {
            m.step();
            for (int k = 0; k < 6; ++k) {
                const Node& node = m.node(("J" + std::to_string(k)).c_str());
                const auto index = static_cast<int32_t>(&node - testModel().nodes.data());
                std::vector<double> came{node.newUpstreamFlow};
                came.insert(came.end(), node.massInflow, node.massInflow + pollutants);
                ASSERT_EQ(came, addUpDeliveries(testModel(), index)) << k << " pipes, step " << step;
            }
        }
        EXPECT_GT(m.node("J5").newUpstreamFlow, 1.0);
    }
}

TEST(Deliveries, OfAHostComeOnTopOfADryWeatherInflow) {
    StartedProject m(getGeneral(30) + "[POLLUTANTS]\nX 0\n" +
                     "[JUNCTIONS]\nX\n[OUTFALLS]\nOUT\n"
                     "[PIPES]\nP X OUT NO 120 1 0 0\n[DWFS]\nX FLOW 0.25 \"\"\nX X 8 \"\"\n");
    m.step();
    ASSERT_EQ(m.node("X").newLatFlow, 0.25);
    ASSERT_EQ(tarnvelde_setExtInflow("X", 0.5), 0);
    ASSERT_EQ(tarnvelde_setExtLoad("X", "X", 0.5), 0);  // works for a node with the name of a pollutant
    m.step();
    EXPECT_EQ(m.node("X").newLatFlow, 0.75);
    EXPECT_EQ(m.node("X").oldLatFlow, 0.25);
    EXPECT_EQ(m.node("X").massInflow[0], 0.5 + 8.0 * 0.25 / 1000.0);
    m.step();
    EXPECT_EQ(m.node("X").newLatFlow, 0.25);
    EXPECT_EQ(m.node("X").oldLatFlow, 0.75);
    EXPECT_EQ(m.node("X").massInflow[0], 8.0 * 0.25 / 1000.0);
    EXPECT_EQ(m.node("X").oldQual[0], (0.5 + 8.0 * 0.25 / 1000.0) / 0.75 * 1000.0);
}

// --- node 0 again --------------------------------------------------------------------------------------------------

TEST(NodeOrder, VisitsNodeZeroInThePlaceOfANodeThatIsNeverReached) {
    // C and D run in a circle that no head leads into. The splitter's two ways to B give the walk over all paths the
    // number that it asks for, so the project passes, and B, which is node 0, is visited in the two open places: it
    // gathers all over again.
    StartedProject m(
        getGeneral(60) +
        "[JUNCTIONS]\nB\nC\nD\n[SPLITTERS]\nS K RATIO 0.5\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nK S B NO 0\nL S B NO 0\nM B "
        "OUT NO 0\n"
        "N C D NO 0\nO D C NO 0\n[INFLOWS]\nS FLOW FLOW 4 \"\" 1\nC FLOW FLOW 9 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("B").newInflow, 3.0 * 4.0);
    EXPECT_EQ(m.node("OUT").newInflow, 4.0);  // visited between the first time and the others
    EXPECT_EQ(m.node("C").newInflow, 0.0);    // never visited
    EXPECT_EQ(testModel().totals.flow.externalInflow, DT * 13.0);
}

/// One reach with X = 0 by its laws, with a period below the routing step: the old concentration is that of the step
/// before, however often the pipe fires in this one.
struct HastyPipe {
    static constexpr double K = 30.0;  // s
    double nextFireTime = 0.0, sumVolume = 0.0, sumMass = 0.0, storage = 0.0, oldQual = 0.0, newQual = 0.0;
    int count = 0, firings = 0;

    void update(double time, double flow, double quality) {
        if (time > nextFireTime && count > 0) {
            const double in = sumVolume / count / DT, c = sumMass / sumVolume * 1000.0;
            const double out = (in * (K / 2.0) + storage) / (K + K / 2.0);
            newQual = (K * in * c + storage * oldQual) / (K * out + storage + K * (in - out));
            storage += (in - out) * K;
            nextFireTime += K * 1000.0;
            sumVolume = sumMass = 0.0;
            count = 0;
            ++firings;
        } else {
            sumVolume += DT * flow;
            sumMass += DT * flow * quality / 1000.0;
            ++count;
        }
    }
};

TEST(NodeOrder, LetsAPipeFireAgainInAStepAndMixWithTheWaterOfTheStepBefore) {
    // B is node 0 and is visited three times in a step, as above. A pipe's period may not be below the routing step in
    // a project file; a host may make it so ahead of the start, where the node of the pipe's number is a junction.
    Project project(getGeneral(30) +
                    "[JUNCTIONS]\nB\nC\nD\n[SPLITTERS]\nX K RATIO 0.5\n[OUTFALLS]\nOUT\n"
                    "[PIPES]\nM B OUT NO 60 1 0 0\n"
                    "[CONNECTIONS]\nK X B NO 0\nL X B NO 0\nN C D NO 0\nO D C NO 0\n[POLLUTANTS]\nX 0\n"
                    "[INFLOWS]\nX FLOW FLOW 4 \"\" 1\n");
    ASSERT_EQ(project.open(), 0) << project.getReport();
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_PIPE, "M", 0, HastyPipe::K), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    HastyPipe expected;
    double elapsed;
    for (int step = 1; step <= 20; ++step) {
        const double quality = 10.0 * step;  // mg/L
        ASSERT_EQ(tarnvelde_setExtLoad("X", "X", 4.0 * quality / 1000.0), 0);
        ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        expected.oldQual = expected.newQual;
        for (int visit = 1; visit <= 3; ++visit) {
            expected.update(step * DT * 1000.0, 4.0 * visit, quality);  // what B gathers piles up
        }
        ASSERT_NEAR(Records::link("M").newQual[0], expected.newQual, 1e-9) << "step " << step;
        ASSERT_NEAR(Records::pipe("M").storage[0], expected.storage, 1e-9) << "step " << step;
    }
    EXPECT_GT(expected.firings, 20) << "some step has two";
}
