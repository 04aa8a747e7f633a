#pragma once
// Results of LID units on subcatchments over time, which the files of results have no rows for: a file of their own.

#include <memory>
#include <string>

#include "tarnvelde_model.h"

struct LidResults;

struct LidResultsEnd {
    void operator()(LidResults* results) const;
};
using LidResultsHandle = std::unique_ptr<LidResults, LidResultsEnd>;

/// Begins the file of a started run. None if it can't be written, which the text tells.
[[nodiscard]] LidResultsHandle lidresults_begin(const std::string& file, const tv_model* model, std::string& failure);

/// Adds a row of each unit after a step in which a report period has ended. Failures are reported at the end.
void lidresults_add(LidResults& results, const tv_model* model);

/// Puts the file in place. An empty text, or why it can't be done.
[[nodiscard]] std::string lidresults_end(LidResults& results);
