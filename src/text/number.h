#pragma once
// From a number to an integer, in one way on every system.

#include <cstdint>

/// The integer part of a number. NaN and what 32 bits can't hold give -2147483648.
[[nodiscard]] inline int32_t number_truncate(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}
