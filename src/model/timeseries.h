#pragma once
// Time series: entries by date, in memory or in a file of any length, read by cursors that walk forward through them.

#include <cstdint>
#include <string>
#include <vector>

#include "model/table.h"
#include "text/datetime.h"
#include "text/textfile.h"
#include "text/tokens.h"

struct Model;

struct SeriesEntry {
    DateTime date;
    double value;  ///< in the unit of whoever reads it
};

/// How far somebody has read a series. A cursor of zeros stands in front; a copy reads on by itself.
struct SeriesCursor {
    SeriesEntry before;  ///< the entries around the date looked up last
    SeriesEntry after;
    size_t nextEntry;  ///< entry in memory to be read next
    int64_t position;  ///< place of the next line in the file
    bool isAtEnd;      ///< the last read has met the end of the file
};

/// What the validation has seen of a series while it went through all its entries.
struct SeriesSummary {
    SeriesEntry first;
    SeriesEntry last;
    double smallest, largest;  ///< values
    DateTime lastWet;          ///< of the last entry ahead of the end of the run that isn't 0; NO_DATE for none
    double wetGap;  ///< days, shortest time from an entry that isn't 0 to the next; infinite if there is none
};

struct Series {
    const char* id;                    ///< the ID as first seen; null until the first line is read
    bool isUsedByInflow;               ///< an external inflow uses this series
    bool isInFile;                     ///< the entries stand in the file, whatever stands in memory
    DateTime dateInForce;              ///< of the entries without a date while the project's lines are read
    DateTime endDate;                  ///< of the last entry; 0 with one entry
    std::vector<SeriesEntry> entries;  ///< in the order of the lines
    std::string fileName;
    TextFile file;             ///< open from the validation on; all cursors read through its one buffer
    int64_t endPosition;       ///< place in the file where the validation stopped
    std::string oddLine;       ///< the first line of the file whose date or time was not read to its end
    SeriesEntry beginning[2];  ///< the first two entries; twice the first of one alone
    SeriesSummary summary;
    SeriesCursor cursor;  ///< that of the simulation: gages and inflows of one series move it for each other
};

/// Makes the table for the counted series.
void timeseries_createAll(Model& model);

/// A line of [TIMESERIES]. An error index, or 0.
[[nodiscard]] int32_t timeseries_readLine(Model& model, const Tokens& tokens);

/// Opens the file of a series and tests the order of the dates; leaves the cursor of the series where it stopped. 0,
/// ERR_SERIES_FILE_OPEN, ERR_SERIES_FILE_DATA, or ERR_CURVE_SEQUENCE with the bad entry's date in `cursor.after`.
[[nodiscard]] int32_t timeseries_validate(Model& model, Series& series);

/// Puts a cursor in front, with the first two entries around it.
void timeseries_rewind(Series& series, SeriesCursor& cursor);

/// Puts a cursor where the validation stops, at the end, with zeros around it.
void timeseries_moveToEnd(const Series& series, SeriesCursor& cursor);

/// The value at a date between the entries; 0 before the first and after the last.
[[nodiscard]] double timeseries_lookup(Series& series, SeriesCursor& cursor, DateTime date);

/// Reads the first entry, or the one that comes after that read last. False if there is none; `entry` then stays.
[[nodiscard]] bool timeseries_getFirstEntry(Series& series, SeriesCursor& cursor, SeriesEntry& entry);
[[nodiscard]] bool timeseries_getNextEntry(Series& series, SeriesCursor& cursor, SeriesEntry& entry);
