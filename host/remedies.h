#pragma once
// What to do about the errors of the engine.

#include <cstdint>

/// In one sentence or two; empty for a code that has none.
[[nodiscard]] const char* remedies_find(int32_t code);
