#pragma once
// The land: shares of the land uses, and drains of LID controls.

struct Model;

void land_review(const Model& model);
