// What the host does to a weir, seen in its flow: a rectangular weir of 0.5 m at 1 m in a tank that stands at 2 m at
// the start of each step. Q = c L h^1.5, the head h counted from the crest, which the opening of 0.4 m may lift.

#include <gtest/gtest.h>

#include <cmath>

#include "support/allkinds.h"

namespace {

class Weir : public ::testing::Test {
protected:
    Project file{getGeneral(20) +
                 "[TANKS]\nT SHAPE 10 2\n[OUTFALLS]\nO\n[WEIRS]\nW T O NO RECTANGULAR 1.86 0.5 1 0.4\n"
                 "[CURVES]\nSHAPE TANK 0 1000 20 1000\n"};

    void SetUp() override {
        ASSERT_EQ(file.open(), 0) << file.getReport();
        ASSERT_EQ(tarnvelde_start(0), 0);
    }

    static double getFlow() {
        double days = 0.0, flow = NAN;
        EXPECT_EQ(tarnvelde_setTankDepth("T", 2.0), 0);
        EXPECT_EQ(tarnvelde_step(&days), 0);
        tarnvelde_getResult(TARNVELDE_WEIR, "W", TARNVELDE_RESULT_WEIR_FLOW, &flow);
        return flow;
    }

    static double getFlow(double coefficient, double height) {
        return coefficient * 0.5 * std::pow(2.0 - 1.0 - height, 1.5);
    }
};

}  // namespace

TEST_F(Weir, OfTheFileFollowsItsSetting) {
    EXPECT_NEAR(getFlow(), 0.93, 1e-12);
    ASSERT_EQ(tarnvelde_setSetting("W", 0.5), 0);
    EXPECT_NEAR(getFlow(), getFlow(1.86, 0.2), 1e-12);
    ASSERT_EQ(tarnvelde_setSetting("W", 0.0), 0);
    EXPECT_NEAR(getFlow(), getFlow(1.86, 0.4), 1e-12);
}

TEST_F(Weir, CoefficientAloneLiftsTheSillToTheTop) {
    ASSERT_EQ(tarnvelde_setWeirParams("W", TARNVELDE_WEIR_SELECT_COEFFICIENT, 2.0), 0);
    EXPECT_NEAR(getFlow(), getFlow(2.0, 0.4), 1e-12);  // 0.465 m3/s
    ASSERT_EQ(tarnvelde_setWeirParams("W", TARNVELDE_WEIR_SELECT_HEIGHT, 0.0), 0);
    EXPECT_NEAR(getFlow(), 1.0, 1e-12);
}

TEST_F(Weir, HeightAloneKeepsTheCoefficient) {
    ASSERT_EQ(tarnvelde_setWeirParams("W", TARNVELDE_WEIR_SELECT_HEIGHT, 0.25), 0);
    EXPECT_NEAR(getFlow(), getFlow(1.86, 0.25), 1e-12);
    ASSERT_EQ(tarnvelde_setWeirParams("W", TARNVELDE_WEIR_SELECT_HEIGHT, 1.0), 0);  // at the water, and beyond 0.4
    EXPECT_EQ(getFlow(), 0.0);
}

TEST_F(Weir, AnyOtherSelectorStoresNothingAndTakesItOver) {
    for (const int32_t selector : {2, -1, INT32_MAX, INT32_MIN}) {
        ASSERT_EQ(tarnvelde_setWeirParams("W", selector, 0.1), 0);
        EXPECT_NEAR(getFlow(), getFlow(1.86, 0.4), 1e-12) << selector;
    }
}

TEST_F(Weir, RefusedCallsLeaveItAlone) {
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, 0.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, -0.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, -1.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 1, -0.1), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 2, -0.1), -1);
    EXPECT_NEAR(getFlow(), 0.93, 1e-12);
}

TEST_F(Weir, OfTheHostHasNoSetting) {
    ASSERT_EQ(tarnvelde_setWeirParams("W", 1, 0.0), 0);
    ASSERT_EQ(tarnvelde_setSetting("W", 0.0), 0);
    EXPECT_NEAR(getFlow(), 0.93, 1e-12);
}

TEST_F(Weir, WithACoefficientThatIsNoNumberLetsNothingOut) {
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, NAN), 0);  // neither negative nor 0
    EXPECT_EQ(tarnvelde_setWeirParams("W", 1, 0.0), 0);
    EXPECT_EQ(getFlow(), 0.0);
}

TEST_F(Weir, IsThatOfTheFileAgainInTheNextRun) {
    ASSERT_EQ(tarnvelde_setWeirParams("W", 0, 2.0), 0);
    EXPECT_NEAR(getFlow(), getFlow(2.0, 0.4), 1e-12);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_setWeirParams("W", 1, 0.3), 0);  // between two runs it is undone by the start
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_NEAR(getFlow(), 0.93, 1e-12);
}

// The weir of all kinds stands beside the SWMM node, so that its parameters can be set. Those of the host were taken at
// the start of the run.
TEST(WeirParameters, SetInARunCountForTheHostsValuesAtTheNextStart) {
    AllKinds project;
    project.start();
    ASSERT_EQ(tarnvelde_setSetting("OR", 0.0), 0);
    ASSERT_EQ(tarnvelde_setPumpFlow("PU", 0.0), 0);
    const auto getFlow = [&] {
        double flow = NAN;
        EXPECT_EQ(tarnvelde_setTankDepth("T", 2.0), 0);
        project.step();
        tarnvelde_getResult(TARNVELDE_WEIR, "W", TARNVELDE_RESULT_WEIR_FLOW, &flow);
        return flow;
    };
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_WEIR, "W", TARNVELDE_PARAM_WEIR_LENGTH, 0.1), 0);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_WEIR, "W", TARNVELDE_PARAM_WEIR_CREST, 1.0), 0);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_WEIR, "W", TARNVELDE_PARAM_WEIR_COEFFICIENT, 3.0), 0);
    ASSERT_EQ(tarnvelde_setParam(TARNVELDE_WEIR, "W", TARNVELDE_PARAM_WEIR_OPENING, 0.19), 0);
    EXPECT_NEAR(getFlow(), 0.3, 1e-12);
    ASSERT_EQ(tarnvelde_setWeirParams("W", 2, 0.0), 0);
    EXPECT_NEAR(getFlow(), 0.186 * std::pow(0.6, 1.5), 1e-12);  // 1.86 and 0.4 m, as they were at the start
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(tarnvelde_setSetting("OR", 0.0), 0);
    ASSERT_EQ(tarnvelde_setPumpFlow("PU", 0.0), 0);
    ASSERT_EQ(tarnvelde_setWeirParams("W", 2, 0.0), 0);
    EXPECT_NEAR(getFlow(), 0.3 * std::pow(0.81, 1.5), 1e-12);
}
