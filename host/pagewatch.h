#pragma once
// What a page knows of a run beside its totals: when peaks were reached, and how often settings moved and rules fired.
// It looks at each step, and for peaks of large and long runs at each report, so that it costs a part of the run and no
// more.

#include <array>
#include <cstdint>
#include <vector>

#include "tarnvelde_model.h"

/// A total that rises to its peak.
struct PagePeak {
    int32_t objectClass = 0;
    int32_t variable = -1;
    std::vector<double> values{};  ///< per object of the class; NaN of those that don't have it
    std::vector<double> now{};     ///< room for those of a step
    std::vector<double> dates{};   ///< end of the step that made it; 0 for none
};

/// A pump, weir, orifice or, in a project with rules whose peaks are those of steps, a pipe.
struct PageMoves {
    int32_t link = 0;
    double setting = 0.0;
    double start = 0.0;  ///< setting at the start
    int64_t count = 0;   ///< steps that ended with another setting than the one before
    double first = 0.0;  ///< dates, of no meaning without a move
    double last = 0.0;
    double open = 0.0;      ///< sum of the setting over time, d
    double greatest = 0.0;  ///< setting
    double least = 0.0;
};

/// A rule that becomes fulfilled: the number of times, and the beginnings of the first and the last such step.
struct PageFirings {
    double count = 0.0;
    double first = 0.0;  ///< dates, 0 without a firing
    double last = 0.0;
};

enum PagePeakName { PEAK_NODE_INFLOW, PEAK_NODE_DEPTH, PEAK_LINK_FLOW, PEAK_RUNOFF, PEAK_COUNT };

struct PageWatch {
    bool isOfSteps = true;  ///< dates of peaks are those of steps, else of reports
    std::array<PagePeak, PEAK_COUNT> peaks{};
    int32_t setting = -1;  ///< variable
    std::vector<PageMoves> moves{};
    int32_t fired = -1;                  ///< variable
    std::vector<PageFirings> firings{};  ///< per rule
    std::vector<double> firedNow{};      ///< room for the counts of a step
    double start = 0.0, now = 0.0;       ///< dates
    int64_t period = 0;                  ///< report periods that have been looked at
};

/// Of a started run.
[[nodiscard]] PageWatch pagewatch_begin(const tv_model* model);

/// Looks at what the last step has made.
void pagewatch_update(PageWatch& watch, const tv_model* model, const tv_clock& clock);

/// Looks at what there is after the last step.
void pagewatch_end(PageWatch& watch, const tv_model* model);
