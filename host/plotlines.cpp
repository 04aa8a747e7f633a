// Lines of one unit go by one axis, those of two by the left and the right one of a panel; of more units each has a
// panel of its own.

#include "plotlines.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "characters.h"
#include "measured.h"
#include "plotseries.h"
#include "results.h"
#include "units.h"

namespace {

constexpr size_t FAULTS_SHOWN = 10;

// --- what is asked for ---------------------------------------------------------------------------------------------

bool isSame(const ResultChoice& a, const ResultChoice& b) {
    return a.table == b.table && a.object == b.object && a.column == b.column;
}

bool hasColumn(const ResultFile& file, const std::string& object, const std::string& column) {
    const std::vector<ResultChoice> found = result_findObject(file, object);
    return std::any_of(found.begin(), found.end(), [&](const ResultChoice& choice) {
        return result_findColumnOf(file.tables[choice.table], column) != RESULT_NONE;
    });
}

/// Each column of each object that has it. An object that has none, and a column that no object has, are refused.
std::vector<ResultChoice> choose(const ResultFile& file, const PlotRequest& request) {
    std::vector<ResultChoice> choices;
    std::vector<bool> isDrawn(request.objects.size(), false);
    for (const std::string& column : request.columns) {
        bool isFound = false;
        for (size_t k = 0; k < request.objects.size(); ++k) {
            if (request.columns.size() > 1 && !hasColumn(file, request.objects[k], column)) {
                continue;
            }
            const ResultChoice choice = result_findColumn(file, request.objects[k], column);
            isDrawn[k] = isFound = true;
            if (std::none_of(choices.begin(), choices.end(),
                             [&](const ResultChoice& other) { return isSame(choice, other); })) {
                choices.push_back(choice);
            }
        }
        if (!isFound) {
            (void)result_findColumn(file, request.objects[0], column);  // throws
        }
    }
    for (size_t k = 0; k < request.objects.size(); ++k) {
        if (!isDrawn[k]) {
            (void)result_findColumn(file, request.objects[k], request.columns[0]);  // throws
        }
    }
    return choices;
}

// --- series --------------------------------------------------------------------------------------------------------

/// The name of a column, for people: that of a pipe's outflow is spelt wrongly in files.
std::string getTitle(const std::string& column) {
    return column == "Outfow" ? "Outflow" : characters_toUtf8(column);
}

PlotLine readLine(const ResultFile& file, const ResultChoice& choice, const ResultWindow& window) {
    const ResultTable& table = file.tables[choice.table];
    const ResultColumn& column = table.columns[choice.column];
    return {characters_toUtf8(table.objects[choice.object]), getTitle(column.name), column.unit,
            result_readSeries(file, choice, window)};
}

std::string formatHours(const PlotRequest& request) {
    char text[32];
    std::snprintf(text, sizeof text, "%g h", request.mean);
    return text;
}

bool isWeighed(const PlotRequest& request, const std::string& unit) {
    return request.hasMean && unit == CONCENTRATION_UNIT;
}

/// A concentration weighted by its flow, whose first means need reports ahead of the window.
PlotLine readMean(const ResultFile& file, const PlotRequest& request, const ResultChoice& choice,
                  const ResultWindow& window) {
    const ResultTable& table = file.tables[choice.table];
    const size_t carrier = result_findCarrier(table);
    if (carrier == RESULT_NONE) {
        throw ResultError("no flow carries " + table.columns[choice.column].name + " of " +
                          table.objects[choice.object] +
                          ", so that there is no mean: ask for the links downstream of it");
    }
    const ResultPart part{choice.table, {choice.object}, {choice.column, carrier}};
    const auto length = static_cast<int64_t>(std::floor(request.mean * SECONDS_PER_HOUR + 0.5));
    ResultSeries concentrations;
    std::vector<double> flows;
    ResultRows rows(file, part, {window.from - request.mean / HOURS_PER_DAY, window.to});
    while (result_nextRow(rows)) {
        concentrations.dates.push_back(rows.date);
        concentrations.values.push_back(rows.values[0]);
        flows.push_back(rows.values[1]);
    }
    const ResultSeries means = plotseries_weigh(concentrations, flows, length, file.startDate);
    return {characters_toUtf8(table.objects[choice.object]), getTitle(table.columns[choice.column].name),
            CONCENTRATION_UNIT, plotseries_cut(means, window)};
}

std::string join(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + text;
    }
    return all;
}

void readLines(const ResultFile& file, const PlotRequest& request, const std::vector<ResultChoice>& choices,
               const ResultWindow& window, PlotPicture& picture) {
    bool isMean = false;
    for (const ResultChoice& choice : choices) {
        const bool isOfMeans = isWeighed(request, file.tables[choice.table].columns[choice.column].unit);
        isMean = isMean || isOfMeans;
        picture.lines.push_back(isOfMeans ? readMean(file, request, choice, window) : readLine(file, choice, window));
        if (picture.lines.back().series.values.empty()) {
            throw ResultError(file.name + " holds no report of " + file.tables[choice.table].objects[choice.object] +
                              " in this time");
        }
    }
    if (request.hasMean && !isMean) {
        throw ResultError("--mean is for concentrations, and " + join(request.columns) + " is none");
    }
    if (std::none_of(picture.lines.begin(), picture.lines.end(), plotlines_hasNumber)) {
        throw ResultError(
            file.name + " holds no number of " + join(request.columns) + " to draw" +
            (isMean ? ": means begin " + formatHours(request) + " after the start, and where there is water" : ""));
    }
}

/// The rain that is asked for; or else that on the first subcatchment that is drawn, unless lines are of rain
/// themselves. False if there is none.
bool findRain(const ResultFile& file, const PlotRequest& request, const std::vector<ResultChoice>& choices,
              ResultChoice& found) {
    if (request.hasRain) {
        found = result_findColumn(file, request.rain.empty() ? "System" : request.rain, "Rainfall");
        return true;
    }
    bool isFound = false;
    for (const ResultChoice& choice : choices) {
        const ResultTable& table = file.tables[choice.table];
        const size_t rain = result_findColumnOf(table, "Rainfall");
        if (rain != RESULT_NONE && choice.column == rain) {
            return false;
        }
        if (table.name == "Subcatchment" && rain != RESULT_NONE && !isFound) {
            isFound = true;
            found = {choice.table, choice.object, rain};
        }
    }
    return isFound;
}

/// The axis begins at the start of the run or of the window, not at the first report. One report has room on both
/// sides.
void setAxis(const ResultFile& file, const ResultWindow& window, PlotPicture& picture) {
    const double step = picture.reportStep / SECONDS_PER_DAY;
    double first = HUGE_VAL, last = -HUGE_VAL;
    for (const PlotLine& line : picture.lines) {
        for (const double date : line.series.dates) {
            first = std::min(first, date);
            last = std::max(last, date);
        }
    }
    picture.first = std::min(first, std::max(file.startDate, window.from));
    picture.last = last - first >= step / 2.0 ? last : last + step;
    if (!(std::fabs(picture.first) < RESULT_FARTHEST_DATE && std::fabs(picture.last) < RESULT_FARTHEST_DATE)) {
        throw ResultError(file.name + " is damaged: its dates can't be");
    }
}

// --- what was measured ---------------------------------------------------------------------------------------------

void tellFaults(const std::string& name, const std::vector<std::string>& faults) {
    for (size_t k = 0; k < std::min(faults.size(), FAULTS_SHOWN); ++k) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(faults[k]).c_str());
    }
    if (faults.size() > FAULTS_SHOWN) {
        std::fprintf(stderr, "tarnvelde: %zu more lines of %s can't be read\n", faults.size() - FAULTS_SHOWN,
                     characters_makePrintable(name).c_str());
    }
}

/// The unit of the axis that points go by: their own, or that of the first line.
std::string findUnit(const PlotPicture& picture, const std::string& name, const std::string& unit) {
    std::string known;
    for (const PlotLine& line : picture.lines) {
        if (unit.empty() || line.unit == unit) {
            return line.unit;
        }
        known += known.find(line.unit) != std::string::npos ? "" : (known.empty() ? "" : ", ") + line.unit;
    }
    throw ResultError(name + " is in " + unit + ", and no line of the picture is: they are in " + known);
}

void addMeasured(const PlotRequest& request, PlotPicture& picture) {
    std::vector<PlotLine> all;
    for (const std::string& name : request.measured) {
        const Measured measured = measured_read(name);
        tellFaults(measured_getFile(name), measured.faults);
        PlotLine points{measured.name, "", findUnit(picture, name, measured.unit),
                        plotseries_cut(measured.series, {picture.first, picture.last})};
        if (points.series.values.empty()) {
            std::fprintf(stderr, "tarnvelde: no value of %s lies in the time of the picture\n",
                         characters_makePrintable(name).c_str());
        }
        points.isMeasured = true;
        all.push_back(points);
    }
    picture.lines.insert(picture.lines.end(), all.begin(), all.end());
}

// --- axes and panels -----------------------------------------------------------------------------------------------

/// The different columns of some lines, in their order.
std::vector<std::string> listColumns(const PlotPicture& picture, const std::vector<size_t>& lines) {
    std::vector<std::string> columns;
    for (const size_t k : lines) {
        const PlotLine& line = picture.lines[k];
        if (!line.isMeasured && std::find(columns.begin(), columns.end(), line.column) == columns.end()) {
            columns.push_back(line.column);
        }
    }
    return columns;
}

/// What stands beside an axis: its columns as far as they have room, and the unit.
std::string makeLabel(const PlotRequest& request, const std::vector<std::string>& columns, const std::string& unit,
                      size_t most) {
    std::string label = join(columns);
    if (isWeighed(request, unit)) {
        const std::string mean = "mean of " + formatHours(request), weighted = label + ", flow-weighted " + mean;
        label = weighted.size() + unit.size() + 3 <= most ? weighted : label + ", " + mean;
        label = label.size() + unit.size() + 3 <= most ? label : mean;
    }
    if (label.size() + unit.size() + 3 > most && columns.size() > 1) {
        label = std::to_string(columns.size()) + " columns";
    }
    return unit.empty() ? label : label + " (" + unit + ')';
}

/// Titles of a panel: the object, and what else is needed to tell the lines apart.
void nameLines(const std::vector<std::string>& tables, const PlotPanel& panel, PlotPicture& picture) {
    std::vector<size_t> lines;
    for (const PlotAxis& axis : panel.axes) {
        lines.insert(lines.end(), axis.lines.begin(), axis.lines.end());
    }
    const bool hasColumns = listColumns(picture, lines).size() > 1;
    for (const size_t k : lines) {
        PlotLine& line = picture.lines[k];
        const bool isTwice = !line.isMeasured && std::any_of(lines.begin(), lines.end(), [&](size_t other) {
            const PlotLine& second = picture.lines[other];
            return !second.isMeasured && second.object == line.object && tables[other] != tables[k];
        });
        line.title = (isTwice ? tables[k] + ' ' : "") + line.object +
                     (hasColumns && !line.isMeasured ? ' ' + line.column : "") +
                     (panel.axes.size() > 1 ? " (" + line.unit + ')' : "") + (line.isMeasured ? ", measured" : "");
    }
}

void makePanels(const PlotRequest& request, bool hasRain, PlotPicture& picture) {
    constexpr size_t HIGH = 50, LOW = 24;  // characters beside the axis of an only panel, and of one of several
    std::vector<PlotAxis> axes;
    for (size_t k = 0; k < picture.lines.size(); ++k) {
        const std::string& unit = picture.lines[k].unit;
        auto axis = std::find_if(axes.begin(), axes.end(), [&](const PlotAxis& other) { return other.unit == unit; });
        axis = axis == axes.end() ? axes.insert(axis, PlotAxis{unit}) : axis;
        axis->lines.push_back(k);
    }
    for (PlotAxis& axis : axes) {
        axis.label = makeLabel(request, listColumns(picture, axis.lines), axis.unit, axes.size() > 2 ? LOW : HIGH);
    }
    if (axes.size() <= 2) {
        picture.panels.push_back({axes});
    } else {
        for (const PlotAxis& axis : axes) {
            picture.panels.push_back({{axis}});
        }
    }
    if (hasRain && axes.size() == 1) {
        picture.panels[0].hasRain = true;
    } else if (hasRain) {
        picture.panels.insert(picture.panels.begin(), PlotPanel{{}, true});
    }
}

/// All panels together know their lines by the tables of the objects.
void nameAllLines(const ResultFile& file, const std::vector<ResultChoice>& choices, PlotPicture& picture) {
    std::vector<std::string> tables;
    for (const ResultChoice& choice : choices) {
        tables.push_back(file.tables[choice.table].name);
    }
    tables.resize(picture.lines.size());
    for (const PlotPanel& panel : picture.panels) {
        nameLines(tables, panel, picture);
    }
}

void makeCurves(PlotPicture& picture) {
    picture.isCurve = true;
    for (PlotLine& line : picture.lines) {
        line.series = plotseries_makeCurve(line.series, line.unit == FLOW_UNIT);
    }
}

}  // namespace

PlotPicture plotlines_read(const PlotRequest& request, const ResultWindow& asked) {
    ResultFile file;
    results_open(file, request.file);
    ResultWindow window = asked;
    if (request.isCurve) {  // whole report periods, as those of statistics
        window.from += file.reportStep / SECONDS_PER_DAY;
    }
    result_checkWindow(file, window);
    PlotPicture picture{};
    picture.form = picture_getForm(request.output);
    picture.reportStep = file.reportStep;
    const std::vector<ResultChoice> choices = choose(file, request);
    readLines(file, request, choices, window, picture);
    ResultChoice rain{};
    const bool hasRain = !request.isCurve && findRain(file, request, choices, rain);
    if (hasRain) {
        picture.rain = readLine(file, rain, window);
    }
    setAxis(file, asked, picture);
    addMeasured(request, picture);
    if (request.isCurve) {
        makeCurves(picture);
    }
    makePanels(request, hasRain, picture);
    nameAllLines(file, choices, picture);
    return picture;
}

bool plotlines_hasNumber(const PlotLine& line) {
    return std::any_of(line.series.values.begin(), line.series.values.end(),
                       [](double value) { return std::isfinite(value); });
}

std::string plotlines_getTitle(const PlotPicture& picture) {
    std::vector<std::string> objects, labels;
    std::vector<size_t> all;
    for (size_t k = 0; k < picture.lines.size(); ++k) {
        const PlotLine& line = picture.lines[k];
        all.push_back(k);
        if (!line.isMeasured && std::find(objects.begin(), objects.end(), line.object) == objects.end()) {
            objects.push_back(line.object);
        }
    }
    for (const PlotPanel& panel : picture.panels) {
        for (const PlotAxis& axis : panel.axes) {
            labels.push_back(axis.label);
        }
    }
    const std::vector<std::string> columns = listColumns(picture, all);
    return (picture.isCurve ? "Duration curve of " : "") +
           join(columns.size() == 1 && labels.size() > 1 ? columns : labels) + " of " + join(objects);
}

std::string plotlines_describe(const PlotPicture& picture) {
    const std::string time = result_formatDate(picture.first) + " to " + result_formatDate(picture.last);
    if (picture.isCurve) {
        return "Values over the part of the time from " + time + " in which they are exceeded";
    }
    bool hasRain = false, isMeasured = false;
    for (const PlotPanel& panel : picture.panels) {
        hasRain = hasRain || panel.hasRain;
    }
    for (const PlotLine& line : picture.lines) {
        isMeasured = isMeasured || line.isMeasured;
    }
    return "Lines over the time from " + time + (hasRain ? ", with the rain hanging from the top" : "") +
           (isMeasured ? ", and points of what was measured" : "");
}
