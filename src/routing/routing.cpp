// The routing step. There is no hydraulic solution over the network as a whole: water moves strictly downstream, the
// nodes are visited once in the order of the network, each collects what its links deliver, works out its outflow and
// hands it to its outgoing links, which work out at once what they will deliver. Pollutants go along in the same pass.
// A network that keeps circles out gets by with one sweep, whose cost grows with its nodes and links alone.

#include "routing/routing.h"

#include "controls/rule.h"
#include "hydrology/subcatch.h"
#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "model/statistics.h"
#include "nodes/inflows.h"
#include "routing/landinflows.h"
#include "routing/linkkinds.h"
#include "routing/network.h"
#include "routing/nodekinds.h"
#include "routing/visits.h"
#include "text/datetime.h"
#include "text/units.h"

// --- start and end -------------------------------------------------------------------------------------------------

void routing_open() {
    if (!nodekinds_startEngines()) {
        return;
    }
    linkkinds_openRun();
    inflows_openRun();
    rule_openRun();
    SortedNodes = arena_allocateArray<int32_t>(RunArena, Nodes.size());
    if (!SortedNodes) {
        errors_report(ERR_MEMORY, "");
        return;
    }
    network_sortNodes();
    visits_open();
}

void routing_close() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        nodekinds_endState(k);
    }
    for (const Link& link : Links) {
        linkkinds_endState(link);
    }
    SortedNodes = nullptr;
    visits_close();
    arena_release(RunArena);
}

bool routing_isReady() {
    return SortedNodes != nullptr;
}

// --- clock ---------------------------------------------------------------------------------------------------------

void routing_resetClock() {
    OldRoutingTime = NewRoutingTime = 0.0;
}

void routing_cutClock(double time) {
    NewRoutingTime = time;
}

// --- the step ------------------------------------------------------------------------------------------------------

static void shiftNodes() {
    for (Node& node : Nodes) {
        nodekinds_shiftState(node);
    }
}

static void visitNodes(double fireTime) {
    for (int32_t k = 0; k < Visits.size(); ++k) {
        visits_fetchAhead(k);
        const Visit& visit = Visits[k];
        nodekinds_visit(visit.node, visits_getIncoming(visit), visits_getOutgoing(visit), fireTime);
        if (visit.isCounted) {
            statistics_countNode(Nodes[visit.node]);
        }
    }
}

void routing_step() {
    linkkinds_setTargets();
    rule_evaluate();
    link_applyTargets();

    const double oldTime = NewRoutingTime;
    const double newTime = oldTime + RoutingStep * MS_PER_SECOND;
    const double fireTime = TotalDuration < newTime ? TotalDuration : newTime;
    linkkinds_shiftAll();
    NewRoutingTime = newTime;
    OldRoutingTime = oldTime;
    shiftNodes();

    landinflows_addRunoff(oldTime);
    landinflows_addDrains();
    const DateTime date = project_getDate(newTime);
    inflows_applyExternal(date);
    inflows_applyDryWeather(date);

    visitNodes(fireTime);
}

// --- statistics ----------------------------------------------------------------------------------------------------

void routing_countStep() {
    for (Subcatch& subcatch : Subcatches) {
        subcatch_countStep(subcatch, RoutingStep);
    }
    linkkinds_countStep();
    nodekinds_countStep();
}
