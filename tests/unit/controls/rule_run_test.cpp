// Control rules at work from step to step.

#include <gtest/gtest.h>

#include <string>

#include "controls/rule.h"
#include "model/errors.h"
#include "model/project.h"
#include "nodes/node.h"
#include "support/project.h"

/// Water of 0.5 m3/s runs from J through the splitter SP, which sends a quarter of it to A and the rest to B.
static std::string getNetwork(int steps) {
    return getGeneral(steps) +
           "[JUNCTIONS]\nJ\n[OUTFALLS]\nA\nB\n[SPLITTERS]\nSP CA RATIO 0.25\n[CONNECTIONS]\nC J SP NO 0\nCA SP A NO 0\n"
           "CB SP B NO 0\n[INFLOWS]\nJ FLOW FLOW 0.5 \"\" 1\n";
}

static const std::string RulesSection = "[CONTROL_RULES]\n";

static void stepOnce() {
    double elapsed;
    ASSERT_EQ(tarnvelde_step(&elapsed), 0);
}

TEST(RulesInARun, ConditionsSeeTheStepBefore) {
    Project project(getNetwork(5) + RulesSection + "RULE R\nIF JUNCTION J INFLOW > 0\nTHEN SPLITTER SP VALUE = 1\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    stepOnce();  // the inflow before the first step is 0
    EXPECT_EQ(project.node("A").newInflow, 0.125);
    EXPECT_EQ(project.node("B").newInflow, 0.375);
    stepOnce();
    EXPECT_EQ(project.node("A").newInflow, 0.5);
    EXPECT_EQ(project.node("B").newInflow, 0.0);
}

TEST(RulesInARun, SplitValueSurvivesIntoASecondRun) {
    Project project(getNetwork(5) + RulesSection + "RULE R\nIF JUNCTION J INFLOW > 0\nTHEN SPLITTER SP VALUE = 1\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(stepToEnd(), 0);
    tarnvelde_end();
    ASSERT_EQ(tarnvelde_start(0), 0);
    stepOnce();
    EXPECT_EQ(project.node("A").newInflow, 0.5);
}

TEST(RulesInARun, ValueOfTheHostHidesThatOfTheRule) {
    Project project(getNetwork(5) + RulesSection + "RULE R\nIF JUNCTION J INFLOW > 0\nTHEN SPLITTER SP VALUE = 1\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_setSplittedValue("SP", 0.5), 0);
    stepOnce();
    stepOnce();
    EXPECT_EQ(project.node("SP").newInflow, 0.5);
    EXPECT_EQ(project.node("A").newInflow, 0.25);
}

TEST(RulesInARun, RatioMayExceedOne) {
    Project project(getNetwork(5) + RulesSection + "RULE R\nIF JUNCTION J INFLOW = 0\nTHEN SPLITTER SP VALUE = 3\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    stepOnce();
    EXPECT_EQ(project.node("A").newInflow, 1.5);
    EXPECT_EQ(project.node("B").newInflow, -1.0);
}

TEST(RulesInARun, EventIsAskedAMomentBehindTheOldClock) {
    // Samples of 10 minutes rain at 1:00 and 1:10 and are dry from 1:20 on. Dry time of 30 minutes is full after 1:40,
    // so that the sample of 1:50 ends the event, at 1:50 less the dry time and one sample.
    const int first = 60, last = 110 - 30 - 10;  // min
    Project project(getNetwork(180) +
                    "[GENERAL]\nEVENT_INTERVAL 30\nEVENT_MIN_VALUE 0\n[RAINGAGES]\nG INTENSITY 0:10 T\n[TIMESERIES]\n"
                    "T 2021/03/01 0:00 0 0:50 0 1:00 5 1:10 5 1:20 0 3:00 0\n" +
                    RulesSection +
                    "RULE R\nIF GAGE G EVENT = IN\nTHEN SPLITTER SP VALUE = 0.25\nELSE SPLITTER SP VALUE = 0.75\n");
    ASSERT_EQ(project.open(), 0) << project.getReport();
    ASSERT_EQ(tarnvelde_start(0), 0);
    for (int step = 1; step <= 180; ++step) {
        stepOnce();
        // A step looks at the clock as it was before, and a millisecond later: at the first minute of the event that is
        // within it, at the last one no longer.
        const int minute = step - 1;
        const bool isIn = first <= minute && minute < last;
        EXPECT_EQ(project.node("A").newInflow, 0.5 * (isIn ? 0.25 : 0.75)) << step;
    }
}

/// The network above with a series of concentrations, 1 mg/L more in each minute from the first on.
static std::string getStained(const std::string& rules) {
    return getNetwork(6) +
           "J CONCEN B 0 RISE 1\n[POLLUTANTS]\nA 0\nB 0\n[TIMESERIES]\nRISE 0:00 0 0:10 10\n[SENSORS]\n" +
           "JUNCTION J B\njunction j a\nSPLITTER SP B\nCONNECTION C B\nOUTFALL B B\n" + RulesSection + rules;
}

TEST(RulesInARun, PollutantIsThatOfTheStepBefore) {
    for (const char* place : {"JUNCTION J", "SPLITTER SP", "CONNECTION C"}) {
        Project project(getStained("RULE R\nIF " + std::string(place) + " b > 1.5\nTHEN SPLITTER SP VALUE = 1\n"));
        ASSERT_EQ(project.open(), 0) << project.readReport();
        ASSERT_EQ(tarnvelde_start(0), 0);
        for (const double share : {0.25, 0.25, 1.0}) {  // 2 mg/L in the second minute
            stepOnce();
            EXPECT_EQ(project.node("A").newInflow, 0.5 * share) << place;
        }
        tarnvelde_end();
    }
}

TEST(RulesInARun, PollutantsOfTwoPlacesAreCompared) {
    Project project(getStained("RULE R\nIF JUNCTION J B > JUNCTION J A\nTHEN SPLITTER SP VALUE = 1\n"));
    EXPECT_EQ(project.open(), 200);  // A and B are two attributes
    EXPECT_NE(project.readReport().find("ERROR 219"), std::string::npos);
    Project good(getStained("RULE R\nIF JUNCTION J B >= OUTFALL B B\nTHEN SPLITTER SP VALUE = 1\n"));
    ASSERT_EQ(good.open(), 0) << good.readReport();
    ASSERT_EQ(tarnvelde_start(0), 0);
    stepOnce();
    EXPECT_EQ(good.node("A").newInflow, 0.5);
}

TEST(RulesInARun, PollutantIsNoneOfAGageNorOneThatIsUnknown) {
    for (const char* condition : {"GAGE G B = 1", "JUNCTION J C > 1", "SWMM B > 1", "SPLITTER SP A > 1"}) {
        Project project(getStained("RULE R\nIF " + std::string(condition) + "\nTHEN SPLITTER SP VALUE = 1\n") +
                        "[RAINGAGES]\nG INTENSITY 0:01 RISE\n");
        EXPECT_EQ(project.open(), 200);
        EXPECT_NE(project.readReport().find("ERROR 205"), std::string::npos) << condition << project.readReport();
    }
}
