#pragma once
// LID groups: the units that stand on a subcatchment.

#include <cstdint>

#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "model/table.h"
#include "text/tokens.h"

/// The units of one subcatchment, in the order of their lines.
struct LidGroup {
    int32_t firstUnit;  ///< unit, or -1 for a subcatchment without units
    int32_t lastUnit;   ///< unit
};

extern Table<LidGroup> LidGroups;  ///< one per subcatchment
extern Table<LidUnit> LidUnits;    ///< of all subcatchments, in the order of their lines

/// A walk along the units of a group.
struct LidUnitPlace {
    int32_t unit;  ///< -1 at the end

    LidUnit& operator*() const { return LidUnits[unit]; }
    LidUnitPlace& operator++() {
        unit = LidUnits[unit].next;
        return *this;
    }
    bool operator==(const LidUnitPlace&) const = default;
};

struct LidUnitRange {
    int32_t firstUnit;

    LidUnitPlace begin() const { return {firstUnit}; }
    LidUnitPlace end() const { return {-1}; }
    bool empty() const { return firstUnit < 0; }
};

/// The units of a subcatchment; none for an index outside the table.
[[nodiscard]] inline LidUnitRange lidgroup_getUnits(int32_t subcatch) {
    const LidGroup* group = LidGroups.find(subcatch);
    return {group ? group->firstUnit : -1};
}

/// Makes a group without units for each subcatchment.
void lidgroup_createAll();

/// Forgets groups and units.
void lidgroup_deleteAll();

/// A line of [LID_GROUPS]. An error index, or 0.
[[nodiscard]] int32_t lidgroup_readLine(const Tokens& tokens);

/// Tests the units of each subcatchment, and takes their areas together; writes what is wrong to the report.
void lidgroup_validateAll();

/// Puts all units to the start of a run.
void lidgroup_initAll();

/// New becomes old, for the units of a subcatchment at the start of a runoff step.
void lidgroup_shiftState(int32_t subcatch);

/// All units of a subcatchment over one runoff step (s), whose water they add to `volumes`. Their pollutants react by
/// an hour of the day.
void lidgroup_step(int32_t subcatch, RunoffVolumes& volumes, int32_t hour, double dt);

/// Takes from the mass that leaves a subcatchment in a runoff step (s) (kg, one per pollutant) the share that its units
/// catch, and adds what they let go over their surfaces.
void lidgroup_addSurfaceLoads(int32_t subcatch, double* runoffLoad, double dt);
