#pragma once
// Objects that nothing names.

struct Model;

void usage_review(const Model& model);
