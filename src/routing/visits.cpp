// The visits of a step, listed once for a run: by the order of the nodes, with the links of each in the order of the
// link table, and the division of the statistics between the visits and the end of the step.

#include "routing/visits.h"

#include "coupling/coupled.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "model/topology.h"
#include "routing/network.h"

// How far ahead of its visit a record is asked for, and how far what it points to: in nodes, and in links.
static constexpr ptrdiff_t NODES_FAR = 12, NODES_NEAR = 5;
static constexpr ptrdiff_t LINKS_FAR = 16, LINKS_NEAR = 7;

// --- lists ---------------------------------------------------------------------------------------------------------

static void addVisitLinks(const Model& model, Table<VisitLink>& visitLinks, LinkList links) {
    for (const int32_t link : links) {
        const Link& record = model.links[link];
        visitLinks.push_back({link, record.kind, record.kindIndex, 0});
    }
}

/// Lets those who look ahead do so at the end, too.
static void padVisitLinks(Table<VisitLink>& visitLinks) {
    visitLinks.rows.insert(visitLinks.rows.end(), LINKS_FAR, VisitLink{0, -1, -1, 0});
}

/// Lists the visits in the order of the nodes. A node that the order never reached is left out, and node 0 is visited
/// in its place once more.
static void listVisits(Model& model) {
    visits_close(model);
    model.visits.reserve(model.nodes.size());
    model.incomingVisits.reserve(model.links.size());
    model.outgoingVisits.reserve(model.links.size());
    int32_t firstOfNode0 = model.nodes.size();
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const int32_t node = model.sortedNodes[k];
        if (node == 0 && firstOfNode0 < k) {
            model.visits.push_back(model.visits[firstOfNode0]);
            continue;
        }
        firstOfNode0 = node == 0 ? k : firstOfNode0;
        const LinkList incoming = topology_getIncoming(model, node);
        const LinkList outgoing = topology_getOutgoing(model, node);
        model.visits.push_back(
            {node, 0, model.incomingVisits.size(), incoming.count, model.outgoingVisits.size(), outgoing.count});
        addVisitLinks(model, model.incomingVisits, incoming);
        addVisitLinks(model, model.outgoingVisits, outgoing);
    }
    padVisitLinks(model.incomingVisits);
    padVisitLinks(model.outgoingVisits);
}

void visits_close(Model& model) {
    model.visits = {};
    model.incomingVisits = {};
    model.outgoingVisits = {};
}

VisitLinkList visits_getIncoming(const Model& model, const Visit& visit) {
    return {model.incomingVisits.data() + visit.firstIncoming, visit.incomingCount};
}

VisitLinkList visits_getOutgoing(const Model& model, const Visit& visit) {
    return {model.outgoingVisits.data() + visit.firstOutgoing, visit.outgoingCount};
}

// --- statistics ----------------------------------------------------------------------------------------------------

/// Place of each node in the order of the visits; -1 for all if the order leaves one out.
static Table<int32_t> getPlaces(const Model& model) {
    Table<int32_t> places = table_make(model.nodes.size(), -1);
    for (int32_t k = 0; k < model.visits.size(); ++k) {
        int32_t& place = places[model.visits[k].node];
        if (place >= 0) {
            places.fill(model.nodes.size(), -1);
            break;
        }
        place = k;
    }
    return places;
}

/// Whether the flow of a pipe stands fast by the time at which its lower node collects it.
static bool isSettledAtVisit(const Model& model, const Link& link, const Table<int32_t>& places) {
    const int32_t to = link.toNode;
    return link.kind == PIPE && !link.isLagged && !coupled_isKind(model.nodes[to].kind) &&
           places[link.fromNode] < places[to];
}

/// Junctions and their pipes are the bulk of a network. Their statistics are made where they are in hand anyway; those
/// of all others after the visits.
static void divideStatistics(Model& model) {
    const Table<int32_t> places = getPlaces(model);
    model.uncountedLinks.clear();
    model.uncountedNodes.clear();
    for (int32_t k = 0; k < model.links.size(); ++k) {
        if (!isSettledAtVisit(model, model.links[k], places)) {
            model.uncountedLinks.push_back(k);
        }
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].kind != JUNCTION || places[k] < 0) {
            model.uncountedNodes.push_back(k);
        }
    }
    for (Visit& visit : model.visits) {
        visit.isCounted = model.nodes[visit.node].kind == JUNCTION && places[visit.node] >= 0;
    }
    for (VisitLink& link : model.incomingVisits) {
        link.isCounted = link.kind >= 0 && isSettledAtVisit(model, model.links[link.link], places);
    }
}

void visits_open(Model& model) {
    listVisits(model);
    divideStatistics(model);
}

// --- memory ahead --------------------------------------------------------------------------------------------------

void visits_fetchAhead(const Model& model, const Visit& visit) {
    if (&model.visits.rows.back() - &visit >= NODES_FAR) {
        prefetch_line(&model.nodes[(&visit)[NODES_FAR].node]);
        prefetch_arrays(model.nodes[(&visit)[NODES_NEAR].node]);
    }
}

void visits_fetchIncoming(const Model& model, const VisitLink& link) {
    const VisitLink& far = (&link)[LINKS_FAR];
    prefetch_line(&model.links[far.link]);
    if (far.kind == PIPE) {
        prefetch_line(&model.pipes[far.kindIndex]);
    }
    prefetch_arrays(model.links[(&link)[LINKS_NEAR].link]);
}

void visits_fetchOutgoing(const Model& model, const VisitLink& link, double fireTime) {
    const VisitLink& far = (&link)[LINKS_FAR];
    if (far.kind == PIPE) {
        prefetch_line(&model.pipes[far.kindIndex]);
    }
    const VisitLink& near = (&link)[LINKS_NEAR];
    if (near.kind == PIPE) {
        prefetch_offer(model.pipes[near.kindIndex], model.links[near.link], fireTime);
    }
}
