// Connections: pure delay without attenuation or reaction, a queue of dated values read by interpolation. What would
// leave after the end of the run is never queued; it is counted as delayed volume and mass. The setting of a connection
// has no effect on its flow.

#include "links/connection.h"

#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/datetime.h"
#include "text/tokens.h"
#include "text/units.h"

static void checkDelay(const Model& model, double delay, const char* id) {
    const double dt = model.options.routingStep, duration = model_getDuration(model);
    plausible_checkSet(model, PLAUSIBLE_DELAY, delay, 4, id);
    if (delay + dt > duration + 0.5 && duration > 0.0) {
        warnings_addAtLine(model, WARN_DELAY_RUN, 4, id,
                           {warnings_formatNumber(delay), warnings_formatNumber(duration)});
    } else if (model_isBroken(delay, dt)) {
        warnings_addAtLine(model, WARN_STEP_CONNECTION, 4, id,
                           {warnings_formatNumber(delay), warnings_formatNumber(dt)});
    }
}

int32_t connection_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex) {
    LinkHead head;
    if (const int32_t error = link_readHead(model, tokens, 5, head)) {
        return error;
    }
    double delay;
    if (!tokens_getNonNegative(tokens[4], &delay)) {
        return errors_setName(model, ERR_NUMBER, tokens[3]);  // the message shows the word before the delay
    }
    checkDelay(model, delay, head.id);
    link_setHead(model, link, CONNECTION, kindIndex, head);
    model.connections[kindIndex].delay = delay;
    return ERR_NONE;
}

void connection_initState(Model& model, Connection& connection) {
    connection.oldInflow = connection.newInflow = 0.0;
    connection.statDelayed = 0.0;
    connection.flowQueue = DelayQueue{};
    connection.loadQueue = arena_allocateArray<DelayQueue>(model.memory.run, model_pollutantCount(model));
    if (!connection.loadQueue) {
        errors_report(model, ERR_MEMORY, "");
    }
}

void connection_endState(Connection& connection) {
    connection.flowQueue = DelayQueue{};
    connection.loadQueue = nullptr;
}

void connection_shiftState(Connection& connection) {
    connection.oldInflow = connection.newInflow;
}

Passage connection_passFlow(Model& model, Link& link, Connection& connection, double flow) {
    const double exitTime = connection.delay * MS_PER_SECOND + model.clock.newRoutingTime;
    const bool leavesInTime = model.options.totalDuration >= exitTime;
    const DateTime exitDate = leavesInTime ? model_getDate(model, exitTime) : 0.0;
    const DateTime date = model_getDate(model, model.clock.newRoutingTime);
    if (leavesInTime) {
        delayqueue_push(model, connection.flowQueue, exitDate, flow);
    } else {
        model.totals.flow.delayedVolume += model.options.routingStep * flow;
        connection.statDelayed += model.options.routingStep * flow;
    }
    connection.newInflow = flow;
    link.newFlow = delayqueue_getValue(connection.flowQueue, date);
    return {leavesInTime, exitDate, date};
}

void connection_passLoad(Model& model, Link& link, Connection& connection, const Passage& passage, int32_t p,
                         double load) {
    if (passage.leavesInTime) {
        delayqueue_push(model, connection.loadQueue[p], passage.exitDate, load);
    } else {
        model.totals.quality[p].delayedMass += model.options.routingStep * load;
    }
    const double value = delayqueue_getValue(connection.loadQueue[p], passage.date);
    link.newQual[p] = link.newFlow != 0.0 ? value / link.newFlow * G_PER_KG : 0.0;
}

void connection_update(Model& model, Link& link, Connection& connection, const Offer& offer) {
    const Passage passage = connection_passFlow(model, link, connection, offer.flow);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        connection_passLoad(model, link, connection, passage, p, offer.loadedFlow * offer.quality[p] / G_PER_KG);
    }
}
