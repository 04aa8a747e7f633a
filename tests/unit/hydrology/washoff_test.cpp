// Washoff of land uses by its laws, and the way of what rain brings.

#include "hydrology/washoff.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "hydrology/runoff.h"
#include "support/landuse.h"
#include "support/model.h"

namespace {

// --- washoff of the land -------------------------------------------------------------------------------------------

/// 1 ha, all of it roof, at a runoff of 36 mm/h, for a minute; every array of the step empty.
class WashLandTest : public LanduseTest {
protected:
    static constexpr double RATE = 1e-5, STEP = 60.0;

    void SetUp() override {
        ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n"), 0);
        s = &testModel().subcatches[0];
        s->thisRunoff = RATE * s->area;
        rule = &testModel().landuses[0].washoff[0];
        buildup = &s->landShares[0].buildup[0];
        *buildup = 20.0;
    }

    void wash() { washoff_washLand(testModel(), *s, RATE, STEP); }

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

class WashoffTest : public LanduseTest {};

TEST_F(WashoffTest, OtherKindBehindAnEventMeanLineWashesOffAtItsConcentration) {
    // B, which clean rain doesn't bring.
    ASSERT_EQ(startWith("[COVERAGES]\nS Roof 100\n[LOADINGS]\nS B 20\n"
                        "[WASHOFF]\nRoof B EMC 50 YES 0\nRoof B SOIL 0 0 0\n"),
              0);
    Subcatch& s = testModel().subcatches[0];
    s.imperviousDepth = 0.02;  // runs off
    runoff_advance(testModel());
    ASSERT_GT(s.thisRunoff, 0.0);
    EXPECT_NEAR(s.thisQuality[1], 50.0, 1e-10);
    EXPECT_NEAR(s.landShares[0].buildup[1], 20.0 - 0.05 * s.thisRunoff * testModel().options.runoffStep, 1e-12)
        << "and takes it from there";
}

TEST_F(WashLandTest, TrickleWashesNothing) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 1};
    washoff_washLand(testModel(), *s, 7.0e-10, STEP);
    EXPECT_EQ(s->runoffLoad[0], 0.0);
    washoff_washLand(testModel(), *s, 7.056e-10, STEP);
    EXPECT_GT(s->runoffLoad[0], 0.0) << "at the limit it does";
}

TEST_F(WashLandTest, NegativeShareWashesNothing) {
    *rule = {WASHOFF_EMC, 0.0, 0.0, 50.0, 0.0, 1};
    s->landShares[0].fraction = -1.0;
    wash();
    EXPECT_EQ(s->runoffLoad[0], 0.0);
}

TEST_F(WashLandTest, PollutantsWithTheSameAndOtherExponentsKeepTheirOwnPower) {
    testModel().landuses[0].washoff[0] = {WASHOFF_EXP, 0.01, 2.0, 0.0, 0.0, 1};
    testModel().landuses[0].washoff[1] = {WASHOFF_EXP, 0.01, 1.0, 0.0, 0.0, 1};
    testModel().landuses[1].washoff[0] = {WASHOFF_EXP, 0.01, 0.0, 0.0, 0.0, 1};
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
        s = &testModel().subcatches[0];
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
    washoff_washRain(testModel(), *s, volumes, STEP);
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
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_NEAR(s->infilLoss[0], 0.3, 1e-14);
    EXPECT_EQ(s->runoffLoad[0], 0.0);
    volumes.infil = 20.0;
    s->infilLoss[0] = 0.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_NEAR(s->infilLoss[0], 20.0 / 50.0 * 0.3, 1e-14);
    EXPECT_NEAR(s->runoffLoad[0], 30.0 / 50.0 * 0.3, 1e-14);
}

TEST_F(WashRainTest, InfiltrationOfLidUnitsIsNotItsOwn) {
    volumes.infil = 10.0;
    volumes.lidInfil = 4.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_NEAR(s->infilLoss[0], 6.0 / 50.0 * 0.3, 1e-14);
}

TEST_F(WashRainTest, TreatmentTakesItsShareOfWhatLeaves) {
    testModel().landuses[0].washoff[0].removal = 0.5;
    testModel().landuses[1].washoff[0].removal = 0.5;
    s->landShares[1].fraction = -0.6;  // a negative share lowers it
    volumes.surfaceOutflow = 25.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_NEAR(s->bmpRemoval[0], 0.2 * 0.15, 1e-14);
    EXPECT_NEAR(s->runoffLoad[0], 0.8 * 0.15, 1e-14);
}

TEST_F(WashRainTest, TreatmentIsThatOfThePollutant) {
    testModel().polluts[1].rainConcentration = 10.0;
    testModel().landuses[0].washoff[0].removal = 0.0;
    testModel().landuses[0].washoff[1].removal = 0.5;
    volumes.surfaceOutflow = 25.0;  // half the water, with half of 0.3 kg each
    washoff_washRain(testModel(), *s, volumes, STEP);
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
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_EQ(s->pondedMass[0], 0.0);
    EXPECT_EQ(s->pondedMass[1], 0.0) << "of each pollutant";
    EXPECT_EQ(s->wetDeposition[0], 0.0);
    EXPECT_EQ(s->infilLoss[0], 0.0);
    EXPECT_EQ(s->runoffLoad[0], 0.0);
}

TEST_F(WashRainTest, WithoutWaterTheDepositionIsStillBooked) {
    volumes.wetInflow = 0.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_NEAR(s->wetDeposition[0], 0.3, 1e-14);
}

TEST_F(WashRainTest, WhollyCoveredByLidUnitsNothingHappens) {
    s->lidArea = s->area;
    s->pondedMass[0] = 5.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_EQ(s->pondedMass[0], 5.0);
    EXPECT_EQ(s->wetDeposition[0], 0.0);
}

TEST_F(WashRainTest, AreaSetBelowItsLidUnitsLowersTheDeposition) {
    s->lidArea = 3.0 * s->area;
    volumes.wetInflow = 0.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_NEAR(s->wetDeposition[0], -0.6, 1e-14);
}

TEST_F(WashRainTest, OtherPollutantsAreCleanRain) {
    volumes.surfaceOutflow = 25.0;
    washoff_washRain(testModel(), *s, volumes, STEP);
    EXPECT_EQ(s->wetDeposition[1], 0.0);
    EXPECT_EQ(s->runoffLoad[1], 0.0);
}

}  // namespace
