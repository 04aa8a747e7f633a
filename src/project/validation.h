#pragma once
// What a reader of single lines can't see, and the state at time zero.

#include <cstdint>

/// Checks the finished tables; writes all that is wrong to the report, and doesn't stop at the first.
void validation_run();

/// Puts all state variables to time zero. The current error.
int32_t validation_setStartState();
