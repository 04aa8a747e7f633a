#pragma once
// `tarnvelde explain`: what a warning or an error means, and what to do.

#include <string>

/// Tells of the warning of a name, in any case and with or without its W-, or of the error of a number; of all warnings
/// if it is empty. The exit status.
int explain_execute(const std::string& name);
