// Results by number: each row with its value, unit and result code. The expected values are worked out by hand from the
// project: constant inflows for one or a few steps of 675 s.

#include <gtest/gtest.h>

#include <cmath>

#include "support/allkinds.h"

namespace {

constexpr double DT = COUPLED_STEP;

/// A result that is stored although the call fails.
double told(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getResult(object, id, code, &value), -1) << object << " " << id << " " << code;
    return value;
}

/// A result of a call that succeeds.
double got(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getResult(object, id, code, &value), 0) << object << " " << id << " " << code;
    return value;
}

/// A started run; the tank is cut off but for its pump, which the host drives.
class Results : public ::testing::Test {
protected:
    AllKinds project;

    void SetUp() override {
        project.start();
        ASSERT_EQ(tarnvelde_setSetting("OR", 0.0), 0);
        ASSERT_EQ(tarnvelde_setPumpFlow("PU", 0.05), 0);
    }

    /// Steps with 0.1 m3/s at J that carry 40 mg/L of pollutant J, and 0.5 m3/s at SP.
    void stepWithInflows(int count = 1) {
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
            ASSERT_EQ(tarnvelde_setExtLoad("J", "", 0.004), 0);
            ASSERT_EQ(tarnvelde_setExtInflow("SP", 0.5), 0);
            project.step();
        }
    }
};

}  // namespace

TEST_F(Results, CodesOutOfRangeStoreNothing) {
    for (const CodedObject& object : CODED_OBJECTS) {
        for (const int32_t code : {-1, object.resultCount, object.resultCount + 1, INT32_MAX, INT32_MIN}) {
            double value = 77.0;
            EXPECT_EQ(tarnvelde_getResult(object.code, object.id, code, &value), -1) << object.id << " " << code;
            EXPECT_EQ(value, 77.0) << object.id << " " << code;
        }
    }
    for (const int32_t object : {-1, 0, 14, INT32_MAX, INT32_MIN}) {
        double value = 77.0;
        EXPECT_EQ(tarnvelde_getResult(object, "J", 0, &value), -1) << object;
        EXPECT_EQ(value, 77.0);
    }
}

TEST_F(Results, OfASubcatchment) {
    project.step(2);  // one runoff step
    EXPECT_NEAR(got(1, "GRASS", 0), 36.0, 1e-9);
    EXPECT_NEAR(got(1, "GRASS", 1), 4.0, 1e-9);  // mm/day; the ground is wet
    EXPECT_NEAR(got(1, "GRASS", 2), 5.0, 1e-9);  // mm/h; the soil takes 5 from the start to the end
    EXPECT_NEAR(got(1, "S", 5), 10.0, 1e-9);     // mg/L, the event-mean concentration
    EXPECT_GT(got(1, "S", 3), 0.0);              // m3/s; 36 mm/h on a hectare are 0.1 m3/s
    EXPECT_LT(got(1, "S", 3), 0.1);
    EXPECT_GT(got(1, "S", 4), 0.0);
}

TEST_F(Results, OfADrySubcatchment) {
    EXPECT_EQ(got(1, "S", 0), 0.0);
    EXPECT_EQ(got(1, "S", 3), 0.0);
    EXPECT_EQ(got(1, "S", 4), 0.0);
}

TEST_F(Results, OfAJunction) {
    stepWithInflows();
    EXPECT_EQ(told(2, "J", 0), 0.1);
    EXPECT_EQ(told(2, "J", 1), 0.1);
    EXPECT_EQ(got(2, "J", 2), 0.0);
    EXPECT_NEAR(got(2, "J", 3), 40.0, 1e-12);
}

TEST_F(Results, OfAnOutfall) {
    tarnvelde_setExtInflow("O", 0.02);
    project.step();
    EXPECT_NEAR(told(4, "O", 0), 0.07, 1e-15);  // with the pump's
    EXPECT_EQ(told(4, "O", 1), 0.02);
    EXPECT_EQ(got(4, "O", 2), 0.0);
}

TEST_F(Results, OfASplitter) {
    stepWithInflows(2);  // the pipe delivers 1/30 m3/s in its first firing, see below
    const double inflow = 0.5 + 0.1 / 3.0;
    EXPECT_NEAR(told(5, "SP", 0), inflow, 1e-12);
    EXPECT_EQ(told(5, "SP", 1), 0.5);
    EXPECT_NEAR(told(5, "SP", 2), 0.2, 1e-15);
    EXPECT_NEAR(told(5, "SP", 3), inflow - 0.2, 1e-12);
    EXPECT_EQ(got(5, "SP", 4), 0.0);
    EXPECT_GT(got(5, "SP", 5), 0.0);  // thinned by the clean water
    EXPECT_LT(got(5, "SP", 5), got(8, "P", 5));
}

TEST_F(Results, OfATank) {
    tarnvelde_setTankDepth("T", 2.0);
    tarnvelde_setExtInflow("T", 0.01);
    stepWithInflows();
    const double depth = 2.0 + (0.21 - 0.05) * DT / 1000.0;  // on 1000 m2
    EXPECT_NEAR(told(3, "T", 0), depth, 1e-9);
    EXPECT_NEAR(told(3, "T", 1), depth * 1000.0, 1e-6);
    EXPECT_NEAR(told(3, "T", 2), 0.21, 1e-15);
    EXPECT_EQ(told(3, "T", 3), 0.01);
    EXPECT_EQ(told(3, "T", 4), 0.0);
    EXPECT_EQ(got(3, "T", 5), 0.0);
}

TEST_F(Results, OfATankThatFloods) {
    tarnvelde_setPumpFlow("PU", 0.0);
    tarnvelde_setTankDepth("T", 12.0);
    project.step();
    EXPECT_NEAR(told(3, "T", 4), 2.0 * 1000.0 / DT, 1e-9);  // what stands above 10 m, within a step
    EXPECT_NEAR(told(3, "T", 0), 10.0, 1e-9);
}

TEST_F(Results, OfTheWaterThatATankReleases) {
    tarnvelde_setTankDepth("T", 1.0);
    stepWithInflows(3);
    EXPECT_GT(got(3, "T", 6), 0.0);
    EXPECT_LT(got(3, "T", 6), got(5, "SP", 5));
    EXPECT_EQ(got(3, "T", 6), got(9, "PU", 2));
    EXPECT_EQ(got(3, "T", 5), 0.0);
}

TEST_F(Results, OfAReactor) {
    tarnvelde_setExtInflow("R", 0.03);
    project.step();
    EXPECT_EQ(told(6, "R", 1), 0.03);
    EXPECT_EQ(told(6, "R", 2), 0.03);
    EXPECT_EQ(told(6, "R", 4), 0.0);  // it fills up first
    EXPECT_EQ(told(6, "R", 3), 0.0);
    EXPECT_NEAR(told(6, "R", 5), 86.4, 1e-9);  // mm/day
    EXPECT_NEAR(told(6, "R", 6), 36.0, 1e-9);  // mm/h
    EXPECT_EQ(told(6, "R", 7), 0.0);
    const double losses = 50.0 * (0.0864 / 86400.0 + 0.036 / 3600.0) * DT;
    EXPECT_NEAR(told(6, "R", 0), 50.0 + 0.03 * DT - losses, 1e-9);
    EXPECT_EQ(got(6, "R", 8), 0.0);
}

TEST_F(Results, OfAReactorThatOverflows) {
    tarnvelde_setExtInflow("R", 1.03);
    project.step();
    EXPECT_NEAR(told(6, "R", 3), 0.01, 1e-12);  // its capacity, 864 m3 a day
    EXPECT_NEAR(told(6, "R", 4), 1.03 - 0.01 - 50.0 / DT, 1e-12);
}

TEST_F(Results, OfAReactorThatIsEmptied) {
    // A rule begins to empty it once it is nine tenths full, at 36 m3/h.
    for (int k = 0; k < 12 && told(6, "R", 7) == 0.0; ++k) {
        tarnvelde_setExtInflow("R", 0.01);
        project.step();
    }
    EXPECT_NEAR(told(6, "R", 7), 0.01, 1e-15);
}

TEST_F(Results, OfALidNodeAtTheStart) {
    EXPECT_EQ(told(7, "M", 7), 0.0);
    EXPECT_NEAR(told(7, "M", 8), 0.1 + 0.2 * (0.45 - 0.1), 1e-15);
    EXPECT_NEAR(told(7, "M", 9), 0.2 * 0.3, 1e-15);
    EXPECT_EQ(told(7, "M", 10), 0.0);
    EXPECT_EQ(got(7, "M", 11), 0.0);
    EXPECT_EQ(got(7, "M", 12), 0.0);
    EXPECT_EQ(told(7, "M", 13), 0.0);
}

TEST_F(Results, OfALidNode) {
    for (int k = 0; k < 2; ++k) {
        tarnvelde_setExtInflow("M", 1.0);
        project.step();
    }
    EXPECT_EQ(told(7, "M", 0), 1.0);
    EXPECT_EQ(told(7, "M", 1), 1.0);
    EXPECT_NEAR(told(7, "M", 2), 36.0, 1e-9);  // mm/h
    EXPECT_EQ(told(7, "M", 3), 0.0);           // nothing evaporates in rain
    EXPECT_GT(told(7, "M", 4), 0.0);           // the berm of 150 mm is full
    EXPECT_NEAR(told(7, "M", 5), 3.0, 1e-9);   // mm/h
    EXPECT_EQ(told(7, "M", 6), 0.0);           // the storage hasn't reached the drain
    EXPECT_GE(told(7, "M", 7), 0.15);
    EXPECT_GT(told(7, "M", 8), 0.17);
    EXPECT_GT(got(7, "M", 11), 0.0);  // B, from rain of 5 mg/L, thinned by the clean inflow
    EXPECT_LT(got(7, "M", 11), 5.0);
    EXPECT_EQ(got(7, "M", 12), 0.0);
    EXPECT_GT(told(7, "M", 13), 0.0);
}

TEST_F(Results, OfAPipe) {
    stepWithInflows(2);
    // One reach without weight: I(t) - O(t) = K dO/dt, in one period of length K from rest O = I / 3.
    const double out = 0.1 / 3.0;
    EXPECT_NEAR(told(8, "P", 1), 0.1, 1e-12);
    EXPECT_NEAR(told(8, "P", 2), out, 1e-12);
    EXPECT_NEAR(told(8, "P", 0), (0.1 - out) * 1350.0, 1e-9);
    EXPECT_EQ(told(8, "P", 3), 0.0);
    EXPECT_EQ(got(8, "P", 4), 0.0);
    EXPECT_GT(got(8, "P", 5), 0.0);
    EXPECT_LE(got(8, "P", 5), 40.0 + 1e-9);
}

TEST_F(Results, OfAPipeThatFloods) {
    ASSERT_EQ(tarnvelde_setParam(8, "P", 3, 0.02), 0);
    stepWithInflows(2);
    EXPECT_EQ(told(8, "P", 2), 0.02);
    EXPECT_NEAR(told(8, "P", 3), 0.1 / 3.0 - 0.02, 1e-12);
}

TEST_F(Results, OfAConnection) {
    stepWithInflows(2);
    EXPECT_NEAR(told(10, "C", 0), 0.2, 1e-15);
    EXPECT_NEAR(told(10, "C", 1), 0.2, 1e-15);
    EXPECT_EQ(got(10, "C", 2), 0.0);
    EXPECT_EQ(got(10, "C", 3), got(5, "SP", 5));
}

TEST_F(Results, OfADryConduit) {
    for (const int32_t code : {0, 1, 2, 3, 4, 5}) {
        EXPECT_EQ(told(11, "D", code), 0.0);
    }
    tarnvelde_setLinkFlow("D", 0.3);
    EXPECT_EQ(told(11, "D", 2), 0.0);  // a flow without an area
}

TEST_F(Results, OfAConduit) {
    stepWithInflows();
    EXPECT_NEAR(told(11, "D", 3), 0.3, 1e-15);
    EXPECT_NEAR(told(11, "D", 1), (0.3 - told(11, "D", 4)) * DT, 1e-6);     // what came and didn't go
    EXPECT_NEAR(told(11, "D", 1), told(11, "D", 0) * 3.0 * 20000.0, 1e-6);  // 3 m wide, 20 km long
    EXPECT_EQ(told(11, "D", 5), 0.0);
    EXPECT_EQ(told(11, "D", 2), 1.0);
    tarnvelde_setLinkFlow("D", 0.001);
    EXPECT_EQ(told(11, "D", 2), 1.0);  // not how fast
    tarnvelde_setLinkFlow("D", -0.3);
    EXPECT_EQ(told(11, "D", 2), 0.0);
    tarnvelde_setLinkFlow("D", 0.0);
    EXPECT_EQ(told(11, "D", 2), 0.0);
    EXPECT_EQ(got(11, "D", 6), 0.0);
}

TEST_F(Results, OfAConduitThatFloods) {
    tarnvelde_setExtInflow("SP", 500.2);
    project.step();
    EXPECT_NEAR(told(11, "D", 3), 500.0, 1e-9);
    EXPECT_GT(told(11, "D", 5), 0.0);
    EXPECT_NEAR(500.0 - told(11, "D", 4) - told(11, "D", 5), told(11, "D", 1) / DT, 1e-6);
}

TEST_F(Results, OfPumpWeirAndOrifice) {
    project.step();
    EXPECT_NEAR(told(9, "PU", 0), 0.05, 1e-15);
    EXPECT_EQ(told(12, "W", 0), 0.0);
    tarnvelde_setLinkFlow("W", 0.07);
    tarnvelde_setLinkFlow("OR", -0.08);
    EXPECT_EQ(told(12, "W", 0), 0.07);
    EXPECT_EQ(told(13, "OR", 0), -0.08);
    for (const int32_t code : {1, 2}) {
        EXPECT_EQ(got(9, "PU", code), 0.0);
        EXPECT_EQ(got(12, "W", code), 0.0);
        EXPECT_EQ(got(13, "OR", code), 0.0);
    }
}

TEST(ResultsWithoutPollutants, EndBeforeTheConcentrations) {
    CoupledProject project(
        "[OUTFALLS]\nO\n[LIDS]\nCELL BC\nCELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 40 10\n"
        "CELL STORAGE 300 0.67 3\nCELL DRAIN 3 0.5 100\n[LID_MONOS]\nM CELL * 300 5 20 100\n"
        "[CONNECTIONS]\nC M O NO 0\n");
    project.start();
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getResult(7, "M", 11, &value), -1);
    EXPECT_EQ(tarnvelde_getResult(4, "O", 2, &value), -1);
    EXPECT_EQ(value, 77.0);
    EXPECT_EQ(tarnvelde_getResult(7, "M", 2, &value), -1);
    EXPECT_EQ(value, 0.0);  // no gage
}
