#pragma once
// The bare arithmetic of a network of junctions and pipes, on plain arrays in the order of the water: the time that a
// simulation of it can hardly go below on a machine.

#include <cstdint>
#include <vector>

#include "network.h"

struct Bound {
    std::vector<int32_t> down;  ///< as in BenchNetwork
    int64_t pollutants;
    double duration;  ///< ms
    double time;      ///< ms

    // By junction; the outfall stands behind the last one.
    std::vector<double> lateral;      ///< m3/s
    std::vector<double> lateralLoad;  ///< kg/s, by junction and pollutant
    std::vector<double> upstream;     ///< m3/s
    std::vector<double> inflow;       ///< m3/s
    std::vector<double> mass, qual;   ///< kg/s, mg/L, by junction and pollutant
    std::vector<double> volume, maxInflow;

    // By pipe.
    std::vector<double> k, lastFire, nextFire;
    std::vector<double> sumVolume, sumMass;
    std::vector<int32_t> sumCount;
    std::vector<double> meanInflow, oldFlow, newFlow;
    std::vector<double> oldQual, newQual;  ///< by pipe and pollutant
    std::vector<double> flowVolume, maxFlow;

    // By reach; those of a pipe stand together.
    std::vector<int32_t> firstReach;  ///< by pipe; one more at the end
    std::vector<double> storage;
    std::vector<double> oldReachQual, newReachQual;  ///< by reach and pollutant
};

Bound bound_create(const BenchNetwork& network, int32_t pollutants, double duration);

void bound_step(Bound& bound);
