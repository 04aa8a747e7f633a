#pragma once
// Continuity errors of a run.

#include <vector>

#include "outcome.h"

/// Those that the library knows of a run that is started or finished, as of now.
[[nodiscard]] std::vector<Balance> balances_read(const tv_model* model);
