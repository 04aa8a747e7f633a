// Time series. One may stand in a file of any length, of which a buffer alone is held at a time. A cursor is made for a
// walk forward through a run, and starts anew when it is asked for an earlier date. The simulation reads each series by
// one cursor, which all its users share; who only looks, as the results do, reads by a copy.

#include "model/timeseries.h"

#include <cmath>
#include <cstring>
#include <string>

#include "model/curve.h"
#include "model/errors.h"
#include "model/inputfiles.h"
#include "model/model.h"
#include "model/names.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/units.h"

static constexpr size_t FILE_NAME_SIZE = 259;

void timeseries_createAll(Model& model) {
    model.timeSeries.fill(model.counts.objects[TSERIES], Series{});
}

// --- reading -------------------------------------------------------------------------------------------------------

/// Warns of a date or time without a value after it: it makes no entry.
static int32_t endEarly(const Model& model, const Tokens& tokens, int32_t place) {
    warnings_addAtLine(model, WARN_SERIES_ENTRY, place, tokens[0], {tokens[place]});
    return ERR_NONE;
}

/// Tells of a time that the scan didn't take to its end.
[[gnu::cold]] static void reviewTime(const Model& model, const Tokens& tokens, int32_t place, double days) {
    const bool isDate = std::strpbrk(tokens[place], "/-") != nullptr;
    warnings_addAtLine(model, isDate ? WARN_SERIES_DATE : WARN_TIME_FORM, place, tokens[0],
                       {tokens[place], warnings_formatNumber(days * HOURS_PER_DAY) + " h"});
}

/// Reads date, time and value by turns; a date may be left out, and the one before it then holds. What is cut off by
/// the end of the line is lost.
static int32_t readEntries(Model& model, const Tokens& tokens, Series& series) {
    int32_t k = 1;
    bool isWhole = true;
    while (k < tokens.count) {
        DateTime date;
        // A word that is no date is tried as a time, so a date that doesn't exist is a number of hours.
        if (datetime_parseDate(tokens[k], &date, &isWhole)) {
            if (!isWhole) {
                warnings_addAtLine(model, WARN_DATE_TAIL, k, tokens[0], {tokens[k]});
            }
            series.dateInForce = date;
            ++k;
        }
        if (k >= tokens.count) {
            return endEarly(model, tokens, k - 1);
        }
        double time;
        if (!datetime_parseTime(tokens[k], &time, &isWhole)) {
            return errors_setName(model, ERR_NUMBER, tokens[k]);
        }
        if (!isWhole) {
            reviewTime(model, tokens, k, time);
        }
        if (++k >= tokens.count) {
            return endEarly(model, tokens, k - 1);
        }
        double value;
        if (!tokens_getDouble(tokens[k], &value)) {
            return errors_setName(model, ERR_NUMBER, tokens[k]);
        }
        ++k;
        series.entries.push_back({time + series.dateInForce, value});
    }
    return ERR_NONE;
}

int32_t timeseries_readLine(Model& model, const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t index = names_find(model, TSERIES, tokens[0]);
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Series& series = model.timeSeries[index];
    if (!series.id) {
        series.id = names_findId(model, TSERIES, tokens[0]);
    }
    // Only the word in capitals names a file: "file" is read as a time, and refused.
    if (std::strcmp(tokens[1], "FILE") == 0) {
        warnings_noteGiven(model, index, 0, tokens[0], "the file of the series");
        if (!series.entries.empty()) {
            warnings_addAtLine(model, WARN_SERIES_FILE, 1, tokens[0]);
        }
        series.fileName = std::string(tokens[2]).substr(0, FILE_NAME_SIZE);
        series.isInFile = true;
        return ERR_NONE;
    }
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    if (series.isInFile && series.entries.empty()) {
        warnings_addAtLine(model, WARN_SERIES_FILE, -1, tokens[0]);
    }
    return readEntries(model, tokens, series);
}

// --- entries -------------------------------------------------------------------------------------------------------

/// The next line of a series file that holds anything but a comment. False at the end.
static bool getDataLine(TextFile& file, char* line) {
    while (textfile_getLine(file, line, LINE_SIZE)) {
        const char* at = line;
        while (*at == ' ' || *at == '\t' || *at == '\n' || *at == '\r') {
            ++at;
        }
        if (*at && *at != ';') {
            return true;
        }
    }
    return false;
}

static bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The next word of a line, cut off there, and `at` moved on; empty at the end.
static const char* takeWord(char*& at) {
    while (isBlank(*at)) {
        ++at;
    }
    const char* const word = at;
    while (*at && !isBlank(*at)) {
        ++at;
    }
    if (*at) {
        *at++ = 0;
    }
    return word;
}

/// A line of a series file: date, time and value, and nothing is read of what follows. `isWhole` tells whether date and
/// time were read to their ends.
static bool parseFileLine(const char* line, SeriesEntry& entry, bool& isWhole) {
    char words[LINE_SIZE];
    char* at = std::strcpy(words, line);
    const char* const dateWord = takeWord(at);
    const char* const timeWord = takeWord(at);
    const char* const valueWord = takeWord(at);
    DateTime date;
    if (!*valueWord || !datetime_parseDate(dateWord, &date, &isWhole)) {
        return false;
    }
    double time, value;
    bool isWholeTime = true;
    if (!datetime_parseTime(timeWord, &time, &isWholeTime) || !tokens_getDouble(valueWord, &value)) {
        return false;
    }
    isWhole = isWhole && isWholeTime;
    entry = {time + date, value};
    return true;
}

/// Reads where the cursor stands. The file stands where the cursor that read last has left it, so that one which reads
/// on by itself never seeks.
static bool readFileEntry(Series& series, SeriesCursor& cursor, SeriesEntry& entry) {
    TextFile& file = series.file;
    if (!file.file) {
        return false;
    }
    if (textfile_getPosition(file) != cursor.position) {
        textfile_setPosition(file, cursor.position);
    }
    char line[LINE_SIZE];
    const bool isRead = getDataLine(file, line);
    cursor.position = textfile_getPosition(file);
    cursor.isAtEnd = file.isAtEnd;
    bool isWhole = true;
    const bool isGood = isRead && parseFileLine(line, entry, isWhole);
    if (isGood && !isWhole && series.oddLine.empty()) {
        series.oddLine.assign(line, std::strcspn(line, "\r\n"));
    }
    return isGood;
}

bool timeseries_getFirstEntry(Series& series, SeriesCursor& cursor, SeriesEntry& entry) {
    cursor.nextEntry = 0;
    cursor.position = 0;
    return timeseries_getNextEntry(series, cursor, entry);
}

bool timeseries_getNextEntry(Series& series, SeriesCursor& cursor, SeriesEntry& entry) {
    if (series.isInFile) {
        return readFileEntry(series, cursor, entry);
    }
    if (cursor.nextEntry >= series.entries.size()) {
        return false;
    }
    entry = series.entries[cursor.nextEntry++];
    return true;
}

// --- validation ----------------------------------------------------------------------------------------------------

/// A series file is looked for as named, then beside the project file.
static bool openSeriesFile(Model& model, Series& series) {
    for (const std::string& path : {series.fileName, model.files.inputFolder + series.fileName}) {
        if (textfile_open(series.file, path.c_str())) {
            inputfiles_add(model, path, std::string("the file of time series ") + (series.id ? series.id : ""));
            return true;
        }
    }
    return false;
}

static void beginSummary(SeriesSummary& summary, const SeriesEntry& entry, DateTime end) {
    const bool isWet = entry.value != 0.0 && entry.date < end;
    summary = {entry, entry, entry.value, entry.value, isWet ? entry.date : NO_DATE, HUGE_VAL};
}

static void addToSummary(SeriesSummary& summary, const SeriesEntry& entry, DateTime end) {
    const double gap = entry.date - summary.last.date;
    if (summary.last.value != 0.0 && gap < summary.wetGap) {
        summary.wetGap = gap;
    }
    if (entry.value < summary.smallest) {
        summary.smallest = entry.value;
    }
    if (entry.value > summary.largest) {
        summary.largest = entry.value;
    }
    if (entry.value != 0.0 && entry.date < end) {
        summary.lastWet = entry.date;
    }
    summary.last = entry;
}

/// Whether the last line of a file was one that can't be read. The last bytes tell: a line is data without its end.
static bool isLastLineUnread(Series& series, const SeriesCursor& cursor) {
    static constexpr int64_t TAIL = LINE_SIZE - 1;
    TextFile& file = series.file;
    char line[LINE_SIZE];
    textfile_setPosition(file, cursor.position > 0 ? cursor.position - 1 : 0);
    bool isUnread = false;
    if (!textfile_getLine(file, line, LINE_SIZE) || line[0] == '\n') {
        return false;
    }
    textfile_setPosition(file, cursor.position > TAIL ? cursor.position - TAIL : 0);
    while (getDataLine(file, line)) {
        SeriesEntry entry;
        bool isWhole = true;
        isUnread = file.isAtEnd && !parseFileLine(line, entry, isWhole);
    }
    return isUnread;
}

/// Tells what of a file is left out, or taken otherwise than it says.
static void reviewFile(const Model& model, Series& series) {
    const auto index = static_cast<int32_t>(&series - model.timeSeries.data());
    if (series.cursor.isAtEnd && isLastLineUnread(series, series.cursor)) {
        warnings_addAbout(model, WARN_SERIES_LAST_LINE, TSERIES, index, series.id, {series.fileName});
    }
    if (!series.oddLine.empty()) {
        warnings_addAbout(model, WARN_SERIES_LINE, TSERIES, index, series.id, {series.oddLine, series.fileName});
    }
}

int32_t timeseries_validate(Model& model, Series& series) {
    if (series.isInFile && !openSeriesFile(model, series)) {
        return ERR_SERIES_FILE_OPEN;
    }
    SeriesCursor& cursor = series.cursor;
    SeriesEntry previous{}, entry{};
    if (!timeseries_getFirstEntry(series, cursor, previous) && series.isInFile) {
        return ERR_SERIES_FILE_DATA;
    }
    const DateTime end = model.options.endDateTime;
    beginSummary(series.summary, previous, end);
    series.beginning[0] = series.beginning[1] = previous;
    bool isSecond = true;
    while (timeseries_getNextEntry(series, cursor, entry)) {
        addToSummary(series.summary, entry, end);
        if (isSecond) {
            series.beginning[1] = entry;
            isSecond = false;
        }
        if (entry.date - previous.date <= 0.0) {
            cursor.after.date = entry.date;
            return ERR_CURVE_SEQUENCE;
        }
        previous = entry;
    }
    // One entry alone is never read by the loop and leaves 0 here: such a series has a value at its own date only.
    series.endDate = entry.date;
    series.endPosition = cursor.position;
    if (warnings_isWanted(model) && series.isInFile) {
        reviewFile(model, series);
    }
    return series.isInFile && !cursor.isAtEnd ? ERR_SERIES_FILE_DATA : ERR_NONE;
}

// --- cursor --------------------------------------------------------------------------------------------------------

void timeseries_rewind(Series& series, SeriesCursor& cursor) {
    cursor.before = {};
    (void)timeseries_getFirstEntry(series, cursor, cursor.before);
    cursor.after = cursor.before;
    (void)timeseries_getNextEntry(series, cursor, cursor.after);
}

void timeseries_moveToEnd(const Series& series, SeriesCursor& cursor) {
    cursor = {};
    cursor.nextEntry = series.entries.size();
    cursor.position = series.endPosition;
}

static double interpolate(const SeriesCursor& cursor, DateTime date) {
    const SeriesEntry &a = cursor.before, &b = cursor.after;
    return curve_interpolate({a.date, a.value}, {b.date, b.value}, date);
}

double timeseries_lookup(Series& series, SeriesCursor& cursor, DateTime date) {
    SeriesEntry &before = cursor.before, &after = cursor.after;
    if (before.date <= date && date <= after.date && before.date != after.date) {
        return interpolate(cursor, date);
    }
    if (before.date == after.date || date < before.date) {
        before = {};
        (void)timeseries_getFirstEntry(series, cursor, before);
        if (before.date > date) {
            return 0.0;
        }
        if (date == before.date) {
            return before.value;
        }
    }
    if (date > series.endDate) {
        return 0.0;
    }
    // After a new start the later entry still stands where the cursor was; it is taken as the one before all the same.
    before = after;
    for (;;) {
        if (!timeseries_getNextEntry(series, cursor, after)) {
            return 0.0;
        }
        if (after.date >= date) {
            break;
        }
        before = after;
    }
    return interpolate(cursor, date);
}
