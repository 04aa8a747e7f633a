#pragma once
// The fields of the records of the folder that a run changes, told for saving and restoring (model/fields.h).

#include <algorithm>

#include "model/curve.h"
#include "model/fields.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/timeseries.h"

/// Beyond this, ms, no clock of a run can stand.
constexpr double LATEST_TIME = 1.0e15;

/// The clocks of the run. That of the runoff may be ahead of that of the routing, and stays so in a new run.
template <class V>
void clock_walk(V& v, Clock& clock) {
    v.time(NAMED(clock.oldRunoffTime), FieldSpan{0.0, LATEST_TIME});
    v.time(NAMED(clock.newRunoffTime), FieldSpan{0.0, LATEST_TIME});
    v.total(NAMED(clock.oldRoutingTime), FieldSpan{0.0, LATEST_TIME});
    v.total(NAMED(clock.newRoutingTime), FieldSpan{0.0, LATEST_TIME});
    v.total(NAMED(clock.reportTime), FieldSpan{0.0, LATEST_TIME});
    v.total(NAMED(clock.elapsedDays));
}

template <class V>
void totals_walkFlow(V& v, FlowTotalsRecord& flow) {
    v.total(NAMED(flow.externalInflow));
    v.total(NAMED(flow.dryWeatherInflow));
    v.total(NAMED(flow.wetWeatherInflow));
    v.total(NAMED(flow.swmmInflow));
    v.total(NAMED(flow.vornInflow));
    v.total(NAMED(flow.floodingLoss));
    v.total(NAMED(flow.externalOutflow));
    v.total(NAMED(flow.swmmOutflow));
    v.total(NAMED(flow.vornOutflow));
    v.total(NAMED(flow.evapLoss));
    v.total(NAMED(flow.seepageLoss));
    v.total(NAMED(flow.reserved));
    v.total(NAMED(flow.delayedVolume));
    v.total(NAMED(flow.initStorage));
    v.total(NAMED(flow.finalStorage));
}

template <class V>
void totals_walkQuality(V& v, QualTotalsRecord& quality) {
    v.total(NAMED(quality.externalInflow));
    v.total(NAMED(quality.dryWeatherInflow));
    v.total(NAMED(quality.wetWeatherInflow));
    v.total(NAMED(quality.swmmInflow));
    v.total(NAMED(quality.vornInflow));
    v.total(NAMED(quality.floodingLoss));
    v.total(NAMED(quality.externalOutflow));
    v.total(NAMED(quality.swmmOutflow));
    v.total(NAMED(quality.vornOutflow));
    v.total(NAMED(quality.reserved));
    v.total(NAMED(quality.seepageLoss));
    v.total(NAMED(quality.reactedLoss));
    v.total(NAMED(quality.delayedMass));
    v.total(NAMED(quality.initStorage));
    v.total(NAMED(quality.finalStorage));
}

template <class V>
void totals_walk(V& v, Totals& totals, const Model& model) {
    totals_walkFlow(v, totals.flow);
    v.fixed(totals.quality);
    for (int32_t p = 0; totals.quality && p < model_pollutantCount(model); ++p) {
        totals_walkQuality(v, totals.quality[p]);
    }
    v.total(NAMED(totals.initSurfaceStorage));
    v.total(NAMED(totals.startVolumes), totals.startVolumes ? model_getPlaceCount(model) : 0);
    v.total(NAMED(totals.runoffError));
    v.total(NAMED(totals.flowError));
    v.total(NAMED(totals.qualityError));
}

template <class V>
void timeseries_walkCursor(V& v, SeriesCursor& cursor, const Series& series) {
    v.setting(NAMED(cursor.before.date));
    v.setting(NAMED(cursor.before.value));
    v.setting(NAMED(cursor.after.date));
    v.setting(NAMED(cursor.after.value));
    v.setting(NAMED(cursor.nextEntry), FieldSpan{0.0, static_cast<double>(series.entries.size())});
    v.setting(NAMED(cursor.position), FieldSpan{0.0, 9.0e18});
    v.setting(NAMED(cursor.isAtEnd));
}

template <class V>
void timeseries_walk(V& v, Series& series) {
    v.fixed(series.id, series.isUsedByInflow, series.isInFile, series.dateInForce, series.endDate, series.entries,
            series.fileName, series.file, series.endPosition, series.summary, series.oddLine, series.beginning);
    timeseries_walkCursor(v, series.cursor, series);
}

// --- laws ----------------------------------------------------------------------------------------------------------

/// Decay of each pollutant in one object, which a host may change.
template <class V>
void decay_walk(V& v, Decay* decays, const Model& model) {
    for (int32_t p = 0; decays && p < model_pollutantCount(model); ++p) {
        Decay& decay = decays[p];
        v.setting(NAMED(decay.type), FieldSpan{-1.0, FIRST_ORDER});
        // Where nothing decays the number is 0, even if there is no pattern; whoever asks for a factor tests it.
        v.setting(NAMED(decay.pattern), FieldSpan{-1.0, std::max(model.patterns.size() - 1.0, 0.0)});
        v.setting(NAMED(decay.k));
        v.fixed(decay.exponent, decay.factor);  // kept of the step that worked it out last, which skipped ones don't
    }
}

// --- requests of a host --------------------------------------------------------------------------------------------

/// A list of the host's. It is restored into a spare one, which takes its place when all has proved good.
template <class Request>
struct RequestList {
    std::vector<Request>& requests;
    const Model& model;

    static constexpr FieldSort SORT = SORT_SETTING;
    static constexpr bool IS_SPARE = true;
    using Entry = Request;

    static int64_t getLimit() { return INT32_MAX; }
    int64_t count() const { return static_cast<int64_t>(requests.size()); }
    template <class Function>
    void forEach(Function function) const {
        for (Request& request : requests) {
            function(request);
        }
    }
    void put(int64_t, const Request& request) const { requests.push_back(request); }

    FieldSpan getNodes() const { return {0.0, model.nodes.size() - 1.0}; }
    template <class V>
    void walkEntry(V& v, HostInflow& request) const {
        // A flow has the number of the first pollutant, whether there is one or not; of loads there is none then.
        const double pollutants = model.polluts.size();
        v.setting(NAMED(request.node), getNodes());
        v.setting(NAMED(request.pollutant), FieldSpan{0.0, pollutants > 0.0 ? pollutants - 1.0 : 0.0});
        v.setting(NAMED(request.value));
    }
    template <class V>
    void walkEntry(V& v, SwmmRequest& request) const {
        v.setting(NAMED(request.node), getNodes());
        v.setting(NAMED(request.object));
        v.setting(NAMED(request.pollutant));
        v.setting(NAMED(request.value));
    }
};

template <class V>
void requests_walk(V& v, HostRequests& requests, const Model& model) {
    v.fixed(requests.inflows, requests.loads, requests.heldInflows, requests.heldLoads, requests.swmmInflows,
            requests.swmmSettings, requests.swmmLoads);
    v.list("requests.inflows", RequestList<HostInflow>{requests.inflows, model});
    v.list("requests.loads", RequestList<HostInflow>{requests.loads, model});
    v.list("requests.heldInflows", RequestList<HostInflow>{requests.heldInflows, model});
    v.list("requests.heldLoads", RequestList<HostInflow>{requests.heldLoads, model});
    v.list("requests.swmmInflows", RequestList<SwmmRequest>{requests.swmmInflows, model});
    v.list("requests.swmmSettings", RequestList<SwmmRequest>{requests.swmmSettings, model});
    v.list("requests.swmmLoads", RequestList<SwmmRequest>{requests.swmmLoads, model});
}
