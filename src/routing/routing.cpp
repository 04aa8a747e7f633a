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
#include <vector>

#include "controls/rule.h"
#include "coupling/coupled.h"
#include "engine/arena.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/inflows.h"
#include "hydrology/lidmono.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "input/datetime.h"
#include "platform/memory.h"
#include "results/massbal.h"
#include "routing/conduit.h"
#include "routing/connection.h"
#include "routing/link.h"
#include "routing/network.h"
#include "routing/node.h"
#include "routing/pipe.h"
#include "routing/reactor.h"
#include "routing/tank.h"

/// One visit of a step. The links that enter and leave the node stand in VisitLinks, one visit's behind the other's.
struct Visit {
    int32_t node;
    int32_t incoming;   ///< count
    int32_t outgoing;   ///< count
    int32_t isCounted;  ///< 1: the visit makes the statistics of the node
};

static std::vector<Visit> Visits;
static std::vector<VisitLink> VisitLinks;

// --- start and end -------------------------------------------------------------------------------------------------

static void addVisitLinks(LinkList links) {
    for (const int32_t link : links) {
        const Link& record = Links[static_cast<size_t>(link)];
        VisitLinks.push_back({link, record.kind, record.kindIndex, 0});
    }
}

/// Lists the visits in the order of the nodes. A node that the order never reached is left out, and node 0 is visited
/// in its place once more.
static void listVisits() {
    Visits.clear();
    VisitLinks.clear();
    Visits.reserve(Nodes.size());
    VisitLinks.reserve(2 * Links.size());
    for (size_t k = 0; k < Nodes.size(); ++k) {
        const int32_t node = SortedNodes[k];
        const LinkList incoming = network_getIncoming(node);
        const LinkList outgoing = network_getOutgoing(node);
        Visits.push_back({node, incoming.count, outgoing.count, 0});
        addVisitLinks(incoming);
        addVisitLinks(outgoing);
    }
}

/// Place of each node in the order of the visits; -1 for all if the order leaves one out.
static std::vector<int32_t> getPlaces() {
    std::vector<int32_t> places(Nodes.size(), -1);
    for (size_t k = 0; k < Visits.size(); ++k) {
        int32_t& place = places[static_cast<size_t>(Visits[k].node)];
        if (place >= 0) {
            places.assign(Nodes.size(), -1);
            break;
        }
        place = static_cast<int32_t>(k);
    }
    return places;
}

/// Whether the flow of a pipe stands fast by the time at which its lower node collects it.
static bool isSettledAtVisit(const Link& link, const std::vector<int32_t>& places) {
    const int32_t to = link.toNode;
    return link.kind == PIPE && !link.isLagged && !coupled_isKind(Nodes[static_cast<size_t>(to)].kind) &&
           places[static_cast<size_t>(link.fromNode)] < places[static_cast<size_t>(to)];
}

/// Junctions and their pipes are the bulk of a network. Their statistics are made where they are in hand anyway; those
/// of all others behind the step.
static void divideStatistics() {
    const std::vector<int32_t> places = getPlaces();
    std::vector<int32_t> links, nodes;
    for (size_t k = 0; k < Links.size(); ++k) {
        if (!isSettledAtVisit(Links[k], places)) {
            links.push_back(static_cast<int32_t>(k));
        }
    }
    for (size_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].kind != JUNCTION || places[k] < 0) {
            nodes.push_back(static_cast<int32_t>(k));
        }
    }
    VisitLink* link = VisitLinks.data();
    for (Visit& visit : Visits) {
        const size_t node = static_cast<size_t>(visit.node);
        visit.isCounted = Nodes[node].kind == JUNCTION && places[node] >= 0 ? 1 : 0;
        for (int32_t k = 0; k < visit.incoming; ++k) {
            link[k].isCounted = isSettledAtVisit(Links[static_cast<size_t>(link[k].link)], places) ? 1 : 0;
        }
        link += visit.incoming + visit.outgoing;
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
    for (size_t k = 0; k < Nodes.size(); ++k) {
        node_endState(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Links.size(); ++k) {
        link_endState(static_cast<int32_t>(k));
    }
    SortedNodes = nullptr;
    Visits = {};
    VisitLinks = {};
    arena_release(RunArena);
}

bool routing_isReady() {
    return SortedNodes != nullptr;
}

// --- memory ahead of the visits ------------------------------------------------------------------------------------

/// A walk some visits ahead of the step.
struct Scout {
    size_t visit;
    size_t link;  ///< place in VisitLinks
};

static constexpr size_t FAR = 12;  ///< visits ahead at which the records are asked for
static constexpr size_t NEAR = 5;  ///< visits ahead at which the arrays are, to which the records point

static void fetchRecords(Scout& scout) {
    if (scout.visit >= Visits.size()) {
        return;
    }
    const Visit& visit = Visits[scout.visit++];
    memory_fetch(&Nodes[static_cast<size_t>(visit.node)]);
    const size_t outgoing = scout.link + static_cast<size_t>(visit.incoming);
    const size_t end = outgoing + static_cast<size_t>(visit.outgoing);
    for (; scout.link < end; ++scout.link) {
        const VisitLink& link = VisitLinks[scout.link];
        if (scout.link < outgoing || link.kind != PIPE) {
            memory_fetch(&Links[static_cast<size_t>(link.link)]);
        }
        if (link.kind == PIPE) {
            memory_fetch(&Pipes[static_cast<size_t>(link.kindIndex)]);
        }
    }
}

/// What a pipe needs to fire.
static void fetchFiring(const VisitLink& link, const Pipe& pipe) {
    memory_fetch(&pipe.storage);
    memory_fetch(&pipe.maxFlow);
    memory_fetch(&Links[static_cast<size_t>(link.link)]);
    memory_fetch(&Links[static_cast<size_t>(link.link)].setting);
}

static void fetchArrays(Scout& scout, double fireTime) {
    if (scout.visit >= Visits.size()) {
        return;
    }
    const Visit& visit = Visits[scout.visit++];
    memory_fetch(Nodes[static_cast<size_t>(visit.node)].massInflow);
    const size_t outgoing = scout.link + static_cast<size_t>(visit.incoming);
    const size_t end = outgoing + static_cast<size_t>(visit.outgoing);
    for (; scout.link < outgoing; ++scout.link) {
        memory_fetch(Links[static_cast<size_t>(VisitLinks[scout.link].link)].newQual);
    }
    for (; scout.link < end; ++scout.link) {
        const VisitLink& link = VisitLinks[scout.link];
        if (link.kind == PIPE) {
            const Pipe& pipe = Pipes[static_cast<size_t>(link.kindIndex)];
            memory_fetch(pipe.sumMass);
            if (fireTime > pipe.nextFireTime) {
                fetchFiring(link, pipe);
            }
        }
    }
}

// --- the step ------------------------------------------------------------------------------------------------------

/// Hands what a node offers to its outgoing links; kinds that only a tank feeds are passed over.
static void updateOutgoing(int32_t node, VisitLinkList outgoing, double fireTime) {
    for (const VisitLink& link : outgoing) {
        switch (link.kind) {
            case PIPE: pipe_update(link.link, link.kindIndex, node, fireTime); break;
            case CONNECTION: connection_update(link.link, node); break;
            case CONDUIT: conduit_update(link.link, node); break;
            default: break;
        }
    }
}

static void visitNode(int32_t index, VisitLinkList incoming, VisitLinkList outgoing, double fireTime) {
    Node& node = Nodes[static_cast<size_t>(index)];
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

static void countVisit(const Visit& visit, VisitLinkList incoming) {
    for (const VisitLink& link : incoming) {
        if (link.isCounted) {
            massbal_countLink(Links[static_cast<size_t>(link.link)]);
        }
    }
    if (visit.isCounted) {
        massbal_countNode(Nodes[static_cast<size_t>(visit.node)]);
    }
}

static void visitNodes(double fireTime) {
    Scout records{0, 0}, arrays{0, 0};
    for (size_t k = 0; k < FAR; ++k) {
        fetchRecords(records);
    }
    for (size_t k = 0; k < NEAR; ++k) {
        fetchArrays(arrays, fireTime);
    }
    const VisitLink* links = VisitLinks.data();
    for (const Visit& visit : Visits) {
        fetchRecords(records);
        fetchArrays(arrays, fireTime);
        const VisitLinkList incoming{links, visit.incoming};
        const VisitLinkList outgoing{links + visit.incoming, visit.outgoing};
        visitNode(visit.node, incoming, outgoing, fireTime);
        countVisit(visit, incoming);
        links = outgoing.end();
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

    const int32_t nodeCount = static_cast<int32_t>(Nodes.size());
    for (int32_t node = 0; node < nodeCount; ++node) {
        node_shiftState(node);
    }
    subcatch_addRunoff(oldTime);
    lid_addDrains();
    const DateTime date = project_getDate(newTime);
    inflows_applyExternal(date);
    inflows_applyDryWeather(date);

    visitNodes(fireTime);
}
