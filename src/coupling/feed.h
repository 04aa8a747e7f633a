#pragma once
// What comes out of an outside model, handed to the links of the network.

#include <cstdint>

#include "coupling/outside.h"
#include "model/project.h"

/// Totals of the network that a kind of outside model adds to.
struct OutsideTotals {
    double FlowTotalsRecord::*inflow;       ///< m3, out of the model into the network
    double FlowTotalsRecord::*outflow;      ///< m3, given to the model
    double QualTotalsRecord::*inflowMass;   ///< kg
    double QualTotalsRecord::*outflowMass;  ///< kg
};

/// Counts what a link gives to the model in this step: a flow, m3/s, and its loads, kg/s.
void feed_countDelivery(const OutsideTotals& totals, double flow, const double* loads);

/// Makes room for one number per pollutant for a run. False without memory.
bool feed_open();
void feed_close();

/// That room, emptied: for the loads of one link, kg/s.
double* feed_getLoads();

/// Hands the outflows of a node's model to the links that the records name.
void feed_updateLinks(int32_t node, const OutsideNode& outside, const OutsideTotals& totals);
