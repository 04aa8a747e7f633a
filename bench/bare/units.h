#pragma once
// LID units that cover their subcatchments wholly, bare: bio-retention cells and rain barrels.

#include "bare/bare.h"

enum class BareUnit { CELL, BARREL };

struct BareUnits {
    BareUnit type;
    int64_t count, pollutants;
    BareWeather weather;
    int64_t second;                  ///< of the run
    double storageDecay, soilDecay;  ///< what a step leaves, as a share

    // By unit.
    std::vector<double> area, width, land;  ///< m2, m; m2 of the subcatchment
    std::vector<double> surface, moisture, storage, dryTime;
    std::vector<double> lastRunoff, thisRunoff, drainFlow;
    std::vector<double> inflowDepth, evapDepth, infilDepth, outDepth, drainDepth, finalDepth;
    std::vector<double> rainfall, evaporated, infiltrated, runoff, peak;  ///< of the subcatchment

    // By unit and pollutant.
    std::vector<double> surfaceMass, soilMass, storageMass, surfaceLoad, drainLoad;
    std::vector<double> lastQuality, thisQuality;
    std::vector<double> rainLoad, inflowLoad, exfilLoad, surfaceOut, drainOut, finalLoad, reacted;
    std::vector<double> washed;

    double lateral, water;           ///< m3/s into the outfall; m3 in the run
    std::vector<double> load, mass;  ///< by pollutant
};

BareUnits bareUnits_create(BareUnit type, int64_t count, int64_t pollutants, BareWeather weather);
std::string bareUnits_makeProject(const BareUnits& units);
void bareUnits_step(BareUnits& units);
bool bareUnits_isSame(const BareUnits& units, const tv_model* model);
