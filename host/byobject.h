#pragma once
// `tarnvelde results --by-object`: the same results in another order, so that one series lies in one place.

#include <string>

/// Writes the results of a file by object into another one, aside until it is whole. Throws ResultError.
void byobject_write(const std::string& source, const std::string& target);

/// Why the file by object can't be put there; empty if it can. It would take the place of the results, or of what tells
/// of their run.
[[nodiscard]] std::string byobject_findConflict(const std::string& source, const std::string& target);

/// The same with messages on standard error; the exit status.
int byobject_execute(const std::string& source, const std::string& target);
