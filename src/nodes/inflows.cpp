// Direct inflows. New records go to the head of a node's list, and which older one a line replaces differs by kind; the
// order decides which flow record counts, so it is kept exactly.

#include "nodes/inflows.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/plausible.h"
#include "model/pollut.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const InflowKindWords[] = {"FLOW", "CONCEN", "MASS", nullptr};

// --- reading -------------------------------------------------------------------------------------------------------

/// Finds an object by a word that may be empty, which means none. The error, or 0.
static int32_t findOptional(Model& model, int32_t type, const char* word, int32_t& index) {
    index = -1;
    if (*word) {
        index = names_find(model, type, word);
        if (index < 0) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, word);
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

static const ExtInflow* findRecord(const ExtInflow* list, int32_t kind, int32_t pollutant) {
    while (list && !(list->kind == kind && list->pollutant == pollutant)) {
        list = list->next;
    }
    return list;
}

/// Tells what a line does to the records that its node has already; there is one at least.
[[gnu::cold]] static void reviewStored(const Model& model, const Tokens& tokens, const ExtInflow* list,
                                       const ExtInflow* replaced, const ExtInflow& values) {
    const char* id = tokens[0];
    if (values.kind == INFLOW_MASS) {
        if (findRecord(list, INFLOW_MASS, values.pollutant)) {
            warnings_addAtLine(model, WARN_LOADS_ADDED, 2, id, {tokens[2]});
        }
        return;
    }
    if (!replaced) {
        return;
    }
    if (replaced->kind == values.kind) {
        const char* what = values.kind == INFLOW_FLOW ? "the FLOW of the node" : "this CONCEN of the node";
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, id, {what, ""});
        return;
    }
    // The line of the pollutant may stand further down: then it has no name yet.
    const char* pollutant = model.polluts[replaced->pollutant].id;
    const std::string of = pollutant ? std::string(" of ") + pollutant : std::string();
    warnings_addAtLine(model, WARN_RECORD_WIPED, 1, id, {InflowKindWords[replaced->kind] + of});
    if (values.kind == INFLOW_FLOW && findRecord(list, INFLOW_FLOW, -1)) {
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, id, {"the FLOW of the node", ""});
    }
}

static int32_t storeExternal(Model& model, const Tokens& tokens, Node& node, const ExtInflow& values) {
    ExtInflow* record = findReplaced(node.extInflow, values.kind, values.pollutant);
    if (node.extInflow) {
        reviewStored(model, tokens, node.extInflow, record, values);
    }
    if (!record) {
        record = arena_allocateArray<ExtInflow>(model.memory.project, 1);
        if (!record) {
            return errors_setName(model, ERR_MEMORY, "");
        }
        record->next = node.extInflow;
        node.extInflow = record;
    }
    ExtInflow* next = record->next;
    *record = values;
    record->next = next;
    if (values.series >= 0) {
        model.timeSeries[values.series].isUsedByInflow = true;
    }
    return ERR_NONE;
}

static int32_t getBaselineRange(int32_t kind) {
    switch (kind) {
        case INFLOW_FLOW: return PLAUSIBLE_INFLOW;
        case INFLOW_CONCEN: return PLAUSIBLE_CONCENTRATION;
        default: return PLAUSIBLE_MASS_INFLOW;
    }
}

int32_t inflows_readExternal(Model& model, const Tokens& tokens) {
    if (tokens.count < 5) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t node = names_find(model, NODE, tokens[0]);
    if (node < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    ExtInflow record{};
    record.kind = tokens_findKeyword(tokens[1], InflowKindWords);
    if (record.kind < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[1]);
    }
    record.pollutant = -1;
    if (record.kind != INFLOW_FLOW) {
        record.pollutant = names_find(model, POLLUT, tokens[2]);
        if (record.pollutant < 0) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
        }
    } else if (std::strcmp(tokens[2], "FLOW") != 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[2]);
    }
    if (!tokens_getDouble(tokens[3], &record.baseline)) {
        return errors_setName(model, ERR_NUMBER, tokens[3]);
    }
    if (const int32_t error = findOptional(model, TSERIES, tokens[4], record.series)) {
        return error;
    }
    if (tokens.count < 6) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    if (!tokens_getDouble(tokens[5], &record.scale)) {
        return errors_setName(model, ERR_NUMBER, tokens[5]);
    }
    plausible_check(model, getBaselineRange(record.kind), record.baseline, 3, tokens[0]);
    if (record.series >= 0 && record.scale == 0.0) {
        warnings_addAtLine(model, WARN_FACTOR_ZERO, 5, tokens[0], {tokens[4]});
    }
    return storeExternal(model, tokens, model.nodes[node], record);
}

int32_t inflows_readDryWeather(Model& model, const Tokens& tokens) {
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t index = names_find(model, NODE, tokens[0]);
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    int32_t pollutant = -1;
    if (std::strcmp(tokens[1], "FLOW") != 0) {
        pollutant = names_find(model, POLLUT, tokens[1]);
        if (pollutant < 0) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
        }
    }
    double average;
    if (!tokens_getDouble(tokens[2], &average)) {
        return errors_setName(model, ERR_NUMBER, tokens[2]);
    }
    int32_t pattern;
    if (const int32_t error = findOptional(model, PATTERN, tokens[3], pattern)) {
        return error;
    }
    plausible_check(model, pollutant < 0 ? PLAUSIBLE_DRY_WEATHER_FLOW : PLAUSIBLE_CONCENTRATION, average, 2, tokens[0]);
    Node& node = model.nodes[index];
    auto* record = const_cast<DwfInflow*>(inflows_findDryWeather(node.dwfInflow, pollutant));
    if (!record) {
        record = arena_allocateArray<DwfInflow>(model.memory.project, 1);
        if (!record) {
            return errors_setName(model, ERR_MEMORY, "");
        }
        record->next = node.dwfInflow;
        node.dwfInflow = record;
    } else {
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, tokens[0], {"this dry weather inflow of the node", ""});
    }
    record->pollutant = pollutant;
    record->average = average;
    record->pattern = pattern;
    return ERR_NONE;
}

void inflows_validateDryWeather(Model& model, int32_t node) {
    for (const DwfInflow* record = model.nodes[node].dwfInflow; record; record = record->next) {
        if (record->pattern >= 0) {
            const Pattern& pattern = model.patterns[record->pattern];
            if (pattern.type != PATTERN_HOURLY) {
                errors_report(model, ERR_DWF_PATTERN, pattern.id);
            }
        }
    }
}

// --- external inflows ----------------------------------------------------------------------------------------------

/// Only the series of the newest record is rewound. The cursors of the others stand at their end from the validation
/// and read a line from the origin first; results of inflows that share a node show it.
void inflows_rewind(Model& model, const Node& node) {
    if (node.extInflow && node.extInflow->series >= 0) {
        Series& series = model.timeSeries[node.extInflow->series];
        timeseries_rewind(series, series.cursor);
    }
}

void inflows_openRun(Model& model) {
    model.nodesWithExternal.clear();
    model.nodesWithDryWeather.clear();
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].extInflow) {
            model.nodesWithExternal.push_back(k);
        }
        if (model.nodes[k].dwfInflow) {
            model.nodesWithDryWeather.push_back({k, false, inflows_findDryWeather(model.nodes[k].dwfInflow, -1)});
        }
    }
}

/// Constant and series of a record. The series is asked whatever else the record is worth: that moves its cursor.
static double getExternalValue(Model& model, const ExtInflow& record, DateTime date) {
    double value = record.baseline;
    if (record.series >= 0) {
        Series& series = model.timeSeries[record.series];
        value += timeseries_lookup(series, series.cursor, date) * record.scale;
    }
    return value;
}

/// A run of a host list that belongs to one node.
struct HostRange {
    const HostInflow* first;
    const HostInflow* last;
};

static void applyToNode(Model& model, Node& node, HostRange flows, HostRange loads, DateTime date) {
    const ExtInflow* record = node.extInflow;
    while (record && record->kind != INFLOW_FLOW) {
        record = record->next;
    }
    const double seriesFlow = record ? getExternalValue(model, *record, date) : 0.0;
    double flow = seriesFlow;
    for (const HostInflow* host = flows.first; host != flows.last; ++host) {
        flow += host->value;
    }
    node.newLatFlow += flow;
    model.totals.flow.externalInflow += model.options.routingStep * flow;
    for (record = node.extInflow; record; record = record->next) {
        if (record->kind == INFLOW_FLOW) {
            continue;
        }
        double load = getExternalValue(model, *record, date);
        if (record->kind == INFLOW_CONCEN) {
            load = load * (seriesFlow / G_PER_KG);  // never of the host's flows
        }
        node.massInflow[record->pollutant] += load;
        model.totals.quality[record->pollutant].externalInflow += model.options.routingStep * load;
    }
    for (const HostInflow* host = loads.first; host != loads.last; ++host) {
        node.massInflow[host->pollutant] += host->value;
        model.totals.quality[host->pollutant].externalInflow += model.options.routingStep * host->value;
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

/// What the host holds is asked for again in each step.
[[gnu::cold]] static void repeatHeld(HostRequests& requests) {
    requests.inflows.insert(requests.inflows.end(), requests.heldInflows.begin(), requests.heldInflows.end());
    requests.loads.insert(requests.loads.end(), requests.heldLoads.begin(), requests.heldLoads.end());
}

/// With requests of the host: a merge of three lists in node order.
[[gnu::cold]] static void applyWithHost(Model& model, DateTime date) {
    repeatHeld(model.requests);
    sortByNode(model.requests.inflows);
    sortByNode(model.requests.loads);
    const HostInflow* flow = model.requests.inflows.data();
    const HostInflow* flowEnd = flow + model.requests.inflows.size();
    const HostInflow* load = model.requests.loads.data();
    const HostInflow* loadEnd = load + model.requests.loads.size();
    size_t k = 0;
    for (;;) {
        int32_t node = INT32_MAX;
        node = k < model.nodesWithExternal.size() ? std::min(node, model.nodesWithExternal[k]) : node;
        node = flow != flowEnd ? std::min(node, flow->node) : node;
        node = load != loadEnd ? std::min(node, load->node) : node;
        if (node == INT32_MAX) {
            break;
        }
        const HostRange flows = takeEntries(flow, flowEnd, node);
        const HostRange loads = takeEntries(load, loadEnd, node);
        applyToNode(model, model.nodes[node], flows, loads, date);
        k += k < model.nodesWithExternal.size() && model.nodesWithExternal[k] == node ? 1 : 0;
    }
    model.requests.inflows.clear();
    model.requests.loads.clear();
}

void inflows_applyExternal(Model& model, DateTime date) {
    const HostRequests& requests = model.requests;
    if (!requests.inflows.empty() || !requests.loads.empty() || !requests.heldInflows.empty() ||
        !requests.heldLoads.empty()) {
        applyWithHost(model, date);
        return;
    }
    for (const int32_t node : model.nodesWithExternal) {
        applyToNode(model, model.nodes[node], HostRange{}, HostRange{}, date);
    }
}

// --- dry-weather inflows -------------------------------------------------------------------------------------------

const DwfInflow* inflows_findDryWeather(const DwfInflow* list, int32_t pollutant) {
    while (list && list->pollutant != pollutant) {
        list = list->next;
    }
    return list;
}

double inflows_dryWeatherValue(const Model& model, const DwfInflow& record, int32_t hour) {
    return record.average * pattern_getFactor(model, record.pattern, hour);
}

static void applyDryWeather(Model& model, Node& node, const DwfInflow* flowRecord, int32_t hour) {
    const double flow = flowRecord ? inflows_dryWeatherValue(model, *flowRecord, hour) : 0.0;
    node.newLatFlow += flow;
    model.totals.flow.dryWeatherInflow += model.options.routingStep * flow;
    if (model_pollutantCount(model) == 0) {
        return;  // there are no other records, and the list needn't be looked at
    }
    for (const DwfInflow* record = node.dwfInflow; record; record = record->next) {
        if (record->pollutant >= 0) {
            const double load = inflows_dryWeatherValue(model, *record, hour) * flow / G_PER_KG;
            node.massInflow[record->pollutant] += load;
            model.totals.quality[record->pollutant].dryWeatherInflow += model.options.routingStep * load;
        }
    }
}

static void rollNode(const Model& model, Node& node) {
    node_shiftInflows(node);
    if (model_pollutantCount(model) > 0) {
        node_shiftQuality(model, node);
    }
}

void inflows_applyDryWeather(Model& model, DateTime date) {
    const int32_t hour = datetime_getHour(date);
    static constexpr size_t AHEAD = 8;
    const bool hasPollutants = model_pollutantCount(model) > 0;
    for (size_t k = 0; k < model.nodesWithDryWeather.size(); ++k) {
        if (k + AHEAD < model.nodesWithDryWeather.size()) {
            const Node& far = model.nodes[model.nodesWithDryWeather[k + AHEAD].node];
            const DryWeatherNode& near = model.nodesWithDryWeather[k + AHEAD / 2];
            prefetch_line(&far);
            prefetch_line(near.flow);
            if (hasPollutants) {
                prefetch_line(&far.kind);  // the second line, which has the list
                prefetch_line(model.nodes[near.node].dwfInflow);
            }
        }
        const DryWeatherNode& entry = model.nodesWithDryWeather[k];
        Node& node = model.nodes[entry.node];
        if (entry.isRolledHere) {
            rollNode(model, node);
        }
        applyDryWeather(model, node, entry.flow, hour);
    }
}
