// Logarithms and exponentials of arrays. Results keep the bits that the C library gives, so no other logarithm may take
// the place of its own - unless it is known to come to the same. It is known nearly always:
//
//  - The C library (glibc from 2.28 on) doesn't round correctly in all cases, but errs by less than 0.521 units in the
//    last place (ulp) in std::log and by less than 0.512 in std::exp. So where the exact value stands further than
//    0.021 or 0.012 ulp from the middle between two doubles, the double next to it is the only one that the library can
//    give.
//  - Here the value is worked out as a sum of two doubles, high + low, where high is the sum rounded. It errs by less
//    than 0.004 and 0.008 ulp. So it tells whether the exact value keeps that distance from the middle; then high is
//    the result.
//  - Else, in 5 of 100 logarithms and 4 of 100 exponentials, the library is called for this one number. It is as well
//    for numbers that the method isn't made for: zeros, negative and subnormal numbers, infinities, NaN; exponents
//    beyond 700 to both sides.
//
// That is the rounding test of Ziv (1991), asked not for the correct rounding but for one that lies beyond the errors
// of both sides.
//
// The logarithm, by tables (Tang 1990): x = 2^e m, 1 <= m < 2. The leading 8 bits of m name a row with c, nearly 1 / m,
// of 9 bits. Then r = c m - 1 is exact, a multiple of 2^-61 below 2^-8, and ln x = e ln 2 - ln c + ln(1 + r). The
// higher parts of ln 2 and ln c are multiples of 2^-42, so that their sum w is exact. What is lost of w + r is found by
// two subtractions (Dekker 1971). They are exact although r may be the larger one of both: then either the sum is, or
// it has no lower bits than r. Beside 1, from below as from above, w and all lower parts are exactly 0, so that the
// error stays small against a logarithm near 0. What errs are the three roundings around r^2 / 2, by 2^-71 each, where
// the last place of the logarithm is 2^-61 or more; nearer to 1 r^2 shrinks faster than the logarithm.
//
// The exponential, by tables (Tang 1989): x = (128 q + j) ln 2 / 128 + r, |r| < 2^-8.5, and e^x = 2^q 2^(j / 128) e^r.
// The first subtraction is exact with a fused multiplication, since x and the product are multiples of 2^-61.
// 2^(j / 128) has a lower part. What errs are the roundings of r, of e^r - 1 and of its product with the power, by
// 2^-61 each, where the last place is 2^-52.
//
// The processor is asked for its abilities at each call, and for how it rounds: a host may have set another mode, may
// have results near 0 flushed, or exceptions trapped, which numbers that the method isn't made for could raise. Then,
// and on all other machines, each number goes to the library.
//
//  - Dekker, T. J. (1971): A floating-point technique for extending the available precision. Numer. Math. 18, 224-242.
//  - Tang, P. T. P. (1989): Table-driven implementation of the exponential function in IEEE floating-point arithmetic.
//    ACM Trans. Math. Softw. 15, 144-157.
//  - Tang, P. T. P. (1990): Table-driven implementation of the logarithm function in IEEE floating-point arithmetic.
//    ACM Trans. Math. Softw. 16, 378-400.
//  - Ziv, A. (1991): Fast evaluation of elementary mathematical functions with correctly rounded last bit. ACM Trans.
//    Math. Softw. 17, 410-423.

#include "platform/vectormath.h"

#include <cmath>

#if defined(__x86_64__) && defined(__GNUC__) && defined(__GLIBC_PREREQ)
#if __GLIBC_PREREQ(2, 28)
#define HAS_VECTORS
#endif
#endif

#if defined(HAS_VECTORS)

#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cstdint>

#include "platform/vectortables.h"

#define WITH_VECTORS [[gnu::target("avx2,fma")]]
#define WITHIN_VECTORS [[gnu::target("avx2,fma"), gnu::always_inline]] inline

enum class Law { LOG, EXP };

/// Distances from the middle between two doubles (ulp) within which the library is asked.
static constexpr double LOG_MARGIN = 0.025;
static constexpr double EXP_MARGIN = 0.02;

static constexpr double EXP_LARGEST = 700.0;       ///< its result and the reciprocal are far from under- and overflow
static constexpr double ROUNDER = 0x1.8p52;        ///< added, it rounds to an integer, which stands in the lowest bits
static constexpr double EXPONENT_BASE = 0x1p52;    ///< with the bits of an integer in its lowest bits, adds it
static constexpr double EXPONENT_OF_ONE = 1023.0;  ///< as it stands in a double
static constexpr int MANTISSA_BITS = 52;
static constexpr int LOG_ROW_BITS = 8;
static constexpr int LOG_ROW_SHIFT = 2;  ///< rows of 4 numbers
static constexpr int64_t LOG_ROW_MASK = (int64_t{1} << LOG_ROW_BITS) - 1;
static constexpr int EXP_ROW_BITS = 7;
static constexpr int EXP_ROW_SHIFT = 1;  ///< rows of 2 numbers
static constexpr int64_t EXP_ROW_MASK = (int64_t{1} << EXP_ROW_BITS) - 1;
static constexpr int64_t MANTISSA_MASK = (int64_t{1} << MANTISSA_BITS) - 1;
static constexpr size_t LANES = 4;
static constexpr size_t BLOCK = 64;  ///< numbers whose marks fit into an integer

/// Four values as sums. Those of exponentials wait for the powers of two, the bits of which are added.
struct Parts {
    __m256d high;
    __m256d low;
    __m256i power;
};

// --- four at once --------------------------------------------------------------------------------------------------

WITHIN_VECTORS static __m256d fill(double number) {
    return _mm256_set1_pd(number);
}

/// Two neighbours of each of four places of a table, as two columns.
WITHIN_VECTORS static void loadPairs(const double* table, __m256i places, __m256d& first, __m256d& second) {
    const __m128i low = _mm256_castsi256_si128(places);
    const __m128i high = _mm256_extracti128_si256(places, 1);
    const __m128d a = _mm_load_pd(table + _mm_cvtsi128_si64(low));
    const __m128d b = _mm_load_pd(table + _mm_extract_epi64(low, 1));
    const __m128d c = _mm_load_pd(table + _mm_cvtsi128_si64(high));
    const __m128d d = _mm_load_pd(table + _mm_extract_epi64(high, 1));
    const __m256d even = _mm256_insertf128_pd(_mm256_castpd128_pd256(a), c, 1);
    const __m256d odd = _mm256_insertf128_pd(_mm256_castpd128_pd256(b), d, 1);
    first = _mm256_unpacklo_pd(even, odd);
    second = _mm256_unpackhi_pd(even, odd);
}

/// The sum of a number and a smaller one, rounded, and what the rounding takes off it (Dekker 1971).
WITHIN_VECTORS static void addSmall(__m256d number, __m256d small, __m256d& high, __m256d& low) {
    high = _mm256_add_pd(number, small);
    low = _mm256_add_pd(_mm256_sub_pd(number, high), small);
}

WITHIN_VECTORS static Parts findLogs(__m256d x) {
    const __m256i bits = _mm256_castpd_si256(x);
    const __m256i exponentBits =
        _mm256_or_si256(_mm256_srli_epi64(bits, MANTISSA_BITS), _mm256_castpd_si256(fill(EXPONENT_BASE)));
    const __m256d e = _mm256_sub_pd(_mm256_castsi256_pd(exponentBits), fill(EXPONENT_BASE + EXPONENT_OF_ONE));
    const __m256d m = _mm256_or_pd(_mm256_and_pd(x, _mm256_castsi256_pd(_mm256_set1_epi64x(MANTISSA_MASK))), fill(1.0));
    const __m256i places = _mm256_and_si256(_mm256_srli_epi64(bits, MANTISSA_BITS - LOG_ROW_BITS - LOG_ROW_SHIFT),
                                            _mm256_set1_epi64x(LOG_ROW_MASK << LOG_ROW_SHIFT));
    __m256d c, logHigh, logLow, unused;
    loadPairs(LOG_ROWS, places, c, logHigh);
    loadPairs(LOG_ROWS + 2, places, logLow, unused);

    const __m256d r = _mm256_fmsub_pd(m, c, fill(1.0));
    const __m256d w = _mm256_fmadd_pd(e, fill(LN2_HIGH), logHigh);
    __m256d sum, rest;
    addSmall(w, r, sum, rest);
    rest = _mm256_add_pd(rest, _mm256_fmadd_pd(e, fill(LN2_LOW), logLow));

    const __m256d square = _mm256_mul_pd(r, r);
    const __m256d terms01 = _mm256_fmadd_pd(fill(LOG_TERMS[1]), r, fill(LOG_TERMS[0]));
    const __m256d terms23 = _mm256_fmadd_pd(fill(LOG_TERMS[3]), r, fill(LOG_TERMS[2]));
    const __m256d terms234 = _mm256_fmadd_pd(fill(LOG_TERMS[4]), square, terms23);
    const __m256d cubic = _mm256_fmadd_pd(terms234, square, terms01);
    const __m256d factor = _mm256_fmadd_pd(cubic, r, fill(-0.5));
    Parts parts;
    addSmall(sum, _mm256_fmadd_pd(factor, square, rest), parts.high, parts.low);
    parts.power = _mm256_setzero_si256();
    return parts;
}

WITHIN_VECTORS static Parts findExponentials(__m256d x) {
    const __m256d rounded = _mm256_fmadd_pd(x, fill(EXP_STEPS), fill(ROUNDER));
    const __m256d steps = _mm256_sub_pd(rounded, fill(ROUNDER));
    const __m256i bits = _mm256_castpd_si256(rounded);
    const __m256i places =
        _mm256_and_si256(_mm256_slli_epi64(bits, EXP_ROW_SHIFT), _mm256_set1_epi64x(EXP_ROW_MASK << EXP_ROW_SHIFT));
    __m256d powerHigh, powerLow;
    loadPairs(EXP_ROWS, places, powerHigh, powerLow);

    const __m256d above = _mm256_fnmadd_pd(steps, fill(EXP_STEP_HIGH), x);
    const __m256d r = _mm256_fnmadd_pd(steps, fill(EXP_STEP_LOW), above);
    const __m256d square = _mm256_mul_pd(r, r);
    const __m256d terms01 = _mm256_fmadd_pd(fill(EXP_TERMS[1]), r, fill(EXP_TERMS[0]));
    const __m256d terms23 = _mm256_fmadd_pd(fill(EXP_TERMS[3]), r, fill(EXP_TERMS[2]));
    const __m256d growth = _mm256_fmadd_pd(_mm256_fmadd_pd(terms23, square, terms01), square, r);
    Parts parts;
    addSmall(powerHigh, _mm256_fmadd_pd(powerHigh, growth, powerLow), parts.high, parts.low);
    parts.power =
        _mm256_and_si256(_mm256_slli_epi64(bits, MANTISSA_BITS - EXP_ROW_BITS), _mm256_set1_epi64x(~MANTISSA_MASK));
    return parts;
}

/// Which numbers a law is made for: normal positive ones, by the order of their bits as integers. Added to the bits,
/// one at the lowest place of the exponent makes infinities and NaN negative or, where they have been that, small.
template <Law law>
WITHIN_VECTORS static __m256d areEasy(__m256d x) {
    if constexpr (law == Law::LOG) {
        const __m256i bits = _mm256_add_epi64(_mm256_castpd_si256(x), _mm256_set1_epi64x(MANTISSA_MASK + 1));
        return _mm256_castsi256_pd(_mm256_cmpgt_epi64(bits, _mm256_set1_epi64x(2 * MANTISSA_MASK + 1)));
    } else {
        return _mm256_cmp_pd(_mm256_andnot_pd(fill(-0.0), x), fill(EXP_LARGEST), _CMP_LE_OQ);
    }
}

/// Whether the sums keep their distance from the middle: what is below, made longer by as much as the middle is further
/// away than it may reach, is still rounded off.
template <Law law>
WITHIN_VECTORS static __m256d areSure(const Parts& parts) {
    constexpr double LENGTHENING = 0.5 / (0.5 - (law == Law::LOG ? LOG_MARGIN : EXP_MARGIN));
    return _mm256_cmp_pd(_mm256_fmadd_pd(parts.low, fill(LENGTHENING), parts.high), parts.high, _CMP_EQ_OQ);
}

template <Law law>
WITHIN_VECTORS static Parts findParts(__m256d x) {
    if constexpr (law == Law::LOG) {
        return findLogs(x);
    } else {
        return findExponentials(x);
    }
}

/// Four results. Where the library has to be asked the number itself is left, and a bit set.
template <Law law>
WITHIN_VECTORS static uint64_t takeFour(__m256d numbers, double* y) {
    const Parts parts = findParts<law>(numbers);
    const __m256d areDone = _mm256_and_pd(areEasy<law>(numbers), areSure<law>(parts));
    __m256d results = parts.high;
    if constexpr (law == Law::EXP) {
        results = _mm256_castsi256_pd(_mm256_add_epi64(_mm256_castpd_si256(results), parts.power));
    }
    _mm256_storeu_pd(y, _mm256_blendv_pd(numbers, results, areDone));
    return static_cast<uint64_t>(_mm256_movemask_pd(areDone)) ^ 0xF;
}

/// The last four, of which some may have been taken before, and come to the same again, are fetched ahead of all: their
/// place may be that of results. Fewer than four are left to the library.
template <Law law>
WITH_VECTORS static uint64_t takeBlock(const double* x, double* y, size_t count) {
    if (count < LANES) {
        std::copy_n(x, count, y);
        return (uint64_t{1} << count) - 1;
    }
    const size_t last = count - LANES;
    const __m256d lastNumbers = _mm256_loadu_pd(x + last);
    uint64_t open = 0;
    for (size_t k = 0; k < last; k += LANES) {
        open |= takeFour<law>(_mm256_loadu_pd(x + k), y + k) << k;
    }
    return open | takeFour<law>(lastNumbers, y + last) << last;
}

// --- arrays --------------------------------------------------------------------------------------------------------

/// Rounded to nearest, nothing flushed, nothing trapped; whatever exceptions have been noted.
static bool isVectorTime() {
    constexpr unsigned int NOTED = 0x3F;
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && (_mm_getcsr() & ~NOTED) == _MM_MASK_MASK;
}

template <Law law>
static double ask(double x) {
    if constexpr (law == Law::LOG) {
        return std::log(x);
    } else {
        return std::exp(x);
    }
}

template <Law law>
static void takeAll(const double* x, double* y, size_t count) {
    for (size_t first = 0; first < count; first += BLOCK) {
        uint64_t open = takeBlock<law>(x + first, y + first, std::min(BLOCK, count - first));
        for (; open != 0; open &= open - 1) {
            double& number = y[first + static_cast<size_t>(std::countr_zero(open))];
            number = ask<law>(number);
        }
    }
}

template <Law law>
WITH_VECTORS static void storeParts(const double x[4], double high[4], double low[4]) {
    const Parts parts = findParts<law>(_mm256_loadu_pd(x));
    const __m256d power = _mm256_castsi256_pd(_mm256_add_epi64(_mm256_castpd_si256(fill(1.0)), parts.power));
    _mm256_storeu_pd(high, _mm256_mul_pd(parts.high, power));
    _mm256_storeu_pd(low, _mm256_mul_pd(parts.low, power));
}

#endif

void vectormath_log(const double* x, double* y, size_t count) {
#if defined(HAS_VECTORS)
    if (isVectorTime()) {
        takeAll<Law::LOG>(x, y, count);
        return;
    }
#endif
    for (size_t k = 0; k < count; ++k) {
        y[k] = std::log(x[k]);
    }
}

void vectormath_exp(const double* x, double* y, size_t count) {
#if defined(HAS_VECTORS)
    if (isVectorTime()) {
        takeAll<Law::EXP>(x, y, count);
        return;
    }
#endif
    for (size_t k = 0; k < count; ++k) {
        y[k] = std::exp(x[k]);
    }
}

bool vectormath_getLogParts([[maybe_unused]] const double x[4], [[maybe_unused]] double high[4],
                            [[maybe_unused]] double low[4]) {
#if defined(HAS_VECTORS)
    if (isVectorTime()) {
        storeParts<Law::LOG>(x, high, low);
        return true;
    }
#endif
    return false;
}

bool vectormath_getExpParts([[maybe_unused]] const double x[4], [[maybe_unused]] double high[4],
                            [[maybe_unused]] double low[4]) {
#if defined(HAS_VECTORS)
    if (isVectorTime()) {
        storeParts<Law::EXP>(x, high, low);
        return true;
    }
#endif
    return false;
}
