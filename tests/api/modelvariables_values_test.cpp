// Values of variables against what else tells them: rows of results, the report, the results by number.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "support/allkinds.h"
#include "support/reporttables.h"
#include "support/variables.h"

namespace {

/// The variable that holds what a column of a table of results does; columns of pollutants have theirs behind these.
const std::map<std::string, std::map<std::string, const char*>> COLUMNS = {
    {"System",
     {{"Evap", "evaporation"},
      {"Infil", "infiltration"},
      {"Runoff", "runoff"},
      {"TotInflow", "inflow"},
      {"DirInflow", "external_inflow"},
      {"DWF", "dry_weather_inflow"},
      {"Flood", "flooding"},
      {"SWMMIn", "swmm_inflow"},
      {"Outflow", "outflow"},
      {"SWMMOut", "swmm_outflow"},
      {"Storage", "storage"}}},
    {"Subcatchment", {{"Evap", "evaporation"}, {"Infil", "infiltration"}, {"Runoff", "runoff"}}},
    {"Junction", {{"TotInflow", "inflow"}, {"LatInflow", "lateral_flow"}}},
    {"Tank",
     {{"Depth", "depth"},
      {"Vol", "volume"},
      {"TotInflow", "inflow"},
      {"LatInflow", "lateral_flow"},
      {"Flood", "flooding"}}},
    {"Outfall", {{"TotInflow", "inflow"}, {"LatInflow", "lateral_flow"}}},
    {"Splitter",
     {{"TotInflow", "inflow"}, {"LatInflow", "lateral_flow"}, {"Outflow1", "split_flow"}, {"Outflow2", "rest_flow"}}},
    {"Reactor",
     {{"Vol", "volume"},
      {"TotInflow", "inflow"},
      {"LatInflow", "lateral_flow"},
      {"Outflow", "outflow"},
      {"Surpass", "surplus_flow"},
      {"Evap", "evaporation"},
      {"Infil", "infiltration"},
      {"Empty", "emptying_flow"}}},
    {"LID_Mono",
     {{"TotInflow", "inflow"},
      {"LatInflow", "lateral_flow"},
      {"Evap", "evaporation"},
      {"Surflow", "surface_flow"},
      {"Exfil", "infiltration"},
      {"Drain", "drain_flow"},
      {"SurDepth", "surface_depth"},
      {"SoilMoist", "soil_moisture"},
      {"StorDepth", "storage_depth"},
      {"PaveDepth", "pavement_depth"}}},
    {"Pipe", {{"Vol", "volume"}, {"Inflow", "inflow"}, {"Outfow", "flow"}, {"Flood", "flooding"}}},
    {"Pump", {{"Flow", "flow"}}},
    {"Connection", {{"Inflow", "inflow"}, {"Outflow", "flow"}}},
    {"Conduit",
     {{"Depth", "depth"},
      {"Vol", "volume"},
      {"Velocity", "velocity"},
      {"Inflow", "inflow"},
      {"Outflow", "flow"},
      {"Flood", "flooding"}}},
    {"Weir", {{"Flow", "flow"}}},
    {"Orifice", {{"Flow", "flow"}}}};

/// The variable of a column, and its pollutant; null for a column that has none.
const char* findVariable(const std::string& table, const std::string& column,
                         const std::vector<std::string>& pollutants, int32_t* pollutant) {
    *pollutant = TV_NO_POLLUTANT;
    const auto& names = COLUMNS.at(table);
    if (const auto found = names.find(column); found != names.end()) {
        return found->second;
    }
    for (size_t p = 0; p < pollutants.size(); ++p) {
        *pollutant = static_cast<int32_t>(p);
        const std::pair<std::string, const char*> blocks[] = {{"", "concentration"},
                                                              {"Sur_", "surface_concentration"},
                                                              {"Soil_", "soil_concentration"},
                                                              {"Stor_", "storage_concentration"},
                                                              {"Pave_", "pavement_concentration"}};
        for (const auto& [prefix, name] : blocks) {
            if (column == prefix + pollutants[p]) {
                return name;
            }
        }
    }
    *pollutant = TV_NO_POLLUTANT;
    return nullptr;
}

std::vector<std::string> listPollutants(const TestModel& model) {
    std::vector<std::string> ids;
    for (int32_t p = 0; p < model.count(TV_POLLUTANT); ++p) {
        const char* id = nullptr;
        EXPECT_EQ(tv_getId(model.model, TV_POLLUTANT, p, &id), 0);
        ids.emplace_back(id);
    }
    return ids;
}

/// Compares a table of the rows of the period that has ended with the variables. Rain of a row is that of the coming
/// moment and isn't looked at.
void compareTable(const TestModel& model, int32_t number, int* compared) {
    tv_table table{};
    ASSERT_EQ(tv_getTable(model.model, number, &table), 0);
    std::vector<int32_t> objects(static_cast<size_t>(table.rowCount));
    ASSERT_EQ(tv_getRowObjects(model.model, number, objects.data(), objects.size()), 0);
    std::vector<float> rows(objects.size() * static_cast<size_t>(table.columnCount));
    ASSERT_EQ(tv_getRows(model.model, number, rows.data(), rows.size()), 0);
    for (int32_t c = 0; c < table.columnCount; ++c) {
        const char *column = nullptr, *unit = nullptr;
        ASSERT_EQ(tv_getColumn(model.model, number, c, &column, &unit), 0);
        int32_t pollutant;
        const char* name = findVariable(table.name, column, listPollutants(model), &pollutant);
        if (!name) {
            EXPECT_STREQ(column, "Rainfall") << table.name;
            continue;
        }
        for (size_t k = 0; k < objects.size(); ++k) {
            const float row = rows[k * static_cast<size_t>(table.columnCount) + static_cast<size_t>(c)];
            const double value = model.get(table.objectClass, name, objects[k], pollutant);
            if (number == 0 || std::string(column) == "Outflow2") {  // added, or taken off, in single
                EXPECT_NEAR(value, row, 1e-5 * std::fabs(row) + 1e-7) << table.name << ' ' << column;
            } else {
                EXPECT_EQ(static_cast<float>(value), row) << table.name << ' ' << column << ' ' << objects[k];
            }
            *compared += row != 0.0f ? 1 : 0;
        }
    }
}

/// Compares all tables from one on.
void compareRows(const TestModel& model, int32_t first, int atLeast) {
    int compared = 0;
    tv_table table{};
    for (int32_t number = first; tv_getTable(model.model, number, &table) == 0; ++number) {
        compareTable(model, number, &compared);
    }
    EXPECT_GE(compared, atLeast);
}

std::string show(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

/// What stands behind the name of a row of a table of the report, in the last such table.
std::vector<std::string> readBalanceRow(const std::string& report, const std::string& title, const std::string& name) {
    const size_t place = report.rfind(title);
    const size_t row = report.find("\n  " + name + "  ", place);
    EXPECT_NE(row, std::string::npos) << title << name;
    std::istringstream line(report.substr(row + 3 + name.size(), report.find('\n', row + 1) - row - 3 - name.size()));
    return {std::istream_iterator<std::string>(line), std::istream_iterator<std::string>()};
}

struct Figure {
    const char* row;
    const char* variable;
};

void compareBalance(const TestModel& model, const std::string& report, const char* title, const std::string& prefix,
                    bool isPerPollutant, const std::vector<Figure>& figures) {
    for (const Figure& figure : figures) {
        const std::vector<std::string> words = readBalanceRow(report, title, figure.row);
        for (int32_t p = 0; p < (isPerPollutant ? model.count(TV_POLLUTANT) : 1); ++p) {
            const std::string name = prefix + figure.variable;
            const double value = model.get(TV_SYSTEM, name.c_str(), 0, isPerPollutant ? p : TV_NO_POLLUTANT);
            EXPECT_EQ(words.at(static_cast<size_t>(p)), show(value)) << title << ' ' << figure.row;
        }
    }
}

/// Compares a table of objects with IDs: `skipped` words stand between the ID and the figures.
void compareObjects(const TestModel& model, const std::string& report, const char* title, int32_t objectClass,
                    int skipped, const std::vector<const char*>& names) {
    const std::vector<std::string> rows = getRows(report, title);
    EXPECT_FALSE(rows.empty()) << title;
    for (const std::string& row : rows) {
        std::istringstream words(row);
        std::string id, word;
        words >> id;
        for (int k = 0; k < skipped; ++k) {
            words >> word;
        }
        for (const char* name : names) {
            words >> word;
            EXPECT_EQ(word, show(model.get(objectClass, name, id.c_str()))) << title << ' ' << id << ' ' << name;
        }
    }
}

/// The same of tables with a column for each pollutant; rows that begin with an asterisk head the block of a variable.
void compareLoads(const TestModel& model, const std::string& report, const char* title, int32_t objectClass,
                  const std::map<std::string, const char*>& blocks, const char* first) {
    const char* name = first;
    for (const std::string& row : getRows(report, title)) {
        std::istringstream words(row);
        std::string id, word;
        words >> id;
        if (id[0] == '*') {
            name = blocks.at(id);
            continue;
        }
        for (int32_t p = 0; words >> word; ++p) {
            EXPECT_EQ(word, show(model.get(objectClass, name, id.c_str(), p))) << title << ' ' << id << ' ' << name;
        }
    }
}

/// Rows of LID controls in their order: the figures of one pollutant, or of none.
void compareUnits(const TestModel& model, const std::vector<std::string>& rows, int32_t objectClass,
                  const std::vector<int32_t>& objects, const std::vector<const char*>& names) {
    int32_t pollutant = TV_NO_POLLUTANT;
    size_t place = 0;
    for (const std::string& row : rows) {
        std::istringstream words(row);
        std::string id, lid, word;
        words >> id;
        if (id[0] == '*') {
            ++pollutant;
            place = 0;
            continue;
        }
        words >> lid;
        ASSERT_LT(place, objects.size());
        for (const char* name : names) {
            words >> word;
            EXPECT_EQ(word, show(model.get(objectClass, name, objects[place], pollutant))) << id << ' ' << name;
        }
        ++place;
    }
    EXPECT_EQ(place, objects.size());
}

/// A model with a report, at the end of its run.
struct ReportedModel {
    TempFolder folder;
    std::string file = folder.file("model.rpt");
    TestModel model;
    std::string report;

    explicit ReportedModel(const std::string& text, int steps) {
        EXPECT_EQ(tv_openText(model.model, text.data(), text.size(), nullptr, file.c_str()), 0);
        model.start();
        model.step(steps);
        EXPECT_EQ(tv_report(model.model), 0);
        report = readFile(file + ".part");  // until the project is closed
    }
};

}  // namespace

TEST(VariableValues, AreThoseOfTheRows) {
    const TestModel model;
    ASSERT_EQ(tv_keepRows(model.model, 1), 0);
    model.open(TownText + ConstantEvaporation);
    model.start();
    for (int k = 0; k < TOWN_STEPS / 10; ++k) {
        model.step(10);
        compareRows(model, 0, 100);
    }
}

TEST(VariableValues, AreThoseOfTheRowsOfAllKinds) {
    AllKinds project;
    const TestModel model;
    ASSERT_EQ(tv_setEngines(model.model, TARNVELDE_ENGINE_FOLDER, project.copies.c_str(), TARNVELDE_ENGINE_FOLDER,
                            project.copies.c_str()),
              0);
    std::string text = readFile(project.input);
    text.insert(text.find("[GENERAL]\n") + 10, "REPORT_AVERAGE NO\n");
    ASSERT_EQ(tv_keepRows(model.model, 1), 0);
    ASSERT_EQ(tv_openText(model.model, text.data(), text.size(), project.path.c_str(), nullptr), 0);
    model.start();
    for (int k = 0; k < ALL_KINDS_STEPS - 1; ++k) {
        model.step();
        compareRows(model, 2, 10);  // the land stands at another time than the rows
    }
}

TEST(VariableValues, OfNodesWithModelsInsideAreWhatPasses) {
    AllKinds project;
    const TestModel model;
    ASSERT_EQ(tv_setEngines(model.model, TARNVELDE_ENGINE_FOLDER, project.copies.c_str(), TARNVELDE_ENGINE_FOLDER,
                            project.copies.c_str()),
              0);
    ASSERT_EQ(tv_open(model.model, project.input.c_str(), nullptr), 0);
    model.start();
    ASSERT_EQ(model.set(TV_NODE, "added_inflow", "R", 0.3), 0);
    model.step(ALL_KINDS_STEPS / 2);
    EXPECT_GT(model.get(TV_NODE, "inflow", "SW"), 0.0);
    EXPECT_EQ(model.get(TV_NODE, "inflow", "SW"), model.get(TV_LINK, "flow", "CR"));
    EXPECT_EQ(model.get(TV_NODE, "outflow", "SW"), model.get(TV_LINK, "inflow", "CS"));
    EXPECT_EQ(model.get(TV_NODE, "inflow", "V"), model.get(TV_LINK, "flow", "CS"));
    EXPECT_EQ(model.get(TV_NODE, "outflow", "V"), model.get(TV_LINK, "inflow", "CV"));
    int32_t variable = -1;
    double value = 7.0;
    ASSERT_EQ(tv_findVariable(TV_NODE, "added_inflow", &variable), 0);
    EXPECT_EQ(tv_getValue(model.model, variable, model.index(TV_NODE, "SW"), -1, &value), TV_ERROR_KIND);
    EXPECT_EQ(tv_setValue(model.model, variable, model.index(TV_NODE, "V"), -1, 1.0), TV_ERROR_KIND);
    EXPECT_EQ(value, 7.0);
}

TEST(VariableValues, AreThoseThatTheOneModelTells) {
    const std::string text = TownText + ConstantEvaporation;
    const Project project(text);
    ASSERT_EQ(project.open(), 0) << project.getReport();
    ASSERT_EQ(tarnvelde_start(0), 0);
    const TestModel model(text);
    model.start();
    int compared = 0;
    for (int step = 0; step < 100; ++step) {
        double elapsed;
        ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        model.step();
        tv_table table{};
        for (int32_t number = 1; tv_getTable(model.model, number, &table) == 0; ++number) {
            std::vector<int32_t> objects(static_cast<size_t>(table.rowCount));
            ASSERT_EQ(tv_getRowObjects(model.model, number, objects.data(), objects.size()), 0);
            for (int32_t c = 0; c < table.columnCount; ++c) {
                const char *column = nullptr, *unit = nullptr, *id = nullptr;
                ASSERT_EQ(tv_getColumn(model.model, number, c, &column, &unit), 0);
                int32_t pollutant;
                const char* name = findVariable(table.name, column, listPollutants(model), &pollutant);
                for (const int32_t object : objects) {
                    ASSERT_EQ(tv_getId(model.model, table.objectClass, object, &id), 0);
                    double told = -1e300;
                    tarnvelde_getResult(number, id, c, &told);
                    if (told == -1e300 || std::string(column) == "Velocity") {
                        continue;  // not told, or told otherwise
                    }
                    EXPECT_EQ(model.get(table.objectClass, name ? name : "rain", object, pollutant), told)
                        << table.name << ' ' << column << ' ' << id;
                    ++compared;
                }
            }
        }
    }
    EXPECT_GT(compared, 5000);
}

TEST(VariableValues, AreTheBalancesOfTheReport) {
    const ReportedModel run(TownText + ConstantEvaporation, 300);
    compareBalance(run.model, run.report, "Runoff Quantity Continuity", "runoff_", false,
                   {{"Total Rainfall", "rainfall"},
                    {"Init. LID Storage", "initial_lid_storage"},
                    {"Evap. Loss", "evaporation_loss"},
                    {"Infil. Loss", "infiltration_loss"},
                    {"Surface Runoff", "surface_runoff"},
                    {"LID Drainage", "lid_drainage"},
                    {"Final Storage", "final_storage"},
                    {"Continuity Error (%)", "error"}});
    compareBalance(run.model, run.report, "Runoff Quality Continuity", "washoff_", true,
                   {{"Init. Buildup", "initial_buildup"},
                    {"Surface Buildup", "surface_buildup"},
                    {"Wet Deposition", "wet_deposition"},
                    {"Infil. Loss", "infiltration_loss"},
                    {"BMP Removal", "bmp_removal"},
                    {"LID Removal", "lid_removal"},
                    {"Surface Washoff", "surface_washoff"},
                    {"LID Drainage", "lid_drainage"},
                    {"LID Final Storage", "lid_final_storage"},
                    {"Remaining Buildup", "remaining_buildup"},
                    {"Continuity Error (%)", "error"}});
    const std::vector<Figure> both = {{"Dry Weather Inflow", "dry_weather_inflow"},
                                      {"Wet Weather Inflow", "wet_weather_inflow"},
                                      {"External Inflow", "external_inflow"},
                                      {"SWMM Inflow", "swmm_inflow"},
                                      {"VORN Inflow", "plant_inflow"},
                                      {"External Outflow", "external_outflow"},
                                      {"Flooding Loss", "flooding_loss"},
                                      {"SWMM Outflow", "swmm_outflow"},
                                      {"VORN Outflow", "plant_outflow"},
                                      {"Seepage Loss", "seepage_loss"},
                                      {"Init. Storage", "initial_storage"},
                                      {"Final Storage", "final_storage"},
                                      {"Continuity Error (%)", "error"}};
    compareBalance(run.model, run.report, "Flow Routing Continuity", "flow_", false, both);
    compareBalance(run.model, run.report, "Flow Routing Continuity", "flow_", false,
                   {{"Evap. Loss", "evaporation_loss"}, {"Delayed Vol.", "delayed_volume"}});
    compareBalance(run.model, run.report, "Quality Routing Continuity", "quality_", true, both);
    compareBalance(run.model, run.report, "Quality Routing Continuity", "quality_", true,
                   {{"Reacted Loss", "reacted_loss"}, {"Delayed Mass", "delayed_mass"}});
}

TEST(VariableValues, AreTheSummariesOfTheReport) {
    const ReportedModel run(TownText + ConstantEvaporation, 300);
    const TestModel& model = run.model;
    compareObjects(model, run.report, "Subcatchment Runoff Summary", TV_SUBCATCHMENT, 0,
                   {"area", "rain_depth", "evaporated_depth", "infiltrated_depth", "runoff_depth", "runoff_volume",
                    "peak_runoff", "runoff_coefficient"});
    compareObjects(model, run.report, "Node Inflow Summary", TV_NODE, 1, {"inflow_volume", "peak_inflow"});
    compareObjects(model, run.report, "Tank Depth Summary", TV_NODE, 0,
                   {"peak_depth", "peak_volume", "flooded_volume"});
    compareObjects(model, run.report, "Reactor Quantity Summary", TV_NODE, 0,
                   {"surplus_volume", "evaporated_volume", "infiltrated_volume", "emptied_volume", "outflow_volume"});
    compareObjects(model, run.report, "Link Flow Summary", TV_LINK, 1,
                   {"flow_volume", "peak_flow", "flooded_volume", "peak_flooding"});
    compareObjects(model, run.report, "Conduit Flow Summary", TV_LINK, 0,
                   {"peak_depth", "peak_filling", "peak_velocity"});
    compareLoads(model, run.report, "Subcatchment Washoff Summary", TV_SUBCATCHMENT, {}, "runoff_mass");
    compareLoads(model, run.report, "Outfall Loading Summary", TV_NODE, {}, "outflow_mass");
    compareLoads(model, run.report, "Reactor Quality Summary", TV_NODE,
                 {{"*Surpassing*", "surplus_mass"},
                  {"*Infiltration*", "infiltrated_mass"},
                  {"*Emptying*", "emptied_mass"},
                  {"*Reacted*", "reacted_mass"},
                  {"*Outflow*", "outflow_mass"}},
                 "");
    const std::vector<std::string> events = getRows(run.report, "Gage Event Summary");
    double count = 0.0, depth = 0.0;
    for (const char* gage : {"G", "G2"}) {
        count += model.get(TV_GAGE, "event_count", gage);
        depth += model.get(TV_GAGE, "event_depth", gage);
    }
    EXPECT_EQ(static_cast<double>(events.size()), count);
    EXPECT_GT(depth, 10.0);
}

TEST(VariableValues, AreTheTablesOfLidControls) {
    const ReportedModel run(TownText + ConstantEvaporation, 300);
    std::vector<int32_t> units;
    for (int32_t k = 0; k < run.model.count(TV_LID_UNIT); ++k) {
        units.push_back(k);
    }
    compareUnits(run.model, getRows(run.report, "Subcatchment LID Performance Summary"), TV_LID_UNIT, units,
                 {"inflow_depth", "evaporated_depth", "infiltrated_depth", "surface_outflow_depth",
                  "drain_outflow_depth", "initial_storage", "final_storage"});
    const std::vector<const char*> masses = {"unit_inflow_mass",   "infiltrated_mass", "surface_outflow_mass",
                                             "drain_outflow_mass", "reacted_mass",     "final_mass"};
    compareUnits(run.model, getRows(run.report, "Subcatchment LID Water Quality Summary"), TV_LID_UNIT, units, masses);
    const std::vector<int32_t> nodes = {run.model.index(TV_NODE, "M1")};
    compareUnits(run.model, getRows(run.report, "LID Monomer Performance Summary"), TV_NODE, nodes,
                 {"unit_inflow_volume", "evaporated_volume", "infiltrated_volume", "surface_outflow_volume",
                  "drain_outflow_volume", "initial_storage", "final_storage"});
    compareUnits(run.model, getRows(run.report, "LID Monomer Water Quality Summary"), TV_NODE, nodes, masses);
}
