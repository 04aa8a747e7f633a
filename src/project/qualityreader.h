#pragma once
// Lines about pollutants that reach over several kinds of object.

#include <cstdint>

#include "text/tokens.h"

struct Model;

/// A line of [DECAY_COEFFICIENT] or [INITIAL_CONCENTRATION]. An error index, or 0.
[[nodiscard]] int32_t qualityreader_readDecay(Model& model, const Tokens& tokens);
[[nodiscard]] int32_t qualityreader_readInitial(Model& model, const Tokens& tokens);
