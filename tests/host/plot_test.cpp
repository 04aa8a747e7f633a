// Pictures of results.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "host/resultsfixture.h"

using testing::HasSubstr;
using testing::Not;

TEST_F(Results, APlotIsAPicture) {
    for (const std::string& file : {binary, database}) {
        const std::string picture = folder.file("it's.svg");
        const ProcessResult result =
            runProgram({"plot", file, "--object", "J1", "--object", "O_1", "--column", "TotInflow", "-o", picture});
        ASSERT_EQ(result.status, 0) << result.err;
        const std::string svg = readFile(picture);
        EXPECT_THAT(svg, HasSubstr("<svg"));
        EXPECT_THAT(svg, HasSubstr("TotInflow (m3/s)"));
        EXPECT_THAT(svg, HasSubstr(">J1<"));
        EXPECT_THAT(svg, HasSubstr(">O_1<"));
        EXPECT_THAT(svg, HasSubstr("2021-03-01"));
        std::filesystem::remove(picture);
    }
}

TEST_F(Results, APlotShowsItsDatesWhole) {
    const std::string picture = folder.file("out.svg");
    ASSERT_EQ(runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow", "-o", picture}).status, 0);
    const std::string svg = readFile(picture);
    constexpr double WIDTH = 960.0, HALF_DATE = 35.0;  // of ten figures 12 units high
    int dates = 0;
    for (size_t at = svg.find("text-anchor=\"middle\""); at != std::string::npos;
         at = svg.find("text-anchor", at + 1)) {
        static const std::string PLACE = "translate(";
        const double x = std::stod(svg.substr(svg.rfind(PLACE, at) + PLACE.size()));
        const bool isDate = svg.substr(at, svg.find("</text>", at) - at).find("2021-03-01") != std::string::npos;
        if (isDate) {
            EXPECT_GE(x, HALF_DATE);
            EXPECT_LE(x, WIDTH - HALF_DATE);
            ++dates;
        }
    }
    EXPECT_GT(dates, 1);
}

/// Upper and lower edge of a bar, in the units of the picture from its top on.
struct Bar {
    double top;
    double bottom;
};

/// The bars of rain in a picture, without the sample of one in the legend, which comes first.
static std::vector<Bar> readBars(const std::string& svg) {
    static const std::string POINTS = "points = '";
    std::vector<Bar> bars;
    const size_t begin = svg.find("<title>Rainfall");
    for (size_t at = svg.find("<polygon", begin); at != std::string::npos; at = svg.find("<polygon", at + 1)) {
        const size_t first = svg.find(POINTS, at) + POINTS.size();
        std::istringstream points(svg.substr(first, svg.find('\'', first) - first));
        Bar bar{HUGE_VAL, 0.0};
        double x, y;
        char comma;
        while (points >> x >> comma >> y) {
            bar.top = std::min(bar.top, y);
            bar.bottom = std::max(bar.bottom, y);
        }
        bars.push_back(bar);
    }
    if (!bars.empty()) {
        bars.erase(bars.begin());
    }
    return bars;
}

TEST_F(Results, RainHangsFromTheTopOfASubcatchment) {
    const std::string text =
        "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 1:30\nROUTING_STEP 0:01:00\n"
        "REPORT_STEP 0:05:00\n[RAINGAGES]\nG1 INTENSITY 0:10 R1\n[SUBCATCHS]\nS1 G1 J1 5 50 200 0.5 0.015 0.1 1 3 50 5 "
        "4 7 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 60\n[TIMESERIES]\nR1 2021/03/01 0:10 5 "
        "0:20 "
        "20 0:30 0\n";
    ASSERT_EQ(runProgram({"run", folder.write("rain.inp", text), "--quiet"}).status, 0);
    const std::string picture = folder.file("rain.svg");
    ASSERT_EQ(
        runProgram({"plot", folder.file("rain.bin"), "--object", "S1", "--column", "Runoff", "-o", picture}).status, 0);
    EXPECT_THAT(readFile(picture), HasSubstr("Rainfall (mm/h)"));
    // Two bars of 5 and two of 20 mm/h. Downward is positive in the picture.
    const std::vector<Bar> bars = readBars(readFile(picture));
    ASSERT_EQ(bars.size(), 4u);
    for (const Bar& bar : bars) {
        EXPECT_DOUBLE_EQ(bar.top, bars[0].top) << "the bars don't hang from one line";
    }
    EXPECT_NEAR(bars[1].bottom - bars[1].top, bars[0].bottom - bars[0].top, 0.05);
    EXPECT_NEAR(bars[2].bottom - bars[2].top, 4.0 * (bars[0].bottom - bars[0].top), 0.1);
    EXPECT_NEAR(bars[3].bottom - bars[3].top, 4.0 * (bars[0].bottom - bars[0].top), 0.1);
    ASSERT_EQ(
        runProgram({"plot", folder.file("rain.bin"), "--object", "J1", "--column", "TotInflow", "-o", picture}).status,
        0);
    EXPECT_THAT(readFile(picture), Not(HasSubstr("Rainfall")));
}

TEST_F(Results, APlotThatCannotBeDrawnSaysWhy) {
    const std::string picture = folder.file("out.svg");
    expectFailure({"plot", binary, "--object", "X9", "--column", "Flow", "-o", picture}, "no object X9");
    expectFailure({"plot", binary, "--object", "J1", "--column", "TotInflow", "-o", folder.file("none/out.svg")},
                  "cannot write");
    EXPECT_EQ(runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow", "-o", binary}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(picture));
}

TEST_F(Results, APlotWithoutGnuplotNamesItsPackage) {
    const std::string picture = folder.file("out.svg");
    const ProcessResult result =
        process_run({"env", "PATH=" + folder.file("nowhere"), "TMPDIR=" + folder.path.string(), TARNVELDE_PROGRAM,
                     "plot", binary, "--object", "J1", "--column", "TotInflow", "-o", picture});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("gnuplot-nox"));
    EXPECT_EQ(countFiles(folder.path), 4u);  // model, report and results, but neither a picture nor what it is made of
}

TEST_F(Results, APlotOfNoReportSaysSo) {
    std::string text = readFile(model);
    text.replace(text.find("REPORT_STEP 0:01:00"), std::string("REPORT_STEP 0:01:00").size(), "REPORT_STEP 1:00:00");
    const std::string brief = folder.write("brief.inp", text);
    ASSERT_EQ(runProgram({"run", brief, "--quiet"}).status, 0);
    ASSERT_EQ(runProgram({"run", brief, "--quiet", "--database"}).status, 0);
    for (const std::string& file : {folder.file("brief.bin"), folder.file("brief.db")}) {
        EXPECT_THAT(runProgram({"results", file}).out, HasSubstr(": 0 reports of 3600 s ")) << file;
        expectFailure({"plot", file, "--object", "J1", "--column", "TotInflow", "-o", folder.file("out.svg")},
                      "holds no report");
    }
}
