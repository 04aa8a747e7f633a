#pragma once
// The file of the results of LID units, in two forms: a database of results, with the units as the rows of a table, or
// values divided by commas.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "resultfile.h"

struct LidFile;

struct LidFileEnd {
    void operator()(LidFile* file) const;
};
using LidFileHandle = std::unique_ptr<LidFile, LidFileEnd>;

/// What stands in the file.
struct LidTable {
    std::vector<std::string> units;  ///< names
    std::vector<ResultColumn> columns;
    double startDate = 0.0;
    int32_t reportStep = 0;  ///< s
};

/// A report.
struct LidReport {
    int64_t period = 0;
    double date = 0.0;
    std::vector<std::vector<double>> columns{};         ///< by column, one value by unit
    double inflow = 0.0, outflow = 0.0, storage = 0.0;  ///< m3/s, m3/s, m3: of all units
};

/// What SQLite writes beside the database on its way; empty for no file, and for values divided by commas.
[[nodiscard]] std::string lidfile_getJournal(const std::string& name);

/// Begins the file aside, with .csv at the end of its name as values divided by commas. None if it can't be written,
/// which the text tells.
[[nodiscard]] LidFileHandle lidfile_begin(const std::string& name, const LidTable& table, std::string& failure);

/// Adds the rows of a report. An empty text, or why it can't be done.
[[nodiscard]] std::string lidfile_add(LidFile& file, const LidReport& report);

/// Puts the file in place. An empty text, or why it can't be done.
[[nodiscard]] std::string lidfile_end(LidFile& file);
