// Time series against the run and against what reads them. The validation has gone through their entries, and left a
// summary of each, so that none is read once more. A series is 0 before its first and after its last entry; of a gage
// each entry stands for one interval.

#include "review/series.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "hydrology/gage.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "model/warnings.h"
#include "nodes/inflows.h"
#include "text/datetime.h"
#include "text/units.h"

static std::string formatDate(DateTime date) {
    char text[DATE_TIME_TEXT_SIZE];
    datetime_formatDateTime(date, text);
    return text;
}

static void tellSeries(const Model& model, int32_t warning, int32_t series, WarningFills fills) {
    warnings_addAbout(model, warning, TSERIES, series, model.timeSeries[series].id, fills);
}

/// Whether no entry lies within the run, with the time (days) that an entry lasts.
static bool isOutside(const Model& model, const SeriesSummary& summary, double length) {
    return summary.last.date + length < model.options.startDateTime || summary.first.date > model.options.endDateTime;
}

static void tellOutside(const Model& model, int32_t series) {
    const SeriesSummary& summary = model.timeSeries[series].summary;
    tellSeries(model, WARN_SERIES_OUTSIDE, series, {formatDate(summary.first.date), formatDate(summary.last.date)});
}

// --- rain ----------------------------------------------------------------------------------------------------------

/// The rain of one interval against the records of the world, which grow with the root of the time: 38 mm in a minute
/// (Guadeloupe 1970), 305 mm within an hour (Holt 1947), 1825 mm in a day (Foc-Foc 1966), all below 48.1 mm times the
/// root of the minutes.
static void reviewRain(const Model& model, const Gage& gage) {
    static constexpr double RECORD = 48.1, UNUSUAL = 0.25;
    const SeriesSummary& summary = model.timeSeries[gage.series].summary;
    const bool isRate = gage.format == RAIN_INTENSITY;
    if (summary.smallest < 0.0) {
        tellSeries(model, WARN_RAIN_NEGATIVE, gage.series,
                   {warnings_formatNumber(summary.smallest) + (isRate ? " mm/h" : " mm")});
    }
    const double depth = isRate ? summary.largest * gage.interval / SECONDS_PER_HOUR : summary.largest;
    const double record = RECORD * std::sqrt(gage.interval / SECONDS_PER_MINUTE);
    if (depth > record) {
        tellSeries(model, WARN_RAIN_HIGH, gage.series,
                   {warnings_formatNumber(depth), warnings_formatNumber(gage.interval), warnings_formatNumber(record)});
    } else if (depth > UNUSUAL * record) {
        tellSeries(model, WARN_RAIN_UNUSUAL, gage.series,
                   {warnings_formatNumber(depth), warnings_formatNumber(gage.interval)});
    }
}

static void reviewInterval(const Model& model, int32_t index, const Gage& gage) {
    static constexpr double NEAR = 1.0;  ///< s
    const double gap = model.timeSeries[gage.series].summary.wetGap * SECONDS_PER_DAY;
    if (std::isfinite(gap) && std::fabs(gap - gage.interval) > NEAR) {
        warnings_addAbout(model, WARN_GAGE_INTERVAL, GAGE, index, gage.name,
                          {warnings_formatNumber(std::round(gap)), warnings_formatNumber(gage.interval)});
    }
}

static void reviewGage(const Model& model, int32_t index, const Gage& gage) {
    const SeriesSummary& summary = model.timeSeries[gage.series].summary;
    const double length = gage.interval / SECONDS_PER_DAY;
    if (isOutside(model, summary, length)) {
        tellOutside(model, gage.series);
    } else if (summary.lastWet == NO_DATE || summary.lastWet + length <= model.options.startDateTime) {
        warnings_addAbout(model, WARN_GAGE_DRY, GAGE, index, gage.name);
    }
    reviewInterval(model, index, gage);
    reviewRain(model, gage);
}

// --- inflows -------------------------------------------------------------------------------------------------------

/// What of the run a series leaves out with a jump. What begins and ends with 0 leaves nothing out.
static void reviewEnds(const Model& model, int32_t series) {
    const SeriesSummary& summary = model.timeSeries[series].summary;
    const DateTime start = model.options.startDateTime, end = model.options.endDateTime;
    if (isOutside(model, summary, 0.0)) {
        tellOutside(model, series);
        return;
    }
    if (summary.first.date > start && summary.first.value != 0.0) {
        tellSeries(model, WARN_SERIES_SHORT, series,
                   {"begins at " + formatDate(summary.first.date) + ", after the start of the run, with " +
                    warnings_formatNumber(summary.first.value)});
    }
    if (summary.last.date < end && summary.last.value != 0.0) {
        tellSeries(model, WARN_SERIES_SHORT, series,
                   {"ends at " + formatDate(summary.last.date) + ", before the end of the run, with " +
                    warnings_formatNumber(summary.last.value)});
    } else if (summary.last.date == end && summary.last.value != 0.0) {
        tellSeries(model, WARN_SERIES_LAST, series, {warnings_formatNumber(summary.last.value)});
    }
}

static void reviewFlow(const Model& model, int32_t index, const ExtInflow& record) {
    static constexpr double LARGEST = 100.0;  ///< m3/s
    const SeriesSummary& summary = model.timeSeries[record.series].summary;
    const double a = record.baseline + record.scale * summary.largest;
    const double b = record.baseline + record.scale * summary.smallest;
    const double most = std::fabs(a) > std::fabs(b) ? a : b;
    if (std::fabs(most) > LARGEST) {
        warnings_addAbout(model, WARN_SERIES_FLOW, NODE, index, model.nodes[index].id, {warnings_formatNumber(most)});
    }
}

/// Whether water comes with the concentrations of a node also while no series brings any.
static bool hasSteadyFlow(const Node& node) {
    const ExtInflow* record = node.extInflow;
    while (record && record->kind != INFLOW_FLOW) {
        record = record->next;
    }
    return record && record->baseline != 0.0;
}

static void reviewInflowSeries(const Model& model) {
    Table<uint8_t> isReviewed = table_make(model.timeSeries.size(), uint8_t{0});
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        for (const ExtInflow* record = model.nodes[k].extInflow; record; record = record->next) {
            if (record->series < 0 || record->scale == 0.0) {
                continue;
            }
            if (!isReviewed[record->series] && (record->kind != INFLOW_CONCEN || hasSteadyFlow(model.nodes[k]))) {
                isReviewed[record->series] = 1;
                reviewEnds(model, record->series);
            }
            if (record->kind == INFLOW_FLOW) {
                reviewFlow(model, k, *record);
            }
        }
    }
}

// --- patterns ------------------------------------------------------------------------------------------------------

/// Those of monthly type serve reactions, which may be scaled at will.
static void reviewPattern(const Model& model, int32_t index, const Pattern& pattern) {
    static constexpr double SMALLEST = 0.5, LARGEST = 2.0;
    if (pattern.type != PATTERN_HOURLY || pattern.count < PATTERN_SIZE) {
        return;
    }
    double sum = 0.0;
    for (const double factor : pattern.factors) {
        sum += factor;
    }
    if (const double mean = sum / PATTERN_SIZE; mean < SMALLEST || mean > LARGEST) {
        warnings_addAbout(model, WARN_PATTERN_MEAN, PATTERN, index, pattern.id, {warnings_formatNumber(mean)});
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

void series_review(const Model& model) {
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        // Of gages that share a series the first one rains for all.
        if (model.gages[k].isUsed && model.gages[k].coGage < 0) {
            reviewGage(model, k, model.gages[k]);
        }
    }
    if (std::any_of(model.timeSeries.begin(), model.timeSeries.end(),
                    [](const Series& series) { return series.isUsedByInflow; })) {
        reviewInflowSeries(model);
    }
    for (int32_t k = 0; k < model.patterns.size(); ++k) {
        reviewPattern(model, k, model.patterns[k]);
    }
}
