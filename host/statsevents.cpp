// An event is what lies between two gaps that are long enough: the definition by the time between events, which comes
// from the statistics of rain. Gaps count in whole seconds, so that one of just the asked length ends an event whatever
// rounding the dates of a file have.

#include "statsevents.h"

#include <algorithm>
#include <cmath>

static constexpr double G_PER_KG = 1000.0;

static void beginEvent(StatsEvents& walk, const StatsRow& row) {
    walk.event = StatsEvent{};
    walk.event.start = row.time - walk.rule.step;
    walk.event.isBegunBefore = !walk.hasRows;
    walk.event.loads.resize(walk.rule.pollutants);
    walk.isOpen = true;
}

static void addRow(StatsEvent& event, const StatsRow& row, int64_t step) {
    const double volume = row.flow * static_cast<double>(step);
    event.end = row.time;
    event.wet += step;
    event.volume += volume;
    if (row.flow > event.peak) {
        event.peak = row.flow;
        event.peakTime = row.time;
    }
    for (size_t p = 0; p < event.loads.size(); ++p) {
        StatsLoad& load = event.loads[p];
        const double concentration = row.concentrations[p];
        if (!std::isfinite(concentration)) {
            ++load.missing;
            continue;
        }
        load.largest = load.known == 0 ? concentration : std::max(load.largest, concentration);
        load.mass += volume * concentration / G_PER_KG;  // mg/L are g/m3
        load.volume += volume;
        ++load.known;
    }
}

bool statsevents_push(StatsEvents& walk, const StatsRow& row, StatsEvent& ended) {
    if (!std::isfinite(row.flow)) {
        return false;
    }
    bool isOver = false;
    walk.isWet = statsevents_isFlow(walk.rule, row.flow);
    if (!walk.isWet) {
        walk.dry += walk.rule.step;
    } else {
        // Rows that follow each other have no gap between them, which a gap of 0 h would be as long as.
        isOver = walk.isOpen && walk.dry > 0 && walk.dry >= walk.rule.gap;
        if (isOver) {
            ended = std::move(walk.event);
            walk.isOpen = false;
        }
        if (!walk.isOpen) {
            beginEvent(walk, row);
        }
        addRow(walk.event, row, walk.rule.step);
        walk.dry = 0;
    }
    walk.hasRows = true;
    return isOver;
}

bool statsevents_close(StatsEvents& walk, StatsEvent& ended) {
    if (!walk.isOpen) {
        return false;
    }
    ended = std::move(walk.event);
    ended.isGoingOn = walk.isWet;
    walk.isOpen = false;
    return true;
}

void statsevents_addLoads(std::vector<StatsLoad>& sums, const std::vector<StatsLoad>& loads) {
    sums.resize(std::max(sums.size(), loads.size()));
    for (size_t p = 0; p < loads.size(); ++p) {
        StatsLoad& sum = sums[p];
        if (loads[p].known > 0) {
            sum.largest = sum.known == 0 ? loads[p].largest : std::max(sum.largest, loads[p].largest);
        }
        sum.mass += loads[p].mass;
        sum.volume += loads[p].volume;
        sum.known += loads[p].known;
        sum.missing += loads[p].missing;
    }
}

double statsevents_getMean(const StatsLoad& load) {
    return load.volume > 0.0 ? load.mass * G_PER_KG / load.volume : std::nan("");
}
