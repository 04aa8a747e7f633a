#pragma once
// Time series against those that read them.

struct Model;

void series_review(const Model& model);
