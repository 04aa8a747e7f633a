#pragma once
// Where the database of a run stands: the file that readers know, and the one beside it that rows are kept in until
// they can take its place. A database aside belongs to one connection, which keeps all others out of it.

#include <array>
#include <cstdint>
#include <string>

struct sqlite3;

/// The table of what a run is; all others bear the names of RowTables.
constexpr const char* GENERAL_TABLE = "GeneralInfo";

/// A table that only a database that was written aside has; what a user has made of that name has another shape.
struct OwnTable {
    const char* name;
    const char* shape;  ///< its columns with their types
};

/// What a run is known by; and, if they are asked for, the units of all columns and the dates of all periods.
constexpr OwnTable IDENTITY_TABLE = {"TarnveldeRun", "Name TEXT,Value TEXT"};
constexpr OwnTable UNITS_TABLE = {"TarnveldeUnits", "TableName TEXT,ColumnName TEXT,Unit TEXT"};
constexpr OwnTable DATES_TABLE = {"TarnveldeDates", "Period INT,Date TEXT,Days DOUBLE"};
constexpr std::array<OwnTable, 3> OWN_TABLES = {IDENTITY_TABLE, UNITS_TABLE, DATES_TABLE};

/// What the names of indices begin with, ahead of that of their table.
constexpr const char* INDEX_PREFIX = "TarnveldeIndex";

/// The files of a database.
struct DatabasePlace {
    std::string target;    ///< through all links
    std::string aside;     ///< beside the target
    std::string encoding;  ///< of the texts in the target, in the words of SQLite; empty if there is none
};

/// How long a connection still waits for others, in all; 0 for not at all.
struct DatabasePatience {
    int32_t milliseconds;
};

/// Whether a database can stand aside of this name: SQLite takes some for databases that are nowhere, and a device or a
/// folder is no file.
[[nodiscard]] bool databaseplace_isFile(const std::string& name);

/// The places of a database of this name, which need not be there yet.
[[nodiscard]] DatabasePlace databaseplace_find(const std::string& name);

/// Whether a file is there already, and is the same as one of another name.
[[nodiscard]] bool databaseplace_isSame(const std::string& path, const std::string& other);

/// Makes a connection wait for others as long as there is patience, which must outlive it.
void databaseplace_wait(sqlite3* handle, DatabasePatience& patience);

/// Waits for others once more. False if the patience is at its end.
bool databaseplace_waitLonger(DatabasePatience& patience);

/// The encoding of the texts in a database, for those that are to be put into it; empty if there is no memory to ask.
[[nodiscard]] std::string databaseplace_getEncoding(sqlite3* handle);

/// Makes an empty database aside, in place of what a run that was killed has left there. Null with the reason if that
/// can't be done; what stands there is then as it was.
[[nodiscard]] sqlite3* databaseplace_openAside(const DatabasePlace& place, std::string& reason);

/// Takes the tables that tell of another run out of a database, within its transaction. What is not as runs make it
/// belongs to somebody else, and stays.
void databaseplace_dropOwn(sqlite3* handle);

/// Puts a database aside, whose rows are all committed, into its place, and closes it: as the target, if there is none;
/// otherwise its tables take the place of those in the target that have their names, all in one transaction; but where
/// something of a user's own has the name of a table or an index of ours, that is left away. False with the reason if
/// that can't be done: the target is as it was then, and the database stays aside.
[[nodiscard]] bool databaseplace_settle(sqlite3*& handle, const DatabasePlace& place, DatabasePatience& patience,
                                        std::string& reason);

/// Copies the tables of results, as a connection to the target sees them in its transaction, into a database aside.
[[nodiscard]] bool databaseplace_copyAside(sqlite3* handle, const DatabasePlace& place, std::string& reason);

/// Closes a database that stays aside. Its journal stays as well, if there is something in it.
void databaseplace_leave(sqlite3*& handle, const std::string& path);

/// Closes a database aside, and deletes it.
void databaseplace_drop(sqlite3*& handle, const std::string& path);
