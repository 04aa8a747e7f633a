#pragma once
// The routing step against what objects bear.

struct Model;

void steps_review(const Model& model);
