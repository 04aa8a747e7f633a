#pragma once
// Secondary settler after Takacs, Patry, Nolasco (1991), Water Research 25(10): layers of equal height, of which each
// is mixed. Solids settle with a velocity that depends on their concentration and sink or rise with the water. Each
// particulate component goes with the solids in its share of the layer that they leave; what is dissolved goes with the
// water alone.

#include <vector>

#include "hydraulics.h"
#include "plantmodel.h"

/// m/d, at a concentration of solids and one that doesn't settle, g/m3.
[[nodiscard]] double settler_computeVelocity(const Settler& settler, double solids, double unsettling);

/// Settling of solids from a layer into the one below, g/(m2 d). `isAboveFeed` lets it go on freely while the layer
/// below is thin.
[[nodiscard]] double settler_computeFlux(const Settler& settler, double upper, double lower, double unsettling,
                                         bool isAboveFeed);

/// Work space, one entry for each layer, from the bottom.
struct SettlerWork {
    std::vector<double> solids;   ///< g/m3
    std::vector<double> settled;  ///< m/d, velocity with which what is in the layer leaves it downwards
};

/// Adds the changes of the layers, unit/d. `layers` are concentrations of one layer after the other from the bottom,
/// `feed` those of what enters.
void settler_addRates(const PlantModel& model, const Flows& flows, const double* feed, const double* layers,
                      SettlerWork& work, double* rates);
