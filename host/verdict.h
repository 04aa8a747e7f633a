#pragma once
// Where the water of a run went: its continuity errors with what is usual, and the places that make them.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tarnvelde_model.h"

/// A place that makes a part of an error, or a balance that was asked for.
struct HostPlace {
    std::string kind;  ///< "subcatchment", "LID unit", "node" or "link"
    std::string id;
    double missing;  ///< m3 or kg
    double share;    ///< 0 ... 1
};

struct HostVerdict {
    std::string part;       ///< "runoff", "washoff", "flow" or "quality"
    std::string pollutant;  ///< empty for water
    double in, missing;     ///< m3 or kg
    double error;           ///< %
    int32_t grade;          ///< tv_grade
    std::string words;
    std::vector<HostPlace> causes;
};

/// The balance of one place.
struct HostBalance {
    std::string kind;
    std::string id;
    tv_balance water;
    std::vector<std::pair<std::string, tv_balance>> loads;  ///< by ID of the pollutant, those that are kept
};

/// Of a run that is started or finished, as of now.
[[nodiscard]] std::vector<HostVerdict> verdict_read(tv_model* model);

/// Balances of all places.
[[nodiscard]] std::vector<HostBalance> verdict_readBalances(const tv_model* model);

/// Whether a continuity error is red.
[[nodiscard]] bool verdict_isRed(const std::vector<HostVerdict>& verdicts);

/// The name of a grade.
[[nodiscard]] const char* verdict_getGradeName(int32_t grade);

/// Two lines on standard error: the errors, and what misses most; none if all is green and only the rest is wanted.
void verdict_show(const std::vector<HostVerdict>& verdicts, bool isGreenShown);
