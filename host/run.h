#pragma once
// `tarnvelde run`: a whole simulation, or a part of one.

#include <cstdint>
#include <string>
#include <vector>

#include "handle.h"
#include "statssteps.h"

/// What a run is asked for.
struct RunRequest {
    std::string model;
    std::string report;    ///< empty: beside the model
    std::string results;   ///< empty: beside the model, unless results go to the database
    std::string database;  ///< empty: beside the model
    bool toDatabase;
    std::vector<std::string> databaseParts;  ///< what it holds beyond its tables
    std::string until;                       ///< date to stop at; empty: the end
    std::string saveState;                   ///< file that the last state goes to; empty for none
    std::string loadState;                   ///< file of the state that the run goes on from; empty for none
    std::string hotStart;                    ///< file of the state that the water is taken from; empty for none
    StatsStepsRequest stats;
    std::string lidResults;  ///< file of the LID units over time; empty for none
    std::string byObject;    ///< file that the results go to once more, object by object; empty for none
    EngineFolders engines;
    int32_t threads = 1;  ///< that share the work
    bool isQuiet;
    bool isJson;
    bool isStrict;     ///< warnings, and a red balance, make the exit status EXIT_DOUBT
    bool hasBalances;  ///< loads are kept by place; the JSON has the balance of each
};

/// The bit of tv_database_form that a part of a database is called by; 0 for no part.
int32_t run_getDatabaseFlag(const std::string& part);

/// Runs the simulation; the exit status.
int run_execute(const RunRequest& request);
