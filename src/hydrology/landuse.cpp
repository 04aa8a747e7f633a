// Land uses. In dry weather a pollutant builds up towards a limit, exponentially with time, and runoff washes it off by
// a power of the runoff rate, in proportion to what is there (Sartor and Boyd 1972), or at an event-mean concentration.
// The room washoff brings these laws to the subcatchments. Masses are in kg; mg/L are g/m3, so that a thousandth of a
// concentration is in kg/m3.

#include "hydrology/landuse.h"

#include <algorithm>
#include <cmath>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const WashoffWords[] = {"EXP",      "EMC",      "SURFACE", "SOIL", "STORAGE",
                                           "PAVEMENT", "DRAINMAT", "DRAIN",   nullptr};

void landuse_createAll(Model& model) {
    model.landuses.fill(model.counts.objects[LANDUSE], Landuse{});
    for (Landuse& landuse : model.landuses) {
        landuse.buildup = arena_allocateArray<BuildupRule>(model.memory.project, model_pollutantCount(model));
        landuse.washoff = arena_allocateArray<WashoffRule>(model.memory.project, model_pollutantCount(model));
        if (!landuse.buildup || !landuse.washoff) {
            model.error.code = ERR_MEMORY;
        }
    }
}

// --- reading -------------------------------------------------------------------------------------------------------

int32_t landuse_readLine(Model& model, const Tokens& tokens, int32_t index) {
    if (tokens.count < 1) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* name = names_findId(model, LANDUSE, tokens[0]);
    if (!name) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    model.landuses[index].name = name;
    return ERR_NONE;
}

/// Finds the land use and the pollutant that a line begins with.
static int32_t findPair(Model& model, const Tokens& tokens, int32_t& landuse, int32_t& pollutant) {
    landuse = names_find(model, LANDUSE, tokens[0]);
    if (landuse < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    pollutant = names_find(model, POLLUT, tokens[1]);
    return pollutant < 0 ? errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]) : ERR_NONE;
}

/// Reads numbers that must not be below 0, from a token on.
static int32_t readNumbers(Model& model, const Tokens& tokens, int32_t token, int32_t count, double* values) {
    for (int32_t k = 0; k < count; ++k) {
        if (!tokens_getNonNegative(tokens[token + k], &values[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[token + k]);
        }
    }
    return ERR_NONE;
}

int32_t landuse_readBuildup(Model& model, const Tokens& tokens) {
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    int32_t landuse = 0, pollutant = 0;
    if (const int32_t error = findPair(model, tokens, landuse, pollutant)) {
        return error;
    }
    double values[2];
    if (const int32_t error = readNumbers(model, tokens, 2, 2, values)) {
        return error;
    }
    plausible_check(model, PLAUSIBLE_BUILDUP_LIMIT, values[0], 2, tokens[0]);
    if (values[1] == 0.0 && values[0] != 0.0) {
        warnings_addAtLine(model, WARN_BUILDUP_RATE, 3, tokens[0], {warnings_formatNumber(values[0])});
    }
    plausible_checkSet(model, PLAUSIBLE_BUILDUP_RATE, values[1], 3, tokens[0]);
    warnings_noteGiven(model, landuse, pollutant, tokens[0], "this buildup");
    model.landuses[landuse].buildup[pollutant] = {values[0], values[1]};
    return ERR_NONE;
}

static int32_t readExponential(Model& model, const Tokens& tokens, WashoffRule& rule) {
    double values[3];
    if (const int32_t error = readNumbers(model, tokens, 3, 3, values)) {
        return error;
    }
    plausible_check(model, PLAUSIBLE_WASHOFF_COEFFICIENT, values[0], 3, tokens[0]);
    plausible_check(model, PLAUSIBLE_WASHOFF_EXPONENT, values[1], 4, tokens[0]);
    plausible_check(model, PLAUSIBLE_REMOVAL, values[2], 5, tokens[0]);
    rule.coefficient = values[0];
    rule.exponent = values[1];
    rule.removal = values[2];
    rule.usesBuildup = true;
    return ERR_NONE;
}

static int32_t readEventMean(Model& model, const Tokens& tokens, WashoffRule& rule) {
    double emc, removal;
    if (const int32_t error = readNumbers(model, tokens, 3, 1, &emc)) {
        return error;
    }
    const int32_t word = tokens_findKeyword(tokens[4], NoYesWords);
    if (word < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[4]);
    }
    if (const int32_t error = readNumbers(model, tokens, 5, 1, &removal)) {
        return error;
    }
    plausible_check(model, PLAUSIBLE_EVENT_MEAN, emc, 3, tokens[0]);
    plausible_check(model, PLAUSIBLE_REMOVAL, removal, 5, tokens[0]);
    rule.emc = emc;
    rule.usesBuildup = word != 0;
    rule.removal = removal;
    return ERR_NONE;
}

int32_t landuse_readWashoff(Model& model, const Tokens& tokens) {
    if (tokens.count < 6) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    int32_t landuse = 0, pollutant = 0;
    if (const int32_t error = findPair(model, tokens, landuse, pollutant)) {
        return error;
    }
    const int32_t kind = tokens_findKeyword(tokens[2], WashoffWords);
    if (kind < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[2]);
    }
    // A line overwrites only what it reads; the rest stays from an older line of the same pair.
    WashoffRule& rule = model.landuses[landuse].washoff[pollutant];
    int32_t error = ERR_NONE;
    switch (kind) {
        case WASHOFF_EXP: error = readExponential(model, tokens, rule); break;
        case WASHOFF_EMC: error = readEventMean(model, tokens, rule); break;
        default: break;
    }
    if (!error) {
        rule.kind = kind;
        warnings_noteGiven(model, landuse, pollutant, tokens[0], "this washoff");
        if (kind > WASHOFF_EMC) {
            warnings_addAtLine(model, WARN_WASHOFF_TYPE, 2, tokens[0],
                               {tokens[2], warnings_formatNumber(rule.emc) + " mg/L"});
        }
    }
    return error;
}

// --- buildup -------------------------------------------------------------------------------------------------------

static constexpr double NEARLY_FULL = 0.999;  ///< of the limit, from which a buildup counts as there
const double LOG_NEARLY_FULL = std::log(0.001);

double landuse_getNearlyFull(const BuildupRule& rule) {
    return rule.maxBuildup * NEARLY_FULL;
}

double landuse_getFullAge(const BuildupRule& rule) {
    return -LOG_NEARLY_FULL / rule.rateConstant;
}

/// Age (days) of a buildup per hectare on its curve. What stands above the limit counts as nearly full.
static double getAge(const BuildupRule& rule, double buildup) {
    if (buildup == 0.0) {
        return 0.0;
    }
    const double log =
        buildup < landuse_getNearlyFull(rule) ? std::log(1.0 - buildup / rule.maxBuildup) : LOG_NEARLY_FULL;
    return -log / rule.rateConstant;
}

/// Buildup per hectare at an age (days). From 99.9 % on it stands at the limit.
static double getBuildupAt(const BuildupRule& rule, double age) {
    if (age == 0.0) {
        return 0.0;
    }
    if (!(age < landuse_getFullAge(rule))) {
        return rule.maxBuildup;
    }
    const double exponent = -rule.rateConstant * age;
    return (1.0 - (exponent == 0.0 ? 1.0 : std::exp(exponent))) * rule.maxBuildup;
}

double landuse_getBuildup(const BuildupRule& rule, double area, double present, double time) {
    if (time == 0.0) {
        return present;
    }
    if (area == 0.0) {
        return 0.0;
    }
    // With a rate of 0 and something there already the age is infinite: the buildup jumps to its limit.
    const double age = getAge(rule, present / area) + time / SECONDS_PER_DAY;
    return getBuildupAt(rule, age) * area;
}

// --- washoff -------------------------------------------------------------------------------------------------------

/// A power of the runoff rate. Any number to the power of 1 is itself.
static double getPower(RunoffRate& rate, double exponent) {
    if (exponent == 1.0) {
        return rate.base;
    }
    const uint32_t known = std::min(rate.count, RunoffRate::ROOM);
    for (uint32_t k = 0; k < known; ++k) {
        if (rate.exponents[k] == exponent) {
            return rate.powers[k];
        }
    }
    const uint32_t place = rate.count++ % RunoffRate::ROOM;
    rate.exponents[place] = exponent;
    rate.powers[place] = std::pow(rate.base, exponent);
    return rate.powers[place];
}

RunoffRate landuse_makeRate(double value) {
    RunoffRate rate;
    rate.value = value;
    rate.base = value * MM_PER_HOUR;
    rate.count = 0;
    return rate;
}

double landuse_getWashoff(const WashoffRule& rule, double buildup, double area, RunoffRate& rate) {
    if (buildup == 0.0) {
        return 0.0;  // nothing there gives nothing, whatever the law
    }
    if (rule.kind == WASHOFF_EXP) {
        return getPower(rate, rule.exponent) * rule.coefficient * buildup / SECONDS_PER_HOUR / (area * rate.value);
    }
    return rule.emc / G_PER_KG;
}
