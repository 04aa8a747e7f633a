// The ways of the water. The checks of the project find most that is wrong with a network; what is left are nodes that
// no visit reaches or that come too early, loops of lagged links without a way out, and places where nothing comes in,
// or nothing gets out.

#include "review/ways.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "coupling/coupled.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/project.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "routing/network.h"
#include "routing/nodekinds.h"

// --- order ---------------------------------------------------------------------------------------------------------

/// Place of each node in the order of the visits; -1 for those that no visit reaches.
static Table<int32_t> getPlaces(const Model& model) {
    Table<int32_t> order = table_make(model.nodes.size(), 0), places = table_make(model.nodes.size(), -1);
    const int32_t count = network_orderNodes(model, order.rows.data());
    for (int32_t k = 0; k < count; ++k) {
        places[order[k]] = k;
    }
    return places;
}

static void reviewDischarges(const Model& model, const Table<int32_t>& places) {
    if (model.reactors.empty() && model.lidMonos.empty()) {
        return;
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        int32_t targets[2];
        const int32_t count = nodekinds_getDirectTargets(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            if (places[targets[t]] >= 0 && places[targets[t]] < places[k]) {
                warnings_addAbout(model, WARN_DISCHARGE_ORDER, NODE, k, model.nodes[k].id,
                                  {model.nodes[targets[t]].id});
            }
        }
    }
}

static void reviewLinks(const Model& model, const Table<int32_t>& places) {
    for (int32_t k = 0; k < model.links.size(); ++k) {
        const Link& link = model.links[k];
        if (!link.isLagged && places[link.toNode] >= 0 && places[link.toNode] < places[link.fromNode]) {
            warnings_addAbout(model, WARN_NODE_ORDER, LINK, k, link.id, {model.nodes[link.toNode].id});
        }
    }
}

/// A reactor that empties to its surplus node counts there twice, and may release it too early.
static bool isAnyDoubleDischarge(const Model& model) {
    return std::any_of(model.reactors.begin(), model.reactors.end(),
                       [](const Reactor& reactor) { return reactor.surpassNode == reactor.emptyingNode; });
}

/// Without lagged links and double discharges the order is right, if only the heads lead to all nodes.
static void reviewOrder(const Model& model, bool isAnyLagged) {
    if (!isAnyLagged && model.reachedCount == model.nodes.size() && !isAnyDoubleDischarge(model)) {
        return;
    }
    const Table<int32_t> places = getPlaces(model);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (places[k] < 0) {
            warnings_addAbout(model, WARN_NODE_UNREACHED, NODE, k, model.nodes[k].id);
        }
    }
    reviewDischarges(model, places);
    reviewLinks(model, places);
}

// --- loops ---------------------------------------------------------------------------------------------------------

/// Whether water ends at a node, well or not: a tank without an outlet floods, and is told of by itself.
static bool isEnd(const Model& model, int32_t node) {
    const int32_t kind = model.nodes[node].kind;
    return kind == OUTFALL || coupled_isKind(kind) || topology_getOutgoing(model, node).count == 0;
}

/// The nodes from which a path leads to an end, found backwards from the ends.
static Table<uint8_t> findWaysOut(const Model& model) {
    Table<uint8_t> hasWayOut = table_make(model.nodes.size(), uint8_t{0});
    std::vector<std::vector<int32_t>> givers(
        model.reactors.empty() && model.lidMonos.empty() ? 0 : model.nodes.rows.size());
    std::vector<int32_t> waiting;
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        int32_t targets[2];
        const int32_t count = givers.empty() ? 0 : nodekinds_getDirectTargets(model, k, targets);
        for (int32_t t = 0; t < count; ++t) {
            givers[static_cast<size_t>(targets[t])].push_back(k);
        }
        if (isEnd(model, k)) {
            waiting.push_back(k);
            hasWayOut[k] = 1;
        }
    }
    const auto reach = [&](int32_t node) {
        if (!hasWayOut[node]) {
            hasWayOut[node] = 1;
            waiting.push_back(node);
        }
    };
    while (!waiting.empty()) {
        const int32_t node = waiting.back();
        waiting.pop_back();
        for (const int32_t link : topology_getIncoming(model, node)) {
            reach(model.links[link].fromNode);
        }
        if (!givers.empty()) {
            for (const int32_t giver : givers[static_cast<size_t>(node)]) {
                reach(giver);
            }
        }
    }
    return hasWayOut;
}

static void reviewLoops(const Model& model) {
    const Table<uint8_t> hasWayOut = findWaysOut(model);
    for (int32_t k = 0; k < model.links.size(); ++k) {
        const Link& link = model.links[k];
        if (link.isLagged && !hasWayOut[link.toNode]) {
            warnings_addAbout(model, WARN_LAGGED_LOOP, LINK, k, link.id);
        }
    }
}

// --- what comes in -------------------------------------------------------------------------------------------------

/// The nodes that runoff, or the drain of a LID unit on the land, goes to.
static Table<uint8_t> markFed(const Model& model) {
    Table<uint8_t> isFed = table_make(model.nodes.size(), uint8_t{0});
    for (const Subcatch& subcatch : model.subcatches) {
        isFed[subcatch.outNode] = 1;
    }
    for (const LidUnit& unit : model.lidUnits) {
        if (unit.drainNode >= 0) {
            isFed[unit.drainNode] = 1;
        }
    }
    return isFed;
}

/// Whether a node has water of its own: in store at the start, from a model inside, or from rain.
static bool hasOwnWater(const Model& model, const Node& node) {
    if (node.kind == TANK) {
        return model.tanks[node.kindIndex].initDepth > 0.0;
    }
    if (node.kind == REACTOR) {
        return reactor_getInitVolume(model.reactors[node.kindIndex]) > 0.0;
    }
    if (node.kind == LID_MONO) {
        return model.options.lidMonoRainfall && model.lidMonos[node.kindIndex].gage >= 0;
    }
    return coupled_isKind(node.kind);
}

/// The constant flow into a node, m3/s: dry weather in the mean of the day, and the baseline of the inflow that counts.
/// What a series adds isn't known here.
static double getConstantInflow(const Node& node) {
    const DwfInflow* dryWeather = inflows_findDryWeather(node.dwfInflow, -1);
    const ExtInflow* external = node.extInflow;
    while (external && external->kind != INFLOW_FLOW) {
        external = external->next;
    }
    const double baseline = external && external->series < 0 ? external->baseline : 0.0;
    return (dryWeather ? dryWeather->average : 0.0) + baseline;
}

/// Whether a flow (m3/s) is more than a conduit of regular section carries at any depth. Both sides of Manning's law
/// to the third power need no root but that of the slope. A circle carries 1.076 of its full flow at 94 % of its depth,
/// a rectangle most just below its roof.
static bool isAboveFlow(const Conduit& conduit, double flow) {
    static constexpr double PI = 3.14159265, CIRCLE_MOST = 1.08;
    const bool isCircle = conduit.shape == CIRCULAR_CONDUIT;
    const double h = conduit.height;
    const double area = isCircle ? PI * h * h / 4.0 : h * conduit.width;
    const double radius = isCircle ? h / 4.0 : area / (conduit.width + 2.0 * h);
    const double q = flow * conduit.roughness / (isCircle ? CIRCLE_MOST : 1.0);
    return q * q * q > area * area * area * radius * radius * conduit.slope * std::sqrt(conduit.slope);
}

static void reviewCapacity(const Model& model, int32_t node) {
    const LinkList outgoing = topology_getOutgoing(model, node);
    if (outgoing.count != 1) {
        return;
    }
    const int32_t index = outgoing.first[0];
    const Link& link = model.links[index];
    const double limit = link.kind == PIPE ? model.pipes[link.kindIndex].maxFlow : 0.0;
    if (link.kind == PIPE && !(limit > 0.0)) {
        return;  // as most are
    }
    const double inflow = getConstantInflow(model.nodes[node]);
    if (!(inflow > 0.0)) {
        return;
    }
    if (link.kind == PIPE) {
        if (inflow > limit) {
            warnings_addAbout(model, WARN_CAPACITY, LINK, index, link.id,
                              {warnings_formatNumber(inflow), "the largest flow", warnings_formatNumber(limit)});
        }
    } else if (link.kind == CONDUIT && model.conduits[link.kindIndex].shape != IRREGULAR_CONDUIT &&
               isAboveFlow(model.conduits[link.kindIndex], inflow)) {
        const Conduit& conduit = model.conduits[link.kindIndex];
        const ConduitSection full = conduit_getSection(conduit, nullptr, conduit.height);
        const double capacity = std::pow(full.area / full.perimeter, 2.0 / 3.0) * full.area * std::sqrt(conduit.slope) /
                                conduit.roughness;  // Manning 1891
        warnings_addAbout(model, WARN_CAPACITY, LINK, index, link.id,
                          {warnings_formatNumber(inflow), "the full flow", warnings_formatNumber(capacity)});
    }
}

/// The constant flow into a tank, its own and that of the nodes right above it, against its volume.
static void reviewFilling(const Model& model, int32_t index, const Tank& tank) {
    double inflow = getConstantInflow(model.nodes[index]);
    for (const int32_t link : topology_getIncoming(model, index)) {
        const int32_t from = model.links[link].fromNode;
        if (model.nodes[from].kind == JUNCTION) {
            inflow += getConstantInflow(model.nodes[from]);
        }
    }
    const double dt = model.options.routingStep, volume = tank_getVolume(model, tank, tank.maxDepth);
    if (volume > 0.0 && inflow * dt > volume) {
        warnings_addAbout(model, WARN_STEP_TANK, NODE, index, model.nodes[index].id,
                          {warnings_formatNumber(dt), "a constant inflow of " + warnings_formatNumber(inflow) +
                                                          " m3/s fills its " + warnings_formatNumber(volume) + " m3"});
    }
}

static void reviewInflowsOnTheirWay(const Model& model) {
    const Table<uint8_t> isFed = markFed(model);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        const bool hasInflow = node.extInflow || node.dwfInflow;
        if (hasInflow && node.kind == JUNCTION) {
            reviewCapacity(model, k);
        }
        const bool isReached = hasInflow || isFed[k] || topology_getIncoming(model, k).count > 0 || !node.isHead;
        if (!isReached && !hasOwnWater(model, node)) {
            warnings_addAbout(model, WARN_NODE_IDLE, NODE, k, node.id);
        }
        if (node.kind == TANK) {
            reviewFilling(model, k, model.tanks[node.kindIndex]);
        }
        if (isReached && node.kind == TANK && topology_getOutgoing(model, k).count == 0) {
            warnings_addAbout(model, WARN_TANK_CLOSED, NODE, k, node.id);
        }
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

void ways_review(const Model& model) {
    const bool isAnyLagged =
        std::any_of(model.links.begin(), model.links.end(), [](const Link& link) { return link.isLagged; });
    reviewOrder(model, isAnyLagged);
    if (isAnyLagged) {
        reviewLoops(model);
    }
    reviewInflowsOnTheirWay(model);
}
