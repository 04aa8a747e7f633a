#pragma once
// What a town consists of before it becomes text: where the water of each node goes, and of what kind things are.

#include <cstdint>
#include <vector>

#include "town.h"

constexpr int64_t DISTRICT = 250;  ///< subcatchments with one outfall

enum TownNode : uint8_t { JUNCTION, TANK, REACTOR, SPLITTER };
enum TownLink : uint8_t { PIPE, CONDUIT, CONNECTION, NO_LINK };

/// What drains a tank.
enum TownOutlet : uint8_t { PUMP_OUTLET, ORIFICE_OUTLET, BOTH_OUTLETS };

/// A subcatchment. Its numbers are whole, in the units of their last digit.
struct TownPlot {
    int64_t area;            ///< ha / 100
    int64_t width;           ///< m
    int64_t imperviousness;  ///< %
    int64_t slope;           ///< % / 100
};

struct TownPlan {
    TownOptions options;
    int gages;
    std::vector<int32_t> down;  ///< node behind each node; the number of nodes for the outfall of the district
    std::vector<TownNode> nodes;
    std::vector<TownLink> links;  ///< the one that starts at the node
    std::vector<int32_t> lids;    ///< type of the unit on each subcatchment, or -1
    std::vector<int32_t> turns;   ///< how many nodes, or if it is a junction links, of the same kind stand before it
    std::vector<int64_t> paved;   ///< m2, impervious area above each node and on it
};

TownPlan plan_make(const TownOptions& options);

TownPlot plan_makePlot(const TownPlan& plan, int64_t index);

/// The largest flow at a node in a storm, l/s, by a rational formula.
int64_t plan_getPeak(const TownPlan& plan, int64_t node);

inline int64_t plan_getSize(const TownPlan& plan) {
    return static_cast<int64_t>(plan.down.size());
}

inline TownOutlet plan_getOutlet(const TownPlan& plan, int64_t tank) {
    return static_cast<TownOutlet>(plan.turns[static_cast<size_t>(tank)] % 3);
}
