#pragma once
// `tarnvelde results --recover`: closes a binary file whose run was killed.

#include <string>

/// Gives the exit status.
int recover_execute(const std::string& name);
