#pragma once
// Choices without a branch. A processor goes on with its guess at each branch, and where it can't foresee - whether a
// node is a head, how many links enter it - a wrong guess costs more than doing both. The bits of what is chosen stay.

#include <bit>
#include <cstdint>

/// All bits, or none.
[[nodiscard]] inline uint64_t choose_getMask(bool isWanted) {
    return uint64_t{0} - static_cast<uint64_t>(isWanted);
}

/// The value, or +0.0 in its place.
[[nodiscard]] inline double choose_orZero(uint64_t mask, double value) {
    return std::bit_cast<double>(std::bit_cast<uint64_t>(value) & mask);
}

/// The first of two values, or the other one.
[[nodiscard]] inline double choose_first(uint64_t mask, double first, double other) {
    return std::bit_cast<double>((std::bit_cast<uint64_t>(first) & mask) | (std::bit_cast<uint64_t>(other) & ~mask));
}
