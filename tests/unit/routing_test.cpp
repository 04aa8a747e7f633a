// The routing step: pipes, connections, splitters and inflows on small networks, against the laws they stand for.

#include "routing/routing.h"

#include <gtest/gtest.h>

#include <cmath>

#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/inflows.h"
#include "input/table.h"
#include "routing/connection.h"
#include "routing/network.h"
#include "routing/node.h"
#include "routing/pipe.h"
#include "support/project.h"

static constexpr double DT = 60.0;  ///< s, the routing step of getGeneral

/// Series are asked a millisecond behind the minute: a slope of 1 per minute is off by this.
static constexpr double MILLISECOND = 1.0 / 60000.0;

/// A started project that is stepped by hand.
struct Model {
    ProjectFile project;

    explicit Model(const std::string& text, int steps = 60) : project(getGeneral(steps) + text) {
        EXPECT_EQ(project.open(), 0) << project.getReport();
        EXPECT_EQ(tarnvelde_start(0), 0);
    }

    void step(int count = 1) {
        double elapsed;
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
    }

    static const Node& node(const char* name) { return Nodes[static_cast<size_t>(tarnvelde_findObject(1, name))]; }
    static Link& link(const char* name) { return Links[static_cast<size_t>(tarnvelde_findObject(2, name))]; }
    static Pipe& pipe(const char* name) { return Pipes[static_cast<size_t>(link(name).kindIndex)]; }
};

static const std::string A_TO_OUT = "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n";

static std::string onePipe(const std::string& values) {
    return A_TO_OUT + "[PIPES]\nP A OUT NO " + values + "\n";
}

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
        m.link("P").setting = 0.0;
        m.step(2);
        EXPECT_EQ(m.link("P").newFlow, 0.0) << limit;
        EXPECT_EQ(m.pipe("P").newFlood, 2.0) << limit;
    }
}

TEST(PipeLimit, LetsANegativeOutflowPass) {
    Model m(onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW -6 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, -2.0);
    EXPECT_EQ(m.pipe("P").newFlood, 0.0);
    Model closed(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW -6 \"\" 1\n");
    closed.link("P").setting = 0.0;
    closed.step(2);
    EXPECT_EQ(closed.pipe("P").newFlood, -2.0);
    EXPECT_EQ(FlowTotals.floodingLoss, DT * -2.0);
}

// --- quality in pipes ----------------------------------------------------------------------------------------------

static const std::string TWO_POLLUTANTS = "[POLLUTANTS]\nX 0\nY 0\n";

TEST(PipeQuality, PassesAConstantConcentrationUnchanged) {
    Model m(onePipe("120 3 0.2 0") + TWO_POLLUTANTS +
                "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\nA CONCEN Y 7 \"\" 1\n",
            600);
    m.step(590);
    EXPECT_NEAR(m.link("P").newQual[0], 30.0, 1e-9);
    EXPECT_NEAR(m.link("P").newQual[1], 7.0, 1e-9);
    EXPECT_NEAR(m.node("OUT").newQual[0], 30.0, 1e-6);
}

TEST(PipeQuality, DecaysByTheFirstOrderInEachPeriod) {
    Model m(onePipe("120 1 0 0") + TWO_POLLUTANTS +
            "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\nA CONCEN Y 7 \"\" 1\n" +
            "[DECAY_COEFFICIENT]\nP LINK X FIRST 86.4 \"\"\n");
    m.step(2);  // the reach was empty: all its water came in now, and decays for one period
    EXPECT_NEAR(m.link("P").newQual[0], 30.0 * std::exp(-0.001 * 120.0), 1e-12);
    EXPECT_NEAR(m.link("P").newQual[1], 7.0, 1e-12);
    EXPECT_EQ(QualTotals[0].reactedLoss, 0.0);  // the mass is that of the storage before the firing, which was none
    const double storage = m.pipe("P").storage[0];
    const double c = pipe_newSegQual(m.pipe("P"), 0)[0];
    m.step(2);
    const double out = (2.0 * 60.0 + storage) / 180.0;
    const double mixed = (120.0 * 2.0 * 30.0 + storage * c) / (120.0 * out + storage + 120.0 * (2.0 - out));
    EXPECT_NEAR(m.link("P").newQual[0], mixed * std::exp(-0.12), 1e-12);
    EXPECT_NEAR(QualTotals[0].reactedLoss, mixed * storage * (1.0 - std::exp(-0.12)) / 1000.0, 1e-12);
}

TEST(PipeQuality, DecaysByThePatternAtTheHour) {
    std::string pattern = "[PATTERNS]\nH MONTHLY 3 5\n";  // of monthly type, and still by the hour
    Model m(onePipe("120 1 0 0") + TWO_POLLUTANTS + pattern + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN Y 7 \"\" 1\n" +
            "[DECAY_COEFFICIENT]\nP LINK Y FIRST 86.4 H\n");
    m.step(2);
    EXPECT_NEAR(m.link("P").newQual[1], 7.0 * std::exp(-3.0 * 0.001 * 120.0), 1e-12);
}

TEST(PipeQuality, IsZeroInADryReach) {
    Model m(onePipe("60 2 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA MASS X 1 \"\" 1\n");
    m.step(8);
    EXPECT_EQ(m.link("P").newQual[0], 0.0);
    EXPECT_EQ(m.node("A").newQual[0], 0.0);  // a load without water
}

TEST(PipeDelivery, WeighsFlowAndLoadDifferently) {
    // K = 180: between the firings in steps 4 and 7 the pipe's clock runs from minute 3 to minute 6. The flow takes the
    // time plus K and so the new value at once; the load goes from the old to the new value over the period.
    Model m(onePipe("180 1 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\n");
    m.step(5);
    const Link& link = m.link("P");
    const double a = (4.0 - 3.0) / 3.0;  // step 5 begins at minute 4
    EXPECT_EQ(m.node("OUT").newInflow, link.newFlow);
    EXPECT_NEAR(m.node("OUT").massInflow[0],
                ((1.0 - a) * link.oldFlow * link.oldQual[0] + a * link.newFlow * link.newQual[0]) / 1000.0, 1e-15);
}

TEST(PipeDelivery, IsThatOfAStepBeforeOverALaggedLink) {
    const std::string text = "[JUNCTIONS]\nA\nB\n[OUTFALLS]\nOUT\n[PIPES]\nP A B YES 180 1 0 0\nQ B OUT NO 60 1 0 0\n" +
                             TWO_POLLUTANTS + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\n";
    Model m(text);
    m.step(5);
    const Link& link = m.link("P");
    const double a = (3.0 - 3.0) / 3.0;  // minute 3, a step before
    EXPECT_NEAR(m.node("B").massInflow[0],
                ((1.0 - a) * link.oldFlow * link.oldQual[0] + a * link.newFlow * link.newQual[0]) / 1000.0, 1e-15);
}

// --- values set by a host ------------------------------------------------------------------------------------------

TEST(PipeAndHost, RunOverTheReachesThatThereAre) {
    Model m(onePipe("60 2 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\n");
    m.pipe("P").n = 1000000;
    m.step(6);
    m.pipe("P").n = 0;  // no reach: what enters leaves
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 2.0);
    EXPECT_NEAR(m.link("P").newQual[0], 30.0, 1e-12);
    m.pipe("P").n = -5;
    m.step(6);
    EXPECT_EQ(pipe_getVolume(m.pipe("P")), 0.0);
}

TEST(PipeAndHost, TakesAFlowUntilTheNextFiring) {
    Model m(onePipe("180 1 0 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.step(4);
    m.link("P").newFlow = 99.0;
    link_noteChange(tarnvelde_findObject(2, "P"), m.link("P").kindIndex);
    m.step();
    EXPECT_EQ(m.link("P").oldFlow, 99.0);
    EXPECT_EQ(m.node("OUT").newInflow, 99.0);
    m.step(2);
    EXPECT_NE(m.link("P").newFlow, 99.0);
}

TEST(PipeAndHost, NeverFireWithoutAPeriod) {
    Model m(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.pipe("P").stepLength = 0.0;
    m.step(10);
    EXPECT_EQ(m.node("OUT").newInflow, 0.0);
}

// --- connections ---------------------------------------------------------------------------------------------------

static std::string oneConnection(const std::string& delay) {
    return A_TO_OUT + "[CONNECTIONS]\nC A OUT NO " + delay + "\n";
}

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
    Nodes[static_cast<size_t>(tarnvelde_findObject(1, "S"))].extInflow->baseline = 8.0;
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

// --- inflows -------------------------------------------------------------------------------------------------------

TEST(ExternalInflow, AddsConstantAndScaledSeries) {
    Model m(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 0.5 S 2\n[TIMESERIES]\nS 2021/03/01 0:00 0 0:10 10\n");
    m.step(3);
    EXPECT_NEAR(m.node("A").newLatFlow, 0.5 + 2.0 * 3.0, 2.1 * MILLISECOND);
    EXPECT_NEAR(FlowTotals.externalInflow, DT * (3 * 0.5 + 2.0 * (1.0 + 2.0 + 3.0)), 3.0 * DT * 2.1 * MILLISECOND);
}

TEST(ExternalInflow, KeepsOneFlowRecord) {
    Model m(onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 5.0);
    EXPECT_EQ(m.node("A").extInflow->next, nullptr);
}

TEST(ExternalInflow, OfAFlowOverwritesTheNewestRecordWhateverItIs) {
    Model m(onePipe("60 1 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA CONCEN X 7 \"\" 1\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 5.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
    EXPECT_EQ(m.node("A").extInflow->next, nullptr);
}

TEST(ExternalInflow, MayHoldTwoFlowRecordsOfWhichTheNewerCounts) {
    Model m(onePipe("60 1 0 0") + TWO_POLLUTANTS +
            "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\nA CONCEN X 7 \"\" 1\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 5.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
    ASSERT_NE(m.node("A").extInflow->next, nullptr);
    EXPECT_EQ(m.node("A").extInflow->next->baseline, 1.0);
}

TEST(ExternalInflow, OfAMassAlwaysAddsARecord) {
    Model m(onePipe("60 1 0 0") + TWO_POLLUTANTS +
            "[INFLOWS]\nA MASS X 2 \"\" 1\nA MASS X 3 \"\" 1\nA CONCEN X 7 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").massInflow[0],
              2.0);  // the concentration overwrote the newer mass, and without flow is no load
}

TEST(ExternalInflow, OfAConcentrationNeedsAFlowRecord) {
    Model m(onePipe("60 1 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA CONCEN X 7 \"\" 1\n");
    HostInflows.push_back({tarnvelde_findObject(1, "A"), 0, 4.0});
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 4.0);
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
}

TEST(ExternalInflow, FromTheHostLastsForOneStep) {
    Model m(onePipe("60 1 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\nA CONCEN X 1000 \"\" 1\n");
    const int32_t a = tarnvelde_findObject(1, "A"), out = tarnvelde_findObject(1, "OUT");
    HostInflows = {{out, 0, 2.0}, {a, 0, 4.0}, {a, 0, 8.0}};
    HostLoads = {{out, 1, 0.5}, {a, 0, 0.25}};
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 13.0);
    EXPECT_EQ(m.node("A").massInflow[0], 1.25);  // the concentration goes with the flow of the file alone
    EXPECT_EQ(m.node("OUT").newLatFlow, 2.0);
    EXPECT_EQ(m.node("OUT").massInflow[1], 0.5);
    EXPECT_EQ(FlowTotals.externalInflow, DT * 15.0);
    EXPECT_EQ(QualTotals[1].externalInflow, DT * 0.5);
    m.step();
    EXPECT_EQ(m.node("A").newLatFlow, 1.0);
    EXPECT_TRUE(HostInflows.empty());
    EXPECT_TRUE(HostLoads.empty());
}

TEST(ExternalInflow, MayTakeWaterAway) {
    Model m(oneConnection("0") + "[INFLOWS]\nA FLOW FLOW -2 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("OUT").newInflow, -2.0);
    EXPECT_EQ(m.node("OUT").statMaxInflow, 0.0);  // maxima begin at 0
    EXPECT_EQ(m.node("OUT").statInflowVolume, -2.0 * DT);
}

TEST(ExternalInflow, BehindTheNewestRecordBeginsOnALineFromTheOrigin) {
    const double day = 44256.0;  // 1 March 2021
    const std::string text =
        "[INFLOWS]\nA FLOW FLOW 0 S 1\nA CONCEN X 0 T 1\n[POLLUTANTS]\nX 0\n[TIMESERIES]\n"
        "S 2021/03/01 0:00 0 1:00 60 2:00 0\nT 2021/03/01 0:00 0 2:00 0\n";
    Model m(onePipe("60 1 0 0") + text);
    m.step(30);
    const double t = day + 30.0 / 1440.0;
    EXPECT_NEAR(m.node("A").newLatFlow, t * 60.0 / (day + 1.0 / 24.0), 1e-6);  // 60 and not 30 m3/s
}

TEST(DryWeather, FollowsThePatternOfTheHour) {
    std::string pattern = "[PATTERNS]\nH HOURLY";
    for (int h = 0; h < 24; ++h) {
        pattern += " " + std::to_string(h + 1);
    }
    Model m(
        onePipe("60 1 0 0") + TWO_POLLUTANTS + pattern + "\n[DWFS]\nA X 100 H\nA FLOW 0.5 H\nA Y 50 \"\"\nA X 200 H\n",
        180);
    m.step(59);
    EXPECT_EQ(m.node("A").newLatFlow, 0.5);
    m.step();  // 1:00 and a millisecond
    EXPECT_EQ(m.node("A").newLatFlow, 1.0);
    EXPECT_EQ(m.node("A").massInflow[0], 200.0 * 2.0 * 1.0 / 1000.0);
    EXPECT_EQ(m.node("A").massInflow[1], 50.0 * 1.0 / 1000.0);
    m.step(60);
    EXPECT_EQ(m.node("A").newLatFlow, 1.5);
    EXPECT_DOUBLE_EQ(FlowTotals.dryWeatherInflow, DT * (59 * 0.5 + 60 * 1.0 + 1.5));
}

TEST(DryWeather, WithoutAFlowBringsNoLoad) {
    Model m(onePipe("60 1 0 0") + TWO_POLLUTANTS + "[DWFS]\nA X 100 \"\"\n[INFLOWS]\nA FLOW FLOW 5 \"\" 1\n");
    m.step();
    EXPECT_EQ(m.node("A").massInflow[0], 0.0);
}

TEST(Mixing, WeighsByFlow) {
    Model m(
        "[JUNCTIONS]\nA\nB\nC\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nK A C NO 0\nL B C NO 0\nM C OUT NO 0\n[POLLUTANTS]\nX "
        "0\n"
        "[DWFS]\nA FLOW 1 \"\"\nA X 40 \"\"\nB FLOW 3 \"\"\nB X 8 \"\"\n");
    m.step();
    EXPECT_NEAR(m.node("C").newQual[0], (40.0 + 3.0 * 8.0) / 4.0, 1e-12);
    EXPECT_NEAR(m.node("OUT").newQual[0], 16.0, 1e-12);
    EXPECT_EQ(QualTotals[0].externalOutflow, DT * (m.node("OUT").newInflow * m.node("OUT").newQual[0] / 1000.0));
}
