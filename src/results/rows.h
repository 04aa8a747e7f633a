#pragma once
// Rows of results: which tables there are, which columns each of them has, and how a row is filled from the state of
// the model. Both sinks write the same rows.

#include <cstdint>
#include <vector>

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

/// Objects of one class and kind that stand one after the other, in their class and in the table of their kind: few
/// enough for their rows to stay in the nearest memory. All runs of a class, one after the other, are the class.
struct RowRun {
    int32_t table;       ///< -1: of a kind without rows
    int32_t kind;        ///< NodeKind or LinkKind; -1 without kinds
    int32_t first;       ///< index in the class
    int32_t count;       ///< of objects
    int32_t kindIndex;   ///< of the first: its row in the table of the kind
    int32_t rowPlace;    ///< rows of the table that stand ahead
    int64_t sharePlace;  ///< shares of all runs that stand ahead
};

/// Sums over the objects that make the row of the system: its columns, of the land weighted with the areas, and the
/// area of the land.
constexpr int32_t LAND_AREA_SUM = SYSTEM_LENGTH;
constexpr int32_t SYSTEM_SUM_COUNT = SYSTEM_LENGTH + 1;

/// What a table is made of.
struct RowTable {
    const char* name;
    const RowColumn* columns;  ///< the fixed ones, then the blocks with a column for each pollutant
    int32_t columnCount;       ///< how many are fixed
    int32_t qualityBlocks;
    int32_t objectType;  ///< class of its objects; -1 for the system
    int32_t kind;        ///< NodeKind or LinkKind; -1 without kinds
    void (*fill)(const Model& model, int32_t object, double f, float* row);
    int32_t shareCount;  ///< numbers that an object adds to the sums of the system
    void (*fillRun)(const Model& model, const RowRun& run, double f, float* rows);
    void (*fillAndAdd)(const Model& model, const RowRun& run, double f, float* rows, float* sums);
    void (*fillAndKeep)(const Model& model, const RowRun& run, double f, float* rows, float* shares);
    void (*addShares)(const float* shares, int32_t count, float* sums);
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

constexpr int32_t ROWS_OF_RUN = 128;  ///< at most

/// All runs of subcatchments, nodes and links, in this order.
[[nodiscard]] std::vector<RowRun> rows_listRuns(const Model& model);

/// Numbers that all objects of a list of runs add to the sums of the system.
[[nodiscard]] int64_t rows_countShares(const std::vector<RowRun>& runs);

/// Fills the rows of a run, one after the other.
inline void rows_fillRun(const Model& model, const RowRun& run, double f, float* rows) {
    RowTables[run.table].fillRun(model, run, f, rows);
}

/// The same, and of every object, also of one without a row, what it adds to the sums of the system: added at once, or
/// kept as it is for whoever adds it in its turn. Each share is rounded to single and added in single.
void rows_fillAndAdd(const Model& model, const RowRun& run, double f, float* rows, float* sums);
void rows_fillAndKeep(const Model& model, const RowRun& run, double f, float* rows, float* shares);
void rows_addShares(const RowRun& run, const float* shares, float* sums);

/// Asks for the memory of links that a walk will come to soon, after place `k` in their table.
void rows_fetchLinks(const Model& model, int32_t k);
