// LID units over a step: the solver with its limits, and the water balance over storms.

#include "hydrology/lidsolver.h"

#include <algorithm>
#include <cmath>

#include "support/lidunits.h"

namespace {

// --- the solver ----------------------------------------------------------------------------------------------------

class Solver : public UnitTest {
protected:
    void setBioCell() {
        lid.type = LID_BC;
        lid.surfaceDepth = 0.2;
        setSoil(0.5, 0.5, 0.2, 0.1, 1e-5, 10.0);
        setStorage(0.4, 0.5, 2e-6);
        unit.fullWidth = 1.0;
    }

    void setSwale() {
        lid.type = LID_VS;
        lid.surfaceDepth = 0.5;
        lid.sideSlope = 2.0;
        lid.surfaceAlpha = 0.4;
        unit.fullWidth = 4.0;
    }
};

TEST_F(Solver, InfiltrationIsLimitedByConductivityInflowAndRoom) {
    setBioCell();
    setLevels({0.1, 0.3, 0.0, 0.0});
    step(100.0, 3e-5);
    EXPECT_EQ(fluxes.surfaceInfil, 1e-5);
    setLevels({0.1, 0.3, 0.0, 0.0});
    step(100.0, 3e-6);
    EXPECT_EQ(fluxes.surfaceInfil, 3e-6) << "what stands on the surface waits";
    setLevels({0.1, 0.4999, 0.0, 0.0});
    step(1e5, 3e-5);
    EXPECT_NEAR(fluxes.surfaceInfil, 1e-4 * 0.5 / 1e5, 1e-15);
}

TEST_F(Solver, WithoutASoilTheStorageLimitsTheInfiltration) {
    setSwale();
    setStorage(0.4, 0.5, 2e-6);
    step(100.0, 3e-5);
    EXPECT_EQ(fluxes.surfaceInfil, 2e-6);
    step(100.0, 1e-6);
    EXPECT_EQ(fluxes.surfaceInfil, 1e-6);
    setLevels({0.0, 0.0, 0.4 - 1e-4, 0.0});
    step(100.0, 3e-5);
    EXPECT_NEAR(fluxes.surfaceInfil, 1e-4 * 0.5 / 100.0, 1e-15);
}

TEST_F(Solver, SwaleOnATightGroundSendsAllOverTheSurface) {
    setSwale();
    step(100.0, 1e-4);
    EXPECT_EQ(fluxes.surfaceInfil, 0.0);
    EXPECT_EQ(infilRate, 0.0);
}

TEST_F(Solver, SwaleWithRatesButNoThicknessNeverInfiltrates) {
    setSwale();
    setStorage(0.0, 1.0, 2e-6);
    step(100.0, 3e-5);
    EXPECT_EQ(infilRate, 0.0);
}

TEST_F(Solver, LowerLayersOfAPavementEvaporateWhileItTakesWater) {
    // What a pavement takes is settled after its evaporation: at that moment nothing infiltrates yet.
    lid.type = LID_PP;
    lid.pavementDepth = 0.1;
    lid.pavementVoid = 0.2;
    lid.pavementRate = 1e-3;
    setStorage(0.4, 0.5, 2e-5);
    setLevels({0.0, 0.0, 0.1, 0.05});
    step(100.0, 1e-5, 1e-6);
    EXPECT_EQ(fluxes.surfaceInfil, 1e-5);
    EXPECT_EQ(fluxes.pavementEvap, 1e-6) << "the surface is dry, and the pavement holds far more";
    EXPECT_EQ(evapRate, 1e-6);
}

TEST_F(Solver, TakesOneExplicitStep) {
    setBioCell();
    setLevels({0.05, 0.3, 0.1, 0.0});
    begin(300.0, 3e-5, 0.0, 1e-5);
    call(lidrates_ofBioCell, {0.05, 0.3, 0.1, 0.0});
    const double expected[] = {0.05 + 300.0 * rates[0], 0.3 + 300.0 * rates[1], 0.1 + 300.0 * rates[2]};
    step(300.0, 3e-5);
    EXPECT_DOUBLE_EQ(unit.surfaceLevel, expected[0]);
    EXPECT_DOUBLE_EQ(unit.soilMoisture, expected[1]);
    EXPECT_DOUBLE_EQ(unit.storageLevel, expected[2]);
    EXPECT_EQ(unit.surfaceChange, rates[STATE_SURFACE]);
    EXPECT_EQ(unit.soilChange, rates[STATE_SOIL]);
    EXPECT_EQ(unit.storageChange, rates[STATE_STORAGE]);
    EXPECT_EQ(unit.pavementChange, rates[STATE_PAVEMENT]);
}

TEST_F(Solver, LevelsStayWithinTheirLayers) {
    setBioCell();
    lid.pavementDepth = 0.1;  // of no use to a cell, but a limit all the same
    setLevels({0.0, 0.1, 0.1, 0.9});
    step(1e6, 0.0, 1.0);  // evaporation of a day and more at once
    EXPECT_EQ(unit.soilMoisture, 0.1);
    EXPECT_EQ(unit.storageLevel, 0.0);
    EXPECT_EQ(unit.pavementLevel, 0.1);
}

TEST_F(Solver, RoofIsLimitedByItsMat) {
    setBioCell();
    lid.type = LID_GR;
    lid.matDepth = 0.03;
    setLevels({0.0, 0.2, 0.4, 0.0});
    lid.matAlpha = 1e-9;
    step(1.0, 0.0);
    EXPECT_EQ(unit.storageLevel, 0.03);
}

TEST_F(Solver, WithoutWidthNothingPondsAboveTheBerm) {
    setBioCell();
    unit.fullWidth = 0.0;
    lid.surfaceVoid = 0.5;
    lid.surfaceAlpha = 1.0;
    setLevels({0.2, 0.5, 0.4, 0.0});
    step(100.0, 1e-3);
    EXPECT_EQ(unit.surfaceLevel, 0.2);
    EXPECT_NEAR(outflow, 1e-3, 1e-15) << "a full soil takes nothing";
    EXPECT_NEAR(unit.surfaceChange, 1e-3 / 0.5, 1e-15) << "the rate is kept as it was before the spill";
    EXPECT_NEAR(unit.surfaceOutDepth, 0.1, 1e-14);
}

TEST_F(Solver, WithoutWidthTheSurfaceStillFillsToTheBerm) {
    setBioCell();
    unit.fullWidth = 0.0;
    setLevels({0.1, 0.5, 0.4, 0.0});
    step(100.0, 1e-4);
    EXPECT_EQ(outflow, 0.0);
    EXPECT_GT(unit.surfaceLevel, 0.1);
}

TEST_F(Solver, SwaleWithoutWidthSpillsAboveItsBanks) {
    setSwale();
    unit.fullWidth = 0.0;
    setLevels({0.5, 0.0, 0.0, 0.0});
    unit.surfaceChange = 0.01;
    // Bank-full it lets go all that comes: the new rate is 0, and the mean with the old one lifts the level by 5 mm.
    const double excess = 0.5 * 0.01 * 1.0;
    step(1.0, 1.0);
    EXPECT_EQ(unit.surfaceLevel, 0.5);
    EXPECT_NEAR(outflow, 1.0 + excess, 1e-12);
    EXPECT_NEAR(unit.surfaceOutDepth, 1.0 + excess, 1e-12);
}

TEST_F(Solver, BarrelWithoutWidthSpillsByItselfAlone) {
    lid.type = LID_RB;
    setStorage(1.0, 1.0, 0.0);
    setLevels({0.0, 0.0, 1.0, 0.0});
    step(100.0, 1e-3);
    EXPECT_EQ(outflow, 1e-3);
    EXPECT_NEAR(unit.surfaceLevel, 0.1, 1e-15) << "the surface of a barrel is never emptied";
}

TEST_F(Solver, StepBeginsWithCleanVolumes) {
    setBioCell();
    setLevels({0.1, 0.3, 0.2, 0.0});
    step(10.0, 0.0);
    lid.type = LID_RB;
    setLevels({0.1, 0.3, 0.2, 0.0});
    step(10.0, 0.0);
    EXPECT_EQ(fluxes.surfaceVolume, 0.0);
    EXPECT_EQ(fluxes.soilVolume, 0.0);
    EXPECT_NEAR(unit.finalDepth, 0.2, 1e-15);
}

// --- the swale's passes --------------------------------------------------------------------------------------------

TEST_F(Solver, SwaleWeighsOldAndNewRates) {
    setSwale();
    setLevels({0.1, 0.0, 0.0, 0.0});
    unit.surfaceChange = 3e-5;
    // An independent run of the passes.
    double level = 0.1, last = 0.0, rate = 0.0;
    int32_t passes = 0;
    do {
        last = level;
        begin(60.0, 2e-4);
        call(lidrates_ofSwale, {last, 0.0, 0.0, 0.0});
        rate = rates[STATE_SURFACE];
        level = 0.1 + 60.0 * (0.5 * rate + 0.5 * 3e-5);
        ++passes;
    } while (std::fabs(level - last) > 0.00328);
    step(60.0, 2e-4);
    EXPECT_NEAR(unit.surfaceLevel, level, 1e-15);
    EXPECT_EQ(unit.surfaceChange, rate) << "the rate at the level before the last update";
    EXPECT_LT(passes, 19);
}

TEST_F(Solver, SwaleStopsAtTheFirstPassThatMovesLittle) {
    setSwale();
    setLevels({0.1, 0.0, 0.0, 0.0});
    begin(1.0, 0.0);
    call(lidrates_ofSwale, {0.1, 0.0, 0.0, 0.0});
    const double rate = rates[STATE_SURFACE];
    step(1.0, 0.0);  // moves by less than the tolerance in the first pass
    EXPECT_DOUBLE_EQ(unit.surfaceLevel, 0.1 + 0.5 * rate);
}

TEST_F(Solver, SwaleAcceptsTheNineteenthPassAsItIs) {
    setSwale();
    lid.surfaceAlpha = 4.0;
    setLevels({0.3, 0.0, 0.0, 0.0});
    // A step far too long: the passes swing between empty and full for ever.
    double level = 0.3;
    int32_t passes = 0;
    for (; passes < 19; ++passes) {
        begin(3600.0, 1e-3);
        call(lidrates_ofSwale, {level, 0.0, 0.0, 0.0});
        const double next = std::max(0.0, 0.3 + 3600.0 * 0.5 * rates[STATE_SURFACE]);
        if (std::fabs(next - level) <= 0.00328) {
            break;
        }
        level = next;
    }
    ASSERT_EQ(passes, 19) << "the case must not converge";
    step(3600.0, 1e-3);
    EXPECT_NEAR(unit.surfaceLevel, level, 1e-12);
}

TEST_F(Solver, SwaleBooksTheFluxesOfItsLastPass) {
    // The level moves by the mean of two rates, the balance takes the fluxes of one: the difference is half of theirs.
    setSwale();
    lid.sideSlope = 0.0;  // a box, so that the water is proportional to the level
    setLevels({0.1, 0.0, 0.0, 0.0});
    unit.surfaceChange = 0.0;
    step(1.0, 1e-3);
    const double booked = 1.0 * (1e-3 - outflow - evapRate - infilRate);
    const double stored = unit.surfaceLevel - 0.1;
    EXPECT_NEAR(stored, 0.5 * booked, 1e-15);
    EXPECT_GT(booked, 0.0);
}

// --- water balance over a storm ------------------------------------------------------------------------------------

/// A storm of two peaks with a dry spell between, m/s.
double getStorm(int32_t step) {
    const double peak = std::exp(-std::pow((step - 30) / 10.0, 2.0)) + std::exp(-std::pow((step - 110) / 15.0, 2.0));
    return peak < 1e-3 ? 0.0 : peak * 3e-5;
}

class Storm : public UnitTest {
protected:
    /// Runs it; what came in less what left and what is stored, m.
    double run(double dt, double evap) {
        const double before = getStored();
        for (int32_t k = 0; k < 200; ++k) {
            const double inflow = getStorm(k);
            step(dt, inflow, inflow > 0.0 ? 0.0 : evap);
            unit.dryTime = inflow > 0.0 ? 0.0 : unit.dryTime + dt;
        }
        return unit.inflowDepth - unit.evapDepth - unit.infilDepth - unit.surfaceOutDepth - unit.drainDepth -
               (getStored() - before);
    }
};

TEST_F(Storm, BioCellKeepsItsWater) {
    lid.type = LID_BC;
    lid.surfaceDepth = 0.02;
    lid.surfaceAlpha = 0.5;
    unit.fullWidth = 1.0;
    setSoil(0.3, 0.5, 0.2, 0.1, 5e-6, 10.0);
    setStorage(0.1, 0.5, 1e-6);
    setDrain(5.0, 0.5, 0.02);
    setLevels({0.0, 0.25, 0.0, 0.0});
    EXPECT_NEAR(run(300.0, 1e-7), 0.0, 1e-14);
    EXPECT_GT(unit.surfaceOutDepth, 0.0);
    EXPECT_GT(unit.drainDepth, 0.0);
    EXPECT_GT(unit.infilDepth, 0.0);
    EXPECT_GT(unit.evapDepth, 0.0);
}

TEST_F(Storm, RainGardenWithoutStorageKeepsItsWater) {
    lid.type = LID_RG;
    lid.surfaceDepth = 0.05;
    setSoil(0.3, 0.5, 0.2, 0.1, 5e-6, 10.0);
    setStorage(0.0, 1.0, 1e-6);
    setLevels({0.0, 0.25, 0.0, 0.0});
    EXPECT_NEAR(run(300.0, 1e-7), 0.0, 1e-14);
}

TEST_F(Storm, GreenRoofKeepsItsWater) {
    lid.type = LID_GR;
    lid.surfaceDepth = 0.05;
    setSoil(0.1, 0.5, 0.2, 0.1, 1e-5, 10.0);
    setStorage(0.05, 0.4, 0.0);
    lid.matDepth = 0.05;
    lid.matVoid = 0.4;
    lid.matAlpha = 2.0;
    unit.fullWidth = 5.0;
    setLevels({0.0, 0.2, 0.0, 0.0});
    EXPECT_NEAR(run(60.0, 1e-7), 0.0, 1e-14);
    EXPECT_GT(unit.drainDepth, 0.0);
}

TEST_F(Storm, TrenchKeepsItsWater) {
    lid.type = LID_IT;
    lid.surfaceDepth = 0.02;
    setStorage(0.1, 0.4, 1e-6);
    setDrain(5.0, 0.5, 0.02);
    EXPECT_NEAR(run(300.0, 0.0), 0.0, 1e-14);
    EXPECT_GT(unit.surfaceOutDepth, 0.0);
}

TEST_F(Storm, TrenchMakesWaterOfAPondThatDriesAndDrainsAtOnce) {
    // The storage swallows the pond, and the air takes it a second time.
    lid.type = LID_IT;
    setStorage(0.5, 0.4, 1e-6);
    lid.surfaceDepth = 0.1;
    setLevels({0.01, 0.0, 0.0, 0.0});
    step(100.0, 0.0, 1e-6);
    EXPECT_EQ(unit.surfaceLevel, 0.0);
    const double stored = getStored() - 0.01;
    EXPECT_NEAR(stored + unit.evapDepth + unit.infilDepth, 100.0 * 1e-6, 1e-16);
}

TEST_F(Storm, PavementWithAndWithoutSoilKeepsItsWater) {
    lid.type = LID_PP;
    lid.surfaceDepth = 0.02;
    lid.pavementDepth = 0.05;
    lid.pavementVoid = 0.2;
    lid.pavementRate = 2e-5;
    setStorage(0.1, 0.4, 1e-6);
    setDrain(5.0, 0.5, 0.02);
    EXPECT_NEAR(run(300.0, 1e-7), 0.0, 1e-14);
    unit = [this] {
        LidUnit fresh = unit;
        fresh.inflowDepth = fresh.evapDepth = fresh.infilDepth = fresh.surfaceOutDepth = fresh.drainDepth = 0.0;
        return fresh;
    }();
    setSoil(0.2, 0.5, 0.2, 0.1, 1e-5, 10.0);
    setLevels({0.0, 0.3, 0.0, 0.0});
    EXPECT_NEAR(run(300.0, 1e-7), 0.0, 1e-14);
}

TEST_F(Storm, PavementWithAVoidSurfaceLosesTheRestOfIt) {
    // Its surface rate is not over the void, so a level takes only its void's share of the water that made it.
    lid.type = LID_PP;
    lid.surfaceDepth = 1.0;
    lid.surfaceVoid = 0.6;
    lid.pavementDepth = 0.05;
    lid.pavementVoid = 0.2;
    lid.pavementRate = 1e-6;
    setStorage(0.1, 0.4, 1e-6);
    step(100.0, 1e-4);
    const double kept = 100.0 * (1e-4 - 1e-6);
    EXPECT_NEAR(unit.surfaceLevel, kept, 1e-15);
    EXPECT_NEAR(100.0 * 1e-4 - (getStored() + unit.infilDepth), 0.4 * kept, 1e-15);
}

TEST_F(Storm, BarrelKeepsItsWaterButForTheLevelThatNobodyReads) {
    lid.type = LID_RB;
    setStorage(0.05, 1.0, 0.0);
    setDrain(5.0, 0.5, 0.0);
    lid.drainDelay = 600.0;
    const double lost = run(300.0, 0.0);
    EXPECT_GT(unit.surfaceOutDepth, 0.0);
    EXPECT_GT(unit.drainDepth, 0.0);
    EXPECT_NEAR(lost, -unit.surfaceLevel, 1e-14);
    EXPECT_NEAR(unit.surfaceLevel, unit.surfaceOutDepth, 1e-14);
}

TEST_F(Storm, FinalDepthOfAnExplicitStepIsTheWaterBeforeIt) {
    lid.type = LID_BC;
    lid.surfaceDepth = 0.2;
    setSoil(0.3, 0.5, 0.2, 0.1, 5e-6, 10.0);
    setStorage(0.1, 0.5, 1e-6);
    setLevels({0.0, 0.25, 0.05, 0.0});
    const double before = getStored();
    step(300.0, 1e-5);
    EXPECT_NEAR(unit.finalDepth, before, 1e-16);
    const double between = getStored();
    step(300.0, 1e-5);
    EXPECT_NEAR(unit.finalDepth, between, 1e-16);
}

}  // namespace
