#pragma once
// A model of the library, which goes with its owner.

#include <memory>
#include <string>

#include "tarnvelde_model.h"

struct ModelEnd {
    void operator()(tv_model* model) const { tv_free(model); }
};
using ModelHandle = std::unique_ptr<tv_model, ModelEnd>;

/// A closed model that looks for the engines inside nodes in this folder, or, without one, where it does by default.
[[nodiscard]] ModelHandle handle_make(const std::string& engines);
