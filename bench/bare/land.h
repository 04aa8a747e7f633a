#pragma once
// Subcatchments with two land uses, bare.

#include "bare/bare.h"

/// The laws of one pollutant on one land use.
struct BareRule {
    double maxBuildup, rate;
    double fullAge;  ///< days, from which the buildup stands at its limit
    bool isExponential, usesBuildup;
    double coefficient, exponent, emc, removal;
};

struct BareLand {
    int64_t count, pollutants;
    BareWeather weather;
    int64_t second;               ///< of the run
    std::vector<BareRule> rules;  ///< by land use and pollutant

    // By subcatchment. Of its two parts the paved one stands first.
    std::vector<double> area, paved;
    std::vector<double> storage[2], alpha[2], partArea[2];
    std::vector<double> maxRate, minRate, decay, recovery, curve, limit;
    std::vector<double> depth[2], curveTime;
    std::vector<double> lastRunoff, thisRunoff;
    std::vector<double> rainfall, evaporated, infiltrated, runoff, peak;

    std::vector<double> share;    ///< by subcatchment and land use
    std::vector<double> buildup;  ///< by subcatchment, land use and pollutant
    // By subcatchment and pollutant.
    std::vector<double> lastQuality, thisQuality, ponded;
    std::vector<double> built, deposited, lost, removed, washed;

    double lateral, water;           ///< m3/s into the outfall; m3 in the run
    std::vector<double> load, mass;  ///< by pollutant
};

BareLand bareLand_create(int64_t count, int64_t pollutants, BareWeather weather);

/// All lead to the outfall, or each to a junction J of its own, which the caller has to add.
std::string bareLand_makeProject(const BareLand& land, bool hasJunctions = false);

/// Into the outfall; or by subcatchment into flows, m3/s, and loads, kg/s.
void bareLand_step(BareLand& land);
void bareLand_stepInto(BareLand& land, double* flows, double* loads);
bool bareLand_isSame(const BareLand& land, const tv_model* model);
