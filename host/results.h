#pragma once
// `tarnvelde results`: what a file of results holds, one series of it, or a summary.

#include <string>

enum class SeriesForm { TABLE, CSV, JSON };

struct ResultsRequest {
    std::string file;
    std::string object;  ///< empty: all objects
    std::string column;  ///< empty: all columns
    bool isSummary;
    SeriesForm form;
};

/// Gives the exit status.
int results_execute(const ResultsRequest& request);
