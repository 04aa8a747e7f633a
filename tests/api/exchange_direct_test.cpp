// The direct operations: what each refuses, what it changes, and for how long; and the look-ups of the run.

#include <gtest/gtest.h>

#include <cmath>

#include "support/allkinds.h"

namespace {

double result(int32_t object, const char* id, int32_t code) {
    double value = NAN;
    tarnvelde_getResult(object, id, code, &value);
    return value;
}

double setting(const char* id) {
    double value = NAN;
    EXPECT_EQ(tarnvelde_getSetting(id, &value), 0);
    return value;
}

class Direct : public ::testing::Test {
protected:
    AllKinds project;

    void SetUp() override { project.start(); }
};

}  // namespace

TEST_F(Direct, InflowsAddUpAndLastOneStep) {
    EXPECT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
    EXPECT_EQ(tarnvelde_setExtInflow("J", 0.25), 0);
    EXPECT_EQ(tarnvelde_setExtInflow("J", 0.0), 0);
    EXPECT_EQ(tarnvelde_setExtInflow("J", -0.1), -1);
    project.step();
    EXPECT_EQ(result(2, "J", 0), 0.35);
    project.step();
    EXPECT_EQ(result(2, "J", 0), 0.0);
}

TEST_F(Direct, InflowsWaitForTheFirstStep) {
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    project.step();
    EXPECT_EQ(result(2, "J", 0), 0.1);
}

TEST_F(Direct, LoadsNeedANodeNamedLikeAPollutant) {
    EXPECT_EQ(tarnvelde_setExtInflow("J", 0.1), 0);
    EXPECT_EQ(tarnvelde_setExtLoad("J", "no such pollutant", 0.001), 0);
    EXPECT_EQ(tarnvelde_setExtLoad("J", "", 0.002), 0);  // adds to the first
    EXPECT_EQ(tarnvelde_setExtLoad("J", "J", -0.001), -1);
    EXPECT_EQ(tarnvelde_setExtLoad("SP", "J", 0.001), -1);  // no pollutant SP
    EXPECT_EQ(tarnvelde_setExtLoad("B", "B", 0.001), -1);   // no node B
    project.step();
    EXPECT_NEAR(result(2, "J", 3), 30.0, 1e-12);
}

// Nodes take the load of the pollutant that is named like them, so that each of two gets its own alone.
TEST(DirectLoads, OfOneNodeAddUpAndReachNoOther) {
    const Project project(getGeneral(10) +
                          "[POLLUTANTS]\nJ 0\nK 0\n[JUNCTIONS]\nJ\nK\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 100 1 0.2 0\n"
                          "Q K O NO 100 1 0.2 0\n[INFLOWS]\nJ FLOW FLOW 0.25 \"\" 1\nK FLOW FLOW 0.5 \"\" 1\n");
    project.start();
    EXPECT_EQ(tarnvelde_setExtLoad("K", "", 0.004), 0);
    EXPECT_EQ(tarnvelde_setExtLoad("J", "", 0.001), 0);
    EXPECT_EQ(tarnvelde_setExtLoad("K", "", 0.016), 0);
    Project::step();
    // Columns 2 and 3 are the concentrations, mg/L, of the pollutants J and K: kg/s by m3/s, in g/m3.
    EXPECT_NEAR(result(2, "J", 2), 1000.0 * 0.001 / 0.25, 1e-12);
    EXPECT_EQ(result(2, "J", 3), 0.0);
    EXPECT_EQ(result(2, "K", 2), 0.0);
    EXPECT_NEAR(result(2, "K", 3), 1000.0 * (0.004 + 0.016) / 0.5, 1e-12);
    Project::step();
    EXPECT_EQ(result(2, "K", 3), 0.0) << "for one step alone";
}

TEST_F(Direct, SplittedValueReplacesThatOfTheFile) {
    EXPECT_EQ(tarnvelde_setSplittedValue("SP", -0.1), -1);
    EXPECT_EQ(tarnvelde_setSplittedValue("SP", 0.4), 0);
    tarnvelde_setExtInflow("SP", 0.5);
    project.step();
    EXPECT_EQ(result(5, "SP", 2), 0.4);
    double value = NAN;
    EXPECT_EQ(tarnvelde_getParam(5, "SP", 1, &value), 0);
    EXPECT_EQ(value, 0.2);
}

TEST_F(Direct, SplittedShareIsCappedAtOne) {
    ASSERT_EQ(tarnvelde_setParam(5, "SP", 0, 1.0), 0);  // RATIO
    EXPECT_EQ(tarnvelde_setSplittedValue("SP", 1.5), 0);
    tarnvelde_setExtInflow("SP", 0.5);
    project.step();
    EXPECT_EQ(result(5, "SP", 2), 0.5);
}

TEST_F(Direct, PumpFlowHoldsForTheRestOfTheRun) {
    tarnvelde_setTankDepth("T", 5.0);
    EXPECT_EQ(tarnvelde_setPumpFlow("PU", 0.03), 0);
    project.step();
    EXPECT_NEAR(result(9, "PU", 0), 0.03, 1e-15);
    project.step();
    EXPECT_NEAR(result(9, "PU", 0), 0.03, 1e-15);
}

TEST_F(Direct, ReactorEmptyingValueIsItsRate) {
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("R", -0.1), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("R", 0.02), 0);
    for (int k = 0; k < 2; ++k) {
        tarnvelde_setExtInflow("R", 0.2);
        project.step();
    }
    EXPECT_NEAR(result(6, "R", 7), 0.02, 1e-15);  // the rule has begun to empty it
}

TEST_F(Direct, WeirParameters) {
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, 0.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, -1.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 5, -1.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, 2.0), 0);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 1, 0.0), 0);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 2, 1.0), 0);  // stores nothing
    EXPECT_EQ(tarnvelde_setWeirParams("W", -1, 1.0), 0);
}

TEST_F(Direct, SettingsOfAllKindsOfLink) {
    for (const char* id : {"P", "PU", "C", "D", "W", "OR"}) {
        EXPECT_EQ(tarnvelde_setSetting(id, 0.25), 0);
        EXPECT_EQ(setting(id), 0.25) << id;  // at once
        EXPECT_EQ(tarnvelde_setSetting(id, -0.01), -1);
        EXPECT_EQ(tarnvelde_setSetting(id, 1.01), -1);
        EXPECT_EQ(tarnvelde_setSetting(id, INFINITY), -1);
        project.step();
        EXPECT_EQ(setting(id), 0.25) << id;
        EXPECT_EQ(tarnvelde_setSetting(id, NAN), 0);  // neither below 0 nor above 1
        EXPECT_TRUE(std::isnan(setting(id)));
        EXPECT_EQ(tarnvelde_setSetting(id, 0.0), 0);
        EXPECT_EQ(tarnvelde_setSetting(id, -0.0), 0);
        EXPECT_FALSE(std::signbit(setting(id)));  // the same value isn't stored again
    }
}

TEST_F(Direct, SettingOfAnUnknownLinkIsMinusOne) {
    double value = 77.0;
    EXPECT_EQ(tarnvelde_getSetting("nobody", &value), -1);
    EXPECT_EQ(value, -1.0);
    value = 77.0;
    EXPECT_EQ(tarnvelde_getSetting(nullptr, &value), -1);
    EXPECT_EQ(value, -1.0);
}

TEST_F(Direct, DepthsAndFlowsHaveNoLimit) {
    for (const double value : {-5.0, 0.0, 1e30, static_cast<double>(NAN)}) {
        EXPECT_EQ(tarnvelde_setTankDepth("T", value), 0);
        EXPECT_EQ(tarnvelde_setLinkFlow("P", value), 0);
        const double depth = result(3, "T", 0), flow = result(8, "P", 2);
        EXPECT_TRUE(std::isnan(value) ? std::isnan(depth) && std::isnan(flow) : depth == value && flow == value);
    }
    project.step(4);
}

TEST_F(Direct, KindsOfNodesAndLinks) {
    const char* const nodes[] = {"J", "T", "O", "SP", "SW", "R", "M", "V"};
    for (int32_t kind = 0; kind < 8; ++kind) {
        int32_t found = 77;
        EXPECT_EQ(tarnvelde_getNodeType(nodes[kind], &found), 0);
        EXPECT_EQ(found, kind);
    }
    const char* const links[] = {"P", "PU", "C", "D", "W", "OR"};
    for (int32_t kind = 0; kind < 6; ++kind) {
        int32_t found = 77;
        EXPECT_EQ(tarnvelde_getLinkType(links[kind], &found), 0);
        EXPECT_EQ(found, kind);
    }
    int32_t found = 77;
    EXPECT_EQ(tarnvelde_getNodeType("nobody", &found), -1);
    EXPECT_EQ(found, -1);
    found = 77;
    EXPECT_EQ(tarnvelde_getLinkType("nobody", &found), -1);
    EXPECT_EQ(found, -1);
}

TEST_F(Direct, PlacesOfObjects) {
    EXPECT_EQ(tarnvelde_findObject(0, "GRASS"), 1);
    EXPECT_EQ(tarnvelde_findObject(1, "V"), 7);
    EXPECT_EQ(tarnvelde_findObject(2, "OR"), 5);
    for (const int32_t code : {-1, 3, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(tarnvelde_findObject(code, "J"), -1);
    }
}

TEST_F(Direct, RainEvents) {
    EXPECT_EQ(tarnvelde_isInEvent("G"), 1);
    EXPECT_EQ(tarnvelde_isInEvent("J"), -1);
    project.step(12);  // two and a quarter hours
    EXPECT_EQ(tarnvelde_isInEvent("G"), 0);
}

TEST_F(Direct, DatesAndStep) {
    double start = 0.0, end = 0.0, seconds = 0.0;
    EXPECT_EQ(tarnvelde_getDateTime(&start, &end), 0);
    EXPECT_EQ(start, 44256.0);  // 1 March 2021, in days since 30 December 1899
    EXPECT_NEAR(end, 44256.0 + ALL_KINDS_STEPS * COUPLED_STEP_DAYS, 1e-9);
    EXPECT_EQ(tarnvelde_getRoutingStep(&seconds), 0);
    EXPECT_EQ(seconds, COUPLED_STEP);
}

TEST_F(Direct, MassBalanceErrorsShowBetweenEndAndClose) {
    project.step(ALL_KINDS_STEPS);
    double runoff = 77.0, flow = 77.0, quality = 77.0;
    ASSERT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(&runoff, &flow, &quality), 0);
    EXPECT_EQ(runoff, 0.0);  // the run is not ended yet
    EXPECT_EQ(flow, 0.0);
    EXPECT_EQ(quality, 0.0);
    ASSERT_EQ(tarnvelde_end(), 0);
    EXPECT_EQ(tarnvelde_getMassBalErr(&runoff, &flow, &quality), 0);
    tarnvelde_close();
    const std::string report = project.getReport();
    const auto readError = [&](const char* table) {
        const std::string line = "Continuity Error (%)";
        return std::stod(report.substr(report.find(line, report.find(table)) + line.size()));
    };
    EXPECT_NEAR(runoff, readError("Runoff Quantity Continuity"), 0.00051);
    EXPECT_NEAR(flow, readError("Flow Routing Continuity"), 0.00051);
    EXPECT_NE(runoff, 0.0);
}

TEST_F(Direct, StatesStartAnewInTheNextRun) {
    tarnvelde_setSetting("W", 0.25);
    tarnvelde_setPumpFlow("PU", 0.0);
    tarnvelde_setTankDepth("T", 7.0);
    ASSERT_EQ(tarnvelde_end(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(setting("W"), 1.0);
    EXPECT_EQ(result(3, "T", 0), 1.0);
    project.step();
    EXPECT_GT(result(9, "PU", 0), 0.0);
}
