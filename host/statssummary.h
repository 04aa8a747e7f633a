#pragma once
// What is said of all the record of an object: sums, months and years, percentiles, the flow duration curve and return
// periods. Pure functions over rows and events, as those of statsevents.

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "statsevents.h"

inline constexpr std::array<int, 6> STATS_PERCENTILES = {5, 25, 50, 75, 95, 99};  ///< % of the time not above
inline constexpr size_t STATS_CURVE_POINTS = 200;                                 ///< at most
inline constexpr int STATS_LEAST_YEARS = 5;                                       ///< of a record for return periods
inline constexpr double STATS_SECONDS_PER_YEAR = 365.25 * 86400.0;

/// A month, a year of the calendar, or one from the beginning of the record on.
struct StatsSpan {
    int64_t wet = 0;      ///< s with flow
    int64_t events = 0;   ///< that begin in it
    double volume = 0.0;  ///< m3
    double peak = 0.0;    ///< m3/s
    int64_t peakTime = 0;
};

struct StatsSummary {
    int64_t rows = 0;            ///< that are numbers
    int64_t missing = 0;         ///< rows that are none
    int64_t negative = 0;        ///< rows below 0, which count as 0
    int64_t start = 0, end = 0;  ///< s since 30 December 1899: of the first report period, and of the last one
    int64_t known = 0;           ///< s, of the rows that are numbers
    int64_t wet = 0;             ///< s with flow
    int64_t events = 0;
    double volume = 0.0;  ///< m3
    double below = 0.0;   ///< m3, of flow that isn't above the threshold
    double peak = 0.0;    ///< m3/s
    int64_t peakTime = 0;
    double largestVolume = 0.0;  ///< m3, of the largest event
    int64_t largestStart = 0;
    std::vector<StatsLoad> loads;
    std::map<int64_t, StatsSpan> months;   ///< by 12 years + month, which counts from 0
    std::map<int64_t, StatsSpan> years;    ///< of the calendar
    std::map<int64_t, StatsSpan> periods;  ///< of twelve months each, from the beginning of the record on
    std::vector<float> flows;              ///< m3/s, not below 0; sorted by statssummary_close
};

struct StatsCurvePoint {
    int64_t rank;       ///< 1 is the highest flow
    double exceedance;  ///< part of the time, m / (n + 1)
    double flow;        ///< m3/s
};

/// The highest flow of twelve months.
struct StatsMaximum {
    int64_t rank;
    double flow;          ///< m3/s
    int64_t time;         ///< s since 30 December 1899; of no meaning without flow
    int64_t begin;        ///< of the twelve months
    double returnPeriod;  ///< years, (n + 1) / m
};

/// Takes a row, whether or not it has flow.
void statssummary_addRow(StatsSummary& summary, const StatsRule& rule, const StatsRow& row);
void statssummary_addEvent(StatsSummary& summary, const StatsEvent& event);

/// Behind the last row.
void statssummary_close(StatsSummary& summary);

/// Length of what is known (years of 365.25 d).
[[nodiscard]] double statssummary_getYears(const StatsSummary& summary);

/// A figure by year; NaN of an empty record.
[[nodiscard]] double statssummary_getByYear(const StatsSummary& summary, double figure);

/// The flow that isn't exceeded in so many hundredths of the time, by linear interpolation between the sorted rows at
/// the place (n - 1) p, from 0 on (Hyndman and Fan 1996, type 7). NaN without a row.
[[nodiscard]] double statssummary_getPercentile(const std::vector<float>& sorted, int percent);

/// The flow duration curve, the highest flow first: of more rows than points the first 50, and others at equal
/// distances.
[[nodiscard]] std::vector<StatsCurvePoint> statssummary_makeCurve(const std::vector<float>& sorted);

/// Maxima of whole years, the highest first; none if there are fewer years than return periods can be told of.
[[nodiscard]] std::vector<StatsMaximum> statssummary_listMaxima(const StatsSummary& summary);

/// The month in which a time lies: 12 years + its number, which counts from 0.
[[nodiscard]] int64_t statssummary_getMonth(int64_t time);

/// The year of a month.
[[nodiscard]] int64_t statssummary_getYear(int64_t month);

/// Whole years from the one time to the other.
[[nodiscard]] int64_t statssummary_countYears(int64_t first, int64_t time);
