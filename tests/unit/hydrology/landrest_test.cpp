// Land and LID units at rest: when they come to it, what wakes them and what doesn't, and that nothing is lost
// meanwhile. Each project is there twice, once with every step worked out; all that a state holds must be the same.

#include "hydrology/landrest.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "api/modelhandle.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lidrest.h"
#include "hydrology/runoff.h"
#include "support/land.h"
#include "support/tvmodel.h"

namespace {

constexpr double STEP = 300.0;      ///< s
constexpr double HECTARE = 0.0001;  ///< 1/m2, a power of ten as the law has it

/// Two days of 5-minute steps. S has the gage G and R the gage U, where it rains from 2:00 to 3:00.
struct DryProject : LandProject {
    DryProject() {
        times = "START_DATE 2021/03/01\nEND_DATE 2021/03/03\nRUNOFF_STEP 0:05\nROUTING_STEP 0:05\nREPORT_STEP 0:05\n";
        gages = "G INTENSITY 0:05 DRY\nU INTENSITY 0:05 WET\n";
        subcatchs = "S G O 1 10 50 1 0.015 0.1 1 2 50 5 4 3 0\nR U O 1 10 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
        series = "DRY 0:00 0\nDRY 1:00 0\nWET 2:00 36\nWET 3:00 0\n";
    }
};

class LandAtRest : public testing::Test {
protected:
    TvModel plain, skipping;

    void start(const LandProject& project) {
        ASSERT_EQ(tv_setSkipping(plain, 0), TV_OK);
        for (const TvModel* model : {&plain, &skipping}) {
            ASSERT_EQ(model->openText(project.text()), TV_OK);
            ASSERT_EQ(tv_start(*model, nullptr, nullptr), TV_OK);
        }
    }

    Model& land() const { return *skipping.handle->model; }
    Model& plainLand() const { return *plain.handle->model; }

    /// The same is done to both.
    template <class Change>
    void change(Change what) {
        what(plainLand());
        what(land());
        pace_noteLandChange(plainLand().pace);
        pace_noteLandChange(land().pace);
    }

    void set(int32_t objectClass, const char* variable, int32_t index, double value) {
        int32_t number = -1;
        ASSERT_EQ(tv_findVariable(objectClass, variable, &number), TV_OK);
        for (const TvModel* model : {&plain, &skipping}) {
            ASSERT_EQ(tv_setValue(*model, number, index, TV_NO_POLLUTANT, value), TV_OK);
        }
    }

    /// Steps of the land, behind each of which both hold the same.
    void step(int count = 1) {
        for (int k = 0; k < count; ++k) {
            runoff_advance(plainLand());
            runoff_advance(land());
            ASSERT_TRUE(save(plain) == save(skipping)) << "at " << land().clock.newRunoffTime / 60000.0 << " min";
        }
    }

    int getPace(int32_t subcatch) const { return land().landRest->paces[subcatch]; }
    LidPace getUnitPace(int32_t unit = 0) const { return lidrest_getPace(land(), unit); }

    static std::string save(const TvModel& model) {
        size_t size = 0;
        EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
        std::string state(size, '\0');
        EXPECT_EQ(tv_saveState(model, state.data(), size, &size), TV_OK);
        return state;
    }
};

// --- subcatchments -------------------------------------------------------------------------------------------------

TEST_F(LandAtRest, IsWhereAStepChangedNothing) {
    start(DryProject());
    change([](Model& model) { model.subcatches[1].perviousDepth = 1e-3; });
    step();
    EXPECT_EQ(getPace(1), LAND_AWAKE) << "the water sinks in";
    step(2);
    EXPECT_EQ(getPace(0), LAND_RESTING);
    EXPECT_EQ(land().subcatches[0].infilState.time, 0.0);
}

TEST_F(LandAtRest, IsNeverWhereNothingMayBeLeftOut) {
    start(DryProject());
    step(5);
    EXPECT_EQ(plainLand().landRest->paces[0], LAND_AWAKE);
    ASSERT_EQ(tv_setSkipping(skipping, 0), TV_OK);
    step();
    EXPECT_EQ(getPace(0), LAND_AWAKE);
    ASSERT_EQ(tv_setSkipping(skipping, 1), TV_OK);
    step(2);
    EXPECT_EQ(getPace(0), LAND_RESTING);
}

TEST_F(LandAtRest, IsWokenByTheRainOfItsOwnGage) {
    start(DryProject());
    step(24);
    EXPECT_EQ(getPace(1), LAND_RESTING);
    step();
    EXPECT_EQ(getPace(0), LAND_RESTING);
    EXPECT_EQ(getPace(1), LAND_AWAKE);
    EXPECT_GT(land().subcatches[1].imperviousDepth, 0.0);
}

/// Land that rests, and is asked what a step would wake.
class Waking : public LandAtRest {
protected:
    void SetUp() override {
        start(DryProject());
        step(3);
        ASSERT_EQ(getPaces(), (std::vector<int>{LAND_RESTING, LAND_RESTING}));
    }

    std::vector<int> getPaces() const { return {getPace(0), getPace(1)}; }

    std::vector<int> prepare(double dt = STEP) {
        landrest_prepare(land(), dt);
        return getPaces();
    }

    const std::vector<int> resting{LAND_RESTING, LAND_RESTING}, awake{LAND_AWAKE, LAND_AWAKE};
};

TEST_F(Waking, TakesAReason) {
    EXPECT_EQ(prepare(), resting);
}

TEST_F(Waking, IsDoneByAnotherEvaporation) {
    land().evap->rate = 1e-8;
    EXPECT_EQ(prepare(), awake);
}

TEST_F(Waking, IsDoneByAnotherStep) {
    EXPECT_EQ(prepare(60.0), awake);
}

TEST_F(Waking, IsDoneByAHostOfTheLandAndNotOfTheNetwork) {
    set(TV_NODE, "added_inflow", 0, 1.0);
    EXPECT_EQ(prepare(), resting);
    set(TV_SUBCATCHMENT, "width", 0, 20.0);
    EXPECT_EQ(prepare(), awake);
}

TEST_F(Waking, IsDoneByARestoredState) {
    const std::string state = save(skipping);
    ASSERT_EQ(tv_restoreState(skipping, state.data(), state.size()), TV_OK);
    EXPECT_EQ(prepare(), awake);
}

TEST_F(Waking, IsDoneByAnythingButARainOfZero) {
    for (const double rain : {1e-300, -1e-9, -0.0, std::nan("")}) {
        step(2);
        ASSERT_EQ(getPaces(), resting) << rain;
        land().gages[0].rain = rain;
        EXPECT_EQ(prepare(), (std::vector<int>{LAND_AWAKE, LAND_RESTING})) << rain;
        land().gages[0].rain = 0.0;
    }
}

TEST_F(LandAtRest, DriesItsDepressions) {
    start(DryProject());
    step(37);  // to 3:05, with 36 mm of rain
    set(TV_SYSTEM, "held_evaporation", 0, 24.0);
    step(120);
    EXPECT_EQ(getPace(1), LAND_RESTING);
    EXPECT_EQ(land().subcatches[1].imperviousDepth, 0.0);
}

TEST_F(LandAtRest, KeepsItsDepressionsUnderAnEvaporationOfMinusZero) {
    start(DryProject());
    change([](Model& model) { model.subcatches[1].imperviousDepth = 5e-4; });
    set(TV_SYSTEM, "held_evaporation", 0, -0.0);
    step(10);
    EXPECT_EQ(land().subcatches[1].imperviousDepth, 5e-4);
    EXPECT_FALSE(std::signbit(land().subcatches[1].evapRate));
}

// --- buildup -------------------------------------------------------------------------------------------------------

/// A rule and a coverage of the first of two land uses.
struct Growth {
    double limit, rate, coverage;
};

class BuildupAtRest : public LandAtRest, public testing::WithParamInterface<Growth> {
protected:
    static constexpr int32_t USES = 2, POLLUTANTS = 2;

    /// The law step by step: buildups by land use and pollutant.
    static void grow(const Model& model, const Subcatch& subcatch, std::vector<double>& buildups) {
        for (int32_t l = 0; l < USES; ++l) {
            const double fraction = subcatch.landShares[l].fraction;
            const double area = fraction * subcatch.area * HECTARE;
            for (int32_t p = 0; fraction != 0.0 && p < POLLUTANTS; ++p) {
                double& present = buildups[static_cast<size_t>(l * POLLUTANTS + p)];
                const double grown = landuse_getBuildup(model.landuses[l].buildup[p], area, present, STEP);
                present = grown < present ? present : grown;
            }
        }
    }
};

constexpr double INFINITE = std::numeric_limits<double>::infinity();

TEST_P(BuildupAtRest, GoesOnByItsLaw) {
    DryProject project;
    project.more =
        "[POLLUTANTS]\nA 0\nB 0\n[LANDUSES]\nRoof\nRoad\n[BUILDUP]\nRoof A 40 3\nRoof B 5 9\nRoad A 7 200\nRoad B 0 0\n"
        "[WASHOFF]\nRoof A EXP 0.1 1.2 0\nRoad A EXP 0.1 1.2 0\n[COVERAGES]\nS Roof 30\nS Road 70\n";
    start(project);
    change([&](Model& model) {
        model.landuses[0].buildup[0].maxBuildup = GetParam().limit;
        model.landuses[0].buildup[0].rateConstant = GetParam().rate;
        model.subcatches[0].landShares[0].fraction = GetParam().coverage;
    });
    const Subcatch& subcatch = land().subcatches[0];
    std::vector<double> expected(USES * POLLUTANTS, 0.0);
    for (int k = 0; k < 500; ++k) {
        grow(land(), subcatch, expected);
        ASSERT_NO_FATAL_FAILURE(step());
        for (int32_t l = 0; l < USES; ++l) {
            for (int32_t p = 0; p < POLLUTANTS; ++p) {
                ASSERT_EQ(std::bit_cast<uint64_t>(subcatch.landShares[l].buildup[p]),
                          std::bit_cast<uint64_t>(expected[static_cast<size_t>(l * POLLUTANTS + p)]))
                    << "step " << k << ", " << l << " " << p;
            }
        }
    }
    EXPECT_EQ(getPace(0), LAND_RESTING);
}

INSTANTIATE_TEST_SUITE_P(Rules, BuildupAtRest,
                         testing::Values(Growth{40.0, 3.0, 0.3}, Growth{0.0, 3.0, 0.3}, Growth{40.0, 0.0, 0.3},
                                         Growth{0.0, 0.0, 0.3}, Growth{-40.0, 3.0, 0.3}, Growth{40.0, -3.0, 0.3},
                                         Growth{INFINITE, 3.0, 0.3}, Growth{40.0, INFINITE, 0.3},
                                         Growth{40.0, 3.0, 0.0}, Growth{40.0, 3.0, -0.0}, Growth{40.0, 3.0, -0.3},
                                         Growth{40.0, 3.0, 1e-320}, Growth{40.0, 3.0, 1e-300},
                                         Growth{40.0, 3.0, INFINITE}));

TEST_F(LandAtRest, IsLeftAloneOnceItsBuildupIsFull) {
    DryProject project;
    project.more =
        "[POLLUTANTS]\nA 0\n[LANDUSES]\nRoof\n[BUILDUP]\nRoof A 40 100\n[COVERAGES]\nS Roof 100\nR Roof 100\n";
    start(project);
    step(4);
    EXPECT_EQ(getPace(0), LAND_RESTING);
    EXPECT_EQ(land().landRest->grows[0], 1) << "e^(-100 / 72) of it are still to come";
    step(40);
    EXPECT_EQ(land().landRest->grows[0], 0);
    EXPECT_NEAR(land().subcatches[0].landShares[0].buildup[0], 40.0, 1e-9) << "1 ha";
    change([](Model& model) { model.landuses[0].buildup[0].maxBuildup = 80.0; });
    step(60);
    EXPECT_NEAR(land().subcatches[0].landShares[0].buildup[0], 80.0, 1e-9);
}

// What no washoff takes from is left alone once it is full, while others go on; a host may begin it anew.
TEST_F(LandAtRest, LeavesTheBuildupsAloneThatNothingTakesFrom) {
    DryProject project;
    project.series = "DRY 0:00 0\nWET 0:00 0\n";
    project.more =
        "[POLLUTANTS]\nA 0\nB 0\n[LANDUSES]\nRoof\n[BUILDUP]\nRoof A 40 100\nRoof B 5 1\n"
        "[WASHOFF]\nRoof A EMC 2 NO 0\nRoof B EXP 0.1 1.2 0\n[COVERAGES]\nS Roof 100\nR Roof 60\n";
    start(project);
    const BuildupRules& rules = *land().buildupRules;
    step(4);
    EXPECT_EQ(rules.columns.size(), 2u);
    step(60);
    EXPECT_EQ(rules.columns.size(), 1u);
    EXPECT_EQ(rules.columns[0].pollutant, 1);
    EXPECT_NEAR(land().subcatches[0].landShares[0].buildup[0], 40.0, 1e-9) << "1 ha";
    change([](Model& model) { model.landuses[0].buildup[0].maxBuildup = 80.0; });
    step(1);
    EXPECT_EQ(rules.columns.size(), 2u);
    step(60);
    EXPECT_EQ(rules.columns.size(), 1u);
    EXPECT_NEAR(land().subcatches[0].landShares[0].buildup[0], 80.0, 1e-9);
    ASSERT_EQ(tv_setSkipping(skipping, 0), TV_OK);
    step(30);
    EXPECT_EQ(rules.columns.size(), 2u);
    ASSERT_EQ(plainLand().buildupRules->columns.size(), 2u);
    EXPECT_EQ(plainLand().buildupRules->columns[0].pollutant, 0);
    EXPECT_EQ(plainLand().buildupRules->columns[1].pollutant, 1);
    EXPECT_NEAR(plainLand().subcatches[0].landShares[0].buildup[1], 5.0 * (1.0 - std::exp(-155.0 / 288.0)), 1e-9);
}

// A rain that falls anywhere leaves open whether the buildup there has come to its end.
TEST_F(LandAtRest, EndsNoBuildupWhileItRains) {
    DryProject project;
    project.series = "DRY 0:00 0\nDRY 1:00 0\nWET 0:00 36\nWET 10:00 0\n";
    project.more =
        "[POLLUTANTS]\nA 0\n[LANDUSES]\nRoof\n[BUILDUP]\nRoof A 40 100\n[WASHOFF]\nRoof A EMC 2 NO 0\n"
        "[COVERAGES]\nS Roof 100\nR Roof 100\n";
    start(project);
    step(110);
    EXPECT_EQ(land().subcatches[1].landShares[0].buildup[0], 0.0);
    EXPECT_EQ(land().buildupRules->columns.size(), 1u);
    step(200);
    EXPECT_NEAR(land().subcatches[1].landShares[0].buildup[0], 40.0, 1e-9);
    EXPECT_EQ(land().buildupRules->columns.size(), 0u);
}

// --- LID units -----------------------------------------------------------------------------------------------------

/// One LID unit of 100 m2 on S, which takes nothing from its land.
DryProject makeUnitProject(const std::string& lids, int saturation) {
    DryProject project;
    project.general = "START_DRY_DAYS 0\n";
    project.more =
        "[POLLUTANTS]\nP 10\n[PATTERNS]\nEVENING HOURLY 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 24 0 0 0\n[LIDS]\n" +
        lids + "[LID_GROUPS]\nS X 100 10 " + std::to_string(saturation) + " 0\n";
    return project;
}

TEST_F(LandAtRest, DriesASoilToItsWiltingPointAndRests) {
    DryProject project =
        makeUnitProject("X RG\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX STORAGE 0 0 8\n", 20);
    project.more += "[EVAPORATION]\nCONSTANT 96\n";
    start(project);
    // 8 mm, of 4 mm in an hour: 24 steps.
    EXPECT_NEAR(land().lidUnits[0].soilMoisture, 0.18, 1e-15);
    step(12);
    EXPECT_EQ(getUnitPace(), LID_DRYING);
    EXPECT_EQ(getPace(0), LAND_DRYING);
    EXPECT_NEAR(land().lidUnits[0].soilMoisture, 0.14, 1e-12);
    step(20);
    EXPECT_NEAR(land().lidUnits[0].soilMoisture, 0.1, 1e-15);
    EXPECT_EQ(getUnitPace(), LID_RESTING);
    EXPECT_EQ(getPace(0), LAND_RESTING);
    step(100);
    EXPECT_EQ(land().lidUnits[0].dryTime, 132 * STEP) << "the dry time goes on";
}

class PondAtRest : public LandAtRest, public testing::WithParamInterface<const char*> {
protected:
    /// 2 m3 on the surface of a unit with an empty storage and a soil below its field capacity.
    void startPonded(const char* evaporation, double mass) {
        DryProject project = makeUnitProject(GetParam(), 20);
        project.more += evaporation;
        project.more += "[DECAY_COEFFICIENT]\nX LID P FIRST 1 EVENING SURFACE\nX LID P FIRST 2 \"\" SOIL\n";
        start(project);
        change([mass](Model& model) {
            LidUnit& unit = model.lidUnits[0];
            unit.surfaceLevel = 0.02;
            unit.storageLevel = 0.0;
            unit.thisSurfaceMass[0] = mass;
            unit.thisSoilMass[0] = 0.03;
        });
    }

    const LidUnit& unit() const { return land().lidUnits[0]; }
};

TEST_P(PondAtRest, DriesAheadOfTheSoil) {
    startPonded("[EVAPORATION]\nCONSTANT 96\n", 0.05);
    step(3);
    EXPECT_EQ(getUnitPace(), LID_PONDED);
    step();
    EXPECT_EQ(getPace(0), LAND_DRYING);
    step(26);
    EXPECT_NEAR(unit().surfaceLevel, 0.01, 1e-12) << "4 mm in an hour";
    EXPECT_NEAR(unit().soilMoisture, 0.18, 1e-15);
    EXPECT_NEAR(unit().thisSurfaceMass[0], 0.05, 1e-12) << "until the evening";
    EXPECT_NEAR(unit().thisSoilMass[0], 0.03 * std::exp(-2.0 * 30.0 / 288.0), 1e-12);
    step(35);
    EXPECT_EQ(unit().surfaceLevel, 0.0);
    EXPECT_EQ(unit().thisSurfaceMass[0], 0.0);
    EXPECT_EQ(getUnitPace(), LID_DRYING);
    step(60);
    EXPECT_NEAR(unit().soilMoisture, 0.1, 1e-15);
}

TEST_P(PondAtRest, IsWokenByRain) {
    startPonded("[EVAPORATION]\nCONSTANT 96\n", 0.05);
    step(10);
    set(TV_GAGE, "held_rain", 0, 60.0);
    step();
    EXPECT_EQ(getUnitPace(), LID_AWAKE);
    set(TV_GAGE, "held_rain", 0, 0.0);
    step(200);
}

TEST_P(PondAtRest, RestsWhereNothingEvaporates) {
    startPonded("", 0.0);
    step(30);
    EXPECT_EQ(unit().surfaceLevel, 0.02);
    change([](Model& model) { model.lidUnits[0].thisSoilMass[0] = 0.0; });
    step(4);
    EXPECT_EQ(getUnitPace(), LID_RESTING);
}

TEST_P(PondAtRest, StaysAwakeWithAMassOfWhichNothingMayBeMoreThanNothing) {
    for (const double mass : {1e250, std::numeric_limits<double>::infinity()}) {
        startPonded("[EVAPORATION]\nCONSTANT 96\n", mass);
        step(10);
        EXPECT_EQ(getUnitPace(), std::isinf(mass) ? LID_AWAKE : LID_SEEPING) << mass;
        ASSERT_EQ(tv_close(plain), TV_OK);
        ASSERT_EQ(tv_close(skipping), TV_OK);
    }
}

// A power that isn't finite makes a load over the surface that is no number, on a day on which nothing runs off.
TEST_P(PondAtRest, GivesTheLandALoadThatIsNoNumber) {
    startPonded("[EVAPORATION]\nCONSTANT 96\n", 0.05);
    step(10);
    change([](Model& model) { model.lids[0].surfaceDecay[0] = {FIRST_ORDER, -1, -1.0, 0.0, 1.0}; });
    step(10);
    EXPECT_FALSE(std::isfinite(unit().thisSurfaceMass[0]));
    EXPECT_TRUE(std::isnan(land().subcatches[0].runoffLoad[0]));
}

TEST_P(PondAtRest, IsWokenByAMassThatIsSet) {
    for (const double mass : {-0.0, -1.0, 1e250, std::numeric_limits<double>::quiet_NaN()}) {
        startPonded("[EVAPORATION]\nCONSTANT 96\n", 0.05);
        step(10);
        change([mass](Model& model) { model.lidUnits[0].thisSurfaceMass[0] = mass; });
        step(70);
        ASSERT_EQ(tv_close(plain), TV_OK);
        ASSERT_EQ(tv_close(skipping), TV_OK);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, PondAtRest,
    testing::Values("X RG\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX STORAGE 0 0 8\n",
                    "X BC\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX STORAGE 300 0.67 3\n"
                    "X DRAIN 3 0.5 0\n",
                    "X GR\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX DRAINMAT 25 0.5 0.3\n"));

constexpr const char* BARREL = "X RB\nX STORAGE 1000 1 0\nX DRAIN 36 1 100 6\n";

TEST_F(LandAtRest, WaitsForTheTimeOfABarrelAndDrainsThen) {
    start(makeUnitProject(BARREL, 50));
    step(2);
    EXPECT_EQ(getUnitPace(), LID_DRYING);
    step(70);
    EXPECT_EQ(land().lidUnits[0].dryTime, 6 * 3600.0);
    EXPECT_EQ(land().lidUnits[0].storageLevel, 0.5) << "the last step began ahead of the time";
    step();
    EXPECT_LT(land().lidUnits[0].storageLevel, 0.5);
    step();
    EXPECT_EQ(getUnitPace(), LID_SEEPING);
    EXPECT_EQ(getPace(0), LAND_DRAINING);
}

class BarrelWokenAtAStep : public LandAtRest, public testing::WithParamInterface<int> {};

// The step with which the wait ends tells nothing of the next one.
TEST_P(BarrelWokenAtAStep, DrainsWhenItsTimeHasCome) {
    start(makeUnitProject(BARREL, 50));
    step(GetParam());
    change([](Model&) {});
    step(80 - GetParam());
    EXPECT_LT(land().lidUnits[0].storageLevel, 0.5);
}

INSTANTIATE_TEST_SUITE_P(Steps, BarrelWokenAtAStep, testing::Range(68, 75));

TEST_F(LandAtRest, LetsTheWaterOfAWaitingBarrelReact) {
    DryProject project = makeUnitProject(BARREL, 50);
    project.more += "[DECAY_COEFFICIENT]\nX LID P FIRST 2 \"\" STORAGE\n";
    start(project);
    change([](Model& model) { model.lidUnits[0].thisStorageMass[0] = 0.5; });
    step(48);
    EXPECT_EQ(getUnitPace(), LID_DRYING);
    EXPECT_NEAR(land().lidUnits[0].thisStorageMass[0], 0.5 * std::exp(-2.0 * 48.0 / 288.0), 1e-12);
    step(100);
    EXPECT_LT(land().lidUnits[0].thisStorageMass[0] / land().lidUnits[0].storageLevel, 1.0) << "it drains";
}

TEST_F(LandAtRest, KeepsTheSignOfADrainOfMinusZero) {
    DryProject project = makeUnitProject(BARREL, 50);
    project.more += "[DECAY_COEFFICIENT]\nX LID P FIRST 2 \"\" STORAGE\n";
    start(project);
    change([](Model& model) {
        model.lidUnits[0].thisStorageMass[0] = 0.5;
        model.lids[0].drainCoefficient = -0.0;
        model.lids[0].drainDelay = 0.0;
    });
    step(10);
    EXPECT_TRUE(std::signbit(land().lidUnits[0].thisDrainLoad[0]));
}

TEST_F(LandAtRest, LeavesNothingOutOfABarrelWhoseMassesPassAllBounds) {
    DryProject project = makeUnitProject(BARREL, 5);
    project.more += "[DECAY_COEFFICIENT]\nX LID P FIRST -1e6 \"\" STORAGE\n";
    start(project);
    change([](Model& model) {
        model.lidUnits[0].drainNode = 0;
        model.lidUnits[0].thisStorageMass[0] = 1e300;
    });
    step(4);
    EXPECT_TRUE(std::isnan(land().lidUnits[0].thisDrainLoad[0]));
    EXPECT_LE(getPace(0), LAND_DRAINING) << "the network gets it";
}

TEST_F(LandAtRest, LeavesABarrelBelowItsDrainAlone) {
    start(makeUnitProject(BARREL, 5));
    step(4);
    EXPECT_EQ(getUnitPace(), LID_RESTING);
    step(100);
    EXPECT_EQ(getUnitPace(), LID_RESTING);
    EXPECT_EQ(land().lidUnits[0].storageLevel, 0.05);
}

TEST_F(LandAtRest, KeepsAUnitAwakeThatReactsByTheHour) {
    DryProject project = makeUnitProject("X RB\nX STORAGE 1000 1 0\nX DRAIN 36 1 500 0\n", 10);
    project.more += "[DECAY_COEFFICIENT]\nX LID P FIRST 1 EVENING STORAGE\n";
    start(project);
    step(6);
    EXPECT_EQ(getUnitPace(), LID_RESTING) << "there is nothing in it to react";
    set(TV_GAGE, "held_rain", 0, 60.0);
    step();
    set(TV_GAGE, "held_rain", 0, 0.0);
    step();
    const double mass = land().lidUnits[0].thisStorageMass[0];
    EXPECT_GT(mass, 0.0);
    step(100);  // to 9:00
    EXPECT_NEAR(land().lidUnits[0].thisStorageMass[0], mass, 1e-12 * mass);
    EXPECT_EQ(getUnitPace(), LID_DRYING) << "nothing changes at this hour";
    step(144);  // to 21:00, through one with 24 / d
    EXPECT_NEAR(land().lidUnits[0].thisStorageMass[0], mass * std::exp(-1.0), 1e-9 * mass);
}

// --- seeping units -------------------------------------------------------------------------------------------------

/// Of a type of control: its layers, and where its unit of 100 m2 ends.
struct SeepingType {
    const char* lids;
    LidPace end;
};

/// A unit with water in all of its layers, some of it on its way down, on land with a pond of its own. A second unit of
/// the same control stands behind it and holds next to nothing. Both drain to the outfall.
class SeepingUnit : public LandAtRest, public testing::WithParamInterface<SeepingType> {
protected:
    void SetUp() override {
        DryProject project = makeUnitProject(GetParam().lids, 90);
        project.more += "S X 50 10 1 0\n[EVAPORATION]\nCONSTANT 24\n[DECAY_COEFFICIENT]\n";
        project.more += "X LID P FIRST 1 EVENING SOIL\nX LID P FIRST 2 \"\" STORAGE\nX LID P FIRST 2 \"\" SURFACE\n";
        project.times = "START_DATE 2021/03/01\nEND_DATE 2021/04/01\nRUNOFF_STEP 0:05\nROUTING_STEP 0:01\n";
        start(project);
        change([](Model& model) {
            model.subcatches[0].imperviousDepth = 5e-4;
            LidUnit& unit = model.lidUnits[0];
            unit.drainNode = model.lidUnits[1].drainNode = 0;
            unit.thisSoilMass[0] = 0.03;
            unit.thisStorageMass[0] = 0.2;
        });
    }

    const LidUnit& unit() const { return land().lidUnits[0]; }

    /// Steps of the whole project, behind each of which both hold the same.
    void stepAll(int count) {
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tv_step(plain), TV_OK);
            ASSERT_EQ(tv_step(skipping), TV_OK);
            ASSERT_TRUE(save(plain) == save(skipping)) << "at " << land().clock.newRoutingTime / 60000.0 << " min";
        }
    }
};

TEST_P(SeepingUnit, LeavesItsLandAlone) {
    step(4);
    EXPECT_EQ(getUnitPace(), LID_SEEPING);
    EXPECT_EQ(getPace(0), LAND_DRAINING);
    const double depth = unit().infilDepth + unit().drainDepth;
    step(3);
    EXPECT_GT(unit().infilDepth + unit().drainDepth, depth);
}

TEST_P(SeepingUnit, GivesTheNetworkItsDrainAndTheTotalsItsSeepage) {
    stepAll(12 * 60);
    const Subcatch& land0 = land().subcatches[0];
    const LidUnit& second = land().lidUnits[1];
    const double infil = 100.0 * unit().infilDepth + 50.0 * second.infilDepth;
    // The runoff clock is a step ahead, and the rate of a step counts while the routing passes through it.
    EXPECT_NEAR(land0.infil / 1000.0 * land0.area, infil, 1e-3 * infil + 0.02);
    EXPECT_GT(infil + 100.0 * unit().drainDepth, 0.0);
}

TEST_P(SeepingUnit, IsWokenByRainAndSeepsOn) {
    step(10);
    set(TV_GAGE, "held_rain", 0, 60.0);
    step(2);
    EXPECT_EQ(getUnitPace(), LID_AWAKE);
    set(TV_GAGE, "held_rain", 0, 0.0);
    step(40);
}

// What is in a soil or stands in a barrel goes on reacting. In the storage of the pavement the last 1e-322 m stay, of
// which no rate can be made.
TEST_P(SeepingUnit, ComesToItsEnd) {
    step(288 * 20);
    EXPECT_EQ(getUnitPace(), GetParam().end);
}

TEST_P(SeepingUnit, TakesWhateverAHostSets) {
    for (const double value : {-1e-3, 0.0, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
        step(6);
        change([value](Model& model) { model.lidUnits[0].storageLevel = value; });
        step(6);
        change([value](Model& model) { model.lidUnits[0].surfaceLevel = value; });
        step(6);
        change([value](Model& model) { model.lidUnits[0].surfaceChange = value; });
        step(6);
        change([value](Model& model) { model.lids[0].surfaceVoid = value; });
        step(6);
        change([value](Model& model) { model.evap->constant = value; });
        step(6);
        ASSERT_EQ(tv_close(plain), TV_OK);
        ASSERT_EQ(tv_close(skipping), TV_OK);
        SetUp();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, SeepingUnit,
    testing::Values(
        SeepingType{"X RG\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX STORAGE 0 0 8\n", LID_DRYING},
        SeepingType{"X BC\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX STORAGE 300 0.67 3\n"
                    "X DRAIN 3 0.5 0\n",
                    LID_DRYING},
        SeepingType{"X GR\nX SURFACE 100 0 0.1 1 0\nX SOIL 100 0.5 0.2 0.1 40 10\nX DRAINMAT 25 0.5 0.3\n", LID_DRYING},
        SeepingType{"X IT\nX SURFACE 50 0 0.1 1 0\nX STORAGE 900 0.67 2\nX DRAIN 4 0.5 600\n", LID_RESTING},
        SeepingType{"X PP\nX SURFACE 5 0 0.02 1 0\nX PAVEMENT 120 0.2 500\nX SOIL 100 0.4 0.2 0.1 60 10\n"
                    "X STORAGE 300 0.67 3\nX DRAIN 3 0.5 150\n",
                    LID_SEEPING},
        SeepingType{"X RB\nX STORAGE 1000 1 0\nX DRAIN 3 0.5 100 0\n", LID_DRYING}));

TEST_F(LandAtRest, RestsNoUnitUnderARainOfMinusZero) {
    start(makeUnitProject(BARREL, 5));
    step(4);
    set(TV_GAGE, "held_rain", 0, -0.0);
    step(4);
    EXPECT_EQ(getUnitPace(), LID_AWAKE);
    set(TV_GAGE, "held_rain", 0, 12.0);
    step(4);
    EXPECT_NEAR(land().lidUnits[0].storageLevel, 0.054, 1e-12);
}

}  // namespace
