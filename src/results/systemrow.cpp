// The row of the whole system: rain and losses over the land, what enters and leaves the network, and what it stores.
// Each object's share is rounded to single and added in single, in the order of the tables.

#include <algorithm>

#include "coupling/swmm.h"
#include "hydrology/gage.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/pipe.h"
#include "model/curve.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "results/rows.h"

namespace {

enum SystemColumn : int32_t {
    RAINFALL,
    EVAPORATION,
    INFILTRATION,
    RUNOFF,
    TOTAL_INFLOW,
    DIRECT_INFLOW,
    DRY_WEATHER_FLOW,
    FLOOD,
    SWMM_INFLOW,
    OUTFLOW,
    SWMM_OUTFLOW,
    STORAGE
};

void add(float& sum, double value) {
    sum += static_cast<float>(value);
}

double mix(double f, double older, double newer) {
    return (1.0 - f) * older + f * newer;
}

// --- land ----------------------------------------------------------------------------------------------------------

/// Mean of a rate over the land, from its sum weighted with the areas.
float getMean(float sum, float area, double unit) {
    return static_cast<float>(static_cast<double>(sum) / static_cast<double>(area) * unit);
}

void fillLand(double f, float* row) {
    float area = 0.0f, rain = 0.0f, evap = 0.0f, infil = 0.0f, runoff = 0.0f;
    for (const Subcatch& s : Subcatches) {
        add(area, s.area);
        if (s.gage >= 0) {
            add(rain, s.area * Gages[s.gage].reportRain);
        }
        add(evap, s.area * s.evapRate);
        add(infil, s.area * s.infilRate);
        add(runoff, mix(f, s.lastRunoff, s.thisRunoff));
    }
    if (area > 0.0f) {
        row[RAINFALL] = getMean(rain, area, 3600000.0);
        row[EVAPORATION] = getMean(evap, area, 86400000.0);
        row[INFILTRATION] = getMean(infil, area, 3600000.0);
        row[RUNOFF] = runoff;
    }
}

// --- inflows -------------------------------------------------------------------------------------------------------

/// Looks up a series and puts its cursor back: a look at results must not move what the simulation reads next.
double lookUpSeries(Curve& table, DateTime date) {
    const double x1 = table.x1, y1 = table.y1, x2 = table.x2, y2 = table.y2;
    const double lastDate = table.lastDate;
    const int32_t thisEntry = table.thisEntry;
    const int64_t position = table.file.file ? textfile_getPosition(table.file) : 0;
    const bool isAtEnd = table.file.isAtEnd;
    const double value = curve_lookup(table, date);
    table.x1 = x1;
    table.y1 = y1;
    table.x2 = x2;
    table.y2 = y2;
    table.lastDate = lastDate;
    table.thisEntry = thisEntry;
    if (table.file.file) {
        textfile_setPosition(table.file, position);
        table.file.isAtEnd = isAtEnd;
    }
    return value;
}

/// The external flow of a node, m3/s: its first flow record alone.
double getExternalFlow(const Node& node, DateTime date) {
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
    return lookUpSeries(TimeSeries[record->series], date) * record->scale + record->baseline;
}

/// What the host asks a node for, from its place in the sorted list on; moves the place. It shows only in a call that
/// didn't route: a step that routes has used it up.
void addHostFlows(const std::vector<HostInflow>& requests, int32_t node, size_t& place, float* row) {
    while (place < requests.size() && requests[place].node <= node) {
        add(row[DIRECT_INFLOW], requests[place++].value);
    }
}

void addInflows(const Node& node, double f, DateTime date, float* row) {
    add(row[TOTAL_INFLOW], mix(f, node.oldInflow, node.newInflow));
    if (node.extInflow) {
        add(row[DIRECT_INFLOW], getExternalFlow(node, date));
    }
    if (const DwfInflow* record = inflows_findDryWeather(node.dwfInflow, -1)) {
        add(row[DRY_WEATHER_FLOW], inflows_dryWeatherValue(*record, date));
    }
}

// --- network -------------------------------------------------------------------------------------------------------

/// Flood and storage of a node that stores water.
void addNode(int32_t index, double f, float* row) {
    const Node& node = Nodes[index];
    switch (node.kind) {
        case SWMM: swmm_addFlows(node.kindIndex, row[SWMM_INFLOW], row[SWMM_OUTFLOW]); break;
        case TANK: {
            const Tank& tank = Tanks[node.kindIndex];
            add(row[FLOOD], mix(f, tank.oldFlood, tank.newFlood));
            add(row[STORAGE], tank_getVolume(tank, mix(f, tank.oldDepth, tank.newDepth)));
            break;
        }
        case REACTOR: add(row[STORAGE], Reactors[node.kindIndex].storedVolume); break;
        case LID_MONO: add(row[STORAGE], lidmono_getVolume(node.kindIndex)); break;
        case OUTFALL: add(row[OUTFLOW], mix(f, node.oldInflow, node.newInflow)); break;
        default: break;
    }
}

/// Flood and storage of a link.
void addLink(int32_t index, double f, float* row) {
    const Link& link = Links[index];
    switch (link.kind) {
        case PIPE: {
            const Pipe& pipe = Pipes[link.kindIndex];
            add(row[FLOOD], mix(f, pipe.oldFlood, pipe.newFlood));
            add(row[STORAGE], pipe_getVolume(pipe));
            break;
        }
        case CONDUIT: {
            const Conduit& conduit = Conduits[link.kindIndex];
            add(row[FLOOD], mix(f, conduit.oldFlood, conduit.newFlood));
            add(row[STORAGE], conduit_getVolume(conduit));
            break;
        }
        default: break;
    }
}

}  // namespace

void rows_fillSystem(DateTime date, double networkFactor, double landFactor, float* row) {
    std::fill_n(row, SYSTEM_LENGTH, 0.0f);
    fillLand(landFactor, row);
    // Sorted in a copy: the list itself keeps its order for the step that takes it.
    std::vector<HostInflow> requests = HostInflows;
    std::stable_sort(requests.begin(), requests.end(),
                     [](const HostInflow& a, const HostInflow& b) { return a.node < b.node; });
    size_t hostPlace = 0;
    const auto nodeCount = Nodes.size();
    for (int32_t k = 0; k < nodeCount; ++k) {
        const Node& node = Nodes[k];
        addInflows(node, networkFactor, date, row);
        addHostFlows(requests, k, hostPlace, row);
        addNode(k, networkFactor, row);
    }
    const auto linkCount = Links.size();
    for (int32_t k = 0; k < linkCount; ++k) {
        rows_fetchAhead(LINK, nullptr, linkCount, k);
        addLink(k, networkFactor, row);
    }
}
