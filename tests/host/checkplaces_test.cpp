// What `tarnvelde check` adds to errors: the place of those that are found when all is read, what helps to see the
// fault, and what to do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

#include "jsontext.h"
#include "program.h"

using testing::HasSubstr;
using testing::Not;

/// Four lines, so that a text after them begins with line 5.
static constexpr const char* HEAD = "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/02\nROUTING_STEP 0:01:00\n";

static std::string checkProject(const std::string& text) {
    TempFolder folder;
    const ProcessResult result = runProgram({"check", folder.write("model.inp", HEAD + text)});
    EXPECT_EQ(result.status, 1);
    return result.err;
}

TEST(HostCheckPlaces, ALoopIsShownAllTheWayRound) {
    // In line 15 the loop closes: B, C and D lie on it, A leads into it, and the shorter way over L4 is lagged.
    EXPECT_THAT(
        checkProject("[JUNCTIONS]\nA\nB\nD\n[SPLITTERS]\nC L5 FLOW 1\n[OUTFALLS]\nO\n[CONNECTIONS]\n"
                     "L1 A B NO 60\nL2 B C NO 60\nL3 C D NO 60\nL5 C O NO 60\nback D b NO 60\n"),
        HasSubstr(": the way round is back, b, L2, C, L3, D at line 18 of [CONNECTIONS] section:\n"
                  "  back D b NO 60\n  ^^^^\n  what to do:   If it is a recycle, make one of its links lagged"));
}

TEST(HostCheckPlaces, ALaggedLinkIsNoPartOfALoop) {
    // From B to A leads a lagged link too, which isn't the one at fault.
    const std::string err = checkProject(
        "[JUNCTIONS]\nH\n[SPLITTERS]\nA L1 FLOW 1\nB L4 FLOW 1\n[OUTFALLS]\nO\n[JUNCTIONS]\nE\n[PIPES]\n"
        "L0 H A NO 60 1 0 0\nL1 A B NO 60 1 0 0\nL2 A O NO 60 1 0 0\nL4 B A YES 60 1 0 0\n"
        "L5 B E NO 60 1 0 0\nL6 E A NO 60 1 0 0\n");
    EXPECT_THAT(err, HasSubstr("ERROR 131: Object L6 form cyclic loops in the drainage system: the way round is L6, A, "
                               "L1, B, L5, E at line 20 of [PIPES] section:\n"));
}

TEST(HostCheckPlaces, TheLinksOfANodeAreNamed) {
    const std::string err = checkProject(
        "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 1 0.2 0\n"
        "[CONNECTIONS]\nC1 j1 O1 NO 60\n");
    EXPECT_THAT(err, HasSubstr("ERROR 133: Node J1 has more than one outlet link: its links are P1 in line 10, C1 in "
                               "line 12 at line 6 of [JUNCTIONS] section:\n  J1\n  ^^\n"));
}

TEST(HostCheckPlaces, TheLineOfAnOptionIsTheOneThatCounts) {
    // The second END_DATE replaces the one of the first lines.
    EXPECT_THAT(checkProject("end_date 2023/12/01\n"),
                HasSubstr("ERROR 171: simulation start date comes after ending date at line 5 of [GENERAL] section:\n"
                          "  end_date 2023/12/01\n  ^^^^^^^^\n"));
}

TEST(HostCheckPlaces, ANodeAndALinkOfOneNameAreToldApart) {
    const std::string err = checkProject("[JUNCTIONS]\nX\n[OUTFALLS]\nO\n[PIPES]\nX X O NO 30 1 0.2 0\n");
    EXPECT_THAT(err,
                HasSubstr(" at line 10 of [PIPES] section:\n  X X O NO 30 1 0.2 0\n  ^\n  what to do:   Lengthen K"));
}

TEST(HostCheckPlaces, WhatToDoComesOnceForEachCode) {
    const std::string err = checkProject("[JUNCTIONS]\nA\nB\n");
    const size_t first = err.find("what to do:");
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(err.find("what to do:", first + 1), std::string::npos) << err;
    EXPECT_THAT(err, HasSubstr("ERROR 137: Node B has no downstream link at line 7 "));
}

TEST(HostCheckPlaces, SmallLettersOfFlowAndOtherBlanksAreRecognised) {
    EXPECT_THAT(checkProject("[JUNCTIONS]\nJ1\n[DWFS]\nJ1 Flow 0.1 \"\"\n"), HasSubstr("Write FLOW in capitals"));
    EXPECT_THAT(checkProject("[JUNCTIONS]\nJ1\n[DWFS]\nJ1 FLOW\xC2\xA0"
                             "0.1 \"\"\n"),
                HasSubstr("Write a plain blank"));
}

TEST(HostCheckPlaces, JsonHasPlaceAndAdviceOfAnError) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", std::string(HEAD) + "[JUNCTIONS]\nALONE\n");
    const ProcessResult result = runProgram({"check", model, "--json"});
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"section\": \"[JUNCTIONS]\", \"line\": 6, \"words\": \"ALONE\""));
    EXPECT_THAT(result.out, HasSubstr("\"advice\": \"Add a link that starts there"));
}

TEST(HostCheckPlaces, ARunOfAProjectWithErrorsPointsToTheCheck) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", BAD_PROJECT);
    EXPECT_THAT(runProgram({"run", model}).err,
                testing::EndsWith("tarnvelde: tarnvelde check " + model + " shows what to do\n"));
    EXPECT_THAT(runProgram({"run", folder.file("none.inp")}).err, Not(HasSubstr("shows what to do")));
}

// --- files of series -----------------------------------------------------------------------------------------------

/// A check of a project whose series is in a file beside it.
static ProcessResult checkSeries(const std::string& entries) {
    TempFolder folder;
    (void)folder.write("rain of june.txt", entries);
    return runProgram({"check", folder.write("model.inp", std::string(GOOD_PROJECT) +
                                                              "[TIMESERIES]\nRAIN FILE \"rain of june.txt\"\n")});
}

struct BadEntry {
    const char* line;
    const char* words;  ///< of the message
};

struct HostCheckSeries : testing::TestWithParam<BadEntry> {};

TEST_P(HostCheckSeries, TheLineThatCantBeReadIsNamed) {
    const ProcessResult result =
        checkSeries("; mm\n2024/01/01 0:00 1\n\n" + std::string(GetParam().line) + "\n2024/01/01 1:00 2\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(std::string("ERROR 363: invalid data in external file used for Time Series RAIN: "
                                                  "line 4 of rain of june.txt ") +
                                      GetParam().words + " at line 15 of [TIMESERIES] section:\n"));
}

INSTANTIATE_TEST_SUITE_P(
    HostCheck, HostCheckSeries,
    testing::Values(
        BadEntry{"01.01.2024 0:30 1", "begins with no date: 01.01.2024"},
        BadEntry{"01/02/2024 0:30 1", "begins with no date: 01/02/2024"},
        BadEntry{"2024/02/30 0:30 1", "begins with no date: 2024/02/30"},
        BadEntry{"date time mm", "begins with no date: date"},
        BadEntry{"2024/01/01T0:30 1", "has two words in place of three, date, time and value: 2024/01/01T0:30 1"},
        BadEntry{"2024/01/01,0:30,1", "has one word in place of three, date, time and value: 2024/01/01,0:30,1"},
        BadEntry{"2024/01/01 0:30 1,5", "has no number in its third word: 1,5"},
        BadEntry{"2024/01/01 0:30 PM 1", "has no number in its third word: PM"},
        BadEntry{"2024/01/01 noon 1", "has no time in its second word: noon"},
        BadEntry{"// mm in 5 minutes", "begins with no date: //"}));

TEST(HostCheckSeries, WhatTheEngineReadsIsNoFault) {
    // Each odd line passes in the engine, so that the one named is the last.
    for (const char* odd :
         {"2024-01-01 0:30 1", "2024/JAN/1 0:30 1", "2024.jan-1x 0:30:15 1e-1 and a note", "2024/1/1 .5 .25",
          "2024/01/01 0:30h +1", "2024/01/01 0:30 1\xC2\xA0mm", "2024/01/01\t0:30\t0x1"}) {
        const std::string entries = std::string("2024/01/01 0:00 1\r\n") + odd + "\r\n";
        EXPECT_EQ(checkSeries(entries + "2024/01/01 1:00 1\n").status, 0) << odd;
        EXPECT_THAT(checkSeries(entries + "2024/01/01 1:00 x\n").err, HasSubstr("line 3 of rain of june.txt ")) << odd;
    }
}

TEST(HostCheckSeries, AByteOrderMarkAndAnEmptyFileAreRecognised) {
    EXPECT_THAT(checkSeries("\xEF\xBB\xBF; mm\n2024/01/01 0:00 1\n").err,
                HasSubstr("line 1 of rain of june.txt begins with a byte order mark"));
    EXPECT_THAT(checkSeries("; mm\n").err, HasSubstr("RAIN: rain of june.txt holds no entry at line 15 "));
}

// --- explain -------------------------------------------------------------------------------------------------------

/// A cell of the table as it is shown: without marks of code.
static std::string strip(const std::string& cell) {
    return std::regex_replace(cell, std::regex("`| +$"), "");
}

TEST(HostExplain, SaysWhatTheManualSaysAboutEachError) {
    std::istringstream manual(readFile(std::string(TARNVELDE_SOURCE_DIR) + "/docs/errors.md"));
    const std::regex row(R"(\| \d+ \| (\d+) \| .* \| (.*) \|)");
    std::string line;
    int count = 0;
    while (std::getline(manual, line)) {
        std::smatch cells;
        if (!std::regex_match(line, cells, row) || cells[1] == "0" || strip(cells[2]).empty()) {
            continue;
        }
        const ProcessResult result = runProgram({"explain", cells[1]});
        EXPECT_EQ(result.status, 0) << line;
        EXPECT_THAT(result.out, testing::EndsWith("\n  what to do    " + strip(cells[2]) + "\n")) << line;
        ++count;
    }
    EXPECT_GT(count, 70) << "rows of the table aren't found";
}

TEST(HostExplain, TakesAnErrorAsItsMessageBegins) {
    const std::string plain = runProgram({"explain", "209"}).out;
    EXPECT_THAT(plain, testing::StartsWith("ERROR 209\n  says          undefined object"));
    EXPECT_EQ(runProgram({"explain", "ERROR 209"}).out, plain);
    EXPECT_EQ(runProgram({"explain", "error209"}).out, plain);
    for (const char* none : {"138", "0", "209x", "error", "-209", "99999999999"}) {
        const ProcessResult result = runProgram({"explain", none});
        EXPECT_EQ(result.status, 2) << none;
        EXPECT_THAT(result.err, HasSubstr("no warning " + std::string(none))) << none;
    }
}
