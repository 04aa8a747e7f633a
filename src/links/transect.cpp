// Transects. The walk goes along the bed from bank to bank, between two walls far above any water, and notes where it
// meets the water line: an odd hit enters the water, an even one leaves it, and what lies between is one pool. Area and
// wetted perimeter of the section are the sums over its pools.
//
// The crossing of two lines keeps its two formulas and its tolerances as they stand: whether a point that nearly
// touches the water line counts as a hit depends on their last bits, and a hit more or less turns water into ground.

#include "links/transect.h"

#include <cmath>

static constexpr double WALL_TOP = 10000.0;     ///< m, elevation
static constexpr double SAME_POINT = 1.0e-10;   ///< m, in each coordinate
static constexpr double ON_SEGMENT = 1.0e-6;    ///< m, by which the way over a point may exceed the segment
static constexpr double QUICK_MARGIN = 1.0e-3;  ///< m, far beyond ON_SEGMENT
static constexpr double LARGEST_PLAIN = 1.0e6;  ///< m

static double getDistance(double x1, double y1, double x2, double y2) {
    const double dx = x2 - x1;
    const double dy = y2 - y1;
    return std::sqrt(dx * dx + dy * dy);
}

static bool isSamePoint(double x1, double y1, double x2, double y2) {
    return std::fabs(x1 - x2) <= SAME_POINT && std::fabs(y1 - y2) <= SAME_POINT;
}

// --- preparation ---------------------------------------------------------------------------------------------------

static void findTurnings(Transect& t, const CurvePoint* points) {
    for (int32_t k = 1; k + 1 < t.count; ++k) {
        const double y = points[k].y;
        const double before = points[k - 1].y;
        const double after = points[k + 1].y;
        if ((y > before && y > after) || (y < before && y < after)) {
            t.turnings[t.turningCount++] = {points[k].x, y};
        }
    }
}

static void measure(Transect& t, const CurvePoint* points) {
    t.xMin = t.xMax = points[0].x;
    t.yMin = points[0].y;
    t.isPlain = true;
    for (int32_t k = 0; k < t.count; ++k) {
        const CurvePoint& point = points[k];
        t.xMin = point.x < t.xMin ? point.x : t.xMin;
        t.xMax = point.x > t.xMax ? point.x : t.xMax;
        t.yMin = point.y < t.yMin ? point.y : t.yMin;
        t.isPlain = t.isPlain && std::fabs(point.x) <= LARGEST_PLAIN && std::fabs(point.y) <= LARGEST_PLAIN;
    }
    const double left = points[0].y;
    const double right = points[t.count - 1].y;
    t.fullDepth = (right < left ? right : left) - t.yMin;
}

static void drawOutline(Transect& t, const CurvePoint* points) {
    t.outline[0] = {t.xMin, WALL_TOP};
    for (int32_t k = 0; k < t.count; ++k) {
        t.outline[k + 1] = {points[k].x, points[k].y};
    }
    t.outline[t.count + 1] = {t.xMax, WALL_TOP};
    for (int32_t k = 0; k <= t.count; ++k) {
        const TransectPoint& a = t.outline[k];
        const TransectPoint& b = t.outline[k + 1];
        t.lengths[k] = getDistance(a.x, a.y, b.x, b.y);
    }
}

Transect* transect_make(Arena& arena, const CurvePoint* points, int32_t count) {
    auto* transect = arena_allocateArray<Transect>(arena, 1);
    const int64_t n = count;
    auto* places = arena_allocateArray<TransectPoint>(arena, (n + 2) + n + (n + 1));
    auto* lengths = arena_allocateArray<double>(arena, n + 1);
    auto* polygon = arena_allocateArray<TransectCorner>(arena, 2 * (n + 2));
    if (!transect || !places || !lengths || !polygon) {
        return nullptr;
    }
    Transect& t = *transect;
    t.count = count;
    t.outline = places;
    t.turnings = t.outline + n + 2;
    t.hits = t.turnings + n;
    t.lengths = lengths;
    t.polygon = polygon;
    if (count > 0) {
        measure(t, points);
        findTurnings(t, points);
        drawOutline(t, points);
    }
    return transect;
}

// --- the walk ------------------------------------------------------------------------------------------------------

/// A point counts as on a segment if the way over it is hardly longer. What is no number is on none.
static bool isOnSegment(const TransectPoint& p, const TransectPoint& a, const TransectPoint& b, double length) {
    const double d1 = getDistance(p.x, p.y, a.x, a.y);
    const double d2 = getDistance(p.x, p.y, b.x, b.y);
    return d1 + d2 - length <= ON_SEGMENT;
}

/// The crossing of two segments of known lengths. A wall of no height and a water line of no width divide 0 by 0 here,
/// and then there is none.
static bool findCrossing(const TransectPoint& a, const TransectPoint& b, double length, const TransectPoint& c,
                         const TransectPoint& d, double lineLength, TransectPoint& p) {
    const double dx1 = b.x - a.x;
    const double dx2 = d.x - c.x;
    const double dy1 = b.y - a.y;
    const double dy2 = d.y - c.y;
    if (dx1 != 0.0 && dx2 != 0.0 && dy1 / dx1 == dy2 / dx2) {
        return false;
    }
    p.x = ((c.y - a.y) * dx1 * dx2 + dy1 * dx2 * a.x - dy2 * dx1 * c.x) / (dy1 * dx2 - dy2 * dx1);
    p.y = ((c.x - a.x) * dy1 * dy2 + dx1 * dy2 * a.y - dx2 * dy1 * c.y) / (dx1 * dy2 - dx2 * dy1);
    return isOnSegment(p, a, b, length) && isOnSegment(p, c, d, lineLength);
}

/// The state of one walk.
struct Walk {
    TransectPoint left, right;  ///< ends of the water line
    double lineLength;          ///< m
    bool isQuick;
    int32_t hitCount;
    int32_t cornerCount;
};

/// Whether a piece lies so far to one side of the water line that the crossing needs no look: in most channels the
/// water meets two pieces of many.
static bool isFarFromWater(const Walk& walk, const TransectPoint& a, const TransectPoint& b) {
    const double water = walk.left.y;
    return walk.isQuick && ((a.y > water + QUICK_MARGIN && b.y > water + QUICK_MARGIN) ||
                            (a.y < water - QUICK_MARGIN && b.y < water - QUICK_MARGIN));
}

/// A crossing at a place that was hit before, or at a turning point, is a touch and no change of side.
static bool isTouch(const Transect& t, const Walk& walk, const TransectPoint& p) {
    for (int32_t k = 0; k < walk.hitCount; ++k) {
        if (isSamePoint(p.x, p.y, t.hits[k].x, t.hits[k].y)) {
            return true;
        }
    }
    for (int32_t k = 0; k < t.turningCount; ++k) {
        if (isSamePoint(p.x, p.y, t.turnings[k].x, t.turnings[k].y)) {
            return true;
        }
    }
    return false;
}

static bool isCorner(const Transect& t, const Walk& walk, const TransectPoint& b) {
    for (int32_t k = 0; k < walk.cornerCount; ++k) {
        if (isSamePoint(t.polygon[k].x, t.polygon[k].y, b.x, b.y)) {
            return true;
        }
    }
    return false;
}

/// Half the cross product sum (Gauss's area formula).
static double measureArea(const Transect& t, int32_t count) {
    double sum = 0.0;
    for (int32_t k = 0; k < count; ++k) {
        const TransectCorner& a = t.polygon[k];
        const TransectCorner& b = t.polygon[k + 1 < count ? k + 1 : 0];
        sum += a.x * b.y - a.y * b.x;
    }
    return std::fabs(sum) / 2.0;
}

/// The sides but for the water surface, which is the closing one.
static double measurePerimeter(const Transect& t, int32_t count) {
    double sum = 0.0;
    for (int32_t k = 0; k + 1 < count; ++k) {
        const TransectCorner& a = t.polygon[k];
        const TransectCorner& b = t.polygon[k + 1];
        const bool isWholePiece = a.outline >= 0 && b.outline == a.outline + 1;
        sum += isWholePiece ? t.lengths[a.outline] : getDistance(a.x, a.y, b.x, b.y);
    }
    return sum;
}

using MeasureFunction = double (*)(const Transect& t, int32_t count);

template <MeasureFunction measurePool>
static double walkBed(const Transect& t, double depth) {
    if (t.count == 0) {
        return 0.0;
    }
    Walk walk{};
    walk.left = {t.xMin, t.yMin + depth};
    walk.right = {t.xMax, t.yMin + depth};
    walk.lineLength = getDistance(walk.left.x, walk.left.y, walk.right.x, walk.right.y);
    walk.isQuick = t.isPlain && std::fabs(walk.left.y) <= LARGEST_PLAIN;
    double total = 0.0;
    for (int32_t k = 0; k <= t.count; ++k) {
        const TransectPoint& a = t.outline[k];
        const TransectPoint& b = t.outline[k + 1];
        TransectPoint p;
        const bool isHit = !isFarFromWater(walk, a, b) &&
                           findCrossing(a, b, t.lengths[k], walk.left, walk.right, walk.lineLength, p) &&
                           !isTouch(t, walk, p);
        if (isHit) {
            t.hits[walk.hitCount++] = p;
            t.polygon[walk.cornerCount++] = {p.x, p.y, -1};
        }
        const bool isInWater = walk.hitCount % 2 == 1;
        if (isInWater && (!isHit || !isCorner(t, walk, b))) {
            t.polygon[walk.cornerCount++] = {b.x, b.y, k + 1};
        } else if (isHit && !isInWater) {
            total += measurePool(t, walk.cornerCount);
            walk.cornerCount = 0;
        }
    }
    return total;
}

double transect_getArea(const Transect& transect, double depth) {
    return walkBed<measureArea>(transect, depth);
}

double transect_getPerimeter(const Transect& transect, double depth) {
    return walkBed<measurePerimeter>(transect, depth);
}
