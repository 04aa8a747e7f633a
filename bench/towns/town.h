#pragma once
// Towns of any size to measure on, as text of a project file: each subcatchment with a node and a link of its own, in
// districts of 250 with one outfall each. The same options make the same bytes on every machine.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

enum class TownWeather {
    NONE,   ///< no rain, no dry weather flow, and buildup at its limit: nothing changes any more
    DRY,    ///< no rain; buildup grows from nothing
    STORM,  ///< a day with a storm of two hours
    WEEK,   ///< a week in summer with showers
    YEAR    ///< a year, see rain.h
};

struct TownOptions {
    uint64_t seed = 1;
    int64_t subcatchments = 100;
    TownWeather weather = TownWeather::STORM;
    int pollutants = 3;      ///< TSS, COD, NH4, ZN; up to 4
    int landUses = 2;        ///< 1 or 2, if there are pollutants
    bool hasDryFlow = true;  ///< dry weather flow by an hourly pattern into each node; never with NONE
    int days = 0;            ///< 0: as the weather is
    int routingStep = 60;    ///< s
    int runoffStep = 0;      ///< s; 0: a minute, and five of a week or a year
    int reportStep = 3600;   ///< s
    int gages = 0;           ///< 0: by the size of the town, 1 to 4
    // Shares. Of the links: the rest are pipes. Of the nodes: the rest are junctions.
    double conduits = 0.20;     ///< by turns circular, rectangular, open with a bed
    double connections = 0.03;  ///< delays
    double tanks = 0.03;        ///< by turns with a pump, with an orifice, with both; and a weir
    double reactors = 0.01;     ///< by turns stirred and plug flow
    double splitters = 0.01;    ///< overflows to the outfall
    double rules = 0.02;        ///< rules by subcatchment, on pumps, weirs and orifices
    double lids = 0.10;         ///< subcatchments with a LID unit, each of the seven types by turns
};

/// Only subcatchments, junctions and pipes.
void town_makePlain(TownOptions& options);

std::string town_makeText(const TownOptions& options);

/// Writes the text in pieces, without holding it as a whole; false if the file doesn't take it.
bool town_writeText(const TownOptions& options, std::FILE* file);
