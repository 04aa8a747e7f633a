// The routing step: pipes, connections, splitters and odd orders on small networks, against the laws they stand for.

#include "routing/routing.h"
#include "nodes/splitter.h"

#include <gtest/gtest.h>

#include "links/connection.h"
#include "nodes/inflows.h"
#include "routing/network.h"
#include "support/routingmodel.h"

// --- the clock of a pipe -------------------------------------------------------------------------------------------

TEST(PipeClock, FiresFirstInTheSecondStepWithTheFirstStepsFlow) {
    Model m(onePipe("180 1 0 0") +
            "[INFLOWS]\nA FLOW FLOW 0 S 1\n[TIMESERIES]\nS 2021/03/01 0:00 0 0:01 3 0:02 50 0:03 7 0:04 7\n");
    m.step();
    EXPECT_EQ(m.node("OUT").newInflow, 0.0);
    EXPECT_NEAR(m.pipe("P").sumVolume, DT * 3.0, DT * 48.0 * MILLISECOND);
    m.step();
    EXPECT_NEAR(m.pipe("P").newInflow, 3.0, 48.0 * MILLISECOND);  // the 50 m3/s of the firing step are in no sum
    EXPECT_EQ(m.pipe("P").sumCount, 0);
    EXPECT_EQ(m.pipe("P").lastFireTime, 0.0);
    EXPECT_EQ(m.pipe("P").nextFireTime, 180000.0);
}

TEST(PipeClock, FiresStrictlyBehindItsTime) {
    Model m(onePipe("180 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n");
    std::vector<int> firings;
    for (int step = 1; step <= 12; ++step) {
        const double before = m.pipe("P").nextFireTime;
        m.step();
        if (m.pipe("P").nextFireTime != before) {
            firings.push_back(step);
        }
    }
    // Step k ends at k minutes: firings come one step behind minutes 0 (with something summed), 3, 6 and 9.
    EXPECT_EQ(firings, (std::vector<int>{2, 4, 7, 10}));
}

TEST(PipeClock, OfTheRoutingStepFiresEverySecondStep) {
    Model m(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n");
    int firings = 0;
    for (int step = 1; step <= 20; ++step) {
        m.step();
        firings += m.pipe("P").sumCount == 0 ? 1 : 0;
    }
    EXPECT_EQ(firings, 10);
}

TEST(PipeClock, DoesntFireBehindTheLastPeriod) {
    Model m(onePipe("1200 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n", 30);
    m.step(30);
    EXPECT_EQ(m.pipe("P").nextFireTime, TotalDuration);
    EXPECT_GT(m.pipe("P").sumVolume, 0.0);  // what was summed stays
}

// --- Muskingum -----------------------------------------------------------------------------------------------------

TEST(Muskingum, ReachesASteadyStateOfKTimesInflow) {
    Model m(onePipe("120 3 0.2 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n", 600);
    m.step(590);
    EXPECT_NEAR(m.link("P").newFlow, 2.0, 1e-9);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(m.pipe("P").storage[i], 120.0 * 2.0, 1e-6);  // S = K (x I + (1 - x) O)
    }
}

TEST(Muskingum, EmptiesAReservoirGeometrically) {
    // With x = 0 and inflow 0, out = S / (1.5 K), so each firing leaves a third.
    Model m(onePipe("60 1 0 0") +
            "[INFLOWS]\nA FLOW FLOW 0 S 1\n[TIMESERIES]\nS 2021/03/01 0:00 0 0:01 9 0:02 0 0:03 0\n");
    m.step(2);
    double storage = m.pipe("P").storage[0];
    EXPECT_NEAR(storage, 9.0 * 60.0 - 60.0 * (9.0 * 30.0 / 90.0), 60.0 * 9.0 * MILLISECOND);
    for (int k = 0; k < 8; ++k) {
        m.step(2);
        EXPECT_NEAR(m.pipe("P").storage[0], storage / 3.0, 1e-9);
        EXPECT_NEAR(m.link("P").newFlow, storage / 90.0, 1e-9);
        storage = m.pipe("P").storage[0];
    }
}

TEST(Muskingum, LetsNothingThroughAtOnceWithXAHalf) {
    // a = b: the outflow of a firing comes from the storage alone.
    Model m(onePipe("60 1 0.5 0") + "[INFLOWS]\nA FLOW FLOW 5 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 0.0);
    EXPECT_EQ(m.pipe("P").storage[0], 300.0);
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 300.0 / 60.0);
}

TEST(Muskingum, KeepsAnUnevenReach) {
    // One firing of two reaches by hand: K = 180, x = 0.1, first period of one step with 4 m3/s.
    Model m(onePipe("180 2 0.1 0") + "[INFLOWS]\nA FLOW FLOW 4 \"\" 1\n");
    m.step(2);
    const double factor = (90.0 - 18.0) / (162.0 + 90.0);
    const double first = 4.0 * factor, second = first * factor;
    EXPECT_DOUBLE_EQ(m.link("P").newFlow, second);
    EXPECT_DOUBLE_EQ(m.pipe("P").storage[0], (4.0 - first) * 180.0);
    EXPECT_DOUBLE_EQ(m.pipe("P").storage[1], (first - second) * 180.0);
}

// --- limits and settings -------------------------------------------------------------------------------------------

TEST(PipeLimit, FloodsWhatMayNotPass) {
    Model m(onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 0.5);
    EXPECT_EQ(m.pipe("P").newFlood, 6.0 * 30.0 / 90.0 - 0.5);
    EXPECT_EQ(FlowTotals.floodingLoss, DT * 1.5);
    EXPECT_EQ(m.link("P").statFloodVolume, DT * 1.5);
    EXPECT_EQ(m.link("P").statMaxFlood, 1.5);
    m.step();
    EXPECT_EQ(FlowTotals.floodingLoss, 2.0 * DT * 1.5);  // floods on until the next firing
}

TEST(PipeLimit, ClosedSendsAllToFlood) {
    for (const char* limit : {"0", "0.5"}) {
        Model m(onePipe("60 1 0 " + std::string(limit)) + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
        ASSERT_EQ(tarnvelde_setSetting("P", 0.0), 0);
        m.step(2);
        EXPECT_EQ(m.link("P").newFlow, 0.0) << limit;
        EXPECT_EQ(m.pipe("P").newFlood, 2.0) << limit;
    }
}

TEST(PipeLimit, ShrinksWithTheSetting) {
    Model m(onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("P", 0.5), 0);
    m.step(2);
    const double out = 6.0 * 30.0 / 90.0, cap = 0.5 * 0.5;
    EXPECT_EQ(m.link("P").newFlow, cap);
    EXPECT_EQ(m.pipe("P").newFlood, out - cap);
}

TEST(PipeLimit, OfZeroIsNoneAtAnySettingButZero) {
    Model m(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("P", 0.5), 0);
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 6.0 * 30.0 / 90.0);
    EXPECT_EQ(m.pipe("P").newFlood, 0.0);
}

TEST(PipeLimit, LetsANegativeOutflowPass) {
    Model m(onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW -6 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, -2.0);
    EXPECT_EQ(m.pipe("P").newFlood, 0.0);
    Model closed(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW -6 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("P", 0.0), 0);
    closed.step(2);
    EXPECT_EQ(closed.pipe("P").newFlood, -2.0);
    EXPECT_EQ(FlowTotals.floodingLoss, DT * -2.0);
}

// --- connections ---------------------------------------------------------------------------------------------------

static const std::string PULSE =
    "[INFLOWS]\nA FLOW FLOW 0 S 1\nA CONCEN X 20 \"\" 1\n[POLLUTANTS]\nX 0\n"
    "[TIMESERIES]\nS 2021/03/01 0:00 0 0:01 0 0:02 6 0:03 0 0:04 0\n";

TEST(ConnectionDelay, OfZeroPassesAtOnce) {
    Model m(oneConnection("0") + PULSE);
    m.step(2);
    EXPECT_NEAR(m.node("OUT").newInflow, 6.0, 6.1 * MILLISECOND);
    EXPECT_EQ(m.node("OUT").newInflow, m.node("A").newInflow);
    EXPECT_NEAR(m.node("OUT").newQual[0], 20.0, 1e-12);
    m.step();
    EXPECT_EQ(m.node("OUT").newInflow, m.node("A").newInflow);
}

TEST(ConnectionDelay, OfWholeStepsShifts) {
    Model m(oneConnection("300") + PULSE);
    for (int step = 1; step <= 12; ++step) {
        m.step();
        EXPECT_NEAR(m.node("OUT").newInflow, step == 7 ? 6.0 : 0.0, 6.1 * MILLISECOND) << step;
        EXPECT_NEAR(m.node("OUT").massInflow[0], step == 7 ? 0.12 : 0.0, 0.122 * MILLISECOND) << step;
    }
}

TEST(ConnectionDelay, BetweenStepsInterpolates) {
    Model m(oneConnection("315") + PULSE);
    for (int step = 1; step <= 12; ++step) {
        m.step();
        const double expected = step == 7 ? 6.0 * 0.75 : step == 8 ? 6.0 * 0.25 : 0.0;
        EXPECT_NEAR(m.node("OUT").newInflow, expected, 6.1 * MILLISECOND) << step;
    }
}

TEST(ConnectionDelay, PastTheEndIsBookedAndNeverQueued) {
    // Ten steps: what enters in step k leaves at minute k + 5, so that of steps 1 to 5 leaves in time. The end of the
    // run, a date, may fall a second short of ten minutes, and then step 5 is late too.
    Model m(oneConnection("300") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 20 \"\" 1\n[POLLUTANTS]\nX 0\n", 10);
    m.step(10);
    const int late = TotalDuration >= 600000.0 ? 5 : 6;
    EXPECT_DOUBLE_EQ(FlowTotals.delayedVolume, late * DT * 2.0);
    EXPECT_DOUBLE_EQ(QualTotals[0].delayedMass, late * DT * 2.0 * 20.0 / 1000.0);
}

TEST(ConnectionSetting, HasNoEffectOnTheFlow) {
    Model m(oneConnection("0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("C", 0.0), 0);
    m.step();
    EXPECT_EQ(m.link("C").setting, 0.0);
    EXPECT_EQ(m.node("OUT").newInflow, 2.0);
}

TEST(ConnectionDelay, RollsItsInflowByAnOutfallOfItsNumber) {
    // Node 0 is the outfall and link 0 the first connection: only this one rolls.
    const std::string text =
        "[OUTFALLS]\nOUT\n[JUNCTIONS]\nA\nB\n[CONNECTIONS]\nC A B NO 0\nD B OUT NO 0\n[INFLOWS]\nA FLOW FLOW 2 \"\" "
        "1\n";
    Model m(text);
    m.step(3);
    EXPECT_EQ(Connections[0].newInflow, 2.0);
    EXPECT_EQ(Connections[0].oldInflow, 2.0);
    EXPECT_EQ(Connections[1].newInflow, 2.0);
    EXPECT_EQ(Connections[1].oldInflow, 0.0);
}

// --- splitters -----------------------------------------------------------------------------------------------------

/// Flow to the first of a splitter's two links for an inflow.
static double split(const std::string& rule, double inflow) {
    Model m("[SPLITTERS]\nS C1 " + rule +
            "\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nC1 S O1 NO 0\nC2 S O2 NO 0\n[INFLOWS]\nS FLOW FLOW " +
            std::to_string(inflow) + " \"\" 1\nS CONCEN X 10 \"\" 1\n[POLLUTANTS]\nX 0\n");
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow + m.node("O2").newInflow, inflow);
    if (m.node("O1").newInflow != 0.0 && m.node("O2").newInflow != 0.0) {
        EXPECT_NEAR(m.node("O1").newQual[0], 10.0, 1e-12);
        EXPECT_NEAR(m.node("O2").newQual[0], 10.0, 1e-12);
    }
    return m.node("O1").newInflow;
}

TEST(Splitting, ByFlowFillsTheFirstLinkFirst) {
    EXPECT_DOUBLE_EQ(split("FLOW 3", 2.0), 2.0);
    EXPECT_DOUBLE_EQ(split("FLOW 3", 3.0), 3.0);
    EXPECT_DOUBLE_EQ(split("FLOW 3", 5.0), 3.0);
    EXPECT_DOUBLE_EQ(split("FLOW 0", 5.0), 0.0);
    EXPECT_DOUBLE_EQ(split("FLOW 3", 0.0), 0.0);
    EXPECT_DOUBLE_EQ(split("FLOW 0", -2.0), -2.0);  // below the threshold: all to the first
}

TEST(Splitting, ByRatioGivesAShare) {
    EXPECT_DOUBLE_EQ(split("RATIO 0.25", 4.0), 1.0);
    EXPECT_DOUBLE_EQ(split("RATIO 1.5", 4.0), 4.0);
}

TEST(Splitting, ByFlowAndRatioSharesTheExcess) {
    EXPECT_DOUBLE_EQ(split("FLOW_RATIO 3 0.25", 2.0), 2.0);
    EXPECT_DOUBLE_EQ(split("FLOW_RATIO 3 0.25", 7.0), 4.0);
    EXPECT_DOUBLE_EQ(split("FLOW_RATIO 3 1", 7.0), 7.0);
    EXPECT_DOUBLE_EQ(split("FLOW_RATIO 3 -0.5", 7.0), 1.0);
}

static const std::string SPLIT_ENDS = "\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nC1 S O1 NO 0\nC2 S O2 NO 0\n";

TEST(Splitting, ByFlowSharesTheExcessOnceAHostSetsARatio) {
    // The file gives no ratio in mode FLOW, so it is 0 and the first link gets the threshold; the law is that of
    // FLOW_RATIO all the same.
    Model m("[SPLITTERS]\nS C1 FLOW 3" + SPLIT_ENDS + "[INFLOWS]\nS FLOW FLOW 7 \"\" 1\n");
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 3.0);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_SPLITTER, "S", 2, 0.25), 0);
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 3.0 + (7.0 - 3.0) * 0.25);
    EXPECT_DOUBLE_EQ(m.node("O2").newInflow, (7.0 - 3.0) * 0.75);
}

TEST(Splitting, OfALoadWithoutWaterIsNoConcentration) {
    Model m("[SPLITTERS]\nS C1 RATIO 0.25" + SPLIT_ENDS + "[POLLUTANTS]\nX 0\n[INFLOWS]\nS MASS X 1 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.node("S").massInflow[0], 1.0);
    for (const char* node : {"S", "O1", "O2"}) {
        EXPECT_EQ(m.node(node).newQual[0], 0.0) << node;
    }
}

static const std::string SPLIT_BY_RATIO =
    "[SPLITTERS]\nS C1 RATIO 0.25\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nC1 S O1 NO 0\nC2 S O2 NO 0\n"
    "[JUNCTIONS]\nJ\n[PIPES]\nP J S NO 60 1 0 0\n[INFLOWS]\nS FLOW FLOW 4 \"\" 1\n";

TEST(Splitting, TakesTheHostsValueForTheRestOfTheRun) {
    Model m(SPLIT_BY_RATIO);
    EXPECT_EQ(tarnvelde_setSplittedValue("S", 0.5), 0);
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 2.0);
    EXPECT_EQ(tarnvelde_setSplittedValue("S", 7.0), 0);  // a ratio is limited to 1
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 4.0);
    EXPECT_EQ(tarnvelde_setSplittedValue("S", -1.0), -1);
    EXPECT_EQ(tarnvelde_setSplittedValue("J", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSplittedValue("X", 1.0), -1);
    EXPECT_EQ(tarnvelde_setSplittedValue(nullptr, 1.0), -1);
    EXPECT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 1.0);  // a new run begins with the value of the file
}

TEST(Splitting, StandsStillInAnUnknownMode) {
    Model m(SPLIT_BY_RATIO);
    m.step();
    Splitters[0].mode = 7;
    Nodes[tarnvelde_findObject(1, "S")].extInflow->baseline = 8.0;
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 1.0);
    EXPECT_DOUBLE_EQ(m.node("O2").newInflow, 7.0);
}

// --- recycles and odd orders ---------------------------------------------------------------------------------------

TEST(LaggedLink, DeliversWhatItCarriedAStepBefore) {
    // A sends half of its water back to itself over B, one step late: 1, 1.5, 1.75, ...
    Model m(
        "[JUNCTIONS]\nA\n[SPLITTERS]\nB R RATIO 0.5\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nC A B NO 0\nR B A YES 0\nD B OUT "
        "NO 0\n"
        "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n");
    double inflow = 0.0;
    for (int step = 1; step <= 8; ++step) {
        m.step();
        inflow = 1.0 + 0.5 * inflow;
        EXPECT_DOUBLE_EQ(m.node("A").newInflow, inflow) << step;
    }
}

TEST(NodeOrder, LetsANodeReadALinkAheadOfItsSource) {
    // D waits for one link, L. But the recycle R counts when it comes, and A's links are met in the order of the file:
    // R releases D, and only then K releases B. So D is visited ahead of B, and reads over L what B sent a step before;
    // what comes over R is of the step before anyway. (With R ahead of L, D would be a head.)
    Model m(
        "[JUNCTIONS]\nB\nD\n[SPLITTERS]\nA R RATIO 0.25\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nL B D NO 0\nR A D YES 0\n"
        "K A B NO 0\nM D OUT NO 0\n[INFLOWS]\nA FLOW FLOW 4 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("B").newInflow, 0.75 * 4.0);
    EXPECT_EQ(m.node("D").newInflow, 0.0);  // neither way has carried anything yet
    ASSERT_EQ(tarnvelde_setExtInflow("A", 8.0), 0);
    m.step();
    EXPECT_EQ(m.node("B").newInflow, 0.75 * 12.0);
    EXPECT_EQ(m.node("D").newInflow, 0.75 * 4.0 + 0.25 * 4.0);
    m.step();
    EXPECT_EQ(m.node("B").newInflow, 0.75 * 4.0);
    EXPECT_EQ(m.node("D").newInflow, 0.75 * 12.0 + 0.25 * 12.0);
    EXPECT_EQ(m.node("OUT").newInflow, m.node("D").newInflow);  // behind D in the same step
}

TEST(NodeOrder, VisitsNodeZeroInThePlaceOfANodeThatIsNeverReached) {
    // C and D run in a circle that no head leads into. The splitter's two ways to B give the walk over all paths the
    // number that it asks for, so the project passes, and B, which is node 0, is visited in the two open places: it
    // gathers all over again.
    Model m(
        "[JUNCTIONS]\nB\nC\nD\n[SPLITTERS]\nS K RATIO 0.5\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nK S B NO 0\nL S B NO 0\nM B "
        "OUT NO 0\n"
        "N C D NO 0\nO D C NO 0\n[INFLOWS]\nS FLOW FLOW 4 \"\" 1\nC FLOW FLOW 9 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("B").newInflow, 3.0 * 4.0);
    EXPECT_EQ(m.node("OUT").newInflow, 4.0);  // visited between the first time and the others
    EXPECT_EQ(m.node("C").newInflow, 0.0);    // never visited
    EXPECT_EQ(FlowTotals.externalInflow, DT * 13.0);
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
    ProjectFile project(getGeneral(30) +
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
        ASSERT_NEAR(Model::link("M").newQual[0], expected.newQual, 1e-9) << "step " << step;
        ASSERT_NEAR(Model::pipe("M").storage[0], expected.storage, 1e-9) << "step " << step;
    }
    EXPECT_GT(expected.firings, 20) << "some step has two";
}
