#pragma once
// What a run is known by again: its version, what it read, where it began and how it ended. The formats of the results
// stay as readers know them: a database gets a table of its own for it, a binary file a text beside it.

#include <string>
#include <utility>
#include <vector>

#include "text/datetime.h"

struct Model;

/// "2021-03-01 06:00:00".
[[nodiscard]] std::string identity_formatDate(DateTime date);

/// Names and values, as the run stands now.
[[nodiscard]] std::vector<std::pair<const char*, std::string>> identity_list(const Model& model);

/// Takes away the text of an earlier run beside a binary file that is to be put in place.
void identity_removeBeside(const std::string& results);

/// Writes the text beside a binary file that was put in place. Where something else stands it is left away.
void identity_writeBeside(const Model& model, const std::string& results);
