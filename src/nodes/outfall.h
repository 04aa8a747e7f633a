#pragma once
// An outfall: takes water out of the system.

#include "model/project.h"

struct Model;

struct Outfall {
    double* statLoad;  ///< kg, one per pollutant; lives from a start to the next
};

/// Adds what leaves the system in a step to the totals and to the loads of the outfall.
void outfall_countStep(Model& model, const Node& node, Outfall& outfall);

/// Statistics by pollutant: made for a run, and emptied.
void outfall_openStatistics(Model& model);
void outfall_clearStatistics(Model& model);
