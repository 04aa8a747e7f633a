// LID units over a step. On subcatchments they are called by the runoff step, as nodes by the routing step; both share
// the solver and not their state. The solver is one explicit Euler step of the four states, but for the swale, whose
// channel wants the trapezoidal rule by fixed-point passes.

#include "hydrology/lidunit.h"

#include <algorithm>
#include <cmath>

#include "hydrology/evap.h"
#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/pollut.h"
#include "model/project.h"

LidStepRecord LidStep;

static double* LoadScratch = nullptr;  ///< kg/s, one per pollutant; as long as the results of a run

static constexpr double UNLIMITED = 1e10;  ///< m
static constexpr int32_t MAX_PASSES = 19;
static constexpr double PASS_TOLERANCE = 0.00328;  ///< m, and the same figure for the moisture

// --- start of a run ------------------------------------------------------------------------------------------------

void lid_allocBalance(LidUnit& unit) {
    const int64_t count = project_pollutantCount();
    double* memory = arena_allocateArray<double>(ResultArena, 7 * count);
    if (!memory) {
        lid_freeBalance(unit);
        report_writeError(ERR_MEMORY, "");
        return;
    }
    double** const arrays[] = {&unit.rainLoad,     &unit.inflowLoad, &unit.exfilLoad,  &unit.surfaceOutLoad,
                               &unit.drainOutLoad, &unit.finalLoad,  &unit.reactedLoad};
    for (double** array : arrays) {
        *array = memory;
        memory += count;
    }
}

void lid_freeBalance(LidUnit& unit) {
    unit.rainLoad = unit.inflowLoad = unit.exfilLoad = unit.surfaceOutLoad = nullptr;
    unit.drainOutLoad = unit.finalLoad = unit.reactedLoad = nullptr;
}

double* lid_getLoadScratch() {
    return LoadScratch;
}

/// Levels at the initial saturation. The mat of a roof is its storage, and its water counts twice: users compare the
/// initial storage of their roofs with older runs.
static void initLevels(LidUnit& unit) {
    const Lid& lid = Lids[unit.lid];
    unit.surfaceLevel = unit.pavementLevel = unit.soilMoisture = unit.storageLevel = 0.0;
    double depth = 0.0;
    if (lid.soilDepth > 0.0) {
        unit.soilMoisture = lid.wiltingPoint + (lid.porosity - lid.wiltingPoint) * unit.initialSaturation;
        depth += unit.soilMoisture * lid.soilDepth;
    }
    if (lid.storageDepth > 0.0) {
        unit.storageLevel = lid.storageDepth * unit.initialSaturation;
        depth += unit.storageLevel * lid.storageVoid;
    }
    if (lid.matDepth > 0.0) {
        unit.storageLevel = lid.matDepth * unit.initialSaturation;
        depth += unit.storageLevel * lid.matVoid;
    }
    unit.initialDepth = unit.finalDepth = depth;
}

static void initUnit(LidUnit& unit) {
    unit.dryTime = StartDryDays * 86400.0;
    initLevels(unit);
    unit.rainDepth = unit.inflowDepth = unit.evapDepth = unit.infilDepth = 0.0;
    unit.surfaceOutDepth = unit.drainDepth = 0.0;
    unit.lastSurfaceFlow = unit.thisSurfaceFlow = unit.lastDrainFlow = unit.thisDrainFlow = 0.0;
    unit.evapRate = unit.infilRate = 0.0;
    unit.surfaceChange = unit.soilChange = unit.storageChange = unit.pavementChange = 0.0;
    // The twelve arrays stand in one piece, the first of them at its front.
    std::fill_n(unit.lastSurfaceMass, 12 * static_cast<int64_t>(project_pollutantCount()), 0.0);
    lid_allocBalance(unit);
}

void lid_initUnits() {
    LoadScratch = arena_allocateArray<double>(ResultArena, project_pollutantCount());
    if (!LoadScratch) {
        report_writeError(ERR_MEMORY, "");
    }
    for (LidGroup& group : LidGroups) {
        group.lastSurfaceOutflow = group.thisSurfaceOutflow = 0.0;
        group.lastDrainFlow = group.thisDrainFlow = 0.0;
    }
    for (LidUnit& unit : LidUnits) {
        initUnit(unit);
    }
}

// --- the runoff step -----------------------------------------------------------------------------------------------

static void shiftUnit(LidUnit& unit) {
    unit.lastSurfaceFlow = unit.thisSurfaceFlow;
    unit.lastDrainFlow = unit.thisDrainFlow;
    unit.thisSurfaceFlow = unit.thisDrainFlow = 0.0;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        unit.lastSurfaceMass[p] = unit.thisSurfaceMass[p];
        unit.lastPavementMass[p] = unit.thisPavementMass[p];
        unit.lastSoilMass[p] = unit.thisSoilMass[p];
        unit.lastStorageMass[p] = unit.thisStorageMass[p];
        unit.thisSurfaceMass[p] = unit.thisPavementMass[p] = 0.0;
        unit.thisSoilMass[p] = unit.thisStorageMass[p] = 0.0;
        unit.thisSurfaceLoad[p] = unit.thisDrainLoad[p] = 0.0;  // a unit that sends no water must send no load
    }
}

void lid_shiftGroup(int32_t subcatch) {
    LidGroup* group = lid_findGroup(subcatch);
    if (!group) {
        return;
    }
    group->lastSurfaceOutflow = group->thisSurfaceOutflow;
    group->lastDrainFlow = group->thisDrainFlow;
    group->thisSurfaceOutflow = group->thisDrainFlow = 0.0;
    for (int32_t k = group->firstUnit; k >= 0; k = LidUnits[k].next) {
        shiftUnit(LidUnits[k]);
    }
}

/// Loads that enter a unit: with its rain, and its share of what the subcatchment shed one step before.
static void setLoads(const Subcatch& subcatch, LidUnit& unit, double dt) {
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double concentration = Polluts[p].rainConcentration;
        LoadScratch[p] =
            unit.area * subcatch.rain * concentration / 1000.0 + subcatch.lastWashoffRate[p] * unit.fromImpervious;
        unit.rainLoad[p] += dt * subcatch.rain * unit.area * concentration / 1000.0;
    }
}

static void stepUnit(const Subcatch& subcatch, LidUnit& unit, double flow, double evap, double dt) {
    const double area = unit.area;
    const double runon = flow / area;
    RunoffVolumes.lidRunon += area * runon * dt;
    setLoads(subcatch, unit, dt);
    double evapRate, infilRate, drainRate;
    const double outflow = lid_solveUnit(unit, Lids[unit.lid], runon + subcatch.rain, evap, dt, &evapRate, &infilRate,
                                         &drainRate, LoadScratch);
    unit.thisSurfaceFlow = outflow * area;
    unit.thisDrainFlow = drainRate * area;
    RunoffVolumes.evap += evapRate * dt * area;
    RunoffVolumes.lidInfil += infilRate * dt * area;
    RunoffVolumes.infil += infilRate * dt * area;
    unit.dryTime = subcatch.rain > DRY_RATE ? 0.0 : unit.dryTime + dt;
    lid_addBalance();
}

void lid_stepUnits(int32_t index, double dt) {
    LidGroup* group = lid_findGroup(index);
    if (!group) {
        return;
    }
    const Subcatch& subcatch = Subcatches[index];
    const double evap = subcatch.rain > 0.0 ? 0.0 : Evap.rate;  // nothing evaporates from a unit while it rains
    double flow = 0.0, surfaceSum = 0.0, drainSum = 0.0;
    for (int32_t k = group->firstUnit; k >= 0; k = LidUnits[k].next) {
        LidUnit& unit = LidUnits[k];
        if (subcatch.area > subcatch.lidArea) {
            flow = (subcatch.imperviousRunoff + subcatch.perviousRunoff) * unit.fromImpervious;
        }
        if (!(unit.area > 0.0)) {
            continue;
        }
        stepUnit(subcatch, unit, flow, evap, dt);
        surfaceSum += unit.thisSurfaceFlow;
        drainSum += unit.thisDrainFlow;
    }
    group->thisSurfaceOutflow = surfaceSum;
    group->thisDrainFlow = drainSum;
    RunoffVolumes.lidOutflow = surfaceSum * dt;
}

void lid_addSurfaceLoads(int32_t subcatch, double* runoffLoad) {
    const LidGroup* group = lid_findGroup(subcatch);
    for (int32_t k = group ? group->firstUnit : -1; k >= 0; k = LidUnits[k].next) {
        const LidUnit& unit = LidUnits[k];
        // Unit by unit: a later one also takes its share of what the ones before let go.
        for (int32_t p = 0; p < project_pollutantCount(); ++p) {
            runoffLoad[p] = (1.0 - unit.fromImpervious) * runoffLoad[p];
            runoffLoad[p] += RunoffStep * unit.thisSurfaceLoad[p];
        }
    }
}

// --- the routing step ----------------------------------------------------------------------------------------------

/// Of the two runoff steps around a routing step only the newer one counts for a drain. The kind of the node doesn't
/// matter.
static void addDrain(const LidUnit& unit) {
    Node& node = Nodes[unit.drainNode];
    node.newLatFlow += unit.thisDrainFlow;
    FlowTotals.wetWeatherInflow += RoutingStep * unit.thisDrainFlow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        node.massInflow[p] += unit.thisDrainLoad[p];
        QualTotals[p].wetWeatherInflow += RoutingStep * unit.thisDrainLoad[p];
    }
}

void lid_addDrains() {
    for (int32_t i = 0; i < Subcatches.size() && !LidUnits.empty(); ++i) {
        const LidGroup* group = lid_findGroup(i);
        if (!group || !(Subcatches[i].area > 0.0) || !(Subcatches[i].lidArea > 0.0)) {
            continue;
        }
        for (int32_t k = group->firstUnit; k >= 0; k = LidUnits[k].next) {
            if (LidUnits[k].drainNode >= 0) {
                addDrain(LidUnits[k]);
            }
        }
    }
}

// --- the solver ----------------------------------------------------------------------------------------------------

/// Upper limit of the infiltration of the surface: what comes in, what the next layer conducts, and what room it has.
/// The water that stands on the surface has no part in it.
static double getInfiltrationLimit() {
    const LidStepRecord& s = LidStep;
    const Lid& lid = *s.lid;
    if (lid.type == LID_PP) {
        return 0.0;
    }
    if (lid.soilRate > 0.0) {
        return std::min(std::min(lid.soilRate, s.inflow), (lid.porosity - s.unit->soilMoisture) * lid.soilDepth / s.dt);
    }
    if (lid.storageRate > 0.0) {
        return std::min(std::min(lid.storageRate, s.inflow),
                        (lid.storageDepth - s.unit->storageLevel) * lid.storageVoid / s.dt);
    }
    return 0.0;
}

static void beginStep(LidUnit& unit, const Lid& lid, double inflow, double evap, double dt, const double* load) {
    LidStep = LidStepRecord{};
    LidStep.unit = &unit;
    LidStep.lid = &lid;
    LidStep.load = load;
    LidStep.dt = dt;
    LidStep.inflow = inflow;
    LidStep.evap = evap;
    LidStep.surfaceInfil = getInfiltrationLimit();
}

struct StateLimits {
    double min[LID_STATE_COUNT];
    double max[LID_STATE_COUNT];
};

static StateLimits getLimits(const Lid& lid) {
    StateLimits limits;
    limits.min[STATE_SURFACE] = 0.0;
    limits.max[STATE_SURFACE] = UNLIMITED;
    limits.min[STATE_SOIL] = lid.soilDepth > 0.0 ? lid.wiltingPoint : 0.0;
    limits.max[STATE_SOIL] = lid.soilDepth > 0.0 ? lid.porosity : UNLIMITED;
    limits.min[STATE_STORAGE] = 0.0;
    limits.max[STATE_STORAGE] = lid.type == LID_GR       ? lid.matDepth
                                : lid.storageDepth > 0.0 ? lid.storageDepth
                                                         : UNLIMITED;
    limits.min[STATE_PAVEMENT] = 0.0;
    limits.max[STATE_PAVEMENT] = lid.pavementDepth > 0.0 ? lid.pavementDepth : UNLIMITED;
    return limits;
}

static void computeRates(const double* state, double* rates) {
    switch (LidStep.lid->type) {
        case LID_BC:
        case LID_RG: lid_ratesBioCell(state, rates); break;
        case LID_GR: lid_ratesGreenRoof(state, rates); break;
        case LID_IT: lid_ratesTrench(state, rates); break;
        case LID_PP: lid_ratesPavement(state, rates); break;
        case LID_RB: lid_ratesBarrel(state, rates); break;
        default: lid_ratesSwale(state, rates); break;
    }
}

/// Advances `state` by one step. `rates` are the old rates at first, and those of the last call afterwards, which
/// belong to the state before the last update.
static void integrate(double* state, double* rates) {
    const StateLimits limits = getLimits(*LidStep.lid);
    const double weight = LidStep.lid->type == LID_VS ? 0.5 : 0.0;  // of the old rates
    double oldState[LID_STATE_COUNT], oldRates[LID_STATE_COUNT];
    std::copy_n(state, LID_STATE_COUNT, oldState);
    std::copy_n(rates, LID_STATE_COUNT, oldRates);
    for (int32_t pass = 1; pass <= MAX_PASSES; ++pass) {
        computeRates(state, rates);
        bool isSteady = true;
        for (int32_t i = 0; i < LID_STATE_COUNT; ++i) {
            double value = ((1.0 - weight) * rates[i] + weight * oldRates[i]) * LidStep.dt + oldState[i];
            value = std::min(std::max(value, limits.min[i]), limits.max[i]);
            isSteady = isSteady && std::fabs(value - state[i]) <= PASS_TOLERANCE;
            state[i] = value;
        }
        if (weight == 0.0 || isSteady) {
            return;
        }
    }
}

/// Without an outflow width nothing can pond above the berm: it runs off within the step.
static void spillAboveBerm(double* state) {
    const Lid& lid = *LidStep.lid;
    if (LidStep.unit->fullWidth != 0.0 || lid.type == LID_RB) {
        return;
    }
    const double excess = state[STATE_SURFACE] - lid.surfaceDepth;
    if (excess > 0.0) {
        state[STATE_SURFACE] = lid.surfaceDepth;
        LidStep.surfaceOutflow += excess * lid.surfaceVoid / LidStep.dt;
    }
}

double lid_solveUnit(LidUnit& unit, const Lid& lid, double inflow, double evap, double dt, double* evapRate,
                     double* infilRate, double* drainRate, const double* load) {
    *evapRate = *infilRate = *drainRate = 0.0;
    beginStep(unit, lid, inflow, evap, dt, load);
    if (lid.type < LID_BC || lid.type > LID_VS) {
        return 0.0;
    }
    double state[] = {unit.surfaceLevel, unit.soilMoisture, unit.storageLevel, unit.pavementLevel};
    double rates[] = {unit.surfaceChange, unit.soilChange, unit.storageChange, unit.pavementChange};
    integrate(state, rates);
    spillAboveBerm(state);
    lid_moveQuality();
    unit.surfaceLevel = state[STATE_SURFACE];
    unit.soilMoisture = state[STATE_SOIL];
    unit.storageLevel = state[STATE_STORAGE];
    unit.pavementLevel = state[STATE_PAVEMENT];
    unit.surfaceChange = rates[STATE_SURFACE];
    unit.soilChange = rates[STATE_SOIL];
    unit.storageChange = rates[STATE_STORAGE];
    unit.pavementChange = rates[STATE_PAVEMENT];
    *evapRate = LidStep.surfaceEvap + LidStep.pavementEvap + LidStep.soilEvap + LidStep.storageEvap;
    *infilRate = LidStep.storageExfil;
    *drainRate = LidStep.storageDrain;
    return LidStep.surfaceOutflow;
}

void lid_addBalance() {
    const LidStepRecord& s = LidStep;
    LidUnit& unit = *s.unit;
    unit.inflowDepth += s.dt * s.inflow;
    unit.infilDepth += s.storageExfil * s.dt;
    unit.evapDepth += (s.pavementEvap + s.surfaceEvap + s.soilEvap + s.storageEvap) * s.dt;
    unit.surfaceOutDepth += s.surfaceOutflow * s.dt;
    unit.drainDepth += s.storageDrain * s.dt;
    // The water at the last call of the rate function, which for an explicit step is that at its start.
    unit.finalDepth = s.pavementVolume + s.surfaceVolume + s.soilVolume + s.storageVolume;
}
