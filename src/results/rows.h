#pragma once
// Rows of results: which tables there are, which columns each of them has, and how a row is filled from the state of
// the model. Both sinks write the same rows.

#include <cstdint>

#include "model/model.h"
#include "model/project.h"
#include "text/datetime.h"

/// Tables of results in the order in which they are written, and numbers by which a host asks for an object of them.
/// The kinds of node and link without a table have no row.
enum ResultTable : int32_t {
#define RESULT_TABLE(token, ...) token##_TABLE,
#include "results/columns.def"
    RESULT_TABLE_COUNT
};

/// Places in the row of the system.
enum SystemColumn : int32_t {
#define RESULT_SUM(token, ...) SYSTEM_##token,
#include "results/columns.def"
    SYSTEM_LENGTH
};

struct RowColumn {
    const char* name;  ///< in front of the name of each pollutant, for a block of these
    const char* unit;  ///< empty for a plain number
};

/// Objects of a table in the order of their rows, as far as somebody wants them.
struct RowList {
    const int32_t* objects;  ///< indices in their class
    int32_t count;
};

/// What a table is made of.
struct RowTable {
    const char* name;
    const RowColumn* columns;  ///< the fixed ones, then the blocks with a column for each pollutant
    int32_t columnCount;       ///< how many are fixed
    int32_t qualityBlocks;
    int32_t objectType;  ///< class of its objects; -1 for the system
    int32_t kind;        ///< NodeKind or LinkKind; -1 without kinds
    void (*fill)(const Model& model, int32_t object, double f, float* row);
    void (*fillMany)(const Model& model, const RowList& list, int32_t first, int32_t end, double f, float* rows);
};

extern const RowTable RowTables[RESULT_TABLE_COUNT];

/// Values in a row of a table.
[[nodiscard]] int32_t rows_getLength(const Model& model, int32_t table);

/// Objects that have a row in a table.
[[nodiscard]] int32_t rows_getObjectCount(const Model& model, int32_t table);

/// Objects of the class of a table, and whether one of them has its row there.
[[nodiscard]] int32_t rows_getClassSize(const Model& model, int32_t table);
[[nodiscard]] bool rows_holds(const Model& model, int32_t table, int32_t object);

/// ID of an object of a table, by its index in its class.
const char* rows_getName(const Model& model, int32_t table, int32_t object);

/// Fills the row of an object; `f` weighs the newer of two states. Every value is worked out in double and rounded
/// once.
inline void rows_fill(const Model& model, int32_t table, int32_t object, double f, float* row) {
    RowTables[table].fill(model, object, f, row);
}

/// The same of the objects of a list from `first` up to `end`, one row behind the other.
inline void rows_fillMany(const Model& model, int32_t table, const RowList& list, int32_t first, int32_t end, double f,
                          float* rows) {
    RowTables[table].fillMany(model, list, first, end, f, rows);
}

/// Asks for the memory of rows that will be filled soon: behind place `k` in a list of nodes or links (a null
/// list is the whole table). Walks over large tables wait for memory otherwise.
void rows_fetchAhead(const Model& model, int32_t objectType, const int32_t* objects, int32_t count, int32_t k);
