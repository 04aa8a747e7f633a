#pragma once
// Pollutants in the layers of a LID unit.

#include "hydrology/lidrates.h"

struct Model;

/// Moves the pollutants with the water of the step, from the state of the unit before it, and lets them react.
void lidquality_advance(const Model& model, const LidStep& step);

/// The same in a unit that has pollutants in its soil alone, where nothing moves: the roll from new to old, and the
/// reaction.
void lidquality_dry(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt);

/// And in one that has pollutants on its surface as well. Whether their masses are far from all that is no number, so
/// that the next step may do the same.
[[nodiscard]] bool lidquality_dryPond(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt);

/// And in a barrel, whose water stands.
void lidquality_stand(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt);

/// Whether masses are finite and neither negative nor -0, by far.
[[nodiscard]] bool lidquality_isOrdinary(const double* masses, int64_t count);
