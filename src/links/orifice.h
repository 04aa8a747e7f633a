#pragma once
// An orifice: an opening in the wall of a tank.

#include <cstdint>

#include "model/table.h"
#include "text/tokens.h"

enum OrificeShape : int32_t { CIRCULAR_ORIFICE, RECTANGULAR_ORIFICE };

struct Orifice {
    int32_t shape;       ///< OrificeShape
    double height;       ///< m, diameter or height of the opening
    double width;        ///< m; 0 for a circular one
    double coefficient;  ///< discharge coefficient
    double crest;        ///< m above the bottom of the tank
};

extern Table<Orifice> Orifices;

int32_t orifice_readParams(const Tokens& tokens, int32_t link, int32_t kindIndex);

/// Flow (m3/s) at a depth (m) in the tank.
double orifice_getFlow(int32_t link, double depth);
