// Balances of water in whole runs of random networks.

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "links/connection.h"
#include "links/pipe.h"
#include "model/project.h"
#include "nodes/node.h"
#include "nodes/splitter.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/project.h"

static constexpr double DT = 60.0;  ///< s

// --- balance -------------------------------------------------------------------------------------------------------

/// Water that stands in the delay of a connection: each entry is the flow of one step.
static double getQueuedVolume(const Connection& connection, double date) {
    double volume = 0.0;
    const DelayQueue& queue = connection.flowQueue;
    for (int64_t k = queue.first; k < queue.end; ++k) {
        const DelayEntry& entry = queue.entries[k & (queue.capacity - 1)];
        volume += entry.date > date ? entry.value * DT : 0.0;
    }
    return volume;
}

/// The network with pipes in the place of its connections.
static std::string makePipesOnly(std::string text) {
    text = std::regex_replace(text, std::regex("\\[CONNECTIONS\\]"), "[PIPES]");
    return std::regex_replace(text, std::regex("(\nL[0-9]+ [^ \n]+ [^ \n]+ NO) [0-9]+(?=\n)"), "$1 120 1 0.1 0");
}

/// What the upstream node offers to a pipe, m3/s.
static double getOfferedFlow(int32_t link) {
    const Node& node = testModel().nodes[testModel().links[link].fromNode];
    return node.kind == SPLITTER ? splitter_getFlow(testModel().splitters[node.kindIndex], node.newInflow, link)
                                 : node.newInflow;
}

/// Water offered to pipes in the step just done by nodes whose pipe fired in it: it is in no sum.
static double getDroppedVolume() {
    double dropped = 0.0;
    for (int32_t k = 0; k < testModel().links.size(); ++k) {
        dropped += testModel().links[k].clock.sumCount == 0 ? DT * getOfferedFlow(k) : 0.0;
    }
    return dropped;
}

TEST(WaterBalance, OfPipesIsWhatTheirFiringsMakeOfIt) {
    // At the nodes nothing is lost in any step: what comes in from outside and from pipes is offered to pipes or
    // leaves. In the pipes nothing is lost in any firing: mean inflow less mean outflow, for one period, is stored.
    // What a run misses lies between the two ways of counting: the steps that fire, and periods that a sum doesn't
    // fill.
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Project project(getGeneral(180) + makePipesOnly(generateNetwork(seed, 30, 0)));
        ASSERT_EQ(project.open(), 0) << project.getReport();
        ASSERT_EQ(tarnvelde_start(0), 0);
        Table<double> taken = table_make(testModel().pipes.size(), 0.0), routedIn = taken, routedOut = taken;
        double dropped = 0.0, gathered = 0.0, elapsed = 1.0;
        while (elapsed > 0.0) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
            dropped += getDroppedVolume();
            for (const Node& node : testModel().nodes) {
                gathered += DT * node.newUpstreamFlow;
            }
            for (int32_t k = 0; k < testModel().links.size(); ++k) {
                const size_t row = static_cast<size_t>(testModel().links[k].kindIndex);
                const Pipe& pipe = testModel().pipes[row];
                if (testModel().links[k].clock.sumCount == 0) {
                    routedIn[row] += pipe.newInflow * pipe.stepLength;
                    routedOut[row] += (testModel().links[k].newFlow + pipe.newFlood) * pipe.stepLength;
                } else {
                    taken[row] += DT * getOfferedFlow(k);
                }
            }
        }
        // Each firing balances: what went in less what went out is in the reaches.
        double stored = 0.0;
        for (int32_t row = 0; row < testModel().pipes.size(); ++row) {
            EXPECT_NEAR(routedIn[row] - routedOut[row], pipe_getVolume(testModel().pipes[row]), 1e-6) << seed;
            stored += pipe_getVolume(testModel().pipes[row]);
        }
        EXPECT_GT(dropped, 0.0);
        EXPECT_GT(stored, 0.0);
        double offered = dropped;
        for (const double volume : taken) {
            offered += volume;
        }
        const double in = testModel().totals.flow.externalInflow + testModel().totals.flow.dryWeatherInflow;
        EXPECT_NEAR(in + gathered, offered + testModel().totals.flow.externalOutflow, 1e-9 * offered) << seed;
    }
}

TEST(WaterBalance, OfConnectionsClosesWithTheirQueues) {
    // Delays of whole steps, so that every entry is read at its own date.
    for (unsigned seed = 1; seed <= 10; ++seed) {
        std::mt19937 random(seed);
        std::string junctions, connections, dwfs;
        const int nodes = 20;
        for (int k = 0; k < nodes; ++k) {
            const std::string id = std::to_string(k);
            const int to = k + 1 + static_cast<int>(random() % 3);
            const std::string target = to < nodes ? "N" + std::to_string(to) : "OUT";
            const std::string delay = std::to_string(60 * (random() % 6));
            junctions.append("N").append(id).append("\n");
            connections.append("L").append(id).append(" N").append(id).append(" ").append(target);
            connections.append(" NO ").append(delay).append("\n");
            dwfs.append("N").append(id).append(" FLOW 0.0").append(std::to_string(1 + random() % 9));
            dwfs.append(" \"\"\nN").append(id).append(" X 50 \"\"\n");
        }
        std::string text = getGeneral(60);
        text.append("[JUNCTIONS]\n").append(junctions).append("[OUTFALLS]\nOUT\n[CONNECTIONS]\n").append(connections);
        Project project(text.append("[POLLUTANTS]\nX 0\n[DWFS]\n").append(dwfs));
        ASSERT_EQ(project.open(), 0);
        ASSERT_EQ(tarnvelde_start(0), 0);
        double elapsed = 0.0;
        for (int k = 0; k < 40; ++k) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
        double queued = 0.0;
        for (const Connection& connection : testModel().connections) {
            queued += getQueuedVolume(connection, model_getDate(testModel(), testModel().clock.newRoutingTime));
        }
        const double in = testModel().totals.flow.dryWeatherInflow;
        EXPECT_NEAR(in, testModel().totals.flow.externalOutflow + queued + testModel().totals.flow.delayedVolume,
                    1e-4 * in)
            << seed;
        EXPECT_NEAR(testModel().totals.quality[0].dryWeatherInflow, in * 0.05, 1e-9 * in);
    }
}

TEST(WaterBalance, IsInTheReport) {
    // One connection without delay: all that comes in goes out, but for a last step that the end of the run cuts.
    Project project(
        "[GENERAL]\nEND_DATE 2020/01/02\nROUTING_STEP 0:01:00\nREPORT_STEP 1:00:00\n[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n"
        "[CONNECTIONS]\nC A OUT NO 0\n[DWFS]\nA FLOW 0.25 \"\"\nA X 8 \"\"\n[POLLUTANTS]\nX 0\n");
    ASSERT_EQ(project.run(), 0);
    const std::string report = project.getReport();
    EXPECT_NE(report.find("\n  Dry Weather Inflow                21600.000 "), std::string::npos) << report;
    EXPECT_NE(report.find("\n  External Outflow                  21600.000 "), std::string::npos);
    EXPECT_NE(report.find("\n  External Outflow                    172.800"), std::string::npos);
    EXPECT_NE(report.find("\n  Continuity Error (%)                  0.000\n"), std::string::npos);
}
