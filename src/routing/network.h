#pragma once
// The network as a graph: the rules of connection, and the order in which a step visits the nodes.

#include <cstdint>

/// Nodes in the order of a step; made by routing_open, null before. A node that the order never reaches leaves a 0 at
/// the end.
extern int32_t* SortedNodes;

/// Tests how nodes and links are connected, and marks the heads of the network; writes what is wrong to the report.
void network_validate();

/// Tests that no path from a head runs in a circle, and that the paths reach enough nodes.
void network_checkCycles();

/// Fills SortedNodes.
void network_sortNodes();

/// For tests: edges looked at by the last network_checkCycles.
extern int64_t NetworkVisitCount;
