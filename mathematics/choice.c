/* The functions under their own names, by the instructions that the processor has: as the C library of Linux chooses.
 * Square roots are those of the processor. */

#include <immintrin.h>

double tarnvelde_mathematics_exp_fma(double);
double tarnvelde_mathematics_exp_plain(double);
double tarnvelde_mathematics_log_fma(double);
double tarnvelde_mathematics_log_plain(double);
double tarnvelde_mathematics_pow_fma(double, double);
double tarnvelde_mathematics_pow_plain(double, double);
double tarnvelde_mathematics_sin(double);
double tarnvelde_mathematics_acos(double);

static int hasFused(void) {
    return __builtin_cpu_supports("fma") && __builtin_cpu_supports("avx2");
}

double exp(double x) {
    return hasFused() ? tarnvelde_mathematics_exp_fma(x) : tarnvelde_mathematics_exp_plain(x);
}

double log(double x) {
    return hasFused() ? tarnvelde_mathematics_log_fma(x) : tarnvelde_mathematics_log_plain(x);
}

double pow(double x, double y) {
    return hasFused() ? tarnvelde_mathematics_pow_fma(x, y) : tarnvelde_mathematics_pow_plain(x, y);
}

double sin(double x) {
    return tarnvelde_mathematics_sin(x);
}

double acos(double x) {
    return tarnvelde_mathematics_acos(x);
}

double sqrt(double x) {
    const __m128d number = _mm_set_sd(x);
    return _mm_cvtsd_f64(_mm_sqrt_sd(number, number));
}
