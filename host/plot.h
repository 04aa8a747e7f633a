#pragma once
// `tarnvelde plot`: lines of results over time, as an SVG picture.

#include <string>
#include <vector>

struct PlotRequest {
    std::string file;
    std::vector<std::string> objects;
    std::string column;
    std::string output;
};

/// Gives the exit status.
int plot_execute(const PlotRequest& request);
