#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/program.h"
#include "support/fileimage.h"
#include "support/tempfolder.h"

using testing::EndsWith;
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

namespace {

/// A binary file beyond 4 GiB that takes next to no room on the disk: all its values are 0 but for the last one of each
/// record, the concentration of the last pollutant in the pavement of the last of 1000 LID monomers.
struct GreatFile {
    static constexpr int64_t POLLUTANTS = 1000, OBJECTS = 1000, REPORTS = 300;
    static constexpr uint64_t RECORD = 8 + 4 * (12 + OBJECTS * (11 + 4 * POLLUTANTS));
    static_assert(RECORD * REPORTS > uint64_t{1} << 32);

    TempFolder folder;
    std::string name = folder.file("great.bin");

    /// False if the file system can't hold such a file.
    bool make() const {
        FileImage head;
        addNames(head);
        const auto codes = static_cast<int64_t>(head.bytes.size());
        addCodes(head);
        head.addDouble(START);
        head.addInteger(3600);
        const uint64_t records = head.bytes.size(), end = records + RECORD * REPORTS;
        FileImage closing;
        closing.addIntegers({64, codes, static_cast<int64_t>(records) - 12, static_cast<int64_t>(records), REPORTS, 0});
        closing.addInteger(MAGIC_NUMBER);
        folder.write("great.bin", head.bytes);
        std::error_code failure;
        std::filesystem::resize_file(name, end, failure);
        if (failure) {
            return false;
        }
        std::fstream file(name, std::ios::binary | std::ios::in | std::ios::out);
        for (int64_t k = 0; k < REPORTS; ++k) {
            const uint64_t record = records + static_cast<uint64_t>(k) * RECORD;
            FileImage date, value;
            date.addDouble(START + static_cast<double>(k + 1) / 24.0);
            value.addFloats({static_cast<float>(k)});
            file.seekp(static_cast<std::streamoff>(record)).write(date.bytes.data(), 8);
            file.seekp(static_cast<std::streamoff>(record + RECORD - 4)).write(value.bytes.data(), 4);
        }
        file.seekp(static_cast<std::streamoff>(end)).write(closing.bytes.data(), 28);
        file.close();
        struct stat status;
        return file && stat(name.c_str(), &status) == 0 && static_cast<uint64_t>(status.st_size) == end + 28;
    }

private:
    static constexpr int64_t MAGIC_NUMBER = 516114522;
    static constexpr double START = 44256.0;  ///< 1 March 2021

    static void addNames(FileImage& head) {
        head.addIntegers({MAGIC_NUMBER, 21000, 0, 0, 0, 0, 0, 0, OBJECTS, 0, 0, 0, 0, 0, 0, POLLUTANTS});
        for (int64_t k = 1; k <= OBJECTS; ++k) {
            head.addName("M" + std::to_string(k));
        }
        for (int64_t k = 1; k <= POLLUTANTS; ++k) {
            head.addName("P" + std::to_string(k));
        }
    }
    static void addCodes(FileImage& head) {
        head.addCodes(12);
        for (const int64_t fixed : {4, 2, 5, 2, 4, 8}) {
            head.addCodes(fixed + POLLUTANTS);
        }
        head.addCodes(11 + 4 * POLLUTANTS);
        for (const int64_t fixed : {4, 1, 2, 6, 1, 1}) {
            head.addCodes(fixed + POLLUTANTS);
        }
    }
};

}  // namespace

TEST(ResultsBeyondFourGigabytes, AreFoundInEachRecord) {
    const GreatFile great;
    if (!great.make()) {
        GTEST_SKIP() << "no file of this size can be made here";
    }
    const ProcessResult list = runProgram({"results", great.name});
    EXPECT_EQ(list.status, 0) << list.err;
    EXPECT_THAT(list.out, HasSubstr(": 300 reports of 3600 s from 2021-03-01 00:00:00 on\n"));
    const ProcessResult result =
        runProgram({"results", great.name, "--object", "M1000", "--column", "Pave_P1000", "--csv"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("Date,Pave_P1000 (mg/L)\n2021-03-01 01:00:00,0\n2021-03-01 02:00:00,1\n"));
    EXPECT_THAT(result.out, HasSubstr("\n2021-03-06 18:00:00,137\n"));  // behind 2 GiB
    EXPECT_THAT(result.out, EndsWith("\n2021-03-13 12:00:00,299\n"));   // behind 4 GiB
}

TEST(ResultsBeyondFourGigabytes, AreRefusedWhenCut) {
    const GreatFile great;
    if (!great.make()) {
        GTEST_SKIP() << "no file of this size can be made here";
    }
    std::filesystem::resize_file(great.name, std::filesystem::file_size(great.name) - (uint64_t{1} << 32));
    const ProcessResult result = runProgram({"results", great.name});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("is truncated"));
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
