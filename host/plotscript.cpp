// One layout for all forms: 960 units by 480 for one panel, characters of 12. Several panels stand below each other,
// each with its legend above it. Names of the user stand in the script as literals only.

#include "plotscript.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "characters.h"
#include "plotseries.h"
#include "plotticks.h"

namespace {

constexpr size_t COLOURS = 7;
constexpr double PANEL = 190.0, ONLY_PANEL = 330.0;  ///< units, heights of axes: of one of several panels; below rain
constexpr double RAIN_PANEL = 110.0;                 ///< units
constexpr double LEGEND_ROW = 18.0, GAP = 14.0, DATES = 56.0;  ///< units

struct Extent {
    double lowest = HUGE_VAL, highest = -HUGE_VAL;
};

Extent measure(const PlotPicture& picture, const std::vector<size_t>& lines) {
    Extent extent;
    for (const size_t k : lines) {
        for (const double value : picture.lines[k].series.values) {
            if (std::isfinite(value)) {
                extent.lowest = std::min(extent.lowest, value);
                extent.highest = std::max(extent.highest, value);
            }
        }
    }
    return extent;
}

/// The range of an axis where gnuplot would find none, or one of mere rounding: what stays the same stands in the upper
/// part above 0. Other ranges are gnuplot's, which are round.
std::string makeRange(const char* axis, const Extent& extent, double room) {
    constexpr double LEAST = 1e-6;
    const double largest = std::max(std::fabs(extent.lowest), std::fabs(extent.highest));
    if (extent.lowest > extent.highest || largest == 0.0) {
        return plotscript_format("set %srange [0:1]\n", axis);
    }
    if (extent.highest - extent.lowest > LEAST * largest) {
        return plotscript_format("set autoscale %s\n", axis);
    }
    const double end = 1.25 * room * (extent.highest > 0.0 ? extent.highest : extent.lowest);
    return plotscript_format("set %srange [%.6g:%.6g]\n", axis, std::min(end, 0.0), std::max(end, 0.0));
}

/// The end of the axis of time: numbers of any size have more room beside it than those of rain.
double getRight(const PlotPicture& picture) {
    constexpr double BESIDE_NUMBERS = 0.89;
    const bool hasTwo = std::any_of(picture.panels.begin(), picture.panels.end(),
                                    [](const PlotPanel& panel) { return panel.axes.size() > 1; });
    return hasTwo ? BESIDE_NUMBERS : PLOT_RIGHT;
}

std::string placeDates(const PlotPicture& picture, bool hasLabels) {
    if (picture.isCurve) {
        return std::string("set xrange [0:100]\nset xtics 10\nset format x ") + (hasLabels ? "'%g'" : "''") + '\n';
    }
    const double length = std::floor((picture.last - picture.first) * 86400.0 + 0.5);
    std::string script = plotscript_format("set xrange [0:%.0f]\nset xtics (", length);
    bool isFirst = true;
    for (const PlotTick& tick :
         plotticks_choose(picture.first, picture.last, (getRight(picture) - PLOT_LEFT) * PLOT_WIDTH / PLOT_CHARACTER)) {
        const std::string label = tick.label + (tick.day.empty() ? "" : "\\n") + tick.day;
        script += (isFirst ? "\"" : ", \"") + (hasLabels ? label : "") +
                  plotscript_format("\" %.0f", std::floor((tick.date - picture.first) * 86400.0 + 0.5));
        isFirst = false;
    }
    return script + ")\n";
}

/// Below dates there is nothing to say, but their second line needs the room.
const char* labelTime(const PlotPicture& picture) {
    return picture.isCurve ? "set xlabel \"Part of the time in which it is exceeded (%)\\n \" offset 0, 0.5\n"
                           : "set xlabel ' '\n";
}

/// The least round number that isn't below another one.
double getStep(double least) {
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least) {
            return factor * power;
        }
    }
    return 10.0 * power;
}

/// Bars take so much of the panel: the axis goes downward, to a multiple of the highest bar.
std::string makeRainAxis(const PlotPicture& picture, const char* axis, double share) {
    constexpr double LEAST_BARS = 1000.0;  // beside each other in the picture
    double highest = 0.0;
    for (const double value : picture.rain.series.values) {
        highest = std::isfinite(value) && value > highest ? value : highest;
    }
    // Bars of a long time are made so wide that they can be seen.
    const double width = std::max<double>(picture.reportStep, (picture.last - picture.first) * 86400.0 / LEAST_BARS);
    const double step = getStep(highest > 0.0 ? highest / 3.0 : 1.0);
    return plotscript_format("set %srange [%.6g:0]\n", axis, highest > 0.0 ? highest / share : 1.0) +
           plotscript_format("set %stics 0, %.6g, %.6g\n", axis, step, std::ceil(highest / step) * step) +
           plotscript_format("set style fill solid 0.5 noborder\nset boxwidth %.0f absolute\n", width);
}

std::string drawRain(const PlotPicture& picture, const char* axes) {
    return std::string(plotlines_hasNumber(picture.rain) ? "'rain.dat' using 1:2" : "NaN") + " axes " + axes +
           " with boxes linecolor rgb '#7fa8d9' title " + plotscript_quote("Rainfall " + picture.rain.object);
}

/// Beyond the last of the colours the strokes differ, and on the right axis too.
std::string makeStyle(const PlotLine& line, size_t place, bool isRight) {
    static constexpr std::array<int, 6> POINTS = {6, 4, 8, 10, 12, 14};  // open, so that lines show through
    static constexpr std::array<size_t, COLOURS> ORDER = {6, 3, 4, 2, 5, 1, 0};
    const std::string colour =
        std::string(" linecolor rgb '") + plotscript_getColour(line.isMeasured ? ORDER[place % COLOURS] : place) + '\'';
    if (line.isMeasured) {
        return plotscript_format(" with points pointtype %d pointsize 1", POINTS[place % POINTS.size()]) + colour;
    }
    if (line.series.values.size() == 1) {
        return " with points pointtype 7 pointsize 2" + colour;
    }
    return " with lines linewidth 2" + colour + " dashtype " + plotscript_getDash(place / COLOURS + (isRight ? 1 : 0));
}

/// The lines of a panel. Points of what was measured stand above them.
std::string drawLines(const PlotPicture& picture, const PlotPanel& panel) {
    std::string script;
    for (const bool isMeasured : {false, true}) {
        size_t place = 0;
        for (const PlotAxis& axis : panel.axes) {
            const bool isRight = &axis != panel.axes.data();
            for (const size_t k : axis.lines) {
                const PlotLine& line = picture.lines[k];
                if (line.isMeasured != isMeasured) {
                    continue;
                }
                const std::string file = "'line" + std::to_string(k) + ".dat' using 1:";
                const std::string data = plotlines_hasNumber(line) ? file + '2' : "NaN";  // a legend that lacks no line
                const std::string axes = isRight ? " axes x1y2" : "";
                script.append(script.empty() ? "" : ", ").append(data).append(axes);
                script.append(makeStyle(line, place, isRight)).append(" title ").append(plotscript_quote(line.title));
                if (!isMeasured && line.series.values.size() > 1 && plotseries_hasLonePoint(line.series)) {
                    script.append(", ").append(file).append("3").append(axes);
                    script.append(" with points pointtype 7 pointsize 0.5 linecolor rgb '");
                    script.append(plotscript_getColour(place)).append("' notitle");
                }
                ++place;
            }
        }
    }
    return script;
}

/// Axes, and the command that draws a panel.
std::string drawPanel(const PlotPicture& picture, const PlotPanel& panel) {
    constexpr double RAIN_SHARE = 1.0 / 3.0, RAIN_ROOM = 1.5;  // lines have the rest
    constexpr double OWN_SHARE = 0.9;
    const bool isRainOnly = panel.axes.empty();
    const bool hasRight = panel.axes.size() > 1 || (panel.hasRain && !isRainOnly);
    const std::string rightLabel = panel.axes.size() > 1 ? panel.axes[1].label : "Rainfall (mm/h)";
    const double room = panel.hasRain ? RAIN_ROOM : 1.0;
    std::string script =
        hasRight ? "set border 11\nset y2tics\nset y2label " + plotscript_quote(rightLabel) + " noenhanced\n"
                 : "set border 3\nunset y2tics\nunset y2label\n";
    script += "set ylabel " + plotscript_quote(isRainOnly ? "Rain (mm/h)" : panel.axes[0].label) + " noenhanced\n";
    if (isRainOnly) {
        return script + makeRainAxis(picture, "y", OWN_SHARE) + "plot " + drawRain(picture, "x1y1") + '\n';
    }
    script += "set ytics autofreq\n" + makeRange("y", measure(picture, panel.axes[0].lines), room);
    script += panel.axes.size() > 1 ? makeRange("y2", measure(picture, panel.axes[1].lines), 1.0) : "";
    if (panel.hasRain) {
        script += "set offsets 0, 0, graph 0.5, 0\n" + makeRainAxis(picture, "y2", RAIN_SHARE) + "plot " +
                  drawRain(picture, "x1y2") + ", ";
    } else {
        script += "plot ";
    }
    return script + drawLines(picture, panel) + '\n';
}

/// Columns of the legend above a panel: all are as wide as the widest title.
size_t countLegendColumns(const PlotPicture& picture, const PlotPanel& panel) {
    constexpr double SAMPLE = 90.0, CHARACTER = 10.5;  // units, as gnuplot reckons them for the widest of its forms
    size_t widest = panel.hasRain ? picture.rain.object.size() + 9 : 1;
    for (const PlotAxis& axis : panel.axes) {
        for (const size_t k : axis.lines) {
            widest = std::max(widest, picture.lines[k].title.size());
        }
    }
    const double room = (getRight(picture) - PLOT_LEFT) * PLOT_WIDTH;
    return static_cast<size_t>(std::max(1.0, std::floor(room / (CHARACTER * static_cast<double>(widest) + SAMPLE))));
}

double getLegendHeight(const PlotPicture& picture, const PlotPanel& panel) {
    size_t titles = panel.hasRain ? 1 : 0;
    for (const PlotAxis& axis : panel.axes) {
        titles += axis.lines.size();
    }
    const size_t columns = countLegendColumns(picture, panel);
    const size_t rows = (titles + columns - 1) / columns;
    return LEGEND_ROW * static_cast<double>(rows);
}

double getPanelHeight(const PlotPicture& picture, const PlotPanel& panel) {
    return panel.axes.empty() ? RAIN_PANEL : picture.panels.size() > 2 ? PANEL : ONLY_PANEL;
}

std::string drawPanels(const PlotPicture& picture, double height) {
    std::string script = "set multiplot\n";
    double y = 0.0;
    for (const PlotPanel& panel : picture.panels) {
        const bool isLast = &panel == &picture.panels.back();
        const double top = y + GAP + getLegendHeight(picture, panel), bottom = top + getPanelHeight(picture, panel);
        script += plotscript_format("set tmargin at screen %.6f\nset bmargin at screen %.6f\n", 1.0 - top / height,
                                    1.0 - bottom / height) +
                  plotscript_format("set key at graph 0.5, graph %.6f center bottom horizontal Left reverse width 2 ",
                                    1.0 + 4.0 / (bottom - top)) +
                  plotscript_format("maxcols %d noenhanced\n", static_cast<int>(countLegendColumns(picture, panel))) +
                  placeDates(picture, isLast) + (isLast ? labelTime(picture) : "") + drawPanel(picture, panel);
        y = bottom;
    }
    return script + "unset multiplot\n";
}

double getHeight(const PlotPicture& picture) {
    double height = DATES;
    for (const PlotPanel& panel : picture.panels) {
        height += GAP + getLegendHeight(picture, panel) + getPanelHeight(picture, panel);
    }
    return height;
}

/// Lines of more points than can be seen become shorter.
PlotPicture thinLines(const PlotPicture& picture) {
    PlotPicture thin = picture;
    for (PlotLine& line : thin.lines) {
        line.series = plotseries_thin(line.series);
    }
    thin.rain.series = plotseries_thin(thin.rain.series);
    return thin;
}

}  // namespace

const char* plotscript_getColour(size_t line) {
    static constexpr std::array<const char*, COLOURS> PALETTE = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                                 "#e69f00", "#56b4e9", "#000000"};
    return PALETTE[line % COLOURS];
}

const char* plotscript_getDash(size_t stroke) {
    static constexpr std::array<const char*, 5> DASHES = {"1", "(9, 4)", "(3, 4)", "(14, 4, 3, 4)", "(6, 7)"};
    return DASHES[stroke % DASHES.size()];
}

std::string plotscript_quote(const std::string& text, size_t most) {
    return characters_quoteGnuplot(characters_shorten(text, most));
}

std::string plotscript_begin(PictureForm form, double height, double right) {
    const std::string terminal =
        form == PictureForm::PNG
            ? plotscript_format("pngcairo size 1920,%.0f font 'Sans,12' fontscale 2 linewidth 2 pointscale 2",
                                2.0 * height)
        : form == PictureForm::PDF
            ? plotscript_format("pdfcairo size 10in,%gin font 'Sans,9' fontscale 1 linewidth 2", height / 96.0)
            : plotscript_format("svg size 960,%.0f font 'sans-serif,12'", height);
    return "set encoding utf8\nset terminal " + terminal +
           " enhanced background '#ffffff'\nset output 'picture'\n"
           "set grid linetype 1 linecolor rgb '#d4d4d4' linewidth 0.75\nset tics nomirror\n"
           "set datafile missing 'nan'\n" +
           plotscript_format("set lmargin at screen %g\nset rmargin at screen %g\n", PLOT_LEFT, right);
}

PlotDrawing plotscript_make(const PlotPicture& whole) {
    const PlotPicture picture = thinLines(whole);
    PlotDrawing drawing;
    drawing.form = picture.form;
    drawing.title = plotlines_getTitle(picture);
    drawing.description = plotlines_describe(picture);
    for (const PlotLine& line : picture.lines) {
        drawing.lines.push_back(picture.isCurve ? plotseries_writeCurve(line.series)
                                                : plotseries_write(line.series, picture.first));
    }
    if (std::any_of(picture.panels.begin(), picture.panels.end(), [](const PlotPanel& p) { return p.hasRain; })) {
        drawing.rain = plotseries_write(picture.rain.series, picture.first);
    }
    constexpr double MOST_BELOW = 7.0 * LEGEND_ROW;  // of a legend that leaves a panel its room
    if (picture.panels.size() > 1 || getLegendHeight(picture, picture.panels[0]) > MOST_BELOW) {
        const double height = std::ceil(getHeight(picture));
        drawing.script = plotscript_begin(picture.form, height, getRight(picture)) + drawPanels(picture, height);
    } else {
        drawing.script = plotscript_begin(picture.form, PLOT_HEIGHT, getRight(picture)) + placeDates(picture, true) +
                         "set key outside bottom center horizontal Left reverse width 2 noenhanced\n" +
                         labelTime(picture) + drawPanel(picture, picture.panels[0]);
    }
    return drawing;
}
