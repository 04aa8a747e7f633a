#pragma once
// The network as a graph: links by node, the rules of connection, and the order in which a step visits the nodes.

#include <cstdint>
#include <vector>

/// A run of link indices, in the order of the link table.
struct LinkList {
    const int32_t* first;
    int32_t count;

    const int32_t* begin() const { return first; }
    const int32_t* end() const { return first + count; }
};

/// Nodes that a node discharges into without a link: those of a reactor's surplus and emptying, that of a LID monomer's
/// drain. Fills `targets` with the different ones, and gives their number.
int32_t network_getDirectTargets(int32_t node, int32_t targets[2]);

/// The same as the order meets them: a reactor with one node for surplus and emptying names it twice.
int32_t network_getDirectEdges(int32_t node, int32_t targets[2]);

/// Sorts the links by their nodes; called once, when all is read.
void network_indexLinks();

LinkList network_getOutgoing(int32_t node);
LinkList network_getIncoming(int32_t node);

/// Nodes in the order of a step; made by routing_open, null before. A node that the order never reaches leaves a 0 at
/// the end.
extern int32_t* SortedNodes;

/// Tests how nodes and links are connected, and marks the heads of the network; writes what is wrong to the report.
void network_validate();

/// Tests that no path from a head runs in a circle, and that the paths reach enough nodes.
void network_checkCycles();

/// Fills SortedNodes.
void network_sortNodes();

/// Forgets all lists.
void network_clear();

/// For tests: edges looked at by the last network_checkCycles.
extern int64_t NetworkVisitCount;
