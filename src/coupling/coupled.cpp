// SWMM nodes and treatment-plant nodes, called by the lifecycle, the reader, the validation and the routing step. Both
// are gone through in one order, that of the nodes, except where libraries are loaded and let go of: those go kind by
// kind.

#include "coupling/coupled.h"

#include <algorithm>

#include "coupling/feed.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "links/pipe.h"
#include "nodes/node.h"

void coupled_createNodes() {
    SwmmNodes.clear();
    SwmmNodes.resize(NodeKindCount[SWMM]);
    VornNodes.clear();
    VornNodes.resize(NodeKindCount[VORN]);
    for (int32_t row = 0; row < NodeKindCount[SWMM]; ++row) {
        swmm_loadLibrary(row);
    }
    for (int32_t row = 0; row < NodeKindCount[VORN]; ++row) {
        vorn_loadLibrary(row);
    }
}

void coupled_deleteNodes() {
    for (int32_t row = 0; row < SwmmNodes.size(); ++row) {
        swmm_closeNode(row);
    }
    SwmmNodes = {};
    for (int32_t row = 0; row < VornNodes.size(); ++row) {
        vorn_closeNode(row);
    }
    VornNodes = {};
}

int32_t coupled_readParams(const Tokens& tokens, int32_t kind, int32_t node, int32_t row) {
    return kind == SWMM ? swmm_readParams(tokens, node, row)
                        : vorn_readParams(tokens, node, row);
}

void coupled_validate(int32_t node) {
    switch (Nodes[node].kind) {
        case SWMM: swmm_validate(node); break;
        case VORN: vorn_validate(node); break;
        default: break;
    }
}

void coupled_initState(int32_t node) {
    switch (Nodes[node].kind) {
        case SWMM: swmm_initState(node); break;
        case VORN: vorn_initState(node); break;
        default: break;
    }
}

static bool startNode(int32_t node) {
    switch (Nodes[node].kind) {
        case SWMM: return swmm_startNode(node);
        case VORN: return vorn_startNode(node);
        default: return true;
    }
}

bool coupled_start() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (!startNode(k)) {
            return false;
        }
    }
    return true;
}

void coupled_endState(int32_t node) {
    switch (Nodes[node].kind) {
        case SWMM: swmm_endNode(node); break;
        case VORN: vorn_endNode(node); break;
        default: break;
    }
}

// --- the routing step ----------------------------------------------------------------------------------------------

void coupled_shiftInflows(const Node& node) {
    if (node.kind == SWMM) {
        swmm_shiftInflows(node.kindIndex);
    } else {
        vorn_shiftInflows(node.kindIndex);
    }
}

/// What one link delivers in this step: its flow, m3/s, and its loads, kg/s. A pipe that hasn't fired yet delivers 0.
static double getDelivery(const Link& link, double* loads) {
    if (link.kind == PIPE) {
        const Pipe& pipe = Pipes[link.kindIndex];
        const double time = link.isLagged ? OldRoutingTime - RoutingStep * 1000.0 : OldRoutingTime;
        if (pipe.nextFireTime != pipe.lastFireTime) {
            // A load is added there, and kept as it is here: what is added to -0.0 keeps its sign.
            std::fill_n(loads, project_pollutantCount(), -0.0);
        }
        return pipe_deliver(link, pipe, time, loads);
    }
    const double flow = link.isLagged ? link.oldFlow : link.newFlow;
    const double* quality = link.isLagged ? link.oldQual : link.newQual;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        loads[p] = quality[p] * flow / 1000.0;
    }
    return flow;
}

void coupled_gatherInflows(const Node& node, VisitLinkList incoming) {
    for (const VisitLink& link : incoming) {
        double* loads = feed_getLoads();
        const double flow = getDelivery(Links[link.link], loads);
        if (node.kind == SWMM) {
            swmm_takeInflow(node.kindIndex, link.link, flow, loads);
        } else {
            vorn_takeInflow(node.kindIndex, link.link, flow, loads);
        }
    }
}

void coupled_takeRunoff(int32_t node, int32_t subcatch, double flow) {
    swmm_takeRunoff(Nodes[node].kindIndex, subcatch, flow);
}

void coupled_stepNode(int32_t node) {
    if (Nodes[node].kind == SWMM) {
        swmm_stepNode(node);
    } else {
        vorn_stepNode(node);
    }
}
