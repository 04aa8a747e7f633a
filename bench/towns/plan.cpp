// See plan.h.

#include "plan.h"

#include <algorithm>

#include "random.h"

namespace {

enum Stream : uint64_t { TREE, KINDS, PLOTS };

/// A link of a junction, reactor or splitter.
TownLink pickLink(TownRandom& random, const TownOptions& options) {
    const double chance = townRandom_getUnit(random);
    return chance < options.conduits ? CONDUIT : chance < options.conduits + options.connections ? CONNECTION : PIPE;
}

TownNode pickNode(TownRandom& random, const TownOptions& options) {
    const double chance = townRandom_getUnit(random);
    const double withReactors = options.tanks + options.reactors;
    return chance < options.tanks                      ? TANK
           : chance < withReactors                     ? REACTOR
           : chance < withReactors + options.splitters ? SPLITTER
                                                       : JUNCTION;
}

/// The node behind: within the first half of those that are left of the district, so that it takes a number of steps to
/// the outfall that grows with the logarithm of the size of the district.
int64_t pickDown(const TownOptions& options, int64_t node, int64_t size) {
    const int64_t end = std::min(size, (node / DISTRICT + 1) * DISTRICT);
    TownRandom random = townRandom_make(options.seed, TREE, static_cast<uint64_t>(node));
    const int64_t down = node + townRandom_pick(random, 1, std::max<int64_t>(1, (end - node) / 2));
    return down < end ? down : size;
}

}  // namespace

TownPlot plan_makePlot(const TownPlan& plan, int64_t index) {
    TownRandom random = townRandom_make(plan.options.seed, PLOTS, static_cast<uint64_t>(index));
    TownPlot plot{};
    plot.area = townRandom_pick(random, 30, 150);
    plot.width = plot.area * 100 / townRandom_pick(random, 50, 120);
    plot.imperviousness = townRandom_pick(random, 20, 85);
    plot.slope = townRandom_pick(random, 30, 200);
    if (index + 1 == plan_getSize(plan)) {  // the runoff step is cut by the last one; this one is slow enough not to
        plot = {200, 60, 50, 30};
    }
    return plot;
}

TownPlan plan_make(const TownOptions& options) {
    const size_t size = static_cast<size_t>(options.subcatchments);
    TownPlan plan{options, options.gages, {}, {}, {}, {}, {}, {}};
    if (plan.gages == 0) {
        plan.gages = static_cast<int>(std::min<int64_t>(4, 1 + options.subcatchments / 1000));
    }
    plan.down.resize(size);
    plan.nodes.resize(size);
    plan.links.resize(size);
    plan.lids.resize(size);
    plan.turns.resize(size);
    plan.paved.assign(size, 0);
    int32_t nodeTurns[4] = {}, linkTurns[4] = {}, lids = 0;
    for (size_t k = 0; k < size; ++k) {
        TownRandom random = townRandom_make(options.seed, KINDS, k);
        plan.nodes[k] = pickNode(random, options);
        plan.links[k] = pickLink(random, options);
        if (plan.nodes[k] == TANK) {
            plan.links[k] = NO_LINK;
        }
        int32_t& turn = plan.nodes[k] == JUNCTION ? linkTurns[plan.links[k]] : nodeTurns[plan.nodes[k]];
        plan.turns[k] = turn++;
        plan.lids[k] = townRandom_isChosen(random, options.lids) ? lids++ % 7 : -1;
        plan.down[k] = static_cast<int32_t>(pickDown(options, static_cast<int64_t>(k), options.subcatchments));
        const TownPlot plot = plan_makePlot(plan, static_cast<int64_t>(k));
        plan.paved[k] += plot.area * plot.imperviousness;
        if (static_cast<size_t>(plan.down[k]) < size) {
            plan.paved[static_cast<size_t>(plan.down[k])] += plan.paved[k];
        }
    }
    return plan;
}

int64_t plan_getPeak(const TownPlan& plan, int64_t node) {
    const int64_t paved = plan.paved[static_cast<size_t>(node)];
    return 5 + paved * 15 / (1000 + paved / 1000);
}
