#pragma once
// Tables of a page: those of the text report, with the same numbers, and what the page knows beside them.

#include <string>
#include <vector>

#include "pagedata.h"
#include "pagewatch.h"
#include "statssteps.h"
#include "tarnvelde_model.h"

/// Balances and totals of a run that is started or finished.
[[nodiscard]] std::vector<PageTable> pagetables_read(const tv_model* model, const PageWatch& watch);

/// Statistics of events and the largest of them: of outfalls, and of pumps, weirs and orifices. Nothing where there are
/// none. `pollutants` names the loads of the events.
void pagetables_addEvents(std::vector<PageTable>& tables, const std::vector<StatsStepsFound>& list,
                          const std::vector<std::string>& pollutants, const std::string& note);

// --- parts of it ---------------------------------------------------------------------------------------------------

/// A table that grows by columns. Each has a cell for each row.
void pagetables_addTexts(PageTable& table, const std::string& name, const std::vector<std::string>& texts);
void pagetables_addNumbers(PageTable& table, const std::string& name, const std::string& unit,
                           const std::vector<double>& numbers, int digits = 3);
void pagetables_addDates(PageTable& table, const std::string& name, const std::vector<double>& dates);
