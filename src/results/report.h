#pragma once
// The text report of a run.

/// Writes the banner of a new report.
void report_writeBanner();

/// Writes the description of the project, with a blank line behind it.
void report_writeDescription();

/// Closes the balances and writes all tables.
void report_writeTables();
