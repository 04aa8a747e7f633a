#pragma once
// Why the file of a time series can't be read. The engine names the series alone.

#include <string>

/// What is wrong with the first line that the engine refuses, with its number and its file; empty if nothing is found.
/// The name is tried as it is, and then beside the project.
[[nodiscard]] std::string seriesfaults_find(const std::string& project, const std::string& name);
