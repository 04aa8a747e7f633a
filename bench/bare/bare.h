#pragma once
// The bare arithmetic of the laws: plain arrays, one for each quantity, gone through in order; no model, no kinds, no
// lists of the network, and nothing that the case doesn't need. What doesn't change in a run is worked out ahead. Each
// comes to the same bits as the engine, and is the time that a step of it can hardly go below on a machine in one
// thread. The laws themselves are told in the rooms of the engine.
//
// Each case makes its own project for the engine, of so many objects of one kind that all lead to one outfall.

#include <cstdint>
#include <string>
#include <vector>

struct tv_model;

constexpr double BARE_STEP = 60.0;  ///< s, of the land and of the network

enum class BareWeather {
    WET,    ///< storms of an hour and a half, half an hour apart; inflow of the network by an hourly pattern
    DRY,    ///< nothing falls and nothing flows in; buildup grows
    STILL,  ///< the same when buildup is at its limit and LID units are dry
};

/// The head of a project with so many pollutants, with rain and pattern.
std::string bare_makeHead(BareWeather weather, int64_t pollutants, double dryDays);

/// Behind the other nodes, which have their numbers from 0 on.
constexpr const char* BARE_OUTFALL = "[OUTFALLS]\nOUT\n";

/// Rain of a step that begins at `second` of the run, m/s.
double bare_getRain(BareWeather weather, int64_t second);

/// Factor of the hourly pattern DAY at the hour in which a step that ends at `second` ends.
double bare_getFactor(int64_t second);

double bare_getEvaporation();  ///< m/s

/// Mean dry weather inflow of an object, m3/s, and its concentration of a pollutant, mg/L.
double bare_getFlow(BareWeather weather, int64_t index);
double bare_getConcentration(int64_t pollutant);

/// The lines of [DWFS] for nodes of a letter and a number.
std::string bare_makeFlows(BareWeather weather, const char* letter, int64_t count, int64_t pollutants);

/// Opens and starts a model on a project; null if that fails.
tv_model* bare_startModel(const std::string& project);

/// Whether a variable of the first objects of a class has in the engine the values of an array, bit by bit. Of a
/// pollutant the array has one value for each object and pollutant.
bool bare_isSame(const tv_model* model, int32_t objectClass, const char* variable, const std::vector<double>& values,
                 int64_t pollutants = 0);

/// What a node gets, and what the outfall does.
struct BareNodes {
    std::vector<double> average, inflow, volume, peak;  ///< m3/s, m3/s, m3, m3/s, by node
    std::vector<double> load, quality;                  ///< kg/s, mg/L, by node and pollutant
    double water;                                       ///< m3, dry weather inflow of the run
    std::vector<double> mass;                           ///< kg, of it, by pollutant
    double outflow;                                     ///< m3/s, into the outfall
    std::vector<double> outLoad;                        ///< kg/s, by pollutant
};

BareNodes bare_makeNodes(BareWeather weather, int64_t count, int64_t pollutants);

/// Begins a step: nothing has flown into the outfall.
void bare_beginStep(BareNodes& nodes);

/// Dry weather inflow of a node of this step, with its load; adds it to the totals.
void bare_takeFlow(BareNodes& nodes, size_t node, double factor);

/// Flow and quality into the outfall, and the statistics of the link that brings it.
void bare_deliver(BareNodes& nodes, double flow, const double* quality, double& volume, double& peak);

inline double bare_getMinimum(double a, double b) {
    return b < a ? b : a;
}

inline void bare_keepMaximum(double& maximum, double value) {
    maximum = value > maximum ? value : maximum;
}
