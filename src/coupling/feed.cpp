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
#include "model/model.h"
#include "text/units.h"

/// Counts what a record gives to the network in this step.
static void countOutflow(Model& model, const OutsideTotals& totals, const CoupledFlow& record) {
    model.totals.flow.*totals.inflow += model.options.routingStep * record.newFlow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        model.totals.quality[p].*totals.inflowMass += model.options.routingStep * record.newLoad[p];
    }
}

// --- pipes ---------------------------------------------------------------------------------------------------------

/// One firing with the mean of the period. The flow of the firing step is in the mean, its load is not: a pipe that
/// fires in every step carries no mass at all.
static void firePipe(Model& model, int32_t link, Pipe& pipe, CoupledFlow& record, double* concentrations) {
    pipe_shiftState(model, model.links[link], pipe);
    record.sumFlow += record.newFlow;
    record.sumCount += 1;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        concentrations[p] = record.sumFlow != 0.0 ? record.sumLoad[p] / record.sumFlow * G_PER_KG : 0.0;
    }
    pipe_route(model, model.links[link], pipe, record.sumFlow / record.sumCount, concentrations);
    pipe_moveClock(model, model.links[link], pipe);
    record.sumFlow = 0.0;
    record.sumCount = 0;
    std::fill_n(record.sumLoad, model_pollutantCount(model), 0.0);
}

/// It fires by the engine's clock before its latest step. Once that has passed the end of the run both clocks of the
/// pipe stand there, equal, and the pipe delivers nothing any more. Two records of one pipe serve it twice, with the
/// first of them each time.
void feed_pipe(Model& model, const CoupledFlow& named, const OutsideNode& outside, const OutsideTotals& totals) {
    const int32_t link = named.index;
    Pipe& pipe = model.pipes[model.links[link].kindIndex];
    CoupledFlow& record = **outside_findRecords(outside.outflows, link).first;
    countOutflow(model, totals, record);
    if (outside.oldTime > model.links[link].clock.nextFireTime && pipe.stepLength != 0.0) {
        firePipe(model, link, pipe, record, outside.scratch);
        return;
    }
    record.sumFlow += record.newFlow;
    record.sumCount += 1;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        record.sumLoad[p] += record.newLoad[p];
    }
}

// --- connections ---------------------------------------------------------------------------------------------------

/// The water counted is what the link delivered before, the mass what enters now: water that stands in the delay shows
/// in the continuity error.
void feed_connection(Model& model, const CoupledFlow& record, const OutsideNode& outside, const OutsideTotals& totals) {
    Link& link = model.links[record.index];
    Connection& connection = model.connections[link.kindIndex];
    const double f = outside_getWeight(model.clock.newRoutingTime, outside.oldTime, outside.newTime);
    model.totals.flow.*totals.inflow += model.options.routingStep * link.newFlow;
    const Passage passage =
        connection_passFlow(model, link, connection, f * record.newFlow + (1.0 - f) * record.oldFlow);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double load = f * record.newLoad[p] + (1.0 - f) * record.oldLoad[p];
        model.totals.quality[p].*totals.inflowMass += model.options.routingStep * load;
        connection_passLoad(model, link, connection, passage, p, load);
    }
}

// --- conduits ------------------------------------------------------------------------------------------------------

/// A conduit gets the outflow of the first record of the node, whichever names it.
void feed_conduit(Model& model, const CoupledFlow& named, const OutsideNode& outside, const OutsideTotals& totals) {
    const CoupledFlow& first = *outside.outflows.head;
    Link& link = model.links[named.index];
    Conduit& conduit = model.conduits[link.kindIndex];
    countOutflow(model, totals, first);
    conduit_shiftFlows(link, conduit);
    link_shiftQuality(model, link);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        outside.scratch[p] = first.newFlow != 0.0 ? first.newLoad[p] / first.newFlow * G_PER_KG : 0.0;
    }
    conduit_route(model, link, conduit, first.newFlow, outside.scratch);
}
