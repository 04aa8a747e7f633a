// Reads the results database. Names of tables are ours, names of columns and objects come from the file: the former are
// quoted as names, the latter are bound as values.
//
// A database is more than data: it may hold views without an end, tables that are made up as they are read, and pages
// that lead back to themselves. Nothing but plain tables is read, and each statement may cost as much as the length of
// the file explains.

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "characters.h"
#include "files.h"
#include "resultfile.h"

namespace {

// A row of C values takes C bytes at least, and SQLite C steps and some more to bring it; it may ask for a page for
// each value of a long row.
constexpr uint64_t FREE_WORK = 1000000;  ///< steps or pages of any file, however short
constexpr uint64_t STEPS_PER_BYTE = 64;  ///< of the file, for one statement
constexpr uint64_t PAGES_PER_BYTE = 2;   ///< likewise
constexpr uint64_t LEAST_ROW = 6;        ///< bytes of a row with its place in a page
constexpr int STEPS_BETWEEN = 1000;      ///< two looks at the work
constexpr sqlite3_int64 MOST_MEMORY_OF_SQLITE = int64_t{256}
                                                << 20;  ///< bytes that SQLite takes: its pages, and the schema

[[noreturn]] void failAsDamaged(const ResultFile& file, const char* why) {
    throw ResultError(file.name + " is damaged: " + why);
}

/// Pages that were asked for since the last look.
uint64_t takePages(sqlite3* database) {
    uint64_t pages = 0;
    for (const int counter : {SQLITE_DBSTATUS_CACHE_HIT, SQLITE_DBSTATUS_CACHE_MISS}) {
        int count = 0, highest = 0;
        sqlite3_db_status(database, counter, &count, &highest, 1);
        pages += static_cast<uint64_t>(std::max(count, 0));
    }
    return pages;
}

/// SQLite calls this now and then, and stops if it doesn't give 0.
int countWork(void* data) {
    DatabaseWork& work = *static_cast<DatabaseWork*>(data);
    work.steps += STEPS_BETWEEN;
    work.pages += takePages(work.database);
    work.isTooMuch = work.isTooMuch || work.steps > FREE_WORK + STEPS_PER_BYTE * work.length ||
                     work.pages > FREE_WORK + PAGES_PER_BYTE * work.length;
    return work.isTooMuch ? 1 : 0;
}

/// Each statement has an account of its own.
void beginWork(DatabaseWork& work) {
    takePages(work.database);
    work.steps = work.pages = 0;
}

/// A prepared query and, unless it is that of a walk, its end.
struct Query {
    const ResultFile& file;
    sqlite3_stmt* statement = nullptr;
    bool isOfWalk = false;

    Query(const ResultFile& resultFile, const std::string& sql) : file(resultFile) {
        beginWork(file.work);
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
        if (file.work.isTooMuch) {
            failAsDamaged(file, "it leads to more rows than it has room for");
        }
        throw ResultError(file.name + " can't be read: " + sqlite3_errmsg(file.database));
    }
    bool next() {
        const int result = sqlite3_step(statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE) {
            fail();
        }
        return result == SQLITE_ROW;
    }
    /// Stays until the next row is asked for.
    std::string_view getText(int column) const {
        const unsigned char* text = sqlite3_column_text(statement, column);
        const int length = sqlite3_column_bytes(statement, column);
        return text ? std::string_view(reinterpret_cast<const char*>(text), static_cast<size_t>(length)) : "";
    }
    /// Results are of single precision; what lies beyond it is none.
    double getNumber(int column) const {
        const int type = sqlite3_column_type(statement, column);
        const bool isNumber = type == SQLITE_FLOAT || type == SQLITE_INTEGER;
        const double number = isNumber ? sqlite3_column_double(statement, column) : std::nan("");
        return std::fabs(number) <= std::numeric_limits<float>::max() ? number : std::nan("");
    }
    int64_t getInteger(int column) const { return sqlite3_column_int64(statement, column); }
};

/// Nothing of a schema is run, and nothing of it is more than a table.
void protect(ResultFile& file) {
    sqlite3* database = file.database;
    sqlite3_drop_modules(database, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_limit(database, SQLITE_LIMIT_ATTACHED, 0);
    // No text, and no row, can be longer than the file. The head of a schema is longer than a small file may be.
    constexpr uint64_t SHORTEST = 1 << 16, LONGEST = 1 << 24;
    const auto longest = static_cast<int>(std::clamp(file.work.length, SHORTEST, LONGEST));
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, longest);
    file.work.database = database;
    beginWork(file.work);
    sqlite3_progress_handler(database, STEPS_BETWEEN, countWork, &file.work);
    sqlite3_exec(database, "pragma query_only = 1; pragma cell_size_check = 1", nullptr, nullptr, nullptr);
}

/// Opens the database in place of one that is open, and reads its schema; the extended code of SQLite.
int openAndTry(ResultFile& file, int access) {
    sqlite3_close(file.database);
    file.database = nullptr;
    sqlite3_hard_heap_limit64(MOST_MEMORY_OF_SQLITE);
    std::error_code error;
    file.work = {};
    file.work.length = std::filesystem::file_size(files_toPath(file.name), error);
    // SQLite may take a name that begins with "file:" as an address; a path never does.
    const std::string path = (file.name.starts_with("file:") ? "./" : "") + file.name;
    if (error || sqlite3_open_v2(path.c_str(), &file.database, access, nullptr) != SQLITE_OK) {
        throw ResultError("cannot open " + file.name);
    }
    protect(file);
    sqlite3_busy_timeout(file.database, 2000);
    sqlite3_exec(file.database, "select 1 from sqlite_master limit 1", nullptr, nullptr, nullptr);
    return sqlite3_extended_errcode(file.database);
}

bool hasTable(ResultFile& file, const std::string& name) {
    Query query(file, "select 1 from sqlite_master where type = 'table' and name = '" + name + "'");
    return query.next();
}

void readGeneralInfo(ResultFile& file) {
    if (!hasTable(file, "GeneralInfo") || !hasTable(file, "System")) {
        throw ResultError(file.name + " is no database of results");
    }
    Query info(file, "select Version, StartDateTime, ReportStep from GeneralInfo limit 1");
    if (!info.next()) {
        throw ResultError(file.name + " doesn't give the start of its run, as happens before the year 1900");
    }
    if (info.getInteger(0) != RESULT_VERSION) {
        throw ResultError(file.name + " is of another version");
    }
    file.startDate = info.getNumber(1);
    const int64_t step = info.getInteger(2);
    if (!std::isfinite(file.startDate) || step <= 0 || step > std::numeric_limits<int32_t>::max()) {
        failAsDamaged(file, "it has no start or no report step");
    }
    file.reportStep = static_cast<int32_t>(step);
}

/// Reads the columns of a table. Those that it works out as it is read are not among them.
void readColumns(ResultFile& file, ResultTable& table) {
    table.columns.clear();
    bool hasPeriod = false;
    bool hasName = false;
    Query columns(file, "pragma table_info(" + table.name + ')');
    while (columns.next()) {
        const std::string name(columns.getText(1));
        if (name == "Name") {
            hasName = true;
        } else if (name == "Period") {
            hasPeriod = true;
        } else {
            table.columns.push_back({name, result_getUnit(table.name, name)});
        }
    }
    if (!hasPeriod || hasName == (table.name == "System") || table.columns.empty()) {
        throw ResultError(file.name + " is damaged: the table " + table.name + " lacks a column");
    }
}

/// Objects in the order of their first rows.
struct ObjectList {
    ResultTable& table;
    std::unordered_map<std::string, size_t> places{};
    size_t next = 0;  ///< the object that stands here if all reports name all of them in one order

    void addRow(std::string_view name) {
        if (next >= table.objects.size() || table.objects[next] != name) {
            const auto [place, isNew] = places.try_emplace(std::string(name), table.objects.size());
            next = place->second;
            if (isNew) {
                table.objects.emplace_back(name);
                table.rowCounts.push_back(0);
            }
        }
        ++table.rowCounts[next];
        next = next + 1 < table.objects.size() ? next + 1 : 0;
    }
};

/// Walks through all rows once, for what can't be known otherwise: the objects, and whether the rows stand in order.
/// Gives the highest period.
int64_t readObjects(ResultFile& file, ResultTable& table) {
    const bool isSystem = table.name == "System";
    Query rows(file, std::string("select Period, ") + (isSystem ? "'System'" : "Name") + " from " + table.name +
                         " not indexed");
    ObjectList objects{table};
    int64_t last = 0, highest = 0;
    uint64_t count = 0, bytes = 0;
    for (; rows.next(); ++count) {
        const int64_t period = rows.getInteger(0);
        table.isOrdered = table.isOrdered && (count == 0 || period >= last);
        last = period;
        highest = count == 0 ? period : std::max(highest, period);
        const std::string_view name = rows.getText(1);
        bytes += isSystem ? 0 : name.size();
        if (bytes > file.work.length || count > file.work.length / LEAST_ROW) {
            failAsDamaged(file, "it leads to more rows than it has room for");
        }
        objects.addRow(name);
    }
    return highest;
}

/// Whether there is the index that a run makes if it is asked for.
bool hasIndex(ResultFile& file, const std::string& table) {
    const std::string name = "TarnveldeIndex" + table;
    const char* columns = table == "System" ? " (Period)" : " (Name,Period)";
    Query query(file, "select 1 from sqlite_master where type = 'index' and tbl_name = '" + table +
                          "' and sql = " + "'CREATE INDEX " + name + " on " + table + columns + '\'');
    return query.next();
}

/// Whether a row stands where it does if each report names all objects in one order.
bool isInOrder(Query& query, const ResultTable& table, uint64_t row) {
    sqlite3_reset(query.statement);
    sqlite3_bind_int64(query.statement, 1, static_cast<sqlite3_int64>(row));
    const uint64_t count = table.objects.size();
    return query.next() && query.getInteger(0) == static_cast<int64_t>((row - 1) / count + 1) &&
           query.getText(1) == table.objects[(row - 1) % count];
}

/// What the walk through all rows finds, of a table that has an index and stands as a run leaves it: the first report
/// names the objects, and the number of the last row says how many reports there are. Some rows between them are looked
/// at. False if it is otherwise.
bool readObjectsByIndex(ResultFile& file, ResultTable& table, int64_t& highest) {
    const std::string name = table.name == "System" ? "'System'" : "Name";
    Query end(file, "select max(rowid) from " + table.name);
    const int64_t last = end.next() ? end.getInteger(0) : 0;
    Query rows(file, "select Period, " + name + " from " + table.name + " not indexed order by rowid");
    ObjectList objects{table};
    uint64_t bytes = 0, count = 0;
    for (; rows.next() && rows.getInteger(0) == 1; ++count) {
        bytes += rows.getText(1).size();
        if (bytes > file.work.length || count > file.work.length / LEAST_ROW) {
            return false;
        }
        objects.addRow(rows.getText(1));
    }
    constexpr uint64_t LOOKS = 64;
    const auto whole = static_cast<uint64_t>(std::max<int64_t>(last, 0));
    bool isWhole = count > 0 && table.objects.size() == count && whole % count == 0;
    Query look(file, "select Period, " + name + " from " + table.name + " where rowid = ?1");
    for (uint64_t k = 0; k <= LOOKS && isWhole; ++k) {
        isWhole = isInOrder(look, table, 1 + (whole - 1) / LOOKS * k) && isInOrder(look, table, whole - k % count);
    }
    if (!isWhole) {
        table.objects.clear();
        table.rowCounts.clear();
        return false;
    }
    highest = last / static_cast<int64_t>(count);
    table.rowCounts.assign(table.objects.size(), static_cast<uint64_t>(highest));
    return true;
}

/// Reads columns and objects of a table; a table may be missing.
void readTable(ResultFile& file, ResultTable& table) {
    if (!hasTable(file, table.name)) {
        return;
    }
    readColumns(file, table);
    table.hasIndex = hasIndex(file, table.name);
    int64_t highest = 0;
    if (!table.hasIndex || !readObjectsByIndex(file, table, highest)) {
        highest = readObjects(file, table);
    }
    if (table.name != "System") {
        return;
    }
    table.objects = {"System"};  // whether it has rows or not
    table.rowCounts.resize(1);
    if (highest < 0 || highest > std::numeric_limits<int32_t>::max()) {
        failAsDamaged(file, "it has no number of reports");
    }
    file.periods = static_cast<int32_t>(highest);
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
    std::vector<ResultTable> tables = result_listTables({});
    tables.emplace_back().name = RESULT_LID_UNITS;
    for (ResultTable& table : tables) {
        readTable(file, table);
        if (!table.objects.empty()) {
            file.tables.push_back(std::move(table));
        }
    }
}

/// Periods that may lie in a window, one more at each end. Bound only where an index finds them.
static void bindPeriods(const ResultRows& rows, sqlite3_stmt* statement) {
    constexpr double FARTHEST = 1e15;
    const auto getPeriod = [&](double date, double more) {
        const double period = (date - rows.file.startDate) * 86400.0 / rows.file.reportStep + more;
        return static_cast<sqlite3_int64>(std::clamp(period, -FARTHEST, FARTHEST));
    };
    sqlite3_bind_int64(statement, 2, getPeriod(rows.window.from, -2.0));
    sqlite3_bind_int64(statement, 3, getPeriod(rows.window.to, 2.0));
}

void result_beginDatabaseRows(ResultRows& rows) {
    const ResultTable& table = rows.file.tables[rows.part.table];
    const bool isSystem = table.name == "System";
    const bool isOne = rows.part.objects.size() == 1;
    std::string sql = std::string("select Period, ") + (isSystem || isOne ? "''" : "Name");
    for (const size_t column : rows.part.columns) {
        sql += ", " + characters_quoteSqlName(table.columns[column].name);
    }
    const bool isSought = isOne && table.hasIndex;
    sql += " from " + table.name + (isOne && !isSystem ? " where Name = ?1" : isSought ? " where true" : "");
    sql += isSought ? " and Period between ?2 and ?3" : "";
    Query query(rows.file, sql + (table.isOrdered && !isSought ? "" : " order by Period"));
    if (isSought) {
        bindPeriods(rows, query.statement);
    }
    if (isOne && !isSystem) {
        const std::string& name = table.objects[rows.part.objects[0]];
        sqlite3_bind_text(query.statement, 1, name.c_str(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
    }
    for (size_t k = 0; k < rows.part.objects.size() && !isOne; ++k) {
        rows.places.emplace(table.objects[rows.part.objects[k]], k);
    }
    rows.query = query.statement;
    query.isOfWalk = true;
}

/// The place of the object of this row in the part; RESULT_NONE for another one. Most rows name the next object.
static size_t findPlace(ResultRows& rows, std::string_view name) {
    const std::vector<size_t>& objects = rows.part.objects;
    if (objects.size() == 1) {
        return 0;
    }
    const size_t next = rows.next < objects.size() ? rows.next : 0;
    if (rows.file.tables[rows.part.table].objects[objects[next]] == name) {
        rows.next = next + 1;
        return next;
    }
    const auto place = rows.places.find(name);
    if (place == rows.places.end()) {
        return RESULT_NONE;
    }
    rows.next = place->second + 1;
    return place->second;
}

bool result_nextDatabaseRow(ResultRows& rows) {
    Query query(rows);
    while (query.next()) {
        rows.date = getDate(rows.file, query.getInteger(0));
        if (!result_isWithin(rows.window, rows.date)) {
            continue;
        }
        rows.object = findPlace(rows, query.getText(1));
        if (rows.object == RESULT_NONE) {
            continue;
        }
        for (size_t k = 0; k < rows.values.size(); ++k) {
            rows.values[k] = query.getNumber(static_cast<int>(k) + 2);
        }
        return true;
    }
    return false;
}
