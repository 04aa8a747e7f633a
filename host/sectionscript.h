#pragma once
// The script by which gnuplot draws a long section.

#include "plotdrawing.h"
#include "section.h"

[[nodiscard]] PlotDrawing sectionscript_make(const PlotRequest& request, const ResultWindow& window,
                                             const Section& section);
