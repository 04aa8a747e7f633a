#pragma once
// Pollutants in the layers of a LID unit.

#include "hydrology/lidrates.h"

struct Model;

/// Moves the pollutants with the water of the step, from the state of the unit before it, and lets them react.
void lidquality_advance(const Model& model, const LidStep& step);
