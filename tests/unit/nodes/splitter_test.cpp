// Splitters: their lines, and how each rule divides an inflow.

#include "nodes/splitter.h"

#include <gtest/gtest.h>

#include <string>

#include "nodes/inflows.h"
#include "support/lineerrors.h"
#include "support/model.h"
#include "support/pipes.h"

TEST(SplitterLines, AreRefused) {
    expectRefused("[SPLITTERS]", "B P1 FLOW", "ERROR 203: too few items ");
    expectRefused("[SPLITTERS]", "B P9 FLOW 1", "ERROR 209: undefined object P9 ");
    expectRefused("[SPLITTERS]", "B P1 FLOWS 1", "ERROR 205: invalid keyword FLOWS ");
    expectRefused("[SPLITTERS]", "B P1 FLOW -1", "ERROR 211: invalid number -1 ");
    expectRefused("[SPLITTERS]", "B P1 FLOW x", "ERROR 211: invalid number x ");
    expectRefused("[SPLITTERS]", "B P1 FLOW_RATIO 1", "ERROR 203: too few items ");
    expectRefused("[SPLITTERS]", "B P1 FLOW_RATIO x", "ERROR 211: invalid number x ");
    expectRefused("[SPLITTERS]", "B P1 FLOW_RATIO 1 y", "ERROR 211: invalid number y ");
}

TEST(SplitterLines, LimitRatios) {
    Project project(
        getGeneral(10) + NETWORK +
        "[SPLITTERS]\nB P2 RATIO 1.5 x\nC P3 FLOW_RATIO 5 2\nD P4 flow_ratio 5 -1\nE P5 FLOW 7 x\n[PIPES]\nP2 B OUT NO "
        "60 1 0 0\nP3 C OUT NO 60 1 0 0\nP4 D OUT NO 60 1 0 0\nP5 E OUT NO 60 1 0 0\nQ2 B OUT NO 60 1 0 0\nQ3 C OUT NO "
        "60 1 0 0\nQ4 D OUT NO 60 1 0 0\nQ5 E OUT NO 60 1 0 0\n");
    ASSERT_EQ(project.open(), 0) << project.getReport();
    EXPECT_EQ(testModel().splitters[0].value, 1.0);
    EXPECT_EQ(testModel().splitters[1].value, 5.0);
    EXPECT_EQ(testModel().splitters[1].ratio, 1.0);
    EXPECT_EQ(testModel().splitters[2].ratio, -1.0);  // a negative ratio passes
    EXPECT_EQ(testModel().splitters[3].ratio, 0.0);
}

// --- splitters -----------------------------------------------------------------------------------------------------

/// Flow to the first of a splitter's two links for an inflow.
static double split(const std::string& rule, double inflow) {
    StartedProject m(getGeneral(60) + "[SPLITTERS]\nS C1 " + rule +
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
    StartedProject m(getGeneral(60) + "[SPLITTERS]\nS C1 FLOW 3" + SPLIT_ENDS + "[INFLOWS]\nS FLOW FLOW 7 \"\" 1\n");
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 3.0);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_SPLITTER, "S", 2, 0.25), 0);
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 3.0 + (7.0 - 3.0) * 0.25);
    EXPECT_DOUBLE_EQ(m.node("O2").newInflow, (7.0 - 3.0) * 0.75);
}

TEST(Splitting, OfALoadWithoutWaterIsNoConcentration) {
    StartedProject m(getGeneral(60) + "[SPLITTERS]\nS C1 RATIO 0.25" + SPLIT_ENDS +
                     "[POLLUTANTS]\nX 0\n[INFLOWS]\nS MASS X 1 \"\" 1\n");
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
    StartedProject m(getGeneral(60) + SPLIT_BY_RATIO);
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
    StartedProject m(getGeneral(60) + SPLIT_BY_RATIO);
    m.step();
    testModel().splitters[0].mode = 7;
    m.node("S").extInflow->baseline = 8.0;
    m.step();
    EXPECT_DOUBLE_EQ(m.node("O1").newInflow, 1.0);
    EXPECT_DOUBLE_EQ(m.node("O2").newInflow, 7.0);
}
