#pragma once
// `tarnvelde ensemble`: many runs of a project, which the Python package does.

/// Hands the words behind the command over to `python3 -m tarnvelde ensemble` and doesn't come back; an exit status if
/// no Python with the package is found.
int ensemble_execute(int wordCount, char** words);
