#pragma once
// Pollutants: what every room that carries them knows of them.

#include <cstdint>

#include "model/table.h"
#include "text/tokens.h"

struct Model;

struct Pollut {
    const char* id;            ///< the ID as first seen; null until read
    double rainConcentration;  ///< mg/L, in rain
};

/// A line of [POLLUTANTS], for the row `index`. An error index, or 0.
[[nodiscard]] int32_t pollut_readLine(Model& model, const Tokens& tokens, int32_t index);
