#pragma once
// `tarnvelde check`: reads and validates a project, and leaves nothing behind.

#include <string>

#include "handle.h"

struct CheckRequest {
    std::string model;
    EngineFolders engines;
    bool isJson;
    bool isStrict;  ///< warnings make the exit status EXIT_DOUBT
};

/// Prints each error and each warning of the model with its place; the exit status.
int check_execute(const CheckRequest& request);
