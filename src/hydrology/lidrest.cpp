// LID units at rest. A unit into which nothing comes rests once a step has left each of its numbers as it was - levels,
// rates of change, masses, sums - and nothing has come out of it: the next step begins with the same numbers, rain,
// evaporation and parameters, so it ends with them as well. The rooms lidgroup and landrest call this one, and wake
// what gets rain, runoff or another evaporation, or whose parameters somebody may have changed.
//
// The dry time of a unit goes on all the same. Only the drain of a barrel asks for it, so a barrel that waits for it
// doesn't rest. Nor does a unit whose reactions go by the hour.

#include "hydrology/lidrest.h"

#include <algorithm>
#include <cstring>

#include "model/model.h"

void lidrest_wakeAll(Model& model) {
    model.lidRest->units.fill(model.lidUnits.size(), 0);
}

void lidrest_wake(Model& model, int32_t unit) {
    model.lidRest->units[unit] = 0;
}

bool lidrest_isResting(const Model& model, int32_t unit) {
    return unit < model.lidRest->units.size() && model.lidRest->units[unit] != 0;
}

bool lidrest_isStill(const Model& model, int32_t index) {
    const LidUnit& unit = model.lidUnits[index];
    return !model.pace.isPlain && index < model.lidRest->units.size() && unit.surfaceChange == 0.0 &&
           unit.soilChange == 0.0 && unit.storageChange == 0.0 && unit.pavementChange == 0.0 &&
           unit.lastSurfaceFlow == 0.0 && unit.lastDrainFlow == 0.0;
}

void lidrest_keep(const Model& model, const LidUnit& unit, LidBefore& before) {
    before.record = unit;
    before.sums.assign(unit.load, unit.load + lidunit_getSumCount(model));
}

static bool isZero(const double* values, int64_t count) {
    return std::all_of(values, values + count, [](double value) { return value == 0.0; });
}

/// Whether nothing left a unit, neither water nor a load.
static bool isShut(const Model& model, const LidUnit& unit, const LidOutflow& out) {
    const int64_t pollutants = model_pollutantCount(model);
    return out.evap == 0.0 && out.infil == 0.0 && out.drain == 0.0 && out.surface == 0.0 &&
           isZero(unit.load, pollutants) && isZero(unit.thisSurfaceLoad, pollutants) &&
           isZero(unit.thisDrainLoad, pollutants);
}

/// Whether a unit is as it was; what is new by now was rolled ahead of the step, and is compared with what it became.
static bool isAsBefore(const Model& model, const LidUnit& unit, LidBefore& before) {
    LidUnit& old = before.record;
    old.thisSurfaceFlow = old.lastSurfaceFlow;
    old.thisDrainFlow = old.lastDrainFlow;
    old.dryTime = unit.dryTime;
    const size_t size = before.sums.size() * sizeof(double);
    return std::memcmp(reinterpret_cast<const char*>(&unit), reinterpret_cast<const char*>(&old), sizeof unit) == 0 &&
           lidunit_areMassesSteady(model, unit) && (size == 0 || std::memcmp(unit.load, before.sums.data(), size) == 0);
}

/// A barrel with water above its drain waits for dry weather to last.
static bool isWaiting(const Lid& lid, const LidUnit& unit) {
    return lid.type == LID_RB && unit.storageLevel > lid.drainOffset && unit.dryTime < lid.drainDelay;
}

static bool goesByHour(const Model& model, const Lid& lid) {
    for (const Decay* decays : {lid.surfaceDecay, lid.pavementDecay, lid.soilDecay, lid.storageDecay, lid.matDecay}) {
        for (int32_t p = 0; decays && p < model_pollutantCount(model); ++p) {
            if (decays[p].pattern >= 0) {
                return true;
            }
        }
    }
    return false;
}

void lidrest_judge(Model& model, int32_t index, LidBefore& before, const LidOutflow& out) {
    const LidUnit& unit = model.lidUnits[index];
    const Lid& lid = model.lids[unit.lid];
    const bool rests =
        isShut(model, unit, out) && isAsBefore(model, unit, before) && !isWaiting(lid, unit) && !goesByHour(model, lid);
    model.lidRest->units[index] = rests ? 1 : 0;
}
