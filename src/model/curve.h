#pragma once
// Curves and time series: pairs of x and y with a cursor that walks forward through them.

#include <cstdint>
#include <string>
#include <vector>

#include "model/table.h"
#include "text/textfile.h"
#include "text/tokens.h"

enum CurveType : int32_t { TANK_CURVE, PUMP1_CURVE, PUMP2_CURVE, TRANSECT_CURVE };

/// Points of a transect's filled area that a conduit keeps in its curve.
constexpr int32_t GEOMETRY_COUNT = 100;

struct CurvePoint {
    double x;  ///< DateTime for a series; depth, volume or station for a curve
    double y;
};

struct Curve {
    const char* id;          ///< the ID as first seen; null until the first line is read
    int32_t curveType;       ///< CurveType; -1 for a series
    int32_t isUsedByInflow;  ///< 1: an external inflow uses this series
    double dxMin;            ///< smallest step of x; 1e10 with one entry
    double lastDate;         ///< days, the date in force while lines are read
    double xLast, yLast;     ///< the last entry; 0 with one entry
    double x1, y1;           ///< the entry before the cursor
    double x2, y2;           ///< the entry behind it
    double* geometry;        ///< areas of a transect, GEOMETRY_COUNT; null for all other tables
    std::vector<CurvePoint> entries;
    int32_t thisEntry;     ///< entry read last; -1 before the first
    std::string fileName;  ///< external file of a series
    int32_t fileState;     ///< 2: the entries are in that file; otherwise 0
    TextFile file;
    int64_t endPosition;  ///< place in that file where the validation stopped
};

extern Table<Curve> Curves;
extern Table<Curve> TimeSeries;

/// Makes the two tables for the counted curves and series, and closes and empties them.
void curve_createAll();
void curve_deleteAll();

/// A line of [CURVES] or [TIMESERIES]. An error index, or 0.
int32_t curve_readCurve(const Tokens& tokens);
int32_t curve_readSeries(const Tokens& tokens);

/// Opens the file of a series and tests the order of x. 0, ERR_SERIES_FILE_OPEN, ERR_SERIES_FILE_DATA, or
/// ERR_CURVE_SEQUENCE with the x of the bad entry in x2.
int32_t curve_validate(Curve& table);

/// Puts the cursor in front.
void curve_reset(Curve& table);

/// Puts the cursor where the validation left it: behind the last entry, with 0 in the entries around it.
void curve_resetToEnd(Curve& table);

/// y at x between the entries; 0 before the first and behind the last.
double curve_lookup(Curve& table, double x);

/// Reads the first entry, or the one behind that read last. False if there is none; x and y then keep their values.
bool curve_getFirstEntry(Curve& table, double* x, double* y);
bool curve_getNextEntry(Curve& table, double* x, double* y);

/// Reads the next entry of a series in a file. 1 if there was one.
int32_t curve_readFileEntry(Curve& table, double* x, double* y);

/// The x up to which the integral of y reaches `value`: the depth of a volume, with y the area at each depth.
double curve_inverseLookup(const Curve& table, double value);
