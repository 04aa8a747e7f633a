#pragma once
// A model of the library, which goes with its owner.

#include <memory>
#include <string>
#include <vector>

#include "tarnvelde_model.h"

struct ModelEnd {
    void operator()(tv_model* model) const { tv_free(model); }
};
using ModelHandle = std::unique_ptr<tv_model, ModelEnd>;

/// Folders of the engines inside nodes; empty for the default.
struct EngineFolders {
    std::vector<std::string> engines;  ///< where they are, or names of some that were installed; the first one counts
    std::string scratch;               ///< where private copies of them are made
};

/// The folder of engines that were installed with the program, or built beside it, under a name; empty if there is
/// none.
[[nodiscard]] std::string handle_findEngines(const std::string& name);

/// A closed model that looks for the engines inside nodes in these folders.
[[nodiscard]] ModelHandle handle_make(const EngineFolders& folders);
