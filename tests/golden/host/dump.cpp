// A database of results as text, through SQLite's functions: the file itself holds the version of SQLite.

#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "host.h"

namespace {

void writeValue(std::FILE* file, sqlite3_stmt* row, int column) {
    switch (sqlite3_column_type(row, column)) {
        case SQLITE_INTEGER:
            std::fprintf(file, " %lld", static_cast<long long>(sqlite3_column_int64(row, column)));
            break;
        case SQLITE_FLOAT: {
            const double value = sqlite3_column_double(row, column);
            unsigned long long bits;
            std::memcpy(&bits, &value, sizeof bits);
            std::fprintf(file, " %016llx", bits);
            break;
        }
        case SQLITE_NULL: std::fputs(" null", file); break;
        default: std::fprintf(file, " '%s'", reinterpret_cast<const char*>(sqlite3_column_text(row, column))); break;
    }
}

void writeRows(std::FILE* file, sqlite3* database, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        std::fprintf(file, "%s\n", sqlite3_errmsg(database));
        return;
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
        for (int k = 0; k < sqlite3_column_count(statement); ++k) {
            writeValue(file, statement, k);
        }
        std::fputc('\n', file);
    }
    sqlite3_finalize(statement);
}

std::vector<std::string> listTables(sqlite3* database) {
    std::vector<std::string> names;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, "select name from sqlite_master where type = 'table' order by rowid", -1, &statement,
                       nullptr);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        names.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    }
    sqlite3_finalize(statement);
    return names;
}

std::string quote(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

}  // namespace

void database_dump(const std::string& database, const std::string& name) {
    sqlite3* connection = nullptr;
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (!file) {
        return;
    }
    if (sqlite3_open_v2(database.c_str(), &connection, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        std::fputs("schema\n", file);
        writeRows(file, connection, "select type, name, tbl_name, sql from sqlite_master order by rowid");
        for (const std::string& table : listTables(connection)) {
            std::fprintf(file, "table %s\n", table.c_str());
            writeRows(file, connection, "select * from pragma_table_info(" + quote(table) + ")");
            writeRows(file, connection, "select * from " + quote(table) + " order by rowid");
        }
    }
    sqlite3_close(connection);
    std::fclose(file);
}
