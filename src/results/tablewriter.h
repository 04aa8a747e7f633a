#pragma once
// The parts that the report's summary tables are made of.

#include <cstddef>

/// The title of a table between two lines of asterisks of its own length.
void table_writeTitle(const char* title);

/// Groups of 16 dashes, joined by single blanks.
void table_writeDashes(size_t groups);

/// Head of a table by pollutant: names, then a kilogram for each.
void table_writePollutantHead(const char* object);

/// A row of such a table; `values` may be missing, and counts as 0 then.
void table_writePollutantRow(const char* name, const double* values);
