#pragma once
// Records of inflow, patterns and curves against what reads them.

struct Model;

void records_review(const Model& model);
