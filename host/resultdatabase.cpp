// Reads the results database. Names of tables are ours, names of columns and objects come from the file: the former are
// quoted as names, the latter are bound as values.

#include <sqlite3.h>

#include <cmath>
#include <limits>
#include <unordered_map>

#include "resultfile.h"

namespace {

/// A prepared query and, unless it is that of a walk, its end.
struct Query {
    const ResultFile& file;
    sqlite3_stmt* statement = nullptr;
    bool isOfWalk = false;

    Query(const ResultFile& resultFile, const std::string& sql) : file(resultFile) {
        if (sqlite3_prepare_v2(file.database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            fail();
        }
    }
    explicit Query(const ResultRows& rows) : file(rows.file), statement(rows.query), isOfWalk(true) {}
    ~Query() {
        if (!isOfWalk) {
            sqlite3_finalize(statement);
        }
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    [[noreturn]] void fail() const {
        throw ResultError(file.name + " can't be read: " + sqlite3_errmsg(file.database));
    }
    bool next() {
        const int result = sqlite3_step(statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE) {
            fail();
        }
        return result == SQLITE_ROW;
    }
    std::string getText(int column) const {
        const unsigned char* text = sqlite3_column_text(statement, column);
        return text ? reinterpret_cast<const char*>(text) : "";
    }
    double getNumber(int column) const {
        const int type = sqlite3_column_type(statement, column);
        return type == SQLITE_FLOAT || type == SQLITE_INTEGER ? sqlite3_column_double(statement, column)
                                                              : std::numeric_limits<double>::quiet_NaN();
    }
    int64_t getInteger(int column) const { return sqlite3_column_int64(statement, column); }
};

std::string quoteName(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted += c;
        if (c == '"') {
            quoted += c;
        }
    }
    return quoted + '"';
}

/// Opens the database in place of one that is open, and reads its schema; the extended code of SQLite.
int openAndTry(ResultFile& file, int access) {
    sqlite3_close(file.database);
    file.database = nullptr;
    if (sqlite3_open_v2(file.name.c_str(), &file.database, access, nullptr) != SQLITE_OK) {
        throw ResultError("cannot open " + file.name);
    }
    sqlite3_busy_timeout(file.database, 2000);
    sqlite3_exec(file.database, "select 1 from sqlite_master", nullptr, nullptr, nullptr);
    return sqlite3_extended_errcode(file.database);
}

bool hasTable(const ResultFile& file, const std::string& name) {
    Query query(file, "select 1 from sqlite_master where type = 'table' and name = '" + name + "'");
    return query.next();
}

void readGeneralInfo(ResultFile& file) {
    if (!hasTable(file, "GeneralInfo") || !hasTable(file, "System")) {
        throw ResultError(file.name + " is no database of results");
    }
    Query info(file, "select Version, StartDateTime, ReportStep from GeneralInfo");
    if (!info.next()) {
        throw ResultError(file.name + " doesn't tell the start of its run, as of one before the year 1900");
    }
    if (info.getInteger(0) != RESULT_VERSION) {
        throw ResultError(file.name + " is of another version");
    }
    file.startDate = info.getNumber(1);
    file.reportStep = static_cast<int32_t>(info.getInteger(2));
    if (!std::isfinite(file.startDate) || file.reportStep <= 0) {
        throw ResultError(file.name + " is damaged: it has no start or no report step");
    }
    Query periods(file, "select count(*), max(Period) from System");
    periods.next();
    const int64_t last = periods.getInteger(1);
    if (last < 0 || last > std::numeric_limits<int32_t>::max()) {
        throw ResultError(file.name + " is damaged: it has no number of reports");
    }
    file.periods = static_cast<int32_t>(last);
}

/// Reads columns and objects of a table; a table may be missing.
void readTable(ResultFile& file, ResultTable& table) {
    if (!hasTable(file, table.name)) {
        return;
    }
    table.columns.clear();
    bool hasPeriod = false;
    bool hasName = false;
    Query columns(file, "select name from pragma_table_info('" + table.name + "')");
    while (columns.next()) {
        const std::string name = columns.getText(0);
        if (name == "Name") {
            hasName = true;
        } else if (name == "Period") {
            hasPeriod = true;
        } else {
            table.columns.push_back({name, result_getUnit(table.name, name)});
        }
    }
    const bool isSystem = table.name == "System";
    if (!hasPeriod || hasName == isSystem || table.columns.empty()) {
        throw ResultError(file.name + " is damaged: the table " + table.name + " lacks a column");
    }
    if (isSystem) {
        table.objects = {"System"};
        return;
    }
    Query objects(file, "select Name from " + table.name + " group by Name order by min(rowid)");
    while (objects.next()) {
        table.objects.push_back(objects.getText(0));
    }
}

double getDate(const ResultFile& file, int64_t period) {
    return file.startDate + static_cast<double>(period) * file.reportStep / 86400.0;
}

}  // namespace

void result_openDatabase(ResultFile& file) {
    // A run that was killed leaves a journal. By it, the first who may write puts the results of the run before back.
    int code = openAndTry(file, SQLITE_OPEN_READONLY);
    const bool isUnfinished = code == SQLITE_READONLY_ROLLBACK;
    if (isUnfinished) {
        code = openAndTry(file, SQLITE_OPEN_READWRITE);
    }
    if (code != SQLITE_OK) {
        throw ResultError(file.name + " can't be read: " +
                          (isUnfinished ? "an unfinished run must be rolled back first, which failed: " : "") +
                          sqlite3_errmsg(file.database));
    }
    readGeneralInfo(file);
    for (ResultTable& table : result_listTables({})) {
        readTable(file, table);
        if (!table.objects.empty()) {
            file.tables.push_back(table);
        }
    }
}

void result_beginDatabaseRows(ResultRows& rows) {
    const ResultTable& table = rows.file.tables[rows.table];
    const bool isSystem = table.name == "System";
    const bool isOne = rows.only != RESULT_ALL && !isSystem;
    for (size_t k = 0; k < table.objects.size() && rows.only == RESULT_ALL; ++k) {
        rows.places.emplace(table.objects[k], k);
    }
    std::string sql = std::string("select Period, ") + (isSystem ? "'System'" : "Name");
    for (const ResultColumn& column : table.columns) {
        sql += ", " + quoteName(column.name);
    }
    Query query(rows.file, sql + " from " + table.name + (isOne ? " where Name = ?1" : "") + " order by Period");
    if (isOne) {
        const std::string& name = table.objects[rows.only];
        sqlite3_bind_text(query.statement, 1, name.c_str(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
    }
    rows.query = query.statement;
    query.isOfWalk = true;
}

bool result_nextDatabaseRow(ResultRows& rows) {
    Query query(rows);
    const size_t columns = rows.file.tables[rows.table].columns.size();
    while (query.next()) {
        rows.date = getDate(rows.file, query.getInteger(0));
        if (!result_isWithin(rows.window, rows.date)) {
            continue;
        }
        rows.object = rows.only;
        if (rows.only == RESULT_ALL) {
            const auto place = rows.places.find(query.getText(1));
            if (place == rows.places.end()) {
                continue;
            }
            rows.object = place->second;
        }
        rows.values.resize(columns);
        for (size_t k = 0; k < columns; ++k) {
            rows.values[k] = query.getNumber(static_cast<int>(k) + 2);
        }
        return true;
    }
    return false;
}
