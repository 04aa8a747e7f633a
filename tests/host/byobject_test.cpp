// Results by object: the same values in another order, of which one series is read without the rest. The form is taken
// apart by hand here, as docs/results.md describes it.

#include <sqlite3.h>

#include <bit>
#include <fstream>

#include "byobject.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "resultfile.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// Number of so many bytes, the lowest first.
uint64_t getNumber(const std::string& bytes, size_t place, size_t size) {
    uint64_t value = 0;
    for (size_t k = size; k-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(place + k));
    }
    return value;
}

float getValue(const std::string& bytes, size_t place) {
    return std::bit_cast<float>(static_cast<uint32_t>(getNumber(bytes, place, 4)));
}

/// CRC-32 bit by bit.
uint32_t getChecksum(const std::string& bytes) {
    uint32_t sum = 0xFFFFFFFFu;
    for (const char c : bytes) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320u : sum >> 1;
        }
    }
    return ~sum;
}

constexpr size_t INDEX_PLACE = 48, SERIES_PLACE = 56;

struct ByObject : Results {
    std::string made;

    void SetUp() override {
        Results::SetUp();
        made = folder.file("model.tvo");
    }
    std::string makeOf(const std::string& source) const {
        const ProcessResult result = runProgram({"results", source, "--by-object", "-o", made});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out + result.err, "");
        EXPECT_FALSE(std::filesystem::exists(made + ".part"));
        return readFile(made);
    }
    static std::string show(const std::string& file, std::vector<std::string> options) {
        options.insert(options.begin(), {"results", file});
        const ProcessResult result = runProgram(options);
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    }
    static void expectSame(const std::string& source, const std::string& other) {
        const std::vector<std::vector<std::string>> ways = {
            {"--csv"},
            {"--json"},
            {"--object", "C1", "--csv"},
            {"--table", "Junction", "--column", "NH4_N"},
            {"--object", "O_1", "--from", "2021/03/01 0:02", "--to", "2021/03/01 0:03", "--csv"},
            {"--summary"}};
        for (const std::vector<std::string>& way : ways) {
            EXPECT_EQ(show(other, way), show(source, way)) << way[0];
        }
    }
    /// Refused with these words, whoever reads it.
    void expectRefusal(const std::string& bytes, const std::string& words) const {
        const std::string name = folder.write("changed.tvo", bytes);
        const ProcessResult result = runProgramWithin(20, {"results", name, "--csv"});
        EXPECT_EQ(result.status, 1) << words;
        EXPECT_EQ(result.out, "") << words;
        EXPECT_THAT(result.err, StartsWith("tarnvelde: " + name)) << words;
        EXPECT_THAT(result.err, HasSubstr(words));
    }
};

/// Puts a number into the head, and the checksum right.
std::string changeHead(std::string bytes, size_t place, size_t size, uint64_t number) {
    for (size_t k = 0; k < size; ++k) {
        bytes[place + k] = static_cast<char>(number >> (8 * k));
    }
    const auto series = static_cast<size_t>(getNumber(bytes, SERIES_PLACE, 8));
    const uint32_t sum = getChecksum(bytes.substr(0, std::min(series, bytes.size())));
    for (size_t k = 0; k < 4; ++k) {
        bytes[bytes.size() - 16 + k] = static_cast<char>(sum >> (8 * k));
    }
    return bytes;
}

/// Bytes that this process has read so far.
uint64_t countRead() {
    std::ifstream stream("/proc/self/io");
    std::string word;
    uint64_t count = 0;
    stream >> word >> count;
    return word == "rchar:" ? count : 0;
}

}  // namespace

TEST_F(ByObject, ShowsWhatTheOtherKindsShow) {
    for (const std::string& source : {binary, database}) {
        makeOf(source);
        expectSame(source, made);
        EXPECT_EQ(runProgram({"stats", made}).out, runProgram({"stats", source}).out);
    }
}

TEST_F(ByObject, IsToldFromTheOtherKinds) {
    makeOf(binary);
    EXPECT_THAT(show(made, {}), HasSubstr("model.tvo: 4 reports of 60 s from 2021-03-01 00:00:00 on\n"
                                          "kind: file by object\nrun: complete, from 2021-03-01 00:00:00 to "));
    EXPECT_THAT(show(binary, {}), HasSubstr("\nkind: binary file\n"));
    EXPECT_THAT(show(database, {}), HasSubstr("\nkind: database\n"));
}

TEST_F(ByObject, HasTheFormThatIsWrittenDown) {
    const std::string bytes = makeOf(binary);
    EXPECT_EQ(bytes.substr(0, 8), "tvobject");
    EXPECT_EQ(getNumber(bytes, 8, 4), 1u);
    EXPECT_EQ(getNumber(bytes, 12, 4), 2u);  // dates as in a binary file
    EXPECT_EQ(std::bit_cast<double>(getNumber(bytes, 16, 8)), 44256.0);
    EXPECT_EQ(getNumber(bytes, 24, 4), 60u);
    EXPECT_EQ(getNumber(bytes, 28, 4), 4u);
    EXPECT_EQ(getNumber(bytes, 32, 8), bytes.size());
    EXPECT_EQ(getNumber(bytes, 40, 8), 0u);
    const auto index = static_cast<size_t>(getNumber(bytes, INDEX_PLACE, 8));
    const auto series = static_cast<size_t>(getNumber(bytes, SERIES_PLACE, 8));
    ASSERT_EQ(series, index + 4 * 24);  // the system, J1, O_1 and C1
    // C1 is the last one: its outflow, the second of three columns, is 0, 0, 0.5, 0.5.
    const auto values = static_cast<size_t>(getNumber(bytes, index + 3 * 24 + 16, 8));
    EXPECT_EQ(getNumber(bytes, index + 3 * 24, 4), 4u);
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(getValue(bytes, values + 4 * (4 + k)), k < 2 ? 0.0f : 0.5f) << k;
    }
    EXPECT_EQ(values + 4 * 3 * 4 + 16, bytes.size());
    EXPECT_EQ(getNumber(bytes, bytes.size() - 16, 8), getChecksum(bytes.substr(0, series)));
    EXPECT_EQ(bytes.substr(bytes.size() - 8), "tvobject");
}

TEST_F(ByObject, ListsDatesThatFollowNoRule) {
    // The third of four reports comes half a minute late.
    constexpr size_t RECORD = 8 + 4 * (12 + 3 * 3);
    const std::string late = patch(getOutflowPlace(2) - 8 - 4 * (12 + 3 + 3 + 1), getBytes(44256.0 + 3.5 / 1440.0));
    ASSERT_EQ((getOutflowPlace(3) - getOutflowPlace(2)), RECORD);
    const std::string bytes = makeOf(late);
    EXPECT_EQ(getNumber(bytes, 12, 4), 0u);
    EXPECT_EQ(getNumber(bytes, 40, 8), getNumber(bytes, SERIES_PLACE, 8));
    EXPECT_THAT(show(made, {"--object", "C1", "--csv"}), HasSubstr("\n2021-03-01 00:03:30,"));
    expectSame(late, made);
}

TEST_F(ByObject, KeepsWhatADatabaseLacks) {
    const ProcessResult result =
        process_run({"sqlite3", database,
                     "delete from Connection where Period = 2; delete from Junction where Period > 3; "
                     "insert into Junction values ('new', 2, 7, 8, 9)"});
    ASSERT_EQ(result.status, 0) << result.err;
    makeOf(database);
    expectSame(database, made);
    EXPECT_EQ(show(made, {"--object", "new", "--column", "TotInflow", "--csv"}),
              "Date,TotInflow (m3/s)\n2021-03-01 00:02:00,7\n");
}

TEST_F(ByObject, KeepsTheOrderOfRowsThatAreOutOfIt) {
    const ProcessResult result =
        process_run({"sqlite3", database,
                     "create table t as select * from Connection order by Period desc; delete from Connection; "
                     "insert into Connection select * from t; drop table t"});
    ASSERT_EQ(result.status, 0) << result.err;
    makeOf(database);
    expectSame(database, made);
}

TEST_F(ByObject, HoldsWhatARunHadThatWasKilled) {
    const std::string bytes = readFile(binary);
    const std::string cut = folder.write("cut.bin", bytes.substr(0, bytes.size() - 60));
    const ProcessResult result = runProgram({"results", cut, "--by-object", "-o", made});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("Its 3 whole reports are shown"));
    EXPECT_EQ(show(made, {"--object", "C1", "--column", "Outflow", "--csv"}),
              "Date,Outflow (m3/s)\n2021-03-01 00:01:00,0\n2021-03-01 00:02:00,0\n2021-03-01 00:03:00,0.5\n");
    EXPECT_EQ(show(made, {}).find("run:"), std::string::npos);
}

TEST_F(ByObject, IsLeftByARunThatIsAskedForIt) {
    const std::string bytes = makeOf(binary);
    std::filesystem::remove(made);
    const ProcessResult result = runProgram({"run", model, "--by-object"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("  Results: " + made + "\n"));
    EXPECT_EQ(readFile(made), bytes);
    const std::string other = folder.file("other.tvo");
    ASSERT_EQ(runProgram({"run", model, "--quiet", "--database", "--by-object=" + other}).status, 0);
    expectSame(database, other);
}

// --- reading -------------------------------------------------------------------------------------------------------

TEST_F(ByObject, ReadsOneSeriesAlone) {
    constexpr uint64_t REPORTS = 20000;
    const std::string source = folder.write("long.bin", makeResults(44256.0, 300, REPORTS));
    makeOf(source);
    ResultFile file;
    result_open(file, made);
    const uint64_t before = countRead();
    if (before == 0) {
        GTEST_SKIP() << "nothing tells what a process has read here";
    }
    const ResultSeries series = result_readSeries(file, {1, 0, 0}, {});
    const uint64_t read = countRead() - before;
    ASSERT_EQ(series.values.size(), REPORTS);
    for (size_t k = 0; k < REPORTS; ++k) {
        ASSERT_EQ(series.values[k], static_cast<double>((k + 1) % 7)) << k;
    }
    // What /proc says of the process has a length of its own, some hundred bytes.
    EXPECT_GE(read, 4 * REPORTS);
    EXPECT_LE(read, 4 * REPORTS + 1000);
}

// --- refusals ------------------------------------------------------------------------------------------------------

TEST_F(ByObject, IsRefusedWhereAnythingOfItsFrameIsWrong) {
    const std::string bytes = makeOf(binary);
    const auto index = static_cast<size_t>(getNumber(bytes, INDEX_PLACE, 8));
    const auto series = static_cast<size_t>(getNumber(bytes, SERIES_PLACE, 8));
    for (const size_t length : {size_t{8}, size_t{70}, size_t{79}, index, series, bytes.size() - 1}) {
        expectRefusal(bytes.substr(0, length), "is truncated");
    }
    expectRefusal(bytes + "x", "is longer than its head says");
    expectRefusal(changeHead(bytes, 8, 4, 2), "is of another version");
    expectRefusal(changeHead(bytes, 12, 4, 3), "has no start or no report step");
    expectRefusal(changeHead(bytes, 24, 4, 0), "has no start or no report step");
    expectRefusal(changeHead(bytes, 28, 4, 0x7FFFFFFF), "promises more reports than it has room for");
    expectRefusal(changeHead(bytes, 28, 4, 5), "its series are not where the index should say");
    expectRefusal(changeHead(bytes, 40, 8, series), "its dates are not where the head says");
    expectRefusal(changeHead(bytes, 48, 8, index - 8), "its index is not where the head says");
    expectRefusal(changeHead(bytes, 48, 8, ~uint64_t{0}), "its parts are not where they should be");
    std::string changed = bytes;
    changed[changed.size() - 1] ^= 1;
    expectRefusal(changed, "doesn't end with its mark");
    // A byte of a name, which nothing else tells of.
    changed = bytes;
    changed[bytes.find("J1")] = 'K';
    expectRefusal(changed, "its head was changed");
}

TEST_F(ByObject, IsRefusedWhereItCountsMoreThanThereIsRoomFor) {
    const std::string bytes = makeOf(binary);
    const size_t system = bytes.find("System");
    for (const size_t place : {size_t{64}, size_t{68}, system - 4, system + 6, system + 10}) {
        expectRefusal(changeHead(bytes, place, 4, 0xFFFFFFFF), "counts more than it has room for");
    }
    expectRefusal(changeHead(bytes, system, 1, 'T'), "its tables are none of results");
}

TEST_F(ByObject, IsRefusedWhereSeriesLieOverEachOther) {
    const std::string bytes = makeOf(binary);
    const auto index = static_cast<size_t>(getNumber(bytes, INDEX_PLACE, 8));
    const uint64_t first = getNumber(bytes, index + 16, 8), second = getNumber(bytes, index + 24 + 16, 8);
    const char* words = "its series are not where the index should say";
    expectRefusal(changeHead(bytes, index + 24 + 16, 8, first), words);
    expectRefusal(changeHead(bytes, index + 16, 8, second), words);
    expectRefusal(changeHead(bytes, index + 24 + 16, 8, ~uint64_t{3}), words);
    expectRefusal(changeHead(bytes, index, 4, 3), words);
    expectRefusal(changeHead(bytes, index, 4, 0x7FFFFFFF), words);
    expectRefusal(changeHead(bytes, index + 4, 4, 1), words);
    expectRefusal(changeHead(bytes, index + 8, 8, 64), words);
}

TEST_F(ByObject, TakesThePlaceOfNothingThatIsRead) {
    const std::string bytes = readFile(binary);
    std::filesystem::create_symlink(binary, folder.path / "link");
    const std::string part = folder.write("a.tvo.part", bytes);
    const std::pair<std::string, std::string> cases[] = {
        {binary, binary}, {binary, folder.file("link")}, {binary, binary + ".run"}, {part, folder.file("a.tvo")}};
    for (const auto& [source, target] : cases) {
        const ProcessResult result = runProgram({"results", source, "--by-object", "-o", target});
        EXPECT_EQ(result.status, 2) << target;
        EXPECT_EQ(result.err, "tarnvelde: the file by object would take the place of the results\n");
        EXPECT_EQ(readFile(source), bytes);
    }
    makeOf(binary);
    expectFailure({"results", made, "--by-object", "-o", folder.file("again.tvo")}, "model.tvo is by object already");
    for (const std::string& target : {model, binary, binary + ".part"}) {
        const ProcessResult result = runProgram({"run", model, "--quiet", "--by-object=" + target});
        EXPECT_EQ(result.status, 1) << target;
        EXPECT_THAT(result.err, HasSubstr("the file by object would take the place of "));
    }
}

TEST_F(ByObject, LeavesAnOlderOneWhereItCannotBeMade) {
    const std::string bytes = makeOf(binary);
    const std::string damaged = folder.write("damaged.bin", readFile(binary).substr(0, 100));
    expectFailure({"results", damaged, "--by-object", "-o", made}, "is truncated");
    EXPECT_EQ(readFile(made), bytes);
    std::filesystem::create_directory(made + ".part");
    expectFailure({"results", binary, "--by-object", "-o", made}, "cannot write " + made);
    EXPECT_EQ(readFile(made), bytes);
    expectFailure({"results", binary, "--by-object", "-o", folder.file("none/a.tvo")}, "cannot write ");
    const ProcessResult full = process_run({"sh", "-c", "ulimit -f 1; exec \"$0\" \"$@\"", TARNVELDE_PROGRAM, "results",
                                            binary, "--by-object", "-o", folder.file("full.tvo")});
    EXPECT_NE(full.status, 0);
    EXPECT_FALSE(std::filesystem::exists(folder.file("full.tvo")));
}

TEST_F(ByObject, NeedsAPlaceAndNoChoice) {
    EXPECT_EQ(runProgram({"results", binary, "--by-object"}).status, 2);
    EXPECT_EQ(runProgram({"results", binary, "-o", made}).status, 2);
    EXPECT_EQ(runProgram({"results", binary, "--by-object", "-o", made, "--csv"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(made));
}

// --- databases with an index ---------------------------------------------------------------------------------------

namespace {

/// What the reader asks of a database, as SQLite itself tells.
struct Statements {
    std::vector<std::string> texts;

    static int take(unsigned, void* data, void* statement, void*) {
        char* text = sqlite3_expanded_sql(static_cast<sqlite3_stmt*>(statement));
        static_cast<Statements*>(data)->texts.emplace_back(text ? text : "");
        sqlite3_free(text);
        return 0;
    }
};

}  // namespace

TEST_F(ByObject, OneObjectOfADatabaseIsFoundByItsIndex) {
    const std::string indexed = folder.file("indexed.db");
    ASSERT_EQ(runProgram({"run", model, "--quiet", "--database=" + indexed, "--database-with", "index,full"}).status,
              0);
    EXPECT_THAT(show(indexed, {}), HasSubstr("\nkind: database with an index\n"));
    ResultFile file;
    result_open(file, indexed);
    Statements statements;
    sqlite3_trace_v2(file.database, SQLITE_TRACE_STMT, Statements::take, &statements);
    const ResultChoice choice = result_findColumn(file, "C1", "Outflow");
    EXPECT_EQ(result_readSeries(file, choice, {}).values, (std::vector<double>{0.0, 0.0, 0.5, 0.5}));
    ASSERT_EQ(statements.texts.size(), 1u);
    EXPECT_THAT(process_run({"sqlite3", indexed, "explain query plan " + statements.texts[0]}).out,
                HasSubstr("SEARCH Connection USING INDEX TarnveldeIndexConnection (Name=? AND Period>? AND Period<?)"));
    expectSame(database, indexed);
    for (const char* way : {"--from", "--to"}) {
        EXPECT_EQ(show(indexed, {"--object", "C1", way, "2021/03/01 0:02", "--csv"}),
                  show(database, {"--object", "C1", way, "2021/03/01 0:02", "--csv"}));
    }
}

TEST_F(ByObject, ADatabaseWhoseRowsWereChangedIsReadBesideItsIndex) {
    for (const char* sql :
         {"delete from Junction where Period = 3", "delete from Connection where Period = 4",
          "insert into Junction values ('new', 2, 7, 8, 9)", "update Connection set Period = 5 - Period",
          "delete from Connection", "insert into Junction select * from Junction"}) {
        ASSERT_EQ(runProgram({"run", model, "--quiet", "--database", "--database-with", "index,full"}).status, 0);
        const std::string plain = folder.file("plain.db");
        std::filesystem::remove(plain);
        ASSERT_EQ(process_run({"sqlite3", database, sql}).status, 0) << sql;
        std::filesystem::copy(database, plain);
        const std::string drops = process_run({"sqlite3", plain,
                                               "select 'drop index ' || name || ';' from sqlite_master "
                                               "where type = 'index'"})
                                      .out;
        ASSERT_EQ(process_run({"sqlite3", plain, drops}).status, 0);
        EXPECT_EQ(show(database, {"--csv"}), show(plain, {"--csv"})) << sql;
        EXPECT_EQ(show(database, {"--object", "J1", "--json"}), show(plain, {"--object", "J1", "--json"})) << sql;
    }
}
