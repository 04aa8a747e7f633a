// The tables of the report: which figure stands in which row and column, which rows there are, and in what order.
// Figures are put straight into the records that a table reads, each with a value of its own.

#include "results/report.h"
#include "nodes/outfall.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hydrology/lidgroup.h"
#include "links/conduit.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/tank.h"
#include "support/allkinds.h"
#include "support/land.h"
#include "support/lids.h"
#include "support/model.h"
#include "support/reporttables.h"
#include "support/storage.h"

namespace {

using Rows = std::vector<std::string>;

std::string show(double value) {
    char text[32];
    std::snprintf(text, sizeof text, " %.3f", value);
    return text;
}

class LandReport : public LandTest {
protected:
    static Subcatch& land() { return testModel().subcatches[0]; }

    std::string makeReport() {
        EXPECT_EQ(tarnvelde_report(), 0);
        return readReport();
    }
};

// --- continuity of the land ----------------------------------------------------------------------------------------

// A depth of 1 mm on 10000 m2 is 10 m3. The share of the impervious part is a quarter, so (3 × 0.2 + 0.4) / 4 mm stand
// on the surface: 2.5 m3. Of the 200 m3 of rain 15 + 82 + 100 + 2.5 are accounted for.
TEST_F(LandReport, RunoffQuantityHasVolumesAndDepths) {
    LandProject project;
    project.subcatchs = "S G O 1 100 25 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(start(project), 0);
    land().rainfall = 20.0;
    land().evap = 1.5;
    land().infil = 8.2;
    land().runoff = 10.0;
    land().perviousDepth = 0.0002;
    land().imperviousDepth = 0.0004;
    const Rows expected = {"Total Rainfall 200.000 20.000", "Init. LID Storage 0.000 0.000", "Evap. Loss 15.000 1.500",
                           "Infil. Loss 82.000 8.200",      "Surface Runoff 100.000 10.000", "LID Drainage 0.000 0.000",
                           "Final Storage 2.500 0.250",     "Continuity Error (%) 0.250"};
    EXPECT_EQ(getRows(makeReport(), "Runoff Quantity Continuity"), expected);
}

TEST_F(LandReport, DepthsAreMeansOverAllLand) {
    LandProject project;
    project.subcatchs += "S2 G O 3 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(start(project), 0);
    land().rainfall = 20.0;                     // on 1 ha: 200 m3
    testModel().subcatches[1].rainfall = 12.0;  // on 3 ha: 360 m3
    EXPECT_EQ(getRow(makeReport(), "Runoff Quantity Continuity", "Total Rainfall"), "560.000 14.000");
}

// P: 6 kg came in, and 0.4 + 0.25 + 4 + 0.6 are accounted for: 0.75 / 6 = 12.5 %. Q: 6 of 8.
TEST_F(LandReport, RunoffQualityHasARowForEachWay) {
    LandProject project;
    project.more = "[POLLUTANTS]\nP 0\nQ 0\n";
    ASSERT_EQ(start(project), 0);
    land().initBuildup[0] = 1.0;
    land().surfaceBuildup[0] = 2.0;
    land().wetDeposition[0] = 3.0;
    land().infilLoss[0] = 0.4;
    land().bmpRemoval[0] = 0.25;
    land().surfaceWashoff[0] = 4.0;
    land().pondedMass[0] = 0.6;
    land().initBuildup[1] = 8.0;
    land().surfaceWashoff[1] = 6.0;
    const std::string tables = makeReport();
    const Rows expected = {
        "Init. Buildup 1.000 8.000",     "Surface Buildup 2.000 0.000",       "Wet Deposition 3.000 0.000",
        "Infil. Loss 0.400 0.000",       "BMP Removal 0.250 0.000",           "LID Removal 0.000 0.000",
        "Surface Washoff 4.000 6.000",   "LID Drainage 0.000 0.000",          "LID Final Storage 0.000 0.000",
        "Remaining Buildup 0.600 0.000", "Continuity Error (%) 12.500 25.000"};
    EXPECT_EQ(getRows(tables, "Runoff Quality Continuity"), expected);
    EXPECT_EQ(getRow(tables, "Subcatchment Washoff Summary", "S"), "4.000 6.000");
}

// 2.5 ha with 8 of 20 mm of rain run off: 200 m3.
TEST_F(LandReport, SubcatchmentsHaveDepthsVolumeAndCoefficient) {
    LandProject project;
    project.subcatchs = "S G O 2.5 100 50 1 0.015 0.1 1 2 50 5 4 3 0\nDRY G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    ASSERT_EQ(start(project), 0);
    land().rainfall = 20.0;
    land().evap = 1.5;
    land().infil = 7.0;
    land().runoff = 8.0;
    land().peakRunoff = 0.125;
    testModel().subcatches[1].runoff = 4.0;
    const Rows expected = {"S 2.500 20.000 1.500 7.000 8.000 200.000 0.125 0.400",
                           "DRY 1.000 0.000 0.000 0.000 4.000 40.000 0.000 0.000"};  // no rain, no coefficient
    EXPECT_EQ(getRows(makeReport(), "Subcatchment Runoff Summary"), expected);
}

// --- continuity of the network -------------------------------------------------------------------------------------

// In come 1000 + 200 + 30 + 4 + 5 + 1 = 1240; 600 + 70 + 8 + 9 + 10 + 11 + 12 + 500 = 1220 are accounted for:
// 20 / 1240 = 1.613 %. The reserved total has no part in it.
TEST(NetworkReport, FlowRoutingHasARowForEachTotal) {
    StartedProject model(getGeneral(4) + "[OUTFALLS]\nO\n");
    FlowTotalsRecord& totals = testModel().totals.flow;
    totals.dryWeatherInflow = 1000.0;
    totals.wetWeatherInflow = 200.0;
    totals.externalInflow = 30.0;
    totals.swmmInflow = 4.0;
    totals.vornInflow = 5.0;
    totals.externalOutflow = 600.0;
    totals.floodingLoss = 70.0;
    totals.swmmOutflow = 8.0;
    totals.vornOutflow = 9.0;
    totals.evapLoss = 10.0;
    totals.seepageLoss = 11.0;
    totals.delayedVolume = 12.0;
    totals.initStorage = 1.0;
    totals.finalStorage = 500.0;
    totals.reserved = 999.0;
    ASSERT_EQ(tarnvelde_report(), 0);
    const Rows expected = {"Dry Weather Inflow 1000.000", "Wet Weather Inflow 200.000", "External Inflow 30.000",
                           "SWMM Inflow 4.000",           "VORN Inflow 5.000",          "External Outflow 600.000",
                           "Flooding Loss 70.000",        "SWMM Outflow 8.000",         "VORN Outflow 9.000",
                           "Evap. Loss 10.000",           "Seepage Loss 11.000",        "Delayed Vol. 12.000",
                           "Init. Storage 1.000",         "Final Storage 500.000",      "Continuity Error (%) 1.613"};
    EXPECT_EQ(getRows(model.getReport(), "Flow Routing Continuity"), expected);
}

// As above, with what has reacted in the place of evaporation. The second pollutant never came in.
TEST(NetworkReport, QualityRoutingHasARowForEachTotalAndAColumnForEachPollutant) {
    StartedProject model(getGeneral(4) + "[OUTFALLS]\nO\n[POLLUTANTS]\nP 0\nQ 0\n");
    QualTotalsRecord& totals = testModel().totals.quality[0];
    totals.dryWeatherInflow = 1000.0;
    totals.wetWeatherInflow = 200.0;
    totals.externalInflow = 30.0;
    totals.swmmInflow = 4.0;
    totals.vornInflow = 5.0;
    totals.externalOutflow = 600.0;
    totals.floodingLoss = 70.0;
    totals.swmmOutflow = 8.0;
    totals.vornOutflow = 9.0;
    totals.seepageLoss = 11.0;
    totals.reactedLoss = 10.0;
    totals.delayedMass = 12.0;
    totals.initStorage = 1.0;
    totals.finalStorage = 500.0;
    totals.reserved = 999.0;
    testModel().outfalls[0].statLoad[0] = 600.0;
    testModel().outfalls[0].statLoad[1] = 0.5;
    ASSERT_EQ(tarnvelde_report(), 0);
    const Rows expected = {
        "Dry Weather Inflow 1000.000 0.000", "Wet Weather Inflow 200.000 0.000", "External Inflow 30.000 0.000",
        "SWMM Inflow 4.000 0.000",           "VORN Inflow 5.000 0.000",          "External Outflow 600.000 0.000",
        "Flooding Loss 70.000 0.000",        "SWMM Outflow 8.000 0.000",         "VORN Outflow 9.000 0.000",
        "Seepage Loss 11.000 0.000",         "Reacted Loss 10.000 0.000",        "Delayed Mass 12.000 0.000",
        "Init. Storage 1.000 0.000",         "Final Storage 500.000 0.000",      "Continuity Error (%) 1.613 0.000"};
    const std::string report = model.getReport();
    EXPECT_EQ(getRows(report, "Quality Routing Continuity"), expected);
    EXPECT_EQ(getRows(report, "Outfall Loading Summary"), Rows{"O 600.000 0.500"});
}

TEST(NetworkReport, ANegativeFigureBelowTheLastDigitKeepsItsSign) {
    // 10 steps of 60 s at -5e-7 m3/s: -0.0003 m3. The maximum counts from 0.
    StartedProject model(getGeneral(10) +
                         "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nC A OUT NO 0\n"
                         "[INFLOWS]\nA FLOW FLOW -0.0000005 \"\" 1\n");
    model.step(10);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = model.getReport();
    EXPECT_EQ(getRow(report, "Flow Routing Continuity", "External Inflow"), "-0.000");
    EXPECT_EQ(getRow(report, "Node Inflow Summary", "A"), "JUNCTION -0.000 0.000");
}

// --- nodes and links -----------------------------------------------------------------------------------------------

TEST(NetworkReport, NodesHaveTheirKindAndOutsideModelsNoRow) {
    AllKinds project;
    project.start();
    for (int32_t k = 0; k < testModel().nodes.size(); ++k) {
        testModel().nodes[k].statInflowVolume = static_cast<double>(k + 1);
        testModel().nodes[k].statMaxInflow = static_cast<double>(k + 1) / 8.0;
    }
    testModel().tanks[0].statMaxDepth = 2.0;  // on 1000 m2
    testModel().tanks[0].statFloodVolume = 7.0;
    ASSERT_EQ(tarnvelde_report(), 0);
    // SW and V, the fifth and the eighth node, report for themselves.
    const Rows expected = {"J JUNCTION 1.000 0.125",  "T TANK 2.000 0.250",      "O OUTFALL 3.000 0.375",
                           "SP SPLITTER 4.000 0.500", "R REACTOR 6.000 0.750",   "M LID_MONO 7.000 0.875",
                           "O2 OUTFALL 9.000 1.125",  "OS OUTFALL 10.000 1.250", "OR2 OUTFALL 11.000 1.375"};
    EXPECT_EQ(getRows(project.getReport(), "Node Inflow Summary"), expected);
    EXPECT_EQ(getRows(project.getReport(), "Tank Depth Summary"), Rows{"T 2.000 2000.000 7.000"});
}

TEST(NetworkReport, LinksHaveTheirKindFlowAndFlood) {
    AllKinds project;
    project.start();
    for (int32_t k = 0; k < testModel().links.size(); ++k) {
        const double value = static_cast<double>(k + 1);
        testModel().links[k].statFlowVolume = value;
        testModel().links[k].statMaxFlow = 2.0 * value;
        testModel().linkFloods[k].volume = 3.0 * value;
        testModel().linkFloods[k].maximum = 4.0 * value;
    }
    ASSERT_EQ(tarnvelde_report(), 0);
    Rows expected = {"P PIPE",     "PU PUMP",       "C CONNECTION",  "D CONDUIT",     "W WEIR",
                     "OR ORIFICE", "CM CONNECTION", "CR CONNECTION", "CS CONNECTION", "CV CONNECTION"};
    double value = 0.0;
    for (std::string& row : expected) {
        value += 1.0;
        row += show(value) + show(2.0 * value) + show(3.0 * value) + show(4.0 * value);
    }
    EXPECT_EQ(getRows(project.getReport(), "Link Flow Summary"), expected);
}

TEST(NetworkReport, NodesThatHaveNoRowLeaveTheHead) {
    StartedProject model(getGeneral(4) + "[OUTFALLS]\nO\n");
    const std::string head =
        "\n  Node Inflow Summary\n  *******************"
        "\n                                              Inflow      Max. Inflow"
        "\n  Node             Type                           m3             m3/s"
        "\n  ---------------- ---------------- ---------------- ----------------";
    for (const int32_t kind : {SWMM, VORN}) {
        testModel().nodes[0].kind = kind;
        ASSERT_EQ(tarnvelde_report(), 0);
        testModel().nodes[0].kind = OUTFALL;
        const std::string report = model.getReport();
        EXPECT_EQ(report.substr(report.rfind("\n  Node Inflow Summary")), head) << kind;
    }
}

// The lowest point of the bed is a bank, so nothing fits, and there is no share of a full depth.
TEST(NetworkReport, AConduitWithoutDepthHasNoCapacity) {
    StartedProject model(getGeneral(4) +
                         "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[CONDUITS]\nC J OUT NO 100 0.5 0.013 IRREGULAR X\n"
                         "[DWFS]\nJ FLOW 0.5 \"\"\n[CURVES]\nX TRANSECT 0 1 2 3 4 4\n");
    ASSERT_EQ(model.conduit("C").fullDepth, 0.0);
    model.step();
    ASSERT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(getRows(model.getReport(), "Conduit Flow Summary"), Rows{"C 0.000 0.000 0.000"});
}

TEST(NetworkReport, AConduitHasItsDepthItsShareOfTheFullOneAndItsVelocity) {
    StartedProject model(getGeneral(4) +
                         "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[CONDUITS]\nC J OUT NO 100 0.5 0.013 RECTANGULAR 2 3\n");
    model.conduit("C").statMaxDepth = 0.5;
    model.conduit("C").statMaxVelocity = 1.75;
    ASSERT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(getRows(model.getReport(), "Conduit Flow Summary"), Rows{"C 0.500 0.250 1.750"});
}

// --- LID controls --------------------------------------------------------------------------------------------------

/// Seven depths (m), 0.001 apart, each in a field of its own.
void setDepths(LidUnit& unit, double first) {
    double value = first;
    for (double* depth : {&unit.inflowDepth, &unit.evapDepth, &unit.infilDepth, &unit.surfaceOutDepth, &unit.drainDepth,
                          &unit.initialDepth, &unit.finalDepth}) {
        *depth = value;
        value += 0.001;
    }
}

/// Six loads (kg), 1 apart, of one pollutant.
void setLoads(LidUnit& unit, size_t p, double first) {
    double value = first;
    for (double* loads :
         {unit.inflowLoad, unit.exfilLoad, unit.surfaceOutLoad, unit.drainOutLoad, unit.reactedLoad, unit.finalLoad}) {
        loads[p] = value;
        value += 1.0;
    }
}

/// Two units on the subcatchment S and two nodes, one of each definition.
std::string getLidText() {
    LidProject project;
    project.lids = "A IT\nA STORAGE 500 1 0\nB IT\nB STORAGE 500 1 0\n";
    project.groups = "S A 50 0 0 0\nS B 20 0 0 0\n";
    project.nodes = "[LID_MONOS]\nM A * 100 0 0 100\nN B * 1000 0 0 100\n[CONNECTIONS]\nC M OUT NO 0\nC2 N OUT NO 0\n";
    return project.text();
}

// Units show depths in mm, nodes volumes: their depths are those of 100 and of 1000 m2.
TEST(LidReport, WaterStandsInItsColumns) {
    StartedProject model(getLidText());
    setDepths(testModel().lidUnits[0], 0.001);
    setDepths(testModel().lidUnits[1], 0.011);
    setDepths(testModel().lidMonos[0].unit, 0.001);
    setDepths(testModel().lidMonos[1].unit, 0.011);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = model.getReport();
    const Rows units = {"S A 1.000 2.000 3.000 4.000 5.000 6.000 7.000",
                        "S B 11.000 12.000 13.000 14.000 15.000 16.000 17.000"};
    EXPECT_EQ(getRows(report, "Subcatchment LID Performance Summary"), units);
    const Rows nodes = {"M A 0.100 0.200 0.300 0.400 0.500 0.600 0.700",
                        "N B 11.000 12.000 13.000 14.000 15.000 16.000 17.000"};
    EXPECT_EQ(getRows(report, "LID Monomer Performance Summary"), nodes);
}

TEST(LidReport, LoadsStandInTheBlockOfTheirPollutant) {
    StartedProject model(getLidText());
    for (size_t p = 0; p < 2; ++p) {
        const double block = 100.0 * static_cast<double>(p);
        setLoads(testModel().lidUnits[0], p, block + 11.0);
        setLoads(testModel().lidUnits[1], p, block + 21.0);
        setLoads(testModel().lidMonos[0].unit, p, block + 31.0);
        setLoads(testModel().lidMonos[1].unit, p, block + 41.0);
    }
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = model.getReport();
    const Rows units = {"*P*",
                        "S A 11.000 12.000 13.000 14.000 15.000 16.000",
                        "S B 21.000 22.000 23.000 24.000 25.000 26.000",
                        "*Q*",
                        "S A 111.000 112.000 113.000 114.000 115.000 116.000",
                        "S B 121.000 122.000 123.000 124.000 125.000 126.000"};
    EXPECT_EQ(getRows(report, "Subcatchment LID Water Quality Summary"), units);
    const Rows nodes = {"*P*",
                        "M A 31.000 32.000 33.000 34.000 35.000 36.000",
                        "N B 41.000 42.000 43.000 44.000 45.000 46.000",
                        "*Q*",
                        "M A 131.000 132.000 133.000 134.000 135.000 136.000",
                        "N B 141.000 142.000 143.000 144.000 145.000 146.000"};
    EXPECT_EQ(getRows(report, "LID Monomer Water Quality Summary"), nodes);
}

// --- which tables there are ----------------------------------------------------------------------------------------

TEST_F(LandReport, WithoutPollutantsThereIsNoTableOfThem) {
    ASSERT_EQ(start(LandProject()), 0);
    const std::string tables = makeReport();
    EXPECT_NE(tables.find("Subcatchment Runoff Summary"), std::string::npos) << tables;
    EXPECT_NE(tables.find("Node Inflow Summary"), std::string::npos);
    for (const char* word : {"Quality", "Washoff", "Outfall Loading", "kg"}) {
        EXPECT_EQ(tables.find(word), std::string::npos) << word;
    }
}

TEST(NetworkReport, WithoutLandThereIsNoTableOfIt) {
    StartedProject model(getGeneral(4) + "[OUTFALLS]\nO\n");
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = model.getReport();
    // Of the tables only these are left.
    EXPECT_NE(report.find("Runoff Quantity Continuity"), std::string::npos);
    EXPECT_NE(report.find("Flow Routing Continuity"), std::string::npos);
    EXPECT_NE(report.find("Node Inflow Summary"), std::string::npos);
    EXPECT_EQ(report.find("Summary"), report.rfind("Summary"));
    EXPECT_EQ(report.find("Quality"), std::string::npos);
}

TEST(NetworkReport, HoldsAllTablesInTheirOrder) {
    AllKinds project;
    project.start();
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string report = project.getReport();
    size_t place = 0;
    for (const char* title :
         {"Runoff Quantity Continuity", "Runoff Quality Continuity", "Flow Routing Continuity",
          "Quality Routing Continuity", "Subcatchment Runoff Summary", "Subcatchment Washoff Summary",
          "Subcatchment LID Performance Summary", "Subcatchment LID Water Quality Summary", "Node Inflow Summary",
          "Tank Depth Summary", "Outfall Loading Summary", "Reactor Quantity Summary", "Reactor Quality Summary",
          "LID Monomer Performance Summary", "LID Monomer Water Quality Summary", "Link Flow Summary",
          "Conduit Flow Summary", "Gage Event Summary"}) {
        const size_t next = report.find("\n  " + std::string(title), place);
        ASSERT_NE(next, std::string::npos) << title << " behind the table before it";
        place = next;
    }
}

// --- rain gages ----------------------------------------------------------------------------------------------------

// 3 mm in the five minutes from 0:10 on, 4 in the next. A second run finds the event again.
TEST_F(LandReport, AGageListsItsEventsOnceForEachRun) {
    LandProject project;
    project.gages = "G VOLUME 0:05 T\n";
    project.series = "T 0:00 0\nT 0:05 0\nT 0:10 3\nT 0:15 4\nT 0:20 0\nT 1:00 0\n";
    project.general = "EVENT_INTERVAL 5\n";
    ASSERT_EQ(start(project), 0);
    runToEnd();
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    runToEnd();
    const Rows expected = {"G 1 2021/03/01 00:10:00 2021/03/01 00:15:00 7.000",
                           "G 2 2021/03/01 00:10:00 2021/03/01 00:15:00 7.000"};
    EXPECT_EQ(getRows(makeReport(), "Gage Event Summary"), expected);
}

}  // namespace
