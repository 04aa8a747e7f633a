#pragma once
// `tarnvelde report`: one page of HTML with all that there is to see of a run.

#include <string>

#include "handle.h"
#include "pagedata.h"

struct PageRequest {
    std::string input;         ///< a project, or results
    std::string compare;       ///< another one; empty for none
    std::string model;         ///< project of the results, for the network; empty for none
    std::string output;        ///< empty: beside the input
    std::string title;         ///< empty: the name of the input
    std::string templateFile;  ///< empty: the page that is built in
    double dataLimit = 40.0;   ///< MB of series
    double gap = 6.0;          ///< h without flow that end an event
    double threshold = 0.0;    ///< m3/s
    EngineFolders engines;
    int32_t threads = 1;
    bool hasBalances = false;  ///< loads are kept by place, for the causes of errors
    bool isQuiet = false;
};

/// Gives the exit status.
int page_execute(const PageRequest& request);

// --- parts of it ---------------------------------------------------------------------------------------------------

/// What became of an input.
struct PageEnd {
    int status = 0;         ///< exit status
    bool hasPage = true;    ///< there is something to show
    bool isTested = false;  ///< the page is none of the files that the project reads
};

/// Runs a project. Its series take `most` bytes of the page at most. What goes wrong is told on standard error, and by
/// the run.
[[nodiscard]] PageEnd pagemodel_run(const PageRequest& request, const std::string& model, uint64_t most, PageRun& run);

/// Reads a file of results. Throws ResultError.
[[nodiscard]] PageEnd pageresults_read(const PageRequest& request, const std::string& results, uint64_t most,
                                       PageRun& run);
