#pragma once
// Names of commands.

#include <string>
#include <vector>

/// What a user is told who asks for a command that isn't known: the one that was meant, if it can be guessed, and all
/// that there are.
[[nodiscard]] std::string commands_describeUnknown(const std::string& name, const std::vector<std::string>& known);
