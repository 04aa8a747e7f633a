#pragma once
// The folder routing: the order of a step, and of the nodes in it. It uses all floors below; it must know neither the
// project file nor the host. No law stands here: a room puts calls into their order, and the rooms nodekinds and
// linkkinds alone tell kinds apart. The clock of the routing is moved here and nowhere else.
//
// The routing step: one pass of water and pollutants through the network.

struct Model;

/// Prepares a run: lists, clocks and sums, and the order of the nodes. A failure is the current error.
void routing_open(Model& model);

/// Lets go of what nodes and links hold for the run.
void routing_close(Model& model);

/// Whether routing_open has made what a step needs.
[[nodiscard]] bool routing_isReady(const Model& model);

/// Puts the routing clock to the start of a run. Nobody but this room moves it.
void routing_resetClock(Model& model);

/// The last step of a run is a whole one, but the clock stands at the end of the run after it.
void routing_cutClock(Model& model, double time);

/// Advances water and pollutants by one routing step.
void routing_step(Model& model);

/// Adds the step to statistics and totals: subcatchments, then links, then nodes.
void routing_countStep(Model& model);
