// Circles in the network. Water that could come back to where it was has no place in an order of visits, so the rules
// of connection ask for a network without circles. network_checkCycles calls this room, and writes what it finds.
//
// Defined is a walk over all paths from the heads, the shorter ones first: a path that would step on one of its own
// nodes ends the walk and names the link (or the node that is stepped on without a link), and the paths are counted.
// The number of paths doubles with each splitter whose branches rejoin, so the walk itself isn't done here, only its
// outcome is worked out.
//
//  - Without a circle the paths are counted node by node, after all that flows into the node (Kahn's order). That is
//    tried first, for it is what sound networks are.
//  - With one, the walk stops at the path with the fewest nodes that closes; of several at the one that comes first by
//    its head and then by the choice made at each node, for this is how paths follow each other in the queue. A path
//    that closes is a lasso: a tail from a head to a node u, and a circle from u. In the first lasso
//     - no shorter tail leads to u and no shorter circle runs through it, so tail and circle have but u in common;
//     - u is the node of the circle that a breadth-first search from the heads discovers first. With another node of
//       the circle in its place the tail would be shorter, or as long and earlier.
//    So the nodes of the strongly connected parts (Tarjan 1972) are asked for their lassos in the order of discovery,
//    and each is taken out after its turn, until all tails are too long. When the search of a part has cost as much as
//    dividing it anew, that is done: often nothing holds together any more without the nodes taken out. The search that
//    finds a circle looks at nodes in the order of the queue as well, and the first that leads back is the right one.
//
// Edges here are the links that don't deliver a step late, in the order of the table, and after them the nodes that
// the node discharges into directly. No function calls itself: a chain of a million nodes is as deep as it is long.

#include "routing/loops.h"

#include <algorithm>
#include <utility>

#include "model/model.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "model/topology.h"
#include "routing/nodekinds.h"

constexpr int32_t NONE = -1;

/// How a node is found from the heads and from the start of a circle, and what it hangs together with.
struct Stop {
    int32_t distance = NONE;     ///< edges from the nearest head; NONE if no head leads here
    int32_t rank = NONE;         ///< place in the order of discovery
    int32_t previous = NONE;     ///< node it was discovered from; NONE for a head
    int32_t edge = NONE;         ///< position of the edge it was discovered over, among the edges of `previous`
    int32_t openInflows = 0;     ///< edges from nodes that aren't counted yet
    int32_t part = NONE;         ///< strongly connected part that it is a node of; NONE if it is on no circle
    int32_t call = NONE;         ///< number of the visit while a part is divided; NONE before it
    int32_t low = NONE;          ///< smallest number of a visit that leads here and can be got back to
    int32_t circleStart = NONE;  ///< start of the circle that was last looked for here
    int32_t circlePrevious = NONE;
    int32_t circleEdge = NONE;
    bool feedsItself = false;
};

/// A strongly connected part with at least one circle, of which nodes may have been taken out since it was made.
struct Part {
    int32_t begin;  ///< its nodes are a stretch of Search::members
    int32_t end;
    int64_t cost;   ///< edges to look at to divide it
    int64_t spent;  ///< edges looked at in search of circles since it was made
};

/// The first lasso so far, as the node `base` of its tail and the edges taken from there to its last node.
struct Lasso {
    int32_t length = INT32_MAX;  ///< nodes
    int32_t distance = NONE;     ///< edges of the tail
    int32_t base = NONE;
    Table<int32_t> edges;
};

struct Search {
    Table<Stop> stops;         ///< by node
    Table<int32_t> order;      ///< nodes as discovered from the heads
    Table<int32_t> members;    ///< nodes of the parts
    Table<int32_t> roots;      ///< nodes of the part that is being divided
    Table<int32_t> trail;      ///< nodes from the root to the one that is visited
    Table<int32_t> nextEdges;  ///< for each of them the edge to follow next
    Table<int32_t> pending;    ///< nodes visited that are in no part yet
    Table<int32_t> queue;      ///< nodes as discovered from the start of a circle
    Table<Part> parts;         ///< old ones too
    Lasso best;
    int64_t visits = 0;

    Stop& at(int32_t node) { return stops[node]; }
};

/// Target of the first edge of a node at `position` or after it, where `position` then stands; NONE if there is none.
static int32_t findEdge(const Model& model, Search& search, int32_t node, int32_t& position) {
    const LinkList outgoing = topology_getOutgoing(model, node);
    ++search.visits;
    for (; position < outgoing.count; ++position) {
        const Link& link = model.links[outgoing.first[position]];
        if (!link.isLagged) {
            return link.toNode;
        }
        ++search.visits;
    }
    int32_t targets[2] = {NONE, NONE};
    const int32_t count = nodekinds_getDirectTargets(model, node, targets);
    return position - outgoing.count < count ? targets[position - outgoing.count] : NONE;
}

// --- from the heads ------------------------------------------------------------------------------------------------

static void discover(Search& search, int32_t node, int32_t previous, int32_t edge) {
    Stop& stop = search.at(node);
    stop.rank = search.order.size();
    stop.distance = previous < 0 ? 0 : search.at(previous).distance + 1;
    stop.previous = previous;
    stop.edge = edge;
    search.order.push_back(node);
}

/// Breadth first, the heads in the order of the table: the way back over `previous` is the first of the shortest paths
/// to a node, and of two nodes at the same distance the one with the smaller rank has the earlier path.
static void discoverFromHeads(const Model& model, Search& search) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].isHead) {
            discover(search, k, NONE, NONE);
        }
    }
    for (int32_t next = 0; next < search.order.size(); ++next) {
        const int32_t node = search.order[next];
        int32_t to;
        for (int32_t edge = 0; (to = findEdge(model, search, node, edge)) >= 0; ++edge) {
            ++search.at(to).openInflows;
            search.at(node).feedsItself |= to == node;
            if (search.at(to).rank < 0) {
                discover(search, to, node, edge);
            }
        }
    }
}

/// Number of all paths from the heads, at most the number of nodes. The nodes of a circle, and all after them, keep
/// open inflows and aren't counted; `counted` is the number of those that are.
static int64_t countPaths(const Model& model, Search& search, int32_t& counted) {
    const int64_t limit = static_cast<int64_t>(model.nodes.size());
    Table<int64_t> paths = table_make(model.nodes.size(), int64_t{0});  // that end at the node
    Table<int32_t>& ready = search.queue;
    for (const int32_t node : search.order) {
        paths[node] = model.nodes[node].isHead ? 1 : 0;
        if (search.at(node).openInflows == 0) {
            ready.push_back(node);
        }
    }
    int64_t total = 0;
    for (int32_t next = 0; next < ready.size(); ++next) {
        const int32_t node = ready[next];
        const int64_t count = paths[node];
        total = std::min(limit, total + count);
        int32_t to;
        for (int32_t edge = 0; (to = findEdge(model, search, node, edge)) >= 0; ++edge) {
            int64_t& sum = paths[to];
            sum = std::min(limit, sum + count);
            if (--search.at(to).openInflows == 0) {
                ready.push_back(to);
            }
        }
    }
    counted = ready.size();
    return total;
}

// --- strongly connected parts --------------------------------------------------------------------------------------

/// Takes the nodes of a finished part off the list of pending ones, and keeps the part if it holds a circle.
static void closePart(const Model& model, Search& search, int32_t root, int32_t& place) {
    Part part = {place, place, 0, 0};
    const bool hasCircle = search.pending.back() != root || search.at(root).feedsItself;
    int32_t node;
    do {
        node = search.pending.back();
        search.pending.pop_back();
        search.at(node).part = hasCircle ? search.parts.size() : NONE;
        if (hasCircle) {
            search.members[part.end++] = node;
            part.cost += 1 + topology_getOutgoing(model, node).count;
        }
    } while (node != root);
    if (hasCircle) {
        place = part.end;
        search.parts.push_back(part);
    }
}

static void enter(Search& search, int32_t node, int32_t& calls) {
    search.at(node).call = search.at(node).low = calls++;
    search.trail.push_back(node);
    search.nextEdges.push_back(0);
    search.pending.push_back(node);
}

/// Divides what is left of a part into what hangs together (Tarjan's algorithm, with its calls on a list). The new
/// parts take the places of the old one.
static void dividePart(const Model& model, Search& search, int32_t part) {
    int32_t place = search.parts[part].begin;
    const int32_t end = search.parts[part].end;
    search.roots.clear();
    for (int32_t k = place; k < end; ++k) {
        search.at(search.members[k]).call = NONE;
        search.roots.push_back(search.members[k]);
    }
    int32_t calls = 0;
    for (const int32_t root : search.roots) {
        if (search.at(root).part == part && search.at(root).call < 0) {
            enter(search, root, calls);
        }
        while (!search.trail.empty()) {
            const int32_t node = search.trail.back();
            Stop& stop = search.at(node);
            const int32_t to = findEdge(model, search, node, search.nextEdges.back());
            ++search.nextEdges.back();
            if (to >= 0) {
                const Stop& target = search.at(to);
                if (target.part == part && target.call < 0) {
                    enter(search, to, calls);
                } else if (target.part == part) {
                    stop.low = std::min(stop.low, target.call);
                }
                continue;
            }
            search.trail.pop_back();
            search.nextEdges.pop_back();
            if (!search.trail.empty()) {
                Stop& caller = search.at(search.trail.back());
                caller.low = std::min(caller.low, stop.low);
            }
            if (stop.low == stop.call) {
                closePart(model, search, node, place);
            }
        }
    }
}

// --- the first lasso -----------------------------------------------------------------------------------------------

/// Node that a shortest circle from `start` within its part comes back from, the first in the order of the queue; NONE
/// if the circle has more than `limit` nodes. `length` gets the nodes of the circle.
static int32_t findCircle(const Model& model, Search& search, int32_t start, int32_t limit, int32_t& length) {
    const int32_t part = search.at(start).part;
    search.queue.fill(1, start);
    search.at(start).circleStart = start;
    int32_t levelEnd = 1;
    length = 1;
    for (int32_t next = 0; next < search.queue.size() && length <= limit; ++next) {
        const int32_t node = search.queue[next];
        int32_t to;
        for (int32_t edge = 0; (to = findEdge(model, search, node, edge)) >= 0; ++edge) {
            if (to == start) {
                return node;
            }
            Stop& stop = search.at(to);
            if (stop.part == part && stop.circleStart != start) {
                stop.circleStart = start;
                stop.circlePrevious = node;
                stop.circleEdge = edge;
                search.queue.push_back(to);
            }
        }
        if (next + 1 == levelEnd) {
            levelEnd = search.queue.size();
            ++length;
        }
    }
    return NONE;
}

/// Looks for the lasso whose circle starts at a node, and keeps it if it comes before the best so far. Nodes are tried
/// in the order of discovery.
static void tryLasso(const Model& model, Search& search, int32_t start) {
    Lasso& best = search.best;
    const int32_t distance = search.at(start).distance;
    // With tails of one length the node discovered earlier has the earlier tail, so only a shorter circle counts.
    const int32_t limit = best.length - distance - (distance == best.distance ? 1 : 0);
    int32_t circleLength;
    const int32_t last = findCircle(model, search, start, limit, circleLength);
    if (last < 0) {
        return;
    }
    const bool isShorter = distance + circleLength < best.length;
    Table<int32_t> edges;
    for (int32_t node = last; node != start; node = search.at(node).circlePrevious) {
        edges.push_back(search.at(node).circleEdge);
    }
    // Two lassos of one length are compared from the level of the best one's base on: by the nodes there, and if they
    // have this part of the tail in common, by the edges after it.
    int32_t base = start;
    while (!isShorter && search.at(base).distance > search.at(best.base).distance) {
        edges.push_back(search.at(base).edge);
        base = search.at(base).previous;
    }
    std::reverse(edges.begin(), edges.end());
    if (isShorter || search.at(base).rank < search.at(best.base).rank ||
        (base == best.base && edges.rows < best.edges.rows)) {
        best = {distance + circleLength, distance, base, std::move(edges)};
    }
}

/// Name of what closes the lasso: of several edges that lead from its last node back into it the first.
static const char* nameClosing(const Model& model, Search& search) {
    Table<uint8_t> isOnPath = table_make(model.nodes.size(), uint8_t{0});
    for (int32_t node = search.best.base; node >= 0; node = search.at(node).previous) {
        isOnPath[node] = 1;
    }
    int32_t last = search.best.base;
    for (int32_t edge : search.best.edges) {
        last = findEdge(model, search, last, edge);
        isOnPath[last] = 1;
    }
    int32_t position = 0;
    int32_t to;
    while ((to = findEdge(model, search, last, position)) >= 0 && !isOnPath[to]) {
        ++position;
    }
    const LinkList outgoing = topology_getOutgoing(model, last);
    return position < outgoing.count ? model.links[outgoing.first[position]].id : model.nodes[to].id;
}

static const char* findFirstLoop(const Model& model, Search& search) {
    for (const int32_t node : search.order) {
        if (search.at(node).openInflows > 0) {
            search.at(node).part = 0;
            search.members.push_back(node);
        }
    }
    search.parts.push_back({0, search.members.size(), 0, 0});
    dividePart(model, search, 0);
    for (const int32_t start : search.order) {
        if (search.at(start).distance >= search.best.length) {
            break;
        }
        const int32_t part = search.at(start).part;
        if (part < 0) {
            continue;
        }
        const int64_t visits = search.visits;
        tryLasso(model, search, start);
        search.at(start).part = NONE;
        Part& searched = search.parts[part];
        searched.spent += search.visits - visits;
        if (searched.spent >= searched.cost) {
            dividePart(model, search, part);
        }
    }
    return nameClosing(model, search);
}

// --- without a circle ------------------------------------------------------------------------------------------------

/// What the count of paths knows of a node. Paths are counted up to the number of nodes, which fits.
struct Inlet {
    int32_t openInflows = 0;  ///< edges from nodes that aren't counted yet
    int32_t paths = 0;        ///< from heads, that end here
};

static Table<Inlet> countInflows(const Model& model) {
    Table<Inlet> inlets = table_make(model.nodes.size(), Inlet{});
    for (const Link& link : model.links) {
        inlets[link.toNode].openInflows += link.isLagged ? 0 : 1;
    }
    int32_t targets[2];
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const int32_t count = nodekinds_getDirectTargets(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            ++inlets[targets[t]].openInflows;
        }
        inlets[k].paths = model.nodes[k].isHead ? 1 : 0;
    }
    return inlets;
}

/// Asks for the memory of a node that will be looked at soon, and of the link after it.
static void fetchNode(const Model& model, int32_t node) {
    if (node < model.nodes.size()) {
        prefetch_record(model.nodes[node]);
        const LinkList outgoing = topology_getOutgoing(model, node);
        if (outgoing.count > 0) {
            prefetch_record(model.links[outgoing.first[0]]);
        }
    }
}

/// Counts the paths of a network in which every node has its turn after all that flows into it, and every one without
/// an inflow is a head: then a path leads from some head to each node, and there is no circle. False, with nothing
/// counted, for any other. Sums that stop at a limit come to the same in any order, so a node is left for the next one
/// downstream as soon as that has all its inflows: neighbours in the network mostly are neighbours in memory.
static bool countWithoutCircle(const Model& model, LoopCheck& check) {
    static constexpr int32_t NODES_AHEAD = 24;
    Table<Inlet> inlets = countInflows(model);
    const int64_t limit = static_cast<int64_t>(model.nodes.size());
    const auto add = [limit](int64_t a, int64_t b) { return static_cast<int32_t>(std::min(limit, a + b)); };
    Table<int32_t> ready;
    int64_t edges = 0;
    int32_t counted = 0, total = 0;
    const auto takePaths = [&](int32_t to, int32_t paths) {
        ++edges;
        inlets[to].paths = add(inlets[to].paths, paths);
        if (--inlets[to].openInflows == 0) {
            ready.push_back(to);
        }
    };
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        fetchNode(model, k + NODES_AHEAD);
        if (inlets[k].openInflows != 0 || !model.nodes[k].isHead) {
            continue;
        }
        ready.push_back(k);
        while (!ready.empty()) {
            const int32_t node = ready.back();
            ready.pop_back();
            inlets[node].openInflows = -1;  // it has had its turn
            ++counted;
            const int32_t paths = inlets[node].paths;
            total = add(total, paths);
            for (const int32_t link : topology_getOutgoing(model, node)) {
                if (!model.links[link].isLagged) {
                    takePaths(model.links[link].toNode, paths);
                }
            }
            int32_t targets[2];
            const int32_t count = nodekinds_getDirectTargets(model, node, targets);
            for (int32_t t = 0; t < count; ++t) {
                takePaths(targets[t], paths);
            }
        }
    }
    check = {nullptr, total, edges, counted};
    return counted == model.nodes.size();
}

LoopCheck loops_check(const Model& model) {
    LoopCheck check;
    if (countWithoutCircle(model, check)) {
        return check;
    }
    Search search;
    search.visits = check.visits;
    search.stops.resize(model.nodes.size());
    discoverFromHeads(model, search);
    int32_t counted = 0;
    const int64_t pathCount = countPaths(model, search, counted);
    const char* loopName = counted < search.order.size() ? findFirstLoop(model, search) : nullptr;
    return {loopName, pathCount, search.visits, search.order.size()};
}
