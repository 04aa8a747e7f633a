// From an outside model into the network. An engine steps by its own clock, so what it gives stands between two states,
// and each kind of link takes it in its own way: a pipe sums over its period and fires by the engine's clock, a
// connection queues the flow interpolated at the routing clock, a conduit takes the newest state as it is. Links
// without a record get nothing.

#include "coupling/feed.h"

#include <algorithm>

#include "links/conduit.h"
#include "links/connection.h"
#include "links/link.h"
#include "links/pipe.h"
#include "model/arena.h"

static double* Scratch = nullptr;  ///< one number per pollutant: loads, kg/s, or concentrations, mg/L

bool feed_open() {
    if (!Scratch) {
        Scratch = arena_allocateArray<double>(RunArena, project_pollutantCount());
    }
    return Scratch != nullptr;
}

void feed_close() {
    Scratch = nullptr;
}

double* feed_getLoads() {
    std::fill_n(Scratch, project_pollutantCount(), 0.0);
    return Scratch;
}

void feed_countDelivery(const OutsideTotals& totals, double flow, const double* loads) {
    FlowTotals.*totals.outflow += RoutingStep * flow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        QualTotals[p].*totals.outflowMass += RoutingStep * loads[p];
    }
}

/// Counts what a record gives to the network in this step.
static void countOutflow(const OutsideTotals& totals, const CoupledFlow& record) {
    FlowTotals.*totals.inflow += RoutingStep * record.newFlow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        QualTotals[p].*totals.inflowMass += RoutingStep * record.newLoad[p];
    }
}

// --- pipes ---------------------------------------------------------------------------------------------------------

/// One firing with the mean of the period. The flow of the firing step is in the mean, its load is not: a pipe that
/// fires in every step carries no mass at all.
static void firePipe(int32_t link, Pipe& pipe, CoupledFlow& record) {
    link_shiftHydState(link);
    link_shiftQualState(link);
    record.sumFlow += record.newFlow;
    record.sumCount += 1;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        Scratch[p] = record.sumFlow != 0.0 ? record.sumLoad[p] / record.sumFlow * 1000.0 : 0.0;
    }
    pipe_route(link, record.sumFlow / record.sumCount, Scratch);
    pipe_moveClock(pipe);
    record.sumFlow = 0.0;
    record.sumCount = 0;
    std::fill_n(record.sumLoad, project_pollutantCount(), 0.0);
}

/// `fireTime` is the engine's clock before its latest step. Once that has passed the end of the run both clocks of the
/// pipe stand there, equal, and the pipe delivers nothing any more.
static void feedPipe(int32_t link, CoupledFlow& record, double fireTime, const OutsideTotals& totals) {
    Pipe& pipe = Pipes[Links[link].kindIndex];
    countOutflow(totals, record);
    if (fireTime > pipe.nextFireTime && pipe.stepLength != 0.0) {
        firePipe(link, pipe, record);
        return;
    }
    record.sumFlow += record.newFlow;
    record.sumCount += 1;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        record.sumLoad[p] += record.newLoad[p];
    }
}

// --- connections ---------------------------------------------------------------------------------------------------

/// The water counted is what the link delivered before, the mass what enters now: water that stands in the delay shows
/// in the continuity error.
static void feedConnection(int32_t index, const CoupledFlow& record, double f, const OutsideTotals& totals) {
    Link& link = Links[index];
    Connection& connection = Connections[link.kindIndex];
    const double flow = f * record.newFlow + (1.0 - f) * record.oldFlow;
    const double exitTime = connection.delay * 1000.0 + NewRoutingTime;
    const bool leavesInTime = TotalDuration >= exitTime;
    const double exitDate = leavesInTime ? project_getDate(exitTime) : 0.0;
    const double date = project_getDate(NewRoutingTime);
    FlowTotals.*totals.inflow += RoutingStep * link.newFlow;
    if (leavesInTime) {
        connection_pushFlow(index, exitDate, flow);
    } else {
        FlowTotals.delayedVolume += RoutingStep * flow;
    }
    connection.newInflow = flow;
    link.newFlow = delayqueue_getValue(connection.flowQueue, date);
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load = f * record.newLoad[p] + (1.0 - f) * record.oldLoad[p];
        QualTotals[p].*totals.inflowMass += RoutingStep * load;
        if (leavesInTime) {
            connection_pushLoad(index, exitDate, p, load);
        } else {
            QualTotals[p].delayedMass += RoutingStep * load;
        }
        const double value = delayqueue_getValue(connection.loadQueue[p], date);
        link.newQual[p] = link.newFlow != 0.0 ? value / link.newFlow * 1000.0 : 0.0;
    }
}

// --- conduits ------------------------------------------------------------------------------------------------------

/// The record is the first of the node, whichever names the conduit.
static void feedConduit(int32_t link, const CoupledFlow& first, const OutsideTotals& totals) {
    countOutflow(totals, first);
    link_shiftHydState(link);
    link_shiftQualState(link);
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        Scratch[p] = first.newFlow != 0.0 ? first.newLoad[p] / first.newFlow * 1000.0 : 0.0;
    }
    conduit_route(link, first.newFlow, Scratch);
}

// --- all links of a node -------------------------------------------------------------------------------------------

void feed_updateLinks(int32_t node, const OutsideNode& outside, const OutsideTotals& totals) {
    const double f = outside_getWeight(NewRoutingTime, outside.oldTime, outside.newTime);
    for (const CoupledFlow* record = outside.outflows.head; record; record = record->next) {
        const Link& link = Links[record->index];
        if (link.fromNode != node) {
            continue;  // a record that names a foreign link feeds nothing
        }
        // Two records of one link serve it twice: a pipe with the first of them each time.
        switch (link.kind) {
            case PIPE:
                feedPipe(record->index, **outside_findRecords(outside.outflows, record->index).first, outside.oldTime,
                         totals);
                break;
            case CONNECTION: feedConnection(record->index, *record, f, totals); break;
            case CONDUIT: feedConduit(record->index, *outside.outflows.head, totals); break;
            default: break;
        }
    }
}
