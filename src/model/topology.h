#pragma once
// The links of each node, in the order of the link table.

#include <cstdint>

/// A run of link indices.
struct LinkList {
    const int32_t* first;
    int32_t count;

    const int32_t* begin() const { return first; }
    const int32_t* end() const { return first + count; }
};

/// Sorts the links by their nodes; called once, when all is read.
void topology_indexLinks();

/// Forgets the lists.
void topology_clear();

/// Links that start, and links that end at a node; none before the links are sorted.
[[nodiscard]] LinkList topology_getOutgoing(int32_t node);
[[nodiscard]] LinkList topology_getIncoming(int32_t node);
