#pragma once
// Natural logarithms and exponentials of arrays, bit for bit those of std::log and std::exp, in a fraction of their
// time where the processor works out four at once.

#include <cstddef>

#if defined(__x86_64__) && defined(__GNUC__) && defined(__GLIBC__)

/// Four numbers that plain arithmetic takes at once, with the bits of one by one; and the mark of a function in which
/// it does, to be called where vectormath_isWide() alone. (Not on Windows, where gcc aligns no such numbers on the
/// stack.)
using VectorFour = double __attribute__((vector_size(32)));
#define VECTORMATH_WIDE [[gnu::target("avx2")]]

#endif

/// Whether the processor can do what VECTORMATH_WIDE marks.
inline bool vectormath_isWide() {
#if defined(VECTORMATH_WIDE)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

/// y[k] = std::log(x[k]). The two arrays are apart, or the same one.
void vectormath_log(const double* x, double* y, size_t count);

/// y[k] = std::exp(x[k]). The two arrays are apart, or the same one.
void vectormath_exp(const double* x, double* y, size_t count);

/// The logarithms of four positive numbers as sums of what is rounded and what the rounding takes off it, for whoever
/// asks how good they are. False where the processor doesn't do four at once.
[[nodiscard]] bool vectormath_getLogParts(const double x[4], double high[4], double low[4]);

/// The exponentials of four numbers between -700 and 700 likewise.
[[nodiscard]] bool vectormath_getExpParts(const double x[4], double high[4], double low[4]);
