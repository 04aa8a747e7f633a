// Pumps: outlets of tanks. A pump delivers by a curve of the depth in its tank, a line through points (PUMP1) or steps
// (PUMP2), times its setting. It switches itself: on above the start-up depth, off below the shut-off depth. The tank
// limits the sum of its pumps to the water that it holds and shares it out.

#include "links/pump.h"

#include "links/link.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "text/tokens.h"

static const char* const OffOnWords[] = {"OFF", "ON", nullptr};

// --- reading, validation and start ---------------------------------------------------------------------------------

int32_t pump_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex) {
    if (tokens.count < 8) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    LinkHead head;
    if (const int32_t error = link_readEnds(model, tokens, head)) {
        return error;
    }
    Pump pump{};
    pump.curve = names_find(model, CURVE, tokens[3]);
    if (pump.curve < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[3]);
    }
    if (const int32_t error = link_readLag(model, tokens, 4, head)) {
        return error;
    }
    const int32_t status = tokens_findKeyword(tokens[5], OffOnWords);
    if (status < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[5]);
    }
    pump.initSetting = status;
    if (!tokens_getNonNegative(tokens[6], &pump.startupDepth)) {
        return errors_setName(model, ERR_NUMBER, tokens[6]);
    }
    if (!tokens_getNonNegative(tokens[7], &pump.shutoffDepth)) {
        return errors_setName(model, ERR_NUMBER, tokens[7]);
    }
    plausible_check(model, PLAUSIBLE_SWITCH_DEPTH, pump.startupDepth, 6, head.id);
    plausible_check(model, PLAUSIBLE_SWITCH_DEPTH, pump.shutoffDepth, 7, head.id);
    link_setHead(model, link, PUMP, kindIndex, head);
    model.pumps[kindIndex] = pump;
    return ERR_NONE;
}

void pump_validate(Model& model, const Link& link, const Pump& pump, bool isAtTank) {
    if (!isAtTank) {
        errors_report(model, ERR_PUMP_NOT_AT_TANK, link.id);
    }
    if (pump.startupDepth > 0.0 && !(pump.startupDepth > pump.shutoffDepth)) {
        errors_report(model, ERR_PUMP_DEPTHS, link.id);
    }
    const int32_t type = model.curves[pump.curve].curveType;
    if (type != PUMP1_CURVE && type != PUMP2_CURVE) {
        errors_report(model, ERR_PUMP_CURVE, link.id);
    }
}

void pump_initState(Link& link, Pump& pump) {
    link.setting = pump.initSetting;
    pump.useHostFlow = false;
    pump.hostFlow = 0.0;
}

// --- switching and flow --------------------------------------------------------------------------------------------

double pump_getTarget(const Link& link, const Pump& pump, double depth) {
    if (pump.startupDepth > 0.0 && link.setting == 0.0 && depth > pump.startupDepth) {
        return 1.0;
    }
    if (pump.shutoffDepth > 0.0 && link.setting > 0.0 && depth < pump.shutoffDepth) {
        return 0.0;
    }
    return link.setting;
}

/// A line through the points; level in front of the first and after the last.
static double getLineFlow(const std::vector<CurvePoint>& points, double depth) {
    if (points[0].x >= depth) {
        return points[0].y;
    }
    for (size_t k = 1; k < points.size(); ++k) {
        const CurvePoint& a = points[k - 1];
        const CurvePoint& b = points[k];
        if (b.x >= depth) {
            return curve_interpolate(a, b, depth);
        }
    }
    return points.back().y;
}

/// Steps: the flow of a point holds up to its depth, and at that depth the one of the next point already does.
static double getStepFlow(const std::vector<CurvePoint>& points, double depth) {
    for (const CurvePoint& point : points) {
        if (point.x > depth) {
            return point.y;
        }
    }
    return points.back().y;
}

double pump_getFlow(const Model& model, const Link& link, const Pump& pump, double depth) {
    if (pump.useHostFlow) {
        return pump.hostFlow;  // neither a setting of 0 nor a switch stops a pump that the host drives
    }
    if (link.setting == 0.0) {
        return 0.0;
    }
    const Curve& curve = model.curves[pump.curve];
    if (curve.entries.empty()) {
        return 0.0;
    }
    double flow = 0.0;
    switch (curve.curveType) {
        case PUMP1_CURVE: flow = getLineFlow(curve.entries, depth); break;
        case PUMP2_CURVE: flow = getStepFlow(curve.entries, depth); break;
        default: break;
    }
    return (flow < 0.0 ? 0.0 : flow) * link.setting;
}
