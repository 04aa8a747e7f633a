// The roll of the nodes from new to old. Most nodes roll in their visit, where they are in hand anyway. But what is
// added to a node ahead of its visit is added to what the roll has emptied: so a node that gets water from the side
// rolls at the start of the step, and so does one whose kind has a state of its own, which others may look at. Who that
// is stands in the project, but for the nodes that a host has inflows for. A node to which nothing but dry-weather
// inflow comes rolls together with that (inflows_applyDryWeather), which saves a way through memory. The routing step
// calls this room.

#include "routing/rolls.h"

#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "nodes/node.h"
#include "routing/nodekinds.h"
#include "routing/rest.h"
#include "routing/visits.h"

static void listOne(Model& model, int32_t node) {
    if (node >= 0) {
        (void)visits_listAhead(model, node);
    }
}

/// What comes to such a node wakes it from no rest.
static void listRestless(Model& model, int32_t node) {
    if (node >= 0) {
        listOne(model, node);
        rest_forbidVisit(model, node);
    }
}

void rolls_open(Model& model) {
    int32_t targets[2];
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        if (visits_isRolledByKind(node.kind) || node.extInflow) {
            listRestless(model, k);
        } else if (node.dwfInflow) {
            rest_forbidVisit(model, k);
        }
        const int32_t count = nodekinds_getDirectEdges(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            listRestless(model, targets[t]);
        }
    }
    for (const Subcatch& subcatch : model.subcatches) {
        listOne(model, subcatch.outNode);
    }
    for (const LidUnit& unit : model.lidUnits) {
        listOne(model, unit.drainNode);
    }
    visits_listDryWeather(model);
}

/// Nodes that the host has something for are listed once they are met, and roll with the others from the next step on.
static void rollRequested(Model& model, const std::vector<HostInflow>& requests) {
    for (const HostInflow& request : requests) {
        rest_wakeVisit(model, request.node);
        if (visits_listAhead(model, request.node)) {
            nodekinds_shiftState(model, model.nodes[request.node]);
        }
    }
}

static void prefetchRoll(const Model& model, int32_t far, int32_t near) {
    const Node& farther = model.nodes[far < 0 ? -1 - far : far];
    prefetch_line(&farther);
    if (far < 0 || model_pollutantCount(model) > 0) {
        prefetch_line(&farther.kind);
        prefetch_arrays(model.nodes[near < 0 ? -1 - near : near]);
    }
}

template <bool SOME_REST>
static void rollListed(Model& model) {
    static constexpr int32_t AHEAD = 8;
    const bool hasPollutants = model_pollutantCount(model) > 0;
    const Table<int32_t>& entries = model.nodesRolledAhead;
    for (int32_t k = 0; k < entries.size(); ++k) {
        if (SOME_REST && entries[k] >= 0 && rest_isVisitResting(model, entries[k])) {
            continue;  // it holds zeros alone
        }
        if (!model.isOrderStraight && k + AHEAD < entries.size()) {
            prefetchRoll(model, entries[k + AHEAD], entries[k + AHEAD / 2]);
        }
        if (entries[k] < 0) {
            nodekinds_shiftState(model, model.nodes[-1 - entries[k]]);
            continue;
        }
        Node& node = model.nodes[entries[k]];
        node_shiftInflows(node);
        if (hasPollutants) {
            node_shiftQuality(model, node);
        }
    }
}

void rolls_rollAhead(Model& model) {
    if (model.rest.visitCount > 0) {
        rollListed<true>(model);
    } else {
        rollListed<false>(model);
    }
    const HostRequests& requests = model.requests;
    rollRequested(model, requests.inflows);
    rollRequested(model, requests.loads);
    rollRequested(model, requests.heldInflows);
    rollRequested(model, requests.heldLoads);
}
