#pragma once
// An orifice: an opening in the wall of a tank.

#include <cstdint>

#include "links/link.h"

struct Model;

enum OrificeShape : int32_t { CIRCULAR_ORIFICE, RECTANGULAR_ORIFICE };

struct Orifice {
    int32_t shape;       ///< OrificeShape
    double height;       ///< m, diameter or height of the opening
    double width;        ///< m; 0 for a circular one
    double coefficient;  ///< discharge coefficient
    double crest;        ///< m above the bottom of the tank
};

/// A line of [ORIFICES] for the row `link` of the links and the row `kindIndex` of the orifices. An error index, or 0.
[[nodiscard]] int32_t orifice_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

/// Flow (m3/s) at a depth (m) in the tank.
[[nodiscard]] double orifice_getFlow(const Link& link, const Orifice& orifice, double depth);
