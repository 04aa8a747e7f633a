#pragma once
// A transect: the bed of an open channel as a line of stations and elevations.

#include <cstdint>

#include "model/arena.h"
#include "model/curve.h"

struct TransectPoint {
    double x;  ///< m, station
    double y;  ///< m, elevation
};

/// A corner of the wetted section.
struct TransectCorner {
    double x;         ///< m
    double y;         ///< m
    int32_t outline;  ///< its place in the outline; -1 for a point on the water line
};

/// What a transect needs again at every depth, made once.
struct Transect {
    int32_t count;            ///< points of the bed
    double fullDepth;         ///< m, from the lowest point up to the lower bank
    double yMin;              ///< m
    double xMin, xMax;        ///< m
    bool isPlain;             ///< no number is so large that the quick look at a piece could err
    TransectPoint* outline;   ///< the bed between two side walls: count + 2
    double* lengths;          ///< m, pieces of the outline: count + 1
    TransectPoint* turnings;  ///< points strictly above or strictly below both neighbours
    int32_t turningCount;
    TransectPoint* hits;      ///< scratch of a walk: where the bed meets the water line
    TransectCorner* polygon;  ///< scratch of a walk
};

/// Prepares the points of a curve. Null without memory; the memory is the arena's.
[[nodiscard]] Transect* transect_make(Arena& arena, const CurvePoint* points, int32_t count);

/// Filled area (m2) and wetted perimeter (m) at a depth (m) above the lowest point; 0 without points.
[[nodiscard]] double transect_getArea(const Transect& transect, double depth);
[[nodiscard]] double transect_getPerimeter(const Transect& transect, double depth);
