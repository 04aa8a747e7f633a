#pragma once
// The ways of the water through the network: its order, its loops, its heads, and what passes where.

struct Model;

void ways_review(const Model& model);
