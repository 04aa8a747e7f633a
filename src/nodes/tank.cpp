// Tanks. A tank is a completely mixed reservoir by level (level-pool routing): in each step it first releases the
// water that it held before the step, from the orifices over the weirs to the pumps, then loses as flood what exceeds
// its full volume, and at last takes in the step's inflow and mixes it. So flood shows one step after the water came.
//
// The depth between these actions comes from the volume by the curve of area and depth, whose area is linear between
// the points and begins at 0 at the bottom.

#include "nodes/tank.h"

#include "links/pump.h"
#include "model/arena.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/statistics.h"
#include "model/still.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "text/datetime.h"
#include "text/tokens.h"
#include "text/units.h"

#include <algorithm>
#include <cstdio>

static constexpr double SMALLEST_FLOOD = 0.0001;  ///< m3/s, below it the excess is lost without a word

// --- reading, validation and start ---------------------------------------------------------------------------------

int32_t tank_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex) {
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* id = names_findId(model, NODE, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t curve = names_find(model, CURVE, tokens[1]);
    if (curve < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    double depths[2];
    for (int32_t k = 0; k < 2; ++k) {
        if (!tokens_getNonNegative(tokens[2 + k], &depths[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[2 + k]);
        }
    }
    plausible_check(model, PLAUSIBLE_TANK_DEPTH, depths[0], 2, id);
    node_setRow(model, node, TANK, kindIndex, id);
    Tank& tank = model.tanks[kindIndex];
    tank.curve = curve;
    tank.maxDepth = depths[0];
    tank.initDepth = depths[1];  // may exceed the full depth; the excess floods in the first step
    return ERR_NONE;
}

/// The curve of a tank, or null if it has none.
static const Curve* findCurve(const Model& model, const Tank& tank) {
    return model.curves.find(tank.curve);
}

void tank_validate(Model& model, const Node& node, const Tank& tank) {
    const Curve* curve = findCurve(model, tank);
    if (!curve || curve->curveType != TANK_CURVE) {
        errors_report(model, ERR_TANK_CURVE, node.id);
    }
}

void tank_initState(Model& model, int32_t index) {
    Node& node = model.nodes[index];
    Tank& tank = model.tanks[node.kindIndex];
    tank.oldDepth = tank.newDepth = tank.initDepth;
    tank.oldFlood = tank.newFlood = 0.0;
    tank.hasDecay = decay_isAny(model, tank.decay);
    tank.restKey = 0;
    tank.lastDepth = tank.lastVolume = 0.0;  // a tank of no depth is empty
    tank.qual = arena_allocateArray<double>(model.memory.run, model_pollutantCount(model));
    if (!tank.qual || !outlets_make(model, tank.outlets, index)) {
        tank_endState(tank);
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        tank.qual[p] = node.newQual[p] = tank.initQual[p];
    }
}

void tank_endState(Tank& tank) {
    tank.qual = nullptr;
    tank.outlets = Outlets{};
}

void tank_shiftState(Tank& tank) {
    tank.oldDepth = tank.newDepth;
    tank.oldFlood = tank.newFlood;
}

// --- volume and depth ----------------------------------------------------------------------------------------------

static double getVolume(const Curve* curve, double d) {
    if (d == 0.0 || !curve || curve->entries.empty()) {
        return 0.0;
    }
    const std::vector<CurvePoint>& points = curve->entries;
    const CurvePoint& first = points[0];
    if (d <= first.x) {
        // A negative depth, which only a host can set, gives the positive volume of this square.
        const double slope = first.x == 0.0 ? 0.0 : first.y / first.x;
        return slope * (d * d) / 2.0;
    }
    double volume = first.y * first.x / 2.0;
    for (size_t k = 1; k < points.size(); ++k) {
        const CurvePoint& a = points[k - 1];
        const CurvePoint& b = points[k];
        if (b.x >= d) {
            return b.x - a.x > 0.0 ? volume + (curve_interpolate(a, b, d) + a.y) * (d - a.x) / 2.0 : volume;
        }
        volume += (b.y + a.y) * (b.x - a.x) / 2.0;
    }
    // Above the last point the walls go on with their last slope.
    const CurvePoint& last = points.back();
    double slope = 0.0;
    if (points.size() > 1) {
        const CurvePoint& before = points[points.size() - 2];
        slope = last.x - before.x > 0.0 ? (last.y - before.y) / (last.x - before.x) : 0.0;
    }
    const double e = d - last.x;
    return volume + last.y * e + slope * (e * e) / 2.0;
}

/// The same at the depth of the tank, which often is the depth that was asked for last. It is told by its bits.
static double getHeld(Tank& tank, const Curve* curve) {
    if (still_getBits(tank.newDepth) != still_getBits(tank.lastDepth)) {
        tank.lastDepth = tank.newDepth;
        tank.lastVolume = getVolume(curve, tank.newDepth);
    }
    return tank.lastVolume;
}

static double getDepth(const Curve* curve, double volume) {
    return curve ? curve_inverseLookup(*curve, volume) : 0.0;
}

double tank_getVolume(const Model& model, const Tank& tank, double depth) {
    return getVolume(findCurve(model, tank), depth);
}

// --- the routing step ----------------------------------------------------------------------------------------------

/// Sets what a link takes out of its tank: a flow with the concentrations of the water stored, or nothing at all.
static void setOutflow(Model& model, int32_t index, double flow, const double* quality) {
    Link& link = model.links[index];
    link.newFlow = flow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        link.newQual[p] = quality ? quality[p] : 0.0;
    }
}

/// The outlets of one level: their laws at the present depth, limited to the water above the level, and shared out in
/// the ratio of the laws. Nothing keeps the limit from being negative: with a weir whose crest a host has lowered below
/// its level the tank gains water. Gives whether there is one that would let water go.
static bool releaseLevel(Model& model, Tank& tank, const Curve* curve, LevelList& list, int32_t level) {
    const double depth = tank.newDepth;
    const int32_t count = outlets_findMembers(list, list.levels[level]);
    double sum = 0.0;
    for (int32_t k = 0; k < count; ++k) {
        list.flows[k] = outlets_getFlow(model, list, list.members[k], depth);
        sum += list.flows[k];
    }
    if (!(sum > 0.0)) {
        for (int32_t k = 0; k < count; ++k) {
            setOutflow(model, list.links[list.members[k]], 0.0, nullptr);
        }
        return false;
    }
    const double dt = model.options.routingStep;
    const double volume = getHeld(tank, curve);
    const double limit = (volume - list.volumes[level]) / dt;
    const double flow = sum < limit ? sum : limit;
    tank.newDepth = getDepth(curve, volume - dt * flow);
    for (int32_t k = 0; k < count; ++k) {
        const int32_t link = list.links[list.members[k]];
        setOutflow(model, link, list.flows[k] * flow / sum, tank.qual);
        if (list.kind == ORIFICE && !model.isSilent) {
            // A trace on standard output: the flow of each orifice that runs, at each step.
            std::printf("%f\n", model.links[link].newFlow);
        }
    }
    return true;
}

static bool releaseByLevel(Model& model, Tank& tank, const Curve* curve, LevelList& list) {
    if (outlets_updateKeys(model, list)) {
        outlets_makeLevels(list);
        for (int32_t k = 0; k < list.levelCount; ++k) {
            list.volumes[k] = getVolume(curve, list.levels[k]);
        }
    }
    bool isRunning = false;
    for (int32_t k = 0; k < list.levelCount; ++k) {
        isRunning = releaseLevel(model, tank, curve, list, k) || isRunning;
    }
    return isRunning;
}

/// Flow of all pumps at a depth (m), m3/s.
static double sumPumps(const Model& model, PumpList& pumps, double depth) {
    double sum = 0.0;
    for (int32_t k = 0; k < pumps.count; ++k) {
        const Link& link = model.links[pumps.links[k]];
        pumps.flows[k] = pump_getFlow(model, link, model.pumps[link.kindIndex], depth);
        sum += pumps.flows[k];
    }
    return sum;
}

/// What the pumps may take together, m3/s: no more than the tank holds, unless it has no volume by its full depth.
static double limitPumps(Tank& tank, const Curve* curve, double full, double wanted, double dt) {
    double flow = wanted;
    if (full > 0.0) {
        const double held = getHeld(tank, curve) / dt;
        flow = held < flow ? held : flow;
    }
    return flow < 0.0 ? 0.0 : flow;
}

/// Takes what exceeds the full volume out of the system; gives the volume that is left, m3.
static double floodExcess(Tank& tank, double full, double volume, double dt) {
    tank.newFlood = 0.0;
    if (!(volume >= full)) {
        return volume;
    }
    tank.newFlood = (volume - full) / dt;
    if (tank.newFlood < SMALLEST_FLOOD) {
        tank.newFlood = 0.0;  // the small excess is cut off all the same, and is in no total
    }
    return full;
}

/// The decayed mass is that of the water left after the pumps and the flood, though these take away the concentration
/// after the decay: what decays in their water is in no total.
///
/// Gives whether that changes nothing, neither a concentration nor a total.
static bool decayStored(Model& model, Tank& tank, Node& node, double volume) {
    bool isStill = true;
    const int32_t hour = tank.hasDecay ? datetime_getHour(model_getDate(model, model.clock.newRoutingTime)) : 0;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double left = decay_getFactor(model, tank.decay[p], hour, model.options.routingStep);
        const double before = tank.qual[p];
        tank.qual[p] = before * left;
        node.newQual[p] = tank.qual[p];
        const double lost = before * volume * (1.0 - left) / G_PER_KG;
        model.totals.quality[p].reactedLoss += lost;
        isStill = isStill && still_getBits(tank.qual[p]) == still_getBits(before) && lost == 0.0;
    }
    return isStill;
}

/// Shares the flow of all pumps out in the ratio of what each would deliver at the depth that is left. If none would
/// deliver any more there, none gets a flow, and the water that they took is lost.
static void sharePumps(Model& model, Tank& tank, double flow) {
    PumpList& pumps = tank.outlets.pumps;
    const double sum = sumPumps(model, pumps, tank.newDepth);
    for (int32_t k = 0; k < pumps.count; ++k) {
        if (sum > 0.0) {
            setOutflow(model, pumps.links[k], pumps.flows[k] * flow / sum, tank.qual);
        } else {
            setOutflow(model, pumps.links[k], 0.0, nullptr);
        }
    }
}

/// Gives whether no concentration changes.
static bool mixInflow(const Model& model, Tank& tank, const Node& node, const Curve* curve) {
    bool isStill = true;
    const double dt = model.options.routingStep;
    const double volume = getHeld(tank, curve);
    const double inflow = dt * node.newInflow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double mass = dt * node.massInflow[p] + volume * tank.qual[p] / G_PER_KG;
        const double mixed = volume + inflow > 0.0 ? mass / (volume + inflow) * G_PER_KG : 0.0;
        isStill = isStill && still_getBits(mixed) == still_getBits(tank.qual[p]);
        tank.qual[p] = mixed;
    }
    tank.newDepth = getDepth(curve, volume + inflow);
    return isStill;
}

/// Tells of a tank whose pumps want more than it has, or of which nobody gets what they took.
static void tellPumps(const Model& model, const Node& node, const PumpList& pumps, double wanted, double pumped) {
    const auto index = static_cast<int32_t>(&node - model.nodes.data());
    if (pumped < wanted) {
        warnings_addInRun(model, WARN_RUN_PUMP_DRY, NODE, index, node.id);
    }
    const double* flows = pumps.flows;  // of each pump at the depth that is left
    if (pumped > 0.0 && !std::any_of(flows, flows + pumps.count, [](double flow) { return flow > 0.0; })) {
        warnings_addInRun(model, WARN_RUN_PUMP_LOST, NODE, index, node.id);
    }
}

/// Whether nothing comes to a tank in this step: it can rest then.
static bool getsNothing(const Model& model, const Node& node) {
    return still_isZero(node.newInflow) && still_areZeros(node.massInflow, model_pollutantCount(model));
}

/// Whether no outlet of a kind lets anything go.
static bool areShut(const Model& model, const int32_t* links, int32_t count) {
    return std::all_of(links, links + count, [&model](int32_t link) {
        return still_isZero(model.links[link].newFlow) &&
               still_areZeros(model.links[link].newQual, model_pollutantCount(model));
    });
}

static bool isShut(const Model& model, const Tank& tank) {
    const Outlets& outlets = tank.outlets;
    return areShut(model, outlets.orifices.links, outlets.orifices.count) &&
           areShut(model, outlets.weirs.links, outlets.weirs.count) &&
           areShut(model, outlets.pumps.links, outlets.pumps.count) && still_isZero(tank.newFlood);
}

/// The whole step of a tank. One to which nothing came, which let nothing go and which ended with the bits of depth and
/// concentrations that it began with will do the same in the next step, as long as nothing comes to it, no setting of
/// an outlet moves and the key of the model stands: it rests then.
static void step(Model& model, Node& node, Tank& tank) {
    const double dt = model.options.routingStep;
    const Curve* curve = findCurve(model, tank);
    const double full = getVolume(curve, tank.maxDepth);
    tank.newDepth = tank.oldDepth;
    bool isStill = !releaseByLevel(model, tank, curve, tank.outlets.orifices);
    isStill = !releaseByLevel(model, tank, curve, tank.outlets.weirs) && isStill;
    const double wanted = sumPumps(model, tank.outlets.pumps, tank.newDepth);
    const double pumped = limitPumps(tank, curve, full, wanted, dt);
    const double volume = floodExcess(tank, full, getHeld(tank, curve) - dt * pumped, dt);
    tank.newDepth = getDepth(curve, volume);
    isStill = decayStored(model, tank, node, volume) && isStill;
    sharePumps(model, tank, pumped);
    if (pumped != 0.0) {
        tellPumps(model, node, tank.outlets.pumps, wanted, pumped);
    }
    isStill = mixInflow(model, tank, node, curve) && isStill;
    isStill = isStill && still_getBits(tank.newDepth) == still_getBits(tank.oldDepth) && pumped == 0.0;
    tank.restKey = isStill && getsNothing(model, node) && isShut(model, tank) ? model.rest.key : 0;
    model.rest.isHourly = model.rest.isHourly || (tank.restKey != 0 && tank.hasDecay);
}

void tank_update(Model& model, Node& node, Tank& tank) {
    if (tank.restKey != model.rest.key || !model.rest.isAllowed || !getsNothing(model, node)) {
        step(model, node, tank);
        return;
    }
    // The roll has emptied these, and the step would fill in what it left untouched in the tank.
    std::copy_n(tank.qual, model_pollutantCount(model), node.newQual);
}

void tank_countStep(Model& model, const Node& node, Tank& tank) {
    const double dt = model.options.routingStep;
    model.totals.flow.floodingLoss += dt * tank.newFlood;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        model.totals.quality[p].floodingLoss += dt * tank.newFlood * node.newQual[p] / G_PER_KG;
    }
    statistics_keepMaximum(tank.statMaxDepth, tank.newDepth);
    if (tank.newFlood > 0.0 && tank.statFloodVolume == 0.0) {
        warnings_addInRun(model, WARN_RUN_SPILL, NODE, static_cast<int32_t>(&node - model.nodes.data()), node.id);
    }
    tank.statFloodVolume += dt * tank.newFlood;
}

Balance tank_getBalance(const Model& model, int32_t index) {
    const Node& node = model.nodes[index];
    const Tank& tank = model.tanks[node.kindIndex];
    Balance balance{0.0, node.statInflowVolume, 0.0, tank.statFloodVolume, tank_getVolume(model, tank, tank.newDepth)};
    for (const int32_t link : topology_getOutgoing(model, index)) {
        balance.out += model.links[link].statFlowVolume;
    }
    return balance;
}

double tank_getStoredLoad(const Model& model, const Tank& tank, int32_t pollutant) {
    return tank.qual ? tank_getVolume(model, tank, tank.newDepth) * tank.qual[pollutant] / G_PER_KG : 0.0;
}
