// The routing step. There is no hydraulic solution over the network as a whole: water moves strictly downstream, the
// nodes are visited once in the order of the network, each collects what its links deliver, works out its outflow and
// hands it to its outgoing links, which work out at once what they will deliver. Pollutants go along in the same pass.
// A network that keeps circles out gets by with one sweep, whose cost grows with its nodes and links alone.

#include "routing/routing.h"

#include <utility>

#include "controls/rule.h"
#include "hydrology/landrest.h"
#include "hydrology/subcatch.h"
#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/project.h"
#include "nodes/inflows.h"
#include "routing/landinflows.h"
#include "routing/linkkinds.h"
#include "routing/loadbook.h"
#include "routing/network.h"
#include "routing/nodekinds.h"
#include "routing/rest.h"
#include "routing/rolls.h"
#include "routing/visits.h"
#include "text/datetime.h"
#include "text/units.h"

// --- start and end -------------------------------------------------------------------------------------------------

/// Lists the visits of the steps to come. Whoever lists them anew between two steps finds nothing on its way from one
/// to the next, and takes back no rest that a visit wouldn't find again.
static void listVisits(Model& model) {
    visits_open(model);
    rest_openVisits(model);
    rolls_open(model);
    model.areVisitsDue = false;
}

void routing_open(Model& model) {
    if (!nodekinds_startEngines(model)) {
        return;
    }
    linkkinds_openRun(model);
    inflows_openRun(model);
    rule_openRun(model);
    model.sortedNodes = arena_allocateArray<int32_t>(model.memory.run, model.nodes.size());
    if (!model.sortedNodes) {
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    network_sortNodes(model);
    listVisits(model);
}

void routing_close(Model& model) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        nodekinds_endState(model, k);
    }
    for (Link& link : model.links) {
        linkkinds_endState(model, link);
    }
    model.sortedNodes = nullptr;
    visits_close(model);
    arena_release(model.memory.run);
}

bool routing_isReady(const Model& model) {
    return model.sortedNodes != nullptr;
}

// --- clock ---------------------------------------------------------------------------------------------------------

void routing_resetClock(Model& model) {
    model.clock.oldRoutingTime = model.clock.newRoutingTime = 0.0;
}

void routing_cutClock(Model& model, double time) {
    model.clock.newRoutingTime = time;
}

// --- the step ------------------------------------------------------------------------------------------------------

/// The book of loads looks on between two visits, of which either may be missing.
static void bookVisits(Model& model, const Visit* done, const Visit* next) {
    if (done) {
        loadbook_endVisit(model, done->node, visits_getOutgoing(model, *done));
    }
    if (next) {
        loadbook_beginVisit(model, next->node, visits_getIncoming(model, *next));
    }
}

/// The visit is called at one place alone, so that it is a part of the loop. Runs of visits at rest are left out
/// between those that aren't; the book of loads wants to see each.
static void visitNodes(Model& model, const VisitStep& step) {
    const bool isBooked = model.loadBook->isKept;
    const Visit* last = nullptr;
    const Visit* lastAhead = model.visits.size() > VISIT_NODES_FAR ? &model.visits.back() - VISIT_NODES_FAR : nullptr;
    const Visit* visit = model.visits.data();
    const Visit* const end = visit + model.visits.size();
    while (visit != end) {
        const Visit* const awakeEnd = isBooked ? end : rest_findVisit(model, visit);
        for (; visit != awakeEnd; ++visit) {
            if (isBooked) {
                bookVisits(model, std::exchange(last, visit), visit);
            }
            visits_fetchAhead(model, *visit, lastAhead, step);
            nodekinds_visit(model, *visit, step);
        }
        visit = rest_passVisits(model, visit, step);
    }
    if (isBooked) {
        bookVisits(model, last, nullptr);
        loadbook_endStep(model);
    }
}

void routing_step(Model& model) {
    if (model.areVisitsDue) {
        listVisits(model);
    }
    linkkinds_setTargets(model);
    rule_evaluate(model);
    linkkinds_applyTargets(model);

    const double oldTime = model.clock.newRoutingTime;
    const double newTime = oldTime + model.options.routingStep * MS_PER_SECOND;
    const double fireTime = model.options.totalDuration < newTime ? model.options.totalDuration : newTime;
    linkkinds_shiftAll(model);
    model.clock.newRoutingTime = newTime;
    model.clock.oldRoutingTime = oldTime;
    const DateTime date = model_getDate(model, newTime);
    rest_beginStep(model, date);
    rolls_rollAhead(model);

    landinflows_addRunoff(model, oldTime);
    landinflows_addDrains(model);
    inflows_applyExternal(model, date);
    inflows_applyDryWeather(model, date);

    visitNodes(model, {fireTime, oldTime, static_cast<double>(model.options.routingStep), model_pollutantCount(model),
                       rest_getKey(model), model.isOrderStraight});
}

// --- statistics ----------------------------------------------------------------------------------------------------

/// Land at rest adds 0 to every sum, which changes none, and drying land its losses alone.
static void countLand(Model& model) {
    if (landrest_isKnown(model)) {
        for (const int32_t k : model.landRest->awake) {
            subcatch_countStep(model, model.subcatches[k], model.options.routingStep);
        }
        for (const int32_t k : model.landRest->drying) {
            subcatch_countLosses(model.subcatches[k], model.options.routingStep);
        }
        return;
    }
    for (Subcatch& subcatch : model.subcatches) {
        subcatch_countStep(model, subcatch, model.options.routingStep);
    }
}

void routing_countStep(Model& model) {
    countLand(model);
    linkkinds_countStep(model);
    nodekinds_countStep(model);
}
