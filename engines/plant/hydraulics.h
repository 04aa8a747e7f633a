#pragma once
// The water of a plant. Tanks and settler are always full: all flows follow from the inflow at once.

#include <vector>

#include "plantmodel.h"

/// All m3/d.
struct Flows {
    double inflow = 0.0;
    double bypass = 0.0;
    double treated = 0.0;
    std::vector<double> feed;      ///< into each tank
    std::vector<double> through;   ///< out of each tank to the next one, or to the settler
    std::vector<double> entering;  ///< all that enters each tank, and leaves it
    std::vector<double> recycles;
    double returned = 0.0;
    double waste = 0.0;
    double underflow = 0.0;  ///< returned and waste
    double overflow = 0.0;
};

void hydraulics_compute(const PlantModel& model, double inflow, Flows& flows);
