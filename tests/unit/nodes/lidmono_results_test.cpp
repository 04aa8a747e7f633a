// LID monomer nodes: their results, their tables in the report, and what an end and a second run make of them.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "hydrology/gage.h"
#include "results/massbal.h"
#include "results/rows.h"
#include "support/lidmonos.h"
#include "support/model.h"
#include "support/reporttables.h"

namespace {

// --- results -------------------------------------------------------------------------------------------------------

TEST_F(MonoTest, RowHoldsElevenValuesAndFourBlocks) {
    project.lids =
        "PP PP\nPP SURFACE 50 0.5 0.1 1 0\nPP PAVEMENT 100 0.25 360\nPP SOIL 500 0.5 0.2 0.1 36 10\n"
        "PP STORAGE 400 1 0\n";
    mono = "M PP G 100 0 0 100\n";
    start();
    testModel().gages[0].reportRain = 1e-6;
    node().oldInflow = 1.0;
    node().newInflow = 2.0;
    node().oldLatFlow = 3.0;
    node().newLatFlow = 5.0;
    LidUnit& u = unit();
    record().evapRate = 6.0;
    u.lastSurfaceFlow = 7.0;
    u.thisSurfaceFlow = 8.0;
    record().infilRate = 9.0;
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
    rows_fill(testModel(), LID_MONO_TABLE, findMono(), 0.25, row);
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
    EXPECT_NEAR(lidmono_getVolume(testModel(), 0), 100.0 * (0.1 * 0.5 + 0.4 * 0.5 + 0.2 * 0.5), 1e-12);
}

TEST_F(MonoTest, RowBeforeAStartIsEmpty) {
    ASSERT_EQ(open(), 0);
    float row[11 + 8];
    rows_fill(testModel(), LID_MONO_TABLE, findMono(), 1.0, row);
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
    const std::string tables = getReport();
    const std::string dashes7 =
        "\n  ---------------- ---------------- ---------------- ---------------- ---------------- "
        "---------------- ---------------- ---------------- ----------------";
    const std::string dashes6 = dashes7.substr(0, dashes7.size() - 17);
    EXPECT_EQ(
        getTable(tables, "Subcatchment LID Performance Summary"),
        "\n  Subcatchment LID Performance Summary\n  ************************************"
        "\n                                              Inflow            Evap.           Infil.  Surface Outflow"
        "    Drain Outflow    Init. Storage    Final Storage"
        "\n  Subcatchment     LID Process                    mm               mm               mm               mm"
        "               mm               mm               mm" +
            dashes7 +
            "\n  S                IT                          0.000            0.000            0.000            0.000"
            "            0.000           50.000           50.000");
    EXPECT_EQ(
        getTable(tables, "Subcatchment LID Water Quality Summary"),
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
        getTable(tables, "LID Monomer Performance Summary"),
        "\n  LID Monomer Performance Summary\n  *******************************"
        "\n                                         Tot. Inflow            Evap.           Infil.  Surface Outflow"
        "    Drain Outflow    Init. Storage    Final Storage"
        "\n  Node             LID Process                    m3               m3               m3               m3"
        "               m3               m3               m3" +
            dashes7 +
            "\n  M                IT                          3.000            0.000            0.000            0.000"
            "            0.000            0.000            2.400");
    EXPECT_EQ(
        getTable(tables, "LID Monomer Water Quality Summary"),
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
    const std::string tables = getReport();
    EXPECT_NE(getTable(tables, "Subcatchment LID Performance Summary"), "no table") << "heads stand without rows";
    EXPECT_NE(getTable(tables, "Subcatchment LID Water Quality Summary").find("\n  *Q*"), std::string::npos);
    EXPECT_EQ(getTable(tables, "LID Monomer Performance Summary"), "no table");
    EXPECT_EQ(getTable(tables, "LID Monomer Water Quality Summary"), "no table");
}

TEST_F(MonoTest, QualityTablesWantPollutants) {
    project.pollutants = "";
    inflows = "";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string tables = getReport();
    EXPECT_EQ(getTable(tables, "Subcatchment LID Water Quality Summary"), "no table");
    EXPECT_EQ(getTable(tables, "LID Monomer Water Quality Summary"), "no table");
    EXPECT_NE(getTable(tables, "LID Monomer Performance Summary"), "no table");
}

// --- end and second run --------------------------------------------------------------------------------------------

const std::vector<std::string> TABLES = {"Subcatchment LID Performance Summary",
                                         "Subcatchment LID Water Quality Summary", "LID Monomer Performance Summary",
                                         "LID Monomer Water Quality Summary"};

TEST_F(MonoTest, SecondRunEqualsTheFirst) {
    project.general = getGeneral(120);  // the second hour is dry
    project.options = "LID_MONO_RAINFALL YES\n";
    project.evaporation = "CONSTANT 5\n";
    project.lids = "IT IT\nIT SURFACE 20 0 0.1 1 0\nIT STORAGE 500 1 18\nIT DRAIN 3 0.5 50\n";
    project.groups = "S IT 100 0 50 20\n";
    project.decay = "IT LID P FIRST 5 FLAT STORAGE\n";
    mono = "M IT G 100 0 50 70 DRAIN\n";
    ASSERT_EQ(open(), 0);
    std::vector<std::vector<double>> runs;
    std::vector<std::vector<std::string>> tables;
    for (int32_t run = 0; run < 2; ++run) {
        ASSERT_EQ(tarnvelde_start(0), 0);
        ASSERT_EQ(stepToEnd(), 0);
        runs.push_back({unit().storageLevel, unit().thisStorageMass[0], unit().finalLoad[0], unit().dryTime,
                        record().rainDepth, unit().inflowDepth, unit().evapDepth, unit().infilDepth,
                        unit().surfaceOutDepth, unit().drainDepth, unit().initialDepth, unit().finalDepth,
                        unit().thisSurfaceFlow, testModel().totals.flow.externalOutflow});
        ASSERT_EQ(tarnvelde_report(), 0);
        tables.push_back(getAllRows(getReport(), TABLES));
        ASSERT_EQ(tarnvelde_end(), 0);
    }
    EXPECT_THAT(runs[0], ::testing::Each(::testing::Gt(0.0))) << "a book that stays empty tells nothing";
    EXPECT_EQ(runs[0], runs[1]);
    EXPECT_EQ(tables[0].size(), 2U * (1U + 2U * 2U)) << "a unit and a node, by water and by two pollutants";
    EXPECT_EQ(tables[0], tables[1]);
}

TEST_F(MonoTest, StateOutlivesTheEndOfTheRun) {
    mono = "M IT * 100 0 50 100\n";
    start();
    ASSERT_EQ(stepToEnd(), 0);
    std::vector<float> before(11 + 8), behind(11 + 8);
    rows_fill(testModel(), LID_MONO_TABLE, findMono(), 1.0, before.data());
    ASSERT_GT(before[11 + 2 * 2], 0.0F) << "the first pollutant in the storage";
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string tables = getReport();
    ASSERT_EQ(tarnvelde_end(), 0);
    rows_fill(testModel(), LID_MONO_TABLE, findMono(), 1.0, behind.data());
    EXPECT_EQ(before, behind);
    ASSERT_EQ(tarnvelde_report(), 0);
    const std::string second = getReport().substr(tables.size());
    EXPECT_EQ(getAllRows(tables, TABLES), getAllRows(second, TABLES));
    EXPECT_NE(getRows(tables, TABLES[3]), getRows("", TABLES[3]));
}

}  // namespace
