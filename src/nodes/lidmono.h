#pragma once
// LID monomers: a LID unit that stands in the network as a node.

#include <cstdint>

#include "hydrology/lidunit.h"
#include "model/table.h"
#include "text/tokens.h"

struct Model;
struct Node;

struct LidMono {
    LidUnit unit;              ///< its rain and runon are a share of the node's inflow, and the rain of its gage
    int32_t gage;              ///< rain gage, or -1
    double evapRate;           ///< mm/day, for results
    double infilRate;          ///< mm/h, for results
    double rainDepth;          ///< m, of the run
    double statOutflowVolume;  ///< m3, to the outgoing link
};

/// A line of [LID_MONOS], for the row `node` and the row `kindIndex` of its kind. An error index, or 0.
[[nodiscard]] int32_t lidmono_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex);

/// Limits saturation and share, and marks the gage.
void lidmono_validate(Model& model, int32_t node);

/// Lets go of the arrays of all nodes when the memory of the results of a run goes.
void lidmono_forgetArrays(Model& model);

/// Puts a node to time zero.
void lidmono_init(Model& model, int32_t node);

/// New becomes old at the start of a routing step.
void lidmono_shiftState(Model& model, int32_t kindIndex);

/// One routing step, once the inflow of the node and its load are known.
void lidmono_step(Model& model, int32_t node);

/// The node of the drain, if it has one, into `targets`; gives their number.
[[nodiscard]] int32_t lidmono_getDrainTarget(const Model& model, int32_t kindIndex, int32_t* targets);

/// Flow to the outgoing link, m3/s: over the surface, past the unit, and the drain if that has no node of its own.
[[nodiscard]] double lidmono_getOutflow(const LidMono& mono);

/// Water of a node as the results of the whole system count it, m3.
[[nodiscard]] double lidmono_getVolume(const Model& model, int32_t kindIndex);

/// One pollutant that the drain gave to its node in this step, kg/s; 0 without such a node.
[[nodiscard]] double lidmono_getPassedDrainLoad(const Model& model, const LidMono& mono, int32_t pollutant);

/// Water over the run, m3. What passed around the unit counts on both sides.
[[nodiscard]] Balance lidmono_getBalance(const Model& model, const Node& node);
