#pragma once
// The one model that the functions of tarnvelde.h work on, since they name none.

struct Model;

/// The default model. It is there from the load of the library to its unload, and stands closed at first.
[[nodiscard]] Model& defaultmodel_get();

/// Puts a closed model in its place and lets the old one go as it stands. What a host may see of a project after its
/// end goes along: the current error, the paths of engines, options and clock; and the pace that it has set. Throws
/// without memory, and then the old model stays.
Model& defaultmodel_renew();
