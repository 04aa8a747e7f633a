#pragma once
// Patterns: up to 24 factors, looked up by the hour of the day.

#include <cstdint>

#include "model/table.h"
#include "text/datetime.h"
#include "text/tokens.h"

struct Model;

enum PatternType : int32_t { PATTERN_MONTHLY, PATTERN_HOURLY };

constexpr int32_t PATTERN_SIZE = 24;

struct Pattern {
    const char* id;                ///< the ID as first seen; null until the first line is read
    int32_t type;                  ///< PatternType; only those who may name the pattern ask for it
    int32_t count;                 ///< factors read
    double factors[PATTERN_SIZE];  ///< 0 where none was read
};

/// A line of [PATTERNS]. An error index, or 0.
[[nodiscard]] int32_t pattern_read(Model& model, const Tokens& tokens);

/// The factor in an hour of the day (0 ... 23), for every type of pattern: one of monthly type is looked up by the hour
/// too. 1.0 for an index outside the table.
[[nodiscard]] double pattern_getFactor(const Model& model, int32_t pattern, int32_t hour);

/// For tests: the same in the hour of a date. A step works its hour out once for all that ask.
[[nodiscard]] double pattern_hourlyFactor(const Model& model, int32_t pattern, DateTime date);
