#pragma once
// A picture on its way: gnuplot draws it in a folder of our own, and it is brought to its place by ourselves.

#include <string>
#include <vector>

#include "picture.h"

/// All that a picture is made of. Texts of the user stand in the script as literals only.
struct PlotDrawing {
    PictureForm form = PictureForm::NONE;
    std::string script;              ///< reads the files of data and writes `picture`
    std::vector<std::string> lines;  ///< data of `line0.dat` and so on
    std::string rain;                ///< data of `rain.dat`; empty for none
    std::string title, description;  ///< for readers that can't see
};

/// Draws it and puts it in place. The exit status, with a message on standard error where it isn't 0; throws
/// ResultError.
[[nodiscard]] int plotdrawing_put(const PlotDrawing& drawing, const std::string& output);
