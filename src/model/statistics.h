#pragma once
// Statistics that a step adds up at every node and link: how much passed, and the largest flow.

#include "model/project.h"

inline void statistics_keepMaximum(double& maximum, double value) {
    maximum = value > maximum ? value : maximum;
}

/// The flow that a link delivers in a step of `dt` seconds.
inline void statistics_countLink(Link& link, double dt) {
    link.statFlowVolume += dt * link.newFlow;
    statistics_keepMaximum(link.statMaxFlow, link.newFlow);
}

/// The inflow of a node in such a step.
inline void statistics_countNode(Node& node, double dt) {
    node.statInflowVolume += node.newInflow * dt;
    statistics_keepMaximum(node.statMaxInflow, node.newInflow);
}
