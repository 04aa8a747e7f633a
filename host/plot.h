#pragma once
// `tarnvelde plot`: lines of results over time, their duration curves, or a long section, as a picture.

#include <string>
#include <vector>

#include "handle.h"

struct PlotRequest {
    std::string file;
    std::vector<std::string> objects;
    std::vector<std::string> columns;
    std::string from, to;  ///< dates; empty: from the start on, to the end
    bool hasRain = false;
    std::string rain;   ///< the object whose rain hangs from the top; empty: the system's
    double mean = 0.0;  ///< h, over which concentrations are weighted by their flow; 0: they aren't
    bool hasMean = false;
    bool isCurve = false;
    std::vector<std::string> measured;  ///< files of values, each with ":COLUMN" behind it or without
    std::vector<std::string> section;   ///< a node and one below it; empty: no section
    std::vector<std::string> via;       ///< nodes on the way from the one to the other
    std::vector<std::string> at;        ///< dates of levels
    std::string model;                  ///< the project file
    EngineFolders engines;
    std::string output;  ///< whose extension is that of a form
};

/// Gives the exit status.
int plot_execute(const PlotRequest& request);
