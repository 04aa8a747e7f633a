// Pictures of results.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "aside.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "host/svglabels.h"
#include "picture.h"
#include "plotticks.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr double MARCH = 44256.0;  ///< 1 March 2021, days since 30 December 1899

std::vector<std::string> listTexts(const std::vector<PlotTick>& ticks) {
    std::vector<std::string> texts;
    for (const PlotTick& tick : ticks) {
        texts.push_back(tick.label + (tick.day.empty() ? "" : '|' + tick.day));
    }
    return texts;
}

}  // namespace

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
        if (svg.substr(at, svg.find("</text>", at) - at).find("2021-03-01") != std::string::npos) {
            EXPECT_GE(x, HALF_DATE);
            EXPECT_LE(x, WIDTH - HALF_DATE);
            ++dates;
        }
    }
    EXPECT_EQ(dates, 1) << "the day stands below its first time alone";
    EXPECT_THAT(svg, HasSubstr(">00:01:00<"));
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

TEST(PlotOfLand, HasNoBarsWithoutRainAndNoneBesideTheRainItself) {
    TempFolder folder;
    const std::string text =
        "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 1:30\nROUTING_STEP 0:01:00\n"
        "REPORT_STEP 0:05:00\n[RAINGAGES]\nG1 INTENSITY 0:10 R1\nG2 INTENSITY 0:10 R2\n[SUBCATCHS]\n"
        "DRY G1 J1 5 50 200 0.5 0.015 0.1 1 3 50 5 4 7 0\nWET G2 J1 5 50 200 0.5 0.015 0.1 1 3 50 5 4 7 0\n"
        "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 60\n[TIMESERIES]\n"
        "R1 2021/03/01 0:10 0 0:20 0\nR2 2021/03/01 0:10 20 0:20 5 0:30 0\n";
    ASSERT_EQ(runProgram({"run", folder.write("land.inp", text), "--quiet"}).status, 0);
    const auto draw = [&](const char* object, const char* column) {
        const ProcessResult result = runProgram(
            {"plot", folder.file("land.bin"), "--object", object, "--column", column, "-o", folder.file("a.svg")});
        EXPECT_EQ(result.status, 0) << result.err;
        return readFile(folder.file("a.svg"));
    };
    const std::string dry = draw("DRY", "Runoff");
    EXPECT_THAT(dry, HasSubstr("Rainfall (mm/h)"));
    for (const Bar& bar : readBars(dry)) {
        EXPECT_DOUBLE_EQ(bar.top, bar.bottom);
    }
    // The first bar is four times the second one, though it comes first.
    const std::vector<Bar> bars = readBars(draw("WET", "Runoff"));
    ASSERT_GE(bars.size(), 3u);
    EXPECT_NEAR(bars[0].bottom - bars[0].top, 4.0 * (bars[2].bottom - bars[2].top), 0.1);
    const std::string rain = draw("WET", "Rainfall");
    EXPECT_THAT(rain, HasSubstr("<title id=\"title\">Rainfall (mm/h) of WET</title>"));
    EXPECT_THAT(rain, Not(HasSubstr("with the rain hanging from the top")));
}

TEST(PlotOfUnits, NamesThemWhereTheyDiffer) {
    TempFolder folder;
    // A pollutant may be called like a column of another table.
    const std::string text =
        "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 1:00\nROUTING_STEP 0:01:00\n"
        "REPORT_STEP 0:05:00\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\nC1 J1 O1 NO 900 0.5 0.013 CIRCULAR 0.6\n"
        "[POLLUTANTS]\nVelocity 0\n[INFLOWS]\nJ1 FLOW FLOW 0.05 \"\" 0\nJ1 CONCEN Velocity 3 \"\" 0\n";
    ASSERT_EQ(runProgram({"run", folder.write("a.inp", text), "--quiet"}).status, 0);
    const ProcessResult result = runProgram({"plot", folder.file("a.bin"), "--object", "J1", "--object", "C1",
                                             "--column", "Velocity", "-o", folder.file("a.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string svg = readFile(folder.file("a.svg"));
    EXPECT_THAT(svg, HasSubstr(">J1 (mg/L)<"));
    EXPECT_THAT(svg, HasSubstr(">C1 (m/s)<"));
    EXPECT_THAT(svg, HasSubstr("<title id=\"title\">Velocity of J1, C1</title>")) << "no unit is that of all";
}

TEST_F(Results, APlotThatCannotBeDrawnSaysWhy) {
    const std::string picture = folder.file("out.svg");
    expectFailure({"plot", binary, "--object", "X9", "--column", "Flow", "-o", picture}, "no object X9");
    expectFailure({"plot", binary, "--object", "J1", "--column", "TotInflow", "-o", folder.file("none/out.svg")},
                  "cannot write");
    const std::string named = folder.write("results.svg", readFile(binary));
    EXPECT_EQ(runProgram({"plot", named, "--object", "J1", "--column", "TotInflow", "-o", named}).status, 2);
    EXPECT_EQ(readFile(named), readFile(binary));
    EXPECT_FALSE(std::filesystem::exists(picture));
}

TEST_F(Results, APlotWithoutGnuplotNamesItsPackage) {
    const std::string picture = folder.file("out.svg");
    const ProcessResult result =
        process_run({"env", "PATH=" + folder.file("nowhere"), "TMPDIR=" + folder.path.string(), TARNVELDE_PROGRAM,
                     "plot", binary, "--object", "J1", "--column", "TotInflow", "-o", picture});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("gnuplot-nox"));
    EXPECT_EQ(countFiles(folder.path),
              5u);  // model, report, results and their identity, but neither a picture nor what it is made of
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

// --- dates below a picture -----------------------------------------------------------------------------------------

struct PlotLength {
    const char* name;
    double start;
    int64_t step;  ///< s
    int64_t reports;
};

struct Plots : testing::TestWithParam<PlotLength> {};

TEST_P(Plots, LabelsDoNotTouch) {
    TempFolder folder;
    const PlotLength& length = GetParam();
    const std::string file = folder.write("a.bin", makeResults(length.start, length.step, length.reports));
    const ProcessResult result =
        runProgram({"plot", file, "--object", "J1", "--column", "TotInflow", "-o", folder.file("a.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<Label> labels = readLabels(readFile(folder.file("a.svg")));
    for (size_t a = 0; a < labels.size(); ++a) {
        EXPECT_GE(labels[a].left, 0.0) << labels[a].text;
        EXPECT_LE(labels[a].right, 960.0) << labels[a].text;
        for (size_t b = a + 1; b < labels.size(); ++b) {
            const bool isApart = labels[a].right < labels[b].left || labels[b].right < labels[a].left ||
                                 labels[a].bottom <= labels[b].top || labels[b].bottom <= labels[a].top;
            EXPECT_TRUE(isApart) << labels[a].text << " and " << labels[b].text;
        }
    }
    // Those of the axis stand in one row; where they end, the reader must still find his way.
    size_t dates = 0;
    for (const Label& label : labels) {
        dates += label.top > 405.0 && label.bottom < 432.0 && label.text != "J1" ? 1 : 0;
    }
    EXPECT_GE(dates, 4u);
    EXPECT_LE(dates, 20u);
}

INSTANTIATE_TEST_SUITE_P(
    HostPlots, Plots,
    testing::Values(PlotLength{"20s", MARCH + 0.5, 1, 20}, PlotLength{"10min", MARCH + 0.37, 60, 10},
                    PlotLength{"3h", MARCH, 60, 180}, PlotLength{"3hOverMidnight", MARCH + 0.99, 60, 180},
                    PlotLength{"1d", MARCH, 300, 288}, PlotLength{"1dFromEvening", MARCH + 0.95, 300, 288},
                    PlotLength{"2d", MARCH, 900, 192}, PlotLength{"2dFromNight", MARCH + 0.995, 900, 192},
                    PlotLength{"week", MARCH, 3600, 168}, PlotLength{"month", MARCH, 3600, 744},
                    PlotLength{"quarter", MARCH + 0.3, 86400, 91}, PlotLength{"year", MARCH - 59, 86400, 365},
                    PlotLength{"yearFromDecember", MARCH - 91, 86400, 365},
                    PlotLength{"3years", MARCH - 20, 86400, 1096}, PlotLength{"10years", MARCH, 7 * 86400, 522},
                    PlotLength{"100years", MARCH, 365 * 86400, 100}),
    [](const testing::TestParamInfo<PlotLength>& length) { return std::string(length.param.name); });

TEST(PlotTicks, AreRound) {
    constexpr double WIDTH = 100.0;  // characters
    EXPECT_THAT(listTexts(plotticks_choose(MARCH, MARCH + 2, WIDTH)),
                ElementsAre("00:00|2021-03-01", "06:00", "12:00", "18:00", "00:00|2021-03-02", "06:00", "12:00",
                            "18:00", "00:00|2021-03-03"));
    EXPECT_THAT(listTexts(plotticks_choose(MARCH, MARCH + 7, WIDTH)),
                ElementsAre("2021-03-01", "2021-03-02", "2021-03-03", "2021-03-04", "2021-03-05", "2021-03-06",
                            "2021-03-07", "2021-03-08"));
    EXPECT_THAT(listTexts(plotticks_choose(MARCH + 306, MARCH + 1402, WIDTH)),
                ElementsAre("Jan|2022", "Mar", "May", "Jul", "Sep", "Nov", "Jan|2023", "Mar", "May", "Jul", "Sep",
                            "Nov", "Jan|2024", "Mar", "May", "Jul", "Sep", "Nov", "Jan|2025"));
    EXPECT_THAT(listTexts(plotticks_choose(MARCH - 200, MARCH + 3650, WIDTH)),
                ElementsAre("2021", "2022", "2023", "2024", "2025", "2026", "2027", "2028", "2029", "2030", "2031"));
    EXPECT_THAT(listTexts(plotticks_choose(-700000.0, -699990.0, WIDTH)).size(), testing::Gt(3u)) << "before our era";
}

TEST(PlotTicks, TheFirstDayGivesWayToTheNext) {
    // Ten characters an hour: 23:30 is five ahead of midnight, and a day is ten wide.
    const double begin = MARCH + 23.5 / 24.0;
    const std::vector<PlotTick> ticks = plotticks_choose(begin, begin + 10.0 / 24.0, 100.0);
    EXPECT_THAT(listTexts(ticks).front(), "00:00|2021-03-02");
    const std::vector<PlotTick> wide = plotticks_choose(begin, begin + 10.0 / 24.0, 200.0);
    EXPECT_THAT(listTexts(wide)[0], "23:30");
    EXPECT_THAT(listTexts(wide)[1], "00:00|2021-03-02");
}

// --- forms and files -----------------------------------------------------------------------------------------------

TEST_F(Results, TheExtensionOfAPictureIsItsForm) {
    for (const auto& [name, mark] : {std::pair{"a.svg", "<?xml"}, {"a.PNG", "\x89PNG"}, {"a.Pdf", "%PDF"}}) {
        const ProcessResult result =
            runProgram({"plot", database, "--object", "J1", "--column", "TotInflow", "-o", folder.file(name)});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(readFile(folder.file(name)), StartsWith(mark));
        EXPECT_TRUE(picture_isWhole(picture_getForm(name), readFile(folder.file(name))));
    }
}

TEST_F(Results, AnyOtherExtensionIsWrongUsage) {
    for (const char* name : {"a.gif", "a", "a.svg.gz", "a.", ".svg", "png", "svg/a", ""}) {
        const std::string picture = *name ? folder.file(name) : "";
        const ProcessResult result =
            runProgram({"plot", folder.file("nothing.bin"), "--object", "J1", "--column", "TotInflow", "-o", picture});
        EXPECT_EQ(result.status, 2) << name;
        EXPECT_THAT(result.err, HasSubstr("a picture ends with .svg, .png or .pdf")) << name;
        EXPECT_THAT(result.err, Not(HasSubstr("nothing.bin"))) << "it was looked at";
    }
    EXPECT_EQ(countFiles(folder.path), 5u);  // model, report, results and their identity
}

TEST_F(Results, AnOldPictureSurvivesAFailedOne) {
    for (const char* name : {"a.svg", "a.png", "a.pdf"}) {
        const std::string picture = folder.write(name, "an old picture");
        const int status = process_fork([&] {
            process_limitFileSize(4096);
            const ProcessResult result =
                runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow", "-o", picture});
            return result.status == 1 && result.err.find("tarnvelde: ") != std::string::npos ? 0 : 1;
        });
        EXPECT_EQ(status, 0) << name;
        EXPECT_EQ(readFile(picture), "an old picture");
    }
    EXPECT_EQ(countFiles(folder.path), 8u);
}

TEST(Picture, IsPutInPlaceWhole) {
    TempFolder folder;
    const std::string name = folder.write("a.svg", "old");
    std::filesystem::permissions(name, std::filesystem::perms(0640));
    EXPECT_EQ(aside_write(name, "new"), "");
    EXPECT_EQ(readFile(name), "new");
    EXPECT_EQ(std::filesystem::status(name).permissions(), std::filesystem::perms(0640));
    EXPECT_THAT(folder.list(), ElementsAre("a.svg"));
}

TEST(Picture, ThatCannotBeWrittenLeavesTheOldOne) {
    TempFolder folder;
    const std::string name = folder.write("a.svg", "old");
    const int status = process_fork([&] {
        process_limitFileSize(1000);
        return aside_write(name, std::string(5000, 'x')).find("cannot write " + name) == 0 ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readFile(name), "old");
    EXPECT_THAT(folder.list(), ElementsAre("a.svg")) << "what was written aside is gone";
}

TEST(Picture, GoesWhereALinkLeads) {
    TempFolder folder;
    std::filesystem::create_directory(folder.path / "far");
    std::filesystem::create_symlink("far/b.svg", folder.path / "a.svg");
    EXPECT_EQ(aside_write(folder.file("a.svg"), "first"), "");
    EXPECT_EQ(aside_write(folder.file("a.svg"), "second"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path / "a.svg"));
    EXPECT_EQ(readFile(folder.path / "far" / "b.svg"), "second");
}

TEST(Picture, IsNoFolderAndNoPipe) {
    TempFolder folder;
    std::filesystem::create_directory(folder.path / "a.svg");
    EXPECT_THAT(aside_write(folder.file("a.svg"), "x"), EndsWith("it is no file"));
    ASSERT_EQ(mkfifo(folder.file("b.svg").c_str(), 0600), 0);
    EXPECT_THAT(aside_write(folder.file("b.svg"), "x"), EndsWith("it is no file"));
    EXPECT_THAT(aside_write(folder.file("none/c.svg"), "x"), HasSubstr("cannot write"));
}

TEST(Picture, IsWholeFromItsBeginningToItsEnd) {
    EXPECT_TRUE(picture_isWhole(PictureForm::SVG, "<?xml?>\n<svg></svg>\n\n"));
    EXPECT_FALSE(picture_isWhole(PictureForm::SVG, "<?xml?>\n<svg></sv"));
    EXPECT_FALSE(picture_isWhole(PictureForm::PNG, "\x89PNG..."));
    EXPECT_FALSE(picture_isWhole(PictureForm::PDF, "%PDF-1.5\n..."));
    EXPECT_FALSE(picture_isWhole(PictureForm::PDF, ""));
}

// --- what is drawn -------------------------------------------------------------------------------------------------

TEST(Plot, NamesItselfToReadersThatCannotSee) {
    TempFolder folder;
    const std::string file = folder.write("a.bin", makeResults(MARCH, 900, 96, "a<b>&'c\xE4"));
    const ProcessResult result =
        runProgram({"plot", file, "--object", "A<B>&'C\xC3\xA4", "--column", "totinflow", "-o", folder.file("a.svg")});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string svg = readFile(folder.file("a.svg"));
    EXPECT_THAT(svg, HasSubstr("<svg role=\"img\" aria-labelledby=\"title desc\""));
    EXPECT_THAT(svg, HasSubstr("<title id=\"title\">TotInflow (m3/s) of a&lt;b&gt;&amp;'c\xC3\xA4</title>"));
    EXPECT_THAT(svg,
                HasSubstr("<desc id=\"desc\">Lines over the time from 2021-03-01 00:00:00 to 2021-03-02 00:00:00"));
    EXPECT_THAT(svg, Not(HasSubstr("Produced by")));
    EXPECT_THAT(svg, Not(HasSubstr("a<b"))) << "a name is no mark";
    EXPECT_THAT(svg, HasSubstr("<text>a&lt;b>&amp;'c\xC3\xA4</text>")) << "text stays text";
}

TEST(Plot, ShowsTheTimeThatIsAskedFor) {
    TempFolder folder;
    const std::string file = folder.write("a.bin", makeResults(MARCH, 900, 960));
    const std::vector<std::string> plot{"plot",     file,         "--object", "J1",
                                        "--column", "TotInflow",  "-o",       folder.file("a.svg"),
                                        "--from",   "2021/03/03", "--to"};
    std::vector<std::string> part = plot, early = plot;
    part.push_back("2021/03/04");
    early.push_back("2021/03/02");
    ASSERT_EQ(runProgram(part).status, 0);
    const std::string svg = readFile(folder.file("a.svg"));
    EXPECT_THAT(svg, HasSubstr("2021-03-03 00:00:00 to 2021-03-04 00:00:00"));
    EXPECT_THAT(svg, HasSubstr(">2021-03-03<"));
    EXPECT_THAT(svg, Not(HasSubstr(">2021-03-05<")));
    EXPECT_EQ(runProgram(early).status, 2) << "the end lies ahead of the start";
    const ProcessResult late = runProgram(
        {"plot", file, "--object", "J1", "--column", "TotInflow", "-o", folder.file("b.svg"), "--from", "2021/04/01"});
    EXPECT_EQ(late.status, 1);
    EXPECT_THAT(late.err, HasSubstr("lies in this time; its 960 reports go from 2021-03-01 00:15:00 to "));
    EXPECT_FALSE(folder.has("b.svg"));
}

TEST(Plot, OfOneReportIsAPoint) {
    TempFolder folder;
    const std::string file = folder.write("a.bin", makeResults(MARCH, 900, 1));
    ASSERT_EQ(runProgram({"plot", file, "--object", "J1", "--column", "TotInflow", "-o", folder.file("a.svg")}).status,
              0);
    EXPECT_THAT(readFile(folder.file("a.svg")), HasSubstr("<use xlink:href='#gpPt6'"));
}

TEST(Plot, OfNoNumberSaysSo) {
    TempFolder folder;
    std::string bytes = makeResults(MARCH, 900, 2);
    const size_t record = 8 + 4 * 14;
    for (size_t k = 1; k <= 2; ++k) {
        bytes.replace(bytes.size() - 28 - k * record + 8 + 4 * 12, 4, getBytes(NOT_A_NUMBER));
    }
    const ProcessResult result = runProgram(
        {"plot", folder.write("a.bin", bytes), "--object", "J1", "--column", "TotInflow", "-o", folder.file("a.svg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("holds no number of TotInflow to draw"));
}

TEST(Plot, OfDatesThatCannotBeIsRefused) {
    TempFolder folder;
    const std::string whole = makeResults(MARCH, 900, 3);
    const size_t start = whole.find(getBytes(MARCH) + getBytes(int32_t{900}));
    const size_t last = whole.size() - 28 - (8 + 4 * 14);
    for (const double date : {1e300, -1e300, 1e7, -1e7}) {
        for (const size_t place : {start, last}) {
            std::string damaged = whole;
            damaged.replace(place, 8, getBytes(date));
            const ProcessResult result = runProgram({"plot", folder.write("a.bin", damaged), "--object", "J1",
                                                     "--column", "TotInflow", "-o", folder.file("a.svg")});
            const bool isHarmless = place == start && date > 0.0;  // the axis begins with the first report then
            EXPECT_EQ(result.status, isHarmless ? 0 : 1) << date;
            EXPECT_EQ(result.err.find("is damaged: its dates can't be") != std::string::npos, !isHarmless) << date;
        }
    }
}

TEST(Plot, SpellsTheOutflowOfAPipeAsPeopleDo) {
    TempFolder folder;
    ASSERT_EQ(runProgram({"run", folder.write("a.inp", GOOD_PROJECT), "--quiet"}).status, 0);
    for (const char* name : {"Outflow", "outfow"}) {
        ASSERT_EQ(
            runProgram({"plot", folder.file("a.bin"), "--object", "p1", "--column", name, "-o", folder.file("a.svg")})
                .status,
            0);
        EXPECT_THAT(readFile(folder.file("a.svg")), HasSubstr(">Outflow (m3/s)<"));
    }
}
