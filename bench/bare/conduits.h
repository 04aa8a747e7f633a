#pragma once
// Conduits of one section, each behind a junction of its own, bare.

#include "bare/bare.h"

enum class BareSection { CIRCULAR, RECTANGULAR, IRREGULAR };

struct BareConduits {
    BareSection section;
    int64_t count, pollutants;
    int64_t second;  ///< of the run
    BareNodes nodes;
    std::vector<double> height, width, length, roughness, root;
    std::vector<double> fullVolume;  ///< m3
    std::vector<double> tables;      ///< m2, by depth, by conduit; of an irregular section one for all
    std::vector<double> depth, area;
    std::vector<double> peakDepth, peakVelocity;
    std::vector<double> flow, volume, peak;
    std::vector<double> quality;  ///< by conduit and pollutant
    double flooded;               ///< m3
};

BareConduits bareConduits_create(BareSection section, int64_t count, int64_t pollutants, BareWeather weather);
std::string bareConduits_makeProject(const BareConduits& conduits, BareWeather weather);
void bareConduits_step(BareConduits& conduits);
bool bareConduits_isSame(const BareConduits& conduits, const tv_model* model);
