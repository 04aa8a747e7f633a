#pragma once
// The parts that the report's summary tables are made of.

#include <cstdint>

struct Model;

/// The title of a table between two lines of asterisks of its own length.
void tablewriter_writeTitle(const Model& model, const char* title);

/// Groups of 16 dashes, joined by single blanks.
void tablewriter_writeDashes(const Model& model, int32_t groups);

/// Two lines above the rows of pollutants: names, then a kilogram for each. `first` and `second` stand in front of
/// them, `width` characters wide.
void tablewriter_writePollutantLines(const Model& model, int32_t width, const char* first, const char* second);

/// Head of a table by pollutant: those two lines and dashes.
void tablewriter_writePollutantHead(const Model& model, const char* object);

/// A row of such a table; `values` may be missing, and counts as 0 then.
void tablewriter_writePollutantRow(const Model& model, const char* name, const double* values);
