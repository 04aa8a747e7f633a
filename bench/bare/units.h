#pragma once
// LID units that cover their subcatchments wholly, bare. All units of a case are of one type.

#include "bare/bare.h"

enum class BareUnit { CELL, GARDEN, ROOF, TRENCH, PAVEMENT, BARREL, SWALE };

/// The layers of a definition; what a type doesn't have is 0.
struct BareLayers {
    double berm, surfaceVoid, surfaceAlpha, sideSlope;               ///< m
    double soil, porosity, field, wilting, conductivity, soilSlope;  ///< m, shares, m/s
    double storage, storageVoid, seepage;                            ///< m, share, m/s; of a roof its mat
    double drain, drainOffset, drainDelay;                           ///< mm/h per mm^0.5, m, s
    double pavement, pavementVoid, pavementRate;                     ///< m, share, m/s
    double matAlpha;
};

struct BareUnits {
    BareUnit type;
    BareLayers layers;
    int64_t count, pollutants;
    BareWeather weather;
    int64_t second;                  ///< of the run
    double storageDecay, soilDecay;  ///< what a step leaves, as a share

    // By unit.
    std::vector<double> area, width, land;  ///< m2, m; m2 of the subcatchment
    std::vector<double> surface, moisture, storage, pavement, dryTime;
    std::vector<double> surfaceChange;  ///< m/s, of a swale, in the last pass
    std::vector<double> lastRunoff, thisRunoff, drainFlow;
    std::vector<double> inflowDepth, evapDepth, infilDepth, outDepth, drainDepth, finalDepth;
    std::vector<double> rainfall, evaporated, infiltrated, runoff, peak;  ///< of the subcatchment

    // By unit and pollutant.
    std::vector<double> surfaceMass, pavementMass, soilMass, storageMass, surfaceLoad, drainLoad;
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
