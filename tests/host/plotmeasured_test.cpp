// Points of what was measured beside lines of results.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/plotspy.h"
#include "host/resultsfixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

/// The results of four minutes of 1 March 2021, and files beside them.
struct Measures : Results {
    [[nodiscard]] PlotSpy spy(const std::vector<std::string>& measured,
                              const std::vector<std::string>& columns = {"TotInflow"}) const {
        std::vector<std::string> arguments{binary, "--object", "J1"};
        for (const std::string& column : columns) {
            arguments.insert(arguments.end(), {"--column", column});
        }
        for (const std::string& file : measured) {
            arguments.insert(arguments.end(), {"--measured", file});
        }
        return spyPlot(folder, arguments);
    }
    [[nodiscard]] std::string fail(const std::string& measured) const {
        const PlotSpy spied = spy({measured});
        EXPECT_EQ(spied.result.status, 1);
        EXPECT_EQ(spied.getScript(), "") << "nothing is drawn";
        return spied.result.err;
    }
};

}  // namespace

TEST_F(Measures, DatesAreReadAsIsoAndAsTheProjectHasThem) {
    const std::string file = folder.write("gauge.csv",
                                          "Date,Flow\n2021-03-01 00:01:00,0.1\n2021-03-01T00:01:30Z,0.2\n"
                                          "2021/03/01 0:02,0.3\n2021-MAR-01 0:02:30,+4e-1\n# a remark\n\n"
                                          "2021-03-01T00:03:00.250,\" 0.5 \"\n2021-03-01 00:03:20,\n"
                                          "2021-03-01 00:03:30,NaN\n2021-03-02,7\n");
    const PlotSpy spied = spy({file});
    EXPECT_THAT(spied.getRows("line1.dat"),
                ElementsAre(ElementsAre(60.0, 0.1), ElementsAre(90.0, 0.2), ElementsAre(120.0, 0.3),
                            ElementsAre(150.0, 0.4), ElementsAre(180.0, 0.5)))
        << "what lies after the run is left out";
    EXPECT_EQ(spied.result.err, "tarnvelde: gnuplot failed\n") << "nothing else is told";
    EXPECT_THAT(spied.getScript(), HasSubstr("'line1.dat' using 1:2 with points"));
    EXPECT_THAT(spied.getScript(), HasSubstr("title \"gauge Flow, measured\""));
}

TEST_F(Measures, BadLinesAreToldWithTheirNumbersAndTheOthersDrawn) {
    const std::string file = folder.write("gauge.csv",
                                          "Date,Flow\n2021-03-01 00:01,0.1\n01.03.2021 00:02,0.2\n"
                                          "2021-03-01 00:02,0.3l\n2021-03-01 00:03\n2021-02-30 00:02,1\n"
                                          "2021-03-01 00:04,0.4\n2021-03-01 00:04,inf\n");
    const std::string picture = folder.file("a.svg");
    const ProcessResult result =
        runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow", "--measured", file, "-o", picture});
    EXPECT_EQ(result.status, 0);
    const std::string place = "tarnvelde: " + file + ", line ";
    EXPECT_EQ(result.err, place + "3: no date: 01.03.2021 00:02\n" + place + "4: no number: 0.3l\n" + place +
                              "5: no value in column 2\n" + place + "6: no date: 2021-02-30 00:02\n" + place +
                              "8: no number: inf\n");
    EXPECT_THAT(readFile(picture), HasSubstr(">gauge Flow, measured<"));
    EXPECT_THAT(spy({file}).getRows("line1.dat"), ElementsAre(ElementsAre(60.0, 0.1), ElementsAre(240.0, 0.4)));
}

TEST_F(Measures, ManyBadLinesAreCounted) {
    std::string text = "Date,Flow\n2021-03-01 00:01,0.1\n";
    for (int k = 0; k < 25; ++k) {
        text += "2021-03-01 00:01,x\n";
    }
    const std::string file = folder.write("a.csv", text), told = spy({file + ":Flow"}).result.err;
    EXPECT_THAT(told, HasSubstr("line 12: no number: x\n"));
    EXPECT_THAT(told, Not(HasSubstr("line 13")));
    EXPECT_THAT(told, HasSubstr("tarnvelde: 15 more lines of " + file + " can't be read\n"));
}

TEST_F(Measures, ColumnsAreFoundByTitleUnitAndNumber) {
    const std::string file = folder.write("a.csv",
                                          "\xEF\xBB\xBF"
                                          "Time;Flow (m3/s);\"Probe \"\"A\"\"; lab (mg/L)\"\r\n"
                                          "2021-03-01 00:01;0,25;3,5\r\n2021-03-01 00:02;0.5;4\r\n");
    const auto flows = ElementsAre(ElementsAre(60.0, 0.25), ElementsAre(120.0, 0.5));
    const auto loads = ElementsAre(ElementsAre(60.0, 3.5), ElementsAre(120.0, 4.0));
    for (const char* column : {"", ":flow", ":FLOW (M3/S)", ":2"}) {
        EXPECT_THAT(spy({file + column}).getRows("line1.dat"), flows) << column;
    }
    const std::vector<std::string> both{"TotInflow", "NH4-N"};
    for (const char* column : {":Probe \"A\"; lab", ":3"}) {
        const PlotSpy spied = spy({file + column}, both);
        EXPECT_THAT(spied.getRows("line2.dat"), loads);
        EXPECT_THAT(spied.getScript(), HasSubstr("'line2.dat' using 1:2 axes x1y2 with points")) << "by its unit";
    }
    const PlotSpy pair = spy({file + ":3", file}, both);
    EXPECT_THAT(pair.getRows("line2.dat"), loads);
    EXPECT_THAT(pair.getRows("line3.dat"), flows);
    EXPECT_THAT(fail(file + ":3"), HasSubstr("is in mg/L, and no line of the picture is: they are in m3/s"));
    EXPECT_THAT(fail(file + ":Level"),
                HasSubstr("no column Level in " + file + "; there are Flow (m3/s), Probe \"A\"; lab (mg/L)"));
    for (const char* column : {":1", ":4", ":0", ":-1", ":99999999999999999999"}) {
        EXPECT_THAT(fail(file + column), HasSubstr("no column")) << column;
    }
}

TEST_F(Measures, AFileNeedsNoTitles) {
    const std::string file = folder.write("a:b.csv", "2021-03-01 00:01\t0.25\t3\n2021-03-01 00:02\t0.5\t4\n");
    EXPECT_THAT(spy({file}).getRows("line1.dat"), ElementsAre(ElementsAre(60.0, 0.25), ElementsAre(120.0, 0.5)));
    EXPECT_THAT(spy({file + ":3"}).getRows("line1.dat"), ElementsAre(ElementsAre(60.0, 3.0), ElementsAre(120.0, 4.0)));
    EXPECT_THAT(spy({file}).getScript(), HasSubstr("title \"a:b, measured\""));
}

TEST_F(Measures, ResultsAsCsvAreReadAsMeasured) {
    const std::string file = folder.write("a.csv", runProgram({"results", binary, "--object", "O_1", "--csv"}).out);
    EXPECT_EQ(spy({file + ":NH4-N"}, {"TotInflow", "NH4-N"}).getRows("line2.dat").size(), 4u);
}

TEST_F(Measures, FilesThatHoldNothingSaySo) {
    EXPECT_THAT(fail(folder.file("none.csv")), HasSubstr("cannot open " + folder.file("none.csv")));
    EXPECT_THAT(fail(folder.path.string()), HasSubstr("is no file of measured values"));
    EXPECT_THAT(fail("/dev/null"), HasSubstr("is no file of measured values"));
    EXPECT_THAT(fail(folder.write("a.csv", "")), HasSubstr("holds no value"));
    EXPECT_THAT(fail(folder.write("a.csv", "Date,Flow\n")), HasSubstr("holds no value"));
    EXPECT_THAT(fail(folder.write("a.csv", "Date\n2021-03-01\n")), HasSubstr("no column of values"));
    EXPECT_THAT(fail(folder.write("a.csv", "Date,Flow\nx,1\n")),
                HasSubstr("a.csv, line 2: no date: x; no other line has a value either"));
    EXPECT_THAT(fail(binary), HasSubstr(binary));
    EXPECT_THAT(fail(folder.write("a.csv", std::string(3000000, ','))), HasSubstr("line 1 is too long for a table"));
}

TEST_F(Measures, PointsOutsideOfTheTimeAreToldAndTheRestIsDrawn) {
    const std::string file = folder.write("a.csv", "Date,Flow\n2022-03-01 00:01,0.1\n");
    const std::string picture = folder.file("a.svg");
    const ProcessResult result =
        runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow", "--measured", file, "-o", picture});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "tarnvelde: no value of " + file + " lies in the time of the picture\n");
    EXPECT_THAT(readFile(picture), HasSubstr(">a Flow, measured<"));
}

TEST_F(Measures, APictureNeverTakesTheirPlace) {
    const std::string text = "Date,Flow\n2021-03-01 00:01,0.1\n";
    for (const auto& [input, output] : {std::pair{"a.svg", "a.svg"}, {"b.svg.part", "b.svg"}}) {
        const std::string file = folder.write(input, text);
        for (const char* column : {"", ":Flow"}) {
            const ProcessResult result = runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow",
                                                     "--measured", file + column, "-o", folder.file(output)});
            EXPECT_EQ(result.status, 2);
            EXPECT_THAT(result.err, HasSubstr("the picture would take the place of what was measured"));
            EXPECT_EQ(readFile(file), text);
        }
    }
}

TEST_F(Measures, NamesInThemDrawThemselvesAndNothingElse) {
    const TempFolder work;
    const std::string file = folder.write("{a}`touch ran`.csv",
                                          "Date,\"\"\"; system('touch ran') # @x $(touch ran) \x1B[2J\xFC\"\n"
                                          "2021-03-01 00:01,0.1\n\x1B[2J,1\n");
    const ProcessResult result =
        process_run({"env", "TMPDIR=" + work.path.string(), TARNVELDE_PROGRAM, "plot", binary, "--object", "J1",
                     "--column", "TotInflow", "--measured", file, "-o", folder.file("a.svg")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("line 3: no date: ?[2J\n"));
    EXPECT_EQ(countFiles(work.path), 0u);
    EXPECT_THAT(readFile(folder.file("a.svg")), HasSubstr("@x $(touch ran) ?[2J\xC3\xBC, measured"));
}
