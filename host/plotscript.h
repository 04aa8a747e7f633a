#pragma once
// The script by which gnuplot draws lines over time, and what it shares with others.

#include <cstdio>
#include <string>

#include "picture.h"
#include "plotdrawing.h"
#include "plotlines.h"

/// Lines over time, or their duration curves.
[[nodiscard]] PlotDrawing plotscript_make(const PlotPicture& picture);

// --- parts of scripts ----------------------------------------------------------------------------------------------

constexpr double PLOT_WIDTH = 960.0;                  ///< units of the layout, in which characters are 12 high
constexpr double PLOT_HEIGHT = 480.0;                 ///< of a picture of one panel
constexpr double PLOT_LEFT = 0.1, PLOT_RIGHT = 0.91;  ///< ends of the axis, as parts of the width
constexpr double PLOT_CHARACTER = 0.65 * 12.0;        ///< units: the figures of the widest fonts in use

/// The first lines of a script, for a picture of such a height whose axis ends there, as a part of the width.
[[nodiscard]] std::string plotscript_begin(PictureForm form, double height, double right = PLOT_RIGHT);

/// A name of the user as a literal. A picture has no room for the whole of a very long one.
[[nodiscard]] std::string plotscript_quote(const std::string& text, size_t most = 200);

template <class... Numbers>
std::string plotscript_format(const char* form, Numbers... numbers) {
    char text[160];
    std::snprintf(text, sizeof text, form, numbers...);
    return text;
}

/// Colours that the colour-blind tell apart.
[[nodiscard]] const char* plotscript_getColour(size_t line);

/// Strokes of lines, the first of which is without gaps.
[[nodiscard]] const char* plotscript_getDash(size_t stroke);
