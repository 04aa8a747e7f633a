#pragma once
// Series that somebody has measured, from files of values divided by commas, semicolons or tabs.

#include <string>
#include <vector>

#include "resultfile.h"

struct Measured {
    std::string name;  ///< of the file without its folder and extension, with the column behind it if that has a name
    std::string unit;  ///< in brackets behind the title of the column, as "m3/s"; empty for none
    ResultSeries series;
    std::vector<std::string> faults;  ///< lines that couldn't be read, each with its number
};

/// The file that "FILE" or "FILE:COLUMN" names: what stands ahead of a colon, if there is no file of the whole name.
[[nodiscard]] std::string measured_getFile(const std::string& name);

/// Reads "FILE" or "FILE:COLUMN". A date stands in the first column, as dates_parse reads it, and may end with a Z; the
/// column is found by its title, with or without its unit, or by its number, and is the second one where none is named.
/// A first line without a date and numbers has the titles. Empty fields and "nan" are no values. Throws ResultError.
[[nodiscard]] Measured measured_read(const std::string& name);
