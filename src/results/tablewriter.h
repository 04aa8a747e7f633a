#pragma once
// The parts that the report's summary tables are made of.

#include <cstdint>

/// The title of a table between two lines of asterisks of its own length.
void tablewriter_writeTitle(const char* title);

/// Groups of 16 dashes, joined by single blanks.
void tablewriter_writeDashes(int32_t groups);

/// Head of a table by pollutant: names, then a kilogram for each.
void tablewriter_writePollutantHead(const char* object);

/// A row of such a table; `values` may be missing, and counts as 0 then.
void tablewriter_writePollutantRow(const char* name, const double* values);
