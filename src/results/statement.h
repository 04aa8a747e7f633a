#pragma once
// Statements of SQLite that are made, run and forgotten in one place.

#include <sqlite3.h>

#include <memory>
#include <string>

using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

/// Whether a text, which may be several statements, ran to its end.
inline bool statement_run(sqlite3* handle, const char* text) {
    return sqlite3_exec(handle, text, nullptr, nullptr, nullptr) == SQLITE_OK;
}

/// Null if the text is no statement.
inline Statement statement_prepare(sqlite3* handle, const std::string& text) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle, text.c_str(), -1, &statement, nullptr);
    return {statement, sqlite3_finalize};
}
