#pragma once
// Places for the objects of a network that has no coordinates. Pure functions of the links between nodes: the same
// network gets the same drawing.

#include <cstddef>
#include <cstdint>
#include <vector>

inline constexpr size_t LAYOUT_NONE = SIZE_MAX;  ///< no node

struct LayoutPoint {
    double x, y;  ///< y upwards; of no unit
};

/// From the upstream node to the downstream one.
struct LayoutLink {
    size_t from, to;
};

/// A place for each node. Water flows from the left to the right: a node stands as many columns to the left of its
/// outfall as the longest way to an outfall has links. Each branch has rows of its own, so that branches don't cross.
/// Of a loop the link that closes it runs backwards. Pieces that aren't connected stand one below the other, nodes
/// without a link in a block at the bottom. No two nodes share a place.
[[nodiscard]] std::vector<LayoutPoint> networklayout_arrange(size_t nodeCount, const std::vector<LayoutLink>& links);

/// Links to an outfall, on the longest way; link by link as networklayout_arrange sees it.
[[nodiscard]] std::vector<size_t> networklayout_measureDepths(size_t nodeCount, const std::vector<LayoutLink>& links);

/// Gives a place to each node that has none (NaN), near its neighbours that have one; what is connected with none of
/// these stands in rows below all others.
void networklayout_fill(std::vector<LayoutPoint>& nodes, const std::vector<LayoutLink>& links);

/// Places beside nodes for what drains into them: `outlets` has the node of each, or LAYOUT_NONE, which stands in rows
/// below all others. Whoever has a place already keeps it. `spacing` is the distance of neighbours, 0 where it isn't
/// known; of a network that was arranged it is 1.
void networklayout_attach(const std::vector<LayoutPoint>& nodes, const std::vector<size_t>& outlets, double spacing,
                          std::vector<LayoutPoint>& areas);
