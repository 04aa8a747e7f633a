#pragma once
// What a database holds beyond its tables of results: what its run is known by and, for those who ask for it, an index
// by object and date, the units of all columns, and the dates of all periods.

#include <cstdint>
#include <string>

struct Model;
struct sqlite3;

/// Bits of a form, and numbers by which a host asks for them.
enum DatabaseForm : int32_t {
    FORM_INDEX = 1,
    FORM_UNITS = 2,
    FORM_DATES = 4,
    FORM_FULL = 8,  ///< values as they are, and not to six decimals
    FORM_ALL = 15
};

/// Writes what the run is known by into a table of its own. One that can't be made costs nothing else.
void databaseform_writeIdentity(const Model& model, sqlite3* handle);

/// Adds what the form asks for after the last row, in a transaction of its own. False with the reason if that can't be
/// done; the rows stay as they are.
[[nodiscard]] bool databaseform_complete(const Model& model, sqlite3* handle, int32_t form, std::string& reason);
