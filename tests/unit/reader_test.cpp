// The reader as a whole: what a project file leaves in the report, byte for byte, and the public code.

#include "project/reader.h"
#include "nodes/splitter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <tuple>

#include "hydrology/evap.h"
#include "links/pipe.h"
#include "model/arena.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "nodes/inflows.h"
#include "nodes/node.h"
#include "project/sections.h"
#include "project/validation.h"
#include "support/readererrors.h"
#include "text/datetime.h"

// --- sections ------------------------------------------------------------------------------------------------------

TEST(Sections, HaveTheirNumbersAndNames) {
    std::istringstream names(
        "[DESCRIPTION] [GENERAL] [RAINGAGES] [EVAPORATION] [SUBCATCHS] [JUNCTIONS] [TANKS] [OUTFALLS] "
        "[SPLITTERS] [INFLOWS] [DWFS] [PIPES] [PUMPS] [CONNECTIONS] [CONDUITS] [WEIRS] [ORIFICES] "
        "[CONTROL_RULES] [SWMM_INPS] [REACTORS] [REACTORS_DECAY] [REACTORS_EMPTYING] [POLLUTANTS] "
        "[DECAY_COEFFICIENT] [INITIAL_CONCENTRATION] [LANDUSES] [COVERAGES] [BUILDUP] [WASHOFF] [LOADINGS] "
        "[LIDS] [LID_GROUPS] [LID_MONOS] [VORN_INPS] [CURVES] [TIMESERIES] [PATTERNS] [CONVERTERS] [RTC] "
        "[GA_OBJECTIVES] [GA_CONSTRAINS] [GA_PARAMETERS] [GA_VARIABLES] [LABELS] [ELEMENTS] [EDGES] [GRAPH] "
        "[MAP] [LEGEND]");
    EXPECT_EQ(SECTION_COUNT, 49);
    EXPECT_EQ(sections_find("[description]"), 0);
    EXPECT_EQ(sections_find("[GENERAL]"), 1);
    EXPECT_EQ(sections_find("[Pipes]"), 11);
    EXPECT_EQ(sections_find("[LEGEND]"), 48);
    EXPECT_EQ(sections_find("[PIPE]"), -1);
    EXPECT_EQ(sections_find("PIPES"), -1);
    for (int32_t k = 0; k < SECTION_COUNT; ++k) {
        std::string name;
        names >> name;
        EXPECT_EQ(Sections[k].name, name);
        EXPECT_EQ(sections_find(name.c_str()), k);
    }
}

TEST(Sections, OfHostsAreSkipped) {
    std::string text;
    for (int32_t k = SECTION_RTC; k < SECTION_COUNT; ++k) {
        text += std::string(Sections[k].name) + "\nwhatever stands here 1 2 3\nagain\n";
    }
    EXPECT_EQ(getErrors(text, 0), "");
}

TEST(Sections, MayComeTwiceAndWithTrailingText) {
    EXPECT_EQ(getErrors("[JUNCTIONS] more junctions\nB\n[pipes]\nP2 B OUT NO 60 1 0 0\n", 0), "");
}

// --- first pass ----------------------------------------------------------------------------------------------------

TEST(FirstPass, IgnoresLinesBeforeTheFirstHeader) {
    const OpenResult result = openProject("text\n more text // tail\n" + getGeneral(10) + NETWORK);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.report, "\n  text \n   more text // tail \n  ");
}

TEST(FirstPass, TellsAnUnknownHeaderAndEveryLineBehindIt) {
    const OpenResult result = openProject("[NONE] x\na b\n// comment\n\n /c\nlast\n" + getGeneral(10) + NETWORK);
    EXPECT_EQ(result.code, 200);
    const std::string message = "\n  \n  ERROR 205: invalid keyword  at line ";
    EXPECT_EQ(result.report, message + "1 of input file:\n  [NONE] x\n" + message + "2 of input file:\n  a b\n" +
                                 message + "6 of input file:\n  last\n");
}

TEST(FirstPass, ShowsTheNameOfTheErrorBeforeForAnUnknownHeader) {
    EXPECT_EQ(getErrors("[JUNCTIONS]\nA\n[NONE]\n"),
              lineError("ERROR 207: duplicate ID name A ", LINES_BEFORE + 2, "[JUNCTIONS]", "A\n") +
                  "\n  \n  ERROR 205: invalid keyword A at line 23 of input file:\n  [NONE]\n");
}

TEST(FirstPass, RefusesASecondIdOfAClassWhateverItsKindAndCase) {
    EXPECT_EQ(getErrors("[SPLITTERS]\nout P1 FLOW 1\n"),
              lineError("ERROR 207: duplicate ID name out ", LINES_BEFORE + 2, "[SPLITTERS]", "out P1 FLOW 1\n"));
}

TEST(FirstPass, ShowsOnlyTheFirstWordOfABadOption) {
    const OpenResult result = openProject("[GENERAL]\n  ROUTING_STEP abc def\n\"END_DATE\" x\nEND_DATE\nRTC // x\n");
    EXPECT_EQ(result.code, 200);
    // The line is cut up as it is read, so its end is lost and the next text follows directly.
    EXPECT_EQ(result.report, lineError("ERROR 213: invalid date/time abc ", 2, "[GENERAL]", "  ROUTING_STEP") +
                                 lineError("ERROR 213: invalid date/time x ", 3, "[GENERAL]", "\"END_DATE"));
}

TEST(FirstPass, StopsTheSecondOne) {
    const std::string report = getErrors("[JUNCTIONS]\nA\n[PIPES]\nbad\n");
    EXPECT_EQ(report, lineError("ERROR 207: duplicate ID name A ", LINES_BEFORE + 2, "[JUNCTIONS]", "A\n"));
}

TEST(FirstPass, StopsAtTheHundredthError) {
    std::string text = "[JUNCTIONS]\n";
    std::string expected;
    for (int k = 1; k <= 150; ++k) {
        text += "A\n";
        if (k <= 100) {
            expected += lineError("ERROR 207: duplicate ID name A ", LINES_BEFORE + 1 + k, "[JUNCTIONS]", "A\n");
        }
    }
    EXPECT_EQ(getErrors(text), expected);
}

TEST(FirstPass, CountsPiecesOfLongLinesAsLines) {
    // 1023 characters, then the rest: in the first pass a line of its own, and an unknown header repeats its error.
    const std::string line = std::string(1023, 'x') + "REST\n";
    const OpenResult result = openProject("[NONE]\n" + line + getGeneral(10) + NETWORK);
    const std::string message = "\n  \n  ERROR 205: invalid keyword  at line ";
    EXPECT_EQ(result.report, message + "1 of input file:\n  [NONE]\n" + message + "2 of input file:\n  " +
                                 std::string(1023, 'x') + message + "3 of input file:\n  REST\n");
}

// --- second pass ---------------------------------------------------------------------------------------------------

TEST(SecondPass, GoesOnBehindAnError) {
    EXPECT_EQ(getErrors("[DWFS]\nX FLOW 1 \"\"\nA FLOW 1 \"\"\nA NOX 1 \"\"\n"),
              lineError("ERROR 209: undefined object X ", LINES_BEFORE + 2, "[DWFS]", "X FLOW 1 \"\"\n") +
                  lineError("ERROR 209: undefined object NOX ", LINES_BEFORE + 4, "[DWFS]", "A NOX 1 \"\"\n"));
}

TEST(SecondPass, StopsAtTheHundredAndFirstError) {
    std::string text = "[DWFS]\n";
    std::string expected;
    for (int k = 1; k <= 150; ++k) {
        text += "X FLOW 1 \"\"\n";
        if (k <= 100) {
            expected += lineError("ERROR 209: undefined object X ", LINES_BEFORE + 1 + k, "[DWFS]", "X FLOW 1 \"\"\n");
        }
    }
    EXPECT_EQ(getErrors(text), expected + "\n  \n  Maximum error count exceeded.");
}

TEST(SecondPass, TellsAnUnknownHeaderBehindAHundredErrors) {
    std::string text = "[DWFS]\n";
    std::string expected;
    for (int k = 1; k <= 100; ++k) {
        text += "X FLOW 1 \"\"\n";
        expected += lineError("ERROR 209: undefined object X ", LINES_BEFORE + 1 + k, "[DWFS]", "X FLOW 1 \"\"\n");
    }
    EXPECT_EQ(getErrors(text + "\"[NONE]\" x\n"), expected + lineError("ERROR 205: invalid keyword [NONE] ",
                                                                       LINES_BEFORE + 102, "[DWFS]", "\"[NONE]\" x\n"));
}

TEST(SecondPass, ReadsLongLinesInPieces) {
    // The first piece ends with the 1023rd character: 1020 blanks and three more.
    const std::string blanks(1020, ' ');
    EXPECT_EQ(getErrors("[DWFS]\n" + blanks + "X FLOW 1 H\n"),
              lineError("ERROR 203: too few items ", LINES_BEFORE + 2, "[DWFS]", blanks + "X F") +
                  lineError("ERROR 203: too few items ", LINES_BEFORE + 3, "[DWFS]", "LOW 1 H\n"));
    // Two characters of the comment are left for the second piece, and no mark stands before them.
    EXPECT_EQ(getErrors("[CONNECTIONS]\n// " + std::string(1022, 'c') + "\n"),
              lineError("ERROR 203: too few items ", LINES_BEFORE + 3, "[CONNECTIONS]", "cc\n"));
}

TEST(SecondPass, TakesASemicolonAsData) {
    ProjectFile project(getGeneral(10) + NETWORK + "[OUTFALLS]\n;;Name\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_findObject(1, ";;Name"), 2);  // behind A and OUT
}

TEST(SecondPass, MissesALineThatQuotesHidFromTheFirst) {
    // In quotes the slash is a name for the first pass and a comment for the second.
    EXPECT_EQ(getErrors("[JUNCTIONS]\n\"/x\"\n"), "\n  \n  ERROR 217: invalid input line ");
}

TEST(SecondPass, PutsTheLinesOfOneNameTogether) {
    ProjectFile project(getGeneral(10) +
                        "[OUTFALLS]\nOUT\n[CURVES]\nC TANK 0 1\nc 1 2 2 3\n[TIMESERIES]\nT 0 1 1 2\nt 2 3 3 4\n"
                        "[PATTERNS]\nP HOURLY 1 2\nP 3\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(ObjectCount[CURVE], 1);
    EXPECT_EQ(ObjectCount[TSERIES], 1);
    EXPECT_EQ(ObjectCount[PATTERN], 1);
    ASSERT_EQ(Curves.size(), 1);
    ASSERT_EQ(TimeSeries.size(), 1);
    ASSERT_EQ(Patterns.size(), 1);
    EXPECT_EQ(Curves[0].entries.size(), 3u);
    EXPECT_EQ(TimeSeries[0].entries.size(), 4u);
    EXPECT_EQ(Patterns[0].count, 3);
}

TEST(SecondPass, LosesAnIdInQuotes) {
    EXPECT_EQ(getErrors("[JUNCTIONS]\n\"B C\"\n"),
              lineError("ERROR 209: undefined object B C ", LINES_BEFORE + 2, "[JUNCTIONS]", "\"B C\"\n"));
}

TEST(SecondPass, LosesAnIdThatTouchesAComment) {
    expectRefused("[JUNCTIONS]", "J1//x", "ERROR 209: undefined object J1 ");
}

TEST(SecondPass, StopsAtAnUnknownHeaderInQuotes) {
    EXPECT_EQ(getErrors("[DWFS]\n\"[NONE]\" x\nX FLOW 1 \"\"\n"),
              lineError("ERROR 205: invalid keyword [NONE] ", LINES_BEFORE + 2, "[DWFS]", "\"[NONE]\" x\n"));
}

TEST(SecondPass, RefusesALineThatTheFirstPassDidNotCount) {
    // In quotes the header is data for the first pass: an inflow line. The second pass then finds a junction too many.
    EXPECT_EQ(getErrors("[INFLOWS]\n\"[JUNCTIONS]\"\nB\n"),
              lineError("ERROR 207: duplicate ID name B ", LINES_BEFORE + 3, "[JUNCTIONS]", "B\n"));
}

TEST(SecondPass, TellsThatALineIsMissing) {
    // The first pass counts a junction whose line the second pass reads as an inflow's, by a header in quotes.
    EXPECT_EQ(getErrors("[JUNCTIONS]\n\"[LABELS]\"\nB\n"), "\n  \n  ERROR 217: invalid input line ");
}

TEST(SecondPass, KeepsTenLinesOfDescription) {
    std::string text = "[DESCRIPTION]\n\n", expected;
    for (int k = 1; k <= 12; ++k) {
        text += "line " + std::to_string(k) + " // tail\n// comment\n";
        expected += k <= 10 ? "\n  line " + std::to_string(k) + " // tail " : "";
    }
    const OpenResult result = openProject(text + getGeneral(10) + NETWORK);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.report, expected + "\n  ");
}

TEST(SecondPass, NeverTakesADescriptionAsFormat) {
    const OpenResult result = openProject("%s %n %d\n" + getGeneral(10) + NETWORK);
    EXPECT_EQ(result.report, "\n  %s %n %d \n  ");
}

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
    ProjectFile project(getGeneral(10) + NETWORK);
    ASSERT_EQ(project.open(), 0);
    // (10 min / 1440) as days, read as (0 * 60 + 10) * 60 / 86400, added to a day number and taken off again.
    const double start = 44256.0, end = 44256.0 + 600.0 / 86400.0;
    EXPECT_EQ(StartDateTime, start);
    EXPECT_EQ(EndDateTime, end);
    EXPECT_EQ(TotalDuration, std::floor((end - start) * 86400.0) * 1000.0);
}

TEST(Duration, KeepsTheLastOfSeveralValues) {
    ProjectFile project(getGeneral(10) + NETWORK +
                        "[GENERAL]\nROUTING_STEP 0:00:30\n[RTC]\n[GENERAL]\nROUTING_STEP 0:00:20\n");
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(RoutingStep, 20);
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST(Validation, TellsWhereASeriesIsOutOfSequence) {
    EXPECT_EQ(getErrors("[TIMESERIES]\nT 2020/01/02 4:00 1 2020/01/02 3:04:05 2\n", 163),
              "\n  \n  ERROR 163: Time Series T has its data out of sequence. at 2020/01/02 03:04:05.");
}

TEST(Validation, WritesThePlaceInTheFormOfDates) {
    ProjectFile project(getGeneral(10) + NETWORK + "[TIMESERIES]\nT 2020/01/02 4:00 1 2020/01/02 3:04:05 2\n");
    EXPECT_EQ(project.open(), 163);
    for (const int32_t format : {1, 2}) {
        DateFormat = format;
        validation_run();
    }
    DateFormat = 0;
    tarnvelde_close();
    const std::string message = "\n  \n  ERROR 163: Time Series T has its data out of sequence. at ";
    EXPECT_EQ(project.getReport(),
              message + "2020/01/02 03:04:05." + message + "01/02/2020 03:04:05." + message + "02/ 1/2020 03:04:05.");
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
    ProjectFile project(getGeneral(10) + NETWORK + "[TIMESERIES]\nT FILE head.dat\n");
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

// --- lines of single sections --------------------------------------------------------------------------------------

TEST(JunctionLines, NeedNothingButAnId) {
    EXPECT_EQ(getErrors("[JUNCTIONS]\nB words behind\n[PIPES]\nP2 B OUT NO 60 1 0 0\n", 0), "");
}

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
    ProjectFile project(
        getGeneral(10) + NETWORK +
        "[SPLITTERS]\nB P2 RATIO 1.5 x\nC P3 FLOW_RATIO 5 2\nD P4 flow_ratio 5 -1\nE P5 FLOW 7 x\n[PIPES]\nP2 B OUT NO "
        "60 1 0 0\nP3 C OUT NO 60 1 0 0\nP4 D OUT NO 60 1 0 0\nP5 E OUT NO 60 1 0 0\nQ2 B OUT NO 60 1 0 0\nQ3 C OUT NO "
        "60 1 0 0\nQ4 D OUT NO 60 1 0 0\nQ5 E OUT NO 60 1 0 0\n");
    ASSERT_EQ(project.open(), 0) << project.getReport();
    EXPECT_EQ(Splitters[0].value, 1.0);
    EXPECT_EQ(Splitters[1].value, 5.0);
    EXPECT_EQ(Splitters[1].ratio, 1.0);
    EXPECT_EQ(Splitters[2].ratio, -1.0);  // a negative ratio passes
    EXPECT_EQ(Splitters[3].ratio, 0.0);
}

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
    ProjectFile project(getGeneral(10) + "[OUTFALLS]\nOUT\n[JUNCTIONS]\nA\n[PIPES]\nP1 A OUT yes 60 2.9 0.2 0.5\n");
    project.open();
    EXPECT_EQ(Pipes[0].n, 2);
    EXPECT_EQ(Pipes[0].maxFlow, 0.5);
    EXPECT_EQ(Links[0].isLagged, 1);
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

TEST(ConnectionLines, AreRefused) {
    expectRefused("[CONNECTIONS]", "C A OUT NO", "ERROR 203: too few items ");
    expectRefused("[CONNECTIONS]", "C X OUT NO 0", "ERROR 209: undefined object X ");
    expectRefused("[CONNECTIONS]", "C A Y NO 0", "ERROR 209: undefined object Y ");
    expectRefused("[CONNECTIONS]", "C A OUT MAYBE 0", "ERROR 205: invalid keyword MAYBE ");
    expectRefused("[CONNECTIONS]", "C A OUT NO -5", "ERROR 211: invalid number NO ");  // names the word before
}

TEST(PollutantLines, AreRefused) {
    expectRefused("[POLLUTANTS]", "P", "ERROR 203: too few items ");
    expectRefused("[POLLUTANTS]", "P -1", "ERROR 211: invalid number -1 ");
    expectRefused("[POLLUTANTS]", "P x", "ERROR 211: invalid number x ");
}

TEST(InflowLines, AreRefused) {
    expectRefused("[INFLOWS]", "A FLOW FLOW 1", "ERROR 203: too few items ");
    expectRefused("[INFLOWS]", "X FLOW FLOW 1 \"\" 1", "ERROR 209: undefined object X ");
    expectRefused("[INFLOWS]", "X FLOWS FLOW x NONE", "ERROR 209: undefined object X ");
    expectRefused("[INFLOWS]", "A FLOWS FLOW 1 \"\" 1", "ERROR 205: invalid keyword FLOWS ");
    expectRefused("[INFLOWS]", "A FLOW flow 1 \"\" 1", "ERROR 205: invalid keyword flow ");
    expectRefused("[INFLOWS]", "A CONCEN FLOW 1 \"\" 1", "ERROR 209: undefined object FLOW ");
    expectRefused("[INFLOWS]", "A MASS \"\" 1 \"\" 1", "ERROR 209: undefined object  ");
    expectRefused("[INFLOWS]", "A FLOW FLOW x NONE", "ERROR 211: invalid number x ");
    expectRefused("[INFLOWS]", "A FLOW FLOW 1 NONE", "ERROR 209: undefined object NONE ");
    expectRefused("[INFLOWS]", "A FLOW FLOW 1 S", "ERROR 203: too few items ");
    expectRefused("[INFLOWS]", "A FLOW FLOW 1 S x", "ERROR 211: invalid number x ");
}

TEST(DryWeatherLines, AreRefused) {
    expectRefused("[DWFS]", "A FLOW 1", "ERROR 203: too few items ");
    expectRefused("[DWFS]", "X FLOW 1 H", "ERROR 209: undefined object X ");
    expectRefused("[DWFS]", "A flow 1 H", "ERROR 209: undefined object flow ");
    expectRefused("[DWFS]", "A \"\" 1 \"\"", "ERROR 209: undefined object  ");
    expectRefused("[DWFS]", "A FLOW x H", "ERROR 211: invalid number x ");
    expectRefused("[DWFS]", "A FLOW 1 NONE", "ERROR 209: undefined object NONE ");
}

TEST(DryWeatherLines, NeedAnHourlyPattern) {
    EXPECT_EQ(getErrors("[PATTERNS]\nM MONTHLY 1\n[DWFS]\nA FLOW 1 M\nA COD 1 M\n", 507),
              "\n  \n  ERROR 507: Pattern M of dry weather inflow must be an hourly type."
              "\n  \n  ERROR 507: Pattern M of dry weather inflow must be an hourly type.");
}

TEST(DecayLines, AreRefused) {
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST 1", "ERROR 203: too few items ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 PIPE COD FIRST 1 \"\"", "ERROR 205: invalid keyword PIPE ");
    expectRefused("[DECAY_COEFFICIENT]", "P9 LINK COD FIRST 1 \"\"", "ERROR 209: undefined object P9 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK X FIRST 1 \"\"", "ERROR 209: undefined object X ");
    expectRefused("[DECAY_COEFFICIENT]", "p1 LINK COD ZERO 1 \"\"", "ERROR 800: not FIRST decay type for object p1 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD THIRD 1 \"\"", "ERROR 800: not FIRST decay type for object P1 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST -1x \"\"", "ERROR 211: invalid number -1x ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK X ZERO -1x NONE", "ERROR 209: undefined object X ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD ZERO -1x NONE", "ERROR 800: not FIRST decay type for object P1 ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST -1x NONE", "ERROR 211: invalid number -1x ");
    expectRefused("[DECAY_COEFFICIENT]", "P1 LINK COD FIRST 1 NONE", "ERROR 209: undefined object NONE ");
    expectRefused("[DECAY_COEFFICIENT]", "A NODE COD FIRST 1 \"\"", "ERROR 209: undefined object A ");
}

TEST(DecayLines, TakeWordsAsZeroAndNegativeNumbersAsTheyAre) {
    ProjectFile project(getGeneral(10) + NETWORK +
                        "[DECAY_COEFFICIENT]\nP1 LINK TSS first word H\nP1 link COD FIRST -8.64 \"\"\n");
    ASSERT_EQ(project.open(), 0);
    const Decay* decay = Pipes[0].decay;
    EXPECT_EQ(decay[1].type, FIRST_ORDER);
    EXPECT_EQ(decay[1].k, 0.0);
    EXPECT_EQ(decay[1].pattern, 0);
    EXPECT_EQ(decay[0].k, -8.64 / 86400.0);
    EXPECT_EQ(decay[0].pattern, -1);
}

TEST(DecayLines, LeaveTheSecondPollutantAtZeroWithoutOne) {
    ProjectFile project(getGeneral(10) + NETWORK);
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(Pipes[0].decay[0].type, -1);
    EXPECT_EQ(Pipes[0].decay[0].pattern, -1);
    EXPECT_EQ(Pipes[0].decay[1].type, 0);
    EXPECT_EQ(Pipes[0].decay[1].pattern, 0);
}

TEST(DecayLines, AreDroppedForLinksWithoutWater) {
    EXPECT_EQ(getErrors("[JUNCTIONS]\nB\n[CONNECTIONS]\nC B OUT NO 0\n[DECAY_COEFFICIENT]\nC LINK X Y Z Q\n", 0), "");
}

TEST(DecayLines, AreDroppedAheadOfTheirPipe) {
    ProjectFile project(
        "[POLLUTANTS]\nCOD 0\n[DECAY_COEFFICIENT]\nP1 LINK COD FIRST 1 \"\"\n[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\n"
        "P1 A OUT NO 60 1 0 0\n" +
        getGeneral(5));
    ASSERT_EQ(project.open(), 0);
    EXPECT_EQ(Pipes[0].decay[0].type, -1);
}

TEST(ConcentrationLines, AreDroppedForNodesWithoutStorage) {
    EXPECT_EQ(getErrors("[INITIAL_CONCENTRATION]\nA x NOTHING -x\n", 0), "");
    expectRefused("[INITIAL_CONCENTRATION]", "A x COD", "ERROR 203: too few items ");
    expectRefused("[INITIAL_CONCENTRATION]", "X x COD 1", "ERROR 209: undefined object X ");
}

TEST(EvaporationLines, AreRefused) {
    expectRefused("[EVAPORATION]", "DAILY 1", "ERROR 205: invalid keyword DAILY ");
    expectRefused("[EVAPORATION]", "CONSTANT", "ERROR 203: too few items ");
    expectRefused("[EVAPORATION]", "CONSTANT x", "ERROR 211: invalid number x ");
    expectRefused("[EVAPORATION]", "MONTHLY 1 2 3 4 5 6 7 8 9 10 11", "ERROR 203: too few items ");
    expectRefused("[EVAPORATION]", "MONTHLY 1 2 3 4 5 6 7 8 9 10 11 y", "ERROR 211: invalid number y ");
}

TEST(EvaporationLines, MayBeGoodOnce) {
    EXPECT_EQ(getErrors("[EVAPORATION]\nCONSTANT x\nCONSTANT -1\nMONTHLY\n"),
              lineError("ERROR 211: invalid number x ", LINES_BEFORE + 2, "[EVAPORATION]", "CONSTANT x\n") +
                  lineError("ERROR 217: invalid input line ", LINES_BEFORE + 4, "[EVAPORATION]", "MONTHLY\n"));
    EXPECT_EQ(Evap.constant, -1.0);
}

TEST(EvaporationLines, AreTestedForTheirWordBeforeTheyAreASecondOne) {
    EXPECT_EQ(getErrors("[EVAPORATION]\nCONSTANT 1\nDAILY 2\n"),
              lineError("ERROR 205: invalid keyword DAILY ", LINES_BEFORE + 3, "[EVAPORATION]", "DAILY 2\n"));
}

TEST(RuleLines, NeedARuleFirst) {
    expectRefused("[CONTROL_RULES]", "IF", "ERROR 203: too few items ");
    expectRefused("[CONTROL_RULES]", "IF NODE A", "ERROR 215: control rule clause invalid or out of sequence ");
    expectRefused("[CONTROL_RULES]", "WHILE NODE A", "ERROR 215: control rule clause invalid or out of sequence ");
}

TEST(RuleLines, RefuseASecondRuleOfAName) {
    EXPECT_EQ(getErrors("[CONTROL_RULES]\nRULE \"\"\nrule \"\"\n"),
              lineError("ERROR 207: duplicate ID name  ", LINES_BEFORE + 3, "[CONTROL_RULES]", "rule \"\"\n"));
}

TEST(RuleLines, InQuotesWereNeverCounted) {
    expectRefused("[CONTROL_RULES]", "\"RULE\" R", "ERROR 207: duplicate ID name RULE ");
}

TEST(RuleLines, CompareTheSameAttribute) {
    EXPECT_EQ(getErrors("[CONTROL_RULES]\nRULE R\nIF JUNCTION A INFLOW > PIPE P1 FLOW\n"),
              lineError("ERROR 219: mismatched control rule attribute ", LINES_BEFORE + 3, "[CONTROL_RULES]",
                        "IF JUNCTION A INFLOW > PIPE P1 FLOW\n"));
}

TEST(CoupledRecords, NeedANodeFirst) {
    expectRefused("[SWMM_INPS]", "INFLOW", "ERROR 217: invalid input line ");
    expectRefused("[SWMM_INPS]", "outflow a b", "ERROR 217: invalid input line ");
    expectRefused("[VORN_INPS]", "INFLUENT", "ERROR 217: invalid input line ");
    expectRefused("[VORN_INPS]", "EFFLUENT x", "ERROR 217: invalid input line ");
}

TEST(CoupledNodes, MayNotTakeTheNameOfAnotherNode) {
    expectRefused("[SWMM_INPS]", "A NO m.inp", "ERROR 207: duplicate ID name A ");
}

// --- hostile files -------------------------------------------------------------------------------------------------

TEST(HostileFiles, AreAnsweredWithACode) {
    EXPECT_EQ(openProject("").code, 171);
    EXPECT_EQ(openProject(std::string(5000, '\0')).code, 171);
    EXPECT_EQ(openProject("\xFF\xFE\x01[GENERAL]\x80").code, 171);
    EXPECT_EQ(openProject(std::string(3000000, 'x')).code, 171);
    EXPECT_EQ(openProject("[JUNCTIONS]\n" + std::string(100000, '"')).code, 200);
    EXPECT_EQ(openProject("[JUNCTIONS]\n" + std::string(100000, '[')).code, 200);
}

TEST(HostileFiles, MayHoldANulByteInALine) {
    const std::string text = getGeneral(10) + "[JUNCTIONS]\n" + std::string("A\0 hidden\n", 10) +
                             "[OUTFALLS]\nOUT\n[PIPES]\nP A OUT NO 60 1 0 0\n";
    EXPECT_EQ(openProject(text).code, 0);
}

TEST(HostileFiles, ReadTheSameWithCarriageReturns) {
    std::string text = getGeneral(10) + NETWORK + "[DWFS]\nX FLOW 1 \"\"\n";
    const OpenResult plain = openProject(text);
    for (size_t k = 0; (k = text.find('\n', k)) != std::string::npos; k += 2) {
        text.replace(k, 1, "\r\n");
    }
    EXPECT_EQ(openProject(text).report, plain.report);
}

TEST(HostileFiles, EndAtByte1A) {
    EXPECT_EQ(openProject(getGeneral(10) + NETWORK + "\x1A[NONE]\nx\n").code, 0);
}

TEST(HostileFiles, GetAMemoryErrorWhereverMemoryFails) {
    for (int k = 1; k < 40; ++k) {
        arena_failAfter(k);
        ProjectFile project(getGeneral(10) + NETWORK + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n[DWFS]\nA FLOW 1 H\n");
        const int32_t opened = project.open();
        EXPECT_TRUE(opened == 0 || opened == 101 || opened == 200) << k << ": " << opened;
        if (opened == 0) {
            const int32_t started = tarnvelde_start(0);
            EXPECT_TRUE(started == 0 || started == 101) << k;
            double elapsed = -1.0;
            EXPECT_EQ(tarnvelde_step(&elapsed), started) << k;
            tarnvelde_report();
            tarnvelde_end();
        }
        tarnvelde_close();
        arena_failAfter(0);
        if (opened == 200) {
            EXPECT_EQ(project.getReport().rfind("\n  \n  ERROR 101: memory allocation error.at line ", 0), 0u) << k;
        }
    }
}

TEST(HostileFiles, TellTheLineWhoseNameFoundNoMemory) {
    const std::tuple<int, const char*, const char*> names[] = {{2, "[JUNCTIONS]", "A\n"},
                                                               {4, "[OUTFALLS]", "OUT\n"},
                                                               {6, "[PIPES]", "P1 A OUT NO 60 2 0.2 0\n"},
                                                               {8, "[POLLUTANTS]", "COD 0\n"},
                                                               {9, "[POLLUTANTS]", "TSS 1.5\n"},
                                                               {11, "[PATTERNS]", "H HOURLY 1 2\n"},
                                                               {13, "[TIMESERIES]", "S 0 1 1 2\n"}};
    int64_t request = 0;
    for (const auto& [line, section, text] : names) {
        arena_failAfter(++request);
        EXPECT_EQ(getErrors(""), lineError("ERROR 101: memory allocation error.", 7 + line, section, text));
    }
    arena_failAfter(0);
}

TEST(HostileFiles, GetABareMemoryErrorForTheirTables) {
    // Behind the requests for the seven names: at least those for two nodes, a link, and what a pipe decays.
    for (const int64_t request : {8, 9, 10, 11}) {
        arena_failAfter(request);
        EXPECT_EQ(getErrors("", 101), "") << request;
    }
    arena_failAfter(0);
}
