#pragma once
// The folder review: what a project that has been read and found right may still be wrong in, and where the water of a
// run went. It uses all floors below; it must change nothing that a run or a file shows, and say all it finds as
// warnings, balances and a verdict.
//
// The review of a project that has no errors.

struct Model;

/// Tells what can hardly be meant in the project as a whole. Nothing if no host wants warnings.
void review_project(const Model& model);
