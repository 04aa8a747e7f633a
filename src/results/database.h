#pragma once
// The results database: one SQLite file beside the project file, one transaction per run.

#include <cstdint>
#include <string>

struct Model;

struct sqlite3;

/// The database of a run.
struct DatabaseResults {
    sqlite3* handle;        ///< null while none is open
    bool isStopped;         ///< SQLite has let go of the transaction
    std::string statement;  ///< in hand
};

/// Opens the database and makes its tables anew. Without a database the functions below do nothing.
void database_open(Model& model);

/// Inserts a row; `name` is that of the object, empty for the system.
void database_writeRow(Model& model, int32_t table, const char* name, int32_t period, const float* row, int32_t length);

/// Takes back the rows of a period and of all later ones.
void database_takeBack(Model& model, int32_t period);

/// Completes the transaction and closes the database, or takes all back and deletes the file.
void database_close(Model& model, bool isKept);

/// Closes the database; what the run has written is taken back.
void database_abandon(Model& model);
