// Results of LID nodes, row by row. A control takes one explicit step per routing step, so that each flow and each
// level is a product of a few numbers of the project. The steps are of 60 s, the nodes of 100 m2.

#include <gtest/gtest.h>

#include <cmath>

#include "support/project.h"

namespace {

constexpr double DT = 60.0;
constexpr double AREA = 100.0;
constexpr double ONE_MM_PER_HOUR = 1.0 / 3600000.0;  ///< in m/s

/// A started run of node M with a control, between a junction and an outfall.
struct Mono {
    Project file;

    /// `node` is what follows the control on the node's line: gage, area, width, saturation, share.
    Mono(const std::string& layers, const std::string& node, const std::string& more = "")
        : file(getGeneral(20) + more + "[JUNCTIONS]\nK\n[OUTFALLS]\nO\n[LIDS]\n" + layers + "[LID_MONOS]\nM CELL " +
               node + "\n[CONNECTIONS]\nCK K M NO 0\nCM M O NO 0\n") {
        EXPECT_EQ(file.open(), 0) << file.getReport();
        EXPECT_EQ(tarnvelde_start(0), 0);
    }

    /// A step with inflows (m3/s) over the link and from the side, and a load (kg/s) of pollutant M.
    static void step(double upstream, double lateral, double load = 0.0) {
        double days = 0.0;
        ASSERT_EQ(tarnvelde_setExtInflow("K", upstream), 0);
        ASSERT_EQ(tarnvelde_setExtInflow("M", lateral), 0);
        if (load > 0.0) {
            ASSERT_EQ(tarnvelde_setExtLoad("M", "", load), 0);
        }
        ASSERT_EQ(tarnvelde_step(&days), 0);
    }

    static double told(int32_t code) {
        double value = NAN;
        EXPECT_EQ(tarnvelde_getResult(TARNVELDE_LID_MONOMER, "M", code, &value), -1) << code;
        return value;
    }

    static double got(int32_t code) {
        double value = NAN;
        EXPECT_EQ(tarnvelde_getResult(TARNVELDE_LID_MONOMER, "M", code, &value), 0) << code;
        return value;
    }
};

}  // namespace

// A trench of 1 m, half of it voids, that seeps 36 mm/h and drains 10 mm/h for each mm above 200 mm. A quarter of the
// inflow goes through it.
TEST(ResultsOfLids, Trench) {
    Mono mono("CELL IT\nCELL SURFACE 100 0.2 0.1 1 0\nCELL STORAGE 1000 1 36\nCELL DRAIN 10 1 200\n", "* 100 0 60 25",
              "[EVAPORATION]\nCONSTANT 86.4\n");
    const double seepage = 36.0 * ONE_MM_PER_HOUR;
    const double evaporation = 0.0864 / 86400.0;
    const double firstDrain = 10.0 * 400.0 * ONE_MM_PER_HOUR;
    Mono::step(0.0, 0.0);
    const double level = 0.6 - DT * (seepage + evaporation + firstDrain) / 0.5;
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_EVAPORATION), 86.4, 1e-9);   // mm/day
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_EXFILTRATION), 36.0, 1e-9);  // mm/h
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_DRAIN_FLOW), firstDrain * AREA, 1e-12);
    EXPECT_EQ(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_FLOW), 0.0);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_STORAGE_DEPTH), level, 1e-12);
    EXPECT_NEAR(level, 0.465346666666667, 1e-14);

    // Water comes in, and then nothing evaporates from below. Three quarters pass the trench by.
    Mono::step(0.12, 0.08);
    const double secondDrain = 10.0 * (level - 0.2) * 1000.0 * ONE_MM_PER_HOUR;
    const double through = 0.25 * 0.2 / AREA;
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_INFLOW), 0.2, 1e-15);
    EXPECT_EQ(Mono::told(TARNVELDE_RESULT_LID_MONOMER_LATERAL_INFLOW), 0.08);
    EXPECT_EQ(Mono::told(TARNVELDE_RESULT_LID_MONOMER_RAIN), 0.0);
    EXPECT_EQ(Mono::told(TARNVELDE_RESULT_LID_MONOMER_EVAPORATION), 0.0);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_FLOW), 0.15, 1e-15);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_DRAIN_FLOW), secondDrain * AREA, 1e-12);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_STORAGE_DEPTH),
                level + DT * (through - seepage - secondDrain) / 0.5, 1e-12);
}

// A pavement of 150 mm, half of it voids, that lets 36 mm/h in, on a full storage that seeps 3.6 mm/h. What the berm of
// 5 mm doesn't hold spills within the step; plants fill a tenth of the room behind it.
TEST(ResultsOfLids, Pavement) {
    Mono mono("CELL PP\nCELL SURFACE 5 0.1 0.1 1 0\nCELL PAVEMENT 150 1 36\nCELL STORAGE 500 1 3.6\n",
              "* 100 0 100 100");
    Mono::step(0.0, 0.01);
    const double rise = DT * (0.01 / AREA - 36.0 * ONE_MM_PER_HOUR);  // 5.4 mm, of a pavement without regard to plants
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_FLOW), (rise - 0.005) * 0.9 / DT * AREA, 1e-12);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_DEPTH), 0.005, 1e-15);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_PAVEMENT_DEPTH), DT * (36.0 - 3.6) * ONE_MM_PER_HOUR / 0.5,
                1e-12);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_STORAGE_DEPTH), 0.5, 1e-15);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_EXFILTRATION), 3.6, 1e-9);
    EXPECT_EQ(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SOIL_MOISTURE), 0.0);
}

// A cell whose soil takes 36 mm/h of 0.1 m3/s with 40 mg/L of pollutant M, and passes nothing on while it is below
// field capacity. In the first step the surface is dry: the load goes straight into the soil.
TEST(ResultsOfLids, SurfaceAndSoilOfACell) {
    Mono mono("CELL BC\nCELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 36 10\nCELL STORAGE 300 1 0\n",
              "* 100 0 20 100", "[POLLUTANTS]\nM 0\nX 0\n");
    const double infiltration = 36.0 * ONE_MM_PER_HOUR;
    const double mass = 0.004 * DT;  // kg
    Mono::step(0.0, 0.1, 0.004);
    const double level = DT * (0.1 / AREA - infiltration) / 0.9;
    const double moisture = 0.17 + DT * infiltration / 0.5;
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_DEPTH), level, 1e-14);  // 66 mm
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SOIL_MOISTURE), moisture, 1e-14);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_STORAGE_DEPTH), 0.06, 1e-15);
    EXPECT_EQ(Mono::got(TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY), 0.0);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY + 2), mass / (moisture * 0.45 * AREA) * 1000.0,
                1e-9);  // 31.15 mg/L: porosity, where depth would be due

    Mono::step(0.0, 0.1, 0.004);
    EXPECT_NEAR(Mono::got(TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY), mass / (2.0 * level * 0.9 * AREA) * 1000.0,
                1e-9);  // 20.2 mg/L
    EXPECT_EQ(Mono::got(TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY + 1), 0.0);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY + 2),
                mass / ((moisture + DT * infiltration / 0.5) * 0.45 * AREA) * 1000.0, 1e-9);

    // The berm is full: what stands above it spills, with the concentration of the start of the step.
    Mono::step(0.0, 0.1, 0.004);
    const double spilt = (3.0 * level - 0.15) * 0.9 * AREA;  // m3
    const double seeped = infiltration * DT * AREA;
    const double before = mass / (2.0 * level * 0.9 * AREA);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_FLOW), spilt / DT, 1e-12);
    EXPECT_NEAR(Mono::told(TARNVELDE_RESULT_LID_MONOMER_SURFACE_DEPTH), 0.15, 1e-15);
    EXPECT_NEAR(Mono::got(TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY),
                (2.0 * mass - (spilt + seeped) * before) / (0.15 * 0.9 * AREA) * 1000.0, 1e-9);  // 29.0 mg/L
}
