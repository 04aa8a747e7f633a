#pragma once
// The equations of a plant: balances of tanks and layers, oxygen controllers, and what has left, all in one vector.
// Time is in days, as the literature has it.

#include <vector>

#include "hydraulics.h"
#include "plantmodel.h"
#include "settler.h"

/// Where things are in the vector: tanks, each its components and the integral of its controller (1/d); layers from the
/// bottom, each its components; masses that have left since the step began, g (mol): of the overflow, of the waste
/// sludge; oxygen that has been dissolved, g.
struct Layout {
    size_t components = 0;
    size_t tanks = 0;
    size_t layers = 0;

    [[nodiscard]] size_t tank(size_t k) const { return k * (components + 1); }
    [[nodiscard]] size_t layer(size_t k) const { return tank(tanks) + k * components; }
    [[nodiscard]] size_t overflow() const { return layer(layers); }
    [[nodiscard]] size_t waste() const { return overflow() + components; }
    [[nodiscard]] size_t oxygen() const { return waste() + components; }
    [[nodiscard]] size_t size() const { return oxygen() + 1; }
};

/// What the equations work with. One for each integration.
struct System {
    const PlantModel* model = nullptr;
    Layout layout;
    double saturation = 0.0;        ///< g O2/m3
    Flows flows;                    ///< of the step
    std::vector<double> inflow;     ///< components of the inflow, unit of each
    std::vector<double> overflow;   ///< work: what leaves the settler at its top
    std::vector<double> underflow;  ///< work: and at its bottom
    std::vector<double> entering;   ///< work: load that enters a tank, unit x m3/d
    SettlerWork settler;
};

[[nodiscard]] Layout system_makeLayout(const PlantModel& model);

void system_init(const PlantModel& model, System& system);

/// Sets the inflow of the step, m3/d, with its components.
void system_setInflow(System& system, double flow, const double* components);

/// Aeration of a tank now, 1/d.
[[nodiscard]] double system_computeKla(const Tank& tank, double oxygen, double integral);

/// Changes of a tank's components and controller by processes and aeration. `state` is where the tank begins.
void system_computeReactions(const System& system, size_t tank, const double* state, double* rates);

/// Concentrations of what leaves the settler, into `overflow` and `underflow` of the system.
void system_findOutlets(System& system, const double* state);

/// All changes, per day.
void system_computeRates(System& system, const double* state, double* rates);
