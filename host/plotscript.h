#pragma once
// The script by which gnuplot draws a picture.

#include <string>
#include <vector>

#include "picture.h"
#include "resultfile.h"

struct PlotLine {
    std::string title;
    std::string unit;
    ResultSeries series;
};

/// All that is drawn.
struct PlotPicture {
    PictureForm form;
    std::string column;
    std::vector<PlotLine> lines;
    bool hasRain;
    PlotLine rain;       ///< hangs from the top
    double first, last;  ///< dates, of the axis
    int32_t reportStep;  ///< s
};

/// What stands beside the axis: the column with its unit, if all lines have the same.
[[nodiscard]] std::string plotscript_getLabel(const PlotPicture& picture);

/// The script. It reads `line0.dat` and so on, and `rain.dat`, and writes `picture`.
[[nodiscard]] std::string plotscript_make(const PlotPicture& picture);
