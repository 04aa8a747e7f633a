// The verdict on a run. The errors are those of the report; the places that make them are found by their own balances,
// which are parts of the same books.

#include "review/verdict.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "hydrology/subcatch.h"
#include "model/model.h"
#include "results/massbal.h"
#include "routing/placebalances.h"
#include "text/units.h"

static constexpr double AMBER_ERROR = 1.0, RED_ERROR = 5.0;  // %
static constexpr size_t CAUSES_KEPT = 10;
static constexpr double SMALLEST_SHARE = 0.01;     // of what all places miss
static constexpr double ROUNDING = 1.0e-9;         // of what came in: below this a place misses nothing
static constexpr double SMALLEST_AMOUNT = 1.0e-6;  // m3 or kg: less came from nowhere by rounding

static int32_t getGrade(double in, double error) {
    if (in == 0.0) {
        return GRADE_NOTHING;
    }
    const double size = std::fabs(error);
    return size < AMBER_ERROR ? GRADE_GREEN : size <= RED_ERROR ? GRADE_AMBER : GRADE_RED;
}

/// The error of 0 / 0 is none.
static Verdict makeVerdict(int32_t part, int32_t pollutant, double in, double error) {
    const double told = in == 0.0 ? 0.0 : error;
    return {part, pollutant, in, in * told / PERCENT, told, getGrade(in, told), {}};
}

// --- causes --------------------------------------------------------------------------------------------------------

static double getSize(const VerdictCause& cause) {
    return std::fabs(balance_getMissing(cause.balance));
}

/// The report has no error where nothing came in. If something went all the same it came from nowhere.
static void judgeNothing(Verdict& verdict, const std::vector<VerdictCause>& all) {
    double sum = 0.0;
    for (const VerdictCause& cause : all) {
        sum += balance_getMissing(cause.balance);
    }
    if (verdict.grade == GRADE_NOTHING && std::fabs(sum) > SMALLEST_AMOUNT) {
        verdict.missing = sum;
        verdict.grade = GRADE_RED;
    }
}

/// A place that misses something more than rounding. No number is none to compare.
static void addCause(std::vector<VerdictCause>& causes, int32_t type, int32_t index, const Balance& balance) {
    const double size = std::fabs(balance_getMissing(balance));
    if (size > ROUNDING * (std::fabs(balance.initial) + std::fabs(balance.in)) && std::isfinite(size)) {
        causes.push_back({type, index, balance, 0.0});
    }
}

/// Keeps the largest causes, most first, of equal ones the first in the file.
static void keepLargest(Verdict& verdict, std::vector<VerdictCause>&& all) {
    judgeNothing(verdict, all);
    double sum = 0.0;
    for (const VerdictCause& cause : all) {
        sum += getSize(cause);
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const VerdictCause& a, const VerdictCause& b) { return getSize(a) > getSize(b); });
    for (VerdictCause& cause : all) {
        cause.share = getSize(cause) / sum;
        if (cause.share < SMALLEST_SHARE || verdict.causes.size() == CAUSES_KEPT) {
            break;
        }
        verdict.causes.push_back(cause);
    }
}

static void findLandCauses(const Model& model, Verdict& verdict) {
    std::vector<VerdictCause> causes;
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        addCause(causes, SUBCATCH, k, placebalances_getSubcatch(model, k));
    }
    keepLargest(verdict, std::move(causes));
}

static void findNetworkCauses(const Model& model, Verdict& verdict) {
    std::vector<VerdictCause> causes;
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        addCause(causes, NODE, k, placebalances_getNode(model, k));
    }
    for (int32_t k = 0; k < model.links.size(); ++k) {
        addCause(causes, LINK, k, placebalances_getLink(model, k));
    }
    keepLargest(verdict, std::move(causes));
}

static void findWashoffCauses(const Model& model, Verdict& verdict) {
    std::vector<VerdictCause> causes;
    Balance balance{};
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        if (placebalances_getSubcatchLoad(model, k, verdict.pollutant, balance)) {
            addCause(causes, SUBCATCH, k, balance);
        }
    }
    keepLargest(verdict, std::move(causes));
}

/// Of loads that aren't kept there are none.
static void findLoadCauses(const Model& model, Verdict& verdict) {
    std::vector<VerdictCause> causes;
    Balance balance{};
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (placebalances_getNodeLoad(model, k, verdict.pollutant, balance)) {
            addCause(causes, NODE, k, balance);
        }
    }
    for (int32_t k = 0; k < model.links.size(); ++k) {
        if (placebalances_getLinkLoad(model, k, verdict.pollutant, balance)) {
            addCause(causes, LINK, k, balance);
        }
    }
    keepLargest(verdict, std::move(causes));
}

// --- parts ---------------------------------------------------------------------------------------------------------

static Verdict judgeRunoff(const Model& model) {
    const RunoffBalance balance = massbal_getRunoff(model);
    const double in = balance.rainfall + balance.initLidStorage + balance.initSurfaceStorage;
    Verdict verdict = makeVerdict(PART_RUNOFF, -1, in, balance.error);
    findLandCauses(model, verdict);
    return verdict;
}

static Verdict judgeFlow(const Model& model) {
    double error = 0.0;
    const FlowTotalsRecord totals = massbal_getFlow(model, &error);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    Verdict verdict = makeVerdict(PART_FLOW, -1, in, error);
    findNetworkCauses(model, verdict);
    return verdict;
}

static Verdict judgeWashoff(const Model& model, int32_t p) {
    const WashoffBalance balance = massbal_getWashoff(model, p);
    Verdict verdict = makeVerdict(PART_WASHOFF, p, balance.initBuildup + balance.surfaceBuildup + balance.wetDeposition,
                                  balance.error);
    findWashoffCauses(model, verdict);
    return verdict;
}

static Verdict judgeQuality(const Model& model, int32_t p) {
    double error = 0.0;
    const QualTotalsRecord totals = massbal_getQuality(model, p, &error);
    const double in = totals.dryWeatherInflow + totals.wetWeatherInflow + totals.externalInflow + totals.swmmInflow +
                      totals.vornInflow + totals.initStorage;
    Verdict verdict = makeVerdict(PART_QUALITY, p, in, error);
    findLoadCauses(model, verdict);
    return verdict;
}

std::vector<Verdict> verdict_make(const Model& model) {
    std::vector<Verdict> verdicts;
    const bool hasLand = !model.subcatches.empty(), hasNetwork = !model.nodes.empty();
    if (hasLand) {
        verdicts.push_back(judgeRunoff(model));
    }
    if (hasNetwork) {
        verdicts.push_back(judgeFlow(model));
    }
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (hasLand) {
            verdicts.push_back(judgeWashoff(model, p));
        }
        if (hasNetwork) {
            verdicts.push_back(judgeQuality(model, p));
        }
    }
    return verdicts;
}
