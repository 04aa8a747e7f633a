#pragma once
// General options of a project: the [GENERAL] section.

#include <cstdint>

struct Model;

/// Gives every option the value that it has when no line names it.
void options_setDefaults(Model& model);

/// Takes one key and its value. An error index, or 0.
[[nodiscard]] int32_t options_read(Model& model, const char* key, const char* value);
