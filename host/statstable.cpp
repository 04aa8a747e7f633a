// Statistics for people: a line for each object where many are asked for, and all of each where one is named, or events
// or curves are asked for. Figures have six digits.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "characters.h"
#include "stats.h"

namespace {

constexpr const char* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// Six digits, without zeros at the end; a dash for what is no number.
std::string format(double value) {
    if (!std::isfinite(value)) {
        return "-";
    }
    const double size = std::fabs(value);
    char text[64];
    std::to_chars_result end{};
    if (size == 0.0 || size < 1e-4 || size >= 1e12) {
        end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
        return std::string(text, end.ptr);
    }
    const int places = std::clamp(5 - static_cast<int>(std::floor(std::log10(size))), 0, 9);
    end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, places);
    std::string figure(text, end.ptr);
    if (figure.find('.') != std::string::npos) {
        figure.erase(figure.find_last_not_of('0') + 1);
        figure.erase(figure.back() == '.' ? figure.size() - 1 : figure.size());
    }
    return figure;
}

std::string formatShownTime(int64_t time, bool isThere) {
    return isThere ? stats_formatTime(time) : "-";
}

/// The name of the flow, for people: that of a pipe's outflow is spelt wrongly in files.
std::string getFlow(const StatsFound& found) {
    const std::string& name = found.table.columns[found.part.part.columns[0]].name;
    return name == "Outfow" ? "Outflow" : name;
}

std::string getPollutant(const StatsFound& found, size_t p) {
    return characters_makePrintable(found.table.columns[found.part.part.columns[p + 1]].name);
}

bool isOverview(const StatsRequest& request) {
    return request.objects.empty() && !request.hasEvents && !request.hasCurve;
}

void showLine(const StatsFound& found) {
    const StatsSummary& s = found.summary;
    const double hours = stats_getHours(s.wet);
    const auto byYear = [&](double figure) { return format(statssummary_getByYear(s, figure)); };
    std::printf("%-12s %-16s %-10s %8lld %10s %12s %10s %12s %12s %10s  %s\n", found.table.name.c_str(),
                characters_makePrintable(found.object).c_str(), getFlow(found).c_str(),
                static_cast<long long>(s.events), byYear(static_cast<double>(s.events)).c_str(), format(hours).c_str(),
                byYear(hours).c_str(), format(s.volume).c_str(), byYear(s.volume).c_str(),
                s.rows > 0 ? format(s.peak).c_str() : "-", formatShownTime(s.peakTime, s.events > 0).c_str());
}

// --- all of an object ----------------------------------------------------------------------------------------------

void showFigure(const char* name, const std::string& figure, const std::string& behind = "") {
    std::printf("  %-22s %12s%s%s\n", name, figure.c_str(), behind.empty() ? "" : "  ", behind.c_str());
}

void showSums(const StatsShow& show, const StatsFound& found) {
    const StatsSummary& s = found.summary;
    const auto byYear = [&](double figure) { return format(statssummary_getByYear(s, figure)) + " a year"; };
    const double hours = stats_getHours(s.wet), events = static_cast<double>(s.events);
    const bool hasRows = s.rows + s.missing > 0, hasEvents = s.events > 0;
    std::printf("%s %s, %s\n", found.table.name.c_str(), characters_makePrintable(found.object).c_str(),
                getFlow(found).c_str());
    std::printf("  %s to %s: %lld reports of %d s, %s years\n", formatShownTime(s.start, hasRows).c_str(),
                formatShownTime(s.end, hasRows).c_str(), static_cast<long long>(s.rows),
                static_cast<int>(show.file.reportStep), format(statssummary_getYears(s)).c_str());
    showFigure("Events", format(events), byYear(events));
    showFigure("Hours with flow", format(hours), byYear(hours));
    showFigure("Volume (m3)", format(s.volume), byYear(s.volume));
    if (s.below > 0.0) {
        showFigure("  not above threshold", format(s.below), "not counted");
    }
    showFigure("Mean event (m3)", hasEvents ? format(s.volume / events) : "-");
    showFigure("Largest event (m3)", hasEvents ? format(s.largestVolume) : "-",
               hasEvents ? "from " + stats_formatTime(s.largestStart) : "");
    showFigure("Peak (m3/s)", s.rows > 0 ? format(s.peak) : "-", formatShownTime(s.peakTime, hasEvents));
}

void showPercentiles(const StatsSummary& summary) {
    std::printf("\n  Flow (m3/s) that is not exceeded in\n ");
    for (const int percent : STATS_PERCENTILES) {
        std::printf(" %10d %%", percent);
    }
    std::printf("  of the time\n ");
    for (const int percent : STATS_PERCENTILES) {
        std::printf(" %12s", format(statssummary_getPercentile(summary.flows, percent)).c_str());
    }
    std::printf("\n");
}

void showLoads(const StatsFound& found) {
    const StatsSummary& s = found.summary;
    if (s.loads.empty()) {
        return;
    }
    std::printf("\n  %-16s %12s %12s %20s %12s\n", "", "Load", "a year", "Flow-weighted mean", "Maximum");
    std::printf("  %-16s %12s %12s %20s %12s\n", "Pollutant", "(kg)", "(kg)", "(mg/L)", "(mg/L)");
    for (size_t p = 0; p < s.loads.size(); ++p) {
        const StatsLoad& load = s.loads[p];
        std::printf("  %-16s %12s %12s %20s %12s\n", getPollutant(found, p).c_str(), format(load.mass).c_str(),
                    format(statssummary_getByYear(s, load.mass)).c_str(), format(statsevents_getMean(load)).c_str(),
                    load.known > 0 ? format(load.largest).c_str() : "-");
    }
}

/// A line for each year of the calendar; a month without a report is a dash.
void showMonths(const StatsSummary& summary) {
    if (summary.years.empty()) {
        return;
    }
    std::printf("\n  Volume (m3)\n  %-6s", "Year");
    for (const char* month : MONTHS) {
        std::printf(" %9s", month);
    }
    std::printf(" %10s %8s %10s\n", "Sum", "Events", "Hours");
    for (const auto& [year, span] : summary.years) {
        std::printf("  %-6lld", static_cast<long long>(year));
        for (int64_t month = 0; month < 12; ++month) {
            const auto found = summary.months.find(year * 12 + month);
            std::printf(" %9s", found == summary.months.end() ? "-" : format(found->second.volume).c_str());
        }
        std::printf(" %10s %8lld %10s\n", format(span.volume).c_str(), static_cast<long long>(span.events),
                    format(stats_getHours(span.wet)).c_str());
    }
}

void showMaxima(const StatsSummary& summary) {
    const std::vector<StatsMaximum> maxima = statssummary_listMaxima(summary);
    if (maxima.empty()) {
        return;
    }
    std::printf("\n  Highest flow of each twelve months, return period (n + 1) / m (Weibull)\n");
    std::printf("  %6s %14s %12s  %-19s %s\n", "Rank", "Return period", "Peak", "Time of peak", "Twelve months from");
    for (const StatsMaximum& maximum : maxima) {
        std::printf("  %6lld %12s a %12s  %-19s %s\n", static_cast<long long>(maximum.rank),
                    format(maximum.returnPeriod).c_str(), format(maximum.flow).c_str(),
                    formatShownTime(maximum.time, maximum.flow > 0.0).c_str(), stats_formatTime(maximum.begin).c_str());
    }
}

const char* getOpenness(const StatsEvent& event) {
    if (event.isBegunBefore) {
        return event.isGoingOn ? "  began before, goes on" : "  began before";
    }
    return event.isGoingOn ? "  goes on" : "";
}

void showEvents(const StatsFound& found) {
    if (found.events.empty()) {
        std::printf("\n  No event\n");
        return;
    }
    const size_t pollutants = found.summary.loads.size();
    std::printf("\n  %5s  %-19s  %-19s %10s %12s %12s  %-19s", "", "", "", "Hours", "Volume", "Peak", "");
    for (size_t p = 0; p < pollutants; ++p) {
        std::printf(" %34s", getPollutant(found, p).c_str());
    }
    std::printf("\n  %5s  %-19s  %-19s %10s %12s %12s  %-19s", "Event", "Start", "End", "with flow", "(m3)", "(m3/s)",
                "Time of peak");
    for (size_t p = 0; p < pollutants; ++p) {
        std::printf(" %10s %11s %11s", "kg", "mean mg/L", "max. mg/L");
    }
    std::printf("\n");
    size_t number = 0;
    for (const StatsEvent& event : found.events) {
        std::printf("  %5zu  %s  %s %10s %12s %12s  %s", ++number, stats_formatTime(event.start).c_str(),
                    stats_formatTime(event.end).c_str(), format(stats_getHours(event.wet)).c_str(),
                    format(event.volume).c_str(), format(event.peak).c_str(), stats_formatTime(event.peakTime).c_str());
        for (const StatsLoad& load : event.loads) {
            std::printf(" %10s %11s %11s", format(load.mass).c_str(), format(statsevents_getMean(load)).c_str(),
                        load.known > 0 ? format(load.largest).c_str() : "-");
        }
        std::printf("%s\n", getOpenness(event));
    }
}

void showCurve(const StatsSummary& summary) {
    std::printf("\n  %10s %14s %12s\n", "Rank", "Exceeded (%)", "Flow (m3/s)");
    for (const StatsCurvePoint& point : statssummary_makeCurve(summary.flows)) {
        std::printf("  %10lld %14s %12s\n", static_cast<long long>(point.rank),
                    format(100.0 * point.exceedance).c_str(), format(point.flow).c_str());
    }
}

}  // namespace

void statstable_begin(const StatsShow& show) {
    const StatsRequest& request = show.request;
    std::printf("Flow above %s m3/s; events end where %s h are without it\n\n", format(request.threshold).c_str(),
                format(request.gap).c_str());
    if (isOverview(request)) {
        std::printf("%-12s %-16s %-10s %8s %10s %12s %10s %12s %12s %10s\n", "", "", "", "", "Events", "Hours", "Hours",
                    "Volume", "Volume", "Peak");
        std::printf("%-12s %-16s %-10s %8s %10s %12s %10s %12s %12s %10s  %s\n", "Table", "Object", "Flow", "Events",
                    "a year", "with flow", "a year", "(m3)", "a year (m3)", "(m3/s)", "Time of peak");
    }
}

void statstable_show(const StatsShow& show, const StatsFound& found) {
    if (isOverview(show.request)) {
        showLine(found);
        return;
    }
    std::printf("%s", show.count > 0 ? "\n" : "");
    showSums(show, found);
    showPercentiles(found.summary);
    showLoads(found);
    showMonths(found.summary);
    showMaxima(found.summary);
    if (show.request.hasEvents) {
        showEvents(found);
    }
    if (show.request.hasCurve) {
        showCurve(found.summary);
    }
}

void statstable_end(const StatsShow& show) {
    const char* begin = "\n";
    const auto tell = [&](bool isSo, const std::string& text) {
        if (isSo) {
            std::printf("%s%s\n", begin, text.c_str());
            begin = "";
        }
    };
    tell(show.isShort, "The record is shorter than a year: figures a year are only scaled up from it.");
    tell(show.missing > 0, std::to_string(show.missing) + " flows are no numbers: their reports are left out.");
    tell(show.negative > 0, std::to_string(show.negative) + " flows are negative: they count as no flow.");
    tell(show.missingLoads > 0,
         std::to_string(show.missingLoads) + " concentrations are no numbers: loads are without their water.");
    tell(show.hasOthers, "No loads: the concentrations of a row aren't those of this flow.");
}
