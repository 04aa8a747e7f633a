#pragma once
// Which nodes roll ahead of the visits of a step, and which in their visit.

struct Model;

/// Lists the nodes of a run that roll ahead, and says which of them never rest. The visits stand.
void rolls_open(Model& model);

/// Rolls them at the start of a step, with those that the host has an inflow for.
void rolls_rollAhead(Model& model);
