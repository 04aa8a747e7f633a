// The routing step: recycles and odd orders on small networks.

#include "routing/routing.h"

#include <gtest/gtest.h>

#include "nodes/inflows.h"
#include "routing/network.h"
#include "support/pipes.h"

// --- recycles and odd orders ---------------------------------------------------------------------------------------

TEST(LaggedLink, DeliversWhatItCarriedAStepBefore) {
    // A sends half of its water back to itself over B, one step late: 1, 1.5, 1.75, ...
    StartedProject m(
        getGeneral(60) +
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
    StartedProject m(
        getGeneral(60) +
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
    EXPECT_EQ(m.node("OUT").newInflow, m.node("D").newInflow);  // after D in the same step
}
