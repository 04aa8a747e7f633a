#pragma once
// LID units at rest: those that a step leaves bit for bit as they were.

#include <cstdint>
#include <vector>

#include "hydrology/lidsolver.h"
#include "hydrology/lidunit.h"
#include "model/table.h"

struct Model;

/// Which units rest.
struct LidRest {
    Table<uint8_t> units;  ///< 1 for a unit at rest
};

/// A unit ahead of its step, behind the roll from new to old.
struct LidBefore {
    LidUnit record;
    std::vector<double> sums;
};

/// Wakes all units, or one.
void lidrest_wakeAll(Model& model);
void lidrest_wake(Model& model, int32_t unit);

[[nodiscard]] bool lidrest_isResting(const Model& model, int32_t unit);

/// Whether a unit into which nothing comes may come to rest in this step: the last one changed no level.
[[nodiscard]] bool lidrest_isStill(const Model& model, int32_t unit);

/// Keeps a unit as it is ahead of a step; and says behind it whether the unit rests now, from what left it.
void lidrest_keep(const Model& model, const LidUnit& unit, LidBefore& before);
void lidrest_judge(Model& model, int32_t unit, LidBefore& before, const LidOutflow& out);
