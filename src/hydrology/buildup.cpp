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

#include "hydrology/landuse.h"
#include "model/model.h"
#include "platform/vectormath.h"
#include "text/units.h"

static constexpr size_t BATCH = 96;  ///< buildups that a pass takes

/// Whether nothing grows any more is asked for now and then: what is found later is lost to nothing but speed.
static constexpr uint32_t STEPS_BETWEEN_LOOKS = 16;

// --- rules and areas -----------------------------------------------------------------------------------------------

/// Numbers are taken four at a time.
static size_t getPadded(size_t count) {
    return (count + 3) / 4 * 4;
}

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
    const size_t count = getPadded(shares * static_cast<size_t>(rules.batch));
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

/// What a pass takes at once; the last few of a run stand among numbers that nobody asks for.
constexpr size_t LANES = sizeof(VectorFour) / sizeof(double);

VECTORMATH_WIDE static inline VectorFour load(const double* from) {
    VectorFour four;
    std::memcpy(&four, from, sizeof four);
    return four;
}

/// Fewer, and ones behind them.
VECTORMATH_WIDE static inline VectorFour load(const double* from, size_t count) {
    VectorFour four = VectorFour{} + 1.0;
    std::memcpy(&four, from, count * sizeof(double));
    return four;
}

VECTORMATH_WIDE static inline void store(double* to, VectorFour four, size_t count = LANES) {
    std::memcpy(to, &four, count * sizeof(double));
}

/// Where the numbers of a run stand.
struct Arrays {
    const double *limit, *rate, *nearlyFull, *fullAge, *isCounted, *area;
    double days;
    double *present, *perArea, *ages, *growth;
};

static Arrays getArrays(const BuildupRules& rules, const double* area, double* present, BuildupScratch& s) {
    return {rules.limit.data(),
            rules.rate.data(),
            rules.nearlyFull.data(),
            rules.fullAge.data(),
            rules.isCounted.data(),
            area,
            rules.days,
            present,
            s.perArea.data(),
            s.ages.data(),
            s.growth.data()};
}

/// Per area what is there, and what the age on the curve is the logarithm of.
VECTORMATH_WIDE static inline void askAges(const Arrays& a, size_t k, VectorFour present, VectorFour area) {
    const VectorFour perArea = present / area;
    const VectorFour rest = 1.0 - perArea / load(a.limit + k);
    store(a.perArea + k, perArea);
    store(a.ages + k, perArea < load(a.nearlyFull + k) ? rest : VectorFour{} + 1.0);
}

/// From the logarithms the ages at the end of the step, and the exponents of what is missing then.
VECTORMATH_WIDE static inline void askShares(const Arrays& a, size_t k) {
    const VectorFour rate = load(a.rate + k);
    const VectorFour log =
        load(a.perArea + k) < load(a.nearlyFull + k) ? load(a.ages + k) : VectorFour{} + LOG_NEARLY_FULL;
    const VectorFour age = -log / rate + a.days;
    store(a.ages + k, age);
    store(a.growth + k, age < load(a.fullAge + k) ? -rate * age : VectorFour{});
}

/// From the powers what is there at the end of the step, and what of it is new and counts.
VECTORMATH_WIDE static inline VectorFour grow(const Arrays& a, size_t k, VectorFour present, VectorFour area) {
    const VectorFour missing = load(a.ages + k) < load(a.fullAge + k) ? load(a.growth + k) : VectorFour{};
    const VectorFour grown = (1.0 - missing) * load(a.limit + k) * area;
    const VectorFour next = grown < present ? present : grown;
    store(a.growth + k, load(a.isCounted + k) != 0.0 ? next - present : VectorFour{});
    return next;
}

/// The buildups (kg) behind the step in place of the present ones, and into the scratch what of them is new and counts.
/// Where the law has cases the arithmetic comes to the same: nothing there has the logarithm 0 and so the age 0; at an
/// age of 0 the power is 1 and what has built up 0; beyond the full age a power of 0 gives the limit itself; a rule
/// without limit gives 0 in any case; a land use that isn't there keeps its 0. Where the law asks for no logarithm or
/// no power, one is taken of what is quickly done, and dropped.
VECTORMATH_WIDE static void growWide(const Arrays a, size_t count) {
    const size_t whole = count - count % LANES, last = count - whole;
    const size_t padded = whole + (last > 0 ? LANES : 0);
    for (size_t k = 0; k < whole; k += LANES) {
        askAges(a, k, load(a.present + k), load(a.area + k));
    }
    if (last > 0) {
        askAges(a, whole, load(a.present + whole, last), load(a.area + whole, last));
    }
    vectormath_log(a.ages, a.ages, padded);
    for (size_t k = 0; k < padded; k += LANES) {
        askShares(a, k);
    }
    vectormath_exp(a.growth, a.growth, padded);
    for (size_t k = 0; k < whole; k += LANES) {
        store(a.present + k, grow(a, k, load(a.present + k), load(a.area + k)));
    }
    if (last > 0) {
        store(a.present + whole, grow(a, whole, load(a.present + whole, last), load(a.area + whole, last)), last);
    }
}

/// What is new on so many subcatchments from one on, into the balance; of each land use by land use. What doesn't count
/// adds 0, which changes no sum. Of a few pollutants the compiler knows the number.
template <int32_t POLLUTANTS>
static void addGrowth(Model& model, int32_t first, int32_t count, const double* __restrict growth) {
    const int32_t pollutants = POLLUTANTS > 0 ? POLLUTANTS : model_pollutantCount(model);
    const int32_t landuses = model.landuses.size();
    for (int32_t k = first; k < first + count; ++k) {
        double* __restrict sums = model.subcatches[k].surfaceBuildup;
        for (int32_t l = 0; l < landuses; ++l, growth += pollutants) {
            for (int32_t p = 0; p < pollutants; ++p) {
                sums[p] += growth[p];
            }
        }
    }
}

static void addAll(Model& model, int32_t first, int32_t count, const double* growth) {
    switch (model_pollutantCount(model)) {
        case 1: addGrowth<1>(model, first, count, growth); break;
        case 2: addGrowth<2>(model, first, count, growth); break;
        case 3: addGrowth<3>(model, first, count, growth); break;
        case 4: addGrowth<4>(model, first, count, growth); break;
        default: addGrowth<0>(model, first, count, growth); break;
    }
}

/// So many subcatchments from one on, whose buildups and areas stand one behind the other. What they held is kept where
/// somebody asks whether it has grown.
static bool growRun(Model& model, int32_t first, int32_t count, uint8_t* grows, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    const size_t shares = getShareCount(model);
    const size_t total = static_cast<size_t>(count) * shares;
    double* buildups = model.subcatches[first].landShares[0].buildup;
    if (rules.isLooking) {
        scratch.before.assign(buildups, buildups + total);
    }
    growWide(getArrays(rules, &rules.areas[static_cast<size_t>(first) * shares], buildups, scratch), total);
    addAll(model, first, count, scratch.growth.data());
    bool hasStopped = false;
    for (int32_t k = 0; rules.isLooking && k < count; ++k) {
        const size_t place = static_cast<size_t>(k) * shares;
        grows[k] = std::equal(buildups + place, buildups + place + shares, &scratch.before[place]) ? 0 : 1;
        hasStopped = hasStopped || !grows[k];
    }
    return hasStopped;
}

/// Of the list of subcatchments those are taken at once that stand one behind the other.
static bool growRuns(Model& model, const int32_t* subcatches, int32_t count, uint8_t* grows, BuildupScratch& scratch) {
    const BuildupRules& rules = *model.buildupRules;
    for (std::vector<double>* numbers : {&scratch.perArea, &scratch.ages, &scratch.growth}) {
        numbers->resize(rules.limit.size());
    }
    bool hasStopped = false;
    int32_t k = 0;
    while (k < count) {
        int32_t run = 1;
        while (k + run < count && run < rules.batch && subcatches[k + run] == subcatches[k] + run) {
            ++run;
        }
        hasStopped = growRun(model, subcatches[k], run, grows + k, scratch) || hasStopped;
        k += run;
    }
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
