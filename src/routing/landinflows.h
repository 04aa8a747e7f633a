#pragma once
// What the land gives to the network.

struct Model;

/// Adds the runoff of all subcatchments to their nodes, in the routing step that begins at `time` (ms).
void landinflows_addRunoff(Model& model, double time);

/// Adds the underdrains of all LID units of subcatchments to their nodes, in the routing step.
void landinflows_addDrains(Model& model);
