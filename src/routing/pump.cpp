// Pumps: outlets of tanks. A pump delivers by a curve of the depth in its tank, a line through points (PUMP1) or steps
// (PUMP2), times its setting. It switches itself: on above the start-up depth, off below the shut-off depth. The tank
// limits the sum of its pumps to the water that it holds and shares it out.

#include "routing/pump.h"

#include <cmath>

#include "engine/errors.h"
#include "engine/project.h"
#include "input/names.h"
#include "input/table.h"
#include "input/tokens.h"
#include "routing/link.h"
#include "routing/rowvalues.h"
#include "routing/tank.h"

std::vector<Pump> Pumps;

static const char* const OffOnWords[] = {"OFF", "ON", nullptr};

static Pump& getPump(int32_t link) {
    return Pumps[static_cast<size_t>(Links[static_cast<size_t>(link)].kindIndex)];
}

/// The tank that a pump draws from, or null.
static const Tank* findTank(int32_t link) {
    const size_t node = static_cast<size_t>(Links[static_cast<size_t>(link)].fromNode);
    return node < Nodes.size() && Nodes[node].kind == TANK ? &Tanks[static_cast<size_t>(Nodes[node].kindIndex)]
                                                           : nullptr;
}

// --- reading, validation and start ---------------------------------------------------------------------------------

int32_t pump_readParams(int32_t link, int32_t kindIndex, int32_t tokenCount) {
    if (tokenCount < 8) {
        return error_setName(ERR_ITEMS, "");
    }
    LinkEnds ends;
    if (const int32_t error = link_readEnds(ends)) {
        return error;
    }
    Pump pump{};
    pump.curve = project_findObject(CURVE, Tok[3]);
    if (pump.curve < 0) {
        return error_setName(ERR_UNDEFINED_OBJECT, Tok[3]);
    }
    int32_t isLagged;
    if (const int32_t error = link_readLag(4, isLagged)) {
        return error;
    }
    const int32_t status = input_findKeyword(Tok[5], OffOnWords);
    if (status < 0) {
        return error_setName(ERR_KEYWORD, Tok[5]);
    }
    pump.initSetting = status;
    if (!input_getNonNegative(Tok[6], &pump.startupDepth)) {
        return error_setName(ERR_NUMBER, Tok[6]);
    }
    if (!input_getNonNegative(Tok[7], &pump.shutoffDepth)) {
        return error_setName(ERR_NUMBER, Tok[7]);
    }
    link_setEnds(link, PUMP, kindIndex, ends, isLagged);
    Pumps[static_cast<size_t>(kindIndex)] = pump;
    return ERR_NONE;
}

void pump_validate(int32_t index) {
    const Link& link = Links[static_cast<size_t>(index)];
    const Pump& pump = getPump(index);
    if (!findTank(index)) {
        report_writeError(ERR_PUMP_NOT_AT_TANK, link.id);
    }
    if (pump.startupDepth > 0.0 && !(pump.startupDepth > pump.shutoffDepth)) {
        report_writeError(ERR_PUMP_DEPTHS, link.id);
    }
    const int32_t type = Curves[static_cast<size_t>(pump.curve)].curveType;
    if (type != PUMP1_CURVE && type != PUMP2_CURVE) {
        report_writeError(ERR_PUMP_CURVE, link.id);
    }
}

void pump_initState(int32_t link) {
    Pump& pump = getPump(link);
    Links[static_cast<size_t>(link)].setting = pump.initSetting;
    pump.useHostFlow = 0;
    pump.hostFlow = 0.0;
}

// --- switching and flow --------------------------------------------------------------------------------------------

void pump_setTarget(int32_t index) {
    Link& link = Links[static_cast<size_t>(index)];
    link.targetSetting = link.setting;
    const Tank* tank = findTank(index);
    if (!tank) {
        return;
    }
    const Pump& pump = getPump(index);
    if (pump.shutoffDepth > 0.0 && link.setting > 0.0 && tank->newDepth < pump.shutoffDepth) {
        link.targetSetting = 0.0;
    }
    if (pump.startupDepth > 0.0 && link.setting == 0.0 && tank->newDepth > pump.startupDepth) {
        link.targetSetting = 1.0;
    }
}

/// A line through the points; level in front of the first and behind the last.
static double getLineFlow(const std::vector<TableEntry>& points, double depth) {
    if (points[0].x >= depth) {
        return points[0].y;
    }
    for (size_t k = 1; k < points.size(); ++k) {
        const TableEntry& a = points[k - 1];
        const TableEntry& b = points[k];
        if (b.x >= depth) {
            return std::fabs(b.x - a.x) < 1.0e-20 ? (a.y + b.y) / 2.0 : (depth - a.x) * (b.y - a.y) / (b.x - a.x) + a.y;
        }
    }
    return points.back().y;
}

/// Steps: the flow of a point holds up to its depth, and at that depth the one of the next point already does.
static double getStepFlow(const std::vector<TableEntry>& points, double depth) {
    for (const TableEntry& point : points) {
        if (point.x > depth) {
            return point.y;
        }
    }
    return points.back().y;
}

double pump_getFlow(int32_t index) {
    const Tank* tank = findTank(index);
    if (!tank) {
        return 0.0;
    }
    const Link& link = Links[static_cast<size_t>(index)];
    const Pump& pump = getPump(index);
    if (pump.useHostFlow) {
        return pump.hostFlow;  // neither a setting of 0 nor a switch stops a pump that the host drives
    }
    if (link.setting == 0.0) {
        return 0.0;
    }
    const Table& curve = Curves[static_cast<size_t>(pump.curve)];
    if (curve.entries.empty()) {
        return 0.0;
    }
    double flow = 0.0;
    switch (curve.curveType) {
        case PUMP1_CURVE: flow = getLineFlow(curve.entries, tank->newDepth); break;
        case PUMP2_CURVE: flow = getStepFlow(curve.entries, tank->newDepth); break;
        default: break;
    }
    return (flow < 0.0 ? 0.0 : flow) * link.setting;
}

void pump_getResults(int32_t index, double f, float* row) {
    const Link& link = Links[static_cast<size_t>(index)];
    row[0] = row_interpolate(f, link.oldFlow, link.newFlow);
    row_writeQuality(f, link.oldQual, link.newQual, project_pollutantCount(), row + 1);
}
