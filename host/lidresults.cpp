// The engine has the water of a unit as sums over the run, and as rates of the last runoff step, which goes ahead of
// the network. From both follows what has come and gone until any moment: the sum, without the part of that step which
// is yet to come. Means of a report period are differences of these, so that they add up to the sums of the run. All of
// it is looked at once in a report period; the steps between cost nothing.

#include "lidresults.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <unordered_set>
#include <utility>
#include <vector>

#include "characters.h"
#include "lidfile.h"
#include "modelview.h"
#include "units.h"

namespace {

constexpr double LEAST_SHARE = 1e-12;  ///< of all that has flown: less, in a period, is what rounding leaves of nothing

/// A flow: its column, its total (mm over the unit) and its rate, which is one of these.
enum class RateUnit { FLOW, MM_PER_HOUR, MM_PER_DAY };
struct Flow {
    const char* column;
    const char* unit;
    const char* total;
    const char* rate;
    RateUnit rateUnit;
};
constexpr Flow FLOWS[] = {{"Inflow", "m3/s", "inflow_depth", "inflow", RateUnit::FLOW},
                          {"Evap", "mm/d", "evaporated_depth", "evaporation", RateUnit::MM_PER_DAY},
                          {"Surflow", "m3/s", "surface_outflow_depth", "surface_flow", RateUnit::FLOW},
                          {"Exfil", "mm/h", "infiltrated_depth", "infiltration", RateUnit::MM_PER_HOUR},
                          {"Drain", "m3/s", "drain_outflow_depth", "drain_flow", RateUnit::FLOW}};
constexpr size_t FLOW_COUNT = std::size(FLOWS), INFLOW = 0, SURFACE_FLOW = 2, DRAIN_FLOW = 4;

/// What stands in a unit at the end of the period; all of its water is the first one.
struct State {
    const char* column;
    const char* unit;
    const char* variable;
};
constexpr State STATES[] = {{"Volume", "m3", "volume"},
                            {"SurDepth", "m", "surface_depth"},
                            {"SoilMoist", "", "soil_moisture"},
                            {"StorDepth", "m", "storage_depth"},
                            {"PaveDepth", "m", "pavement_depth"}};
constexpr State CONCENTRATIONS[] = {{"Sur_", "mg/L", "surface_concentration"},
                                    {"Soil_", "mg/L", "soil_concentration"},
                                    {"Stor_", "mg/L", "storage_concentration"},
                                    {"Pave_", "mg/L", "pavement_concentration"}};

using Values = std::vector<double>;  ///< one by unit

int32_t findVariable(int32_t objectClass, const char* name) {
    int32_t variable = -1;
    tv_findVariable(objectClass, name, &variable);
    return variable;
}

double getOfSystem(const tv_model* model, const char* name) {
    double value = 0.0;
    tv_getValue(model, findVariable(TV_SYSTEM, name), 0, TV_NO_POLLUTANT, &value);
    return value;
}

void readValues(const tv_model* model, const char* name, int32_t pollutant, Values& values) {
    tv_getValues(model, findVariable(TV_LID_UNIT, name), pollutant, values.data(), values.size());
}

/// "SUBCATCHMENT/LID", with a number behind it from the second unit of that name on.
std::vector<std::string> nameUnits(const tv_model* model) {
    std::vector<std::string> names;
    std::unordered_set<std::string> known;
    for (int32_t unit = 0; unit < modelview_count(model, TV_LID_UNIT); ++unit) {
        int32_t subcatchment = -1, lid = -1;
        tv_getRelation(model, TV_UNIT_SUBCATCHMENT, unit, &subcatchment);
        tv_getRelation(model, TV_UNIT_LID, unit, &lid);
        const std::string name = modelview_getId(model, TV_LID_UNIT, unit);
        std::string ownName = name;
        for (int32_t number = 2; !known.insert(ownName).second; ++number) {
            ownName = name + '/' + std::to_string(number);
        }
        names.push_back(ownName);
    }
    return names;
}

/// Seconds of a run up to the moment that the network has reached.
double getElapsed(const tv_clock& clock) {
    return std::round((clock.now - clock.start) * SECONDS_PER_DAY);
}

}  // namespace

struct LidResults {
    LidFileHandle file{};
    std::string failure{};
    LidTable table{};
    LidReport report{};            ///< the one at hand
    double time = 0.0;             ///< s from the start of the run to the last row, or to where the run begins
    std::vector<Values> depths{};  ///< by flow, mm: what has come and gone until then
    Values areas{}, rates{};       ///< m2; scratch
};

void LidResultsEnd::operator()(LidResults* results) const {
    delete results;
}

/// A rate in mm/s over a unit.
static double getDepthRate(const Flow& flow, double rate, double area) {
    switch (flow.rateUnit) {
        case RateUnit::FLOW: return rate / area * MM_PER_M;
        case RateUnit::MM_PER_HOUR: return rate / SECONDS_PER_HOUR;
        default: return rate / SECONDS_PER_DAY;
    }
}

/// The same backwards.
static double getRate(const Flow& flow, double depthRate, double area) {
    switch (flow.rateUnit) {
        case RateUnit::FLOW: return depthRate * area / MM_PER_M;
        case RateUnit::MM_PER_HOUR: return depthRate * SECONDS_PER_HOUR;
        default: return depthRate * SECONDS_PER_DAY;
    }
}

/// What of a flow has come and gone (mm) but for so many seconds of the last runoff step.
static void readDepths(LidResults& results, const tv_model* model, const Flow& flow, double ahead, Values& depths) {
    readValues(model, flow.total, TV_NO_POLLUTANT, depths);
    readValues(model, flow.rate, TV_NO_POLLUTANT, results.rates);
    for (size_t k = 0; k < depths.size(); ++k) {
        depths[k] -= getDepthRate(flow, results.rates[k], results.areas[k]) * ahead;
    }
}

static void nameColumns(const tv_model* model, std::vector<ResultColumn>& columns) {
    for (const Flow& flow : FLOWS) {
        columns.push_back({flow.column, flow.unit});
    }
    for (const State& state : STATES) {
        columns.push_back({state.column, state.unit});
    }
    for (const State& layer : CONCENTRATIONS) {
        for (int32_t p = 0; p < modelview_count(model, TV_POLLUTANT); ++p) {
            columns.push_back({layer.column + modelview_getId(model, TV_POLLUTANT, p), layer.unit});
        }
    }
}

LidResultsHandle lidresults_begin(const std::string& file, const tv_model* model, std::string& failure) {
    LidResultsHandle handle(new LidResults);
    LidResults& results = *handle;
    LidTable& table = results.table;
    tv_clock clock{};
    tv_getClock(model, &clock);
    table.startDate = clock.start;
    table.reportStep = static_cast<int32_t>(getOfSystem(model, "report_step"));
    table.units = nameUnits(model);
    nameColumns(model, table.columns);
    const double period = static_cast<double>(clock.period) * table.reportStep, elapsed = getElapsed(clock);
    results.time = elapsed < period + table.reportStep ? elapsed : period;
    const Values none(table.units.size());
    results.areas = results.rates = none;
    results.depths.assign(FLOW_COUNT, none);
    results.report.columns.assign(table.columns.size(), none);
    readValues(model, "area", TV_NO_POLLUTANT, results.areas);
    for (size_t k = 0; k < FLOW_COUNT; ++k) {
        readDepths(results, model, FLOWS[k], getOfSystem(model, "runoff_lead"), results.depths[k]);
    }
    results.file = lidfile_begin(file, table, failure);
    return results.file ? std::move(handle) : nullptr;
}

/// Means from the row before to this one.
static void readFlows(LidResults& results, const tv_model* model, double ahead, double seconds) {
    Values now(results.areas.size());
    for (size_t k = 0; k < FLOW_COUNT; ++k) {
        readDepths(results, model, FLOWS[k], ahead, now);
        for (size_t unit = 0; unit < now.size(); ++unit) {
            double& before = results.depths[k][unit];
            const double depth = now[unit] - before;
            const bool isRounding = std::fabs(depth) <= LEAST_SHARE * std::fabs(now[unit]);
            results.report.columns[k][unit] =
                isRounding ? 0.0 : getRate(FLOWS[k], depth / seconds, results.areas[unit]);
            before = isRounding ? before : now[unit];
        }
    }
}

static void readStates(LidResults& results, const tv_model* model) {
    size_t column = FLOW_COUNT;
    for (const State& state : STATES) {
        readValues(model, state.variable, TV_NO_POLLUTANT, results.report.columns[column++]);
    }
    for (const State& layer : CONCENTRATIONS) {
        for (int32_t p = 0; p < modelview_count(model, TV_POLLUTANT); ++p) {
            readValues(model, layer.variable, p, results.report.columns[column++]);
        }
    }
}

static double sum(const Values& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

void lidresults_add(LidResults& results, const tv_model* model) {
    if (!results.failure.empty()) {
        return;
    }
    tv_clock clock{};
    tv_getClock(model, &clock);
    const double time = static_cast<double>(clock.period) * results.table.reportStep;
    // A step of the network may go beyond the end of the period, and the one of the land ends farther yet.
    const double beyond = getElapsed(clock) - time + getOfSystem(model, "runoff_lead");
    readFlows(results, model, std::clamp(beyond, 0.0, getOfSystem(model, "runoff_step")), time - results.time);
    readStates(results, model);
    results.time = time;
    LidReport& report = results.report;
    report.period = clock.period;
    report.date = results.table.startDate + time / SECONDS_PER_DAY;
    report.inflow = sum(report.columns[INFLOW]);
    report.outflow = sum(report.columns[SURFACE_FLOW]) + sum(report.columns[DRAIN_FLOW]);
    report.storage = sum(report.columns[FLOW_COUNT]);
    results.failure = lidfile_add(*results.file, report);
}

std::string lidresults_end(LidResults& results) {
    return results.failure.empty() ? lidfile_end(*results.file) : results.failure;
}
