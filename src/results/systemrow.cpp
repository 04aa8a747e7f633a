// The row of the whole system: rain and losses over the land, what enters and leaves the network, and what it stores.
// Each object's share is rounded to single and added in single, in the order of the tables. What an object shares of
// its kind stands in the list of columns.

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

/// In single for rows, in double for a host that asks between them.
template <class Sum>
void add(Sum& sum, double value) {
    sum += static_cast<Sum>(value);
}

// --- land ----------------------------------------------------------------------------------------------------------

/// Mean of a rate over the land, from its sum weighted with the areas.
template <class Sum>
Sum getMean(Sum sum, Sum area, double unit) {
    return static_cast<Sum>(static_cast<double>(sum) / static_cast<double>(area) * unit);
}

/// Rain of a subcatchment, m/s: that which its gage shows in a row, or that of the last step.
double getRain(const Model& model, const Subcatch& s, bool isRow) {
    return isRow ? model.gages[s.gage].reportRain : s.rain;
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

template <class Sum>
void fillLand(const Model& model, double f, bool isRow, Sum* row) {
    LandSums<Sum> sums{};
    for (const Subcatch& s : model.subcatches) {
        add(sums.area, s.area);
        if (s.gage >= 0) {
            add(sums.rain, s.area * getRain(model, s, isRow));
        }
        add(sums.evap, s.area * s.evapRate);
        add(sums.infil, s.area * s.infilRate);
        add(sums.runoff, rowvalues_mix(f, s.lastRunoff, s.thisRunoff));
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

/// What the host asks a node for, from its place in the sorted list on; moves the place. It shows only in a call that
/// didn't route: a step that routes has used it up.
template <class Sum>
void addHostFlows(const std::vector<HostInflow>& requests, int32_t node, size_t& place, Sum* row) {
    while (place < requests.size() && requests[place].node <= node) {
        add(row[SYSTEM_DIRECT_INFLOW], requests[place++].value);
    }
}

template <class Sum>
[[gnu::always_inline]] inline void addInflows(Model& model, const Node& node, double f, DateTime date, int32_t hour,
                                              Sum* row) {
    add(row[SYSTEM_TOTAL_INFLOW], rowvalues_mix(f, node.oldInflow, node.newInflow));
    if (node.extInflow) {
        add(row[SYSTEM_DIRECT_INFLOW], getExternalFlow(model, node, date));
    }
    if (const DwfInflow* record = inflows_findDryWeather(node.dwfInflow, -1)) {
        add(row[SYSTEM_DRY_WEATHER_FLOW], inflows_dryWeatherValue(model, *record, hour));
    }
}

// --- network -------------------------------------------------------------------------------------------------------

// For each table: addTANK adds what a tank has to add.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-variable"  // many have nothing
#define RESULT_TABLE(token, table, type, kind, words, toldResult, record)                                \
    template <class Sum>                                                                                 \
    [[maybe_unused, gnu::always_inline]] inline void add##token(                                         \
        [[maybe_unused]] const Model& model, [[maybe_unused]] int32_t object, [[maybe_unused]] double f, \
        [[maybe_unused]] Sum* row) {                                                                     \
        record
#define RESULT_SHARE(token, value) add(row[SYSTEM_##token], value);
#define RESULT_END() }
#include "results/columns.def"
#pragma GCC diagnostic pop

template <class Sum>
[[gnu::always_inline]] inline void addNode(Model& model, int32_t index, double f, Sum* row) {
    const Node& node = model.nodes[index];
    switch (node.kind) {
#define RESULT_NODES(token, ...)          \
    case token:                           \
        add##token(model, index, f, row); \
        break;
#include "results/columns.def"
        default: break;
    }
    if (node.kind == SWMM) {  // a kind without a table of its own
        Sum inflow = row[SYSTEM_SWMM_INFLOW], outflow = row[SYSTEM_SWMM_OUTFLOW];
        swmm_addFlows(model, node.kindIndex, inflow, outflow);
        row[SYSTEM_SWMM_INFLOW] = inflow;
        row[SYSTEM_SWMM_OUTFLOW] = outflow;
    }
}

template <class Sum>
[[gnu::always_inline]] inline void addLink(const Model& model, int32_t index, double f, Sum* row) {
    switch (model.links[index].kind) {
#define RESULT_LINKS(token, ...)          \
    case token:                           \
        add##token(model, index, f, row); \
        break;
#include "results/columns.def"
        default: break;
    }
}

/// What stands at the host's door besides, in a call that didn't route.
struct HostFlows {
    std::vector<HostInflow> sorted;
    size_t place = 0;
};

/// All nodes, and below all links. The sums of a walk stand in places of its own, which no other code knows: so they
/// needn't go through memory for each object.
template <class Sum>
void addNodes(Model& model, double f, DateTime date, HostFlows& host, Sum* row) {
    Sum sums[SYSTEM_LENGTH];
    std::copy_n(row, SYSTEM_LENGTH, sums);
    const int32_t hour = datetime_getHour(date);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        addInflows(model, model.nodes[k], f, date, hour, sums);
        addHostFlows(host.sorted, k, host.place, sums);
        addNode(model, k, f, sums);
    }
    std::copy_n(sums, SYSTEM_LENGTH, row);
}

template <class Sum>
void addLinks(const Model& model, double f, Sum* row) {
    Sum sums[SYSTEM_LENGTH];
    std::copy_n(row, SYSTEM_LENGTH, sums);
    const int32_t count = model.links.size();
    for (int32_t k = 0; k < count; ++k) {
        rows_fetchLinks(model, k);
        addLink(model, k, f, sums);
    }
    std::copy_n(sums, SYSTEM_LENGTH, row);
}

/// Sorted in a copy: the list itself keeps its order for the step that takes it.
HostFlows sortHostFlows(const Model& model) {
    HostFlows host{model.requests.inflows};
    std::stable_sort(host.sorted.begin(), host.sorted.end(),
                     [](const HostInflow& a, const HostInflow& b) { return a.node < b.node; });
    return host;
}

/// What comes in from outside, by the lists of the nodes that it comes to.
void addListedInflows(Model& model, DateTime date, float* row) {
    HostFlows host = sortHostFlows(model);
    for (const int32_t node : model.nodesWithExternal) {
        addHostFlows(host.sorted, node - 1, host.place, row);
        add(row[SYSTEM_DIRECT_INFLOW], getExternalFlow(model, model.nodes[node], date));
    }
    addHostFlows(host.sorted, model.nodes.size() - 1, host.place, row);
    const int32_t hour = datetime_getHour(date);
    for (const DryWeatherNode& entry : model.nodesWithDryWeather) {
        if (entry.flow) {
            add(row[SYSTEM_DRY_WEATHER_FLOW], inflows_dryWeatherValue(model, *entry.flow, hour));
        }
    }
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

void systemrow_fill(Model& model, DateTime date, double networkFactor, double landFactor, float* row) {
    std::fill_n(row, SYSTEM_LENGTH, 0.0f);
    fillLand(model, landFactor, true, row);
    HostFlows host = sortHostFlows(model);
    addNodes(model, networkFactor, date, host, row);
    addLinks(model, networkFactor, row);
}

void systemrow_close(Model& model, DateTime date, const std::vector<RowRun>& runs, const float* sums, float* row) {
    std::copy_n(sums, SYSTEM_LENGTH, row);
    row[SYSTEM_RAINFALL] = row[SYSTEM_EVAPORATION] = row[SYSTEM_INFILTRATION] = row[SYSTEM_RUNOFF] = 0.0f;
    closeLand<float>({sums[LAND_AREA_SUM], sums[SYSTEM_RAINFALL], sums[SYSTEM_EVAPORATION], sums[SYSTEM_INFILTRATION],
                      sums[SYSTEM_RUNOFF]},
                     row);
    addListedInflows(model, date, row);
    addModels(model, runs, row);
}

void systemrow_fillNow(Model& model, double* row) {
    std::fill_n(row, SYSTEM_LENGTH, 0.0);
    fillLand(model, 1.0, false, row);
    HostFlows none;
    addNodes(model, 1.0, model_getDate(model, model.clock.newRoutingTime), none, row);
    addLinks(model, 1.0, row);
}
