#pragma once
// Names of commands.

#include <string>
#include <vector>

/// The message to a user who asks for an unknown command: the one that was meant, if it can be guessed, and all
/// that there are.
[[nodiscard]] std::string commands_describeUnknown(const std::string& name, const std::vector<std::string>& known);
