// The database of a model of the second face: rows go aside, and into their place at the end.

#include "results/databaseplace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/child.h"
#include "support/connection.h"
#include "support/database.h"
#include "support/results.h"
#include "support/tvmodel.h"

namespace {

constexpr const char* SAMPLES = "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n";

/// A project with so many junctions and a report of each of so many minutes.
std::string getNodes(int count, int minutes) {
    std::string nodes, links, inflows;
    for (int k = 0; k < count; ++k) {
        const std::string id = std::to_string(k);
        nodes.append("N").append(id).append("\n");
        links.append("C").append(id).append(" N").append(id).append(" OUT NO 0\n");
        inflows.append("N").append(id).append(" FLOW FLOW ").append(id).append(".5 \"\" 1\n");
    }
    const std::string end = std::to_string(minutes / 60) + ":" + std::to_string(minutes % 60);
    return getGeneral(minutes) + "END_TIME " + end + ":30\n" + SAMPLES + "[JUNCTIONS]\n" + nodes +
           "[OUTFALLS]\nOUT\n[CONNECTIONS]\n" + links + "[INFLOWS]\n" + inflows;
}

/// Rows of a report of that: the system, the nodes with the outfall, and the links.
constexpr int getRowCount(int count) {
    return 2 * count + 2;
}

/// Many more rows than SQLite keeps in memory.
constexpr int MANY_NODES = 100, MANY_MINUTES = 600;

/// A folder with a project, its database, and what stands beside that.
struct DatabaseRun : Project {
    using Project::Project;
    std::string db = folder.file("second.db");
    std::string aside = db + ".part";
    TvModel model;

    int32_t start(const char* database = nullptr) const {
        EXPECT_EQ(tv_open(model, input.c_str(), report.c_str()), TV_OK);
        return tv_start(model, nullptr, database ? database : db.c_str());
    }

    int32_t end() const {
        EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
        return tv_end(model);
    }

    /// A whole run.
    void runAll() const {
        ASSERT_EQ(start(), TV_OK) << getErrorText();
        ASSERT_EQ(end(), TV_OK) << getErrorText();
        ASSERT_EQ(tv_close(model), TV_OK);
    }

    /// The same in the first face, into the database of the project; what stands in the report.
    std::string runFirstFace() const {
        runToDatabase(const_cast<DatabaseRun&>(*this));
        return getReport();
    }

    std::string getErrorText() const {
        std::string text;
        for (const tv_message& message : model.getErrors()) {
            text.append(text.empty() ? "" : "\n").append(message.text);
        }
        return text;
    }

    /// What there is of databases.
    std::vector<std::string> list() const {
        std::vector<std::string> names;
        for (const std::string& name : folder.list()) {
            if (name.compare(0, 6, "second") == 0) {
                names.push_back(name);
            }
        }
        return names;
    }
};

const std::vector<std::string> ALONE{"second.db"};

/// All that a database holds but for the table of what the run is known by: texts of its tables and rows, with their
/// types and their places.
std::string dump(const std::string& db) {
    std::string sql =
        "select type, name, tbl_name, sql from sqlite_master where name <> 'TarnveldeRun' order by rowid;";
    for (const char* table : {"GeneralInfo", "System", "Subcatchment", "Junction", "Tank", "Outfall", "Splitter",
                              "Reactor", "LID_Mono", "Pipe", "Pump", "Connection", "Conduit", "Weir", "Orifice"}) {
        sql.append("select rowid, * from ").append(table).append(" order by rowid;");
    }
    const ProcessResult result =
        process_run({"sqlite3", "-quote", db,
                     sql + "pragma integrity_check; pragma page_size; pragma encoding; pragma auto_vacuum"});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

/// Whether a database stands for a run of that many reports of getNodes, each of them whole; -1 if it doesn't, with
/// the reports otherwise.
int countReports(const std::string& db, int nodes) {
    const Connection connection(db);
    const int reports = connection.ask("select count(*) from System");
    const bool isWhole = connection.ask("select count(*) from Junction") == nodes * reports &&
                         connection.ask("select count(*) from Connection") == nodes * reports &&
                         connection.ask("select count(*) from Outfall") == reports &&
                         connection.ask("select count(*) from GeneralInfo") == 1 &&
                         connection.ask("select count(*) from pragma_integrity_check where integrity_check='ok'") == 1;
    return isWhole ? reports : -1;
}

/// Both faces refuse to start over their files, in the same words, and leave them as they are.
void expectBothRefuse(DatabaseRun& run, const std::string& bytes) {
    run.open();
    EXPECT_EQ(tarnvelde_start(2), 315);
    tarnvelde_close();
    const std::string report = run.getReport();
    EXPECT_NE(report, "");
    EXPECT_TRUE(readFile(getDatabase(run)) == bytes);
    EXPECT_EQ(run.start(), 315);
    tv_close(run.model);
    EXPECT_EQ(run.getReport(), report);
    EXPECT_EQ(run.list(), ALONE);
    EXPECT_TRUE(readFile(run.db) == bytes);
}

void sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace

// --- what it leaves ------------------------------------------------------------------------------------------------

TEST(DatabasePlace, LeavesWhatTheFirstFaceLeaves) {
    const std::string projects[] = {
        getDelayedProject(SAMPLES),
        getPlainProject(),
        getDelayedProject(SAMPLES, "A", "O''Brien"),
        getDelayedProject(SAMPLES, "A",
                          "Stra\xDF"
                          "e"),
        // SQLite takes a form feed for a blank: types and rules of columns, the numbers of the rows among them.
        getDelayedProject(SAMPLES, "q\ftext"),
        getDelayedProject(SAMPLES, "q\fconstraint"),
        getDelayedProject(SAMPLES, "q\fnot\fnull\fcollate\fnocase\fconstraint"),
        getNodes(100, 10),
        getDelayedProject("REPORT_STEP 1:00:00\n"),
    };
    for (const std::string& text : projects) {
        DatabaseRun run(text);
        ASSERT_EQ(run.runFirstFace().find("ERROR"), std::string::npos);
        ASSERT_NO_FATAL_FAILURE(run.runAll());
        EXPECT_EQ(run.list(), ALONE);
        const std::string first = dump(getDatabase(run));
        EXPECT_NE(first.find("CREATE TABLE Orifice"), std::string::npos);
        EXPECT_EQ(dump(run.db), first) << "new";
        ASSERT_NO_FATAL_FAILURE(run.runAll());
        EXPECT_EQ(run.list(), ALONE);
        EXPECT_EQ(dump(run.db), first) << "in place of another";
    }
}

TEST(DatabasePlace, TellsWhatTheRunIsKnownBy) {
    DatabaseRun run(getDelayedProject());
    for (int k = 0; k < 2; ++k) {  // of a new file, and in place of another
        ASSERT_NO_FATAL_FAILURE(run.runAll());
        EXPECT_EQ(ask(run.db, "select Value from TarnveldeRun where Name='state'"), "complete\n");
        EXPECT_EQ(ask(run.db, "select count(*), count(distinct Name) from TarnveldeRun"), "5|5\n");
    }
    run.runFirstFace();
    EXPECT_EQ(ask(getDatabase(run), "select count(*) from sqlite_master where name='TarnveldeRun'"), "0\n");
}

TEST(DatabasePlace, LeavesWhatBelongsToOthers) {
    // As the first face does: what hangs on a table of results goes with it.
    const std::string others =
        "create table Mine (A); insert into Mine values (7); create view Seen as select * from Junction;"
        "create index Mine_A on Mine (A); create index Flows on Junction (TotInflow);"
        "create trigger Log after insert on Junction begin insert into Mine values (8); end;"
        "create trigger Own after insert on Mine begin delete from Junction; end";
    const std::string texts =
        "select name, sql from sqlite_master where name <> 'TarnveldeRun' order by rowid;"
        "select * from Mine; select * from Seen";
    DatabaseRun run(getDelayedProject());
    run.runFirstFace();
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    ask(getDatabase(run), others);
    ask(run.db, others);
    run.runFirstFace();
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    const std::string after = ask(run.db, texts);
    EXPECT_EQ(after, ask(getDatabase(run), texts));
    EXPECT_NE(after.find("CREATE TRIGGER Own"), std::string::npos);
    EXPECT_EQ(after.find("CREATE TRIGGER Log"), std::string::npos);
    EXPECT_EQ(after.find("CREATE INDEX Flows"), std::string::npos);
}

TEST(DatabasePlace, TextsAreEncodedAsThoseThatAreThere) {
    for (const char* encoding : {"UTF-16le", "UTF-16be", "UTF-8"}) {
        SCOPED_TRACE(encoding);
        const std::string name = "\xC3\x9F";  // a letter that is no byte in UTF-16
        DatabaseRun run(getDelayedProject(SAMPLES, "A", name));
        ask(run.db,
            std::string("pragma encoding='") + encoding + "'; create table Mine (A); insert into Mine values (7)");
        for (const char* kind : {"the first", "another", "one behind a killed one"}) {
            SCOPED_TRACE(kind);
            ASSERT_NO_FATAL_FAILURE(run.runAll());
            EXPECT_EQ(run.list(), ALONE);
            EXPECT_EQ(ask(run.db, "pragma encoding; select * from Mine; select count(*) from System"),
                      std::string(encoding) + "\n7\n4\n");
            EXPECT_EQ(ask(run.db, "select distinct Name from Junction"), name + "\n");
            EXPECT_EQ(ask(run.db, "select Value from TarnveldeRun where Name='state'"), "complete\n");
            for (const char* left : {"UTF-8", "UTF-16le"}) {  // what a killed run with another target leaves
                std::filesystem::remove(run.aside);
                ask(run.aside, std::string("pragma encoding='") + left + "'; create table System (Period)");
                ASSERT_NO_FATAL_FAILURE(run.runAll());
                EXPECT_EQ(run.list(), ALONE);
            }
        }
    }
}

TEST(DatabasePlace, WhatHasTheNameOfTheIdentityStays) {
    const std::string things[] = {
        "create table TarnveldeRun (Name TEXT, Value TEXT, Mine INT); insert into TarnveldeRun values ('state','a',7)",
        "create table tarnvelderun (A); insert into tarnvelderun values (7)",
        "create table TarnveldeRun (Value TEXT, Name TEXT)",
        "create view TARNVELDERUN as select 7",
        "create table Mine (A); insert into Mine values (7); create index TarnveldeRun on Mine (A)",
        "create virtual table TarnveldeRun using fts5 (Name, Value)",
    };
    for (const std::string& thing : things) {
        SCOPED_TRACE(thing);
        DatabaseRun run(getDelayedProject());
        ask(run.db, thing);
        const bool isIndex = thing.find("create index") != std::string::npos;
        const std::string question = isIndex ? "select * from Mine" : "select * from TarnveldeRun";
        const std::string before = ask(run.db, "select type, name, sql from sqlite_master");
        const std::string rows = ask(run.db, question);
        for (int k = 0; k < 2; ++k) {
            ASSERT_NO_FATAL_FAILURE(run.runAll());
            EXPECT_EQ(run.list(), ALONE);
            EXPECT_EQ(ask(run.db, "select type, name, sql from sqlite_master").compare(0, before.size(), before), 0);
            EXPECT_EQ(ask(run.db, question), rows);
            EXPECT_EQ(ask(run.db, "select count(*) from System"), "4\n");
        }
    }
}

TEST(DatabasePlace, ATriggerOfTheNameOfTheIdentityIsInNobodysWay) {
    DatabaseRun run(getDelayedProject());
    ask(run.db, "create table Mine (A); create trigger TarnveldeRun after insert on Mine begin delete from Mine; end");
    for (int k = 0; k < 2; ++k) {
        ASSERT_NO_FATAL_FAILURE(run.runAll());
        EXPECT_EQ(ask(run.db, "select Value from TarnveldeRun where Name='state'"), "complete\n");
        EXPECT_EQ(ask(run.db, "select count(*) from sqlite_master where type='trigger'"), "1\n");
    }
}

TEST(DatabasePlace, TheFirstFaceLeavesNoForeignIdentity) {
    DatabaseRun run(getDelayedProject());
    run.db = getDatabase(run);
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    EXPECT_EQ(ask(run.db, "select count(*) from TarnveldeRun where Name='state'"), "1\n");
    run.runFirstFace();
    EXPECT_EQ(ask(run.db, "select count(*) from sqlite_master where name='TarnveldeRun'"), "0\n");
    ask(run.db, "create table TarnveldeRun (A); insert into TarnveldeRun values (7)");
    run.runFirstFace();
    EXPECT_EQ(ask(run.db, "select * from TarnveldeRun"), "7\n");
}

TEST(DatabasePlace, ALinkStaysALink) {
    DatabaseRun run(getDelayedProject());
    const std::string real = run.folder.file("real.db");
    std::filesystem::create_symlink("real.db", run.db);
    for (const char* kind : {"new", "in place of another"}) {
        SCOPED_TRACE(kind);
        ASSERT_EQ(run.start(), TV_OK);
        EXPECT_TRUE(std::filesystem::exists(real + ".part"));
        ASSERT_EQ(run.end(), TV_OK);
        ASSERT_EQ(tv_close(run.model), TV_OK);
        EXPECT_TRUE(std::filesystem::is_symlink(run.db));
        EXPECT_EQ(ask(real, "select count(*) from System"), "4\n");
        EXPECT_FALSE(std::filesystem::exists(real + ".part"));
    }
}

TEST(DatabasePlace, RightsOfAFileStay) {
    DatabaseRun run(getDelayedProject());
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    ASSERT_EQ(chmod(run.db.c_str(), 0640), 0);
    struct stat before, after;
    ASSERT_EQ(stat(run.db.c_str(), &before), 0);
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    ASSERT_EQ(stat(run.db.c_str(), &after), 0);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST(DatabasePlace, NamesOfNowhereLeaveNothing) {
    for (const char* name : {":memory:", ""}) {
        DatabaseRun run(getDelayedProject());
        ASSERT_EQ(run.start(name), TV_OK);
        ASSERT_EQ(run.end(), TV_OK);
        ASSERT_EQ(tv_close(run.model), TV_OK);
        EXPECT_EQ(run.folder.list(), (std::vector<std::string>{"model.inp", "model.rpt"}));
    }
}

TEST(DatabasePlace, AFileBesideADeviceIsNotMade) {
    DatabaseRun run(getDelayedProject());
    ASSERT_EQ(mkfifo(run.db.c_str(), 0600), 0);
    EXPECT_NE(run.start(), TV_OK);
    EXPECT_EQ(run.list(), ALONE);
    EXPECT_TRUE(std::filesystem::is_fifo(run.db));
}

TEST(DatabasePlace, ARunThatIsEndedEarlyKeepsWhatItHas) {
    DatabaseRun run(getDelayedProject());
    ASSERT_EQ(run.start(), TV_OK);
    ASSERT_EQ(tv_step(run.model), TV_OK);
    ASSERT_EQ(tv_close(run.model), TV_OK);
    EXPECT_EQ(run.list(), ALONE);
    EXPECT_EQ(ask(run.db, "select Period from System"), "1\n");
}

TEST(DatabasePlace, AStateTakesBackRowsThatAreCommitted) {
    DatabaseRun run(getNodes(MANY_NODES, MANY_MINUTES));
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    const std::string straight = dump(run.db);
    ASSERT_EQ(run.start(), TV_OK);
    const double begin = run.model.getClock().start;
    ASSERT_EQ(tv_runUntil(run.model, begin + 0.1), TV_OK);
    size_t size = 0;
    ASSERT_EQ(tv_getStateSize(run.model, &size), TV_OK);
    std::vector<char> state(size);
    ASSERT_EQ(tv_saveState(run.model, state.data(), size, &size), TV_OK);
    ASSERT_EQ(tv_runUntil(run.model, TV_END), TV_OK);
    ASSERT_EQ(tv_restoreState(run.model, state.data(), size), TV_OK);
    ASSERT_EQ(run.end(), TV_OK);
    EXPECT_EQ(dump(run.db), straight);
}

// --- a start that fails --------------------------------------------------------------------------------------------

TEST(DatabasePlace, WhatIsInTheWayIsToldAtTheStartAsEver) {
    const std::pair<const char*, const char*> cases[] = {
        {"drop table System; create view System as select 1", "A"},
        {"drop table Junction; create table Mine (A); create index Junction on Mine (A)", "A"},
        {"drop table Junction; create index Junction on Weir (Period)", "A"},
        {"drop table Junction; drop table GeneralInfo; create view GeneralInfo as select 1;"
         "create view Junction as select 1",
         "A"},
        {"select 1", "x,y"},
        {"select 1", "x;y"},
        {"select 1", "Period"},
        {"select 1", "A\fnonsense\fand\fmore\fdefault"},
        {"drop table Pipe; drop table Tank; create view Tank as select 2", "inflow"},
    };
    for (const auto& [change, pollutant] : cases) {
        SCOPED_TRACE(std::string(change) + " / " + pollutant);
        DatabaseRun run(getDelayedProject(SAMPLES, "A"));
        run.runFirstFace();
        ask(getDatabase(run), change);
        std::filesystem::copy_file(getDatabase(run), run.db);
        const std::string before = readFile(run.db);
        run.write(getDelayedProject(SAMPLES, pollutant));
        expectBothRefuse(run, before);
    }
}

TEST(DatabasePlace, AnIndexThatGoesWithItsTableIsInNobodysWay) {
    DatabaseRun run(getDelayedProject(SAMPLES, "A"));
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    ask(run.db, "drop table Junction; create index junction on System (Period)");
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    EXPECT_EQ(ask(run.db, "select count(*) from Junction"), "4\n");
}

TEST(DatabasePlace, AFileOfAnotherKindIsToldAsEver) {
    DatabaseRun run(getDelayedProject());
    const std::string text(5000, 'x');
    run.folder.write("model.db", text);
    run.folder.write("second.db", text);
    expectBothRefuse(run, text);
}

TEST(DatabasePlace, AStartThatFailsLeavesNoNewFile) {
    DatabaseRun run(getDelayedProject(SAMPLES, "Period"));
    EXPECT_EQ(run.start(), 315);
    EXPECT_STREQ(run.model.getErrors().front().text, "Database SQL error: duplicate column name: Period.");
    tv_close(run.model);
    EXPECT_EQ(run.list(), std::vector<std::string>{});
}

TEST(DatabasePlace, APlaceThatCannotBeWrittenIs313) {
    DatabaseRun run(getDelayedProject());
    EXPECT_EQ(run.start(run.folder.file("no/such/second.db").c_str()), 313);
    tv_close(run.model);
    std::filesystem::create_directory(run.db);
    EXPECT_EQ(run.start(), 313);
    tv_close(run.model);
    EXPECT_EQ(run.list(), ALONE);
    std::filesystem::remove(run.db);
    std::filesystem::create_directory(run.aside);
    EXPECT_EQ(run.start(), 313);
    EXPECT_EQ(run.list(), std::vector<std::string>{"second.db.part"});
}

TEST(DatabasePlace, ANameWithoutRoomForAJournalIsToldAtTheStart) {
    DatabaseRun run(getDelayedProject());
    for (const size_t length :
         {size_t{239}, size_t{243}, size_t{247}}) {  // with room for all, ..., for the journal alone
        SCOPED_TRACE(length);
        run.db = run.folder.file("second" + std::string(length - 6, 'x'));
        ASSERT_NO_FATAL_FAILURE(run.runAll());
        ASSERT_NO_FATAL_FAILURE(run.runAll());
        EXPECT_EQ(ask(run.db, "select count(*) from System"), "4\n");
        std::filesystem::remove(run.db);
        EXPECT_EQ(run.list(), std::vector<std::string>{});
    }
    run.db += 'x';
    EXPECT_EQ(run.start(), 313);
    EXPECT_EQ(run.getErrorText(),
              "cannot open database file. (" + run.db + ": its name leaves no room for that of its journal)");
    tv_close(run.model);
    EXPECT_EQ(run.list(), std::vector<std::string>{});
}

TEST(DatabasePlace, AFileOfTheUserBesideItIsNotReplaced) {
    DatabaseRun run(getDelayedProject());
    const std::string text(3000, 'x');
    run.folder.write("second.db.part", text);
    EXPECT_EQ(run.start(), 313);
    EXPECT_EQ(run.getErrorText(), "cannot open database file. (" + run.aside + ": file is not a database)");
    tv_close(run.model);
    EXPECT_EQ(run.list(), std::vector<std::string>{"second.db.part"});
    EXPECT_TRUE(readFile(run.aside) == text);
}

TEST(DatabasePlace, AFileOfTheRunBesideItIsNotReplaced) {
    DatabaseRun run(getDelayedProject());
    ASSERT_EQ(tv_open(run.model, run.input.c_str(), run.aside.c_str()), TV_OK);
    EXPECT_EQ(tv_start(run.model, nullptr, run.db.c_str()), 301);
    ASSERT_EQ(tv_start(run.model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_step(run.model), TV_OK);
    tv_close(run.model);
    EXPECT_EQ(run.list(), std::vector<std::string>{"second.db.part"});
    EXPECT_EQ(readFile(run.aside).compare(0, std::string(BANNER).size(), BANNER), 0);
}

// --- company -------------------------------------------------------------------------------------------------------

TEST(DatabasePlace, ReadersSeeTheRunBeforeUntilTheEnd) {
    DatabaseRun run(getNodes(MANY_NODES, MANY_MINUTES));
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    run.write(getNodes(MANY_NODES, MANY_MINUTES - 1));
    ASSERT_EQ(run.start(), TV_OK);
    const double begin = run.model.getClock().start;
    for (int part = 1; part <= 10; ++part) {
        ASSERT_EQ(tv_runUntil(run.model, begin + part * MANY_MINUTES / 1440.0 / 10.0), TV_OK);
        EXPECT_EQ(countReports(run.db, MANY_NODES), MANY_MINUTES) << part;
    }
    ASSERT_EQ(tv_end(run.model), TV_OK);
    EXPECT_EQ(countReports(run.db, MANY_NODES), MANY_MINUTES - 1);
}

TEST(DatabasePlace, AReaderThatLeavesInTimeIsWaitedFor) {
    DatabaseRun run(getDelayedProject());
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    run.write(getDelayedProject("REPORT_STEP 0:02:00\nREPORT_AVERAGE NO\n"));
    ASSERT_EQ(run.start(), TV_OK);
    const Connection reader(run.db);
    reader.run("begin; select * from System");
    std::thread leaving([&] {
        sleep(1000);
        reader.run("rollback");
    });
    EXPECT_EQ(run.end(), TV_OK);
    leaving.join();
    EXPECT_EQ(run.getErrorText(), "");
    EXPECT_EQ(ask(run.db, "select count(*) from System"), "2\n");
    EXPECT_EQ(run.list(), ALONE);
}

TEST(DatabasePlace, AReaderThatStaysLeavesTheResultsAside) {
    DatabaseRun run(getDelayedProject());
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    const std::string before = readFile(run.db), rows = dump(run.db);
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    const pid_t child = fork();
    if (child == 0) {  // a program of its own, until it is let go
        const Connection reader(run.db);
        reader.run("begin; select * from System");
        char byte = 'r';
        _exit(write(ready[1], &byte, 1) == 1 && read(done[0], &byte, 1) == 1 ? 0 : 1);
    }
    char byte;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    ASSERT_EQ(run.start(), TV_OK);
    testing::internal::CaptureStderr();
    EXPECT_EQ(run.end(), 315);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    const std::string message = "Database SQL error: database is locked; the results are kept in " + run.aside + ".";
    EXPECT_EQ(run.getErrorText(), message);
    tv_close(run.model);
    EXPECT_EQ(run.getReport(), "\n  \n  ERROR 315: " + message);
    EXPECT_EQ(write(done[1], &byte, 1), 1);
    EXPECT_EQ(process_wait(child), 0);
    EXPECT_TRUE(readFile(run.db) == before);
    EXPECT_EQ(dump(run.aside), rows);
    EXPECT_EQ(run.list(), (std::vector<std::string>{"second.db", "second.db.part"}));
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    EXPECT_EQ(run.list(), ALONE);
}

TEST(DatabasePlace, AWriterInCompanyKeepsItsRows) {
    DatabaseRun run(getNodes(MANY_NODES, MANY_MINUTES));
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    const Connection writer(run.db);
    writer.run("create table Mine (A)");
    run.write(getNodes(MANY_NODES, MANY_MINUTES - 1));
    ASSERT_EQ(run.start(), TV_OK);
    const double begin = run.model.getClock().start;
    for (int part = 1; part <= 5; ++part) {
        ASSERT_EQ(tv_runUntil(run.model, begin + part * MANY_MINUTES / 1440.0 / 10.0), TV_OK);
        writer.run("insert into Mine values (1)");
    }
    writer.run("begin immediate; insert into Mine values (1)");
    std::thread leaving([&] {
        sleep(1000);
        writer.run("commit");
    });
    EXPECT_EQ(run.end(), TV_OK);
    leaving.join();
    EXPECT_EQ(writer.ask("select count(*) from Mine"), 6);
    EXPECT_EQ(countReports(run.db, MANY_NODES), MANY_MINUTES - 1);
}

TEST(DatabasePlace, ASecondRunIntoOneFileIsRefused) {
    for (const char* kind : {"new", "in place of another"}) {
        SCOPED_TRACE(kind);
        DatabaseRun run(getDelayedProject());
        if (kind[0] == 'i') {
            ASSERT_NO_FATAL_FAILURE(run.runAll());
        }
        ASSERT_EQ(run.start(), TV_OK);
        ASSERT_EQ(tv_step(run.model), TV_OK);
        const TvModel second;
        const std::string reason = "cannot open database file. (" + run.aside + ": another run writes it)";
        ASSERT_EQ(tv_open(second, run.input.c_str(), nullptr), TV_OK);
        EXPECT_EQ(tv_start(second, nullptr, run.db.c_str()), 313);
        EXPECT_EQ(second.getErrors().back().text, reason);
        EXPECT_EQ(process_fork([&] {  // in another program
                      const TvModel third;
                      tv_open(third, run.input.c_str(), nullptr);
                      return tv_start(third, nullptr, run.db.c_str()) == 313 ? 0 : 1;
                  }),
                  0);
        EXPECT_EQ(run.end(), TV_OK);
        EXPECT_EQ(ask(run.db, "select count(*) from System"), "4\n");
        EXPECT_EQ(run.list(), ALONE);
        EXPECT_EQ(tv_start(second, nullptr, run.db.c_str()), TV_OK);  // now it may
    }
}

TEST(DatabasePlace, ManyRunsAtOnceLeaveTheirOwn) {
    DatabaseRun run(getNodes(20, 100));
    std::vector<std::thread> threads;
    std::vector<int> reports(4);
    for (size_t k = 0; k < reports.size(); ++k) {
        threads.emplace_back([&, k] {
            const std::string db = run.folder.file("many" + std::to_string(k));
            for (int round = 0; round < 3; ++round) {
                const TvModel model;
                tv_open(model, run.input.c_str(), nullptr);
                tv_start(model, nullptr, db.c_str());
                tv_runUntil(model, TV_END);
                tv_end(model);
            }
            reports[k] = countReports(db, 20);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(reports, std::vector<int>(reports.size(), 100));
}

TEST(DatabasePlace, ATargetThatIsNoneAtTheEndLeavesTheResultsAside) {
    DatabaseRun run(getDelayedProject());
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    ASSERT_EQ(run.start(), TV_OK);
    const std::string text(5000, 'x');
    run.folder.write("second.db", text);
    EXPECT_EQ(run.end(), 315);
    EXPECT_EQ(run.getErrorText(),
              "Database SQL error: file is not a database; the results are kept in " + run.aside + ".");
    tv_close(run.model);
    EXPECT_TRUE(readFile(run.db) == text);
    EXPECT_EQ(ask(run.aside, "select count(*) from System"), "4\n");
}

TEST(DatabasePlace, AViewInTheWayAtTheEndLeavesTheResultsAside) {
    DatabaseRun run(getDelayedProject());
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    ASSERT_EQ(run.start(), TV_OK);
    ask(run.db, "drop table Weir; create view Weir as select 1");
    const std::string before = readFile(run.db);
    EXPECT_EQ(run.end(), 315);
    EXPECT_EQ(run.getErrorText(),
              "Database SQL error: use DROP VIEW to delete view Weir; the results are kept in " + run.aside + ".");
    tv_close(run.model);
    EXPECT_TRUE(readFile(run.db) == before);
    EXPECT_EQ(ask(run.aside, "select count(*) from System"), "4\n");
}

TEST(DatabasePlace, ATargetThatComesOrGoesMeanwhileIsMinded) {
    DatabaseRun run(getDelayedProject());
    ASSERT_EQ(run.start(), TV_OK);
    ask(run.db, "create table Mine (A); insert into Mine values (7)");
    EXPECT_EQ(run.end(), TV_OK);
    tv_close(run.model);
    EXPECT_EQ(ask(run.db, "select * from Mine; select count(*) from System"), "7\n4\n");
    ASSERT_EQ(run.start(), TV_OK);
    std::filesystem::remove(run.db);
    EXPECT_EQ(run.end(), TV_OK);
    tv_close(run.model);
    EXPECT_EQ(ask(run.db, "select count(*) from System"), "4\n");
    EXPECT_EQ(run.list(), ALONE);
}

// --- ends of the process and of the disk ---------------------------------------------------------------------------

TEST(DatabasePlace, AKilledRunLeavesItsWholeTransactions) {
    // A transaction ends with the first report that makes it 20,000 rows or more: 100 reports of 202 rows.
    DatabaseRun run(getNodes(MANY_NODES, MANY_MINUTES));
    constexpr int TRANSACTION = (20000 + getRowCount(MANY_NODES) - 1) / getRowCount(MANY_NODES);
    for (const int steps : {0, TRANSACTION - 1, TRANSACTION, 3 * TRANSACTION + 1}) {
        SCOPED_TRACE(steps);
        EXPECT_EQ(process_fork([&] {
                      run.start();
                      for (int k = 0; k < steps; ++k) {
                          tv_step(run.model);
                      }
                      return raise(SIGKILL);
                  }),
                  128 + SIGKILL);
        EXPECT_FALSE(std::filesystem::exists(run.db));
        EXPECT_EQ(countReports(run.aside, MANY_NODES), steps / TRANSACTION * TRANSACTION);
    }
    ASSERT_NO_FATAL_FAILURE(run.runAll());
    EXPECT_EQ(run.list(), ALONE);
    EXPECT_EQ(countReports(run.db, MANY_NODES), MANY_MINUTES);
}

TEST(DatabasePlace, ARunThatIsKilledAtAnyMomentLeavesTheOldOrTheNew) {
    constexpr int NODES = 50, OLD = 200, NEW = 500;
    for (const bool isThere : {false, true}) {
        int endings[2] = {};
        for (int moment = 0; moment < 40; ++moment) {
            SCOPED_TRACE((isThere ? "in place of another " : "new ") + std::to_string(moment));
            DatabaseRun run(getNodes(NODES, OLD));
            if (isThere) {
                ASSERT_NO_FATAL_FAILURE(run.runAll());
            }
            run.write(getNodes(NODES, NEW));
            int ready[2];
            ASSERT_EQ(pipe(ready), 0);
            const pid_t child = fork();
            if (child == 0) {
                const bool isStarted = run.start() == TV_OK && tv_runUntil(run.model, TV_END) == TV_OK;
                const char byte = 'r';
                const bool isTold = write(ready[1], &byte, 1) == 1;
                _exit(isStarted && isTold && tv_end(run.model) == TV_OK ? 0 : 1);
            }
            close(ready[1]);
            char byte = 0;
            EXPECT_EQ(read(ready[0], &byte, 1), 1);
            close(ready[0]);
            std::this_thread::sleep_for(std::chrono::microseconds(500 * moment));
            kill(child, SIGKILL);
            const int status = process_wait(child);
            ASSERT_TRUE(status == 128 + SIGKILL || status == 0) << status;
            const bool isPlaced = std::filesystem::exists(run.db);
            const int reports = isPlaced ? countReports(run.db, NODES) : 0;
            ASSERT_TRUE(reports == NEW || (isThere ? reports == OLD : !isPlaced)) << reports;
            if (reports != NEW) {
                EXPECT_GE(countReports(run.aside, NODES), 20000 / getRowCount(NODES) * 2);
            }
            ++endings[reports == NEW ? 1 : 0];
            ASSERT_NO_FATAL_FAILURE(run.runAll());
            EXPECT_EQ(run.list(), ALONE);
            EXPECT_EQ(countReports(run.db, NODES), NEW);
        }
        EXPECT_GT(endings[0], 0) << "each run was over before it was killed";
    }
}

TEST(DatabasePlace, AFullDiskLeavesTheOldOrTheNew) {
    constexpr int NODES = 50, OLD = 200, NEW = 500;
    for (const bool isThere : {false, true}) {
        DatabaseRun run(getNodes(NODES, OLD));
        int placed = 0, kept = 0, refused = 0;
        for (size_t size = 2000; size < 4000000; size += size / 3) {
            SCOPED_TRACE((isThere ? "in place of another " : "new ") + std::to_string(size));
            for (const std::string& name : run.list()) {
                std::filesystem::remove(run.folder.file(name));
            }
            if (isThere) {
                run.write(getNodes(NODES, OLD));
                ASSERT_NO_FATAL_FAILURE(run.runAll());
            }
            run.write(getNodes(NODES, NEW));
            const int status = process_fork([&] {
                tv_open(run.model, run.input.c_str(), nullptr);
                process_limitFileSize(size);
                if (tv_start(run.model, nullptr, run.db.c_str()) != TV_OK) {
                    return 1;
                }
                tv_runUntil(run.model, TV_END);
                const bool isEnded = tv_end(run.model) == TV_OK;
                const std::string told = isEnded ? "" : run.model.getErrors().back().text;
                const bool isTold = told.find("disk I/O error; the results ") != std::string::npos &&
                                    told.find(" kept in " + run.aside) != std::string::npos;
                return isEnded ? 0 : isTold ? 2 : 3;
            });
            ASSERT_NE(status, 3);
            const bool isPlaced = std::filesystem::exists(run.db);
            const int reports = isPlaced ? countReports(run.db, NODES) : 0;
            EXPECT_EQ(reports, status == 0 ? NEW : isThere ? OLD : 0);
            EXPECT_EQ(std::filesystem::exists(run.aside), status == 2);
            if (status == 2) {
                EXPECT_GE(countReports(run.aside, NODES), 0);
            }
            ++(status == 0 ? placed : status == 2 ? kept : refused);
        }
        EXPECT_GT(placed, 0);
        EXPECT_GT(kept, 0);
        EXPECT_GT(refused, 0);
    }
}
