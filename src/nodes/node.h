#pragma once
// What all nodes share, and the three kinds without storage: junctions, outfalls and splitters. A junction has no
// record of its own: it adds its inflows and passes them on, so its outflow is the inflow of the node.

#include <cstdint>

#include "links/link.h"
#include "model/project.h"
#include "model/table.h"
#include "text/tokens.h"

/// Takes water out of the system.
struct Outfall {
    double* statLoad;  ///< kg, one per pollutant; lives from a start to the next
};

enum SplitterMode : int32_t { SPLIT_FLOW, SPLIT_RATIO, SPLIT_FLOW_RATIO };

/// Divides its inflow between two links by a rule. The second link is the other one that starts here.
struct Splitter {
    int32_t link;          ///< the first link, which gets the split part
    int32_t mode;          ///< SplitterMode
    double value;          ///< threshold, m3/s, or in mode RATIO the share of the first link, 0 ... 1
    double ratio;          ///< mode FLOW_RATIO: share of the first link in what exceeds the threshold, at most 1
    int32_t useHostValue;  ///< 1: hostValue counts in place of value
    double hostValue;      ///< as value
    double oldFlow;        ///< m3/s, to the first link
    double newFlow;        ///< m3/s
};

extern Table<Outfall> Outfalls;
extern Table<Splitter> Splitters;

/// A line of a node section, for the row `node` and the row `kindIndex` of its kind. An error index, or 0.
int32_t node_readParams(const Tokens& tokens, int32_t node, int32_t kind, int32_t kindIndex);

/// Fills the common row of a node, once its whole line has proved good.
void node_setRow(int32_t node, int32_t kind, int32_t kindIndex, const char* id);

/// A line of [INITIAL_CONCENTRATION]. An error index, or 0.
int32_t node_readInitialQuality(const Tokens& tokens);

/// Tests a node when all is read; writes what is wrong to the report.
void node_validate(int32_t node);

/// Puts a node to time zero.
void node_initState(int32_t node);

/// Lets go of what a node holds for the run.
void node_endState(int32_t node);

/// Rolls the state of a node from new to old at the start of a step and empties what the step will add up.
void node_shiftState(int32_t node);

/// Collects what the incoming links, in the order of the link table, deliver in this step.
void node_gatherInflows(int32_t node, VisitLinkList incoming);

/// Mixes all loads of the step into the inflow: newQual of a node without storage.
void node_mixInflow(int32_t node);

/// Divides the inflow of a splitter.
void node_split(int32_t node);

/// Whether a node of this kind offers a flow to its outgoing links; the others serve their links themselves.
inline bool node_offersFlow(int32_t kind) {
    return kind == JUNCTION || kind == SPLITTER || kind == REACTOR || kind == LID_MONO;
}

/// Flow (m3/s) that a node offers to one of its outgoing links.
double node_getOfferedFlow(int32_t node, int32_t link);
