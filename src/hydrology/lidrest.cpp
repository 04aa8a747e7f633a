// LID units at rest. A unit into which nothing comes rests once a step has left each of its numbers as it was - levels,
// rates of change, masses, sums - and nothing has come out of it: the next step begins with the same numbers, rain,
// evaporation and parameters, so it ends with them as well. Long before that most units come to a point where nothing
// happens but that the soil dries in the air, which takes weeks; the few operations that this is stand here:
//
//     awake --(nothing comes in, and nothing will go over the surface)--------------------> seeping  lidrest_judge
//     awake, seeping --(nothing in, all layers but the soil empty, it holds its water)----> drying   lidrest_judge
//     awake, seeping --(the same, but that water stands below the berm)-------------------> ponded   lidrest_judge
//     ponded --(nothing is left on the surface)-------------------------------------------> drying   lidrest_step
//     awake, seeping --(the water of a barrel stands, or waits for dry weather to last)---> drying   lidrest_judge
//     drying --(the soil is dry, the barrel's time has come)------------------------------> awake    lidrest_step
//     ponded --(nothing evaporates)-------------------------------------------------------> awake    lidrest_step
//     seeping --(a load over the surface that isn't 0)------------------------------------> awake    lidrest_step
//     awake, seeping --(a step changed nothing)-------------------------------------------> resting  lidrest_judge
//     all --(rain, runoff, another evaporation, a host)-----------------------------------> awake    lidgroup, landrest
//
// A unit that seeps goes through the whole solver, but its land doesn't: water leaves it downward and into the air
// alone, and so do loads.
//
// The rooms lidgroup and landrest call this one, and wake what gets rain, runoff or another evaporation, or whose
// parameters somebody may have changed. The dry time of a unit goes on all the same. Only the drain of a barrel asks
// for it, so a barrel that waits for it counts as drying. A unit whose reactions go by the hour doesn't rest.
//
// What stands on a surface sinks in by no law of its own: only what comes in does. So after a storm it stands for
// weeks, and evaporates.

#include "hydrology/lidrest.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "hydrology/evap.h"
#include "hydrology/lidquality.h"
#include "model/model.h"
#include "model/still.h"

static constexpr double SMALLEST_VOID = 1e-6;  ///< of a surface, by which a flux makes a change that is finite
static constexpr double LARGEST_RATE = 1e6;    ///< m/s, of an evaporation

// --- pace ----------------------------------------------------------------------------------------------------------

void lidrest_wakeAll(Model& model) {
    model.lidRest->units.fill(model.lidUnits.size(), LID_AWAKE);
    model.lidRest->sums.resize(model.lidUnits.rows.size() * static_cast<size_t>(lidunit_getSumCount(model)));
}

void lidrest_wake(Model& model, int32_t unit) {
    model.lidRest->units[unit] = LID_AWAKE;
}

LidPace lidrest_getPace(const Model& model, int32_t unit) {
    const Table<uint8_t>& paces = model.lidRest->units;
    return unit < paces.size() ? static_cast<LidPace>(paces[unit]) : LID_AWAKE;
}

// --- coming to rest ------------------------------------------------------------------------------------------------

/// Whether water stands on a surface from which it goes neither over the berm nor into the ground, above a soil that
/// holds its own and an empty storage.
static bool isPonded(const Lid& lid, const LidUnit& unit) {
    return (lid.type == LID_BC || lid.type == LID_RG || lid.type == LID_GR) && unit.surfaceLevel >= 0.0 &&
           unit.surfaceLevel < lid.surfaceDepth && unit.soilMoisture <= lid.fieldCapacity &&
           unit.soilMoisture >= lid.wiltingPoint && unit.storageLevel == 0.0 && unit.pavementLevel == 0.0;
}

bool lidrest_isStill(const Model& model, int32_t index) {
    const LidUnit& unit = model.lidUnits[index];
    return !model.pace.isPlain && index < model.lidRest->units.size() && unit.storageChange == 0.0 &&
           unit.pavementChange == 0.0 && unit.lastSurfaceFlow == 0.0 && unit.lastDrainFlow == 0.0 &&
           (unit.surfaceChange == 0.0 || isPonded(model.lids[unit.lid], unit));
}

/// The place of a unit's balance.
static double* findSums(Model& model, int32_t unit) {
    return model.lidRest->sums.data() + int64_t{unit} * lidunit_getSumCount(model);
}

void lidrest_keep(Model& model, int32_t index) {
    std::copy_n(model.lidUnits[index].load, lidunit_getSumCount(model), findSums(model, index));
}

static bool isZero(const double* values, int64_t count) {
    return std::all_of(values, values + count, [](double value) { return value == 0.0; });
}

/// Whether no water left a unit but into the air, and no load came or went.
static bool isShut(const Model& model, const LidUnit& unit, const LidOutflow& out) {
    const int64_t pollutants = model_pollutantCount(model);
    return out.infil == 0.0 && out.drain == 0.0 && out.surface == 0.0 && isZero(unit.load, pollutants) &&
           isZero(unit.thisSurfaceLoad, pollutants) && isZero(unit.thisDrainLoad, pollutants);
}

/// Whether a unit is as it was; what is new by now was rolled ahead of the step, and is compared with what it became.
static bool isAsBefore(Model& model, int32_t index, LidUnit& old) {
    const LidUnit& unit = model.lidUnits[index];
    old.thisSurfaceFlow = old.lastSurfaceFlow;
    old.thisDrainFlow = old.lastDrainFlow;
    old.dryTime = unit.dryTime;
    old.inflowRate = unit.inflowRate;  // rates are told and no more: a step sets them, whatever they were
    old.evapRate = unit.evapRate;
    old.infilRate = unit.infilRate;
    const size_t size = static_cast<size_t>(lidunit_getSumCount(model)) * sizeof(double);
    return std::memcmp(reinterpret_cast<const char*>(&unit), reinterpret_cast<const char*>(&old), sizeof unit) == 0 &&
           lidunit_areMassesSteady(model, unit) &&
           (size == 0 || std::memcmp(unit.load, findSums(model, index), size) == 0);
}

/// A barrel with water above its drain waits for dry weather to last.
static bool isWaiting(const Lid& lid, const LidUnit& unit) {
    return lid.type == LID_RB && unit.storageLevel > lid.drainOffset && unit.dryTime < lid.drainDelay;
}

/// Whether the layers of a control have such numbers that what nothing comes into sheds nothing over its surface
/// either. Then each flux of its law is 0 or more and each layer has room for all that it holds, so that the surface,
/// which gets nothing, gives nothing back; and no number that isn't finite reaches its level.
static bool canSeep(const Lid& lid) {
    const bool hasSoil = lid.type == LID_BC || lid.type == LID_RG || lid.type == LID_GR;
    const bool isStack = hasSoil || lid.type == LID_IT || lid.type == LID_PP;
    return (isStack || lid.type == LID_RB) && (hasSoil ? lid.soilDepth > 0.0 : lid.soilDepth >= 0.0) &&
           (hasSoil ? lid.storageDepth >= 0.0 : lid.storageDepth > 0.0) && lid.storageVoid >= 0.0 &&
           lid.storageRate >= 0.0 && lid.drainCoefficient >= 0.0 && lid.soilRate >= 0.0 && lid.surfaceDepth >= 0.0 &&
           lid.surfaceVoid > SMALLEST_VOID && lid.porosity >= lid.wiltingPoint && lid.wiltingPoint >= 0.0 &&
           (lid.type != LID_GR || (lid.matDepth <= lid.storageDepth && lid.matVoid >= 0.0 && lid.matAlpha >= 0.0)) &&
           (lid.type != LID_PP || (lid.pavementDepth > 0.0 && lid.pavementVoid > 0.0 && lid.pavementRate >= 0.0));
}

/// Whether there is nothing on the surface of a unit that could run off: it is bare, or holds water below its berm. Of
/// a barrel no law reads it.
static bool isBelowBerm(const LidUnit& unit, const Lid& lid) {
    const bool mayPond = lid.type == LID_BC || lid.type == LID_RG || lid.type == LID_GR;
    const bool isLow =
        unit.surfaceLevel == 0.0 || (mayPond && unit.surfaceLevel > 0.0 && unit.surfaceLevel < lid.surfaceDepth);
    return lid.type == LID_RB || (isLow && std::isfinite(unit.surfaceChange) && std::isfinite(lid.surfaceAlpha) &&
                                  lid.surfaceAlpha >= 0.0 && std::isfinite(unit.fullWidth) && unit.fullWidth >= 0.0);
}

/// Whether the other layers hold no more than they have room for.
static bool hasRoom(const LidUnit& unit, const Lid& lid) {
    return unit.storageLevel >= 0.0 && unit.storageLevel <= lid.storageDepth &&
           (lid.soilDepth == 0.0 || (unit.soilMoisture >= lid.wiltingPoint && unit.soilMoisture <= lid.porosity)) &&
           (lid.type != LID_PP || unit.pavementLevel <= lid.pavementDepth);
}

/// Whether the water of a barrel stands: this step took none from it, and none is taken from a level as it is now until
/// the time comes for which one waits that has waited in this step. What is in it goes on reacting. A drain of -0,
/// which a coefficient of -0 makes, isn't meant: it gives its sign to the loads.
static bool isStanding(const Model& model, const LidUnit& unit, const LidUnit& before, bool hasWaited) {
    const Lid& lid = model.lids[unit.lid];
    const int64_t above = 3 * int64_t{model_pollutantCount(model)};  // layers down to the soil, one after the other
    return lid.type == LID_RB && unit.storageLevel == before.storageLevel && unit.surfaceLevel == before.surfaceLevel &&
           unit.storageChange == 0.0 && unit.surfaceChange == 0.0 && (isWaiting(lid, unit) || !hasWaited) &&
           still_areZeros(unit.thisSurfaceMass, above) && still_areZeros(unit.lastSurfaceMass, above);
}

/// Whether there is anything in a unit that reacts by the hour.
static bool goesByHour(const Model& model, const LidUnit& unit, const Lid& lid) {
    if (isZero(unit.thisSurfaceMass, 4 * int64_t{model_pollutantCount(model)})) {
        return false;  // the masses in the layers stand one after the other
    }
    for (const Decay* decays : {lid.surfaceDecay, lid.pavementDecay, lid.soilDecay, lid.storageDecay, lid.matDecay}) {
        for (int32_t p = 0; decays && p < model_pollutantCount(model); ++p) {
            if (decays[p].pattern >= 0 && decays[p].k != 0.0) {
                return true;
            }
        }
    }
    return false;
}

/// Whether the layers of a control are such that an empty storage stays empty below a soil that holds its water.
static bool canDry(const Lid& lid) {
    const bool hasSoil = lid.type == LID_BC || lid.type == LID_RG || lid.type == LID_GR || lid.type == LID_PP;
    const bool isRoomy = lid.type != LID_PP || (lid.pavementDepth > 0.0 && lid.pavementVoid > 0.0 &&
                                                lid.pavementRate >= 0.0 && lid.storageDepth > 0.0);
    return hasSoil && isRoomy && lid.soilDepth > 0.0 && lid.wiltingPoint >= 0.0 && lid.fieldCapacity < lid.porosity &&
           lid.surfaceDepth >= 0.0 && lid.surfaceVoid > 0.0 && lid.storageDepth >= 0.0 && lid.storageVoid >= 0.0 &&
           lid.storageRate >= 0.0 && lid.drainOffset >= 0.0;
}

/// Whether there is water in the soil alone, and as much as it holds; and so with the pollutants.
static bool isSoilAlone(const Model& model, const LidUnit& unit, const Lid& lid) {
    const int64_t pollutants = model_pollutantCount(model);
    return unit.surfaceLevel == 0.0 && unit.storageLevel == 0.0 && unit.pavementLevel == 0.0 &&
           unit.surfaceChange == 0.0 && unit.storageChange == 0.0 && unit.pavementChange == 0.0 &&
           unit.soilMoisture <= lid.fieldCapacity && unit.soilMoisture >= lid.wiltingPoint &&
           isZero(unit.thisSurfaceMass, pollutants) && isZero(unit.thisPavementMass, pollutants) &&
           isZero(unit.thisStorageMass, pollutants) && isZero(unit.lastSurfaceMass, pollutants) &&
           isZero(unit.lastPavementMass, pollutants) && isZero(unit.lastStorageMass, pollutants);
}

/// Whether pollutants are on the surface and in the soil alone.
static bool isPondAlone(const Model& model, const LidUnit& unit) {
    const int64_t pollutants = model_pollutantCount(model);
    return unit.storageChange == 0.0 && unit.pavementChange == 0.0 && std::isfinite(unit.surfaceChange) &&
           std::isfinite(unit.soilChange) && isZero(unit.thisPavementMass, pollutants) &&
           isZero(unit.thisStorageMass, pollutants) && isZero(unit.lastPavementMass, pollutants) &&
           isZero(unit.lastStorageMass, pollutants) && lidquality_isOrdinary(unit.thisSurfaceMass, 4 * pollutants);
}

/// Whether a unit into which nothing came gives nothing to its land from now on, but what seeps and drains.
static bool maySeep(const Model& model, const LidUnit& unit, const LidOutflow& out) {
    const Lid& lid = model.lids[unit.lid];
    const int64_t pollutants = model_pollutantCount(model);
    return still_isZero(out.surface) && still_areZeros(unit.load, pollutants) &&
           still_areZeros(unit.thisSurfaceLoad, pollutants) && model.evap->rate >= 0.0 &&
           model.evap->rate < LARGEST_RATE && canSeep(lid) && isBelowBerm(unit, lid) && hasRoom(unit, lid);
}

void lidrest_judge(Model& model, int32_t index, LidUnit before, const LidOutflow& out) {
    const LidUnit& unit = model.lidUnits[index];
    const Lid& lid = model.lids[unit.lid];
    const bool hasWaited = isWaiting(lid, before);  // in this step, so that it tells nothing of one that drains
    LidPace pace = LID_AWAKE;
    if (!isShut(model, unit, out)) {
        pace = LID_AWAKE;
    } else if (out.evap == 0.0 && !goesByHour(model, unit, lid) && isAsBefore(model, index, before)) {
        pace = isWaiting(lid, unit) ? LID_DRYING : hasWaited ? LID_AWAKE : LID_RESTING;
    } else if ((still_isZero(out.drain) && isStanding(model, unit, before, hasWaited)) ||
               (canDry(lid) && isSoilAlone(model, unit, lid) && model.evap->rate >= 0.0)) {
        pace = LID_DRYING;
    } else if (canDry(lid) && isPonded(lid, unit) && isPondAlone(model, unit) && model.evap->rate >= 0.0 &&
               still_isZero(out.surface)) {
        pace = LID_PONDED;
    }
    model.lidRest->units[index] = pace == LID_AWAKE && maySeep(model, unit, out) ? LID_SEEPING : pace;
}

void lidrest_judgeSeeping(Model& model, int32_t index, const LidOutflow& out) {
    if (index < model.lidRest->units.size()) {
        model.lidRest->units[index] = maySeep(model, model.lidUnits[index], out) ? LID_SEEPING : LID_AWAKE;
    }
}

// --- seeping -------------------------------------------------------------------------------------------------------

/// What a unit into which nothing comes goes through in any step. The load that enters, worked out from the same rain
/// and runoff, stands in it as nothing. The balance is kept and compared only where the unit may be found at rest, not
/// where it is plain that its masses are on the move and can't be left to themselves.
static LidOutflow seep(Model& model, int32_t index, int32_t hour, double dt) {
    LidUnit& unit = model.lidUnits[index];
    const bool isSteady = lidunit_areMassesSteady(model, unit);
    lidunit_shiftState(model, unit);
    const Lid& lid = model.lids[unit.lid];
    const bool mayRest = lidrest_isStill(model, index) && (isSteady || lid.type == LID_RB || canDry(lid));
    LidUnit before;
    if (mayRest) {
        before = unit;
        lidrest_keep(model, index);
    }
    LidStep step;
    step.unit = &unit;
    step.lid = &lid;
    step.hour = hour;
    step.dt = dt;
    step.inflow = 0.0;
    step.evap = model.evap->rate;
    const LidOutflow out = lidsolver_advance(model, step);
    unit.thisSurfaceFlow = out.surface * unit.area;
    unit.thisDrainFlow = out.drain * unit.area;
    unit.dryTime += dt;
    if (mayRest) {
        lidrest_judge(model, index, before, out);
    } else if (!still_areZeros(unit.thisSurfaceLoad, model_pollutantCount(model))) {
        model.lidRest->units[index] = LID_AWAKE;
    }
    return out;
}

// --- drying --------------------------------------------------------------------------------------------------------

/// What the solver comes to for such a unit. There is nothing on the surface, so that it neither infiltrates nor
/// evaporates nor runs off, and the soil has all of the evaporation, as far as its water goes. It holds what it has
/// below its field capacity, so nothing percolates, and an empty storage neither seeps nor drains. Each flux is 0 then,
/// and 0 changes no level, no mass and no sum.
static double drySoil(Model& model, int32_t index, const Lid& lid, int32_t hour, double dt) {
    LidUnit& unit = model.lidUnits[index];
    lidquality_dry(model, unit, lid, hour, dt);
    const double moisture = unit.soilMoisture;
    const double soilVolume = moisture * lid.soilDepth;
    const double evap = std::min(model.evap->rate, (soilVolume - lid.soilDepth * lid.wiltingPoint) / dt);
    const double change = (0.0 - evap) / lid.soilDepth;
    const double next = std::min(std::max(change * dt + moisture, lid.wiltingPoint), lid.porosity);
    const bool isSame = next == moisture && evap == 0.0 && unit.soilChange == change && !goesByHour(model, unit, lid) &&
                        lidunit_areMassesSteady(model, unit);
    unit.soilMoisture = next;
    unit.soilChange = change;
    unit.evapDepth += evap * dt;
    unit.finalDepth = soilVolume;
    unit.dryTime += dt;
    if (isSame) {
        model.lidRest->units[index] = LID_AWAKE;  // the next step tells whether nothing changes at all
    }
    return evap;
}

/// What is new on a ponded unit after a step.
struct PondStep {
    double evap;  ///< m/s
    bool isSame;  ///< no level and no rate of change has become another one
};

/// How far a unit has come after a step that found it ponded.
static LidPace judgePond(const Model& model, const LidUnit& unit, const PondStep& step) {
    const int64_t pollutants = model_pollutantCount(model);
    if (step.evap == 0.0 && step.isSame && !goesByHour(model, unit, model.lids[unit.lid]) &&
        lidunit_areMassesSteady(model, unit)) {
        return LID_AWAKE;  // the next step tells whether nothing changes at all
    }
    const bool isEmpty = unit.surfaceLevel == 0.0 && unit.surfaceChange == 0.0 &&
                         isZero(unit.thisSurfaceMass, pollutants) && isZero(unit.lastSurfaceMass, pollutants);
    return isEmpty ? LID_DRYING : LID_PONDED;
}

/// The same with water on the surface, below the berm. It has its evaporation first, and the soil what is left of it.
static double dryPond(Model& model, int32_t index, const Lid& lid, int32_t hour, double dt) {
    LidUnit& unit = model.lidUnits[index];
    const bool isOrdinary = lidquality_dryPond(model, unit, lid, hour, dt);
    const double level = unit.surfaceLevel, moisture = unit.soilMoisture;
    const double surfaceVolume = level * lid.surfaceVoid, soilVolume = moisture * lid.soilDepth;
    const double surfaceEvap = std::max(0.0, std::min(model.evap->rate, surfaceVolume / dt));
    const double rest = std::max(0.0, model.evap->rate - surfaceEvap);
    const double soilEvap = std::min(rest, (soilVolume - lid.soilDepth * lid.wiltingPoint) / dt);
    const double surfaceChange = (0.0 - surfaceEvap) / lid.surfaceVoid;
    const double soilChange = (0.0 - soilEvap) / lid.soilDepth;
    const double evap = surfaceEvap + soilEvap;
    unit.surfaceLevel = std::max(surfaceChange * dt + level, 0.0);
    unit.soilMoisture = std::min(std::max(soilChange * dt + moisture, lid.wiltingPoint), lid.porosity);
    const bool mayEnd = evap == 0.0 || unit.surfaceLevel == 0.0;
    const bool isSame = mayEnd && unit.surfaceLevel == level && unit.soilMoisture == moisture &&
                        unit.surfaceChange == surfaceChange && unit.soilChange == soilChange;
    unit.surfaceChange = surfaceChange;
    unit.soilChange = soilChange;
    unit.evapDepth += evap * dt;
    unit.finalDepth = surfaceVolume + soilVolume;
    unit.dryTime += dt;
    if (mayEnd || !isOrdinary) {
        model.lidRest->units[index] = isOrdinary ? judgePond(model, unit, {evap, isSame}) : LID_AWAKE;
    }
    return evap;
}

/// The water of a barrel stands, and neither comes nor goes.
static void standBarrel(Model& model, int32_t index, const Lid& lid, int32_t hour, double dt) {
    LidUnit& unit = model.lidUnits[index];
    const int64_t pollutants = model_pollutantCount(model);
    const bool hasWaited = isWaiting(lid, unit);
    unit.dryTime += dt;
    lidquality_stand(model, unit, lid, hour, dt);
    const bool isOver = hasWaited && !isWaiting(lid, unit);  // it drains from the next step on
    const bool isSame = !hasWaited && lidunit_areMassesSteady(model, unit) && !goesByHour(model, unit, lid);
    if (isOver || isSame || !still_areZeros(unit.thisDrainLoad, pollutants)) {
        model.lidRest->units[index] = LID_AWAKE;  // the next step tells
    }
}

/// What dries, which may be the soil alone. Gives the evaporation, m/s.
static double dry(Model& model, int32_t index, int32_t hour, double dt) {
    const Lid& lid = model.lids[model.lidUnits[index].lid];
    if (lid.type == LID_RB) {
        standBarrel(model, index, lid, hour, dt);
        return 0.0;
    }
    return drySoil(model, index, lid, hour, dt);
}

LidOutflow lidrest_step(Model& model, int32_t index, int32_t hour, double dt) {
    LidUnit& unit = model.lidUnits[index];
    LidOutflow out{};
    switch (model.lidRest->units[index]) {
        case LID_SEEPING: return seep(model, index, hour, dt);
        case LID_PONDED: out.evap = dryPond(model, index, model.lids[unit.lid], hour, dt); break;
        case LID_DRYING: out.evap = dry(model, index, hour, dt); break;
        default: unit.dryTime += dt; break;
    }
    unit.evapRate = out.evap;  // the other rates have been 0 since the unit came to this pace
    return out;
}
