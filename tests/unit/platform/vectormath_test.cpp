// Logarithms and exponentials of arrays have the bits of the C library's, whatever they are asked for; and what they
// are worked out from is as good as the proof of these bits supposes (src/platform/vectormath.cpp).
//
// The tests whose names end in Billion take half a minute each: --gtest_also_run_disabled_tests
// --gtest_filter='Vectormath*Billion'.

#include "platform/vectormath.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();
constexpr int64_t MANY = 2'000'000;
constexpr int64_t BILLION = 1'000'000'000;
constexpr size_t BATCH = 96;

/// A row of numbers by chance (Marsaglia 2003, xorshift).
struct Chance {
    uint64_t state;
};

uint64_t getBits(Chance& chance) {
    chance.state ^= chance.state << 13;
    chance.state ^= chance.state >> 7;
    chance.state ^= chance.state << 17;
    return chance.state;
}

double getBetween(Chance& chance, double low, double high) {
    return low + (high - low) * (static_cast<double>(getBits(chance) >> 11) * 0x1p-53);
}

/// Where numbers are taken from: any bits, or between two bounds.
struct Source {
    bool isAny;
    double low;
    double high;
};

constexpr Source ANY_BITS{true, 0.0, 0.0};

double take(Chance& chance, const Source& source) {
    return source.isAny ? std::bit_cast<double>(getBits(chance)) : getBetween(chance, source.low, source.high);
}

uint64_t findLog(double x) {
    return std::bit_cast<uint64_t>(std::log(x));
}

uint64_t findExp(double x) {
    return std::bit_cast<uint64_t>(std::exp(x));
}

using Several = void (*)(const double*, double*, size_t);
using Single = uint64_t (*)(double);

/// Numbers of a source whose results haven't the bits of the library's.
int64_t countOthers(Several several, Single single, const Source& source, int64_t count) {
    Chance chance{0x9E3779B97F4A7C15};
    double x[BATCH], y[BATCH];
    int64_t others = 0;
    for (int64_t done = 0; done < count; done += static_cast<int64_t>(BATCH)) {
        for (double& number : x) {
            number = take(chance, source);
        }
        several(x, y, BATCH);
        for (size_t k = 0; k < BATCH; ++k) {
            others += std::bit_cast<uint64_t>(y[k]) != single(x[k]) ? 1 : 0;
        }
    }
    return others;
}

void expectSame(Several several, Single single, const std::vector<double>& numbers) {
    std::vector<double> results(numbers.size());
    several(numbers.data(), results.data(), numbers.size());
    for (size_t k = 0; k < numbers.size(); ++k) {
        EXPECT_EQ(std::bit_cast<uint64_t>(results[k]), single(numbers[k])) << numbers[k] << " at " << k;
    }
}

/// Each number among easy ones, in all four lanes; and so those that are odd to any law.
void expectSameOfEach(Several several, Single single, std::vector<double> numbers) {
    numbers.insert(numbers.end(),
                   {0.0, -0.0, 1.0, -1.0, INF, -INF, NOTHING, -NOTHING, DBL_MIN, -DBL_MIN, DBL_MAX, -DBL_MAX});
    for (const double number : numbers) {
        for (size_t lane = 0; lane < 4; ++lane) {
            std::vector<double> four(4, 0.3);
            four[lane] = number;
            expectSame(several, single, four);
        }
    }
}

/// A rounding mode, for as long as it lives.
struct Rounding {
    explicit Rounding(int mode) { std::fesetround(mode); }
    ~Rounding() { std::fesetround(FE_TONEAREST); }
};

/// The largest error of sums (ulp of what is rounded), beside a longer logarithm or exponential. That one's own error
/// is below 0.001.
template <class GetParts, class GetExact>
double findLargestError(GetParts getParts, GetExact getExact, double low, double high) {
    Chance chance{0x2545F4914F6CDD1D};
    double largest = 0.0;
    for (int64_t done = 0; done < MANY / 4; done += 4) {
        double x[4], upper[4], lower[4];
        for (double& number : x) {
            number = getBetween(chance, low, high);
        }
        if (!getParts(x, upper, lower)) {
            return INF;
        }
        for (size_t k = 0; k < 4; ++k) {
            const double ulp = std::nextafter(std::fabs(upper[k]), INF) - std::fabs(upper[k]);
            const long double error = getExact(static_cast<long double>(x[k])) - upper[k] - lower[k];
            largest = std::fmax(largest, static_cast<double>(std::fabs(error / ulp)));
        }
    }
    return largest;
}

double findLogError(double low, double high) {
    return findLargestError(
        vectormath_getLogParts, [](long double x) { return std::log(x); }, low, high);
}

double findExpError(double low, double high) {
    return findLargestError(
        vectormath_getExpParts, [](long double x) { return std::exp(x); }, low, high);
}

bool canTellErrors() {
    double four[4] = {1.0, 1.0, 1.0, 1.0};
    return LDBL_MANT_DIG >= 64 && vectormath_getLogParts(four, four, four);
}

}  // namespace

TEST(VectormathLog, HasTheBitsOfTheLibrary) {
    EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 0.001, 1.0}, MANY), 0);
    EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 0.99, 1.01}, MANY), 0);
    EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 1.0 - 0x1p-30, 1.0 + 0x1p-30}, MANY / 4), 0);
    EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 0.5, 4.0}, MANY), 0);
    EXPECT_EQ(countOthers(vectormath_log, findLog, ANY_BITS, MANY), 0);
}

TEST(VectormathExp, HasTheBitsOfTheLibrary) {
    EXPECT_EQ(countOthers(vectormath_exp, findExp, {false, -7.0, 0.0}, MANY), 0);
    EXPECT_EQ(countOthers(vectormath_exp, findExp, {false, -0.01, 0.01}, MANY), 0);
    EXPECT_EQ(countOthers(vectormath_exp, findExp, {false, -0x1p-40, 0x1p-40}, MANY / 4), 0);
    EXPECT_EQ(countOthers(vectormath_exp, findExp, {false, -760.0, 720.0}, MANY), 0);
    EXPECT_EQ(countOthers(vectormath_exp, findExp, ANY_BITS, MANY), 0);
}

TEST(VectormathLog, DISABLED_HasTheBitsOfTheLibraryForABillion) {
    EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 0.0, 1.0}, BILLION), 0);
}

TEST(VectormathLog, DISABLED_HasTheBitsOfTheLibraryBesideOneForABillion) {
    EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 0.96, 1.04}, BILLION), 0);
}

TEST(VectormathExp, DISABLED_HasTheBitsOfTheLibraryForABillion) {
    EXPECT_EQ(countOthers(vectormath_exp, findExp, {false, -7.0, 0.0}, BILLION), 0);
}

TEST(VectormathLog, HasTheBitsOfTheLibraryOutsideOfItsRange) {
    expectSameOfEach(vectormath_log, findLog,
                     {std::nextafter(DBL_MIN, 0.0), std::nextafter(DBL_MIN, 1.0), 0x1p-1074, -0x1p-1074,
                      std::nextafter(1.0, 0.0), std::nextafter(1.0, 2.0), 2.0, std::nextafter(2.0, 0.0),
                      std::bit_cast<double>(UINT64_MAX), std::bit_cast<double>(UINT64_MAX >> 1)});
}

TEST(VectormathExp, HasTheBitsOfTheLibraryOutsideOfItsRange) {
    expectSameOfEach(vectormath_exp, findExp,
                     {0x1p-1074, 700.0, -700.0, std::nextafter(700.0, INF), std::nextafter(-700.0, -INF), 709.78,
                      709.79, -708.4, -745.13, -745.14, 1e10, -1e10, std::bit_cast<double>(UINT64_MAX)});
}

TEST(Vectormath, TakesArraysOfAnyLengthAndNothingBehindThem) {
    constexpr double BEHIND = -3.0;
    Chance chance{88172645463325252};
    for (size_t count = 0; count < 140; ++count) {
        std::vector<double> numbers(count), logs(count + 1, BEHIND), powers(count + 1, BEHIND);
        for (double& number : numbers) {
            number = getBetween(chance, 0.0, 1.0);
        }
        vectormath_log(numbers.data(), logs.data(), count);
        vectormath_exp(numbers.data(), powers.data(), count);
        for (size_t k = 0; k < count; ++k) {
            ASSERT_EQ(std::bit_cast<uint64_t>(logs[k]), findLog(numbers[k])) << k << " of " << count;
            ASSERT_EQ(std::bit_cast<uint64_t>(powers[k]), findExp(numbers[k])) << k << " of " << count;
        }
        ASSERT_EQ(logs[count], BEHIND);
        ASSERT_EQ(powers[count], BEHIND);
    }
}

TEST(Vectormath, TakesTheResultsIntoThePlaceOfTheNumbers) {
    Chance chance{88172645463325252};
    for (size_t count = 0; count < 140; ++count) {
        std::vector<double> numbers(count);
        for (double& number : numbers) {
            number = getBetween(chance, 0.0, 1.0);
        }
        std::vector<double> logs = numbers, powers = numbers;
        vectormath_log(logs.data(), logs.data(), count);
        vectormath_exp(powers.data(), powers.data(), count);
        for (size_t k = 0; k < count; ++k) {
            ASSERT_EQ(std::bit_cast<uint64_t>(logs[k]), findLog(numbers[k])) << k << " of " << count;
            ASSERT_EQ(std::bit_cast<uint64_t>(powers[k]), findExp(numbers[k])) << k << " of " << count;
        }
    }
}

TEST(Vectormath, RoundsAsTheHostHasSetIt) {
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        const Rounding rounding(mode);
        EXPECT_EQ(countOthers(vectormath_log, findLog, {false, 0.001, 1.0}, MANY / 100), 0) << mode;
        EXPECT_EQ(countOthers(vectormath_exp, findExp, {false, -7.0, 0.0}, MANY / 100), 0) << mode;
    }
}

#if defined(__GLIBC__)
TEST(Vectormath, RaisesNoExceptionThatAHostTraps) {
    std::feclearexcept(FE_ALL_EXCEPT);
    feenableexcept(FE_INVALID | FE_OVERFLOW);
    const double numbers[4] = {-INF, 0.0, 1.0, INF};
    double results[4];
    vectormath_exp(numbers, results, 4);  // the first and the last would be the difference of infinities
    fedisableexcept(FE_ALL_EXCEPT);
    EXPECT_EQ(results[0], 0.0);
    EXPECT_EQ(results[3], INF);
}
#endif

TEST(VectormathLog, ErrsByLessThanTheProofSupposes) {
    if (!canTellErrors()) {
        GTEST_SKIP() << "no four at once, or no longer numbers";
    }
    EXPECT_LT(findLogError(0.001, 1.0), 0.004);
    EXPECT_LT(findLogError(0.98, 1.02), 0.004);
    EXPECT_LT(findLogError(0.9999, 1.0001), 0.004);
    EXPECT_LT(findLogError(0.5, 2.0), 0.004);
    EXPECT_LT(findLogError(1e300, 1e308), 0.004);
    EXPECT_LT(findLogError(1e-307, 1e-300), 0.004);
}

TEST(VectormathExp, ErrsByLessThanTheProofSupposes) {
    if (!canTellErrors()) {
        GTEST_SKIP() << "no four at once, or no longer numbers";
    }
    EXPECT_LT(findExpError(-7.0, 0.0), 0.008);
    EXPECT_LT(findExpError(-0.01, 0.01), 0.008);
    EXPECT_LT(findExpError(-600.0, 700.0), 0.008);
    EXPECT_LT(findExpError(-650.0, -640.0), 0.008);
}
