// One layout for all forms: 960 units by 480, characters of 12. Names of the user stand in the script as literals only.

#include "plotscript.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "characters.h"
#include "plotticks.h"

namespace {

constexpr double WIDTH = 960.0;             ///< units
constexpr double LEFT = 0.1, RIGHT = 0.91;  ///< ends of the axis, as parts of the width
constexpr double CHARACTER = 0.65 * 12.0;   ///< units: the figures of the widest fonts in use
constexpr size_t COLOURS = 7;

/// A name of the user as a literal. A picture has no room for the whole of a very long one.
std::string quoteLiteral(const std::string& text) {
    constexpr size_t MOST = 200;  // characters; the axis holds a hundred of the widest
    return characters_quoteGnuplot(characters_shorten(text, MOST));
}

template <class... Numbers>
std::string format(const char* form, Numbers... numbers) {
    char text[160];
    std::snprintf(text, sizeof text, form, numbers...);
    return text;
}

bool hasMixedUnits(const PlotPicture& picture) {
    return std::any_of(picture.lines.begin(), picture.lines.end(),
                       [&](const PlotLine& line) { return line.unit != picture.lines[0].unit; });
}

double getMaximum(const ResultSeries& series) {
    double maximum = 0.0;
    for (const double value : series.values) {
        maximum = std::isfinite(value) && value > maximum ? value : maximum;
    }
    return maximum;
}

const char* getTerminal(PictureForm form) {
    switch (form) {
        case PictureForm::PNG: return "pngcairo size 1920,960 font 'Sans,12' fontscale 2 linewidth 2";
        case PictureForm::PDF: return "pdfcairo size 10in,5in font 'Sans,9' fontscale 1 linewidth 2";
        default: return "svg size 960,480 font 'sans-serif,12'";
    }
}

std::string placeDates(const PlotPicture& picture) {
    const double length = std::floor((picture.last - picture.first) * 86400.0 + 0.5);
    std::string script = format("set xrange [0:%.0f]\nset xtics (", length);
    bool isFirst = true;
    for (const PlotTick& tick : plotticks_choose(picture.first, picture.last, (RIGHT - LEFT) * WIDTH / CHARACTER)) {
        script += (isFirst ? "\"" : ", \"") + tick.label + (tick.day.empty() ? "" : "\\n") + tick.day +
                  format("\" %.0f", std::floor((tick.date - picture.first) * 86400.0 + 0.5));
        isFirst = false;
    }
    return script + ")\n";
}

/// Bars take the upper part of the picture: the axis goes downward, to three times the highest bar.
std::string makeRainAxis(const PlotPicture& picture) {
    const double highest = getMaximum(picture.rain.series);
    return "set border 11\nset y2tics\nset y2label 'Rainfall (mm/h)' noenhanced\n" +
           format("set y2range [%.6g:0]\n", highest > 0.0 ? 3.0 * highest : 1.0) +
           format("set style fill solid 0.5 noborder\nset boxwidth %d absolute\n",
                  static_cast<int>(picture.reportStep));
}

/// Colours that the colour-blind tell apart. Beyond the last of them the strokes differ.
std::string makeStyle(size_t line, bool isOnePoint) {
    static constexpr const char* PALETTE[COLOURS] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                     "#e69f00", "#56b4e9", "#000000"};
    return std::string(isOnePoint ? " with points pointtype 7 pointsize 2" : " with lines linewidth 2") +
           " linecolor rgb '" + PALETTE[line % COLOURS] + '\'' +
           (isOnePoint ? "" : format(" dashtype %d", static_cast<int>(line / COLOURS) % 5 + 1));
}

}  // namespace

std::string plotscript_getLabel(const PlotPicture& picture) {
    const bool isPlain = hasMixedUnits(picture) || picture.lines[0].unit.empty();
    return isPlain ? picture.column : picture.column + " (" + picture.lines[0].unit + ')';
}

std::string plotscript_make(const PlotPicture& picture) {
    std::string script = std::string("set encoding utf8\nset terminal ") + getTerminal(picture.form) +
                         " enhanced background '#ffffff'\nset output 'picture'\n" + placeDates(picture) +
                         "set xlabel ' '\nset grid linecolor rgb '#c8c8c8' dashtype 1 linewidth 0.5\n"
                         "set key outside bottom center horizontal Left reverse width 2 noenhanced\n"
                         "set border 3\nset tics nomirror\nset datafile missing 'nan'\n" +
                         format("set lmargin at screen %g\nset rmargin at screen %g\n", LEFT, RIGHT) + "set ylabel " +
                         quoteLiteral(plotscript_getLabel(picture)) + " noenhanced\n";
    script += picture.hasRain ? makeRainAxis(picture) : "";
    script += "plot ";
    if (picture.hasRain) {
        script += "'rain.dat' using 1:2 axes x1y2 with boxes linecolor rgb '#7fa8d9' title " +
                  quoteLiteral("Rainfall " + picture.rain.title) + ", ";
    }
    for (size_t k = 0; k < picture.lines.size(); ++k) {
        const PlotLine& line = picture.lines[k];
        const std::string unit = hasMixedUnits(picture) ? " (" + line.unit + ')' : "";
        script += (k > 0 ? ", '" : "'") + ("line" + std::to_string(k)) + ".dat' using 1:2" +
                  makeStyle(k, line.series.values.size() == 1) + " title " + quoteLiteral(line.title + unit);
    }
    return script + '\n';
}
