#pragma once
// `tarnvelde --version`: what this program was made of.

#include <string>

/// The version on the first line; then those of the library and of SQLite that run, the commit and the compiler.
/// Without a line end behind the last one.
std::string version_describe();
