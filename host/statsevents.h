#pragma once
// Events of flow, found report by report. Nothing here knows of files: a walk is fed with the rows of one object in
// order of time. Each row stands for the report period that ends with it.

#include <cstddef>
#include <cstdint>
#include <vector>

struct StatsRule {
    int64_t step = 0;        ///< s, length of a report period
    int64_t gap = 0;         ///< s without flow that end an event
    double threshold = 0.0;  ///< m3/s, not below 0; what is above it is flow
    size_t pollutants = 0;   ///< how many concentrations a row has
    bool keepsFlows = true;  ///< for percentiles, which need all of them at once
};

struct StatsRow {
    int64_t time;                  ///< s since 30 December 1899: the end of the report period
    double flow;                   ///< m3/s
    const double* concentrations;  ///< mg/L, as many as the rule says
};

/// What water brought of a pollutant.
struct StatsLoad {
    double mass = 0.0;     ///< kg
    double volume = 0.0;   ///< m3, of the rows whose concentration is a number
    double largest = 0.0;  ///< mg/L, if there is such a row
    int64_t known = 0;     ///< rows with a concentration
    int64_t missing = 0;   ///< rows with flow whose concentration is no number
};

struct StatsEvent {
    int64_t start = 0, end = 0;  ///< s since 30 December 1899
    int64_t wet = 0;             ///< s with flow
    double volume = 0.0;         ///< m3
    double peak = 0.0;           ///< m3/s
    int64_t peakTime = 0;        ///< s, the end of its report period
    bool isBegunBefore = false;  ///< there was flow from the first row on
    bool isGoingOn = false;      ///< and up to the last one
    std::vector<StatsLoad> loads;
};

/// A walk through the rows of an object.
struct StatsEvents {
    StatsRule rule;
    bool hasRows = false;  ///< that are numbers
    bool isOpen = false;   ///< there is an event at hand
    bool isWet = false;    ///< the last row had flow
    int64_t dry = 0;       ///< s without flow that are known of since the last one
    StatsEvent event{};    ///< at hand
};

/// Whether a flow counts as such.
[[nodiscard]] inline bool statsevents_isFlow(const StatsRule& rule, double flow) {
    return flow > rule.threshold;
}

/// Takes the next row. True if an event is over; it is then put into `ended`. A row that is no number is left out: it
/// is neither flow nor gap.
[[nodiscard]] bool statsevents_push(StatsEvents& walk, const StatsRow& row, StatsEvent& ended);

/// Behind the last row: true if there is an event still, which is put into `ended`.
[[nodiscard]] bool statsevents_close(StatsEvents& walk, StatsEvent& ended);

/// Adds what another event brought.
void statsevents_addLoads(std::vector<StatsLoad>& sums, const std::vector<StatsLoad>& loads);

/// The flow-weighted mean (mg/L): load by volume. NaN without a row that has both.
[[nodiscard]] double statsevents_getMean(const StatsLoad& load);
