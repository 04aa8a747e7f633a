// Statistics for programs. Sums have all their digits; flows and concentrations those of the file, which holds them in
// single precision.

#include <cstdio>

#include "json.h"
#include "stats.h"

namespace {

std::string formatFlow(double value) {
    return results_formatNumber(value, "null");
}

std::string formatJsonTime(int64_t time, bool isThere) {
    return isThere ? json_quote(stats_formatTime(time)) : "null";
}

const char* formatFact(bool fact) {
    return fact ? "true" : "false";
}

const std::string& getName(const StatsFound& found, size_t pollutant) {
    return found.table.columns[found.part.part.columns[pollutant + 1]].name;
}

/// Members of a load behind its name; those of a summary are told by the year as well.
void showLoad(std::FILE* out, const StatsLoad& load, const StatsSummary* summary) {
    std::fprintf(out, "\"load\": %s, ", json_formatNumber(load.mass).c_str());
    if (summary) {
        std::fprintf(out, "\"loadPerYear\": %s, ",
                     json_formatNumber(statssummary_getByYear(*summary, load.mass)).c_str());
    }
    std::fprintf(out, "\"flowWeightedMean\": %s, \"maximum\": %s, \"missing\": %lld",
                 formatFlow(statsevents_getMean(load)).c_str(),
                 load.known > 0 ? formatFlow(load.largest).c_str() : "null", static_cast<long long>(load.missing));
}

void showLoadMembers(std::FILE* out, const StatsFound& found, const std::vector<StatsLoad>& loads,
                     const StatsSummary* summary) {
    std::fprintf(out, "\"pollutants\": [");
    for (size_t p = 0; p < loads.size(); ++p) {
        std::fprintf(out, "%s{\"name\": %s, ", p > 0 ? ", " : "", json_quote(getName(found, p)).c_str());
        showLoad(out, loads[p], summary);
        std::fprintf(out, "}");
    }
    std::fprintf(out, "]");
}

void showSums(std::FILE* out, const StatsSummary& s) {
    const auto byYear = [&](double figure) { return json_formatNumber(statssummary_getByYear(s, figure)); };
    const double hours = stats_getHours(s.wet);
    std::fprintf(
        out, "\"from\": %s, \"to\": %s, \"reports\": %lld, \"missing\": %lld, \"negative\": %lld, \"years\": %s,\n",
        formatJsonTime(s.start, s.rows + s.missing > 0).c_str(), formatJsonTime(s.end, s.rows + s.missing > 0).c_str(),
        static_cast<long long>(s.rows), static_cast<long long>(s.missing), static_cast<long long>(s.negative),
        json_formatNumber(statssummary_getYears(s)).c_str());
    std::fprintf(out, "   \"events\": %lld, \"eventsPerYear\": %s, \"hours\": %s, \"hoursPerYear\": %s,\n",
                 static_cast<long long>(s.events), byYear(static_cast<double>(s.events)).c_str(),
                 json_formatNumber(hours).c_str(), byYear(hours).c_str());
    std::fprintf(out, "   \"volume\": %s, \"volumePerYear\": %s, \"volumeBelowThreshold\": %s, \"meanEvent\": %s,\n",
                 json_formatNumber(s.volume).c_str(), byYear(s.volume).c_str(), json_formatNumber(s.below).c_str(),
                 s.events > 0 ? json_formatNumber(s.volume / static_cast<double>(s.events)).c_str() : "null");
    std::fprintf(out, "   \"largestEvent\": %s, \"startOfLargestEvent\": %s, \"peak\": %s, \"timeOfPeak\": %s,\n",
                 s.events > 0 ? json_formatNumber(s.largestVolume).c_str() : "null",
                 formatJsonTime(s.largestStart, s.events > 0).c_str(), s.rows > 0 ? formatFlow(s.peak).c_str() : "null",
                 formatJsonTime(s.peakTime, s.events > 0).c_str());
}

void showPercentiles(std::FILE* out, const StatsSummary& summary) {
    std::fprintf(out, "   \"percentiles\": {");
    for (const int percent : STATS_PERCENTILES) {
        std::fprintf(out, "%s\"%d\": %s", percent == STATS_PERCENTILES[0] ? "" : ", ", percent,
                     formatFlow(statssummary_getPercentile(summary.flows, percent)).c_str());
    }
    std::fprintf(out, "},\n");
}

/// Months or years of the calendar, each on a line.
void showSpans(std::FILE* out, const char* name, const std::map<int64_t, StatsSpan>& spans, bool isMonth) {
    std::fprintf(out, "   \"%s\": [", name);
    const char* divider = "";
    for (const auto& [key, span] : spans) {
        if (isMonth) {
            std::fprintf(out, "%s\n    {\"year\": %lld, \"month\": %lld", divider,
                         static_cast<long long>(statssummary_getYear(key)),
                         static_cast<long long>(key - 12 * statssummary_getYear(key) + 1));
        } else {
            std::fprintf(out, "%s\n    {\"year\": %lld", divider, static_cast<long long>(key));
        }
        std::fprintf(out, ", \"events\": %lld, \"hours\": %s, \"volume\": %s, \"peak\": %s, \"timeOfPeak\": %s}",
                     static_cast<long long>(span.events), json_formatNumber(stats_getHours(span.wet)).c_str(),
                     json_formatNumber(span.volume).c_str(), formatFlow(span.peak).c_str(),
                     formatJsonTime(span.peakTime, span.wet > 0).c_str());
        divider = ",";
    }
    std::fprintf(out, "],\n");
}

void showMaxima(std::FILE* out, const StatsSummary& summary) {
    std::fprintf(out, "   \"returnPeriods\": [");
    const char* divider = "";
    for (const StatsMaximum& maximum : statssummary_listMaxima(summary)) {
        std::fprintf(out,
                     "%s\n    {\"rank\": %lld, \"begin\": %s, \"peak\": %s, \"timeOfPeak\": %s, \"returnPeriod\": %s}",
                     divider, static_cast<long long>(maximum.rank), formatJsonTime(maximum.begin, true).c_str(),
                     formatFlow(maximum.flow).c_str(), formatJsonTime(maximum.time, maximum.flow > 0.0).c_str(),
                     json_formatNumber(maximum.returnPeriod).c_str());
        divider = ",";
    }
    std::fprintf(out, "]");
}

void showEventMembers(std::FILE* out, const StatsFound& found) {
    std::fprintf(out, ",\n   \"eventList\": [");
    const char* divider = "";
    for (const StatsEvent& event : found.events) {
        std::fprintf(out, "%s\n    {\"start\": %s, \"end\": %s, \"beganBefore\": %s, \"goesOn\": %s, \"hours\": %s, ",
                     divider, formatJsonTime(event.start, true).c_str(), formatJsonTime(event.end, true).c_str(),
                     formatFact(event.isBegunBefore), formatFact(event.isGoingOn),
                     json_formatNumber(stats_getHours(event.wet)).c_str());
        std::fprintf(out, "\"volume\": %s, \"peak\": %s, \"timeOfPeak\": %s, ", json_formatNumber(event.volume).c_str(),
                     formatFlow(event.peak).c_str(), formatJsonTime(event.peakTime, true).c_str());
        showLoadMembers(out, found, event.loads, nullptr);
        std::fprintf(out, "}");
        divider = ",";
    }
    std::fprintf(out, "]");
}

void showCurve(std::FILE* out, const StatsSummary& summary) {
    std::fprintf(out, ",\n   \"curve\": [");
    const char* divider = "";
    for (const StatsCurvePoint& point : statssummary_makeCurve(summary.flows)) {
        std::fprintf(out, "%s\n    {\"rank\": %lld, \"exceedance\": %s, \"flow\": %s}", divider,
                     static_cast<long long>(point.rank), json_formatNumber(point.exceedance).c_str(),
                     formatFlow(point.flow).c_str());
        divider = ",";
    }
    std::fprintf(out, "]");
}

}  // namespace

void statsjson_begin(const StatsShow& show) {
    std::FILE* out = show.out;
    std::fprintf(out, "{\"file\": %s, \"%s\": %d, \"gap\": %s, \"threshold\": %s,\n \"objects\": [",
                 json_quote(show.file.name).c_str(), show.isOfSteps ? "routingStep" : "reportStep",
                 static_cast<int>(show.file.reportStep), json_formatNumber(show.request.gap).c_str(),
                 json_formatNumber(show.request.threshold).c_str());
}

void statsjson_show(const StatsShow& show, const StatsFound& found) {
    std::FILE* out = show.out;
    const StatsSummary& summary = found.summary;
    std::fprintf(out, "%s\n  {\"table\": %s, \"object\": %s, \"column\": %s,\n   ", show.count > 0 ? "," : "",
                 json_quote(found.table.name).c_str(), json_quote(found.object).c_str(),
                 json_quote(found.table.columns[found.part.part.columns[0]].name).c_str());
    showSums(out, summary);
    if (!show.isOfSteps) {
        showPercentiles(out, summary);
    }
    std::fprintf(out, "   ");
    showLoadMembers(out, found, summary.loads, &summary);
    std::fprintf(out, ",\n");
    showSpans(out, "byMonth", summary.months, true);
    showSpans(out, "byYear", summary.years, false);
    showMaxima(out, summary);
    if (show.request.hasEvents) {
        showEventMembers(out, found);
    }
    if (show.request.hasCurve) {
        showCurve(out, summary);
    }
    std::fprintf(out, "}");
}

void statsjson_end(const StatsShow& show, const std::string& error) {
    std::FILE* out = show.out;
    std::fprintf(out, "\n ]%s%s}\n",
                 error.empty() ? "" : ",\n \"error\": ", error.empty() ? "" : json_quote(error).c_str());
}
