#pragma once
// The row of the whole system.

#include <vector>

#include "results/rows.h"
#include "text/datetime.h"

struct Model;

/// Fills the row of the system at a date. The factors weigh the newer state of the network and of the land.
void systemrow_fill(Model& model, DateTime date, double networkFactor, double landFactor, float* row);

/// The same from sums that the rows of all runs have been added to.
void systemrow_close(Model& model, DateTime date, const std::vector<RowRun>& runs, const float* sums, float* row);

/// The same as of now, in double and with the rain of the last runoff step, for a host between two steps.
void systemrow_fillNow(Model& model, double* row);
