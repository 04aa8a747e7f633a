// The routing step. There is no hydraulic solution over the network as a whole: water moves strictly downstream, the nodes
// are visited once in the order of the network, each collects what its links deliver, works out its outflow and hands it
// to its outgoing links, which work out at once what they will deliver. Pollutants go along in the same pass. A network
// that keeps circles out gets by with one sweep, whose cost grows with its nodes and links alone.

#include "routing/routing.h"

#include "engine/arena.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/inflows.h"
#include "input/datetime.h"
#include "routing/conduit.h"
#include "routing/connection.h"
#include "routing/link.h"
#include "routing/network.h"
#include "routing/node.h"
#include "routing/pipe.h"
#include "routing/tank.h"

int32_t routing_open() {
    pipe_openRun();
    link_openLists();
    inflows_openRun();
    SortedNodes = arena_allocateArray<int32_t>(RunArena, static_cast<int64_t>(Nodes.size()));
    if (!SortedNodes) {
        report_writeError(ERR_MEMORY, "");
        return ErrorCode;
    }
    network_sortNodes();
    return ErrorCode;
}

void routing_close() {
    for (size_t k = 0; k < Nodes.size(); ++k) {
        node_endState(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Links.size(); ++k) {
        link_endState(static_cast<int32_t>(k));
    }
    SortedNodes = nullptr;
    arena_release(RunArena);
}

bool routing_isReady() {
    return SortedNodes != nullptr;
}

/// Hands what a node offers to its outgoing links; kinds that only a tank feeds are passed over.
static void updateOutgoing(int32_t node, double fireTime) {
    for (const int32_t link : network_getOutgoing(node)) {
        switch (Links[static_cast<size_t>(link)].kind) {
            case PIPE: pipe_update(link, node, fireTime); break;
            case CONNECTION: connection_update(link, node); break;
            case CONDUIT: conduit_update(link, node); break;
            default: break;
        }
    }
}

static void visitNode(int32_t index, double fireTime) {
    Node& node = Nodes[static_cast<size_t>(index)];
    node_gatherInflows(index);
    node.newInflow = node.newLatFlow + node.newUpstreamFlow;
    switch (node.kind) {
        case JUNCTION:
            Junctions[static_cast<size_t>(node.kindIndex)].newOutflow = node.newInflow;
            node_mixInflow(index);
            updateOutgoing(index, fireTime);
            break;
        case TANK: tank_update(index); break;
        case OUTFALL: node_mixInflow(index); break;
        case SPLITTER:
            node_split(index);
            node_mixInflow(index);
            updateOutgoing(index, fireTime);
            break;
        default: break;
    }
}

void routing_step() {
    link_setTargets();
    link_applyTargets();

    const double oldTime = NewRoutingTime;
    const double newTime = oldTime + RoutingStep * 1000.0;
    const double fireTime = TotalDuration < newTime ? TotalDuration : newTime;
    link_shiftAll();
    NewRoutingTime = newTime;
    OldRoutingTime = oldTime;

    const int32_t nodeCount = static_cast<int32_t>(Nodes.size());
    for (int32_t node = 0; node < nodeCount; ++node) {
        node_shiftState(node);
    }
    const DateTime date = project_getDate(newTime);
    inflows_applyExternal(date);
    inflows_applyDryWeather(date);

    // A node that the order never reached is left out, and node 0 is visited in its place once more.
    for (int32_t k = 0; k < nodeCount; ++k) {
        visitNode(SortedNodes[k], fireTime);
    }
}
