// The order of the visits. What a network does is told by the order of its sorted nodes (network_sortNodes), but a
// junction doesn't care when its turn comes: it takes what its links have for it, hands on the sum, and nobody looks on
// but those at the other ends of its links. It is enough that these have had their turn, where theirs comes first in
// the sorted order, and haven't, where it comes later. A large network is bound by memory, and the fastest way through
// tables is from front to back: so the nodes have their turn as they stand in the file, and those that have to wait for
// one after them as soon as it has had its own.
//
// Visits that others can tell apart keep their order among each other. They add to a total of the network, as all do in
// which something decays, ask an engine, raise a warning, or fill a node without a link. The book of loads looks at the
// totals between all visits.
//
// A pipe without decay adds to what has reacted as well, once a concentration is no number: 0 times that. The total is
// no number then, whichever comes first.

#include "routing/visitorder.h"

#include <utility>

#include "links/pipe.h"
#include "model/model.h"
#include "model/project.h"
#include "model/topology.h"
#include "routing/loadbook.h"
#include "routing/nodekinds.h"

namespace {

struct Ordering {
    const Model& model;
    Table<int32_t> places;    ///< by node: place in the sorted order
    Table<int32_t> waits;     ///< by node: how many have to have their turn first
    Table<int32_t> nextSeen;  ///< by node whose visit can be told apart: the next such one; -1 for all others
    Table<int32_t> ready;     ///< nodes that wait no more, and that the way through the file has passed
    Table<int32_t> order;     ///< of those that have had their turn
};

}  // namespace

/// The place of each node in the sorted order; none if that order names one twice and leaves another out.
static Table<int32_t> findPlaces(const Model& model) {
    Table<int32_t> places = table_make(model.nodes.size(), -1);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (places[model.sortedNodes[k]] >= 0) {
            return {};
        }
        places[model.sortedNodes[k]] = k;
    }
    return places;
}

/// Whether nobody but its neighbours can tell when a node is visited.
static bool isUnseen(const Model& model, int32_t node) {
    if (model.nodes[node].kind != JUNCTION) {
        return false;
    }
    for (const int32_t index : topology_getOutgoing(model, node)) {
        const Link& link = model.links[index];
        if (link.kind != PIPE || model.pipes[link.kindIndex].hasDecay) {
            return false;
        }
    }
    return true;
}

/// By node: whether its visit can be told apart, or that of a node that discharges into it without a link.
static Table<uint8_t> findSeen(const Model& model) {
    Table<uint8_t> isSeen = table_make(model.nodes.size(), uint8_t{0});
    int32_t targets[2];
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (!isUnseen(model, k)) {
            isSeen[k] = 1;
        }
        const int32_t count = nodekinds_getDirectEdges(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            isSeen[targets[t]] = 1;
        }
    }
    return isSeen;
}

/// Calls the function with the other end of each link of a node, if its turn is later.
template <class Function>
static void forEachLater(const Ordering& ordering, int32_t node, Function function) {
    const Model& model = ordering.model;
    const auto tell = [&](int32_t other) {
        if (ordering.places[other] > ordering.places[node]) {
            function(other);
        }
    };
    for (const int32_t link : topology_getOutgoing(model, node)) {
        tell(model.links[link].toNode);
    }
    for (const int32_t link : topology_getIncoming(model, node)) {
        tell(model.links[link].fromNode);
    }
}

static void countWaits(Ordering& ordering) {
    const Table<uint8_t> isSeen = findSeen(ordering.model);
    int32_t lastSeen = -1;
    for (int32_t k = 0; k < ordering.places.size(); ++k) {
        forEachLater(ordering, k, [&](int32_t later) { ++ordering.waits[later]; });
        const int32_t node = ordering.model.sortedNodes[k];
        if (isSeen[node] == 0) {
            continue;
        }
        if (lastSeen >= 0) {
            ordering.nextSeen[lastSeen] = node;
            ++ordering.waits[node];
        }
        lastSeen = node;
    }
}

/// Gives all nodes their turn that are ready, and those that get ready by that, up to the node `passed`.
static void placeReady(Ordering& ordering, int32_t passed) {
    const auto release = [&](int32_t node) {
        if (--ordering.waits[node] == 0 && node <= passed) {
            ordering.ready.push_back(node);
        }
    };
    while (!ordering.ready.empty()) {
        const int32_t node = ordering.ready.back();
        ordering.ready.pop_back();
        ordering.order.push_back(node);
        forEachLater(ordering, node, release);
        if (ordering.nextSeen[node] >= 0) {
            release(ordering.nextSeen[node]);
        }
    }
}

static Table<int32_t> getSorted(const Model& model) {
    Table<int32_t> order;
    order.rows.assign(model.sortedNodes, model.sortedNodes + model.nodes.size());
    return order;
}

Table<int32_t> visitorder_make(const Model& model) {
    const int32_t count = model.nodes.size();
    Table<int32_t> places = findPlaces(model);
    if (places.empty() || model.loadBook->isWanted || model.loadBook->isKept) {
        return getSorted(model);
    }
    Ordering ordering{model, std::move(places), table_make(count, 0), table_make(count, -1), {}, {}};
    ordering.order.reserve(count);
    countWaits(ordering);
    for (int32_t k = 0; k < count; ++k) {
        if (ordering.waits[k] == 0) {
            ordering.ready.push_back(k);
            placeReady(ordering, k);
        }
    }
    return ordering.order;
}
