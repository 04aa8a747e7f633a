#pragma once
// A year of rain from a seed, by the model of Neyman and Scott with rectangular pulses (Rodriguez-Iturbe, Cox and
// Isham, Some models for rainfall based on stochastic point processes, Proc. R. Soc. Lond. A 410, 1987). Storms come as
// a Poisson process. Each has a random number of cells, which begin at exponential times behind the origin of the
// storm, last for exponential times and rain at exponential rates; rates of cells that overlap add up. The five
// parameters change with the month: long light rain in winter, short heavy showers in summer.

#include <cstdint>
#include <vector>

constexpr int RAIN_INTERVAL = 600;  ///< s
constexpr int RAIN_DAYS = 365;
constexpr int RAIN_INTERVALS_PER_DAY = 86400 / RAIN_INTERVAL;

/// Mean rates of the intervals of a year that begins on the first of January, in hundredths of mm/h. Gages of one seed
/// see the same cells, each at its own rate and a little later.
std::vector<int32_t> rain_makeYear(uint64_t seed, int gage);
