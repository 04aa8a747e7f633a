#pragma once
// The network as a graph: the rules of connection, and the order in which a step visits the nodes.

#include <cstdint>

struct Model;

/// Tests how nodes and links are connected, and marks the heads of the network; writes what is wrong to the report.
void network_validate(Model& model);

/// Tests that no path from a head runs in a circle, and that the paths reach enough nodes.
void network_checkCycles(Model& model);

/// Fills `order` with the nodes in the order of their visits; gives how many there are. Nodes that no visit reaches are
/// left out.
int32_t network_orderNodes(const Model& model, int32_t* order);

/// Fills the order of the nodes of a run.
void network_sortNodes(Model& model);
