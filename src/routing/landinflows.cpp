// The way of water and loads from the land into the network. Runoff is taken between the last two runoff steps by the
// time of the routing step; of an underdrain only the newer of the two counts. The routing step calls this room before
// it visits the nodes.

#include "routing/landinflows.h"

#include "hydrology/landrest.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/project.h"
#include "model/still.h"
#include "routing/nodekinds.h"
#include "routing/rest.h"
#include "text/units.h"

/// A node at rest holds +0.0 alone, which +0.0 leaves as it is; `given` are the bits of all that it got.
static void wakeGiven(Model& model, int32_t node, uint64_t given) {
    if (given != 0) {
        rest_wakeVisit(model, node);
    }
}

/// The runoff of one subcatchment; `f` weighs the newer step.
static void addToNode(Model& model, int32_t index, double f) {
    const Subcatch& s = model.subcatches[index];
    Node& node = model.nodes[s.outNode];
    const double flow = s.area == 0.0 ? 0.0 : f * s.thisRunoff + (1.0 - f) * s.lastRunoff;
    if (nodekinds_takeRunoff(model, node, index, flow)) {
        return;  // an outside model took the water, and no load
    }
    const double dt = model.options.routingStep;
    node.newLatFlow += flow;
    model.totals.flow.wetWeatherInflow += dt * flow;
    uint64_t given = still_getBits(flow);
    QualTotalsRecord* totals = model.totals.quality;
    const int32_t pollutants = model_pollutantCount(model);
    for (int32_t p = 0; p < pollutants; ++p) {
        const double load =
            (1.0 - f) * s.lastRunoff * s.lastQuality[p] / G_PER_KG + f * s.thisRunoff * s.thisQuality[p] / G_PER_KG;
        node.massInflow[p] += load;
        totals[p].wetWeatherInflow += dt * load;
        given |= still_getBits(load);
    }
    wakeGiven(model, s.outNode, given);
}

/// Calls a function with each subcatchment that may give something, of which there is a list. All others give nothing,
/// and 0 changes no sum.
template <class Function>
static void forEachGiver(const Model& model, const Table<int32_t>& givers, Function give) {
    if (landrest_isKnown(model)) {
        for (const int32_t k : givers) {
            give(k);
        }
        return;
    }
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        give(k);
    }
}

void landinflows_addRunoff(Model& model, double time) {
    const double f = subcatch_getWeight(model, time);
    const auto give = [&](int32_t k) {
        if (model.subcatches[k].outNode >= 0) {
            addToNode(model, k, f);
        }
    };
    if (model.swmmNodes.empty()) {
        forEachGiver(model, model.landRest->awake, give);
        return;
    }
    // A SWMM node is told of a runoff of 0 as well.
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        give(k);
    }
}

/// The kind of the node doesn't matter.
static void addDrain(Model& model, const LidUnit& unit) {
    Node& node = model.nodes[unit.drainNode];
    node.newLatFlow += unit.thisDrainFlow;
    model.totals.flow.wetWeatherInflow += model.options.routingStep * unit.thisDrainFlow;
    uint64_t given = still_getBits(unit.thisDrainFlow);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        node.massInflow[p] += unit.thisDrainLoad[p];
        model.totals.quality[p].wetWeatherInflow += model.options.routingStep * unit.thisDrainLoad[p];
        given |= still_getBits(unit.thisDrainLoad[p]);
    }
    wakeGiven(model, unit.drainNode, given);
}

void landinflows_addDrains(Model& model) {
    if (model.lidUnits.empty()) {
        return;
    }
    forEachGiver(model, model.landRest->draining, [&](int32_t k) {
        if (!(model.subcatches[k].area > 0.0) || !(model.subcatches[k].lidArea > 0.0)) {
            return;
        }
        for (const LidUnit& unit : lidgroup_getUnits(model, k)) {
            if (unit.drainNode >= 0) {
                addDrain(model, unit);
            }
        }
    });
}
