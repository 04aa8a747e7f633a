// What is tested when all of a project is read.

#include "project/validation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "model/project.h"
#include "support/lineerrors.h"
#include "support/model.h"
#include "text/datetime.h"

// --- duration ------------------------------------------------------------------------------------------------------

TEST(Duration, NeedsAnEndBehindTheStart) {
    const OpenResult result = openProject(NETWORK);
    EXPECT_EQ(result.code, 171);
    EXPECT_EQ(result.report, "\n  \n  ERROR 171: simulation start date comes after ending date.");
}

TEST(Duration, IsTestedBehindTheReportStep) {
    const OpenResult result = openProject("[GENERAL]\nREPORT_STEP 0:00:04\n" + NETWORK);
    EXPECT_EQ(result.code, 171);
    EXPECT_EQ(result.report,
              "\n  \n  ERROR 173: reporting time step or duration is less than routing time step."
              "\n  \n  ERROR 171: simulation start date comes after ending date.");
}

TEST(Duration, NeedsAReportStepThatIsNotShorterThanTheRoutingStep) {
    EXPECT_EQ(getErrors("[GENERAL]\nREPORT_STEP 0:00:59\n", 173),
              "\n  \n  ERROR 173: reporting time step or duration is less than routing time step.");
    EXPECT_EQ(getErrors("[GENERAL]\nREPORT_STEP 0:01:00\n", 0), "");
}

TEST(Duration, IsTheFloorOfAProduct) {
    Project project(getGeneral(10) + NETWORK);
    ASSERT_EQ(project.open(), 0);
    // (10 min / 1440) as days, read as (0 * 60 + 10) * 60 / 86400, added to a day number and taken off again.
    const double start = 44256.0, end = 44256.0 + 600.0 / 86400.0;
    EXPECT_EQ(testModel().options.startDateTime, start);
    EXPECT_EQ(testModel().options.endDateTime, end);
    EXPECT_EQ(testModel().options.totalDuration, std::floor((end - start) * 86400.0) * 1000.0);
}

TEST(Duration, KeepsTheLastOfSeveralValues) {
    Project project(getGeneral(10) + NETWORK +
                    "[GENERAL]\nROUTING_STEP 0:00:30\n[RTC]\n[GENERAL]\nROUTING_STEP 0:00:20\n");
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().options.routingStep, 20);
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST(Validation, TellsWhereASeriesIsOutOfSequence) {
    EXPECT_EQ(getErrors("[TIMESERIES]\nT 2020/01/02 4:00 1 2020/01/02 3:04:05 2\n", 163),
              "\n  \n  ERROR 163: Time Series T has its data out of sequence. at 2020/01/02 03:04:05.");
}

TEST(Validation, TellsACurveOutOfSequence) {
    EXPECT_EQ(getErrors("[CURVES]\nC TANK 1 1 1 2\n", 161),
              "\n  \n  ERROR 161: Curve C has invalid or out of sequence data.");
}

TEST(Validation, TellsASeriesWithoutItsFile) {
    EXPECT_EQ(getErrors("[TIMESERIES]\nT FILE none.dat\n", 361),
              "\n  \n  ERROR 361: could not open external file used for Time Series T.");
}

TEST(Validation, TellsASeriesFileThatBeginsWithWords) {
    Project project(getGeneral(10) + NETWORK + "[TIMESERIES]\nT FILE head.dat\n");
    project.folder.write("head.dat", "head\n");
    EXPECT_EQ(project.open(), 363);
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), "\n  \n  ERROR 363: invalid data in external file used for Time Series T.");
}

TEST(Validation, TellsSplittersWithoutTheirTwoLinks) {
    const std::string count = "\n  \n  ERROR 157: there must be 2 links connected to Splitter B.";
    EXPECT_EQ(getErrors("[SPLITTERS]\nB P1 FLOW 1\n[CONNECTIONS]\nD B OUT NO 0\n", 157),
              "\n  \n  ERROR 155: the from node of Link P1 is not a splitter." + count);
    const std::string two = "[SPLITTERS]\nB D FLOW 1\n[CONNECTIONS]\nD B OUT NO 0\nE B OUT NO 0\n";
    EXPECT_EQ(getErrors(two, 0), "");
    EXPECT_EQ(getErrors(two + "F B A YES 0\n", 157), count);  // a lagged link counts too
}

TEST(Validation, TellsARunoffStepShorterThanTheRoutingStep) {
    EXPECT_EQ(getErrors("[GENERAL]\nRUNOFF_STEP 0:00:59\n", 179),
              "\n  \n  ERROR 179: runoff time step is less than routing time step.");
    EXPECT_EQ(getErrors("[GENERAL]\nRUNOFF_STEP 0:01:00\n", 0), "");
}

TEST(Validation, TellsPipesThatCantBeRouted) {
    const std::string node = "[JUNCTIONS]\nB\n[PIPES]\n";
    EXPECT_EQ(getErrors(node + "P2 B OUT NO 59 2 0.2 0\n", 181),
              "\n  \n  ERROR181: mustkingum K value of Pipe P2 is less than routing time step.");
    EXPECT_EQ(getErrors(node + "P2 B OUT NO 60 0 0.2 0\n", 503),
              "\n  \n  ERROR 503: muskingum N value of Pipe P2 must be larger than zero.");
}
