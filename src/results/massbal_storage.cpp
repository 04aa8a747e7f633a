// A part of massbal: the storage at the start of a run that began with a state. Balances begin anew, so what stands in
// the system, and what is on its way through it, counts as what the run was given.

#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/pipe.h"
#include "model/model.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "results/massbal.h"
#include "text/units.h"

// --- land ----------------------------------------------------------------------------------------------------------

/// Seconds by which the land is ahead of the network. What it sheds in them is counted yet, though it has gone.
static double getLead(const Model& model) {
    return (model.clock.newRunoffTime - model.clock.newRoutingTime) / MS_PER_SECOND;
}

static void takeLandWater(Model& model) {
    for (LidUnit& unit : model.lidUnits) {
        unit.initialDepth = unit.finalDepth;
    }
    const double lead = getLead(model);
    model.totals.initSurfaceStorage = 0.0;
    for (const Subcatch& s : model.subcatches) {
        const double depth = (1.0 - s.imperviousFraction) * s.perviousDepth + s.imperviousFraction * s.imperviousDepth;
        const double gain = (s.rain - s.evapRate - s.infilRate) * s.area - s.thisRunoff;
        model.totals.initSurfaceStorage += depth * (s.area - s.lidArea) - gain * lead;
    }
}

/// What one subcatchment holds of a pollutant: on the ground, in ponded water, in its LID units.
static double getLandMass(Model& model, int32_t subcatch, int32_t p) {
    const Subcatch& s = model.subcatches[subcatch];
    double mass = s.pondedMass[p] + s.thisQuality[p] / G_PER_KG * s.thisRunoff * getLead(model);
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        mass += model.landuses[l].washoff[p].usesBuildup ? s.landShares[l].buildup[p] : 0.0;
    }
    for (const LidUnit& unit : lidgroup_getUnits(model, subcatch)) {
        mass += unit.finalLoad[p];
    }
    return mass;
}

// --- network -------------------------------------------------------------------------------------------------------

/// A delay: what leaves it within the run is its storage. What would leave later never does.
static void takeDelay(const Model& model, const DelayQueue& queue, double step, double& storage, double& delayed) {
    const DelaySum sum = delayqueue_sumUp(queue, model_getDate(model, model.clock.newRoutingTime),
                                          model_getDate(model, model.options.totalDuration));
    storage += (sum.inTime + sum.late) * step;
    delayed += sum.late * step;
}

static void takeLinkWater(Model& model, double delayStep) {
    FlowTotalsRecord& totals = model.totals.flow;
    for (const Link& link : model.links) {
        totals.initStorage += link.isLagged ? link.newFlow * model.options.routingStep : 0.0;
        if (link.kind == PIPE) {
            const Pipe& pipe = model.pipes[link.kindIndex];
            totals.initStorage +=
                pipe_getVolume(pipe) + pipe_getWaterUnderWay(model, link, pipe, model.clock.newRoutingTime);
        }
        if (link.kind == CONDUIT) {
            totals.initStorage += conduit_getVolume(model, model.conduits[link.kindIndex]);
        }
        if (link.kind == CONNECTION) {
            takeDelay(model, model.connections[link.kindIndex].flowQueue, delayStep, totals.initStorage,
                      totals.delayedVolume);
        }
    }
}

static double getPipeMass(const Model& model, const Link& link, const Pipe& pipe, int32_t p) {
    double mass = pipe_getMassUnderWay(model, link, pipe, model.clock.newRoutingTime, p);
    for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
        mass += pipe.storage[i] * pipe_newSegQual(model, pipe, i)[p] / G_PER_KG;
    }
    return mass;
}

static void takeLinkMass(Model& model, double delayStep, int32_t p) {
    QualTotalsRecord& totals = model.totals.quality[p];
    for (const Link& link : model.links) {
        const double load = link.newFlow * link.newQual[p] / G_PER_KG;
        totals.initStorage += link.isLagged ? load * model.options.routingStep : 0.0;
        if (link.kind == PIPE) {
            totals.initStorage += getPipeMass(model, link, model.pipes[link.kindIndex], p);
        }
        if (link.kind == CONDUIT) {
            totals.initStorage += conduit_getVolume(model, model.conduits[link.kindIndex]) * link.newQual[p] / G_PER_KG;
        }
        if (link.kind == CONNECTION && model.connections[link.kindIndex].loadQueue) {
            takeDelay(model, model.connections[link.kindIndex].loadQueue[p], delayStep, totals.initStorage,
                      totals.delayedMass);
        }
    }
}

/// The end of the run adds what the project says of reactors and LID monomers, so the difference to it is added here.
static void takeNodeWater(Model& model, double delayStep) {
    FlowTotalsRecord& totals = model.totals.flow;
    for (const Tank& tank : model.tanks) {
        totals.initStorage += tank_getVolume(model, tank, tank.newDepth);
    }
    for (const Reactor& reactor : model.reactors) {
        totals.initStorage += reactor.storedVolume - reactor_getInitVolume(reactor);
        takeDelay(model, reactor.flowQueue, delayStep, totals.initStorage, totals.delayedVolume);
    }
    for (LidMono& mono : model.lidMonos) {
        mono.unit.initialDepth = mono.unit.finalDepth;
    }
}

static void takeNodeMass(Model& model, double delayStep, int32_t p) {
    QualTotalsRecord& totals = model.totals.quality[p];
    for (const Tank& tank : model.tanks) {
        totals.initStorage += tank_getVolume(model, tank, tank.newDepth) * tank.qual[p] / G_PER_KG;
    }
    for (const Reactor& reactor : model.reactors) {
        totals.initStorage +=
            (reactor.storedVolume * reactor.qual[p] - reactor_getInitVolume(reactor) * reactor.initQual[p]) / G_PER_KG;
        takeDelay(model, reactor.loadQueue[p], delayStep, totals.initStorage, totals.delayedMass);
    }
    for (const LidMono& mono : model.lidMonos) {
        totals.initStorage += mono.unit.finalLoad[p];
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

void massbal_takeStorage(Model& model, double delayStep) {
    takeLandWater(model);
    model.totals.flow.initStorage = 0.0;
    takeLinkWater(model, delayStep);
    takeNodeWater(model, delayStep);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        for (int32_t k = 0; k < model.subcatches.size(); ++k) {
            model.subcatches[k].initBuildup[p] = getLandMass(model, k, p);
        }
        model.totals.quality[p].initStorage = 0.0;
        takeLinkMass(model, delayStep, p);
        takeNodeMass(model, delayStep, p);
    }
}
