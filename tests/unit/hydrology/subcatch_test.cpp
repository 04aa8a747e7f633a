// Subcatchments: their lines, infiltration, the reservoir of a surface, the water of a step, and the way to the node.

#include "hydrology/subcatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "hydrology/evap.h"
#include "hydrology/runoff.h"
#include "results/rows.h"
#include "support/land.h"
#include "support/model.h"

namespace {

// --- lines ---------------------------------------------------------------------------------------------------------

class SubcatchTest : public LandTest {};

TEST_F(SubcatchTest, LineIsStoredInMetresAndSeconds) {
    LandProject project;
    project.subcatchs = "S G O 2.5 120 40 1.5 0.015 0.2 1.5 4 72 7.2 3.6 5 80 further words\n";
    ASSERT_EQ(open(project), 0);
    const Subcatch& s = testModel().subcatches[0];
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
    EXPECT_EQ(testModel().subcatches[0].imperviousFraction, 1.0);
    EXPECT_EQ(testModel().subcatches[0].slope, 1.0);
}

TEST_F(SubcatchTest, ImperviousShareAndLargestVolumeMayBeZero) {
    LandProject project;
    project.subcatchs = "S G O 1 100 0 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(open(project), 0);
    EXPECT_EQ(testModel().subcatches[0].imperviousFraction, 0.0);
    EXPECT_EQ(testModel().subcatches[0].soil.maxVolume, 0.0);
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

// --- water of a step -----------------------------------------------------------------------------------------------

/// One subcatchment that a test rains on by itself.
class WaterTest : public LandTest {
protected:
    void SetUp() override {
        ASSERT_EQ(start(LandProject{}), 0);
        testModel().options.runoffStep = 300;
        s = &testModel().subcatches[0];
    }

    void rainOn(double mmPerHour) {
        testModel().gages[0].rain = mmPerHour * ONE_MM_PER_HOUR;
        volumes = runoff_stepWater(testModel(), 0, 0, testModel().options.runoffStep);
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
        testModel().evap->rate = evap(random) * ONE_MM_PER_HOUR;
        rainOn(wet);
        const double in = wet * ONE_MM_PER_HOUR * s->area * 300.0;
        const double out = volumes.evap + volumes.infil + volumes.surfaceOutflow;
        ASSERT_NEAR(in - out, ponded() - before, 1e-9);
        ASSERT_EQ(s->thisRunoff, 0.0);
    }
}

TEST_F(WaterTest, FlowBalancesBetterWithASmallerStep) {
    // What flows off is taken at the end of the step for all of it, so only a short step balances.
    s->imperviousFraction = 1.0;
    const auto lost = [&](int32_t step) {
        testModel().options.runoffStep = step;
        s->imperviousDepth = s->perviousDepth = 0.0;
        double in = 0.0, out = 0.0;
        for (int32_t t = 0; t < 7200; t += step) {
            const double rain = t < 3600 ? 30.0 : 0.0;
            rainOn(rain);
            in += rain * ONE_MM_PER_HOUR * s->area * step;
            out += s->thisRunoff * step;
        }
        return std::fabs(in - out - ponded()) / in;
    };
    const double coarse = lost(120), fine = lost(12);
    EXPECT_LT(fine, coarse / 5.0);
    EXPECT_LT(fine, 0.01);
}

TEST_F(WaterTest, EvaporationTakesNoMoreThanThereIs) {
    testModel().evap->rate = 100.0 * ONE_MM_PER_HOUR;
    rainOn(6.0);
    EXPECT_NEAR(volumes.evap, 6.0 * ONE_MM_PER_HOUR * s->area * 300.0, 1e-12);
    EXPECT_EQ(s->imperviousDepth, 0.0);
    EXPECT_NEAR(s->evapRate, 6.0 * ONE_MM_PER_HOUR, 1e-18);
}

TEST_F(WaterTest, NegativeEvaporationWets) {
    testModel().evap->rate = -6.0 * ONE_MM_PER_HOUR;
    rainOn(0.0);
    EXPECT_NEAR(s->imperviousDepth, 6.0 * ONE_MM_PER_HOUR * 300.0, 1e-15);
    EXPECT_NEAR(s->evapRate, -6.0 * ONE_MM_PER_HOUR, 1e-18);
}

TEST_F(WaterTest, VolumesAreThoseOfTheStep) {
    s->imperviousDepth = 0.001;
    s->perviousDepth = 0.003;
    testModel().evap->rate = 0.36 * ONE_MM_PER_HOUR;
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
    SheetPower imperviousSheet{}, perviousSheet{};
    const double avail = 0.02 / 300.0 + 12.0 * ONE_MM_PER_HOUR;
    const double infil = horton_getRate(s->soil, state, avail, 300.0);
    const double q1 = plane_drain({12.0 * ONE_MM_PER_HOUR, 0.0, 0.0, 0.001, 5000.0, 100.0, 0.01, 0.015}, impervious,
                                  imperviousSheet, root, 300.0);
    const double q2 = plane_drain({12.0 * ONE_MM_PER_HOUR, 0.0, infil, 0.002, 5000.0, 100.0, 0.01, 0.1}, pervious,
                                  perviousSheet, root, 300.0);
    testModel().evap->rate = 0.0;
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
    SheetPower sheet{};
    const double flow =
        plane_drain({12.0 * ONE_MM_PER_HOUR, 0.0, 0.0, 0.001, 10000.0, 100.0, 0.09, 0.015}, depth, sheet, root, 300.0);
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
    runoff_stepWater(testModel(), 0, 0, testModel().options.runoffStep);
    EXPECT_EQ(s->rain, 0.0);
}

}  // namespace
