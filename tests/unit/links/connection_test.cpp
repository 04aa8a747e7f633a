// Connections: their lines, their delay, and what they roll from step to step.

#include "links/connection.h"

#include <gtest/gtest.h>

#include <string>

#include "support/lineerrors.h"
#include "support/model.h"
#include "support/pipes.h"

TEST(ConnectionLines, AreRefused) {
    expectRefused("[CONNECTIONS]", "C A OUT NO", "ERROR 203: too few items ");
    expectRefused("[CONNECTIONS]", "C X OUT NO 0", "ERROR 209: undefined object X ");
    expectRefused("[CONNECTIONS]", "C A Y NO 0", "ERROR 209: undefined object Y ");
    expectRefused("[CONNECTIONS]", "C A OUT MAYBE 0", "ERROR 205: invalid keyword MAYBE ");
    expectRefused("[CONNECTIONS]", "C A OUT NO -5", "ERROR 211: invalid number NO ");  // names the word before
}

// --- connections ---------------------------------------------------------------------------------------------------

static const std::string PULSE =
    "[INFLOWS]\nA FLOW FLOW 0 S 1\nA CONCEN X 20 \"\" 1\n[POLLUTANTS]\nX 0\n"
    "[TIMESERIES]\nS 2021/03/01 0:00 0 0:01 0 0:02 6 0:03 0 0:04 0\n";

TEST(ConnectionDelay, OfZeroPassesAtOnce) {
    StartedProject m(getGeneral(60) + oneConnection("0") + PULSE);
    m.step(2);
    EXPECT_NEAR(m.node("OUT").newInflow, 6.0, 6.1 * MILLISECOND);
    EXPECT_EQ(m.node("OUT").newInflow, m.node("A").newInflow);
    EXPECT_NEAR(m.node("OUT").newQual[0], 20.0, 1e-12);
    m.step();
    EXPECT_EQ(m.node("OUT").newInflow, m.node("A").newInflow);
}

TEST(ConnectionDelay, OfWholeStepsShifts) {
    StartedProject m(getGeneral(60) + oneConnection("300") + PULSE);
    for (int step = 1; step <= 12; ++step) {
        m.step();
        EXPECT_NEAR(m.node("OUT").newInflow, step == 7 ? 6.0 : 0.0, 6.1 * MILLISECOND) << step;
        EXPECT_NEAR(m.node("OUT").massInflow[0], step == 7 ? 0.12 : 0.0, 0.122 * MILLISECOND) << step;
    }
}

TEST(ConnectionDelay, BetweenStepsInterpolates) {
    StartedProject m(getGeneral(60) + oneConnection("315") + PULSE);
    for (int step = 1; step <= 12; ++step) {
        m.step();
        const double expected = step == 7 ? 6.0 * 0.75 : step == 8 ? 6.0 * 0.25 : 0.0;
        EXPECT_NEAR(m.node("OUT").newInflow, expected, 6.1 * MILLISECOND) << step;
    }
}

TEST(ConnectionDelay, PastTheEndIsBookedAndNeverQueued) {
    // Ten steps: what enters in step k leaves at minute k + 5, so that of steps 1 to 5 leaves in time. The end of the
    // run, a date, may fall a second short of ten minutes, and then step 5 is late too.
    StartedProject m(getGeneral(10) + oneConnection("300") +
                     "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\nA CONCEN X 20 \"\" 1\n[POLLUTANTS]\nX 0\n");
    m.step(10);
    const int late = testModel().options.totalDuration >= 600000.0 ? 5 : 6;
    EXPECT_DOUBLE_EQ(testModel().totals.flow.delayedVolume, late * DT * 2.0);
    EXPECT_DOUBLE_EQ(testModel().totals.quality[0].delayedMass, late * DT * 2.0 * 20.0 / 1000.0);
}

TEST(ConnectionSetting, HasNoEffectOnTheFlow) {
    StartedProject m(getGeneral(60) + oneConnection("0") + "[INFLOWS]\nA FLOW FLOW 2 \"\" 1\n");
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
    StartedProject m(getGeneral(60) + text);
    m.step(3);
    EXPECT_EQ(testModel().connections[0].newInflow, 2.0);
    EXPECT_EQ(testModel().connections[0].oldInflow, 2.0);
    EXPECT_EQ(testModel().connections[1].newInflow, 2.0);
    EXPECT_EQ(testModel().connections[1].oldInflow, 0.0);
}
