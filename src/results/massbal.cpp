// Mass balance of a run: water and pollutants on the land, water in the network, pollutants in the network. Totals are
// added up as the run goes, in m3 and kg, and closed at the report with what stands stored; the continuity error says
// how much was lost on the way.

#include "results/massbal.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/pipe.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"

static Table<int32_t> ListedLinks, ListedNodes;  ///< those that massbal_updateStep counts

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
    for (Outfall& outfall : Outfalls) {
        outfall.statLoad = arena_allocateArray<double>(ResultArena, project_pollutantCount());
        if (!outfall.statLoad) {
            report_writeError(ERR_MEMORY, "");
        }
    }
    reactor_openStatistics();
}

/// What the tanks hold at time zero.
static void takeInitialStorage() {
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].kind != TANK) {
            continue;
        }
        const Tank& tank = Tanks[Nodes[k].kindIndex];
        const double volume = tank_getVolume(k, tank.initDepth);
        FlowTotals.initStorage += volume;
        for (int32_t p = 0; QualTotals && p < project_pollutantCount(); ++p) {
            QualTotals[p].initStorage += volume * tank.initQual[p] / 1000.0;
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
    lidmono_forgetArrays();  // made anew only behind much else that may run out of memory
    FlowTotals = FlowTotalsRecord{};
    RunoffError = FlowError = QualityError = 0.0;
    QualTotals = arena_allocateArray<QualTotalsRecord>(ResultArena, project_pollutantCount());
    if (!QualTotals) {
        report_writeError(ERR_MEMORY, "");
    }
    openSubcatchStatistics();
    openNodeStatistics();
    openLinkStatistics();
    takeInitialStorage();
    ListedLinks.resize(Links.size());
    ListedNodes.resize(Nodes.size());
    std::iota(ListedLinks.begin(), ListedLinks.end(), 0);
    std::iota(ListedNodes.begin(), ListedNodes.end(), 0);
}

void massbal_setLists(Table<int32_t> links, Table<int32_t> nodes) {
    ListedLinks = std::move(links);
    ListedNodes = std::move(nodes);
}

// --- each step -----------------------------------------------------------------------------------------------------

static void keepMaximum(double& maximum, double value) {
    maximum = value > maximum ? value : maximum;
}

static void updateSubcatch(Subcatch& s, double dt) {
    s.rainfall += dt * s.rain * 1000.0;
    s.evap += dt * s.evapRate * 1000.0;
    s.infil += dt * s.infilRate * 1000.0;
    s.runoff += dt * s.thisRunoff / s.area * 1000.0;
    keepMaximum(s.peakRunoff, s.thisRunoff);
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        s.surfaceWashoff[p] += s.thisQuality[p] / 1000.0 * s.thisRunoff * dt;
    }
}

/// Depth and velocity of a conduit; whether it floods. The flow is divided by the area that it left behind.
static bool updateConduit(int32_t index) {
    const Link& link = Links[index];
    Conduit& conduit = Conduits[link.kindIndex];
    const double area = conduit_getArea(index, conduit.depth);
    keepMaximum(conduit.statMaxDepth, conduit.depth);
    keepMaximum(conduit.statMaxVelocity, area > 0.0 ? link.newFlow / area : 0.0);
    // A concentration that is no finite number counts in the flood also where there is none.
    return conduit.newFlood != 0.0 || !std::all_of(link.newQual, link.newQual + project_pollutantCount(),
                                                   [](double c) { return std::isfinite(c); });
}

void massbal_countLink(Link& link) {
    link.statFlowVolume += static_cast<double>(RoutingStep) * link.newFlow;
    keepMaximum(link.statMaxFlow, link.newFlow);
}

/// What one link floods, into its statistics and the totals.
static void updateFlood(Link& link, double flood, double dt) {
    FlowTotals.floodingLoss += dt * flood;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        QualTotals[p].floodingLoss += dt * flood * link.newQual[p] / 1000.0;
    }
    link.statFloodVolume += dt * flood;
    keepMaximum(link.statMaxFlood, flood);
}

static void updateFloods(double dt) {
    for (Link& link : Links) {
        switch (link.kind) {
            case PIPE: updateFlood(link, Pipes[link.kindIndex].newFlood, dt); break;
            case CONDUIT: updateFlood(link, Conduits[link.kindIndex].newFlood, dt); break;
            default: break;
        }
    }
}

static void updateOutfall(const Node& node, double dt) {
    FlowTotals.externalOutflow += dt * node.newInflow;
    double* loads = Outfalls[node.kindIndex].statLoad;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load = node.newInflow * node.newQual[p] / 1000.0;
        QualTotals[p].externalOutflow += dt * load;
        loads[p] += dt * load;
    }
}

static void updateTank(const Node& node, double dt) {
    Tank& tank = Tanks[node.kindIndex];
    FlowTotals.floodingLoss += dt * tank.newFlood;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        QualTotals[p].floodingLoss += dt * tank.newFlood * node.newQual[p] / 1000.0;
    }
    keepMaximum(tank.statMaxDepth, tank.newDepth);
    tank.statFloodVolume += dt * tank.newFlood;
}

void massbal_countNode(Node& node) {
    node.statInflowVolume += node.newInflow * static_cast<double>(RoutingStep);
    keepMaximum(node.statMaxInflow, node.newInflow);
}

static void updateNode(Node& node, double dt) {
    switch (node.kind) {
        case TANK: updateTank(node, dt); break;
        case OUTFALL: updateOutfall(node, dt); break;
        default: break;
    }
    massbal_countNode(node);
    if (node.kind == REACTOR) {
        reactor_updateStatistics(Reactors[node.kindIndex], dt);
    }
}

void massbal_updateStep() {
    const double dt = RoutingStep;
    for (Subcatch& subcatch : Subcatches) {
        updateSubcatch(subcatch, dt);
    }
    bool isFlooding = pipe_isAnyFlooding();
    for (const int32_t index : ListedLinks) {
        Link& link = Links[index];
        massbal_countLink(link);
        if (link.kind == CONDUIT) {
            isFlooding = updateConduit(index) || isFlooding;
        }
    }
    if (isFlooding) {
        updateFloods(dt);
    }
    for (const int32_t index : ListedNodes) {
        updateNode(Nodes[index], dt);
    }
}

// --- close ---------------------------------------------------------------------------------------------------------

void massbal_clear() {
    ListedLinks = {};
    ListedNodes = {};
}

void massbal_close() {
    for (Subcatch& s : Subcatches) {
        subcatch_clearLoads(s);
    }
    for (Outfall& outfall : Outfalls) {
        if (outfall.statLoad) {
            std::fill_n(outfall.statLoad, project_pollutantCount(), 0.0);
        }
    }
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
        balance.rainfall += s.area * s.rainfall / 1000.0;
        balance.evap += s.area * s.evap / 1000.0;
        balance.infil += s.area * s.infil / 1000.0;
        balance.runoff += s.area * s.runoff / 1000.0;
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
                  in * 100.0;
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
    balance.error = (in - out) / in * 100.0;
    return balance;
}

/// Water that stands in a conduit, m3; 0 for a link of another kind.
static double getConduitVolume(int32_t index) {
    const Link& link = Links[index];
    if (link.kind != CONDUIT) {
        return 0.0;
    }
    const Conduit& conduit = Conduits[link.kindIndex];
    return conduit_getArea(static_cast<int32_t>(index), conduit.depth) * conduit.length;
}

/// Water that stands in a tank, m3; 0 for a node of another kind.
static double getTankVolume(int32_t index) {
    const Node& node = Nodes[index];
    return node.kind == TANK ? tank_getVolume(static_cast<int32_t>(index), Tanks[node.kindIndex].newDepth) : 0.0;
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

/// The same of one pollutant. What is missing before a start or behind a report counts as 0.
static void addReactorLoads(QualTotalsRecord& totals, int32_t p) {
    for (const Reactor& reactor : Reactors) {
        totals.seepageLoss += reactor.statInfilLoad ? reactor.statInfilLoad[p] : 0.0;
        totals.reactedLoss += reactor.statReactedLoad ? reactor.statReactedLoad[p] : 0.0;
        totals.initStorage += reactor_getInitVolume(reactor) * reactor.initQual[p] / 1000.0;
        totals.finalStorage += reactor.qual ? reactor.storedVolume * reactor.qual[p] / 1000.0 : 0.0;
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
    for (int32_t k = 0; k < Links.size(); ++k) {
        totals.finalStorage += getConduitVolume(k);
    }
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        totals.finalStorage += getTankVolume(k);
    }
    addReactors(totals);
    addMonos(totals);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow - totals.vornOutflow -
                          totals.evapLoss - totals.seepageLoss - totals.delayedVolume - totals.finalStorage) /
                             in * 100.0;
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
                totals.finalStorage += pipe.storage[i] * pipe_newSegQual(pipe, i)[p] / 1000.0;
            }
        }
    }
    for (int32_t k = 0; k < Links.size(); ++k) {
        if (Links[k].kind == CONDUIT) {
            totals.finalStorage += getConduitVolume(k) * Links[k].newQual[p] / 1000.0;
        }
    }
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        const double* quality = Nodes[k].kind == TANK ? Tanks[Nodes[k].kindIndex].qual : nullptr;
        totals.finalStorage += quality ? getTankVolume(k) * quality[p] / 1000.0 : 0.0;
    }
    addReactorLoads(totals, p);
    addMonoLoads(totals, p);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow - totals.vornOutflow -
                          totals.reactedLoss - totals.seepageLoss - totals.finalStorage - totals.delayedMass) /
                             in * 100.0;
    // The figure held keeps its sign, so a negative one gives way to any later error.
    const double size = *error < 0.0 ? -*error : *error;
    if (size > QualityError) {
        QualityError = *error;
    }
    return totals;
}
