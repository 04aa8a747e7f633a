#pragma once
// Pollutants.

#include <cstdint>
#include <vector>

struct Pollut {
    const char* id;            ///< the ID as first seen
    double rainConcentration;  ///< mg/L, in rain
};

extern std::vector<Pollut> Polluts;

/// A line of [POLLUTANTS] in Tok, for the row `index`. An error index, or 0.
int32_t pollut_readParams(int32_t index);
