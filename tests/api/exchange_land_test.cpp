// Results of subcatchments, row by row, worked out from the laws: a plane in its first step, under steady rain, and
// just above and below the rate that counts as dry.

#include <gtest/gtest.h>

#include <cmath>

#include "support/project.h"

namespace {

constexpr double RAIN = 36.0 / 3600000.0;         ///< m/s
constexpr double EVAPORATION = 4.0 / 86400000.0;  ///< m/s

/// Rain of 36 mm/h for six hours. B comes with it, 5 mg/L; J is washed off at 10 mg/L.
std::string getLand(const std::string& subcatch) {
    return getGeneral(300) + "[EVAPORATION]\nCONSTANT 4\n[RAINGAGES]\nG INTENSITY 1:00 RAIN\n[TIMESERIES]\n" +
           "RAIN 2021/03/01 0:00 36 1:00 36 2:00 36 3:00 36 4:00 36 5:00 36 6:00 0\n" +
           "[POLLUTANTS]\nB 5\nJ 0\n[LANDUSES]\nROAD\n[COVERAGES]\nS ROAD 100\n[BUILDUP]\nROAD J 40 0.4\n" +
           "[WASHOFF]\nROAD J EMC 10 NO 0\n[LOADINGS]\nS J 20\n[OUTFALLS]\nO\n[SUBCATCHS]\n" + subcatch;
}

/// A started run.
struct Land {
    Project file;

    explicit Land(const std::string& subcatch) : file(getLand(subcatch)) {
        EXPECT_EQ(file.open(), 0) << file.getReport();
        EXPECT_EQ(tarnvelde_start(0), 0);
    }

    static void step(int count) {
        double days = 0.0;
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&days), 0);
        }
    }

    static double get(int32_t code) {
        double value = NAN;
        EXPECT_EQ(tarnvelde_getResult(TARNVELDE_SUBCATCHMENT, "S", code, &value), 0) << code;
        return value;
    }
};

/// Head (m) over the depression storage after `dt` seconds that begin at none: one Runge-Kutta step of a plane with
/// the net inflow `inflow` (m/s) and the outflow `alpha` (m/s) at 1 m.
double getHead(double inflow, double alpha, double dt) {
    const auto rate = [=](double head) { return inflow - (head > 0.0 ? alpha * std::pow(head, 5.0 / 3.0) : 0.0); };
    const double a = rate(0.0), b = rate(a * dt / 2.0), c = rate(b * dt / 2.0), d = rate(c * dt);
    return (a + 2.0 * b + 2.0 * c + d) * dt / 6.0;
}

}  // namespace

// 1 ha, wholly paved, 10 m wide, at 2 %: n 0.01, storage 1 mm. The storage fills first, then 300 s are not all left.
TEST(ResultsOfLand, FirstRunoffStep) {
    Land land("S G O 1 10 100 2 0.01 0.1 1 3 50 6 4 5 30\n");
    Land::step(1);
    const double inflow = RAIN - EVAPORATION;
    const double alpha = std::sqrt(0.02) * 10.0 / 10000.0 / 0.01;
    const double head = getHead(inflow, alpha, 300.0 - 0.001 / inflow);
    const double runoff = std::pow(head, 5.0 / 3.0) * alpha * 10000.0;
    EXPECT_GT(runoff, 1e-3);
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_RAIN), 36.0, 1e-12);
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_EVAPORATION), 4.0, 1e-12);
    EXPECT_EQ(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_INFILTRATION), 0.0);
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_RUNOFF), runoff, 1e-12 * runoff);
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_QUALITY + 1), 10.0, 1e-12);  // already in the first step
}

// Half paved, and the soil takes 18 mm/h from the start to the end. In the steady state all that isn't lost runs off:
// from both halves, 0.05 - 0.0002 and 0.025 - 0.0002 m3/s.
TEST(ResultsOfLand, SteadyState) {
    Land land("S G O 1 100 50 2 0.01 0.02 1 3 18 18 4 5 0\n");
    Land::step(240);
    const double infiltration = 18.0 / 3600000.0;
    const double runoff = 5000.0 * (RAIN - EVAPORATION) + 5000.0 * (RAIN - EVAPORATION - infiltration);
    EXPECT_NEAR(runoff, 0.0745370370370370, 1e-15);
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_RUNOFF), runoff, 1e-11);
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_INFILTRATION), 9.0, 1e-9);  // over the whole area
    EXPECT_NEAR(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_QUALITY + 1), 10.0, 1e-9);
}

// Dry is a runoff below 7.056e-10 m/s on the area: the host makes the area so large that the runoff is, and back.
TEST(ResultsOfLand, RunoffBelowTheDryRateIsTold0) {
    Land land("S G O 1 100 50 2 0.01 0.02 1 3 18 18 4 5 0\n");
    Land::step(60);
    const double runoff = Land::get(TARNVELDE_RESULT_SUBCATCHMENT_RUNOFF);
    ASSERT_GT(runoff, 0.07);
    const double area = runoff / 7.056e-10 * 0.0001;  // ha
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_SUBCATCHMENT, "S", TARNVELDE_PARAM_SUBCATCHMENT_AREA, area * 1.0001), 0);
    EXPECT_EQ(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_RUNOFF), 0.0);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_SUBCATCHMENT, "S", TARNVELDE_PARAM_SUBCATCHMENT_AREA, area * 0.9999), 0);
    EXPECT_EQ(Land::get(TARNVELDE_RESULT_SUBCATCHMENT_RUNOFF), runoff);
}
