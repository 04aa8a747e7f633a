// A report period counts to the month and the year in which it begins, so that the last one of a December does not go
// to the year behind it.

#include "statssummary.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <tuple>

static constexpr int64_t DAY_LENGTH = 86400;
static constexpr int64_t MONTHS_PER_YEAR = 12;

// --- calendar ------------------------------------------------------------------------------------------------------

static constexpr std::chrono::sys_days FIRST_DAY{std::chrono::year{1899} / std::chrono::December / 30};

static int64_t getDay(int64_t time) {
    return time >= 0 ? time / DAY_LENGTH : -((DAY_LENGTH - 1 - time) / DAY_LENGTH);
}

static std::chrono::year_month_day getCalendarDay(int64_t time) {
    return std::chrono::year_month_day{FIRST_DAY + std::chrono::days{getDay(time)}};
}

int64_t statssummary_getMonth(int64_t time) {
    const std::chrono::year_month_day date = getCalendarDay(time);
    return static_cast<int>(date.year()) * MONTHS_PER_YEAR + static_cast<unsigned>(date.month()) - 1;
}

int64_t statssummary_getYear(int64_t month) {
    return month >= 0 ? month / MONTHS_PER_YEAR : -((MONTHS_PER_YEAR - 1 - month) / MONTHS_PER_YEAR);
}

int64_t statssummary_countYears(int64_t first, int64_t time) {
    const std::chrono::year_month_day begin = getCalendarDay(first), date = getCalendarDay(time);
    const auto ofYear = [](const std::chrono::year_month_day& day, int64_t seconds) {
        return std::tuple(day.month(), day.day(), seconds - getDay(seconds) * DAY_LENGTH);
    };
    const int64_t years = static_cast<int>(date.year()) - static_cast<int>(begin.year());
    return ofYear(date, time) < ofYear(begin, first) ? years - 1 : years;
}

/// The time so many years behind another one. A year that begins on a leap day begins on 1 March where there is none.
static int64_t addYears(int64_t first, int64_t years) {
    using namespace std::chrono;
    const year_month_day begin = getCalendarDay(first);
    year_month_day date{year{static_cast<int>(begin.year()) + static_cast<int>(years)}, begin.month(), begin.day()};
    if (!date.ok()) {
        date = date.year() / March / 1;
    }
    const int64_t day = (sys_days{date} - FIRST_DAY).count();
    return day * DAY_LENGTH + first - getDay(first) * DAY_LENGTH;
}

// --- sums ----------------------------------------------------------------------------------------------------------

static void addPeak(double flow, int64_t time, double& peak, int64_t& peakTime) {
    if (flow > peak) {
        peak = flow;
        peakTime = time;
    }
}

static void addSpan(StatsSpan& span, double flow, int64_t time, int64_t step) {
    span.wet += step;
    span.volume += flow * static_cast<double>(step);
    addPeak(flow, time, span.peak, span.peakTime);
}

void statssummary_addRow(StatsSummary& summary, const StatsRule& rule, const StatsRow& row) {
    const int64_t begin = row.time - rule.step;
    if (summary.rows + summary.missing == 0) {
        summary.start = begin;
    }
    summary.end = row.time;
    if (!std::isfinite(row.flow)) {
        ++summary.missing;
        return;
    }
    ++summary.rows;
    summary.known += rule.step;
    summary.negative += row.flow < 0.0 ? 1 : 0;
    const double flow = std::max(row.flow, 0.0);
    if (rule.keepsFlows) {
        summary.flows.push_back(static_cast<float>(flow));
    }
    const int64_t month = statssummary_getMonth(begin);
    StatsSpan& ofMonth = summary.months[month];  // one without flow is there as well
    StatsSpan& ofYear = summary.years[statssummary_getYear(month)];
    StatsSpan& ofPeriod = summary.periods[statssummary_countYears(summary.start, begin)];
    if (!statsevents_isFlow(rule, flow)) {
        summary.below += flow * static_cast<double>(rule.step);
        return;
    }
    summary.wet += rule.step;
    summary.volume += flow * static_cast<double>(rule.step);
    addPeak(flow, row.time, summary.peak, summary.peakTime);
    for (StatsSpan* span : {&ofMonth, &ofYear, &ofPeriod}) {
        addSpan(*span, flow, row.time, rule.step);
    }
}

void statssummary_addEvent(StatsSummary& summary, const StatsEvent& event) {
    ++summary.events;
    if (event.volume > summary.largestVolume) {
        summary.largestVolume = event.volume;
        summary.largestStart = event.start;
    }
    const int64_t month = statssummary_getMonth(event.start);
    ++summary.months[month].events;
    ++summary.years[statssummary_getYear(month)].events;
    statsevents_addLoads(summary.loads, event.loads);
}

void statssummary_close(StatsSummary& summary) {
    std::sort(summary.flows.begin(), summary.flows.end());
}

double statssummary_getYears(const StatsSummary& summary) {
    return static_cast<double>(summary.known) / STATS_SECONDS_PER_YEAR;
}

double statssummary_getByYear(const StatsSummary& summary, double figure) {
    return summary.known > 0 ? figure / statssummary_getYears(summary) : std::nan("");
}

// --- percentiles, curves, return periods -----------------------------------------------------------------------------

double statssummary_getPercentile(const std::vector<float>& sorted, int percent) {
    if (sorted.empty()) {
        return std::nan("");
    }
    const double place = static_cast<double>(sorted.size() - 1) * percent / 100.0;
    const auto below = static_cast<size_t>(place);
    const double lower = sorted[below];
    const double upper = sorted[std::min(below + 1, sorted.size() - 1)];
    return lower + (place - static_cast<double>(below)) * (upper - lower);
}

std::vector<StatsCurvePoint> statssummary_makeCurve(const std::vector<float>& sorted) {
    constexpr size_t ALL = 50;  // of the highest flows, which are those that are looked for
    std::vector<StatsCurvePoint> curve;
    const size_t count = sorted.size(), points = std::min(count, STATS_CURVE_POINTS);
    for (size_t k = 0; k < points; ++k) {
        const bool isEach = count == points || k < ALL;
        const size_t rank = isEach ? k + 1 : ALL + ((k + 1 - ALL) * (count - ALL)) / (points - ALL);
        curve.push_back({static_cast<int64_t>(rank), static_cast<double>(rank) / static_cast<double>(count + 1),
                         static_cast<double>(sorted[count - rank])});
    }
    return curve;
}

std::vector<StatsMaximum> statssummary_listMaxima(const StatsSummary& summary) {
    std::vector<StatsMaximum> maxima;
    const int64_t whole = summary.periods.empty() ? 0 : statssummary_countYears(summary.start, summary.end);
    for (const auto& [year, span] : summary.periods) {
        if (year >= 0 && year < whole) {
            maxima.push_back({0, span.peak, span.peakTime, addYears(summary.start, year), 0.0});
        }
    }
    if (maxima.size() < static_cast<size_t>(STATS_LEAST_YEARS)) {
        return {};
    }
    std::stable_sort(maxima.begin(), maxima.end(),
                     [](const StatsMaximum& a, const StatsMaximum& b) { return a.flow > b.flow; });
    const auto count = static_cast<double>(maxima.size());
    for (size_t k = 0; k < maxima.size(); ++k) {
        maxima[k].rank = static_cast<int64_t>(k + 1);
        maxima[k].returnPeriod = (count + 1.0) / static_cast<double>(k + 1);
    }
    return maxima;
}
