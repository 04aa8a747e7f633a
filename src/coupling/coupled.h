#pragma once
// The calls that the rest of the engine makes for SWMM nodes and treatment-plant nodes alike.

#include <cstdint>

#include "links/link.h"
#include "model/project.h"
#include "text/tokens.h"

/// Whether a node of this kind has an outside model inside.
inline bool coupled_isKind(int32_t kind) {
    return kind == SWMM || kind == VORN;
}

/// Makes the tables of both kinds, and loads the library of each node. Writes what is wrong to the report.
void coupled_createNodes();

/// Closes all models, lets go of all libraries and deletes their copies.
void coupled_deleteNodes();

/// A line of the section of a kind. An error index, or 0.
int32_t coupled_readParams(const Tokens& tokens, int32_t kind, int32_t node, int32_t row);

/// Tests a node when all is read; writes what is wrong to the report.
void coupled_validate(int32_t node);

/// Puts a node to time zero.
void coupled_initState(int32_t node);

/// Starts all engines in the order of the nodes. False at the first that fails; those behind it are not started.
bool coupled_start();

/// Ends a node's engine and lets go of what it holds for the run.
void coupled_endState(int32_t node);

/// Rolls what flows into a node's model.
void coupled_shiftInflows(const Node& node);

/// Hands what the incoming links deliver to a node's model.
void coupled_gatherInflows(const Node& node, VisitLinkList incoming);

/// Hands the runoff of a subcatchment, m3/s, to the model of a SWMM node.
void coupled_takeRunoff(int32_t node, int32_t subcatch, double flow);

/// Brings a node's engine up to the routing clock and serves the outgoing links.
void coupled_stepNode(int32_t node);
