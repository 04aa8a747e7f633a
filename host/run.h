#pragma once
// `tarnvelde run`: a whole simulation, or a part of one.

#include <cstdint>
#include <string>

#include "handle.h"
#include "statssteps.h"

/// What a run is asked for.
struct RunRequest {
    std::string model;
    std::string report;    ///< empty: beside the model
    std::string results;   ///< empty: beside the model, unless results go to the database
    std::string database;  ///< empty: beside the model
    bool toDatabase;
    std::string until;      ///< date to stop at; empty: the end
    std::string saveState;  ///< file that the last state goes to; empty for none
    std::string loadState;  ///< file of the state that the run goes on from; empty for none
    std::string hotStart;   ///< file of the state that the water is taken from; empty for none
    StatsStepsRequest stats;
    std::string lidResults;  ///< file of the LID units over time; empty for none
    EngineFolders engines;
    int32_t threads = 1;  ///< that share the work
    bool isQuiet;
    bool isJson;
    bool isStrict;     ///< warnings, and a red balance, make the exit status EXIT_DOUBT
    bool hasBalances;  ///< loads are kept by place; the JSON has the balance of each
};

/// Runs the simulation; the exit status.
int run_execute(const RunRequest& request);
