#pragma once
// `tarnvelde explain`: what a warning means, and what to do.

#include <string>

/// Tells of the warning of a name, in any case and with or without its W-; of all if it is empty. The exit status.
int explain_execute(const std::string& name);
