#pragma once
// Where the kinds of node are told apart: one function for each thing that is done to a node of any kind. A new kind is
// a room among the nodes, and its cases here.

#include <cstdint>

#include "model/balance.h"
#include "model/decay.h"
#include "model/project.h"
#include "routing/visits.h"
#include "text/tokens.h"

struct Model;

/// A line of a node section, for the row `node` and the row `kindIndex` of its kind. An error index, or 0.
[[nodiscard]] int32_t nodekinds_readLine(Model& model, const Tokens& tokens, int32_t kind, int32_t node,
                                         int32_t kindIndex);

/// Words that begin the exchange records in the section of a kind with an outside model; null for all others.
const char* const* nodekinds_getRecordWords(int32_t kind);

/// The decay of a node that stores water, one record per pollutant; null for the other kinds.
[[nodiscard]] Decay* nodekinds_findDecay(const Model& model, const Node& node);

/// The initial concentrations of a node that stores water, mg/L, one per pollutant; null for the other kinds.
[[nodiscard]] double* nodekinds_findInitialQuality(const Model& model, const Node& node);

/// Whether a node that takes initial concentrations holds water at the start that could have them.
[[nodiscard]] bool nodekinds_isStoringAtStart(const Model& model, const Node& node);

/// Tests a node when all is read; writes what is wrong to the report.
void nodekinds_validate(Model& model, int32_t node);

/// What must hold of the links that start at a node of a kind.
enum OutletRule : int32_t { OUTLETS_ANY, OUTLETS_NONE, OUTLETS_ONE, OUTLETS_SOME, OUTLETS_OF_TANK };
[[nodiscard]] OutletRule nodekinds_getOutletRule(int32_t kind);

/// Nodes that a node discharges into without a link: those of a reactor's surplus and emptying, that of a LID monomer's
/// drain. Fills `targets` as the order meets them, a reactor with one node for both naming it twice; gives their
/// number.
[[nodiscard]] int32_t nodekinds_getDirectEdges(const Model& model, int32_t node, int32_t targets[2]);

/// The same, the different ones only.
[[nodiscard]] int32_t nodekinds_getDirectTargets(const Model& model, int32_t node, int32_t targets[2]);

/// Puts a node to time zero, and releases what it holds for the run.
void nodekinds_initState(Model& model, int32_t node);
void nodekinds_endState(Model& model, int32_t node);

/// Starts the engines of all nodes that have one, in the order of the nodes. False at the first that fails; those
/// after it are not started.
[[nodiscard]] bool nodekinds_startEngines(Model& model);

/// Rolls the state of a node from new to old at the start of a step and empties what the step will add up.
void nodekinds_shiftState(Model& model, Node& node);

/// Takes the runoff of a subcatchment, m3/s. True if an outside model took it: the water is in no total of the network
/// then.
[[nodiscard]] bool nodekinds_takeRunoff(Model& model, const Node& node, int32_t subcatch, double flow);

/// A node's turn in a step: takes in what its links deliver, works out its outflow and hands it on. Makes
/// the statistics of a node that the visit counts.
void nodekinds_visit(Model& model, const Visit& visit, const VisitStep& step);

/// Adds a step to the statistics and the totals of the nodes that no visit has counted.
void nodekinds_countStep(Model& model);

/// Water of a node over the run, m3, but for what it held at the start.
[[nodiscard]] Balance nodekinds_getBalance(const Model& model, int32_t node);

/// What a link was given over the run by the node at its upstream end, m3.
[[nodiscard]] double nodekinds_getGiven(const Model& model, int32_t link);

// --- pollutants of a balance, for the book of loads; by pollutant p

/// Whether a node has an outside model inside, and whether it holds water in which something may react.
[[nodiscard]] bool nodekinds_isModel(const Model& model, int32_t node);
[[nodiscard]] bool nodekinds_isStore(const Model& model, int32_t node);

/// What the node gave to one of its links in this step, and what it gave over no link, kg/s.
[[nodiscard]] double nodekinds_getOfferedLoad(const Model& model, int32_t node, int32_t link, int32_t p);
[[nodiscard]] double nodekinds_getDirectLoad(const Model& model, int32_t node, int32_t p);

/// What floods, kg/s; what the node holds, kg.
[[nodiscard]] double nodekinds_getFloodLoad(const Model& model, int32_t node, int32_t p);
[[nodiscard]] double nodekinds_getStoredLoad(const Model& model, int32_t node, int32_t p);

/// Adds what the statistics of the kind know of the run and no visit shows.
void nodekinds_addOwnLoads(const Model& model, int32_t node, int32_t p, Balance& balance);
