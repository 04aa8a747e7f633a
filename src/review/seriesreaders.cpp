// Time series against those that read them. All readers of a series move one cursor: what one reads another misses. And
// at the start of a run the cursor is put to the first two entries for the newest record of a node alone; for all
// others the first entry is passed over, so that the second one holds from there on.

#include "review/seriesreaders.h"

#include <algorithm>
#include <string>
#include <vector>

#include "hydrology/gage.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "model/warnings.h"
#include "nodes/inflows.h"
#include "text/datetime.h"
#include "text/units.h"

/// What reads a series.
struct SeriesUse {
    bool isInFront = false;  ///< it is that of the newest record of a node
    int32_t node = -1;       ///< a node whose record further down the list has it
    int32_t gages = 0;       ///< gages that rain somewhere
};

using SeriesUses = std::vector<SeriesUse>;

static void countInflows(const Model& model, SeriesUses& uses) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        bool hasFlow = false;
        for (const ExtInflow* record = model.nodes[k].extInflow; record; record = record->next) {
            const bool isRead = record->kind != INFLOW_FLOW || !hasFlow;  // of several flows the newest alone
            hasFlow = hasFlow || record->kind == INFLOW_FLOW;
            if (record->series < 0 || !isRead) {
                continue;
            }
            SeriesUse& use = uses[static_cast<size_t>(record->series)];
            if (record == model.nodes[k].extInflow) {
                use.isInFront = true;
            } else {
                use.node = k;
            }
        }
    }
}

/// Whether the run asks for values between the first two entries, which differ.
static bool isStartRead(const Model& model, const Series& series) {
    const SeriesEntry &first = series.beginning[0], &second = series.beginning[1];
    const double start = std::max(first.date, model.options.startDateTime);
    const double end = std::min(second.date, model.options.endDateTime);
    return first.value != second.value && (end - start) * SECONDS_PER_DAY >= model.options.routingStep;
}

static void reviewStarts(const Model& model, const SeriesUses& uses) {
    for (int32_t k = 0; k < model.timeSeries.size(); ++k) {
        const SeriesUse& use = uses[static_cast<size_t>(k)];
        const Series& series = model.timeSeries[k];
        if (use.node < 0 || use.isInFront || !isStartRead(model, series)) {
            continue;
        }
        char dates[2][DATE_TIME_TEXT_SIZE];
        datetime_formatDateTime(series.beginning[0].date, dates[0]);
        datetime_formatDateTime(series.beginning[1].date, dates[1]);
        warnings_addAbout(
            model, WARN_SERIES_START, TSERIES, k, series.id,
            {model.nodes[use.node].id, dates[0], dates[1], warnings_formatNumber(series.beginning[1].value),
             warnings_formatNumber(series.beginning[0].value)});
    }
}

/// Gages that a subcatchment names: they are tested, and made one with others on their series.
static std::vector<bool> findLandGages(const Model& model) {
    std::vector<bool> isOfLand(static_cast<size_t>(model.gages.size()));
    for (const Subcatch& subcatch : model.subcatches) {
        if (subcatch.gage >= 0) {
            isOfLand[static_cast<size_t>(subcatch.gage)] = true;
        }
    }
    return isOfLand;
}

static void reviewGages(const Model& model, const SeriesUses& uses) {
    const std::vector<bool> isOfLand = findLandGages(model);
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        const Gage& gage = model.gages[k];
        if (isOfLand[static_cast<size_t>(k)]) {
            continue;
        }
        const SeriesUse& use = uses[static_cast<size_t>(gage.series)];
        const bool isAtInflow = gage.isUsed ? use.isInFront || use.node >= 0 : use.node >= 0 && !use.isInFront;
        const bool isAtGage = gage.isUsed && use.gages > 1;
        const char* other = isAtInflow ? "an inflow" : isAtGage ? "another gage" : nullptr;
        if (other) {
            warnings_addAbout(model, WARN_SERIES_SHARED, GAGE, k, gage.name, {model.timeSeries[gage.series].id, other});
        }
    }
}

void seriesreaders_review(const Model& model) {
    if (model.timeSeries.empty()) {
        return;
    }
    SeriesUses uses(static_cast<size_t>(model.timeSeries.size()));
    if (std::any_of(model.timeSeries.begin(), model.timeSeries.end(),
                    [](const Series& series) { return series.isUsedByInflow; })) {
        countInflows(model, uses);
    }
    for (const Gage& gage : model.gages) {
        uses[static_cast<size_t>(gage.series)].gages += gage.isUsed ? 1 : 0;
    }
    reviewStarts(model, uses);
    reviewGages(model, uses);
}
