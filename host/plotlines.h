#pragma once
// What lines of a picture show: series of results over time, or their duration curves, with what was measured beside
// them.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "picture.h"
#include "plot.h"
#include "resultfile.h"

struct PlotLine {
    std::string object;
    std::string column;
    std::string unit;
    ResultSeries series{};    ///< of a curve: parts of the time (%) in place of dates
    bool isMeasured = false;  ///< points
    std::string title{};      ///< in the legend
};

/// An axis with the lines that go by it.
struct PlotAxis {
    std::string unit;
    std::string label{};
    std::vector<size_t> lines{};  ///< places among those of the picture
};

/// Lines with one scale of time: those of one or two axes, or rain alone.
struct PlotPanel {
    std::vector<PlotAxis> axes{};  ///< the left one, and the right one; none of the rain's own panel
    bool hasRain = false;
};

/// All that is drawn.
struct PlotPicture {
    PictureForm form = PictureForm::NONE;
    bool isCurve = false;
    std::vector<PlotLine> lines{};
    std::vector<PlotPanel> panels{};  ///< from the top on
    PlotLine rain{};                  ///< hangs from the top of the panel that has it
    double first = 0.0, last = 0.0;   ///< dates, of the axis
    int32_t reportStep = 0;           ///< s
};

/// Reads what is asked for, and tells on standard error of what was measured and can't be drawn. Throws ResultError.
[[nodiscard]] PlotPicture plotlines_read(const PlotRequest& request, const ResultWindow& window);

/// Whether there is anything to draw.
[[nodiscard]] bool plotlines_hasNumber(const PlotLine& line);

/// What a screen reader says of the picture.
[[nodiscard]] std::string plotlines_getTitle(const PlotPicture& picture);
[[nodiscard]] std::string plotlines_describe(const PlotPicture& picture);
