#pragma once
// Random numbers of the towns, the same on every machine and with every compiler: no distribution of the standard
// library, and no function of the mathematical library either. A number is made of a seed, a stream and an index, so
// each property of each object can be drawn again wherever it is needed, in any order.

#include <cstdint>

/// SplitMix64 (Steele, Lea and Flood, Fast splittable pseudorandom number generators, 2014).
struct TownRandom {
    uint64_t state;
};

inline uint64_t townRandom_mix(uint64_t value) {
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9u;
    value = (value ^ (value >> 27)) * 0x94d049bb133111ebu;
    return value ^ (value >> 31);
}

inline uint64_t townRandom_next(TownRandom& random) {
    return townRandom_mix(random.state += 0x9e3779b97f4a7c15u);
}

inline TownRandom townRandom_make(uint64_t seed, uint64_t stream, uint64_t index) {
    return {townRandom_mix(townRandom_mix(townRandom_mix(seed + 0x9e3779b97f4a7c15u) ^ stream) + index)};
}

/// A whole number from `low` to `high`, both included; their difference stays below 2^32.
inline int64_t townRandom_pick(TownRandom& random, int64_t low, int64_t high) {
    const uint64_t range = static_cast<uint64_t>(high - low) + 1;
    return low + static_cast<int64_t>(((townRandom_next(random) >> 32) * range) >> 32);
}

/// From 0 up to, but not including, 1.
inline double townRandom_getUnit(TownRandom& random) {
    return static_cast<double>(townRandom_next(random) >> 11) * 0x1p-53;
}

inline bool townRandom_isChosen(TownRandom& random, double share) {
    return townRandom_getUnit(random) < share;
}

/// Exponential with mean 1 by comparisons alone (von Neumann, Various techniques used in connection with random digits,
/// 1951): a falling run that begins with u has an odd length with the probability exp(-u).
inline double townRandom_getExponential(TownRandom& random) {
    for (double whole = 0.0;; whole += 1.0) {
        const double first = townRandom_getUnit(random);
        double last = first;
        bool isOdd = true;
        for (double next = townRandom_getUnit(random); next < last; next = townRandom_getUnit(random)) {
            last = next;
            isOdd = !isOdd;
        }
        if (isOdd) {
            return whole + first;
        }
    }
}
