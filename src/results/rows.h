#pragma once
// Rows of results: which tables there are, which columns each of them has, and how a row is filled from the state of
// the model. Both sinks write the same rows.

#include <cstdint>

#include "model/project.h"
#include "text/datetime.h"

/// Tables of results in the order in which they are written. The kinds of node and link without a table have no row.
enum ResultTable : int32_t {
    SYSTEM_TABLE,
    SUBCATCH_TABLE,
    JUNCTION_TABLE,
    TANK_TABLE,
    OUTFALL_TABLE,
    SPLITTER_TABLE,
    REACTOR_TABLE,
    LID_MONO_TABLE,
    PIPE_TABLE,
    PUMP_TABLE,
    CONNECTION_TABLE,
    CONDUIT_TABLE,
    WEIR_TABLE,
    ORIFICE_TABLE,
    RESULT_TABLE_COUNT
};

/// Values in a row of the system.
constexpr int32_t SYSTEM_LENGTH = 12;

/// What a table is made of.
struct RowTable {
    const char* name;
    const char* columns;    ///< the fixed columns, joined by commas
    int32_t columnCount;    ///< how many these are
    int32_t qualityBlocks;  ///< how many columns each pollutant has
    int32_t objectType;     ///< class of its objects; -1 for the system
    int32_t kind;           ///< NodeKind or LinkKind; -1 without kinds
};

extern const RowTable RowTables[RESULT_TABLE_COUNT];

/// Values in a row of a table.
int32_t rows_getLength(int32_t table);

/// Objects that have a row in a table.
int32_t rows_getObjectCount(int32_t table);

/// ID of an object of a table, by its index in its class.
const char* rows_getName(int32_t table, int32_t object);

/// Fills the row of an object; `f` weighs the newer of two states. Every value is worked out in double and rounded
/// once.
void rows_fill(int32_t table, int32_t object, double f, float* row);
void node_getResults(int32_t node, double f, float* row);
void link_getResults(int32_t link, double f, float* row);

/// Asks for the memory of rows that will be filled soon: behind place `k` in a list of nodes or links (a null
/// list is the whole table). Walks over large tables wait for memory otherwise.
void rows_fetchAhead(int32_t objectType, const int32_t* objects, int32_t count, int32_t k);

/// Fills the row of the system at a date. The factors weigh the newer state of the network and of the land.
void rows_fillSystem(DateTime date, double networkFactor, double landFactor, float* row);
