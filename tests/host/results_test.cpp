#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/program.h"
#include "support/tempfolder.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// Steps of a minute with a sample each; C1 delays 0.5 m3/s with 4 mg/L by two minutes.
constexpr const char* MODEL =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:04:30\nROUTING_STEP 0:01:00\n"
    "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO'1\n[CONNECTIONS]\nC1 J1 O'1 NO 120\n"
    "J1 J1 O'1 NO 0\n[POLLUTANTS]\nNH4-N 0\n[INFLOWS]\nJ1 FLOW FLOW 0.5 \"\" 1\nJ1 MASS NH4-N 0.002 \"\" 1\n";

/// The model without the second link, run into both kinds of file.
struct Results : testing::Test {
    TempFolder folder;
    std::string model, binary, database;

    void SetUp() override {
        std::string text = MODEL;
        text.erase(text.find("J1 J1 O'1"), std::string("J1 J1 O'1 NO 0\n").size());
        text.replace(text.find("O'1"), 3, "O_1");
        text.replace(text.find("O'1"), 3, "O_1");
        model = folder.write("model.inp", text);
        binary = folder.file("model.bin");
        database = folder.file("model.db");
        ASSERT_EQ(runProgram({"run", model, "--quiet"}).status, 0);
        ASSERT_EQ(runProgram({"run", model, "--quiet", "--database"}).status, 0);
    }

    static void expectFailure(const std::vector<std::string>& arguments, const std::string& message) {
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr(message));
    }
};

}  // namespace

TEST_F(Results, ListNamesTablesColumnsAndObjects) {
    for (const std::string& file : {binary, database}) {
        const ProcessResult result = runProgram({"results", file});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, HasSubstr(": 4 reports of 60 s from 2021-03-01 00:00:00 on\n"));
        EXPECT_THAT(result.out, HasSubstr("\nConnection\n  columns: Inflow (m3/s), Outflow (m3/s), NH4"));
        EXPECT_THAT(result.out, HasSubstr("\n  objects: C1\n"));
        EXPECT_THAT(result.out, Not(HasSubstr("Tank")));
    }
}

TEST_F(Results, SeriesHasADateAndAValuePerReport) {
    for (const std::string& file : {binary, database}) {
        const ProcessResult result = runProgram({"results", file, "--object", "c1", "--column", "outflow", "--csv"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out,
                  "Date,Outflow (m3/s)\n2021-03-01 00:01:00,0\n2021-03-01 00:02:00,0\n2021-03-01 00:03:00,0.5\n"
                  "2021-03-01 00:04:00,0.5\n");
    }
}

TEST_F(Results, AHyphenAndALowLineNameTheSamePollutant) {
    for (const std::string& file : {binary, database}) {
        for (const char* column : {"NH4-N", "nh4_n"}) {
            const ProcessResult result = runProgram({"results", file, "--object", "J1", "--column", column, "--csv"});
            EXPECT_THAT(result.out, HasSubstr("2021-03-01 00:01:00,4\n"));
        }
    }
}

TEST_F(Results, JsonHoldsTheSame) {
    const ProcessResult result = runProgram({"results", binary, "--object", "O_1", "--column", "TotInflow", "--json"});
    EXPECT_EQ(result.out,
              "{\"table\": \"Outfall\", \"object\": \"O_1\",\n \"dates\": [\"2021-03-01 00:01:00\", \"2021-03-01 "
              "00:02:00\", \"2021-03-01 00:03:00\", \"2021-03-01 00:04:00\"],\n \"columns\": [\n  {\"name\": "
              "\"TotInflow\", \"unit\": \"m3/s\", \"values\": [0, 0, 0.5, 0.5]}\n ]}\n");
}

TEST_F(Results, WithoutAColumnAllOfThemAreShown) {
    const ProcessResult result = runProgram({"results", binary, "--object", "System", "--csv"});
    EXPECT_THAT(result.out, StartsWith("Date,Rainfall (mm/h),Evap (mm/d),"));
    EXPECT_THAT(result.out, HasSubstr("2021-03-01 00:03:00,0,0,0,0,1,0.5,0,0,0,0.5,0,0\n"));
}

TEST_F(Results, SummaryTellsMinimumMeanMaximumAndItsTime) {
    for (const std::string& file : {binary, database}) {
        const ProcessResult result = runProgram({"results", file, "--summary", "--csv"});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, StartsWith("Table,Object,Column,Minimum,Mean,Maximum,Time of maximum\n"));
        EXPECT_THAT(result.out, HasSubstr("\nConnection,C1,Outflow (m3/s),0,0.25,0.5,2021-03-01 00:03:00\n"));
        EXPECT_THAT(result.out, HasSubstr("\nSystem,System,TotInflow (m3/s),0.5,0.75,1,2021-03-01 00:03:00\n"));
    }
}

TEST_F(Results, AnUnknownObjectOrColumnIsTold) {
    expectFailure({"results", binary, "--object", "X9"}, "no object X9");
    expectFailure({"results", binary, "--object", "C1", "--column", "Depth"},
                  "no column Depth of C1; there are Inflow, Outflow, NH4-N");
}

TEST_F(Results, ANameOfTwoObjectsWantsItsTable) {
    folder.write("two.inp", MODEL);
    ASSERT_EQ(runProgram({"run", folder.file("two.inp"), "--quiet"}).status, 1);  // a junction has one outlet
    std::string text = MODEL;
    text.erase(text.find("C1 J1 O'1"), std::string("C1 J1 O'1 NO 120\n").size());
    folder.write("two.inp", text);
    ASSERT_EQ(runProgram({"run", folder.file("two.inp"), "--quiet"}).status, 0);
    const std::string two = folder.file("two.bin");
    expectFailure({"results", two, "--object", "J1", "--column", "NH4-N"}, "ask for Junction:J1 or Connection:J1");
    EXPECT_EQ(runProgram({"results", two, "--object", "J1", "--column", "Outflow"}).status, 0);
    EXPECT_EQ(runProgram({"results", two, "--object", "connection:j1", "--column", "NH4-N"}).status, 0);
}

TEST_F(Results, EachTruncatedFileIsRefused) {
    const std::string whole = readFile(binary);
    for (size_t length = 0; length < whole.size(); length += length < 80 ? 3 : 29) {
        const std::string cut = folder.write("cut.bin", whole.substr(0, length));
        const ProcessResult result = runProgram({"results", cut});
        ASSERT_EQ(result.status, 1) << length;
        ASSERT_THAT(result.err, HasSubstr("cut.bin is")) << length;
    }
}

TEST_F(Results, EachDamagedFieldIsRefusedOrHarmless) {
    const std::string whole = readFile(binary);
    for (size_t place = 0; place < whole.size(); place += 13) {
        for (const char value : {'\xFF', '\x7F'}) {
            std::string damaged = whole;
            damaged[place] = value;
            const ProcessResult result = runProgram({"results", folder.write("bad.bin", damaged), "--summary"});
            ASSERT_TRUE(result.status == 0 || result.status == 1) << place << ' ' << result.status;
        }
    }
}

TEST_F(Results, ForeignFilesAreRefused) {
    expectFailure({"results", model}, "is no file of results");
    expectFailure({"results", folder.file("nothing")}, "cannot open");
    expectFailure({"results", folder.path.string()}, "is no file of results");
    const std::string foreign = folder.file("foreign.db");
    ASSERT_EQ(process_run({"sqlite3", foreign, "create table T (A)"}).status, 0);
    expectFailure({"results", foreign}, "is no database of results");
    folder.write("broken.db", readFile(database).substr(0, 3000));
    expectFailure({"results", folder.file("broken.db")}, "broken.db");
}

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

TEST(ResultsUsage, WrongUsageGivesTwo) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"results"},
                                                      {"results", "a.bin", "--column", "Flow"},
                                                      {"results", "a.bin", "--object", "P1", "--csv", "--json"},
                                                      {"results", "a.bin", "--json"},
                                                      {"plot", "a.bin"},
                                                      {"plot", "a.bin", "--object", "P1", "--column", "Flow"}}) {
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err, "");
    }
}
