#pragma once
// The dates below a picture: where they stand, and how they are written.

#include <string>
#include <vector>

struct PlotTick {
    double date;        ///< days since 30 December 1899
    std::string label;  ///< what tells it from its neighbours
    std::string day;    ///< a second line: the day of a time, or the year of a month, where it begins; else empty
};

/// Round dates from the first to the last, as many as fit beside each other without touching. The width of the axis is
/// counted in characters.
[[nodiscard]] std::vector<PlotTick> plotticks_choose(double first, double last, double width);
