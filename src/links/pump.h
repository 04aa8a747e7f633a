#pragma once
// A pump: an outlet of a tank that follows a curve of flow by depth.

#include <cstdint>

#include "links/link.h"

struct Model;

struct Pump {
    int32_t curve;        ///< curve of type PUMP1 or PUMP2: m3/s by m of depth in the tank
    double initSetting;   ///< 0 or 1
    double startupDepth;  ///< m; 0 means no automatic start
    double shutoffDepth;  ///< m; 0 means no automatic stop
    bool useHostFlow;     ///< hostFlow counts, and neither curve nor setting
    double hostFlow;      ///< m3/s
};

/// A line of [PUMPS] for the row `link` of the links and the row `kindIndex` of the pumps. An error index, or 0.
[[nodiscard]] int32_t pump_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

/// Tests a pump when all is read; `isAtTank` tells whether it draws from a tank. Writes what is wrong to the report.
void pump_validate(Model& model, const Link& link, const Pump& pump, bool isAtTank);

void pump_initState(Link& link, Pump& pump);

/// The target that the depth switches ask for at a depth (m) of the tank.
[[nodiscard]] double pump_getTarget(const Link& link, const Pump& pump, double depth);

/// Flow (m3/s) at a depth (m) of the tank.
[[nodiscard]] double pump_getFlow(const Model& model, const Link& link, const Pump& pump, double depth);
