#pragma once
// Treatment-plant nodes: a separate plant model inside a node of the network, run by an outside engine.

#include <cstdint>

#include "coupling/entries.h"
#include "coupling/outside.h"
#include "model/project.h"
#include "model/table.h"
#include "text/tokens.h"

/// The functions of one private copy of the engine.
struct VornEntries {
#define VORN_ENTRY(name, result, arguments, standIn) \
    Entry<result arguments> name{StandIn<result arguments, standIn>::call};
#include "coupling/vornentries.def"
#undef VORN_ENTRY
};

struct VornNode {
    OutsideNode outside;
    VornEntries entries;
};

/// Words that begin the exchange records of a node.
extern const char* const VornRecordWords[];

constexpr OutsideTotals VORN_TOTALS = {&FlowTotalsRecord::vornInflow, &FlowTotalsRecord::vornOutflow,
                                       &QualTotalsRecord::vornInflow, &QualTotalsRecord::vornOutflow};

/// Makes the node's own copy of the library and looks up its functions.
void vorn_loadLibrary(Model& model, int32_t row);

/// Closes the model, releases the library and deletes the copy.
void vorn_closeNode(Model& model, int32_t row);

/// A line of [VORN_INPS]: the definition of node `node` in row `row`, or a record of the node in row `row`. An
/// error index, or 0.
[[nodiscard]] int32_t vorn_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t row);

/// Opens the model and compares it with the project; writes what is wrong to the report.
void vorn_validate(Model& model, int32_t node);

/// Puts the records to time zero.
void vorn_initState(Model& model, int32_t node);

/// Starts the engine. False if it can't be started.
[[nodiscard]] bool vorn_startNode(Model& model, int32_t node);

/// Ends the engine, if it was started, and forgets what the run allocated.
void vorn_endNode(Model& model, int32_t node);

/// Rolls the records of what flows in from new to old.
void vorn_shiftInflows(Model& model, int32_t row);

/// Takes what a link delivers: a flow, m3/s, with its loads, kg/s.
void vorn_takeInflow(Model& model, int32_t row, int32_t link, double flow, const double* loads);

/// Brings the engine up to the routing clock.
void vorn_advance(Model& model, int32_t node);
