#pragma once
// `tarnvelde check`: reads and validates a project, and leaves nothing behind.

#include <string>

struct CheckRequest {
    std::string model;
    std::string engines;  ///< folder of the engines inside nodes; empty for the default
    bool isJson;
    bool isStrict;  ///< warnings make the exit status EXIT_DOUBT
};

/// Prints each error and each warning of the model with its place; the exit status.
int check_execute(const CheckRequest& request);
