#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "host/resultsfixture.h"

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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
        EXPECT_THAT(result.out, StartsWith("Table,Object,Column,Minimum,Mean over time,Maximum,Time of maximum,"
                                           "Flow-weighted mean\n"));
        EXPECT_THAT(result.out, HasSubstr("\nConnection,C1,Outflow (m3/s),0,0.25,0.5,2021-03-01 00:03:00,\n"));
        EXPECT_THAT(result.out, HasSubstr("\nSystem,System,TotInflow (m3/s),0.5,0.75,1,2021-03-01 00:03:00,\n"));
    }
}

TEST_F(Results, AnUnknownObjectOrColumnIsTold) {
    expectFailure({"results", binary, "--object", "X9"}, "no object X9");
    expectFailure({"results", binary, "--object", "C1", "--column", "Depth"},
                  "no column Depth of C1; there are Inflow, Outflow, NH4-N");
}

TEST_F(Results, AnApostropheIsAskedForAsTheFileHasIt) {
    std::string text = readFile(model);
    for (size_t at = text.find("J1"); at != std::string::npos; at = text.find("J1", at)) {
        text.replace(at, 2, "J''1");  // two in the project are one in the database
    }
    const std::string named = folder.write("named.inp", text);
    ASSERT_EQ(runProgram({"run", named, "--quiet"}).status, 0);
    ASSERT_EQ(runProgram({"run", named, "--quiet", "--database"}).status, 0);
    const std::string series = "Date,LatInflow (m3/s)\n2021-03-01 00:01:00,0.5\n";
    const auto ask = [&](const char* file, const char* object) {
        return runProgram({"results", folder.file(file), "--object", object, "--column", "LatInflow", "--csv"});
    };
    EXPECT_THAT(ask("named.bin", "J''1").out, StartsWith(series));
    EXPECT_THAT(ask("named.db", "J'1").out, StartsWith(series));
    EXPECT_EQ(ask("named.db", "J''1").status, 1);
    EXPECT_THAT(runProgram({"results", folder.file("named.db"), "--summary", "--csv"}).out,
                HasSubstr("\nJunction,J'1,LatInflow (m3/s),0.5,0.5,0.5,2021-03-01 00:01:00,\n"));
}

TEST_F(Results, AValueThatIsNoNumberIsAnEmptyFieldAndNull) {
    ASSERT_EQ(process_run({"sqlite3", database, "update Connection set Outflow = null where Period = 3"}).status, 0);
    for (const std::string& file : {patch(getOutflowPlace(2), getBytes(NOT_A_NUMBER)), database}) {
        const std::vector<std::string> choice{"results", file, "--object", "C1", "--column", "Outflow"};
        std::vector<std::string> csv = choice, json = choice, summary = choice;
        csv.push_back("--csv");
        json.push_back("--json");
        EXPECT_THAT(runProgram(csv).out, HasSubstr("00:02:00,0\n2021-03-01 00:03:00,\n2021-03-01 00:04:00,0.5\n"))
            << file;
        EXPECT_THAT(runProgram(json).out, HasSubstr("\"values\": [0, 0, null, 0.5]")) << file;
        // Of 0, 0 and 0.5 the mean is a sixth, in as many digits as a single-precision number needs; the last is the
        // highest.
        EXPECT_THAT(runProgram({"results", file, "--summary", "--csv"}).out,
                    HasSubstr("\nConnection,C1,Outflow (m3/s),0,0.16666667,0.5,2021-03-01 00:04:00,\n"))
            << file;
    }
}

TEST_F(Results, AColumnWithoutNumbersIsSummedUpAsDashes) {
    std::string patched = readFile(binary);
    for (size_t report = 0; report < 4; ++report) {
        patched.replace(getOutflowPlace(report), 4, getBytes(NOT_A_NUMBER));
    }
    ASSERT_EQ(process_run({"sqlite3", database, "update Connection set Outflow = null"}).status, 0);
    for (const std::string& file : {folder.write("patched.bin", patched), database}) {
        const ProcessResult csv = runProgram({"results", file, "--summary", "--csv"});
        EXPECT_THAT(csv.out, HasSubstr("\nConnection,C1,Outflow (m3/s),-,-,-,-,\n")) << file;
        EXPECT_THAT(csv.out, HasSubstr("\nConnection,C1,Inflow (m3/s),0.5,0.5,0.5,2021-03-01 00:01:00,\n")) << file;
        EXPECT_THAT(runProgram({"results", file, "--summary"}).out,
                    ContainsRegex("\nConnection +C1 +Outflow \\(m3/s\\) +- +- +-  -\n"))
            << file;
    }
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

TEST_F(Results, EachTruncatedFileIsRefusedOrReadUpToItsLastWholeReport) {
    const std::string whole = readFile(binary);
    const std::string rows = runProgram({"results", binary, "--table", "System", "--csv"}).out;
    int32_t readable = 0;
    for (size_t length = 0; length < whole.size(); length += length < 80 ? 3 : 29) {
        const std::string cut = folder.write("cut.bin", whole.substr(0, length));
        const ProcessResult result = runProgram({"results", cut, "--table", "System", "--csv"});
        if (result.status == 0) {
            ASSERT_EQ(result.out, rows.substr(0, result.out.size())) << length;
            ASSERT_GT(result.out.size(), rows.find('\n') + 1) << length;
            ASSERT_THAT(result.err, HasSubstr("cut.bin has no closing block")) << length;
            ++readable;
        } else {
            ASSERT_EQ(result.status, 1) << length;
            ASSERT_THAT(result.err, HasSubstr("cut.bin is")) << length;
        }
    }
    EXPECT_GT(readable, 3);
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

TEST_F(Results, FieldsThatContradictEachOtherAreDamage) {
    const std::string whole = readFile(binary);
    expectFailure({"results", patch(4, getBytes(int32_t{51000}))}, "patched.bin is of another version");
    const size_t name = whole.find(std::string("\3\0\0\0J1\0", 7));  // its length, and a zero at its end
    ASSERT_NE(name, std::string::npos);
    expectFailure({"results", patch(name, getBytes(int32_t{0}))}, "is damaged: a name has no length");
    expectFailure({"results", patch(name, getBytes(int32_t{-3}))}, "is damaged: a name has no length");
    const std::string closing = "is truncated or damaged: its length doesn't fit the number of reports";
    for (const int32_t reports : {-4, 3, 5}) {
        expectFailure({"results", patch(whole.size() - 12, getBytes(reports))}, closing);
    }
    std::string longer = whole;
    longer.insert(whole.size() - 28, 4, 'x');  // less than a report
    expectFailure({"results", folder.write("longer.bin", longer)}, closing);
}

TEST_F(Results, MoreReportsThanANumberHoldsAreRefused) {
    const std::string cut = folder.write("cut.bin", readFile(binary).substr(0, readFile(binary).size() - 28));
    constexpr uint64_t RECORD = 8 + 4 * (12 + 3 * 3);
    std::error_code failure;
    std::filesystem::resize_file(cut, RECORD << 32, failure);
    if (failure) {
        GTEST_SKIP() << "no file of this size can be made here";
    }
    expectFailure({"results", cut}, "is truncated, or its run was not ended: it has no closing block");
}

TEST_F(Results, ADateThatCannotBeIsToldInWords) {
    const size_t record = readFile(binary).size() - 28 - (8 + 4 * (12 + 3 * 3));
    for (const double date : {1e300, -1e12}) {
        const ProcessResult result =
            runProgram({"results", patch(record, getBytes(date)), "--object", "C1", "--column", "Outflow", "--csv"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.out, EndsWith("\n2021-03-01 00:03:00,0.5\nno date,0.5\n"));
    }
}

TEST_F(Results, AConcentrationWithoutANumberHasNoWeight) {
    // C1's concentration stands behind its flows: 0, 0, 4 and 4 mg/L, of which the last is lost. The flow is 0.5 m3/s.
    const std::string file = patch(getOutflowPlace(3) + 4, getBytes(NOT_A_NUMBER));
    EXPECT_THAT(runProgram({"results", file, "--object", "C1", "--column", "NH4-N", "--summary", "--csv"}).out,
                EndsWith("\nConnection,C1,NH4-N (mg/L),0,1.3333334,4,2021-03-01 00:03:00,4\n"));
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

TEST_F(Results, AStartOrAReportStepThatCannotBeIsDamage) {
    // The start, 1 March 2021, is day 44256 from 30 December 1899 on; the report step of 60 s stands behind it.
    const std::string start = getBytes(44256.0);
    const size_t place = readFile(binary).find(start + getBytes(int32_t{60}));
    ASSERT_NE(place, std::string::npos);
    for (const double date : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        expectFailure({"results", patch(place, getBytes(date))}, "patched.bin is damaged");
    }
    for (const int32_t step : {-60, 0}) {
        expectFailure({"results", patch(place + 8, getBytes(step))}, "patched.bin is damaged");
    }
    EXPECT_EQ(runProgram({"results", patch(place, start)}).status, 0);
    for (const char* change : {"ReportStep = -60", "ReportStep = 0", "StartDateTime = null"}) {
        const std::string copy = folder.write("patched.db", readFile(database));
        ASSERT_EQ(process_run({"sqlite3", copy, std::string("update GeneralInfo set ") + change}).status, 0);
        expectFailure({"results", copy}, "patched.db is damaged");
    }
}

TEST_F(Results, EachDamagedByteOfADatabaseIsRefusedOrHarmless) {
    const std::string whole = readFile(database);
    for (size_t place = 0; place < whole.size(); place += place < 120 ? 3 : 499) {
        std::string damaged = whole;
        damaged[place] = damaged[place] == '\xFF' ? '\x7F' : '\xFF';
        const ProcessResult result = runProgramWithin(20, {"results", folder.write("bad.db", damaged), "--summary"});
        ASSERT_TRUE(result.status == 0 || result.status == 1) << place << ' ' << result.status;
        ASSERT_EQ(result.status == 1, !result.err.empty()) << place << ' ' << result.err;
    }
}

TEST_F(Results, ADatabaseWithABrokenPageIsRefused) {
    const std::string whole = readFile(database);
    // The kind of a page stands in its first byte, of the first page behind the head of the file. 255 is none.
    std::string damaged = whole;
    damaged[100] = '\xFF';
    expectFailure({"results", folder.write("bad.db", damaged)}, "bad.db can't be read: ");
    const size_t page = 256 * static_cast<size_t>(static_cast<unsigned char>(whole[16])) +
                        static_cast<size_t>(static_cast<unsigned char>(whole[17]));
    damaged = whole;
    for (size_t place = page; place < damaged.size(); place += page) {
        damaged[place] = '\xFF';
    }
    expectFailure({"results", folder.write("bad.db", damaged)}, "bad.db can't be read: ");
}

TEST_F(Results, APipeIsRefusedAtOnce) {
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"results", pipe},
          {"plot", pipe, "--object", "J1", "--column", "TotInflow", "-o", folder.file("out.svg")}}) {
        const ProcessResult result = runProgramWithin(10, arguments);
        EXPECT_EQ(result.status, 1) << "124 is a wait for a writer";
        EXPECT_THAT(result.err, HasSubstr("pipe is no file of results"));
    }
}

TEST_F(Results, AKilledRunLeavesTheOldOnesToReadAndMostOfItsOwn) {
    const std::string before = readFile(database);
    ASSERT_NO_FATAL_FAILURE(killDatabaseRun());
    EXPECT_TRUE(readFile(database) == before);
    EXPECT_FALSE(std::filesystem::exists(database + "-journal"));
    const ProcessResult result = runProgram({"results", database + ".part"});
    EXPECT_EQ(result.status, 0) << result.err;
    // 5,000 reports of four rows each make a transaction.
    EXPECT_THAT(result.out,
                ContainsRegex("model.db.part: [1-9][0-9]*000 reports of 60 s from 2021-03-01 00:00:00 on\n"));
}

TEST_F(Results, AKilledTransactionLeavesTheOldOnesToRead) {
    ASSERT_NO_FATAL_FAILURE(killTransaction());
    const ProcessResult result = runProgram({"results", database});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr(": 4 reports of 60 s from 2021-03-01 00:00:00 on\n"));
    EXPECT_FALSE(std::filesystem::exists(database + "-journal"));
}

TEST_F(Results, AKilledTransactionThatCannotBeTakenBackIsTold) {
    ASSERT_NO_FATAL_FAILURE(killTransaction());
    const int status = process_fork([&] {
        process_limitFileSize(512);  // no page fits, the message does
        const ProcessResult result = runProgram({"results", database});
        const bool isTold = result.err.find("an unfinished run must be rolled back first") != std::string::npos;
        return result.status == 1 && isTold ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    const ProcessResult result = runProgram({"results", database});  // with room on the disk nothing is lost
    EXPECT_THAT(result.out, HasSubstr(": 4 reports of 60 s from 2021-03-01 00:00:00 on\n")) << result.err;
}

TEST(ResultsUsage, WrongUsageGivesTwo) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"results"},
          {"results", "a.bin", "--column"},
          {"results", "a.bin", "--column", ""},
          {"results", "a.bin", "--table", ""},
          {"results", "a.bin", "--object", "P1", "--csv", "--json"},
          {"results", "a.bin", "--summary", "--csv", "--json"},
          {"results", "a.bin", "--summary", "--from", "yesterday"},
          {"results", "a.bin", "--from", "2021/03/01"},
          {"results", "a.bin", "--to", "2021/03/01"},
          {"results", "a.bin", "--summary", "--from", "2021/03/02", "--to", "2021/03/01 23:59:59"},
          {"plot", "a.bin"},
          {"plot", "a.bin", "--object", "P1", "--column", "Flow"}}) {
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err, "");
    }
}
