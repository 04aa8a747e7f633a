// Mass balance of a run: water and pollutants on the land, water in the network, pollutants in the network. Totals are
// added up as the run goes, in m3 and kg, and closed at the report with what stands stored; the continuity error says
// how much was lost on the way.

#include "results/massbal.h"

#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/pipe.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/project.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "text/units.h"

// --- start ---------------------------------------------------------------------------------------------------------

static void openSubcatchStatistics(Model& model) {
    for (Subcatch& s : model.subcatches) {
        subcatch_openStatistics(model, s);
    }
}

static void openNodeStatistics(Model& model) {
    for (Node& node : model.nodes) {
        node.statInflowVolume = node.statMaxInflow = 0.0;
    }
    for (Tank& tank : model.tanks) {
        tank.statMaxDepth = tank.statFloodVolume = 0.0;
    }
    outfall_openStatistics(model);
    reactor_openStatistics(model);
}

/// What the tanks hold at time zero.
static void takeInitialStorage(Model& model) {
    for (const Node& node : model.nodes) {
        if (node.kind != TANK) {
            continue;
        }
        const Tank& tank = model.tanks[node.kindIndex];
        const double volume = tank_getVolume(model, tank, tank.initDepth);
        model.totals.flow.initStorage += volume;
        for (int32_t p = 0; model.totals.quality && p < model_pollutantCount(model); ++p) {
            model.totals.quality[p].initStorage += volume * tank.initQual[p] / G_PER_KG;
        }
    }
}

static void openLinkStatistics(Model& model) {
    for (Link& link : model.links) {
        link.statFlowVolume = link.statMaxFlow = 0.0;
    }
    for (LinkFlood& flood : model.linkFloods) {
        flood.volume = flood.maximum = 0.0;
    }
    for (Conduit& conduit : model.conduits) {
        conduit.statMaxDepth = conduit.statMaxVelocity = 0.0;
    }
}

void massbal_open(Model& model) {
    arena_release(model.memory.results);
    lidmono_forgetArrays(model);  // made anew only after much else that may run out of memory
    model.totals.flow = FlowTotalsRecord{};
    model.totals.initSurfaceStorage = 0.0;
    model.totals.startVolumes = nullptr;  // went with the memory of the last run
    model.totals.runoffError = model.totals.flowError = model.totals.qualityError = 0.0;
    model.totals.quality = arena_allocateArray<QualTotalsRecord>(model.memory.results, model_pollutantCount(model));
    if (!model.totals.quality) {
        errors_report(model, ERR_MEMORY, "");
    }
    openSubcatchStatistics(model);
    openNodeStatistics(model);
    openLinkStatistics(model);
    takeInitialStorage(model);
}

// --- close ---------------------------------------------------------------------------------------------------------

void massbal_close(Model& model) {
    for (Subcatch& s : model.subcatches) {
        subcatch_clearLoads(model, s);
    }
    outfall_clearStatistics(model);
    reactor_clearStatistics(model);
}

/// Water of the LID units of a subcatchment; `storage` adds up what they hold at the end, m3.
static void addUnits(const Model& model, RunoffBalance& balance, double& storage, int32_t subcatch) {
    for (int32_t k = model.lidGroups[subcatch].firstUnit; k >= 0; k = model.lidUnits[k].next) {
        const LidUnit& unit = model.lidUnits[k];
        balance.initLidStorage += unit.area * unit.initialDepth;
        balance.lidDrainage += unit.area * unit.drainDepth;
        storage += unit.area * unit.finalDepth;
    }
}

RunoffBalance massbal_getRunoff(const Model& model) {
    RunoffBalance balance{};
    double surfaceStorage = 0.0, lidStorage = 0.0;
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        const Subcatch& s = model.subcatches[k];
        balance.totalArea += s.area;
        balance.rainfall += s.area * s.rainfall / MM_PER_M;
        balance.evap += s.area * s.evap / MM_PER_M;
        balance.infil += s.area * s.infil / MM_PER_M;
        balance.runoff += s.area * s.runoff / MM_PER_M;
        surfaceStorage += ((1.0 - s.imperviousFraction) * s.perviousDepth + s.imperviousFraction * s.imperviousDepth) *
                          (s.area - s.lidArea);
        addUnits(model, balance, lidStorage, k);
    }
    balance.finalStorage = surfaceStorage + lidStorage;
    balance.initSurfaceStorage = model.totals.initSurfaceStorage;
    const double in = balance.rainfall + balance.initLidStorage + balance.initSurfaceStorage;
    balance.error =
        in == 0.0
            ? 0.0
            : (in - balance.evap - balance.infil - balance.runoff - balance.lidDrainage - surfaceStorage - lidStorage) /
                  in * PERCENT;
    return balance;
}

RunoffBalance massbal_closeRunoff(Model& model) {
    const RunoffBalance balance = massbal_getRunoff(model);
    model.totals.runoffError = balance.error;
    return balance;
}

/// Adds one pollutant of a subcatchment.
static void addWashoff(const Model& model, WashoffBalance& balance, const Subcatch& s, int32_t p) {
    balance.remainingBuildup += s.pondedMass[p];
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        if (model.landuses[l].washoff[p].usesBuildup) {
            balance.remainingBuildup += s.landShares[l].buildup[p];
        }
    }
    if (!s.initBuildup) {
        return;  // never started
    }
    balance.initBuildup += s.initBuildup[p];
    balance.surfaceBuildup += s.surfaceBuildup[p];
    balance.wetDeposition += s.wetDeposition[p];
    balance.infilLoss += s.infilLoss[p];
    balance.bmpRemoval += s.bmpRemoval[p];
    balance.surfaceWashoff += s.surfaceWashoff[p];
}

/// Adds one pollutant of the LID units of a subcatchment.
static void addUnitLoads(const Model& model, WashoffBalance& balance, int32_t subcatch, int32_t p) {
    for (int32_t k = model.lidGroups[subcatch].firstUnit; k >= 0; k = model.lidUnits[k].next) {
        const LidUnit& unit = model.lidUnits[k];
        if (!unit.rainLoad) {
            continue;  // never started
        }
        balance.wetDeposition += unit.rainLoad[p];
        balance.infilLoss += unit.exfilLoad[p];
        balance.lidRemoval += unit.reactedLoad[p];
        balance.lidDrainage += unit.drainOutLoad[p];
        balance.lidFinalStorage += unit.finalLoad[p];
    }
}

WashoffBalance massbal_getWashoff(const Model& model, int32_t pollutant) {
    WashoffBalance balance{};
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        addWashoff(model, balance, model.subcatches[k], pollutant);
        addUnitLoads(model, balance, k, pollutant);
    }
    const double in = balance.initBuildup + balance.surfaceBuildup + balance.wetDeposition;
    const double out = balance.infilLoss + balance.bmpRemoval + balance.lidDrainage + balance.lidFinalStorage +
                       balance.lidRemoval + balance.surfaceWashoff + balance.remainingBuildup;
    balance.error = (in - out) / in * PERCENT;
    return balance;
}

/// Water that stands in a conduit, m3; 0 for a link of another kind.
static double getConduitVolume(const Model& model, const Link& link) {
    return link.kind == CONDUIT ? conduit_getVolume(model, model.conduits[link.kindIndex]) : 0.0;
}

/// Water that stands in a tank, m3; 0 for a node of another kind.
static double getTankVolume(const Model& model, const Node& node) {
    if (node.kind != TANK) {
        return 0.0;
    }
    const Tank& tank = model.tanks[node.kindIndex];
    return tank_getVolume(model, tank, tank.newDepth);
}

/// Water of the LID monomer nodes: rain, losses and storage are in no running total.
static void addMonos(const Model& model, FlowTotalsRecord& totals) {
    for (const LidMono& mono : model.lidMonos) {
        const LidUnit& unit = mono.unit;
        totals.initStorage += unit.area * unit.initialDepth;
        totals.wetWeatherInflow += unit.area * mono.rainDepth;
        totals.evapLoss += unit.area * unit.evapDepth;
        totals.seepageLoss += unit.area * unit.infilDepth;
        totals.finalStorage += unit.area * unit.finalDepth;
    }
}

/// Water of the reactors: storage and losses are in no running total.
static void addReactors(const Model& model, FlowTotalsRecord& totals) {
    for (const Reactor& reactor : model.reactors) {
        totals.initStorage += reactor_getInitVolume(reactor);
        totals.finalStorage += reactor.storedVolume;
        totals.evapLoss += reactor.statEvap;
        totals.seepageLoss += reactor.statInfil;
    }
}

/// The same of one pollutant. What is missing before a start or after a report counts as 0.
static void addReactorLoads(const Model& model, QualTotalsRecord& totals, int32_t p) {
    for (const Reactor& reactor : model.reactors) {
        totals.seepageLoss += reactor.statInfilLoad ? reactor.statInfilLoad[p] : 0.0;
        totals.reactedLoss += reactor.statReactedLoad ? reactor.statReactedLoad[p] : 0.0;
        totals.initStorage += reactor_getInitVolume(reactor) * reactor.initQual[p] / G_PER_KG;
        totals.finalStorage += reactor.qual ? reactor.storedVolume * reactor.qual[p] / G_PER_KG : 0.0;
    }
}

FlowTotalsRecord massbal_getFlow(const Model& model, double* error) {
    FlowTotalsRecord totals = model.totals.flow;
    for (const Link& link : model.links) {
        if (link.kind == PIPE) {
            const Pipe& pipe = model.pipes[link.kindIndex];
            for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
                totals.finalStorage += pipe.storage[i];
            }
        }
    }
    for (const Link& link : model.links) {
        totals.finalStorage += getConduitVolume(model, link);
    }
    for (const Node& node : model.nodes) {
        totals.finalStorage += getTankVolume(model, node);
    }
    addReactors(model, totals);
    addMonos(model, totals);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow - totals.vornOutflow -
                          totals.evapLoss - totals.seepageLoss - totals.delayedVolume - totals.finalStorage) /
                             in * PERCENT;
    return totals;
}

FlowTotalsRecord massbal_closeFlow(Model& model, double* error) {
    const FlowTotalsRecord totals = massbal_getFlow(model, error);
    model.totals.flowError = *error;
    return totals;
}

static void addMonoLoads(const Model& model, QualTotalsRecord& totals, int32_t p) {
    for (const LidMono& mono : model.lidMonos) {
        const LidUnit& unit = mono.unit;
        if (!unit.rainLoad) {
            continue;  // never started
        }
        totals.wetWeatherInflow += unit.rainLoad[p];
        totals.seepageLoss += unit.exfilLoad[p];
        totals.reactedLoss += unit.reactedLoad[p];
        totals.finalStorage += unit.finalLoad[p];
    }
}

QualTotalsRecord massbal_getQuality(const Model& model, int32_t p, double* error) {
    QualTotalsRecord totals = model.totals.quality ? model.totals.quality[p] : QualTotalsRecord{};
    for (const Link& link : model.links) {
        if (link.kind == PIPE) {
            const Pipe& pipe = model.pipes[link.kindIndex];
            for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
                totals.finalStorage += pipe.storage[i] * pipe_newSegQual(model, pipe, i)[p] / G_PER_KG;
            }
        }
    }
    for (const Link& link : model.links) {
        if (link.kind == CONDUIT) {
            totals.finalStorage += getConduitVolume(model, link) * link.newQual[p] / G_PER_KG;
        }
    }
    for (const Node& node : model.nodes) {
        const double* quality = node.kind == TANK ? model.tanks[node.kindIndex].qual : nullptr;
        totals.finalStorage += quality ? getTankVolume(model, node) * quality[p] / G_PER_KG : 0.0;
    }
    addReactorLoads(model, totals, p);
    addMonoLoads(model, totals, p);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow - totals.vornOutflow -
                          totals.reactedLoss - totals.seepageLoss - totals.finalStorage - totals.delayedMass) /
                             in * PERCENT;
    return totals;
}

QualTotalsRecord massbal_closeQuality(Model& model, int32_t p, double* error) {
    const QualTotalsRecord totals = massbal_getQuality(model, p, error);
    // The figure held keeps its sign, so a negative one gives way to any later error.
    const double size = *error < 0.0 ? -*error : *error;
    if (size > model.totals.qualityError) {
        model.totals.qualityError = *error;
    }
    return totals;
}
