// Subcatchments. Each is a plane of an impervious and a pervious part, which both get the rain and the evaporation of
// the whole. Either part drains over the land as a nonlinear reservoir (room plane), and water seeps into the pervious
// one by Horton's law (room horton). The runoff step calls this room, and brings the water of the LID units into its
// balance; the room landinflows takes the runoff to the nodes.

#include "hydrology/subcatch.h"

#include <algorithm>
#include <cmath>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/statistics.h"
#include "model/warnings.h"
#include "text/units.h"

static constexpr double DRYING_SHARE = 0.020000000000000018;  ///< of the curve, left to recover after the drying time

// --- table ---------------------------------------------------------------------------------------------------------

/// All arrays of a subcatchment that live as long as the project stand together: a runoff step goes through them at
/// once. The buildups of all subcatchments stand one after the other, since in dry weather they grow and nothing else
/// happens.
static void createArrays(Model& model, Subcatch& subcatch, double* buildups) {
    const int64_t pollutants = model_pollutantCount(model);
    const int64_t landuses = model.counts.objects[LANDUSE];
    double* memory = arena_allocateArray<double>(model.memory.project, pollutants * 6);
    subcatch.landShares = arena_allocateArray<LandShare>(model.memory.project, landuses);
    if (!memory || !subcatch.landShares) {
        model.error.code = ERR_MEMORY;
        return;
    }
    for (double** array : {&subcatch.initialLoad, &subcatch.lastWashoffRate, &subcatch.thisWashoffRate,
                           &subcatch.lastQuality, &subcatch.thisQuality, &subcatch.pondedMass}) {
        *array = memory;
        memory += pollutants;
    }
    for (int64_t k = 0; k < landuses; ++k) {
        subcatch.landShares[k].buildup = buildups;
        buildups += pollutants;
    }
}

void subcatch_createAll(Model& model) {
    model.subcatches.fill(model.counts.objects[SUBCATCH], Subcatch{});
    const int64_t shares = int64_t{model_pollutantCount(model)} * model.counts.objects[LANDUSE];
    double* buildups = arena_allocateArray<double>(model.memory.project, shares * model.subcatches.size());
    if (!buildups) {
        model.error.code = ERR_MEMORY;
        return;
    }
    for (Subcatch& subcatch : model.subcatches) {
        createArrays(model, subcatch, buildups);
        buildups += shares;
    }
}

// --- reading -------------------------------------------------------------------------------------------------------

/// Reads a number that must be above 0, or may be 0 as well. NaN is neither.
static bool readNumber(const Tokens& tokens, int32_t token, bool mayBeZero, double* value) {
    return tokens_getDouble(tokens[token], value) && (*value > 0.0 || (mayBeZero && *value == 0.0));
}

/// A percentage as a share; 100 and more is the whole.
static double getShare(double percent) {
    return percent >= PERCENT ? 1.0 : percent / PERCENT;
}

/// The depth that the limit (mm) is compared with grows at least by the final rate (mm/h), in the lightest rain as
/// well.
static void checkLimit(const Model& model, const char* name, double finalRate, double limit) {
    static constexpr double SHORT = 6.0;  ///< h, so long many a drizzle lasts
    if (limit > 0.0 && finalRate * SHORT > limit) {
        warnings_addAtLine(model, WARN_HORTON_LIMIT, 15, name,
                           {warnings_formatNumber(limit), warnings_formatNumber(limit / finalRate)});
    }
}

/// The words of a line against what is usual. A part of the land without area has numbers that don't matter, and the
/// smallest storages stand for none.
static void checkNumbers(const Model& model, const char* name, const double* v) {
    static constexpr double NO_STORAGE = 0.01;  ///< mm
    plausible_check(model, PLAUSIBLE_SUBCATCH_AREA, v[3], 3, name);
    plausible_check(model, PLAUSIBLE_OVERLAND_PATH, v[3] * M2_PER_HA / v[4], 4, name);
    plausible_checkSet(model, PLAUSIBLE_IMPERVIOUSNESS, v[5], 5, name);
    plausible_check(model, PLAUSIBLE_LAND_SLOPE, v[6], 6, name);
    if (v[5] > 0.0) {
        plausible_check(model, PLAUSIBLE_PAVED_ROUGHNESS, v[7], 7, name);
        if (v[9] > NO_STORAGE) {
            plausible_check(model, PLAUSIBLE_PAVED_STORAGE, v[9], 9, name);
        }
    }
    if (v[5] < PERCENT) {
        plausible_check(model, PLAUSIBLE_LAND_ROUGHNESS, v[8], 8, name);
        if (v[10] > NO_STORAGE) {
            plausible_check(model, PLAUSIBLE_LAND_STORAGE, v[10], 10, name);
        }
        plausible_check(model, PLAUSIBLE_HORTON_FIRST, v[11], 11, name);
        plausible_check(model, PLAUSIBLE_HORTON_FINAL, v[12], 12, name);
        plausible_check(model, PLAUSIBLE_HORTON_DECAY, v[13], 13, name);
        plausible_check(model, PLAUSIBLE_DRYING_TIME, v[14], 14, name);
        plausible_checkSet(model, PLAUSIBLE_HORTON_LIMIT, v[15], 15, name);
        checkLimit(model, name, v[12], v[15]);
    }
}

int32_t subcatch_readLine(Model& model, const Tokens& tokens, int32_t index) {
    static constexpr int32_t FIRST = 3, COUNT = 16;
    static constexpr int32_t IMPERVIOUS = 5, MAX_VOLUME = 15;  ///< only these two may be 0
    if (tokens.count < COUNT) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* name = names_findId(model, SUBCATCH, tokens[0]);
    if (!name) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t gage = names_find(model, GAGE, tokens[1]);
    if (gage < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    const int32_t outNode = names_find(model, NODE, tokens[2]);
    if (outNode < 0) {
        return errors_setName(model, ERR_SUBCATCH_OUTLET, name);
    }
    double v[COUNT];
    for (int32_t k = FIRST; k < COUNT; ++k) {
        if (!readNumber(tokens, k, k == IMPERVIOUS || k == MAX_VOLUME, &v[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[k]);
        }
    }
    checkNumbers(model, name, v);
    Subcatch& subcatch = model.subcatches[index];
    subcatch.name = name;
    subcatch.gage = gage;
    subcatch.outNode = outNode;
    subcatch.area = v[3] / HA_PER_M2;
    subcatch.width = v[4];
    subcatch.imperviousFraction = getShare(v[5]);
    subcatch.slope = getShare(v[6]);
    for (const int32_t k : {5, 6}) {
        if (v[k] > PERCENT) {
            warnings_addAtLine(model, WARN_VALUE_LIMIT, k, name, {tokens[k], "100 %"});
        }
    }
    subcatch.imperviousRoughness = v[7];
    subcatch.perviousRoughness = v[8];
    subcatch.imperviousStorage = v[9] / MM_PER_M;
    subcatch.perviousStorage = v[10] / MM_PER_M;
    subcatch.soil.maxRate = v[11] / MM_PER_HOUR;
    subcatch.soil.minRate = v[12] / MM_PER_HOUR;
    subcatch.soil.decay = v[13] / SECONDS_PER_HOUR;
    subcatch_setDryingTime(subcatch, v[14]);
    subcatch.soil.maxVolume = v[15] / MM_PER_M;
    return ERR_NONE;
}

double subcatch_getDryingTime(const Subcatch& subcatch) {
    return std::log(DRYING_SHARE) / subcatch.soil.recovery / -SECONDS_PER_DAY;
}

void subcatch_setDryingTime(Subcatch& subcatch, double days) {
    subcatch.soil.recovery = std::log(DRYING_SHARE) / days / -SECONDS_PER_DAY;
}

/// Finds the subcatchment that a line begins with, and the object of another class that follows it.
static int32_t findPair(Model& model, const Tokens& tokens, int32_t type, int32_t& subcatch, int32_t& object) {
    subcatch = names_find(model, SUBCATCH, tokens[0]);
    if (subcatch < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    object = names_find(model, type, tokens[1]);
    return object < 0 ? errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]) : ERR_NONE;
}

int32_t subcatch_readCoverage(Model& model, const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    int32_t subcatch = 0, landuse = 0;
    if (const int32_t error = findPair(model, tokens, LANDUSE, subcatch, landuse)) {
        return error;
    }
    // Negative shares pass: a land use can be taken off another one.
    double percent;
    if (!tokens_getDouble(tokens[2], &percent)) {
        return errors_setName(model, ERR_NUMBER, tokens[2]);
    }
    plausible_checkSet(model, PLAUSIBLE_COVERAGE, percent, 2, tokens[0]);
    double& fraction = model.subcatches[subcatch].landShares[landuse].fraction;
    if (fraction != 0.0) {
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, tokens[0], {"this coverage of the subcatchment", ""});
    }
    fraction = percent / PERCENT;
    return ERR_NONE;
}

int32_t subcatch_readLoading(Model& model, const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    int32_t subcatch = 0, pollutant = 0;
    if (const int32_t error = findPair(model, tokens, POLLUT, subcatch, pollutant)) {
        return error;
    }
    double load;
    if (!tokens_getNonNegative(tokens[2], &load)) {
        return errors_setName(model, ERR_NUMBER, tokens[2]);
    }
    plausible_check(model, PLAUSIBLE_LOADING, load, 2, tokens[0]);
    warnings_noteGiven(model, subcatch, pollutant, tokens[0], "this loading");
    model.subcatches[subcatch].initialLoad[pollutant] = load;
    return ERR_NONE;
}

// --- validation and start ------------------------------------------------------------------------------------------

void subcatch_validateAll(Model& model) {
    for (const Subcatch& subcatch : model.subcatches) {
        if (subcatch.soil.maxRate < subcatch.soil.minRate) {
            errors_report(model, ERR_INFILTRATION_RATES, subcatch.name);
        }
        if (subcatch.gage >= 0) {
            model.gages[subcatch.gage].isUsed = true;
        }
    }
}

/// The statistics that are kept by pollutant.
static constexpr double* Subcatch::*StatisticLoads[] = {&Subcatch::initBuildup,   &Subcatch::surfaceBuildup,
                                                        &Subcatch::wetDeposition, &Subcatch::infilLoss,
                                                        &Subcatch::bmpRemoval,    &Subcatch::surfaceWashoff};

void subcatch_openStatistics(Model& model, Subcatch& subcatch) {
    subcatch.rainfall = subcatch.evap = subcatch.infil = subcatch.runoff = subcatch.peakRunoff = 0.0;
    const int64_t pollutants = model_pollutantCount(model);
    double* memory = arena_allocateArray<double>(model.memory.results, std::ssize(StatisticLoads) * pollutants);
    if (!memory) {
        errors_report(model, ERR_MEMORY, "");
    }
    for (double* Subcatch::*loads : StatisticLoads) {
        subcatch.*loads = memory;
        memory += memory ? pollutants : 0;
    }
}

void subcatch_clearLoads(const Model& model, Subcatch& subcatch) {
    for (double* Subcatch::*loads : StatisticLoads) {
        if (subcatch.*loads) {
            std::fill_n(subcatch.*loads, model_pollutantCount(model), 0.0);
        }
    }
}

void subcatch_initState(const Model& model, Subcatch& subcatch) {
    subcatch.rain = subcatch.evapRate = subcatch.infilRate = 0.0;
    subcatch.lastRunoff = subcatch.thisRunoff = 0.0;
    subcatch.imperviousDepth = subcatch.perviousDepth = 0.0;
    subcatch.infilState = HortonState{};
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        subcatch.lastQuality[p] = subcatch.thisQuality[p] = 0.0;
        subcatch.lastWashoffRate[p] = subcatch.thisWashoffRate[p] = 0.0;
        subcatch.pondedMass[p] = 0.0;
    }
}

// --- the runoff step -----------------------------------------------------------------------------------------------

void subcatch_shiftState(const Model& model, Subcatch& subcatch) {
    subcatch.lastRunoff = subcatch.thisRunoff;
    subcatch.imperviousRunoff = subcatch.perviousRunoff = subcatch.thisRunoff = 0.0;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        subcatch.lastQuality[p] = subcatch.thisQuality[p];
        subcatch.thisQuality[p] = 0.0;
        subcatch.lastWashoffRate[p] = subcatch.thisWashoffRate[p];
        subcatch.thisWashoffRate[p] = 0.0;
    }
}

RunoffVolumes subcatch_stepLand(const Model& model, Subcatch& s, double dt) {
    RunoffVolumes volumes{};
    s.rain = s.gage >= 0 ? model.gages[s.gage].rain : 0.0;
    const double area = s.area - s.lidArea;
    if (!(area > 0.0)) {
        return volumes;
    }
    const double f = s.imperviousFraction;
    const double imperviousEvap = std::min(s.imperviousDepth / dt + s.rain, model.evap->rate);
    const double perviousEvap = std::min(s.perviousDepth / dt + s.rain, model.evap->rate);
    volumes.wetInflow = (s.imperviousDepth * f + s.perviousDepth * (1.0 - f)) * area + s.rain * area * dt;
    volumes.evap = ((1.0 - f) * perviousEvap + f * imperviousEvap) * area * dt;
    const double infil = horton_getRate(s.soil, s.infilState, s.perviousDepth / dt + s.rain - perviousEvap, dt);
    volumes.infil = (1.0 - f) * infil * area * dt;
    // Either part drains over the whole width.
    const Plane impervious{.rain = s.rain,
                           .evap = imperviousEvap,
                           .infil = 0.0,
                           .storage = s.imperviousStorage,
                           .area = f * area,
                           .width = s.width,
                           .slope = s.slope,
                           .roughness = s.imperviousRoughness};
    const Plane pervious{.rain = s.rain,
                         .evap = perviousEvap,
                         .infil = infil,
                         .storage = s.perviousStorage,
                         .area = (1.0 - f) * area,
                         .width = s.width,
                         .slope = s.slope,
                         .roughness = s.perviousRoughness};
    s.imperviousRunoff = plane_drain(impervious, s.imperviousDepth, s.imperviousSheet, s.slopeRoot, dt);
    s.perviousRunoff = plane_drain(pervious, s.perviousDepth, s.perviousSheet, s.slopeRoot, dt);
    volumes.surfaceOutflow = (s.imperviousRunoff + s.perviousRunoff) * dt;
    return volumes;
}

RunoffVolumes subcatch_dryPond(const Model& model, Subcatch& s, double dt) {
    RunoffVolumes volumes{};
    const double area = s.area - s.lidArea;
    const double f = s.imperviousFraction;
    const double evap = std::min(s.imperviousDepth / dt, model.evap->rate);
    volumes.wetInflow = s.imperviousDepth * f * area;
    volumes.evap = (0.0 + f * evap) * area * dt;  // the pervious part's 0 takes the sign from an evaporation of -0
    s.imperviousDepth = evap < s.imperviousDepth / dt ? (0.0 - evap) * dt + s.imperviousDepth : 0.0;
    return volumes;
}

void subcatch_closeStep(Subcatch& s, const RunoffVolumes& volumes, double dt) {
    s.infilRate = volumes.infil / dt / s.area;
    s.evapRate = volumes.evap / dt / s.area;
    s.thisRunoff = (volumes.surfaceOutflow - volumes.lidRunon + volumes.lidOutflow) / dt;
}

double subcatch_getWeight(const Model& model, double time) {
    const double weight = (time - model.clock.oldRunoffTime) / (model.clock.newRunoffTime - model.clock.oldRunoffTime);
    if (!(weight > 0.0)) {
        return 0.0;  // also where both clocks stand at the same time
    }
    return weight > 1.0 ? 1.0 : weight;
}

// --- statistics ----------------------------------------------------------------------------------------------------

void subcatch_countLosses(Subcatch& s, double dt) {
    s.evap += dt * s.evapRate * MM_PER_M;
    s.infil += dt * s.infilRate * MM_PER_M;
}

void subcatch_countStep(const Model& model, Subcatch& s, double dt) {
    s.rainfall += dt * s.rain * MM_PER_M;
    subcatch_countLosses(s, dt);
    s.runoff += dt * s.thisRunoff / s.area * MM_PER_M;
    statistics_keepMaximum(s.peakRunoff, s.thisRunoff);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        s.surfaceWashoff[p] += s.thisQuality[p] / G_PER_KG * s.thisRunoff * dt;
    }
}
