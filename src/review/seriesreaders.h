#pragma once
// Time series against those that read them.

struct Model;

void seriesreaders_review(const Model& model);
