#pragma once
// Where the objects of a project stand in its file.

struct Model;
struct WarningLog;

/// Goes through the file once more and notes where each object is defined, in the order of its table. The file goes on
/// from where it stood.
void places_find(const Model& model, WarningLog& warnings);
