// The record of a LID unit: its arrays, its state at the start of a run and from step to step. The same record serves a
// unit on a subcatchment (room lidgroup) and one in a node (nodes/lidmono); who owns it says where its arrays live.

#include "hydrology/lidunit.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/units.h"

// --- reading -------------------------------------------------------------------------------------------------------

/// Only the area must be above 0.
static bool isGood(double value, bool isArea, bool takesNan) {
    if (isArea) {
        return value > 0.0;
    }
    return takesNan ? !(value < 0.0) : value >= 0.0;
}

int32_t lidunit_readItems(Model& model, const Tokens& tokens, int32_t place, bool takesNan, LidUnit& unit) {
    double values[4];
    for (int32_t k = 0; k < 4; ++k) {
        if (!tokens_getDouble(tokens[place + k], &values[k]) || !isGood(values[k], k == 0, takesNan)) {
            return errors_setName(model, ERR_NUMBER, tokens[place + k]);
        }
    }
    plausible_check(model, PLAUSIBLE_UNIT_AREA, values[0], place, tokens[0]);
    plausible_checkSet(model, PLAUSIBLE_UNIT_WIDTH, values[1], place + 1, tokens[0]);
    plausible_checkSet(model, PLAUSIBLE_SATURATION, values[2], place + 2, tokens[0]);
    plausible_checkSet(model, PLAUSIBLE_UNIT_SHARE, values[3], place + 3, tokens[0]);
    // Of units on a subcatchment the shares of the runoff are tested together, as an error.
    for (const int32_t k : {2, 3}) {
        if (values[k] > PERCENT && (k == 2 || takesNan)) {
            warnings_addAtLine(model, WARN_VALUE_LIMIT, place + k, tokens[0], {tokens[place + k], "100 %"});
        }
    }
    unit.area = values[0];
    unit.fullWidth = values[1];
    unit.initialSaturation = values[2] / PERCENT;
    unit.fromImpervious = values[3] / PERCENT;
    unit.drainNode = -1;
    const int32_t drain = place + 4;
    if (tokens.count > drain) {
        unit.drainNode = names_find(model, NODE, tokens[drain]);
        if (unit.drainNode < 0) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[drain]);
        }
    }
    return ERR_NONE;
}

// --- arrays --------------------------------------------------------------------------------------------------------

using UnitArray = double* LidUnit::*;

/// Masses and loads in the layers.
static constexpr UnitArray LayerArrays[] = {
    &LidUnit::lastSurfaceMass, &LidUnit::lastPavementMass, &LidUnit::lastSoilMass, &LidUnit::lastStorageMass,
    &LidUnit::thisSurfaceMass, &LidUnit::thisPavementMass, &LidUnit::thisSoilMass, &LidUnit::thisStorageMass,
    &LidUnit::thisSurfaceLoad, &LidUnit::thisDrainLoad,
};

/// The quality balance, and the load that enters.
static constexpr UnitArray BalanceArrays[] = {
    &LidUnit::load,           &LidUnit::rainLoad,     &LidUnit::inflowLoad, &LidUnit::exfilLoad,
    &LidUnit::surfaceOutLoad, &LidUnit::drainOutLoad, &LidUnit::finalLoad,  &LidUnit::reactedLoad,
};

template <size_t count>
static void forget(LidUnit& unit, const UnitArray (&arrays)[count]) {
    for (const UnitArray array : arrays) {
        unit.*array = nullptr;
    }
}

/// One array after the other, from one piece of memory; all null without it.
template <size_t count>
static bool create(const Model& model, LidUnit& unit, const UnitArray (&arrays)[count], Arena& arena) {
    const int64_t pollutants = model_pollutantCount(model);
    double* memory = arena_allocateArray<double>(arena, static_cast<int64_t>(count) * pollutants);
    if (!memory) {
        forget(unit, arrays);
        return false;
    }
    for (const UnitArray array : arrays) {
        unit.*array = memory;
        memory += pollutants;
    }
    return true;
}

bool lidunit_createArrays(const Model& model, LidUnit& unit, Arena& arena) {
    return create(model, unit, LayerArrays, arena);
}

void lidunit_clearArrays(const Model& model, LidUnit& unit) {
    for (const UnitArray array : LayerArrays) {
        std::fill_n(unit.*array, model_pollutantCount(model), 0.0);
    }
}

void lidunit_openBalance(Model& model, LidUnit& unit) {
    if (!create(model, unit, BalanceArrays, model.memory.results)) {
        errors_report(model, ERR_MEMORY, "");
    }
}

void lidunit_forgetArrays(LidUnit& unit) {
    forget(unit, LayerArrays);
}

void lidunit_forgetBalance(LidUnit& unit) {
    forget(unit, BalanceArrays);
}

// --- state ---------------------------------------------------------------------------------------------------------

/// The mat of a roof is its storage, and its water counts twice: once as the storage's and once as the mat's.
static void initLevels(LidUnit& unit, const Lid& lid, double matVoid) {
    unit.surfaceLevel = unit.pavementLevel = unit.soilMoisture = unit.storageLevel = 0.0;
    double depth = 0.0;
    if (lid.soilDepth > 0.0) {
        unit.soilMoisture = lid.wiltingPoint + (lid.porosity - lid.wiltingPoint) * unit.initialSaturation;
        depth = unit.soilMoisture * lid.soilDepth;
    }
    if (lid.storageDepth > 0.0) {
        unit.storageLevel = lid.storageDepth * unit.initialSaturation;
        depth += unit.storageLevel * lid.storageVoid;
    }
    if (lid.matDepth > 0.0) {
        unit.storageLevel = lid.matDepth * unit.initialSaturation;
        depth += unit.storageLevel * matVoid;
    }
    unit.initialDepth = unit.finalDepth = depth;
}

void lidunit_initState(LidUnit& unit, const Lid& lid, double matVoid) {
    initLevels(unit, lid, matVoid);
    unit.inflowDepth = unit.evapDepth = unit.infilDepth = unit.surfaceOutDepth = unit.drainDepth = 0.0;
    unit.inflowRate = unit.evapRate = unit.infilRate = 0.0;
    unit.lastSurfaceFlow = unit.thisSurfaceFlow = unit.lastDrainFlow = unit.thisDrainFlow = 0.0;
    unit.surfaceChange = unit.soilChange = unit.storageChange = unit.pavementChange = 0.0;
}

static void roll(double& last, double& current) {
    last = current;
    current = 0.0;
}

/// The arrays of the layers stand one after the other: four old masses of each pollutant, four new ones and the two
/// loads that leave. A unit that sends no water must send no load. Small pieces are set faster than one large one.
[[gnu::always_inline]] static inline void rollArrays(LidUnit& unit, size_t pollutants) {
    double* last = unit.lastSurfaceMass;
    double* current = unit.thisSurfaceMass;
    std::memcpy(last, current, 4 * pollutants * sizeof(double));
    for (size_t p = 0; p < pollutants; ++p) {
        std::memset(current + 6 * p, 0, 6 * sizeof(double));
    }
}

void lidunit_shiftState(const Model& model, LidUnit& unit) {
    roll(unit.lastSurfaceFlow, unit.thisSurfaceFlow);
    roll(unit.lastDrainFlow, unit.thisDrainFlow);
    const size_t pollutants = static_cast<size_t>(model_pollutantCount(model));
    switch (pollutants) {
        case 0: break;
        case 1: rollArrays(unit, 1); break;
        case 2: rollArrays(unit, 2); break;
        case 3: rollArrays(unit, 3); break;
        case 4: rollArrays(unit, 4); break;
        default: rollArrays(unit, pollutants); break;
    }
}

int64_t lidunit_getSumCount(const Model& model) {
    return std::ssize(BalanceArrays) * model_pollutantCount(model);
}

bool lidunit_areMassesSteady(const Model& model, const LidUnit& unit) {
    const size_t size = 4 * static_cast<size_t>(model_pollutantCount(model)) * sizeof(double);
    return size == 0 || std::memcmp(unit.lastSurfaceMass, unit.thisSurfaceMass, size) == 0;
}

Balance lidunit_getBalance(const LidUnit& unit) {
    return {unit.area * unit.initialDepth, unit.area * unit.inflowDepth,
            unit.area * (unit.surfaceOutDepth + unit.drainDepth), unit.area * (unit.evapDepth + unit.infilDepth),
            unit.area * unit.finalDepth};
}

bool lidunit_getLoadBalance(const LidUnit& unit, int32_t p, Balance& balance) {
    if (!unit.inflowLoad) {
        return false;
    }
    balance = {0.0, unit.inflowLoad[p], unit.surfaceOutLoad[p] + unit.drainOutLoad[p],
               unit.exfilLoad[p] + unit.reactedLoad[p], unit.finalLoad[p]};
    return true;
}
