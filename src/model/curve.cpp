// Curves. What lies outside the points is up to each reader: a tank's walls go on, a pump's flow stays level. Here
// stand the reading, the line between two points, and the way from a volume to a depth.

#include "model/curve.h"

#include <cmath>
#include <new>

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"

static const char* const CurveTypeWords[] = {"TANK", "PUMP1", "PUMP2", "TRANSECT", nullptr};

void curve_createAll(Model& model) {
    Curve curve{};
    curve.curveType = -1;
    model.curves.fill(model.counts.objects[CURVE], curve);
}

// --- reading and validation ----------------------------------------------------------------------------------------

/// A point that there is no memory for is left out without a word; the others of its line stay.
static void appendPoint(Curve& curve, const CurvePoint& point) {
    try {
        curve.entries.push_back(point);
    } catch (const std::bad_alloc&) {
        return;
    }
}

/// A point against what is usual; `word` is that of its x.
static void checkPoint(const Model& model, int32_t type, const CurvePoint& point, int32_t word, const char* id) {
    if (type < 0 || type == TRANSECT_CURVE) {
        return;
    }
    plausible_check(model, PLAUSIBLE_CURVE_DEPTH, point.x, word, id);
    plausible_check(model, type == TANK_CURVE ? PLAUSIBLE_TANK_AREA : PLAUSIBLE_PUMP_FLOW, point.y, word + 1, id);
}

int32_t curve_readLine(Model& model, const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t index = names_find(model, CURVE, tokens[0]);
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Curve& curve = model.curves[index];
    int32_t k = 1;
    if (!curve.id) {
        curve.id = names_findId(model, CURVE, tokens[0]);
        const int32_t type = tokens_findKeyword(tokens[1], CurveTypeWords);
        if (type < 0) {
            return errors_setName(model, ERR_KEYWORD, tokens[1]);
        }
        curve.curveType = type;
        k = 2;
    }
    for (; k < tokens.count; k += 2) {
        if (k + 1 == tokens.count) {
            return errors_setName(model, ERR_ITEMS, "");
        }
        CurvePoint point;
        if (!tokens_getDouble(tokens[k], &point.x)) {
            return errors_setName(model, ERR_NUMBER, tokens[k]);
        }
        if (!tokens_getDouble(tokens[k + 1], &point.y)) {
            return errors_setName(model, ERR_NUMBER, tokens[k + 1]);
        }
        checkPoint(model, curve.curveType, point, k, curve.id);
        appendPoint(curve, point);
    }
    return ERR_NONE;
}

/// A transect may go straight up or down, all other curves need an x that grows.
static bool isOutOfSequence(const Curve& curve, const CurvePoint& before, const CurvePoint& point) {
    const double dx = point.x - before.x;
    return curve.curveType == TRANSECT_CURVE ? dx < 0.0 || (dx == 0.0 && point.y == before.y) : dx <= 0.0;
}

int32_t curve_validate(const Curve& curve) {
    for (size_t k = 1; k < curve.entries.size(); ++k) {
        if (isOutOfSequence(curve, curve.entries[k - 1], curve.entries[k])) {
            return ERR_CURVE_SEQUENCE;
        }
    }
    return ERR_NONE;
}

// --- inverse -------------------------------------------------------------------------------------------------------

/// Behind the last entry the last slope of the area goes on. What is no number ends at the last entry.
static double extrapolateInverse(const Curve& curve, double excess) {
    const CurvePoint& last = curve.entries.back();
    double dx = 0.0, dy = 0.0;
    if (curve.entries.size() > 1) {
        const CurvePoint& before = curve.entries[curve.entries.size() - 2];
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

double curve_inverseLookup(const Curve& curve, double value) {
    if (value < 0.0 || curve.entries.empty()) {
        return 0.0;
    }
    double x1 = curve.entries[0].x;
    double y1 = curve.entries[0].y;
    double integral = y1 * x1 * 0.5;
    if (value <= integral) {
        return y1 <= 0.0 ? 0.0 : std::sqrt(2.0 * value * x1 / y1);
    }
    for (size_t k = 1; k < curve.entries.size(); ++k) {
        const CurvePoint& entry = curve.entries[k];
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
    return extrapolateInverse(curve, value - integral);
}
