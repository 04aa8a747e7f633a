// Land uses: their lines, buildup on its curve, washoff by its laws, and the way of what rain brings.

#include "hydrology/landuse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "hydrology/runoff.h"
#include "hydrology/washoff.h"
#include "support/land.h"

namespace {

/// Two land uses and two pollutants, without rules.
LandProject makeProject() {
    LandProject project;
    project.more = "[POLLUTANTS]\nA 10\nB 0\n[LANDUSES]\nRoof more words\nRoad\n";
    return project;
}

class LanduseTest : public LandTest {
protected:
    LandProject project = makeProject();

    int32_t openWith(const std::string& sections) {
        project.more += sections;
        return open(project);
    }

    int32_t startWith(const std::string& sections) {
        project.more += sections;
        return start(project);
    }
};

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(LanduseTest, LinesFillTheirRecords) {
    ASSERT_EQ(openWith("[COVERAGES]\nS Road 30\nS Roof 70\n"
                       "[BUILDUP]\nRoof A 12 0.4\nRoad B 3 0.1\n"
                       "[WASHOFF]\nRoof A EXP 0.5 1.5 0.25\nRoad A emc 40 no 0.5\nRoad B EMC 20 YES 2\n"
                       "[LOADINGS]\nS B 7.5\n"),
              0);
    EXPECT_STREQ(Landuses[0].name, "Roof");
    const Subcatch& s = Subcatches[0];
    EXPECT_DOUBLE_EQ(s.landShares[0].fraction, 0.7);
    EXPECT_DOUBLE_EQ(s.landShares[1].fraction, 0.3);
    EXPECT_EQ(Landuses[0].buildup[0].maxBuildup, 12.0);
    EXPECT_EQ(Landuses[0].buildup[0].rateConstant, 0.4);
    EXPECT_EQ(Landuses[0].buildup[1].maxBuildup, 0.0);
    EXPECT_EQ(Landuses[1].buildup[1].maxBuildup, 3.0);
    const WashoffRule& exponential = Landuses[0].washoff[0];
    EXPECT_EQ(exponential.kind, WASHOFF_EXP);
    EXPECT_EQ(exponential.coefficient, 0.5);
    EXPECT_EQ(exponential.exponent, 1.5);
    EXPECT_EQ(exponential.removal, 0.25);
    EXPECT_EQ(exponential.usesBuildup, 1);
    const WashoffRule& free = Landuses[1].washoff[0];
    EXPECT_EQ(free.kind, WASHOFF_EMC);
    EXPECT_EQ(free.emc, 40.0);
    EXPECT_EQ(free.usesBuildup, 0);
    EXPECT_EQ(Landuses[1].washoff[1].usesBuildup, 1);
    EXPECT_EQ(Landuses[1].washoff[1].removal, 2.0) << "not limited to the whole";
    EXPECT_EQ(s.initialLoad[0], 0.0);
    EXPECT_EQ(s.initialLoad[1], 7.5);
}

TEST_F(LanduseTest, LastLineOfAPairWins) {
    ASSERT_EQ(openWith("[COVERAGES]\nS Road 30\nS Road -5\n[BUILDUP]\nRoof A 12 0.4\nRoof A 1 2\n"
                       "[LOADINGS]\nS B 7\nS B 8\n"),
              0);
    EXPECT_DOUBLE_EQ(Subcatches[0].landShares[1].fraction, -0.05) << "a negative share is legal";
    EXPECT_EQ(Landuses[0].buildup[0].maxBuildup, 1.0);
    EXPECT_EQ(Subcatches[0].initialLoad[1], 8.0);
}

TEST_F(LanduseTest, WashoffLineOverwritesOnlyWhatItReads) {
    ASSERT_EQ(openWith("[WASHOFF]\nRoof A EXP 1 2 0.25\nRoof A EMC 40 NO 0.5\n"
                       "Road A EMC 40 NO 0.5\nRoad A DRAINMAT 1 2 3\nRoad B EMC 9 NO 0.1\nRoad B EXP 1 2 0.3\n"),
              0);
    const WashoffRule& roof = Landuses[0].washoff[0];
    EXPECT_EQ(roof.kind, WASHOFF_EMC);
    EXPECT_EQ(roof.coefficient, 1.0);
    EXPECT_EQ(roof.exponent, 2.0);
    EXPECT_EQ(roof.removal, 0.5);
    EXPECT_EQ(roof.usesBuildup, 0);
    const WashoffRule& road = Landuses[1].washoff[0];
    EXPECT_EQ(road.kind, WASHOFF_DRAINMAT);
    EXPECT_EQ(road.emc, 40.0);
    EXPECT_EQ(road.removal, 0.5);
    EXPECT_EQ(Landuses[1].washoff[1].emc, 9.0);
    EXPECT_EQ(Landuses[1].washoff[1].usesBuildup, 1);
}

TEST_F(LanduseTest, LaterWordsOfWashoffAreInTheirOrder) {
    ASSERT_EQ(openWith("[WASHOFF]\nRoof A SURFACE x y z\nRoof B SOIL 0 0 0\nRoad A STORAGE 0 0 0\n"
                       "Road B PAVEMENT 0 0 0\n"),
              0);
    EXPECT_EQ(Landuses[0].washoff[0].kind, 2);
    EXPECT_EQ(Landuses[0].washoff[1].kind, 3);
    EXPECT_EQ(Landuses[1].washoff[0].kind, 4);
    EXPECT_EQ(Landuses[1].washoff[1].kind, 5);
    tarnvelde_close();
    project = makeProject();
    ASSERT_EQ(openWith("[WASHOFF]\nRoof A DRAINMAT 0 0 0\nRoof B drain 0 0 0\n"), 0);
    EXPECT_EQ(Landuses[0].washoff[0].kind, 6);
    EXPECT_EQ(Landuses[0].washoff[1].kind, 7);
}

struct BadLandLine {
    const char* section;
    const char* line;
    const char* message;
};

class LanduseLineTest : public LandTest, public ::testing::WithParamInterface<BadLandLine> {};

TEST_P(LanduseLineTest, IsRefused) {
    const BadLandLine& bad = GetParam();
    LandProject project = makeProject();
    project.more += std::string(bad.section) + "\n" + bad.line + "\n";
    EXPECT_TRUE(failsWith(project, 200,
                          std::string("\n  \n  ERROR ") + bad.message + "at line 26 of " + bad.section +
                              " section:\n  " + bad.line + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    All, LanduseLineTest,
    ::testing::Values(BadLandLine{"[COVERAGES]", "S Roof", "203: too few items "},
                      BadLandLine{"[COVERAGES]", "X Y z", "209: undefined object X "},
                      BadLandLine{"[COVERAGES]", "S Y z", "209: undefined object Y "},
                      BadLandLine{"[COVERAGES]", "S Roof z", "211: invalid number z "},
                      BadLandLine{"[BUILDUP]", "Roof A 1", "203: too few items "},
                      BadLandLine{"[BUILDUP]", "X A 1 1", "209: undefined object X "},
                      BadLandLine{"[BUILDUP]", "Roof S 1 1", "209: undefined object S "},
                      BadLandLine{"[BUILDUP]", "Roof A -1 x", "211: invalid number -1 "},
                      BadLandLine{"[BUILDUP]", "Roof A 1 -0.5", "211: invalid number -0.5 "},
                      BadLandLine{"[WASHOFF]", "Roof A SOIL 1 1", "203: too few items "},
                      BadLandLine{"[WASHOFF]", "X A EXP 1 1 1", "209: undefined object X "},
                      BadLandLine{"[WASHOFF]", "Roof X EXP 1 1 1", "209: undefined object X "},
                      BadLandLine{"[WASHOFF]", "Roof A LINEAR 1 1 1", "205: invalid keyword LINEAR "},
                      BadLandLine{"[WASHOFF]", "Roof A EXP -1 1 1", "211: invalid number -1 "},
                      BadLandLine{"[WASHOFF]", "Roof A EXP 1 x 1", "211: invalid number x "},
                      BadLandLine{"[WASHOFF]", "Roof A EXP 1 1 -2", "211: invalid number -2 "},
                      BadLandLine{"[WASHOFF]", "Roof A EMC -1 MAYBE -2", "211: invalid number -1 "},
                      BadLandLine{"[WASHOFF]", "Roof A EMC 1 MAYBE -2", "205: invalid keyword MAYBE "},
                      BadLandLine{"[WASHOFF]", "Roof A EMC 1 YES -2", "211: invalid number -2 "},
                      BadLandLine{"[LOADINGS]", "S A", "203: too few items "},
                      BadLandLine{"[LOADINGS]", "X A 1", "209: undefined object X "},
                      BadLandLine{"[LOADINGS]", "S X 1", "209: undefined object X "},
                      BadLandLine{"[LOADINGS]", "S A -1", "211: invalid number -1 "},
                      BadLandLine{"[LANDUSES]", "\"a b\"", "209: undefined object a b "}));

TEST_F(LanduseTest, LandUsesWithoutPollutantsRun) {
    project.more = "[LANDUSES]\nRoof\n[COVERAGES]\nS Roof 100\n";
    ASSERT_EQ(start(project), 0);
    stepToEnd();
    EXPECT_GT(Subcatches[0].runoff, 0.0);
}

// --- buildup -------------------------------------------------------------------------------------------------------

class BuildupTest : public LanduseTest {
protected:
    void SetUp() override { ASSERT_EQ(openWith("[BUILDUP]\nRoof A 12 0.4\n"), 0); }

    static constexpr double DAY = 86400.0;

    static double curve(double days) { return 12.0 * (1.0 - std::exp(-0.4 * days)); }
};

TEST_F(BuildupTest, FollowsItsCurve) {
    for (const double days : {0.01, 1.0, 5.0, 17.0}) {
        EXPECT_NEAR(landuse_getBuildup(Landuses[0].buildup[0], 2.5, 0.0, days * DAY), 2.5 * curve(days), 1e-12);
    }
}

TEST_F(BuildupTest, GoesOnFromWhatIsThere) {
    double mass = 0.0;
    for (int32_t k = 0; k < 100; ++k) {
        mass = landuse_getBuildup(Landuses[0].buildup[0], 2.5, mass, 0.1 * DAY);
    }
    EXPECT_NEAR(mass, 2.5 * curve(10.0), 1e-10);
}

TEST_F(BuildupTest, StandsAtTheLimitFrom999PermilleOn) {
    const double full = std::log(1000.0) / 0.4;  // days
    EXPECT_LT(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 0.0, (full - 0.001) * DAY), 12.0);
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 0.0, (full + 0.001) * DAY), 12.0);
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 11.999, 1.0), 12.0);
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 50.0, 1.0), 12.0)
        << "what stands above falls to the limit here";
}

TEST_F(BuildupTest, WithoutTimeStaysAndWithoutAreaIsNone) {
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 5.0, 0.0), 5.0);
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 0.0, 5.0, 0.0), 5.0);
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 0.0, 5.0, DAY), 0.0);
}

TEST_F(BuildupTest, WithoutARateItStaysEmptyAndJumpsFromAnythingElse) {
    Landuses[0].buildup[0].rateConstant = 0.0;
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 0.0, DAY), 0.0);
    EXPECT_EQ(landuse_getBuildup(Landuses[0].buildup[0], 1.0, 1.0, DAY), 12.0);
}

TEST_F(BuildupTest, PairWithoutALineBuildsUpNothing) {
    EXPECT_EQ(landuse_getBuildup(Landuses[1].buildup[1], 1.0, 0.0, DAY), 0.0);
}

class DryTest : public LanduseTest {};

TEST_F(DryTest, StartHoldsTheBuildupOfTheDryDays) {
    project.general = "START_DRY_DAYS 5\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 40\nS Road 60\n[BUILDUP]\nRoof A 12 0.4\nRoad A 3 0.1\n"
                        "[WASHOFF]\nRoof A EXP 1 1 0\n"),
              0);
    const Subcatch& s = Subcatches[0];
    const double roof = 0.4 * 12.0 * (1.0 - std::exp(-2.0));
    EXPECT_NEAR(s.landShares[0].buildup[0], roof, 1e-12);
    EXPECT_NEAR(s.landShares[1].buildup[0], 0.6 * 3.0 * (1.0 - std::exp(-0.5)), 1e-12);
    EXPECT_NEAR(s.initBuildup[0], roof, 1e-12) << "only land uses whose washoff takes from it";
    EXPECT_EQ(s.surfaceBuildup[0], 0.0);
    EXPECT_EQ(s.landShares[0].buildup[1], 0.0);
}

TEST_F(DryTest, InitialLoadIsSharedByAreaAndZeroMeansNone) {
    project.general = "START_DRY_DAYS 5\n";
    project.subcatchs = "S G O 2 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 40\nS Road -10\n[BUILDUP]\nRoof B 12 0.4\n[LOADINGS]\nS A 6\nS B 0\n"
                        "[WASHOFF]\nRoof A EXP 1 1 0\nRoad A EXP 1 1 0\n"),
              0);
    const Subcatch& s = Subcatches[0];
    EXPECT_NEAR(s.landShares[0].buildup[0], 6.0 * 2.0 * 0.4, 1e-12);
    EXPECT_NEAR(s.landShares[1].buildup[0], -6.0 * 2.0 * 0.1, 1e-12) << "a negative share holds a negative mass";
    EXPECT_NEAR(s.initBuildup[0], 6.0 * 2.0 * 0.3, 1e-12);
    EXPECT_NEAR(s.landShares[0].buildup[1], 2.0 * 0.4 * 12.0 * (1.0 - std::exp(-2.0)), 1e-12);
}

TEST_F(DryTest, DryStepsBuildUpAndBookWhatTheWashoffUses) {
    project.series = "T 0:00 0\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 40\nS Road 60\n[BUILDUP]\nRoof A 12 0.4\nRoad A 3 0.1\n"
                        "[WASHOFF]\nRoof A EXP 1 1 0\n"),
              0);
    stepToEnd();
    const Subcatch& s = Subcatches[0];
    const double roof = 0.4 * 12.0 * (1.0 - std::exp(-0.4 * 0.25));
    EXPECT_NEAR(s.landShares[0].buildup[0], roof, 1e-10);
    EXPECT_NEAR(s.landShares[1].buildup[0], 0.6 * 3.0 * (1.0 - std::exp(-0.1 * 0.25)), 1e-10);
    EXPECT_NEAR(s.surfaceBuildup[0], roof, 1e-10);
}

TEST_F(DryTest, BuildupNeverFallsInTheRun) {
    project.series = "T 0:00 0\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n[BUILDUP]\nRoof A 12 0.4\n[LOADINGS]\nS A 50\n"), 0);
    stepToEnd();
    EXPECT_EQ(Subcatches[0].landShares[0].buildup[0], 50.0);
}

TEST_F(DryTest, NegativeShareRisesToItsNegativeLimit) {
    project.series = "T 0:00 0\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof -10\n[BUILDUP]\nRoof A 12 0.4\n[LOADINGS]\nS A 50\n"
                        "[WASHOFF]\nRoof A EXP 1 1 0\n"),
              0);
    stepToEnd();
    // A tenth of a hectare, taken off: 50 kg/ha at the start, 12 kg/ha from the first dry step on.
    const Subcatch& s = Subcatches[0];
    EXPECT_NEAR(s.initBuildup[0], -0.1 * 50.0, 1e-12);
    EXPECT_NEAR(s.landShares[0].buildup[0], -0.1 * 12.0, 1e-12);
    EXPECT_NEAR(s.surfaceBuildup[0], -0.1 * 12.0 + 0.1 * 50.0, 1e-12) << "the rise counts as built up";
}

TEST_F(DryTest, LandUseWithoutAShareStaysEmpty) {
    project.general = "START_DRY_DAYS 5\n";
    ASSERT_EQ(startWith("[BUILDUP]\nRoof B 12 0.4\n[WASHOFF]\nRoof B EMC 10 NO 0\n"), 0);
    stepToEnd();
    EXPECT_EQ(Subcatches[0].landShares[0].buildup[1], 0.0);
    EXPECT_EQ(Subcatches[0].surfaceWashoff[1], 0.0);
}

TEST_F(DryTest, WetStepsDoNotBuildUp) {
    project.series = "T 0:00 0\nT 1:00 60\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n[BUILDUP]\nRoof A 12 0.4\n"), 0);
    Subcatches[0].imperviousDepth = 0.02;  // runs off all the time
    for (int32_t k = 0; k < 10; ++k) {
        tarnvelde_step(nullptr);
    }
    EXPECT_EQ(Subcatches[0].landShares[0].buildup[0], 0.0);
}

// --- washoff of the land -------------------------------------------------------------------------------------------

/// 1 ha, all of it roof, at a runoff of 36 mm/h, for a minute; every array of the step empty.
class WashLandTest : public LanduseTest {
protected:
    static constexpr double RATE = 1e-5, STEP = 60.0;

    void SetUp() override {
        ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n"), 0);
        s = &Subcatches[0];
        s->thisRunoff = RATE * s->area;
        rule = &Landuses[0].washoff[0];
        buildup = &s->landShares[0].buildup[0];
        *buildup = 20.0;
    }

    void wash() { washoff_washLand(*s, RATE, STEP); }

    Subcatch* s;
    WashoffRule* rule;
    double* buildup;
};

TEST_F(WashLandTest, ExponentialTakesAShareOfTheBuildupByThePowerOfTheRate) {
    *rule = {WASHOFF_EXP, 0.02, 1.5, 0.0, 0.0, 1};
    wash();
    const double mass = 0.02 * std::pow(36.0, 1.5) * 20.0 / 3600.0 * STEP;
    EXPECT_NEAR(s->runoffLoad[0], mass, 1e-12);
    EXPECT_NEAR(*buildup, 20.0 - mass, 1e-12);
    EXPECT_NEAR(s->thisWashoffRate[0], mass / STEP, 1e-14);
    EXPECT_EQ(s->bmpRemoval[0], 0.0);
    EXPECT_EQ(s->surfaceBuildup[0], 0.0);
}

TEST_F(WashLandTest, EventMeanIsAConcentrationOfTheRunoff) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 1};
    wash();
    const double mass = 0.05 * RATE * s->area * STEP;
    EXPECT_NEAR(s->runoffLoad[0], mass, 1e-14);
    EXPECT_NEAR(*buildup, 20.0 - mass, 1e-12);
}

TEST_F(WashLandTest, LandUseGivesByItsShareOfTheArea) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 1};
    s->landShares[0].fraction = 0.25;
    wash();
    EXPECT_NEAR(s->runoffLoad[0], 0.25 * 0.05 * RATE * s->area * STEP, 1e-14);
}

TEST_F(WashLandTest, NoMoreThanTheBuildupIsTaken) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 1e9, 0.0, 1};
    wash();
    EXPECT_EQ(s->runoffLoad[0], 20.0);
    EXPECT_EQ(*buildup, 0.0);
}

TEST_F(WashLandTest, WithoutUseOfTheBuildupItStaysAndTheMassIsBookedAsBuiltUp) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.25, 0};
    wash();
    const double mass = 0.05 * RATE * s->area * STEP;
    EXPECT_EQ(*buildup, 20.0);
    EXPECT_NEAR(s->runoffLoad[0], 0.75 * mass, 1e-14);
    EXPECT_NEAR(s->bmpRemoval[0], 0.25 * mass, 1e-14);
    EXPECT_NEAR(s->surfaceBuildup[0], mass, 1e-14);
}

TEST_F(WashLandTest, MassIsKept) {
    *rule = {WASHOFF_EXP, 0.02, 1.5, 0.0, 0.3, 1};
    wash();
    EXPECT_NEAR(20.0 - *buildup, s->runoffLoad[0] + s->bmpRemoval[0], 1e-13);
}

TEST_F(WashLandTest, NothingThereGivesNothingWhateverTheLaw) {
    *buildup = 0.0;
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 0};
    wash();
    EXPECT_EQ(s->runoffLoad[0], 0.0);
    EXPECT_EQ(s->surfaceBuildup[0], 0.0);
}

TEST_F(WashLandTest, RemovalAboveTheWholeMakesTheLoadNegative) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 1.5, 1};
    wash();
    const double mass = 0.05 * RATE * s->area * STEP;
    EXPECT_NEAR(s->runoffLoad[0], -0.5 * mass, 1e-14);
    EXPECT_NEAR(s->bmpRemoval[0], 1.5 * mass, 1e-14);
}

TEST_F(WashLandTest, OtherKindsActAsEventMeanWithoutAConcentration) {
    for (int32_t kind = WASHOFF_SURFACE; kind <= WASHOFF_DRAIN; ++kind) {
        *rule = {kind, 9.0, 1.0, 0.0, 0.0, 0};
        wash();
        EXPECT_EQ(s->runoffLoad[0], 0.0);
    }
}

TEST_F(WashLandTest, OtherKindsGiveOffAConcentrationThatTheyKept) {
    for (int32_t kind = WASHOFF_SURFACE; kind <= WASHOFF_DRAIN; ++kind) {
        *rule = {kind, 9.0, 1.0, 50.0, 0.0, 1};
        *buildup = 20.0;
        s->runoffLoad[0] = 0.0;
        wash();
        const double mass = 0.05 * RATE * s->area * STEP;  // 0.3 kg; the coefficient and exponent count for nothing
        EXPECT_NEAR(s->runoffLoad[0], mass, 1e-14) << "kind " << kind;
        EXPECT_NEAR(*buildup, 20.0 - mass, 1e-12) << "kind " << kind;
    }
}

TEST_F(LanduseTest, OtherKindBehindAnEventMeanLineWashesOffAtItsConcentration) {
    // B, which clean rain doesn't bring.
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n[LOADINGS]\nS B 20\n"
                        "[WASHOFF]\nRoof B EMC 50 YES 0\nRoof B SOIL 0 0 0\n"),
              0);
    Subcatch& s = Subcatches[0];
    s.imperviousDepth = 0.02;  // runs off
    runoff_advance();
    ASSERT_GT(s.thisRunoff, 0.0);
    EXPECT_NEAR(s.thisQuality[1], 50.0, 1e-10);
    EXPECT_NEAR(s.landShares[0].buildup[1], 20.0 - 0.05 * s.thisRunoff * RunoffStep, 1e-12)
        << "and takes it from there";
}

TEST_F(WashLandTest, TrickleWashesNothing) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 1};
    washoff_washLand(*s, 7.0e-10, STEP);
    EXPECT_EQ(s->runoffLoad[0], 0.0);
    washoff_washLand(*s, 7.056e-10, STEP);
    EXPECT_GT(s->runoffLoad[0], 0.0) << "at the limit it does";
}

TEST_F(WashLandTest, NegativeShareWashesNothing) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 1};
    s->landShares[0].fraction = -1.0;
    wash();
    EXPECT_EQ(s->runoffLoad[0], 0.0);
}

TEST_F(WashLandTest, PollutantsWithTheSameAndOtherExponentsKeepTheirOwnPower) {
    Landuses[0].washoff[0] = {WASHOFF_EXP, 0.01, 2.0, 0.0, 0.0, 1};
    Landuses[0].washoff[1] = {WASHOFF_EXP, 0.01, 1.0, 0.0, 0.0, 1};
    Landuses[1].washoff[0] = {WASHOFF_EXP, 0.01, 0.0, 0.0, 0.0, 1};
    s->landShares[0].buildup[1] = 20.0;
    s->landShares[1].fraction = 1.0;
    s->landShares[1].buildup[0] = 20.0;
    wash();
    const double unit = 0.01 * 20.0 / 3600.0 * STEP;
    EXPECT_NEAR(s->runoffLoad[0], unit * (36.0 * 36.0 + 1.0), 1e-12);
    EXPECT_NEAR(s->runoffLoad[1], unit * 36.0, 1e-12);
}

// --- what rain brings ----------------------------------------------------------------------------------------------

/// Pollutant A comes with rain, at 10 mg/L, and half a hectare is impervious.
class WashRainTest : public LanduseTest {
protected:
    static constexpr double STEP = 300.0;

    void SetUp() override {
        ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n"), 0);
        s = &Subcatches[0];
        s->rain = 1e-5;  // 30 m3
        volumes.wetInflow = 50.0;
    }

    Subcatch* s;
    RunoffVolumes volumes{};
};

TEST_F(WashRainTest, MassDividesAsTheWaterDoes) {
    s->pondedMass[0] = 0.2;
    volumes.infil = 10.0;
    volumes.surfaceOutflow = 15.0;
    s->imperviousDepth = 0.001;
    s->perviousDepth = 0.004;  // 25 m3 in all
    washoff_washRain(*s, volumes, STEP);
    const double c = (0.3 + 0.2) / 50.0;
    EXPECT_NEAR(s->wetDeposition[0], 0.3, 1e-14);
    EXPECT_NEAR(s->infilLoss[0], 10.0 * c, 1e-14);
    EXPECT_NEAR(s->runoffLoad[0], 15.0 * c, 1e-14);
    EXPECT_NEAR(s->thisWashoffRate[0], 15.0 * c / STEP, 1e-16);
    EXPECT_NEAR(s->pondedMass[0], 25.0 * c, 1e-14);
    EXPECT_NEAR(s->infilLoss[0] + s->runoffLoad[0] + s->pondedMass[0], 0.5, 1e-14) << "the depths agree";
}

TEST_F(WashRainTest, NoMoreThanTheMassLeaves) {
    volumes.infil = 80.0;
    volumes.surfaceOutflow = 80.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->infilLoss[0], 0.3, 1e-14);
    EXPECT_EQ(s->runoffLoad[0], 0.0);
    volumes.infil = 20.0;
    s->infilLoss[0] = 0.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->infilLoss[0], 20.0 / 50.0 * 0.3, 1e-14);
    EXPECT_NEAR(s->runoffLoad[0], 30.0 / 50.0 * 0.3, 1e-14);
}

TEST_F(WashRainTest, InfiltrationOfLidUnitsIsNotItsOwn) {
    volumes.infil = 10.0;
    volumes.lidInfil = 4.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->infilLoss[0], 6.0 / 50.0 * 0.3, 1e-14);
}

TEST_F(WashRainTest, TreatmentTakesItsShareOfWhatLeaves) {
    Landuses[0].washoff[0].removal = 0.5;
    Landuses[1].washoff[0].removal = 0.5;
    s->landShares[1].fraction = -0.6;  // a negative share lowers it
    volumes.surfaceOutflow = 25.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->bmpRemoval[0], 0.2 * 0.15, 1e-14);
    EXPECT_NEAR(s->runoffLoad[0], 0.8 * 0.15, 1e-14);
}

TEST_F(WashRainTest, TreatmentIsThatOfThePollutant) {
    Polluts[1].rainConcentration = 10.0;
    Landuses[0].washoff[0].removal = 0.0;
    Landuses[0].washoff[1].removal = 0.5;
    volumes.surfaceOutflow = 25.0;  // half the water, with half of 0.3 kg each
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->runoffLoad[0], 0.15, 1e-14);
    EXPECT_EQ(s->bmpRemoval[0], 0.0);
    EXPECT_NEAR(s->runoffLoad[1], 0.5 * 0.15, 1e-14);
    EXPECT_NEAR(s->bmpRemoval[1], 0.5 * 0.15, 1e-14);
}

TEST_F(WashRainTest, WithoutWaterThePondedMassIsDropped) {
    volumes.wetInflow = 0.0;
    s->rain = 0.0;
    s->pondedMass[0] = 5.0;
    s->pondedMass[1] = 3.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_EQ(s->pondedMass[0], 0.0);
    EXPECT_EQ(s->pondedMass[1], 0.0) << "of each pollutant";
    EXPECT_EQ(s->wetDeposition[0], 0.0);
    EXPECT_EQ(s->infilLoss[0], 0.0);
    EXPECT_EQ(s->runoffLoad[0], 0.0);
}

TEST_F(WashRainTest, WithoutWaterTheDepositionIsStillBooked) {
    volumes.wetInflow = 0.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->wetDeposition[0], 0.3, 1e-14);
}

TEST_F(WashRainTest, WhollyCoveredByLidUnitsNothingHappens) {
    s->lidArea = s->area;
    s->pondedMass[0] = 5.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_EQ(s->pondedMass[0], 5.0);
    EXPECT_EQ(s->wetDeposition[0], 0.0);
}

TEST_F(WashRainTest, AreaSetBelowItsLidUnitsLowersTheDeposition) {
    s->lidArea = 3.0 * s->area;
    volumes.wetInflow = 0.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_NEAR(s->wetDeposition[0], -0.6, 1e-14);
}

TEST_F(WashRainTest, OtherPollutantsAreCleanRain) {
    volumes.surfaceOutflow = 25.0;
    washoff_washRain(*s, volumes, STEP);
    EXPECT_EQ(s->wetDeposition[1], 0.0);
    EXPECT_EQ(s->runoffLoad[1], 0.0);
}

}  // namespace
