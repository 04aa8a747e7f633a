#pragma once
// Whether objects of the network may rest in a step: what can't change isn't worked out.

#include <cstdint>

#include "text/datetime.h"

struct Model;

/// Decides for a step that ends at a date, and gives it the key of all rests that still hold.
void rest_beginStep(Model& model, DateTime date);

/// The key of what may rest in this step; -1 if nothing may.
[[nodiscard]] int32_t rest_getKey(const Model& model);
