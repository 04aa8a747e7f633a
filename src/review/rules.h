#pragma once
// What the actions of rules act on.

struct Model;

void rules_review(const Model& model);
