#pragma once
// Towns made from a seed: land that drains into a network of every kind of node and link that needs no outside model.

#include <cstdint>
#include <string>

#include "text.h"

struct Town {
    uint64_t seed = 1;
    Times times;
    int stages = 14;  ///< nodes on the way to the three outfalls
    int subcatchs = 5;
    int pollutants = 2;
    bool hasRules = true;
    bool hasLids = true;
};

std::string town_make(const Town& town);

/// Curves, patterns and LID controls that every town has: areas BASIN, FUNNEL and POND, pumps STEPS and RISE, beds
/// DITCH, CHANNEL and TERRACE, patterns DAY, NIGHT and MONTHS.
std::string town_getTables();

/// The seven LID controls CELL, GARDEN, ROOF, TRENCH, PAVING, BARREL and DITCHES.
extern const char* const TOWN_LIDS[7];
std::string town_getLids();
