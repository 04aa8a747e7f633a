/* sin and acos, rounded correctly: where the C library of Linux gives anything but the double next to the exact value,
 * these differ from it in the last place (README.md tells how often). The processor's 64 bits of mantissa nearly always
 * say which double that is; where they come too near to the middle between two, 113 bits do. */

#include <float.h>
#include <math.h>
#include <stdint.h>
#include <string.h>

typedef __float128 Quad;

static const Quad HALF_PI = 1.5707963267948966192313216916397514421Q;
static const double LARGEST = 1e5;   /* from which an angle is left to the processor */
enum { MARGIN = 16, LOW_BITS = 11 }; /* of the last place of 64 bits; bits that a double doesn't have */

/* Whether a number of 64 bits that errs by less than the margin rounds to one double. */
static int isSure(long double number) {
    uint64_t mantissa;
    const unsigned half = 1U << (LOW_BITS - 1);
    unsigned low;
    memcpy(&mantissa, &number, sizeof mantissa);
    low = (unsigned)(mantissa & ((1U << LOW_BITS) - 1));
    return low + MARGIN < half || low > half + MARGIN;
}

/* The series of the sine (first = 1) and of the cosine (first = 0) for angles up to a quarter of pi. */
static Quad addSeries(Quad angle, int first) {
    const Quad square = angle * angle;
    Quad term = first ? angle : 1, sum = term;
    for (int k = first + 1; k < 32; k += 2) {
        term *= -square / (Quad)(k * (k + 1));
        sum += term;
    }
    return sum;
}

static Quad findSine(Quad angle, int quarters) {
    const int turns = (int)floor((double)(angle / HALF_PI) + 0.5);
    const Quad rest = angle - (Quad)turns * HALF_PI;
    const int place = (turns + quarters) & 3;
    const Quad size = addSeries(rest, (place & 1) == 0);
    return place < 2 ? size : -size;
}

double tarnvelde_mathematics_sin(double);
double tarnvelde_mathematics_sin(double x) {
    const double size = fabs(x);
    if (!(size <= DBL_MAX)) {
        return x / x;
    }
    if (size < 0x1p-26) {
        return x;
    }
    if (size > 2.0 && size < LARGEST) { /* near multiples of pi the processor is less exact than it might be */
        return (double)findSine(x, 0);
    }
    const long double near = sinl(x);
    return isSure(near) || size >= LARGEST ? (double)near : (double)findSine(x, 0);
}

/* 2 asin(sqrt((1 - x) / 2)), for x from 0 to 1. */
static Quad findAngle(double x) {
    const Quad square = (1 - (Quad)x) / 2;
    if (square == 0) {
        return 0;
    }
    Quad sine = sqrtl((long double)square);
    sine = (sine + square / sine) / 2; /* Newton, as below */
    const Quad angle = asinl((long double)sine);
    return 2 * (angle + (sine - findSine(angle, 0)) / findSine(angle, 1));
}

double tarnvelde_mathematics_acos(double);
double tarnvelde_mathematics_acos(double x) {
    if (!(fabs(x) <= 1.0)) {
        return x != x ? x + x : __builtin_nan(""); /* of the sign that it has there */
    }
    /* Not acosl, which loses places near 1 in some C libraries. */
    const long double near = 2 * atan2l(sqrtl(1.0L - x), sqrtl(1.0L + x));
    if (isSure(near)) {
        return (double)near;
    }
    return (double)(x < 0.0 ? 2 * HALF_PI - findAngle(-x) : findAngle(x));
}
