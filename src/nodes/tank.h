#pragma once
// A tank: a completely mixed store with a curve of area by depth, drained by orifices, weirs and pumps.

#include <cstdint>

#include "model/balance.h"
#include "model/decay.h"
#include "model/project.h"
#include "nodes/outlets.h"
#include "text/tokens.h"

struct Model;

struct Tank {
    int32_t curve;           ///< curve of type TANK: surface area, m2, by depth, m
    double maxDepth;         ///< m, full
    double initDepth;        ///< m
    Decay* decay;            ///< one per pollutant
    bool hasDecay;           ///< some pollutant decays here
    double* initQual;        ///< mg/L, one per pollutant
    double oldDepth;         ///< m
    double newDepth;         ///< m
    double* qual;            ///< mg/L in the water stored; lives as long as the run, null between runs
    double oldFlood;         ///< m3/s, lost from a full tank
    double newFlood;         ///< m3/s
    Outlets outlets;         ///< lives as long as the run
    uint16_t restKey;        ///< the key of the model under which the tank was found to be at rest; 0 if it isn't
    double lastDepth;        ///< m, whose volume was worked out last
    double lastVolume;       ///< m3, that volume
    double statMaxDepth;     ///< m
    double statFloodVolume;  ///< m3
};

/// A line of [TANKS] for the row `node` of the nodes and the row `kindIndex` of the tanks. An error index, or 0.
[[nodiscard]] int32_t tank_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex);

/// Tests a tank when all is read; writes what is wrong to the report.
void tank_validate(Model& model, const Node& node, const Tank& tank);

void tank_initState(Model& model, int32_t node);
void tank_endState(Tank& tank);
void tank_shiftState(Tank& tank);

/// Lets water go through the outlets, then takes in and mixes the inflow of the step. Sets flow and concentrations of
/// all outgoing links.
void tank_update(Model& model, Node& node, Tank& tank);

/// Volume (m3) at a depth (m). 0 without a curve.
[[nodiscard]] double tank_getVolume(const Model& model, const Tank& tank, double depth);

/// One pollutant in the water that the tank holds, kg.
[[nodiscard]] double tank_getStoredLoad(const Model& model, const Tank& tank, int32_t pollutant);

/// Water over the run, m3, but for what the tank held at the start.
[[nodiscard]] Balance tank_getBalance(const Model& model, int32_t node);

/// Adds the depth and the flood of a step to the statistics and the totals.
void tank_countStep(Model& model, const Node& node, Tank& tank);
