#pragma once
// `tarnvelde plot`: lines of results over time, as a picture.

#include <string>
#include <vector>

struct PlotRequest {
    std::string file;
    std::vector<std::string> objects;
    std::string column;
    std::string from, to;  ///< dates; empty: from the start on, to the end
    std::string output;    ///< whose extension is that of a form
};

/// Gives the exit status.
int plot_execute(const PlotRequest& request);
