#pragma once
// Time series against the run and against what reads them, and patterns.

struct Model;

void series_review(const Model& model);
