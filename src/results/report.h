#pragma once
// The text report of a run.

struct Model;

/// Writes the banner of a new report.
void report_writeBanner(const Model& model);

/// Writes the description of the project, with a blank line after it.
void report_writeDescription(const Model& model);

/// Closes the balances and writes all tables.
void report_writeTables(Model& model);
