#pragma once
// What a project is known by again, so that a state is given to no other one.

#include <cstddef>
#include <cstdint>

struct Model;

/// Begins the sum of the text; adds a line of the project file to it.
void fingerprint_begin(Model& model);
void fingerprint_addLine(Model& model, const char* line, size_t length);

/// The sum of all that the project has read: its own text, and the other files that the rooms have noted.
[[nodiscard]] uint64_t fingerprint_sumInputs(const Model& model);

/// Sums up the objects and how they are joined, when all is read and validated.
void fingerprint_takeStructure(Model& model);
