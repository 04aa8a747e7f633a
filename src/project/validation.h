#pragma once
// What a reader of single lines can't see, and the state at time zero.

struct Model;

/// Checks the finished tables; writes all that is wrong to the report, and doesn't stop at the first.
void validation_run(Model& model);

/// Puts the whole state to time zero.
void validation_setStartState(Model& model);
