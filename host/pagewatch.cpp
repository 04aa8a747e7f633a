// Totals are asked for by class, in one call each.

#include "pagewatch.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "modelview.h"
#include "units.h"

namespace {

constexpr double MOST_LOOKS = 5e8;  ///< at objects: some ten seconds

PagePeak beginPeak(const tv_model* model, int32_t objectClass, const char* variable) {
    PagePeak peak{objectClass};
    tv_findVariable(objectClass, variable, &peak.variable);
    peak.values.resize(static_cast<size_t>(modelview_count(model, objectClass)));
    tv_getValues(model, peak.variable, TV_NO_POLLUTANT, peak.values.data(), peak.values.size());
    peak.now = peak.values;
    peak.dates.resize(peak.values.size());
    const bool isAny =
        std::any_of(peak.values.begin(), peak.values.end(), [](double value) { return !std::isnan(value); });
    if (!isAny) {
        peak.variable = -1;
    }
    return peak;
}

void updatePeak(PagePeak& peak, const tv_model* model, double now) {
    if (peak.variable < 0 || tv_getValues(model, peak.variable, TV_NO_POLLUTANT, peak.now.data(), peak.now.size())) {
        return;
    }
    for (size_t k = 0; k < peak.now.size(); ++k) {
        if (peak.now[k] > peak.values[k]) {
            peak.values[k] = peak.now[k];
            peak.dates[k] = now;
        }
    }
}

double getSetting(const PageWatch& watch, const tv_model* model, int32_t link) {
    double setting = 0.0;
    return tv_getValue(model, watch.setting, link, TV_NO_POLLUTANT, &setting) == TV_OK ? setting : std::nan("");
}

void beginMoves(PageWatch& watch, const tv_model* model) {
    tv_findVariable(TV_LINK, "setting", &watch.setting);
    const bool hasRules = modelview_count(model, TV_RULE) > 0;
    for (const int32_t kind : {TV_PUMP, TV_WEIR, TV_ORIFICE, TV_PIPE}) {
        if (kind == TV_PIPE && !(hasRules && watch.isOfSteps)) {
            continue;
        }
        for (const int32_t link : modelview_listKind(model, TV_LINK, kind)) {
            const double setting = getSetting(watch, model, link);
            if (!std::isnan(setting)) {
                watch.moves.push_back({link, setting, setting, 0, 0.0, 0.0, 0.0, setting, setting});
            }
        }
    }
    std::sort(watch.moves.begin(), watch.moves.end(),
              [](const PageMoves& a, const PageMoves& b) { return a.link < b.link; });
}

void beginFirings(PageWatch& watch, const tv_model* model) {
    tv_findVariable(TV_RULE, "fired_count", &watch.fired);
    watch.firings.resize(static_cast<size_t>(modelview_count(model, TV_RULE)));
    watch.firedNow.resize(watch.firings.size());
}

/// Rules are asked when a step begins.
void updateFirings(PageWatch& watch, const tv_model* model, double beginOfStep) {
    if (watch.firings.empty() ||
        tv_getValues(model, watch.fired, TV_NO_POLLUTANT, watch.firedNow.data(), watch.firedNow.size())) {
        return;
    }
    for (size_t k = 0; k < watch.firings.size(); ++k) {
        PageFirings& rule = watch.firings[k];
        if (watch.firedNow[k] > rule.count) {
            rule.first = rule.count > 0.0 ? rule.first : beginOfStep;
            rule.last = beginOfStep;
            rule.count = watch.firedNow[k];
        }
    }
}

}  // namespace

PageWatch pagewatch_begin(const tv_model* model) {
    PageWatch watch;
    tv_clock clock{};
    tv_getClock(model, &clock);
    const double objects = 2.0 * modelview_count(model, TV_NODE) + modelview_count(model, TV_LINK) +
                           modelview_count(model, TV_SUBCATCHMENT);
    watch.isOfSteps = objects * (clock.end - clock.start) * SECONDS_PER_DAY / clock.step <= MOST_LOOKS;
    watch.peaks[PEAK_NODE_INFLOW] = beginPeak(model, TV_NODE, "peak_inflow");
    watch.peaks[PEAK_NODE_DEPTH] = beginPeak(model, TV_NODE, "peak_depth");
    watch.peaks[PEAK_LINK_FLOW] = beginPeak(model, TV_LINK, "peak_flow");
    watch.peaks[PEAK_RUNOFF] = beginPeak(model, TV_SUBCATCHMENT, "peak_runoff");
    beginMoves(watch, model);
    beginFirings(watch, model);
    watch.start = watch.now = clock.now;
    return watch;
}

void pagewatch_update(PageWatch& watch, const tv_model* model, const tv_clock& clock) {
    if (watch.isOfSteps || clock.period != watch.period) {
        for (PagePeak& peak : watch.peaks) {
            updatePeak(peak, model, clock.now);
        }
    }
    watch.period = clock.period;
    updateFirings(watch, model, watch.now);
    const double length = clock.now - watch.now;
    watch.now = clock.now;
    for (PageMoves& moves : watch.moves) {
        const double setting = getSetting(watch, model, moves.link);
        moves.open += setting * length;
        if (setting != moves.setting) {
            moves.first = moves.count == 0 ? clock.now : moves.first;
            moves.last = clock.now;
            ++moves.count;
            moves.setting = setting;
            moves.greatest = std::max(moves.greatest, setting);
            moves.least = std::min(moves.least, setting);
        }
    }
}

void pagewatch_end(PageWatch& watch, const tv_model* model) {
    for (PagePeak& peak : watch.peaks) {
        updatePeak(peak, model, watch.now);
    }
}
