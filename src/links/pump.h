#pragma once
// A pump: an outlet of a tank that follows a curve of flow by depth.

#include <cstdint>

#include "model/table.h"
#include "text/tokens.h"

struct Pump {
    int32_t curve;        ///< curve of type PUMP1 or PUMP2: m3/s by m of depth in the tank
    double initSetting;   ///< 0 or 1
    double startupDepth;  ///< m; 0 means no automatic start
    double shutoffDepth;  ///< m; 0 means no automatic stop
    int32_t useHostFlow;  ///< 1: hostFlow counts, and neither curve nor setting
    double hostFlow;      ///< m3/s
};

extern Table<Pump> Pumps;

int32_t pump_readParams(const Tokens& tokens, int32_t link, int32_t kindIndex);
void pump_validate(int32_t link);
void pump_initState(int32_t link);

/// Sets the link's target to what the depth switches ask for.
void pump_setTarget(int32_t link);

/// Flow (m3/s) at the present depth of the tank. 0 for a pump at any other node.
double pump_getFlow(int32_t link);
