#pragma once
// LID units at rest: those that a step leaves bit for bit as they were.

#include <cstdint>
#include <vector>

#include "hydrology/lidsolver.h"
#include "hydrology/lidunit.h"
#include "model/table.h"

struct Model;

/// How far a unit has come to rest.
enum LidPace : uint8_t {
    LID_AWAKE,    ///< each step is worked out
    LID_SEEPING,  ///< likewise, but nothing comes in and nothing goes over its surface
    LID_PONDED,   ///< nothing happens but that the water on its surface dries in the air, and its soil
    LID_DRYING,   ///< likewise of the soil alone, or a barrel waits
    LID_RESTING   ///< nothing changes
};

/// Which units rest.
struct LidRest {
    Table<uint8_t> units;      ///< LidPace, by unit
    std::vector<double> sums;  ///< of each unit, scratch of a step: its balance ahead of the step
};

/// Wakes all units, or one.
void lidrest_wakeAll(Model& model);
void lidrest_wake(Model& model, int32_t unit);

[[nodiscard]] LidPace lidrest_getPace(const Model& model, int32_t unit);

/// A step of `dt` (s) of a unit that isn't awake, with the roll from new to old. Gives what leaves it: into the air,
/// the ground or the drain.
[[nodiscard]] LidOutflow lidrest_step(Model& model, int32_t unit, int32_t hour, double dt);

/// Whether a unit into which nothing comes may come to rest in this step: the last one changed no level, but for the
/// water in the soil and, above one that holds its water, on the surface.
[[nodiscard]] bool lidrest_isStill(const Model& model, int32_t unit);

/// Keeps a unit as it is ahead of a step, after the roll from new to old; and finds after the step how far the unit
/// has come, from what it was and what left it.
void lidrest_keep(Model& model, int32_t unit);
void lidrest_judge(Model& model, int32_t unit, LidUnit before, const LidOutflow& out);

/// Finds after a step into which nothing came whether the unit seeps from now on, where no more is asked for.
void lidrest_judgeSeeping(Model& model, int32_t unit, const LidOutflow& out);
