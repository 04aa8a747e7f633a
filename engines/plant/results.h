#pragma once
// Results of a plant as a table with commas between its columns, and its books as text.

#include <string>

#include "plant.h"

/// The names of the columns, with units, as one line.
[[nodiscard]] std::string results_writeHead(const Plant& plant);

/// The row of the latest step, as one line.
[[nodiscard]] std::string results_writeRow(const Plant& plant);

/// Balances since the start.
[[nodiscard]] std::string results_writeBooks(const Plant& plant);

/// The state of tanks and layers as lines of the section [INITIAL].
[[nodiscard]] std::string results_writeState(const Plant& plant);

/// Writes a file aside and puts it in place. An empty text, or why not.
[[nodiscard]] std::string results_writeFile(const std::string& name, const std::string& bytes);
