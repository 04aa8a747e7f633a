#pragma once
// A user of a database in company with a run, by SQLite itself.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

struct Connection {
    sqlite3* handle = nullptr;

    explicit Connection(const std::string& database) { EXPECT_EQ(sqlite3_open(database.c_str(), &handle), SQLITE_OK); }
    ~Connection() { sqlite3_close(handle); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Runs statements that must be good, without a wait for others. A transaction with a query holds the file as a
    /// reader does, until it ends.
    void run(const std::string& sql) const { EXPECT_EQ(tryToRun(sql), "not an error") << sql; }

    /// The same; what SQLite says.
    std::string tryToRun(const std::string& sql) const {
        sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr);
        return sqlite3_errmsg(handle);
    }

    /// The number that a query gives; -1 without.
    int ask(const std::string& sql) const {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr);
        const int number = statement && sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int(statement, 0) : -1;
        sqlite3_finalize(statement);
        return number;
    }
};
