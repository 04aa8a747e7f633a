#pragma once
// Values of a result row: two states of an object, mixed at a time between them, and cut to single precision once.

#include <cstdint>

/// The value at the fraction `f` (0 ... 1) of the way from the old state to the new one.
inline double rowvalues_mix(double f, double oldValue, double newValue) {
    return (1.0 - f) * oldValue + f * newValue;
}

inline float rowvalues_interpolate(double f, double oldValue, double newValue) {
    return static_cast<float>(rowvalues_mix(f, oldValue, newValue));
}

/// The columns of a row that hold concentrations (mg/L), one per pollutant.
inline void rowvalues_writeQuality(double f, const double* oldQual, const double* newQual, int32_t count,
                                   float* columns) {
    for (int32_t p = 0; p < count; ++p) {
        columns[p] = rowvalues_interpolate(f, oldQual[p], newQual[p]);
    }
}
