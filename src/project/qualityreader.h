#pragma once
// Lines about pollutants that reach over several kinds of object.

#include <cstdint>

#include "text/tokens.h"

/// A line of [DECAY_COEFFICIENT] or [INITIAL_CONCENTRATION]. An error index, or 0.
[[nodiscard]] int32_t qualityreader_readDecay(const Tokens& tokens);
[[nodiscard]] int32_t qualityreader_readInitial(const Tokens& tokens);
