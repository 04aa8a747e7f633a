// The kinds of link, told apart. Called by the reader and the validation, by the routing step for what is done to all
// links at once, and by the room nodekinds for what a node does with its links.

#include "routing/linkkinds.h"

#include <algorithm>
#include <cmath>

#include "coupling/feed.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/link.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/statistics.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "nodes/tank.h"
#include "routing/rest.h"
#include "routing/serving.h"
#include "text/units.h"

// --- reading, validation and start ---------------------------------------------------------------------------------

int32_t linkkinds_readLine(Model& model, const Tokens& tokens, int32_t kind, int32_t link, int32_t kindIndex) {
    switch (kind) {
        case PIPE: return pipe_readLine(model, tokens, link, kindIndex);
        case PUMP: return pump_readLine(model, tokens, link, kindIndex);
        case CONNECTION: return connection_readLine(model, tokens, link, kindIndex);
        case CONDUIT: return conduit_readLine(model, tokens, link, kindIndex);
        case WEIR: return weir_readLine(model, tokens, link, kindIndex);
        case ORIFICE: return orifice_readLine(model, tokens, link, kindIndex);
        default: return ERR_NONE;
    }
}

Decay* linkkinds_findDecay(const Model& model, const Link& link) {
    switch (link.kind) {
        case PIPE: return model.pipes[link.kindIndex].decay;
        case CONDUIT: return model.conduits[link.kindIndex].decay;
        default: return nullptr;
    }
}

static bool isAtTank(const Model& model, const Link& link) {
    const Node* node = model.nodes.find(link.fromNode);
    return node && node->kind == TANK;
}

void linkkinds_validate(Model& model, const Link& link) {
    switch (link.kind) {
        case PIPE: pipe_validate(model, link, model.pipes[link.kindIndex]); break;
        case PUMP: pump_validate(model, link, model.pumps[link.kindIndex], isAtTank(model, link)); break;
        case CONDUIT: conduit_validate(model, model.conduits[link.kindIndex]); break;
        case WEIR:
        case ORIFICE:
            if (!isAtTank(model, link)) {
                errors_report(model, ERR_REGULATOR_NOT_AT_TANK, link.id);
            }
            break;
        default: break;
    }
}

void linkkinds_dropTables(Model& model) {
    conduit_dropTables(model);
}

void linkkinds_initState(Model& model, Link& link) {
    link_initState(model, link);
    switch (link.kind) {
        case PIPE: pipe_initState(model, link, model.pipes[link.kindIndex]); break;
        case PUMP: pump_initState(link, model.pumps[link.kindIndex]); break;
        case CONNECTION: connection_initState(model, model.connections[link.kindIndex]); break;
        case CONDUIT: conduit_buildTables(model, model.conduits[link.kindIndex]); break;
        case WEIR: weir_initState(model.weirs[link.kindIndex]); break;
        default: break;
    }
    // A weir, connection or conduit without a rule keeps this target for the whole run, and so its setting.
    link.targetSetting = link.setting;
}

void linkkinds_endState(Model& model, Link& link) {
    switch (link.kind) {
        case PIPE: pipe_endState(link, model.pipes[link.kindIndex]); break;
        case CONNECTION: connection_endState(model.connections[link.kindIndex]); break;
        default: break;
    }
}

void linkkinds_openRun(Model& model) {
    pipe_openRun(model);
    link_openSettings(model);
}

// --- start of a step -----------------------------------------------------------------------------------------------

/// The inflow that the results of a connection show moves on only where the row of the node table that has the link's
/// number is an outfall's, though that node has nothing to do with the link; elsewhere the old one stays 0.
static void shiftConnection(Model& model, int32_t index, const Link& link) {
    const Node* node = model.nodes.find(index);
    if (node && node->kind == OUTFALL) {
        connection_shiftState(model.connections[link.kindIndex]);
    }
}

void linkkinds_shiftAll(Model& model) {
    for (const int32_t index : model.uncountedLinks) {
        Link& link = model.links[index];
        if (link.kind == PIPE) {
            pipe_roll(model, link);
            continue;
        }
        link_shiftFlow(link);
        switch (link.kind) {
            case CONNECTION: shiftConnection(model, index, link); break;
            case CONDUIT: conduit_shiftFlows(link, model.conduits[link.kindIndex]); break;
            default: break;
        }
        link_shiftQuality(model, link);
    }
}

static double getPumpTarget(const Model& model, const Link& link) {
    return isAtTank(model, link) ? pump_getTarget(link, model.pumps[link.kindIndex],
                                                  model.tanks[model.nodes[link.fromNode].kindIndex].newDepth)
                                 : link.setting;
}

void linkkinds_setTargets(Model& model) {
    for (const int32_t index : model.guidedLinks) {
        Link& link = model.links[index];
        switch (link.kind) {
            case PIPE:
            case ORIFICE: link.targetSetting = 1.0; break;
            case PUMP: link.targetSetting = getPumpTarget(model, link); break;
            default: break;  // a weir, connection or conduit stays where it was put
        }
    }
}

/// What a setting moves rests no more: a pipe, or the tank of an outlet.
static void wakeGuided(Model& model, Link& link) {
    if (link.kind == PIPE && model.pipes.holds(link.kindIndex)) {
        link.clock.restKey = 0;
        rest_wakeVisit(model, link.fromNode);
        rest_wakeVisit(model, link.toNode);
    }
    if (isAtTank(model, link)) {
        model.tanks[model.nodes[link.fromNode].kindIndex].restKey = 0;
    }
}

void linkkinds_applyTargets(Model& model) {
    for (const int32_t index : model.guidedLinks) {
        Link& link = model.links[index];
        if (link_applyTarget(link)) {
            wakeGuided(model, link);
        }
    }
}

// --- water ---------------------------------------------------------------------------------------------------------

void linkkinds_update(Model& model, const VisitLink& place, const Offer& offer, const VisitStep& step) {
    if (place.delivery >= 0) {
        serving_serve(model, place, offer, step, step.pollutants);
        return;
    }
    switch (place.kind) {
        case PIPE:
            pipe_update(model, model.links[place.link], model.pipes[place.kindIndex], offer, step.fireTime, step.dt,
                        step.pollutants);
            break;
        case CONNECTION:
            connection_update(model, model.links[place.link], model.connections[place.kindIndex], offer);
            break;
        case CONDUIT: conduit_update(model, model.links[place.link], model.conduits[place.kindIndex], offer); break;
        default: break;
    }
}

/// A lagged pipe is read a step earlier; a lagged link of another kind delivers its old values.
static double getDeliveryTime(const Model& model, const Link& link) {
    return link.isLagged ? model.clock.oldRoutingTime - model.options.routingStep * MS_PER_SECOND
                         : model.clock.oldRoutingTime;
}

/// What is served stands in the deliveries, ready to be added. A pipe that never fired has left zeros there: a sum of
/// loads that began at +0.0 is never -0.0, so they change nothing.
static void addServed(Model& model, const VisitLink& place, Node& node) {
    const double* delivery = visits_getDelivery(model, place);
    node.newUpstreamFlow += delivery[0];
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        node.massInflow[p] += delivery[1 + p];
    }
}

void linkkinds_addDelivery(Model& model, const VisitLink& place, Node& node) {
    if (place.delivery >= 0) {
        addServed(model, place, node);
        return;
    }
    Link& link = model.links[place.link];
    switch (place.kind) {
        case PIPE:
            node.newUpstreamFlow +=
                pipe_deliver(model, link, model.pipes[place.kindIndex], getDeliveryTime(model, link), node.massInflow);
            break;
        default:
            node_addDelivery(model, node, link.isLagged ? link.oldFlow : link.newFlow,
                             link.isLagged ? link.oldQual : link.newQual);
            break;
    }
}

double linkkinds_deliver(const Model& model, int32_t index, double* loads) {
    const Link& link = model.links[index];
    if (link.kind == PIPE) {
        const Pipe& pipe = model.pipes[link.kindIndex];
        if (link.clock.nextFireTime != link.clock.lastFireTime) {
            // A load is added there, and kept as it is here: what is added to -0.0 keeps its sign.
            std::fill_n(loads, model_pollutantCount(model), -0.0);
        }
        return pipe_deliver(model, link, pipe, getDeliveryTime(model, link), loads);
    }
    const double flow = link.isLagged ? link.oldFlow : link.newFlow;
    const double* quality = link.isLagged ? link.oldQual : link.newQual;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        loads[p] = quality[p] * flow / G_PER_KG;
    }
    return flow;
}

void linkkinds_feed(Model& model, int32_t node, const OutsideNode& outside, const OutsideTotals& totals) {
    for (CoupledFlow* record = outside.outflows.head; record; record = record->next) {
        const Link& link = model.links[record->index];
        if (link.fromNode != node) {
            continue;  // a record that names a foreign link feeds nothing
        }
        const double before = model.totals.flow.*totals.inflow;
        switch (link.kind) {
            case PIPE: feed_pipe(model, *record, outside, totals); break;
            case CONNECTION: feed_connection(model, *record, outside, totals); break;
            case CONDUIT: feed_conduit(model, *record, outside, totals); break;
            default: break;
        }
        record->statVolume += model.totals.flow.*totals.inflow - before;
    }
}

// --- statistics ----------------------------------------------------------------------------------------------------

/// What one link floods, into its statistics and the totals.
static void countFlood(Model& model, int32_t index, double flood, double dt) {
    const Link& link = model.links[index];
    LinkFlood& sums = model.linkFloods[index];
    model.totals.flow.floodingLoss += dt * flood;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        model.totals.quality[p].floodingLoss += dt * flood * link.newQual[p] / G_PER_KG;
    }
    if (flood > 0.0 && sums.volume == 0.0) {
        warnings_addInRun(model, WARN_RUN_FLOOD, LINK, index, link.id);
    }
    sums.volume += dt * flood;
    statistics_keepMaximum(sums.maximum, flood);
}

static void countFloods(Model& model, double dt) {
    for (int32_t k = 0; k < model.links.size(); ++k) {
        const Link& link = model.links[k];
        switch (link.kind) {
            case PIPE: countFlood(model, k, model.pipes[link.kindIndex].newFlood, dt); break;
            case CONDUIT: countFlood(model, k, model.conduits[link.kindIndex].newFlood, dt); break;
            default: break;
        }
    }
}

/// Whether a conduit floods. A concentration that is no finite number counts in the flood also where there is none.
static bool isFlooding(const Model& model, const Link& link, const Conduit& conduit) {
    return conduit.newFlood != 0.0 || !std::all_of(link.newQual, link.newQual + model_pollutantCount(model),
                                                   [](double c) { return std::isfinite(c); });
}

void linkkinds_countStep(Model& model) {
    bool isAnyFlooding = pipe_isAnyFlooding(model);
    for (const int32_t index : model.uncountedLinks) {
        Link& link = model.links[index];
        statistics_countLink(link, model.options.routingStep);
        if (link.kind == CONDUIT) {
            Conduit& conduit = model.conduits[link.kindIndex];
            conduit_countStep(model, link, conduit);
            isAnyFlooding = isFlooding(model, link, conduit) || isAnyFlooding;
        }
    }
    if (isAnyFlooding) {
        countFloods(model, model.options.routingStep);
    }
}

// --- balances ------------------------------------------------------------------------------------------------------

/// What leaves a delay within the run, with what would leave later.
static double getDelayedVolume(const Model& model, const Connection& connection) {
    const DateTime now = model_getDate(model, model.clock.newRoutingTime);
    const DateTime end = model_getDate(model, model.options.totalDuration);
    return delayqueue_sumUp(connection.flowQueue, now, end).inTime * model.options.routingStep + connection.statDelayed;
}

static double getStoredVolume(const Model& model, const Link& link) {
    switch (link.kind) {
        case PIPE: return pipe_getVolume(model.pipes[link.kindIndex]);
        case CONDUIT: return conduit_getVolume(model, model.conduits[link.kindIndex]);
        case CONNECTION: return getDelayedVolume(model, model.connections[link.kindIndex]);
        default: return 0.0;
    }
}

/// What a lagged link carries in the last step, m3, is delivered no more.
static double getLagged(const Model& model, const Link& link) {
    return link.isLagged ? link.newFlow * model.options.routingStep : 0.0;
}

Balance linkkinds_getBalance(const Model& model, int32_t index) {
    const Link& link = model.links[index];
    return {0.0, 0.0, link.statFlowVolume - getLagged(model, link), model.linkFloods[index].volume,
            getStoredVolume(model, link)};
}

double linkkinds_getUnderWay(const Model& model, int32_t index) {
    const Link& link = model.links[index];
    const double summed =
        link.kind == PIPE ? pipe_getWaterUnderWay(model, link, model.pipes[link.kindIndex], model.clock.newRoutingTime)
                          : 0.0;
    return getLagged(model, link) + summed;
}

double linkkinds_getMostUnderWay(const Model& model, int32_t index) {
    const Link& link = model.links[index];
    return link.kind == PIPE ? model.pipes[link.kindIndex].stepLength * link.statMaxFlow : 0.0;
}

// --- pollutants of a balance ---------------------------------------------------------------------------------------

static double getPipeLoad(const Model& model, const Pipe& pipe, int32_t p) {
    double load = 0.0;
    for (int32_t i = 0; i < pipe_getReachCount(pipe); ++i) {
        load += pipe.storage[i] * pipe_newSegQual(model, pipe, i)[p] / G_PER_KG;
    }
    return load;
}

static double getQueuedLoad(const Model& model, const Connection& connection, int32_t p) {
    if (!connection.loadQueue) {
        return 0.0;
    }
    const DateTime now = model_getDate(model, model.clock.newRoutingTime);
    const DateTime end = model_getDate(model, model.options.totalDuration);
    return delayqueue_sumUp(connection.loadQueue[p], now, end).inTime * model.options.routingStep;
}

double linkkinds_getStoredLoad(const Model& model, int32_t index, int32_t p) {
    const Link& link = model.links[index];
    switch (link.kind) {
        case PIPE: return getPipeLoad(model, model.pipes[link.kindIndex], p);
        case CONDUIT: return conduit_getVolume(model, model.conduits[link.kindIndex]) * link.newQual[p] / G_PER_KG;
        case CONNECTION: return getQueuedLoad(model, model.connections[link.kindIndex], p);
        default: return 0.0;
    }
}

double linkkinds_getLoadUnderWay(const Model& model, int32_t index, int32_t p) {
    const Link& link = model.links[index];
    const double summed = link.kind == PIPE ? pipe_getMassUnderWay(model, link, model.pipes[link.kindIndex],
                                                                   model.clock.newRoutingTime, p)
                                            : 0.0;
    return getLagged(model, link) * link.newQual[p] / G_PER_KG + summed;
}

double linkkinds_getFloodLoad(const Model& model, int32_t index, int32_t p) {
    const Link& link = model.links[index];
    switch (link.kind) {
        case PIPE: return model.pipes[link.kindIndex].newFlood * link.newQual[p] / G_PER_KG;
        case CONDUIT: return model.conduits[link.kindIndex].newFlood * link.newQual[p] / G_PER_KG;
        default: return 0.0;
    }
}

bool linkkinds_isBeyondEnd(const Model& model, int32_t index) {
    const Link& link = model.links[index];
    return link.kind == CONNECTION &&
           model.connections[link.kindIndex].delay * MS_PER_SECOND + model.clock.newRoutingTime >
               model.options.totalDuration;
}
