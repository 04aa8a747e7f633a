// Beds and crowns are black, the section between them grey, the water of the first date blue; what was reached is drawn
// as a broken line. Nodes stand above the picture, as many as have room.

#include "sectionscript.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "characters.h"
#include "plotscript.h"

namespace {

constexpr double TANK_WIDTH = 0.012;  ///< of a tank, as a part of the length of the way

void addNumber(std::string& text, double number) {
    text += std::isfinite(number) ? plotscript_format(" %.9g", number) : " nan";
}

/// A row of a piece: distance, bed, crown, highest level, levels at the dates.
std::string makeRow(const SectionPiece& piece, double place, double bed) {
    std::string row = plotscript_format("%.9g", place);
    for (const double height : {0.0, piece.height, piece.peak}) {
        addNumber(row, bed + height);
    }
    for (const double depth : piece.depths) {
        addNumber(row, bed + depth);
    }
    return row + '\n';
}

double getHalfWidth(const Section& section, const SectionPiece& piece) {
    return piece.isTank ? TANK_WIDTH / 2.0 * section.length : 0.0;
}

/// What the axis of distances has more at either end: room for a tank there.
double getMargin(const Section& section) {
    const bool hasTank = section.pieces.front().isTank || section.pieces.back().isTank;
    return hasTank ? TANK_WIDTH * section.length : 0.0;
}

std::string makeRange(const Section& section, const char* axis) {
    const double margin = getMargin(section);
    return plotscript_format("set %srange [%.9g:%.9g]\n", axis, -margin, section.length + margin);
}

/// Pieces with a blank line between them. A tank, which has no length, gets one to be seen.
std::string makePieces(const Section& section, bool isTank) {
    std::string text;
    for (const SectionPiece& piece : section.pieces) {
        if (piece.isTank == isTank) {
            const double half = getHalfWidth(section, piece);
            text += (text.empty() ? "" : "\n") + makeRow(piece, piece.begin - half, piece.bedBegin) +
                    makeRow(piece, piece.begin + piece.length + half, piece.bedEnd);
        }
    }
    return text;
}

/// Upright lines at both ends of each piece, from its bed to its crown, as places, heights and lengths.
std::string makeEnds(const Section& section) {
    std::string text;
    for (const SectionPiece& piece : section.pieces) {
        if (!std::isfinite(piece.height)) {
            continue;
        }
        const double half = getHalfWidth(section, piece);
        text += plotscript_format("%.9g %.9g %.9g\n", piece.begin - half, piece.bedBegin, piece.height) +
                plotscript_format("%.9g %.9g %.9g\n", piece.begin + piece.length + half, piece.bedEnd, piece.height);
    }
    return text;
}

/// Nodes above the picture. Those of one place share a label; a label that has no room is left out.
std::string placeNodes(const Section& section) {
    constexpr double ROOM = 24.0;  // units between two labels, which stand aslant
    constexpr size_t MOST = 13;    // characters
    const double scale = (PLOT_RIGHT - PLOT_LEFT) * PLOT_WIDTH / section.length;
    std::string script;
    double last = -HUGE_VAL;
    const double end = section.nodes.back().place;
    for (size_t k = 0; k < section.nodes.size();) {
        const double place = section.nodes[k].place;
        std::string label = section.nodes[k].id;
        size_t next = k + 1;
        for (; next < section.nodes.size() && section.nodes[next].place == place; ++next) {
            label = section.nodes[k].id + " - " + section.nodes[next].id;
        }
        const bool isEnd = place == end;  // which is always told
        if ((place - last) * scale >= ROOM && (isEnd || (end - place) * scale >= ROOM)) {
            script += (script.empty() ? "" : ", ") + plotscript_quote(label, MOST) + plotscript_format(" %.9g", place);
            last = place;
        }
        k = next;
    }
    return makeRange(section, "x2") + "set x2tics (" + script +
           ") rotate by 40 left offset 0, 0 noenhanced scale 0.5\n";
}

std::string markOthers(const Section& section) {
    std::string script;
    double last = -1.0;
    for (const double place : section.otherPlaces) {
        if (place != last) {
            script += plotscript_format("set arrow from %.9g, graph 0 to %.9g, graph 1 nohead ", place, place) +
                      "dashtype 3 linecolor rgb '#606060' linewidth 1\n";
        }
        last = place;
    }
    return script;
}

std::string makeLabels(const PlotRequest& request, const Section& section) {
    std::string others;
    for (const std::string& other : section.others) {
        others += (others.empty() ? "" : ", ") + other;
    }
    std::string script =
        "set ylabel " + plotscript_quote("Height above the bed at " + request.section[1] + " (m)", 50) +
        " noenhanced\nset xlabel " + plotscript_quote("Distance from " + request.section[0] + " (m)", 100);
    if (!others.empty()) {
        script += ".\"\\n\"." + plotscript_quote("Without length in the project: " + others, 120);
    }
    return script + ".\"\\n \" noenhanced offset 0, 0.5\n";
}

/// One file of pieces, those of conduits or of tanks, in all its lines.
std::string drawPieces(const Section& section, const std::string& file, bool isTitled) {
    static constexpr std::array<size_t, 5> COLOURS = {0, 2, 3, 4, 5};  // the second one is that of the highest level
    const auto title = [&](const std::string& text) {
        return isTitled ? " title " + plotscript_quote(text) : " notitle";
    };
    std::string script = file + "using 1:2:3 with filledcurves fillcolor rgb '#ececec' notitle";
    if (!section.dates.empty()) {
        script += ", " + file + "using 1:2:5 with filledcurves fillcolor rgb '#cfe3f3' notitle";
    }
    script += ", " + file + "using 1:3 with lines linewidth 1 linecolor rgb '#000000' notitle";
    script += ", " + file + "using 1:2 with lines linewidth 2 linecolor rgb '#000000'" + title("bed and crown");
    for (size_t k = 0; k < section.dates.size(); ++k) {
        script += ", " + file + plotscript_format("using 1:%d", static_cast<int>(k) + 5) +
                  " with lines linewidth 2 linecolor rgb '" + plotscript_getColour(COLOURS[k % COLOURS.size()]) + '\'' +
                  " dashtype " + plotscript_getDash(k / COLOURS.size()) +
                  title("level of " + result_formatDate(section.dates[k]));
    }
    return script + ", " + file + "using 1:4 with lines linewidth 2 dashtype " + plotscript_getDash(1) +
           " linecolor rgb '" + plotscript_getColour(1) + "'" + title("highest level");
}

}  // namespace

PlotDrawing sectionscript_make(const PlotRequest& request, const ResultWindow& window, const Section& section) {
    constexpr double HEIGHT = 540.0, TOP = 104.0;  // units; the labels of the nodes have the upper part
    PlotDrawing drawing;
    drawing.form = picture_getForm(request.output);
    drawing.title = "Long section from " + request.section[0] + " to " + request.section[1];
    const bool isPart = std::isfinite(window.from) || std::isfinite(window.to);
    drawing.description = "Beds, crowns and the highest levels of the reports" +
                          (isPart ? std::string(" of a part of the run") : "") +
                          " over the distance, in heights above the bed at the end";
    const std::string tanks = makePieces(section, true);
    drawing.lines = {makePieces(section, false), makeEnds(section)};
    if (!tanks.empty()) {
        drawing.lines.push_back(tanks);
    }
    drawing.script =
        plotscript_begin(drawing.form, HEIGHT) + plotscript_format("set tmargin at screen %.6f\n", 1.0 - TOP / HEIGHT) +
        makeRange(section, "x") + placeNodes(section) +
        "set key outside bottom center horizontal Left reverse width 2 noenhanced\nset border 7\nset format x '%g'\n"
        "set offsets 0, 0, graph 0.04, 0\n" +
        markOthers(section) + makeLabels(request, section) + "plot " + drawPieces(section, "'line0.dat' ", true) +
        ", 'line1.dat' using 1:2:(0):3 with vectors nohead linewidth 1 linecolor rgb '#000000' notitle" +
        (tanks.empty() ? "" : ", " + drawPieces(section, "'line2.dat' ", false)) + '\n';
    return drawing;
}
