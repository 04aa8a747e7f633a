// The order of the network. A step visits each node once, after all that flows into it, so the network must be free of
// circles but for links that deliver a step late. Water goes over links, and besides from a reactor to the nodes that
// take its surplus and its emptying, and from a LID monomer to the node of its drain.

#include "routing/network.h"

#include <new>
#include <optional>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/project.h"
#include "model/topology.h"
#include "platform/memory.h"
#include "routing/loops.h"
#include "routing/nodekinds.h"

// --- rules of connection -------------------------------------------------------------------------------------------

/// Marks the nodes that nothing flows into. Of the links that end at a node only the first in the table is looked at:
/// after a lagged first link others don't hold the node back.
static void markHeads(Model& model) {
    Table<uint8_t> hasUpstream = table_make(model.nodes.size(), uint8_t{0});
    int32_t targets[2];
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const int32_t count = nodekinds_getDirectTargets(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            hasUpstream[targets[t]] = 1;
        }
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const LinkList incoming = topology_getIncoming(model, k);
        const bool isHeld = incoming.count > 0 && !model.links[incoming.first[0]].isLagged;
        if (!hasUpstream[k] && !isHeld) {
            model.nodes[k].isHead = true;
        }
    }
}

/// Row of a node by its name, as the rules below ask for it; the error if the name isn't known.
static int32_t findByName(Model& model, const Node& node) {
    const int32_t index = names_findNear(model, NODE, node.id, static_cast<int32_t>(&node - model.nodes.data()));
    if (index < 0) {
        errors_report(model, ERR_UNDEFINED_OBJECT, node.id);
    }
    return index;
}

static void checkMissingOutlets(Model& model) {
    for (const Node& node : model.nodes) {
        const OutletRule rule = nodekinds_getOutletRule(node.kind);
        if (rule == OUTLETS_ONE || rule == OUTLETS_SOME) {
            const int32_t index = findByName(model, node);
            if (index < 0 || topology_getOutgoing(model, index).count == 0) {
                errors_report(model, ERR_NO_OUTLET, node.id);
            }
        }
    }
}

static void checkSurplusOutlets(Model& model) {
    for (const Node& node : model.nodes) {
        if (nodekinds_getOutletRule(node.kind) == OUTLETS_ONE) {
            const int32_t index = findByName(model, node);
            for (int32_t k = 1; index >= 0 && k < topology_getOutgoing(model, index).count; ++k) {
                errors_report(model, ERR_MULTIPLE_OUTLETS, node.id);
            }
        }
    }
}

static void checkOutfallOutlets(Model& model) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (nodekinds_getOutletRule(model.nodes[k].kind) == OUTLETS_NONE) {
            for (int32_t count = topology_getOutgoing(model, k).count; count > 0; --count) {
                errors_report(model, ERR_OUTFALL_OUTLET, model.nodes[k].id);
            }
        }
    }
}

static void checkTankOutlets(Model& model) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (nodekinds_getOutletRule(model.nodes[k].kind) != OUTLETS_OF_TANK) {
            continue;
        }
        for (const int32_t link : topology_getOutgoing(model, k)) {
            const int32_t kind = model.links[link].kind;
            if (kind != PUMP && kind != WEIR && kind != ORIFICE) {
                errors_report(model, ERR_TANK_LINK, model.nodes[k].id);
            }
        }
    }
}

void network_validate(Model& model) {
    markHeads(model);
    checkMissingOutlets(model);
    checkSurplusOutlets(model);
    checkOutfallOutlets(model);
    checkTankOutlets(model);
    network_checkCycles(model);
}

/// The search, which the checks after it survive if there is no memory for it.
static std::optional<LoopCheck> checkLoops(Model& model) {
    try {
        return loops_check(model);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

void network_checkCycles(Model& model) {
    const std::optional<LoopCheck> search = checkLoops(model);
    if (!search) {
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    const LoopCheck& check = *search;
    model.visitCount = check.visits;
    model.reachedCount = check.reachedCount;
    if (check.loopName) {
        errors_report(model, ERR_CYCLIC_LOOP, check.loopName);
    } else if (check.pathCount < static_cast<int64_t>(model.nodes.size())) {
        errors_report(model, ERR_UNREACHED_NODES, "");
    }
}

// --- order ---------------------------------------------------------------------------------------------------------

/// How many upstream objects a node waits for, and how many of them the order has met.
struct ReleaseCount {
    int32_t upstream;
    int32_t visited;
};

static Table<ReleaseCount> countUpstream(const Model& model) {
    Table<ReleaseCount> counts = table_make(model.nodes.size(), ReleaseCount{});
    int32_t targets[2];
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const int32_t count = nodekinds_getDirectTargets(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            ++counts[targets[t]].upstream;
        }
    }
    for (const Link& link : model.links) {
        if (!link.isLagged) {
            ++counts[link.toNode].upstream;
        }
    }
    return counts;
}

/// Asks for the memory of nodes that will have their turn soon: the list is known some places ahead, and jumps about in
/// the network.
static void fetchAhead(const Model& model, const Table<ReleaseCount>& counts, const int32_t* order, int32_t left) {
    static constexpr int32_t FAR = 16, NEAR = 8, NEXT = 4;
    if (left > FAR && !model.outgoingLinks.start.empty()) {
        memory_fetch(&model.outgoingLinks.start[order[FAR]]);
        const LinkList links = topology_getOutgoing(model, order[NEAR]);
        memory_fetch(links.count > 0 ? &model.links[links.first[0]].toNode : nullptr);
        for (const int32_t link : topology_getOutgoing(model, order[NEXT])) {
            memory_fetch(&counts[model.links[link].toNode]);
        }
    }
}

int32_t network_orderNodes(const Model& model, int32_t* order) {
    Table<ReleaseCount> counts = countUpstream(model);
    Table<uint8_t> isPlaced = table_make(model.nodes.size(), uint8_t{0});
    int32_t placed = 0;
    const auto place = [&](int32_t node) {
        isPlaced[node] = 1;
        order[placed++] = node;
    };
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].isHead) {
            place(k);
        }
    }
    // The list of placed nodes is the queue as well: what stands after `next` still waits for its turn.
    for (int32_t next = 0; next < placed; ++next) {
        const int32_t node = order[next];
        fetchAhead(model, counts, order + next, placed - next);
        int32_t targets[2];
        const int32_t targetCount = nodekinds_getDirectEdges(model, node, targets);
        for (int32_t t = 0; t < targetCount; ++t) {
            // A reactor that empties to its surpass node counts it twice here, though the node waits for it once, so it
            // may release the node too early.
            ReleaseCount& count = counts[targets[t]];
            if (!isPlaced[targets[t]] && ++count.visited == count.upstream) {
                place(targets[t]);
            }
        }
        for (const int32_t link : topology_getOutgoing(model, node)) {
            // A lagged link counts here, though nobody waits for it, so it may release its target too early.
            const int32_t to = model.links[link].toNode;
            ReleaseCount& count = counts[to];
            if (!isPlaced[to] && ++count.visited >= count.upstream) {
                place(to);
            }
        }
    }
    return placed;
}

void network_sortNodes(Model& model) {
    network_orderNodes(model, model.sortedNodes);
}
