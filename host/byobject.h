#pragma once
// A file by object: the same results in another order, so that one series lies in one place.

#include <string>

#include "resultfile.h"

/// Writes results that stand report by report into a file by object, aside until it is whole. Throws ResultError.
void byobject_write(const ResultFile& results, const std::string& target);

/// Why the file by object can't be put there; empty if it can. It would take the place of the results, or of what tells
/// of their run.
[[nodiscard]] std::string byobject_findConflict(const std::string& source, const std::string& target);
