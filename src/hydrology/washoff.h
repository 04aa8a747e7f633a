#pragma once
// Pollutants on the subcatchments: their buildup on the land, and what runoff and rain take from it.

#include "hydrology/subcatch.h"

struct Model;

/// Buildup of a subcatchment at the start of a run, and its sum into the balance.
void washoff_initBuildup(const Model& model, Subcatch& subcatch);

/// Washoff of the land uses at a runoff rate (m/s) in one runoff step (s).
void washoff_washLand(const Model& model, Subcatch& subcatch, double rate, double dt);

/// What rain brings and ponded water holds, in one runoff step (s), with the water of that step.
void washoff_washRain(const Model& model, Subcatch& subcatch, const RunoffVolumes& volumes, double dt);

/// The pollutants of such water while nothing happens but that it evaporates: `wetInflow` (m3) of it stood at the start
/// of the step.
void washoff_dryPond(const Model& model, Subcatch& subcatch, double wetInflow);
