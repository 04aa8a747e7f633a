#pragma once
// Stirred reactors, each with a link without delay, bare.

#include "bare/bare.h"

struct BareReactors {
    int64_t count, pollutants;
    int64_t second;  ///< of the run
    double left;     ///< what a step leaves, as a share
    BareNodes nodes;
    std::vector<double> capacity, full, area;  ///< m3/s, m3, m2
    std::vector<double> stored, outflow, surplus;
    std::vector<double> surplusVolume, outVolume, evaporated, infiltrated;
    std::vector<double> quality;  ///< mg/L, of the store, by reactor and pollutant
    std::vector<double> surplusLoad, infilLoad, reactedLoad, outLoad;
    std::vector<double> flow, volume, peak;  ///< of the links
    std::vector<double> linkQuality;
    std::vector<double> lastFlow, lastLoad;  ///< what went into the link a step ago
    double interval;                         ///< days, of the step
    bool isFirst;                            ///< it is the first step
};

BareReactors bareReactors_create(int64_t count, int64_t pollutants, BareWeather weather);
std::string bareReactors_makeProject(const BareReactors& reactors, BareWeather weather);
void bareReactors_step(BareReactors& reactors);
bool bareReactors_isSame(const BareReactors& reactors, const tv_model* model);
