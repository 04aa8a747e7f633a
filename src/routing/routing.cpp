// The routing step. There is no hydraulic solution over the network as a whole: water moves strictly downstream, the
// nodes are visited once in the order of the network, each collects what its links deliver, works out its outflow and
// hands it to its outgoing links, which work out at once what they will deliver. Pollutants go along in the same pass.
// A network that keeps circles out gets by with one sweep, whose cost grows with its nodes and links alone.
//
// In a large network the order of the visits jumps through tables of many megabytes, and waiting for memory would be
// most of the work. The order is known for the whole run, so the lists below say ahead of time what a visit will need,
// and the step asks for it some visits before.

#include "routing/routing.h"

#include <utility>

#include "controls/rule.h"
#include "coupling/coupled.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/link.h"
#include "links/pipe.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "platform/memory.h"
#include "results/massbal.h"
#include "routing/landinflows.h"
#include "routing/network.h"
#include "text/datetime.h"

/// One visit of a step.
struct Visit {
    int32_t node;
    int32_t isCounted;  ///< 1: the visit makes the statistics of the node
    int32_t firstIncoming, incomingCount;
    int32_t firstOutgoing, outgoingCount;
};

static Table<Visit> Visits;
static Table<VisitLink> Incoming, Outgoing;  ///< links that enter and leave the nodes, in the order of the visits

// --- start and end -------------------------------------------------------------------------------------------------

static void addVisitLinks(Table<VisitLink>& visitLinks, LinkList links) {
    for (const int32_t link : links) {
        const Link& record = Links[link];
        visitLinks.push_back({link, record.kind, record.kindIndex, 0});
    }
}

/// Lets those who look ahead do so at the end, too.
static void padVisitLinks(Table<VisitLink>& visitLinks) {
    visitLinks.rows.insert(visitLinks.rows.end(), LINKS_FAR, VisitLink{0, -1, -1, 0});
}

static int32_t getCount(const Table<VisitLink>& visitLinks) {
    return static_cast<int32_t>(visitLinks.size());
}

/// Lists the visits in the order of the nodes. A node that the order never reached is left out, and node 0 is visited
/// in its place once more.
static void listVisits() {
    Visits.clear();
    Incoming.clear();
    Outgoing.clear();
    Visits.reserve(Nodes.size());
    Incoming.reserve(Links.size());
    Outgoing.reserve(Links.size());
    int32_t firstOfNode0 = Nodes.size();
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        const int32_t node = SortedNodes[k];
        if (node == 0 && firstOfNode0 < k) {
            Visits.push_back(Visits[firstOfNode0]);
            continue;
        }
        firstOfNode0 = node == 0 ? k : firstOfNode0;
        const LinkList incoming = network_getIncoming(node);
        const LinkList outgoing = network_getOutgoing(node);
        Visits.push_back({node, 0, getCount(Incoming), incoming.count, getCount(Outgoing), outgoing.count});
        addVisitLinks(Incoming, incoming);
        addVisitLinks(Outgoing, outgoing);
    }
    padVisitLinks(Incoming);
    padVisitLinks(Outgoing);
}

/// Place of each node in the order of the visits; -1 for all if the order leaves one out.
static Table<int32_t> getPlaces() {
    Table<int32_t> places = table_make(Nodes.size(), -1);
    for (int32_t k = 0; k < Visits.size(); ++k) {
        int32_t& place = places[Visits[k].node];
        if (place >= 0) {
            places.fill(Nodes.size(), -1);
            break;
        }
        place = k;
    }
    return places;
}

/// Whether the flow of a pipe stands fast by the time at which its lower node collects it.
static bool isSettledAtVisit(const Link& link, const Table<int32_t>& places) {
    const int32_t to = link.toNode;
    return link.kind == PIPE && !link.isLagged && !coupled_isKind(Nodes[to].kind) && places[link.fromNode] < places[to];
}

/// Junctions and their pipes are the bulk of a network. Their statistics are made where they are in hand anyway; those
/// of all others behind the step.
static void divideStatistics() {
    const Table<int32_t> places = getPlaces();
    Table<int32_t> links, nodes;
    for (int32_t k = 0; k < Links.size(); ++k) {
        if (!isSettledAtVisit(Links[k], places)) {
            links.push_back(k);
        }
    }
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].kind != JUNCTION || places[k] < 0) {
            nodes.push_back(k);
        }
    }
    for (Visit& visit : Visits) {
        const int32_t node = visit.node;
        visit.isCounted = Nodes[node].kind == JUNCTION && places[node] >= 0 ? 1 : 0;
    }
    for (VisitLink& link : Incoming) {
        link.isCounted = link.kind >= 0 && isSettledAtVisit(Links[link.link], places) ? 1 : 0;
    }
    massbal_setLists(std::move(links), std::move(nodes));
}

int32_t routing_open() {
    if (!coupled_start()) {
        return ErrorCode;
    }
    pipe_openRun();
    link_openLists();
    inflows_openRun();
    rule_openRun();
    SortedNodes = arena_allocateArray<int32_t>(RunArena, static_cast<int64_t>(Nodes.size()));
    if (!SortedNodes) {
        report_writeError(ERR_MEMORY, "");
        return ErrorCode;
    }
    network_sortNodes();
    listVisits();
    divideStatistics();
    return ErrorCode;
}

void routing_close() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        node_endState(k);
    }
    for (int32_t k = 0; k < Links.size(); ++k) {
        link_endState(k);
    }
    SortedNodes = nullptr;
    Visits = {};
    Incoming = {};
    Outgoing = {};
    arena_release(RunArena);
}

bool routing_isReady() {
    return SortedNodes != nullptr;
}

// --- memory ahead of the visits ------------------------------------------------------------------------------------

static constexpr int32_t FAR = 12;  ///< visits ahead at which the record of a node is asked for
static constexpr int32_t NEAR = 5;  ///< visits ahead at which its arrays are

static void fetchNodes(int32_t visit) {
    if (visit + FAR < Visits.size()) {
        memory_fetch(&Nodes[Visits[visit + FAR].node]);
        const Node& near = Nodes[Visits[visit + NEAR].node];
        memory_fetch(near.massInflow);
        memory_fetch(near.newQual);
    }
}

// --- the step ------------------------------------------------------------------------------------------------------

/// Hands what a node offers to its outgoing links; kinds that only a tank feeds are passed over.
static void updateOutgoing(int32_t node, VisitLinkList outgoing, double fireTime) {
    for (const VisitLink& link : outgoing) {
        pipe_fetchOutgoing(&link, fireTime);
        switch (link.kind) {
            case PIPE: pipe_update(link.link, link.kindIndex, node, fireTime); break;
            case CONNECTION: connection_update(link.link, node); break;
            case CONDUIT: conduit_update(link.link, node); break;
            default: break;
        }
    }
}

static void visitNode(int32_t index, VisitLinkList incoming, VisitLinkList outgoing, double fireTime) {
    Node& node = Nodes[index];
    node_gatherInflows(index, incoming);
    node.newInflow = node.newLatFlow + node.newUpstreamFlow;
    switch (node.kind) {
        case JUNCTION:
            node_mixInflow(index);
            updateOutgoing(index, outgoing, fireTime);
            break;
        case TANK: tank_update(index); break;
        case OUTFALL: node_mixInflow(index); break;
        case SPLITTER:
            node_split(index);
            node_mixInflow(index);
            updateOutgoing(index, outgoing, fireTime);
            break;
        case REACTOR:
            reactor_update(index);
            updateOutgoing(index, outgoing, fireTime);
            break;
        case LID_MONO:
            lidmono_step(index);
            updateOutgoing(index, outgoing, fireTime);
            break;
        case SWMM:
        case VORN: coupled_stepNode(index); break;
        default: break;
    }
}

static void visitNodes(double fireTime) {
    for (int32_t k = 0; k < Visits.size(); ++k) {
        fetchNodes(k);
        const Visit& visit = Visits[k];
        const VisitLinkList incoming{&Incoming[visit.firstIncoming], visit.incomingCount};
        const VisitLinkList outgoing{&Outgoing[visit.firstOutgoing], visit.outgoingCount};
        visitNode(visit.node, incoming, outgoing, fireTime);
        if (visit.isCounted) {
            massbal_countNode(Nodes[visit.node]);
        }
    }
}

void routing_step() {
    link_setTargets();
    rule_evaluate();
    link_applyTargets();

    const double oldTime = NewRoutingTime;
    const double newTime = oldTime + RoutingStep * 1000.0;
    const double fireTime = TotalDuration < newTime ? TotalDuration : newTime;
    link_shiftAll();
    NewRoutingTime = newTime;
    OldRoutingTime = oldTime;

    const int32_t nodeCount = Nodes.size();
    for (int32_t node = 0; node < nodeCount; ++node) {
        node_shiftState(node);
    }
    landinflows_addRunoff(oldTime);
    landinflows_addDrains();
    const DateTime date = project_getDate(newTime);
    inflows_applyExternal(date);
    inflows_applyDryWeather(date);

    visitNodes(fireTime);
}
