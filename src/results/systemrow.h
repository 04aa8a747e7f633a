#pragma once
// The row of the whole system.

#include <vector>

#include "results/rows.h"
#include "text/datetime.h"

struct Model;

/// Fills the row of the system at a date from the sums that all runs have added to.
void systemrow_close(Model& model, DateTime date, const std::vector<RowRun>& runs, const float* sums, float* row);

/// The same as of now, in double and with the rain of the last runoff step, for a host between two steps.
void systemrow_fillNow(Model& model, double* row);
