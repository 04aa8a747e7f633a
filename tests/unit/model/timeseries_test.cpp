#include "model/timeseries.h"

#include <gtest/gtest.h>

#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "support/lines.h"
#include "support/model.h"
#include "support/tables.h"
#include "support/tempfolder.h"

struct SeriesTest : testing::Test, Tables {
    void SetUp() override {
        addName(TSERIES, "S");
        addName(TSERIES, "T");
        timeseries_createAll(testModel());
        testModel().timeSeries[0].dateInForce = testModel().timeSeries[1].dateInForce = 100.0;
        testModel().files.inputFolder.clear();
    }

    static Series makeSeries(std::vector<SeriesEntry> entries) {
        Series series{};
        series.entries = std::move(entries);
        return series;
    }
};

static int32_t readSeries(const char* line) {
    return parseLine(line, timeseries_readLine);
}

/// The value at a date, read by the series' own cursor.
static double lookUp(Series& series, DateTime date) {
    return timeseries_lookup(series, series.cursor, date);
}

static void rewind(Series& series) {
    timeseries_rewind(series, series.cursor);
}

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(SeriesTest, ASeriesKeepsItsDateUntilTheNextOne) {
    EXPECT_EQ(readSeries("S 1:00 5 2020/01/01 2:00 6 3:00 7"), 0);
    EXPECT_EQ(readSeries("s 4:00 8"), ERR_ITEMS);  // "ID time value" has too few words
    EXPECT_EQ(readSeries("s 4:00 8 30 9"), 0);
    const std::vector<SeriesEntry>& entries = testModel().timeSeries[0].entries;
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].date, 1.0 / 24.0 + 100.0);
    EXPECT_EQ(entries[1].date, 2.0 / 24.0 + 43831.0);
    EXPECT_EQ(entries[3].date, 4.0 / 24.0 + 43831.0);
    EXPECT_EQ(entries[4].date, 30.0 / 24.0 + 43831.0);  // past the end of the day
    EXPECT_EQ(entries[4].value, 9.0);
}

TEST_F(SeriesTest, ASeriesLosesWhatTheEndOfALineCutsOff) {
    EXPECT_EQ(readSeries("S 1 5 2"), 0);
    EXPECT_EQ(readSeries("S 1 5 2020/01/01"), 0);
    EXPECT_EQ(testModel().timeSeries[0].entries.size(), 2u);
    EXPECT_EQ(testModel().timeSeries[0].dateInForce, 43831.0);
}

TEST_F(SeriesTest, ASeriesTakesADateThatDoesntExistAsATime) {
    EXPECT_EQ(readSeries("S 2021/04/31 7 1 2"), 0);
    EXPECT_EQ(testModel().timeSeries[0].entries[0].date, 2021.0 / 24.0 + 100.0);
    EXPECT_EQ(testModel().timeSeries[0].entries[0].value, 7.0);
}

TEST_F(SeriesTest, ASeriesLineIsRefused) {
    expectLineError("S 1", timeseries_readLine, ERR_ITEMS, "");
    expectLineError("X 1 2", timeseries_readLine, ERR_UNDEFINED_OBJECT, "X");
    expectLineError("S FILE", timeseries_readLine, ERR_ITEMS, "");
    expectLineError("S file a b", timeseries_readLine, ERR_NUMBER, "file");
    expectLineError("S 2020/01/01 x 5", timeseries_readLine, ERR_NUMBER, "x");
    expectLineError("S 2020/01/01 1:00 x", timeseries_readLine, ERR_NUMBER, "x");
}

TEST_F(SeriesTest, AFileWinsOverTheEntriesOfASeries) {
    EXPECT_EQ(readSeries("S 1 5 2 6"), 0);
    EXPECT_EQ(readSeries("S FILE none.dat more words"), 0);
    EXPECT_TRUE(testModel().timeSeries[0].isInFile);
    EXPECT_EQ(testModel().timeSeries[0].fileName, "none.dat");
    EXPECT_EQ(timeseries_validate(testModel(), testModel().timeSeries[0]), ERR_SERIES_FILE_OPEN);
}

TEST_F(SeriesTest, AFileNameIsCut) {
    EXPECT_EQ(readSeries(("S FILE " + std::string(300, 'n')).c_str()), 0);
    EXPECT_EQ(testModel().timeSeries[0].fileName, std::string(259, 'n'));
    testModel().files.inputFolder = std::string(400, 'f') + "/";
    EXPECT_EQ(timeseries_validate(testModel(), testModel().timeSeries[0]), ERR_SERIES_FILE_OPEN);
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST_F(SeriesTest, DatesMustGrow) {
    Series good = makeSeries({{0, 1}, {1, 5}, {1.25, 2}});
    EXPECT_EQ(timeseries_validate(testModel(), good), 0);
    EXPECT_EQ(good.endDate, 1.25);
    Series equal = makeSeries({{0, 1}, {3, 5}, {3, 6}});
    EXPECT_EQ(timeseries_validate(testModel(), equal), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(equal.cursor.after.date, 3.0);
    Series falling = makeSeries({{5, 1}, {4, 5}});
    EXPECT_EQ(timeseries_validate(testModel(), falling), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(falling.cursor.after.date, 4.0);
}

TEST_F(SeriesTest, OneEntryHasNoLastOne) {
    Series one = makeSeries({{7, 8}});
    EXPECT_EQ(timeseries_validate(testModel(), one), 0);
    EXPECT_EQ(one.endDate, 0.0);
    Series none = makeSeries({});
    EXPECT_EQ(timeseries_validate(testModel(), none), 0);
}

/// Validation of a series in a file with this text.
static int32_t validateFile(const std::string& text) {
    const TempFolder folder;
    Series series{};
    series.isInFile = true;
    series.fileName = folder.write("s.dat", text);
    const int32_t result = timeseries_validate(testModel(), series);
    textfile_close(series.file);
    return result;
}

TEST_F(SeriesTest, ASeriesFileIsReadToItsEnd) {
    EXPECT_EQ(validateFile("; head\n\n2020/01/01 1:00 5\n  ;c\n2020/01/01 2 6\r\n"), 0);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5"), 0);
    EXPECT_EQ(validateFile(""), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("; only\n"), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("date value\n2020/01/01 1:00 5\n"), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("1:00 5 6\n"), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("2020/01/01 x 5\n"), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("2020/01/01 1:00 x\n"), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\nx\n2020/01/01 2:00 5\n"), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\n2020/01/01 1:00 6\n"), ERR_CURVE_SEQUENCE);
}

TEST_F(SeriesTest, ABadLastLineWithoutLineFeedPasses) {
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\nbad"), 0);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\nbad\n"), ERR_SERIES_FILE_DATA);
    // A last piece that fills the line buffer ends before the end of the file is met.
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\n" + std::string(1023, 'x')), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\n" + std::string(1022, 'x')), 0);
}

TEST_F(SeriesTest, ASeriesFileIsAlsoLookedForBesideTheProject) {
    const TempFolder folder;
    folder.write("s.dat", "2020/01/01 1:00 5\n");
    testModel().files.inputFolder = folder.path.string() + "/";
    EXPECT_EQ(readSeries("S FILE s.dat"), 0);
    EXPECT_EQ(timeseries_validate(testModel(), testModel().timeSeries[0]), 0);
    EXPECT_EQ(readSeries("T FILE \"\""), 0);  // the folder itself
    EXPECT_EQ(timeseries_validate(testModel(), testModel().timeSeries[1]), ERR_SERIES_FILE_OPEN);
}

// --- look-up -------------------------------------------------------------------------------------------------------

/// Value of a series by its definition: linear between entries, 0 outside.
static double evaluate(const std::vector<SeriesEntry>& entries, double x) {
    for (size_t k = 1; k < entries.size(); ++k) {
        const SeriesEntry &a = entries[k - 1], &b = entries[k];
        if (a.date <= x && x <= b.date) {
            return (x - a.date) * (b.value - a.value) / (b.date - a.date) + a.value;
        }
    }
    return 0.0;
}

TEST_F(SeriesTest, ALookUpWalksForwardThroughAResetSeries) {
    const std::vector<SeriesEntry> entries{{10, 1}, {11, 4}, {13, 2}, {14, 8}};
    Series series = makeSeries(entries);
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    for (double x = 9.0; x < 15.0; x += 0.125) {
        EXPECT_DOUBLE_EQ(lookUp(series, x), evaluate(entries, x)) << x;
    }
}

TEST_F(SeriesTest, ALookUpEndsWithTheLastEntry) {
    Series series = makeSeries({{10, 1}, {11, 4}});
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    EXPECT_EQ(lookUp(series, 11.0), 4.0);
    EXPECT_EQ(lookUp(series, 11.5), 0.0);
}

TEST_F(SeriesTest, ALookUpReadsAFileLikeAList) {
    const TempFolder folder;
    Series series = makeSeries({});
    series.isInFile = true;
    series.fileName = folder.write("s.dat", "1900/01/09 0 1\n1900/01/10 0 4\n1900/01/12 0 2\n");
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    const std::vector<SeriesEntry> entries{{10, 1}, {11, 4}, {13, 2}};
    for (double x = 9.0; x < 14.0; x += 0.125) {
        EXPECT_DOUBLE_EQ(lookUp(series, x), evaluate(entries, x)) << x;
    }
    textfile_close(series.file);
}

TEST_F(SeriesTest, AStepBackStartsAnewFromWhereTheCursorWas) {
    // After the new start the entry around the old cursor is taken as the one before: from (13, 2) to (11, 4).
    Series series = makeSeries({{10, 1}, {11, 4}, {13, 2}});
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    EXPECT_DOUBLE_EQ(lookUp(series, 12.0), 3.0);
    EXPECT_DOUBLE_EQ(lookUp(series, 10.5), (10.5 - 13.0) * (4.0 - 2.0) / (11.0 - 13.0) + 2.0);
    EXPECT_EQ(lookUp(series, 9.0), 0.0);
    EXPECT_EQ(lookUp(series, 10.0), 1.0);
}

TEST_F(SeriesTest, ASeriesThatWasNeverResetBeginsOnALineFromTheOrigin) {
    Series series = makeSeries({{10, 1}, {12, 6}, {13, 2}});
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    timeseries_moveToEnd(series, series.cursor);
    EXPECT_DOUBLE_EQ(lookUp(series, 11.0), 11.0 * 6.0 / 12.0);
    EXPECT_DOUBLE_EQ(lookUp(series, 12.5), 4.0);
}

TEST_F(SeriesTest, OneEntryHasAValueAtItsOwnDateOnly) {
    Series series = makeSeries({{10, 7}});
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    EXPECT_EQ(lookUp(series, 9.0), 0.0);
    EXPECT_EQ(lookUp(series, 10.0), 7.0);
    EXPECT_EQ(lookUp(series, 10.5), 0.0);
}

TEST_F(SeriesTest, ALookUpInNothingIsZero) {
    Series series = makeSeries({});
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    EXPECT_EQ(lookUp(series, 5.0), 0.0);
    EXPECT_EQ(lookUp(series, 0.0), 0.0);
}

// --- cursors -------------------------------------------------------------------------------------------------------

/// Ten entries, one a day from day 10 on, with the squares of 0 to 9.
static std::vector<SeriesEntry> getSquares() {
    std::vector<SeriesEntry> entries;
    for (int k = 0; k < 10; ++k) {
        entries.push_back({10.0 + k, 1.0 * k * k});
    }
    return entries;
}

/// The same as the text of a file of which a buffer holds no more than three entries.
static std::string writeSquares() {
    std::string text;
    for (int k = 0; k < 10; ++k) {
        for (int line = 0; line < 200; ++line) {
            text += "; " + std::string(97, '-') + "\n";
        }
        text += "1900/01/" + (k == 0 ? "09" : std::to_string(9 + k)) + " 0:00 " + std::to_string(k * k) + "\n";
    }
    return text;
}

/// What two cursors read by turns, of which each alone reads these squares.
static void expectIndependentCursors(Series& series) {
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    SeriesCursor slow{}, quick{};
    SeriesEntry entry{};
    for (int k = 0; k < 10; ++k) {
        ASSERT_TRUE(timeseries_getNextEntry(series, slow, entry)) << k;
        EXPECT_EQ(entry.date, 10.0 + k);
        EXPECT_EQ(entry.value, 1.0 * k * k);
        for (int m = 2 * k; m < 2 * k + 2; ++m) {
            entry = {-1.0, -1.0};
            EXPECT_EQ(timeseries_getNextEntry(series, quick, entry), m < 10) << m;
            EXPECT_EQ(entry.date, m < 10 ? 10.0 + m : -1.0);
            EXPECT_EQ(entry.value, m < 10 ? 1.0 * m * m : -1.0);
        }
    }
    EXPECT_FALSE(timeseries_getNextEntry(series, slow, entry));
    ASSERT_TRUE(timeseries_getFirstEntry(series, quick, entry));
    EXPECT_EQ(entry.date, 10.0);
}

/// A copy looks up earlier and later dates while the cursor it was taken from goes on.
static void expectIndependentCopy(Series& series) {
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    rewind(series);
    EXPECT_EQ(lookUp(series, 14.5), 20.5);  // between 16 and 25
    for (const double date : {10.0, 12.5, 14.25, 18.5, 30.0, 9.0}) {
        SeriesCursor copy = series.cursor;
        (void)timeseries_lookup(series, copy, date);
    }
    SeriesCursor ahead = series.cursor;
    EXPECT_EQ(timeseries_lookup(series, ahead, 17.5), 56.5);  // between 49 and 64
    EXPECT_EQ(lookUp(series, 15.5), 30.5);                    // between 25 and 36
    EXPECT_EQ(timeseries_lookup(series, ahead, 18.5), 72.5);  // between 64 and 81
    EXPECT_EQ(lookUp(series, 16.5), 42.5);                    // between 36 and 49
}

TEST_F(SeriesTest, TwoCursorsOverMemoryReadEachByItself) {
    Series series = makeSeries(getSquares());
    expectIndependentCursors(series);
    expectIndependentCopy(series);
}

TEST_F(SeriesTest, TwoCursorsOverAFileReadEachByItself) {
    const TempFolder folder;
    Series series{};
    series.isInFile = true;
    series.fileName = folder.write("s.dat", writeSquares());
    expectIndependentCursors(series);
    expectIndependentCopy(series);
    textfile_close(series.file);
}

TEST_F(SeriesTest, TwoCursorsOverAFileInOneBufferReadEachByItself) {
    const TempFolder folder;
    Series series{};
    series.isInFile = true;
    std::string text;
    for (const SeriesEntry& entry : getSquares()) {
        text +=
            "1900/01/" + std::to_string(static_cast<int>(entry.date) - 1) + " 0 " + std::to_string(entry.value) + "\n";
    }
    series.fileName = folder.write("s.dat", text);
    expectIndependentCursors(series);
    expectIndependentCopy(series);
    textfile_close(series.file);
}

TEST_F(SeriesTest, ACursorThatMeetsTheEndDoesntEndAnother) {
    const TempFolder folder;
    Series series{};
    series.isInFile = true;
    series.fileName = folder.write("s.dat", "1900/01/09 0 1\n1900/01/10 0 4\n");
    ASSERT_EQ(timeseries_validate(testModel(), series), 0);
    EXPECT_TRUE(series.cursor.isAtEnd);
    SeriesCursor other{};
    SeriesEntry entry{};
    ASSERT_TRUE(timeseries_getNextEntry(series, other, entry));
    EXPECT_EQ(entry.value, 1.0);
    EXPECT_FALSE(other.isAtEnd);
    EXPECT_TRUE(series.cursor.isAtEnd);
    EXPECT_FALSE(timeseries_getNextEntry(series, series.cursor, entry));
    ASSERT_TRUE(timeseries_getNextEntry(series, other, entry));
    EXPECT_EQ(entry.value, 4.0);
    EXPECT_FALSE(other.isAtEnd);
    EXPECT_FALSE(timeseries_getNextEntry(series, other, entry));
    EXPECT_TRUE(other.isAtEnd);
    textfile_close(series.file);
}
