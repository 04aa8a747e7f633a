#pragma once
// `tarnvelde results`: what a file of results holds, series of it, or a summary.

#include <string>
#include <vector>

#include "resultfile.h"

enum class SeriesForm { TABLE, CSV, JSON };

struct ResultsRequest {
    std::string file;
    std::vector<std::string> objects;
    std::vector<std::string> tables;   ///< all objects of these. Without objects and tables: all of the file
    std::vector<std::string> columns;  ///< empty: all columns
    std::string from, to;              ///< dates; empty: from the start on, to the end
    bool isSummary;
    SeriesForm form;
};

/// Gives the exit status.
int results_execute(const ResultsRequest& request);

/// Reads both ends of a window. False, with a message on standard error, if its end lies ahead of its start.
[[nodiscard]] bool results_readWindow(const std::string& from, const std::string& to, ResultWindow* window);

// --- parts of it ---------------------------------------------------------------------------------------------------

/// An object with the columns that were chosen.
struct ChosenObject {
    size_t table;
    size_t object;
    std::vector<size_t> columns;
};

/// What the request asks for, in the order of the file. Throws ResultError.
std::vector<ChosenObject> results_choose(const ResultFile& file, const ResultsRequest& request);

/// Chosen objects of one table stand together; `only` is the object if they are one, else RESULT_ALL.
struct ChosenTable {
    size_t table;
    size_t only;
    size_t begin, end;  ///< in the list of objects
};
std::vector<ChosenTable> results_groupTables(const std::vector<ChosenObject>& chosen);

void results_showSeries(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window);
void results_showSummary(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window);

/// The shortest text that reads back as the same single-precision number, which all results are; `none` for what is no
/// finite number.
std::string results_formatNumber(double value, const char* none);

std::string results_addUnit(const ResultColumn& column);

/// Control characters of a name must not reach the terminal.
std::string results_makePrintable(const std::string& text);

std::string results_quoteCsv(const std::string& text);
