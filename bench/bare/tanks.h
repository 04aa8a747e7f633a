#pragma once
// Tanks with a pump, an orifice and a weir each, bare.

#include "bare/bare.h"

struct BareTanks {
    int64_t count, pollutants;
    int64_t second;     ///< of the run
    double fullVolume;  ///< m3
    double levels[2];   ///< m3, volumes up to the crests of orifice and weir
    double decay;       ///< what a step leaves, as a share
    BareNodes nodes;
    std::vector<double> height;              ///< m, of the orifice
    std::vector<double> depth, flood;        ///< m, m3/s
    std::vector<double> setting;             ///< of the pump
    std::vector<double> peakDepth, flooded;  ///< m, m3
    double floodVolume;                      ///< m3, of the run
    std::vector<double> mixed;               ///< mg/L, by tank and pollutant
    std::vector<double> reacted, floodMass;  ///< kg, by pollutant
    // By link: pumps, orifices, weirs.
    std::vector<double> flow, volume, peak;
    std::vector<double> quality;  ///< and by pollutant
};

BareTanks bareTanks_create(int64_t count, int64_t pollutants, BareWeather weather);
std::string bareTanks_makeProject(const BareTanks& tanks, BareWeather weather);
void bareTanks_step(BareTanks& tanks);
bool bareTanks_isSame(const BareTanks& tanks, const tv_model* model);
