// The way of water and loads from the land into the network. Runoff is taken between the last two runoff steps by the
// time of the routing step; of an underdrain only the newer of the two counts. The routing step calls this room before
// it visits the nodes.

#include "routing/landinflows.h"

#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/project.h"
#include "routing/nodekinds.h"
#include "text/units.h"

/// The runoff of one subcatchment; `f` weighs the newer step.
static void addToNode(int32_t index, double f) {
    const Subcatch& s = Subcatches[index];
    Node& node = Nodes[s.outNode];
    const double flow = s.area == 0.0 ? 0.0 : f * s.thisRunoff + (1.0 - f) * s.lastRunoff;
    if (nodekinds_takeRunoff(node, index, flow)) {
        return;  // an outside model took the water, and no load
    }
    node.newLatFlow += flow;
    FlowTotals.wetWeatherInflow += RoutingStep * flow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load =
            (1.0 - f) * s.lastRunoff * s.lastQuality[p] / G_PER_KG + f * s.thisRunoff * s.thisQuality[p] / G_PER_KG;
        node.massInflow[p] += load;
        QualTotals[p].wetWeatherInflow += RoutingStep * load;
    }
}

void landinflows_addRunoff(double time) {
    const double f = subcatch_getWeight(time);
    for (int32_t k = 0; k < Subcatches.size(); ++k) {
        if (Subcatches[k].outNode >= 0) {
            addToNode(k, f);
        }
    }
}

/// The kind of the node doesn't matter.
static void addDrain(const LidUnit& unit) {
    Node& node = Nodes[unit.drainNode];
    node.newLatFlow += unit.thisDrainFlow;
    FlowTotals.wetWeatherInflow += RoutingStep * unit.thisDrainFlow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        node.massInflow[p] += unit.thisDrainLoad[p];
        QualTotals[p].wetWeatherInflow += RoutingStep * unit.thisDrainLoad[p];
    }
}

void landinflows_addDrains() {
    for (int32_t k = 0; k < Subcatches.size() && !LidUnits.empty(); ++k) {
        if (!(Subcatches[k].area > 0.0) || !(Subcatches[k].lidArea > 0.0)) {
            continue;
        }
        for (const LidUnit& unit : lidgroup_getUnits(k)) {
            if (unit.drainNode >= 0) {
                addDrain(unit);
            }
        }
    }
}
