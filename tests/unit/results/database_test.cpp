#include "results/database.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "model/errors.h"
#include "model/project.h"
#include "results/results.h"
#include "results/rows.h"
#include "support/child.h"
#include "support/connection.h"
#include "support/database.h"
#include "support/model.h"
#include "support/results.h"

namespace {

/// The only report is after three minutes. The first error freezes the clock of a run at its next runoff step.
constexpr const char* ONE_REPORT = "REPORT_STEP 0:03:00\nREPORT_AVERAGE NO\n";

std::string getMessage(const std::string& text) {
    return "\n  \n  ERROR 315: Database SQL error: " + text + ".";
}

int countMessages(const std::string& report) {
    int count = 0;
    for (size_t at = report.find("ERROR 315"); at != std::string::npos; at = report.find("ERROR 315", at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

// --- what a run leaves ---------------------------------------------------------------------------------------------

TEST(Database, HoldsTheRowsOfARun) {
    Project project(getDelayedProject());
    EXPECT_EQ(runToDatabase(project), 0);
    const std::string db = getDatabase(project);
    EXPECT_EQ(ask(db, "select * from GeneralInfo"), "21000|44256.0|60\n");
    EXPECT_EQ(ask(db, "select * from Junction"),
              "J1|1|0.5|0.5|4.0\nJ1|2|0.5|0.5|4.0\nJ1|3|0.5|0.5|4.0\nJ1|4|0.5|0.5|4.0\n");
    EXPECT_EQ(ask(db, "select * from Outfall"),
              "O1|1|0.0|0.0|0.0\nO1|2|0.0|0.0|0.0\nO1|3|0.5|0.0|4.0\nO1|4|0.5|0.0|4.0\n");
    EXPECT_EQ(ask(db, "select * from Connection where Period > 2"), "C1|3|0.5|0.5|4.0\nC1|4|0.5|0.5|4.0\n");
    EXPECT_EQ(ask(db, "select * from System where Period = 3"), "3|0.0|0.0|0.0|0.0|1.0|0.5|0.0|0.0|0.0|0.5|0.0|0.0\n");
    EXPECT_EQ(ask(db, "select count(*) from System"), "4\n");
}

TEST(Database, TablesAreMadeByTheseTexts) {
    Project project(getDelayedProject());
    runToDatabase(project);
    // The names of the columns are part of the format, that of the pipe's outflow included.
    const char* const expected[][2] = {
        {"System",
         "Period INT,Rainfall FLOAT,Evap FLOAT,Infil FLOAT,Runoff FLOAT,TotInflow FLOAT,DirInflow FLOAT,DWF "
         "FLOAT,Flood "
         "FLOAT,SWMMIn FLOAT,Outflow FLOAT,SWMMOut FLOAT,Storage FLOAT"},
        {"Subcatchment", "Name TEXT,Period INT,Rainfall FLOAT,Evap FLOAT,Infil FLOAT,Runoff FLOAT,A_B FLOAT"},
        {"Junction", "Name TEXT,Period INT,TotInflow FLOAT,LatInflow FLOAT,A_B FLOAT"},
        {"Tank", "Name TEXT,Period INT,Depth FLOAT,Vol FLOAT,TotInflow FLOAT,LatInflow FLOAT,Flood FLOAT,A_B FLOAT"},
        {"Outfall", "Name TEXT,Period INT,TotInflow FLOAT,LatInflow FLOAT,A_B FLOAT"},
        {"Splitter", "Name TEXT,Period INT,TotInflow FLOAT,LatInflow FLOAT,Outflow1 FLOAT,Outflow2 FLOAT,A_B FLOAT"},
        {"Reactor",
         "Name TEXT,Period INT,Vol FLOAT,TotInflow FLOAT,LatInflow FLOAT,Outflow FLOAT,Surpass FLOAT,Evap FLOAT,Infil "
         "FLOAT,Empty FLOAT,A_B FLOAT"},
        {"LID_Mono",
         "Name TEXT,Period INT,TotInflow FLOAT,LatInflow FLOAT,Rainfall FLOAT,Evap FLOAT,Surflow FLOAT,Exfil "
         "FLOAT,Drain "
         "FLOAT,SurDepth FLOAT,SoilMoist FLOAT,StorDepth FLOAT,PaveDepth FLOAT,Sur_A_B FLOAT,Soil_A_B FLOAT,Stor_A_B "
         "FLOAT,Pave_A_B FLOAT"},
        {"Pipe", "Name TEXT,Period INT,Vol FLOAT,Inflow FLOAT,Outfow FLOAT,Flood FLOAT,A_B FLOAT"},
        {"Pump", "Name TEXT,Period INT,Flow FLOAT,A_B FLOAT"},
        {"Connection", "Name TEXT,Period INT,Inflow FLOAT,Outflow FLOAT,A_B FLOAT"},
        {"Conduit",
         "Name TEXT,Period INT,Depth FLOAT,Vol FLOAT,Velocity FLOAT,Inflow FLOAT,Outflow FLOAT,Flood FLOAT,A_B FLOAT"},
        {"Weir", "Name TEXT,Period INT,Flow FLOAT,A_B FLOAT"},
        {"Orifice", "Name TEXT,Period INT,Flow FLOAT,A_B FLOAT"}};
    std::string all = "CREATE TABLE GeneralInfo (Version INT,StartDateTime DOUBLE,ReportStep INT)\n";
    for (const auto& table : expected) {
        all += std::string("CREATE TABLE ") + table[0] + " (" + table[1] + ")\n";
    }
    EXPECT_EQ(ask(getDatabase(project), "select sql from sqlite_master order by rowid"), all);
}

TEST(Database, WithoutPollutantsTablesHaveTheirFixedColumns) {
    Project project(getPlainProject());
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select sql from sqlite_master where name = 'Junction'"),
              "CREATE TABLE Junction (Name TEXT,Period INT,TotInflow FLOAT,LatInflow FLOAT)\n");
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from pragma_table_info('LID_Mono')"), "13\n");
    EXPECT_EQ(ask(getDatabase(project), "select * from Connection where Period = 3"), "C1|3|0.5|0.5\n");
}

TEST(Database, WithoutAReportTablesAreEmpty) {
    Project project(getDelayedProject("REPORT_STEP 1:00:00\n"));
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "0\n");
}

TEST(Database, PeriodIsInTheEndTheNumberOfReports) {
    Project project(getDelayedProject("REPORT_STEP 0:02:00\n"));
    runToDatabase(project);
    EXPECT_EQ(ask(getDatabase(project), "select max(Period) from System"), "2\n");
}

TEST(Database, HyphensOfPollutantsBecomeLowLines) {
    Project project(getDelayedProject(ONE_REPORT, "NH4--N-"));
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select name from pragma_table_info('Pump')"), "Name\nPeriod\nFlow\nNH4__N_\n");
}

TEST(Database, ANegativeStartDateLeavesGeneralInfoEmpty) {
    Project project(
        "[GENERAL]\nSTART_DATE 1899/12/01\nEND_DATE 1899/12/01\nEND_TIME 0:04:00\nROUTING_STEP 0:01:00\n"
        "REPORT_STEP 0:01:00\n[OUTFALLS]\nO1\n");
    project.open();
    EXPECT_EQ(tarnvelde_start(2), 315);
    EXPECT_EQ(testModel().isStarted, 1);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(countMessages(project.getReport()), 1);
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from GeneralInfo"), "0\n");
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "0\n");
}

TEST(Database, IsMadeAnewByEachRun) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const std::string rows = ask(getDatabase(project), "select * from Connection");
    ask(getDatabase(project), "create table Mine (A); insert into Mine values (7)");
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select * from Connection"), rows);
    EXPECT_EQ(ask(getDatabase(project), "select * from Mine"), "7\n");  // not of ours, so it stays
}

// --- names ---------------------------------------------------------------------------------------------------------

TEST(Database, NamesBecomeUtf8) {
    Project project(getDelayedProject(ONE_REPORT, "A",
                                      "Stra\xDF"
                                      "e"));
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select Name from Junction where Period = 1"),
              "Stra\xC3\x9F"
              "e\n");
    Project other(getDelayedProject(ONE_REPORT, "A",
                                    "Stra\xC3\x9F"
                                    "e"));
    EXPECT_EQ(runToDatabase(other), 0);
    EXPECT_EQ(ask(getDatabase(other), "select Name from Junction where Period = 1"),
              "Stra\xC3\x9F"
              "e\n");
}

TEST(Database, AnApostropheFailsItsOwnRowsAlone) {
    Project project(getDelayedProject(ONE_REPORT, "A", "O'Brien"));
    EXPECT_EQ(runToDatabase(project), 315);
    EXPECT_EQ(project.getReport(), getMessage("near \"Brien\": syntax error"));
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from Junction"), "0\n");
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from Connection"), "1\n");
}

TEST(Database, ADoubledApostropheStandsForOne) {
    Project project(getDelayedProject(ONE_REPORT, "A", "O''Brien"));
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select Name from Junction"), "O'Brien\n");
}

/// A query over tables that are each made of eight of the one inside: to compile it takes eight times as long per
/// level.
static std::string nestTables(int levels) {
    std::string query = "(select/**/1)";
    for (int k = 0; k < levels; ++k) {
        query.insert(0, "(with/**/c/**/as").append("select/**/1/**/from/**/c,c,c,c,c,c,c,c)");
    }
    return query;
}

/// A query that uses the result of the one inside four times: to compile it takes four times as long per level.
static std::string nestResults(int levels, const std::string& select) {
    std::string begin, end;
    for (int k = 0; k < levels; ++k) {
        begin.append("(").append(select);
        end += "a/**/where/**/a+a+a)";
    }
    return begin + "(1)" + end;
}

TEST(Database, ANameCannotAct) {
    TempFolder elsewhere;
    const std::string victim = elsewhere.file("victim.db");
    ask(victim, "create table T (A); insert into T values (1)");
    const std::string manyStatements = "near \";\": syntax error";
    const std::string oneStatement = "near \"'\": syntax error";
    const struct {
        std::string name;
        std::string message;
    } attacks[] = {
        {"x',1,1,1,1);attach'" + victim + "'as[v];", manyStatements},
        {"x',1,1,1,1);drop/**/table/**/System;select'", manyStatements},
        {"x',1,1,1,1);delete/**/from[System];/*", manyStatements},
        {"x',1,1,1,1);COMMIT;BEGIN;/*", manyStatements},
        {"x',9,9,9,9)/*", oneStatement},
        {"x',9,9,9,9),('forged", oneStatement},
        {"x'||(select/**/max(Period)from(System))||'", oneStatement},
        {"x'||(with/**/recursive/**/c(n)as(select+1/**/union/**/all/**/select(n+1)from(c))select(max(n))from(c))||'",
         oneStatement},
        {"x'||" + nestTables(12) + "||'", oneStatement},
        {"x'||" + nestResults(14, "select") + "||'", oneStatement},
        {"x'||" + nestResults(14, "SeLeCt") + "||'", oneStatement},
        {"x'||" + nestResults(30, "select") + "||'", oneStatement},  // more than SQLite's parser may take
        {"x'||writefile('" + elsewhere.file("written") + "','x')||'", "no such function: writefile"},
        {"x'||load_extension('/none')||'", oneStatement},
        {"x'", "unrecognized token: \"'"},
        {"'", "unrecognized token: \"'"},
    };
    for (const auto& attack : attacks) {
        const std::string& name = attack.name;
        Project project(getDelayedProject(ONE_REPORT, "A", name));
        EXPECT_EQ(runToDatabase(project), 315) << name;
        const std::string report = project.getReport();
        EXPECT_EQ(countMessages(report), 1) << name << report;
        EXPECT_NE(report.find("ERROR 315: Database SQL error: " + attack.message), std::string::npos) << name << report;
        const std::string db = getDatabase(project);
        EXPECT_EQ(ask(db, "select count(*) from Junction"), "0\n") << name;
        EXPECT_EQ(ask(db, "select count(*) from System"), "1\n") << name;
        EXPECT_EQ(ask(db, "select Name, Period from Connection"), "C1|1\n") << name;
        EXPECT_EQ(ask(db, "select count(*) from sqlite_master"), "15\n") << name;
    }
    EXPECT_EQ(ask(victim, "select * from T; select count(*) from sqlite_master"), "1\n1\n");
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(elsewhere.path)) {
        files.insert(entry.path().filename().string());
    }
    EXPECT_EQ(files, std::set<std::string>{"victim.db"});
}

TEST(Database, APollutantCannotAct) {
    const std::string semicolon = "near \";\": syntax error";
    const struct {
        std::string name;
        std::string message;
    } attacks[] = {
        {"x/**/FLOAT);drop/**/table/**/System;create/**/table[y](z", semicolon},
        {"x/**/FLOAT);drop/**/table/**/System/*", semicolon},
        {"x;drop", semicolon},
        {"x,y", "near \"'\": syntax error"},
        {"a[x]", "near \"'\": syntax error"},
        {"a'b", "unrecognized token: \"'b FLOAT);\""},
        {"x)as/**/select/**/1/*", "near \"as\": syntax error"},
    };
    for (const auto& attack : attacks) {
        Project project(getDelayedProject(ONE_REPORT, attack.name));
        project.open();
        EXPECT_EQ(tarnvelde_start(2), 315) << attack.name;
        tarnvelde_end();
        tarnvelde_close();
        const std::string report = project.getReport();
        EXPECT_EQ(countMessages(report), 13) << attack.name << report;
        EXPECT_NE(report.find("ERROR 315: Database SQL error: " + attack.message), std::string::npos)
            << attack.name << report;
        EXPECT_EQ(ask(getDatabase(project), "select name from sqlite_master order by name"), "GeneralInfo\nSystem\n")
            << attack.name;
    }
}

namespace {

/// A run that is good, then one whose pollutant is refused: its start fails, and all stays as it was.
void expectOldTablesStay(const std::string& pollutant) {
    Project project(getDelayedProject("REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n", "A"));
    EXPECT_EQ(runToDatabase(project), 0);
    const std::string before = readFile(getDatabase(project));
    project.folder.write("model.inp", getDelayedProject("REPORT_STEP 0:02:00\nREPORT_AVERAGE NO\n", pollutant));
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(2), 315);
    tarnvelde_end();
    EXPECT_EQ(tarnvelde_close(), 0);
    std::string messages;
    for (int table = 0; table < 13; ++table) {  // those with a column per pollutant
        messages += getMessage("near \"'\": syntax error");
    }
    EXPECT_EQ(project.getReport(), messages);
    EXPECT_EQ(readFile(getDatabase(project)), before);
    EXPECT_EQ(ask(getDatabase(project), "select count(*), max(A) from Junction"), "4|4.0\n");
    EXPECT_EQ(ask(getDatabase(project), "select * from GeneralInfo"), "21000|44256.0|60\n");
}

}  // namespace

TEST(Database, ARefusedTableLeavesTheRunBefore) {
    expectOldTablesStay("x,y");
}

TEST(Database, APollutantCannotMakeARowEndTheTransaction) {
    // SQLite takes a form feed for a blank, so these would be constraints of the column. A row that meets one would
    // take the run back, and all later rows would go into the tables of the run before.
    for (const std::string action : {"ROLLBACK", "REPLACE"}) {
        SCOPED_TRACE(action);
        expectOldTablesStay("x\fINT\fUNIQUE\fON\fCONFLICT\f" + action + "\fCONSTRAINT");
    }
}

TEST(Database, PollutantsWhoseColumnsMeetLoseTheirTables) {
    const struct {
        const char* pollutant;
        const char* more;    ///< further pollutants
        const char* column;  ///< that stands twice
        int failures;
        const char* left;
    } cases[] = {
        {"A-B", "A_B 0\n", "A_B", 13, "GeneralInfo\nSystem\n"},
        // The columns of the layers have a prefix, which keeps them apart.
        {"name", "", "name", 12, "GeneralInfo\nLID_Mono\nSystem\n"},
        {"PERIOD", "", "PERIOD", 12, "GeneralInfo\nLID_Mono\nSystem\n"},
    };
    for (const auto& clash : cases) {
        SCOPED_TRACE(clash.pollutant);
        Project project(getDelayedProject(ONE_REPORT, clash.pollutant) + "[POLLUTANTS]\n" + clash.more);
        EXPECT_EQ(project.open(), 0);
        EXPECT_EQ(tarnvelde_start(2), 315);
        tarnvelde_end();
        tarnvelde_close();
        const std::string report = project.getReport();
        EXPECT_EQ(countMessages(report), clash.failures) << report;
        EXPECT_EQ(report.find(getMessage(std::string("duplicate column name: ") + clash.column)), 0u) << report;
        EXPECT_EQ(ask(getDatabase(project), "select name from sqlite_master order by name"), clash.left);
    }
}

TEST(Database, AClashOfColumnsLosesTheTablesAndTheirRows) {
    Project project(getDelayedProject("REPORT_STEP 0:02:00\nREPORT_AVERAGE NO\n", "inflow"));
    project.open();
    EXPECT_EQ(tarnvelde_start(2), 315);
    const int32_t code = testModel().error.code;
    testModel().error.code = ERR_NONE;  // as a host that steps on would have it, were its clock not frozen by the error
    stepToEnd();
    EXPECT_EQ(testModel().error.code, code);
    tarnvelde_end();
    tarnvelde_close();
    const std::string report = project.getReport();
    const std::string clash = getMessage("duplicate column name: inflow");
    EXPECT_EQ(report.substr(0, 3 * clash.size()), clash + clash + clash);  // Pipe, Connection, Conduit
    EXPECT_NE(report.find(getMessage("no such table: Connection")), std::string::npos);
    EXPECT_EQ(ask(getDatabase(project), "select name from sqlite_master where name in ('Pipe','Connection','Pump')"),
              "Pump\n");
}

// --- many rows -----------------------------------------------------------------------------------------------------

namespace {

/// A project with so many junctions, each with an inflow of its own, that rows go several at a time. `oddNode` is one
/// of them by another name.
std::string getManyNodes(int count, int oddNode = -1, const std::string& oddName = "") {
    std::string nodes, links, inflows;
    for (int k = 0; k < count; ++k) {
        const std::string id = k == oddNode ? oddName : "N" + std::to_string(k);
        nodes += id + "\n";
        links += "C" + std::to_string(k) + " " + id + " OUT NO 0\n";
        inflows += id + " FLOW FLOW " + std::to_string(k) + ".5 \"\" 1\n";
    }
    return "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:03:30\nROUTING_STEP 0:01:00\n"
           "RUNOFF_STEP 0:01:00\nREPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\n" +
           nodes + "[OUTFALLS]\nOUT\n[CONNECTIONS]\n" + links + "[INFLOWS]\n" + inflows;
}

/// Rows of the junctions as they must stand: period by period, and in each node by node.
std::string listNodes(int count, int oddNode = -1, const std::string& oddName = "") {
    std::string rows;
    for (int period = 1; period <= 3; ++period) {
        for (int k = 0; k < count; ++k) {
            const std::string id = k == oddNode ? oddName : "N" + std::to_string(k);
            const std::string flow = std::to_string(k) + ".5";
            rows += id + "|" + std::to_string(period) + "|" + flow + "|" + flow + "\n";
        }
    }
    return rows;
}

}  // namespace

TEST(Database, KeepsTheOrderOfManyRows) {
    for (const int count : {31, 32, 33, 64, 100}) {
        SCOPED_TRACE(count);
        Project project(getManyNodes(count));
        EXPECT_EQ(runToDatabase(project), 0);
        EXPECT_EQ(ask(getDatabase(project), "select * from Junction order by rowid"), listNodes(count));
    }
}

TEST(Database, ARowOfItsOwnTextKeepsItsPlaceAmongMany) {
    Project project(getManyNodes(80, 50, "a''b"));
    EXPECT_EQ(runToDatabase(project), 0);
    EXPECT_EQ(ask(getDatabase(project), "select * from Junction order by rowid"), listNodes(80, 50, "a'b"));
}

TEST(Database, ATypeInTheNameOfAPollutantHoldsForItsColumn) {
    // SQLite takes a form feed for a blank: a column of texts, and one without a type.
    const std::pair<const char*, const char*> cases[] = {{"q\ftext", "text|4.0\n"}, {"q\fconstraint", "real|4.0\n"}};
    for (const auto& [pollutant, expected] : cases) {
        Project project(getDelayedProject(ONE_REPORT, pollutant));
        EXPECT_EQ(runToDatabase(project), 0);
        EXPECT_EQ(ask(getDatabase(project), "select typeof(q),q from Junction"), expected);
    }
}

// --- failures ------------------------------------------------------------------------------------------------------

TEST(Database, APeriodWithoutAStepFailsItsRows) {
    Project project(getDelayedProject("REPORT_STEP 0:01:00\nREPORT_AVERAGE YES\n"));
    project.open();
    tarnvelde_start(2);
    double elapsed = 0.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    results_write(testModel());
    EXPECT_EQ(testModel().error.code, ERR_DATABASE_SQL);
    tarnvelde_end();
    tarnvelde_close();
    const std::string report = project.getReport();
    EXPECT_EQ(countMessages(report), 3);
    EXPECT_NE(report.find("Database SQL error: no such column: "), std::string::npos);
    EXPECT_NE(report.find("nan."), std::string::npos);
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "2\n");
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from Junction"), "1\n");
}

TEST(Database, APeriodWithoutAStepFailsItsRowsInFullToo) {
    Project project(getDelayedProject("REPORT_STEP 0:01:00\nREPORT_AVERAGE YES\n"));
    project.open();
    testModel().database->form = FORM_FULL;
    tarnvelde_start(2);
    double elapsed = 0.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    results_write(testModel());
    EXPECT_EQ(testModel().error.code, ERR_DATABASE_SQL);
    tarnvelde_end();
    tarnvelde_close();
    testModel().database->form = 0;
    EXPECT_EQ(countMessages(project.getReport()), 3);
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "2\n");
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from Junction"), "1\n");
}

TEST(Database, AFileThatCannotBeOpenedLeavesAllOut) {
    Project project(getDelayedProject());
    std::filesystem::create_directory(getDatabase(project));
    EXPECT_EQ(project.open(), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(tarnvelde_start(2), 313);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n    Cannot open database file ");
    EXPECT_EQ(testModel().database->handle, nullptr);
    double elapsed = 0.0;
    tarnvelde_step(&elapsed);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), "");
    EXPECT_TRUE(std::filesystem::is_directory(getDatabase(project)));
}

TEST(Database, AFileOfAnotherKindFailsStatementByStatement) {
    Project project(getDelayedProject());
    const std::string text(5000, 'x');
    project.folder.write("model.db", text);
    project.open();
    EXPECT_EQ(tarnvelde_start(2), 315);
    tarnvelde_end();
    tarnvelde_close();
    const std::string message = getMessage("file is not a database");
    std::string all;
    for (int k = 0; k < 15; ++k) {
        all += message;
    }
    EXPECT_EQ(project.getReport(), all);
    EXPECT_EQ(readFile(getDatabase(project)), text);
}

/// Runs a project to its end, and lets `keep` take hold of the database ahead of the close.
template <class Keep>
static void runAndClose(const Project& project, Keep&& keep) {
    project.open();
    EXPECT_EQ(tarnvelde_start(2), 0);
    stepToEnd();
    tarnvelde_end();
    keep();
    EXPECT_EQ(tarnvelde_close(), 0);
}

TEST(Database, ALockedFileKeepsTheResultsAside) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const std::string db = getDatabase(project), aside = db + ".part";
    const std::string tables = "select name, sql from sqlite_master order by rowid";
    const std::string schema = ask(db, tables), rows = ask(db, "select * from Connection");
    project.write(getDelayedProject("REPORT_STEP 0:02:00\nREPORT_AVERAGE NO\n"));
    const Connection reader(db);
    testing::internal::CaptureStderr();
    runAndClose(project, [&] { reader.run("begin; select * from System"); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "tarnvelde: " + db + ": database is locked; the results are kept in " + aside + "\n");
    EXPECT_EQ(testModel().error.code, ERR_DATABASE_SQL);  // the report is closed already
    EXPECT_EQ(project.getReport(), "");
    reader.run("rollback");
    EXPECT_EQ(ask(db, "select * from Connection"), rows);
    EXPECT_EQ(ask(aside, "pragma integrity_check"), "ok\n");
    EXPECT_EQ(ask(aside, tables), schema);
    EXPECT_EQ(ask(aside, "select rowid, * from Connection"), "1|C1|1|0.5|0.0|0.0\n2|C1|2|0.5|0.5|4.0\n");
    EXPECT_EQ(ask(aside, "select * from GeneralInfo"), "21000|44256.0|120\n");
    EXPECT_FALSE(std::filesystem::exists(aside + "-journal"));
}

TEST(Database, ARunThatCannotBeKeptAsideEitherIsTold) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const std::string db = getDatabase(project), aside = db + ".part";
    project.folder.write("model.db.part", "something of the user's, which is no database at all, but long enough");
    const std::string before = readFile(aside);
    const Connection reader(db);
    testing::internal::CaptureStderr();
    runAndClose(project, [&] { reader.run("begin; select * from System"); });
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "tarnvelde: " + db + ": database is locked; the results are lost (" + aside + ": file is not a database)\n");
    EXPECT_EQ(readFile(aside), before);
}

TEST(Database, AReaderThatLeavesInTimeIsWaitedFor) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const std::string db = getDatabase(project);
    project.write(getDelayedProject("REPORT_STEP 0:02:00\nREPORT_AVERAGE NO\n"));
    const Connection reader(db);
    std::thread leaving;
    testing::internal::CaptureStderr();
    runAndClose(project, [&] {
        reader.run("begin; select * from System");
        leaving = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::seconds(1));
            reader.run("rollback");
        });
    });
    leaving.join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testModel().error.code, ERR_NONE);
    EXPECT_EQ(ask(db, "select count(*) from System"), "2\n");
}

TEST(Database, AWriterThatLeavesInTimeIsWaitedForAtTheStart) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const Connection writer(getDatabase(project));
    writer.run("create table Mine (A); begin immediate; insert into Mine values (7)");
    std::thread leaving([&] {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        writer.run("commit");
    });
    EXPECT_EQ(runToDatabase(project), 0);
    leaving.join();
    EXPECT_EQ(ask(getDatabase(project), "select * from Mine; select count(*) from System"), "7\n4\n");
}

TEST(Database, AKilledRunLeavesTheOldResultsWhole) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const std::string rows = ask(getDatabase(project), "select * from Connection");
    const int status = process_fork([&] {
        project.open();
        tarnvelde_start(2);
        double elapsed = 0.0;
        tarnvelde_step(&elapsed);
        for (int k = 0; k < 20000; ++k) {
            results_write(testModel());  // far more than SQLite keeps in memory
        }
        return raise(SIGKILL);
    });
    EXPECT_EQ(status, 128 + SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(getDatabase(project) + "-journal")) << "the run has died before it wrote";
    EXPECT_EQ(ask(getDatabase(project), "pragma integrity_check"), "ok\n");
    EXPECT_EQ(ask(getDatabase(project), "select * from Connection"), rows);
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "4\n");
}

TEST(Database, AFullDiskLeavesTheOldResultsWhole) {
    Project project(getDelayedProject());
    runToDatabase(project);
    const std::string rows = ask(getDatabase(project), "select * from Connection");
    for (const int reports : {10, 100000}) {  // the disk is full at the commit, or in the midst
        const int status = process_fork([&] {
            project.open();
            tarnvelde_start(2);
            double elapsed = 0.0;
            tarnvelde_step(&elapsed);
            process_limitFileSize(20000);
            for (int k = 0; k < reports; ++k) {
                results_write(testModel());
            }
            tarnvelde_end();
            testing::internal::CaptureStderr();
            tarnvelde_close();
            const std::string told = testing::internal::GetCapturedStderr();
            // In the midst it stands in the report, which is closed at the commit.
            const bool isTold = told.find("disk I/O error; the results are lost\n") != std::string::npos;
            return testModel().error.code == ERR_DATABASE_SQL && isTold == (reports == 10) ? 0 : 1;
        });
        EXPECT_EQ(status, 0);
        EXPECT_LE(countMessages(project.getReport()), 1);  // one error, then silence
        EXPECT_EQ(ask(getDatabase(project), "pragma integrity_check"), "ok\n");
        EXPECT_EQ(ask(getDatabase(project), "select * from Connection"), rows);
    }
}

// --- several runs --------------------------------------------------------------------------------------------------

TEST(Database, ASecondStartTakesTheFirstRunBack) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(2);
    stepToEnd();
    tarnvelde_end();
    EXPECT_EQ(tarnvelde_start(2), 0);
    double elapsed = 0.0;
    tarnvelde_step(&elapsed);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(ask(getDatabase(project), "select Period from System"), "1\n");
}

TEST(Database, ALaterRunWithoutItDeletesTheFile) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(2);
    stepToEnd();
    tarnvelde_end();
    tarnvelde_start(1);
    stepToEnd();
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_FALSE(std::filesystem::exists(getDatabase(project)));
    EXPECT_TRUE(std::filesystem::exists(project.results));
}

TEST(Database, AProjectThatTakesThePlaceOfAnotherTakesItsRowsBack) {
    Project project(getDelayedProject());
    runToDatabase(project);
    project.open();
    tarnvelde_start(2);
    Project other(getDelayedProject());
    other.open();
    EXPECT_EQ(testModel().database->handle, nullptr);
    tarnvelde_close();
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "4\n");
}

TEST(Database, AFailedRunIsCommittedAtTheClose) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(2);
    double elapsed = 0.0;
    tarnvelde_step(&elapsed);
    EXPECT_EQ(tarnvelde_start(2), 400);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(ask(getDatabase(project), "select count(*) from System"), "1\n");
}
