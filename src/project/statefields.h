#pragma once
// All that a run keeps, in the order in which a state holds it.

#include "controls/rulefields.h"
#include "coupling/coupledfields.h"
#include "hydrology/landfields.h"
#include "links/linkfields.h"
#include "model/fields.h"
#include "model/model.h"
#include "model/modelfields.h"
#include "nodes/nodefields.h"
#include "project/reader.h"
#include "results/resultsfields.h"
#include "routing/visits.h"

/// Where and when a state was taken.
struct StateOrigin {
    double time;          ///< ms since the start of its run
    double date;          ///< days, the same as a date
    int32_t routingStep;  ///< s
    bool hasReports;      ///< its run made reports, so its period is that of its clock
};

template <class V>
void stateorigin_walk(V& v, StateOrigin& origin) {
    v.setting(NAMED(origin.time), FieldSpan{0.0, LATEST_TIME});
    v.setting(NAMED(origin.date));
    v.setting(NAMED(origin.routingStep), FieldSpan{1, INT32_MAX});
    v.setting(NAMED(origin.hasReports));
}

/// What the model itself holds of the project, or makes at a start.
template <class V>
void model_walkFixed(V& v, Model& model) {
    v.fixed(model.files, model.engines, model.error, model.log, model.isSilent, model.pace, model.isOpen,
            model.isStarted, model.fingerprint, model.memory, model.description, model.counts, model.names,
            model.curves, model.patterns, model.outgoingLinks, model.incomingLinks, model.clauseState, model.running,
            model.sensors, model.sinks, model.sortedNodes, model.visitCount, model.reachedCount, model.visits,
            model.areVisitsDue, model.isOrderStraight, model.outgoingVisits, model.incomingVisits, model.visitsByNode,
            model.nodesRolledAhead, model.deliveries, model.rest, model.restingPipes, model.uncountedNodes,
            model.uncountedLinks, model.workers, model.buildupRules, model.landRest, model.lidRest, model.loadBook,
            model.circleTables);
}

template <class V>
void options_walk(V& v, Options& options) {
    v.fixed(options.startDate, options.startTime, options.endDate, options.endTime, options.startDateTime,
            options.endDateTime, options.totalDuration, options.routingStep, options.reportStep, options.startDryDays,
            options.reportAverage, options.lidMonoRainfall, options.eventInterval, options.eventMinValue,
            options.conduitLengthening);
    v.setting(NAMED(options.runoffStep), FieldSpan{1, INT32_MAX});  // a start may shorten it
}

/// `requests` are those of the model, or the spare ones of a restoring.
template <class V>
void state_walk(V& v, Model& model, StateOrigin& origin, HostRequests& requests) {
    model_walkFixed(v, model);
    stateorigin_walk(v, origin);
    clock_walk(v, model.clock);
    land_walk(v, model);
    nodes_walk(v, model);
    links_walk(v, model);
    v.part([&] {
        totals_walk(v, model.totals, model);
        options_walk(v, model.options);
        v.rows("pollutant", model.polluts, [&](V& own, Pollut& row) {
            own.fixed(row.id);
            own.setting(NAMED(row.rainConcentration));
        });
        v.rows("time series", model.timeSeries, [&](V& own, Series& row) { timeseries_walk(own, row); });
        land_walkForcing(v, model);
        requests_walk(v, requests, model);
        rules_walk(v, model);
        coupled_walk(v, model);
        results_walk(v, model);
    });
}
