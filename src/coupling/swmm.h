#pragma once
// SWMM nodes: a separate SWMM 5 model inside a node of the network, run by an outside engine.

#include <cstdint>

#include "coupling/entries.h"
#include "coupling/outside.h"
#include "model/project.h"
#include "model/table.h"
#include "text/tokens.h"

/// The functions of one private copy of the engine.
struct SwmmEntries {
#define SWMM_ENTRY(name, result, arguments, standIn) \
    Entry<result arguments> name{StandIn<result arguments, standIn>::call};
#include "coupling/swmmentries.def"
#undef SWMM_ENTRY
};

struct SwmmNode {
    OutsideNode outside;
    SwmmEntries entries;
    const char* rptFile;  ///< full path of the engine's report
    const char* outFile;  ///< full path of the engine's results
};

/// Words that begin the exchange records of a node.
extern const char* const SwmmRecordWords[];

constexpr OutsideTotals SWMM_TOTALS = {&FlowTotalsRecord::swmmInflow, &FlowTotalsRecord::swmmOutflow,
                                       &QualTotalsRecord::swmmInflow, &QualTotalsRecord::swmmOutflow};

/// Makes the node's own copy of the library and looks up its functions.
void swmm_loadLibrary(Model& model, int32_t row);

/// Closes the model, releases the library and deletes the copy.
void swmm_closeNode(Model& model, int32_t row);

/// A line of [SWMM_INPS]: the definition of node `node` in row `row`, or a record of the node in row `row`. An
/// error index, or 0.
[[nodiscard]] int32_t swmm_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t row);

/// Opens the model and compares it with the project; writes what is wrong to the report.
void swmm_validate(Model& model, int32_t node);

/// Puts the records to time zero.
void swmm_initState(Model& model, int32_t node);

/// Starts the engine. False if it can't be started.
[[nodiscard]] bool swmm_startNode(Model& model, int32_t node);

/// Ends the engine, if it was started, and forgets what the run allocated.
void swmm_endNode(Model& model, int32_t node);

/// Rolls the records of what flows in from new to old.
void swmm_shiftInflows(Model& model, int32_t row);

/// Takes what a link delivers: a flow, m3/s, with its loads, kg/s.
void swmm_takeInflow(Model& model, int32_t row, int32_t link, double flow, const double* loads);

/// Takes the runoff of a subcatchment, m3/s; it is in no total of the network.
void swmm_takeRunoff(Model& model, int32_t row, int32_t subcatch, double flow);

/// Brings the engine up to the routing clock.
void swmm_advance(Model& model, int32_t node);

/// Flows at the moment, m3/s, added to sums in single or in double: into the models at the engine's clock, and out of
/// them.
template <class Sum>
void swmm_addFlows(const Model& model, int32_t row, Sum& inflow, Sum& outflow);

/// Index of a link inside the model of a row, negative if there is none.
[[nodiscard]] int32_t swmm_isLink(Model& model, int32_t row, const char* link);

/// Sets a link inside the model of a row, for steps of `stepLength` seconds.
void swmm_setSetting(Model& model, int32_t row, const char* link, double setting, double stepLength);
