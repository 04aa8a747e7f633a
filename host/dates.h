#pragma once
// Dates on the command line, as the engine counts them: days since 30 December 1899.

#include <string>

/// Reads a date, or a date and a time of day behind a blank or a T, as the project file writes them: 2024/06/18,
/// 2024-JUN-18; 6:30, 6:30:15, or 6.5 hours. False for what is none.
[[nodiscard]] bool dates_parse(const std::string& text, double* date);

/// A date by the second that is nearest, counted from the same day: dates of results are rounded.
[[nodiscard]] double dates_countSeconds(double date);
