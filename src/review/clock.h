#pragma once
// The steps of the project against each other and against its duration.

struct Model;

void clock_review(const Model& model);
