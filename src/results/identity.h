#pragma once
// What a run is known by again: its version, what it read, where it began and how it ended. The formats of the results
// stay as readers know them: a database gets a table of its own for it, a binary file a text beside it.

#include <string>
#include <utility>
#include <vector>

struct Model;

/// What stands behind the name of a binary file for the text about its run.
constexpr const char* IDENTITY_ENDING = ".run";

/// Names and values, as the run stands now.
[[nodiscard]] std::vector<std::pair<const char*, std::string>> identity_list(const Model& model);

/// Takes away the text about the run before, ahead of its results: whatever comes between, no text tells of others.
void identity_removeBeside(const Model& model);

/// Writes the text beside the binary file that has just been put in place; one that can't be written is left away.
void identity_writeBeside(const Model& model);
