// Concentrations by number behind each kind of node and link, and the flows beside them, with values worked out by
// hand.

#include <gtest/gtest.h>

#include <cmath>

#include "support/allkinds.h"

namespace {

double told(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getResult(object, id, code, &value), -1) << object << " " << id << " " << code;
    return value;
}

double got(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getResult(object, id, code, &value), 0) << object << " " << id << " " << code;
    return value;
}

/// The run of all kinds; the tank is cut off but for its pump. J gets 0.1 m3/s with 40 mg/L of pollutant J, and SP 0.5
/// m3/s of clean water.
class Quality : public ::testing::Test {
protected:
    AllKinds project;

    void SetUp() override { project.start(); }

    void step() {
        ASSERT_EQ(tarnvelde_setSetting("OR", 0.0), 0);
        ASSERT_EQ(tarnvelde_setPumpFlow("PU", 0.05), 0);
        ASSERT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
        ASSERT_EQ(tarnvelde_setExtLoad("J", "", 0.004), 0);
        ASSERT_EQ(tarnvelde_setExtInflow("SP", 0.5), 0);
        project.step();
    }
};

/// A run of steps of 60 s.
struct StartedRun {
    Project file;

    explicit StartedRun(const std::string& text) : file(getGeneral(20) + text) {
        EXPECT_EQ(file.open(), 0) << file.getReport();
        EXPECT_EQ(tarnvelde_start(0), 0);
    }

    static void step(int count = 1) {
        double days = 0.0;
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&days), 0);
        }
    }
};

}  // namespace

// The pipe has one reach, X is 0 and its period 1350 s, two steps: of the first period's 0.1 m3/s it lets a third out,
// unmixed, since the reach was empty. In the step of the firing half of the period has passed, and the load of the pipe
// counts by half, while its flow counts fully: 0.5 x 40 x 0.1/3 in 0.5 + 0.1/3 m3/s are 1.25 mg/L.
TEST_F(Quality, BehindPipeAndSplitter) {
    step();
    step();
    EXPECT_NEAR(got(8, "P", 5), 40.0, 1e-12);
    EXPECT_NEAR(got(5, "SP", 5), 1.25, 1e-12);
    EXPECT_NEAR(got(10, "C", 3), 1.25, 1e-12);
    EXPECT_EQ(got(5, "SP", 4), 0.0);
    EXPECT_EQ(got(8, "P", 4), 0.0);
}

// What the first step left in the conduit is clean.
TEST_F(Quality, OfAConduitIsThatOfItsStore) {
    step();
    const double stored = told(11, "D", 1);
    ASSERT_GT(stored, 1.0);
    EXPECT_EQ(got(11, "D", 7), 0.0);
    step();
    const double inflow = (0.5 + 0.1 / 3.0 - 0.2) * COUPLED_STEP;
    EXPECT_NEAR(got(11, "D", 7), inflow * 1.25 / (inflow + stored), 1e-12);
    EXPECT_EQ(got(11, "D", 6), 0.0);
}

// 1000 m3 in the tank; each step 33.75 m3 are pumped out and 135 m3 come, the second time with 1.25 mg/L. The third
// step releases what stood mixed after the second.
TEST_F(Quality, OfATankIsThatOfTheWaterItReleased) {
    step();
    step();
    EXPECT_EQ(got(3, "T", 6), 0.0);
    step();
    const double mixed = 135.0 * 1.25 / (1000.0 + 2.0 * (135.0 - 33.75));
    EXPECT_NEAR(got(3, "T", 6), mixed, 1e-9);
    EXPECT_NEAR(got(9, "PU", 2), mixed, 1e-9);
    EXPECT_NEAR(got(4, "O", 3), mixed, 1e-9);
}

// Two reaches: each lets a third of its inflow out in the first period.
TEST(ResultsOfPipes, VolumeIsThatOfAllReachesThatAreThere) {
    AllKinds project;
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_setParam(8, "P", 1, 2.0), 0);
    EXPECT_EQ(told(8, "P", 0), 0.0);  // no reach yet
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
    project.step(2);
    const double first = (0.1 - 0.1 / 3.0) * 1350.0, second = (0.1 / 3.0 - 0.1 / 9.0) * 1350.0;
    EXPECT_NEAR(told(8, "P", 2), 0.1 / 9.0, 1e-15);
    EXPECT_NEAR(told(8, "P", 0), first + second, 1e-9);
    // N in the run: no more reaches than there are, and as many as it says.
    for (const auto& [n, volume] : {std::pair{7.0, first + second}, {1.0, first}, {0.0, 0.0}, {-1.0, 0.0}}) {
        ASSERT_EQ(tarnvelde_setParam(8, "P", 1, n), 0);
        EXPECT_NEAR(told(8, "P", 0), volume, 1e-9) << n;
    }
    ASSERT_EQ(tarnvelde_setParam(8, "P", 1, 2.0), 0);
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(told(8, "P", 0), 0.0);  // given back
}

// The delay of two steps parts inflow from outflow: 0.5, 0.75 and again 0.5 m3/s come in, 0.002 kg/s with each.
TEST(ResultsOfConnections, InflowAndDelayedFlow) {
    StartedRun run(
        "[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[CONNECTIONS]\nC J O NO 120\n[POLLUTANTS]\nB 0\n"
        "[INFLOWS]\nJ FLOW FLOW 0.5 \"\" 1\nJ MASS B 0.002 \"\" 1\n");
    const double flows[][3] = {{0.5, 0.0, 0.0}, {0.75, 0.0, 0.0}, {0.5, 0.5, 4.0}, {0.5, 0.75, 2.0 / 0.75}};
    for (const auto& [inflow, flow, quality] : flows) {
        ASSERT_EQ(tarnvelde_setExtInflow("J", inflow - 0.5), 0);
        StartedRun::step();
        EXPECT_NEAR(told(10, "C", 0), inflow, 1e-15);
        EXPECT_NEAR(told(10, "C", 1), flow, 1e-15);
        EXPECT_NEAR(got(10, "C", 2), quality, 1e-12);
        EXPECT_NEAR(told(4, "O", 0), flow, 1e-15);
        EXPECT_EQ(told(4, "O", 1), 0.0);
        EXPECT_NEAR(got(4, "O", 2), quality, 1e-12);
    }
}

// A tank with 8 mg/L lets it out through all three kinds of outlet in its first step, when the old values are still 0.
// 1000 m2 with 2 m: orifice 0.1 x 0.1 m at the bottom, weir of 0.5 m at 1 m, pump of 0.05 m3/s.
TEST(ResultsOfOutlets, CarryTheWaterOfTheTank) {
    StartedRun run(
        "[TANKS]\nT SHAPE 10 2\n[OUTFALLS]\nO1\nO2\nO3\n[ORIFICES]\nOR T O1 NO RECTANGULAR 0.62 0 0.1 0.1\n"
        "[WEIRS]\nW T O2 NO RECTANGULAR 1.86 0.5 1 0.4\n[PUMPS]\nPU T O3 DUTY NO ON 0 0\n"
        "[CURVES]\nSHAPE TANK 0 1000 20 1000\nDUTY PUMP2 0 0.05 20 0.05\n[POLLUTANTS]\nB 0\n"
        "[INITIAL_CONCENTRATION]\nT x B 8\n");
    EXPECT_NEAR(got(3, "T", 5), 8.0, 1e-12);  // from the start on
    ASSERT_EQ(tarnvelde_setExtInflow("O3", 0.15), 0);
    StartedRun::step();
    const double orifice = std::sqrt(1.95 * 19.62) * 0.01 * 0.62;
    const double depth = 2.0 - orifice * 60.0 / 1000.0;  // that the weir meets
    EXPECT_NEAR(told(13, "OR", 0), orifice, 1e-12);
    EXPECT_NEAR(told(12, "W", 0), std::pow(depth - 1.0, 1.5) * 1.86 * 0.5, 1e-12);
    EXPECT_NEAR(told(9, "PU", 0), 0.05, 1e-15);
    EXPECT_NEAR(got(13, "OR", 1), 8.0, 1e-12);
    EXPECT_NEAR(got(12, "W", 1), 8.0, 1e-12);
    EXPECT_NEAR(got(9, "PU", 1), 8.0, 1e-12);
    EXPECT_NEAR(got(4, "O1", 2), 8.0, 1e-12);
    EXPECT_NEAR(got(4, "O3", 2), 2.0, 1e-12);  // a quarter of its inflow
}

// A full stirred tank of 100 m3 that may pass on 864 m3 a day, 0.6 m3 a step. 0.02 m3/s reach it over the link and 0.01
// from the side, with 0.0009 kg/s: 30 mg/L. What it takes in mixes with what it holds, and the rest passes by.
TEST(ResultsOfReactors, InflowLateralInflowAndQuality) {
    StartedRun run(
        "[JUNCTIONS]\nJ\n[REACTORS]\nR CSTR O2 FLOW_CAPACITY 864 100 50 100\n[OUTFALLS]\nO\nO2\n"
        "[CONNECTIONS]\nCJ J R NO 0\nCR R O NO 0\n[POLLUTANTS]\nB 0\nR 0\n");
    double quality = 0.0;
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(tarnvelde_setExtInflow("J", 0.02), 0);
        ASSERT_EQ(tarnvelde_setExtInflow("R", 0.01), 0);
        ASSERT_EQ(tarnvelde_setExtLoad("R", "", 0.0009), 0);
        StartedRun::step();
        quality = (0.6 * 30.0 + 100.0 * quality) / 100.6;
        EXPECT_NEAR(told(6, "R", 0), 100.0, 1e-12);
        EXPECT_NEAR(told(6, "R", 1), 0.03, 1e-15);
        EXPECT_NEAR(told(6, "R", 2), 0.01, 1e-15);
        EXPECT_NEAR(told(6, "R", 3), 0.01, 1e-12);
        EXPECT_NEAR(told(6, "R", 4), 0.02, 1e-12);
        EXPECT_EQ(got(6, "R", 8), 0.0);
        EXPECT_NEAR(got(6, "R", 9), quality, 1e-12);
        EXPECT_NEAR(got(4, "O2", 3), 30.0, 1e-12);
    }
}
