// The reader as a whole: what a project file leaves in the report, byte for byte, and the public code.

#include "project/reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <tuple>

#include "model/arena.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "nodes/node.h"
#include "project/sections.h"
#include "support/lineerrors.h"
#include "support/model.h"
#include "text/datetime.h"

// --- sections ------------------------------------------------------------------------------------------------------

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
    Project project(getGeneral(10) + NETWORK + "[OUTFALLS]\n;;Name\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(project.findNode(";;Name"), 2);  // behind A and OUT
}

TEST(SecondPass, MissesALineThatQuotesHidFromTheFirst) {
    // In quotes the slash is a name for the first pass and a comment for the second.
    EXPECT_EQ(getErrors("[JUNCTIONS]\n\"/x\"\n"), "\n  \n  ERROR 217: invalid input line ");
}

TEST(SecondPass, PutsTheLinesOfOneNameTogether) {
    Project project(getGeneral(10) +
                    "[OUTFALLS]\nOUT\n[CURVES]\nC TANK 0 1\nc 1 2 2 3\n[TIMESERIES]\nT 0 1 1 2\nt 2 3 3 4\n"
                    "[PATTERNS]\nP HOURLY 1 2\nP 3\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(testModel().counts.objects[CURVE], 1);
    EXPECT_EQ(testModel().counts.objects[TSERIES], 1);
    EXPECT_EQ(testModel().counts.objects[PATTERN], 1);
    ASSERT_EQ(testModel().curves.size(), 1);
    ASSERT_EQ(testModel().timeSeries.size(), 1);
    ASSERT_EQ(testModel().patterns.size(), 1);
    EXPECT_EQ(testModel().curves[0].entries.size(), 3u);
    EXPECT_EQ(testModel().timeSeries[0].entries.size(), 4u);
    EXPECT_EQ(testModel().patterns[0].count, 3);
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
        Project project(getGeneral(10) + NETWORK + "[INFLOWS]\nA FLOW FLOW 1 \"\" 1\n[DWFS]\nA FLOW 1 H\n");
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
    // After the requests for the seven names: at least those for two nodes, a link, and what a pipe decays.
    for (const int64_t request : {8, 9, 10, 11}) {
        arena_failAfter(request);
        EXPECT_EQ(getErrors("", 101), "") << request;
    }
    arena_failAfter(0);
}
