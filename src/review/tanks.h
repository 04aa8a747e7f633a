#pragma once
// Tanks and their outlets against each other and against the routing step.

struct Model;

void tanks_review(const Model& model);
