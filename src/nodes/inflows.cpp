// Direct inflows. New records go to the head of a node's list, and which older one a line replaces differs by kind; the
// order decides which flow record counts, so it is kept exactly.

#include "nodes/inflows.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const InflowKindWords[] = {"FLOW", "CONCEN", "MASS", nullptr};

static std::vector<int32_t> NodesWithExternal;  ///< in node order

/// A node with dry-weather inflows, and its record of the flow, which mostly is the last of its list.
struct DryWeatherNode {
    int32_t node;
    const DwfInflow* flow;  ///< or null
};
static std::vector<DryWeatherNode> NodesWithDryWeather;  ///< in node order

// --- reading -------------------------------------------------------------------------------------------------------

/// Finds an object by a word that may be empty, which means none. The error, or 0.
static int32_t findOptional(int32_t type, const char* word, int32_t& index) {
    index = -1;
    if (*word) {
        index = names_find(type, word);
        if (index < 0) {
            return errors_setName(ERR_UNDEFINED_OBJECT, word);
        }
    }
    return ERR_NONE;
}

/// The record that a line overwrites, or null if it makes a new one.
static ExtInflow* findReplaced(ExtInflow* list, int32_t kind, int32_t pollutant) {
    if (kind == INFLOW_FLOW) {
        return list;  // whatever kind the newest record is
    }
    if (kind == INFLOW_CONCEN) {
        while (list && list->pollutant != pollutant) {
            list = list->next;
        }
        return list;
    }
    return nullptr;
}

static int32_t storeExternal(Node& node, const ExtInflow& values) {
    ExtInflow* record = findReplaced(node.extInflow, values.kind, values.pollutant);
    if (!record) {
        record = arena_allocateArray<ExtInflow>(ProjectArena, 1);
        if (!record) {
            return errors_setName(ERR_MEMORY, "");
        }
        record->next = node.extInflow;
        node.extInflow = record;
    }
    ExtInflow* next = record->next;
    *record = values;
    record->next = next;
    if (values.series >= 0) {
        TimeSeries[values.series].isUsedByInflow = true;
    }
    return ERR_NONE;
}

int32_t inflows_readExternal(const Tokens& tokens) {
    if (tokens.count < 5) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t node = names_find(NODE, tokens[0]);
    if (node < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    ExtInflow record{};
    record.kind = tokens_findKeyword(tokens[1], InflowKindWords);
    if (record.kind < 0) {
        return errors_setName(ERR_KEYWORD, tokens[1]);
    }
    record.pollutant = -1;
    if (record.kind != INFLOW_FLOW) {
        record.pollutant = names_find(POLLUT, tokens[2]);
        if (record.pollutant < 0) {
            return errors_setName(ERR_UNDEFINED_OBJECT, tokens[2]);
        }
    } else if (std::strcmp(tokens[2], "FLOW") != 0) {
        return errors_setName(ERR_KEYWORD, tokens[2]);
    }
    if (!tokens_getDouble(tokens[3], &record.baseline)) {
        return errors_setName(ERR_NUMBER, tokens[3]);
    }
    if (const int32_t error = findOptional(TSERIES, tokens[4], record.series)) {
        return error;
    }
    if (tokens.count < 6) {
        return errors_setName(ERR_ITEMS, "");
    }
    if (!tokens_getDouble(tokens[5], &record.scale)) {
        return errors_setName(ERR_NUMBER, tokens[5]);
    }
    return storeExternal(Nodes[node], record);
}

int32_t inflows_readDryWeather(const Tokens& tokens) {
    if (tokens.count < 4) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t index = names_find(NODE, tokens[0]);
    if (index < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    int32_t pollutant = -1;
    if (std::strcmp(tokens[1], "FLOW") != 0) {
        pollutant = names_find(POLLUT, tokens[1]);
        if (pollutant < 0) {
            return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
        }
    }
    double average;
    if (!tokens_getDouble(tokens[2], &average)) {
        return errors_setName(ERR_NUMBER, tokens[2]);
    }
    int32_t pattern;
    if (const int32_t error = findOptional(PATTERN, tokens[3], pattern)) {
        return error;
    }
    Node& node = Nodes[index];
    auto* record = const_cast<DwfInflow*>(inflows_findDryWeather(node.dwfInflow, pollutant));
    if (!record) {
        record = arena_allocateArray<DwfInflow>(ProjectArena, 1);
        if (!record) {
            return errors_setName(ERR_MEMORY, "");
        }
        record->next = node.dwfInflow;
        node.dwfInflow = record;
    }
    record->pollutant = pollutant;
    record->average = average;
    record->pattern = pattern;
    return ERR_NONE;
}

void inflows_validateDryWeather(int32_t node) {
    for (const DwfInflow* record = Nodes[node].dwfInflow; record; record = record->next) {
        if (record->pattern >= 0) {
            const Pattern& pattern = Patterns[record->pattern];
            if (pattern.type != PATTERN_HOURLY) {
                errors_report(ERR_DWF_PATTERN, pattern.id);
            }
        }
    }
}

// --- external inflows ----------------------------------------------------------------------------------------------

void inflows_clear() {
    NodesWithExternal = {};
    NodesWithDryWeather = {};
}

void inflows_openRun() {
    NodesWithExternal.clear();
    NodesWithDryWeather.clear();
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].extInflow) {
            NodesWithExternal.push_back(k);
        }
        if (Nodes[k].dwfInflow) {
            NodesWithDryWeather.push_back({k, inflows_findDryWeather(Nodes[k].dwfInflow, -1)});
        }
    }
}

/// Constant and series of a record. The series is asked whatever else the record is worth: that moves its cursor.
static double getExternalValue(const ExtInflow& record, DateTime date) {
    double value = record.baseline;
    if (record.series >= 0) {
        Series& series = TimeSeries[record.series];
        value += timeseries_lookup(series, series.cursor, date) * record.scale;
    }
    return value;
}

/// A run of a host list that belongs to one node.
struct HostRange {
    const HostInflow* first;
    const HostInflow* last;
};

static void applyToNode(Node& node, HostRange flows, HostRange loads, DateTime date) {
    const ExtInflow* record = node.extInflow;
    while (record && record->kind != INFLOW_FLOW) {
        record = record->next;
    }
    const double seriesFlow = record ? getExternalValue(*record, date) : 0.0;
    double flow = seriesFlow;
    for (const HostInflow* host = flows.first; host != flows.last; ++host) {
        flow += host->value;
    }
    node.newLatFlow += flow;
    FlowTotals.externalInflow += RoutingStep * flow;
    for (record = node.extInflow; record; record = record->next) {
        if (record->kind == INFLOW_FLOW) {
            continue;
        }
        double load = getExternalValue(*record, date);
        if (record->kind == INFLOW_CONCEN) {
            load = load * (seriesFlow / G_PER_KG);  // never of the host's flows
        }
        node.massInflow[record->pollutant] += load;
        QualTotals[record->pollutant].externalInflow += RoutingStep * load;
    }
    for (const HostInflow* host = loads.first; host != loads.last; ++host) {
        node.massInflow[host->pollutant] += host->value;
        QualTotals[host->pollutant].externalInflow += RoutingStep * host->value;
    }
}

static void sortByNode(std::vector<HostInflow>& list) {
    std::stable_sort(list.begin(), list.end(),
                     [](const HostInflow& a, const HostInflow& b) { return a.node < b.node; });
}

/// Takes the entries of one node from the front of a sorted list.
static HostRange takeEntries(const HostInflow*& at, const HostInflow* end, int32_t node) {
    const HostInflow* first = at;
    while (at != end && at->node == node) {
        ++at;
    }
    return {first, at};
}

/// With requests of the host: a merge of three lists in node order.
static void applyWithHost(DateTime date) {
    sortByNode(HostInflows);
    sortByNode(HostLoads);
    const HostInflow* flow = HostInflows.data();
    const HostInflow* flowEnd = flow + HostInflows.size();
    const HostInflow* load = HostLoads.data();
    const HostInflow* loadEnd = load + HostLoads.size();
    size_t k = 0;
    for (;;) {
        int32_t node = INT32_MAX;
        node = k < NodesWithExternal.size() ? std::min(node, NodesWithExternal[k]) : node;
        node = flow != flowEnd ? std::min(node, flow->node) : node;
        node = load != loadEnd ? std::min(node, load->node) : node;
        if (node == INT32_MAX) {
            break;
        }
        const HostRange flows = takeEntries(flow, flowEnd, node);
        const HostRange loads = takeEntries(load, loadEnd, node);
        applyToNode(Nodes[node], flows, loads, date);
        k += k < NodesWithExternal.size() && NodesWithExternal[k] == node ? 1 : 0;
    }
    HostInflows.clear();
    HostLoads.clear();
}

void inflows_applyExternal(DateTime date) {
    if (!HostInflows.empty() || !HostLoads.empty()) {
        applyWithHost(date);
        return;
    }
    for (const int32_t node : NodesWithExternal) {
        applyToNode(Nodes[node], HostRange{}, HostRange{}, date);
    }
}

// --- dry-weather inflows -------------------------------------------------------------------------------------------

const DwfInflow* inflows_findDryWeather(const DwfInflow* list, int32_t pollutant) {
    while (list && list->pollutant != pollutant) {
        list = list->next;
    }
    return list;
}

double inflows_dryWeatherValue(const DwfInflow& record, int32_t hour) {
    return record.average * pattern_getFactor(record.pattern, hour);
}

static void applyDryWeather(Node& node, const DwfInflow* flowRecord, int32_t hour) {
    const double flow = flowRecord ? inflows_dryWeatherValue(*flowRecord, hour) : 0.0;
    node.newLatFlow += flow;
    FlowTotals.dryWeatherInflow += RoutingStep * flow;
    for (const DwfInflow* record = node.dwfInflow; record; record = record->next) {
        if (record->pollutant >= 0) {
            const double load = inflows_dryWeatherValue(*record, hour) * flow / G_PER_KG;
            node.massInflow[record->pollutant] += load;
            QualTotals[record->pollutant].dryWeatherInflow += RoutingStep * load;
        }
    }
}

void inflows_applyDryWeather(DateTime date) {
    const int32_t hour = datetime_getHour(date);
    static constexpr size_t AHEAD = 8;
    for (size_t k = 0; k < NodesWithDryWeather.size(); ++k) {
        if (k + AHEAD < NodesWithDryWeather.size()) {
            prefetch_line(&Nodes[NodesWithDryWeather[k + AHEAD].node]);
            const DryWeatherNode& near = NodesWithDryWeather[k + AHEAD / 2];
            prefetch_line(Nodes[near.node].dwfInflow);
            prefetch_line(near.flow);
        }
        const DryWeatherNode& entry = NodesWithDryWeather[k];
        applyDryWeather(Nodes[entry.node], entry.flow, hour);
    }
}
