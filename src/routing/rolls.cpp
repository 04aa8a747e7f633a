// The roll of the nodes from new to old. Most nodes roll in their visit, where they are in hand anyway. But what is
// added to a node ahead of its visit is added to what the roll has emptied: so a node that gets water from the side
// rolls at the start of the step, and so does one whose kind has a state of its own, which others may look at. Who that
// is stands in the project, but for the nodes that a host has inflows for. The routing step calls this room.

#include "routing/rolls.h"

#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "routing/nodekinds.h"
#include "routing/visits.h"

static bool isRolledByKind(int32_t kind) {
    return kind != JUNCTION && kind != OUTFALL;
}

static void listOne(Model& model, int32_t node) {
    if (node >= 0) {
        (void)visits_listAhead(model, node);
    }
}

void rolls_open(Model& model) {
    int32_t targets[2];
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        if (isRolledByKind(node.kind) || node.extInflow || node.dwfInflow) {
            listOne(model, k);
        }
        const int32_t count = nodekinds_getDirectEdges(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            listOne(model, targets[t]);
        }
    }
    for (const Subcatch& subcatch : model.subcatches) {
        listOne(model, subcatch.outNode);
    }
    for (const LidUnit& unit : model.lidUnits) {
        listOne(model, unit.drainNode);
    }
}

/// Nodes that the host has something for are listed once they are met, and roll with the others from the next step on.
static void rollRequested(Model& model, const std::vector<HostInflow>& requests) {
    for (const HostInflow& request : requests) {
        if (visits_listAhead(model, request.node)) {
            nodekinds_shiftState(model, model.nodes[request.node]);
        }
    }
}

void rolls_rollAhead(Model& model) {
    static constexpr int32_t AHEAD = 8;
    const bool hasPollutants = model_pollutantCount(model) > 0;
    const Table<int32_t>& nodes = model.nodesRolledAhead;
    for (int32_t k = 0; k < nodes.size(); ++k) {
        if (k + AHEAD < nodes.size()) {
            prefetch_record(model.nodes[nodes[k + AHEAD]]);
            if (hasPollutants) {
                prefetch_arrays(model.nodes[nodes[k + AHEAD / 2]]);
            }
        }
        nodekinds_shiftState(model, model.nodes[nodes[k]]);
    }
    const HostRequests& requests = model.requests;
    rollRequested(model, requests.inflows);
    rollRequested(model, requests.loads);
    rollRequested(model, requests.heldInflows);
    rollRequested(model, requests.heldLoads);
}
