#pragma once
// Land uses, and layers of LID controls, whose lines say something in vain.

struct Model;

void layers_review(const Model& model);
