#pragma once
// Statistics that a step adds up at every node and link: how much passed, and the largest flow.

#include "model/model.h"
#include "model/project.h"

inline void statistics_keepMaximum(double& maximum, double value) {
    maximum = value > maximum ? value : maximum;
}

/// The flow that a link delivers in a step.
inline void statistics_countLink(const Model& model, Link& link) {
    link.statFlowVolume += static_cast<double>(model.options.routingStep) * link.newFlow;
    statistics_keepMaximum(link.statMaxFlow, link.newFlow);
}

/// The inflow of a node in a step.
inline void statistics_countNode(const Model& model, Node& node) {
    node.statInflowVolume += node.newInflow * static_cast<double>(model.options.routingStep);
    statistics_keepMaximum(node.statMaxInflow, node.newInflow);
}
