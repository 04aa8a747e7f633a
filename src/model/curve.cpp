// Curves and time series. A curve is read whole; a series may stand in a file of any length, of which only one line is
// held at a time. Both sit behind one cursor, made for a walk forward through a run, that starts anew when it is asked
// for an earlier x.

#include "model/curve.h"

#include <cmath>
#include <cstring>
#include <new>

#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "text/datetime.h"
#include "text/tokens.h"

Table<Curve> Curves;
Table<Curve> TimeSeries;

static constexpr size_t FILE_NAME_SIZE = 259;
static constexpr int32_t IN_FILE = 2;

static const char* const CurveTypeWords[] = {"TANK", "PUMP1", "PUMP2", "TRANSECT", nullptr};

/// A point that there is no memory for is left out without a word; the others of its line stay.
static void appendEntry(Curve& curve, const CurvePoint& entry) {
    try {
        curve.entries.push_back(entry);
    } catch (const std::bad_alloc&) {
        return;
    }
}

static Curve makeTable() {
    Curve table{};
    table.curveType = -1;
    table.thisEntry = -1;
    return table;
}

void curve_createAll() {
    Curves.fill(ObjectCount[CURVE], makeTable());
    TimeSeries.fill(ObjectCount[TSERIES], makeTable());
}

void curve_deleteAll() {
    for (Table<Curve>* tables : {&TimeSeries, &Curves}) {
        for (Curve& table : *tables) {
            textfile_close(table.file);
        }
        *tables = {};
    }
}

// --- reading -------------------------------------------------------------------------------------------------------

int32_t curve_readCurve(const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t index = names_find(CURVE, tokens[0]);
    if (index < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Curve& curve = Curves[index];
    int32_t k = 1;
    if (!curve.id) {
        curve.id = names_findId(CURVE, tokens[0]);
        const int32_t type = tokens_findKeyword(tokens[1], CurveTypeWords);
        if (type < 0) {
            return errors_setName(ERR_KEYWORD, tokens[1]);
        }
        curve.curveType = type;
        k = 2;
    }
    for (; k < tokens.count; k += 2) {
        if (k + 1 == tokens.count) {
            return errors_setName(ERR_ITEMS, "");
        }
        CurvePoint entry;
        if (!tokens_getDouble(tokens[k], &entry.x)) {
            return errors_setName(ERR_NUMBER, tokens[k]);
        }
        if (!tokens_getDouble(tokens[k + 1], &entry.y)) {
            return errors_setName(ERR_NUMBER, tokens[k + 1]);
        }
        appendEntry(curve, entry);
    }
    return ERR_NONE;
}

/// Reads date, time and value by turns; a date may be left out, and the one before it then holds. What is cut off by
/// the end of the line is lost without a message.
static int32_t readSeriesEntries(const Tokens& tokens, Curve& series) {
    int32_t k = 1;
    while (k < tokens.count) {
        DateTime date;
        // A word that is no date is tried as a time, so a date that doesn't exist is a number of hours.
        if (datetime_parseDate(tokens[k], &date)) {
            series.lastDate = date;
            ++k;
        }
        if (k >= tokens.count) {
            break;
        }
        double time;
        if (!datetime_parseTime(tokens[k], &time)) {
            return errors_setName(ERR_NUMBER, tokens[k]);
        }
        if (++k >= tokens.count) {
            break;
        }
        double value;
        if (!tokens_getDouble(tokens[k], &value)) {
            return errors_setName(ERR_NUMBER, tokens[k]);
        }
        ++k;
        series.entries.push_back({time + series.lastDate, value});
    }
    return ERR_NONE;
}

int32_t curve_readSeries(const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t index = names_find(TSERIES, tokens[0]);
    if (index < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Curve& series = TimeSeries[index];
    if (!series.id) {
        series.id = names_findId(TSERIES, tokens[0]);
    }
    // Only the word in capitals names a file: "file" is read as a time, and refused.
    if (std::strcmp(tokens[1], "FILE") == 0) {
        series.fileName = std::string(tokens[2]).substr(0, FILE_NAME_SIZE);
        series.fileState = IN_FILE;
        return ERR_NONE;
    }
    if (tokens.count < 4) {
        return errors_setName(ERR_ITEMS, "");
    }
    return readSeriesEntries(tokens, series);
}

// --- entries -------------------------------------------------------------------------------------------------------

bool curve_getFirstEntry(Curve& table, double* x, double* y) {
    if (table.fileState == IN_FILE) {
        if (table.file.file) {
            textfile_setPosition(table.file, 0);
        }
        return curve_readFileEntry(table, x, y) != 0;
    }
    table.thisEntry = -1;
    return curve_getNextEntry(table, x, y);
}

bool curve_getNextEntry(Curve& table, double* x, double* y) {
    if (table.fileState == IN_FILE) {
        return curve_readFileEntry(table, x, y) != 0;
    }
    const size_t next = static_cast<size_t>(table.thisEntry + 1);
    if (next >= table.entries.size()) {
        return false;
    }
    table.thisEntry = static_cast<int32_t>(next);
    *x = table.entries[next].x;
    *y = table.entries[next].y;
    return true;
}

/// The next line of a series file that holds anything but a comment. False at the end.
static bool getDataLine(TextFile& file, char* line) {
    while (textfile_getLine(file, line, LINE_SIZE)) {
        const char first = line[std::strspn(line, " \t\n\r")];
        if (first && first != ';') {
            return true;
        }
    }
    return false;
}

int32_t curve_readFileEntry(Curve& table, double* x, double* y) {
    char line[LINE_SIZE], dateWord[LINE_SIZE], timeWord[LINE_SIZE], valueWord[LINE_SIZE];
    if (!table.file.file || !getDataLine(table.file, line)) {
        return 0;
    }
    DateTime date;
    if (std::sscanf(line, "%1023s %1023s %1023s", dateWord, timeWord, valueWord) < 3 ||
        !datetime_parseDate(dateWord, &date)) {
        return 0;
    }
    table.lastDate = date;
    double time, value;
    if (!datetime_parseTime(timeWord, &time) || !tokens_getDouble(valueWord, &value)) {
        return 0;
    }
    *x = time + date;
    *y = value;
    return 1;
}

// --- validation ----------------------------------------------------------------------------------------------------

/// A series file is looked for as named, then beside the project file.
static bool openSeriesFile(Curve& table) {
    return textfile_open(table.file, table.fileName.c_str()) ||
           textfile_open(table.file, (InputFolder + table.fileName).c_str());
}

/// A transect may go straight up or down, all other tables need an x that grows.
static bool isOutOfSequence(const Curve& table, double dx, double y, double previousY) {
    return table.curveType == TRANSECT_CURVE ? dx < 0.0 || (dx == 0.0 && y == previousY) : dx <= 0.0;
}

int32_t curve_validate(Curve& table) {
    if (table.fileState == IN_FILE && !openSeriesFile(table)) {
        return ERR_SERIES_FILE_OPEN;
    }
    double previousX = 0.0, previousY = 0.0;
    if (!curve_getFirstEntry(table, &previousX, &previousY) && table.fileState == IN_FILE) {
        return ERR_SERIES_FILE_DATA;
    }
    double dxMin = 1.0e10;
    double x = 0.0, y = 0.0;
    while (curve_getNextEntry(table, &x, &y)) {
        const double dx = x - previousX;
        if (isOutOfSequence(table, dx, y, previousY)) {
            table.x2 = x;
            return ERR_CURVE_SEQUENCE;
        }
        dxMin = dx < dxMin ? dx : dxMin;
        previousX = x;
        previousY = y;
    }
    // One entry alone is never read by the loop and leaves 0 here: such a series has a value at its own date only.
    table.xLast = x;
    table.yLast = y;
    table.dxMin = dxMin;
    table.endPosition = table.file.file ? textfile_getPosition(table.file) : 0;
    return table.fileState == IN_FILE && !table.file.isAtEnd ? ERR_SERIES_FILE_DATA : ERR_NONE;
}

// --- cursor --------------------------------------------------------------------------------------------------------

void curve_reset(Curve& table) {
    table.x1 = 0.0;
    table.y1 = 0.0;
    curve_getFirstEntry(table, &table.x1, &table.y1);
    table.x2 = table.x1;
    table.y2 = table.y1;
    curve_getNextEntry(table, &table.x2, &table.y2);
}

void curve_resetToEnd(Curve& table) {
    table.x1 = table.x2 = table.y1 = table.y2 = 0.0;
    table.thisEntry = static_cast<int32_t>(table.entries.size()) - 1;
    if (table.file.file) {
        textfile_setPosition(table.file, table.endPosition);
    }
}

static double interpolate(const Curve& t, double x) {
    if (std::fabs(t.x2 - t.x1) < 1.0e-20) {
        return (t.y1 + t.y2) / 2.0;
    }
    return (x - t.x1) * (t.y2 - t.y1) / (t.x2 - t.x1) + t.y1;
}

double curve_lookup(Curve& t, double x) {
    if (t.x1 <= x && x <= t.x2 && t.x1 != t.x2) {
        return interpolate(t, x);
    }
    if (t.x1 == t.x2 || x < t.x1) {
        t.x1 = 0.0;
        t.y1 = 0.0;
        curve_getFirstEntry(t, &t.x1, &t.y1);
        if (t.x1 > x) {
            return 0.0;
        }
        if (x == t.x1) {
            return t.y1;
        }
    }
    if (x > t.xLast) {
        return 0.0;
    }
    // After a new start x2 and y2 still stand where the cursor was; they are taken as the entry before all the same.
    t.x1 = t.x2;
    t.y1 = t.y2;
    for (;;) {
        if (!curve_getNextEntry(t, &t.x2, &t.y2)) {
            return 0.0;
        }
        if (t.x2 >= x) {
            break;
        }
        t.x1 = t.x2;
        t.y1 = t.y2;
    }
    return interpolate(t, x);
}

// --- inverse -------------------------------------------------------------------------------------------------------

/// Behind the last entry the last slope of the area goes on. What is no number ends at the last entry.
static double extrapolateInverse(const Curve& table, double excess) {
    const CurvePoint& last = table.entries.back();
    double dx = 0.0, dy = 0.0;
    if (table.entries.size() > 1) {
        const CurvePoint& before = table.entries[table.entries.size() - 2];
        dx = last.x - before.x;
        dy = last.y - before.y;
    }
    if (dx == 0.0 || dy == 0.0) {
        const double x = last.y > 0.0 ? last.x + excess / last.y : last.x;
        return std::isnan(x) ? last.x : x;
    }
    const double slope = dy / dx;
    const double e = (std::sqrt(last.y * last.y + excess * 2.0 * slope) - last.y) / slope;
    return e >= 0.0 ? last.x + e : last.x;  // the root of a negative number fails this test too
}

double curve_inverseLookup(const Curve& table, double value) {
    if (value < 0.0 || table.entries.empty()) {
        return 0.0;
    }
    double x1 = table.entries[0].x;
    double y1 = table.entries[0].y;
    double integral = y1 * x1 * 0.5;
    if (value <= integral) {
        return y1 <= 0.0 ? 0.0 : std::sqrt(2.0 * value * x1 / y1);
    }
    for (size_t k = 1; k < table.entries.size(); ++k) {
        const CurvePoint& entry = table.entries[k];
        const double dx = entry.x - x1;
        const double dy = entry.y - y1;
        double lower = integral;
        integral = y1 * dx + lower + dy * dx * 0.5;
        if (value <= integral) {
            if (dx <= 0.0) {
                return x1;
            }
            if (dy == 0.0) {
                return integral != lower ? (value - lower) * dx / (integral - lower) + x1 : x1;
            }
            if (dy < 0.0) {
                // A narrowing store is measured from its upper end, where the root has the right sign.
                x1 = entry.x;
                y1 = entry.y;
                lower = integral;
            }
            const double slope = dy / dx;
            return (std::sqrt(y1 * y1 + (value - lower) * 2.0 * slope) - y1) / slope + x1;
        }
        x1 = entry.x;
        y1 = entry.y;
    }
    return extrapolateInverse(table, value - integral);
}
