// Growth of the buildup in dry weather, by the law of the room landuse. Dry weather is most of a year, and this most of
// its work: a logarithm and a power for each land use and pollutant, since the curve starts anew in each step from
// where the last one has left it. So the arithmetic stands here a second time, for processors that take four numbers
// at once: in passes over plain arrays of a few subcatchments, between which the logarithms and powers are taken of
// whole arrays. Each number goes through the same operations in the same order as in landuse_getBuildup, and comes out
// with the same bits.

#include "hydrology/buildup.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "hydrology/landuse.h"
#include "model/model.h"
#include "platform/vectormath.h"
#include "text/units.h"

static constexpr size_t BATCH = 96;  ///< buildups that a pass takes

/// Whether nothing grows any more is asked for now and then: what is found later is lost to nothing but speed.
static constexpr uint32_t STEPS_BETWEEN_LOOKS = 16;

// --- rules and areas -----------------------------------------------------------------------------------------------

constexpr size_t LANES = 4;  ///< numbers that a pass takes at once

static size_t getPadded(size_t count) {
    return (count + LANES - 1) / LANES * LANES;
}

/// Rules for which the passes, which make no difference between a buildup of 0 and others, would come to another end.
static bool isOdd(const BuildupRule& rule) {
    return !std::isfinite(rule.maxBuildup) || !std::isfinite(rule.rateConstant) || rule.maxBuildup < 0.0 ||
           rule.rateConstant < 0.0 || (rule.rateConstant == 0.0 && rule.maxBuildup != 0.0);
}

/// Whether a share is too small to have an area, or a zero whose sign the passes would give to its buildup.
static bool isOddShare(double fraction, double area) {
    return (area == 0.0 && (fraction != 0.0 || std::signbit(fraction))) || !std::isfinite(area);
}

static void listColumns(const Model& model, BuildupRules& rules) {
    rules.columns.clear();
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            rules.columns.push_back({l * model_pollutantCount(model) + p, p, model.landuses[l].washoff[p].usesBuildup});
        }
    }
    rules.isCut = false;
}

/// The rules of the columns, once for each subcatchment of a batch.
static void takeRules(const Model& model, BuildupRules& rules) {
    const size_t columns = rules.columns.size();
    rules.batch = columns == 0 ? 0 : static_cast<int32_t>(std::max<size_t>(BATCH / columns, 1));
    const size_t count = getPadded(columns * static_cast<size_t>(rules.batch));
    for (std::vector<double>* numbers :
         {&rules.limit, &rules.rate, &rules.nearlyFull, &rules.fullAge, &rules.isCounted}) {
        numbers->resize(count);
    }
    for (size_t k = 0; k < count; ++k) {
        const int32_t place = rules.columns[k % columns].place;
        const BuildupRule& rule =
            model.landuses[place / model_pollutantCount(model)].buildup[place % model_pollutantCount(model)];
        rules.limit[k] = rule.maxBuildup;
        rules.rate[k] = rule.rateConstant;
        rules.nearlyFull[k] = landuse_getNearlyFull(rule);
        rules.fullAge[k] = landuse_getFullAge(rule);
        rules.isCounted[k] = rules.columns[k % columns].isCounted ? 1.0 : 0.0;
        rules.areOdd = rules.areOdd || isOdd(rule);
    }
}

/// Areas of all shares of the land.
static void findAreas(const Model& model, BuildupRules& rules) {
    rules.areas.clear();
    rules.areas.reserve(model.subcatches.rows.size() * rules.columns.size());
    for (const Subcatch& subcatch : model.subcatches) {
        for (const BuildupColumn& column : rules.columns) {
            const double fraction = subcatch.landShares[column.place / model_pollutantCount(model)].fraction;
            const double area = fraction * subcatch.area * HA_PER_M2;
            rules.areas.push_back(area);
            rules.areOdd = rules.areOdd || isOddShare(fraction, area);
        }
    }
    rules.areas.resize(rules.areas.size() + LANES - 1, 1.0);
}

/// The rules of the land uses, and the areas, hold until somebody changes something.
void buildup_prepare(Model& model, double dt) {
    BuildupRules& rules = *model.buildupRules;
    rules.isLooking = ++rules.steps % STEPS_BETWEEN_LOOKS == 0;
    const bool isPlainAgain = model.pace.isPlain && rules.isCut;
    if (rules.changes == model.pace.landChanges && rules.seconds == dt && !isPlainAgain) {
        return;
    }
    rules.changes = model.pace.landChanges;
    rules.seconds = dt;
    rules.days = dt / SECONDS_PER_DAY;
    rules.areOdd = false;
    listColumns(model, rules);
    takeRules(model, rules);
    findAreas(model, rules);
}

// --- growth by the law ---------------------------------------------------------------------------------------------

/// The law itself, where the passes don't serve. Whether anything has grown.
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

static bool growList(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows) {
    bool hasStopped = false;
    for (int32_t k = 0; k < count; ++k) {
        grows[k] = growPlain(model, model.subcatches[subcatches[k]]) ? 1 : 0;
        hasStopped = hasStopped || !grows[k];
    }
    return hasStopped;
}

// --- growth in passes ----------------------------------------------------------------------------------------------

#if defined(VECTORMATH_WIDE)

VECTORMATH_WIDE static inline VectorFour load(const double* from) {
    VectorFour four;
    std::memcpy(&four, from, sizeof four);
    return four;
}

VECTORMATH_WIDE static inline void store(double* to, VectorFour four) {
    std::memcpy(to, &four, sizeof four);
}

/// Where the numbers of a run stand.
struct Arrays {
    const double *limit, *rate, *nearlyFull, *fullAge, *isCounted, *area;
    double days;
    double *present, *perArea, *ages, *growth;
};

static Arrays getArrays(const BuildupRules& rules, size_t first, BuildupScratch& s) {
    return {.limit = rules.limit.data(),
            .rate = rules.rate.data(),
            .nearlyFull = rules.nearlyFull.data(),
            .fullAge = rules.fullAge.data(),
            .isCounted = rules.isCounted.data(),
            .area = &rules.areas[first * rules.columns.size()],
            .days = rules.days,
            .present = s.present.data(),
            .perArea = s.perArea.data(),
            .ages = s.ages.data(),
            .growth = s.growth.data()};
}

/// Per area what is there, and what the age on the curve is the logarithm of.
VECTORMATH_WIDE static inline void askAges(const Arrays& a, size_t k) {
    const VectorFour perArea = load(a.present + k) / load(a.area + k);
    const VectorFour rest = 1.0 - perArea / load(a.limit + k);
    store(a.perArea + k, perArea);
    store(a.ages + k, perArea < load(a.nearlyFull + k) ? rest : VectorFour{} + 1.0);
}

/// From the logarithms the ages at the end of the step, and the logarithms of what is missing then.
VECTORMATH_WIDE static inline void askShares(const Arrays& a, size_t k) {
    const VectorFour rate = load(a.rate + k);
    const VectorFour log =
        load(a.perArea + k) < load(a.nearlyFull + k) ? load(a.ages + k) : VectorFour{} + LOG_NEARLY_FULL;
    const VectorFour age = -log / rate + a.days;
    store(a.ages + k, age);
    store(a.growth + k, age < load(a.fullAge + k) ? -rate * age : VectorFour{});
}

/// What is there at the end of the step, and what of it is new and counts.
VECTORMATH_WIDE static inline void grow(const Arrays& a, size_t k) {
    const VectorFour missing = load(a.ages + k) < load(a.fullAge + k) ? load(a.growth + k) : VectorFour{};
    const VectorFour grown = (1.0 - missing) * load(a.limit + k) * load(a.area + k);
    const VectorFour present = load(a.present + k);
    const VectorFour next = grown < present ? present : grown;
    store(a.present + k, next);
    store(a.growth + k, load(a.isCounted + k) != 0.0 ? next - present : VectorFour{});
}

/// The buildups (kg) after the step in place of the present ones. Where the law has cases the arithmetic comes to the
/// same: nothing there has the logarithm 0 and so the age 0; at an age of 0 the power is 1 and what has built up 0;
/// beyond the full age a power of 0 gives the limit itself; a rule without limit gives 0 in any case; a land use that
/// isn't there keeps its 0. Where the law asks for no logarithm or no power, one is taken of what is quickly done, and
/// dropped.
VECTORMATH_WIDE static void growWide(const Arrays a, size_t count) {
    for (size_t k = 0; k < count; k += LANES) {
        askAges(a, k);
    }
    vectormath_log(a.ages, a.ages, count);
    for (size_t k = 0; k < count; k += LANES) {
        askShares(a, k);
    }
    vectormath_exp(a.growth, a.growth, count);
    for (size_t k = 0; k < count; k += LANES) {
        grow(a, k);
    }
}

/// Subcatchments from one on whose buildups stand one after the other, no more than a batch.
struct Run {
    Model& model;
    const BuildupRules& rules;
    BuildupScratch& scratch;
    int32_t first, count;
    double* buildups;
    size_t stride;  ///< from subcatchment to subcatchment
    size_t width;   ///< columns
};

// Of a few columns the compiler knows the number, 0 stands for more. What a column says is taken along out of the loop.

template <size_t WIDTH>
static void gather(const Run& run) {
    const size_t width = WIDTH > 0 ? WIDTH : run.width;
    const BuildupColumn* __restrict columns = run.rules.columns.data();
    const double* __restrict buildups = run.buildups;
    double* __restrict present = run.scratch.present.data();
    for (int32_t k = 0; k < run.count; ++k, buildups += run.stride, present += width) {
        for (size_t c = 0; c < width; ++c) {
            present[c] = buildups[columns[c].place];
        }
    }
}

/// What is there now, and what of it is new, into the balance; of each subcatchment land use by land use. What doesn't
/// count adds 0, which changes no sum.
template <size_t WIDTH>
static void giveBack(const Run& run) {
    const size_t width = WIDTH > 0 ? WIDTH : run.width;
    const BuildupColumn* __restrict columns = run.rules.columns.data();
    const double* __restrict grown = run.scratch.present.data();
    const double* __restrict growth = run.scratch.growth.data();
    double* __restrict buildups = run.buildups;
    for (int32_t k = 0; k < run.count; ++k, buildups += run.stride, grown += width, growth += width) {
        double* __restrict sums = run.model.subcatches[run.first + k].surfaceBuildup;
        for (size_t c = 0; c < width; ++c) {
            buildups[columns[c].place] = grown[c];
            sums[columns[c].pollutant] += growth[c];
        }
    }
}

/// Of which subcatchments any buildup will be another one, and of which columns. Whether one has stopped.
static bool look(const Run& run, uint8_t* grows) {
    const double* grown = run.scratch.present.data();
    const double* buildups = run.buildups;
    bool hasStopped = false;
    for (int32_t k = 0; k < run.count; ++k, buildups += run.stride, grown += run.width) {
        grows[k] = 0;
        for (size_t c = 0; c < run.width; ++c) {
            if (grown[c] != buildups[run.rules.columns[c].place]) {
                grows[k] = run.scratch.hasGrown[c] = 1;
            }
        }
        hasStopped = hasStopped || !grows[k];
    }
    return hasStopped;
}

/// What is new, into the balance alone.
template <size_t WIDTH>
static void addGrowth(const Run& run) {
    const size_t width = WIDTH > 0 ? WIDTH : run.width;
    const BuildupColumn* __restrict columns = run.rules.columns.data();
    const double* __restrict growth = run.scratch.growth.data();
    for (int32_t k = 0; k < run.count; ++k, growth += width) {
        double* __restrict sums = run.model.subcatches[run.first + k].surfaceBuildup;
        for (size_t c = 0; c < width; ++c) {
            sums[columns[c].pollutant] += growth[c];
        }
    }
}

/// Whether the buildups themselves may serve as the array of what is there: all columns are left, so they stand as the
/// passes want them, no lane reaches beyond them, and nobody asks for what was there before.
static bool areInPlace(const Run& run, size_t total) {
    return run.width == run.stride && total % LANES == 0 && !run.rules.isLooking;
}

template <size_t WIDTH>
static bool growRun(const Run& run, uint8_t* grows) {
    const size_t total = static_cast<size_t>(run.count) * run.width, padded = getPadded(total);
    if (areInPlace(run, total)) {
        Arrays arrays = getArrays(run.rules, static_cast<size_t>(run.first), run.scratch);
        arrays.present = run.buildups;
        growWide(arrays, total);
        addGrowth<WIDTH>(run);
        return false;
    }
    gather<WIDTH>(run);
    std::fill_n(run.scratch.present.data() + total, padded - total, 1.0);  // something harmless
    growWide(getArrays(run.rules, static_cast<size_t>(run.first), run.scratch), padded);
    const bool hasStopped = run.rules.isLooking && look(run, grows);
    giveBack<WIDTH>(run);
    return hasStopped;
}

static bool growRun(const Run& run, uint8_t* grows) {
    switch (run.width) {
        case 1: return growRun<1>(run, grows);
        case 2: return growRun<2>(run, grows);
        case 3: return growRun<3>(run, grows);
        case 4: return growRun<4>(run, grows);
        case 5: return growRun<5>(run, grows);
        case 6: return growRun<6>(run, grows);
        case 8: return growRun<8>(run, grows);
        default: return growRun<0>(run, grows);
    }
}

/// Of the list of subcatchments those are taken at once that stand one after the other.
static bool growRuns(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    if (scratch.present.size() != rules.limit.size()) {
        for (std::vector<double>* numbers : {&scratch.present, &scratch.perArea, &scratch.ages, &scratch.growth}) {
            numbers->resize(rules.limit.size());
        }
    }
    const size_t stride = model.landuses.rows.size() * static_cast<size_t>(model_pollutantCount(model));
    bool hasStopped = false;
    int32_t k = 0;
    while (k < count) {
        const int32_t first = subcatches[k];
        int32_t some = std::min(count - k, rules.batch);
        while (subcatches[k + some - 1] != first + some - 1) {
            --some;  // the list rises, so those in between stand one after the other if the ends do
        }
        double* buildups = model.subcatches[first].landShares[0].buildup;
        const Run run{model, rules, scratch, first, some, buildups, stride, rules.columns.size()};
        hasStopped = growRun(run, grows + k) || hasStopped;
        k += some;
    }
    scratch.lookedAt += count;
    return hasStopped;
}

#else

static bool growRuns(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch&) {
    return growList(model, subcatches, count, grows);
}

#endif

// --- growth --------------------------------------------------------------------------------------------------------

bool buildup_grow(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    std::fill_n(grows, count, uint8_t{rules.batch > 0 && rules.seconds != 0.0});
    if (rules.batch == 0 || rules.seconds == 0.0) {
        return true;
    }
    if (rules.areOdd || !vectormath_isWide()) {
        return growList(model, subcatches, count, grows);
    }
    return growRuns(model, subcatches, count, grows, scratch);
}

// --- what has come to its end --------------------------------------------------------------------------------------

void buildup_beginStep(const Model& model, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    if (!rules.isLooking && scratch.hasGrown.size() == rules.columns.size()) {
        return;  // nobody reads it in this step
    }
    scratch.lookedAt = 0;
    scratch.hasGrown.assign(rules.columns.size(), 0);
}

void buildup_endDryStep(Model& model, const std::vector<uint8_t>& hasGrown) {
    BuildupRules& rules = *model.buildupRules;
    std::vector<BuildupColumn> kept;
    for (size_t c = 0; c < rules.columns.size(); ++c) {
        if (hasGrown[c] || rules.columns[c].isCounted) {
            kept.push_back(rules.columns[c]);
        }
    }
    if (kept.size() == rules.columns.size() || model.pace.isPlain) {
        return;
    }
    rules.columns = std::move(kept);
    rules.isCut = true;
    takeRules(model, rules);
    findAreas(model, rules);
}
