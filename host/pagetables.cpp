// The tables stand in the order of the text report and have its titles, so that each number can be found in both.
// Totals are those that the library counts, which the report prints with three decimals.

#include "pagetables.h"

#include <cmath>

#include "json.h"
#include "modelview.h"
#include "units.h"

namespace {

constexpr double M2_PER_HA = 10000.0;

/// A row of a balance, or a column of a table: its words and its variable.
struct Figure {
    const char* words;
    const char* variable;
    const char* unit = "";
};

// --- balances of the whole model -----------------------------------------------------------------------------------

constexpr Figure RUNOFF[] = {
    {"Total Rainfall", "runoff_rainfall"},       {"Init. LID Storage", "runoff_initial_lid_storage"},
    {"Evap. Loss", "runoff_evaporation_loss"},   {"Infil. Loss", "runoff_infiltration_loss"},
    {"Surface Runoff", "runoff_surface_runoff"}, {"LID Drainage", "runoff_lid_drainage"},
    {"Final Storage", "runoff_final_storage"}};
constexpr Figure WASHOFF[] = {{"Init. Buildup", "washoff_initial_buildup"},
                              {"Surface Buildup", "washoff_surface_buildup"},
                              {"Wet Deposition", "washoff_wet_deposition"},
                              {"Infil. Loss", "washoff_infiltration_loss"},
                              {"BMP Removal", "washoff_bmp_removal"},
                              {"LID Removal", "washoff_lid_removal"},
                              {"Surface Washoff", "washoff_surface_washoff"},
                              {"LID Drainage", "washoff_lid_drainage"},
                              {"LID Final Storage", "washoff_lid_final_storage"},
                              {"Remaining Buildup", "washoff_remaining_buildup"},
                              {"Continuity Error (%)", "washoff_error"}};
constexpr Figure FLOW[] = {{"Dry Weather Inflow", "flow_dry_weather_inflow"},
                           {"Wet Weather Inflow", "flow_wet_weather_inflow"},
                           {"External Inflow", "flow_external_inflow"},
                           {"SWMM Inflow", "flow_swmm_inflow"},
                           {"VORN Inflow", "flow_plant_inflow"},
                           {"External Outflow", "flow_external_outflow"},
                           {"Flooding Loss", "flow_flooding_loss"},
                           {"SWMM Outflow", "flow_swmm_outflow"},
                           {"VORN Outflow", "flow_plant_outflow"},
                           {"Evap. Loss", "flow_evaporation_loss"},
                           {"Seepage Loss", "flow_seepage_loss"},
                           {"Delayed Vol.", "flow_delayed_volume"},
                           {"Init. Storage", "flow_initial_storage"},
                           {"Final Storage", "flow_final_storage"},
                           {"Continuity Error (%)", "flow_error"}};
constexpr Figure QUALITY[] = {{"Dry Weather Inflow", "quality_dry_weather_inflow"},
                              {"Wet Weather Inflow", "quality_wet_weather_inflow"},
                              {"External Inflow", "quality_external_inflow"},
                              {"SWMM Inflow", "quality_swmm_inflow"},
                              {"VORN Inflow", "quality_plant_inflow"},
                              {"External Outflow", "quality_external_outflow"},
                              {"Flooding Loss", "quality_flooding_loss"},
                              {"SWMM Outflow", "quality_swmm_outflow"},
                              {"VORN Outflow", "quality_plant_outflow"},
                              {"Seepage Loss", "quality_seepage_loss"},
                              {"Reacted Loss", "quality_reacted_loss"},
                              {"Delayed Mass", "quality_delayed_mass"},
                              {"Init. Storage", "quality_initial_storage"},
                              {"Final Storage", "quality_final_storage"},
                              {"Continuity Error (%)", "quality_error"}};

template <size_t COUNT>
PageTable beginBalance(const char* key, const char* title, const Figure (&figures)[COUNT]) {
    PageTable table{key, title, "", {}};
    std::vector<std::string> names;
    for (const Figure& figure : figures) {
        names.emplace_back(figure.words);
    }
    pagetables_addTexts(table, "", names);
    return table;
}

template <size_t COUNT>
std::vector<double> readFigures(const tv_model* model, const Figure (&figures)[COUNT], int32_t pollutant) {
    std::vector<double> values;
    for (const Figure& figure : figures) {
        values.push_back(modelview_getSystemValue(model, figure.variable, pollutant));
    }
    return values;
}

/// Volumes, and as depths over all the land; the error has a row behind them.
PageTable readRunoff(const tv_model* model) {
    PageTable table = beginBalance("runoff-balance", "Runoff Quantity Continuity", RUNOFF);
    const std::vector<double> volumes = readFigures(model, RUNOFF, TV_NO_POLLUTANT);
    double area = 0.0;
    for (const double hectares : modelview_getValues(model, TV_SUBCATCHMENT, "area")) {
        area += hectares * M2_PER_HA;
    }
    std::vector<double> depths;
    for (const double volume : volumes) {
        depths.push_back(area > 0.0 ? volume / area * MM_PER_M : 0.0);
    }
    pagetables_addNumbers(table, "Volume", "m3", volumes);
    pagetables_addNumbers(table, "Depth", "mm", depths);
    const double error = modelview_getSystemValue(model, "runoff_error");
    table.rows.push_back({json_quote("Continuity Error (%)"), json_formatNumber(error), "null"});
    return table;
}

template <size_t COUNT>
PageTable readPollutants(const tv_model* model, const char* key, const char* title, const Figure (&figures)[COUNT]) {
    PageTable table = beginBalance(key, title, figures);
    const std::vector<std::string> pollutants = modelview_listPollutants(model);
    for (size_t p = 0; p < pollutants.size(); ++p) {
        pagetables_addNumbers(table, pollutants[p], "kg", readFigures(model, figures, static_cast<int32_t>(p)));
    }
    return table;
}

void addBalances(std::vector<PageTable>& tables, const tv_model* model) {
    const bool hasPollutants = modelview_count(model, TV_POLLUTANT) > 0;
    tables.push_back(readRunoff(model));
    if (hasPollutants) {
        tables.push_back(readPollutants(model, "washoff-balance", "Runoff Quality Continuity", WASHOFF));
    }
    PageTable flow = beginBalance("flow-balance", "Flow Routing Continuity", FLOW);
    pagetables_addNumbers(flow, "Volume", "m3", readFigures(model, FLOW, TV_NO_POLLUTANT));
    tables.push_back(std::move(flow));
    if (hasPollutants) {
        tables.push_back(readPollutants(model, "quality-balance", "Quality Routing Continuity", QUALITY));
    }
}

// --- tables of objects ---------------------------------------------------------------------------------------------

constexpr Figure LAND[] = {{"Area", "area", "ha"},
                           {"Rainfall", "rain_depth", "mm"},
                           {"Evap.", "evaporated_depth", "mm"},
                           {"Infil.", "infiltrated_depth", "mm"},
                           {"Runoff depth", "runoff_depth", "mm"},
                           {"Runoff", "runoff_volume", "m3"},
                           {"Runoff Coef.", "runoff_coefficient"},
                           {"Peak Runoff", "peak_runoff", "m3/s"}};
constexpr Figure UNITS[] = {{"Inflow", "inflow_depth", "mm"},
                            {"Evap.", "evaporated_depth", "mm"},
                            {"Infil.", "infiltrated_depth", "mm"},
                            {"Surface Outflow", "surface_outflow_depth", "mm"},
                            {"Drain Outflow", "drain_outflow_depth", "mm"},
                            {"Init. Storage", "initial_storage", "mm"},
                            {"Final Storage", "final_storage", "mm"}};
constexpr Figure LID_LOADS[] = {{"Inflow", "unit_inflow_mass", "kg"},
                                {"Infil.", "infiltrated_mass", "kg"},
                                {"Surface Outflow", "surface_outflow_mass", "kg"},
                                {"Drain Outflow", "drain_outflow_mass", "kg"},
                                {"Reacted", "reacted_mass", "kg"},
                                {"Final Storage", "final_mass", "kg"}};
constexpr Figure NODES[] = {{"Inflow", "inflow_volume", "m3"}, {"Max. Inflow", "peak_inflow", "m3/s"}};
constexpr Figure TANKS[] = {
    {"Max. Vol.", "peak_volume", "m3"}, {"Tot. Flood", "flooded_volume", "m3"}, {"Max. Depth", "peak_depth", "m"}};
constexpr Figure REACTORS[] = {{"Surpass", "surplus_volume", "m3"},
                               {"Evap.", "evaporated_volume", "m3"},
                               {"Infil.", "infiltrated_volume", "m3"},
                               {"Emptying", "emptied_volume", "m3"},
                               {"Outflow", "outflow_volume", "m3"}};
constexpr Figure REACTOR_LOADS[] = {{"Surpassing", "surplus_mass", "kg"},
                                    {"Infiltration", "infiltrated_mass", "kg"},
                                    {"Emptying", "emptied_mass", "kg"},
                                    {"Reacted", "reacted_mass", "kg"},
                                    {"Outflow", "outflow_mass", "kg"}};
constexpr Figure LID_NODES[] = {
    {"Tot. Inflow", "unit_inflow_volume", "m3"},     {"Evap.", "evaporated_volume", "m3"},
    {"Infil.", "infiltrated_volume", "m3"},          {"Surface Outflow", "surface_outflow_volume", "m3"},
    {"Drain Outflow", "drain_outflow_volume", "m3"}, {"Init. Storage", "initial_storage", "m3"},
    {"Final Storage", "final_storage", "m3"}};
constexpr Figure LINKS[] = {{"Flow", "flow_volume", "m3"},
                            {"Flood", "flooded_volume", "m3"},
                            {"Max. Flood", "peak_flooding", "m3/s"},
                            {"Max. Flow", "peak_flow", "m3/s"}};
constexpr Figure CONDUITS[] = {
    {"Max. Depth", "peak_depth", "m"}, {"Max. Capacity", "peak_filling"}, {"Max. Velocity", "peak_velocity", "m/s"}};
constexpr Figure GAGES[] = {{"Events", "event_count"}, {"Rainfall", "event_depth", "mm"}};

/// A table of some objects of a class.
struct ObjectTable {
    const tv_model* model;
    int32_t objectClass;
    std::vector<int32_t> objects;
    PageTable table;
};

template <class Value>
std::vector<Value> choose(const std::vector<Value>& all, const std::vector<int32_t>& objects) {
    std::vector<Value> chosen;
    for (const int32_t object : objects) {
        chosen.push_back(all[static_cast<size_t>(object)]);
    }
    return chosen;
}

const char* getClassName(int32_t objectClass) {
    return objectClass == TV_NODE           ? "nodes"
           : objectClass == TV_LINK         ? "links"
           : objectClass == TV_SUBCATCHMENT ? "areas"
                                            : "";
}

/// A table with the IDs, if there are any objects.
ObjectTable beginTable(const tv_model* model, int32_t objectClass, std::vector<int32_t> objects, const char* key,
                       const char* title) {
    ObjectTable table{model, objectClass, std::move(objects), {key, title, "", {}}};
    std::vector<std::string> ids;
    for (const int32_t object : table.objects) {
        ids.push_back(modelview_getId(model, objectClass, object));
    }
    pagetables_addTexts(table.table, "ID", ids);
    table.table.objectClass = getClassName(objectClass);
    table.table.object = table.table.objectClass.empty() ? -1 : 0;
    return table;
}

template <size_t COUNT>
void addFigures(ObjectTable& table, const Figure (&figures)[COUNT], int32_t pollutant = TV_NO_POLLUTANT) {
    for (const Figure& figure : figures) {
        const bool isCount = std::string(figure.variable) == "event_count";
        pagetables_addNumbers(
            table.table, figure.words, figure.unit,
            choose(modelview_getValues(table.model, table.objectClass, figure.variable, pollutant), table.objects),
            isCount ? 0 : 3);
    }
}

void addKinds(ObjectTable& table) {
    std::vector<std::string> kinds;
    for (const int32_t object : table.objects) {
        kinds.emplace_back(modelview_getKindName(table.model, table.objectClass, object));
    }
    pagetables_addTexts(table.table, "Type", kinds);
}

void addPeakDates(ObjectTable& table, const PageWatch& watch, const PagePeak& peak) {
    if (!watch.isOfSteps) {
        table.table.note += "Peaks are dated by the report that follows them.";
    }
    pagetables_addDates(table.table, "at", choose(peak.dates, table.objects));
}

/// A column for each pollutant.
void addLoads(ObjectTable& table, const char* variable) {
    const std::vector<std::string> pollutants = modelview_listPollutants(table.model);
    for (size_t p = 0; p < pollutants.size(); ++p) {
        pagetables_addNumbers(
            table.table, pollutants[p], "kg",
            choose(modelview_getValues(table.model, table.objectClass, variable, static_cast<int32_t>(p)),
                   table.objects));
    }
}

void put(std::vector<PageTable>& tables, ObjectTable table) {
    if (!table.objects.empty()) {
        tables.push_back(std::move(table.table));
    }
}

/// The same columns for each pollutant: its rows stand together, and a column names it.
template <size_t COUNT>
void putLoads(std::vector<PageTable>& tables, const ObjectTable& begun, const Figure (&figures)[COUNT]) {
    const std::vector<std::string> pollutants = modelview_listPollutants(begun.model);
    PageTable whole;
    for (size_t p = 0; p < pollutants.size(); ++p) {
        ObjectTable part = begun;
        pagetables_addTexts(part.table, "Pollutant", std::vector<std::string>(part.objects.size(), pollutants[p]));
        addFigures(part, figures, static_cast<int32_t>(p));
        if (p == 0) {
            whole = std::move(part.table);
        } else {
            whole.rows.insert(whole.rows.end(), part.table.rows.begin(), part.table.rows.end());
        }
    }
    if (!whole.rows.empty()) {
        tables.push_back(std::move(whole));
    }
}

void addLand(std::vector<PageTable>& tables, const tv_model* model, const PageWatch& watch) {
    const std::vector<int32_t> all = modelview_listKind(model, TV_SUBCATCHMENT, 0);
    const bool hasPollutants = modelview_count(model, TV_POLLUTANT) > 0;
    ObjectTable land = beginTable(model, TV_SUBCATCHMENT, all, "land", "Subcatchment Runoff Summary");
    addFigures(land, LAND);
    addPeakDates(land, watch, watch.peaks[PEAK_RUNOFF]);
    put(tables, std::move(land));
    if (hasPollutants) {
        ObjectTable washoff = beginTable(model, TV_SUBCATCHMENT, all, "washoff", "Subcatchment Washoff Summary");
        addLoads(washoff, "runoff_mass");
        put(tables, std::move(washoff));
    }
    const std::vector<int32_t> units = modelview_listKind(model, TV_LID_UNIT, 0);
    ObjectTable lids = beginTable(model, TV_LID_UNIT, units, "lid-units", "Subcatchment LID Performance Summary");
    lids.table.note = "Depths over the area of the unit.";
    addFigures(lids, UNITS);
    put(tables, std::move(lids));
    putLoads(tables, beginTable(model, TV_LID_UNIT, units, "lid-unit-loads", "Subcatchment LID Water Quality Summary"),
             LID_LOADS);
}

/// All nodes that the report has a row of: those that have no model inside.
std::vector<int32_t> listNodes(const tv_model* model) {
    std::vector<int32_t> nodes;
    for (int32_t k = 0; k < modelview_count(model, TV_NODE); ++k) {
        int32_t kind = -1;
        tv_getKind(model, TV_NODE, k, &kind);
        if (kind != TV_SWMM_NODE && kind != TV_PLANT_NODE) {
            nodes.push_back(k);
        }
    }
    return nodes;
}

void addNodes(std::vector<PageTable>& tables, const tv_model* model, const PageWatch& watch) {
    ObjectTable nodes = beginTable(model, TV_NODE, listNodes(model), "nodes", "Node Inflow Summary");
    addKinds(nodes);
    addFigures(nodes, NODES);
    addPeakDates(nodes, watch, watch.peaks[PEAK_NODE_INFLOW]);
    put(tables, std::move(nodes));
    ObjectTable tanks =
        beginTable(model, TV_NODE, modelview_listKind(model, TV_NODE, TV_TANK), "tanks", "Tank Depth Summary");
    addFigures(tanks, TANKS);
    addPeakDates(tanks, watch, watch.peaks[PEAK_NODE_DEPTH]);
    put(tables, std::move(tanks));
    if (modelview_count(model, TV_POLLUTANT) > 0) {
        ObjectTable outfalls = beginTable(model, TV_NODE, modelview_listKind(model, TV_NODE, TV_OUTFALL),
                                          "outfall-loads", "Outfall Loading Summary");
        addLoads(outfalls, "outflow_mass");
        put(tables, std::move(outfalls));
    }
    const std::vector<int32_t> reactors = modelview_listKind(model, TV_NODE, TV_REACTOR);
    ObjectTable quantities = beginTable(model, TV_NODE, reactors, "reactors", "Reactor Quantity Summary");
    addFigures(quantities, REACTORS);
    put(tables, std::move(quantities));
    putLoads(tables, beginTable(model, TV_NODE, reactors, "reactor-loads", "Reactor Quality Summary"), REACTOR_LOADS);
    const std::vector<int32_t> lids = modelview_listKind(model, TV_NODE, TV_LID_NODE);
    ObjectTable monomers = beginTable(model, TV_NODE, lids, "lid-nodes", "LID Monomer Performance Summary");
    addFigures(monomers, LID_NODES);
    put(tables, std::move(monomers));
    putLoads(tables, beginTable(model, TV_NODE, lids, "lid-node-loads", "LID Monomer Water Quality Summary"),
             LID_LOADS);
}

void addLinks(std::vector<PageTable>& tables, const tv_model* model, const PageWatch& watch) {
    std::vector<int32_t> all;
    for (int32_t k = 0; k < modelview_count(model, TV_LINK); ++k) {
        all.push_back(k);
    }
    ObjectTable links = beginTable(model, TV_LINK, all, "links", "Link Flow Summary");
    addKinds(links);
    addFigures(links, LINKS);
    addPeakDates(links, watch, watch.peaks[PEAK_LINK_FLOW]);
    put(tables, std::move(links));
    ObjectTable conduits =
        beginTable(model, TV_LINK, modelview_listKind(model, TV_LINK, TV_CONDUIT), "conduits", "Conduit Flow Summary");
    addFigures(conduits, CONDUITS);
    put(tables, std::move(conduits));
    ObjectTable gages = beginTable(model, TV_GAGE, modelview_listKind(model, TV_GAGE, 0), "gages",
                                   "Rain events, of which the report lists each");
    addFigures(gages, GAGES);
    put(tables, std::move(gages));
}

// --- rules ---------------------------------------------------------------------------------------------------------

void addRules(std::vector<PageTable>& tables, const tv_model* model, const PageWatch& watch) {
    std::vector<double> counts, first, last;
    for (const PageFirings& rule : watch.firings) {
        counts.push_back(rule.count);
        first.push_back(rule.first);
        last.push_back(rule.last);
    }
    ObjectTable rules = beginTable(model, TV_RULE, modelview_listKind(model, TV_RULE, 0), "rules", "Rules that fired");
    rules.table.note =
        "A rule fires in the step that begins with its conditions fulfilled after one that didn't. Of rules that act "
        "on "
        "one object the one with the higher priority wins.";
    pagetables_addNumbers(rules.table, "Priority", "",
                          choose(modelview_getValues(model, TV_RULE, "priority"), rules.objects), 0);
    pagetables_addNumbers(rules.table, "Fired", "", choose(counts, rules.objects), 0);
    pagetables_addDates(rules.table, "first", choose(first, rules.objects));
    pagetables_addDates(rules.table, "last", choose(last, rules.objects));
    pagetables_addNumbers(rules.table, "Fulfilled", "h",
                          choose(modelview_getValues(model, TV_RULE, "fulfilled_time"), rules.objects));
    put(tables, std::move(rules));
}

/// What rules and switches did to the links.
void addSettings(std::vector<PageTable>& tables, const tv_model* model, const PageWatch& watch) {
    std::vector<int32_t> links;
    std::vector<double> counts, first, last, least, greatest, mean;
    const double length = watch.now - watch.start;
    for (const PageMoves& moves : watch.moves) {
        links.push_back(moves.link);
        counts.push_back(static_cast<double>(moves.count));
        first.push_back(moves.count > 0 ? moves.first : 0.0);
        last.push_back(moves.count > 0 ? moves.last : 0.0);
        least.push_back(moves.least);
        greatest.push_back(moves.greatest);
        mean.push_back(length > 0.0 ? moves.open / length : moves.setting);
    }
    ObjectTable table = beginTable(model, TV_LINK, links, "settings", "Settings");
    table.table.note = "How often rules and switches moved a setting: 0 is shut or off, 1 open or on.";
    addKinds(table);
    pagetables_addNumbers(table.table, "Moves", "", counts, 0);
    pagetables_addDates(table.table, "first", first);
    pagetables_addDates(table.table, "last", last);
    pagetables_addNumbers(table.table, "Least", "", least);
    pagetables_addNumbers(table.table, "Mean over time", "", mean);
    pagetables_addNumbers(table.table, "Greatest", "", greatest);
    put(tables, std::move(table));
}

}  // namespace

// --- columns -------------------------------------------------------------------------------------------------------

/// Room for a cell of each row.
template <class Value, class Format>
static void addColumn(PageTable& table, PageColumn column, const std::vector<Value>& values, Format format) {
    table.columns.push_back(std::move(column));
    table.rows.resize(values.size());
    for (size_t k = 0; k < values.size(); ++k) {
        table.rows[k].push_back(format(values[k]));
    }
}

void pagetables_addTexts(PageTable& table, const std::string& name, const std::vector<std::string>& texts) {
    addColumn(table, {name, "", "text"}, texts, json_quote);
}

void pagetables_addNumbers(PageTable& table, const std::string& name, const std::string& unit,
                           const std::vector<double>& numbers, int digits) {
    addColumn(table, {name, unit, "number", digits}, numbers, json_formatNumber);
}

void pagetables_addDates(PageTable& table, const std::string& name, const std::vector<double>& dates) {
    addColumn(table, {name, "", "date"}, dates,
              [](double date) { return date == 0.0 ? std::string("null") : pagedata_formatDate(date); });
}

std::vector<PageTable> pagetables_read(const tv_model* model, const PageWatch& watch) {
    std::vector<PageTable> tables;
    addBalances(tables, model);
    addLand(tables, model, watch);
    addNodes(tables, model, watch);
    addLinks(tables, model, watch);
    addRules(tables, model, watch);
    addSettings(tables, model, watch);
    return tables;
}
