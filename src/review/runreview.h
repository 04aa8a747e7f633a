#pragma once
// What goes wrong with the water while a run goes on, and what the balances of its places say at its end.

struct Model;

/// Tells of the first object that has a value which is no number, at the step that ends. Nothing if no host wants
/// warnings.
void runreview_lookAtStep(const Model& model);

/// Tells of the places whose own balance is off. Once for a run.
void runreview_end(const Model& model);
