// LID monomer nodes: their lines, their start, a routing step, where their water goes, results and report tables.

#include "hydrology/lidmono.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "results/massbal.h"
#include "routing/network.h"
#include "routing/node.h"
#include "support/lids.h"

namespace {

/// One node M (a trench of 100 m2) with a connection to the outfall OUT, and an inflow of its own.
class MonoTest : public ::testing::Test {
protected:
    LidProject project;
    std::string mono = "M IT * 100 0 0 100\n";
    std::string inflows = "M FLOW FLOW 0.01 \"\" 0\nM CONCEN P 50 \"\" 0\n";
    std::string links = "[CONNECTIONS]\nC M OUT NO 0\n";
    std::unique_ptr<ProjectFile> file;

    void SetUp() override { project.lids = "IT IT\nIT STORAGE 500 1 0\n"; }

    std::string getText() {
        LidProject whole = project;
        whole.nodes = "[LID_MONOS]\n" + mono + links + "[INFLOWS]\n" + inflows;
        return whole.text();
    }

    int32_t open() {
        file = std::make_unique<ProjectFile>(getText());
        return file->open();
    }

    void start() {
        ASSERT_EQ(open(), 0) << file->getReport();
        ASSERT_EQ(tarnvelde_start(0), 0);
    }

    static LidMono& unit() { return LidMonos[0]; }
    static Node& node() { return Nodes[static_cast<size_t>(findMono())]; }

    static int32_t findMono() {
        for (size_t k = 0; k < Nodes.size(); ++k) {
            if (Nodes[k].kind == LID_MONO) {
                return static_cast<int32_t>(k);
            }
        }
        return -1;
    }

    /// The node's inflow as the pass would have it, and one step of the unit.
    static void stepWith(double flow, double load) {
        node().newInflow = flow;
        node().massInflow[0] = load;
        lidmono_step(findMono());
    }
};

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(MonoTest, LineStoresItsItems) {
    mono = "M it g 200 3 25 60 OUT\n";
    ASSERT_EQ(open(), 0);
    EXPECT_STREQ(node().id, "M");
    EXPECT_EQ(unit().lid, 0);
    EXPECT_EQ(unit().gage, 0);
    EXPECT_EQ(unit().area, 200.0);
    EXPECT_EQ(unit().fullWidth, 3.0);
    EXPECT_EQ(unit().initialSaturation, 0.25);
    EXPECT_EQ(unit().fromImpervious, 0.6);
    EXPECT_EQ(unit().drainNode, 0);
}

TEST_F(MonoTest, StarIsNoGage) {
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(unit().gage, -1);
    EXPECT_EQ(unit().drainNode, -1);
}

TEST_F(MonoTest, SharesAreLimitedAndTheGageIsMarked) {
    mono = "M IT G 100 0 150 250\n";
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(unit().initialSaturation, 1.0);
    EXPECT_EQ(unit().fromImpervious, 1.0);
    EXPECT_EQ(Gages[0].isUsed, 1);
}

TEST_F(MonoTest, NotANumberIsNotNegative) {
    mono = "M IT * 100 nan nan nan\n";
    EXPECT_EQ(open(), 0);
}

struct BadLine {
    const char* line;
    const char* message;
};

class BadMono : public MonoTest, public ::testing::WithParamInterface<BadLine> {};

TEST_P(BadMono, IsTold) {
    mono = std::string(GetParam().line) + "\n";
    const std::string text = getText();
    const OpenResult result = openProject(text);
    EXPECT_EQ(result.code, 200);
    const std::string expected = getLineError(text, GetParam().message, "[LID_MONOS]", GetParam().line);
    EXPECT_EQ(result.report.substr(0, expected.size()), expected);
}

INSTANTIATE_TEST_SUITE_P(All, BadMono,
                         ::testing::Values(BadLine{"M IT * 100 0 0", "ERROR 203: too few items"},
                                           BadLine{"M X X 0 0 0 0", "ERROR 209: undefined object X"},
                                           BadLine{"M IT X 0 0 0 0", "ERROR 209: undefined object X"},
                                           BadLine{"M IT ** 1 0 0 0", "ERROR 209: undefined object **"},
                                           BadLine{"M IT * 0 0 0 0", "ERROR 211: invalid number 0"},
                                           BadLine{"M IT * nan 0 0 0", "ERROR 211: invalid number nan"},
                                           BadLine{"M IT * 1 -2 0 0", "ERROR 211: invalid number -2"},
                                           BadLine{"M IT * 1 0 x 0", "ERROR 211: invalid number x"},
                                           BadLine{"M IT * 1 0 0 -3", "ERROR 211: invalid number -3"},
                                           BadLine{"M IT * 1 0 0 0 X", "ERROR 209: undefined object X"},
                                           BadLine{"M IT * 1 0 0 0 *", "ERROR 209: undefined object *"},
                                           BadLine{"M IT * 1 0 0 0 \"\"", "ERROR 209: undefined object "}));

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
    EXPECT_NEAR(LidMonos[0].initialDepth, soil + storage + 0.025 * 0.4, 1e-15);
    EXPECT_NEAR(LidMonos[1].initialDepth, soil + storage + 0.025 * 0.9, 1e-15);
    EXPECT_NEAR(LidMonos[2].initialDepth, soil + storage, 1e-15) << "beyond the table it is 0";
    EXPECT_NEAR(LidMonos[1].storageLevel, 0.025, 1e-15);
}

// --- the step ------------------------------------------------------------------------------------------------------

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

TEST_F(MonoTest, WithoutOutflowTheConcentrationIsNone) {
    start();
    stepWith(0.04, 0.008);
    EXPECT_EQ(unit().thisSurfaceFlow, 0.0);
    EXPECT_EQ(node().newQual[0], 0.0);
}

TEST_F(MonoTest, RainFallsOnItOnlyIfTheProjectSaysSo) {
    mono = "M IT G 100 0 0 100\n";
    start();
    Gages[0].rain = 1e-5;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().inflowDepth, 0.0);
    EXPECT_EQ(unit().rainDepth, 0.0);
    EXPECT_EQ(unit().rainLoad[0], 0.0);
    LidMonoRainfall = 1;
    stepWith(0.0, 0.0);
    EXPECT_NEAR(unit().inflowDepth, 6e-4, 1e-18);
    EXPECT_NEAR(unit().rainDepth, 6e-4, 1e-18);
    EXPECT_NEAR(unit().rainLoad[0], 100.0 * 1e-5 * 10.0 * 60.0 / 1000.0, 1e-16);
    EXPECT_NEAR(unit().inflowLoad[0], unit().rainLoad[0], 1e-16);
}

TEST_F(MonoTest, RainOfItsGageStopsTheEvaporationInAnyCase) {
    mono = "M IT G 100 0 50 100\n";
    start();
    Evap.rate = 1e-6;
    Gages[0].rain = 1e-12;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().evapRate, 0.0);
    Gages[0].rain = 0.0;
    stepWith(0.0, 0.0);
    EXPECT_NEAR(unit().evapRate, 86.4, 1e-12) << "mm/day";
}

TEST_F(MonoTest, DryTimeCountsFromTheLastTraceOfRain) {
    mono = "M IT G 100 0 0 100\n";
    start();
    Gages[0].rain = 7.056e-10;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().dryTime, 60.0);
    Gages[0].rain = 7.057e-10;
    stepWith(0.0, 0.0);
    EXPECT_EQ(unit().dryTime, 0.0);
}

TEST_F(MonoTest, SeepageIsShownInMillimetresPerHour) {
    project.lids = "IT IT\nIT STORAGE 500 1 18\n";
    mono = "M IT * 100 0 50 100\n";
    start();
    stepWith(0.0, 0.0);
    EXPECT_NEAR(unit().infilRate, 18.0, 1e-12);
    EXPECT_NEAR(unit().infilDepth, 60.0 * 5e-6, 1e-18);
}

TEST_F(MonoTest, DrainWithoutANodeJoinsTheLinkButNotItsConcentration) {
    project.lids = "IT IT\nIT STORAGE 500 1 0\nIT DRAIN 36 0 0\n";  // 1e-5 m/s whatever the head
    mono = "M IT * 100 0 50 50\n";
    start();
    unit().lastStorageMass[0] = 5.0;
    stepWith(0.02, 0.004);
    EXPECT_NEAR(unit().thisDrainFlow, 1e-3, 1e-17);
    EXPECT_NEAR(node_getOfferedFlow(findMono(), 0), 0.011, 1e-16);
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
    EXPECT_NEAR(Nodes[static_cast<size_t>(target)].newLatFlow, 1e-3, 1e-17);
    EXPECT_EQ(Nodes[static_cast<size_t>(target)].massInflow[0], unit().thisDrainLoad[0]);
    EXPECT_GT(unit().thisDrainLoad[0], 0.0);
    EXPECT_NEAR(node_getOfferedFlow(findMono(), 0), 0.01, 1e-16);
    EXPECT_EQ(FlowTotals.wetWeatherInflow, 0.0) << "water of the network is in no inflow again";
}

TEST_F(MonoTest, DrainThatEmptiesTheStorageLosesItsLoad) {
    project.lids = "IT IT\nIT STORAGE 500 1 0\nIT DRAIN 3.6e9 0 0\n";
    mono = "M IT * 100 0 50 0 DRAIN\n";
    start();
    unit().lastStorageMass[0] = 5.0;
    stepWith(0.0, 0.0);
    const Node& target = Nodes[static_cast<size_t>(unit().drainNode)];
    ASSERT_EQ(unit().storageLevel, 0.0);
    EXPECT_NEAR(target.newLatFlow, 0.25 * 0.5 * 100.0 / 60.0, 1e-13);
    EXPECT_EQ(target.massInflow[0], 0.0);
}

TEST_F(MonoTest, ShiftMakesNewOld) {
    start();
    unit().thisSurfaceFlow = 1.0;
    unit().thisDrainFlow = 2.0;
    unit().evapRate = unit().infilRate = 3.0;
    unit().thisSoilMass[1] = 4.0;
    unit().thisSurfaceLoad[1] = 5.0;
    unit().thisDrainLoad[1] = 6.0;
    node_shiftState(findMono());
    EXPECT_EQ(unit().lastSurfaceFlow, 1.0);
    EXPECT_EQ(unit().lastDrainFlow, 2.0);
    EXPECT_EQ(unit().lastSoilMass[1], 4.0);
    EXPECT_EQ(unit().lastSurfaceLoad[1], 5.0);
    EXPECT_EQ(unit().lastDrainLoad[1], 6.0);
    EXPECT_EQ(unit().thisSurfaceFlow + unit().thisDrainFlow + unit().evapRate + unit().infilRate, 0.0);
    EXPECT_EQ(unit().thisSoilMass[1] + unit().thisSurfaceLoad[1] + unit().thisDrainLoad[1], 0.0);
}

TEST_F(MonoTest, LetsGoOfItsArraysWhenTheMemoryOfTheResultsGoes) {
    start();
    ASSERT_NE(unit().thisSoilMass, nullptr);
    massbal_open();  // the first part of a second start, the rest of which may fail
    EXPECT_EQ(unit().lastSurfaceMass, nullptr);
    EXPECT_EQ(unit().thisDrainLoad, nullptr);
    EXPECT_EQ(unit().rainLoad, nullptr);
    double error = 0.0;
    EXPECT_EQ(massbal_closeQuality(0, &error).finalStorage, 0.0);
    node_initState(findMono());
    EXPECT_NE(unit().thisDrainLoad, nullptr);
}

TEST_F(MonoTest, NodeOfAnotherKindIsLeftAlone) {
    start();
    const Node before = Nodes[0];
    lidmono_step(0);
    EXPECT_EQ(Nodes[0].newLatFlow, before.newLatFlow);
    EXPECT_EQ(unit().inflowDepth, 0.0);
}

// --- in the network ------------------------------------------------------------------------------------------------

TEST_F(MonoTest, DrainNodeIsVisitedBehindIt) {
    mono = "N IT * 100 0 0 100\nM IT * 100 0 0 100 N\n";
    links = "[CONNECTIONS]\nC M OUT NO 0\nD N OUT NO 0\n";
    start();
    const int32_t drained = LidMonos[1].drainNode;
    ASSERT_GE(drained, 0);
    std::vector<int32_t> order(SortedNodes, SortedNodes + Nodes.size());
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
    EXPECT_NEAR(Links[0].newFlow, surface + drain, 1e-15);
    EXPECT_NEAR(Links[0].newQual[0], surface * 50.0 / (surface + drain), 1e-9);
}

TEST_F(MonoTest, WaterOfTheNetworkIsKept) {
    mono = "M IT G 100 0 50 100 DRAIN\n";
    project.lids = "IT IT\nIT SURFACE 50 0 0.1 1 0\nIT STORAGE 500 1 18\nIT DRAIN 3 0.5 50\n";
    project.options = "LID_MONO_RAINFALL YES\n";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    const double stored = unit().area * (unit().storageLevel * 0.5 + unit().surfaceLevel);
    const double rain = unit().area * unit().rainDepth, init = unit().area * unit().initialDepth;
    const double in = FlowTotals.externalInflow + rain + init;
    const double lost = unit().area * (unit().infilDepth + unit().evapDepth);
    EXPECT_NEAR(in + FlowTotals.wetWeatherInflow, FlowTotals.externalOutflow + FlowTotals.delayedVolume + lost + stored,
                1e-9);
    EXPECT_GT(rain, 0.0);
}

TEST_F(MonoTest, SecondRunEqualsTheFirst) {
    project.lids = "IT IT\nIT STORAGE 500 1 18\nIT DRAIN 3 0.5 50\n";
    project.decay = "IT LID P FIRST 5 FLAT STORAGE\n";
    mono = "M IT G 100 0 50 70 DRAIN\n";
    ASSERT_EQ(open(), 0);
    std::vector<std::vector<double>> runs;
    for (int32_t run = 0; run < 2; ++run) {
        ASSERT_EQ(tarnvelde_start(0), 0);
        ASSERT_EQ(stepToEnd(), 0);
        runs.push_back({unit().storageLevel, unit().thisStorageMass[0], unit().finalLoad[0], unit().dryTime,
                        unit().drainDepth, unit().thisSurfaceFlow, FlowTotals.externalOutflow});
        ASSERT_EQ(tarnvelde_end(), 0);
    }
    EXPECT_EQ(runs[0], runs[1]);
}

// --- results -------------------------------------------------------------------------------------------------------

TEST_F(MonoTest, RowHoldsElevenValuesAndFourBlocks) {
    project.lids =
        "PP PP\nPP SURFACE 50 0.5 0.1 1 0\nPP PAVEMENT 100 0.25 360\nPP SOIL 500 0.5 0.2 0.1 36 10\n"
        "PP STORAGE 400 1 0\n";
    mono = "M PP G 100 0 0 100\n";
    start();
    Gages[0].reportRain = 1e-6;
    node().oldInflow = 1.0;
    node().newInflow = 2.0;
    node().oldLatFlow = 3.0;
    node().newLatFlow = 5.0;
    LidMono& u = unit();
    u.evapRate = 6.0;
    u.lastSurfaceFlow = 7.0;
    u.thisSurfaceFlow = 8.0;
    u.infilRate = 9.0;
    u.lastDrainFlow = 10.0;
    u.thisDrainFlow = 12.0;
    u.surfaceLevel = 0.1;
    u.soilMoisture = 0.4;
    u.storageLevel = 0.2;
    u.pavementLevel = 0.0;
    u.lastSurfaceMass[1] = 1.0;
    u.thisSurfaceMass[1] = 2.0;
    u.thisSoilMass[1] = 4.0;
    u.thisStorageMass[1] = 8.0;
    u.thisPavementMass[1] = 16.0;
    float row[11 + 8];
    lidmono_getResults(findMono(), 0.25, row);
    const double expected[] = {1.25,
                               3.5,
                               3.6,
                               6.0,
                               7.25,
                               9.0,
                               10.5,
                               0.1,
                               0.4,
                               0.2,
                               0.0,
                               0.0,
                               (0.75 * 1.0 + 0.25 * 2.0) / (0.5 * 0.1 * 100.0) * 1000.0,
                               0.0,
                               0.25 * 4.0 / (0.5 * 0.4 * 100.0) * 1000.0,  // porosity, and not the depth
                               0.0,
                               0.25 * 8.0 / (0.5 * 0.2 * 100.0) * 1000.0,
                               0.0,
                               0.0};  // an empty layer has no concentration
    for (size_t k = 0; k < 19; ++k) {
        EXPECT_FLOAT_EQ(row[k], static_cast<float>(expected[k])) << k;
    }
    EXPECT_NEAR(lidmono_getVolume(0), 100.0 * (0.1 * 0.5 + 0.4 * 0.5 + 0.2 * 0.5), 1e-12);
}

TEST_F(MonoTest, RowBeforeAStartIsEmpty) {
    ASSERT_EQ(open(), 0);
    float row[11 + 8];
    lidmono_getResults(findMono(), 1.0, row);
    for (const float value : row) {
        EXPECT_EQ(value, 0.0F);
    }
}

// --- report --------------------------------------------------------------------------------------------------------

std::string getTable(const std::string& report, const std::string& title) {
    const size_t begin = report.find("\n  " + title + "\n");
    if (begin == std::string::npos) {
        return "no table";
    }
    const size_t end = report.find("\n  \n", begin);
    return report.substr(begin, end == std::string::npos ? end : end - begin);
}

TEST_F(MonoTest, ReportTablesOfUnitsAndNodes) {
    project.general = getGeneral(5);
    project.pollutants = "P 0\n";
    project.rain = "RAIN 2021/03/01 0:00 0 2:00 0\n";
    inflows = "M FLOW FLOW 0.01 \"\" 0\nM CONCEN P 500 \"\" 0\n";
    mono = "M IT * 100 0 0 100\n";
    project.groups = "S IT 50 0 20 0\n";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = file->getReport();
    const std::string dashes7 =
        "\n  ---------------- ---------------- ---------------- ---------------- ---------------- "
        "---------------- ---------------- ---------------- ----------------";
    const std::string dashes6 = dashes7.substr(0, dashes7.size() - 17);
    EXPECT_EQ(
        getTable(report, "Subcatchment LID Performance Summary"),
        "\n  Subcatchment LID Performance Summary\n  ************************************"
        "\n                                              Inflow            Evap.           Infil.  Surface Outflow"
        "    Drain Outflow    Init. Storage    Final Storage"
        "\n  Subcatchment     LID Process                    mm               mm               mm               mm"
        "               mm               mm               mm" +
            dashes7 +
            "\n  S                IT                          0.000            0.000            0.000            0.000"
            "            0.000           50.000           50.000");
    EXPECT_EQ(
        getTable(report, "Subcatchment LID Water Quality Summary"),
        "\n  Subcatchment LID Water Quality Summary\n  **************************************"
        "\n                                              Inflow           Infil.  Surface Outflow    Drain Outflow"
        "          Removed    Final Storage"
        "\n  Subcatchment     LID Process                    kg               kg               kg               kg"
        "               kg               kg" +
            dashes6 + "\n  *P*" +
            "\n  S                IT                          0.000            0.000            0.000            0.000"
            "            0.000            0.000");
    // Five steps of 0.6 m3; the final storage is that before the last. The first load meets a dry storage and is lost.
    EXPECT_EQ(
        getTable(report, "LID Monomer Performance Summary"),
        "\n  LID Monomer Performance Summary\n  *******************************"
        "\n                                         Tot. Inflow            Evap.           Infil.  Surface Outflow"
        "    Drain Outflow    Init. Storage    Final Storage"
        "\n  Node             LID Process                    m3               m3               m3               m3"
        "               m3               m3               m3" +
            dashes7 +
            "\n  M                IT                          3.000            0.000            0.000            0.000"
            "            0.000            0.000            2.400");
    EXPECT_EQ(
        getTable(report, "LID Monomer Water Quality Summary"),
        "\n  LID Monomer Water Quality Summary\n  *********************************"
        "\n                                         Tot. Inflow           Infil.  Surface Outflow    Drain Outflow"
        "          Reacted    Final Storage"
        "\n  Node             LID Process                    kg               kg               kg               kg"
        "               kg               kg" +
            dashes6 + "\n  *P*" +
            "\n  M                IT                          1.500            0.000            0.000            0.000"
            "            0.000            1.200");
}

TEST_F(MonoTest, TablesAppearByWhatTheProjectHas) {
    mono = links = inflows = "";
    project.groups = "";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = file->getReport();
    EXPECT_NE(getTable(report, "Subcatchment LID Performance Summary"), "no table") << "heads stand without rows";
    EXPECT_NE(getTable(report, "Subcatchment LID Water Quality Summary").find("\n  *Q*"), std::string::npos);
    EXPECT_EQ(getTable(report, "LID Monomer Performance Summary"), "no table");
    EXPECT_EQ(getTable(report, "LID Monomer Water Quality Summary"), "no table");
}

TEST_F(MonoTest, QualityTablesWantPollutants) {
    project.pollutants = "";
    inflows = "";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = file->getReport();
    EXPECT_EQ(getTable(report, "Subcatchment LID Water Quality Summary"), "no table");
    EXPECT_EQ(getTable(report, "LID Monomer Water Quality Summary"), "no table");
    EXPECT_NE(getTable(report, "LID Monomer Performance Summary"), "no table");
}

}  // namespace
