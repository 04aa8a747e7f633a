// The land, as far as several lines make it: the shares of the land uses in each subcatchment, and how long the drain
// of a LID control takes to empty its storage.

#include "review/land.h"

#include <algorithm>
#include <cmath>

#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/warnings.h"
#include "text/units.h"

// --- land uses -----------------------------------------------------------------------------------------------------

static void reviewShares(const Model& model, int32_t index, const Subcatch& subcatch) {
    static constexpr double FRACTIONS = 1.5, WHOLE = 95.0, TOO_MUCH = 101.0;  ///< %
    double sum = 0.0;
    for (int32_t k = 0; k < model.landuses.size(); ++k) {
        sum += subcatch.landShares[k].fraction;
    }
    const double percent = sum * PERCENT;
    if (percent == 0.0 || (percent >= WHOLE && percent <= TOO_MUCH)) {
        return;
    }
    const bool isRest = percent > FRACTIONS && percent < WHOLE;
    warnings_addAbout(model, isRest ? WARN_COVERAGE_REST : WARN_COVERAGE_SUM, SUBCATCH, index, subcatch.name,
                      {warnings_formatNumber(percent)});
}

// --- drains --------------------------------------------------------------------------------------------------------

/// Hours in which drain and seepage empty a column (mm of head, with its voids) down to a hundredth, by the drain's law
/// coefficient x head^exponent in mm/h.
static double getEmptyingTime(const Lid& lid, double head) {
    static constexpr double LEFT = 0.01;
    const double n = 1.0 - lid.drainExponent;
    const double span = n == 0.0 ? -std::log(LEFT) : (std::pow(head, n) - std::pow(LEFT * head, n)) / n;
    const double hours = lid.storageVoid * span / lid.drainCoefficient;
    const double seepage = lid.storageRate * MM_PER_HOUR;
    return seepage > 0.0 ? std::min(hours, lid.storageVoid * head / seepage) : hours;
}

static void reviewDrain(const Model& model, int32_t index, const Lid& lid) {
    static constexpr double SHORTEST = 0.05, LONGEST = 240.0;  ///< h
    const double head = (lid.storageDepth - lid.drainOffset) * MM_PER_M;
    if (!(lid.drainCoefficient > 0.0) || !(head > 0.0) || lid.type == LID_GR || lid.type == LID_VS) {
        return;
    }
    const double hours = getEmptyingTime(lid, head);
    if (hours < SHORTEST || hours > LONGEST) {
        warnings_addAbout(model, WARN_LID_EMPTYING, LID, index, lid.name,
                          {warnings_formatNumber(hours), warnings_formatNumber(head)});
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

void land_review(const Model& model) {
    if (!model.landuses.empty()) {
        for (int32_t k = 0; k < model.subcatches.size(); ++k) {
            reviewShares(model, k, model.subcatches[k]);
        }
    }
    for (int32_t k = 0; k < model.lids.size(); ++k) {
        reviewDrain(model, k, model.lids[k]);
    }
}
