// What can't change isn't worked out. An object that has found out that its next step would leave it as it is - a pipe
// that lets nothing out, a tank that nothing enters or leaves - keeps the key of the step in which it did. It rests
// while the key of the model is the same and nothing comes to it. The key moves on with all else that its step depends
// on and that the object doesn't test itself: with each change from outside (Pace), and with the hour of the day if
// anything that rests decays, since the factors of decays go by the hour. The routing step calls this room.
//
// A junction at rest whose pipes rest, those that enter it and the one that leaves it, isn't even visited:
//
//     awake --(a visit found nothing, and its pipes at rest)--------> resting    rest_judgeVisit
//     resting --(runoff, a drain, a request of a host)--------------> awake      landinflows_*, rolls_rollAhead
//     resting --(something is offered to a pipe that enters)--------> awake      serving_serve
//     resting --(a setting of a pipe that enters or leaves)---------> awake      linkkinds_applyTargets
//     resting --(another key, a plain step)-------------------------> awake      rest_beginStep
//
// All numbers of the junction are +0.0 then, and what its links have laid down for it are zeros; a pipe at rest lays
// down nothing anew. So its roll and its visit would move zeros to zeros, as in the visit before, and offer the pipe
// that leaves it nothing: the clock of that pipe is all that moves, and the loop of the visits moves it. To visit a
// junction at rest is never wrong. One that may get something else ahead of its visit is never left out: it has an
// external or a dry weather inflow, or a reactor or a LID monomer discharges into it (rolls_open).

#include "routing/rest.h"

#include <algorithm>

#include "links/conduit.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/project.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"

/// Before a key comes again, all are woken that may have kept it: it has 16 bits, for which a pipe has room.
static void wakeAll(Model& model) {
    for (Link& link : model.links) {
        link.clock.restKey = 0;
    }
    for (Conduit& conduit : model.conduits) {
        conduit.restKey = 0;
    }
    for (Tank& tank : model.tanks) {
        tank.restKey = 0;
    }
    for (Reactor& reactor : model.reactors) {
        reactor.restKey = 0;
    }
}

static void wakeVisits(Model& model) {
    if (model.rest.visitCount == 0) {
        return;
    }
    for (int32_t& link : model.restingPipes.rows) {
        link = std::min<int32_t>(link, VISIT_AWAKE);
    }
    model.rest.visitCount = 0;
}

/// A key that nothing rests by.
static void moveKey(Model& model) {
    Rest& rest = model.rest;
    wakeVisits(model);
    rest.isHourly = false;
    if (++rest.key == 0) {
        rest.key = 1;
        wakeAll(model);
    }
}

void rest_beginStep(Model& model, DateTime date) {
    Rest& rest = model.rest;
    const int32_t hour = datetime_getHour(date);
    const bool isHourOver = rest.isHourly && hour != rest.hour;
    if (model.pace.networkChanges != rest.seenChanges || isHourOver || rest.key == 0) {
        moveKey(model);
    }
    rest.seenChanges = model.pace.networkChanges;
    rest.hour = hour;
    if (rest.isAllowed && model.pace.isPlain) {
        wakeVisits(model);
    }
    rest.isAllowed = !model.pace.isPlain;
}

int32_t rest_getKey(const Model& model) {
    return model.rest.isAllowed ? model.rest.key : -1;
}

// --- visits at rest ------------------------------------------------------------------------------------------------

/// A junction of which all is known by the pipes that it has.
static bool mayRest(const Model& model, const Visit& visit) {
    return visit.kind == JUNCTION && visit.isServed && visit.outgoingCount == 1 &&
           model.outgoingVisits[visit.firstOutgoing].delivery >= 0;
}

void rest_openVisits(Model& model) {
    model.rest.visitCount = 0;
    model.restingPipes.fill(model.visits.size(), VISIT_RESTLESS);
    for (int32_t k = 0; k < model.visits.size(); ++k) {
        model.restingPipes[k] = mayRest(model, model.visits[k]) ? VISIT_AWAKE : VISIT_RESTLESS;
    }
}

void rest_forbidVisit(Model& model, int32_t node) {
    const int32_t place = model.visitsByNode[node];
    if (place >= 0) {
        model.restingPipes[place] = VISIT_RESTLESS;
    }
}

static bool doPipesRest(const Model& model, VisitLinkList links, int32_t key) {
    return std::all_of(links.begin(), links.end(),
                       [&](const VisitLink& link) { return model.links[link.link].clock.restKey == key; });
}

[[gnu::noinline]] void rest_judgeVisit(Model& model, const Visit& visit, const VisitStep& step) {
    int32_t& resting = model.restingPipes[&visit - model.visits.data()];
    const VisitLinkList outgoing = visits_getOutgoing(model, visit);
    if (resting == VISIT_AWAKE && doPipesRest(model, outgoing, step.restKey) &&
        doPipesRest(model, visits_getIncoming(model, visit), step.restKey)) {
        resting = outgoing.first->link;
        ++model.rest.visitCount;
    }
}

const Visit* rest_findVisit(const Model& model, const Visit* visit) {
    const Table<int32_t>& resting = model.restingPipes;
    if (model.rest.visitCount == 0) {
        return model.visits.data() + model.visits.size();
    }
    const auto at = resting.begin() + (visit - model.visits.data());
    return visit + (std::find_if(at, resting.end(), [](int32_t link) { return link >= 0; }) - at);
}

const Visit* rest_passVisits(Model& model, const Visit* visit, const VisitStep& step) {
    const Visit* const end = model.visits.data() + model.visits.size();
    const int32_t* resting = model.restingPipes.data() + (visit - model.visits.data());
    for (; visit != end && *resting >= 0; ++visit, ++resting) {
        pipe_tick(model, model.links[*resting], step.fireTime);
    }
    return visit;
}
