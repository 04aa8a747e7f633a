// Databases that no run has left so, and that may still be what somebody has.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/resultsfixture.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

/// A database of results with two reports, changed by SQL.
struct Databases : testing::Test {
    TempFolder folder;
    std::string file = folder.file("a.db");

    void make(const std::string& sql) const {
        std::filesystem::remove(file);
        const ProcessResult result =
            process_run({"sqlite3", file,
                         "begin; create table GeneralInfo (Version INT, StartDateTime DOUBLE, ReportStep INT); "
                         "insert into GeneralInfo values (21000, 44256.0, 900); "
                         "create table System (Period INT, TotInflow FLOAT); insert into System values (1, 1), (2, 2); "
                         "create table Junction (Name TEXT, Period INT, TotInflow FLOAT); "
                         "insert into Junction values ('A', 1, 1), ('B', 1, 2), ('C', 1, 3), ('A', 2, 4), ('B', 2, 5), "
                         "('C', 2, 6); " +
                             sql + "; commit"});
        ASSERT_EQ(result.status, 0) << result.err;
    }
    ProcessResult show(std::vector<std::string> options) const {
        options.insert(options.begin(), {"results", file});
        return runProgramWithin(60, options);
    }
    /// Refused with these words behind the name of the file.
    void expectRefusal(const std::string& sql, const std::string& words) const {
        ASSERT_NO_FATAL_FAILURE(make(sql)) << sql;
        const ProcessResult result = show({"--csv"});
        EXPECT_EQ(result.status, 1) << sql;
        EXPECT_EQ(result.out, "") << sql;
        EXPECT_EQ(result.err, "tarnvelde: " + file + ' ' + words + '\n') << sql;
    }
};

}  // namespace

TEST_F(Databases, WithoutTheTablesOfARunAreNone) {
    expectRefusal("drop table GeneralInfo", "is no database of results");
    expectRefusal("drop table System", "is no database of results");
    expectRefusal("delete from GeneralInfo", "doesn't give the start of its run, as happens before the year 1900");
    expectRefusal("update GeneralInfo set Version = 51000", "is of another version");
}

TEST_F(Databases, WithoutTheColumnsOfARunAreDamaged) {
    for (const char* sql : {"drop table Junction; create table Junction (Name TEXT, TotInflow FLOAT)",
                            "drop table Junction; create table Junction (Period INT, TotInflow FLOAT)",
                            "drop table Junction; create table Junction (Name TEXT, Period INT)"}) {
        expectRefusal(sql, "is damaged: the table Junction lacks a column");
    }
    expectRefusal("alter table System add column Name TEXT", "is damaged: the table System lacks a column");
}

TEST_F(Databases, WithReportsBeyondAllNumbersAreDamaged) {
    expectRefusal("update System set Period = 2147483648 where Period = 2", "is damaged: it has no number of reports");
    expectRefusal("update System set Period = -Period", "is damaged: it has no number of reports");
}

TEST_F(Databases, ThatOnlyBeginLikeOneAreTold) {
    folder.write("a.db", std::string("SQLite format 3\0", 16) + std::string(4096, 'x'));
    const ProcessResult result = show({});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("a.db can't be read: "));
    EXPECT_THAT(result.err, Not(HasSubstr("rolled back")));
}

TEST_F(Databases, ShowSomeObjectsInWhateverOrderTheyStand) {
    make("delete from Junction where Period = 2; insert into Junction values ('C', 2, 6), ('A', 2, 4), ('B', 2, 5)");
    EXPECT_THAT(show({"--object", "A", "--object", "C", "--csv"}).out,
                EndsWith("\n2021-03-01 00:15:00,Junction,A,TotInflow (m3/s),1\n"
                         "2021-03-01 00:15:00,Junction,C,TotInflow (m3/s),3\n"
                         "2021-03-01 00:30:00,Junction,C,TotInflow (m3/s),6\n"
                         "2021-03-01 00:30:00,Junction,A,TotInflow (m3/s),4\n"));
}

TEST_F(Databases, TakeWholeNumbersAndWhatIsNoneAsTheyStand) {
    make(
        "drop table Junction; create table Junction (Name TEXT, Period INT, TotInflow INT, LatInflow TEXT); "
        "insert into Junction values ('A', 1, 7, 'many'), ('A', 2, null, 1e300)");
    EXPECT_EQ(show({"--object", "A", "--csv"}).out,
              "Date,TotInflow (m3/s),LatInflow (m3/s)\n2021-03-01 00:15:00,7,\n2021-03-01 00:30:00,,\n");
}

TEST_F(Databases, ShowAnObjectWithoutAName) {
    make("insert into Junction values (null, 1, 0.25)");
    EXPECT_THAT(show({"--table", "Junction", "--csv"}).out,
                HasSubstr("2021-03-01 00:15:00,Junction,,TotInflow (m3/s),0.25\n"));
}

TEST_F(Databases, MayHaveQuotesInTheNamesOfTheirColumns) {
    make("alter table Junction add column \"a\"\"b\" FLOAT; update Junction set \"a\"\"b\" = 0.5 where Name = 'B'");
    EXPECT_EQ(show({"--object", "B", "--column", "a\"b", "--csv"}).out,
              "Date,\"a\"\"b (mg/L)\"\n2021-03-01 00:15:00,0.5\n2021-03-01 00:30:00,0.5\n");
}

TEST_F(Databases, MayBeCalledLikeAnAddress) {
    make("");
    std::filesystem::copy(file, folder.path / "file:b.db?mode=memory");
    const ProcessResult result =
        process_run({"sh", "-c", "cd \"$1\" && exec \"$0\" results 'file:b.db?mode=memory' --object A --csv",
                     TARNVELDE_PROGRAM, folder.path.string()});
    EXPECT_EQ(result.out, "Date,TotInflow (m3/s)\n2021-03-01 00:15:00,1\n2021-03-01 00:30:00,4\n") << result.err;
    EXPECT_EQ(countFiles(folder.path), 2u);
}

TEST_F(Databases, WithoutAReportHaveNoneInAnyTime) {
    make("delete from System; delete from Junction");
    const ProcessResult result = show({"--column", "TotInflow", "--from", "2021/03/01"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: no report of " + file + " lies in this time; it holds none\n");
}

TEST_F(Databases, AreNotRecoveredButByTheirOwnMeans) {
    make("");
    const std::string bytes = readFile(file);
    const ProcessResult result = show({"--recover"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: " + file + " is a database, which SQLite itself puts right\n");
    EXPECT_EQ(readFile(file), bytes);
    std::filesystem::remove(file);
    const ProcessResult missing = show({"--recover"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "tarnvelde: " + file + ": No such file or directory\n");
}

// --- what is told of their run -------------------------------------------------------------------------------------

TEST_F(Databases, TellWhatIsKnownOfTheirRun) {
    make(
        "create table TarnveldeRun (Name TEXT, Value TEXT); insert into TarnveldeRun values ('state', 'failed'), "
        "('code', '400'), ('begin', null), (null, 'x'), ('version', '2.1.0')");
    EXPECT_THAT(show({}).out, HasSubstr("\nrun: failed with code 400, from  to ?; version 2.1.0, inputs ?\n"));
}

TEST_F(Results, TellNothingByATextThatIsNotTheirs) {
    const std::string text = binary + ".run";
    const auto showWith = [&](const std::string& bytes) {
        folder.write("model.bin.run", bytes);
        return runProgram({"results", binary}).out;
    };
    const std::string dates = "begin 2021-03-01 00:00:00\nend 2021-03-01 00:04:00\n";
    EXPECT_THAT(showWith("tarnvelde run\nstate complete\nalone\n\ninputs 7\n" + dates),
                HasSubstr("\nrun: complete, from 2021-03-01 00:00:00 to 2021-03-01 00:04:00; version ?, inputs 7\n"));
    EXPECT_THAT(showWith("tarnvelde run\nstate complete\ninputs 7\n"), Not(HasSubstr("\nrun: ")));
    EXPECT_THAT(showWith(""), Not(HasSubstr("\nrun: ")));
    EXPECT_THAT(showWith("my notes\nstate complete\n"), Not(HasSubstr("\nrun: ")));
    EXPECT_THAT(showWith("tarnvelde run\n"), Not(HasSubstr("\nrun: ")));
}

// --- names ---------------------------------------------------------------------------------------------------------

TEST_F(Databases, TellObjectsApartByHyphensAndLowLines) {
    make("insert into Junction values ('a-b', 1, 7), ('a_b', 1, 8)");
    EXPECT_EQ(show({"--object", "A-B", "--csv"}).out, "Date,TotInflow (m3/s)\n2021-03-01 00:15:00,7\n");
    EXPECT_EQ(show({"--object", "A_B", "--csv"}).out, "Date,TotInflow (m3/s)\n2021-03-01 00:15:00,8\n");
}

TEST_F(Databases, FindANameThatLooksLikeThatOfATable) {
    make("insert into Junction values ('Junction:A', 1, 7)");
    const ProcessResult both = show({"--object", "Junction:A", "--csv"});
    EXPECT_EQ(both.status, 1) << "it may be either";
    EXPECT_THAT(both.err, HasSubstr("more than one object is called Junction:A"));
    EXPECT_EQ(show({"--object", "Junction:Junction:A", "--csv"}).out, "Date,TotInflow (m3/s)\n2021-03-01 00:15:00,7\n");
}

TEST_F(Databases, TellTheColumnsOfAllObjectsOfAName) {
    make(
        "create table Pipe (Name TEXT, Period INT, Outfow FLOAT); insert into Pipe values ('A', 1, 9), ('A', 2, 9); "
        "insert into Junction values ('A', 3, 1), ('a', 1, 5)");
    const ProcessResult none = show({"--object", "A", "--column", "Depth"});
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, HasSubstr("no column Depth of A; there are TotInflow, Outfow\n"));
    // A column of the second table alone.
    EXPECT_EQ(show({"--object", "A", "--column", "Outflow", "--csv"}).out,
              "Date,Outfow (m3/s)\n2021-03-01 00:15:00,9\n2021-03-01 00:30:00,9\n");
    const ProcessResult summary = show({"--object", "A", "--column", "outflow", "--summary", "--csv"});
    EXPECT_EQ(summary.status, 0) << summary.err;
    EXPECT_THAT(summary.out, EndsWith("Flow-weighted mean\nPipe,A,Outfow (m3/s),9,9,9,2021-03-01 00:15:00,\n"));
    // Of two that differ by the case of their letters a summary shows both.
    EXPECT_THAT(show({"--object", "A", "--summary", "--csv"}).out,
                HasSubstr("\nJunction,a,TotInflow (m3/s),5,5,5,2021-03-01 00:15:00,\n"));
}

TEST_F(Databases, ShowAnObjectAndATableTogether) {
    make("");
    EXPECT_EQ(
        show({"--object", "A", "--table", "System", "--csv"}).out,
        "Date,Table,Object,Column,Value\n"
        "2021-03-01 00:15:00,System,System,TotInflow (m3/s),1\n2021-03-01 00:30:00,System,System,TotInflow (m3/s),2\n"
        "2021-03-01 00:15:00,Junction,A,TotInflow (m3/s),1\n2021-03-01 00:30:00,Junction,A,TotInflow (m3/s),4\n");
}
