#pragma once
// What a run is known by: the text beside a binary file, and the table in a database.

#include <map>
#include <string>

struct ResultFile;

/// Names and values as the library has left them for these results; empty if there are none, or if they belong to
/// results that stood there before.
[[nodiscard]] std::map<std::string, std::string> runidentity_read(const ResultFile& file);

/// The same in a line.
[[nodiscard]] std::string runidentity_describe(const std::map<std::string, std::string>& identity);
