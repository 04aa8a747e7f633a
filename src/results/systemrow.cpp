// The row of the whole system: rain and losses over the land, what enters and leaves the network, and what it stores.
// Each object's share is rounded to single and added in single, in the order of its class, by the walk that makes the
// rows of all objects; here is the rest. A host that asks between two steps gets sums in double, by a walk of their
// own.

#include "results/systemrow.h"

#include <algorithm>

#include "coupling/swmm.h"
#include "model/model.h"
#include "model/timeseries.h"
#include "nodes/inflows.h"
#include "results/records.h"
#include "results/rows.h"
#include "text/units.h"

namespace {

/// Rounded to single and added in single, as all that stands in a row.
void add(float& sum, double value) {
    sum += static_cast<float>(value);
}

// --- land ----------------------------------------------------------------------------------------------------------

/// Mean of a rate over the land, from its sum weighted with the areas.
template <class Sum>
Sum getMean(Sum sum, Sum area, double unit) {
    return static_cast<Sum>(static_cast<double>(sum) / static_cast<double>(area) * unit);
}

/// Sums over the land, weighted with the areas.
template <class Sum>
struct LandSums {
    Sum area, rain, evap, infil, runoff;
};

template <class Sum>
void closeLand(const LandSums<Sum>& sums, Sum* row) {
    if (sums.area > 0) {
        row[SYSTEM_RAINFALL] = getMean(sums.rain, sums.area, MM_PER_HOUR);
        row[SYSTEM_EVAPORATION] = getMean(sums.evap, sums.area, MM_PER_DAY);
        row[SYSTEM_INFILTRATION] = getMean(sums.infil, sums.area, MM_PER_HOUR);
        row[SYSTEM_RUNOFF] = sums.runoff;
    }
}

void fillLand(const Model& model, double* row) {
    LandSums<double> sums{};
    for (const Subcatch& s : model.subcatches) {
        sums.area += s.area;
        if (s.gage >= 0) {
            sums.rain += s.area * s.rain;
        }
        sums.evap += s.area * s.evapRate;
        sums.infil += s.area * s.infilRate;
        sums.runoff += rowvalues_mix(1.0, s.lastRunoff, s.thisRunoff);
    }
    closeLand(sums, row);
}

// --- inflows -------------------------------------------------------------------------------------------------------

/// Looks up a series by a cursor of its own: a look at results must not move what the simulation reads next.
double lookUpSeries(Series& series, DateTime date) {
    SeriesCursor cursor = series.cursor;
    return timeseries_lookup(series, cursor, date);
}

/// The external flow of a node, m3/s: its first flow record alone.
double getExternalFlow(Model& model, const Node& node, DateTime date) {
    const ExtInflow* record = node.extInflow;
    while (record && record->kind != INFLOW_FLOW) {
        record = record->next;
    }
    if (!record) {
        return 0.0;
    }
    if (record->series < 0) {
        return record->baseline;
    }
    return lookUpSeries(model.timeSeries[record->series], date) * record->scale + record->baseline;
}

/// What the host asks nodes for, up to one of them, from a place in the sorted list on; moves the place. It shows only
/// in a call that didn't route: a step that routes has used it up.
void addHostFlows(const std::vector<HostInflow>& requests, int32_t node, size_t& place, float* row) {
    while (place < requests.size() && requests[place].node <= node) {
        add(row[SYSTEM_DIRECT_INFLOW], requests[place++].value);
    }
}

void addDirectInflows(Model& model, DateTime date, float* row) {
    // Sorted in a copy: the list itself keeps its order for the step that takes it.
    std::vector<HostInflow> requests = model.requests.inflows;
    std::stable_sort(requests.begin(), requests.end(),
                     [](const HostInflow& a, const HostInflow& b) { return a.node < b.node; });
    size_t place = 0;
    for (const int32_t node : model.nodesWithExternal) {
        addHostFlows(requests, node - 1, place, row);
        add(row[SYSTEM_DIRECT_INFLOW], getExternalFlow(model, model.nodes[node], date));
    }
    addHostFlows(requests, model.nodes.size() - 1, place, row);
}

void addDryWeatherFlows(const Model& model, DateTime date, float* row) {
    const int32_t hour = datetime_getHour(date);
    for (const DryWeatherNode& entry : model.nodesWithDryWeather) {
        if (entry.flow) {
            add(row[SYSTEM_DRY_WEATHER_FLOW], inflows_dryWeatherValue(model, *entry.flow, hour));
        }
    }
}

/// What comes to a node from outside now.
void addInflows(Model& model, const Node& node, DateTime date, int32_t hour, double* row) {
    if (node.extInflow) {
        row[SYSTEM_DIRECT_INFLOW] += getExternalFlow(model, node, date);
    }
    if (const DwfInflow* record = inflows_findDryWeather(node.dwfInflow, -1)) {
        row[SYSTEM_DRY_WEATHER_FLOW] += inflows_dryWeatherValue(model, *record, hour);
    }
}

// --- network -------------------------------------------------------------------------------------------------------

// For each table: addTANK adds what a tank has to add.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-variable"  // many have nothing
#define RESULT_TABLE(token, table, type, kind, words, toldResult, record)                                     \
    [[maybe_unused, gnu::always_inline]] inline void add##token(                                              \
        [[maybe_unused]] const Model& model, [[maybe_unused]] int32_t object, [[maybe_unused]] double* row) { \
        [[maybe_unused]] constexpr double f = 1.0;                                                            \
        record
#define RESULT_SHARE(token, value) row[SYSTEM_##token] += value;
#define RESULT_END() }
#include "results/columns.def"
#pragma GCC diagnostic pop

[[gnu::always_inline]] inline void addNode(const Model& model, int32_t index, double* row) {
    const Node& node = model.nodes[index];
    row[SYSTEM_TOTAL_INFLOW] += rowvalues_mix(1.0, node.oldInflow, node.newInflow);
    switch (node.kind) {
#define RESULT_NODES(token, ...)       \
    case token:                        \
        add##token(model, index, row); \
        break;
#include "results/columns.def"
        default: break;
    }
    if (node.kind == SWMM) {  // a kind without a table of its own
        swmm_addFlows(model, node.kindIndex, row[SYSTEM_SWMM_INFLOW], row[SYSTEM_SWMM_OUTFLOW]);
    }
}

[[gnu::always_inline]] inline void addLink(const Model& model, int32_t index, double* row) {
    switch (model.links[index].kind) {
#define RESULT_LINKS(token, ...)       \
    case token:                        \
        add##token(model, index, row); \
        break;
#include "results/columns.def"
        default: break;
    }
}

/// All nodes, and below all links. The sums of a walk stand in places of its own, which no other code knows: so they
/// needn't go through memory for each object.
void addNodes(Model& model, double* row) {
    double sums[SYSTEM_LENGTH];
    std::copy_n(row, SYSTEM_LENGTH, sums);
    const DateTime date = model_getDate(model, model.clock.newRoutingTime);
    const int32_t hour = datetime_getHour(date);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        addInflows(model, model.nodes[k], date, hour, sums);
        addNode(model, k, sums);
    }
    std::copy_n(sums, SYSTEM_LENGTH, row);
}

void addLinks(const Model& model, double* row) {
    double sums[SYSTEM_LENGTH];
    std::copy_n(row, SYSTEM_LENGTH, sums);
    for (int32_t k = 0; k < model.links.size(); ++k) {
        rows_fetchLinks(model, k);
        addLink(model, k, sums);
    }
    std::copy_n(sums, SYSTEM_LENGTH, row);
}

/// Flows of outside models, a kind without rows.
void addModels(const Model& model, const std::vector<RowRun>& runs, float* row) {
    for (const RowRun& run : runs) {
        for (int32_t k = 0; run.table < 0 && run.kind == SWMM && k < run.count; ++k) {
            swmm_addFlows(model, run.kindIndex + k, row[SYSTEM_SWMM_INFLOW], row[SYSTEM_SWMM_OUTFLOW]);
        }
    }
}

}  // namespace

void systemrow_close(Model& model, DateTime date, const std::vector<RowRun>& runs, const float* sums, float* row) {
    std::copy_n(sums, SYSTEM_LENGTH, row);
    row[SYSTEM_RAINFALL] = row[SYSTEM_EVAPORATION] = row[SYSTEM_INFILTRATION] = row[SYSTEM_RUNOFF] = 0.0f;
    closeLand<float>({sums[LAND_AREA_SUM], sums[SYSTEM_RAINFALL], sums[SYSTEM_EVAPORATION], sums[SYSTEM_INFILTRATION],
                      sums[SYSTEM_RUNOFF]},
                     row);
    addDirectInflows(model, date, row);
    addDryWeatherFlows(model, date, row);
    addModels(model, runs, row);
}

void systemrow_fillNow(Model& model, double* row) {
    std::fill_n(row, SYSTEM_LENGTH, 0.0);
    fillLand(model, row);
    addNodes(model, row);
    addLinks(model, row);
}
