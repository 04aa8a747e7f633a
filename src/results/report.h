#pragma once
// The text report of a run.

struct Model;

/// Writes the banner of a new report.
void report_writeBanner(Model& model);

/// Writes the description of the project, with a blank line behind it.
void report_writeDescription(Model& model);

/// Closes the balances and writes all tables.
void report_writeTables(Model& model);
