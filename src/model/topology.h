#pragma once
// The links of each node, in the order of the link table.

#include <cstdint>

#include "model/table.h"

struct Model;

/// A run of link indices.
struct LinkList {
    const int32_t* first;
    int32_t count;

    const int32_t* begin() const { return first; }
    const int32_t* end() const { return first + count; }
};

/// The links of all nodes, one list after the other.
struct LinkIndex {
    Table<int32_t> start;  ///< by node: where its links begin; one more at the end
    Table<int32_t> links;
};

/// Sorts the links by their nodes; called once, when all is read.
void topology_indexLinks(Model& model);

/// Links that start, and links that end at a node; none before the links are sorted.
[[nodiscard]] LinkList topology_getOutgoing(const Model& model, int32_t node);
[[nodiscard]] LinkList topology_getIncoming(const Model& model, int32_t node);
