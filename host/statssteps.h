#pragma once
// Statistics of a run from its steps, in place of report periods: what begins and ends between two reports counts to
// the second, and loads are those of the engine.

#include <memory>
#include <string>
#include <vector>

#include "statssummary.h"
#include "tarnvelde_model.h"

struct StatsSteps;

struct StatsStepsEnd {
    void operator()(StatsSteps* steps) const;
};
using StatsStepsHandle = std::unique_ptr<StatsSteps, StatsStepsEnd>;

/// What is asked of a run.
struct StatsStepsRequest {
    std::string file;        ///< empty for none; with .csv at its end a row for each event, else JSON
    double gap = 6.0;        ///< h
    double threshold = 0.0;  ///< m3/s
};

/// Outfalls, pumps, weirs and orifices of a started run.
[[nodiscard]] StatsStepsHandle statssteps_begin(const StatsStepsRequest& request, const std::string& project,
                                                const tv_model* model);

/// Takes what the last step has made.
void statssteps_add(StatsSteps& steps, const tv_model* model);

/// What was found of an object.
struct StatsStepsFound {
    std::string table;  ///< of results, as "Weir"
    std::string object;
    StatsSummary summary;
    std::vector<StatsEvent> events;
};

/// Ends the walks and hands over what they have found, object by object; loads are in the order of the pollutants.
[[nodiscard]] std::vector<StatsStepsFound> statssteps_take(StatsSteps& steps);

/// Writes the file. An empty text, or why it can't be done.
[[nodiscard]] std::string statssteps_write(StatsSteps& steps);
