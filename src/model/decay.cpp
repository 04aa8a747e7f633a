// First-order decay, dc/dt = -f k c, with f the factor of a pattern at the hour of the step.

#include "model/decay.h"

#include <algorithm>
#include <cmath>

#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/project.h"
#include "text/tokens.h"
#include "text/units.h"

const char* const ReactionWords[] = {"CONST_CONCEN", "CONST_RATIO", "ZERO", "FIRST", nullptr};

Decay* decay_create() {
    Decay* decays = arena_allocateArray<Decay>(ProjectArena, project_pollutantCount());
    if (decays && project_pollutantCount() > 0) {
        decays[0].type = -1;
        decays[0].pattern = -1;
    }
    return decays;
}

bool decay_isAny(const Decay* decays) {
    return std::any_of(decays, decays + project_pollutantCount(),
                       [](const Decay& decay) { return decay.type == FIRST_ORDER; });
}

int32_t decay_readItems(const Tokens& tokens, Decay* decays) {
    const int32_t pollutant = names_find(POLLUT, tokens[2]);
    if (pollutant < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    if (tokens_findKeyword(tokens[3], ReactionWords) != FIRST_ORDER) {
        return errors_setName(ERR_DECAY_TYPE, tokens[0]);
    }
    // Refused only if it is no number and negative as well, so a word passes as 0, and so does any negative number.
    double perDay;
    if (!tokens_getDouble(tokens[4], &perDay) && perDay < 0.0) {
        return errors_setName(ERR_NUMBER, tokens[4]);
    }
    int32_t pattern = -1;
    if (*tokens[5]) {
        pattern = names_find(PATTERN, tokens[5]);
        if (pattern < 0) {
            return errors_setName(ERR_UNDEFINED_OBJECT, tokens[5]);
        }
    }
    decays[pollutant] = {FIRST_ORDER, pattern, perDay / SECONDS_PER_DAY, 0.0, 0.0};
    return ERR_NONE;
}

double decay_getFactor(Decay& decay, int32_t hour, double seconds) {
    if (decay.type != FIRST_ORDER) {
        return 1.0;
    }
    const double exponent = -pattern_getFactor(decay.pattern, hour) * decay.k * seconds;
    if (exponent == 0.0) {
        return 1.0;
    }
    // The same step by step for a whole hour, so it is worked out once.
    if (exponent != decay.exponent) {
        decay.exponent = exponent;
        decay.factor = std::exp(exponent);
    }
    return decay.factor;
}
