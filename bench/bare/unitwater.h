#pragma once
// Water of LID units in one step, bare.

#include "bare/units.h"

/// Fluxes of a step, m/s.
struct BareFluxes {
    double inflow, surfaceEvap, pavementEvap, soilEvap, storageEvap, infil, out, pavementPerc, perc, exfil, drain;
    double storageInflow;
};

/// Moves the levels of a unit; gives what it held before the step, m.
double bareUnits_moveWater(BareUnits& units, size_t unit, BareFluxes& fluxes, double potential);
