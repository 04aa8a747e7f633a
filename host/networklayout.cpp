// Columns by depth, rows by leaves. Depths are the longest ways to an outfall, found in topological order after the
// links that close a loop have been set apart; each node then hangs from one of those that it drains to, and the forest
// that this makes is drawn as trees are: leaves get rows of their own, and a node with branches stands between the
// first and the last of them (Reingold and Tilford 1981, without their saving of width). A branch's rows are its own
// and each link of the forest spans one column, so no two of its links cross. Everything is done with lists in place of
// recursion: a sewer may be a hundred thousand links long.

#include "networklayout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

constexpr double LEAST_STRETCH = 0.5, MOST_STRETCH = 8.0;  ///< width of a column by the height of a row
constexpr double ASPECT = 1.5;                             ///< width of a drawing by its height, where that can be had

/// Lists of numbers by node, all in one array.
struct Lists {
    std::vector<size_t> begin;
    std::vector<size_t> items;
};

/// Items 0 ... count - 1 by the node that each belongs to, in their order.
template <class GetNode>
Lists gather(size_t nodeCount, size_t count, GetNode getNode) {
    Lists lists{std::vector<size_t>(nodeCount + 1, 0), {}};
    for (size_t k = 0; k < count; ++k) {
        if (const size_t node = getNode(k); node != LAYOUT_NONE) {
            ++lists.begin[node + 1];
        }
    }
    std::partial_sum(lists.begin.begin(), lists.begin.end(), lists.begin.begin());
    lists.items.resize(lists.begin.back());
    std::vector<size_t> next(lists.begin.begin(), lists.begin.end() - 1);
    for (size_t k = 0; k < count; ++k) {
        if (const size_t node = getNode(k); node != LAYOUT_NONE) {
            lists.items[next[node]++] = k;
        }
    }
    return lists;
}

/// A network whose links have two different nodes each, with those that close loops told apart.
struct Graph {
    size_t nodeCount;
    std::vector<LayoutLink> links;
    std::vector<char> isClosing;  ///< per link: runs against the order of depths
    Lists incoming, outgoing;     ///< links by node
};

/// Goes up from a node to all that drain into it and weren't seen before. A link from a node that the way up has come
/// by closes a loop.
void climb(Graph& graph, size_t first, std::vector<char>& states) {
    enum : char { NEW, ON_WAY, DONE };
    std::vector<std::pair<size_t, size_t>> way{{first, graph.incoming.begin[first]}};
    states[first] = ON_WAY;
    while (!way.empty()) {
        auto& [node, next] = way.back();
        if (next == graph.incoming.begin[node + 1]) {
            states[node] = DONE;
            way.pop_back();
            continue;
        }
        const size_t link = graph.incoming.items[next++];
        const size_t from = graph.links[link].from;
        if (states[from] == ON_WAY) {
            graph.isClosing[link] = 1;
        } else if (states[from] == NEW) {
            states[from] = ON_WAY;
            way.emplace_back(from, graph.incoming.begin[from]);
        }
    }
}

Graph makeGraph(size_t nodeCount, const std::vector<LayoutLink>& links) {
    Graph graph{nodeCount, {}, {}, {}, {}};
    for (const LayoutLink& link : links) {
        if (link.from < nodeCount && link.to < nodeCount && link.from != link.to) {
            graph.links.push_back(link);
        }
    }
    graph.isClosing.resize(graph.links.size());
    graph.incoming = gather(nodeCount, graph.links.size(), [&](size_t k) { return graph.links[k].to; });
    graph.outgoing = gather(nodeCount, graph.links.size(), [&](size_t k) { return graph.links[k].from; });
    std::vector<char> states(nodeCount, 0);
    for (size_t node = 0; node < nodeCount; ++node) {  // outfalls first, so that loops open towards them
        if (graph.outgoing.begin[node] == graph.outgoing.begin[node + 1]) {
            climb(graph, node, states);
        }
    }
    for (size_t node = 0; node < nodeCount; ++node) {
        if (states[node] == 0) {
            climb(graph, node, states);
        }
    }
    return graph;
}

std::vector<size_t> measureDepths(const Graph& graph) {
    std::vector<size_t> depths(graph.nodeCount, 0), left(graph.nodeCount, 0), queue;
    for (size_t k = 0; k < graph.links.size(); ++k) {
        left[graph.links[k].from] += graph.isClosing[k] ? 0 : 1;
    }
    queue.reserve(graph.nodeCount);
    for (size_t node = 0; node < graph.nodeCount; ++node) {
        if (left[node] == 0) {
            queue.push_back(node);
        }
    }
    for (size_t at = 0; at < queue.size(); ++at) {
        const size_t node = queue[at];
        for (size_t k = graph.incoming.begin[node]; k < graph.incoming.begin[node + 1]; ++k) {
            const size_t link = graph.incoming.items[k], from = graph.links[link].from;
            if (graph.isClosing[link]) {
                continue;
            }
            depths[from] = std::max(depths[from], depths[node] + 1);
            if (--left[from] == 0) {
                queue.push_back(from);
            }
        }
    }
    return depths;
}

/// The node that each hangs from: the first of those below it that stand in the next column. LAYOUT_NONE for roots.
std::vector<size_t> findParents(const Graph& graph, const std::vector<size_t>& depths) {
    std::vector<size_t> parents(graph.nodeCount, LAYOUT_NONE);
    for (size_t k = 0; k < graph.links.size(); ++k) {
        const LayoutLink& link = graph.links[k];
        const bool isNext = !graph.isClosing[k] && depths[link.from] == depths[link.to] + 1;
        if (isNext && parents[link.from] == LAYOUT_NONE) {
            parents[link.from] = link.to;
        }
    }
    return parents;
}

/// The first node of the piece that each node belongs to.
std::vector<size_t> findPieces(const Graph& graph) {
    std::vector<size_t> pieces(graph.nodeCount);
    std::iota(pieces.begin(), pieces.end(), size_t{0});
    const auto find = [&](size_t node) {
        while (pieces[node] != node) {
            pieces[node] = pieces[pieces[node]];
            node = pieces[node];
        }
        return node;
    };
    for (const LayoutLink& link : graph.links) {
        const size_t a = find(link.from), b = find(link.to);
        pieces[std::max(a, b)] = std::min(a, b);
    }
    for (size_t node = 0; node < graph.nodeCount; ++node) {
        pieces[node] = find(node);
    }
    return pieces;
}

/// Roots of trees, those of a piece one after the other and the largest piece first; none of nodes that are alone.
std::vector<size_t> sortRoots(const std::vector<size_t>& parents, const std::vector<size_t>& pieces) {
    std::vector<size_t> sizes(parents.size(), 0), roots;
    for (const size_t piece : pieces) {
        ++sizes[piece];
    }
    for (size_t node = 0; node < parents.size(); ++node) {
        if (parents[node] == LAYOUT_NONE && sizes[pieces[node]] > 1) {
            roots.push_back(node);
        }
    }
    std::stable_sort(roots.begin(), roots.end(), [&](size_t a, size_t b) {
        const size_t one = pieces[a], other = pieces[b];
        return sizes[one] != sizes[other] ? sizes[one] > sizes[other] : one < other;
    });
    return roots;
}

/// Rows of all trees, from the first row on. Gives the rows that they take.
double setRows(const std::vector<size_t>& parents, const std::vector<size_t>& pieces, std::vector<double>& rows) {
    const size_t count = parents.size();
    const Lists branches = gather(count, count, [&](size_t node) { return parents[node]; });
    std::vector<size_t> order, stack;
    double next = 0.0;
    size_t lastPiece = LAYOUT_NONE;
    for (const size_t root : sortRoots(parents, pieces)) {
        next += lastPiece != LAYOUT_NONE && lastPiece != pieces[root] ? 1.0 : 0.0;
        lastPiece = pieces[root];
        stack.push_back(root);
        while (!stack.empty()) {
            const size_t node = stack.back();
            stack.pop_back();
            order.push_back(node);
            if (branches.begin[node] == branches.begin[node + 1]) {
                rows[node] = next;
                next += 1.0;
            }
            for (size_t k = branches.begin[node + 1]; k-- > branches.begin[node];) {
                stack.push_back(branches.items[k]);
            }
        }
    }
    for (size_t k = order.size(); k-- > 0;) {  // branches ahead of what they hang from
        const size_t node = order[k], begin = branches.begin[node], end = branches.begin[node + 1];
        if (begin < end) {
            rows[node] = (rows[branches.items[begin]] + rows[branches.items[end - 1]]) / 2.0;
        }
    }
    return next;
}

/// Rows of a block of things that belong nowhere, from the row `top` downwards.
struct Block {
    double left, top, columnWidth, rowHeight;
    size_t columns;
    size_t count = 0;

    LayoutPoint take() {
        const size_t column = count % columns, row = count / columns;
        ++count;
        return {left + static_cast<double>(column) * columnWidth, top - static_cast<double>(row) * rowHeight};
    }
};

bool isPlaced(const LayoutPoint& point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

struct Bounds {
    double left = HUGE_VAL, bottom = HUGE_VAL, right = -HUGE_VAL, top = -HUGE_VAL;

    void add(const LayoutPoint& point) {
        left = std::min(left, point.x);
        right = std::max(right, point.x);
        bottom = std::min(bottom, point.y);
        top = std::max(top, point.y);
    }
    [[nodiscard]] bool isEmpty() const { return !(left <= right); }
};

Bounds measureBounds(const std::vector<LayoutPoint>& points) {
    Bounds bounds;
    for (const LayoutPoint& point : points) {
        if (isPlaced(point)) {
            bounds.add(point);
        }
    }
    return bounds;
}

/// What distance is small in a drawing of so many things.
double measureSpacing(const Bounds& bounds, size_t count) {
    const double width = bounds.right - bounds.left, height = bounds.top - bounds.bottom;
    const double size = bounds.isEmpty() ? 0.0 : std::max(width, height);
    return size > 0.0 ? size / std::sqrt(static_cast<double>(std::max<size_t>(count, 4))) : 1.0;
}

size_t countBlockColumns(size_t count, size_t least) {
    return std::max({least, static_cast<size_t>(std::ceil(std::sqrt(static_cast<double>(count)))), size_t{1}});
}

/// A block below all of a drawing.
Block makeBlock(const Bounds& bounds, double spacing, size_t count) {
    if (bounds.isEmpty()) {
        return {0.0, 0.0, spacing, spacing, countBlockColumns(count, 1)};
    }
    const auto fitting = static_cast<size_t>((bounds.right - bounds.left) / spacing) + 1;
    return {bounds.left, bounds.bottom - 2.0 * spacing, spacing, spacing, countBlockColumns(count, fitting)};
}

}  // namespace

std::vector<size_t> networklayout_measureDepths(size_t nodeCount, const std::vector<LayoutLink>& links) {
    return measureDepths(makeGraph(nodeCount, links));
}

std::vector<LayoutPoint> networklayout_arrange(size_t nodeCount, const std::vector<LayoutLink>& links) {
    const Graph graph = makeGraph(nodeCount, links);
    const std::vector<size_t> depths = measureDepths(graph);
    const std::vector<size_t> parents = findParents(graph, depths);
    std::vector<double> rows(nodeCount, std::nan(""));
    const double used = setRows(parents, findPieces(graph), rows);
    const size_t deepest = nodeCount == 0 ? 0 : *std::max_element(depths.begin(), depths.end());
    const double columns = static_cast<double>(deepest) + 1.0;
    const double stretch = std::clamp(ASPECT * std::max(used, 1.0) / columns, LEAST_STRETCH, MOST_STRETCH);
    const auto alone =
        static_cast<size_t>(std::count_if(rows.begin(), rows.end(), [](double row) { return std::isnan(row); }));
    Block block{0.0, used > 0.0 ? -used - 1.0 : 0.0, stretch, 1.0,
                countBlockColumns(alone, used > 0.0 ? deepest + 1 : 1)};
    std::vector<LayoutPoint> points(nodeCount);
    for (size_t node = 0; node < nodeCount; ++node) {
        points[node] = std::isnan(rows[node])
                           ? block.take()
                           : LayoutPoint{static_cast<double>(deepest - depths[node]) * stretch, -rows[node]};
    }
    return points;
}

void networklayout_fill(std::vector<LayoutPoint>& nodes, const std::vector<LayoutLink>& links) {
    const Graph graph = makeGraph(nodes.size(), links);
    const Bounds bounds = measureBounds(nodes);
    const double spacing = measureSpacing(bounds, nodes.size());
    constexpr double GOLDEN_ANGLE = 2.399963229728653;
    std::vector<size_t> queue;
    std::vector<size_t> branches(nodes.size(), 0);  ///< that have been put beside each node
    for (size_t node = 0; node < nodes.size(); ++node) {
        if (isPlaced(nodes[node])) {
            queue.push_back(node);
        }
    }
    const auto reach = [&](size_t node, size_t other) {
        if (!isPlaced(nodes[other])) {
            const auto number = static_cast<double>(branches[node]++);
            const double angle = GOLDEN_ANGLE * (number + static_cast<double>(node % 7)), size = spacing / 2.0;
            const double reachOut = size * std::sqrt(1.0 + number / 8.0);
            nodes[other] = {nodes[node].x + reachOut * std::cos(angle), nodes[node].y + reachOut * std::sin(angle)};
            queue.push_back(other);
        }
    };
    for (size_t at = 0; at < queue.size(); ++at) {
        const size_t node = queue[at];
        for (size_t k = graph.incoming.begin[node]; k < graph.incoming.begin[node + 1]; ++k) {
            reach(node, graph.links[graph.incoming.items[k]].from);
        }
        for (size_t k = graph.outgoing.begin[node]; k < graph.outgoing.begin[node + 1]; ++k) {
            reach(node, graph.links[graph.outgoing.items[k]].to);
        }
    }
    Block block = makeBlock(measureBounds(nodes), spacing, nodes.size() - queue.size());
    for (LayoutPoint& node : nodes) {
        node = isPlaced(node) ? node : block.take();
    }
}

void networklayout_attach(const std::vector<LayoutPoint>& nodes, const std::vector<size_t>& outlets, double spacing,
                          std::vector<LayoutPoint>& areas) {
    const Lists byNode =
        gather(nodes.size(), outlets.size(), [&](size_t k) { return isPlaced(areas[k]) ? LAYOUT_NONE : outlets[k]; });
    Bounds bounds = measureBounds(nodes);
    spacing = spacing > 0.0 ? spacing : measureSpacing(bounds, nodes.size());
    for (size_t node = 0; node < nodes.size(); ++node) {
        const size_t begin = byNode.begin[node], count = byNode.begin[node + 1] - begin;
        for (size_t k = 0; k < count; ++k) {
            // Below the node, to its left: up the flow. Of several each stands a little lower.
            const double part = static_cast<double>(k + 1) / static_cast<double>(count + 1);
            areas[byNode.items[begin + k]] = {nodes[node].x - spacing / 4.0,
                                              nodes[node].y - spacing * (0.15 + 0.6 * part)};
        }
    }
    for (const LayoutPoint& area : areas) {
        if (isPlaced(area)) {
            bounds.add(area);
        }
    }
    const auto alone = static_cast<size_t>(
        std::count_if(areas.begin(), areas.end(), [](const LayoutPoint& area) { return !isPlaced(area); }));
    Block block = makeBlock(bounds, spacing, alone);
    for (LayoutPoint& area : areas) {
        area = isPlaced(area) ? area : block.take();
    }
}
