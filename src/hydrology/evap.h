#pragma once
// Evaporation of the whole project.

#include <cstdint>

#include "text/datetime.h"
#include "text/tokens.h"

struct Model;

enum EvapKind : int32_t { EVAP_CONSTANT, EVAP_MONTHLY };

struct EvapRecord {
    int32_t kind;        ///< EvapKind
    double constant;     ///< mm/day
    double monthly[12];  ///< mm/day, January first
    bool isSet;          ///< a line was read
    double rate;         ///< m/s, of the runoff step
    bool isHeld;         ///< the host holds the rate
    double heldRate;     ///< m/s
};

/// A line of [EVAPORATION]. An error index, or 0.
[[nodiscard]] int32_t evap_readLine(Model& model, const Tokens& tokens);

/// Sets the rate of the runoff step that begins at a date.
void evap_setRate(Model& model, DateTime date);
