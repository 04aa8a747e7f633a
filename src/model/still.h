#pragma once
// Tests of values, for whoever leaves out what can't change. Most go by the bits: a number that is +0.0 and nothing
// else. -0.0 doesn't pass, nor what is no number; so whatever is worked out from numbers that pass is what it is from
// +0.0.

#include <bit>
#include <cstdint>

[[nodiscard]] inline uint64_t still_getBits(double value) {
    return std::bit_cast<uint64_t>(value);
}

[[nodiscard]] inline bool still_isZero(double value) {
    return still_getBits(value) == 0;
}

[[nodiscard]] inline bool still_areZeros(const double* values, int64_t count) {
    for (int64_t k = 0; k < count; ++k) {
        if (!still_isZero(values[k])) {
            return false;  // mostly the first one
        }
    }
    return true;
}

/// Whether numbers are zeros of either sign: added to a sum that began at +0.0 they leave it as it is.
[[nodiscard]] inline bool still_addNothing(const double* values, int64_t count) {
    for (int64_t k = 0; k < count; ++k) {
        if (values[k] != 0.0) {
            return false;  // mostly the first one
        }
    }
    return true;
}

/// Whether one of two numbers has the sign that -0.0 and negative ones have. A sum without it stays as it is by 0, and
/// a maximum without it stays as it is by a flow of 0.
[[nodiscard]] inline uint64_t still_getSigns(double a, double b) {
    return (still_getBits(a) | still_getBits(b)) >> 63;
}
