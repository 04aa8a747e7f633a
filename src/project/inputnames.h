#pragma once
// Names of files in a project that has errors.

struct Model;

/// Notes all files that the lines of the open project name. Of a project without errors the rooms that open them have
/// done so; in one with errors nobody may have come so far, and its report must not be written over them all the same.
void inputnames_note(Model& model);
