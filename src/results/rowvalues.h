#pragma once
// Values of a result row: two states of an object, mixed at a time between them, and cut to single precision once.

#include <cstdint>

#include "model/project.h"
#include "text/units.h"

/// The value at the fraction `f` (0 ... 1) of the way from the old state to the new one.
[[nodiscard]] inline double rowvalues_mix(double f, double oldValue, double newValue) {
    return (1.0 - f) * oldValue + f * newValue;
}

/// Runoff (m3/s) of an area (m2) as results show it: what is less than a trickle is none.
[[nodiscard]] inline double rowvalues_hideTrickle(double runoff, double area) {
    return runoff < area * DRY_RATE ? 0.0 : runoff;
}

/// The columns of a row that hold concentrations (mg/L), one per pollutant.
inline void rowvalues_writeQuality(double f, const double* oldQual, const double* newQual, int32_t count,
                                   float* columns) {
    for (int32_t p = 0; p < count; ++p) {
        columns[p] = static_cast<float>(rowvalues_mix(f, oldQual[p], newQual[p]));
    }
}

/// The same of a layer that keeps masses (kg), over the water (m3) that it holds now. Before a first start there are no
/// masses: they count as 0.
inline void rowvalues_writeLayer(double f, const double* lastMass, const double* thisMass, double volume, int32_t count,
                                 float* columns) {
    for (int32_t p = 0; p < count; ++p) {
        const double last = lastMass ? lastMass[p] : 0.0;
        const double now = thisMass ? thisMass[p] : 0.0;
        columns[p] = volume == 0.0 ? 0.0f : static_cast<float>(rowvalues_mix(f, last, now) / volume * G_PER_KG);
    }
}
