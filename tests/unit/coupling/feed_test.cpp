// How what leaves an outside model gets into pipes, connections and conduits.

#include "coupling/feed.h"
#include "coupling/vorn.h"
#include "routing/linkkinds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "coupling/swmm.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/pipe.h"
#include "model/project.h"
#include "support/engines.h"
#include "support/model.h"
#include "support/storage.h"

static constexpr double DT = COUPLED_STEP;
static constexpr double FLOW = 0.25;                     ///< m3/s, of the spring
static constexpr double QUALITY = 8.0;                   ///< mg/L
static constexpr double LOAD = FLOW * QUALITY / 1000.0;  ///< kg/s

/// A model with a spring at OUT, and node S whose outflows are `records`; links S to O as given.
struct Spring : CoupledProject {
    Spring(const std::string& links, const std::string& records, int steps = 8, const std::string& step = "675")
        : CoupledProject("[POLLUTANTS]\nA 0\n[OUTFALLS]\nO\n" + links + "\n[SWMM_INPS]\nS m.inp NO\n" + records,
                         steps) {
        model("m.inp", getPeriod(steps) + "step " + step + "\nsubstances A\nnode OUT\nnode IDLE\nspring OUT " +
                           showNumber(FLOW) + " " + showNumber(QUALITY) + "\n");
        start();
    }

    static OutsideNode& outside() { return testModel().swmmNodes[0].outside; }
    static CoupledFlow& record() { return *testModel().swmmNodes[0].outside.outflows.head; }
};

static Pipe& getPipe(const char* name) {
    return testModel().pipes.at((Records::link(name).kindIndex));
}

// --- pipes ---------------------------------------------------------------------------------------------------------

TEST(FeedPipe, FiresByTheClockOfTheEngine) {
    Spring p("[PIPES]\nX S O NO 1350 1 0 0", "OUTFLOW OUT X\n");
    const Pipe& pipe = getPipe("X");
    // The engine is one step ahead, so its earlier clock stands at the end of the first step: after 0, and the pipe
    // fires with the flow of this step alone, whose load is dropped.
    p.step();
    EXPECT_EQ(p.outside().oldTime, 675000.0);
    EXPECT_EQ(pipe.newInflow, FLOW);
    EXPECT_EQ(p.link("X").clock.lastFireTime, 0.0);
    EXPECT_EQ(p.link("X").clock.nextFireTime, 1350000.0);
    EXPECT_EQ(p.link("X").newQual[0], 0.0);
    const double k = 1350.0, a = k / 2.0;
    const double firstOut = FLOW * a / (k + a);
    EXPECT_NEAR(p.link("X").newFlow, firstOut, 1e-12);
    // Exactly at the time of firing it doesn't fire.
    p.step();
    EXPECT_EQ(p.record().sumFlow, FLOW);
    EXPECT_EQ(p.record().sumCount, 1);
    EXPECT_NEAR(p.record().sumLoad[0], LOAD, 1e-15);
    EXPECT_EQ(p.link("X").clock.lastFireTime, 0.0);
    // Two flows and one load: half the concentration goes in, to mix with what stands in the reach.
    p.step();
    EXPECT_EQ(pipe.newInflow, FLOW);
    EXPECT_EQ(p.link("X").clock.lastFireTime, 1350000.0);
    EXPECT_EQ(p.link("X").clock.nextFireTime, 2700000.0);
    const double stored = (FLOW - firstOut) * k;
    EXPECT_NEAR(p.link("X").newQual[0], k * FLOW * QUALITY / 2.0 / (stored + k * FLOW), 1e-12);
    EXPECT_EQ(p.record().sumFlow, 0.0);
    EXPECT_EQ(p.record().sumCount, 0);
    EXPECT_EQ(p.record().sumLoad[0], 0.0);
}

TEST(FeedPipe, CountsEachStep) {
    Spring p("[PIPES]\nX S O NO 2700 1 0 0", "OUTFLOW OUT X\n");
    for (int k = 1; k <= 7; ++k) {
        p.step();
        EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * FLOW * k);
        EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, DT * LOAD * k, 1e-12);
    }
}

TEST(FeedPipe, OfOneRoutingStepCarriesNoMass) {
    Spring p("[PIPES]\nX S O NO 675 2 0.1 0", "OUTFLOW OUT X\n");
    for (int k = 0; k < 7; ++k) {
        p.step();
        EXPECT_EQ(getPipe("X").newInflow, FLOW);
        EXPECT_EQ(p.link("X").newQual[0], 0.0);
    }
}

/// A pipe of 2700 s, and the totals of a kind of node.

TEST(FeedPipe, BehindTheEndOfTheRunDeliversNothing) {
    Spring p("[PIPES]\nX S O NO 2700 1 0 0", "OUTFLOW OUT X\n", 8);  // 5400 s
    Pipe& pipe = getPipe("X");
    const int32_t node = p.findNode("S");
    p.outside().oldTime = testModel().options.totalDuration + 1.0;
    p.record().newFlow = FLOW;
    const double last[] = {0.0, 2700000.0, 5400000.0};
    const double next[] = {2700000.0, 5400000.0, 5400000.0};
    for (int k = 0; k < 3; ++k) {
        linkkinds_feed(testModel(), node, p.outside(), VORN_TOTALS);
        EXPECT_EQ(p.link("X").clock.lastFireTime, last[k]);
        EXPECT_EQ(p.link("X").clock.nextFireTime, next[k]);
    }
    EXPECT_GT(p.link("X").newFlow, 0.0);
    std::vector<double> loads(static_cast<size_t>(model_pollutantCount(testModel())), 0.0);
    EXPECT_EQ(pipe_deliver(testModel(), p.link("X"), pipe, 5000000.0, loads.data()), 0.0);
    EXPECT_EQ(std::count(loads.begin(), loads.end(), 0.0), model_pollutantCount(testModel()));
    EXPECT_EQ(testModel().totals.flow.vornInflow, 3 * DT * FLOW);
}

TEST(FeedPipe, WithoutFlowGetsConcentrationZero) {
    Spring p("[PIPES]\nX S O NO 1350 1 0 0", "OUTFLOW IDLE X\n");
    p.step(5);
    EXPECT_EQ(getPipe("X").newInflow, 0.0);
    EXPECT_EQ(p.link("X").newQual[0], 0.0);
}

TEST(FeedPipe, OfTwoRecordsIsServedTwiceByTheFirst) {
    Spring p("[PIPES]\nX S O NO 2700 1 0 0", "OUTFLOW OUT X\nOUTFLOW IDLE X\n");
    p.step();  // fires with the first call, and sums with the second
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 2 * DT * FLOW);
    EXPECT_EQ(getPipe("X").newInflow, FLOW);
    EXPECT_EQ(p.record().sumCount, 1);
    EXPECT_EQ(p.record().next->sumCount, 0);
    p.step();
    EXPECT_EQ(p.record().sumCount, 3);
}

// --- connections ---------------------------------------------------------------------------------------------------

TEST(FeedConnection, TakesTheFlowAtTheRoutingClock) {
    Spring p("[CONNECTIONS]\nX S O NO 0", "OUTFLOW OUT X\n", 8, "1350");
    // Half way through the first step of the engine, from nothing to the spring.
    p.step();
    EXPECT_EQ(p.link("X").newFlow, FLOW / 2.0);
    EXPECT_NEAR(p.link("X").newQual[0], QUALITY, 1e-12);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 0.0);  // the flow that stood before
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, DT * LOAD / 2.0, 1e-15);
    // At its end: the engine has made a second step, and the first state counts.
    p.step();
    EXPECT_EQ(p.link("X").newFlow, FLOW);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * FLOW / 2.0);
    p.step();
    EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * (FLOW / 2.0 + FLOW));
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, DT * LOAD * 2.5, 1e-12);
}

TEST(FeedConnection, DeliversBehindItsDelay) {
    Spring p("[CONNECTIONS]\nX S O NO 1350", "OUTFLOW OUT X\n", 8);
    p.step(2);
    EXPECT_EQ(p.link("X").newFlow, 0.0);
    EXPECT_EQ(p.link("X").newQual[0], 0.0);
    EXPECT_GT(testModel().connections[0].newInflow, 0.0);
    // Entries lie on the dates that are read.
    p.step();
    EXPECT_EQ(p.link("X").newFlow, FLOW);
    EXPECT_NEAR(p.link("X").newQual[0], QUALITY, 1e-12);
}

TEST(FeedConnection, WhatLeavesTooLateIsDelayed) {
    Spring p("[CONNECTIONS]\nX S O NO 4050", "OUTFLOW OUT X\n", 8);  // six steps: those of step 1 and 2 leave in time
    p.step(8);
    EXPECT_EQ(testModel().totals.flow.delayedVolume, 6 * DT * FLOW);
    EXPECT_NEAR(testModel().totals.quality[0].delayedMass, 6 * DT * LOAD, 1e-12);
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, 8 * DT * LOAD, 1e-12);
}

TEST(FeedConnection, WeighsBeyondTheEngineOnceItIsOver) {
    Spring p("[CONNECTIONS]\nX S O NO 0", "OUTFLOW OUT X\n", 8);
    p.outside().oldTime = 1350000.0;
    p.outside().newTime = 0.0;
    testModel().clock.newRoutingTime = 2025000.0;
    p.record().oldFlow = 4.0;
    p.record().newFlow = 1.0;
    linkkinds_feed(testModel(), p.findNode("S"), p.outside(), VORN_TOTALS);
    // f = (2025 - 1350) / (0 - 1350) = -0.5
    EXPECT_EQ(testModel().connections[0].newInflow, -0.5 * 1.0 + 1.5 * 4.0);
    p.outside().oldTime = p.outside().newTime = 0.0;
    linkkinds_feed(testModel(), p.findNode("S"), p.outside(), VORN_TOTALS);
    EXPECT_EQ(testModel().connections[0].newInflow, 4.0);  // equal clocks: the old state
}

TEST(FeedConnection, OfTwoRecordsGetsTwoEntriesOfOneDate) {
    Spring p("[CONNECTIONS]\nX S O NO 0", "OUTFLOW IDLE X\nOUTFLOW OUT X\n", 8);
    p.step();
    EXPECT_EQ(testModel().connections[0].newInflow, FLOW);  // the record in hand
    EXPECT_EQ(p.link("X").newFlow, 0.0);                    // reading at their date gives the first entry
    EXPECT_EQ(testModel().connections[0].flowQueue.end - testModel().connections[0].flowQueue.first, 2);
}

TEST(FeedConnection, TakesLoadsBetweenTwoStates) {
    Spring p("[CONNECTIONS]\nX S O NO 0", "OUTFLOW OUT X\n", 8);
    p.outside().oldTime = 1800000.0;
    p.outside().newTime = 2700000.0;
    testModel().clock.newRoutingTime = 2025000.0;  // a quarter of the way
    p.record().oldFlow = 4.0;
    p.record().newFlow = 1.0;
    p.record().oldLoad[0] = 0.5;
    p.record().newLoad[0] = 0.25;
    linkkinds_feed(testModel(), p.findNode("S"), p.outside(), VORN_TOTALS);
    const double flow = 0.25 * 1.0 + 0.75 * 4.0, load = 0.25 * 0.25 + 0.75 * 0.5;
    EXPECT_EQ(p.link("X").newFlow, flow);
    EXPECT_EQ(p.link("X").newQual[0], load / flow * 1000.0);
    EXPECT_EQ(testModel().totals.quality[0].vornInflow, DT * load);
}

TEST(FeedConnection, CountsTheFlowThatAHostHasSet) {
    Spring p("[CONNECTIONS]\nX S O NO 1350", "OUTFLOW OUT X\n", 8);
    p.step();
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 0.0);
    ASSERT_EQ(tarnvelde_setLinkFlow("X", 3.0), 0);
    p.step();
    EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * 3.0);  // as it stood before; the delay then gives its own again
    EXPECT_EQ(p.link("X").newFlow, 0.0);
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, 2 * DT * LOAD,
                1e-15);  // of what has entered, not of what leaves
}

TEST(FeedConnection, OfTwoRecordsCountsTheFlowThatTheFirstHasMade) {
    Spring p("[CONNECTIONS]\nX S O NO 0", "OUTFLOW OUT X\nOUTFLOW OUT X\n", 8);
    p.step();
    EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * FLOW);  // 0 before the first, its flow before the second
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, 2 * DT * LOAD, 1e-15);
    EXPECT_EQ(testModel().connections[0].loadQueue[0].end - testModel().connections[0].loadQueue[0].first, 2);
    EXPECT_NEAR(p.link("X").newQual[0], QUALITY, 1e-12);
}

TEST(FeedConnection, OfTwoRecordsDelaysBoth) {
    Spring p("[CONNECTIONS]\nX S O NO 6000", "OUTFLOW OUT X\nOUTFLOW OUT X\n", 8);
    p.step();
    EXPECT_EQ(testModel().totals.flow.delayedVolume, 2 * DT * FLOW);
    EXPECT_NEAR(testModel().totals.quality[0].delayedMass, 2 * DT * LOAD, 1e-15);
}

// --- concentrations without flow -----------------------------------------------------------------------------------

TEST(FeedPipe, WithoutFlowGetsNoLoadAndKeepsWhatItHolds) {
    Spring p("[PIPES]\nX S O NO 1350 1 0 0", "OUTFLOW OUT X\n");
    p.step(3);
    const double quality = p.link("X").newQual[0];
    ASSERT_GT(quality, 0.0);
    p.outside().oldTime = p.link("X").clock.nextFireTime + 1.0;
    p.record().newFlow = p.record().sumFlow = 0.0;
    p.record().sumLoad[0] = 0.5;  // load without water: of no concentration
    linkkinds_feed(testModel(), p.findNode("S"), p.outside(), VORN_TOTALS);
    EXPECT_EQ(getPipe("X").newInflow, 0.0);
    EXPECT_GT(p.link("X").newFlow, 0.0);  // water is stored
    EXPECT_NEAR(p.link("X").newQual[0], quality, 1e-12);
}

TEST(FeedConnection, WithoutFlowHasConcentrationZero) {
    Spring p("[CONNECTIONS]\nX S O NO 0", "OUTFLOW OUT X\n");
    p.outside().oldTime = p.outside().newTime = 0.0;
    p.record().oldFlow = 0.0;
    p.record().oldLoad[0] = 0.5;
    linkkinds_feed(testModel(), p.findNode("S"), p.outside(), VORN_TOTALS);
    EXPECT_EQ(p.link("X").newFlow, 0.0);
    EXPECT_EQ(p.link("X").newQual[0], 0.0);
    EXPECT_EQ(testModel().totals.quality[0].vornInflow, DT * 0.5);
}

TEST(FeedConduit, WithoutFlowGetsNoLoadAndKeepsWhatItHolds) {
    Spring p("[CONDUITS]\nX S O NO 5000 0.001 0.02 RECTANGULAR 3 2\n", "OUTFLOW OUT X\n");
    p.step(6);
    const double quality = p.link("X").newQual[0];
    ASSERT_GT(quality, 0.0);
    p.record().newFlow = 0.0;
    p.record().newLoad[0] = 0.5;
    linkkinds_feed(testModel(), p.findNode("S"), p.outside(), VORN_TOTALS);
    EXPECT_EQ(p.conduit("X").newInflow, 0.0);
    EXPECT_NEAR(p.link("X").newQual[0], quality, 1e-9);
}

// --- conduits ------------------------------------------------------------------------------------------------------

static const std::string Channel = "[CONDUITS]\nX S O NO 100 0.5 0.02 RECTANGULAR 3 2\n";

TEST(FeedConduit, TakesFlowAndConcentrations) {
    Spring p(Channel, "OUTFLOW OUT X\n");
    p.step();
    EXPECT_EQ(p.conduit("X").newInflow, FLOW);
    EXPECT_NEAR(p.link("X").newQual[0], QUALITY, 1e-12);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, DT * FLOW);
    EXPECT_NEAR(testModel().totals.quality[0].swmmInflow, DT * LOAD, 1e-15);
    p.step();
    EXPECT_EQ(p.conduit("X").oldInflow, FLOW);
    EXPECT_NEAR(p.link("X").oldQual[0], QUALITY, 1e-12);
}

TEST(FeedConduit, TakesTheFirstRecordOfTheNode) {
    Spring p(Channel + "[CONNECTIONS]\nY S O NO 0", "OUTFLOW OUT Y\nOUTFLOW IDLE X\n");
    p.step();
    EXPECT_EQ(p.conduit("X").newInflow, FLOW);  // of the record for Y
    Spring q(Channel + "[CONNECTIONS]\nY S O NO 0", "OUTFLOW IDLE Y\nOUTFLOW OUT X\n");
    q.step();
    EXPECT_EQ(p.conduit("X").newInflow, 0.0);
    EXPECT_EQ(p.link("X").newQual[0], 0.0);
}

TEST(FeedConduit, OfTwoRecordsTakesTwoVolumes) {
    Spring p(Channel, "OUTFLOW OUT X\nOUTFLOW OUT X\n");
    p.step();
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 2 * DT * FLOW);
    EXPECT_EQ(p.conduit("X").oldInflow, FLOW);
    EXPECT_EQ(p.conduit("X").newInflow, FLOW);
}

// --- records and links ---------------------------------------------------------------------------------------------

TEST(FeedLinks, WithoutARecordGetNothing) {
    Spring p(Channel + "[CONNECTIONS]\nY S O NO 0\n[PIPES]\nZ S O NO 1350 1 0 0", "");
    p.step(6);
    EXPECT_EQ(p.conduit("X").newInflow, 0.0);
    EXPECT_EQ(testModel().connections[0].newInflow, 0.0);
    EXPECT_EQ(getPipe("Z").newInflow, 0.0);
    EXPECT_EQ(p.link("Z").clock.nextFireTime, 0.0);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 0.0);
}

TEST(FeedLinks, OfOtherNodesAreNeverFed) {
    Spring p("[JUNCTIONS]\nJ\n[PIPES]\nX J O NO 1350 1 0 0\n", "OUTFLOW OUT X\n");
    p.step(6);
    EXPECT_EQ(getPipe("X").newInflow, 0.0);
    EXPECT_EQ(testModel().totals.flow.swmmInflow, 0.0);
    EXPECT_EQ(p.record().newFlow, FLOW);
}

TEST(FeedLinks, WithoutPollutantsTakeWaterAlone) {
    CoupledProject p("[OUTFALLS]\nO\n" + Channel +
                         "[CONNECTIONS]\nY S O NO 0\n[PIPES]\nZ S O NO 1350 1 0 0\n"
                         "[SWMM_INPS]\nS m.inp NO\nOUTFLOW OUT X\nOUTFLOW OUT Y\nOUTFLOW OUT Z\n",
                     4);
    p.model("m.inp", getPassingModel(4, "spring OUT 0.5\n"));
    p.start();
    p.step(4);
    EXPECT_EQ(getPipe("Z").newInflow, 0.5);
    EXPECT_EQ(p.conduit("X").newInflow, 0.5);
    EXPECT_EQ(p.link("Y").newFlow, 0.5);
}
