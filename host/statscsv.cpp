// Statistics as values separated by commas: a row for each object, each event or each point of a curve. Columns of
// pollutants stand at the end, those of all objects, so that every row has the same ones.

#include <cstdio>

#include "characters.h"
#include "json.h"
#include "stats.h"

namespace {

constexpr const char* MONTH_NAMES[] = {"January", "February", "March",     "April",   "May",      "June",
                                       "July",    "August",   "September", "October", "November", "December"};

/// A sum, with all its digits.
std::string formatSum(double value) {
    return std::isfinite(value) ? json_formatNumber(value) : "";
}

std::string formatCellFlow(double value) {
    return results_formatNumber(value, "");
}

std::string formatCellTime(int64_t time, bool isThere) {
    return isThere ? stats_formatTime(time) : "";
}

void showTitle(std::FILE* out, const std::string& name, const char* before, const char* behind) {
    std::fprintf(out, ",%s", characters_quoteCsv(before + name + behind).c_str());
}

void showPlace(std::FILE* out, const StatsFound& found) {
    std::fprintf(out, "%s,%s,%s", found.table.name.c_str(), characters_quoteCsv(found.object).c_str(),
                 found.table.columns[found.part.part.columns[0]].name.c_str());
}

/// Fields of all pollutants; empty ones of those that this flow doesn't carry.
void showLoadCells(std::FILE* out, const StatsFound& found, const std::vector<StatsLoad>& loads,
                   const StatsSummary* summary) {
    for (const size_t p : found.part.pollutants) {
        if (p == RESULT_NONE) {
            std::fprintf(out, summary ? ",,,," : ",,,");
            continue;
        }
        const StatsLoad& load = loads[p];
        std::fprintf(out, ",%s", formatSum(load.mass).c_str());
        if (summary) {
            std::fprintf(out, ",%s", formatSum(statssummary_getByYear(*summary, load.mass)).c_str());
        }
        std::fprintf(out, ",%s,%s", formatCellFlow(statsevents_getMean(load)).c_str(),
                     load.known > 0 ? formatCellFlow(load.largest).c_str() : "");
    }
    std::fprintf(out, "\n");
}

void showLoadTitles(std::FILE* out, const StatsShow& show, bool isByYear) {
    for (const std::string& pollutant : show.pollutants) {
        showTitle(out, pollutant, "Load of ", " (kg)");
        if (isByYear) {
            showTitle(out, pollutant, "Load of ", " a year (kg)");
        }
        showTitle(out, pollutant, "Flow-weighted mean of ", " (mg/L)");
        showTitle(out, pollutant, "Maximum of ", " (mg/L)");
    }
    std::fprintf(out, "\n");
}

void showEventRows(std::FILE* out, const StatsFound& found) {
    size_t number = 0;
    for (const StatsEvent& event : found.events) {
        showPlace(out, found);
        std::fprintf(out, ",%zu,%s,%s,%s,%s,%s,%s,%s,%s", ++number, stats_formatTime(event.start).c_str(),
                     stats_formatTime(event.end).c_str(), event.isBegunBefore ? "yes" : "no",
                     event.isGoingOn ? "yes" : "no", formatSum(stats_getHours(event.wet)).c_str(),
                     formatSum(event.volume).c_str(), formatCellFlow(event.peak).c_str(),
                     stats_formatTime(event.peakTime).c_str());
        showLoadCells(out, found, event.loads, nullptr);
    }
}

void showCurve(std::FILE* out, const StatsFound& found) {
    for (const StatsCurvePoint& point : statssummary_makeCurve(found.summary.flows)) {
        showPlace(out, found);
        std::fprintf(out, ",%lld,%s,%s\n", static_cast<long long>(point.rank), formatSum(point.exceedance).c_str(),
                     formatCellFlow(point.flow).c_str());
    }
}

/// Volumes of the twelve months, those of all years together; empty for one of which there is no report.
void showMonths(std::FILE* out, const StatsSummary& summary) {
    for (int64_t month = 0; month < 12; ++month) {
        bool isThere = false;
        double volume = 0.0;
        for (const auto& [key, span] : summary.months) {
            const bool isIt = key - 12 * statssummary_getYear(key) == month;
            isThere = isThere || isIt;
            volume += isIt ? span.volume : 0.0;
        }
        std::fprintf(out, ",%s", isThere ? formatSum(volume).c_str() : "");
    }
}

void showSummary(std::FILE* out, const StatsFound& found) {
    const StatsSummary& s = found.summary;
    const auto byYear = [&](double figure) { return formatSum(statssummary_getByYear(s, figure)); };
    const bool hasRows = s.rows + s.missing > 0, hasEvents = s.events > 0;
    const double hours = stats_getHours(s.wet);
    showPlace(out, found);
    std::fprintf(out, ",%s,%s,%lld,%lld,%lld,%s", formatCellTime(s.start, hasRows).c_str(),
                 formatCellTime(s.end, hasRows).c_str(), static_cast<long long>(s.rows),
                 static_cast<long long>(s.missing), static_cast<long long>(s.negative),
                 formatSum(statssummary_getYears(s)).c_str());
    std::fprintf(out, ",%lld,%s,%s,%s,%s,%s,%s", static_cast<long long>(s.events),
                 byYear(static_cast<double>(s.events)).c_str(), formatSum(hours).c_str(), byYear(hours).c_str(),
                 formatSum(s.volume).c_str(), byYear(s.volume).c_str(), formatSum(s.below).c_str());
    std::fprintf(out, ",%s,%s,%s,%s,%s", hasEvents ? formatSum(s.volume / static_cast<double>(s.events)).c_str() : "",
                 hasEvents ? formatSum(s.largestVolume).c_str() : "", formatCellTime(s.largestStart, hasEvents).c_str(),
                 s.rows > 0 ? formatCellFlow(s.peak).c_str() : "", formatCellTime(s.peakTime, hasEvents).c_str());
    for (const int percent : STATS_PERCENTILES) {
        std::fprintf(out, ",%s", formatCellFlow(statssummary_getPercentile(s.flows, percent)).c_str());
    }
    showMonths(out, s);
    showLoadCells(out, found, s.loads, &s);
}

}  // namespace

void statscsv_begin(const StatsShow& show) {
    std::FILE* out = show.out;
    std::fprintf(out, "Table,Object,Column,");
    if (show.request.hasCurve) {
        std::fprintf(out, "Rank,Exceedance,Flow (m3/s)\n");
        return;
    }
    if (show.request.hasEvents) {
        std::fprintf(out, "Event,Start,End,Began before,Goes on,Hours with flow,Volume (m3),Peak (m3/s),Time of peak");
        showLoadTitles(out, show, false);
        return;
    }
    std::fprintf(out,
                 "From,To,Reports,Missing,Negative,Years,Events,Events a year,Hours with flow,Hours a year,Volume (m3),"
                 "Volume a year (m3),Volume below the threshold (m3),Mean event (m3),Largest event (m3),"
                 "Start of the largest event,Peak (m3/s),Time of peak");
    for (const int percent : STATS_PERCENTILES) {
        std::fprintf(out, ",%d %% (m3/s)", percent);
    }
    for (const char* month : MONTH_NAMES) {
        std::fprintf(out, ",%s (m3)", month);
    }
    showLoadTitles(out, show, true);
}

void statscsv_show(const StatsShow& show, const StatsFound& found) {
    std::FILE* out = show.out;
    if (show.request.hasCurve) {
        showCurve(out, found);
    } else if (show.request.hasEvents) {
        showEventRows(out, found);
    } else {
        showSummary(out, found);
    }
}
