// The files of the results database. A database aside is empty at first, so its rows are appended, and with the journal
// of SQLite whatever ends the process leaves those of its last whole transaction. It isn't handed to the disk before it
// is put in place: a machine that fails loses a run that wasn't over.
//
// A target that is there may hold tables of others and may be open to them, so its file stays: the tables of results
// are replaced in a transaction like any other. Called by the room database.

#include "results/databaseplace.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "model/inputfiles.h"
#include "platform/filenames.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "results/rows.h"
#include "results/statement.h"

namespace fs = std::filesystem;

static constexpr int32_t WAIT = 20;  ///< ms between two looks at a lock

using Handle = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;
// --- places --------------------------------------------------------------------------------------------------------

bool databaseplace_isFile(const std::string& name) {
    std::error_code error;
    const fs::file_type type = fs::status(filenames_toPath(name), error).type();
    return !name.empty() && name != ":memory:" && (type == fs::file_type::regular || type == fs::file_type::not_found);
}

DatabasePlace databaseplace_find(const std::string& name) {
    const std::string target = outputs_identify(name).path;
    return {target, outputs_nameAside(target, JOURNAL_ROOM), {}};
}

bool databaseplace_isSame(const std::string& path, const std::string& other) {
    return !other.empty() && outputs_isSame(outputs_identify(path), outputs_identify(other));
}

/// The file in which SQLite keeps what a transaction has overwritten.
static std::string getJournal(const std::string& path) {
    return path + "-journal";
}

// --- waiting -------------------------------------------------------------------------------------------------------

bool databaseplace_waitLonger(DatabasePatience& patience) {
    if (patience.milliseconds <= 0) {
        return false;
    }
    sqlite3_sleep(WAIT);
    patience.milliseconds -= WAIT;
    return true;
}

static int waitForOthers(void* patience, int) {
    return databaseplace_waitLonger(*static_cast<DatabasePatience*>(patience)) ? 1 : 0;
}

void databaseplace_wait(sqlite3* handle, DatabasePatience& patience) {
    sqlite3_busy_handler(handle, waitForOthers, &patience);
}

// --- statements ----------------------------------------------------------------------------------------------------

static std::string getReason(sqlite3* handle) {
    return sqlite3_errmsg(handle);
}

// --- a database aside ----------------------------------------------------------------------------------------------

/// Takes the lock that the connection keeps until its end, on this file alone. The file that has it must still be the
/// one of that name: the run before may have put it in place meanwhile.
static bool lockAside(sqlite3* handle, std::string& reason) {
    const bool isLocked =
        statement_run(handle, "pragma main.locking_mode=exclusive") && statement_run(handle, "BEGIN EXCLUSIVE");
    const int32_t result = sqlite3_errcode(handle);
    int moved = 0;
    if (isLocked) {
        sqlite3_file_control(handle, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
        statement_run(handle, "COMMIT");
    }
    if (!isLocked || moved != 0) {
        reason = result == SQLITE_BUSY || moved != 0 ? "another run writes it" : getReason(handle);
        return false;
    }
    return true;
}

/// Takes away what a run that was killed has left.
static bool emptyAside(sqlite3* handle) {
    const Statement pages = statement_prepare(handle, "pragma page_count");
    const bool isEmpty = pages && sqlite3_step(pages.get()) == SQLITE_ROW && sqlite3_column_int(pages.get(), 0) == 0;
    if (pages) {
        sqlite3_reset(pages.get());
    }
    if (isEmpty) {
        return true;
    }
    sqlite3_db_config(handle, SQLITE_DBCONFIG_RESET_DATABASE, 1, nullptr);
    const bool isReset = statement_run(handle, "vacuum");
    sqlite3_db_config(handle, SQLITE_DBCONFIG_RESET_DATABASE, 0, nullptr);
    return isReset;
}

static bool isEmptyFile(const std::string& path) {
    std::error_code error;
    return fs::file_size(filenames_toPath(path), error) == 0 && !error;
}

/// Takes away a file that was made in vain, of which SQLite has written the head at most. Without a lock on it, it may
/// by now be that of another run; and what held more than that was there before.
static void dropVain(sqlite3* handle, const std::string& path) {
    static constexpr uintmax_t HEAD = 4096;  // bytes: a page
    int lock = SQLITE_LOCK_NONE, moved = 0;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_LOCKSTATE, &lock);
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    std::error_code error;
    const uintmax_t size = fs::file_size(filenames_toPath(path), error);
    if (lock >= SQLITE_LOCK_RESERVED && moved == 0 && !error && size <= HEAD) {
        files_delete(getJournal(path).c_str());
        files_delete(path.c_str());
    }
}

std::string databaseplace_getEncoding(sqlite3* handle) {
    const Statement statement = statement_prepare(handle, "pragma main.encoding");
    const bool isTold = statement && sqlite3_step(statement.get()) == SQLITE_ROW;
    const void* text = isTold ? sqlite3_column_text(statement.get(), 0) : nullptr;
    return text ? static_cast<const char*>(text) : "";
}

/// Whether the texts of a database are encoded as those of the one that it is put into: SQLite brings no others
/// together. A file that holds something keeps its encoding for ever, also one that was emptied.
static bool hasEncoding(sqlite3* handle, const std::string& encoding) {
    return encoding.empty() || (statement_run(handle, ("pragma main.encoding='" + encoding + "'").c_str()) &&
                                databaseplace_getEncoding(handle) == encoding);
}

/// What keeps runs of other programs off the file as well would be asked for ahead of all else here.
static sqlite3* openAside(const std::string& path, const std::string& encoding, bool& isOfOther, std::string& reason) {
    static constexpr int32_t FLAGS = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOFOLLOW;
    const bool wasEmpty = !files_exists(path) || isEmptyFile(path);
    sqlite3* opened = nullptr;
    const int32_t result = sqlite3_open_v2(path.c_str(), &opened, FLAGS, nullptr);
    Handle handle(opened, sqlite3_close);
    if (result != SQLITE_OK) {
        reason = opened ? getReason(opened) : "out of memory";
        return nullptr;
    }
    if (!lockAside(opened, reason)) {
        if (wasEmpty) {
            dropVain(opened, path);
        }
        return nullptr;
    }
    // A journal that is emptied, not only marked as done: nothing of it is left to be taken for that of a later file.
    if (!statement_run(opened, "pragma main.synchronous=off") ||
        !statement_run(opened, "pragma main.journal_mode=truncate") || !emptyAside(opened)) {
        reason = getReason(opened);
        if (wasEmpty) {
            dropVain(opened, path);
        }
        return nullptr;
    }
    isOfOther = !hasEncoding(opened, encoding);
    return handle.release();
}

sqlite3* databaseplace_openAside(const DatabasePlace& place, std::string& reason) {
    bool isOfOther = false;
    sqlite3* handle = openAside(place.aside, place.encoding, isOfOther, reason);
    if (!handle || !isOfOther) {
        return handle;
    }
    // What a run with other texts has left: a file without a byte has no encoding yet.
    sqlite3_close(handle);
    files_delete(getJournal(place.aside).c_str());
    std::error_code error;
    fs::resize_file(filenames_toPath(place.aside), 0, error);
    handle = openAside(place.aside, place.encoding, isOfOther, reason);
    if (handle && isOfOther) {
        databaseplace_drop(handle, place.aside);
        reason = "its encoding can't be " + place.encoding;
    }
    return handle;
}

void databaseplace_drop(sqlite3*& handle, const std::string& path) {
    // While the lock keeps others off the name, where the system deletes a file that is open.
    files_delete(getJournal(path).c_str());
    const bool isDeleted = files_delete(path.c_str());
    sqlite3_close(handle);
    handle = nullptr;
    if (!isDeleted) {
        files_delete(getJournal(path).c_str());
        files_delete(path.c_str());
    }
}

void databaseplace_leave(sqlite3*& handle, const std::string& path) {
    if (handle && isEmptyFile(getJournal(path))) {
        files_delete(getJournal(path).c_str());  // while the lock keeps others off the name
    }
    sqlite3_close(handle);
    handle = nullptr;
}

static bool sync(sqlite3* handle) {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    return file && file->pMethods && file->pMethods->xSync(file, SQLITE_SYNC_NORMAL) == SQLITE_OK;
}

// --- into its place ------------------------------------------------------------------------------------------------

struct TableText {
    std::string name, sql;
};

static bool isOwn(const std::string& name) {
    return std::any_of(OWN_TABLES.begin(), OWN_TABLES.end(), [&](const OwnTable& own) { return name == own.name; });
}

/// Lists the tables of results in a database, in their order. False if one may be missing: a text for which there is no
/// memory looks as if it weren't there.
static bool listTables(sqlite3* handle, std::vector<TableText>& tables) {
    const Statement statement =
        statement_prepare(handle, "select name, sql from main.sqlite_master where type='table' order by rowid");
    int32_t result = SQLITE_NOMEM;
    while (statement && (result = sqlite3_step(statement.get())) == SQLITE_ROW) {
        const auto* name = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
        const auto* sql = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 1));
        if (!name || !sql) {
            return false;
        }
        bool isOurs = std::strcmp(name, GENERAL_TABLE) == 0 || isOwn(name);
        for (const RowTable& table : RowTables) {
            isOurs = isOurs || std::strcmp(name, table.name) == 0;
        }
        if (isOurs) {
            tables.push_back({name, sql});
        }
    }
    return result == SQLITE_DONE;
}

static bool attach(sqlite3* handle, const std::string& path) {
    const Statement statement = statement_prepare(handle, "attach ? as target");
    return statement && sqlite3_bind_text(statement.get(), 1, path.c_str(), -1, SQLITE_TRANSIENT) == SQLITE_OK &&
           sqlite3_step(statement.get()) == SQLITE_DONE;
}

/// What bears the name of a table of ours in a database.
enum OwnPlace : int32_t {
    OWN_FREE,   ///< nothing
    OWN_OURS,   ///< a table as runs make it
    OWN_TAKEN,  ///< something else: a table of a user's own, a view, an index
    OWN_UNKNOWN,
};

/// Asks what bears the name. A trigger may have that of any table.
static std::string writeQuestion(const std::string& schema, const OwnTable& own) {
    std::string text = "select type='table' and rootpage>0 and";
    text.append(" (select group_concat(name||' '||type) from pragma_table_info('").append(own.name);
    text.append("','").append(schema).append("'))='").append(own.shape).append("' from ").append(schema);
    text.append(".sqlite_master where type<>'trigger' and name='").append(own.name);
    return text.append("' collate nocase");
}

static OwnPlace findOwn(sqlite3* handle, const std::string& question) {
    const Statement statement = statement_prepare(handle, question);
    if (!statement) {
        return OWN_UNKNOWN;
    }
    switch (sqlite3_step(statement.get())) {
        case SQLITE_DONE: return OWN_FREE;
        case SQLITE_ROW: return sqlite3_column_int(statement.get(), 0) != 0 ? OWN_OURS : OWN_TAKEN;
        default: return OWN_UNKNOWN;
    }
}

void databaseplace_dropOwn(sqlite3* handle) {
    for (const OwnTable& own : OWN_TABLES) {
        if (findOwn(handle, writeQuestion("main", own)) == OWN_OURS) {
            statement_run(handle, (std::string("drop table ") + own.name).c_str());
        }
    }
}

/// A part of the database that is left away where its name is taken in the target.
struct OwnText {
    std::string question;  ///< what bears its name there
    std::string text;      ///< that replaces it
};

/// The texts that put the tables of the database into the target.
struct Replacement {
    std::string tables;            ///< empty if they can't be listed
    std::vector<OwnText> own;      ///< tables of ours
    std::vector<OwnText> indices;  ///< whose names are free once the old tables are gone, if they were ours
};

static constexpr const char* CREATION_OF_TABLE = "CREATE TABLE ";
static constexpr const char* CREATION_OF_INDEX = "CREATE INDEX ";

/// SQLite copies rows as they lie there, in their order, and keeps the text of a table from the word for its kind and
/// its own name on.
static void appendCopy(std::string& text, const TableText& table) {
    text += CREATION_OF_TABLE;
    text += "target." + table.sql.substr(std::strlen(CREATION_OF_TABLE)) + ';';
    text += "insert into target." + table.name + " select * from main." + table.name + ';';
}

/// False if an index may be missing.
static bool listIndices(sqlite3* handle, std::vector<OwnText>& indices) {
    const Statement statement = statement_prepare(
        handle, "select name, sql from main.sqlite_master where type='index' and sql is not null order by rowid");
    int32_t result = SQLITE_NOMEM;
    while (statement && (result = sqlite3_step(statement.get())) == SQLITE_ROW) {
        const auto* name = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
        const auto* sql = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 1));
        if (!name || !sql) {
            return false;
        }
        OwnText index;
        index.question = std::string("select 0 from target.sqlite_master where type<>'trigger' and name='") + name +
                         "' collate nocase";
        index.text = std::string(CREATION_OF_INDEX) + "target." + (sql + std::strlen(CREATION_OF_INDEX));
        indices.push_back(std::move(index));
    }
    return result == SQLITE_DONE;
}

static Replacement writeReplacement(sqlite3* handle) {
    Replacement texts;
    std::vector<TableText> tables;
    if (!listTables(handle, tables) || !listIndices(handle, texts.indices)) {
        return texts;
    }
    for (const OwnTable& own : OWN_TABLES) {
        // The one about the run before goes also where there is none of this run.
        std::string text = std::string("drop table if exists target.") + own.name + ';';
        for (const TableText& table : tables) {
            if (table.name == own.name) {
                appendCopy(text, table);
            }
        }
        texts.own.push_back({writeQuestion("target", own), std::move(text)});
    }
    for (const TableText& table : tables) {
        if (!isOwn(table.name)) {
            texts.tables += "drop table if exists target." + table.name + ';';
            appendCopy(texts.tables, table);
        }
    }
    return texts;
}

/// Runs the texts in the transaction of the target. What is a user's own is never one of those that are replaced.
static bool replace(sqlite3* handle, const Replacement& texts) {
    std::array<OwnPlace, OWN_TABLES.size()> places{};
    for (size_t k = 0; k < places.size(); ++k) {
        places[k] = findOwn(handle, texts.own[k].question);
        if (places[k] == OWN_UNKNOWN) {
            return false;
        }
    }
    if (!statement_run(handle, texts.tables.c_str())) {
        return false;
    }
    for (size_t k = 0; k < places.size(); ++k) {
        if (places[k] != OWN_TAKEN && !statement_run(handle, texts.own[k].text.c_str())) {
            return false;
        }
    }
    return std::all_of(texts.indices.begin(), texts.indices.end(), [&](const OwnText& index) {
        const OwnPlace place = findOwn(handle, index.question);
        return place == OWN_TAKEN || (place == OWN_FREE && statement_run(handle, index.text.c_str()));
    });
}

static bool commit(sqlite3* handle, DatabasePatience& patience) {
    int32_t result;
    do {
        result = sqlite3_exec(handle, "COMMIT", nullptr, nullptr, nullptr);
    } while (result == SQLITE_BUSY && databaseplace_waitLonger(patience));
    return result == SQLITE_OK;
}

/// Nothing is thrown while the transaction is open, so that it can't be left so.
static bool replaceTables(sqlite3* handle, const DatabasePlace& place, DatabasePatience& patience,
                          std::string& reason) {
    const Replacement texts = writeReplacement(handle);
    reason.reserve(1000);
    if (texts.tables.empty()) {
        reason = "out of memory";
        return false;
    }
    databaseplace_wait(handle, patience);
    // Others can read the target for as long as its pages wait in memory: so many KiB.
    if (attach(handle, place.target) && statement_run(handle, "pragma target.cache_size=-131072") &&
        statement_run(handle, "BEGIN IMMEDIATE")) {
        const int32_t left = std::exchange(patience.milliseconds, 0);
        const bool isDone = replace(handle, texts);
        patience.milliseconds = left;
        if (isDone && commit(handle, patience)) {
            return true;
        }
    }
    reason.assign(sqlite3_errmsg(handle), strnlen(sqlite3_errmsg(handle), 1000));
    statement_run(handle, "ROLLBACK");
    statement_run(handle, "detach target");
    return false;
}

/// The name is put on another file while the lock is held, where the system lets an open file be moved.
static bool rename(sqlite3*& handle, const DatabasePlace& place, std::string& reason) {
    if (!sync(handle)) {
        reason = "disk I/O error";
        return false;
    }
    std::error_code error;
    files_delete(getJournal(place.aside).c_str());
    fs::rename(filenames_toPath(place.aside), filenames_toPath(place.target), error);
    if (error) {
        sqlite3_close(handle);
        handle = nullptr;
        files_delete(getJournal(place.aside).c_str());
        fs::rename(filenames_toPath(place.aside), filenames_toPath(place.target), error);
        reason = error.message();
    }
    return !error;
}

bool databaseplace_settle(sqlite3*& handle, const DatabasePlace& place, DatabasePatience& patience,
                          std::string& reason) {
    const bool isThere = files_exists(place.target);
    const bool isSettled = isThere ? replaceTables(handle, place, patience, reason) : rename(handle, place, reason);
    if (isSettled && isThere) {
        statement_run(handle, "detach target");
        databaseplace_drop(handle, place.aside);
    }
    if (!isSettled && handle) {
        files_delete(getJournal(place.aside).c_str());
    }
    sqlite3_close(handle);
    handle = nullptr;
    return isSettled;
}

// --- out of a transaction ------------------------------------------------------------------------------------------

static bool copyRows(sqlite3* from, sqlite3* to, const std::string& table) {
    const Statement rows = statement_prepare(from, "select * from main." + table);
    if (!rows) {
        return false;
    }
    const int32_t columns = sqlite3_column_count(rows.get());
    std::string text = "insert into " + table + " values (?";
    for (int32_t k = 1; k < columns; ++k) {
        text += ",?";
    }
    const Statement insert = statement_prepare(to, text + ')');
    int32_t result = SQLITE_DONE;
    while (insert && result == SQLITE_DONE && (result = sqlite3_step(rows.get())) == SQLITE_ROW) {
        for (int32_t k = 0; k < columns; ++k) {
            sqlite3_bind_value(insert.get(), k + 1, sqlite3_column_value(rows.get(), k));
        }
        result = sqlite3_step(insert.get());
        sqlite3_reset(insert.get());
    }
    return insert && result == SQLITE_DONE;
}

static bool copyTables(sqlite3* from, sqlite3* to) {
    std::vector<TableText> tables;
    bool isCopied = listTables(from, tables) && statement_run(to, "BEGIN");
    for (const TableText& table : tables) {
        if (isOwn(table.name)) {
            continue;  // of another run, or of somebody else
        }
        isCopied = isCopied && statement_run(to, table.sql.c_str()) && copyRows(from, to, table.name);
    }
    return isCopied && statement_run(to, "COMMIT") && sync(to);
}

bool databaseplace_copyAside(sqlite3* handle, const DatabasePlace& place, std::string& reason) {
    sqlite3* aside = databaseplace_openAside(place, reason);
    if (!aside) {
        return false;
    }
    Handle owner(aside, sqlite3_close);
    if (!copyTables(handle, aside)) {
        reason = getReason(aside);
        databaseplace_drop(aside, place.aside);
        static_cast<void>(owner.release());
        return false;
    }
    files_delete(getJournal(place.aside).c_str());
    return true;
}
