// The visits of a step, listed once for a run: by the order of the nodes, with the links of each in the order of the
// link table, and the division of the statistics between the visits and the end of the step.

#include "routing/visits.h"

#include "coupling/coupled.h"
#include "links/pipe.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "model/topology.h"
#include "routing/network.h"

Table<Visit> Visits;
Table<int32_t> UncountedLinks, UncountedNodes;

static Table<VisitLink> Incoming, Outgoing;  ///< links that enter and leave the nodes, in the order of the visits

// How far ahead of its visit a record is asked for, and how far what it points to: in nodes, and in links.
static constexpr int32_t NODES_FAR = 12, NODES_NEAR = 5;
static constexpr ptrdiff_t LINKS_FAR = 16, LINKS_NEAR = 7;

// --- lists ---------------------------------------------------------------------------------------------------------

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

/// Lists the visits in the order of the nodes. A node that the order never reached is left out, and node 0 is visited
/// in its place once more.
static void listVisits() {
    visits_close();
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
        const LinkList incoming = topology_getIncoming(node);
        const LinkList outgoing = topology_getOutgoing(node);
        Visits.push_back({node, 0, Incoming.size(), incoming.count, Outgoing.size(), outgoing.count});
        addVisitLinks(Incoming, incoming);
        addVisitLinks(Outgoing, outgoing);
    }
    padVisitLinks(Incoming);
    padVisitLinks(Outgoing);
}

void visits_close() {
    Visits = {};
    Incoming = {};
    Outgoing = {};
}

VisitLinkList visits_getIncoming(const Visit& visit) {
    return {Incoming.data() + visit.firstIncoming, visit.incomingCount};
}

VisitLinkList visits_getOutgoing(const Visit& visit) {
    return {Outgoing.data() + visit.firstOutgoing, visit.outgoingCount};
}

// --- statistics ----------------------------------------------------------------------------------------------------

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
/// of all others after the visits.
static void divideStatistics() {
    const Table<int32_t> places = getPlaces();
    UncountedLinks.clear();
    UncountedNodes.clear();
    for (int32_t k = 0; k < Links.size(); ++k) {
        if (!isSettledAtVisit(Links[k], places)) {
            UncountedLinks.push_back(k);
        }
    }
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].kind != JUNCTION || places[k] < 0) {
            UncountedNodes.push_back(k);
        }
    }
    for (Visit& visit : Visits) {
        visit.isCounted = Nodes[visit.node].kind == JUNCTION && places[visit.node] >= 0;
    }
    for (VisitLink& link : Incoming) {
        link.isCounted = link.kind >= 0 && isSettledAtVisit(Links[link.link], places);
    }
}

void visits_open() {
    listVisits();
    divideStatistics();
}

// --- memory ahead --------------------------------------------------------------------------------------------------

void visits_fetchAhead(int32_t place) {
    if (place + NODES_FAR < Visits.size()) {
        prefetch_line(&Nodes[Visits[place + NODES_FAR].node]);
        prefetch_arrays(Nodes[Visits[place + NODES_NEAR].node]);
    }
}

void visits_fetchIncoming(const VisitLink& link) {
    const VisitLink& far = (&link)[LINKS_FAR];
    prefetch_line(&Links[far.link]);
    if (far.kind == PIPE) {
        prefetch_line(&Pipes[far.kindIndex]);
    }
    prefetch_arrays(Links[(&link)[LINKS_NEAR].link]);
}

void visits_fetchOutgoing(const VisitLink& link, double fireTime) {
    const VisitLink& far = (&link)[LINKS_FAR];
    if (far.kind == PIPE) {
        prefetch_line(&Pipes[far.kindIndex]);
    }
    const VisitLink& near = (&link)[LINKS_NEAR];
    if (near.kind == PIPE) {
        prefetch_offer(Pipes[near.kindIndex], Links[near.link], fireTime);
    }
}
