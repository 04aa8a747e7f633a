#pragma once
// Pollutants in the layers of a LID unit.

#include "hydrology/lidrates.h"

struct Model;

/// Moves the pollutants with the water of the step, from the state of the unit before it, and lets them react.
void lidquality_advance(const Model& model, const LidStep& step);

/// The same in a unit that has pollutants in its soil alone, where nothing moves: the roll from new to old, and the
/// reaction.
void lidquality_dry(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt);
