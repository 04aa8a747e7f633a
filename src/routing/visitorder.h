#pragma once
// The order in which a step visits the nodes.

#include <cstdint>

#include "model/table.h"

struct Model;

/// The nodes in an order that leaves what the sorted one leaves, bit by bit, and that goes through the tables of nodes
/// and links as straight as that allows. A node that the sorted order names twice stands there twice as well.
[[nodiscard]] Table<int32_t> visitorder_make(const Model& model);
