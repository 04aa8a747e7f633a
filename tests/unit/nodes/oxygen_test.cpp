// Oxygen in reactors: the sag curve of Streeter and Phelps in its textbook form, and what the lines may say.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/model.h"
#include "support/reactors.h"

/// Rates per day, and mg/L at the begin.
constexpr double SATURATED = 9.5, AIR = 1.2, BOD = 20.0, BOD_RATE = 0.35, NH4 = 2.0, NH4_RATE = 0.5, BEGIN = 8.0;

static const char* const Lines =
    "R BOD FIRST 0.35 \"\"\nR NH4 FIRST 0.5 \"\"\n[REACTORS_OXYGEN]\n"
    "R O2 REAERATION 1.2 \"\"\nR O2 SATURATION 9.5 \"\"\nR O2 BOD 1 \"\"\nR O2 NH4 4.33 \"\"\n";

/// The deficit of the textbook after a time in days.
static double getDeficit(double days) {
    const auto open = [&](double k, double load) {
        return k * load / (AIR - k) * (std::exp(-k * days) - std::exp(-AIR * days));
    };
    return open(BOD_RATE, BOD) + open(NH4_RATE, 4.33 * NH4) + (SATURATED - BEGIN) * std::exp(-AIR * days);
}

class OxygenTest : public ReactorTest {
protected:
    void runToEnd(const ReactorProject& project) {
        start(project);
        testing::internal::CaptureStdout();
        for (double elapsed = 1.0; elapsed != 0.0;) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
        testing::internal::GetCapturedStdout();
    }
    /// Water of these concentrations that stands in a full tank for two hours; the oxygen at the end.
    double stand(const std::string& pollutants, const std::string& lines, int place, const char* more = "") {
        ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 100");
        text.pollutants = pollutants;
        text.decay = lines;
        text.quality = "R 0 BOD 20\nR 0 NH4 2\nR 0 O2 8\n";
        text.more = more;
        runToEnd(text);
        const double left = reactor().qual[place];
        tarnvelde_end();
        return left;
    }
};

TEST_F(OxygenTest, StandingWaterFollowsTheSagCurve) {
    const double expected = SATURATED - getDeficit(2.0 / 24.0);
    EXPECT_NEAR(stand("BOD 0\nNH4 0\nO2 0\n", Lines, 2), expected, 1e-10);
}

TEST_F(OxygenTest, TheOrderOfPollutantsDoesntMatter) {
    EXPECT_EQ(stand("BOD 0\nNH4 0\nO2 0\n", Lines, 2), stand("O2 0\nNH4 0\nBOD 0\n", Lines, 0));
}

TEST_F(OxygenTest, PlugFlowFollowsTheSagCurveOverItsRetention) {
    ReactorProject text = withReactor("R PFR SUR FLOW_CAPACITY 864000 24 0");
    text.pollutants = "BOD 0\nNH4 0\nO2 0\n";
    text.decay = Lines;
    text.inflow = "R FLOW FLOW 0.5 \"\" 1\nR CONCEN BOD 20 \"\" 1\nR CONCEN NH4 2 \"\" 1\nR CONCEN O2 8 \"\" 1\n";
    text.endTime = "30:00:00";
    text.step = "0:10:00";
    runToEnd(text);
    EXPECT_NEAR(node("R").newQual[2], SATURATED - getDeficit(1.0), 1e-10);
    EXPECT_NEAR(node("R").newQual[0], 20.0 * std::exp(-0.35), 1e-10);
}

TEST_F(OxygenTest, EqualRatesHaveTheirLimit) {
    const double k = 1.2 / 12.0;  // in two hours
    EXPECT_NEAR(stand("BOD 0\nNH4 0\nO2 0\n",
                      "R BOD FIRST 1.2 \"\"\n[REACTORS_OXYGEN]\nR O2 SATURATION 9.5 \"\"\nR O2 REAERATION 1.2 \"\"\nR "
                      "O2 BOD 1 \"\"\n",
                      2),
                9.5 - (k * 20.0 + 1.5) * std::exp(-k), 1e-10);
}

TEST_F(OxygenTest, OtherLawsTakeTheirsEvenly) {
    // 12 mg/L of BOD a day make 1 mg/L in two hours; the deficit at the end is its mean decay and what is left of 1.5.
    const double air = 1.2 / 12.0;
    EXPECT_NEAR(stand("BOD 0\nNH4 0\nO2 0\n",
                      "R BOD ZERO 12 \"\"\n[REACTORS_OXYGEN]\nR O2 SATURATION 9.5 \"\"\nR O2 REAERATION 1.2 \"\"\nR O2 "
                      "BOD 2 \"\"\n",
                      2),
                9.5 - 2.0 * (1.0 - std::exp(-air)) / air - 1.5 * std::exp(-air), 1e-10);
}

TEST_F(OxygenTest, NothingIsLeftWhereMoreIsTaken) {
    EXPECT_EQ(stand("BOD 0\nNH4 0\nO2 0\n", "R BOD FIRST 24 \"\"\n[REACTORS_OXYGEN]\nR O2 BOD 1 \"\"\n", 2), 0.0);
}

TEST_F(OxygenTest, TooMuchLeavesToTheAir) {
    EXPECT_NEAR(
        stand("BOD 0\nNH4 0\nO2 0\n", "[REACTORS_OXYGEN]\nR O2 REAERATION 12 \"\"\nR O2 SATURATION 5 \"\"\n", 2),
        5.0 + 3.0 * std::exp(-1.0), 1e-10);
}

TEST_F(OxygenTest, ThePatternIsThatOfTheReaeration) {
    const char* const twice = "[PATTERNS]\nLATER MONTHLY 2 2 2\n";
    EXPECT_NEAR(
        stand("BOD 0\nNH4 0\nO2 0\n", "[REACTORS_OXYGEN]\nR O2 REAERATION 6 LATER\nR O2 SATURATION 5 \"\"\n", 2, twice),
        5.0 + 3.0 * std::exp(-1.0), 1e-10);
}

TEST_F(OxygenTest, WhatAirBringsIsANegativeReaction) {
    const double left =
        stand("BOD 0\nNH4 0\nO2 0\n", "[REACTORS_OXYGEN]\nR O2 REAERATION 12 \"\"\nR O2 SATURATION 10 \"\"\n", 2);
    EXPECT_NEAR(reactor().statReactedLoad[2], (8.0 - left) * 100.0 / 1000.0, 1e-10);
    EXPECT_LT(reactor().statReactedLoad[2], 0.0);
}

TEST_F(OxygenTest, AnotherReactionReplacesIt) {
    EXPECT_NEAR(stand("BOD 0\nNH4 0\nO2 0\n",
                      "[REACTORS_OXYGEN]\nR O2 REAERATION 12 \"\"\nR O2 SATURATION 5 \"\"\n[REACTORS_DECAY]\nR O2 "
                      "FIRST 12 \"\"\n",
                      2),
                8.0 * std::exp(-1.0), 1e-10);
}

/// A project whose reactor has one line in [REACTORS_OXYGEN].
static ReactorProject withOxygen(const std::string& line) {
    return withDecay("[REACTORS_OXYGEN]\n" + line);
}

TEST_F(OxygenTest, WrongLinesAreRefused) {
    expectRefused(withOxygen("R A 1"), "203: too few items at line");
    expectRefused(withOxygen("X A SATURATION 1 \"\""), "209: undefined object X at line");
    expectRefused(withOxygen("R X SATURATION 1 \"\""), "209: undefined object X at line");
    expectRefused(withOxygen("R A FIRST 1 \"\""), "205: invalid keyword FIRST at line");
    expectRefused(withOxygen("R A AERATION 1 \"\""), "205: invalid keyword AERATION at line");
    expectRefused(withOxygen("R A SATURATION -1 \"\""), "211: invalid number -1 at line");
    expectRefused(withOxygen("R A REAERATION 1d \"\""), "211: invalid number 1d at line");
    expectRefused(withOxygen("R A REAERATION 1 NONE"), "209: undefined object NONE at line");
    expectRefused(withOxygen("R A A -1 \"\""), "211: invalid number -1 at line");
}

TEST_F(OxygenTest, LinesOfOtherReactionsKnowNoOxygen) {
    expectRefused(withDecay("R A REAERATION 1 \"\""), "205: invalid keyword REAERATION at line");
    expectRefused(withDecay("R A A 1 \"\""), "205: invalid keyword A at line");
}
