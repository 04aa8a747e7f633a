// Tanks and their outlets. A tank lets go level by level of what it held before the step, so what its outlets take in a
// step has to be small against what it holds; and what lies above its full depth meets hardly any water, since the tank
// floods there.

#include "review/tanks.h"

#include <algorithm>
#include <string>
#include <vector>

#include "links/orifice.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/curve.h"
#include "model/model.h"
#include "model/project.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "nodes/outlets.h"
#include "nodes/tank.h"

/// A link as it is when it is fully open, or runs.
static Link openLink(const Link& link) {
    Link open = link;
    open.setting = 1.0;
    return open;
}

/// Flow (m3/s) of an open outlet at a depth (m) in the tank.
static double getFlow(const Model& model, const Link& link, double depth) {
    const Link open = openLink(link);
    if (link.kind == ORIFICE) {
        return orifice_getFlow(open, model.orifices[link.kindIndex], depth);
    }
    return link.kind == WEIR ? weir_getFlow(open, model.weirs[link.kindIndex], depth)
                             : pump_getFlow(model, open, model.pumps[link.kindIndex], depth);
}

/// Depth (m) down to which an outlet takes water.
static double getLowest(const Model& model, const Link& link) {
    if (link.kind == ORIFICE) {
        return model.orifices[link.kindIndex].crest;
    }
    return link.kind == WEIR ? model.weirs[link.kindIndex].crest : model.pumps[link.kindIndex].shutoffDepth;
}

// --- the routing step ----------------------------------------------------------------------------------------------

/// What all outlets take at the full depth in a step against what the tank holds above the lowest of them.
static void reviewEmptying(const Model& model, int32_t index, const Tank& tank) {
    const double dt = model.options.routingStep;
    double flow = 0.0, lowest = tank.maxDepth;
    for (const int32_t link : topology_getOutgoing(model, index)) {
        flow += getFlow(model, model.links[link], tank.maxDepth);
        lowest = std::min(lowest, getLowest(model, model.links[link]));
    }
    const double whole = tank_getVolume(model, tank, tank.maxDepth);
    if (whole == 0.0) {
        warnings_addAbout(model, WARN_TANK_VOLUME, NODE, index, model.nodes[index].id,
                          {warnings_formatNumber(tank.maxDepth)});
    }
    const double volume = whole - tank_getVolume(model, tank, lowest);
    if (flow * dt > volume && volume > 0.0) {
        warnings_addAbout(model, WARN_STEP_TANK, NODE, index, model.nodes[index].id,
                          {warnings_formatNumber(dt), "at full depth its outlets take " + warnings_formatNumber(flow) +
                                                          " m3/s of the " + warnings_formatNumber(volume) +
                                                          " m3 above the lowest of them"});
    }
}

// --- pumps ---------------------------------------------------------------------------------------------------------

/// Whether some pump of a tank has a flow at a depth (m). Each pump asks this: of many the rest may have one.
static bool doesAnyPumpRun(const Model& model, int32_t node, double depth) {
    static constexpr int32_t MOST = 50;  ///< outlets that are looked at
    const LinkList outlets = topology_getOutgoing(model, node);
    return outlets.count > MOST || std::any_of(outlets.begin(), outlets.end(), [&](int32_t link) {
               return model.links[link].kind == PUMP && getFlow(model, model.links[link], depth) > 0.0;
           });
}

/// The last step of a pump, from its shut-off depth.
static void reviewLastStep(const Model& model, int32_t node, const Tank& tank, int32_t index, const Pump& pump) {
    const Curve* curve = model.curves.find(tank.curve);
    const double taken = getFlow(model, model.links[index], pump.shutoffDepth) * model.options.routingStep;
    if (!(taken > 0.0) || !curve) {
        return;
    }
    const double left = std::max(tank_getVolume(model, tank, pump.shutoffDepth) - taken, 0.0);
    const double depth = curve_inverseLookup(*curve, left);
    if (!doesAnyPumpRun(model, node, depth)) {
        warnings_addAbout(model, WARN_PUMP_LOST, LINK, index, model.links[index].id,
                          {warnings_formatNumber(pump.shutoffDepth), warnings_formatNumber(depth)});
    }
}

/// Whether a pump has a flow somewhere between its shut-off depth and the full depth of its tank. Long curves are taken
/// for such.
static bool mayDeliver(const Model& model, const Tank& tank, const Link& link, const Pump& pump) {
    static constexpr size_t MOST = 100;  ///< points that are looked at
    const std::vector<CurvePoint>& points = model.curves[pump.curve].entries;
    const auto delivers = [&](const CurvePoint& point) {
        return point.x >= pump.shutoffDepth && point.x <= tank.maxDepth && point.y > 0.0;
    };
    return points.size() > MOST || getFlow(model, link, pump.shutoffDepth) > 0.0 ||
           getFlow(model, link, tank.maxDepth) > 0.0 || std::any_of(points.begin(), points.end(), delivers);
}

static void reviewPump(const Model& model, int32_t node, const Tank& tank, int32_t index) {
    static constexpr double SHORTEST_CYCLE = 360.0;  ///< s, MIL-HDBK-1005/9A
    const Link& link = model.links[index];
    const Pump& pump = model.pumps[link.kindIndex];
    if (pump.startupDepth < tank.maxDepth && !mayDeliver(model, tank, link, pump)) {
        warnings_addAbout(model, WARN_PUMP_IDLE, LINK, index, link.id,
                          {warnings_formatNumber(pump.shutoffDepth), warnings_formatNumber(tank.maxDepth)});
    }
    if (!(pump.shutoffDepth > 0.0)) {
        return;
    }
    reviewLastStep(model, node, tank, index, pump);
    const double dt = model.options.routingStep;
    const double flow = std::max(getFlow(model, link, pump.startupDepth), getFlow(model, link, pump.shutoffDepth));
    if (!(pump.startupDepth > pump.shutoffDepth) || !(flow > 0.0)) {
        return;
    }
    const double volume =
        tank_getVolume(model, tank, pump.startupDepth) - tank_getVolume(model, tank, pump.shutoffDepth);
    if (volume < flow * dt) {
        warnings_addAbout(model, WARN_STEP_PUMP, LINK, index, link.id,
                          {warnings_formatNumber(volume), warnings_formatNumber(flow * dt), warnings_formatNumber(dt)});
    } else if (4.0 * volume < SHORTEST_CYCLE * flow) {
        warnings_addAbout(model, WARN_PUMP_CYCLE, LINK, index, link.id,
                          {warnings_formatNumber(volume), warnings_formatNumber(4.0 * volume / flow)});
    }
}

// --- levels --------------------------------------------------------------------------------------------------------

/// Crests of the orifices or the weirs of a tank, in the order of the file.
static std::vector<double> collectCrests(const Model& model, int32_t node, int32_t kind) {
    std::vector<double> crests;
    for (const int32_t link : topology_getOutgoing(model, node)) {
        if (model.links[link].kind == kind) {
            crests.push_back(getLowest(model, model.links[link]));
        }
    }
    return crests;
}

/// A level below the first one that stands there twice, and two levels that are the same within the tolerance of the
/// outlets, are treated twice.
static void reviewLevels(const Model& model, int32_t node, int32_t kind) {
    static constexpr double SAME_LEVEL = 1.0e-10;  ///< m, as for the outlets of a run
    const std::vector<double> crests = collectCrests(model, node, kind);
    if (crests.size() < 2) {
        return;
    }
    std::vector<double> levels(crests.size());
    int32_t count = 0;
    for (const double crest : crests) {
        outlets_insertLevel(levels.data(), count, crest);
    }
    const double first = crests[0];
    levels.resize(static_cast<size_t>(count));
    std::sort(levels.begin(), levels.end());
    for (size_t k = 1; k < levels.size(); ++k) {
        if (levels[k] - levels[k - 1] <= SAME_LEVEL) {
            const char* kindWord = kind == WEIR ? "weir" : "orifice";
            warnings_addAbout(
                model, WARN_OUTLET_ORDER, NODE, node, model.nodes[node].id,
                {kindWord, warnings_formatNumber(levels[k]), first > levels[k] ? "above it" : "at it or below"});
            return;
        }
    }
}

static void reviewHeights(const Model& model, const Tank& tank, int32_t index) {
    const Link& link = model.links[index];
    const bool isPump = link.kind == PUMP;
    const double height = isPump ? model.pumps[link.kindIndex].startupDepth : getLowest(model, link);
    if (tank.maxDepth > 0.0 && height >= tank.maxDepth) {
        warnings_addAbout(model, WARN_OUTLET_HIGH, LINK, index, link.id,
                          {isPump ? "the start-up depth" : "the crest", warnings_formatNumber(height),
                           warnings_formatNumber(tank.maxDepth)});
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

static void reviewTank(const Model& model, int32_t index, const Tank& tank) {
    if (tank.maxDepth > 0.0) {
        reviewEmptying(model, index, tank);
    }
    if (tank.initDepth > tank.maxDepth) {
        warnings_addAbout(model, WARN_TANK_START, NODE, index, model.nodes[index].id,
                          {warnings_formatNumber(tank.initDepth), warnings_formatNumber(tank.maxDepth)});
    }
    reviewLevels(model, index, ORIFICE);
    reviewLevels(model, index, WEIR);
    for (const int32_t link : topology_getOutgoing(model, index)) {
        reviewHeights(model, tank, link);
        if (model.links[link].kind == PUMP) {
            reviewPump(model, index, tank, link);
        }
    }
}

void tanks_review(const Model& model) {
    if (model.tanks.empty()) {
        return;
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].kind == TANK) {
            reviewTank(model, k, model.tanks[model.nodes[k].kindIndex]);
        }
    }
}
