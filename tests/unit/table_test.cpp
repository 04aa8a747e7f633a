#include "model/curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "support/lines.h"
#include "support/tempfolder.h"
#include "text/datetime.h"
#include "text/tokens.h"

struct Tables : testing::Test {
    void SetUp() override {
        names_clear();
        ObjectCount[CURVE] = 2;
        ObjectCount[TSERIES] = 2;
        names_add(CURVE, "C", 0);
        names_add(CURVE, "D", 1);
        names_add(TSERIES, "S", 0);
        names_add(TSERIES, "T", 1);
        curve_createAll();
        TimeSeries[0].lastDate = TimeSeries[1].lastDate = 100.0;
        InputFolder.clear();
    }
    void TearDown() override {
        curve_deleteAll();
        names_clear();
        ObjectCount[CURVE] = ObjectCount[TSERIES] = 0;
    }

    static Curve makeSeries(std::vector<CurvePoint> entries) {
        Curve table{};
        table.curveType = -1;
        table.thisEntry = -1;
        table.entries = std::move(entries);
        return table;
    }

    static Curve makeCurve(std::vector<CurvePoint> entries) {
        Curve table = makeSeries(std::move(entries));
        table.curveType = TANK_CURVE;
        return table;
    }
};

static int32_t readCurve(const char* line) {
    return parseLine(line, curve_readCurve);
}

static int32_t readSeries(const char* line) {
    return parseLine(line, curve_readSeries);
}

// --- curves --------------------------------------------------------------------------------------------------------

TEST_F(Tables, ACurveGoesOnOverSeveralLines) {
    EXPECT_EQ(readCurve("c TANK 0 1 1 2"), 0);
    EXPECT_EQ(readCurve("C 2 3"), 0);
    ASSERT_EQ(Curves[0].entries.size(), 3u);
    EXPECT_EQ(Curves[0].entries[2].x, 2.0);
    EXPECT_EQ(Curves[0].entries[2].y, 3.0);
    EXPECT_EQ(Curves[0].curveType, TANK_CURVE);
    EXPECT_STREQ(Curves[0].id, "C");
}

TEST_F(Tables, ACurveKnowsItsFourTypes) {
    const char* lines[] = {"C tank 1 1", "C PUMP1 1 1", "C Pump2 1 1", "C TRANSECT 1 1"};
    for (int32_t type = 0; type < 4; ++type) {
        curve_createAll();
        EXPECT_EQ(readCurve(lines[type]), 0);
        EXPECT_EQ(Curves[0].curveType, type);
    }
}

TEST_F(Tables, ACurveLineIsRefused) {
    expectLineError("C TANK", curve_readCurve, ERR_ITEMS, "");
    expectLineError("X TANK 1 2", curve_readCurve, ERR_UNDEFINED_OBJECT, "X");
    expectLineError("C TANK 1", curve_readCurve, ERR_ITEMS, "");
    expectLineError("C 1 x", curve_readCurve, ERR_NUMBER, "x");
    expectLineError("C y 1", curve_readCurve, ERR_NUMBER, "y");
    EXPECT_EQ(readCurve("C -1 -2"), 0);  // neither sign nor order is tested here
}

TEST_F(Tables, ACurveOfABadTypeGoesOnWithoutOne) {
    expectLineError("C WEIR 1 2", curve_readCurve, ERR_KEYWORD, "WEIR");
    EXPECT_EQ(readCurve("C 3 4"), 0);
    EXPECT_EQ(Curves[0].curveType, -1);
    ASSERT_EQ(Curves[0].entries.size(), 1u);
    EXPECT_EQ(Curves[0].entries[0].x, 3.0);
}

TEST_F(Tables, ACurveKeepsThePairsBeforeABadOne) {
    expectLineError("C TANK 1 2 3 x", curve_readCurve, ERR_NUMBER, "x");
    EXPECT_EQ(Curves[0].entries.size(), 1u);
}

// --- series lines --------------------------------------------------------------------------------------------------

TEST_F(Tables, ASeriesKeepsItsDateUntilTheNextOne) {
    EXPECT_EQ(readSeries("S 1:00 5 2020/01/01 2:00 6 3:00 7"), 0);
    EXPECT_EQ(readSeries("s 4:00 8"), ERR_ITEMS);  // "ID time value" has too few words
    EXPECT_EQ(readSeries("s 4:00 8 30 9"), 0);
    const std::vector<CurvePoint>& entries = TimeSeries[0].entries;
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].x, 1.0 / 24.0 + 100.0);
    EXPECT_EQ(entries[1].x, 2.0 / 24.0 + 43831.0);
    EXPECT_EQ(entries[3].x, 4.0 / 24.0 + 43831.0);
    EXPECT_EQ(entries[4].x, 30.0 / 24.0 + 43831.0);  // past the end of the day
    EXPECT_EQ(entries[4].y, 9.0);
}

TEST_F(Tables, ASeriesLosesWhatTheEndOfALineCutsOff) {
    EXPECT_EQ(readSeries("S 1 5 2"), 0);
    EXPECT_EQ(readSeries("S 1 5 2020/01/01"), 0);
    EXPECT_EQ(TimeSeries[0].entries.size(), 2u);
    EXPECT_EQ(TimeSeries[0].lastDate, 43831.0);
}

TEST_F(Tables, ASeriesTakesADateThatDoesntExistAsATime) {
    EXPECT_EQ(readSeries("S 2021/04/31 7 1 2"), 0);
    EXPECT_EQ(TimeSeries[0].entries[0].x, 2021.0 / 24.0 + 100.0);
    EXPECT_EQ(TimeSeries[0].entries[0].y, 7.0);
}

TEST_F(Tables, ASeriesLineIsRefused) {
    expectLineError("S 1", curve_readSeries, ERR_ITEMS, "");
    expectLineError("X 1 2", curve_readSeries, ERR_UNDEFINED_OBJECT, "X");
    expectLineError("S FILE", curve_readSeries, ERR_ITEMS, "");
    expectLineError("S file a b", curve_readSeries, ERR_NUMBER, "file");
    expectLineError("S 2020/01/01 x 5", curve_readSeries, ERR_NUMBER, "x");
    expectLineError("S 2020/01/01 1:00 x", curve_readSeries, ERR_NUMBER, "x");
}

TEST_F(Tables, AFileWinsOverTheEntriesOfASeries) {
    EXPECT_EQ(readSeries("S 1 5 2 6"), 0);
    EXPECT_EQ(readSeries("S FILE none.dat more words"), 0);
    EXPECT_EQ(TimeSeries[0].fileState, 2);
    EXPECT_EQ(TimeSeries[0].fileName, "none.dat");
    EXPECT_EQ(curve_validate(TimeSeries[0]), ERR_SERIES_FILE_OPEN);
}

TEST_F(Tables, AFileNameIsCut) {
    EXPECT_EQ(readSeries(("S FILE " + std::string(300, 'n')).c_str()), 0);
    EXPECT_EQ(TimeSeries[0].fileName, std::string(259, 'n'));
    InputFolder = std::string(400, 'f') + "/";
    EXPECT_EQ(curve_validate(TimeSeries[0]), ERR_SERIES_FILE_OPEN);
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST_F(Tables, XMustGrow) {
    Curve good = makeCurve({{0, 1}, {1, 5}, {1.25, 2}});
    EXPECT_EQ(curve_validate(good), 0);
    EXPECT_EQ(good.xLast, 1.25);
    EXPECT_EQ(good.yLast, 2.0);
    EXPECT_EQ(good.dxMin, 0.25);
    Curve equal = makeCurve({{0, 1}, {3, 5}, {3, 6}});
    EXPECT_EQ(curve_validate(equal), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(equal.x2, 3.0);
    Curve falling = makeSeries({{5, 1}, {4, 5}});
    EXPECT_EQ(curve_validate(falling), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(falling.x2, 4.0);
}

TEST_F(Tables, ATransectMayGoStraightUp) {
    Curve wall = makeCurve({{0, 1}, {0, 5}, {1, 5}});
    wall.curveType = TRANSECT_CURVE;
    EXPECT_EQ(curve_validate(wall), 0);
    EXPECT_EQ(wall.dxMin, 0.0);
    Curve twice = makeCurve({{0, 1}, {0, 1}});
    twice.curveType = TRANSECT_CURVE;
    EXPECT_EQ(curve_validate(twice), ERR_CURVE_SEQUENCE);
    Curve back = makeCurve({{1, 1}, {0, 5}});
    back.curveType = TRANSECT_CURVE;
    EXPECT_EQ(curve_validate(back), ERR_CURVE_SEQUENCE);
}

TEST_F(Tables, OneEntryHasNoLastOne) {
    Curve one = makeSeries({{7, 8}});
    EXPECT_EQ(curve_validate(one), 0);
    EXPECT_EQ(one.xLast, 0.0);
    EXPECT_EQ(one.yLast, 0.0);
    EXPECT_EQ(one.dxMin, 1e10);
    Curve none = makeSeries({});
    EXPECT_EQ(curve_validate(none), 0);
}

/// Validation of a series in a file with this text.
static int32_t validateFile(const std::string& text) {
    const TempFolder folder;
    Curve table{};
    table.curveType = -1;
    table.fileState = 2;
    table.fileName = folder.write("s.dat", text);
    const int32_t result = curve_validate(table);
    textfile_close(table.file);
    return result;
}

TEST_F(Tables, ASeriesFileIsReadToItsEnd) {
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

TEST_F(Tables, ABadLastLineWithoutLineFeedPasses) {
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\nbad"), 0);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\nbad\n"), ERR_SERIES_FILE_DATA);
    // A last piece that fills the line buffer ends before the end of the file is met.
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\n" + std::string(1023, 'x')), ERR_SERIES_FILE_DATA);
    EXPECT_EQ(validateFile("2020/01/01 1:00 5\n" + std::string(1022, 'x')), 0);
}

TEST_F(Tables, ASeriesFileIsAlsoLookedForBesideTheProject) {
    const TempFolder folder;
    folder.write("s.dat", "2020/01/01 1:00 5\n");
    InputFolder = folder.path.string() + "/";
    EXPECT_EQ(readSeries("S FILE s.dat"), 0);
    EXPECT_EQ(curve_validate(TimeSeries[0]), 0);
    EXPECT_EQ(readSeries("T FILE \"\""), 0);  // the folder itself
    EXPECT_EQ(curve_validate(TimeSeries[1]), ERR_SERIES_FILE_OPEN);
}

// --- look-up -------------------------------------------------------------------------------------------------------

/// Value of a series by its definition: linear between entries, 0 outside.
static double evaluate(const std::vector<CurvePoint>& entries, double x) {
    for (size_t k = 1; k < entries.size(); ++k) {
        const CurvePoint &a = entries[k - 1], &b = entries[k];
        if (a.x <= x && x <= b.x) {
            return (x - a.x) * (b.y - a.y) / (b.x - a.x) + a.y;
        }
    }
    return 0.0;
}

TEST_F(Tables, ALookUpWalksForwardThroughAResetSeries) {
    const std::vector<CurvePoint> entries{{10, 1}, {11, 4}, {13, 2}, {14, 8}};
    Curve table = makeSeries(entries);
    ASSERT_EQ(curve_validate(table), 0);
    curve_reset(table);
    for (double x = 9.0; x < 15.0; x += 0.125) {
        EXPECT_DOUBLE_EQ(curve_lookup(table, x), evaluate(entries, x)) << x;
    }
}

TEST_F(Tables, ALookUpEndsWithTheLastEntry) {
    Curve table = makeSeries({{10, 1}, {11, 4}});
    ASSERT_EQ(curve_validate(table), 0);
    curve_reset(table);
    EXPECT_EQ(curve_lookup(table, 11.0), 4.0);
    EXPECT_EQ(curve_lookup(table, 11.5), 0.0);
}

TEST_F(Tables, ALookUpReadsAFileLikeAList) {
    const TempFolder folder;
    Curve table = makeSeries({});
    table.fileState = 2;
    table.fileName = folder.write("s.dat", "1900/01/09 0 1\n1900/01/10 0 4\n1900/01/12 0 2\n");
    ASSERT_EQ(curve_validate(table), 0);
    curve_reset(table);
    const std::vector<CurvePoint> entries{{10, 1}, {11, 4}, {13, 2}};
    for (double x = 9.0; x < 14.0; x += 0.125) {
        EXPECT_DOUBLE_EQ(curve_lookup(table, x), evaluate(entries, x)) << x;
    }
    textfile_close(table.file);
}

TEST_F(Tables, AStepBackStartsAnewFromWhereTheCursorWas) {
    // After the new start the entry around the old cursor is taken as the one before: from (13, 2) to (11, 4).
    Curve table = makeSeries({{10, 1}, {11, 4}, {13, 2}});
    ASSERT_EQ(curve_validate(table), 0);
    curve_reset(table);
    EXPECT_DOUBLE_EQ(curve_lookup(table, 12.0), 3.0);
    EXPECT_DOUBLE_EQ(curve_lookup(table, 10.5), (10.5 - 13.0) * (4.0 - 2.0) / (11.0 - 13.0) + 2.0);
    EXPECT_EQ(curve_lookup(table, 9.0), 0.0);
    EXPECT_EQ(curve_lookup(table, 10.0), 1.0);
}

TEST_F(Tables, ASeriesThatWasNeverResetBeginsOnALineFromTheOrigin) {
    Curve table = makeSeries({{10, 1}, {12, 6}, {13, 2}});
    ASSERT_EQ(curve_validate(table), 0);
    curve_resetToEnd(table);
    EXPECT_DOUBLE_EQ(curve_lookup(table, 11.0), 11.0 * 6.0 / 12.0);
    EXPECT_DOUBLE_EQ(curve_lookup(table, 12.5), 4.0);
}

TEST_F(Tables, OneEntryHasAValueAtItsOwnDateOnly) {
    Curve table = makeSeries({{10, 7}});
    ASSERT_EQ(curve_validate(table), 0);
    curve_reset(table);
    EXPECT_EQ(curve_lookup(table, 9.0), 0.0);
    EXPECT_EQ(curve_lookup(table, 10.0), 7.0);
    EXPECT_EQ(curve_lookup(table, 10.5), 0.0);
}

TEST_F(Tables, ALookUpInNothingIsZero) {
    Curve table = makeSeries({});
    ASSERT_EQ(curve_validate(table), 0);
    curve_reset(table);
    EXPECT_EQ(curve_lookup(table, 5.0), 0.0);
    EXPECT_EQ(curve_lookup(table, 0.0), 0.0);
}

// --- inverse -------------------------------------------------------------------------------------------------------

/// Volume below a depth by the trapezoidal rule over fine slices: independent of the closed form.
static double getVolume(const std::vector<CurvePoint>& entries, double depth) {
    const auto area = [&](double x) {
        double x1 = 0.0, y1 = 0.0;
        for (const CurvePoint& e : entries) {
            if (x <= e.x) {
                return y1 + (e.y - y1) * (x - x1) / (e.x - x1);
            }
            x1 = e.x;
            y1 = e.y;
        }
        const CurvePoint &b = entries.back(), &a = entries[entries.size() - 2];
        return b.y + (b.y - a.y) / (b.x - a.x) * (x - b.x);
    };
    double volume = 0.0;
    const int slices = 20000;
    for (int k = 0; k < slices; ++k) {
        volume += area(depth * (k + 0.5) / slices) * depth / slices;
    }
    return volume;
}

TEST_F(Tables, TheInverseFindsTheDepthOfAVolume) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0.1, 1.0);
    for (int trial = 0; trial < 20; ++trial) {
        std::vector<CurvePoint> entries;
        double x = 0.0;
        for (int k = 0; k < 4; ++k) {
            x += unit(random);
            entries.push_back({x, 100.0 * unit(random)});
        }
        entries.back().y = entries[2].y + 5.0;  // so that the last slope can go on
        const Curve table = makeCurve(entries);
        for (double depth = 0.05; depth < x + 0.5; depth += 0.3) {
            EXPECT_NEAR(curve_inverseLookup(table, getVolume(entries, depth)), depth, 1e-4);
        }
    }
}

TEST_F(Tables, TheInverseHasItsSpecialPlaces) {
    const Curve box = makeCurve({{2, 10}, {4, 10}});
    EXPECT_EQ(curve_inverseLookup(box, -1.0), 0.0);
    EXPECT_EQ(curve_inverseLookup(box, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(box, 10.0), 2.0);  // the first stretch is a cone: 10 * 2 / 2
    EXPECT_DOUBLE_EQ(curve_inverseLookup(box, 25.0), 3.5);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(box, 40.0), 5.0);  // beyond the end at constant area
    EXPECT_EQ(curve_inverseLookup(makeCurve({}), 5.0), 0.0);
    EXPECT_EQ(curve_inverseLookup(makeCurve({{2, 0}}), 0.0), 0.0);
    EXPECT_EQ(curve_inverseLookup(makeCurve({{2, 0}}), 5.0), 2.0);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(makeCurve({{2, 4}}), 8.0), 3.0);
}

TEST_F(Tables, TheInverseStopsWhereANarrowingStoreHasNoMoreRoom) {
    const Curve cone = makeCurve({{0, 10}, {1, 5}});  // 7.5 m3 at 1 m, and 2.5 m3 more up to the tip
    EXPECT_DOUBLE_EQ(curve_inverseLookup(cone, 7.5), 1.0);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(cone, 10.0), 2.0);
    EXPECT_EQ(curve_inverseLookup(cone, 11.0), 1.0);  // no root: the end of the curve, and never a NaN
}

TEST_F(Tables, TheInverseOfNoNumberIsTheEndOfTheCurve) {
    EXPECT_EQ(curve_inverseLookup(makeCurve({{0, 100}, {9, 100}}), std::nan("")), 9.0);
    EXPECT_EQ(curve_inverseLookup(makeCurve({{1, 100}}), std::nan("")), 1.0);
}
