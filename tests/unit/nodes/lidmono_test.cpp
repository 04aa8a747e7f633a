// LID monomer nodes: their lines, their start, a routing step, and where their water goes.

#include "nodes/lidmono.h"
#include "routing/nodekinds.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "model/errors.h"
#include "results/massbal.h"
#include "routing/network.h"
#include "support/lidmonos.h"
#include "support/model.h"

namespace {

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(MonoTest, LineStoresItsItems) {
    mono = "M it g 200 3 25 60 OUT\n";
    ASSERT_EQ(open(), 0);
    EXPECT_STREQ(node().id, "M");
    EXPECT_EQ(unit().lid, 0);
    EXPECT_EQ(record().gage, 0);
    EXPECT_EQ(unit().area, 200.0);
    EXPECT_EQ(unit().fullWidth, 3.0);
    EXPECT_EQ(unit().initialSaturation, 0.25);
    EXPECT_EQ(unit().fromImpervious, 0.6);
    EXPECT_EQ(unit().drainNode, 0);
}

TEST_F(MonoTest, StarIsNoGage) {
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(record().gage, -1);
    EXPECT_EQ(unit().drainNode, -1);
}

TEST_F(MonoTest, SharesAreLimitedAndTheGageIsMarked) {
    mono = "M IT G 100 0 150 250\n";
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(unit().initialSaturation, 1.0);
    EXPECT_EQ(unit().fromImpervious, 1.0);
    EXPECT_EQ(testModel().gages[0].isUsed, 1);
}

TEST_F(MonoTest, GageOfANodeAloneIsNotTiedToAnotherOfItsSeries) {
    // Only the gages of subcatchments are tied to each other by their series, and only they must agree in their format:
    // a node marks its gage when that is done.
    project.gages = "G INTENSITY 1:00 RAIN\nH VOLUME 1:00 RAIN\n";
    project.options = "LID_MONO_RAINFALL YES\n";
    mono = "M IT H 100 0 0 100\n";
    start();
    EXPECT_EQ(testModel().gages[1].isUsed, 1);
    EXPECT_EQ(testModel().gages[1].coGage, -1);
    double elapsed = 0.0;
    ASSERT_EQ(tarnvelde_step(&elapsed), 0);
    double rain = -1.0;
    tarnvelde_getResult(TARNVELDE_LID_MONOMER, "M", 2, &rain);
    EXPECT_NEAR(rain, 36.0, 1e-12) << "36 mm in an interval of an hour";
}

TEST_F(MonoTest, NotANumberIsNotNegative) {
    mono = "M IT * 100 nan nan nan\n";
    EXPECT_EQ(open(), 0);
}

struct BadMonoLine {
    const char* line;
    const char* message;
};

class BadMono : public MonoTest, public ::testing::WithParamInterface<BadMonoLine> {};

TEST_P(BadMono, IsTold) {
    mono = std::string(GetParam().line) + "\n";
    const std::string text = getText();
    const OpenResult result = openProject(text);
    EXPECT_EQ(result.code, 200);
    const std::string expected = getLineError(text, GetParam().message, "[LID_MONOS]", GetParam().line);
    EXPECT_EQ(result.report.substr(0, expected.size()), expected);
}

INSTANTIATE_TEST_SUITE_P(All, BadMono,
                         ::testing::Values(BadMonoLine{"M IT * 100 0 0", "ERROR 203: too few items"},
                                           BadMonoLine{"M X X 0 0 0 0", "ERROR 209: undefined object X"},
                                           BadMonoLine{"M IT X 0 0 0 0", "ERROR 209: undefined object X"},
                                           BadMonoLine{"M IT ** 1 0 0 0", "ERROR 209: undefined object **"},
                                           BadMonoLine{"M IT * 0 0 0 0", "ERROR 211: invalid number 0"},
                                           BadMonoLine{"M IT * nan 0 0 0", "ERROR 211: invalid number nan"},
                                           BadMonoLine{"M IT * 1 -2 0 0", "ERROR 211: invalid number -2"},
                                           BadMonoLine{"M IT * 1 0 x 0", "ERROR 211: invalid number x"},
                                           BadMonoLine{"M IT * 1 0 0 -3", "ERROR 211: invalid number -3"},
                                           BadMonoLine{"M IT * 1 0 0 0 X", "ERROR 209: undefined object X"},
                                           BadMonoLine{"M IT * 1 0 0 0 *", "ERROR 209: undefined object *"},
                                           BadMonoLine{"M IT * 1 0 0 0 \"\"", "ERROR 209: undefined object  "},
                                           // of several faults the first counts, with the drain node last
                                           BadMonoLine{"M IT X 0 0 0 0 Y", "ERROR 209: undefined object X"},
                                           BadMonoLine{"M IT * 1 0 0 -3 X", "ERROR 211: invalid number -3"}));

TEST_F(MonoTest, UnknownNameIsTold) {
    // The first pass knows the name with its quotes.
    mono = "\"M\" IT * 100 0 0 100\n";
    const std::string text = getText();
    const std::string expected =
        getLineError(text, "ERROR 209: undefined object M", "[LID_MONOS]", "\"M\" IT * 100 0 0 100");
    EXPECT_NE(openProject(text).report.find(expected), std::string::npos);
}

TEST_F(MonoTest, RainWantsAGage) {
    project.options = "LID_MONO_RAINFALL YES\n";
    const std::string text = getText();
    const std::string expected =
        getLineError(text, "ERROR 209: undefined object *", "[LID_MONOS]", "M IT * 100 0 0 100");
    EXPECT_EQ(openProject(text).report.substr(0, expected.size()), expected);
}

// --- start ---------------------------------------------------------------------------------------------------------

TEST_F(MonoTest, StartsAtItsSaturationAndWet) {
    mono = "M BC * 100 0 25 100\n";
    project.lids = "BC BC\nBC SOIL 500 0.5 0.2 0.1 36 10\nBC STORAGE 400 1 0\n";
    project.options = "START_DRY_DAYS 3\n";
    start();
    EXPECT_NEAR(unit().soilMoisture, 0.2, 1e-15);
    EXPECT_NEAR(unit().storageLevel, 0.1, 1e-15);
    EXPECT_NEAR(unit().initialDepth, 0.1 + 0.05, 1e-15);
    EXPECT_EQ(unit().dryTime, 0.0) << "not the dry days of the project";
}

TEST_F(MonoTest, MatVoidComesFromTheDefinitionAtTheNodesOwnPlace) {
    // M1 is the second of its kind, so the second definition gives the void.
    project.lids =
        "GR GR\nGR SOIL 100 0.5 0.2 0.1 36 10\nGR DRAINMAT 50 0.4 0.1\nX GR\nX SOIL 100 0.5 0.2 0.1 36 10\n"
        "X DRAINMAT 50 0.9 0.1\n";
    mono = "M GR * 100 0 50 100\nM1 GR * 100 0 50 100\nM2 GR * 100 0 50 100\n";
    links += "D M1 OUT NO 0\nE M2 OUT NO 0\n";
    start();
    const double soil = 0.3 * 0.1, storage = 0.025 * 0.4;
    EXPECT_NEAR(testModel().lidMonos[0].unit.initialDepth, soil + storage + 0.025 * 0.4, 1e-15);
    EXPECT_NEAR(testModel().lidMonos[1].unit.initialDepth, soil + storage + 0.025 * 0.9, 1e-15);
    EXPECT_NEAR(testModel().lidMonos[2].unit.initialDepth, soil + storage, 1e-15) << "beyond the table it is 0";
    EXPECT_NEAR(testModel().lidMonos[1].unit.storageLevel, 0.025, 1e-15);
}

TEST_F(MonoTest, NegativeZeroOfASaturationStaysInTheInitialDepth) {
    mono = "M RG * 100 0 -0 100\n";
    project.lids = "RG RG\nRG SOIL 500 0.5 0.2 -0 36 10\n";
    start();
    EXPECT_EQ(unit().initialDepth, 0.0);
    EXPECT_TRUE(std::signbit(unit().initialDepth));
}

// --- the step ------------------------------------------------------------------------------------------------------

TEST_F(MonoTest, ReactsByTheHourOfTheRunoffClock) {
    mono = "M IT * 100 0 50 100\n";  // 12.5 m3
    project.patterns = "H HOURLY 1 2 3\n";
    project.decay = "IT LID P FIRST 864 H STORAGE\n";
    start();
    unit().lastStorageMass[0] = 5.0;
    testModel().clock.newRunoffTime = 2.0 * 3600.0 * 1000.0;
    stepWith(0.0, 0.0);
    EXPECT_NEAR(unit().thisStorageMass[0], 5.0 * std::exp(-0.01 * 3.0 * 60.0), 1e-14);
}

TEST_F(MonoTest, ShareGoesThroughAndTheRestAround) {
    mono = "M IT * 100 0 0 25\n";
    start();
    stepWith(0.04, 0.008);
    EXPECT_NEAR(unit().inflowDepth, 60.0 * 1e-4, 1e-17);
    EXPECT_NEAR(unit().inflowLoad[0], 60.0 * 0.002, 1e-15);
    EXPECT_NEAR(unit().thisSurfaceFlow, 0.03, 1e-16);
    EXPECT_NEAR(node().newQual[0], 0.006 / 0.03 * 1000.0, 1e-11);
}

TEST_F(MonoTest, WithoutAShareTheUnitSeesNothing) {
    mono = "M IT * 100 0 0 0\n";
    start();
    stepWith(0.04, 0.008);
    EXPECT_EQ(unit().inflowDepth, 0.0);
    EXPECT_EQ(unit().thisSurfaceFlow, 0.04);
    EXPECT_NEAR(node().newQual[0], 200.0, 1e-11);
}

TEST_F(MonoTest, WithoutAShareTheUnitSeesItsRainAlone) {
    mono = "M IT G 100 0 0 0\n";
    start();
    testModel().options.lidMonoRainfall = 1;
    testModel().gages[0].rain = 1e-5;
    stepWith(0.04, 0.008);
    EXPECT_NEAR(unit().inflowDepth, 60.0 * 1e-5, 1e-18);
    EXPECT_NEAR(unit().inflowLoad[0], 60.0 * 100.0 * 1e-5 * 10.0 / 1000.0, 1e-18) << "of rain with 10 mg/L";
    EXPECT_EQ(unit().thisSurfaceFlow, 0.04);
    EXPECT_NEAR(node().newQual[0], 200.0, 1e-11);
}

TEST_F(MonoTest, VisitedTwiceItRunsTwice) {
    start();
    stepWith(0.01, 0.0);
    stepWith(0.01, 0.0);
    const double depth = 2.0 * 60.0 * 0.01 / 100.0;
    EXPECT_NEAR(unit().inflowDepth, depth, 1e-16);
    EXPECT_NEAR(unit().storageLevel, depth / 0.5, 1e-16);
    EXPECT_EQ(unit().dryTime, 2.0 * 60.0);
}

TEST_F(MonoTest, WithoutOutflowTheConcentrationIsNone) {
    start();
    stepWith(0.04, 0.008);
    EXPECT_EQ(unit().thisSurfaceFlow, 0.0);
    EXPECT_EQ(node().newQual[0], 0.0);
}

TEST_F(MonoTest, RainFallsOnItOnlyIfTheProjectSaysSo) {
    mono = "M IT G 100 0 0 100\n";
    start();
    testModel().gages[0].rain = 1e-5;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().inflowDepth, 0.0);
    EXPECT_EQ(record().rainDepth, 0.0);
    EXPECT_EQ(unit().rainLoad[0], 0.0);
    testModel().options.lidMonoRainfall = 1;
    stepWith(0.0, 0.0);
    EXPECT_NEAR(unit().inflowDepth, 6e-4, 1e-18);
    EXPECT_NEAR(record().rainDepth, 6e-4, 1e-18);
    EXPECT_NEAR(unit().rainLoad[0], 100.0 * 1e-5 * 10.0 * 60.0 / 1000.0, 1e-16);
    EXPECT_NEAR(unit().inflowLoad[0], unit().rainLoad[0], 1e-16);
}

TEST_F(MonoTest, RainOfItsGageStopsTheEvaporationInAnyCase) {
    mono = "M IT G 100 0 50 100\n";
    start();
    testModel().evap->rate = 1e-6;
    testModel().gages[0].rain = 1e-12;
    stepWith(0.0, 0.0);
    EXPECT_EQ(record().evapRate, 0.0);
    testModel().gages[0].rain = 0.0;
    stepWith(0.0, 0.0);
    EXPECT_NEAR(record().evapRate, 86.4, 1e-12) << "mm/day";
}

TEST_F(MonoTest, DryTimeCountsFromTheLastTraceOfRain) {
    mono = "M IT G 100 0 0 100\n";
    start();
    testModel().gages[0].rain = 7.056e-10;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().dryTime, 60.0);
    testModel().gages[0].rain = 7.057e-10;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().dryTime, 0.0);
}

TEST_F(MonoTest, SeepageIsShownInMillimetresPerHour) {
    project.lids = "IT IT\nIT STORAGE 500 1 18\n";
    mono = "M IT * 100 0 50 100\n";
    start();
    stepWith(0.0, 0.0);
    EXPECT_NEAR(record().infilRate, 18.0, 1e-12);
    EXPECT_NEAR(unit().infilDepth, 60.0 * 5e-6, 1e-18);
}

TEST_F(MonoTest, DrainWithoutANodeJoinsTheLinkButNotItsConcentration) {
    project.lids = "IT IT\nIT STORAGE 500 1 0\nIT DRAIN 36 0 0\n";  // 1e-5 m/s whatever the head
    mono = "M IT * 100 0 50 50\n";
    start();
    unit().lastStorageMass[0] = 5.0;
    stepWith(0.02, 0.004);
    EXPECT_NEAR(unit().thisDrainFlow, 1e-3, 1e-17);
    EXPECT_NEAR(lidmono_getOutflow(record()), 0.011, 1e-16);
    EXPECT_GT(unit().thisDrainLoad[0], 0.0);
    EXPECT_NEAR(node().newQual[0], 0.002 / 0.01 * 1000.0, 1e-10) << "of the bypass alone";
}

TEST_F(MonoTest, DrainWithANodeGoesThere) {
    project.lids = "IT IT\nIT STORAGE 500 1 0\nIT DRAIN 36 0 0\n";
    mono = "M IT * 100 0 50 50 DRAIN\n";
    start();
    unit().lastStorageMass[0] = 5.0;
    const int32_t target = unit().drainNode;
    stepWith(0.02, 0.004);
    EXPECT_NEAR(testModel().nodes[target].newLatFlow, 1e-3, 1e-17);
    EXPECT_EQ(testModel().nodes[target].massInflow[0], unit().thisDrainLoad[0]);
    EXPECT_GT(unit().thisDrainLoad[0], 0.0);
    EXPECT_NEAR(lidmono_getOutflow(record()), 0.01, 1e-16);
    EXPECT_EQ(testModel().totals.flow.wetWeatherInflow, 0.0) << "water of the network is in no inflow again";
}

TEST_F(MonoTest, DrainThatEmptiesTheStorageLosesItsLoad) {
    project.lids = "IT IT\nIT STORAGE 500 1 0\nIT DRAIN 3.6e9 0 0\n";
    mono = "M IT * 100 0 50 0 DRAIN\n";
    start();
    unit().lastStorageMass[0] = 5.0;
    stepWith(0.0, 0.0);
    const Node& target = testModel().nodes[unit().drainNode];
    ASSERT_EQ(unit().storageLevel, 0.0);
    EXPECT_NEAR(target.newLatFlow, 0.25 * 0.5 * 100.0 / 60.0, 1e-13);
    EXPECT_EQ(target.massInflow[0], 0.0);
}

TEST_F(MonoTest, ShiftMakesNewOld) {
    start();
    unit().thisSurfaceFlow = 1.0;
    unit().thisDrainFlow = 2.0;
    record().evapRate = record().infilRate = 3.0;
    unit().thisSoilMass[1] = 4.0;
    unit().thisSurfaceLoad[1] = 5.0;
    unit().thisDrainLoad[1] = 6.0;
    nodekinds_shiftState(testModel(), testModel().nodes[findMono()]);
    EXPECT_EQ(unit().lastSurfaceFlow, 1.0);
    EXPECT_EQ(unit().lastDrainFlow, 2.0);
    EXPECT_EQ(unit().lastSoilMass[1], 4.0);
    EXPECT_EQ(unit().thisSurfaceFlow + unit().thisDrainFlow + record().evapRate + record().infilRate, 0.0);
    EXPECT_EQ(unit().thisSoilMass[1] + unit().thisSurfaceLoad[1] + unit().thisDrainLoad[1], 0.0);
}

TEST_F(MonoTest, LetsGoOfItsArraysWhenTheMemoryOfTheResultsGoes) {
    start();
    ASSERT_NE(unit().thisSoilMass, nullptr);
    massbal_open(testModel());  // the first part of a second start, the rest of which may fail
    EXPECT_EQ(unit().lastSurfaceMass, nullptr);
    EXPECT_EQ(unit().thisDrainLoad, nullptr);
    EXPECT_EQ(unit().rainLoad, nullptr);
    double error = 0.0;
    EXPECT_EQ(massbal_closeQuality(testModel(), 0, &error).finalStorage, 0.0);
    nodekinds_initState(testModel(), findMono());
    EXPECT_NE(unit().thisDrainLoad, nullptr);
}

// --- in the network ------------------------------------------------------------------------------------------------

TEST_F(MonoTest, DrainNodeIsVisitedBehindIt) {
    mono = "N IT * 100 0 0 100\nM IT * 100 0 0 100 N\n";
    links = "[CONNECTIONS]\nC M OUT NO 0\nD N OUT NO 0\n";
    start();
    const int32_t drained = testModel().lidMonos[1].unit.drainNode;
    ASSERT_GE(drained, 0);
    std::vector<int32_t> order(testModel().sortedNodes, testModel().sortedNodes + testModel().nodes.size());
    const auto place = [&](int32_t k) { return std::find(order.begin(), order.end(), k) - order.begin(); };
    EXPECT_LT(place(drained + 1), place(drained));
}

TEST_F(MonoTest, DrainIntoItsOwnPathIsALoop) {
    mono = "N IT * 100 0 0 100\nM IT * 100 0 0 100 N\n";
    links = "[CONNECTIONS]\nC N M NO 0\nD M OUT NO 0\n";
    EXPECT_EQ(openProject(getText()).code, 135) << "there is no node to begin with";
    mono += "HEAD IT * 100 0 0 100\n";
    const std::string circle = links;
    links = circle + "E HEAD M NO 0\n";
    EXPECT_EQ(openProject(getText()).report, "\n  \n  ERROR 131: Object C form cyclic loops in the drainage system.");
    links = circle + "E HEAD N NO 0\n";
    EXPECT_EQ(openProject(getText()).report, "\n  \n  ERROR 131: Object N form cyclic loops in the drainage system.");
}

TEST_F(MonoTest, WantsExactlyOneLink) {
    links = "";
    EXPECT_EQ(openProject(getText()).report, "\n  \n  ERROR 137: Node M has no downstream link.");
    links = "[CONNECTIONS]\nC M OUT NO 0\nD M OUT NO 0\n";
    EXPECT_EQ(openProject(getText()).report, "\n  \n  ERROR 133: Node M has more than one outlet link.");
}

TEST_F(MonoTest, ConnectionCarriesTheLoadOfTheSurfaceFlowAlone) {
    project.lids = "IT IT\nIT STORAGE 500 1 0\nIT DRAIN 36 0 0\n";
    mono = "M IT * 100 0 50 50\n";
    start();
    double elapsed = 0.0;
    ASSERT_EQ(tarnvelde_step(&elapsed), 0);
    const double surface = 0.005, drain = 1e-3;
    EXPECT_NEAR(testModel().links[0].newFlow, surface + drain, 1e-15);
    EXPECT_NEAR(testModel().links[0].newQual[0], surface * 50.0 / (surface + drain), 1e-9);
}

TEST_F(MonoTest, WaterOfTheNetworkIsKept) {
    mono = "M IT G 100 0 50 100 DRAIN\n";
    project.lids = "IT IT\nIT SURFACE 50 0 0.1 1 0\nIT STORAGE 500 1 18\nIT DRAIN 3 0.5 50\n";
    project.options = "LID_MONO_RAINFALL YES\n";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    const double stored = unit().area * (unit().storageLevel * 0.5 + unit().surfaceLevel);
    const double rain = unit().area * record().rainDepth, init = unit().area * unit().initialDepth;
    const double in = testModel().totals.flow.externalInflow + rain + init;
    const double lost = unit().area * (unit().infilDepth + unit().evapDepth);
    EXPECT_NEAR(in + testModel().totals.flow.wetWeatherInflow,
                testModel().totals.flow.externalOutflow + testModel().totals.flow.delayedVolume + lost + stored, 1e-9);
    EXPECT_GT(rain, 0.0);
}

}  // namespace
