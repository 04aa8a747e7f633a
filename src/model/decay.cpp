// First-order decay, dc/dt = -f k c, with f the factor of a pattern at the hour of the step, and the simpler reactions
// that a layer of a LID control knows as well.

#include "model/decay.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/tokens.h"
#include "text/units.h"

const char* const ReactionWords[] = {"CONST_CONCEN", "CONST_RATIO", "ZERO", "FIRST", nullptr};

Decay* decay_create(Model& model) {
    Decay* decays = arena_allocateArray<Decay>(model.memory.project, model_pollutantCount(model));
    if (decays && model_pollutantCount(model) > 0) {
        decays[0] = NO_DECAY;
    }
    return decays;
}

bool decay_isAny(const Model& model, const Decay* decays) {
    return std::any_of(decays, decays + model_pollutantCount(model),
                       [](const Decay& decay) { return decay.type == FIRST_ORDER; });
}

int32_t decay_readReaction(Model& model, const Tokens& tokens, bool tellsWords, Reaction& reaction) {
    const int32_t pollutant = names_find(model, POLLUT, tokens[2]);
    if (pollutant < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    const int32_t type = tokens_findKeyword(tokens[3], ReactionWords);
    if (type < 0 && tellsWords) {
        return errors_setName(model, ERR_KEYWORD, tokens[3]);
    }
    if (type != FIRST_ORDER) {
        return errors_setName(model, ERR_DECAY_TYPE, tokens[0]);
    }
    // Refused only if it is no number and negative as well: a word passes as 0, and a negative rate makes masses grow.
    double perDay;
    const bool isNumber = tokens_getDouble(tokens[4], &perDay);
    if (!isNumber && perDay < 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[4]);
    }
    plausible_checkSet(model, PLAUSIBLE_DECAY_RATE, perDay, 4, tokens[0]);
    if (!isNumber) {
        warnings_addAtLine(model, WARN_NUMBER_WORD, 4, tokens[0], {tokens[4], warnings_formatNumber(perDay)});
    }
    int32_t pattern = -1;
    if (*tokens[5]) {
        pattern = names_find(model, PATTERN, tokens[5]);
        if (pattern < 0) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[5]);
        }
    }
    reaction = {pollutant, {FIRST_ORDER, pattern, perDay / SECONDS_PER_DAY, 0.0, 1.0}};
    return ERR_NONE;
}

int32_t decay_readItems(Model& model, const Tokens& tokens, Decay* decays) {
    Reaction reaction{};
    const int32_t error = decay_readReaction(model, tokens, false, reaction);
    if (!error) {
        if (decays[reaction.pollutant].type == FIRST_ORDER) {
            warnings_addAtLine(model, WARN_LINE_REPLACED, -1, tokens[0], {"this decay of the object", ""});
        }
        decays[reaction.pollutant] = reaction.decay;
    }
    return error;
}

/// exp(exponent). The same step by step for a whole hour, so it is worked out once. Compared are the bits, so that
/// nothing is written where it is known, whatever the number.
static double getPower(Decay& decay, double exponent) {
    if (std::bit_cast<uint64_t>(exponent) != std::bit_cast<uint64_t>(decay.exponent)) {
        decay.exponent = exponent;
        decay.factor = std::exp(exponent);
    }
    return decay.factor;
}

double decay_getFactor(const Model& model, Decay& decay, int32_t hour, double seconds) {
    if (decay.type != FIRST_ORDER) {
        return 1.0;
    }
    return getPower(decay, -pattern_getFactor(model, decay.pattern, hour) * decay.k * seconds);
}

double decay_react(const Model& model, Decay& decay, double concentration, int32_t hour, double seconds) {
    if (decay.type < 0) {
        return concentration;
    }
    const double k = pattern_getFactor(model, decay.pattern, hour) * decay.k;
    switch (decay.type) {
        case CONST_CONCEN: return std::min(k, concentration);
        case CONST_RATIO: return (1.0 - std::min(k, 1.0)) * concentration;
        case ZERO_ORDER: {
            const double left = concentration - seconds * k;
            return left > 0.0 ? left : 0.0;
        }
        default: return getPower(decay, -seconds * k) * concentration;
    }
}
