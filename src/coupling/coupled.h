#pragma once
// Both kinds of node with an outside model inside, where they are treated as one.

#include "model/project.h"

struct Model;
struct OutsideNode;

/// Whether a node of this kind has an outside model inside.
[[nodiscard]] inline bool coupled_isKind(int32_t kind) {
    return kind == SWMM || kind == VORN;
}

/// What a node with an outside model inside keeps of it, whatever its kind; null for all others.
[[nodiscard]] const OutsideNode* coupled_findOutside(const Model& model, const Node& node);

/// Makes the tables of both kinds, and loads the library of each node. Writes what is wrong to the report.
void coupled_createNodes(Model& model);

/// Closes all models, releases all libraries and deletes their copies.
void coupled_deleteNodes(Model& model);
