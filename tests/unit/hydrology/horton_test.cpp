// Infiltration against Horton's law, its closed form and its integral.

#include "hydrology/horton.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/land.h"

namespace {

// --- infiltration --------------------------------------------------------------------------------------------------

/// Horton's law with an unlimited supply.
struct Horton {
    double f0 = 50.0 * ONE_MM_PER_HOUR, fmin = 5.0 * ONE_MM_PER_HOUR, decay = 4.0 / 3600.0, recovery = 1.5e-5;
    double time = 0.0, volume = 0.0;

    double rate(double available, double dt, double maxVolume = 0.0) {
        HortonState state{time, volume};
        const double rate = horton_getRate({f0, fmin, decay, recovery, maxVolume}, state, available, dt);
        time = state.time;
        volume = state.volume;
        return rate;
    }
    double rateAt(double t) const { return fmin + (f0 - fmin) * std::exp(-decay * t); }
    double sumTo(double t) const { return fmin * t + (f0 - fmin) / decay * (1.0 - std::exp(-decay * t)); }
};

TEST(Infiltration, SumIsHortonsClosedForm) {
    for (const double dt : {10.0, 300.0, 3600.0}) {
        Horton horton;
        double sum = 0.0, t = 0.0;
        while (t < 3.0 * 3600.0) {
            sum += horton.rate(1.0, dt) * dt;
            t += dt;
            EXPECT_NEAR(sum, horton.sumTo(t), 1e-12 + 1e-10 * sum);
            EXPECT_DOUBLE_EQ(horton.time, t);
        }
    }
}

TEST(Infiltration, SumIsTheIntegralOfTheRate) {
    Horton horton;
    const double sum = horton.rate(1.0, 1800.0) * 1800.0;
    double integral = 0.0;  // by Simpson's rule
    const int32_t n = 2000;
    const double h = 1800.0 / n;
    for (int32_t k = 0; k < n; ++k) {
        integral +=
            h / 6.0 * (horton.rateAt(k * h) + 4.0 * horton.rateAt((k + 0.5) * h) + horton.rateAt((k + 1.0) * h));
    }
    EXPECT_NEAR(sum, integral, 1e-12);
}

TEST(Infiltration, BehindSixteenDecayTimesTheFinalRateHolds) {
    Horton horton;
    horton.time = 16.0 / horton.decay + 1.0;
    EXPECT_NEAR(horton.rate(1.0, 300.0), horton.fmin, 1e-18);
    EXPECT_DOUBLE_EQ(horton.time, 16.0 / horton.decay + 301.0);
}

TEST(Infiltration, IsNeverMoreThanThereIs) {
    Horton horton;
    EXPECT_EQ(horton.rate(2e-6, 300.0), 2e-6);
}

TEST(Infiltration, LightRainMovesOnTheCurveByWhatTheGroundCouldTake) {
    // The target of the iteration is the potential infiltration of the step: its end, though the rain was light.
    Horton horton;
    horton.time = 600.0;
    horton.rate(2e-6, 300.0);
    EXPECT_NEAR(horton.time, 900.0, 0.3) << "to a thousandth of the step";
}

TEST(Infiltration, RecoversWholeInOneDryStep) {
    Horton horton;
    horton.time = 5000.0;
    EXPECT_EQ(horton.rate(0.0, 300.0), 0.0);
    EXPECT_EQ(horton.time, 0.0);
    EXPECT_EQ(horton.rate(1e-10, 300.0), 0.0) << "as little as this is none";
    EXPECT_EQ(horton.time, 0.0) << "never below 0";
}

TEST(Infiltration, JustAboveNothingInfiltrates) {
    Horton horton;
    EXPECT_EQ(horton.rate(1.1e-10, 300.0), 1.1e-10);
    EXPECT_GT(horton.time, 0.0);
}

TEST(Infiltration, WithoutRecoveryTheCurveGoesOnInDryTime) {
    Horton horton;
    horton.recovery = 0.0;
    horton.time = 600.0;
    EXPECT_EQ(horton.rate(0.0, 300.0), 0.0);
    EXPECT_NEAR(horton.time, 900.0, 0.3);
}

TEST(Infiltration, StopsAtTheLargestVolume) {
    Horton horton;
    const double maxVolume = 0.004;
    double sum = 0.0;
    for (int32_t k = 0; k < 20; ++k) {
        sum += horton.rate(1.0, 300.0, maxVolume) * 300.0;
    }
    EXPECT_NEAR(sum, maxVolume, 1e-15);
    EXPECT_EQ(horton.rate(1.0, 300.0, maxVolume), 0.0);
}

TEST(Infiltration, VolumeGrowsByThePotentialAndFallsWithTheTime) {
    Horton horton;
    horton.rate(2e-6, 300.0, 1.0);
    EXPECT_NEAR(horton.volume, horton.sumTo(300.0), 1e-15);
    horton.rate(0.0, 300.0, 1.0);
    EXPECT_EQ(horton.volume, 0.0);
}

TEST(Infiltration, VolumeIsKeptOnlyWithALimit) {
    Horton horton;
    horton.rate(1.0, 300.0, 0.0);
    EXPECT_EQ(horton.volume, 0.0);
}

TEST(Infiltration, EndsWithWhateverAHostSets) {
    const double odd[] = {0.0, -1.0, 1e300, INFINITY, std::nan("")};
    for (const double decay : odd) {
        for (const double f0 : odd) {
            for (const double time : odd) {
                Horton horton;
                horton.decay = decay;
                horton.f0 = f0;
                horton.time = time;
                horton.rate(2e-6, 300.0, 0.01);
                horton.rate(0.0, 300.0, 0.01);
            }
        }
    }
}

}  // namespace
