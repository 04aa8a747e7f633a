// Pollutants in LID units: layer by layer with and without water, and the differences between the types.

#include <algorithm>
#include <cmath>

#include "support/lidunits.h"
#include "support/model.h"

namespace {

// Masses in kg, volumes in m3, areas in m2; a concentration of 1 mg/L is 1e-3 kg/m3.

class QualityTest : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        setPollutants(1);
        setSoil(0.5, 0.5, 0.2, 0.1, 1e-5, 10.0);
        setStorage(0.4, 0.5, 0.0);
    }

    /// A step of 100 s with 1 kg/s into 100 m2.
    void beginStep(int32_t type) {
        lid.type = type;
        load[0] = 1.0;
        begin(100.0, 1e-3);
    }
};

// --- dry layers ----------------------------------------------------------------------------------------------------

TEST_F(QualityTest, DryLayersPassTheLoadToSeepageAndDrain) {
    beginStep(LID_BC);
    fluxes.surfaceInfil = 0.0;  // not even moving water is asked for
    fluxes.storageExfil = 3e-5;
    fluxes.storageDrain = 1e-5;
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.inflowLoad[0], 100.0);
    EXPECT_NEAR(unit.drainOutLoad[0], 25.0, 1e-12);
    EXPECT_NEAR(unit.thisDrainLoad[0], 0.25, 1e-14);
    EXPECT_NEAR(unit.exfilLoad[0], 75.0, 1e-12);
    EXPECT_EQ(unit.thisSurfaceLoad[0], 0.0);
    EXPECT_EQ(unit.finalLoad[0], 0.0);
}

TEST_F(QualityTest, DryStorageWithoutOutflowLosesTheLoad) {
    beginStep(LID_BC);
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.inflowLoad[0], 100.0);
    EXPECT_EQ(unit.drainOutLoad[0] + unit.exfilLoad[0] + unit.surfaceOutLoad[0] + unit.finalLoad[0], 0.0);
    EXPECT_EQ(unit.thisDrainLoad[0], 0.0);
}

TEST_F(QualityTest, DryMatGivesAllToItsDrainEvenWithoutFlow) {
    beginStep(LID_GR);
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.drainOutLoad[0], 100.0);
    EXPECT_EQ(unit.thisDrainLoad[0], 1.0);
}

TEST_F(QualityTest, LayerOfExactlyTheLimitIsDry) {
    unit.area = 1.0;
    setLevels({0.01, 0.0, 0.0, 0.0});
    unit.lastSurfaceMass[0] = 5.0;
    beginStep(LID_IT);
    fluxes.storageExfil = 1e-5;
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.exfilLoad[0], 100.0) << "what arrives; what stood there is gone";
    EXPECT_EQ(unit.thisSurfaceMass[0], 0.0);
}

TEST_F(QualityTest, StorageOfExactlyTheLimitIsDry) {
    unit.area = 1.0;
    setStorage(0.4, 1.0, 0.0);
    setLevels({0.0, 0.0, 0.01, 0.0});
    unit.lastStorageMass[0] = 5.0;
    beginStep(LID_IT);
    fluxes.storageExfil = 1e-5;
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.exfilLoad[0], 100.0) << "what arrives; what stood there is gone";
    EXPECT_EQ(unit.thisStorageMass[0], 0.0);
}

// --- wet layers ----------------------------------------------------------------------------------------------------

TEST_F(QualityTest, SurfaceMixesAndPassesWhatStoodThere) {
    lid.surfaceVoid = 0.5;
    setLevels({0.2, 0.0, 0.0, 0.0});  // 10 m3
    unit.lastSurfaceMass[0] = 2.0;    // 200 mg/L
    beginStep(LID_IT);
    fluxes.surfaceInfil = 1e-4;    // 1 m3 in the step
    fluxes.surfaceOutflow = 2e-4;  // 2 m3
    fluxes.storageExfil = 1.0;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.exfilLoad[0], 0.2, 1e-14) << "to the dry storage";
    const double left = 2.0 + 100.0 - 0.2 - 0.4;
    EXPECT_NEAR(unit.thisSurfaceMass[0], left, 1e-12);
    EXPECT_NEAR(unit.surfaceOutLoad[0], 2.0 * left / 10.0, 1e-12) << "at the concentration after the mixing";
    EXPECT_NEAR(unit.thisSurfaceLoad[0], 0.02 * left / 10.0, 1e-13);
    EXPECT_NEAR(unit.finalLoad[0], left, 1e-12);
}

TEST_F(QualityTest, SoilHoldsWhatThePercolationLeaves) {
    setLevels({0.0, 0.4, 0.0, 0.0});  // 20 m3
    unit.lastSoilMass[0] = 4.0;
    beginStep(LID_BC);
    fluxes.soilPerc = 1e-4;  // 1 m3
    fluxes.storageDrain = 1e-4;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisSoilMass[0], 100.0 + 4.0 - 0.2, 1e-12);
    EXPECT_NEAR(unit.drainOutLoad[0], 0.2, 1e-14);
}

TEST_F(QualityTest, StorageGivesSeepageAndDrainTheirShares) {
    setLevels({0.0, 0.0, 0.2, 0.0});  // 10 m3
    unit.lastStorageMass[0] = 3.0;
    beginStep(LID_BC);
    fluxes.storageExfil = 1e-4;  // 1 m3
    fluxes.storageDrain = 2e-4;  // 2 m3
    lidquality_advance(testModel(), fluxes);
    const double left = 3.0 + 100.0 - 0.3 - 0.6;
    EXPECT_NEAR(unit.thisStorageMass[0], left, 1e-12);
    EXPECT_NEAR(unit.exfilLoad[0], left / 10.0, 1e-12);
    EXPECT_NEAR(unit.drainOutLoad[0], 2.0 * left / 10.0, 1e-12);
    EXPECT_NEAR(unit.thisDrainLoad[0], 0.02 * left / 10.0, 1e-13);
}

TEST_F(QualityTest, MoreWaterOutThanInLeavesNoNegativeMass) {
    setLevels({0.0, 0.0, 0.2, 0.0});
    unit.lastStorageMass[0] = 3.0;
    beginStep(LID_BC);
    load[0] = 0.0;
    fluxes.storageDrain = 2e-3;  // 20 m3 of the 10 there
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.thisStorageMass[0], 0.0);
    EXPECT_EQ(unit.drainOutLoad[0], 0.0);
}

TEST_F(QualityTest, LayersReactByTheirOwnRules) {
    lid.pavementDepth = 0.1;
    lid.pavementVoid = 0.5;
    setLevels({0.1, 0.4, 0.2, 0.1});
    unit.lastSurfaceMass[0] = 1.0;
    unit.lastPavementMass[0] = 2.0;
    unit.lastSoilMass[0] = 3.0;
    unit.lastStorageMass[0] = 4.0;
    lid.surfaceDecay[0] = {FIRST_ORDER, -1, 0.01, 0.0, 1.0};
    lid.pavementDecay[0] = {FIRST_ORDER, -1, 0.02, 0.0, 1.0};
    lid.soilDecay[0] = {FIRST_ORDER, -1, 0.03, 0.0, 1.0};
    lid.storageDecay[0] = {FIRST_ORDER, -1, 0.04, 0.0, 1.0};
    beginStep(LID_PP);
    load[0] = 0.0;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisSurfaceMass[0], 1.0 * std::exp(-1.0), 1e-14);
    EXPECT_NEAR(unit.thisPavementMass[0], 2.0 * std::exp(-2.0), 1e-14);
    EXPECT_NEAR(unit.thisSoilMass[0], 3.0 * std::exp(-3.0), 1e-14);
    EXPECT_NEAR(unit.thisStorageMass[0], 4.0 * std::exp(-4.0), 1e-14);
    const double left = std::exp(-1.0) + 2.0 * std::exp(-2.0) + 3.0 * std::exp(-3.0) + 4.0 * std::exp(-4.0);
    EXPECT_NEAR(unit.reactedLoad[0], 10.0 - left, 1e-13);
    EXPECT_NEAR(unit.finalLoad[0], left, 1e-13);
}

TEST_F(QualityTest, PavementPassesToItsSoil) {
    lid.pavementDepth = 0.1;
    lid.pavementVoid = 0.5;
    setLevels({0.0, 0.4, 0.0, 0.1});  // 5 m3 in the pavement, 20 in the soil
    unit.lastPavementMass[0] = 2.0;
    beginStep(LID_PP);
    fluxes.pavementPerc = 1e-4;  // 1 m3
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisPavementMass[0], 102.0 - 0.4, 1e-12);
    EXPECT_NEAR(unit.thisSoilMass[0], 0.4, 1e-14);
}

TEST_F(QualityTest, PavementWithoutSoilPassesToItsStorage) {
    setSoil(0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
    lid.pavementDepth = 0.1;
    lid.pavementVoid = 0.5;
    setLevels({0.0, 0.0, 0.2, 0.1});
    unit.lastPavementMass[0] = 2.0;
    beginStep(LID_PP);
    fluxes.pavementPerc = 1e-4;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisStorageMass[0], 0.4, 1e-14);
    EXPECT_EQ(unit.thisSoilMass[0], 0.0);
}

TEST_F(QualityTest, TrenchHasNoSoil) {
    setLevels({0.0, 0.4, 0.2, 0.0});
    beginStep(LID_IT);
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.thisSoilMass[0], 0.0);
    EXPECT_NEAR(unit.thisStorageMass[0], 100.0, 1e-12);
}

TEST_F(QualityTest, SteadyColumnKeepsItsMass) {
    // Each layer at 100 mg/L, and 100 mg/L coming with the water that passes: nothing changes, and all that comes
    // leaves.
    lid.type = LID_BC;
    setLevels({0.1, 0.4, 0.2, 0.0});
    unit.lastSurfaceMass[0] = 1.0;
    unit.lastSoilMass[0] = 2.0;
    unit.lastStorageMass[0] = 1.0;
    load[0] = 1e-4 * 100.0 * 0.1;
    begin(100.0, 1e-4);
    fluxes.surfaceInfil = 6e-5;
    fluxes.surfaceOutflow = 4e-5;
    fluxes.soilPerc = 6e-5;
    fluxes.storageExfil = 2e-5;
    fluxes.storageDrain = 4e-5;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisSurfaceMass[0], 1.0, 1e-14);
    EXPECT_NEAR(unit.thisSoilMass[0], 2.0, 1e-14);
    EXPECT_NEAR(unit.thisStorageMass[0], 1.0, 1e-14);
    EXPECT_NEAR(unit.surfaceOutLoad[0] + unit.exfilLoad[0] + unit.drainOutLoad[0], unit.inflowLoad[0], 1e-14);
}

TEST_F(QualityTest, OutflowIsBookedAtTheConcentrationBehindTheStep) {
    // The mass leaves at the old concentration and is booked at the new one: the balance is off by the difference.
    setLevels({0.0, 0.0, 0.2, 0.0});  // 10 m3, clean
    beginStep(LID_BC);
    fluxes.storageDrain = 1e-4;  // 1 m3
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisStorageMass[0], 100.0, 1e-12);
    EXPECT_NEAR(unit.finalLoad[0] + unit.drainOutLoad[0] - unit.inflowLoad[0], 100.0 / 10.0, 1e-12);
}

TEST_F(QualityTest, PollutantsDoNotMix) {
    setPollutants(2);
    setLevels({0.0, 0.0, 0.2, 0.0});
    unit.lastStorageMass[0] = 3.0;
    unit.lastStorageMass[1] = 5.0;
    lid.storageDecay[1] = {FIRST_ORDER, -1, 0.01, 0.0, 1.0};
    lid.type = LID_BC;
    begin(100.0, 0.0);
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisStorageMass[0], 3.0, 1e-14);
    EXPECT_NEAR(unit.thisStorageMass[1], 5.0 * std::exp(-1.0), 1e-14);
}

TEST_F(QualityTest, WithoutPollutantsNothingIsTouched) {
    setPollutants(0);
    lid.type = LID_BC;
    begin(100.0, 0.0);
    lidquality_advance(testModel(), fluxes);
    SUCCEED();
}

// --- barrel --------------------------------------------------------------------------------------------------------

TEST_F(QualityTest, BarrelTakesItsShareAndSpillsTheRest) {
    setStorage(1.0, 1.0, 0.0);
    setLevels({0.0, 0.0, 0.5, 0.0});  // 50 m3
    unit.lastStorageMass[0] = 5.0;
    beginStep(LID_RB);
    fluxes.storageInflow = 2.5e-4;
    fluxes.surfaceOutflow = 7.5e-4;
    fluxes.storageDrain = 1e-4;  // 1 m3
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.surfaceOutLoad[0], 75.0, 1e-12);
    EXPECT_NEAR(unit.thisSurfaceLoad[0], 0.75, 1e-14);
    const double left = 5.0 + 25.0 - 0.1;
    EXPECT_NEAR(unit.thisStorageMass[0], left, 1e-12);
    EXPECT_NEAR(unit.drainOutLoad[0], left / 50.0, 1e-13);
    EXPECT_EQ(unit.thisSurfaceMass[0], 0.0);
}

TEST_F(QualityTest, EmptyBarrelPassesTheLoadToItsDrain) {
    beginStep(LID_RB);
    fluxes.storageInflow = 1e-3;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.drainOutLoad[0], 100.0, 1e-12);
    EXPECT_NEAR(unit.thisDrainLoad[0], 1.0, 1e-14);
    EXPECT_EQ(unit.thisStorageMass[0], 0.0);
}

TEST_F(QualityTest, BarrelOfExactlyTheLimitIsEmpty) {
    unit.area = 1.0;
    setStorage(0.4, 1.0, 0.0);
    setLevels({0.0, 0.0, 0.01, 0.0});
    unit.lastStorageMass[0] = 5.0;
    beginStep(LID_RB);
    fluxes.storageInflow = 1e-3;  // all that comes
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.drainOutLoad[0], 100.0, 1e-12) << "what arrives; what stood there is gone";
    EXPECT_EQ(unit.thisStorageMass[0], 0.0);
}

TEST_F(QualityTest, BarrelLosesTheLoadOfATrickle) {
    lid.type = LID_RB;
    load[0] = 1.0;
    begin(100.0, 1e-6);  // 0.01 m3 in the step, no more than the limit
    fluxes.storageInflow = 5e-7;
    fluxes.surfaceOutflow = 5e-7;
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.surfaceOutLoad[0] + unit.drainOutLoad[0] + unit.thisSurfaceLoad[0], 0.0);
    EXPECT_NEAR(unit.thisDrainLoad[0], 0.5, 1e-14) << "the drain of an empty barrel is handed on all the same";
}

TEST_F(QualityTest, BarrelWithoutInflowHasNoLoads) {
    lid.type = LID_RB;
    load[0] = 1.0;
    begin(100.0, 0.0);
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.thisDrainLoad[0], 0.0);
    EXPECT_EQ(unit.thisSurfaceLoad[0], 0.0);
}

// --- swale ---------------------------------------------------------------------------------------------------------

TEST_F(QualityTest, SwaleSeepsFromItsSurface) {
    lid.surfaceVoid = 0.5;
    setLevels({0.2, 0.0, 0.0, 0.0});  // 10 m3, by level and void, not by the shape of the channel
    unit.lastSurfaceMass[0] = 2.0;
    beginStep(LID_VS);
    fluxes.storageExfil = 1e-4;
    fluxes.surfaceOutflow = 2e-4;
    lidquality_advance(testModel(), fluxes);
    const double left = 102.0 - 0.2 - 0.4;
    EXPECT_NEAR(unit.thisSurfaceMass[0], left, 1e-12);
    EXPECT_NEAR(unit.exfilLoad[0], left / 10.0, 1e-12);
    EXPECT_NEAR(unit.surfaceOutLoad[0], 2.0 * left / 10.0, 1e-12);
    EXPECT_NEAR(unit.finalLoad[0], left, 1e-12);
}

TEST_F(QualityTest, DrySwaleLosesTheLoad) {
    beginStep(LID_VS);
    fluxes.storageExfil = 1e-4;
    fluxes.surfaceOutflow = 2e-4;
    lidquality_advance(testModel(), fluxes);
    EXPECT_EQ(unit.inflowLoad[0], 100.0);
    EXPECT_EQ(unit.exfilLoad[0] + unit.surfaceOutLoad[0] + unit.finalLoad[0] + unit.thisSurfaceLoad[0], 0.0);
}

TEST_F(QualityTest, SwaleReactsByTheRuleOfItsSurface) {
    setLevels({0.2, 0.0, 0.0, 0.0});
    unit.lastSurfaceMass[0] = 2.0;
    lid.surfaceDecay[0] = {FIRST_ORDER, -1, 0.01, 0.0, 1.0};
    beginStep(LID_VS);
    load[0] = 0.0;
    lidquality_advance(testModel(), fluxes);
    EXPECT_NEAR(unit.thisSurfaceMass[0], 2.0 * std::exp(-1.0), 1e-14);
    EXPECT_NEAR(unit.reactedLoad[0], 2.0 - 2.0 * std::exp(-1.0), 1e-14);
}

// --- several pollutants --------------------------------------------------------------------------------------------

/// The arrays of a unit, one number per pollutant.
constexpr double* LidUnit::*Arrays[] = {
    &LidUnit::thisSurfaceMass, &LidUnit::thisPavementMass, &LidUnit::thisSoilMass, &LidUnit::thisStorageMass,
    &LidUnit::thisSurfaceLoad, &LidUnit::thisDrainLoad,    &LidUnit::inflowLoad,   &LidUnit::exfilLoad,
    &LidUnit::surfaceOutLoad,  &LidUnit::drainOutLoad,     &LidUnit::finalLoad,    &LidUnit::reactedLoad,
};

class ManyPollutants : public QualityTest, public testing::WithParamInterface<int32_t> {
protected:
    /// A step of `count` pollutants, of which the first is number `first`; they react in some layers.
    void stepSome(int32_t type, double level, int32_t first, int32_t count) {
        setPollutants(count);
        lid.pavementDepth = 0.1;
        lid.surfaceVoid = lid.pavementVoid = 0.5;
        setLevels({level, 0.3 * level, 2.0 * level, level});
        for (int32_t k = 0; k < count; ++k) {
            const size_t p = static_cast<size_t>(k);
            const double size = first + k + 1.0;
            unit.lastSurfaceMass[p] = 0.3 / size;
            unit.lastPavementMass[p] = 0.7 * size;
            unit.lastSoilMass[p] = 1.1 / size;
            unit.lastStorageMass[p] = 0.9 * size;
            load[p] = 1e-3 * size;
            if ((first + k) % 2 == 0) {
                lid.soilDecay[p] = lid.surfaceDecay[p] = {FIRST_ORDER, -1, 1e-5 * size, 0.0, 1.0};
                lid.storageDecay[p] = {ZERO_ORDER, -1, 1e-4 * size, 0.0, 1.0};
            }
        }
        lid.type = type;
        begin(100.0, 3e-4);
        fluxes.surfaceInfil = 1e-4;
        fluxes.surfaceOutflow = 2e-4;
        fluxes.pavementPerc = 8e-5;
        fluxes.soilPerc = 7e-5;
        fluxes.storageInflow = 6e-5;
        fluxes.storageExfil = 5e-5;
        fluxes.storageDrain = 4e-5;
        lidquality_advance(testModel(), fluxes);
    }
};

TEST_P(ManyPollutants, GoThroughAsEachDoesAlone) {
    for (int32_t type = LID_BC; type <= LID_VS; ++type) {
        for (const double level : {0.0, 0.2}) {
            stepSome(type, level, 0, GetParam());
            std::vector<std::vector<double>> together;
            for (double* LidUnit::*array : Arrays) {
                together.emplace_back(unit.*array, unit.*array + GetParam());
            }
            for (int32_t p = 0; p < GetParam(); ++p) {
                stepSome(type, level, p, 1);
                for (size_t k = 0; k < std::size(Arrays); ++k) {
                    EXPECT_EQ(together[k][static_cast<size_t>(p)], (unit.*Arrays[k])[0])
                        << "type " << type << ", level " << level << ", pollutant " << p << ", array " << k;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, ManyPollutants, testing::Range(2, 10));

}  // namespace
