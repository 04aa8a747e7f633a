#pragma once
// LID units at work: the water and the pollutants in the layers of a unit over one step.

#include "hydrology/lidrates.h"

struct Model;

/// What leaves a unit in a step, m/s.
struct LidOutflow {
    double evap;
    double infil;    ///< seepage into the native soil
    double drain;    ///< through the underdrain
    double surface;  ///< over the surface
};

/// Advances the unit of a step: its levels, its masses, and its balance. The load that enters stands in the unit.
[[nodiscard]] LidOutflow lidsolver_advance(const Model& model, LidStep& step);
