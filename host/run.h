#pragma once
// `tarnvelde run`: a whole simulation.

#include <string>

/// What a run is asked for.
struct RunRequest {
    std::string model;
    std::string report;   ///< empty: beside the model
    std::string results;  ///< empty: beside the model
    bool toDatabase;      ///< results go to the database instead of the binary file
    bool isQuiet;
};

/// Runs the simulation; the exit status.
int run_execute(const RunRequest& request);
