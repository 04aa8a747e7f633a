// Pollutants on the land. In dry weather each land use builds up mass towards a limit; runoff washes it off by an
// exponential law of the runoff rate, or at an event-mean concentration; and rain brings pollutants of its own, which
// stand in the ponded water. Called by the runoff step. Masses are in kg; mg/L are g/m3, so that a thousandth of a
// concentration is in kg/m3.

#include "hydrology/landuse.h"

#include <cmath>

#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/project.h"
#include "text/tokens.h"

Table<Landuse> Landuses;

static constexpr double HECTARE = 0.0001;  ///< hectares in a square metre

static const char* const WashoffWords[] = {"EXP",      "EMC",      "SURFACE", "SOIL", "STORAGE",
                                           "PAVEMENT", "DRAINMAT", "DRAIN",   nullptr};

static Landuse& getLanduse(int32_t landuse) {
    return Landuses[landuse];
}

void landuse_createAll() {
    Landuses.fill(ObjectCount[LANDUSE], Landuse{});
    for (Landuse& landuse : Landuses) {
        landuse.buildup = arena_allocateArray<BuildupRule>(ProjectArena, project_pollutantCount());
        landuse.washoff = arena_allocateArray<WashoffRule>(ProjectArena, project_pollutantCount());
        if (!landuse.buildup || !landuse.washoff) {
            ErrorCode = ERR_MEMORY;
        }
    }
}

// --- reading -------------------------------------------------------------------------------------------------------

int32_t landuse_readLine(const Tokens& tokens, int32_t index) {
    if (tokens.count < 1) {
        return errors_setName(ERR_ITEMS, "");
    }
    const char* name = names_findId(LANDUSE, tokens[0]);
    if (!name) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    getLanduse(index).name = name;
    return ERR_NONE;
}

/// Finds the two objects that a line begins with.
static int32_t findPair(const Tokens& tokens, int32_t firstType, int32_t secondType, int32_t* first, int32_t* second) {
    *first = names_find(firstType, tokens[0]);
    if (*first < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    *second = names_find(secondType, tokens[1]);
    return *second < 0 ? errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]) : ERR_NONE;
}

/// Reads numbers that must not be below 0, from a token on.
static int32_t readNumbers(const Tokens& tokens, int32_t token, int32_t count, double* values) {
    for (int32_t k = 0; k < count; ++k) {
        if (!tokens_getNonNegative(tokens[token + k], &values[k])) {
            return errors_setName(ERR_NUMBER, tokens[token + k]);
        }
    }
    return ERR_NONE;
}

int32_t landuse_readCoverage(const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(ERR_ITEMS, "");
    }
    int32_t subcatch = 0, landuse = 0;
    if (const int32_t error = findPair(tokens, SUBCATCH, LANDUSE, &subcatch, &landuse)) {
        return error;
    }
    // Negative shares pass: a land use can be taken off another one.
    double percent;
    if (!tokens_getDouble(tokens[2], &percent)) {
        return errors_setName(ERR_NUMBER, tokens[2]);
    }
    Subcatches[subcatch].landShares[landuse].fraction = percent / 100.0;
    return ERR_NONE;
}

int32_t landuse_readBuildup(const Tokens& tokens) {
    if (tokens.count < 4) {
        return errors_setName(ERR_ITEMS, "");
    }
    int32_t landuse = 0, pollutant = 0;
    if (const int32_t error = findPair(tokens, LANDUSE, POLLUT, &landuse, &pollutant)) {
        return error;
    }
    double values[2];
    if (const int32_t error = readNumbers(tokens, 2, 2, values)) {
        return error;
    }
    getLanduse(landuse).buildup[pollutant] = {values[0], values[1]};
    return ERR_NONE;
}

static int32_t readExponential(const Tokens& tokens, WashoffRule& rule) {
    double values[3];
    if (const int32_t error = readNumbers(tokens, 3, 3, values)) {
        return error;
    }
    rule.coefficient = values[0];
    rule.exponent = values[1];
    rule.removal = values[2];
    rule.usesBuildup = 1;
    return ERR_NONE;
}

static int32_t readEventMean(const Tokens& tokens, WashoffRule& rule) {
    double emc, removal;
    if (const int32_t error = readNumbers(tokens, 3, 1, &emc)) {
        return error;
    }
    const int32_t usesBuildup = tokens_findKeyword(tokens[4], NoYesWords);
    if (usesBuildup < 0) {
        return errors_setName(ERR_KEYWORD, tokens[4]);
    }
    if (const int32_t error = readNumbers(tokens, 5, 1, &removal)) {
        return error;
    }
    rule.emc = emc;
    rule.usesBuildup = usesBuildup;
    rule.removal = removal;
    return ERR_NONE;
}

int32_t landuse_readWashoff(const Tokens& tokens) {
    if (tokens.count < 6) {
        return errors_setName(ERR_ITEMS, "");
    }
    int32_t landuse = 0, pollutant = 0;
    if (const int32_t error = findPair(tokens, LANDUSE, POLLUT, &landuse, &pollutant)) {
        return error;
    }
    const int32_t kind = tokens_findKeyword(tokens[2], WashoffWords);
    if (kind < 0) {
        return errors_setName(ERR_KEYWORD, tokens[2]);
    }
    // A line overwrites only what it reads; the rest stays from an older line of the same pair.
    WashoffRule& rule = getLanduse(landuse).washoff[pollutant];
    int32_t error = ERR_NONE;
    switch (kind) {
        case WASHOFF_EXP: error = readExponential(tokens, rule); break;
        case WASHOFF_EMC: error = readEventMean(tokens, rule); break;
        default: break;
    }
    if (!error) {
        rule.kind = kind;
    }
    return error;
}

int32_t landuse_readLoading(const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(ERR_ITEMS, "");
    }
    int32_t subcatch = 0, pollutant = 0;
    if (const int32_t error = findPair(tokens, SUBCATCH, POLLUT, &subcatch, &pollutant)) {
        return error;
    }
    double load;
    if (const int32_t error = readNumbers(tokens, 2, 1, &load)) {
        return error;
    }
    Subcatches[subcatch].initialLoad[pollutant] = load;
    return ERR_NONE;
}

// --- buildup -------------------------------------------------------------------------------------------------------

static const double LOG_NEARLY_FULL = std::log(0.001);  ///< of what is missing at 99.9 % of the limit

/// Age (days) of a buildup per hectare on its curve. What stands above the limit counts as nearly full.
static double getAge(const BuildupRule& rule, double buildup) {
    if (buildup == 0.0) {
        return 0.0;
    }
    const double log = buildup < rule.maxBuildup * 0.999 ? std::log(1.0 - buildup / rule.maxBuildup) : LOG_NEARLY_FULL;
    return -log / rule.rateConstant;
}

/// Buildup per hectare at an age (days). From 99.9 % on it stands at the limit.
static double getBuildupAt(const BuildupRule& rule, double age) {
    if (age == 0.0) {
        return 0.0;
    }
    if (!(age < -LOG_NEARLY_FULL / rule.rateConstant)) {
        return rule.maxBuildup;
    }
    const double exponent = -rule.rateConstant * age;
    return (1.0 - (exponent == 0.0 ? 1.0 : std::exp(exponent))) * rule.maxBuildup;
}

double landuse_buildupAfter(int32_t landuse, int32_t pollutant, double area, double present, double time) {
    if (time == 0.0) {
        return present;
    }
    if (area == 0.0) {
        return 0.0;
    }
    const BuildupRule& rule = getLanduse(landuse).buildup[pollutant];
    // With a rate of 0 and something there already the age is infinite: the buildup jumps to its limit.
    const double age = getAge(rule, present / area) + time / 86400.0;
    return getBuildupAt(rule, age) * area;
}

void landuse_initBuildup(int32_t index) {
    Subcatch& subcatch = Subcatches[index];
    for (int32_t l = 0; l < ObjectCount[LANDUSE]; ++l) {
        LandShare& share = subcatch.landShares[l];
        const double area = subcatch.area * share.fraction * HECTARE;
        for (int32_t p = 0; p < project_pollutantCount(); ++p) {
            share.buildup[p] = subcatch.initialLoad[p] > 0.0
                                   ? subcatch.initialLoad[p] * area
                                   : landuse_buildupAfter(l, p, area, 0.0, StartDryDays * 86400.0);
            if (subcatch.initBuildup && getLanduse(l).washoff[p].usesBuildup) {
                subcatch.initBuildup[p] += share.buildup[p];
            }
        }
    }
}

void landuse_growBuildup(int32_t index, double dt) {
    Subcatch& subcatch = Subcatches[index];
    for (int32_t l = 0; l < ObjectCount[LANDUSE]; ++l) {
        LandShare& share = subcatch.landShares[l];
        if (share.fraction == 0.0) {
            continue;
        }
        const double area = share.fraction * subcatch.area * HECTARE;
        for (int32_t p = 0; p < project_pollutantCount(); ++p) {
            const double old = share.buildup[p];
            double grown = landuse_buildupAfter(l, p, area, old, dt);
            grown = grown < old ? old : grown;
            share.buildup[p] = grown;
            if (getLanduse(l).washoff[p].usesBuildup) {
                subcatch.surfaceBuildup[p] += grown - old;
            }
        }
    }
}

// --- washoff -------------------------------------------------------------------------------------------------------

/// Powers of the runoff rate: land uses and pollutants mostly share a few exponents.
struct RatePower {
    double base;      ///< mm/h
    double exponent;  ///< that the power was taken of; 0 at first, with a power of 1
    double power;
};

static double getPower(RatePower& rate, double exponent) {
    if (rate.exponent != exponent) {
        rate.exponent = exponent;
        rate.power = std::pow(rate.base, exponent);
    }
    return rate.power;
}

/// Concentration (kg/m3) that a land use gives off at a runoff rate (m/s). Nothing there gives nothing, whatever the
/// law.
static double getWashoff(const WashoffRule& rule, double buildup, double landArea, double rate, RatePower& power) {
    if (buildup == 0.0) {
        return 0.0;
    }
    if (rule.kind == WASHOFF_EXP) {
        return getPower(power, rule.exponent) * rule.coefficient * buildup / 3600.0 / (landArea * rate);
    }
    return rule.emc / 1000.0;
}

void landuse_washLand(int32_t index, double rate, double dt) {
    if (rate < DRY_RATE) {
        return;
    }
    Subcatch& subcatch = Subcatches[index];
    RatePower power = {rate * 3600000.0, 0.0, 1.0};
    for (int32_t l = 0; l < ObjectCount[LANDUSE]; ++l) {
        LandShare& share = subcatch.landShares[l];
        if (!(share.fraction > 0.0)) {
            continue;
        }
        const double landArea = subcatch.area * share.fraction;
        for (int32_t p = 0; p < project_pollutantCount(); ++p) {
            const WashoffRule& rule = getLanduse(l).washoff[p];
            double& buildup = share.buildup[p];
            double mass =
                getWashoff(rule, buildup, landArea, rate, power) * dt * subcatch.thisRunoff * landArea / subcatch.area;
            if (rule.usesBuildup) {
                if (buildup > mass) {
                    buildup -= mass;
                } else {
                    mass = buildup;
                    buildup = 0.0;
                }
            }
            const double removed = mass * rule.removal;
            if (removed > 0.0) {
                mass -= removed;
            }
            subcatch.runoffLoad[p] += mass;
            subcatch.thisWashoffRate[p] += mass / dt;
            subcatch.bmpRemoval[p] += removed;
            if (!rule.usesBuildup) {
                // What no buildup paid for enters the balance as if it had built up in this step.
                subcatch.surfaceBuildup[p] += mass + removed;
            }
        }
    }
}

/// Share of the washoff of rain and ponded water that the land uses of a subcatchment treat.
static double getRemoval(const Subcatch& subcatch, int32_t pollutant) {
    double removal = 0.0;
    for (int32_t l = 0; l < ObjectCount[LANDUSE]; ++l) {
        removal += subcatch.landShares[l].fraction * getLanduse(l).washoff[pollutant].removal;
    }
    return removal;
}

void landuse_washRain(int32_t index, double dt) {
    Subcatch& subcatch = Subcatches[index];
    if (subcatch.area == subcatch.lidArea) {
        return;
    }
    const RunoffVolumesRecord& volumes = RunoffVolumes;
    const double area = subcatch.area - subcatch.lidArea;
    const double f = subcatch.imperviousFraction;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double deposition = Polluts[p].rainConcentration / 1000.0 * area * subcatch.rain * dt;
        subcatch.wetDeposition[p] += deposition;
        if (volumes.wetInflow == 0.0) {
            subcatch.pondedMass[p] = 0.0;
            continue;
        }
        const double mass = deposition + subcatch.pondedMass[p];
        const double concentration = mass / volumes.wetInflow;
        double infiltrated = (volumes.infil - volumes.lidInfil) * concentration;
        infiltrated = infiltrated > mass ? mass : infiltrated;
        subcatch.infilLoss[p] += infiltrated;
        double out = volumes.surfaceOutflow * concentration;
        out = out > mass - infiltrated ? mass - infiltrated : out;
        const double removal = getRemoval(subcatch, p);
        subcatch.bmpRemoval[p] += removal * out;
        // What stays is worked out from the depths, not from what is left: mass is kept as far as they agree.
        subcatch.pondedMass[p] =
            ((1.0 - f) * subcatch.perviousDepth + f * subcatch.imperviousDepth) * concentration * area;
        const double rest = out - removal * out;
        subcatch.runoffLoad[p] += rest;
        subcatch.thisWashoffRate[p] += rest / dt;
    }
}
