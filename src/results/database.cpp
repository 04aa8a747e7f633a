// The results database. All of a run is one transaction, from the opening to the close of the project: that makes one
// statement per row affordable, and it leaves the results of the run before whole until the new ones are complete,
// whatever happens to the process in between.
//
// Names stand in the texts unescaped, so a name with an apostrophe fails its own rows. It must not do more than that:
// a text whose name is more than a name is never run, only compiled for the message that tells why.

#include "results/database.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "model/errors.h"
#include "model/pollut.h"
#include "model/project.h"
#include "platform/console.h"
#include "platform/encoding.h"
#include "platform/files.h"
#include "results/rows.h"
#include "results/sqltext.h"

sqlite3* DbHandle = nullptr;

static constexpr int32_t FORMAT_VERSION = 21000;

static bool IsStopped = false;  ///< the transaction is lost, and nothing more may be written
static std::string Statement;   ///< the text in hand

// --- statements ----------------------------------------------------------------------------------------------------

/// Whether SQLite has let go of the transaction by itself. Further rows would go into the old tables.
static bool isTransactionLost(int32_t result) {
    const int32_t primary = result & 0xFF;
    return primary == SQLITE_FULL || primary == SQLITE_IOERR || primary == SQLITE_NOMEM;
}

/// Runs a text; true if it was run without an error.
static bool execute(const char* text, const char* messageOfSuccess = nullptr) {
    if (IsStopped) {
        return false;
    }
    char* message = nullptr;
    const int32_t result = sqlite3_exec(DbHandle, text, nullptr, nullptr, &message);
    if (result != SQLITE_OK) {
        errors_report(ERR_DATABASE_SQL, message ? message : "out of memory");
    } else if (messageOfSuccess) {
        errors_report(ERR_DATABASE_SQL, messageOfSuccess);
    }
    sqlite3_free(message);
    if (isTransactionLost(result)) {
        sqlite3_exec(DbHandle, "ROLLBACK", nullptr, nullptr, nullptr);
        IsStopped = true;
    }
    return result == SQLITE_OK;
}

/// Tells why a text can't be run that its names make something else of. `part` is the statement that holds the names;
/// with "explain" in front SQLite compiles it and runs nothing of it, as long as no other statement follows.
static void refuse(const char* part, bool hasMoreStatements) {
    if (IsStopped) {
        return;
    }
    if (hasMoreStatements) {
        errors_report(ERR_DATABASE_SQL, "near \";\": syntax error");
        return;
    }
    // A name can hold tables, or words for a value, that are made of one another, each of many of the last: only to
    // compile them would take for ever.
    if (sqltext_hasWord(part, "with") || sqltext_countWords(part, "select") > 2) {
        errors_report(ERR_DATABASE_SQL, "near \"'\": syntax error");
        return;
    }
    const std::string compiled = std::string("explain ") + part;
    execute(compiled.c_str(), "near \"'\": syntax error");
}

/// A hyphen makes no legal name of a column, so pollutants like NH4-N get a low line for it. All hyphens of a text are
/// changed, even that of a negative number, which makes its statement fail.
static void replaceHyphens() {
    std::replace(Statement.begin(), Statement.end(), '-', '_');
}

// --- tables --------------------------------------------------------------------------------------------------------

static void appendColumn(const std::string& name) {
    Statement += name;
    Statement += " FLOAT";
}

static void appendColumns(const RowTable& table) {
    for (int32_t k = 0; k < table.columnCount; ++k) {
        Statement += ',';
        appendColumn(table.columns[k].name);
    }
    for (int32_t block = 0; block < table.qualityBlocks; ++block) {
        const std::string prefix = table.columns[table.columnCount + block].name;
        for (const Pollut& pollutant : Polluts) {
            Statement += ',';
            appendColumn(prefix + pollutant.id);
        }
    }
}

static bool arePollutantsColumns() {
    return std::all_of(Polluts.begin(), Polluts.end(), [](const Pollut& pollutant) {
        std::string name = pollutant.id;
        std::replace(name.begin(), name.end(), '-', '_');
        return sqltext_isColumn(name.c_str());
    });
}

static void createTable(int32_t index) {
    const RowTable& table = RowTables[index];
    Statement = std::string("drop table if exists ") + table.name + ';';
    const size_t creation = Statement.size();
    Statement += std::string("create table if not exists ") + table.name + " (";
    Statement += index == SYSTEM_TABLE ? "Period INT" : "Name TEXT,Period INT";
    appendColumns(table);
    Statement += ')';
    replaceHyphens();
    // Looked for ahead of the last semicolon, which an opened comment or literal could hide.
    const bool hasMoreStatements = sqltext_countEnds(Statement.c_str() + creation) > 0;
    Statement += ';';
    if (hasMoreStatements || (table.qualityBlocks > 0 && !arePollutantsColumns())) {
        refuse(Statement.c_str() + creation, hasMoreStatements);
    } else {
        execute(Statement.c_str());
    }
}

static void createGeneralInfo() {
    char values[512];
    std::snprintf(values, sizeof values, "%d,%f,%d", FORMAT_VERSION, StartDateTime, ReportStep);
    Statement =
        "drop table if exists GeneralInfo; create table if not exists GeneralInfo (Version INT,"
        "StartDateTime DOUBLE,ReportStep INT);insert into GeneralInfo values (";
    Statement += values;
    Statement += ");";
    replaceHyphens();
    execute(Statement.c_str());
}

void database_open() {
    database_abandon();
    IsStopped = false;
    // SQLite may take a name that begins with "file:" as an address; a path never does.
    const bool looksLikeAddress = DbFileName.compare(0, 5, "file:") == 0;
    if (sqlite3_open(((looksLikeAddress ? "./" : "") + DbFileName).c_str(), &DbHandle) != SQLITE_OK) {
        console_write("\n    Cannot open database file ");
        ErrorCode = ERR_DATABASE_FILE;
        database_abandon();
        return;
    }
    execute("BEGIN");
    createGeneralInfo();
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        createTable(table);
    }
}

// --- rows ----------------------------------------------------------------------------------------------------------

void database_writeRow(int32_t table, const char* name, int32_t period, const float* row, int32_t length) {
    if (!DbHandle || IsStopped) {
        return;
    }
    Statement = "insert into ";
    Statement += RowTables[table].name;
    Statement += " values (";
    if (table != SYSTEM_TABLE) {
        Statement += '\'';
        encoding_appendUtf8(Statement, name);
        Statement += "',";
    }
    char number[16];
    std::snprintf(number, sizeof number, "%d", period);
    Statement += number;
    for (int32_t k = 0; k < length; ++k) {
        Statement += ',';
        sqltext_appendNumber(Statement, row[k]);
    }
    Statement += ')';
    if (sqltext_isLiteral(name)) {
        execute(Statement.c_str());
    } else {
        refuse(Statement.c_str(), sqltext_countEnds(Statement.c_str()) > 0);
    }
}

// --- close ---------------------------------------------------------------------------------------------------------

void database_abandon() {
    if (DbHandle) {
        sqlite3_close(DbHandle);
        DbHandle = nullptr;
    }
    Statement = {};
}

void database_close(bool isKept) {
    if (!DbHandle) {
        return;
    }
    if (isKept) {
        execute("COMMIT");
    }
    database_abandon();
    if (!isKept) {
        files_delete(DbFileName.c_str());
    }
}
