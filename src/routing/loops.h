#pragma once
// Circles in the network.

#include <cstdint>

struct Model;

/// What a walk over all paths from the heads of the network would find.
struct LoopCheck {
    const char* loopName;  ///< the link or node that closes a path into a circle, of the first such path; null if none
    int64_t pathCount;     ///< paths from the heads, up to the number of nodes; without meaning if there is a circle
    int64_t visits;        ///< edges looked at
    int32_t reachedCount;  ///< nodes that some path leads to
};

[[nodiscard]] LoopCheck loops_check(const Model& model);
