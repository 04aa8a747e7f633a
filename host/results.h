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
    bool isRecovery = false;
    bool isByObject = false;  ///< a file by object is made
    std::string output;       ///< its name
    SeriesForm form;
};

/// Opens a file that has reports, and tells on standard error if its run was not ended. Throws ResultError.
void results_open(ResultFile& file, const std::string& name);

/// Tells on standard error of a file whose run was not ended.
void results_tellCut(const ResultFile& file);

/// Gives the exit status.
int results_execute(const ResultsRequest& request);

/// Reads both ends of a window. False, with a message on standard error, if its end lies ahead of its start.
[[nodiscard]] bool results_readWindow(const std::string& from, const std::string& to, ResultWindow* window);

// --- parts of it ---------------------------------------------------------------------------------------------------

/// What the request asks for, table by table in the order of the file: none without objects or columns. Throws
/// ResultError.
std::vector<ResultPart> results_choose(const ResultFile& file, const ResultsRequest& request);

// Bytes of series that are held together. More than so much is read in several walks: those through a binary file skip
// what isn't wanted, those through a database can't.
inline constexpr uint64_t RESULTS_MOST_OF_FILE = uint64_t{32} << 20, RESULTS_MOST_OF_DATABASE = uint64_t{256} << 20;

/// The first objects of what is left of a part, from the object `begin` on: as many as may be held in memory together,
/// by the bytes that each of them takes, but one at least.
template <class Measure>
ResultPart results_cut(const ResultPart& part, size_t begin, uint64_t most, Measure measure) {
    ResultPart cut{part.table, {}, part.columns};
    uint64_t bytes = 0;
    for (size_t k = begin; k < part.objects.size(); ++k) {
        bytes += measure(part.objects[k]);
        if (k > begin && bytes > most) {
            break;
        }
        cut.objects.push_back(part.objects[k]);
    }
    return cut;
}

void results_showSeries(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window);
void results_showSummary(const ResultFile& file, const ResultsRequest& request, const ResultWindow& window);

/// The shortest text that reads back as the same single-precision number, which all results are; `none` for what is no
/// finite number.
std::string results_formatNumber(double value, const char* none);

std::string results_addUnit(const ResultColumn& column);
