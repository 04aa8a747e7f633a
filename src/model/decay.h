#pragma once
// Reaction of a pollutant, hour by hour: in a tank, a pipe, a conduit, or a layer of a LID control.

#include <cstdint>

#include "text/tokens.h"

struct Model;

/// Words of reactions: CONST_CONCEN, CONST_RATIO, ZERO, FIRST.
extern const char* const ReactionWords[];

/// OXYGEN is a law of reactors alone (nodes/oxygen.h).
enum ReactionType : int32_t { CONST_CONCEN, CONST_RATIO, ZERO_ORDER, FIRST_ORDER, OXYGEN };

struct Decay {
    int32_t type;     ///< ReactionType, or -1 for none; lines of the project file set first order only
    int32_t pattern;  ///< factors of k by the hour, or -1
    double k;         ///< 1/s
    double exponent;  ///< of the factor worked out last; 0 before the first
    double factor;    ///< that factor
};

/// No reaction.
inline constexpr Decay NO_DECAY{-1, -1, 0.0, 0.0, 1.0};

/// The decay records of a tank, a pipe or a conduit, one per pollutant; null without memory. Only the first is set to
/// NO_DECAY; the others stay zero, which is no first-order decay either.
[[nodiscard]] Decay* decay_create(Model& model);

/// Whether some pollutant of an object decays.
[[nodiscard]] bool decay_isAny(const Model& model, const Decay* decays);

/// What a line of [DECAY_COEFFICIENT] says of its object: which pollutant reacts, and how.
struct Reaction {
    int32_t pollutant;
    Decay decay;
};

/// Reads the items of a line from token 2 on: pollutant, type, coefficient per day, pattern. An error index, or 0. A
/// word that is no type counts as a type that doesn't decay, or is refused as a word where `tellsWords`.
[[nodiscard]] int32_t decay_readReaction(Model& model, const Tokens& tokens, bool tellsWords, Reaction& reaction);

/// The same, into the records of a tank, a pipe or a conduit.
[[nodiscard]] int32_t decay_readItems(Model& model, const Tokens& tokens, Decay* decays);

/// The share of a concentration that first-order decay leaves after `seconds` in an hour of the day: 1 without decay,
/// and for any other reaction.
[[nodiscard]] double decay_getFactor(const Model& model, Decay& decay, int32_t hour, double seconds);

/// A concentration (mg/L) after `seconds` of any reaction in an hour of the day.
[[nodiscard]] double decay_react(const Model& model, Decay& decay, double concentration, int32_t hour, double seconds);
