#pragma once
// The folder nodes: a room for each kind of node, and the direct inflows. It uses the folders hydrology, links and what
// is below; it must know no outside model, no rule, no result, and nothing of the order of visits. A room owns the
// record of its kind, its table, the parser of its line, its checks, start state, update and statistics; the room
// routing/nodekinds calls these, and hands its outflow to the links.
//
// What all nodes share: the roll from new to old, and how they take in and mix what their links deliver. A junction has
// no room of its own: it adds its inflows and passes them on.

#include <cstdint>

#include "model/project.h"
#include "text/tokens.h"
#include "text/units.h"

struct Model;

/// A line that says no more than the name of a node: junctions and outfalls. Further words are free. An error index, or
/// 0.
[[nodiscard]] int32_t node_readPlain(Model& model, const Tokens& tokens, int32_t node, int32_t kind, int32_t kindIndex);

/// Fills the common row of a node, once its whole line has proved good.
void node_setRow(Model& model, int32_t node, int32_t kind, int32_t kindIndex, const char* id);

/// Puts what all kinds share to time zero.
void node_initState(const Model& model, Node& node);

/// New becomes old at the start of a step: the flows, of which the new ones are emptied for the step to add up.
inline void node_shiftInflows(Node& node) {
    node.oldInflow = node.newInflow;
    node.oldLatFlow = node.newLatFlow;
    node.oldUpstreamFlow = node.newUpstreamFlow;
    node.newInflow = node.newLatFlow = node.newUpstreamFlow = 0.0;
}

/// The concentrations likewise, and the loads are emptied.
void node_shiftQuality(const Model& model, Node& node);

/// Adds what a link delivers to a node in a step: a flow (m3/s) with its concentrations (mg/L).
void node_addDelivery(const Model& model, Node& node, double flow, const double* quality);

/// Mixes the loads of so many pollutants into the inflow of the step: the concentrations of a node without storage.
inline void node_mixInflow(Node& node, int32_t pollutants) {
    const double inflow = node.newInflow;
    const double* __restrict massInflow = node.massInflow;
    double* __restrict newQual = node.newQual;
    for (int32_t p = 0; p < pollutants; ++p) {
        newQual[p] = inflow != 0.0 ? massInflow[p] / inflow * G_PER_KG : 0.0;
    }
}
