// Mass balance of a run: water and pollutants on the land, water in the network, pollutants in the network. Totals are
// added up as the run goes, in m3 and kg, and closed at the report with what stands stored; the continuity error says
// how much was lost on the way.

#include "results/massbal.h"

#include <algorithm>

#include "engine/arena.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "routing/node.h"
#include "routing/pipe.h"
#include "routing/reactor.h"

// --- start ---------------------------------------------------------------------------------------------------------

static void openNodeStatistics() {
    for (Node& node : Nodes) {
        node.statInflowVolume = node.statMaxInflow = 0.0;
    }
    for (Outfall& outfall : Outfalls) {
        outfall.statLoad = arena_allocateArray<double>(ResultArena, project_pollutantCount());
        if (!outfall.statLoad) {
            report_writeError(ERR_MEMORY, "");
        }
    }
    reactor_openStatistics();
}

static void openLinkStatistics() {
    for (Link& link : Links) {
        link.statFlowVolume = link.statMaxFlow = 0.0;
        link.statFloodVolume = link.statMaxFlood = 0.0;
    }
}

void massbal_open() {
    arena_release(ResultArena);
    FlowTotals = FlowTotalsRecord{};
    RunoffError = FlowError = QualityError = 0.0;
    QualTotals = arena_allocateArray<QualTotalsRecord>(ResultArena, project_pollutantCount());
    if (!QualTotals) {
        report_writeError(ERR_MEMORY, "");
    }
    openNodeStatistics();
    openLinkStatistics();
}

// --- each step -----------------------------------------------------------------------------------------------------

static void keepMaximum(double& maximum, double value) {
    maximum = value > maximum ? value : maximum;
}

static void updateLink(Link& link, double dt) {
    link.statFlowVolume += dt * link.newFlow;
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
            case PIPE: updateFlood(link, Pipes[static_cast<size_t>(link.kindIndex)].newFlood, dt); break;
            default: break;
        }
    }
}

static void updateOutfall(const Node& node, double dt) {
    FlowTotals.externalOutflow += dt * node.newInflow;
    double* loads = Outfalls[static_cast<size_t>(node.kindIndex)].statLoad;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load = node.newInflow * node.newQual[p] / 1000.0;
        QualTotals[p].externalOutflow += dt * load;
        loads[p] += dt * load;
    }
}

static void updateNode(Node& node, double dt) {
    if (node.kind == OUTFALL) {
        updateOutfall(node, dt);
    }
    node.statInflowVolume += node.newInflow * dt;
    keepMaximum(node.statMaxInflow, node.newInflow);
    if (node.kind == REACTOR) {
        reactor_updateStatistics(Reactors[static_cast<size_t>(node.kindIndex)], dt);
    }
}

void massbal_updateStep() {
    const double dt = RoutingStep;
    for (Link& link : Links) {
        updateLink(link, dt);
    }
    if (pipe_isAnyFlooding()) {
        updateFloods(dt);
    }
    for (Node& node : Nodes) {
        updateNode(node, dt);
    }
}

// --- close ---------------------------------------------------------------------------------------------------------

void massbal_close() {
    for (Outfall& outfall : Outfalls) {
        if (outfall.statLoad) {
            std::fill_n(outfall.statLoad, project_pollutantCount(), 0.0);
        }
    }
    reactor_clearStatistics();
}

RunoffBalance massbal_closeRunoff() {
    RunoffBalance balance{};
    RunoffError = balance.error;
    return balance;
}

WashoffBalance massbal_closeWashoff(int pollutant) {
    (void)pollutant;
    WashoffBalance balance{};
    const double in = balance.initBuildup + balance.surfaceBuildup + balance.wetDeposition;
    const double out = balance.infilLoss + balance.bmpRemoval + balance.lidDrainage + balance.lidFinalStorage +
                       balance.lidRemoval + balance.surfaceWashoff + balance.remainingBuildup;
    balance.error = (in - out) / in * 100.0;
    return balance;
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
            const Pipe& pipe = Pipes[static_cast<size_t>(link.kindIndex)];
            for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
                totals.finalStorage += pipe.storage[i];
            }
        }
    }
    addReactors(totals);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow -
                          totals.vornOutflow - totals.evapLoss - totals.seepageLoss - totals.delayedVolume -
                          totals.finalStorage) /
                             in * 100.0;
    FlowError = *error;
    return totals;
}

QualTotalsRecord massbal_closeQuality(int p, double* error) {
    QualTotalsRecord totals = QualTotals ? QualTotals[p] : QualTotalsRecord{};
    for (const Link& link : Links) {
        if (link.kind == PIPE) {
            const Pipe& pipe = Pipes[static_cast<size_t>(link.kindIndex)];
            for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
                totals.finalStorage += pipe.storage[i] * pipe.newSegQual[pipe_getPlace(pipe, p, i)] / 1000.0;
            }
        }
    }
    addReactorLoads(totals, p);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    *error = in == 0.0 ? 0.0
                       : (in - totals.externalOutflow - totals.floodingLoss - totals.swmmOutflow -
                          totals.vornOutflow - totals.reactedLoss - totals.seepageLoss - totals.finalStorage -
                          totals.delayedMass) /
                             in * 100.0;
    // The figure held keeps its sign, so a negative one gives way to any later error.
    const double size = *error < 0.0 ? -*error : *error;
    if (size > QualityError) {
        QualityError = *error;
    }
    return totals;
}
