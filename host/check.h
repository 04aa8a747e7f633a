#pragma once
// `tarnvelde check`: reads and validates a project, and leaves nothing behind.

#include <string>

/// Prints each error of the model with its place; the exit status.
int check_execute(const std::string& model);
