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
#include "model/project.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "text/units.h"

// --- start ---------------------------------------------------------------------------------------------------------

static void openSubcatchStatistics() {
    for (Subcatch& s : Subcatches) {
        subcatch_openStatistics(s);
    }
}

static void openNodeStatistics() {
    for (Node& node : Nodes) {
        node.statInflowVolume = node.statMaxInflow = 0.0;
    }
    for (Tank& tank : Tanks) {
        tank.statMaxDepth = tank.statFloodVolume = 0.0;
    }
    outfall_openStatistics();
    reactor_openStatistics();
}

/// What the tanks hold at time zero.
static void takeInitialStorage() {
    for (const Node& node : Nodes) {
        if (node.kind != TANK) {
            continue;
        }
        const Tank& tank = Tanks[node.kindIndex];
        const double volume = tank_getVolume(tank, tank.initDepth);
        FlowTotals.initStorage += volume;
        for (int32_t p = 0; QualTotals && p < project_pollutantCount(); ++p) {
            QualTotals[p].initStorage += volume * tank.initQual[p] / G_PER_KG;
        }
    }
}

static void openLinkStatistics() {
    for (Link& link : Links) {
        link.statFlowVolume = link.statMaxFlow = 0.0;
        link.statFloodVolume = link.statMaxFlood = 0.0;
    }
    for (Conduit& conduit : Conduits) {
        conduit.statMaxDepth = conduit.statMaxVelocity = 0.0;
    }
}

void massbal_open() {
    arena_release(ResultArena);
    lidmono_forgetArrays();  // made anew only after much else that may run out of memory
    FlowTotals = FlowTotalsRecord{};
    RunoffError = FlowError = QualityError = 0.0;
    QualTotals = arena_allocateArray<QualTotalsRecord>(ResultArena, project_pollutantCount());
    if (!QualTotals) {
        errors_report(ERR_MEMORY, "");
    }
    openSubcatchStatistics();
    openNodeStatistics();
    openLinkStatistics();
    takeInitialStorage();
}

// --- close ---------------------------------------------------------------------------------------------------------

void massbal_close() {
    for (Subcatch& s : Subcatches) {
        subcatch_clearLoads(s);
    }
    outfall_clearStatistics();
    reactor_clearStatistics();
}

/// Water of the LID units of a subcatchment; `storage` adds up what they hold at the end, m3.
static void addUnits(RunoffBalance& balance, double& storage, int32_t subcatch) {
    for (const LidUnit& unit : lidgroup_getUnits(subcatch)) {
        balance.initLidStorage += unit.area * unit.initialDepth;
        balance.lidDrainage += unit.area * unit.drainDepth;
        storage += unit.area * unit.finalDepth;
    }
}

RunoffBalance massbal_closeRunoff() {
    RunoffBalance balance{};
    double surfaceStorage = 0.0, lidStorage = 0.0;
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        const Subcatch& s = Subcatches[k];
        balance.totalArea += s.area;
        balance.rainfall += s.area * s.rainfall / MM_PER_M;
        balance.evap += s.area * s.evap / MM_PER_M;
        balance.infil += s.area * s.infil / MM_PER_M;
        balance.runoff += s.area * s.runoff / MM_PER_M;
        surfaceStorage += ((1.0 - s.imperviousFraction) * s.perviousDepth + s.imperviousFraction * s.imperviousDepth) *
                          (s.area - s.lidArea);
        addUnits(balance, lidStorage, k);
    }
    balance.finalStorage = surfaceStorage + lidStorage;
    const double in = balance.rainfall + balance.initLidStorage;
    balance.error =
        in == 0.0
            ? 0.0
            : (in - balance.evap - balance.infil - balance.runoff - balance.lidDrainage - surfaceStorage - lidStorage) /
                  in * PERCENT;
    RunoffError = balance.error;
    return balance;
}

/// Adds one pollutant of a subcatchment.
static void addWashoff(WashoffBalance& balance, const Subcatch& s, int32_t p) {
    balance.remainingBuildup += s.pondedMass[p];
    for (int32_t l = 0; l < Landuses.size(); ++l) {
        if (Landuses[l].washoff[p].usesBuildup) {
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
static void addUnitLoads(WashoffBalance& balance, int32_t subcatch, int32_t p) {
    for (const LidUnit& unit : lidgroup_getUnits(subcatch)) {
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

WashoffBalance massbal_closeWashoff(int pollutant) {
    WashoffBalance balance{};
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        addWashoff(balance, Subcatches[k], pollutant);
        addUnitLoads(balance, k, pollutant);
    }
    const double in = balance.initBuildup + balance.surfaceBuildup + balance.wetDeposition;
    const double out = balance.infilLoss + balance.bmpRemoval + balance.lidDrainage + balance.lidFinalStorage +
                       balance.lidRemoval + balance.surfaceWashoff + balance.remainingBuildup;
    balance.error = (in - out) / in * PERCENT;
    return balance;
}

/// Water that stands in a conduit, m3; 0 for a link of another kind.
static double getConduitVolume(const Link& link) {
    return link.kind == CONDUIT ? conduit_getVolume(Conduits[link.kindIndex]) : 0.0;
}

/// Water that stands in a tank, m3; 0 for a node of another kind.
static double getTankVolume(const Node& node) {
    if (node.kind != TANK) {
        return 0.0;
    }
    const Tank& tank = Tanks[node.kindIndex];
    return tank_getVolume(tank, tank.newDepth);
}

/// Water of the LID monomer nodes: rain, losses and storage are in no running total.
static void addMonos(FlowTotalsRecord& totals) {
    for (const LidMono& mono : LidMonos) {
        const LidUnit& unit = mono.unit;
        totals.initStorage += unit.area * unit.initialDepth;
        totals.wetWeatherInflow += unit.area * mono.rainDepth;
        totals.evapLoss += unit.area * unit.evapDepth;
        totals.seepageLoss += unit.area * unit.infilDepth;
        totals.finalStorage += unit.area * unit.finalDepth;
    }
}

/// Water of the reactors: storage and losses are in no running total.
static void addReactors(FlowTotalsRecord& totals) {
    for (const Reactor& reactor : Reactors) {
        totals.initStorage += reactor_getInitVolume(reactor);
        totals.finalStorage += reactor.storedVolume;
        totals.evapLoss += reactor.statEvap;
        totals.seepageLoss += reactor.statInfil;
    }
}

/// The same of one pollutant. What is missing before a start or after a report counts as 0.
static void addReactorLoads(QualTotalsRecord& totals, int32_t p) {
    for (const Reactor& reactor : Reactors) {
        totals.seepageLoss += reactor.statInfilLoad ? reactor.statInfilLoad[p] : 0.0;
        totals.reactedLoss += reactor.statReactedLoad ? reactor.statReactedLoad[p] : 0.0;
        totals.initStorage += reactor_getInitVolume(reactor) * reactor.initQual[p] / G_PER_KG;
        totals.finalStorage += reactor.qual ? reactor.storedVolume * reactor.qual[p] / G_PER_KG : 0.0;
    }
}

FlowTotalsRecord massbal_closeFlow(double* error) {
    FlowTotalsRecord totals = FlowTotals;
    for (const Link& link : Links) {
        if (link.kind == PIPE) {
            const Pipe& pipe = Pipes[link.kindIndex];
            for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
                totals.finalStorage += pipe.storage[i];
            }
        }
    }
    for (const Link& link : Links) {
        totals.finalStorage += getConduitVolume(link);
    }
    for (const Node& node : Nodes) {
        totals.finalStorage += getTankVolume(node);
    }
    addReactors(totals);
    addMonos(totals);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow - totals.vornOutflow -
                          totals.evapLoss - totals.seepageLoss - totals.delayedVolume - totals.finalStorage) /
                             in * PERCENT;
    FlowError = *error;
    return totals;
}

static void addMonoLoads(QualTotalsRecord& totals, int32_t p) {
    for (const LidMono& mono : LidMonos) {
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

QualTotalsRecord massbal_closeQuality(int p, double* error) {
    QualTotalsRecord totals = QualTotals ? QualTotals[p] : QualTotalsRecord{};
    for (const Link& link : Links) {
        if (link.kind == PIPE) {
            const Pipe& pipe = Pipes[link.kindIndex];
            for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
                totals.finalStorage += pipe.storage[i] * pipe_newSegQual(pipe, i)[p] / G_PER_KG;
            }
        }
    }
    for (const Link& link : Links) {
        if (link.kind == CONDUIT) {
            totals.finalStorage += getConduitVolume(link) * link.newQual[p] / G_PER_KG;
        }
    }
    for (const Node& node : Nodes) {
        const double* quality = node.kind == TANK ? Tanks[node.kindIndex].qual : nullptr;
        totals.finalStorage += quality ? getTankVolume(node) * quality[p] / G_PER_KG : 0.0;
    }
    addReactorLoads(totals, p);
    addMonoLoads(totals, p);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow - totals.vornOutflow -
                          totals.reactedLoss - totals.seepageLoss - totals.finalStorage - totals.delayedMass) /
                             in * PERCENT;
    // The figure held keeps its sign, so a negative one gives way to any later error.
    const double size = *error < 0.0 ? -*error : *error;
    if (size > QualityError) {
        QualityError = *error;
    }
    return totals;
}
