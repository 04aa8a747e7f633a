#pragma once
// What a model says beside its report.

struct Model;

/// Progress and the failures that no report can hold, on standard output, unless the model is silent.
void messages_tell(const Model& model, const char* text);
