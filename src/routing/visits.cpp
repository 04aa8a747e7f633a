// The visits of a step, listed once for a run: by the order of the nodes, with the links of each in the order of the
// link table, and the division of the statistics between the visits and the end of the step.

#include "routing/visits.h"

#include <algorithm>
#include <utility>

#include "coupling/coupled.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/project.h"
#include "model/topology.h"
#include "nodes/inflows.h"
#include "routing/network.h"
#include "routing/visitorder.h"

// --- lists ---------------------------------------------------------------------------------------------------------

static void addVisitLinks(const Model& model, Table<VisitLink>& visitLinks, LinkList links) {
    for (const int32_t link : links) {
        const Link& record = model.links[link];
        visitLinks.push_back({link, record.kindIndex, -1, static_cast<int8_t>(record.kind)});
    }
}

/// Lets those who look ahead do so at the end, too.
static void padVisitLinks(Table<VisitLink>& visitLinks) {
    visitLinks.rows.insert(visitLinks.rows.end(), VISIT_LINKS_FAR, VisitLink{0, 0, -1, -1});
}

/// Lists the visits in the order of the nodes. A node that the order never reached is left out, and node 0 is visited
/// in its place once more.
static void listInOrder(Model& model) {
    visits_close(model);
    model.visits.reserve(model.nodes.size());
    model.incomingVisits.reserve(model.links.size());
    model.outgoingVisits.reserve(model.links.size());
    const Table<int32_t> order = visitorder_make(model);
    int32_t firstOfNode0 = model.nodes.size();
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const int32_t node = order[k];
        if (node == 0 && firstOfNode0 < k) {
            model.visits.push_back(model.visits[firstOfNode0]);
            continue;
        }
        firstOfNode0 = node == 0 ? k : firstOfNode0;
        const LinkList incoming = topology_getIncoming(model, node);
        const LinkList outgoing = topology_getOutgoing(model, node);
        model.visits.push_back({node, static_cast<int8_t>(model.nodes[node].kind), false, ROLL_IN_VISIT, false,
                                model.incomingVisits.size(), incoming.count, model.outgoingVisits.size(),
                                outgoing.count});
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
    model.visitsByNode = {};
    model.nodesRolledAhead = {};
    model.deliveries = {};
    model.restingPipes = {};
}

static int64_t getDeliveryPlace(const Model& model, int64_t delivery) {
    return delivery * (1 + model_pollutantCount(model));
}

double* visits_getDelivery(Model& model, const VisitLink& link) {
    return model.deliveries.data() + getDeliveryPlace(model, link.delivery);
}

// --- what a visit does for others ----------------------------------------------------------------------------------

/// Notes the place of each node in the order of the visits; -1 for all if the order leaves one out.
static void notePlaces(Model& model) {
    model.visitsByNode.fill(model.nodes.size(), -1);
    for (int32_t k = 0; k < model.visits.size(); ++k) {
        int32_t& place = model.visitsByNode[model.visits[k].node];
        if (place >= 0) {
            model.visitsByNode.fill(model.nodes.size(), -1);
            return;
        }
        place = k;
    }
}

/// Whether a node works out its outgoing links in its visit by what it offers, and no engine inside it does.
static bool offersInVisit(int32_t kind) {
    return !coupled_isKind(kind) && kind != TANK && kind != OUTFALL;
}

/// Whether what a link brings is known at the visit of its upper node, for good: a pipe that comes to its upper node
/// first and delivers what it then has.
static bool isServed(const Model& model, const Link& link) {
    const Table<int32_t>& places = model.visitsByNode;
    return link.kind == PIPE && !link.isLagged && offersInVisit(model.nodes[link.fromNode].kind) &&
           !coupled_isKind(model.nodes[link.toNode].kind) && places[link.fromNode] < places[link.toNode];
}

/// Gives each link that is served the place of its delivery, which stand in the order of the visits that take them.
static void placeDeliveries(Model& model) {
    Table<int32_t> deliveries = table_make(model.links.size(), -1);
    for (Visit& visit : model.visits) {
        visit.isServed = model.visitsByNode[visit.node] >= 0 && !coupled_isKind(visit.kind);
        for (int32_t k = visit.firstIncoming; k < visit.firstIncoming + visit.incomingCount; ++k) {
            VisitLink& link = model.incomingVisits[k];
            link.delivery = isServed(model, model.links[link.link]) ? k : -1;
            visit.isServed = visit.isServed && link.delivery >= 0;
            deliveries[link.link] = link.delivery;
        }
    }
    for (VisitLink& link : model.outgoingVisits) {
        link.delivery = link.kind >= 0 ? deliveries[link.link] : -1;
    }
    const int64_t count = getDeliveryPlace(model, model.incomingVisits.size());  // with those that only fill up
    model.deliveries.rows.assign(static_cast<size_t>(count), 0.0);
}

/// Junctions and their pipes are the bulk of a network. Their statistics are made where they are in hand anyway; those
/// of all others after the visits.
static void divideStatistics(Model& model) {
    model.uncountedLinks.clear();
    model.uncountedNodes.clear();
    for (int32_t k = 0; k < model.links.size(); ++k) {
        if (!isServed(model, model.links[k])) {
            model.uncountedLinks.push_back(k);
        }
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].kind != JUNCTION || model.visitsByNode[k] < 0) {
            model.uncountedNodes.push_back(k);
        }
    }
    for (Visit& visit : model.visits) {
        visit.isCounted = visit.kind == JUNCTION && model.visitsByNode[visit.node] >= 0;
    }
}

// --- who rolls ahead -----------------------------------------------------------------------------------------------

/// In an order that leaves a node out all roll ahead: a visit may be the second one of its node.
static void listAllAhead(Model& model) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        model.nodesRolledAhead.push_back(visits_getRolled(k, model.nodes[k].kind));
    }
    for (Visit& visit : model.visits) {
        visit.roll = ROLL_AHEAD;
    }
}

/// A node that rolls ahead does so no more with its dry-weather inflow, which would take away what has come by then.
static void forgetDryWeather(Model& model, int32_t node) {
    const auto entry = std::lower_bound(model.nodesWithDryWeather.begin(), model.nodesWithDryWeather.end(), node,
                                        [](const DryWeatherNode& row, int32_t wanted) { return row.node < wanted; });
    entry->isRolledHere = false;
}

bool visits_listAhead(Model& model, int32_t node) {
    const int32_t place = model.visitsByNode[node];
    if (place < 0 || model.visits[place].roll == ROLL_AHEAD) {
        return false;
    }
    Visit& visit = model.visits[place];
    if (visit.roll == ROLL_WITH_DRY_WEATHER) {
        forgetDryWeather(model, node);
    }
    visit.roll = ROLL_AHEAD;
    model.nodesRolledAhead.push_back(visits_getRolled(node, visit.kind));
    return true;
}

void visits_listDryWeather(Model& model) {
    for (DryWeatherNode& entry : model.nodesWithDryWeather) {
        const int32_t place = model.visitsByNode[entry.node];
        entry.isRolledHere = place >= 0 && model.visits[place].roll == ROLL_IN_VISIT;
        if (entry.isRolledHere) {
            model.visits[place].roll = ROLL_WITH_DRY_WEATHER;
        }
    }
}

/// Whether nearly all visits go on in the tables of nodes and pipes not far after the one before. Memory is asked for
/// without a look at the visits ahead then, or not at all.
static bool isStraight(const Model& model) {
    static constexpr int32_t NEAR = 8, SHARE = 16;
    const auto isJump = [](int32_t from, int32_t to) { return to < from || to - from > NEAR; };
    int32_t jumps = 0, lastNode = 0, lastPipe = 0;
    for (const Visit& visit : model.visits) {
        jumps += isJump(std::exchange(lastNode, visit.node), visit.node) ? 1 : 0;
    }
    for (const VisitLink& link : model.outgoingVisits) {
        jumps += link.kind == PIPE && isJump(std::exchange(lastPipe, link.kindIndex), link.kindIndex) ? 1 : 0;
    }
    return jumps <= model.visits.size() / SHARE;
}

void visits_open(Model& model) {
    listInOrder(model);
    model.isOrderStraight = isStraight(model);
    notePlaces(model);
    placeDeliveries(model);
    divideStatistics(model);
    model.nodesRolledAhead.clear();
    model.nodesRolledAhead.reserve(model.nodes.size());  // hosts add to it between steps, where nothing may fail
    if (!model.nodes.empty() && model.visitsByNode[0] < 0) {
        listAllAhead(model);
    }
}

// --- memory ahead --------------------------------------------------------------------------------------------------

void visits_fetchIncoming(const Model& model, const VisitLink& link) {
    const VisitLink& far = (&link)[VISIT_LINKS_FAR];
    if (far.kind < 0 || far.delivery >= 0) {
        return;  // none, or at hand
    }
    prefetch_record(model.links[far.link]);
    prefetch_arrays(model.links[(&link)[VISIT_LINKS_NEAR].link]);
}
