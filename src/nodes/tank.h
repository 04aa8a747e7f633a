#pragma once
// A tank: a completely mixed store with a curve of area by depth, drained by orifices, weirs and pumps.

#include <cstdint>

#include "model/decay.h"
#include "model/table.h"
#include "nodes/outlets.h"
#include "text/tokens.h"

struct Tank {
    int32_t curve;           ///< curve of type TANK: surface area, m2, by depth, m
    double maxDepth;         ///< m, full
    double initDepth;        ///< m
    Decay* decay;            ///< one per pollutant
    int32_t hasDecay;        ///< 1: some pollutant decays here
    double* initQual;        ///< mg/L, one per pollutant
    double oldDepth;         ///< m
    double newDepth;         ///< m
    double* qual;            ///< mg/L in the water stored; lives as long as the run, null between runs
    double oldFlood;         ///< m3/s, lost from a full tank
    double newFlood;         ///< m3/s
    Outlets outlets;         ///< lives as long as the run
    double statMaxDepth;     ///< m
    double statFloodVolume;  ///< m3
};

extern Table<Tank> Tanks;

int32_t tank_readParams(const Tokens& tokens, int32_t node, int32_t kindIndex);
void tank_validate(int32_t node);
void tank_initState(int32_t node);
void tank_endState(int32_t node);
void tank_shiftState(int32_t kindIndex);

/// Lets water go through the outlets, then takes in and mixes the inflow of the step. Sets flow and concentrations of
/// all outgoing links.
void tank_update(int32_t node);

/// Volume (m3) at a depth (m). 0 without a curve.
double tank_getVolume(int32_t node, double depth);
