// Subcatchments: their lines, infiltration, the reservoir of a surface, the water of a step, and the way to the node.

#include "hydrology/subcatch.h"

#include <gtest/gtest.h>

#include "coupling/swmm.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "hydrology/evap.h"
#include "hydrology/runoff.h"
#include "results/rows.h"
#include "routing/landinflows.h"
#include "support/land.h"

namespace {

// --- lines ---------------------------------------------------------------------------------------------------------

class SubcatchTest : public LandTest {};

TEST_F(SubcatchTest, LineIsStoredInMetresAndSeconds) {
    LandProject project;
    project.subcatchs = "S G O 2.5 120 40 1.5 0.015 0.2 1.5 4 72 7.2 3.6 5 80 further words\n";
    ASSERT_EQ(open(project), 0);
    const Subcatch& s = Subcatches[0];
    EXPECT_STREQ(s.name, "S");
    EXPECT_EQ(s.gage, 0);
    EXPECT_EQ(s.outNode, 0);
    EXPECT_DOUBLE_EQ(s.area, 25000.0);
    EXPECT_DOUBLE_EQ(s.width, 120.0);
    EXPECT_DOUBLE_EQ(s.imperviousFraction, 0.4);
    EXPECT_DOUBLE_EQ(s.slope, 0.015);
    EXPECT_DOUBLE_EQ(s.imperviousRoughness, 0.015);
    EXPECT_DOUBLE_EQ(s.perviousRoughness, 0.2);
    EXPECT_DOUBLE_EQ(s.imperviousStorage, 0.0015);
    EXPECT_DOUBLE_EQ(s.perviousStorage, 0.004);
    EXPECT_DOUBLE_EQ(s.soil.maxRate, 2e-5);
    EXPECT_DOUBLE_EQ(s.soil.minRate, 2e-6);
    EXPECT_DOUBLE_EQ(s.soil.decay, 0.001);
    EXPECT_DOUBLE_EQ(s.soil.recovery, -std::log(0.02) / (5.0 * 86400.0)) << "2 % are left after the drying time";
    EXPECT_DOUBLE_EQ(s.soil.maxVolume, 0.08);
}

TEST_F(SubcatchTest, SharesStopAtTheWhole) {
    LandProject project;
    project.subcatchs = "S G O 1 100 inf 250 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(open(project), 0);
    EXPECT_EQ(Subcatches[0].imperviousFraction, 1.0);
    EXPECT_EQ(Subcatches[0].slope, 1.0);
}

TEST_F(SubcatchTest, ImperviousShareAndLargestVolumeMayBeZero) {
    LandProject project;
    project.subcatchs = "S G O 1 100 0 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(open(project), 0);
    EXPECT_EQ(Subcatches[0].imperviousFraction, 0.0);
    EXPECT_EQ(Subcatches[0].soil.maxVolume, 0.0);
}

TEST_F(SubcatchTest, OtherNumbersAreInfiniteAtMost) {
    LandProject project;
    project.subcatchs = "S G O 1 inf 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    EXPECT_EQ(open(project), 0);
}

/// The words of a good line, with one of them replaced.
std::string makeLine(size_t place, const std::string& word) {
    std::vector<std::string> words = {"S",   "G", "O", "1",  "100", "50", "1", "0.015",
                                      "0.1", "1", "2", "50", "5",   "4",  "3", "0"};
    words[place] = word;
    std::string line;
    for (const std::string& w : words) {
        line += (line.empty() ? "" : " ") + w;
    }
    return line + "\n";
}

class SubcatchNumberTest : public LandTest, public ::testing::WithParamInterface<size_t> {};

TEST_P(SubcatchNumberTest, MustBeANumberInItsRange) {
    const bool mayBeZero = GetParam() == 5 || GetParam() == 15;
    for (const std::string word : {"x", "-1", "nan", "0", "1x"}) {
        LandProject project;
        project.subcatchs = makeLine(GetParam(), word);
        if (mayBeZero && word == "0") {
            EXPECT_EQ(open(project), 0);
            tarnvelde_close();
            continue;
        }
        const std::string message =
            "\n  \n  ERROR 211: invalid number " + word + " at line 13 of [SUBCATCHS] section:\n  " + project.subcatchs;
        EXPECT_TRUE(failsWith(project, 200, message));
    }
}

INSTANTIATE_TEST_SUITE_P(All, SubcatchNumberTest, ::testing::Range<size_t>(3, 16));

TEST_F(SubcatchTest, TooFewItemsComeFirst) {
    LandProject project;
    project.subcatchs = "S X Y 1 100 50 1 0.015 0.1 1 2 50 5 4 3\n";
    EXPECT_TRUE(failsWith(project, 200, "\n  \n  ERROR 203: too few items at line 13 of [SUBCATCHS] section:"));
    project.subcatchs = "S\n";
    EXPECT_TRUE(failsWith(project, 200, "\n  \n  ERROR 203: too few items at line 13 of [SUBCATCHS] section:"));
}

TEST_F(SubcatchTest, GageIsTestedAheadOfTheOutlet) {
    LandProject project;
    project.subcatchs = "S X Y 0 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    EXPECT_TRUE(failsWith(project, 200, "\n  \n  ERROR 209: undefined object X at line 13 of [SUBCATCHS] section:"));
}

TEST_F(SubcatchTest, UnknownOutletShowsTheSubcatchment) {
    LandProject project;
    project.subcatchs =
        "\nsUb G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\nOther G Y 0 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    EXPECT_TRUE(failsWith(
        project, 200,
        "\n  \n  ERROR 501: ambiguous outlet ID name for Subcatchment Other at line 15 of [SUBCATCHS] section:"));
}

TEST_F(SubcatchTest, QuotedIdIsUndefined) {
    LandProject project;
    project.subcatchs = "\"S T\" G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    EXPECT_TRUE(failsWith(project, 200, "\n  \n  ERROR 209: undefined object S T at line 13 of [SUBCATCHS] section:"));
}

TEST_F(SubcatchTest, LargestInfiltrationRateBelowTheSmallestIsRefused) {
    LandProject project;
    project.subcatchs = makeLine(11, "4.999");
    EXPECT_TRUE(failsWith(project, 517,
                          "\n  \n  ERROR 517: maximum infiltration rate of Subcatchment S must be larger than minimum "
                          "infiltration rate."));
    project.subcatchs = makeLine(11, "5");
    EXPECT_EQ(open(project), 0) << "equal rates pass";
}

// --- infiltration --------------------------------------------------------------------------------------------------

/// Horton's law with an unlimited supply.
struct Horton {
    double f0 = 50.0 * MM_PER_HOUR, fmin = 5.0 * MM_PER_HOUR, decay = 4.0 / 3600.0, recovery = 1.5e-5;
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

// --- surface -------------------------------------------------------------------------------------------------------

/// A plane of a hectare at 1 %.
struct Surface {
    double storage = 0.002, area = 10000.0, width = 100.0, slope = 0.01, roughness = 0.015;
    double depth = 0.0;

    double drain(double rain, double evap, double infil, double dt) {
        SlopeRoot root{};
        return plane_drain({rain, evap, infil, storage, area, width, slope, roughness}, depth, root, dt);
    }
    double alpha() const { return std::sqrt(slope) * width / area / roughness; }
    double flowAt(double d) const { return d > storage ? alpha() * std::pow(d - storage, 5.0 / 3.0) * area : 0.0; }
};

TEST(Surface, DriesOutWhereLossesTakeAll) {
    Surface surface;
    surface.depth = 0.003;
    EXPECT_EQ(surface.drain(1e-5, 1e-5, 1e-5, 300.0), 0.0);
    EXPECT_EQ(surface.depth, 0.0);
}

TEST(Surface, FillsUpToItsStorageWithoutFlow) {
    Surface surface;
    EXPECT_EQ(surface.drain(0.5e-5, 0.0, 0.0, 300.0), 0.0);
    EXPECT_DOUBLE_EQ(surface.depth, 0.0015);
    surface.depth = 0.0;
    surface.storage = 0.5;
    EXPECT_EQ(surface.drain(0.5, 0.0, 0.0, 1.0), 0.0) << "exactly full";
    EXPECT_EQ(surface.depth, 0.5);
}

TEST(Surface, BelowItsStorageItKeepsWaterWhileItDrains) {
    Surface surface;
    surface.depth = 0.0019;
    surface.drain(0.0, 1e-6, 0.0, 300.0);
    EXPECT_DOUBLE_EQ(surface.depth, 0.0016);
}

TEST(Surface, FillingTakesItsTimeOffTheStep) {
    // 1 mm is missing, at 1e-5 m/s: 100 s; 200 s are left for the flow from a full storage on.
    Surface cut, full;
    cut.depth = 0.001;
    full.depth = 0.002;
    const double flow = cut.drain(1e-5, 0.0, 0.0, 300.0);
    EXPECT_NEAR(flow, full.drain(1e-5, 0.0, 0.0, 200.0), 1e-15);
    EXPECT_NEAR(cut.depth, full.depth, 1e-15);
    EXPECT_GT(flow, 0.0);
}

/// The classical Runge-Kutta step of order four, written out.
double stepClassical(const Surface& s, double inflow, double dt) {
    const auto g = [&](double d) { return inflow - s.flowAt(d) / s.area; };
    const double k1 = g(s.depth), k2 = g(s.depth + dt / 2.0 * k1), k3 = g(s.depth + dt / 2.0 * k2),
                 k4 = g(s.depth + dt * k3);
    return s.depth + dt * (k1 / 6.0 + k2 / 3.0 + k3 / 3.0 + k4 / 6.0);
}

TEST(Surface, ExactlyFullItRoutesTheWholeStep) {
    Surface surface;
    surface.depth = surface.storage;
    const double expected = stepClassical(surface, 1e-5, 300.0);
    const double flow = surface.drain(1e-5, 0.0, 0.0, 300.0);
    EXPECT_NEAR(surface.depth, expected, 1e-15);
    EXPECT_NEAR(flow, surface.flowAt(expected), 1e-12);
}

TEST(Surface, SteadyFlowIsTheInflowAndManningsSheet) {
    Surface surface;
    double flow = 0.0;
    for (int32_t k = 0; k < 2000; ++k) {
        flow = surface.drain(2e-5, 3e-6, 2e-6, 60.0);
    }
    EXPECT_NEAR(flow, 1.5e-5 * surface.area, 1e-9);
    const double sheet = surface.depth - surface.storage;
    EXPECT_NEAR(flow, surface.width / surface.roughness * std::sqrt(surface.slope) * std::pow(sheet, 5.0 / 3.0), 1e-9);
}

TEST(Surface, ConvergesOnTheFineSolutionByTheFourthOrder) {
    const double inflow = 2e-5, total = 1920.0;
    const auto depthBy = [&](int32_t steps) {
        Surface surface;
        surface.depth = 0.01;
        for (int32_t k = 0; k < steps; ++k) {
            surface.drain(inflow, 0.0, 0.0, total / steps);
        }
        return surface.depth;
    };
    // The midpoint rule with very small steps, independent of the scheme tested.
    Surface fine;
    double depth = 0.01;
    const int32_t n = 400000;
    for (int32_t k = 0; k < n; ++k) {
        const double h = total / n;
        const double middle = depth + h / 2.0 * (inflow - fine.flowAt(depth) / fine.area);
        depth += h * (inflow - fine.flowAt(middle) / fine.area);
    }
    const double coarse = std::fabs(depthBy(8) - depth);
    const double half = std::fabs(depthBy(16) - depth);
    const double quarter = std::fabs(depthBy(32) - depth);
    EXPECT_GT(coarse, 10.0 * half);
    EXPECT_GT(half, 10.0 * quarter);
}

TEST(Surface, FlowIsManningsAtTheDepthItEndsWith) {
    Surface surface;
    surface.depth = 0.01;
    const double flow = surface.drain(1e-5, 0.0, 0.0, 60.0);
    EXPECT_NEAR(flow, surface.flowAt(surface.depth), 1e-12);
}

TEST(Surface, WithoutAreaItEndsFullWithoutFlow) {
    for (const double depth : {0.0, 0.002, 0.01}) {
        Surface surface;
        surface.area = 0.0;
        surface.depth = depth;
        EXPECT_EQ(surface.drain(1e-5, 0.0, 0.0, 300.0), 0.0) << depth;
        EXPECT_EQ(surface.depth, surface.storage) << depth;
    }
    Surface below;
    below.area = 0.0;
    EXPECT_EQ(below.drain(1e-6, 0.0, 0.0, 300.0), 0.0);
    EXPECT_DOUBLE_EQ(below.depth, 0.0003) << "a step that fits into the storage fills it only so far";
}

TEST(Surface, KeepsNoNaN) {
    Surface surface;
    surface.depth = 0.01;
    surface.roughness = 0.0;
    surface.slope = 0.0;
    EXPECT_EQ(surface.drain(1e-5, 0.0, 0.0, 300.0), 0.0);
    EXPECT_EQ(surface.depth, surface.storage);
}

// --- water of a step -----------------------------------------------------------------------------------------------

/// One subcatchment that a test rains on by itself.
class WaterTest : public LandTest {
protected:
    void SetUp() override {
        ASSERT_EQ(start(LandProject{}), 0);
        RunoffStep = 300;
        s = &Subcatches[0];
    }

    void rainOn(double mmPerHour) {
        Gages[0].rain = mmPerHour * MM_PER_HOUR;
        volumes = runoff_stepWater(0, 0, RunoffStep);
    }

    /// m3 ponded on the area without LID units.
    double ponded() const {
        const double f = s->imperviousFraction;
        return (f * s->imperviousDepth + (1.0 - f) * s->perviousDepth) * (s->area - s->lidArea);
    }

    Subcatch* s;
    RunoffVolumes volumes{};
};

TEST_F(WaterTest, BalancesToRoundingBelowTheStorage) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> rain(0.0, 6.0), evap(0.0, 1.0);
    s->perviousStorage = s->imperviousStorage = 1.0;  // nothing flows off
    for (int32_t k = 0; k < 1000; ++k) {
        const double before = ponded();
        const double wet = k % 3 ? rain(random) : 0.0;
        Evap.rate = evap(random) * MM_PER_HOUR;
        rainOn(wet);
        const double in = wet * MM_PER_HOUR * s->area * 300.0;
        const double out = volumes.evap + volumes.infil + volumes.surfaceOutflow;
        ASSERT_NEAR(in - out, ponded() - before, 1e-9);
        ASSERT_EQ(s->thisRunoff, 0.0);
    }
}

TEST_F(WaterTest, FlowBalancesBetterWithASmallerStep) {
    // What flows off is taken at the end of the step for all of it, so only a short step balances.
    s->imperviousFraction = 1.0;
    const auto lost = [&](int32_t step) {
        RunoffStep = step;
        s->imperviousDepth = s->perviousDepth = 0.0;
        double in = 0.0, out = 0.0;
        for (int32_t t = 0; t < 7200; t += step) {
            const double rain = t < 3600 ? 30.0 : 0.0;
            rainOn(rain);
            in += rain * MM_PER_HOUR * s->area * step;
            out += s->thisRunoff * step;
        }
        return std::fabs(in - out - ponded()) / in;
    };
    const double coarse = lost(120), fine = lost(12);
    EXPECT_LT(fine, coarse / 5.0);
    EXPECT_LT(fine, 0.01);
}

TEST_F(WaterTest, EvaporationTakesNoMoreThanThereIs) {
    Evap.rate = 100.0 * MM_PER_HOUR;
    rainOn(6.0);
    EXPECT_NEAR(volumes.evap, 6.0 * MM_PER_HOUR * s->area * 300.0, 1e-12);
    EXPECT_EQ(s->imperviousDepth, 0.0);
    EXPECT_NEAR(s->evapRate, 6.0 * MM_PER_HOUR, 1e-18);
}

TEST_F(WaterTest, NegativeEvaporationWets) {
    Evap.rate = -6.0 * MM_PER_HOUR;
    rainOn(0.0);
    EXPECT_NEAR(s->imperviousDepth, 6.0 * MM_PER_HOUR * 300.0, 1e-15);
    EXPECT_NEAR(s->evapRate, -6.0 * MM_PER_HOUR, 1e-18);
}

TEST_F(WaterTest, VolumesAreThoseOfTheStep) {
    s->imperviousDepth = 0.001;
    s->perviousDepth = 0.003;
    Evap.rate = 0.36 * MM_PER_HOUR;
    rainOn(12.0);
    // 1 mm on half of the hectare, 3 mm on the other, 1 mm of rain.
    EXPECT_NEAR(volumes.wetInflow, 5.0 + 15.0 + 10.0, 1e-9);
    EXPECT_NEAR(volumes.evap, 0.03 * 10.0, 1e-9);
    EXPECT_NEAR(volumes.surfaceOutflow, (s->imperviousRunoff + s->perviousRunoff) * 300.0, 1e-12);
    EXPECT_NEAR(s->thisRunoff, s->imperviousRunoff + s->perviousRunoff, 1e-15);
    EXPECT_NEAR(s->infilRate * s->area * 300.0, volumes.infil, 1e-9);
    EXPECT_GT(volumes.infil, 0.0);
    EXPECT_EQ(volumes.lidInfil, 0.0);
}

TEST_F(WaterTest, EitherPartDrainsOverTheWholeWidth) {
    s->imperviousDepth = s->perviousDepth = 0.02;
    double impervious = 0.02, pervious = 0.02;
    HortonState state{};
    SlopeRoot root{};
    const double avail = 0.02 / 300.0 + 12.0 * MM_PER_HOUR;
    const double infil = horton_getRate(s->soil, state, avail, 300.0);
    const double q1 =
        plane_drain({12.0 * MM_PER_HOUR, 0.0, 0.0, 0.001, 5000.0, 100.0, 0.01, 0.015}, impervious, root, 300.0);
    const double q2 =
        plane_drain({12.0 * MM_PER_HOUR, 0.0, infil, 0.002, 5000.0, 100.0, 0.01, 0.1}, pervious, root, 300.0);
    Evap.rate = 0.0;
    rainOn(12.0);
    EXPECT_DOUBLE_EQ(s->imperviousRunoff, q1);
    EXPECT_DOUBLE_EQ(s->perviousRunoff, q2);
}

TEST_F(WaterTest, SlopeSetInTheRunCountsAtOnce) {
    s->imperviousFraction = 1.0;
    s->imperviousDepth = 0.02;
    rainOn(12.0);
    s->imperviousDepth = 0.02;
    s->slope = 0.09;
    rainOn(12.0);
    double depth = 0.02;
    SlopeRoot root{};
    const double flow =
        plane_drain({12.0 * MM_PER_HOUR, 0.0, 0.0, 0.001, 10000.0, 100.0, 0.09, 0.015}, depth, root, 300.0);
    EXPECT_DOUBLE_EQ(s->thisRunoff, flow);
}

TEST_F(WaterTest, DryGroundRecovers) {
    rainOn(30.0);
    EXPECT_GT(s->infilState.time, 0.0);
    s->perviousDepth = 0.0;
    rainOn(0.0);
    EXPECT_EQ(s->infilState.time, 0.0);
    EXPECT_EQ(volumes.infil, 0.0);
}

TEST_F(WaterTest, WholeOrNoneImperviousGivesNoFlowOfTheMissingPart) {
    s->imperviousFraction = 0.0;
    s->imperviousDepth = 0.01;
    rainOn(60.0);
    EXPECT_EQ(s->imperviousRunoff, 0.0);
    EXPECT_EQ(s->imperviousDepth, s->imperviousStorage);
    s->imperviousFraction = 1.0;
    s->perviousDepth = 0.05;
    rainOn(60.0);
    EXPECT_EQ(s->perviousRunoff, 0.0);
    EXPECT_EQ(s->perviousDepth, s->perviousStorage);
}

TEST_F(WaterTest, WhollyCoveredByLidUnitsItHasNoWaterOfItsOwn) {
    s->lidArea = s->area;
    rainOn(60.0);
    EXPECT_EQ(volumes.wetInflow, 0.0);
    EXPECT_EQ(volumes.surfaceOutflow, 0.0);
    EXPECT_EQ(volumes.evap, 0.0);
    EXPECT_EQ(s->thisRunoff, 0.0);
}

TEST_F(WaterTest, AreaSetBelowItsLidUnitsSkipsTheLand) {
    s->lidArea = 2.0 * s->area;
    s->imperviousDepth = 0.01;
    rainOn(60.0);
    EXPECT_EQ(volumes.wetInflow, 0.0);
    EXPECT_EQ(s->imperviousDepth, 0.01);
}

TEST_F(WaterTest, WithoutAGageItIsDry) {
    rainOn(60.0);
    s->gage = -1;
    runoff_stepWater(0, 0, RunoffStep);
    EXPECT_EQ(s->rain, 0.0);
}

// --- the way to the node -------------------------------------------------------------------------------------------

class OutletTest : public LandTest {
protected:
    void SetUp() override {
        LandProject project;
        project.more = "[POLLUTANTS]\nA 0\n";
        ASSERT_EQ(start(project), 0);
        s = &Subcatches[0];
        s->lastRunoff = 2.0;
        s->thisRunoff = 6.0;
        s->lastQuality[0] = 100.0;
        s->thisQuality[0] = 50.0;
        OldRunoffTime = 1000.0;
        NewRunoffTime = 5000.0;
        RoutingStep = 10;
    }

    Subcatch* s;
};

TEST_F(OutletTest, FlowAndLoadAreBetweenTheLastTwoSteps) {
    landinflows_addRunoff(2000.0);
    EXPECT_DOUBLE_EQ(Nodes[0].newLatFlow, 0.75 * 2.0 + 0.25 * 6.0);
    EXPECT_DOUBLE_EQ(Nodes[0].massInflow[0], 0.75 * 0.2 + 0.25 * 0.3) << "of the loads, kg/s";
    EXPECT_DOUBLE_EQ(FlowTotals.wetWeatherInflow, 30.0);
    EXPECT_DOUBLE_EQ(QualTotals[0].wetWeatherInflow, 10.0 * 0.225);
}

TEST_F(OutletTest, WeightStaysBetweenBothSteps) {
    EXPECT_EQ(subcatch_getWeight(0.0), 0.0);
    EXPECT_EQ(subcatch_getWeight(1000.0), 0.0);
    EXPECT_EQ(subcatch_getWeight(5000.0), 1.0);
    EXPECT_EQ(subcatch_getWeight(9000.0), 1.0);
    NewRunoffTime = OldRunoffTime;
    EXPECT_EQ(subcatch_getWeight(1000.0), 0.0) << "clocks that stand together";
}

TEST_F(OutletTest, WithoutAreaItDeliversNoFlowButItsLoad) {
    s->area = 0.0;
    landinflows_addRunoff(2000.0);
    EXPECT_EQ(Nodes[0].newLatFlow, 0.0);
    EXPECT_DOUBLE_EQ(Nodes[0].massInflow[0], 0.225);
}

TEST_F(OutletTest, WithoutAnOutletItDeliversNothing) {
    s->outNode = -1;
    landinflows_addRunoff(2000.0);
    EXPECT_EQ(Nodes[0].newLatFlow, 0.0);
    EXPECT_EQ(FlowTotals.wetWeatherInflow, 0.0);
}

TEST_F(OutletTest, OutsideModelIsInNoTotal) {
    Nodes[0].kind = SWMM;
    SwmmNodes.resize(1);
    landinflows_addRunoff(2000.0);
    SwmmNodes.clear();
    Nodes[0].kind = OUTFALL;
    EXPECT_EQ(Nodes[0].newLatFlow, 0.0);
    EXPECT_EQ(Nodes[0].massInflow[0], 0.0);
    EXPECT_EQ(FlowTotals.wetWeatherInflow, 0.0);
    EXPECT_EQ(QualTotals[0].wetWeatherInflow, 0.0);
}

TEST_F(OutletTest, RowHoldsRatesInTheUnitsOfResults) {
    Gages[0].reportRain = 12.0 * MM_PER_HOUR;
    s->evapRate = 2.0 / 86400000.0;
    s->infilRate = 5.0 * MM_PER_HOUR;
    float row[5];
    rows_fill(SUBCATCH_TABLE, 0, 0.25, row);
    EXPECT_FLOAT_EQ(row[0], 12.0F);
    EXPECT_FLOAT_EQ(row[1], 2.0F);
    EXPECT_FLOAT_EQ(row[2], 5.0F);
    EXPECT_FLOAT_EQ(row[3], 3.0F);
    EXPECT_FLOAT_EQ(row[4], 87.5F);
}

TEST_F(OutletTest, RowShowsNoTrickleAndNoRainWithoutAGage) {
    s->gage = -1;
    s->lastRunoff = 0.0;
    s->thisRunoff = s->area * 7.0e-10;
    float row[5];
    rows_fill(SUBCATCH_TABLE, 0, 1.0, row);
    EXPECT_EQ(row[0], 0.0F);
    EXPECT_EQ(row[3], 0.0F);
    s->thisRunoff = s->area * 7.1e-10;
    rows_fill(SUBCATCH_TABLE, 0, 1.0, row);
    EXPECT_FLOAT_EQ(row[3], 7.1e-6F);
}

}  // namespace
