// The order of the network. A step visits each node once, after all that flows into it, so the network must be free of
// circles but for links that deliver a step late. Water goes over links, and besides from a reactor to the nodes that
// take its surplus and its emptying, and from a LID monomer to the node of its drain.

#include "routing/network.h"

#include <new>
#include <optional>

#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "model/topology.h"
#include "routing/loops.h"
#include "routing/nodekinds.h"

int32_t* SortedNodes = nullptr;
int64_t NetworkVisitCount = 0;

// --- rules of connection -------------------------------------------------------------------------------------------

/// Marks the nodes that nothing flows into. Of the links that end at a node only the first in the table is looked at:
/// behind a lagged first link others don't hold the node back.
static void markHeads() {
    Table<uint8_t> hasUpstream = table_make(Nodes.size(), uint8_t{0});
    int32_t targets[2];
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        const int32_t count = nodekinds_getDirectTargets(k, targets);
        for (int32_t t = 0; t < count; ++t) {
            hasUpstream[targets[t]] = 1;
        }
    }
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        const LinkList incoming = topology_getIncoming(k);
        const bool isHeld = incoming.count > 0 && !Links[incoming.first[0]].isLagged;
        if (!hasUpstream[k] && !isHeld) {
            Nodes[k].isHead = true;
        }
    }
}

/// Row of a node by its name, as the rules below ask for it; the error if the name isn't known.
static int32_t findByName(const Node& node) {
    const int32_t index = names_find(NODE, node.id);
    if (index < 0) {
        errors_report(ERR_UNDEFINED_OBJECT, node.id);
    }
    return index;
}

static void checkMissingOutlets() {
    for (const Node& node : Nodes) {
        const OutletRule rule = nodekinds_getOutletRule(node.kind);
        if (rule == OUTLETS_ONE || rule == OUTLETS_SOME) {
            const int32_t index = findByName(node);
            if (index < 0 || topology_getOutgoing(index).count == 0) {
                errors_report(ERR_NO_OUTLET, node.id);
            }
        }
    }
}

static void checkSurplusOutlets() {
    for (const Node& node : Nodes) {
        if (nodekinds_getOutletRule(node.kind) == OUTLETS_ONE) {
            const int32_t index = findByName(node);
            for (int32_t k = 1; index >= 0 && k < topology_getOutgoing(index).count; ++k) {
                errors_report(ERR_MULTIPLE_OUTLETS, node.id);
            }
        }
    }
}

static void checkOutfallOutlets() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (nodekinds_getOutletRule(Nodes[k].kind) == OUTLETS_NONE) {
            for (int32_t count = topology_getOutgoing(k).count; count > 0; --count) {
                errors_report(ERR_OUTFALL_OUTLET, Nodes[k].id);
            }
        }
    }
}

static void checkTankOutlets() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (nodekinds_getOutletRule(Nodes[k].kind) != OUTLETS_OF_TANK) {
            continue;
        }
        for (const int32_t link : topology_getOutgoing(k)) {
            const int32_t kind = Links[link].kind;
            if (kind != PUMP && kind != WEIR && kind != ORIFICE) {
                errors_report(ERR_TANK_LINK, Nodes[k].id);
            }
        }
    }
}

void network_validate() {
    markHeads();
    checkMissingOutlets();
    checkSurplusOutlets();
    checkOutfallOutlets();
    checkTankOutlets();
    network_checkCycles();
}

/// The search, which the checks after it survive if there is no memory for it.
static std::optional<LoopCheck> checkLoops() {
    try {
        return loops_check();
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

void network_checkCycles() {
    const std::optional<LoopCheck> search = checkLoops();
    if (!search) {
        errors_report(ERR_MEMORY, "");
        return;
    }
    const LoopCheck& check = *search;
    NetworkVisitCount = check.visits;
    if (check.loopName) {
        errors_report(ERR_CYCLIC_LOOP, check.loopName);
    } else if (check.pathCount < static_cast<int64_t>(Nodes.size())) {
        errors_report(ERR_UNREACHED_NODES, "");
    }
}

// --- order ---------------------------------------------------------------------------------------------------------

/// How many upstream objects a node waits for, and how many of them the order has met.
struct ReleaseCount {
    int32_t upstream;
    int32_t visited;
};

static Table<ReleaseCount> countUpstream() {
    Table<ReleaseCount> counts = table_make(Nodes.size(), ReleaseCount{});
    int32_t targets[2];
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        const int32_t count = nodekinds_getDirectTargets(k, targets);
        for (int32_t t = 0; t < count; ++t) {
            ++counts[targets[t]].upstream;
        }
    }
    for (const Link& link : Links) {
        if (!link.isLagged) {
            ++counts[link.toNode].upstream;
        }
    }
    return counts;
}

void network_sortNodes() {
    Table<ReleaseCount> counts = countUpstream();
    Table<uint8_t> isPlaced = table_make(Nodes.size(), uint8_t{0});
    int32_t placed = 0;
    const auto place = [&](int32_t node) {
        isPlaced[node] = 1;
        SortedNodes[placed++] = node;
    };
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].isHead) {
            place(k);
        }
    }
    // The list of placed nodes is the queue as well: what stands behind `next` still waits for its turn.
    for (int32_t next = 0; next < placed; ++next) {
        const int32_t node = SortedNodes[next];
        int32_t targets[2];
        const int32_t targetCount = nodekinds_getDirectEdges(node, targets);
        for (int32_t t = 0; t < targetCount; ++t) {
            // A reactor that empties to its surpass node counts it twice here, though the node waits for it once, so it
            // may release the node too early.
            ReleaseCount& count = counts[targets[t]];
            if (!isPlaced[targets[t]] && ++count.visited == count.upstream) {
                place(targets[t]);
            }
        }
        for (const int32_t link : topology_getOutgoing(node)) {
            // A lagged link counts here, though nobody waits for it, so it may release its target too early.
            const int32_t to = Links[link].toNode;
            ReleaseCount& count = counts[to];
            if (!isPlaced[to] && ++count.visited >= count.upstream) {
                place(to);
            }
        }
    }
}
