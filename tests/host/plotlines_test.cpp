// Lines of several columns and objects, axes, panels, rain, weighted means, duration curves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "host/plotspy.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "host/svglabels.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr double MARCH = 44256.0;  ///< 1 March 2021, days since 30 December 1899

/// Two hours of a wave with a concentration, some land with rain, reports of a minute.
constexpr const char* WAVE =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 2:00\nROUTING_STEP 0:01:00\n"
    "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[RAINGAGES]\nG1 INTENSITY 0:10 R1\n[SUBCATCHS]\n"
    "S1 G1 J1 5 50 200 0.5 0.015 0.1 1 3 50 5 4 7 0\n[JUNCTIONS]\nJ1\nJ2\n[TANKS]\nT1 AREA 3 0\n"
    "[OUTFALLS]\nO1\n[PUMPS]\nK1 T1 O1 P NO ON 0 0\n[CONDUITS]\nC1 J1 T1 NO 900 0.5 0.013 CIRCULAR 0.6\n"
    "[CONNECTIONS]\nD1 J2 O1 NO 0\n[CURVES]\nAREA TANK 0 100 3 100\nP PUMP1 0 0.01 3 0.03\n[POLLUTANTS]\nNH4-N 0\n"
    "[INFLOWS]\nJ1 FLOW FLOW 0 Q 1\nJ1 CONCEN NH4-N 0 C 1\nJ2 FLOW FLOW 0 Q 2\nJ2 CONCEN NH4-N 0 C 1\n[TIMESERIES]\n"
    "Q 2021/03/01 0:00 0.01 2021/03/01 0:40 0.2 2021/03/01 1:00 0 2021/03/01 1:40 0 2021/03/01 1:50 0.1\n"
    "Q 2021/03/01 3:00 0.1\n"
    "C 2021/03/01 0:00 2 2021/03/01 0:30 9 2021/03/01 2:00 1 2021/03/01 3:00 1\n"
    "R1 2021/03/01 0:10 5 2021/03/01 0:20 20 2021/03/01 0:30 0\n";

struct Waves : testing::Test {
    TempFolder folder;
    std::string file;

    void SetUp() override {
        ASSERT_EQ(runProgram({"run", folder.write("wave.inp", WAVE), "--quiet"}).status, 0);
        file = folder.file("wave.bin");
    }
    [[nodiscard]] PlotSpy spy(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), file);
        return spyPlot(folder, arguments);
    }
    [[nodiscard]] std::string draw(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"plot", file});
        arguments.insert(arguments.end(), {"-o", folder.file("a.svg")});
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        return readFile(folder.file("a.svg"));
    }
    [[nodiscard]] std::string fail(std::vector<std::string> arguments, int status = 1) const {
        arguments.insert(arguments.begin(), {"plot", file});
        arguments.insert(arguments.end(), {"-o", folder.file("none.svg")});
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, status);
        EXPECT_FALSE(folder.has("none.svg"));
        return result.err;
    }
    /// Values that `tarnvelde results` shows of one column, by the second of the day.
    [[nodiscard]] std::map<double, float> show(const std::string& object, const std::string& column,
                                               std::vector<std::string> window = {}) const {
        std::vector<std::string> arguments{"results", file, "--object", object, "--column", column, "--csv"};
        arguments.insert(arguments.end(), window.begin(), window.end());
        std::map<double, float> values;
        for (const auto& row : splitRows(runProgram(arguments).out)) {
            if (row.size() == 2 && row[0] != "Date") {
                const double hour = std::stod(row[0].substr(11, 2)), minute = std::stod(row[0].substr(14, 2));
                values[hour * 3600.0 + minute * 60.0 + std::stod(row[0].substr(17))] = std::stof(row[1]);
            }
        }
        return values;
    }
};

/// Each row of a file of data is one of the values, and there are no others.
void expectSame(const PlotSpy& spy, const std::string& name, const std::map<double, float>& values,
                double origin = 0.0) {
    std::map<double, float> seen;
    for (const auto& row : spy.getRows(name)) {
        ASSERT_EQ(row.size(), 2u) << name;
        seen[row[0] + origin] = static_cast<float>(row[1]);
    }
    EXPECT_FALSE(values.empty());
    EXPECT_EQ(seen, values) << name;
}

size_t count(const std::string& text, const std::string& part) {
    size_t number = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++number;
    }
    return number;
}

}  // namespace

TEST_F(Waves, TheScriptHasTheNumbersOfTheResults) {
    const PlotSpy whole =
        spy({"--object", "J1", "--object", "O1", "--column", "TotInflow", "--column", "NH4-N", "--rain"});
    expectSame(whole, "line0.dat", show("J1", "TotInflow"));
    expectSame(whole, "line1.dat", show("O1", "TotInflow"));
    expectSame(whole, "line2.dat", show("J1", "NH4-N"));
    expectSame(whole, "line3.dat", show("O1", "NH4-N"));
    expectSame(whole, "rain.dat", show("System", "Rainfall"));
    const std::vector<std::string> window{"--from", "2021/03/01 0:30", "--to", "2021/03/01 1:10"};
    const PlotSpy part =
        spy({"--object", "C1", "--column", "Outflow", "--rain", "S1", window[0], window[1], window[2], window[3]});
    expectSame(part, "line0.dat", show("C1", "Outflow", window), 1800.0);
    expectSame(part, "rain.dat", show("S1", "Rainfall", window), 1800.0);
    EXPECT_EQ(part.getRows("line0.dat").size(), 41u);
}

TEST_F(Waves, TwoUnitsShareAPictureWithAnAxisOnEitherSide) {
    const std::vector<std::string> choice{"--object", "J1",       "--object", "C1",       "--column",
                                          "NH4-N",    "--column", "Outflow",  "--column", "TotInflow"};
    const std::string script = spy(choice).getScript();
    EXPECT_THAT(script, HasSubstr("set ylabel \"NH4-N (mg/L)\""));
    EXPECT_THAT(script, HasSubstr("set y2label \"Outflow, TotInflow (m3/s)\""));
    EXPECT_THAT(script, Not(HasSubstr("multiplot")));
    EXPECT_EQ(count(script, "axes x1y2"), 2u);
    const std::string svg = draw(choice);
    for (const char* text :
         {">J1 NH4-N (mg/L)<", ">C1 NH4-N (mg/L)<", ">J1 TotInflow (m3/s)<", ">C1 Outflow (m3/s)<"}) {
        EXPECT_THAT(svg, HasSubstr(text));
    }
    EXPECT_THAT(svg, HasSubstr("<title id=\"title\">NH4-N (mg/L), Outflow, TotInflow (m3/s) of J1, C1</title>"));
}

TEST_F(Waves, OfMoreUnitsEachHasAPanelAboveOneAxisOfTime) {
    const std::vector<std::string> choice{"--object", "C1",    "--object", "T1",       "--column", "Depth",
                                          "--column", "NH4-N", "--column", "Velocity", "--column", "TotInflow"};
    const std::string script = spy(choice).getScript();
    EXPECT_EQ(count(script, "\nplot "), 4u);
    EXPECT_THAT(script, HasSubstr("set multiplot"));
    EXPECT_EQ(count(script, "axes x1y2"), 0u);
    const std::string svg = draw(choice);
    EXPECT_EQ(count(svg, ">2021-03-01<"), 1u) << "only the lowest panel has dates";
    for (const char* text : {"Depth (m)", "NH4-N (mg/L)", "Velocity (m/s)", "TotInflow (m3/s)"}) {
        EXPECT_THAT(svg, HasSubstr(std::string(">") + text + "<"));
    }
    EXPECT_EQ(count(svg, "<title>C1</title>"), 3u) << "a legend in each panel that shows it";
    EXPECT_EQ(count(svg, "<title>T1</title>"), 3u);
}

TEST_F(Waves, LegendsOfPanelsTouchNothing) {
    for (const bool hasRain : {false, true}) {
        std::vector<std::string> choice{"--object", "J1",        "--object", "O1",        "--object", "S1",
                                        "--object", "T1",        "--object", "C1",        "--column", "NH4-N",
                                        "--column", "TotInflow", "--column", "LatInflow", "--column", "Runoff",
                                        "--column", "Outflow",   "--column", "Inflow"};
        if (hasRain) {
            choice.emplace_back("--rain");
        } else {
            choice.insert(choice.end(), {"--column", "Depth", "--column", "Vol", "--column", "Velocity"});
        }
        const std::vector<Label> labels = readLabels(draw(choice));
        EXPECT_GT(labels.size(), 30u);
        for (size_t a = 0; a < labels.size(); ++a) {
            EXPECT_GE(labels[a].top, 0.0) << labels[a].text;
            EXPECT_LE(labels[a].right, 960.0) << labels[a].text;
            for (size_t b = a + 1; b < labels.size(); ++b) {
                const bool isApart = labels[a].right < labels[b].left || labels[b].right < labels[a].left ||
                                     labels[a].bottom <= labels[b].top || labels[b].bottom <= labels[a].top;
                EXPECT_TRUE(isApart) << labels[a].text << " and " << labels[b].text;
            }
        }
    }
}

TEST_F(Waves, AColumnThatSomeLackIsDrawnOfTheOthers) {
    const PlotSpy some = spy({"--object", "J1", "--object", "T1", "--column", "Depth", "--column", "LatInflow"});
    expectSame(some, "line0.dat", show("T1", "Depth"));
    expectSame(some, "line1.dat", show("J1", "LatInflow"));
    expectSame(some, "line2.dat", show("T1", "LatInflow"));
    EXPECT_EQ(some.get("line3.dat"), "");
    EXPECT_THAT(fail({"--object", "J1", "--object", "T1", "--column", "Depth"}), HasSubstr("no column Depth of J1"));
    EXPECT_THAT(fail({"--object", "T1", "--object", "O1", "--column", "Depth", "--column", "Vol"}),
                HasSubstr("no column Depth of O1"));
    EXPECT_THAT(fail({"--object", "T1", "--column", "Depth", "--column", "Speed"}), HasSubstr("no column Speed of T1"));
}

TEST_F(Waves, ALineThatIsAskedForTwiceIsDrawnOnce) {
    const PlotSpy once = spy({"--object", "J1", "--object", "j1", "--column", "TotInflow", "--column", "totinflow"});
    EXPECT_NE(once.get("line0.dat"), "");
    EXPECT_EQ(once.get("line1.dat"), "");
}

TEST_F(Waves, RainHasAPanelOfItsOwnAboveTwoAxes) {
    const std::string one = spy({"--object", "J1", "--column", "TotInflow", "--rain"}).getScript();
    EXPECT_THAT(one, Not(HasSubstr("multiplot")));
    EXPECT_THAT(one, HasSubstr("set y2range [60:0]")) << "three times the highest bar, downward";
    EXPECT_THAT(one, HasSubstr("title \"Rainfall System\""));
    const std::string two =
        spy({"--object", "J1", "--column", "TotInflow", "--column", "NH4-N", "--rain", "S1"}).getScript();
    EXPECT_EQ(count(two, "\nplot "), 2u);
    EXPECT_LT(two.find("plot 'rain.dat'"), two.find("'line0.dat'"));
    EXPECT_THAT(two, HasSubstr("set yrange [22.2222:0]"));
    EXPECT_THAT(fail({"--object", "J1", "--column", "TotInflow", "--rain", "O1"}),
                HasSubstr("no column Rainfall of O1"));
    EXPECT_THAT(fail({"--object", "J1", "--column", "TotInflow", "--rain", "X"}), HasSubstr("no object X"));
}

TEST_F(Waves, MeansAreWeightedByTheFlowOfTheTimeThatEndsWithEachReport) {
    for (const int minutes : {30, 6, 1}) {
        const std::string hours = std::to_string(minutes / 60.0);
        const PlotSpy means = spy({"--object", "J2", "--column", "NH4-N", "--mean", hours});
        const std::map<double, float> flow = show("J2", "TotInflow"), concentration = show("J2", "NH4-N");
        std::map<double, double> seen;
        for (const auto& row : means.getRows("line0.dat")) {
            if (!row.empty()) {
                seen[row[0]] = row[1];
            }
        }
        size_t dry = 0;
        for (const auto& [second, value] : flow) {
            double water = 0.0, load = 0.0;
            for (double back = second; back > second - minutes * 60.0; back -= 60.0) {
                const auto at = flow.find(back);
                water += at == flow.end() ? 0.0 : at->second;
                load += at == flow.end() ? 0.0 : static_cast<double>(at->second) * concentration.at(back);
            }
            const bool isWhole = second >= minutes * 60.0, isWet = water > 0.0;
            dry += isWhole && !isWet ? 1 : 0;
            ASSERT_EQ(seen.count(second), isWhole && isWet ? 1u : 0u) << minutes << ' ' << second;
            if (isWhole && isWet) {
                EXPECT_NEAR(seen[second], load / water, 1e-6 * load / water) << minutes << ' ' << second;
            }
        }
        EXPECT_EQ(dry > 0, minutes < 40) << "between two waves no water comes for 40 minutes";
        EXPECT_THAT(means.getScript(), HasSubstr("NH4-N, flow-weighted mean of "));
    }
}

TEST_F(Waves, AMeanLooksBackAheadOfItsWindow) {
    const std::vector<std::string> mean{"--object", "J2",        "--column", "NH4-N",
                                        "--column", "TotInflow", "--mean",   "0.5"};
    std::vector<std::string> part = mean;
    part.insert(part.end(), {"--from", "2021/03/01 0:45"});
    const PlotSpy whole = spy(mean), late = spy(part);
    std::map<double, double> all;
    for (const auto& row : whole.getRows("line0.dat")) {
        if (!row.empty()) {
            all[row[0]] = row[1];
        }
    }
    const auto rows = late.getRows("line0.dat");
    ASSERT_FALSE(rows.empty());
    ASSERT_FALSE(rows[0].empty());
    EXPECT_EQ(rows[0][0], 0.0) << "there is a mean from the beginning of the window on";
    for (const auto& row : rows) {
        if (!row.empty()) {
            EXPECT_NEAR(row[1], all.at(row[0] + 2700.0), 1e-8);
        }
    }
    expectSame(late, "line1.dat", show("J2", "TotInflow", {"--from", "2021/03/01 0:45"}), 2700.0);
}

TEST_F(Waves, AMeanOfNothingSaysSo) {
    EXPECT_THAT(fail({"--object", "J1", "--column", "TotInflow", "--mean", "1"}),
                HasSubstr("--mean is for concentrations, and TotInflow is none"));
    EXPECT_THAT(fail({"--object", "T1", "--column", "NH4-N", "--mean", "1"}), HasSubstr("no flow carries NH4-N of T1"));
    EXPECT_THAT(fail({"--object", "J1", "--column", "NH4-N", "--mean", "3"}),
                HasSubstr("means begin 3 h after the start"));
    for (const char* length : {"0", "-1", "nan", "soon", ""}) {
        EXPECT_THAT(fail({"--object", "J1", "--column", "NH4-N", "--mean", length}, 2), HasSubstr("--mean"));
    }
}

TEST_F(Waves, ACurveIsThatOfTheStatistics) {
    for (const std::vector<std::string>& window :
         {std::vector<std::string>{}, {"--from", "2021/03/01 0:30", "--to", "2021/03/01 1:45"}}) {
        std::vector<std::string> curve{"--object", "C1", "--column", "Outflow", "--column", "Depth", "--curve"};
        curve.insert(curve.end(), window.begin(), window.end());
        std::vector<std::string> stats{"stats", file, "--object", "C1", "--curve", "--csv"};
        stats.insert(stats.end(), window.begin(), window.end());
        const auto told = splitRows(runProgram(stats).out);
        const PlotSpy drawn = spy(curve);
        const auto rows = drawn.getRows("line0.dat");
        ASSERT_EQ(rows.size(), told.size() - 1);
        EXPECT_EQ(rows.size(), window.empty() ? 120u : 75u);
        for (size_t k = 0; k < rows.size(); ++k) {
            EXPECT_NEAR(rows[k][0], 100.0 * std::stod(told[k + 1][4]), 1e-6);
            EXPECT_EQ(static_cast<float>(rows[k][1]), std::stof(told[k + 1][5]));
        }
        // Depths go down as well, from the highest one on.
        const auto depths = drawn.getRows("line1.dat");
        ASSERT_EQ(depths.size(), rows.size());
        for (size_t k = 1; k < depths.size(); ++k) {
            EXPECT_LE(depths[k][1], depths[k - 1][1]);
        }
        EXPECT_THAT(drawn.getScript(), HasSubstr("set xrange [0:100]"));
    }
    const std::string svg = draw({"--object", "C1", "--column", "Outflow", "--curve"});
    EXPECT_THAT(svg, HasSubstr("Part of the time in which it is exceeded (%)"));
    EXPECT_THAT(svg, HasSubstr("<title id=\"title\">Duration curve of Outflow (m3/s) of C1</title>"));
    EXPECT_THAT(svg, Not(HasSubstr("2021-03-01<")));
}

TEST_F(Waves, OptionsThatDoNotGoTogetherAreWrongUsage) {
    const std::vector<std::string> line{"--object", "C1", "--column", "Outflow"};
    for (const std::vector<std::string>& more : {std::vector<std::string>{"--curve", "--rain"},
                                                 {"--curve", "--measured", "a.csv"},
                                                 {"--model", "a.inp"},
                                                 {"--section", "J1", "O1"},
                                                 {"--section", "J1", "O1", "--model", "wave.inp"},
                                                 {"--at", "2021/03/01"}}) {
        std::vector<std::string> arguments = line;
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_NE(fail(arguments, 2), "");
    }
    EXPECT_THAT(fail({"--column", "Outflow"}, 2), HasSubstr("--object is required"));
    EXPECT_THAT(fail({"--object", "C1"}, 2), HasSubstr("--column is required"));
}

TEST_F(Waves, ObjectsOfOneNameGoByTheirTables) {
    std::string text = WAVE;
    for (size_t at = text.find("D1 "); at != std::string::npos; at = text.find("D1 ", at)) {
        text.replace(at, 2, "J1");
    }
    ASSERT_EQ(runProgram({"run", folder.write("wave.inp", text), "--quiet"}).status, 0);
    const std::string script =
        spy({"--object", "Junction:J1", "--object", "Connection:J1", "--column", "NH4-N"}).getScript();
    EXPECT_THAT(script, HasSubstr("\"Junction J1\""));
    EXPECT_THAT(script, HasSubstr("\"Connection J1\""));
}

// --- odd data ------------------------------------------------------------------------------------------------------

TEST_F(Results, ValuesBetweenGapsAreSeen) {
    ASSERT_EQ(process_run(
                  {"sqlite3", database, "update Junction set TotInflow = null where Name = 'J1' and Period in (1, 3)"})
                  .status,
              0);
    const PlotSpy spy = spyPlot(folder, {database, "--object", "J1", "--column", "TotInflow"});
    const auto rows = spy.getRows("line0.dat");  // a gap, a value, a gap, a value
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_THAT(rows[1], ElementsAre(120.0, 0.5, 0.5));
    EXPECT_THAT(rows[3], ElementsAre(240.0, 0.5, 0.5));
    EXPECT_THAT(spy.getScript(), HasSubstr("'line0.dat' using 1:3 with points"));
    const ProcessResult result =
        runProgram({"plot", database, "--object", "J1", "--column", "TotInflow", "-o", folder.file("a.svg")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(count(readFile(folder.file("a.svg")), "<use xlink:href='#gpPt6'"), 2u);
}

TEST_F(Results, WhatStaysTheSameStandsAboveZero) {
    const auto getRange = [&](const char* value) {
        EXPECT_EQ(process_run({"sqlite3", database, std::string("update Junction set TotInflow = ") + value}).status,
                  0);
        const std::string script = spyPlot(folder, {database, "--object", "J1", "--column", "TotInflow"}).getScript();
        const size_t begin = script.find("set yrange [");
        return begin == std::string::npos ? "" : script.substr(begin + 11, script.find('\n', begin) - begin - 11);
    };
    EXPECT_EQ(getRange("0.4"), "[0:0.5]");
    EXPECT_EQ(getRange("0.4 + 0.00000001 * Period"), "[0:0.5]") << "but for its rounding";
    EXPECT_EQ(getRange("-4"), "[-5:0]");
    EXPECT_EQ(getRange("0"), "[0:1]");
    EXPECT_EQ(getRange("Period"), "") << "gnuplot's own";
}

TEST_F(Results, AColumnWithoutNumbersHasItsAxisAndItsLegend) {
    ASSERT_EQ(process_run({"sqlite3", database, "update Junction set NH4_N = null"}).status, 0);
    const std::string picture = folder.file("a.svg");
    const ProcessResult result = runProgram({"plot", database, "--object", "J1", "--column", "TotInflow", "--column",
                                             "NH4-N", "--column", "Depth", "-o", picture});
    EXPECT_EQ(result.status, 1) << "no depth";
    ASSERT_EQ(
        runProgram({"plot", database, "--object", "J1", "--column", "TotInflow", "--column", "NH4-N", "-o", picture})
            .status,
        0);
    EXPECT_THAT(readFile(picture), HasSubstr(">J1 NH4_N (mg/L)<"));
    ASSERT_EQ(
        runProgram({"plot", database, "--object", "J1", "--object", "O_1", "--column", "NH4-N", "-o", picture}).status,
        0);
    EXPECT_THAT(readFile(picture), HasSubstr(">J1<"));
}

TEST(PlotOfManyReports, KeepsItsExtremes) {
    TempFolder folder;
    constexpr size_t REPORTS = 40000, RECORD = 8 + 4 * 14, PLACE = 8 + 4 * 12;
    std::string bytes = makeResults(MARCH, 60, REPORTS);
    const auto set = [&](size_t report, float value) {
        bytes.replace(bytes.size() - 28 - (REPORTS - report + 1) * RECORD + PLACE, 4, getBytes(value));
    };
    set(12345, 99.0F);
    set(23456, -50.0F);
    set(1, 3.5F);
    set(REPORTS, 4.5F);
    const PlotSpy spy = spyPlot(folder, {folder.write("a.bin", bytes), "--object", "J1", "--column", "TotInflow"});
    std::map<double, double> seen;
    double last = -1.0;
    for (const auto& row : spy.getRows("line0.dat")) {
        ASSERT_GT(row[0], last) << "in order of time";
        last = row[0];
        seen[row[0]] = row[1];
    }
    EXPECT_LE(seen.size(), 20000u);
    EXPECT_EQ(seen[12345 * 60.0], 99.0);
    EXPECT_EQ(seen[23456 * 60.0], -50.0);
    EXPECT_EQ(seen[60.0], 3.5);
    EXPECT_EQ(seen[REPORTS * 60.0], 4.5);
}

TEST(PlotOfNames, ThatMeanSomethingToOthersDrawsThemInEveryPanel) {
    const TempFolder folder, work;
    for (const char* name :
         {"a'b\"c@GPVAL_VERSION", "{/Symbol~d}_^&`touch${IFS}ran`", "$(touch${IFS}ran)\\n", "M\xFChle%s"}) {
        std::string text = WAVE;
        for (size_t at = text.find("C1 J1"); at != std::string::npos; at = text.find("C1 J1", at + 1)) {
            text.replace(at, 2, name);
        }
        ASSERT_EQ(runProgram({"run", folder.write("n.inp", text), "--quiet"}).status, 0);
        std::string utf8 = name;
        if (utf8.starts_with('M')) {
            utf8 = "M\xC3\xBChle%s";
        }
        for (const std::vector<std::string>& columns :
             {std::vector<std::string>{"--column", "Outflow", "--column", "NH4-N", "--rain"},
              {"--column", "Outflow", "--column", "NH4-N", "--column", "Depth", "--rain"},
              {"--column", "Outflow", "--curve"},
              {"--column", "NH4-N", "--mean", "0.25"}}) {
            std::vector<std::string> arguments{"env",
                                               "TMPDIR=" + work.path.string(),
                                               TARNVELDE_PROGRAM,
                                               "plot",
                                               folder.file("n.bin"),
                                               "--object",
                                               utf8,
                                               "-o",
                                               folder.file("n.svg")};
            arguments.insert(arguments.end(), columns.begin(), columns.end());
            const ProcessResult result = process_run(arguments);
            ASSERT_EQ(result.status, 0) << name << result.err;
            EXPECT_EQ(result.err, "") << name;
            EXPECT_EQ(process_run({"python3", "-c", "import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])",
                                   folder.file("n.svg")})
                          .status,
                      0);
            EXPECT_EQ(countFiles(work.path), 0u) << "a name has run";
        }
    }
}

TEST(ManualOfPictures, ItsCommandsDrawAsTheyStand) {
    const TempFolder folder;
    const std::string text = readFile(TARNVELDE_SOURCE_DIR "/docs/plots.md");
    for (const char* example : {"storm-tank", "first-storm"}) {
        const std::string name = std::string(example) + ".inp";
        const std::string project = readFile(std::string(TARNVELDE_SOURCE_DIR "/examples/") + example + '/' + name);
        ASSERT_EQ(runProgram({"run", folder.write(name, project), "--quiet"}).status, 0);
    }
    const size_t table = text.find("\nDate,Flow") + 1;
    folder.write("gauge.csv", text.substr(table, text.find("```", table) - table));
    size_t commands = 0;
    const std::string head = "\n```sh\ntarnvelde ";
    for (size_t at = text.find(head); at != std::string::npos; at = text.find(head, at)) {
        at += head.size();
        const std::string words = text.substr(at, text.find('\n', at) - at);
        const ProcessResult result =
            process_run({"sh", "-c", "cd \"$1\" && \"$0\" " + words, TARNVELDE_PROGRAM, folder.path.string()});
        EXPECT_EQ(result.status, 0) << words << result.err;
        EXPECT_EQ(result.err, "") << words;
        EXPECT_TRUE(folder.has(words.substr(words.rfind(' ') + 1))) << words;
        ++commands;
    }
    EXPECT_EQ(commands, 6u);
}
