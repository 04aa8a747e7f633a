// What a database aside gets once all its rows are committed, and before it is put in place. An index that is made of
// rows which stand there costs less than one that grows with them. Called by the room database.

#include "results/databaseform.h"

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include "model/model.h"
#include "model/pollut.h"
#include "results/databaseplace.h"
#include "results/identity.h"
#include "results/rows.h"
#include "results/statement.h"
#include "text/datetime.h"

void databaseform_writeIdentity(const Model& model, sqlite3* handle) {
    std::string text =
        std::string("savepoint Identity;create table ") + IDENTITY_TABLE.name + " (Name TEXT,Value TEXT);";
    for (const auto& [name, value] : identity_list(model)) {
        text.append("insert into ").append(IDENTITY_TABLE.name).append(" values ('").append(name).append("','");
        text.append(value).append("');");
    }
    text += "release Identity";
    if (sqlite3_exec(handle, text.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        sqlite3_exec(handle, "rollback to Identity;release Identity", nullptr, nullptr, nullptr);
    }
}

static bool createOwn(sqlite3* handle, const OwnTable& own) {
    return statement_run(handle, (std::string("create table ") + own.name + " (" + own.shape + ')').c_str());
}

/// A statement that inserts a row of so many values.
static Statement prepareInsert(sqlite3* handle, const OwnTable& own, int32_t columns) {
    std::string text = std::string("insert into ") + own.name + " values (?";
    for (int32_t k = 1; k < columns; ++k) {
        text += ",?";
    }
    return statement_prepare(handle, text + ')');
}

static bool insert(sqlite3_stmt* statement) {
    return sqlite3_step(statement) == SQLITE_DONE && sqlite3_reset(statement) == SQLITE_OK;
}

/// Columns of a table as the database calls them, after those that name object and period. False if that can't be
/// asked; a table that couldn't be made has none.
static bool listColumns(sqlite3* handle, int32_t table, std::vector<std::string>& columns) {
    const Statement statement =
        statement_prepare(handle, std::string("pragma table_info(") + RowTables[table].name + ')');
    const int32_t first = table == SYSTEM_TABLE ? 1 : 2;
    int32_t result = SQLITE_NOMEM;
    while (statement && (result = sqlite3_step(statement.get())) == SQLITE_ROW) {
        const auto* name = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 1));
        if (!name) {
            return false;
        }
        if (sqlite3_column_int(statement.get(), 0) >= first) {
            columns.emplace_back(name);
        }
    }
    return result == SQLITE_DONE;
}

/// Unit of the k-th value of a row.
static const char* getUnit(const Model& model, const RowTable& table, int32_t k) {
    const int32_t block = k < table.columnCount ? 0 : (k - table.columnCount) / model.polluts.size();
    return table.columns[k < table.columnCount ? k : table.columnCount + block].unit;
}

static bool writeUnits(const Model& model, sqlite3* handle) {
    const bool isMade = createOwn(handle, UNITS_TABLE);
    const Statement statement = prepareInsert(handle, UNITS_TABLE, 3);
    if (!isMade || !statement) {
        return false;
    }
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        std::vector<std::string> columns;
        if (!listColumns(handle, table, columns)) {
            return false;
        }
        const RowTable& entry = RowTables[table];
        const bool isWhole = static_cast<int32_t>(columns.size()) == rows_getLength(model, table);
        for (size_t k = 0; isWhole && k < columns.size(); ++k) {
            const char* unit = getUnit(model, entry, static_cast<int32_t>(k));
            const int32_t bound = sqlite3_bind_text(statement.get(), 1, entry.name, -1, SQLITE_STATIC) |
                                  sqlite3_bind_text(statement.get(), 2, columns[k].c_str(), -1, SQLITE_TRANSIENT) |
                                  sqlite3_bind_text(statement.get(), 3, unit, -1, SQLITE_STATIC);
            if (bound != SQLITE_OK || !insert(statement.get())) {
                return false;
            }
        }
    }
    return true;
}

/// A date for each row of the system: as days, and as a text to the second.
static bool writeDates(const Model& model, sqlite3* handle) {
    const bool isMade = createOwn(handle, DATES_TABLE);
    const Statement statement = prepareInsert(handle, DATES_TABLE, 3);
    const Statement periods =
        statement_prepare(handle, std::string("select Period from ") + RowTables[SYSTEM_TABLE].name);
    int32_t result = SQLITE_NOMEM;
    while (isMade && statement && periods && (result = sqlite3_step(periods.get())) == SQLITE_ROW) {
        const int32_t period = sqlite3_column_int(periods.get(), 0);
        const DateTime date = datetime_addSeconds(
            model.options.startDateTime, static_cast<double>(period) * static_cast<double>(model.options.reportStep));
        const std::string text = identity_formatDate(date);
        const int32_t bound = sqlite3_bind_int(statement.get(), 1, period) |
                              sqlite3_bind_text(statement.get(), 2, text.c_str(), -1, SQLITE_TRANSIENT) |
                              sqlite3_bind_double(statement.get(), 3, date);
        if (bound != SQLITE_OK || !insert(statement.get())) {
            return false;
        }
    }
    return result == SQLITE_DONE;
}

static bool createIndices(sqlite3* handle) {
    bool isDone = true;
    for (int32_t table = 0; isDone && table < RESULT_TABLE_COUNT; ++table) {
        std::vector<std::string> columns;
        isDone = listColumns(handle, table, columns);
        const std::string name = RowTables[table].name;
        if (isDone && !columns.empty()) {
            const std::string text = std::string("create index ").append(INDEX_PREFIX).append(name) + " on " + name +
                                     (table == SYSTEM_TABLE ? " (Period)" : " (Name,Period)");
            isDone = statement_run(handle, text.c_str());
        }
    }
    return isDone;
}

bool databaseform_complete(const Model& model, sqlite3* handle, int32_t form, std::string& reason) {
    if (!(form & (FORM_INDEX | FORM_UNITS | FORM_DATES))) {
        return true;
    }
    const bool isDone = statement_run(handle, "BEGIN") && (!(form & FORM_UNITS) || writeUnits(model, handle)) &&
                        (!(form & FORM_DATES) || writeDates(model, handle)) &&
                        (!(form & FORM_INDEX) || createIndices(handle)) && statement_run(handle, "COMMIT");
    if (!isDone) {
        reason = sqlite3_errmsg(handle);
        statement_run(handle, "ROLLBACK");
    }
    return isDone;
}
