/* What the sources of this folder ask of their surroundings; ours, see README.md. */
#ifndef TARNVELDE_LIBM_H
#define TARNVELDE_LIBM_H

#include <math.h>
#include <stdint.h>
#include <string.h>

#define WANT_ROUNDING 1
#define TOINT_INTRINSICS 0
#define issignaling_inline(x) 0
#define predict_true(x) __builtin_expect(!!(x), 1)
#define predict_false(x) __builtin_expect(!!(x), 0)

/* Names that differ for each set of instructions (CMakeLists.txt). */
#define JOIN_NAMES(name, variant) name##_##variant
#define JOIN(name, variant) JOIN_NAMES(name, variant)
#define exp JOIN(tarnvelde_mathematics_exp, VARIANT)
#define log JOIN(tarnvelde_mathematics_log, VARIANT)
#define pow JOIN(tarnvelde_mathematics_pow, VARIANT)
#define __exp_data JOIN(tarnvelde_mathematics_exp_data, VARIANT)
#define __log_data JOIN(tarnvelde_mathematics_log_data, VARIANT)
#define __pow_log_data JOIN(tarnvelde_mathematics_pow_log_data, VARIANT)
double exp(double);
double log(double);
double pow(double, double);

static inline uint64_t asuint64(double number) {
    uint64_t bits;
    memcpy(&bits, &number, sizeof bits);
    return bits;
}

static inline double asdouble(uint64_t bits) {
    double number;
    memcpy(&number, &bits, sizeof number);
    return number;
}

static inline double eval_as_double(double number) {
    return number;
}

/* A number that the compiler knows nothing of. */
static inline double fp_barrier(double number) {
    volatile double kept = number;
    return kept;
}

static inline void fp_force_eval(double number) {
    volatile double kept = number;
    (void)kept;
}

static inline double __math_xflow(uint32_t sign, double number) {
    return fp_barrier(sign ? -number : number) * number;
}

static inline double __math_uflow(uint32_t sign) {
    return __math_xflow(sign, 0x1p-767);
}

static inline double __math_oflow(uint32_t sign) {
    return __math_xflow(sign, 0x1p769);
}

static inline double __math_divzero(uint32_t sign) {
    return fp_barrier(sign ? -1.0 : 1.0) / 0.0;
}

static inline double __math_invalid(double number) {
    return (number - number) / fp_barrier(number - number);
}

#endif
