#pragma once
// What coupled nodes exchange with their models.

struct Model;

void exchange_review(const Model& model);
