#pragma once
// First-order decay of a pollutant in a tank, a pipe or a conduit.

#include <cstdint>

#include "text/datetime.h"
#include "text/tokens.h"

/// Words of reactions: CONST_CONCEN, CONST_RATIO, ZERO, FIRST.
extern const char* const ReactionWords[];

enum ReactionType : int32_t { CONST_CONCEN, CONST_RATIO, ZERO_ORDER, FIRST_ORDER };

struct Decay {
    int32_t type;     ///< FIRST_ORDER decays, any other value doesn't
    int32_t pattern;  ///< factors of k by the hour, or -1
    double k;         ///< 1/s
    double exponent;  ///< of the factor worked out last; 0 before the first
    double factor;    ///< that factor
};

/// The decay records of an object, one per pollutant. Only the first is set to "none, no pattern"; the others stay
/// zero, which is no decay either.
[[nodiscard]] Decay* decay_create();

/// Whether some pollutant of an object decays.
[[nodiscard]] bool decay_isAny(const Decay* decays);

/// The items of a line of [DECAY_COEFFICIENT] behind the object: pollutant, type, coefficient per day, pattern. An
/// error index, or 0.
[[nodiscard]] int32_t decay_readItems(const Tokens& tokens, Decay* decays);

/// The share of a concentration that is left after `seconds` in an hour of the day: 1 without decay.
[[nodiscard]] double decay_getFactor(Decay& decay, int32_t hour, double seconds);
