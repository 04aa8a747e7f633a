#pragma once
// The runoff step.

/// Advances the runoff clock by one runoff step. Nothing happens while an error stands.
void runoff_advance();
