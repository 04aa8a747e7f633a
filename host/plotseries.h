#pragma once
// What is done to a series ahead of its drawing. Pure functions over dates and values, of which those that are no
// numbers are gaps.

#include <cstdint>
#include <string>
#include <vector>

#include "resultfile.h"

/// The mean of concentrations over the time that ends with each report, weighted by the flow that carries them: the sum
/// of flow times concentration by the sum of the flow, over the reports later than `length` seconds ahead. No number
/// where that time begins ahead of `start` (days since 30 December 1899), or where no water came in it.
[[nodiscard]] ResultSeries plotseries_weigh(const ResultSeries& concentrations, const std::vector<double>& flows,
                                            int64_t length, double start);

/// The part of a series in a window.
[[nodiscard]] ResultSeries plotseries_cut(const ResultSeries& series, const ResultWindow& window);

/// The duration curve: values, the highest one first, and in place of dates the part of the time (%) in which they are
/// exceeded. Of flows those below 0 count as 0.
[[nodiscard]] ResultSeries plotseries_makeCurve(const ResultSeries& series, bool isFlow);

/// A series of more points than a picture can show, without those that nobody could see: of each of some thousand spans
/// of time the first, the last, the lowest and the highest point and a gap are left.
[[nodiscard]] ResultSeries plotseries_thin(const ResultSeries& series);

/// Lines of text: how far (s) each point lies behind the origin, and its value; a blank line is a gap. A third column
/// has values between two gaps, which no line would show.
[[nodiscard]] std::string plotseries_write(const ResultSeries& series, double origin);

/// The same of a curve.
[[nodiscard]] std::string plotseries_writeCurve(const ResultSeries& curve);

/// Whether there is a value between two gaps.
[[nodiscard]] bool plotseries_hasLonePoint(const ResultSeries& series);
