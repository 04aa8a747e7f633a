#pragma once
// Curves: points by x. The areas of a tank by depth, the flow of a pump by depth, the bed of a transect by station.

#include <cmath>
#include <cstdint>
#include <vector>

#include "model/table.h"
#include "text/tokens.h"

struct Model;

enum CurveType : int32_t { TANK_CURVE, PUMP1_CURVE, PUMP2_CURVE, TRANSECT_CURVE };

/// Points of a transect's filled area that a conduit keeps in its curve.
constexpr int32_t GEOMETRY_COUNT = 100;

struct CurvePoint {
    double x;  ///< m: depth; station of a transect
    double y;  ///< m2, area of a tank; m3/s, flow of a pump; m, elevation of a transect
};

struct Curve {
    const char* id;                   ///< the ID as first seen; null until the first line is read
    int32_t curveType;                ///< CurveType; -1 until read, and for a word that is none
    double* geometry;                 ///< m2, areas of a transect, GEOMETRY_COUNT; null for all other curves
    std::vector<CurvePoint> entries;  ///< in the order of the lines
};

/// Makes the table for the counted curves.
void curve_createAll(Model& model);

/// A line of [CURVES]. An error index, or 0.
[[nodiscard]] int32_t curve_readLine(Model& model, const Tokens& tokens);

/// Tests the order of x. 0 or ERR_CURVE_SEQUENCE.
[[nodiscard]] int32_t curve_validate(const Curve& curve);

/// The value at x on the line through two points; their mean if they stand at the same x.
[[nodiscard]] inline double curve_interpolate(const CurvePoint& a, const CurvePoint& b, double x) {
    constexpr double SAME_X = 1.0e-20;
    if (std::fabs(b.x - a.x) < SAME_X) {
        return (a.y + b.y) / 2.0;
    }
    return (x - a.x) * (b.y - a.y) / (b.x - a.x) + a.y;
}

/// The x up to which the integral of y reaches `value`: the depth of a volume, with y the area at each depth.
[[nodiscard]] double curve_inverseLookup(const Curve& curve, double value);
