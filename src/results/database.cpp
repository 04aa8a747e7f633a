// The results database. All of a run is one transaction, from the opening to the close of the project: that makes one
// statement per row affordable, and it leaves the results of the run before whole until the new ones are complete,
// whatever happens to the process in between.
//
// Rows go by statements that are compiled once for each table, several at a time, if the table is what it was made as:
// then they leave what the text of each row would. All others go by a text of their own.
//
// Names stand in the texts unescaped, so a name with an apostrophe fails its own rows. It must not do more than that:
// a text whose name is more than a name is never run, only compiled for the message that tells why.

#include "results/database.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "model/errors.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "platform/encoding.h"
#include "platform/files.h"
#include "results/rows.h"
#include "results/sqltext.h"

static constexpr int32_t FORMAT_VERSION = 21000;

// --- statements ----------------------------------------------------------------------------------------------------

/// Whether SQLite has let go of the transaction by itself. Further rows would go into the old tables.
static bool isTransactionLost(int32_t result) {
    const int32_t primary = result & 0xFF;
    return primary == SQLITE_FULL || primary == SQLITE_IOERR || primary == SQLITE_NOMEM;
}

/// Lets go of a transaction that is lost.
static void stopIfLost(Model& model, int32_t result) {
    if (isTransactionLost(result)) {
        sqlite3_exec(model.database->handle, "ROLLBACK", nullptr, nullptr, nullptr);
        model.database->isStopped = true;
    }
}

/// Runs a text; true if it was run without an error.
static bool execute(Model& model, const char* text, const char* messageOfSuccess = nullptr) {
    if (model.database->isStopped) {
        return false;
    }
    char* message = nullptr;
    const int32_t result = sqlite3_exec(model.database->handle, text, nullptr, nullptr, &message);
    if (result != SQLITE_OK) {
        errors_report(model, ERR_DATABASE_SQL, message ? message : "out of memory");
    } else if (messageOfSuccess) {
        errors_report(model, ERR_DATABASE_SQL, messageOfSuccess);
    }
    sqlite3_free(message);
    stopIfLost(model, result);
    return result == SQLITE_OK;
}

/// Tells why a text can't be run that its names make something else of. `part` is the statement that holds the names;
/// with "explain" in front SQLite compiles it and runs nothing of it, as long as no other statement follows.
static void refuse(Model& model, const char* part, bool hasMoreStatements) {
    if (model.database->isStopped) {
        return;
    }
    if (hasMoreStatements) {
        errors_report(model, ERR_DATABASE_SQL, "near \";\": syntax error");
        return;
    }
    // A name can hold tables, or words for a value, that are made of one another, each of many of the last: only to
    // compile them would take for ever.
    if (sqltext_hasWord(part, "with") || sqltext_countWords(part, "select") > 2) {
        errors_report(model, ERR_DATABASE_SQL, "near \"'\": syntax error");
        return;
    }
    const std::string compiled = std::string("explain ") + part;
    execute(model, compiled.c_str(), "near \"'\": syntax error");
}

/// A hyphen makes no legal name of a column, so pollutants like NH4-N get a low line for it. All hyphens of a text are
/// changed, even that of a negative number, which makes its statement fail.
static void replaceHyphens(Model& model) {
    std::replace(model.database->statement.begin(), model.database->statement.end(), '-', '_');
}

// --- tables --------------------------------------------------------------------------------------------------------

static void appendColumn(Model& model, const std::string& name) {
    model.database->statement += name;
    model.database->statement += " FLOAT";
}

static void appendColumns(Model& model, const RowTable& table) {
    for (int32_t k = 0; k < table.columnCount; ++k) {
        model.database->statement += ',';
        appendColumn(model, table.columns[k].name);
    }
    for (int32_t block = 0; block < table.qualityBlocks; ++block) {
        const std::string prefix = table.columns[table.columnCount + block].name;
        for (const Pollut& pollutant : model.polluts) {
            model.database->statement += ',';
            appendColumn(model, prefix + pollutant.id);
        }
    }
}

static bool arePollutantsColumns(const Model& model) {
    return std::all_of(model.polluts.begin(), model.polluts.end(), [](const Pollut& pollutant) {
        std::string name = pollutant.id;
        std::replace(name.begin(), name.end(), '-', '_');
        return sqltext_isColumn(name.c_str());
    });
}

/// Whether a table that was just made has one column for each value of its rows, each of a type that turns a text of
/// digits into a number, and of nothing else: the name of a pollutant may have more to say about its column.
static bool isPlainTable(Model& model, int32_t index) {
    const std::string question = std::string("pragma table_info(") + RowTables[index].name + ')';
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(model.database->handle, question.c_str(), -1, &statement, nullptr);
    const int32_t namedColumns = index == SYSTEM_TABLE ? 0 : 1;
    int32_t column = 0;
    bool isPlain = true;
    while (statement && sqlite3_step(statement) == SQLITE_ROW) {
        const auto* type = reinterpret_cast<const char*>(sqlite3_column_text(statement, 2));
        const char* const expected = column > namedColumns ? "FLOAT" : column == namedColumns ? "INT" : "TEXT";
        const bool hasRule = sqlite3_column_int(statement, 3) != 0 || sqlite3_column_int(statement, 5) != 0 ||
                             sqlite3_column_type(statement, 4) != SQLITE_NULL;
        isPlain = isPlain && !hasRule && type && std::strcmp(type, expected) == 0;
        ++column;
    }
    sqlite3_finalize(statement);
    return isPlain && column == namedColumns + 1 + rows_getLength(model, index);
}

static void createTable(Model& model, int32_t index) {
    const RowTable& table = RowTables[index];
    model.database->statement = std::string("drop table if exists ") + table.name + ';';
    const size_t creation = model.database->statement.size();
    model.database->statement += std::string("create table if not exists ") + table.name + " (";
    model.database->statement += index == SYSTEM_TABLE ? "Period INT" : "Name TEXT,Period INT";
    appendColumns(model, table);
    model.database->statement += ')';
    replaceHyphens(model);
    // Looked for ahead of the last semicolon, which an opened comment or literal could hide.
    const bool hasMoreStatements = sqltext_countEnds(model.database->statement.c_str() + creation) > 0;
    model.database->statement += ';';
    if (hasMoreStatements || (table.qualityBlocks > 0 && !arePollutantsColumns(model))) {
        refuse(model, model.database->statement.c_str() + creation, hasMoreStatements);
    } else if (execute(model, model.database->statement.c_str())) {
        model.database->inserts[static_cast<size_t>(index)].isPlain = isPlainTable(model, index);
    }
}

static void createGeneralInfo(Model& model) {
    char values[512];
    std::snprintf(values, sizeof values, "%d,%f,%d", FORMAT_VERSION, model.options.startDateTime,
                  model.options.reportStep);
    model.database->statement =
        "drop table if exists GeneralInfo; create table if not exists GeneralInfo (Version INT,"
        "StartDateTime DOUBLE,ReportStep INT);insert into GeneralInfo values (";
    model.database->statement += values;
    model.database->statement += ");";
    replaceHyphens(model);
    execute(model, model.database->statement.c_str());
}

void database_open(Model& model) {
    database_abandon(model);
    model.database->isStopped = false;
    model.database->inserts.assign(RESULT_TABLE_COUNT, {});
    // SQLite may take a name that begins with "file:" as an address; a path never does.
    const bool looksLikeAddress = model.files.databaseName.compare(0, 5, "file:") == 0;
    if (sqlite3_open(((looksLikeAddress ? "./" : "") + model.files.databaseName).c_str(), &model.database->handle) !=
        SQLITE_OK) {
        messages_tell(model, "\n    Cannot open database file ");
        model.error.code = ERR_DATABASE_FILE;
        database_abandon(model);
        return;
    }
    execute(model, "BEGIN");
    createGeneralInfo(model);
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        createTable(model, table);
    }
}

// --- rows as texts -------------------------------------------------------------------------------------------------

static void writeText(Model& model, int32_t table, const char* name, int32_t period, const float* row, int32_t length) {
    model.database->statement = "insert into ";
    model.database->statement += RowTables[table].name;
    model.database->statement += " values (";
    if (table != SYSTEM_TABLE) {
        model.database->statement += '\'';
        encoding_appendUtf8(model.database->statement, name);
        model.database->statement += "',";
    }
    char number[16];
    std::snprintf(number, sizeof number, "%d", period);
    model.database->statement += number;
    for (int32_t k = 0; k < length; ++k) {
        model.database->statement += ',';
        sqltext_appendNumber(model.database->statement, row[k]);
    }
    model.database->statement += ')';
    if (sqltext_isLiteral(name)) {
        execute(model, model.database->statement.c_str());
    } else {
        refuse(model, model.database->statement.c_str(), sqltext_countEnds(model.database->statement.c_str()) > 0);
    }
}

// --- rows by compiled statements -----------------------------------------------------------------------------------

static constexpr int32_t MOST_ROWS = 32;     ///< of a statement
static constexpr int32_t MOST_VALUES = 900;  ///< of a statement; old versions of SQLite take 999

static int32_t countColumns(int32_t table, int32_t length) {
    return length + (table == SYSTEM_TABLE ? 1 : 2);
}

/// Compiles the insertion of so many rows; null if that can't be done.
static sqlite3_stmt* compile(Model& model, int32_t table, int32_t columns, int32_t rows) {
    std::string row = "(?";
    for (int32_t k = 1; k < columns; ++k) {
        row += ",?";
    }
    row += ')';
    std::string text = std::string("insert into ") + RowTables[table].name + " values " + row;
    for (int32_t k = 1; k < rows; ++k) {
        text += ',' + row;
    }
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(model.database->handle, text.c_str(), -1, &statement, nullptr);
    return statement;
}

/// Binds a name as a text would hold it. Names of plain bytes stay where they are.
static int32_t bindName(sqlite3_stmt* statement, int32_t place, const char* name) {
    const char* at = name;
    while (*at && !(*at & '\x80')) {
        ++at;
    }
    if (!*at) {
        return sqlite3_bind_text(statement, place, name, static_cast<int>(at - name), SQLITE_STATIC);
    }
    std::string text;
    encoding_appendUtf8(text, name);
    return sqlite3_bind_text(statement, place, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

/// Binds the number that the text of a value denotes; the text itself where SQLite had better read it.
static int32_t bindValue(sqlite3_stmt* statement, int32_t place, float value) {
    double number;
    if (sqltext_getNumber(value, number)) {
        return sqlite3_bind_double(statement, place, number);
    }
    std::string text;
    sqltext_appendNumber(text, value);
    return sqlite3_bind_text(statement, place, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

/// Inserts so many of the waiting rows from `first` on by a statement for them. SQLite's code for the outcome.
static int32_t insertRows(Model& model, sqlite3_stmt* statement, size_t first, size_t count) {
    const DatabaseRows& rows = model.database->waiting;
    const auto length = static_cast<size_t>(rows.length);
    int32_t place = 0, result = SQLITE_OK;
    for (size_t k = first; k < first + count; ++k) {
        if (rows.table != SYSTEM_TABLE) {
            result |= bindName(statement, ++place, rows.names[k]);
        }
        result |= sqlite3_bind_int(statement, ++place, rows.period);
        for (size_t column = k * length; column < (k + 1) * length; ++column) {
            result |= bindValue(statement, ++place, rows.values[column]);
        }
    }
    if (result != SQLITE_OK) {
        return SQLITE_ERROR;
    }
    sqlite3_step(statement);
    return sqlite3_reset(statement);
}

/// A statement that fails leaves none of its rows. A transaction that is lost with it is told of once; otherwise each
/// row goes by its text, and says for itself what is wrong.
static void insertAnyhow(Model& model, sqlite3_stmt* statement, size_t first, size_t count) {
    const int32_t result = statement ? insertRows(model, statement, first, count) : SQLITE_ERROR;
    if (result == SQLITE_OK) {
        return;
    }
    if (isTransactionLost(result)) {
        errors_report(model, ERR_DATABASE_SQL, sqlite3_errmsg(model.database->handle));
        stopIfLost(model, result);
        return;
    }
    const DatabaseRows& rows = model.database->waiting;
    for (size_t k = first; k < first + count && !model.database->isStopped; ++k) {
        const float* row = rows.values.data() + k * static_cast<size_t>(rows.length);
        writeText(model, rows.table, rows.names[k], rows.period, row, rows.length);
    }
}

static void insertWaiting(Model& model) {
    DatabaseRows& rows = model.database->waiting;
    const size_t count = rows.names.size();
    if (count == 0) {
        return;
    }
    DatabaseInsert& insert = model.database->inserts[static_cast<size_t>(rows.table)];
    const bool areAll = count == static_cast<size_t>(insert.severalCount);
    sqlite3_stmt*& statement = areAll ? insert.several : insert.one;
    if (!statement) {
        statement = compile(model, rows.table, countColumns(rows.table, rows.length), areAll ? insert.severalCount : 1);
    }
    const size_t step = areAll ? count : 1;
    for (size_t k = 0; k < count && !model.database->isStopped; k += step) {
        insertAnyhow(model, statement, k, step);
    }
    rows.names.clear();
    rows.values.clear();
}

/// Whether all values are numbers, and the name needs no look at what it makes of a text.
static bool isPlainRow(const char* name, const float* row, int32_t length) {
    return !std::strchr(name, '\'') && std::all_of(row, row + length, [](float value) { return std::isfinite(value); });
}

void database_writeRow(Model& model, int32_t table, const char* name, int32_t period, const float* row,
                       int32_t length) {
    DatabaseResults& database = *model.database;
    if (!database.handle || database.isStopped) {
        return;
    }
    DatabaseInsert& insert = database.inserts[static_cast<size_t>(table)];
    const bool isPlain = insert.isPlain && isPlainRow(name, row, length);
    DatabaseRows& rows = database.waiting;
    if (!isPlain || rows.table != table || rows.period != period) {
        insertWaiting(model);
    }
    if (!isPlain) {
        writeText(model, table, name, period, row, length);
        return;
    }
    rows.table = table;
    rows.period = period;
    rows.length = length;
    rows.names.push_back(name);
    rows.values.insert(rows.values.end(), row, row + length);
    insert.severalCount = std::clamp(MOST_VALUES / countColumns(table, length), 1, MOST_ROWS);
    if (rows.names.size() == static_cast<size_t>(insert.severalCount)) {
        insertWaiting(model);
    }
}

void database_endReport(Model& model) {
    if (model.database->handle) {
        insertWaiting(model);
    }
}

void database_takeBack(Model& model, int32_t period) {
    database_endReport(model);
    for (int32_t table = 0; model.database->handle && table < RESULT_TABLE_COUNT; ++table) {
        model.database->statement =
            std::string("delete from ") + RowTables[table].name + " where Period >= " + std::to_string(period);
        execute(model, model.database->statement.c_str());
    }
}

// --- close ---------------------------------------------------------------------------------------------------------

void database_abandon(Model& model) {
    for (const DatabaseInsert& insert : model.database->inserts) {
        sqlite3_finalize(insert.one);
        sqlite3_finalize(insert.several);
    }
    if (model.database->handle) {
        sqlite3_close(model.database->handle);
        model.database->handle = nullptr;
    }
    model.database->inserts = {};
    model.database->waiting = {};
    model.database->statement = {};
}

void database_close(Model& model, bool isKept) {
    if (!model.database->handle) {
        return;
    }
    database_endReport(model);
    if (isKept) {
        execute(model, "COMMIT");
    }
    database_abandon(model);
    if (!isKept) {
        files_delete(model.files.databaseName.c_str());
    }
}
