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
    if (isTransactionLost(result)) {
        sqlite3_exec(model.database->handle, "ROLLBACK", nullptr, nullptr, nullptr);
        model.database->isStopped = true;
    }
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
    } else {
        execute(model, model.database->statement.c_str());
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

// --- rows ----------------------------------------------------------------------------------------------------------

void database_writeRow(Model& model, int32_t table, const char* name, int32_t period, const float* row,
                       int32_t length) {
    if (!model.database->handle || model.database->isStopped) {
        return;
    }
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

void database_takeBack(Model& model, int32_t period) {
    for (int32_t table = 0; model.database->handle && table < RESULT_TABLE_COUNT; ++table) {
        model.database->statement =
            std::string("delete from ") + RowTables[table].name + " where Period >= " + std::to_string(period);
        execute(model, model.database->statement.c_str());
    }
}

// --- close ---------------------------------------------------------------------------------------------------------

void database_abandon(Model& model) {
    if (model.database->handle) {
        sqlite3_close(model.database->handle);
        model.database->handle = nullptr;
    }
    model.database->statement = {};
}

void database_close(Model& model, bool isKept) {
    if (!model.database->handle) {
        return;
    }
    if (isKept) {
        execute(model, "COMMIT");
    }
    database_abandon(model);
    if (!isKept) {
        files_delete(model.files.databaseName.c_str());
    }
}
