// Pipes: quality, what they deliver to nodes of all kinds, values that a host sets, lines, clock, Muskingum and limits.

#include "links/pipe.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/lineerrors.h"
#include "support/model.h"
#include "support/pipes.h"
#include "tarnvelde.h"

// --- quality in pipes ----------------------------------------------------------------------------------------------

TEST(PipeQuality, PassesAConstantConcentrationUnchanged) {
    StartedProject m(getGeneral(600) + onePipe("120 3 0.2 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\nA CONCEN Y 7 \"\" 1\n");
    m.step(590);
    EXPECT_NEAR(m.link("P").newQual[0], 30.0, 1e-9);
    EXPECT_NEAR(m.link("P").newQual[1], 7.0, 1e-9);
    EXPECT_NEAR(m.node("OUT").newQual[0], 30.0, 1e-6);
}

TEST(PipeQuality, DecaysByTheFirstOrderInEachPeriod) {
    StartedProject m(getGeneral(60) + onePipe("120 1 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\nA CONCEN Y 7 \"\" 1\n" +
                     "[DECAY_COEFFICIENT]\nP LINK X FIRST 86.4 \"\"\n");
    m.step(2);  // the reach was empty: all its water came in now, and decays for one period
    const double first = 30.0 * std::exp(-0.001 * 120.0);
    EXPECT_NEAR(m.link("P").newQual[0], first, 1e-12);
    EXPECT_NEAR(pipe_newSegQual(testModel(), m.pipe("P"), 0)[0], first, 1e-12);  // the reach holds what has decayed
    EXPECT_NEAR(m.link("P").newQual[1], 7.0, 1e-12);
    EXPECT_EQ(testModel().totals.quality[0].reactedLoss,
              0.0);  // the mass is that of the storage before the firing, which was none
    const double storage = m.pipe("P").storage[0];
    m.step(2);
    const double out = (2.0 * 60.0 + storage) / 180.0;
    const double mixed = (120.0 * 2.0 * 30.0 + storage * first) / (120.0 * out + storage + 120.0 * (2.0 - out));
    EXPECT_NEAR(m.link("P").newQual[0], mixed * std::exp(-0.12), 1e-12);
    EXPECT_NEAR(testModel().totals.quality[0].reactedLoss, mixed * storage * (1.0 - std::exp(-0.12)) / 1000.0, 1e-12);
}

TEST(PipeQuality, DecaysInEachReachForAPeriod) {
    StartedProject m(getGeneral(60) + onePipe("120 2 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\n" +
                     "[DECAY_COEFFICIENT]\nP LINK X FIRST 86.4 \"\"\n");
    m.step(2);  // through two empty reaches at once, 120 s at 0.001 per second in each
    EXPECT_NEAR(pipe_newSegQual(testModel(), m.pipe("P"), 0)[0], 30.0 * std::exp(-0.12), 1e-12);
    EXPECT_NEAR(pipe_newSegQual(testModel(), m.pipe("P"), 1)[0], 30.0 * std::exp(-0.24), 1e-12);
    EXPECT_NEAR(m.link("P").newQual[0], 30.0 * std::exp(-0.24), 1e-12);
}

TEST(PipeQuality, DecaysByThePatternAtTheHour) {
    std::string pattern = "[PATTERNS]\nH MONTHLY 3 5\n";  // of monthly type, and still by the hour
    StartedProject m(getGeneral(60) + onePipe("120 1 0 0") + TWO_POLLUTANTS + pattern +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN Y 7 \"\" 1\n" +
                     "[DECAY_COEFFICIENT]\nP LINK Y FIRST 86.4 H\n");
    m.step(2);
    EXPECT_NEAR(m.link("P").newQual[1], 7.0 * std::exp(-3.0 * 0.001 * 120.0), 1e-12);
}

TEST(PipeQuality, IsZeroInADryReach) {
    StartedProject m(getGeneral(60) + onePipe("60 2 0 0") + TWO_POLLUTANTS + "[INFLOWS]\nA MASS X 1 \"\" 1\n");
    m.step(8);
    EXPECT_EQ(m.link("P").newQual[0], 0.0);
    EXPECT_EQ(m.node("A").newQual[0], 0.0);  // a load without water
}

TEST(PipeQuality, IsTheMeanOfThePeriodByFlow) {
    // Between the firings in steps 2 and 5 the pipe sums steps 3 and 4: 1 m3/s at 10 mg/L and 3 m3/s at 30 mg/L. The
    // reach holds no water yet, so its concentration is that of the mean. The junction bears the name of the pollutant:
    // a host's load is given by it.
    StartedProject m(getGeneral(60) +
                     "[JUNCTIONS]\nX\n[OUTFALLS]\nOUT\n[POLLUTANTS]\nX 0\n[PIPES]\nP X OUT NO 240 1 0 0\n");
    m.step(2);
    ASSERT_EQ(tarnvelde_setExtInflow("X", 1.0), 0);
    ASSERT_EQ(tarnvelde_setExtLoad("X", "X", 0.01), 0);
    m.step();
    ASSERT_EQ(tarnvelde_setExtInflow("X", 3.0), 0);
    ASSERT_EQ(tarnvelde_setExtLoad("X", "X", 0.09), 0);
    m.step(2);
    EXPECT_DOUBLE_EQ(m.pipe("P").newInflow, (1.0 + 3.0) / 2.0);
    EXPECT_NEAR(m.link("P").newQual[0], (0.01 + 0.09) / (1.0 + 3.0) * 1000.0, 1e-12);
}

// --- numbers beyond all bounds -------------------------------------------------------------------------------------

/// 2 m3/s with a load of X that makes a concentration beyond the largest number, and a small load of Y.
static const std::string ENDLESS_LOAD =
    TWO_POLLUTANTS + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA MASS X 1e308 \"\" 1\nA MASS Y 0.01 \"\" 1\n";

/// No share of an endless concentration is 0, not even that of a flood or a decay that isn't there: 0 * inf is no
/// number. The other pollutant and the water know nothing of it.
static void expectEndlessLosses(StartedProject& m, const char* link) {
    EXPECT_TRUE(std::isinf(m.link(link).newQual[0]));
    EXPECT_TRUE(std::isnan(testModel().totals.quality[0].reactedLoss));
    EXPECT_TRUE(std::isnan(testModel().totals.quality[0].floodingLoss));
    EXPECT_EQ(testModel().totals.quality[1].reactedLoss, 0.0);
    EXPECT_EQ(testModel().totals.quality[1].floodingLoss, 0.0);
    EXPECT_EQ(testModel().totals.flow.floodingLoss, 0.0);
}

TEST(EndlessConcentration, InAPipeShowsInItsLosses) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + ENDLESS_LOAD);
    m.step();
    EXPECT_EQ(testModel().totals.quality[0].floodingLoss, 0.0);  // none has come into the pipe yet
    for (int step = 2; step <= 4; ++step) {
        SCOPED_TRACE(step);
        m.step();
        expectEndlessLosses(m, "P");
    }
}

TEST(EndlessConcentration, InAConduitShowsInItsLosses) {
    StartedProject m(getGeneral(60) + A_TO_OUT + "[CONDUITS]\nC A OUT NO 100 0.001 0.013 RECTANGULAR 5 3\n" +
                     ENDLESS_LOAD);
    m.step();
    expectEndlessLosses(m, "C");
}

TEST(EndlessConcentration, ComesFromGrowthBeyondAllBounds) {
    // -1e9 per day: the factor exp(1e9 * 60 / 86400) is beyond the largest number. The reach was empty, so what reacted
    // in it is 0 times that.
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + TWO_POLLUTANTS +
                     "[DECAY_COEFFICIENT]\nP LINK X FIRST -1e9 \"\"\n" +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\nA CONCEN Y 7 \"\" 1\n");
    m.step(2);
    expectEndlessLosses(m, "P");
    EXPECT_NEAR(m.link("P").newQual[1], 7.0, 1e-12);
}

// --- delivery ------------------------------------------------------------------------------------------------------

// A pipe of K = 180 s, N = 1 and X = 0 that 2 m3/s of 30 mg/L run into delivers out = (q K / 2 + S) / (1.5 K) of the
// mean q of its period. It fires in step 2, with an empty reach, and in step 4, with what is left of the first period.
static constexpr double FIRST_OUT = 2.0 * 90.0 / 270.0;
static constexpr double SECOND_OUT = (2.0 * 90.0 + 180.0 * (2.0 - FIRST_OUT)) / 270.0;
static constexpr double FIRST_LOAD = FIRST_OUT * 30.0 / 1000.0;  // kg/s

static const std::string THIRTY_MILLIGRAMS = TWO_POLLUTANTS + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\n";

TEST(PipeDelivery, WeighsFlowAndLoadDifferently) {
    // In the step of a firing the load counts new by the share of the period that had passed ahead of the step; the
    // flow takes that time plus K, and so the new value at once. After that step old and new are equal.
    StartedProject m(getGeneral(60) + onePipe("180 1 0 0") + THIRTY_MILLIGRAMS);
    m.step(2);  // the period lasts from minute 0 to 3, and the step begins at minute 1
    EXPECT_DOUBLE_EQ(m.node("OUT").newInflow, FIRST_OUT);
    EXPECT_NEAR(m.node("OUT").massInflow[0], 1.0 / 3.0 * FIRST_LOAD, 1e-15);
    m.step(2);  // from minute 3 to 6, and the step begins at minute 3
    EXPECT_DOUBLE_EQ(m.node("OUT").newInflow, SECOND_OUT);
    EXPECT_NEAR(m.node("OUT").massInflow[0], FIRST_LOAD, 1e-15);
    EXPECT_NEAR(m.node("OUT").newQual[0], FIRST_LOAD / SECOND_OUT * 1000.0, 1e-12);  // too low in this one step
    m.step();
    EXPECT_DOUBLE_EQ(m.node("OUT").newInflow, SECOND_OUT);
    EXPECT_NEAR(m.node("OUT").newQual[0], 30.0, 1e-12);
}

TEST(PipeDelivery, IsThatOfAStepBeforeOverALaggedLink) {
    StartedProject m(getGeneral(60) +
                     "[JUNCTIONS]\nA\nB\n[OUTFALLS]\nOUT\n[PIPES]\nP A B YES 180 1 0 0\nQ B OUT NO 60 1 0 0\n" +
                     THIRTY_MILLIGRAMS);
    m.step(2);  // read at minute 0 of the period from 0 to 3
    EXPECT_DOUBLE_EQ(m.node("B").newInflow, FIRST_OUT);
    EXPECT_EQ(m.node("B").massInflow[0], 0.0);
    m.step(2);  // read at minute 2, ahead of the period from 3 to 6: with K two thirds of it
    EXPECT_DOUBLE_EQ(m.node("B").newInflow, 1.0 / 3.0 * FIRST_OUT + 2.0 / 3.0 * SECOND_OUT);
    EXPECT_NEAR(m.node("B").massInflow[0], FIRST_LOAD, 1e-15);
}

TEST(PipeDelivery, WeighsTheFlowByThePresentK) {
    // A host shortens K to 60 s ahead of the firing in step 4. Its period stays 180 s, so the outflow is
    // (q 90 + S) / (60 + 90); and at the beginning of the new period its flow counts by 60 s of 180 s.
    StartedProject m(getGeneral(60) + onePipe("180 1 0 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.step(3);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_PIPE, "P", 0, 60.0), 0);
    m.step();
    const double out = (2.0 * 90.0 + 180.0 * (2.0 - FIRST_OUT)) / (60.0 + 90.0);
    EXPECT_DOUBLE_EQ(m.link("P").newFlow, out);
    EXPECT_DOUBLE_EQ(m.node("OUT").newInflow, 2.0 / 3.0 * FIRST_OUT + 1.0 / 3.0 * out);
}

TEST(PipeDelivery, WeighsTheFlowByThePresentKBetweenFirings) {
    // In step 5 old and new flow are the same, and 70 s of 180 s have passed with a K of 10 s: that shows in the last
    // bits of the sum alone.
    StartedProject m(getGeneral(60) + onePipe("180 1 0 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.step(4);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_PIPE, "P", 0, 10.0), 0);
    m.step();
    const double flow = m.link("P").newFlow, share = 70000.0 / 180000.0;
    const double weighed = (1.0 - share) * flow + share * flow;
    ASSERT_NE(weighed, flow);
    EXPECT_EQ(m.node("OUT").newInflow, weighed);
}

TEST(PipeDelivery, CountsTheNewLoadOfAFiringThatComesLate) {
    // K of two steps: step 3 should fire and finds nothing summed. Step 4 fires, and begins when half of the new period
    // has passed.
    StartedProject m(getGeneral(60) + onePipe("120 1 0 0") + THIRTY_MILLIGRAMS);
    m.step(4);
    const double first = 2.0 * 60.0 / 180.0;
    const double second = (2.0 * 60.0 + 120.0 * (2.0 - first)) / 180.0;
    EXPECT_DOUBLE_EQ(m.node("OUT").newInflow, second);
    EXPECT_NEAR(m.node("OUT").massInflow[0], (0.5 * first + 0.5 * second) * 30.0 / 1000.0, 1e-15);
}

TEST(PipeDelivery, WeighsTheFlowWhereKIsNoMultipleOfTheStep) {
    // K = 210 s: the first period ends half a minute before step 4 does. In that step the new flow counts from its
    // beginning on, half a minute ahead of the new period: by 1 - 30 / 210.
    StartedProject m(getGeneral(60) + onePipe("210 1 0 0") + THIRTY_MILLIGRAMS);
    m.step(4);
    const double first = 2.0 * 105.0 / 315.0;
    const double second = (2.0 * 105.0 + 210.0 * (2.0 - first)) / 315.0;
    EXPECT_DOUBLE_EQ(m.link("P").newFlow, second);
    EXPECT_DOUBLE_EQ(m.node("OUT").newInflow, 1.0 / 7.0 * first + 6.0 / 7.0 * second);
    EXPECT_NEAR(m.node("OUT").massInflow[0], first * 30.0 / 1000.0, 1e-15);
}

// --- values set by a host ------------------------------------------------------------------------------------------

TEST(PipeAndHost, RunOverTheReachesThatThereAre) {
    StartedProject m(getGeneral(60) + onePipe("60 2 0 0") + TWO_POLLUTANTS +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 30 \"\" 1\n");
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
    StartedProject m(getGeneral(60) + onePipe("180 1 0 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.step(4);
    m.link("P").newFlow = 99.0;
    pipe_noteChange(testModel(), m.link("P").kindIndex);
    m.step();
    EXPECT_EQ(m.link("P").oldFlow, 99.0);
    EXPECT_EQ(m.node("OUT").newInflow, 99.0);
    m.step(2);
    EXPECT_NE(m.link("P").newFlow, 99.0);
}

TEST(PipeAndHost, NeverFireWithoutAPeriod) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.pipe("P").stepLength = 0.0;
    m.step(10);
    EXPECT_EQ(m.node("OUT").newInflow, 0.0);
}

// --- lines ---------------------------------------------------------------------------------------------------------

TEST(PipeLines, AreRefused) {
    expectRefused("[PIPES]", "P2 A OUT NO 60 2 0.2", "ERROR 203: too few items ");
    expectRefused("[PIPES]", "P2 X OUT NO 60 2 0.2 0", "ERROR 209: undefined object X ");
    expectRefused("[PIPES]", "P2 A Y NO 60 2 0.2 0", "ERROR 209: undefined object Y ");
    expectRefused("[PIPES]", "P2 A OUT N 60 2 0.2 0", "ERROR 205: invalid keyword N ");
    expectRefused("[PIPES]", "P2 A OUT NO -60 2 0.2 0", "ERROR 211: invalid number -60 ");
    expectRefused("[PIPES]", "P2 A OUT NO 60 2x 0.2 0", "ERROR 211: invalid number 2x ");
    expectRefused("[PIPES]", "P2 A OUT NO 60 2 x 0", "ERROR 211: invalid number x ");
    expectRefused("[PIPES]", "P2 A OUT NO 60 2 0.2 -1", "ERROR 211: invalid number -1 ");
}

TEST(PipeLines, TruncateTheNumberOfReaches) {
    Project project(getGeneral(10) + "[OUTFALLS]\nOUT\n[JUNCTIONS]\nA\n[PIPES]\nP1 A OUT yes 60 2.9 0.2 0.5\n");
    project.open();
    EXPECT_EQ(testModel().pipes[0].n, 2);
    EXPECT_EQ(testModel().pipes[0].maxFlow, 0.5);
    EXPECT_EQ(testModel().links[0].isLagged, 1);
    tarnvelde_close();
    EXPECT_EQ(
        openProject(getGeneral(10) + "[OUTFALLS]\nOUT\n[JUNCTIONS]\nA\n[PIPES]\nP1 A OUT NO 60 nan 0.2 0\n").report,
        "\n  \n  ERROR 503: muskingum N value of Pipe P1 must be larger than zero.");
}

TEST(PipeValues, AreValidatedTogether) {
    const std::string text = "[JUNCTIONS]\nB\n[PIPES]\nP2 B OUT NO 59 0 0.6 0\n";
    EXPECT_EQ(getErrors(text, 505),
              "\n  \n  ERROR181: mustkingum K value of Pipe P2 is less than routing time step."
              "\n  \n  ERROR 503: muskingum N value of Pipe P2 must be larger than zero."
              "\n  \n  ERROR 505: muskingum X value of Pipe P2 must be in the range of 0.0 and 0.5.");
    EXPECT_EQ(getErrors("[JUNCTIONS]\nB\n[PIPES]\nP2 B OUT NO 60 1 0.5 0\n", 0), "");
}

// --- the clock of a pipe -------------------------------------------------------------------------------------------

TEST(PipeClock, FiresFirstInTheSecondStepWithTheFirstStepsFlow) {
    StartedProject m(getGeneral(60) + onePipe("180 1 0 0") +
                     "[INFLOWS]\nA FLOW FLOW 0 S 1\n[TIMESERIES]\nS 2021/03/01 0:00 0 0:01 3 0:02 50 0:03 7 0:04 7\n");
    m.step();
    EXPECT_EQ(m.node("OUT").newInflow, 0.0);
    EXPECT_NEAR(m.link("P").clock.sumVolume, DT * 3.0, DT * 48.0 * MILLISECOND);
    m.step();
    EXPECT_NEAR(m.pipe("P").newInflow, 3.0, 48.0 * MILLISECOND);  // the 50 m3/s of the firing step are in no sum
    EXPECT_EQ(m.link("P").clock.sumCount, 0);
    EXPECT_EQ(m.link("P").clock.lastFireTime, 0.0);
    EXPECT_EQ(m.link("P").clock.nextFireTime, 180000.0);
}

TEST(PipeClock, FiresStrictlyBehindItsTime) {
    StartedProject m(getGeneral(60) + onePipe("180 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n");
    std::vector<int> firings;
    for (int step = 1; step <= 12; ++step) {
        const double before = m.link("P").clock.nextFireTime;
        m.step();
        if (m.link("P").clock.nextFireTime != before) {
            firings.push_back(step);
        }
    }
    // Step k ends at k minutes: firings come one step after minutes 0 (with something summed), 3, 6 and 9.
    EXPECT_EQ(firings, (std::vector<int>{2, 4, 7, 10}));
}

TEST(PipeClock, OfTheRoutingStepFiresEverySecondStep) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n");
    int firings = 0;
    for (int step = 1; step <= 20; ++step) {
        m.step();
        firings += m.link("P").clock.sumCount == 0 ? 1 : 0;
    }
    EXPECT_EQ(firings, 10);
}

TEST(PipeClock, DoesntFireBehindTheLastPeriod) {
    StartedProject m(getGeneral(30) + onePipe("1200 1 0 0") + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n");
    m.step(30);
    EXPECT_EQ(m.link("P").clock.nextFireTime, testModel().options.totalDuration);
    EXPECT_GT(m.link("P").clock.sumVolume, 0.0);  // what was summed stays
}

// --- Muskingum -----------------------------------------------------------------------------------------------------

TEST(Muskingum, ReachesASteadyStateOfKTimesInflow) {
    StartedProject m(getGeneral(600) + onePipe("120 3 0.2 0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
    m.step(590);
    EXPECT_NEAR(m.link("P").newFlow, 2.0, 1e-9);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(m.pipe("P").storage[i], 120.0 * 2.0, 1e-6);  // S = K (x I + (1 - x) O)
    }
}

TEST(Muskingum, EmptiesAReservoirGeometrically) {
    // With x = 0 and inflow 0, out = S / (1.5 K), so each firing leaves a third.
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") +
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
    StartedProject m(getGeneral(60) + onePipe("60 1 0.5 0") + "[INFLOWS]\nA FLOW FLOW 5 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 0.0);
    EXPECT_EQ(m.pipe("P").storage[0], 300.0);
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 300.0 / 60.0);
}

TEST(Muskingum, KeepsAnUnevenReach) {
    // One firing of two reaches by hand: K = 180, x = 0.1, first period of one step with 4 m3/s.
    StartedProject m(getGeneral(60) + onePipe("180 2 0.1 0") + "[INFLOWS]\nA FLOW FLOW 4 \"\" 1\n");
    m.step(2);
    const double factor = (90.0 - 18.0) / (162.0 + 90.0);
    const double first = 4.0 * factor, second = first * factor;
    EXPECT_DOUBLE_EQ(m.link("P").newFlow, second);
    EXPECT_DOUBLE_EQ(m.pipe("P").storage[0], (4.0 - first) * 180.0);
    EXPECT_DOUBLE_EQ(m.pipe("P").storage[1], (first - second) * 180.0);
}

// --- limits and settings -------------------------------------------------------------------------------------------

TEST(PipeLimit, FloodsWhatMayNotPass) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 0.5);
    EXPECT_EQ(m.pipe("P").newFlood, 6.0 * 30.0 / 90.0 - 0.5);
    EXPECT_EQ(testModel().totals.flow.floodingLoss, DT * 1.5);
    EXPECT_EQ(m.linkFlood("P").volume, DT * 1.5);
    EXPECT_EQ(m.linkFlood("P").maximum, 1.5);
    m.step();
    EXPECT_EQ(testModel().totals.flow.floodingLoss, 2.0 * DT * 1.5);  // floods on until the next firing
}

TEST(PipeLimit, ClosedSendsAllToFlood) {
    for (const char* limit : {"0", "0.5"}) {
        StartedProject m(getGeneral(60) + onePipe("60 1 0 " + std::string(limit)) +
                         "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
        ASSERT_EQ(tarnvelde_setSetting("P", 0.0), 0);
        m.step(2);
        EXPECT_EQ(m.link("P").newFlow, 0.0) << limit;
        EXPECT_EQ(m.pipe("P").newFlood, 2.0) << limit;
    }
}

TEST(PipeLimit, ShrinksWithTheSetting) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("P", 0.5), 0);
    m.step(2);
    const double out = 6.0 * 30.0 / 90.0, cap = 0.5 * 0.5;
    EXPECT_EQ(m.link("P").newFlow, cap);
    EXPECT_EQ(m.pipe("P").newFlood, out - cap);
}

TEST(PipeLimit, OfZeroIsNoneAtAnySettingButZero) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("P", 0.5), 0);
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 6.0 * 30.0 / 90.0);
    EXPECT_EQ(m.pipe("P").newFlood, 0.0);
}

TEST(PipeLimit, OfAHostHoldsBackWhatFlowedFreely) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW 6 \"\" 1\n");
    m.step(4);
    const double free = m.link("P").newFlow;
    ASSERT_GT(free, 0.5);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_PIPE, "P", 3, 0.5), 0);
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 0.5);
    EXPECT_GT(m.pipe("P").newFlood, free - 0.5);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_PIPE, "P", 3, 0.0), 0);
    m.step(4);
    EXPECT_EQ(m.pipe("P").newFlood, 0.0);
    ASSERT_EQ(tarnvelde_setSetting("P", 0.0), 0);
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, 0.0);
    EXPECT_GT(m.pipe("P").newFlood, free);
}

TEST(PipeLimit, LetsANegativeOutflowPass) {
    StartedProject m(getGeneral(60) + onePipe("60 1 0 0.5") + "[INFLOWS]\nA FLOW FLOW -6 \"\" 1\n");
    m.step(2);
    EXPECT_EQ(m.link("P").newFlow, -2.0);
    EXPECT_EQ(m.pipe("P").newFlood, 0.0);
    StartedProject closed(getGeneral(60) + onePipe("60 1 0 0") + "[INFLOWS]\nA FLOW FLOW -6 \"\" 1\n");
    ASSERT_EQ(tarnvelde_setSetting("P", 0.0), 0);
    closed.step(2);
    EXPECT_EQ(closed.pipe("P").newFlood, -2.0);
    EXPECT_EQ(testModel().totals.flow.floodingLoss, DT * -2.0);
}
