// The results database. A model of the first face writes into its file in place: all of a run is one transaction, from
// the opening to the close of the project, and leaves the results of the run before whole until the new ones are
// complete, whatever happens to the process in between. But once there are more of them than SQLite keeps in memory,
// nobody else can read the file.
//
// A model of the second face, which has a log, writes into a database aside. It commits some thousand rows at a time,
// so readers keep the results of the run before until the very end, and a run that was killed leaves what it had. What
// the end will do to a file that is there is tried at the start, so that a run fails ahead of its work and not after
// it.
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
#include <utility>

#include "model/errors.h"
#include "model/inputfiles.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "platform/console.h"
#include "platform/encoding.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "results/rows.h"
#include "results/sqltext.h"

static constexpr int32_t DATABASE_FORMAT = 21000;
static constexpr int32_t PATIENCE = 5000;              ///< ms, with others at the start, and again at the end
static constexpr int32_t ROWS_OF_TRANSACTION = 20000;  ///< at least; it ends with a report

// --- statements ----------------------------------------------------------------------------------------------------

/// Whether SQLite has rolled back the transaction by itself. Further rows would go into the old tables.
static bool isTransactionLost(int32_t result) {
    const int32_t primary = result & 0xFF;
    return primary == SQLITE_FULL || primary == SQLITE_IOERR || primary == SQLITE_NOMEM;
}

/// Lets go of a transaction that is lost.
static void stopIfLost(Model& model, int32_t result) {
    if (isTransactionLost(result)) {
        model.database->loss = sqlite3_errmsg(model.database->handle);
        sqlite3_exec(model.database->handle, "ROLLBACK", nullptr, nullptr, nullptr);
        model.database->isStopped = true;
    }
}

/// Whether values go in as they are, and not to six decimals.
static bool isFull(const Model& model) {
    return (model.database->form & FORM_FULL) != 0;
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

/// What the text that makes a table is.
struct TableTexts {
    size_t creation;  ///< where the second statement begins, after that which drops the old table
    size_t name;      ///< where its name of the table begins
    bool isRefused;   ///< a name makes something else of it
    bool hasMoreStatements;
};

static constexpr const char* CREATION = "create table if not exists ";

/// Writes the text that makes a table anew.
static TableTexts writeTable(Model& model, int32_t index) {
    const RowTable& table = RowTables[index];
    std::string& statement = model.database->statement;
    statement = std::string("drop table if exists ") + table.name + ';';
    const size_t creation = statement.size();
    statement += CREATION;
    const size_t name = statement.size();
    statement += std::string(table.name) + " (";
    statement += index == SYSTEM_TABLE ? "Period INT" : "Name TEXT,Period INT";
    appendColumns(model, table);
    statement += ')';
    replaceHyphens(model);
    // Looked for ahead of the last semicolon, which an opened comment or literal could hide.
    const bool hasMoreStatements = sqltext_countEnds(statement.c_str() + creation) > 0;
    statement += ';';
    const bool isRefused = hasMoreStatements || (table.qualityBlocks > 0 && !arePollutantsColumns(model));
    return {creation, name, isRefused, hasMoreStatements};
}

static void createTable(Model& model, int32_t index) {
    const TableTexts texts = writeTable(model, index);
    if (texts.isRefused) {
        refuse(model, model.database->statement.c_str() + texts.creation, texts.hasMoreStatements);
    } else if (execute(model, model.database->statement.c_str())) {
        model.database->inserts[static_cast<size_t>(index)].isPlain = isPlainTable(model, index);
    }
}

static void createGeneralInfo(Model& model) {
    char values[512];
    std::snprintf(values, sizeof values, "%d,%f,%d", DATABASE_FORMAT, model.options.startDateTime,
                  model.options.reportStep);
    model.database->statement =
        "drop table if exists GeneralInfo; create table if not exists GeneralInfo (Version INT,"
        "StartDateTime DOUBLE,ReportStep INT);insert into GeneralInfo values (";
    model.database->statement += values;
    model.database->statement += ");";
    replaceHyphens(model);
    execute(model, model.database->statement.c_str());
}

/// Begins a transaction with the table that every file can hold. Once that is there, nobody else can be in the way.
static void begin(Model& model) {
    execute(model, "BEGIN");
    createGeneralInfo(model);
    model.database->patience.milliseconds = 0;
}

// --- what the end will do to a file that is there ------------------------------------------------------------------

/// Compiles the first statement of a text; false with a message if that can't be done.
static bool canBeRun(Model& model, const char* text) {
    sqlite3_stmt* statement = nullptr;
    const int32_t result = sqlite3_prepare_v2(model.database->handle, text, -1, &statement, nullptr);
    if (result != SQLITE_OK) {
        errors_report(model, ERR_DATABASE_SQL, sqlite3_errmsg(model.database->handle));
    }
    sqlite3_finalize(statement);
    stopIfLost(model, result);
    return result == SQLITE_OK;
}

/// Whether an index has the name of a table, and goes with another table of results ahead of it.
static bool isFreedAhead(Model& model, int32_t index) {
    const std::string question = std::string("select tbl_name from sqlite_master where type='index' and name='") +
                                 RowTables[index].name + "' collate nocase";
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(model.database->handle, question.c_str(), -1, &statement, nullptr);
    bool isFreed = false;
    if (statement && sqlite3_step(statement) == SQLITE_ROW) {
        const auto* owner = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        isFreed = std::any_of(RowTables, RowTables + index, [owner](const RowTable& table) {
            return owner && sqlite3_stricmp(owner, table.name) == 0;
        });
    }
    sqlite3_finalize(statement);
    return isFreed;
}

/// Tells what is in the way of a table: something else of its name, or its columns. Where there is a table SQLite
/// doesn't look at the columns, so they are tried under a name that is free.
static void tryTable(Model& model, int32_t index) {
    if (model.database->isStopped) {
        return;
    }
    const TableTexts texts = writeTable(model, index);
    std::string& statement = model.database->statement;
    if (texts.isRefused) {
        refuse(model, statement.c_str() + texts.creation, texts.hasMoreStatements);
        return;
    }
    const bool isFree = canBeRun(model, statement.c_str()) &&
                        (isFreedAhead(model, index) || canBeRun(model, statement.c_str() + texts.creation));
    if (isFree) {
        statement.insert(texts.name, "temp.");
        canBeRun(model, statement.c_str() + texts.creation);
    }
}

/// Tries on the file that is there what the end of the run will do to it, and takes it back. The old rows are many, so
/// their tables are dropped only where even the small one couldn't be: that fails in the same way, at once.
static void rehearse(Model& model) {
    begin(model);
    const bool isTried =
        model.error.code == ERR_NONE || (sqlite3_errcode(model.database->handle) & 0xFF) == SQLITE_ERROR;
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        if (isTried) {
            tryTable(model, table);
        } else {
            createTable(model, table);
        }
    }
    sqlite3_exec(model.database->handle, "ROLLBACK", nullptr, nullptr, nullptr);
}

// --- open ----------------------------------------------------------------------------------------------------------

static void refuseFile(Model& model, const std::string& reason) {
    messages_tell(model, "\n    Cannot open database file ");
    if (!reason.empty()) {
        messages_setDetail(model, (" (" + reason + ")").c_str());
    }
    model.error.code = ERR_DATABASE_FILE;
    database_abandon(model);
}

/// Opens a file that may be there; false with the failure if that can't be done.
static bool openFile(Model& model, const std::string& name) {
    DatabaseResults& database = *model.database;
    // SQLite may take a name that begins with "file:" as an address; a path never does.
    const bool looksLikeAddress = name.compare(0, 5, "file:") == 0;
    if (sqlite3_open(((looksLikeAddress ? "./" : "") + name).c_str(), &database.handle) != SQLITE_OK) {
        const bool isFile = databaseplace_isFile(name);
        refuseFile(model,
                   name + ": " + (isFile ? sqlite3_errmsg(database.handle) : outputs_describe(OUTPUT_NO_FILE, 0)));
        return false;
    }
    databaseplace_wait(database.handle, database.patience);
    return true;
}

static bool hasTables(Model& model) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(model.database->handle, "select 1 from sqlite_master", -1, &statement, nullptr);
    const bool isThere = statement && sqlite3_step(statement) == SQLITE_ROW;
    sqlite3_finalize(statement);
    return isThere;
}

static void createTables(Model& model) {
    begin(model);
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        createTable(model, table);
    }
}

/// What tells of another run doesn't stay beside the results of one that leaves no such tables.
static void dropOwn(Model& model) {
    if (model.error.code == ERR_NONE && !model.database->isStopped) {
        databaseplace_dropOwn(model.database->handle);
        stopIfLost(model, sqlite3_errcode(model.database->handle));
    }
}

static void openInPlace(Model& model) {
    DatabaseResults& database = *model.database;
    if (outputs_isInTheMaking(model.files.databaseName)) {
        refuseFile(model, model.files.databaseName + ": " + outputs_describe(OUTPUT_IN_USE, 0));
        return;
    }
    database.patience.milliseconds = PATIENCE;
    if (openFile(model, model.files.databaseName)) {
        database.hadTables = hasTables(model);
        createTables(model);
        dropOwn(model);
    }
}

/// Whether a file of the project or of the run stands where the database aside would.
static bool isTaken(const Model& model, const std::string& path) {
    return databaseplace_isSame(path, model.files.inputName) || databaseplace_isSame(path, model.files.reportName) ||
           databaseplace_isSame(path, model.files.resultsName);
}

/// The lock that all other outputs have. It outlives the connection: to close any other descriptor of a file costs
/// SQLite its own locks on it.
static bool lockAside(DatabaseResults& database, std::string& reason) {
    OutputFault fault = OUTPUT_FINE;
    const bool isFile = !files_exists(database.place.aside) || databaseplace_isFile(database.place.aside);
    database.lock = isFile ? outputs_lock(database.place.aside, fault) : -1;
    if (fault == OUTPUT_IN_USE) {
        reason = outputs_describe(fault, 0);
    }
    return fault != OUTPUT_IN_USE;
}

static void openAside(Model& model) {
    DatabaseResults& database = *model.database;
    database.place = databaseplace_find(model.files.databaseName);
    database.patience.milliseconds = PATIENCE;
    if (outputs_isTooLong(database.place.target, JOURNAL_ROOM)) {
        refuseFile(model, database.place.target + ": its name leaves no room for that of its journal");
        return;
    }
    if (const std::string obstacle = outputs_findObstacle(database.place.target, false); !obstacle.empty()) {
        refuseFile(model, database.place.target + ": " + obstacle);
        return;
    }
    if (files_exists(database.place.target)) {
        database.hadTables = true;  // whatever ends the rehearsal, nothing of it is committed
        if (!openFile(model, database.place.target)) {
            return;
        }
        rehearse(model);
        database.place.encoding = databaseplace_getEncoding(database.handle);
        if (model.error.code == ERR_NONE && database.place.encoding.empty()) {
            refuseFile(model, database.place.target + ": out of memory");
        }
        sqlite3_close(database.handle);
        database.handle = nullptr;
        if (model.error.code) {
            return;
        }
    }
    std::string reason = "its name is that of another file of the run";
    const bool isNew = !files_exists(database.place.aside);
    if (!isTaken(model, database.place.aside) && lockAside(database, reason)) {
        database.handle = databaseplace_openAside(database.place, reason);
        if (!database.handle && isNew) {
            files_delete(database.place.aside.c_str());
        }
    }
    if (!database.handle) {
        refuseFile(model, database.place.aside + ": " + reason);
        return;
    }
    database.isAside = true;
    createTables(model);
    execute(model, "COMMIT");
    execute(model, "BEGIN");
}

void database_open(Model& model) {
    database_abandon(model);
    DatabaseResults& database = *model.database;
    database.process = outputs_getProcess();
    database.isBegun = database.isStopped = database.isAside = database.hadTables = false;
    database.loss.clear();
    database.openRows = 0;
    database.inserts.assign(RESULT_TABLE_COUNT, {});
    if (model.log && databaseplace_isFile(model.files.databaseName)) {
        openAside(model);
    } else {
        openInPlace(model);
    }
    database.isBegun = model.error.code == ERR_NONE;
}

// --- rows as texts -------------------------------------------------------------------------------------------------

/// Whether a value stands in a text as a question mark: SQLite wouldn't read each text of it back to the last bit.
static bool isBound(const Model& model, float value) {
    return isFull(model) && std::isfinite(value);
}

/// Runs the text of a row with the values that it leaves open.
static void executeWith(Model& model, const float* row, int32_t length) {
    DatabaseResults& database = *model.database;
    if (database.isStopped) {
        return;
    }
    sqlite3_stmt* statement = nullptr;
    int32_t result = sqlite3_prepare_v2(database.handle, database.statement.c_str(), -1, &statement, nullptr);
    int32_t place = 0;
    for (int32_t k = 0; k < length && result == SQLITE_OK; ++k) {
        if (isBound(model, row[k])) {
            result = sqlite3_bind_double(statement, ++place, static_cast<double>(row[k]));
        }
    }
    if (result == SQLITE_OK) {
        sqlite3_step(statement);
        result = sqlite3_reset(statement);
    }
    if (result != SQLITE_OK) {
        errors_report(model, ERR_DATABASE_SQL, sqlite3_errmsg(database.handle));
    }
    sqlite3_finalize(statement);
    stopIfLost(model, result);
}

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
        if (isBound(model, row[k])) {
            model.database->statement += '?';
        } else {
            sqltext_appendNumber(model.database->statement, row[k]);
        }
    }
    model.database->statement += ')';
    if (sqltext_isLiteral(name) && isFull(model)) {
        executeWith(model, row, length);
    } else if (sqltext_isLiteral(name)) {
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

/// Binds the number that the text of a value denotes, or its own in full; the text itself where SQLite had better read
/// it.
static int32_t bindValue(const Model& model, sqlite3_stmt* statement, int32_t place, float value) {
    double number = static_cast<double>(value);
    if (isFull(model) || sqltext_getNumber(value, number)) {
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
            result |= bindValue(model, statement, ++place, rows.values[column]);
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
    ++database.openRows;
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

/// A report is written as a whole or not at all, and where a transaction ends is a matter of the rows alone.
void database_endReport(Model& model) {
    DatabaseResults& database = *model.database;
    if (!database.handle) {
        return;
    }
    insertWaiting(model);
    if (database.isAside && database.openRows >= ROWS_OF_TRANSACTION) {
        database.openRows = 0;
        if (execute(model, "COMMIT")) {
            execute(model, "BEGIN");
        }
    }
}

void database_takeBack(Model& model, int32_t period) {
    insertWaiting(model);
    for (int32_t table = 0; model.database->handle && table < RESULT_TABLE_COUNT; ++table) {
        model.database->statement =
            std::string("delete from ") + RowTables[table].name + " where Period >= " + std::to_string(period);
        execute(model, model.database->statement.c_str());
    }
}

// --- close ---------------------------------------------------------------------------------------------------------

/// Lets go of all that belongs to the connection, which stays.
static void release(DatabaseResults& database) {
    for (const DatabaseInsert& insert : database.inserts) {
        sqlite3_finalize(insert.one);
        sqlite3_finalize(insert.several);
    }
    database.inserts = {};
    database.waiting = {};
    database.statement = {};
}

/// Whether the connection belongs to a process of which this one was forked: SQLite must not be called with it.
static bool isForeign(const DatabaseResults& database) {
    return database.handle && database.process != outputs_getProcess();
}

static void forget(DatabaseResults& database) {
    database.handle = nullptr;
    database.lock = -1;
    database.inserts = {};
    database.waiting = {};
}

void database_abandon(Model& model) {
    DatabaseResults& database = *model.database;
    if (isForeign(database)) {
        forget(database);
        return;
    }
    release(database);
    if (database.handle) {
        sqlite3_close(database.handle);
        database.handle = nullptr;
    }
    outputs_unlock(std::exchange(database.lock, -1));
}

void database_drop(Model& model) {
    DatabaseResults& database = *model.database;
    if (database.handle && database.isAside && !isForeign(database)) {
        release(database);
        databaseplace_drop(database.handle, database.place.aside);
    }
    database_abandon(model);
}

/// The report of a model of the first face is closed by now, and it has no log: a commit that fails is told where all
/// programs tell such things. What can't be committed because others use the file is kept beside it.
static void commitInPlace(Model& model) {
    DatabaseResults& database = *model.database;
    const bool wasStopped = database.isStopped;
    database.patience.milliseconds = PATIENCE;
    int32_t result = SQLITE_OK;
    while (!wasStopped &&
           (result = sqlite3_exec(database.handle, "COMMIT", nullptr, nullptr, nullptr)) == SQLITE_BUSY &&
           databaseplace_waitLonger(database.patience)) {
    }
    database.patience.milliseconds = 0;
    if (result == SQLITE_OK) {
        return;
    }
    const std::string reason = sqlite3_errmsg(database.handle);
    errors_report(model, ERR_DATABASE_SQL, reason.c_str());
    stopIfLost(model, result);
    if (model.log) {
        return;
    }
    const DatabasePlace place = databaseplace_find(model.files.databaseName);
    std::string words = "the results are lost", fault;
    if (result == SQLITE_BUSY && !isTaken(model, place.aside)) {
        const bool isKept = databaseplace_copyAside(database.handle, place, fault);
        words = isKept ? "the results are kept in " + place.aside : words + " (" + place.aside + ": " + fault + ")";
    }
    console_complain(("tarnvelde: " + model.files.databaseName + ": " + reason + "; " + words + "\n").c_str());
}

static void closeInPlace(Model& model, bool isKept) {
    // A start that failed has made empty tables, which never take the place of full ones.
    if (isKept && (model.database->isBegun || !model.database->hadTables)) {
        commitInPlace(model);
    }
    database_abandon(model);
    if (!isKept) {
        files_delete(model.files.databaseName.c_str());
    }
}

/// Completes the last transaction. Where disk or memory fails, SQLite rolls back all of it, and not only of the
/// statement: then the last rows are lost.
static bool commitAside(const Model& model) {
    sqlite3* handle = model.database->handle;
    const bool wasOpen = sqlite3_get_autocommit(handle) == 0;
    databaseform_writeIdentity(model, handle);
    const bool isOpen = sqlite3_get_autocommit(handle) == 0;
    return isOpen ? sqlite3_exec(handle, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK : !wasOpen;
}

static void closeAside(Model& model, bool isKept) {
    DatabaseResults& database = *model.database;
    const DatabasePlace& place = database.place;
    release(database);
    if (!isKept || !database.isBegun) {
        databaseplace_drop(database.handle, place.aside);
        return;
    }
    std::string reason = database.loss;
    bool isWhole = !database.isStopped;
    if (isWhole && !commitAside(model)) {
        reason = sqlite3_errmsg(database.handle);
        isWhole = false;
    }
    database.patience.milliseconds = PATIENCE;
    const bool isSettled = isWhole && databaseform_complete(model, database.handle, database.form, reason) &&
                           databaseplace_settle(database.handle, place, database.patience, reason);
    database.patience.milliseconds = 0;
    if (!isSettled) {
        databaseplace_leave(database.handle, place.aside);
        const std::string words =
            reason + (isWhole ? "; the results are kept in " : "; the results so far are kept in ");
        errors_report(model, ERR_DATABASE_SQL, (words + place.aside).c_str());
    }
}

void database_close(Model& model, bool isKept) {
    DatabaseResults& database = *model.database;
    if (isForeign(database)) {
        forget(database);
    }
    if (!database.handle) {
        return;
    }
    insertWaiting(model);
    if (database.isAside) {
        closeAside(model, isKept);
    } else {
        closeInPlace(model, isKept);
    }
    outputs_unlock(std::exchange(database.lock, -1));
}
