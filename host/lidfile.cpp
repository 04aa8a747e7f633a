// The database has what all readers of results look for: GeneralInfo, and System with a row for each report, here with
// the sums of all units. It grows aside, where a killed run leaves all up to its last transaction.

#include "lidfile.h"

#include <sqlite3.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "aside.h"
#include "characters.h"
#include "files.h"
#include "results.h"

namespace {

constexpr int64_t ROWS_TOGETHER = 20000;  ///< in one transaction, and what the report in hand is more

struct DatabaseEnd {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct LidStatementEnd {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using LidStatement = std::unique_ptr<sqlite3_stmt, LidStatementEnd>;

}  // namespace

struct LidFile {
    std::string name;
    LidTable table;
    std::vector<std::string> cells{};  ///< names of the units, for values divided by commas
    AsideFile aside{};
    std::unique_ptr<sqlite3, DatabaseEnd> database{};  ///< none for values divided by commas
    LidStatement systemRow{}, unitRow{};
    int64_t rows = 0;  ///< in the transaction that is open
};

void LidFileEnd::operator()(LidFile* file) const {
    delete file;
}

static bool isCsv(const std::string& name) {
    return name.ends_with(".csv");
}

std::string lidfile_getJournal(const std::string& name) {
    return name.empty() || isCsv(name) ? std::string() : aside_getName(name) + "-journal";
}

// --- values divided by commas --------------------------------------------------------------------------------------

static std::string makeTitles(const LidTable& table) {
    std::string titles = "Date,Unit";
    for (const ResultColumn& column : table.columns) {
        titles += ',' + characters_quoteCsv(results_addUnit(column));
    }
    return titles + '\n';
}

static std::string makeLines(const LidFile& file, const LidReport& report) {
    const std::string date = result_formatDate(report.date);
    std::string lines;
    for (size_t unit = 0; unit < file.cells.size(); ++unit) {
        lines.append(date).append(1, ',').append(file.cells[unit]);
        for (const std::vector<double>& column : report.columns) {
            lines.append(1, ',').append(results_formatNumber(column[unit], ""));
        }
        lines += '\n';
    }
    return lines;
}

// --- database ------------------------------------------------------------------------------------------------------

static std::string describeFailure(const LidFile& file) {
    return "cannot write " + file.name + ": " + sqlite3_errmsg(file.database.get());
}

static bool runStatement(const LidFile& file, const std::string& sql) {
    return sqlite3_exec(file.database.get(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

static LidStatement prepare(const LidFile& file, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(file.database.get(), sql.c_str(), -1, &statement, nullptr);
    return LidStatement(statement);
}

/// The tables, and the statements that fill them.
static bool makeTables(LidFile& file) {
    std::string columns, marks;
    for (const ResultColumn& column : file.table.columns) {
        columns += ',' + characters_quoteSqlName(column.name) + " FLOAT";
        marks += ",?";
    }
    const bool isMade = runStatement(file,
                                     "pragma synchronous = off; begin;"
                                     "create table GeneralInfo (Version INT,StartDateTime DOUBLE,ReportStep INT);"
                                     "create table System (Period INT,TotInflow FLOAT,Outflow FLOAT,Storage "
                                     "FLOAT);") &&
                        runStatement(file, "create table LID_Unit (Name TEXT,Period INT" + columns + ')');
    const LidStatement info = prepare(file, "insert into GeneralInfo values (?,?,?)");
    file.systemRow = prepare(file, "insert into System values (?,?,?,?)");
    file.unitRow = prepare(file, "insert into LID_Unit values (?,?" + marks + ')');
    if (!isMade || !info || !file.systemRow || !file.unitRow) {
        return false;
    }
    sqlite3_bind_int(info.get(), 1, RESULT_VERSION);
    sqlite3_bind_double(info.get(), 2, file.table.startDate);
    sqlite3_bind_int(info.get(), 3, file.table.reportStep);
    return sqlite3_step(info.get()) == SQLITE_DONE && runStatement(file, "commit; begin");
}

/// Opens the empty file aside as a database. What an earlier run has left beside it belongs to no file any more.
static std::string openDatabase(LidFile& file) {
    const std::string place = aside_getName(file.name);
    std::error_code error;
    std::filesystem::remove(files_toPath(lidfile_getJournal(file.name)), error);
    sqlite3* database = nullptr;
    const std::string path = (place.starts_with("file:") ? "./" : "") + place;
    const int code = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
    file.database.reset(database);
    return code == SQLITE_OK && makeTables(file) ? std::string() : describeFailure(file);
}

static bool insertRow(const LidStatement& statement) {
    const bool isDone = sqlite3_step(statement.get()) == SQLITE_DONE;
    return sqlite3_reset(statement.get()) == SQLITE_OK && isDone;
}

static bool insertReport(LidFile& file, const LidReport& report) {
    sqlite3_stmt* const system = file.systemRow.get();
    sqlite3_bind_int64(system, 1, report.period);
    sqlite3_bind_double(system, 2, report.inflow);
    sqlite3_bind_double(system, 3, report.outflow);
    sqlite3_bind_double(system, 4, report.storage);
    bool isFine = insertRow(file.systemRow);
    ++file.rows;
    sqlite3_stmt* const row = file.unitRow.get();
    for (size_t unit = 0; unit < file.table.units.size() && isFine; ++unit) {
        const std::string& name = file.table.units[unit];
        isFine = sqlite3_bind_text(row, 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC) == SQLITE_OK;
        sqlite3_bind_int64(row, 2, report.period);
        for (size_t k = 0; k < report.columns.size(); ++k) {
            sqlite3_bind_double(row, static_cast<int>(k) + 3, report.columns[k][unit]);
        }
        isFine = isFine && insertRow(file.unitRow);
        ++file.rows;
    }
    if (isFine && file.rows >= ROWS_TOGETHER) {
        file.rows = 0;
        return runStatement(file, "commit; begin");
    }
    return isFine;
}

static std::string closeDatabase(LidFile& file) {
    file.systemRow.reset();
    file.unitRow.reset();
    if (!runStatement(file, "commit") || sqlite3_close(file.database.get()) != SQLITE_OK) {
        return describeFailure(file);
    }
    (void)file.database.release();  // closed
    return {};
}

// --- both ----------------------------------------------------------------------------------------------------------

LidFileHandle lidfile_begin(const std::string& name, const LidTable& table, std::string& failure) {
    LidFileHandle handle(new LidFile{name, table});
    LidFile& file = *handle;
    failure = aside_begin(file.aside, name);
    if (!failure.empty()) {
        return nullptr;
    }
    if (isCsv(name)) {
        for (const std::string& unit : table.units) {
            file.cells.push_back(characters_quoteCsv(unit));
        }
        failure = aside_append(file.aside, makeTitles(table));
    } else {
        failure = openDatabase(file);
    }
    return failure.empty() ? std::move(handle) : nullptr;
}

std::string lidfile_add(LidFile& file, const LidReport& report) {
    if (!file.database) {
        return aside_append(file.aside, makeLines(file, report));
    }
    return insertReport(file, report) ? std::string() : describeFailure(file);
}

std::string lidfile_end(LidFile& file) {
    const std::string failure = file.database ? closeDatabase(file) : std::string();
    return failure.empty() ? aside_end(file.aside) : failure;
}
