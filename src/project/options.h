#pragma once
// General options of a project: the [GENERAL] section.

#include <cstdint>

/// Gives every option the value that it has when no line names it.
void options_setDefaults();

/// Takes one key and its value. An error index, or 0.
[[nodiscard]] int32_t options_read(const char* key, const char* value);
