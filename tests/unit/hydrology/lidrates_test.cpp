// Rates of change of LID units, type by type: every case of the laws, and both sides of each limit.

#include <cmath>

#include "support/lidunits.h"

namespace {

constexpr double NEAR = 1e-14;

// --- laws that several types share ---------------------------------------------------------------------------------

class SurfaceOutflow : public UnitTest {};

TEST_F(SurfaceOutflow, IsNoneBelowTheBerm) {
    lid.surfaceDepth = 0.2;
    lid.surfaceAlpha = 1.0;
    unit.fullWidth = 10.0;
    begin(100.0, 0.0);
    EXPECT_EQ(lidrates_getSurfaceOutflow(fluxes, 0.1), 0.0);
    EXPECT_EQ(lidrates_getSurfaceOutflow(fluxes, 0.2), 0.0);
}

TEST_F(SurfaceOutflow, FollowsManningOverAWideBerm) {
    lid.surfaceDepth = 0.2;
    lid.surfaceAlpha = 0.5;
    unit.fullWidth = 10.0;
    begin(10.0, 0.0);
    EXPECT_NEAR(lidrates_getSurfaceOutflow(fluxes, 0.325), std::cbrt(std::pow(0.125, 5.0)) * 0.5 * 10.0 / 100.0, NEAR);
}

TEST_F(SurfaceOutflow, TakesNoMoreThanStandsAboveTheBerm) {
    lid.surfaceAlpha = 100.0;
    unit.fullWidth = 1000.0;
    begin(10.0, 0.0);
    EXPECT_NEAR(lidrates_getSurfaceOutflow(fluxes, 0.125), 0.0125, NEAR);
}

class DrainRate : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.storageDepth = 0.4;
        setDrain(36.0, 1.0, 0.0);  // 1e-5 m/s per mm of head
        begin(100.0, 0.0);
    }

    /// Head (m) that makes a rate.
    double getHead(double level, double moisture, double pavement, double surface) const {
        return lidrates_getDrain(lid, {surface, moisture, level, pavement}) / 1e-2;
    }
};

TEST_F(DrainRate, IsAPowerOfTheHeadAboveTheDrain) {
    setDrain(3600.0, 0.5, 0.1);
    EXPECT_NEAR(lidrates_getDrain(lid, {0.0, 0.0, 0.2, 0.0}), std::sqrt(100.0) * 1e-3, NEAR);
}

TEST_F(DrainRate, IsNoneAtTheHeightOfTheDrain) {
    lid.drainOffset = 0.2;
    EXPECT_EQ(lidrates_getDrain(lid, {0.0, 0.0, 0.2, 0.0}), 0.0);
    EXPECT_EQ(lidrates_getDrain(lid, {0.0, 0.0, 0.2 + 5e-11, 0.0}), 0.0);
    EXPECT_GT(lidrates_getDrain(lid, {0.0, 0.0, 0.2 + 2e-10, 0.0}), 0.0);
    EXPECT_EQ(lidrates_getDrain(lid, {0.0, 0.0, 0.1, 0.0}), 0.0);
}

TEST_F(DrainRate, LayersAboveCountOnlyOverAFullStorage) {
    setSoil(0.6, 0.5, 0.2, 0.1, 1.0, 0.0);
    EXPECT_NEAR(getHead(0.39, 0.5, 0.0, 9.0), 0.39, NEAR);
    EXPECT_NEAR(getHead(0.4, 0.5, 0.0, 9.0), 0.4 + 0.6 + 9.0, 1e-13);
}

TEST_F(DrainRate, SoilCountsFromItsFieldCapacity) {
    setSoil(0.6, 0.5, 0.2, 0.1, 1.0, 0.0);
    EXPECT_NEAR(getHead(0.4, 0.2, 0.0, 9.0), 0.4, NEAR);
    EXPECT_NEAR(getHead(0.4, 0.3, 0.0, 9.0), 0.4 + 0.1 / 0.3 * 0.6, NEAR);
}

TEST_F(DrainRate, SurfaceNeverPressesThroughPavementAndSoil) {
    setSoil(0.6, 0.5, 0.2, 0.1, 1.0, 0.0);
    lid.pavementDepth = 0.1;
    EXPECT_NEAR(getHead(0.4, 0.5, 0.1, 9.0), 0.4 + 0.6 + 0.1, 1e-13);
}

TEST_F(DrainRate, PavementWithoutSoilLetsTheSurfacePressOnceFull) {
    lid.pavementDepth = 0.1;
    EXPECT_NEAR(getHead(0.4, 0.0, 0.05, 9.0), 0.45, NEAR);
    EXPECT_NEAR(getHead(0.4, 0.0, 0.1, 9.0), 9.5, 1e-13);
}

TEST_F(DrainRate, TrenchCountsItsStorageAlone) {
    EXPECT_NEAR(getHead(0.4, 0.0, 0.0, 9.0), 0.4, NEAR);
}

// --- bio-retention cell and rain garden ----------------------------------------------------------------------------

class BioCell : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.type = LID_BC;
        lid.surfaceDepth = 0.2;
        lid.surfaceVoid = 0.8;
        setSoil(0.5, 0.5, 0.2, 0.1, 1e-4, 10.0);
        setStorage(0.4, 0.5, 2e-5);
    }

    double getPercolation(double moisture) const { return 1e-4 * std::exp(-10.0 * (0.5 - moisture)); }
};

TEST_F(BioCell, PassesWaterDownThroughLayersWithRoom) {
    begin(100.0, 1e-5, 0.0, 1e-5);
    call(lidrates_ofBioCell, {0.0, 0.3, 0.1, 0.0});
    const double percolation = getPercolation(0.3);
    EXPECT_NEAR(fluxes.soilPerc, percolation, 1e-18);
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_EQ(fluxes.storageDrain, 0.0);
    EXPECT_NEAR(rates[STATE_SURFACE], 0.0, NEAR);
    EXPECT_NEAR(rates[STATE_SOIL], (1e-5 - percolation) / 0.5, NEAR);
    EXPECT_NEAR(rates[STATE_STORAGE], (percolation - 2e-5) / 0.5, NEAR);
    EXPECT_EQ(rates[STATE_PAVEMENT], 0.0);
}

TEST_F(BioCell, VolumesAreThoseOfTheStateGiven) {
    begin(100.0, 0.0);
    call(lidrates_ofBioCell, {0.1, 0.3, 0.2, 0.0});
    EXPECT_NEAR(fluxes.surfaceVolume, 0.08, NEAR);
    EXPECT_NEAR(fluxes.soilVolume, 0.15, NEAR);
    EXPECT_NEAR(fluxes.storageVolume, 0.1, NEAR);
    EXPECT_EQ(fluxes.pavementVolume, 0.0);
}

TEST_F(BioCell, SoilAtFieldCapacityHoldsItsWater) {
    begin(100.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.2, 0.1, 0.0});
    EXPECT_EQ(fluxes.soilPerc, 0.0);
}

TEST_F(BioCell, PercolationTakesNoMoreThanStandsAboveFieldCapacity) {
    begin(1000.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.201, 0.0, 0.0});
    EXPECT_NEAR(fluxes.soilPerc, std::min(getPercolation(0.201), 0.001 * 0.5 / 1000.0), 1e-18);
    EXPECT_LT(fluxes.soilPerc, getPercolation(0.201));
}

TEST_F(BioCell, EvaporationGoesFromTheTopDown) {
    begin(100.0, 0.0, 1e-3);
    call(lidrates_ofBioCell, {0.05, 0.11, 0.1, 0.0});
    EXPECT_NEAR(fluxes.surfaceEvap, 0.05 * 0.8 / 100.0, 1e-18);
    EXPECT_NEAR(fluxes.soilEvap, 0.01 * 0.5 / 100.0, 1e-17) << "down to the wilting point";
    EXPECT_NEAR(fluxes.storageEvap, std::min(1e-3 - 4e-4 - 5e-5, 0.05 / 100.0), 1e-17);
}

TEST_F(BioCell, LowerLayersDoNotEvaporateWhileWaterInfiltrates) {
    begin(100.0, 1e-5, 1e-3, 1e-5);
    call(lidrates_ofBioCell, {0.05, 0.3, 0.1, 0.0});
    EXPECT_GT(fluxes.surfaceEvap, 0.0);
    EXPECT_EQ(fluxes.soilEvap, 0.0);
    EXPECT_EQ(fluxes.storageEvap, 0.0);
}

TEST_F(BioCell, SaturatedSoilShutsTheStorageOffFromTheAir) {
    begin(100.0, 0.0, 1e-2);
    call(lidrates_ofBioCell, {0.0, 0.5, 0.1, 0.0});
    EXPECT_GT(fluxes.soilEvap, 0.0);
    EXPECT_EQ(fluxes.storageEvap, 0.0);
}

TEST_F(BioCell, NegativeEvaporationCountsAsNone) {
    begin(100.0, 0.0, -1e-3);
    call(lidrates_ofBioCell, {0.05, 0.3, 0.1, 0.0});
    EXPECT_EQ(fluxes.surfaceEvap + fluxes.soilEvap + fluxes.storageEvap, 0.0);
}

TEST_F(BioCell, SeepageTakesNoMoreThanThereIs) {
    begin(1000.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.2, 0.02, 0.0});
    EXPECT_NEAR(fluxes.storageExfil, 0.01 / 1000.0, 1e-18);
    EXPECT_NEAR(rates[STATE_STORAGE], -0.02 / 1000.0, 1e-17);
}

TEST_F(BioCell, DrainTakesWhatStandsAboveItBehindTheSeepage) {
    setDrain(3.6e6, 0.0, 0.05);  // 1 m/s whatever the head
    begin(1000.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.2, 0.15, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 0.1 * 0.5 / 1000.0 - 2e-5, 1e-17);
}

TEST_F(BioCell, DrainOfAStorageThatIsFullTakesWhatArrivesToo) {
    setDrain(3.6e6, 0.0, 0.05);
    begin(1000.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.4, 0.4, 0.0});
    const double percolation = std::min(getPercolation(0.4), 0.2 * 0.5 / 1000.0);
    EXPECT_NEAR(fluxes.storageDrain, 0.35 * 0.5 / 1000.0 - 2e-5 + percolation, 1e-16);
}

TEST_F(BioCell, WithoutACoefficientNothingDrains) {
    setDrain(0.0, 0.5, 0.0);
    begin(1000.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.4, 0.4, 0.0});
    EXPECT_EQ(fluxes.storageDrain, 0.0);
}

TEST_F(BioCell, PercolationIsLimitedByTheRoomInTheStorage) {
    begin(100.0, 0.0);
    call(lidrates_ofBioCell, {0.0, 0.45, 0.4 - 1e-3, 0.0});
    EXPECT_NEAR(fluxes.soilPerc, std::min(getPercolation(0.45), 1e-3 * 0.5 / 100.0 + 2e-5), 1e-16);
    EXPECT_LT(fluxes.soilPerc, getPercolation(0.45));
}

TEST_F(BioCell, InfiltrationIsLimitedByTheRoomInTheSoil) {
    begin(1000.0, 1.0, 0.0, 1.0);
    call(lidrates_ofBioCell, {0.0, 0.4, 0.1, 0.0});
    EXPECT_NEAR(fluxes.surfaceInfil, 0.1 * 0.5 / 1000.0 + fluxes.soilPerc, 1e-17);
}

TEST_F(BioCell, FullLayersPassWhatTheGroundTakes) {
    begin(100.0, 1e-3, 0.0, 1e-3);
    call(lidrates_ofBioCell, {0.1, 0.5, 0.4, 0.0});
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_EQ(fluxes.soilPerc, 2e-5);
    EXPECT_EQ(fluxes.surfaceInfil, 2e-5);
    EXPECT_EQ(rates[STATE_SOIL], 0.0);
    EXPECT_EQ(rates[STATE_STORAGE], 0.0);
}

TEST_F(BioCell, FullLayersAreHeldBackByTheSoilBeforeTheDrain) {
    setDrain(3.6e6, 0.0, 0.0);
    begin(100.0, 1e-3, 0.0, 1e-3);
    call(lidrates_ofBioCell, {0.1, 0.5, 0.4, 0.0});
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_NEAR(fluxes.storageDrain, 1e-4 - 2e-5, 1e-18);
    EXPECT_EQ(fluxes.soilPerc, 1e-4);
}

TEST_F(BioCell, FullLayersGiveSeepageAllThatTheSoilPasses) {
    setDrain(3.6e6, 0.0, 0.0);
    lid.storageRate = 1e-3;
    begin(100.0, 1e-3, 0.0, 1e-3);
    call(lidrates_ofBioCell, {0.1, 0.5, 0.4, 0.0});
    EXPECT_EQ(fluxes.storageDrain, 0.0);
    EXPECT_EQ(fluxes.storageExfil, 1e-4);
    EXPECT_EQ(fluxes.soilPerc, 1e-4);
}

TEST_F(BioCell, WithoutStorageTheSoilDrainsIntoTheGround) {
    setStorage(0.0, 1.0, 2e-5);
    setDrain(3.6e6, 0.0, 0.0);
    begin(100.0, 1e-3, 0.0, 1e-3);
    call(lidrates_ofBioCell, {0.0, 0.45, 0.0, 0.0});
    EXPECT_EQ(fluxes.soilPerc, 2e-5) << "the ground is slower than the soil";
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_EQ(fluxes.storageDrain, 0.0);
    EXPECT_NEAR(fluxes.surfaceInfil, 0.05 * 0.5 / 100.0 + 2e-5, 1e-17);
    EXPECT_EQ(rates[STATE_STORAGE], 0.0);
}

TEST_F(BioCell, WithoutStorageAFullSoilStillDrainsNothingAside) {
    setStorage(0.0, 1.0, 2e-5);
    setDrain(3.6e6, 0.0, 0.0);
    begin(100.0, 1e-3, 0.0, 1e-3);
    call(lidrates_ofBioCell, {0.1, 0.5, 0.0, 0.0});
    EXPECT_EQ(fluxes.storageDrain, 0.0);
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_EQ(rates[STATE_STORAGE], 0.0);
}

TEST_F(BioCell, SurfaceRateIsOverItsVoid) {
    begin(100.0, 1e-3, 0.0, 0.0);
    lid.surfaceAlpha = 1.0;
    unit.fullWidth = 1.0;
    call(lidrates_ofBioCell, {0.325, 0.3, 0.1, 0.0});
    const double out = std::cbrt(std::pow(0.125, 5.0)) / 100.0;
    EXPECT_NEAR(fluxes.surfaceOutflow, out, NEAR);
    EXPECT_NEAR(rates[STATE_SURFACE], (1e-3 - out) / 0.8, NEAR);
}

// --- green roof ----------------------------------------------------------------------------------------------------

class GreenRoof : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.type = LID_GR;
        setSoil(0.1, 0.5, 0.2, 0.1, 1e-4, 10.0);
        setStorage(0.05, 0.4, 0.0);
        lid.matDepth = 0.05;
        lid.matVoid = 0.4;
        unit.fullWidth = 10.0;
    }

    double getPercolation(double moisture) const { return 1e-4 * std::exp(-10.0 * (0.5 - moisture)); }
};

TEST_F(GreenRoof, MatWithoutRoughnessPassesWhatTheSoilGives) {
    begin(10.0, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.4, 0.02, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, getPercolation(0.4), 1e-18);
    EXPECT_NEAR(rates[STATE_STORAGE], 0.0, NEAR);
    EXPECT_EQ(fluxes.storageExfil, 0.0);
}

TEST_F(GreenRoof, MatFlowsByManning) {
    lid.matAlpha = 0.01;
    begin(10.0, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.2, 0.027, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, std::cbrt(std::pow(0.027, 5.0)) * 0.01 * 10.0 / 100.0 * 0.4, 1e-18);
}

TEST_F(GreenRoof, MatGivesNoMoreThanItHolds) {
    lid.matAlpha = 1e6;
    begin(10.0, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.2, 0.02, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 0.02 * 0.4 / 10.0, 1e-17);
}

TEST_F(GreenRoof, FullMatAlsoGivesWhatArrives) {
    lid.matAlpha = 1e6;
    begin(10.0, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.4, 0.05, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 0.05 * 0.4 / 10.0 + getPercolation(0.4), 1e-16);
}

TEST_F(GreenRoof, PercolationIsLimitedByTheRoomInTheMat) {
    lid.matAlpha = 1e-9;
    begin(100.0, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.45, 0.0499, 0.0});
    EXPECT_NEAR(fluxes.soilPerc, 1e-4 * 0.4 / 100.0 + fluxes.storageDrain, 1e-17);
}

TEST_F(GreenRoof, FullRoofPassesWhatTheMatLetsThrough) {
    lid.matAlpha = 1e-3;
    begin(100.0, 1.0, 0.0, 1.0);
    call(lidrates_ofGreenRoof, {0.1, 0.5, 0.05, 0.0});
    const double mat = std::pow(0.05, 5.0 / 3.0) * 1e-3 * 10.0 / 100.0 * 0.4;
    EXPECT_NEAR(fluxes.soilPerc, mat, 1e-17);
    EXPECT_NEAR(fluxes.storageDrain, mat, 1e-17);
    EXPECT_NEAR(fluxes.surfaceInfil, mat, 1e-17);
}

TEST_F(GreenRoof, FullRoofPassesWhatTheSoilLetsThrough) {
    lid.matAlpha = 1e3;
    begin(100.0, 1.0, 0.0, 1.0);
    call(lidrates_ofGreenRoof, {0.1, 0.5, 0.05, 0.0});
    EXPECT_EQ(fluxes.soilPerc, 1e-4);
    EXPECT_EQ(fluxes.storageDrain, 1e-4);
}

TEST_F(GreenRoof, SaturatedSoilShutsTheMatOffFromTheAir) {
    begin(100.0, 0.0, 1.0);
    call(lidrates_ofGreenRoof, {0.0, 0.5, 0.02, 0.0});
    EXPECT_EQ(fluxes.storageEvap, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.4, 0.02, 0.0});
    EXPECT_NEAR(fluxes.storageEvap, 0.02 * 0.4 / 100.0, 1e-18);
}

TEST_F(GreenRoof, MatWithoutVoidsTakesNothing) {
    lid.storageVoid = lid.matVoid = 0.0;
    begin(100.0, 0.0);
    call(lidrates_ofGreenRoof, {0.0, 0.4, 0.02, 0.0});
    EXPECT_EQ(rates[STATE_STORAGE], 0.0);
}

// --- infiltration trench -------------------------------------------------------------------------------------------

class Trench : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.type = LID_IT;
        lid.surfaceVoid = 0.9;
        setStorage(0.5, 0.4, 1e-5);
    }
};

TEST_F(Trench, SwallowsAllThatStandsAndComes) {
    begin(100.0, 1e-4);
    call(lidrates_ofTrench, {0.01, 0.0, 0.1, 0.0});
    const double arriving = 0.01 * 0.9 / 100.0 + 1e-4;
    EXPECT_NEAR(fluxes.storageInflow, arriving, 1e-18);
    EXPECT_EQ(fluxes.surfaceInfil, fluxes.storageInflow);
    EXPECT_NEAR(rates[STATE_STORAGE], (arriving - 1e-5) / 0.4, 1e-16);
    EXPECT_EQ(rates[STATE_SOIL], 0.0);
}

TEST_F(Trench, TakesNoMoreThanItHasRoomFor) {
    begin(100.0, 1.0);
    call(lidrates_ofTrench, {0.0, 0.0, 0.49, 0.0});
    EXPECT_NEAR(fluxes.storageInflow, 0.01 * 0.4 / 100.0 + 1e-5, 1e-16);
}

TEST_F(Trench, SeepageTakesNoMoreThanThereIs) {
    begin(100.0, 1e-7);
    call(lidrates_ofTrench, {0.0, 0.0, 1e-3, 0.0});
    EXPECT_NEAR(fluxes.storageExfil, 1e-7 + 1e-3 * 0.4 / 100.0, 1e-18);
}

TEST_F(Trench, PondedSurfaceShutsTheStorageOffFromTheAir) {
    begin(100.0, 0.0, 1e-3);
    call(lidrates_ofTrench, {0.0, 0.0, 0.1, 0.0});
    EXPECT_NEAR(fluxes.storageEvap, 0.04 / 100.0, 1e-18);
    call(lidrates_ofTrench, {1e-3, 0.0, 0.1, 0.0});
    EXPECT_EQ(fluxes.storageEvap, 0.0);
}

TEST_F(Trench, DrainIsLimitedLikeThatOfACell) {
    setDrain(3.6e6, 0.0, 0.05);
    begin(100.0, 2e-4);
    call(lidrates_ofTrench, {0.0, 0.0, 0.1, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 0.05 * 0.4 / 100.0 - 1e-5, 1e-17);
    call(lidrates_ofTrench, {0.0, 0.0, 0.5, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 0.45 * 0.4 / 100.0 - 1e-5 + 2e-4, 1e-16);
    call(lidrates_ofTrench, {0.0, 0.0, 0.04, 0.0});
    EXPECT_EQ(fluxes.storageDrain, 0.0);
}

TEST_F(Trench, SurfaceKeepsWhatTheStorageRefuses) {
    begin(100.0, 1e-3);
    call(lidrates_ofTrench, {0.0, 0.0, 0.5, 0.0});
    EXPECT_NEAR(rates[STATE_SURFACE], (1e-3 - 1e-5) / 0.9, 1e-16);
}

// --- permeable pavement --------------------------------------------------------------------------------------------

class Pavement : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.type = LID_PP;
        lid.surfaceVoid = 0.5;
        lid.pavementDepth = 0.1;
        lid.pavementVoid = 0.2;
        lid.pavementRate = 1e-3;
        setStorage(0.4, 0.5, 2e-5);
    }

    void addSoil() { setSoil(0.3, 0.5, 0.2, 0.1, 1e-4, 10.0); }

    double getPercolation(double moisture) const { return 1e-4 * std::exp(-10.0 * (0.5 - moisture)); }
};

TEST_F(Pavement, PassesWaterDownWithoutSoil) {
    begin(100.0, 1e-5);
    call(lidrates_ofPavement, {0.0, 0.0, 0.1, 0.05});
    EXPECT_EQ(fluxes.surfaceInfil, 1e-5);
    EXPECT_NEAR(fluxes.pavementPerc, 0.05 * 0.2 / 100.0 + 1e-5, 1e-18);
    EXPECT_EQ(fluxes.soilPerc, 0.0);
    EXPECT_NEAR(rates[STATE_PAVEMENT], (1e-5 - fluxes.pavementPerc) / 0.2, 1e-16);
    EXPECT_NEAR(rates[STATE_STORAGE], (fluxes.pavementPerc - 2e-5) / 0.5, 1e-16);
    EXPECT_EQ(rates[STATE_SOIL], 0.0);
}

TEST_F(Pavement, IsLimitedByItsPermeability) {
    lid.pavementRate = 1e-6;
    begin(100.0, 1e-5);
    call(lidrates_ofPavement, {0.0, 0.0, 0.1, 0.05});
    EXPECT_EQ(fluxes.surfaceInfil, 1e-6);
    EXPECT_EQ(fluxes.pavementPerc, 1e-6);
}

TEST_F(Pavement, SurfaceRateIsNotOverItsVoid) {
    lid.pavementRate = 1e-6;
    begin(100.0, 1e-5);
    call(lidrates_ofPavement, {0.0, 0.0, 0.1, 0.05});
    EXPECT_NEAR(rates[STATE_SURFACE], 9e-6, 1e-18);
}

TEST_F(Pavement, EvaporatesFromAllLayersWhileItTakesWater) {
    addSoil();
    begin(100.0, 1e-5, 1.0);
    call(lidrates_ofPavement, {0.01, 0.3, 0.1, 0.05});
    EXPECT_NEAR(fluxes.surfaceEvap, 0.01 * 0.5 / 100.0, 1e-17);
    EXPECT_NEAR(fluxes.pavementEvap, 0.05 * 0.2 / 100.0, 1e-17);
    EXPECT_NEAR(fluxes.soilEvap, 0.2 * 0.3 / 100.0, 1e-17);
    EXPECT_NEAR(fluxes.storageEvap, 0.1 * 0.5 / 100.0, 1e-17);
}

TEST_F(Pavement, FullPavementOrSoilShutsTheStorageOffFromTheAir) {
    begin(100.0, 0.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.0, 0.1, 0.1});
    EXPECT_EQ(fluxes.storageEvap, 0.0);
    addSoil();
    call(lidrates_ofPavement, {0.0, 0.5, 0.1, 0.05});
    EXPECT_EQ(fluxes.storageEvap, 0.0);
    call(lidrates_ofPavement, {0.0, 0.4, 0.1, 0.05});
    EXPECT_GT(fluxes.storageEvap, 0.0);
}

TEST_F(Pavement, FullWithoutSoilGivesSeepageItsPartFirst) {
    lid.pavementRate = 5e-5;
    setDrain(3.6e6, 0.0, 0.0);  // far more than comes
    begin(100.0, 1e-3);
    call(lidrates_ofPavement, {0.0, 0.0, 0.4, 0.1});
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_NEAR(fluxes.storageDrain, 3e-5, 1e-18);
    EXPECT_EQ(fluxes.pavementPerc, 5e-5);
    EXPECT_EQ(fluxes.surfaceInfil, 5e-5);
}

TEST_F(Pavement, FullWithoutSoilIsHeldBackByWhatLeavesBelow) {
    begin(100.0, 1e-3);
    call(lidrates_ofPavement, {0.0, 0.0, 0.4, 0.1});
    EXPECT_EQ(fluxes.pavementPerc, 2e-5);
    EXPECT_EQ(fluxes.surfaceInfil, 2e-5);
    EXPECT_EQ(rates[STATE_PAVEMENT], 0.0);
    EXPECT_EQ(rates[STATE_STORAGE], 0.0);
}

TEST_F(Pavement, AllFullWithSoilPassesWhatTheSoilPasses) {
    addSoil();
    setDrain(3.6e6, 0.0, 0.0);
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.5, 0.4, 0.1});
    EXPECT_EQ(fluxes.soilPerc, 1e-4);
    EXPECT_EQ(fluxes.pavementPerc, 1e-4);
    EXPECT_EQ(fluxes.surfaceInfil, 1e-4);
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_NEAR(fluxes.storageDrain, 8e-5, 1e-18);
}

TEST_F(Pavement, AllFullWithSoilPassesWhatLeavesBelow) {
    addSoil();
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.5, 0.4, 0.1});
    EXPECT_EQ(fluxes.soilPerc, 2e-5);
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_EQ(fluxes.storageDrain, 0.0);
}

TEST_F(Pavement, AllFullWithSoilPassesWhatThePavementPasses) {
    addSoil();
    lid.pavementRate = 1e-5;
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.5, 0.4, 0.1});
    EXPECT_EQ(fluxes.soilPerc, 1e-5);
    EXPECT_EQ(fluxes.storageExfil, 1e-5) << "less than the ground would take";
    EXPECT_EQ(fluxes.storageDrain, 0.0);
}

TEST_F(Pavement, FullBaseIsHeldBackByWhatLeavesBelow) {
    addSoil();
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.5, 0.4, 0.05});
    EXPECT_EQ(fluxes.soilPerc, 2e-5);
    const double percolation = 1e-3;  // the permeability, whatever the soil passes
    EXPECT_EQ(fluxes.pavementPerc, percolation);
    EXPECT_NEAR(fluxes.surfaceInfil, std::min(1e-3, 0.05 * 0.2 / 100.0 + percolation), 1e-18);
}

TEST_F(Pavement, FullBaseGivesSeepageItsPartFirst) {
    addSoil();
    setDrain(3.6e6, 0.0, 0.0);
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.5, 0.4, 0.05});
    EXPECT_EQ(fluxes.soilPerc, 1e-4);
    EXPECT_EQ(fluxes.storageExfil, 2e-5);
    EXPECT_NEAR(fluxes.storageDrain, 8e-5, 1e-18);
}

TEST_F(Pavement, FullTopPassesTheSlowerOfItsTwo) {
    addSoil();
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.5, 0.1, 0.1});
    EXPECT_EQ(fluxes.soilPerc, 1e-4);
    EXPECT_EQ(fluxes.pavementPerc, 1e-4);
    EXPECT_EQ(fluxes.surfaceInfil, 1e-4);
    lid.pavementRate = 5e-5;
    call(lidrates_ofPavement, {0.0, 0.5, 0.1, 0.1});
    EXPECT_EQ(fluxes.soilPerc, 5e-5);
    EXPECT_EQ(fluxes.pavementPerc, 5e-5);
}

TEST_F(Pavement, IsLimitedFromTheBottomUpward) {
    addSoil();
    setDrain(3.6e6, 0.0, 0.1);
    begin(100.0, 1.0);
    call(lidrates_ofPavement, {0.0, 0.49, 0.39, 0.09});
    const double drain = 0.29 * 0.5 / 100.0 - 2e-5;
    EXPECT_NEAR(fluxes.storageDrain, drain, 1e-16);
    EXPECT_NEAR(fluxes.soilPerc, getPercolation(0.49), 1e-17);
    EXPECT_NEAR(fluxes.pavementPerc, 0.01 * 0.3 / 100.0 + fluxes.soilPerc, 1e-17);
    EXPECT_NEAR(fluxes.surfaceInfil, 0.01 * 0.2 / 100.0 + fluxes.pavementPerc, 1e-17);
    EXPECT_NEAR(rates[STATE_SOIL], (fluxes.pavementPerc - fluxes.soilPerc) / 0.3, 1e-16);
    EXPECT_NEAR(rates[STATE_STORAGE], (fluxes.soilPerc - 2e-5 - drain) / 0.5, 1e-15);
}

TEST_F(Pavement, SeepageTakesNoMoreThanThereIs) {
    begin(100.0, 0.0);
    call(lidrates_ofPavement, {0.0, 0.0, 1e-3, 0.0});
    EXPECT_NEAR(fluxes.storageExfil, 5e-6, 1e-18);
}

TEST_F(Pavement, PercolationIsLimitedByTheRoomInTheStorage) {
    begin(100.0, 0.0);
    call(lidrates_ofPavement, {0.0, 0.0, 0.4 - 1e-3, 0.1});
    EXPECT_NEAR(fluxes.pavementPerc, 5e-6 + 2e-5, 1e-16);
}

// --- rain barrel ---------------------------------------------------------------------------------------------------

class Barrel : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.type = LID_RB;
        setStorage(1.0, 1.0, 0.0);
        setDrain(36.0, 1.0, 0.1);  // 1e-5 m/s per mm
    }
};

TEST_F(Barrel, FillsAndDrains) {
    begin(100.0, 1e-4);
    call(lidrates_ofBarrel, {0.0, 0.0, 0.3, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 200.0 * 1e-5, 1e-17) << "all that stands above the drain is as much";
    EXPECT_EQ(fluxes.storageInflow, 1e-4);
    EXPECT_NEAR(rates[STATE_STORAGE], 1e-4 - 2e-3, 1e-16);
    EXPECT_EQ(fluxes.surfaceOutflow, 0.0);
    EXPECT_EQ(fluxes.storageVolume, 0.3);
}

TEST_F(Barrel, DrainTakesNoMoreThanStandsAboveIt) {
    begin(1000.0, 0.0);
    call(lidrates_ofBarrel, {0.0, 0.0, 0.3, 0.0});
    EXPECT_NEAR(fluxes.storageDrain, 2e-4, 1e-18);
    call(lidrates_ofBarrel, {0.0, 0.0, 0.1, 0.0});
    EXPECT_EQ(fluxes.storageDrain, 0.0);
}

TEST_F(Barrel, DrainsOnlyBehindItsDelay) {
    lid.drainDelay = 21600.0;
    unit.dryTime = 21599.0;
    begin(100.0, 0.0);
    call(lidrates_ofBarrel, {0.0, 0.0, 0.3, 0.0});
    EXPECT_EQ(fluxes.storageDrain, 0.0);
    unit.dryTime = 21600.0;
    call(lidrates_ofBarrel, {0.0, 0.0, 0.3, 0.0});
    EXPECT_GT(fluxes.storageDrain, 0.0);
}

TEST_F(Barrel, SpillsWhatItHasNoRoomFor) {
    lid.drainDelay = 60.0;
    begin(100.0, 1e-2);
    call(lidrates_ofBarrel, {0.0, 0.0, 0.7, 0.0});
    EXPECT_NEAR(fluxes.storageInflow, 3e-3, 1e-17);
    EXPECT_NEAR(fluxes.surfaceOutflow, 7e-3, 1e-17);
    EXPECT_EQ(rates[STATE_SURFACE], fluxes.surfaceOutflow) << "a level that nobody reads";
}

TEST_F(Barrel, DoesNotEvaporate) {
    begin(100.0, 0.0, 1.0);
    call(lidrates_ofBarrel, {0.5, 0.0, 0.7, 0.0});
    EXPECT_EQ(fluxes.surfaceEvap + fluxes.storageEvap, 0.0);
}

// --- vegetative swale ----------------------------------------------------------------------------------------------

class Swale : public UnitTest {
protected:
    void SetUp() override {
        UnitTest::SetUp();
        lid.type = LID_VS;
        lid.surfaceDepth = 0.5;
        lid.surfaceVoid = 0.8;
        lid.sideSlope = 2.0;
        lid.surfaceAlpha = 0.1 / 0.25;
        unit.fullWidth = 4.0;  // bottom 2 m, length 25 m
    }
};

TEST_F(Swale, IsATrapezoid) {
    begin(100.0, 1e-5, 2e-6, 1e-6);
    call(lidrates_ofSwale, {0.25, 0.0, 0.0, 0.0});
    const double section = (2.0 + 2.0 * 0.25) * 0.25 * 0.8;
    const double top = (2.0 + 4.0 * 0.25) * 25.0;
    const double perimeter = 2.0 + 2.0 * 0.25 * std::sqrt(5.0);
    const double out = 0.4 * section * std::pow(section / perimeter, 2.0 / 3.0);
    EXPECT_NEAR(fluxes.surfaceVolume, section * 25.0 / 100.0, 1e-15);
    EXPECT_NEAR(fluxes.surfaceEvap, 2e-6 * top / 100.0, 1e-18);
    EXPECT_NEAR(fluxes.storageExfil, 1e-6 * top / 100.0, 1e-18) << "seepage of a swale";
    EXPECT_NEAR(fluxes.surfaceOutflow, out / 100.0, 1e-16);
    EXPECT_NEAR(rates[STATE_SURFACE], (1e-5 * 100.0 - 3e-6 * top - out) / top / 0.8, 1e-15);
}

TEST_F(Swale, EvaporatesNoMoreThanItHolds) {
    begin(100.0, 0.0, 1.0);
    call(lidrates_ofSwale, {0.25, 0.0, 0.0, 0.0});
    EXPECT_NEAR(fluxes.surfaceEvap, fluxes.surfaceVolume / 100.0, 1e-17);
}

TEST_F(Swale, NegativeEvaporationAddsWater) {
    begin(100.0, 0.0, -1e-6);
    call(lidrates_ofSwale, {0.25, 0.0, 0.0, 0.0});
    EXPECT_NEAR(fluxes.surfaceEvap, -1e-6 * 3.0 * 25.0 / 100.0, 1e-18);
}

TEST_F(Swale, BankFullSpillsWhatComes) {
    begin(100.0, 1.0);
    call(lidrates_ofSwale, {0.7, 0.0, 0.0, 0.0});
    EXPECT_EQ(rates[STATE_SURFACE], 0.0);
    EXPECT_NEAR(fluxes.surfaceOutflow, 1.0, 1e-12);
}

TEST_F(Swale, BankFullStillFallsWhenLittleComes) {
    begin(100.0, 0.0);
    call(lidrates_ofSwale, {0.5, 0.0, 0.0, 0.0});
    EXPECT_LT(rates[STATE_SURFACE], 0.0);
}

TEST_F(Swale, FilmDoesNotFlow) {
    begin(100.0, 0.0);
    call(lidrates_ofSwale, {1e-10, 0.0, 0.0, 0.0});
    EXPECT_EQ(fluxes.surfaceOutflow, 0.0);
    call(lidrates_ofSwale, {2e-10, 0.0, 0.0, 0.0});
    EXPECT_GT(fluxes.surfaceOutflow, 0.0);
}

TEST_F(Swale, BottomIsAtLeastHalfAMetre) {
    unit.fullWidth = 2.0;  // the sides alone would be 2 m wide
    begin(100.0, 0.0);
    call(lidrates_ofSwale, {0.25, 0.0, 0.0, 0.0});
    const double slope = 1.5 * 0.5 / 0.5;
    EXPECT_NEAR(fluxes.surfaceVolume, (0.5 + slope * 0.25) * 0.25 * 0.8 * 50.0 / 100.0, 1e-15);
}

TEST_F(Swale, WithoutWidthIsHalfAMetreWide) {
    unit.fullWidth = 0.0;
    begin(100.0, 0.0);
    call(lidrates_ofSwale, {0.25, 0.0, 0.0, 0.0});
    EXPECT_NEAR(fluxes.surfaceVolume, 0.5 * 0.25 * 0.8 * 200.0 / 100.0, 1e-15);
}

}  // namespace
