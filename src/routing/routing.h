#pragma once
// The routing step: one pass of water and pollutants through the network.

#include <cstdint>

/// Prepares a run: lists, clocks and sums, and the order of the nodes. The current error.
int32_t routing_open();

/// Lets go of what nodes and links hold for the run.
void routing_close();

/// Whether routing_open has made what a step needs.
[[nodiscard]] bool routing_isReady();

/// Advances water and pollutants by one RoutingStep.
void routing_step();

/// Adds the step to statistics and totals: subcatchments, then links, then nodes.
void routing_countStep();
