#pragma once
// Files of the program's own making, which take the place of older ones at once or not at all.

#include <string>

/// Where the bytes of a file stand until they are whole: its name, followed through links, with ".part" behind it.
[[nodiscard]] std::string aside_getName(const std::string& name);

/// Writes the bytes aside and puts them in place when they are whole and on the disk: until then, what stood there
/// stays. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_write(const std::string& name, const std::string& bytes);
