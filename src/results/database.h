#pragma once
// The results database: one SQLite file, whose tables of results a run replaces at its end.

#include <cstdint>
#include <string>
#include <vector>

#include "results/databaseform.h"
#include "results/databaseplace.h"

struct Model;

struct sqlite3;
struct sqlite3_stmt;

/// How rows get into a table.
struct DatabaseInsert {
    bool isPlain;       ///< the columns are those that rows are made for, so values needn't go as texts
    sqlite3_stmt* one;  ///< statements for a row and for several; null until they are needed
    sqlite3_stmt* several;
    int32_t severalCount;  ///< rows of that
};

/// Rows of one table that wait until there are enough of them.
struct DatabaseRows {
    int32_t table, period, length;
    std::vector<const char*> names;
    std::vector<float> values;  ///< row by row
};

/// The database of a run.
struct DatabaseResults {
    int32_t form = 0;                     ///< bits of DatabaseForm that the host asks for
    sqlite3* handle;                      ///< null while none is open
    bool isAside;                         ///< it stands beside the file whose place it will take
    bool isBegun;                         ///< the start of the run went well as far as here
    bool hadTables;                       ///< ahead of the run, if it isn't aside
    bool isStopped;                       ///< SQLite has rolled back the transaction
    std::string loss;                     ///< why it has
    int32_t openRows;                     ///< rows since the last commit
    DatabasePatience patience;            ///< with others that use the file
    DatabasePlace place;                  ///< of a database aside
    int32_t lock = -1;                    ///< that keeps runs off it which know nothing of SQLite's own
    int32_t process = 0;                  ///< that has opened it: a forked one may do nothing with it
    std::string statement;                ///< in hand
    std::vector<DatabaseInsert> inserts;  ///< by table; empty while no database is open
    DatabaseRows waiting;
};

/// Opens the database and makes its tables anew. Without a database the functions below do nothing.
void database_open(Model& model);

/// Inserts a row, or lets it wait for more of them; `name` is that of the object, empty for the system, and stays.
void database_writeRow(Model& model, int32_t table, const char* name, int32_t period, const float* row, int32_t length);

/// Inserts the rows that still wait: a report is complete. A database aside may be committed so far.
void database_endReport(Model& model);

/// Takes back the rows of a period and of all later ones.
void database_takeBack(Model& model, int32_t period);

/// Completes the database, puts it in place and closes it, or takes all back and deletes the file. A start that failed
/// leaves what was there.
void database_close(Model& model, bool isKept);

/// Closes the database of a start that failed, or of a run without a step: one aside is deleted, otherwise all is taken
/// back.
void database_drop(Model& model);

/// Closes the database; what the run has written is taken back, or stays aside.
void database_abandon(Model& model);
