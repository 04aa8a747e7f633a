#pragma once
// What a run's balances say: how large the continuity errors are, whether that is usual, and which places make them.

#include <cstdint>
#include <vector>

#include "model/balance.h"

struct Model;

/// How an error is to be taken. Users and reviewing agencies look for the cause above 5 %; below 1 % it is usual of
/// explicit schemes.
enum VerdictGrade : int32_t {
    GRADE_NOTHING,  ///< nothing came in, so there is no error
    GRADE_GREEN,    ///< under 1 %
    GRADE_AMBER,    ///< to 5 %
    GRADE_RED       ///< above, or no number
};

/// A part of the system that has a continuity table of its own.
enum VerdictPart : int32_t { PART_RUNOFF, PART_WASHOFF, PART_FLOW, PART_QUALITY };

/// A place that makes a part of an error.
struct VerdictCause {
    int32_t type;  ///< ObjectType: SUBCATCH, NODE or LINK
    int32_t index;
    Balance balance;  ///< m3 or kg
    double share;     ///< of the sizes of what all places miss, 0 ... 1
};

struct Verdict {
    int32_t part;                      ///< VerdictPart
    int32_t pollutant;                 ///< -1 for water
    double in;                         ///< m3 or kg, with what was stored at the start
    double missing;                    ///< m3 or kg, in no account; negative for what came from nowhere
    double error;                      ///< %, as the report has it
    int32_t grade;                     ///< VerdictGrade
    std::vector<VerdictCause> causes;  ///< most first; none of loads that aren't kept
};

/// The verdict of the run so far: water on the land and in the network, then each pollutant likewise. Parts without an
/// object are left out.
[[nodiscard]] std::vector<Verdict> verdict_make(const Model& model);
