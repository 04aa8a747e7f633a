// What a database of results holds beyond its tables, for a host that asks for it. The database is read by the program
// sqlite3.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/process.h"
#include "support/tempfolder.h"
#include "support/tvmodel.h"

namespace {

/// Three reports of a minute each; 0.1 m3/s with 10 mg/L come into J1 and leave by C1 at once.
std::string getProject(const std::string& junction = "J1") {
    const std::string ends = junction + " O1 NO 0\n";
    return "[GENERAL]\nSTART_DATE 2021/03/01\nSTART_TIME 6:00\nEND_DATE 2021/03/01\nEND_TIME 6:03:30\n"
           "ROUTING_STEP 0:01:00\nREPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\n" +
           junction + "\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 " + ends + "[POLLUTANTS]\nNH4-N 0\n[INFLOWS]\n" + junction +
           " FLOW FLOW 0.1 \"\" 1\n" + junction + " MASS NH4-N 0.001 \"\" 1\n";
}

struct DatabaseForm : testing::Test {
    TempFolder folder;
    std::string database = folder.file("a.db");

    /// Runs the project into the database; the code of the end.
    int32_t run(int32_t form, const std::string& text = getProject()) const {
        const TvModel model;
        EXPECT_EQ(tv_setDatabaseForm(model, form), TV_OK);
        EXPECT_EQ(model.openText(text), TV_OK);
        EXPECT_EQ(tv_start(model, nullptr, database.c_str()), TV_OK);
        EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
        return tv_end(model);
    }
    std::string ask(const std::string& sql) const {
        const ProcessResult result = process_run({"sqlite3", database, sql});
        EXPECT_EQ(result.status, 0) << sql << '\n' << result.err;
        return result.out;
    }
    std::string listOwn() const {
        return ask("select name from sqlite_master where name like 'Tarnvelde%' order by name");
    }
};

constexpr int32_t ALL = TV_DATABASE_INDEX | TV_DATABASE_UNITS | TV_DATABASE_DATES | TV_DATABASE_FULL;
constexpr const char* IDENTITY_ALONE = "TarnveldeRun\n";

}  // namespace

TEST_F(DatabaseForm, IsRefusedAmidARunAndWhereItIsNone) {
    const TvModel model;
    EXPECT_EQ(tv_setDatabaseForm(nullptr, 0), TV_ERROR_NULL);
    EXPECT_EQ(tv_setDatabaseForm(model, -1), TV_ERROR_RANGE);
    EXPECT_EQ(tv_setDatabaseForm(model, 16), TV_ERROR_RANGE);
    ASSERT_EQ(model.openText(getProject()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    EXPECT_EQ(tv_setDatabaseForm(model, ALL), TV_ERROR_STARTED);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(tv_setDatabaseForm(model, ALL), TV_ERROR_STARTED);
    ASSERT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(tv_setDatabaseForm(model, ALL), TV_OK);
}

TEST_F(DatabaseForm, IsPlainAtFirst) {
    ASSERT_EQ(run(0), TV_OK);
    EXPECT_EQ(listOwn(), IDENTITY_ALONE);
    EXPECT_EQ(ask("select count(*) from sqlite_master where type = 'index'"), "0\n");
    EXPECT_EQ(ask("select TotInflow = 0.1, NH4_N = 10.0 from Junction where Period = 2"), "1|1\n");
}

TEST_F(DatabaseForm, GivesValuesInFull) {
    ASSERT_EQ(run(TV_DATABASE_FULL), TV_OK);
    EXPECT_EQ(listOwn(), IDENTITY_ALONE);
    // 0.1 in single precision: 13421773 / 2^27.
    EXPECT_EQ(ask("select distinct TotInflow = 13421773.0 / 134217728.0, typeof(TotInflow) from Junction"), "1|real\n");
    EXPECT_EQ(ask("select distinct Outflow = 13421773.0 / 134217728.0 from Connection where Period > 1"), "1\n");
}

TEST_F(DatabaseForm, GivesValuesInFullWhereRowsGoAsTexts) {
    // Two apostrophes stand for one, which takes the row out of the compiled statements.
    ASSERT_EQ(run(TV_DATABASE_FULL, getProject("J''1")), TV_OK);
    EXPECT_EQ(ask("select Name, Period, TotInflow = 13421773.0 / 134217728.0 from Junction"),
              "J'1|1|1\nJ'1|2|1\nJ'1|3|1\n");
}

TEST_F(DatabaseForm, ListsTheUnitsOfAllColumns) {
    ASSERT_EQ(run(TV_DATABASE_UNITS), TV_OK);
    EXPECT_EQ(listOwn(), "TarnveldeRun\nTarnveldeUnits\n");
    EXPECT_EQ(ask("select ColumnName, Unit from TarnveldeUnits where TableName = 'Connection'"),
              "Inflow|m3/s\nOutflow|m3/s\nNH4_N|mg/L\n");
    EXPECT_EQ(ask("select ColumnName, Unit from TarnveldeUnits where TableName = 'LID_Mono' and "
                  "ColumnName in ('SoilMoist', 'Pave_NH4_N', 'Exfil')"),
              "Exfil|mm/h\nSoilMoist|\nPave_NH4_N|mg/L\n");
    // Every column of every table has its row, and nothing else has one.
    EXPECT_EQ(ask("select count(*) from TarnveldeUnits u left join (select m.name t, c.name n from sqlite_master m, "
                  "pragma_table_info(m.name) c) on t = TableName and n = ColumnName where t is null"),
              "0\n");
    EXPECT_EQ(
        ask("select count(*) from sqlite_master m, pragma_table_info(m.name) c where c.name not in ('Name', "
            "'Period') and m.name not like 'Tarnvelde%' and m.name <> 'GeneralInfo' and not exists (select 1 from "
            "TarnveldeUnits where TableName = m.name and ColumnName = c.name)"),
        "0\n");
}

TEST_F(DatabaseForm, ListsTheDatesOfAllPeriods) {
    ASSERT_EQ(run(TV_DATABASE_DATES), TV_OK);
    EXPECT_EQ(ask("select Period, Date, abs(Days - (44256.25 + Period / 1440.0)) < 1e-9 from TarnveldeDates"),
              "1|2021-03-01 06:01:00|1\n2|2021-03-01 06:02:00|1\n3|2021-03-01 06:03:00|1\n");
    EXPECT_EQ(ask("select Date, Outflow from Connection join TarnveldeDates using (Period) where Name = 'C1' limit 1"),
              "2021-03-01 06:01:00|0.1\n");
}

TEST_F(DatabaseForm, HasAnIndexByObjectAndDate) {
    ASSERT_EQ(run(TV_DATABASE_INDEX), TV_OK);
    EXPECT_EQ(ask("select count(*) from sqlite_master where type = 'index'"), "14\n");
    EXPECT_NE(ask("explain query plan select * from Junction where Name = 'J1' and Period between 2 and 3")
                  .find("USING INDEX TarnveldeIndexJunction (Name=? AND Period>? AND Period<?)"),
              std::string::npos);
    EXPECT_NE(ask("explain query plan select * from System where Period = 2")
                  .find("USING INDEX TarnveldeIndexSystem (Period=?)"),
              std::string::npos);
}

TEST_F(DatabaseForm, TakesThePlaceOfAnotherAndLeavesNothingOfIt) {
    ASSERT_EQ(run(0), TV_OK);
    const std::string plain = ask(".dump");
    ASSERT_EQ(run(ALL), TV_OK);
    EXPECT_EQ(ask("select count(*) from TarnveldeDates"), "3\n");
    EXPECT_EQ(ask("select count(*) from sqlite_master where type = 'index'"), "14\n");
    EXPECT_EQ(ask("pragma integrity_check"), "ok\n");
    const std::string whole = ask(".dump");
    ASSERT_EQ(run(ALL), TV_OK);
    EXPECT_EQ(ask(".dump"), whole);
    ASSERT_EQ(run(0), TV_OK);
    EXPECT_EQ(ask(".dump"), plain);
}

TEST_F(DatabaseForm, LeavesAloneWhatIsAUsersOwn) {
    ASSERT_EQ(run(0), TV_OK);
    ask("create table TarnveldeUnits (Mine TEXT); insert into TarnveldeUnits values ('x'); create table Notes (N INT); "
        "create index TarnveldeIndexPipe on Notes (N)");
    ASSERT_EQ(run(ALL), TV_OK);
    EXPECT_EQ(ask("select * from TarnveldeUnits"), "x\n");
    EXPECT_EQ(ask("select tbl_name from sqlite_master where name = 'TarnveldeIndexPipe'"), "Notes\n");
    EXPECT_EQ(ask("select count(*) from sqlite_master where type = 'index'"), "14\n");
    EXPECT_EQ(ask("select count(*) from TarnveldeDates"), "3\n");
    ASSERT_EQ(run(0), TV_OK);
    EXPECT_EQ(listOwn(), "TarnveldeIndexPipe\nTarnveldeRun\nTarnveldeUnits\n");
}

TEST_F(DatabaseForm, HoldsForLaterStartsOfTheModel) {
    const TvModel model;
    ASSERT_EQ(tv_setDatabaseForm(model, TV_DATABASE_DATES), TV_OK);
    ASSERT_EQ(model.openText(getProject()), TV_OK);
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(tv_start(model, nullptr, database.c_str()), TV_OK);
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        ASSERT_EQ(tv_end(model), TV_OK);
        EXPECT_EQ(ask("select count(*) from TarnveldeDates"), "3\n");
    }
}

TEST_F(DatabaseForm, IsMissingInWhatARestoredStateTookBack) {
    const TvModel model;
    ASSERT_EQ(tv_setDatabaseForm(model, ALL), TV_OK);
    ASSERT_EQ(model.openText(getProject()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, database.c_str()), TV_OK);
    ASSERT_EQ(tv_step(model), TV_OK);
    size_t size = 0;
    ASSERT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::string state(size, '\0');
    ASSERT_EQ(tv_saveState(model, state.data(), size, &size), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    ASSERT_EQ(tv_restoreState(model, state.data(), size), TV_OK);
    ASSERT_EQ(tv_step(model), TV_OK);
    ASSERT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(ask("select Period from TarnveldeDates"), "1\n2\n");
    EXPECT_EQ(ask("select Period from System"), "1\n2\n");
}
