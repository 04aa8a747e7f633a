#include "links/pump.h"
#include "routing/linkkinds.h"

#include <gtest/gtest.h>

#include <cmath>

#include "model/errors.h"
#include "model/names.h"
#include "nodes/tank.h"
#include "results/rows.h"
#include "support/model.h"
#include "support/storage.h"

static constexpr const char* CURVES =
    "[CURVES]\nL PUMP1 1 0.1 2 0.3 4 0.2\nS PUMP2 1 0.1 2 0.3 4 0.2\nN PUMP1 1 -0.5\n"
    "TC TANK 0 1000 10 1000\n";

/// A tank with the pump P, whose line goes on behind the two nodes as given. Its depth is 2 m at the start.
static std::string getProject(const std::string& rest) {
    return getGeneral(20) + "[TANKS]\nT TC 5 2\n[OUTFALLS]\nOUT\n[PUMPS]\nP T OUT " + rest + "\n" + CURVES;
}

static double getFlow(double depth) {
    return pump_getFlow(testModel(), Records::link("P"), testModel().pumps[0], depth);
}

TEST(PumpCurve, IsALineWithLevelEnds) {
    StartedProject model(getProject("L NO ON 0 0"));
    EXPECT_EQ(getFlow(0.0), 0.1);
    EXPECT_EQ(getFlow(1.0), 0.1);
    EXPECT_NEAR(getFlow(1.5), 0.2, 1e-15);
    EXPECT_NEAR(getFlow(2.0), 0.3, 1e-15);
    EXPECT_NEAR(getFlow(3.0), 0.25, 1e-15);
    EXPECT_EQ(getFlow(9.0), 0.2);
}

TEST(PumpCurve, HasStepsThatEndBeforeTheirDepth) {
    StartedProject model(getProject("S NO ON 0 0"));
    EXPECT_EQ(getFlow(0.0), 0.1);
    EXPECT_EQ(getFlow(1.0), 0.3);  // at a point's depth the next one holds
    EXPECT_EQ(getFlow(1.99), 0.3);
    EXPECT_EQ(getFlow(2.0), 0.2);
    EXPECT_EQ(getFlow(4.0), 0.2);
    EXPECT_EQ(getFlow(9.0), 0.2);
}

TEST(PumpCurve, NeverPumpsBack) {
    StartedProject model(getProject("N NO ON 0 0"));
    EXPECT_EQ(getFlow(2.0), 0.0);
}

TEST(PumpCurve, IsScaledByTheSetting) {
    StartedProject model(getProject("L NO ON 0 0"));
    model.link("P").setting = 0.5;
    EXPECT_EQ(getFlow(1.0), 0.05);
    model.link("P").setting = 0.0;
    EXPECT_EQ(getFlow(1.0), 0.0);
}

TEST(PumpSwitch, RestsAtANodeThatIsNoTank) {
    StartedProject model(getProject("L NO ON 0 3"));
    model.link("P").fromNode = model.findNode("OUT");
    linkkinds_setTargets(testModel());
    EXPECT_EQ(model.link("P").targetSetting, 1.0);
}

// --- switching -----------------------------------------------------------------------------------------------------

static double getTarget(double setting, double depth) {
    Records::link("P").setting = setting;
    Records::tank("T").newDepth = depth;
    linkkinds_setTargets(testModel());
    return Records::link("P").targetSetting;
}

TEST(PumpSwitch, StopsStrictlyBelowTheShutoffDepth) {
    StartedProject model(getProject("L NO ON 3 1"));
    EXPECT_EQ(getTarget(1.0, 1.0), 1.0);
    EXPECT_EQ(getTarget(1.0, 0.99), 0.0);
    EXPECT_EQ(getTarget(0.5, 0.99), 0.0);
}

TEST(PumpSwitch, StartsStrictlyAboveTheStartupDepth) {
    StartedProject model(getProject("L NO OFF 3 1"));
    EXPECT_EQ(getTarget(0.0, 3.0), 0.0);
    EXPECT_EQ(getTarget(0.0, 3.01), 1.0);
    EXPECT_EQ(getTarget(0.5, 3.01), 0.5);  // it runs already
}

TEST(PumpSwitch, NeverStopsWithoutAShutoffDepth) {
    StartedProject model(getProject("L NO ON 3 0"));
    EXPECT_EQ(getTarget(1.0, 0.0), 1.0);
}

TEST(PumpSwitch, NeverStartsWithoutAStartupDepth) {
    StartedProject model(getProject("L NO OFF 0 1"));
    EXPECT_EQ(getTarget(0.0, 5.0), 0.0);
}

TEST(PumpSwitch, ActsAtTheBeginningOfAStep) {
    StartedProject model(getProject("L NO OFF 1.5 1"));
    model.step();
    EXPECT_EQ(model.link("P").setting, 1.0);
    EXPECT_GT(model.link("P").newFlow, 0.0);
    tarnvelde_setTankDepth("T", 0.5);
    model.step();
    EXPECT_EQ(model.link("P").setting, 0.0);
    EXPECT_EQ(model.link("P").newFlow, 0.0);
}

TEST(PumpSwitch, StandsStillWhileTheHostHoldsTheSetting) {
    StartedProject model(getProject("L NO ON 3 2.5"));
    model.link("P").isHostSetting = 1;
    model.step();
    EXPECT_EQ(model.link("P").targetSetting, 0.0);
    EXPECT_EQ(model.link("P").setting, 1.0);
}

// --- host ----------------------------------------------------------------------------------------------------------

TEST(PumpHost, DrivesThePumpWhateverItsSetting) {
    StartedProject model(getProject("L NO OFF 3 2.5"));
    EXPECT_EQ(tarnvelde_setPumpFlow("p", 0.7), 0);
    model.step();
    EXPECT_EQ(model.link("P").setting, 0.0);
    EXPECT_EQ(model.link("P").newFlow, 0.7);
}

TEST(PumpHost, GetsNothingForANegativeFlow) {
    StartedProject model(getProject("L NO ON 0 0"));
    EXPECT_EQ(tarnvelde_setPumpFlow("P", -0.7), 0);
    model.step();
    EXPECT_EQ(model.link("P").newFlow, 0.0);
    EXPECT_EQ(model.tank("T").newDepth, 2.0);
}

TEST(PumpHost, IsRefusedForWhatIsNoPump) {
    StartedProject model(getProject("L NO ON 0 0") + "[WEIRS]\nW T OUT NO TRIANGULAR 1 1 4 0\n");
    EXPECT_EQ(tarnvelde_setPumpFlow("W", 0.7), -1);
    EXPECT_EQ(tarnvelde_setPumpFlow("T", 0.7), -1);
    EXPECT_EQ(tarnvelde_setPumpFlow(nullptr, 0.7), -1);
}

TEST(PumpHost, IsForgottenAtTheNextStart) {
    StartedProject model(getProject("L NO ON 0 0"));
    tarnvelde_setPumpFlow("P", 0.7);
    tarnvelde_end();
    tarnvelde_start(0);
    EXPECT_EQ(testModel().pumps[0].useHostFlow, 0);
    EXPECT_EQ(testModel().pumps[0].hostFlow, 0.0);
}

// --- line ----------------------------------------------------------------------------------------------------------

TEST(PumpLine, FillsTheRow) {
    StartedProject model(getProject("s YES off 2.5 0.5 more"));
    EXPECT_EQ(model.link("P").kind, PUMP);
    EXPECT_EQ(model.link("P").isLagged, 1);
    EXPECT_EQ(testModel().pumps[0].curve, names_find(testModel(), CURVE, "S"));
    EXPECT_EQ(testModel().pumps[0].initSetting, 0.0);
    EXPECT_EQ(testModel().pumps[0].startupDepth, 2.5);
    EXPECT_EQ(testModel().pumps[0].shutoffDepth, 0.5);
    EXPECT_EQ(model.link("P").setting, 0.0);
    EXPECT_EQ(model.link("P").targetSetting, 0.0);
}

TEST(PumpLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"P X OUT L NO ON 0", "ERROR 203: too few items "},
        {"P X OUT L NO ON 0 0", "ERROR 209: undefined object X "},
        {"P T X L NO ON 0 0", "ERROR 209: undefined object X "},
        {"P T OUT X MAYBE ON 0 0", "ERROR 209: undefined object X "},
        {"P T OUT L MAYBE RUN 0 0", "ERROR 205: invalid keyword MAYBE "},
        {"P T OUT L NO RUN x 0", "ERROR 205: invalid keyword RUN "},
        {"P T OUT L NO ON x y", "ERROR 211: invalid number x "},
        {"P T OUT L NO ON -1 y", "ERROR 211: invalid number -1 "},
        {"P T OUT L NO ON 1 -0.5", "ERROR 211: invalid number -0.5 "},
    };
    for (const auto& bad : cases) {
        const std::string text =
            getGeneral(20) + "[TANKS]\nT TC 5 2\n[OUTFALLS]\nOUT\n[PUMPS]\n" + bad.line + "\n" + CURVES;
        EXPECT_TRUE(refusesLine(text, bad.message, "[PUMPS]", bad.line));
    }
}

TEST(PumpCheck, WantsATankUpstream) {
    const OpenResult result =
        openProject(getGeneral(20) + "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[PUMPS]\n" + "P J OUT L NO ON 0 0\n" + CURVES);
    EXPECT_EQ(result.code, 141);
    EXPECT_EQ(result.report, "\n  \n  ERROR 141: Pump P must be an outlet link of tank.");
}

TEST(PumpCheck, WantsTheStartupAboveTheShutoff) {
    const OpenResult result = openProject(getProject("L NO ON 2 2"));
    EXPECT_EQ(result.code, 500);
    EXPECT_EQ(result.report, "\n  \n  ERROR 500: startup depth not higher than shutoff depth for Pump P.");
    EXPECT_EQ(openProject(getProject("L NO ON 2.01 2")).code, 0);
    EXPECT_EQ(openProject(getProject("L NO ON 0 2")).code, 0);  // without an automatic start there is nothing to test
}

TEST(PumpCheck, WantsACurveOfAPump) {
    const OpenResult result = openProject(getProject("TC NO ON 0 0"));
    EXPECT_EQ(result.code, 511);
    EXPECT_EQ(result.report, "\n  \n  ERROR 511: Curve of Pump P must be a pump type.");
}

TEST(PumpCheck, WritesAllItsMessagesInOrder) {
    const OpenResult result =
        openProject(getGeneral(20) + "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[PUMPS]\n" + "P J OUT TC NO ON 1 2\n" + CURVES);
    EXPECT_EQ(result.code, 511);
    EXPECT_EQ(result.report,
              "\n  \n  ERROR 141: Pump P must be an outlet link of tank."
              "\n  \n  ERROR 500: startup depth not higher than shutoff depth for Pump P."
              "\n  \n  ERROR 511: Curve of Pump P must be a pump type.");
}

TEST(PumpRow, MixesOldAndNew) {
    StartedProject model(getProject("L NO ON 0 0") + "[POLLUTANTS]\nA 0\n");
    Link& link = model.link("P");
    link.oldFlow = 1.0;
    link.newFlow = 2.0;
    link.oldQual[0] = 8.0;
    link.newQual[0] = 4.0;
    float row[2];
    rows_fill(testModel(), PUMP_TABLE, model.findLink("P"), 0.5, row);
    EXPECT_EQ(row[0], 1.5f);
    EXPECT_EQ(row[1], 6.0f);
}
