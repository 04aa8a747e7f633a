// Growth of the buildup in dry weather, by the law of the room landuse. Dry weather is most of a year, and this most of
// its work: a logarithm and a power for each land use and pollutant, since the curve starts anew in each step from
// where the last one has left it. So the arithmetic stands here a second time, in passes over plain arrays of a few
// subcatchments, between which the logarithms and powers are taken of whole arrays. Each number goes through the same
// operations in the same order as in landuse_getBuildup, and comes out with the same bits.

#include "hydrology/buildup.h"

#include <algorithm>
#include <cmath>

#include "hydrology/landuse.h"
#include "model/model.h"
#include "platform/vectormath.h"
#include "text/units.h"

static constexpr size_t BATCH = 96;  ///< buildups that a pass takes

/// Whether nothing grows any more is asked for now and then: what is found later is lost to nothing but speed.
static constexpr uint32_t STEPS_BETWEEN_LOOKS = 16;

// --- rules and areas -----------------------------------------------------------------------------------------------

static size_t getShareCount(const Model& model) {
    return model.landuses.rows.size() * static_cast<size_t>(model_pollutantCount(model));
}

/// Rules for which the passes, which make no difference between a buildup of 0 and others, would come to another end.
static bool isOdd(const BuildupRule& rule) {
    return !std::isfinite(rule.maxBuildup) || !std::isfinite(rule.rateConstant) || rule.maxBuildup < 0.0 ||
           rule.rateConstant < 0.0 || (rule.rateConstant == 0.0 && rule.maxBuildup != 0.0);
}

/// Numbers of a share of the land from the rules of its land use.
static void takeRule(BuildupRules& rules, size_t place, const BuildupRule& rule, const WashoffRule& washoff) {
    rules.limit[place] = rule.maxBuildup;
    rules.rate[place] = rule.rateConstant;
    rules.nearlyFull[place] = landuse_getNearlyFull(rule);
    rules.fullAge[place] = landuse_getFullAge(rule);
    rules.isCounted[place] = washoff.usesBuildup ? 1.0 : 0.0;
    rules.areOdd = rules.areOdd || isOdd(rule);
}

/// Whether a share is too small to have an area, or a zero whose sign the passes would give to its buildup.
static bool isOddShare(double fraction, double area) {
    return (area == 0.0 && (fraction != 0.0 || std::signbit(fraction))) || !std::isfinite(area);
}

/// Areas of all shares of the land.
static void findAreas(const Model& model, BuildupRules& rules) {
    const size_t pollutants = static_cast<size_t>(model_pollutantCount(model));
    rules.areas.resize(model.subcatches.rows.size() * getShareCount(model));
    double* area = rules.areas.data();
    for (const Subcatch& subcatch : model.subcatches) {
        for (int32_t l = 0; l < model.landuses.size(); ++l) {
            const double fraction = subcatch.landShares[l].fraction;
            const double shareArea = fraction * subcatch.area * HA_PER_M2;
            area = std::fill_n(area, pollutants, shareArea);
            rules.areOdd = rules.areOdd || isOddShare(fraction, shareArea);
        }
    }
}

/// The rules of the land uses, and the areas, hold until somebody changes something.
void buildup_prepare(Model& model, double dt) {
    BuildupRules& rules = *model.buildupRules;
    rules.isLooking = ++rules.steps % STEPS_BETWEEN_LOOKS == 0;
    if (rules.changes == model.pace.landChanges && rules.seconds == dt) {
        return;
    }
    const size_t pollutants = static_cast<size_t>(model_pollutantCount(model));
    const size_t shares = getShareCount(model);
    rules.changes = model.pace.landChanges;
    rules.seconds = dt;
    rules.days = dt / SECONDS_PER_DAY;
    rules.batch = shares == 0 ? 0 : static_cast<int32_t>(std::max<size_t>(BATCH / shares, 1));
    rules.areOdd = false;
    const size_t count = shares * static_cast<size_t>(rules.batch);
    for (std::vector<double>* numbers :
         {&rules.limit, &rules.rate, &rules.nearlyFull, &rules.fullAge, &rules.isCounted}) {
        numbers->resize(count);
    }
    for (size_t k = 0; k < count; ++k) {
        const Landuse& landuse = model.landuses[k % shares / pollutants];
        takeRule(rules, k, landuse.buildup[k % pollutants], landuse.washoff[k % pollutants]);
    }
    findAreas(model, rules);
}

// --- growth --------------------------------------------------------------------------------------------------------

/// The buildups (kg) behind the step in place of the present ones, and into the scratch what of them is new and counts.
/// Where the law has cases the arithmetic comes to the same: nothing there has the logarithm 0 and so the age 0; at an
/// age of 0 the power is 1 and what has built up 0; beyond the full age a power of 0 gives the limit itself; a rule
/// without limit gives 0 in any case; a land use that isn't there keeps its 0. Where the law asks for no logarithm or
/// no power, one is taken of what is quickly done, and dropped. Choices have loops of their own: in one with arithmetic
/// the compiler makes branches of them, and takes number by number.
[[gnu::always_inline]] inline static void growNumbers(const BuildupRules& rules, const double* __restrict area,
                                                      double* __restrict present, BuildupScratch& s, size_t count) {
    const double* __restrict limit = rules.limit.data();
    const double* __restrict rate = rules.rate.data();
    const double* __restrict nearlyFull = rules.nearlyFull.data();
    const double* __restrict fullAge = rules.fullAge.data();
    const double* __restrict isCounted = rules.isCounted.data();
    double* __restrict numbers = s.numbers.data();  // per area, then the powers, at last what is new
    double* __restrict work = s.work.data();        // logarithms, then ages
    const double days = rules.days;
    for (size_t k = 0; k < count; ++k) {
        numbers[k] = present[k] / area[k];
        work[k] = 1.0 - numbers[k] / limit[k];
    }
    for (size_t k = 0; k < count; ++k) {
        work[k] = numbers[k] < nearlyFull[k] ? work[k] : 1.0;
    }
    vectormath_log(work, work, count);
    for (size_t k = 0; k < count; ++k) {
        work[k] = numbers[k] < nearlyFull[k] ? work[k] : LOG_NEARLY_FULL;
    }
    for (size_t k = 0; k < count; ++k) {
        work[k] = -work[k] / rate[k] + days;
        numbers[k] = -rate[k] * work[k];
    }
    for (size_t k = 0; k < count; ++k) {
        numbers[k] = work[k] < fullAge[k] ? numbers[k] : 0.0;
    }
    vectormath_exp(numbers, numbers, count);
    for (size_t k = 0; k < count; ++k) {
        numbers[k] = work[k] < fullAge[k] ? numbers[k] : 0.0;
    }
    for (size_t k = 0; k < count; ++k) {
        const double grown = (1.0 - numbers[k]) * limit[k] * area[k];
        const double next = grown < present[k] ? present[k] : grown;
        numbers[k] = next - present[k];
        present[k] = next;
    }
    for (size_t k = 0; k < count; ++k) {
        numbers[k] = isCounted[k] != 0.0 ? numbers[k] : 0.0;
    }
}

VECTORMATH_WIDE static void growWide(const BuildupRules& rules, const double* area, double* present,
                                     BuildupScratch& scratch, size_t count) {
    growNumbers(rules, area, present, scratch, count);
}

static void growBatch(const BuildupRules& rules, const double* area, double* present, BuildupScratch& scratch,
                      size_t count) {
    if (vectormath_isWide()) {
        growWide(rules, area, present, scratch, count);
    } else {
        growNumbers(rules, area, present, scratch, count);
    }
}

/// What is new on a subcatchment, into the balance; land use by land use. What doesn't count adds 0, which changes no
/// sum.
static void addGrowth(double* sums, const double* growth, int32_t landuses, int32_t pollutants) {
    for (int32_t l = 0; l < landuses; ++l) {
        for (int32_t p = 0; p < pollutants; ++p) {
            sums[p] += *growth++;
        }
    }
}

/// The law itself, where the passes don't serve.
static bool growPlain(const Model& model, Subcatch& subcatch) {
    bool grows = false;
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        const Landuse& landuse = model.landuses[l];
        const LandShare& share = subcatch.landShares[l];
        const double area = share.fraction * subcatch.area * HA_PER_M2;
        for (int32_t p = 0; share.fraction != 0.0 && p < model_pollutantCount(model); ++p) {
            const double old = share.buildup[p];
            double grown = landuse_getBuildup(landuse.buildup[p], area, old, model.buildupRules->seconds);
            grown = grown < old ? old : grown;
            grows = grows || grown != old;
            share.buildup[p] = grown;
            if (landuse.washoff[p].usesBuildup) {
                subcatch.surfaceBuildup[p] += grown - old;
            }
        }
    }
    return grows;
}

/// So many subcatchments from one on, whose buildups and areas stand one behind the other. What they held is kept where
/// somebody asks whether it has grown.
static void growRun(Model& model, int32_t first, int32_t count, uint8_t* grows, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    const size_t shares = getShareCount(model);
    const size_t total = static_cast<size_t>(count) * shares;
    double* buildups = model.subcatches[first].landShares[0].buildup;
    if (rules.isLooking) {
        scratch.before.assign(buildups, buildups + total);
    }
    growBatch(rules, &rules.areas[static_cast<size_t>(first) * shares], buildups, scratch, total);
    for (int32_t k = 0; k < count; ++k) {
        const size_t place = static_cast<size_t>(k) * shares;
        addGrowth(model.subcatches[first + k].surfaceBuildup, &scratch.numbers[place], model.landuses.size(),
                  model_pollutantCount(model));
        const bool isSame =
            rules.isLooking && std::equal(buildups + place, buildups + place + shares, &scratch.before[place]);
        grows[k] = isSame ? 0 : 1;
    }
}

void buildup_grow(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    if (rules.batch == 0 || rules.seconds == 0.0) {
        std::fill_n(grows, count, uint8_t{0});
        return;
    }
    if (rules.areOdd) {
        for (int32_t k = 0; k < count; ++k) {
            grows[k] = growPlain(model, model.subcatches[subcatches[k]]) ? 1 : 0;
        }
        return;
    }
    scratch.numbers.resize(rules.limit.size());
    scratch.work.resize(rules.limit.size());
    int32_t k = 0;
    while (k < count) {
        int32_t run = 1;
        while (k + run < count && run < rules.batch && subcatches[k + run] == subcatches[k] + run) {
            ++run;
        }
        growRun(model, subcatches[k], run, grows + k, scratch);
        k += run;
    }
}
