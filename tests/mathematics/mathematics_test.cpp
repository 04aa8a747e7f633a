// The functions of the folder mathematics, which builds for Windows take: exp, log and pow are those of the C library
// bit by bit, sin and acos are rounded correctly.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

extern "C" {
double tarnvelde_mathematics_exp_fma(double x);
double tarnvelde_mathematics_exp_plain(double x);
double tarnvelde_mathematics_log_fma(double x);
double tarnvelde_mathematics_log_plain(double x);
double tarnvelde_mathematics_pow_fma(double x, double y);
double tarnvelde_mathematics_pow_plain(double x, double y);
double tarnvelde_mathematics_sin(double x);
double tarnvelde_mathematics_acos(double x);
}

namespace {

constexpr int MANY = 1'000'000;

struct Chance {
    uint64_t state = 88172645463325252U;

    uint64_t bits() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    double any() { return std::bit_cast<double>(bits()); }
    double between(double low, double high) {
        return low + (high - low) * (static_cast<double>(bits() >> 11) * 0x1p-53);
    }
};

/// As the C library chooses.
bool hasFused() {
    return __builtin_cpu_supports("fma") != 0 && __builtin_cpu_supports("avx2") != 0;
}

void expectSameExp(double x) {
    const double ours = hasFused() ? tarnvelde_mathematics_exp_fma(x) : tarnvelde_mathematics_exp_plain(x);
    ASSERT_EQ(std::bit_cast<uint64_t>(ours), std::bit_cast<uint64_t>(std::exp(x))) << x;
}

void expectSameLog(double x) {
    const double ours = hasFused() ? tarnvelde_mathematics_log_fma(x) : tarnvelde_mathematics_log_plain(x);
    ASSERT_EQ(std::bit_cast<uint64_t>(ours), std::bit_cast<uint64_t>(std::log(x))) << x;
}

void expectSamePow(double x, double y) {
    const double ours = hasFused() ? tarnvelde_mathematics_pow_fma(x, y) : tarnvelde_mathematics_pow_plain(x, y);
    ASSERT_EQ(std::bit_cast<uint64_t>(ours), std::bit_cast<uint64_t>(std::pow(x, y))) << x << ' ' << y;
}

const std::vector<double> SPECIAL{0.0,
                                  -0.0,
                                  1.0,
                                  -1.0,
                                  0.5,
                                  2.0,
                                  3.0,
                                  -3.0,
                                  1e-310,
                                  1e300,
                                  745.2,
                                  -745.2,
                                  709.78,
                                  709.79,
                                  1e15,
                                  -1e15,
                                  1e-300,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};

}  // namespace

TEST(Mathematics, ExponentialsAreThoseOfTheLibrary) {
    Chance chance;
    for (int k = 0; k < MANY; ++k) {
        expectSameExp(chance.between(-20.0, 20.0));
        expectSameExp(chance.between(-750.0, 720.0));
        expectSameExp(chance.any());
    }
    for (const double x : SPECIAL) {
        expectSameExp(x);
    }
}

TEST(Mathematics, LogarithmsAreThoseOfTheLibrary) {
    Chance chance;
    for (int k = 0; k < MANY; ++k) {
        expectSameLog(chance.between(0.0, 10.0));
        expectSameLog(chance.between(0.9, 1.1));
        expectSameLog(chance.any());
    }
    for (const double x : SPECIAL) {
        expectSameLog(x);
    }
}

TEST(Mathematics, PowersAreThoseOfTheLibrary) {
    Chance chance;
    for (int k = 0; k < MANY; ++k) {
        expectSamePow(chance.between(0.0, 10.0), 5.0 / 3.0);
        expectSamePow(chance.between(0.0, 10.0), chance.between(-8.0, 8.0));
        expectSamePow(chance.any(), chance.any());
    }
    for (const double x : SPECIAL) {
        for (const double y : SPECIAL) {
            expectSamePow(x, y);
        }
    }
}

// Twice the sine of half an angle times its cosine is the sine: in 64 bits of mantissa, which leave the double next to
// it nowhere but close to the middle of two.
TEST(Mathematics, SinesAreTheNearestDoubles) {
    Chance chance;
    for (int k = 0; k < MANY; ++k) {
        const double x = chance.between(0.0, 3.0);
        const long double half = static_cast<long double>(x) / 2.0L;
        const long double near = 2.0L * std::sin(half) * std::cos(half);
        const double ours = tarnvelde_mathematics_sin(x);
        const long double place = static_cast<long double>(std::nextafter(ours, 2.0) - ours);
        ASSERT_LE(std::fabs(static_cast<long double>(ours) - near), 0.502L * place) << x;
    }
    EXPECT_EQ(std::bit_cast<uint64_t>(tarnvelde_mathematics_sin(-0.0)), std::bit_cast<uint64_t>(-0.0));
    EXPECT_EQ(tarnvelde_mathematics_sin(0x1p-30), 0x1p-30);
}

// The angle whose cosine is near 1 - 2 s^2 is twice that whose sine is s.
TEST(Mathematics, AnglesAreTheNearestDoubles) {
    Chance chance;
    for (int k = 0; k < MANY; ++k) {
        const double x = k % 4 == 0 ? 1.0 - chance.between(0.0, 1e-6) : chance.between(-0.9, 1.0);
        const long double near = 2.0L * std::asin(std::sqrt((1.0L - static_cast<long double>(x)) / 2.0L));
        const double ours = tarnvelde_mathematics_acos(x);
        const long double place = static_cast<long double>(std::nextafter(ours, 4.0) - ours);
        ASSERT_LE(std::fabs(static_cast<long double>(ours) - near), 0.504L * place) << x;
    }
    EXPECT_EQ(tarnvelde_mathematics_acos(1.0), 0.0);
    EXPECT_EQ(tarnvelde_mathematics_acos(-1.0), 0x1.921fb54442d18p+1);
    EXPECT_EQ(tarnvelde_mathematics_acos(0.0), 0x1.921fb54442d18p+0);
    EXPECT_TRUE(std::isnan(tarnvelde_mathematics_acos(1.5)));
}
