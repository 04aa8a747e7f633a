#pragma once
// A model of the library, which goes with its owner.

#include <memory>
#include <string>

#include "tarnvelde_model.h"

struct ModelEnd {
    void operator()(tv_model* model) const { tv_free(model); }
};
using ModelHandle = std::unique_ptr<tv_model, ModelEnd>;

/// Folders of the engines inside nodes; empty for the default.
struct EngineFolders {
    std::string engines;  ///< where they stand
    std::string scratch;  ///< where private copies of them are made
};

/// A closed model that looks for the engines inside nodes in these folders.
[[nodiscard]] ModelHandle handle_make(const EngineFolders& folders);
