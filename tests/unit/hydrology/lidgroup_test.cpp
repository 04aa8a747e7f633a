// LID units of a subcatchment: their start, what they take and give in a runoff step, where their drains go, and whole
// runs with all types.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "hydrology/evap.h"
#include "hydrology/lidgroup.h"
#include "hydrology/runoff.h"
#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "routing/landinflows.h"
#include "support/lids.h"
#include "support/model.h"
#include "support/reporttables.h"

namespace {

// --- the units of a subcatchment -----------------------------------------------------------------------------------

/// An open and started project of one subcatchment (10000 m2), whose water the tests set themselves.
class Group : public ::testing::Test, protected Project {
protected:
    LidProject project;
    RunoffVolumes volumes{};

    void SetUp() override { project.lids = "RB RB\nRB STORAGE 1000 1 0\nRB DRAIN 36 1 0 6\n"; }

    void start() {
        write(project.text());
        Project::start();
    }

    static Subcatch& subcatch() { return testModel().subcatches[0]; }
};

TEST_F(Group, UnitsStartAtTheirSaturation) {
    project.lids = "BC BC\nBC SOIL 500 0.5 0.2 0.1 36 10\nBC STORAGE 400 1 0\n";
    project.groups = "S BC 100 1 25 0\n";
    project.options = "START_DRY_DAYS 3\n";
    start();
    EXPECT_NEAR(testModel().lidUnits[0].soilMoisture, 0.1 + 0.4 * 0.25, 1e-15);
    EXPECT_NEAR(testModel().lidUnits[0].storageLevel, 0.1, 1e-15);
    EXPECT_NEAR(testModel().lidUnits[0].initialDepth, 0.2 * 0.5 + 0.1 * 0.5, 1e-15);
    EXPECT_EQ(testModel().lidUnits[0].finalDepth, testModel().lidUnits[0].initialDepth);
    EXPECT_EQ(testModel().lidUnits[0].surfaceLevel, 0.0);
    EXPECT_EQ(testModel().lidUnits[0].dryTime, 3.0 * 86400.0);
}

TEST_F(Group, WaterOfARoofsMatCountsTwiceAtTheStart) {
    project.lids = "GR GR\nGR SOIL 100 0.5 0.2 0.1 36 10\nGR DRAINMAT 50 0.4 0.1\n";
    project.groups = "S GR 100 1 50 0\n";
    start();
    EXPECT_NEAR(testModel().lidUnits[0].storageLevel, 0.025, 1e-15);
    EXPECT_NEAR(testModel().lidUnits[0].initialDepth, 0.3 * 0.1 + 2.0 * 0.025 * 0.4, 1e-15);
}

TEST_F(Group, MatOfAnEarlierTypeFillsTheStorageToo) {
    project.lids = "RB GR\nRB DRAINMAT 50 0.4 0.1\nRB RB\nRB STORAGE 1000 1 0\n";
    project.groups = "S RB 100 1 50 0\n";
    start();
    EXPECT_NEAR(testModel().lidUnits[0].storageLevel, 0.025, 1e-15);
    EXPECT_NEAR(testModel().lidUnits[0].initialDepth, 0.5 + 0.025 * 0.4, 1e-15);
}

TEST_F(Group, UnitsTakeTheirShareOfBothPartsOfTheLand) {
    project.groups = "S RB 100 1 0 25\nS RB 400 1 0 50\n";
    start();
    subcatch().rain = 1e-6;
    subcatch().imperviousRunoff = 0.03;
    subcatch().perviousRunoff = 0.01;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_NEAR(testModel().lidUnits[0].inflowDepth, 60.0 * (0.04 * 0.25 / 100.0 + 1e-6), 1e-16);
    EXPECT_NEAR(testModel().lidUnits[1].inflowDepth, 60.0 * (0.04 * 0.5 / 400.0 + 1e-6), 1e-16);
    EXPECT_NEAR(volumes.lidRunon, 60.0 * 0.04 * 0.75, 1e-14);
}

TEST_F(Group, WithoutOtherLandThereIsNoRunon) {
    project.groups = "S RB 10000 1 0 100\n";
    start();
    subcatch().rain = 1e-6;
    subcatch().imperviousRunoff = 0.03;
    subcatch().lastWashoffRate[0] = 0.5;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_NEAR(testModel().lidUnits[0].inflowDepth, 60.0 * 1e-6, 1e-18);
    EXPECT_EQ(volumes.lidRunon, 0.0);
    EXPECT_NEAR(testModel().lidUnits[0].inflowLoad[0], 60.0 * (10000.0 * 1e-6 * 10.0 / 1000.0 + 0.5), 1e-12)
        << "the load of runon comes all the same";
}

TEST_F(Group, FlowsAddUpToTheVolumesOfTheStep) {
    project.groups = "S RB 100 1 100 0\nS RB 50 1 100 0\n";  // full barrels
    start();
    subcatch().rain = 1e-5;
    testModel().lidUnits[0].dryTime = testModel().lidUnits[1].dryTime = 0.0;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_NEAR(testModel().lidUnits[0].thisSurfaceFlow, 1e-3, 1e-17);
    EXPECT_NEAR(testModel().lidUnits[1].thisSurfaceFlow, 5e-4, 1e-17);
    EXPECT_NEAR(volumes.lidOutflow, 0.09, 1e-15);
}

TEST_F(Group, EvaporationAndInfiltrationJoinThoseOfTheLand) {
    project.lids = "BC BC\nBC SOIL 500 0.5 0.2 0.1 3600 0\nBC STORAGE 400 1 36\n";
    project.groups = "S BC 100 1 50 0\n";
    start();
    volumes.infil = 1.0;
    volumes.evap = 2.0;
    testModel().evap->rate = 1e-6;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_NEAR(volumes.lidInfil, 1e-5 * 60.0 * 100.0, 1e-14);
    EXPECT_NEAR(volumes.infil, 1.0 + 0.06, 1e-14);
    EXPECT_NEAR(volumes.evap, 2.0 + 1e-6 * 60.0 * 100.0, 1e-14);
}

TEST_F(Group, NothingEvaporatesWhileItRains) {
    project.lids = "BC BC\nBC SOIL 500 0.5 0.2 0.1 3600 0\n";
    project.groups = "S BC 100 1 50 0\n";
    start();
    testModel().evap->rate = 1e-6;
    subcatch().rain = 1e-12;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_EQ(volumes.evap, 0.0);
}

TEST_F(Group, DryTimeCountsFromTheLastTraceOfRain) {
    project.groups = "S RB 100 1 0 0\n";
    start();
    testModel().lidUnits[0].dryTime = 500.0;
    subcatch().rain = 7.056e-10;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_EQ(testModel().lidUnits[0].dryTime, 560.0);
    subcatch().rain = 7.057e-10;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_EQ(testModel().lidUnits[0].dryTime, 0.0);
}

TEST_F(Group, BarrelDrainsOnlyWhenTheDelayHasPassed) {
    project.groups = "S RB 100 1 50 0\n";
    start();
    testModel().lidUnits[0].dryTime = 21600.0 - 60.0;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_EQ(testModel().lidUnits[0].thisDrainFlow, 0.0);
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_NEAR(testModel().lidUnits[0].thisDrainFlow, std::min(500.0 * 1e-5, 0.5 / 60.0) * 100.0, 1e-14);
}

TEST_F(Group, NegativeZeroOfASaturationIsNoneInTheInitialDepth) {
    project.lids = "RG RG\nRG SOIL 500 0.5 0.2 -0 36 10\n";
    project.groups = "S RG 100 1 -0 0\n";
    start();
    EXPECT_TRUE(std::signbit(testModel().lidUnits[0].soilMoisture));
    EXPECT_FALSE(std::signbit(testModel().lidUnits[0].initialDepth));
    EXPECT_FALSE(std::signbit(testModel().lidUnits[0].finalDepth));
}

TEST_F(Group, LoadsComeWithTheRainAndWithTheWashoffOfTheStepBefore) {
    project.groups = "S RB 100 1 0 25\n";
    start();
    subcatch().rain = 1e-5;
    subcatch().lastWashoffRate[0] = 0.004;
    subcatch().thisWashoffRate[0] = 9.0;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_NEAR(testModel().lidUnits[0].inflowLoad[0], 60.0 * (100.0 * 1e-5 * 10.0 / 1000.0 + 0.004 * 0.25), 1e-15);
    EXPECT_NEAR(testModel().lidUnits[0].rainLoad[0], 60.0 * 100.0 * 1e-5 * 10.0 / 1000.0, 1e-16);
    EXPECT_EQ(testModel().lidUnits[0].rainLoad[1], 0.0) << "the second pollutant doesn't come with the rain";
}

TEST_F(Group, UnitsReactByTheHourInWhichTheRunoffStepEnds) {
    project.general = getGeneral(120);
    project.groups = "S RB 100 1 50 25\n";
    project.patterns = "H HOURLY 1 2 3\n";
    project.decay = "RB LID Q FIRST 864 H STORAGE\n";
    start();
    const double step = testModel().options.runoffStep;
    testModel().lidUnits[0].thisStorageMass[1] = 5.0;
    testModel().clock.newRunoffTime = (3599.0 - step) * 1000.0;
    runoff_advance(testModel());
    const double left = 5.0 * std::exp(-0.01 * 1.0 * step);
    EXPECT_NEAR(testModel().lidUnits[0].thisStorageMass[1], left, 1e-14);
    testModel().clock.newRunoffTime = (3600.0 - step) * 1000.0;
    runoff_advance(testModel());
    EXPECT_NEAR(testModel().lidUnits[0].thisStorageMass[1], left * std::exp(-0.01 * 2.0 * step), 1e-14)
        << "a full hour counts to the next";
}

TEST_F(Group, UnitsAreWalkedInTheOrderOfTheirLines) {
    project.groups = "S RB 100 1 0 25\nS RB 200 1 0 25\nS RB 300 1 0 25\n";
    start();
    std::vector<double> areas;
    for (const LidUnit& unit : lidgroup_getUnits(testModel(), 0)) {
        areas.push_back(unit.area);
    }
    EXPECT_EQ(areas, (std::vector<double>{100.0, 200.0, 300.0}));
    EXPECT_TRUE(lidgroup_getUnits(testModel(), 1).empty()) << "no subcatchment, no units";
    EXPECT_TRUE(lidgroup_getUnits(testModel(), -1).empty());
}

TEST_F(Group, ShiftMakesNewOldAndLeavesNoLoadBehind) {
    project.groups = "S RB 100 1 0 25\n";
    start();
    LidUnit& unit = testModel().lidUnits[0];
    unit.thisSurfaceFlow = 3.0;
    unit.thisDrainFlow = 4.0;
    unit.thisSurfaceMass[1] = 5.0;
    unit.thisPavementMass[1] = 6.0;
    unit.thisSoilMass[1] = 7.0;
    unit.thisStorageMass[1] = 8.0;
    unit.thisSurfaceLoad[1] = 9.0;
    unit.thisDrainLoad[1] = 10.0;
    lidgroup_shiftState(testModel(), 0);
    EXPECT_EQ(unit.lastSurfaceFlow, 3.0);
    EXPECT_EQ(unit.lastDrainFlow, 4.0);
    EXPECT_EQ(unit.lastSurfaceMass[1], 5.0);
    EXPECT_EQ(unit.lastPavementMass[1], 6.0);
    EXPECT_EQ(unit.lastSoilMass[1], 7.0);
    EXPECT_EQ(unit.lastStorageMass[1], 8.0);
    EXPECT_EQ(unit.thisSurfaceFlow + unit.thisDrainFlow + unit.thisSurfaceMass[1] + unit.thisPavementMass[1], 0.0);
    EXPECT_EQ(unit.thisSoilMass[1] + unit.thisStorageMass[1] + unit.thisSurfaceLoad[1] + unit.thisDrainLoad[1], 0.0);
}

TEST_F(Group, ShiftComesAlsoWhereAHostTookTheArea) {
    // Nothing runs there any more, so what the units gave in the step before must not be given again.
    project.groups = "S RB 100 1 0 25\n";
    start();
    testModel().lidUnits[0].thisDrainFlow = 1.0;
    testModel().lidUnits[0].thisDrainLoad[0] = 2.0;
    subcatch().area = 0.0;
    runoff_advance(testModel());
    EXPECT_EQ(testModel().lidUnits[0].thisDrainFlow, 0.0);
    EXPECT_EQ(testModel().lidUnits[0].thisDrainLoad[0], 0.0);
    EXPECT_EQ(testModel().lidUnits[0].lastDrainFlow, 1.0);
}

TEST_F(Group, LaterUnitsTakeTheirShareOfWhatEarlierOnesLetGo) {
    project.groups = "S RB 100 1 0 25\nS RB 100 1 0 50\n";
    start();
    testModel().lidUnits[0].thisSurfaceLoad[0] = 0.01;
    testModel().lidUnits[1].thisSurfaceLoad[0] = 0.02;
    double loads[] = {8.0, 4.0};
    lidgroup_addSurfaceLoads(testModel(), 0, loads, testModel().options.runoffStep);
    EXPECT_NEAR(loads[0],
                0.5 * (0.75 * 8.0 + testModel().options.runoffStep * 0.01) + testModel().options.runoffStep * 0.02,
                1e-14);
    EXPECT_NEAR(loads[1], 0.5 * 0.75 * 4.0, 1e-15);
}

TEST_F(Group, DrainsGoToTheirNodesAndIntoTheTotals) {
    project.groups = "S RB 100 1 0 25\nS RB 100 1 0 50 DRAIN\n";
    start();
    Model& model = testModel();
    model.lidUnits[0].thisDrainFlow = 0.25;
    model.lidUnits[1].thisDrainFlow = 0.5;
    model.lidUnits[1].lastDrainFlow = 77.0;
    model.lidUnits[1].thisDrainLoad[1] = 0.125;
    landinflows_addDrains(model);
    EXPECT_EQ(model.nodes[0].newLatFlow, 0.25);
    EXPECT_EQ(model.nodes[1].newLatFlow, 0.5) << "the flow of the step before has no weight";
    EXPECT_EQ(model.nodes[1].massInflow[1], 0.125);
    EXPECT_EQ(model.totals.flow.wetWeatherInflow, model.options.routingStep * 0.75);
    EXPECT_EQ(model.totals.quality[1].wetWeatherInflow, model.options.routingStep * 0.125);
}

TEST_F(Group, SubcatchmentWithoutAreaDrainsNothing) {
    project.groups = "S RB 100 1 0 25\n";
    start();
    testModel().lidUnits[0].thisDrainFlow = 0.25;
    subcatch().area = 0.0;
    landinflows_addDrains(testModel());
    EXPECT_EQ(testModel().nodes[0].newLatFlow, 0.0);
}

TEST_F(Group, SubcatchmentWithoutUnitsIsLeftAlone) {
    start();
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    lidgroup_shiftState(testModel(), 0);
    landinflows_addDrains(testModel());
    double loads[] = {8.0, 4.0};
    lidgroup_addSurfaceLoads(testModel(), 0, loads, testModel().options.runoffStep);
    EXPECT_EQ(loads[0], 8.0);
    EXPECT_EQ(volumes.lidOutflow, 0.0);
}

TEST_F(Group, UnitOfNoAreaIsPassedOver) {
    project.groups = "S RB 100 1 0 25\nS RB 100 1 0 25\n";
    start();
    subcatch().rain = 1e-5;
    testModel().lidUnits[0].area = 0.0;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    EXPECT_EQ(testModel().lidUnits[0].inflowDepth, 0.0);
    EXPECT_GT(testModel().lidUnits[1].inflowDepth, 0.0);
}

TEST_F(Group, LostMemoryAtTheStartIsTold) {
    project.groups = "S RB 100 1 0 25\n";
    const std::string text = project.text();
    int32_t failures = 0;
    for (int64_t count = 1; count <= 4; ++count) {
        Project lost(text);
        ASSERT_EQ(lost.open(), 0);
        arena_failAfter(count);
        failures += tarnvelde_start(0) == 101 ? 1 : 0;
        arena_failAfter(0);
        double elapsed = 0.0;
        EXPECT_NE(tarnvelde_step(&elapsed), 0);
        tarnvelde_close();
    }
    EXPECT_EQ(failures, 4);
}

TEST_F(Group, NothingIsAllocatedInAStep) {
    project.groups = "S RB 100 1 0 25\nS RB 100 1 0 50 DRAIN\n";
    start();
    subcatch().rain = 1e-5;
    lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    const size_t taken =
        testModel().memory.project.taken + testModel().memory.results.taken + testModel().memory.run.taken;
    for (int32_t k = 0; k < 100; ++k) {
        lidgroup_shiftState(testModel(), 0);
        lidgroup_step(testModel(), 0, volumes, 0, 60.0);
    }
    EXPECT_EQ(testModel().memory.project.taken + testModel().memory.results.taken + testModel().memory.run.taken,
              taken);
}

// --- whole runs ----------------------------------------------------------------------------------------------------

/// All units of all types on one subcatchment.
LidProject getAllTypes() {
    LidProject project;
    project.general = getGeneral(180);
    project.evaporation = "CONSTANT 5\n";
    project.lids =
        "BC BC\nBC SURFACE 50 0.1 0.1 1 0\nBC SOIL 300 0.5 0.2 0.1 20 10\nBC STORAGE 200 0.75 5\nBC DRAIN 5 0.5 20\n"
        "RG RG\nRG SURFACE 80 0.1 0.1 1 0\nRG SOIL 300 0.5 0.2 0.1 20 10\nRG STORAGE 0 0 3\n"
        "GR GR\nGR SURFACE 10 0 0.1 1 0\nGR SOIL 100 0.5 0.3 0.1 50 10\nGR DRAINMAT 30 0.5 0.2\n"
        "IT IT\nIT SURFACE 20 0 0.1 1 0\nIT STORAGE 500 0.6 10\nIT DRAIN 3 0.5 100\n"
        "PP PP\nPP SURFACE 5 0 0.02 1 0\nPP PAVEMENT 100 0.2 200\nPP SOIL 100 0.4 0.2 0.1 30 10\n"
        "PP STORAGE 200 0.7 2\nPP DRAIN 4 0.5 50\n"
        "RB RB\nRB STORAGE 1000 1 0\nRB DRAIN 4 0.5 0 1\n"
        "VS VS\nVS SURFACE 300 0.1 0.2 1 3\nVS STORAGE 100 0.5 4\n";
    project.groups =
        "S BC 200 4 10 10\nS RG 200 0 20 5\nS GR 200 5 0 0 DRAIN\nS IT 50 2 0 20\nS PP 500 5 10 10 DRAIN\n"
        "S RB 10 0 0 10 DRAIN\nS VS 200 4 0 10\n";
    project.decay = "BC LID P FIRST 5 FLAT SOIL\nRB LID P FIRST 2 \"\" STORAGE\nVS LID P FIRST 9 \"\" SURFACE\n";
    return project;
}

struct RunOutcome {
    std::vector<double> states;
    std::vector<std::string> tables;  ///< rows of the two tables of the report
};

RunOutcome runStarted(Project& file) {
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(stepToEnd(), 0);
    RunOutcome outcome;
    for (const LidUnit& unit : testModel().lidUnits) {
        outcome.states.insert(
            outcome.states.end(),
            {unit.surfaceLevel, unit.soilMoisture, unit.storageLevel, unit.pavementLevel, unit.inflowDepth,
             unit.evapDepth, unit.infilDepth, unit.surfaceOutDepth, unit.drainDepth, unit.initialDepth, unit.finalDepth,
             unit.finalLoad[0], unit.reactedLoad[0], unit.dryTime});
    }
    EXPECT_EQ(tarnvelde_report(), 0);
    outcome.tables = getAllRows(file.getReport(),
                                {"Subcatchment LID Performance Summary", "Subcatchment LID Water Quality Summary"});
    EXPECT_EQ(tarnvelde_end(), 0);
    return outcome;
}

TEST(LidRun, SecondRunEqualsTheFirst) {
    Project file(getAllTypes().text());
    ASSERT_EQ(file.open(), 0);
    const RunOutcome first = runStarted(file);
    // A book that stays empty tells nothing of what a start clears.
    for (double LidUnit::*depth : {&LidUnit::inflowDepth, &LidUnit::evapDepth, &LidUnit::infilDepth,
                                   &LidUnit::surfaceOutDepth, &LidUnit::drainDepth}) {
        const auto isBooked = [depth](const LidUnit& unit) { return unit.*depth > 0.0; };
        EXPECT_TRUE(std::any_of(testModel().lidUnits.begin(), testModel().lidUnits.end(), isBooked));
    }
    ASSERT_EQ(first.tables.size(), 7U + 2U * 8U) << "seven units, and a headline for each of two pollutants";
    const RunOutcome second = runStarted(file);
    EXPECT_EQ(first.states, second.states);
    EXPECT_EQ(first.tables, second.tables);
}

TEST(LidRun, EveryUnitIsAtWork) {
    Project file(getAllTypes().text());
    ASSERT_EQ(file.open(), 0);
    runStarted(file);
    for (const LidUnit& unit : testModel().lidUnits) {
        const char* name = testModel().lids[unit.lid].name;
        EXPECT_GT(unit.inflowDepth, 0.0) << name;
        EXPECT_GT(unit.surfaceOutDepth + unit.drainDepth + unit.infilDepth, 0.0) << name;
        EXPECT_GT(unit.inflowLoad[0], 0.0) << name;
        EXPECT_TRUE(std::isfinite(unit.finalLoad[0])) << name;
    }
}

TEST(LidRun, RunoffContinuityCountsTheUnits) {
    // Explicit layers all, and no double count of a mat: what the report can't account for is the last step's change of
    // storage, since the final depth is that at the start of the step.
    LidProject project;
    project.general = getGeneral(600);
    project.lids = "BC BC\nBC SURFACE 50 0 0.1 1 0\nBC SOIL 300 0.5 0.2 0.1 20 10\nBC STORAGE 200 0.75 5\n";
    project.groups = "S BC 500 4 10 30\n";
    Project file(project.text());
    ASSERT_EQ(file.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(stepToEnd(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    double runoff = 99.0, flow, quality;
    tarnvelde_getMassBalErr(&runoff, &flow, &quality);
    EXPECT_LT(std::fabs(runoff), 1.0);
}

}  // namespace
