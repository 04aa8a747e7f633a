// Long sections: ways through the network, with their beds, crowns and levels.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "host/plotspy.h"
#include "host/resultsfixture.h"
#include "host/svglabels.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/// A to D over two conduits, a tank with a weir and a pipe, and a ditch; beside the tank a longer way over B2.
constexpr const char* TOWN =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 2:00\nROUTING_STEP 0:00:10\n"
    "REPORT_STEP 0:05:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\nA\nB\nB2\nW\nY\n[TANKS]\nT AREA 3 2.1\n[OUTFALLS]\nD\nE\n"
    "[WEIRS]\nK T W NO RECTANGULAR 1.8 2 2 0.2\n[CONDUITS]\nC1 A B NO 300 1 0.013 CIRCULAR 0.5\n"
    "C2 B T NO 200 0.5 0.013 RECTANGULAR 0.6 0.8\nR1 B B2 NO 50 2 0.013 CIRCULAR 0.4\n"
    "R2 B2 T NO 50 4 0.013 CIRCULAR 0.4\nC3 Y D NO 400 0.25 0.03 IRREGULAR DITCH\n[PIPES]\nP1 W Y NO 300 1 0.2 0\n"
    "[CONNECTIONS]\nX1 A E NO 0\n[CURVES]\nAREA TANK 0 50 3 50\nDITCH TRANSECT 0 1 1 0 2 0 3 1\n"
    "[INFLOWS]\nA FLOW FLOW 0 Q 1\n[TIMESERIES]\nQ 2021/03/01 0:00 0.02 2021/03/01 0:30 0.12 2021/03/01 1:00 0.02\n"
    "Q 2021/03/01 3:00 0.02\n";

struct Sections : testing::Test {
    TempFolder folder;
    std::string model, file;

    void SetUp() override { run(TOWN); }
    void run(std::string text) {
        // Junctions have one way out: what leads past the tank, and out of A, is another project's.
        for (const char* other : {"R1 B B2 NO 50 2 0.013 CIRCULAR 0.4\n", "X1 A E NO 0\n"}) {
            if (const size_t at = text.find(other); at != std::string::npos) {
                text.erase(at, std::string(other).size());
            }
        }
        model = folder.write("town.inp", text);
        ASSERT_EQ(runProgram({"run", model, "--quiet"}).status, 0) << runProgram({"run", model}).err;
        file = folder.file("town.bin");
    }
    [[nodiscard]] std::vector<std::string> list(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {file, "--model", model, "--section"});
        return arguments;
    }
    [[nodiscard]] PlotSpy spy(const std::vector<std::string>& arguments) const {
        return spyPlot(folder, list(arguments));
    }
    [[nodiscard]] std::string fail(const std::vector<std::string>& arguments) const {
        std::vector<std::string> words = list(arguments);
        words.insert(words.begin(), "plot");
        words.insert(words.end(), {"-o", folder.file("none.svg")});
        const ProcessResult result = runProgram(words);
        EXPECT_EQ(result.status, 1);
        EXPECT_FALSE(folder.has("none.svg"));
        return result.err;
    }
    /// Depths that `tarnvelde results` shows, with their dates.
    [[nodiscard]] std::vector<std::pair<std::string, double>> show(const std::string& object) const {
        std::vector<std::pair<std::string, double>> depths;
        for (const auto& row :
             splitRows(runProgram({"results", file, "--object", object, "--column", "Depth", "--csv"}).out)) {
            if (row.size() == 2 && row[0] != "Date") {
                depths.emplace_back(row[0], std::stod(row[1]));
            }
        }
        return depths;
    }
    [[nodiscard]] double getPeak(const std::string& object, const std::string& from = "",
                                 const std::string& to = "3") const {
        double peak = 0.0;
        for (const auto& [date, depth] : show(object)) {
            peak = date >= from && date <= to ? std::max(peak, depth) : peak;
        }
        EXPECT_GT(peak, 0.0);
        return peak;
    }
    [[nodiscard]] double getDepth(const std::string& object, const std::string& date) const {
        for (const auto& [at, depth] : show(object)) {
            if (at == date) {
                return depth;
            }
        }
        return std::nan("");
    }
};

}  // namespace

TEST_F(Sections, BedsFallWithTheirSlopesAndLevelsAreThoseOfTheResults) {
    const PlotSpy spied = spy({"A", "T", "--at", "2021/03/01 0:30", "--at", "2021/03/01 1:42"});
    const auto rows = spied.getRows("line0.dat");
    ASSERT_EQ(rows.size(), 5u);
    // The tank's bottom counts as 0: C2 begins 200 m x 0.5 % = 1 m above it, C1 300 m x 1 % = 3 m higher.
    const double beds[] = {4.0, 1.0, 0.0, 1.0, 0.0}, places[] = {0.0, 300.0, 0.0, 300.0, 500.0},
                 crowns[] = {0.5, 0.5, 0.0, 0.6, 0.6};
    for (const size_t k : {0u, 1u, 3u, 4u}) {
        const std::string conduit = k < 2 ? "C1" : "C2";
        ASSERT_EQ(rows[k].size(), 6u);
        EXPECT_NEAR(rows[k][0], places[k], 1e-9);
        EXPECT_NEAR(rows[k][1], beds[k], 1e-9);
        EXPECT_NEAR(rows[k][2], beds[k] + crowns[k], 1e-6);
        EXPECT_NEAR(rows[k][3], beds[k] + getPeak(conduit), 1e-6);
        EXPECT_NEAR(rows[k][4], beds[k] + getDepth(conduit, "2021-03-01 00:30:00"), 1e-6);
        EXPECT_NEAR(rows[k][5], beds[k] + getDepth(conduit, "2021-03-01 01:45:00"), 1e-6)
            << "of the report whose period holds the date";
    }
    EXPECT_TRUE(rows[2].empty()) << "one conduit doesn't go over into the next";
    EXPECT_THAT(spied.getScript(), HasSubstr("title \"level of 2021-03-01 00:30:00\""));
    EXPECT_THAT(spied.getScript(), HasSubstr("title \"level of 2021-03-01 01:45:00\""));
    const auto tank = spied.getRows("line2.dat");
    ASSERT_EQ(tank.size(), 2u);
    EXPECT_NEAR((tank[0][0] + tank[1][0]) / 2.0, 500.0, 1e-6);
    EXPECT_NEAR(tank[0][1], 0.0, 1e-9);
    EXPECT_NEAR(tank[0][2], 3.0, 1e-9);
    EXPECT_NEAR(tank[0][3], getPeak("T"), 1e-6);
    EXPECT_NEAR(tank[1][4], getDepth("T", "2021-03-01 00:30:00"), 1e-6);
}

TEST_F(Sections, TheHighestLevelIsThatOfTheTimeAskedFor) {
    const PlotSpy late = spy({"A", "B", "--from", "2021/03/01 1:00"});
    const double peak = getPeak("C1", "2021-03-01 01:00:00");
    EXPECT_LT(peak, getPeak("C1"));
    EXPECT_NEAR(late.getRows("line0.dat").at(1).at(3), peak, 1e-6);
}

TEST_F(Sections, WhatHasNoLengthIsNamedAndStandsWhereItIs) {
    const PlotSpy spied = spy({"A", "D"});
    EXPECT_THAT(spied.getScript(), HasSubstr("\"Without length in the project: K (weir), P1 (pipe)\""));
    const auto rows = spied.getRows("line0.dat");
    ASSERT_EQ(rows.size(), 8u);
    EXPECT_NEAR(rows[0][1], 5.0, 1e-9) << "the ditch falls by 400 m x 0.25 % = 1 m more";
    EXPECT_NEAR(rows[6][0], 500.0, 1e-9) << "and begins where the tank stands";
    EXPECT_NEAR(rows[7][0], 900.0, 1e-9);
    EXPECT_TRUE(std::isnan(rows[6][2])) << "the project tells no crown of a transect";
    EXPECT_NEAR(rows[6][3], 1.0 + getPeak("C3"), 1e-6);
    EXPECT_THAT(spied.getScript(), HasSubstr("\"T - Y\" 500"));
    EXPECT_THAT(spied.getScript(), HasSubstr("set arrow from 500, graph 0"));
}

TEST_F(Sections, AWayLeadsThroughTheNodesThatAreNamed) {
    // A splitter at B has two ways to T: the one of fewer links, and that over B2.
    std::string text = TOWN;
    text.replace(text.find("A\nB\n"), 4, "A\n");
    text.replace(text.find("[TANKS]"), 7, "[SPLITTERS]\nB C2 RATIO 0.5\n[TANKS]");
    text.replace(text.find("R1 B B2"), 2, "RX");
    run(text);
    const auto direct = spy({"A", "T"}).getRows("line0.dat");
    ASSERT_EQ(direct.size(), 5u);
    EXPECT_NEAR(direct[4][0], 500.0, 1e-9);
    const auto around = spy({"A", "T", "--via", "B2"}).getRows("line0.dat");
    ASSERT_EQ(around.size(), 8u);
    EXPECT_NEAR(around[7][0], 400.0, 1e-9);
    EXPECT_NEAR(around[0][1], 3.0 + 1.0 + 2.0, 1e-9);
    EXPECT_THAT(fail({"A", "T", "--via", "W"}), HasSubstr("no way leads from W down to T"));
}

TEST_F(Sections, AWayThatIsntThereSaysSo) {
    EXPECT_THAT(fail({"T", "A"}), HasSubstr("no way leads from T down to A in " + model + "; one leads up to it"));
    const std::string none = fail({"A", "E"});
    EXPECT_THAT(none, HasSubstr("no way leads from A down to E"));
    EXPECT_THAT(none, Not(HasSubstr("one leads up to it")));
    EXPECT_THAT(fail({"A", "NONE"}), HasSubstr("no node NONE in " + model));
    EXPECT_THAT(fail({"A", "a"}), HasSubstr("A and a are one node"));
    EXPECT_THAT(fail({"T", "Y"}),
                HasSubstr("has no conduit, and nothing else has a length and a slope: K (weir), P1 (pipe)"));
}

TEST_F(Sections, ResultsOfAnotherProjectAreRefused) {
    ASSERT_EQ(runProgram({"run", folder.write("other.inp", GOOD_PROJECT), "--quiet"}).status, 0);
    file = folder.file("other.bin");
    EXPECT_THAT(fail({"A", "B"}), HasSubstr("no table Conduit in " + file));
    std::string renamed = TOWN;
    renamed.replace(renamed.find("C1 A B"), 2, "CX");
    const std::string project = model;
    run(renamed);
    folder.write("town.inp", TOWN);
    EXPECT_NE(fail({"A", "B"}), "");
}

TEST_F(Sections, ADateOutsideOfTheRunIsRefused) {
    for (const char* date : {"2021/02/28 23:00", "2021/03/01 2:01"}) {
        EXPECT_THAT(fail({"A", "B", "--at", date}),
                    HasSubstr("it goes from 2021-03-01 00:00:00 to 2021-03-01 02:00:00"));
    }
    EXPECT_THAT(fail({"A", "B", "--from", "2022/01/01"}), HasSubstr("lies in this time"));
}

TEST_F(Sections, AProjectThatCannotBeReadIsToldAsByACheck) {
    model = folder.write("bad.inp", BAD_PROJECT);
    const std::string told = fail({"J1", "O1"});
    EXPECT_THAT(told, HasSubstr("ERROR 209: undefined object NOWHERE"));
    EXPECT_THAT(told, HasSubstr("ended with code 200"));
    model = folder.file("none.inp");
    EXPECT_THAT(fail({"J1", "O1"}), HasSubstr("none.inp"));
}

TEST_F(Sections, APictureNeverTakesThePlaceOfItsProject) {
    const std::string text = readFile(model);
    const std::string named = folder.write("town.svg", text);
    const ProcessResult result = runProgram({"plot", file, "--section", "A", "B", "--model", named, "-o", named});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("the picture would take the place of the project"));
    EXPECT_EQ(readFile(named), text);
}

TEST_F(Sections, ItIsDrawnInAllForms) {
    ASSERT_EQ(runProgram({"run", model, "--quiet", "--database"}).status, 0);
    for (const std::string& results : {file, folder.file("town.db")}) {
        for (const char* name : {"a.svg", "a.png", "a.pdf"}) {
            const ProcessResult result = runProgram({"plot", results, "--section", "a", "d", "--model", model, "--at",
                                                     "2021/03/01 0:30", "-o", folder.file(name)});
            EXPECT_EQ(result.status, 0) << result.err;
            EXPECT_EQ(result.err, "");
        }
    }
    const std::string svg = readFile(folder.file("a.svg"));
    EXPECT_THAT(svg, HasSubstr("<title id=\"title\">Long section from a to d</title>"));
    for (const char* text : {"bed and crown", "highest level", "level of 2021-03-01 00:30:00", "T - Y"}) {
        EXPECT_THAT(svg, HasSubstr(std::string(">") + text + "<"));
    }
    for (const Label& label : readLabels(svg)) {
        EXPECT_GE(label.left, 0.0) << label.text;
        EXPECT_LE(label.right, 960.0) << label.text;
    }
}

TEST_F(Sections, NamesOfNodesDrawThemselvesAndNothingElse) {
    const TempFolder work;
    const std::string node = "N`touch${IFS}ran`\"@x{";
    std::string text = TOWN;
    for (const char* place : {"A\nB\n", "C1 A B", "C2 B T"}) {
        const size_t at = text.find(place), letter = text.find('B', at);
        text.replace(letter, 1, node);
    }
    run(text);
    const ProcessResult result = process_run({"env", "TMPDIR=" + work.path.string(), TARNVELDE_PROGRAM, "plot", file,
                                              "--section", node, "D", "--model", model, "-o", folder.file("a.svg")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(countFiles(work.path), 0u);
    EXPECT_THAT(readFile(folder.file("a.svg")), HasSubstr("Distance from N`touch${IFS}ran`\"@x{ (m)"));
}
