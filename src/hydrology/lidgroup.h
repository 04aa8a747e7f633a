#pragma once
// LID groups: the units that stand on a subcatchment.

#include <cstdint>

#include "hydrology/lidrest.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/table.h"
#include "text/tokens.h"

/// The units of one subcatchment, in the order of their lines.
struct LidGroup {
    int32_t firstUnit;  ///< unit, or -1 for a subcatchment without units
    int32_t lastUnit;   ///< unit
};

/// A walk along the units of a group.
struct LidUnitPlace {
    Table<LidUnit>* units;
    int32_t unit;  ///< -1 at the end

    LidUnit& operator*() const { return (*units)[unit]; }
    LidUnitPlace& operator++() {
        unit = (*units)[unit].next;
        return *this;
    }
    bool operator==(const LidUnitPlace&) const = default;
};

struct LidUnitRange {
    Table<LidUnit>* units;
    int32_t firstUnit;

    LidUnitPlace begin() const { return {units, firstUnit}; }
    LidUnitPlace end() const { return {units, -1}; }
    bool empty() const { return firstUnit < 0; }
};

/// The units of a subcatchment; none for an index outside the table.
[[nodiscard]] inline LidUnitRange lidgroup_getUnits(Model& model, int32_t subcatch) {
    const LidGroup* group = model.lidGroups.find(subcatch);
    return {&model.lidUnits, group ? group->firstUnit : -1};
}

/// Makes a group without units for each subcatchment.
void lidgroup_createAll(Model& model);

/// A line of [LID_GROUPS]. An error index, or 0.
[[nodiscard]] int32_t lidgroup_readLine(Model& model, const Tokens& tokens);

/// Tests the units of each subcatchment, and takes their areas together; writes what is wrong to the report.
void lidgroup_validateAll(Model& model);

/// Whether the units of a subcatchment find room on it, and the area that they take together: for whoever has changed
/// an area or a share.
[[nodiscard]] bool lidgroup_isGood(const Model& model, int32_t subcatch);
void lidgroup_deriveArea(Model& model, int32_t subcatch);

/// Puts all units to the start of a run.
void lidgroup_initAll(Model& model);

/// New becomes old, for the units of a subcatchment at the start of a runoff step.
void lidgroup_shiftState(Model& model, int32_t subcatch);

/// How far the least resting unit of a subcatchment has come, and the waking of all. One with a pond counts as drying.
[[nodiscard]] LidPace lidgroup_getPace(const Model& model, int32_t subcatch);
void lidgroup_wake(Model& model, int32_t subcatch);

/// All units of a subcatchment over one runoff step (s), whose water they add to `volumes`. Their pollutants react by
/// an hour of the day.
void lidgroup_step(Model& model, int32_t subcatch, RunoffVolumes& volumes, int32_t hour, double dt);

/// The same of units none of which is awake, to which the land gives nothing: no rain, no runoff, no load. Nothing goes
/// over their surfaces. How far the least resting one has come after the step.
LidPace lidgroup_dry(Model& model, int32_t subcatch, RunoffVolumes& volumes, int32_t hour, double dt);

/// Takes from the mass that leaves a subcatchment in a runoff step (s) (kg, one per pollutant) the share that its units
/// catch, and adds what they let go over their surfaces.
void lidgroup_addSurfaceLoads(Model& model, int32_t subcatch, double* runoffLoad, double dt);
