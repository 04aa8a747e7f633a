#pragma once
// General options of a project: the [GENERAL] section.

#include <cstdint>

#include "text/tokens.h"

struct Model;

/// Gives every option the value that it has when no line names it.
void options_setDefaults(Model& model);

/// Takes a line of the section. An error index, or 0.
[[nodiscard]] int32_t options_readLine(Model& model, const Tokens& tokens);

/// Takes one key and its value. An error index, or 0.
[[nodiscard]] int32_t options_read(Model& model, const char* key, const char* value);

/// Whether the file names an option; false if nobody wants warnings.
[[nodiscard]] bool options_isGiven(const Model& model, const char* key);
