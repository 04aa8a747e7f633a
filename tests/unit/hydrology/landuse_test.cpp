// Land uses: their lines, and buildup on its curve.

#include "hydrology/landuse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "hydrology/runoff.h"
#include "support/landuse.h"
#include "support/model.h"

namespace {

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(LanduseTest, LinesFillTheirRecords) {
    ASSERT_EQ(openWith("[COVERAGES]\nS Road 30\nS Roof 70\n"
                       "[BUILDUP]\nRoof A 12 0.4\nRoad B 3 0.1\n"
                       "[WASHOFF]\nRoof A EXP 0.5 1.5 0.25\nRoad A emc 40 no 0.5\nRoad B EMC 20 YES 2\n"
                       "[LOADINGS]\nS B 7.5\n"),
              0);
    const Model& model = testModel();
    EXPECT_STREQ(model.landuses[0].name, "Roof");
    const Subcatch& s = model.subcatches[0];
    EXPECT_DOUBLE_EQ(s.landShares[0].fraction, 0.7);
    EXPECT_DOUBLE_EQ(s.landShares[1].fraction, 0.3);
    EXPECT_EQ(model.landuses[0].buildup[0].maxBuildup, 12.0);
    EXPECT_EQ(model.landuses[0].buildup[0].rateConstant, 0.4);
    EXPECT_EQ(model.landuses[0].buildup[1].maxBuildup, 0.0);
    EXPECT_EQ(model.landuses[1].buildup[1].maxBuildup, 3.0);
    const WashoffRule& exponential = model.landuses[0].washoff[0];
    EXPECT_EQ(exponential.kind, WASHOFF_EXP);
    EXPECT_EQ(exponential.coefficient, 0.5);
    EXPECT_EQ(exponential.exponent, 1.5);
    EXPECT_EQ(exponential.removal, 0.25);
    EXPECT_EQ(exponential.usesBuildup, 1);
    const WashoffRule& free = model.landuses[1].washoff[0];
    EXPECT_EQ(free.kind, WASHOFF_EMC);
    EXPECT_EQ(free.emc, 40.0);
    EXPECT_EQ(free.usesBuildup, 0);
    EXPECT_EQ(model.landuses[1].washoff[1].usesBuildup, 1);
    EXPECT_EQ(model.landuses[1].washoff[1].removal, 2.0) << "not limited to the whole";
    EXPECT_EQ(s.initialLoad[0], 0.0);
    EXPECT_EQ(s.initialLoad[1], 7.5);
}

TEST_F(LanduseTest, LastLineOfAPairWins) {
    ASSERT_EQ(openWith("[COVERAGES]\nS Road 30\nS Road -5\n[BUILDUP]\nRoof A 12 0.4\nRoof A 1 2\n"
                       "[LOADINGS]\nS B 7\nS B 8\n"),
              0);
    EXPECT_DOUBLE_EQ(testModel().subcatches[0].landShares[1].fraction, -0.05) << "a negative share is legal";
    EXPECT_EQ(testModel().landuses[0].buildup[0].maxBuildup, 1.0);
    EXPECT_EQ(testModel().subcatches[0].initialLoad[1], 8.0);
}

TEST_F(LanduseTest, WashoffLineOverwritesOnlyWhatItReads) {
    ASSERT_EQ(openWith("[WASHOFF]\nRoof A EXP 1 2 0.25\nRoof A EMC 40 NO 0.5\n"
                       "Road A EMC 40 NO 0.5\nRoad A DRAINMAT 1 2 3\nRoad B EMC 9 NO 0.1\nRoad B EXP 1 2 0.3\n"),
              0);
    const WashoffRule& roof = testModel().landuses[0].washoff[0];
    EXPECT_EQ(roof.kind, WASHOFF_EMC);
    EXPECT_EQ(roof.coefficient, 1.0);
    EXPECT_EQ(roof.exponent, 2.0);
    EXPECT_EQ(roof.removal, 0.5);
    EXPECT_EQ(roof.usesBuildup, 0);
    const WashoffRule& road = testModel().landuses[1].washoff[0];
    EXPECT_EQ(road.kind, WASHOFF_DRAINMAT);
    EXPECT_EQ(road.emc, 40.0);
    EXPECT_EQ(road.removal, 0.5);
    EXPECT_EQ(testModel().landuses[1].washoff[1].emc, 9.0);
    EXPECT_EQ(testModel().landuses[1].washoff[1].usesBuildup, 1);
}

TEST_F(LanduseTest, LaterWordsOfWashoffAreInTheirOrder) {
    ASSERT_EQ(openWith("[WASHOFF]\nRoof A SURFACE x y z\nRoof B SOIL 0 0 0\nRoad A STORAGE 0 0 0\n"
                       "Road B PAVEMENT 0 0 0\n"),
              0);
    EXPECT_EQ(testModel().landuses[0].washoff[0].kind, 2);
    EXPECT_EQ(testModel().landuses[0].washoff[1].kind, 3);
    EXPECT_EQ(testModel().landuses[1].washoff[0].kind, 4);
    EXPECT_EQ(testModel().landuses[1].washoff[1].kind, 5);
    tarnvelde_close();
    project = makeLanduseProject();
    ASSERT_EQ(openWith("[WASHOFF]\nRoof A DRAINMAT 0 0 0\nRoof B drain 0 0 0\n"), 0);
    EXPECT_EQ(testModel().landuses[0].washoff[0].kind, 6);
    EXPECT_EQ(testModel().landuses[0].washoff[1].kind, 7);
}

struct BadLandLine {
    const char* section;
    const char* line;
    const char* message;
};

class LanduseLineTest : public LandTest, public ::testing::WithParamInterface<BadLandLine> {};

TEST_P(LanduseLineTest, IsRefused) {
    const BadLandLine& bad = GetParam();
    LandProject project = makeLanduseProject();
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
    runToEnd();
    EXPECT_GT(testModel().subcatches[0].runoff, 0.0);
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
        EXPECT_NEAR(landuse_getBuildup(testModel().landuses[0].buildup[0], 2.5, 0.0, days * DAY), 2.5 * curve(days),
                    1e-12);
    }
}

TEST_F(BuildupTest, GoesOnFromWhatIsThere) {
    double mass = 0.0;
    for (int32_t k = 0; k < 100; ++k) {
        mass = landuse_getBuildup(testModel().landuses[0].buildup[0], 2.5, mass, 0.1 * DAY);
    }
    EXPECT_NEAR(mass, 2.5 * curve(10.0), 1e-10);
}

TEST_F(BuildupTest, StandsAtTheLimitFrom999PermilleOn) {
    const double full = std::log(1000.0) / 0.4;  // days
    EXPECT_LT(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 0.0, (full - 0.001) * DAY), 12.0);
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 0.0, (full + 0.001) * DAY), 12.0);
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 11.999, 1.0), 12.0);
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 50.0, 1.0), 12.0)
        << "what stands above falls to the limit here";
}

TEST_F(BuildupTest, WithoutTimeStaysAndWithoutAreaIsNone) {
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 5.0, 0.0), 5.0);
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 0.0, 5.0, 0.0), 5.0);
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 0.0, 5.0, DAY), 0.0);
}

TEST_F(BuildupTest, WithoutARateItStaysEmptyAndJumpsFromAnythingElse) {
    testModel().landuses[0].buildup[0].rateConstant = 0.0;
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 0.0, DAY), 0.0);
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[0].buildup[0], 1.0, 1.0, DAY), 12.0);
}

TEST_F(BuildupTest, PairWithoutALineBuildsUpNothing) {
    EXPECT_EQ(landuse_getBuildup(testModel().landuses[1].buildup[1], 1.0, 0.0, DAY), 0.0);
}

class DryTest : public LanduseTest {};

TEST_F(DryTest, StartHoldsTheBuildupOfTheDryDays) {
    project.general = "START_DRY_DAYS 5\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 40\nS Road 60\n[BUILDUP]\nRoof A 12 0.4\nRoad A 3 0.1\n"
                        "[WASHOFF]\nRoof A EXP 1 1 0\n"),
              0);
    const Subcatch& s = testModel().subcatches[0];
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
    const Subcatch& s = testModel().subcatches[0];
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
    runToEnd();
    const Subcatch& s = testModel().subcatches[0];
    const double roof = 0.4 * 12.0 * (1.0 - std::exp(-0.4 * 0.25));
    EXPECT_NEAR(s.landShares[0].buildup[0], roof, 1e-10);
    EXPECT_NEAR(s.landShares[1].buildup[0], 0.6 * 3.0 * (1.0 - std::exp(-0.1 * 0.25)), 1e-10);
    EXPECT_NEAR(s.surfaceBuildup[0], roof, 1e-10);
}

TEST_F(DryTest, BuildupNeverFallsInTheRun) {
    project.series = "T 0:00 0\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n[BUILDUP]\nRoof A 12 0.4\n[LOADINGS]\nS A 50\n"), 0);
    runToEnd();
    EXPECT_EQ(testModel().subcatches[0].landShares[0].buildup[0], 50.0);
}

TEST_F(DryTest, NegativeShareRisesToItsNegativeLimit) {
    project.series = "T 0:00 0\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof -10\n[BUILDUP]\nRoof A 12 0.4\n[LOADINGS]\nS A 50\n"
                        "[WASHOFF]\nRoof A EXP 1 1 0\n"),
              0);
    runToEnd();
    // A tenth of a hectare, taken off: 50 kg/ha at the start, 12 kg/ha from the first dry step on.
    const Subcatch& s = testModel().subcatches[0];
    EXPECT_NEAR(s.initBuildup[0], -0.1 * 50.0, 1e-12);
    EXPECT_NEAR(s.landShares[0].buildup[0], -0.1 * 12.0, 1e-12);
    EXPECT_NEAR(s.surfaceBuildup[0], -0.1 * 12.0 + 0.1 * 50.0, 1e-12) << "the rise counts as built up";
}

TEST_F(DryTest, LandUseWithoutAShareStaysEmpty) {
    project.general = "START_DRY_DAYS 5\n";
    ASSERT_EQ(startWith("[BUILDUP]\nRoof B 12 0.4\n[WASHOFF]\nRoof B EMC 10 NO 0\n"), 0);
    runToEnd();
    EXPECT_EQ(testModel().subcatches[0].landShares[0].buildup[1], 0.0);
    EXPECT_EQ(testModel().subcatches[0].surfaceWashoff[1], 0.0);
}

TEST_F(DryTest, WetStepsDoNotBuildUp) {
    project.series = "T 0:00 0\nT 1:00 60\n";
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n[BUILDUP]\nRoof A 12 0.4\n"), 0);
    testModel().subcatches[0].imperviousDepth = 0.02;  // runs off all the time
    for (int32_t k = 0; k < 10; ++k) {
        tarnvelde_step(nullptr);
    }
    EXPECT_EQ(testModel().subcatches[0].landShares[0].buildup[0], 0.0);
}

}  // namespace
