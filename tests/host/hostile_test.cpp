// Files of results that are made to cost more than they are worth: counts that lie, products of counts, databases that
// lead in circles. They are refused, or shown in little memory.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "support/sanitizer.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr double MARCH = 44256.0;  ///< 1 March 2021, days since 30 December 1899

/// Tables behind that of the system, by their places in the head of a binary file.
enum Table { SUBCATCHMENT, JUNCTION, TANK, OUTFALL, SPLITTER, REACTOR, LID_MONO, PIPE, PUMP, TABLES = 13 };

/// A binary file without a report, of objects called `name` and pollutants called p.
std::string makeEmpty(const std::vector<std::pair<Table, int64_t>>& objects, int64_t pollutants, int64_t reports = 0,
                      const std::string& name = "a") {
    static constexpr int64_t FIXED[TABLES + 1] = {12, 4, 2, 5, 2, 4, 8, 11, 4, 1, 2, 6, 1, 1};
    int64_t counts[TABLES] = {};
    FileImage file, names;
    for (const auto& [table, count] : objects) {
        counts[table] = count;
        for (int64_t k = 0; k < count; ++k) {
            names.addName(name);
        }
    }
    file.addIntegers({516114522, 21000});
    for (const int64_t count : counts) {
        file.addInteger(count);
    }
    file.addInteger(pollutants);
    for (int64_t k = 0; k < pollutants; ++k) {
        names.addName("p");
    }
    file.bytes += names.bytes;
    const auto codes = static_cast<int64_t>(file.bytes.size());
    for (int table = 0; table <= TABLES; ++table) {
        file.addCodes(FIXED[table] + pollutants * (table == 0 ? 0 : table == LID_MONO + 1 ? 4 : 1));
    }
    const auto dates = static_cast<int64_t>(file.bytes.size());
    file.addDouble(MARCH);
    file.addInteger(900);
    const auto records = static_cast<int64_t>(file.bytes.size());
    file.addIntegers({64, codes, dates, records, reports, 0, 516114522});
    return file.bytes;
}

/// Runs the program with little memory: its libraries alone take a part of it.
ProcessResult runInLittleMemory(std::vector<std::string> arguments, const std::string& output = "") {
    const std::string script = "ulimit -v 150000; exec timeout 60 \"$@\"" + output;
    arguments.insert(arguments.begin(), {"sh", "-c", script, "sh", TARNVELDE_PROGRAM});
    return process_run(arguments);
}

/// Bytes and calls of reading of all programs that this one has run.
int64_t getReading(const char* what) {
    std::ifstream io("/proc/self/io");
    std::string name;
    for (int64_t count = 0; io >> name >> count;) {
        if (name == what) {
            return count;
        }
    }
    return -1;
}

}  // namespace

struct Hostile : testing::Test {
    TempFolder folder;

    void SetUp() override {
        if constexpr (IS_FREED_MEMORY_KEPT || IS_THREAD_SANITIZED) {
            GTEST_SKIP() << "a sanitizer needs more memory than is granted here";
        }
    }
};

// --- binary files --------------------------------------------------------------------------------------------------

TEST_F(Hostile, ObjectsTimesPollutantsTakeNoMemory) {
    // 200 kB of names and codes: 30,000 objects of 331 columns, ten million values for each report.
    const std::string file = folder.write("a.bin", makeEmpty({{LID_MONO, 30000}}, 80));
    for (const std::vector<std::string>& choice : {std::vector<std::string>{"--object", "a", "--column", "Rainfall"},
                                                   {"--object", "a", "--column", "nothing"},
                                                   {"--object", "a"}}) {
        std::vector<std::string> arguments{"results", file};
        arguments.insert(arguments.end(), choice.begin(), choice.end());
        const ProcessResult result = runInLittleMemory(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, StartsWith("tarnvelde: "));
        EXPECT_EQ(result.err.find("memory"), std::string::npos) << result.err;
        EXPECT_LT(result.err.size(), 5000u);
    }
    const ProcessResult column =
        runInLittleMemory({"results", file, "--summary", "--csv", "--object", "a", "--column", "Rainfall"});
    EXPECT_EQ(column.status, 0) << column.err;
}

TEST_F(Hostile, ASummaryTakesNoMoreMemoryThanItIsGranted) {
    // 3.5 million summaries, of which each takes some 80 bytes.
    const std::string file = folder.write("a.bin", makeEmpty({{LID_MONO, 30000}}, 25));
    const ProcessResult result =
        runInLittleMemory({"results", file, "--summary", "--csv", "--table", "LID_Mono"}, " >/dev/null");
    EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(Hostile, APromiseWithoutAReportIsRefused) {
    const std::string file = folder.write("a.bin", makeEmpty({{LID_MONO, 60000}}, 5000));
    const ProcessResult result = runInLittleMemory({"results", file, "--summary"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("is damaged: it promises more values than it has room for"));
}

TEST_F(Hostile, ARecordTimesReportsBeyondAllNumbersIsRefused) {
    // A record of 2^34 bytes times 2^30 reports is 2^64 bytes, which 64 bits hold as 0: the length of what is there.
    constexpr int64_t P = 5400, VALUES = ((int64_t{1} << 34) - 8) / 4 - 12;
    constexpr int64_t MONOMERS = (VALUES - P * (P + 2)) / (11 + 4 * P), REST = VALUES - MONOMERS * (11 + 4 * P);
    constexpr int64_t JUNCTIONS = REST % (1 + P), PUMPS = REST / (1 + P) - JUNCTIONS;
    static_assert(MONOMERS * (11 + 4 * P) + JUNCTIONS * (2 + P) + PUMPS * (1 + P) == VALUES && PUMPS >= 0);
    const std::string file = folder.write(
        "a.bin", makeEmpty({{JUNCTION, JUNCTIONS}, {LID_MONO, MONOMERS}, {PUMP, PUMPS}}, P, int64_t{1} << 30));
    const ProcessResult result = runInLittleMemory({"results", file});
    EXPECT_EQ(result.status, 1) << result.out.substr(0, 200);
    EXPECT_THAT(result.err, HasSubstr("is truncated or damaged: its length doesn't fit the number of reports"));
}

TEST_F(Hostile, ManyReportsAreReadInFewCalls) {
    if (getReading("syscr:") < 0) {
        GTEST_SKIP() << "the system doesn't count what is read";
    }
    constexpr int64_t REPORTS = 100000;
    const std::string file = folder.write("a.bin", makeResults(MARCH, 60, REPORTS));
    const auto size = static_cast<int64_t>(std::filesystem::file_size(file));
    const int64_t calls = getReading("syscr:"), bytes = getReading("rchar:");
    const ProcessResult result = runProgram({"results", file, "--object", "J1", "--column", "LatInflow", "--csv"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), REPORTS + 1);
    EXPECT_LT(getReading("syscr:") - calls, 1000);
    // The test reads what was printed; the program reads its libraries.
    EXPECT_LT(getReading("rchar:") - bytes - static_cast<int64_t>(result.out.size()), 2 * size);
}

TEST(ResultDates, AnyYearIsShownAndDrawn) {
    // Days by hand: 365 for each year, and one more for each leap year, from 30 December 1899 on.
    TempFolder folder;
    for (const auto& [day, date] : {std::pair{-693593.0, "0001-01-01"},
                                    {-324165.0, "1012-06-18"},
                                    {2958465.0, "9999-12-31"},
                                    {2958466.0, "10000-01-01"}}) {
        const std::string file = folder.write("a.bin", makeResults(day, 900, 3));
        const ProcessResult result = runProgram({"results", file, "--object", "J1", "--column", "LatInflow", "--csv"});
        EXPECT_THAT(result.out, HasSubstr(std::string("\n") + date + " 00:15:00,0\n")) << result.err;
        const ProcessResult picture =
            runProgram({"plot", file, "--object", "J1", "--column", "TotInflow", "-o", folder.file("a.svg")});
        EXPECT_EQ(picture.status, 0) << date << picture.err;
        EXPECT_THAT(readFile(folder.file("a.svg")), HasSubstr(std::string(">") + date + "<"));
    }
}

// --- databases -----------------------------------------------------------------------------------------------------

namespace {

/// A database of results with one junction, by SQL that is added.
void makeDatabase(const std::string& name, const std::string& sql, int pageSize = 4096) {
    const std::string head = "pragma page_size = " + std::to_string(pageSize) +
                             "; begin; create table GeneralInfo (Version INT, StartDateTime DOUBLE, ReportStep INT); "
                             "insert into GeneralInfo values (21000, 44256.0, 900); "
                             "create table System (Period INT, TotInflow FLOAT); "
                             "insert into System values (1, 1), (2, 2); ";
    const ProcessResult result = process_run({"sqlite3", name, head + sql + "; commit"});
    ASSERT_EQ(result.status, 0) << result.err;
}

void putNumber(std::string& bytes, size_t place, uint32_t number, size_t size) {
    for (size_t k = size; k-- > 0; number >>= 8) {
        bytes[place + k] = static_cast<char>(number & 0xFF);
    }
}

uint32_t readNumber(const std::string& bytes, size_t place, size_t size) {
    uint32_t number = 0;
    for (size_t k = 0; k < size; ++k) {
        number = number << 8 | static_cast<unsigned char>(bytes[place + k]);
    }
    return number;
}

constexpr size_t PAGE = 512;

/// An inner page of a table, all of whose sixty children are one.
std::string makeInnerPage(uint32_t child) {
    constexpr uint32_t CHILDREN = 60;
    std::string page(PAGE, '\0');
    page[0] = 5;
    putNumber(page, 3, CHILDREN, 2);
    size_t content = PAGE;
    for (uint32_t k = 0; k < CHILDREN; ++k) {
        content -= 5;
        putNumber(page, content, child, 4);
        page[content + 4] = static_cast<char>(k + 1);
        putNumber(page, 12 + 2 * k, static_cast<uint32_t>(content), 2);
    }
    putNumber(page, 5, static_cast<uint32_t>(content), 2);
    putNumber(page, 8, child, 4);
    return page;
}

}  // namespace

TEST_F(Hostile, ADatabaseThatLeadsInCirclesIsRefused) {
    const std::string file = folder.file("a.db");
    ASSERT_NO_FATAL_FAILURE(makeDatabase(
        file,
        "create table Junction (Name TEXT, Period INT, TotInflow FLOAT); with recursive t(k) as (select 1 union all "
        "select k + 1 from t where k < 400) insert into Junction select 'J' || k, k, 1.0 from t",
        PAGE));
    // The root of the table gets a pile of pages below it, each of which leads sixty times to the next one, and the
    // last to a page of rows: 60^12 of them, in 14 kB.
    const ProcessResult root =
        process_run({"sqlite3", file, "select rootpage from sqlite_master where name = 'Junction'"});
    std::string bytes = readFile(file);
    const size_t place = (std::stoul(root.out) - 1) * PAGE;
    ASSERT_EQ(bytes[place], 5);
    uint32_t child = readNumber(bytes, place + readNumber(bytes, place + 12, 2), 4);
    for (int level = 0; level < 12; ++level) {
        bytes += makeInnerPage(child);
        child = static_cast<uint32_t>(bytes.size() / PAGE);
    }
    bytes.replace(place, PAGE, makeInnerPage(child));
    putNumber(bytes, 28, static_cast<uint32_t>(bytes.size() / PAGE), 4);
    folder.write("a.db", bytes);
    for (const char* form : {"--summary", "--csv"}) {
        const ProcessResult result = runProgramWithin(60, {"results", file, form});
        EXPECT_EQ(result.status, 1) << "124 is a walk without an end";
        EXPECT_THAT(result.err, HasSubstr("a.db is damaged: it leads to more rows than it has room for"));
    }
}

TEST_F(Hostile, ADatabaseOfColumnsWithoutValuesIsRefused) {
    // Columns that are added behind the rows take no room in them, and still a step each for every row.
    std::string sql =
        "create table Junction (Name TEXT, Period INT); with recursive t(k) as (select 1 union all select k + 1 from t "
        "where k < 20000) insert into Junction select 'J', k from t";
    for (int k = 0; k < 1900; ++k) {
        sql.append("; alter table Junction add column c").append(std::to_string(k));
    }
    ASSERT_NO_FATAL_FAILURE(makeDatabase(folder.file("a.db"), sql));
    const ProcessResult result =
        runProgramWithin(60, {"results", folder.file("a.db"), "--table", "Junction", "--summary"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("a.db is damaged: it leads to more rows than it has room for"));
}

TEST_F(Hostile, NothingButATableIsATableOfResults) {
    ASSERT_NO_FATAL_FAILURE(
        makeDatabase(folder.file("view.db"),
                     "create view Junction as with recursive t(k) as (select 1 union all select k + "
                     "1 from t) select 'J' as Name, k as Period, 1.0 as TotInflow from t"));
    const ProcessResult view = runProgramWithin(60, {"results", folder.file("view.db")});
    EXPECT_EQ(view.status, 0) << view.err;
    EXPECT_EQ(view.out.find("Junction"), std::string::npos);
    if (process_run({"sqlite3", ":memory:", "create virtual table t using fts5(a)"}).status == 0) {
        ASSERT_NO_FATAL_FAILURE(makeDatabase(folder.file("virtual.db"),
                                             "create virtual table Junction using fts5(Name, Period, TotInflow)"));
        EXPECT_EQ(runProgramWithin(60, {"results", folder.file("virtual.db")}).status, 1);
    }
}

TEST_F(Hostile, ANumberOfReportsThatIsOutOfAllReachTakesNoMemory) {
    ASSERT_NO_FATAL_FAILURE(
        makeDatabase(folder.file("a.db"),
                     "insert into System values (2147483647, 1); create table Junction (Name TEXT, Period INT, "
                     "TotInflow FLOAT); insert into Junction values ('J', 1, 2.5)"));
    const ProcessResult result = runInLittleMemory({"results", folder.file("a.db"), "--object", "J", "--csv"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "Date,TotInflow (m3/s)\n2021-03-01 00:15:00,2.5\n");
}

TEST_F(Hostile, AReportStepBeyondAllIntegersIsDamage) {
    ASSERT_NO_FATAL_FAILURE(makeDatabase(folder.file("a.db"), "update GeneralInfo set ReportStep = 4294967356"));
    const ProcessResult result = runProgram({"results", folder.file("a.db")});  // 2^32 and 60 s
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("is damaged: it has no start or no report step"));
}

TEST_F(Hostile, RowsOutOfOrderAreShownInOrderOfTime) {
    ASSERT_NO_FATAL_FAILURE(makeDatabase(folder.file("a.db"),
                                         "create table Junction (Name TEXT, Period INT, TotInflow FLOAT); insert into "
                                         "Junction values ('B', 2, 4), ('A', 2, 3), ('A', 1, 1), ('B', 1, 2)"));
    EXPECT_THAT(runProgram({"results", folder.file("a.db"), "--table", "Junction", "--csv"}).out,
                EndsWith("\n2021-03-01 00:15:00,Junction,A,TotInflow (m3/s),1\n"
                         "2021-03-01 00:15:00,Junction,B,TotInflow (m3/s),2\n"
                         "2021-03-01 00:30:00,Junction,B,TotInflow (m3/s),4\n"
                         "2021-03-01 00:30:00,Junction,A,TotInflow (m3/s),3\n"));
    EXPECT_THAT(runProgram({"results", folder.file("a.db"), "--object", "A", "--csv"}).out,
                EndsWith("\n2021-03-01 00:15:00,1\n2021-03-01 00:30:00,3\n"));
}
