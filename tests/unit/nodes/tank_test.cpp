#include "nodes/tank.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "links/orifice.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/curve.h"
#include "model/errors.h"
#include "results/rows.h"
#include "support/model.h"
#include "support/storage.h"

static constexpr double DT = 60.0;  ///< s, the routing step of all projects here

/// A tank T on the curve B, with its full and its first depth as given, and outlets to OUT.
static std::string getProject(const std::string& depths, const std::string& more = "",
                              const std::string& curve = "[CURVES]\nB TANK 0 100 100 100\n") {
    return getGeneral(60) + "[TANKS]\nT B " + depths + "\n[OUTFALLS]\nOUT\n" + more + "\n" + curve;
}

static const char* const NEVER = "[WEIRS]\nNEVER T OUT NO TRIANGULAR 1 1 1000 0\n";

/// Stored water of 50 mg/L.
static const char* const QUALITY = "[POLLUTANTS]\nA 0\n[INITIAL_CONCENTRATION]\nT x A 50\n";

/// Torricelli for a low slot of 1 m2 under water, coefficient 0.1, its middle at `middle`.
static double getSlotFlow(double depth, double middle) {
    return 0.1 * 10.0 * 0.1 * std::sqrt(19.62 * (depth - middle));
}

/// The line of such a slot, 0.1 m high and 10 m wide.
static std::string getSlot(const char* id, double crest) {
    return std::string(id) + " T OUT NO RECTANGULAR 0.1 " + std::to_string(crest) + " 0.1 10\n";
}

// --- line and checks -----------------------------------------------------------------------------------------------

TEST(TankLine, FillsTheRow) {
    StartedProject model(getProject("5 2", NEVER));
    EXPECT_EQ(model.node("T").kind, TANK);
    EXPECT_EQ(model.tank("T").curve, 0);
    EXPECT_EQ(model.tank("T").maxDepth, 5.0);
    EXPECT_EQ(model.tank("T").initDepth, 2.0);
    EXPECT_EQ(model.tank("T").newDepth, 2.0);
}

TEST(TankLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"T X 5", "ERROR 203: too few items "},
        {"T X 5 a", "ERROR 209: undefined object X "},
        {"T B a b", "ERROR 211: invalid number a "},
        {"T B -5 b", "ERROR 211: invalid number -5 "},
        {"T B 5 -0.1", "ERROR 211: invalid number -0.1 "},
    };
    for (const auto& bad : cases) {
        const std::string text = getGeneral(10) + "[TANKS]\n" + bad.line + "\n[OUTFALLS]\nOUT\n" + getBasin("B", 100.0);
        EXPECT_TRUE(refusesLine(text, bad.message, "[TANKS]", bad.line));
    }
}

TEST(TankCheck, WantsACurveOfATank) {
    const OpenResult result = openProject(getProject("5 2", NEVER, "[CURVES]\nB PUMP1 0 100 100 100\n"));
    EXPECT_EQ(result.code, 513);
    EXPECT_EQ(result.report, "\n  \n  ERROR 513: Curve of Tank T must be a tank type.");
}

TEST(TankQualityLine, GivesTheConcentrationAtTheStart) {
    StartedProject model(getProject("5 2", NEVER) + "[POLLUTANTS]\nA 0\nB 0\n[INITIAL_CONCENTRATION]\nT any B 7.5\n");
    EXPECT_EQ(model.tank("T").qual[0], 0.0);
    EXPECT_EQ(model.tank("T").qual[1], 7.5);
    EXPECT_EQ(model.node("T").newQual[1], 7.5);
    EXPECT_NEAR(testModel().totals.quality[1].initStorage, 200.0 * 7.5 / 1000.0, 1e-12);
    EXPECT_NEAR(testModel().totals.flow.initStorage, 200.0, 1e-12);
}

TEST(TankQualityLine, WantsAPollutant) {
    const std::string text = getProject("5 2", NEVER) + "[INITIAL_CONCENTRATION]\nT any B 7.5\n";
    EXPECT_TRUE(refusesLine(text, "ERROR 209: undefined object B ", "[INITIAL_CONCENTRATION]", "T any B 7.5"));
}

TEST(TankDecayLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"OUT NODE X ZERO -1x Y", "ERROR 209: undefined object OUT "},  // the kind of the node comes first
        {"V NODE A ZERO -1x Y", "ERROR 209: undefined object V "},
        {"T NODE X ZERO -1x Y", "ERROR 209: undefined object X "},
        {"T NODE A ZERO -1x Y", "ERROR 800: not FIRST decay type for object T "},
        {"T NODE A FIRST -1x Y", "ERROR 211: invalid number -1x "},
        {"T NODE A FIRST x Y", "ERROR 209: undefined object Y "},  // a word counts as 0
    };
    for (const auto& bad : cases) {
        const std::string text =
            getProject("5 2", NEVER) + "[POLLUTANTS]\nA 0\n[DECAY_COEFFICIENT]\n" + bad.line + "\n";
        EXPECT_TRUE(refusesLine(text, bad.message, "[DECAY_COEFFICIENT]", bad.line));
    }
}

TEST(TankDecayLine, WithoutAPatternHasNone) {
    StartedProject model(getProject("5 2", NEVER) +
                         "[POLLUTANTS]\nA 0\n[DECAY_COEFFICIENT]\nT NODE A FIRST 8.64 \"\"\n");
    EXPECT_EQ(model.tank("T").decay[0].type, FIRST_ORDER);
    EXPECT_EQ(model.tank("T").decay[0].pattern, -1);
    EXPECT_NEAR(model.tank("T").decay[0].k, 0.0001, 1e-18);
}

// --- volume --------------------------------------------------------------------------------------------------------

static double getVolume(double depth) {
    return tank_getVolume(testModel(), Records::tank("T"), depth);
}

TEST(TankVolume, IsLinearInABasinWithUprightWalls) {
    StartedProject model(getProject("5 2", NEVER));
    EXPECT_EQ(getVolume(0.0), 0.0);
    EXPECT_NEAR(getVolume(0.25), 25.0, 1e-12);
    EXPECT_NEAR(getVolume(100.0), 10000.0, 1e-9);
    EXPECT_NEAR(getVolume(200.0), 20000.0, 1e-9);
}

TEST(TankVolume, BeginsWithAnAreaThatGrowsFrom0) {
    StartedProject model(getProject("5 2", NEVER, "[CURVES]\nB TANK 2 80 4 120\n"));
    EXPECT_NEAR(getVolume(1.0), 40.0 / 2.0, 1e-12);
    EXPECT_NEAR(getVolume(2.0), 80.0, 1e-12);
    EXPECT_NEAR(getVolume(3.0), 80.0 + (80.0 + 100.0) / 2.0, 1e-12);
    EXPECT_NEAR(getVolume(4.0), 80.0 + 200.0, 1e-12);
    EXPECT_NEAR(getVolume(5.0), 280.0 + (120.0 + 140.0) / 2.0, 1e-12);  // the walls go on with their slope
}

TEST(TankVolume, GoesUpStraightAboveASinglePoint) {
    StartedProject model(getProject("5 2", NEVER, "[CURVES]\nB TANK 2 80\n"));
    EXPECT_NEAR(getVolume(1.0), 20.0, 1e-12);
    EXPECT_NEAR(getVolume(5.0), 80.0 + 3.0 * 80.0, 1e-12);
}

TEST(TankVolume, OfANegativeDepthIsThatOfThePositiveOne) {
    StartedProject model(getProject("5 2", NEVER, "[CURVES]\nB TANK 2 80 4 120\n"));
    EXPECT_EQ(getVolume(-1.5), getVolume(1.5));
    StartedProject upright(getProject("5 2", NEVER));
    EXPECT_EQ(getVolume(-1.5), 0.0);
}

TEST(TankVolume, Is0WithoutACurve) {
    StartedProject model(getProject("5 2", NEVER));
    for (const int32_t curve : {-1, 1, 1000}) {
        model.tank("T").curve = curve;
        EXPECT_EQ(getVolume(2.0), 0.0);
    }
    model.tank("T").curve = 0;
    testModel().curves[0].entries.clear();
    EXPECT_EQ(getVolume(2.0), 0.0);
}

TEST(TankVolume, StopsAtAPointThatDoesNotRise) {
    StartedProject model(getProject("5 2", NEVER, "[CURVES]\nB TANK 2 80 4 120\n"));
    testModel().curves[0].entries = {{2.0, 80.0}, {1.5, 500.0}, {3.0, 90.0}};
    EXPECT_NEAR(getVolume(1.9), 80.0 * (1.9 / 2.0) * 1.9 / 2.0, 1e-12);
    testModel().curves[0].entries = {{2.0, 80.0}, {2.0, 500.0}, {3.0, 500.0}};
    EXPECT_NEAR(getVolume(2.5), 80.0 + 250.0, 1e-12);
    testModel().curves[0].entries = {{2.0, 80.0}, {2.0, 500.0}};
    EXPECT_NEAR(getVolume(3.0), 80.0 + 500.0, 1e-12);  // a last piece without a rise has no slope
}

TEST(TankVolume, AndDepthAreInversesOfOneAnother) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int curve = 0; curve < 60; ++curve) {
        std::string text = "[CURVES]\n";
        double x = 0.05 + unit(random);
        const int count = 1 + static_cast<int>(12.0 * unit(random));
        for (int k = 0; k < count; ++k) {
            text += "B " + std::string(k == 0 ? "TANK " : "") + std::to_string(x) + " " +
                    std::to_string(1.0 + 500.0 * unit(random)) + "\n";
            x += 0.05 + unit(random);
        }
        StartedProject model(getProject("5 2", NEVER, text));
        // A bit above the last point too, as long as the walls don't meet there.
        const double end = testModel().curves[0].entries.back().x * 1.001;
        for (int k = 0; k < 200; ++k) {
            const double depth = end * unit(random);
            const double volume = getVolume(depth);
            EXPECT_NEAR(getVolume(curve_inverseLookup(testModel().curves[0], volume)), volume, 1e-9 * volume)
                << text << depth;
            EXPECT_NEAR(curve_inverseLookup(testModel().curves[0], volume), depth, 1e-6) << text;
        }
    }
}

// --- outlets by level ----------------------------------------------------------------------------------------------

TEST(TankOutlets, LetGoByTheirLaw) {
    StartedProject model(getProject("5 2", "[ORIFICES]\n" + getSlot("A", 0.5)));
    model.step();
    const double flow = getSlotFlow(2.0, 0.55);
    EXPECT_NEAR(model.link("A").newFlow, flow, 1e-12);
    EXPECT_NEAR(model.tank("T").newDepth, 2.0 - DT * flow / 100.0, 1e-12);
}

TEST(TankOutlets, AboveTheWaterLetNothingGo) {
    StartedProject model(getProject("5 2", "[ORIFICES]\n" + getSlot("A", 2.5) + getSlot("B", 2.5)));
    model.link("A").newFlow = model.link("B").newFlow = 9.0;
    model.step();
    EXPECT_EQ(model.link("A").newFlow, 0.0);
    EXPECT_EQ(model.link("B").newFlow, 0.0);
    EXPECT_EQ(model.tank("T").newDepth, 2.0);
}

TEST(TankOutlets, OfOneLevelShareTheWaterAboveIt) {
    // 10 m3 stand above the level, far less than the two would take in a minute.
    StartedProject model(
        getProject("5 0.6", "[ORIFICES]\n" + getSlot("A", 0.5) + "B T OUT NO RECTANGULAR 0.2 0.5 0.1 30\n"));
    model.step();
    EXPECT_NEAR(model.link("A").newFlow + model.link("B").newFlow, 10.0 / DT, 1e-12);
    EXPECT_NEAR(model.link("B").newFlow / model.link("A").newFlow, 6.0, 1e-12);
    EXPECT_NEAR(model.tank("T").newDepth, 0.5, 1e-12);
}

TEST(TankOutlets, AreTreatedInTheOrderOfTheFile) {
    const std::string high = getSlot("H", 2.0), low = getSlot("L", 1.0);
    double flows[2][2];
    for (int k = 0; k < 2; ++k) {
        StartedProject model(getProject("5 2.5", "[ORIFICES]\n" + (k == 0 ? high + low : low + high)));
        model.step();
        flows[k][0] = model.link("H").newFlow;
        flows[k][1] = model.link("L").newFlow;
    }
    // The one treated first meets the whole depth, the other what is left.
    EXPECT_NEAR(flows[0][0], getSlotFlow(2.5, 2.05), 1e-12);
    EXPECT_NEAR(flows[0][1], getSlotFlow(2.5 - DT * flows[0][0] / 100.0, 1.05), 1e-12);
    EXPECT_NEAR(flows[1][1], getSlotFlow(2.5, 1.05), 1e-12);
    EXPECT_NEAR(flows[1][0], getSlotFlow(2.5 - DT * flows[1][1] / 100.0, 2.05), 1e-12);
}

TEST(TankOutlets, LetOrificesGoAheadOfWeirs) {
    StartedProject model(
        getProject("5 2.5", "[WEIRS]\nW T OUT NO RECTANGULAR 0.1 2 1.5 0\n[ORIFICES]\n" + getSlot("A", 1.0)));
    model.step();
    const double orifice = getSlotFlow(2.5, 1.05);
    EXPECT_NEAR(model.link("A").newFlow, orifice, 1e-12);
    EXPECT_NEAR(model.link("W").newFlow, 0.2 * std::pow(2.5 - DT * orifice / 100.0 - 1.5, 1.5), 1e-12);
}

/// Behind the first level, which is dry, two equal lower ones are two entries of the list.
static const std::string DOUBLE_LEVEL = "[ORIFICES]\n" + getSlot("H", 4.0) + getSlot("A", 1.0) + getSlot("B", 1.0);

TEST(TankOutlets, ReleaseTwiceFromALevelThatStandsTwice) {
    // Each time both let go, and the second flow stands.
    StartedProject model(getProject("5 2", DOUBLE_LEVEL) + QUALITY);
    model.step();
    const double first = getSlotFlow(2.0, 1.05);
    const double depth = 2.0 - 2.0 * DT * first / 100.0;
    const double second = getSlotFlow(depth, 1.05);
    EXPECT_NEAR(model.link("A").newFlow, second, 1e-12);
    EXPECT_NEAR(model.link("B").newFlow, second, 1e-12);
    EXPECT_NEAR(model.tank("T").newDepth, depth - 2.0 * DT * second / 100.0, 1e-12);
    // What the first treatment let go reaches nobody: neither its water nor what that carries.
    tarnvelde_report();
    EXPECT_NEAR(testModel().totals.flowError / 100.0 * 200.0, 2.0 * DT * first, 1e-9);
    EXPECT_NEAR(testModel().totals.qualityError / 100.0 * 200.0, 2.0 * DT * first, 1e-9);
}

TEST(TankOutlets, OfTwoLevelsWithinTheToleranceLetGoTwice) {
    StartedProject model(getProject("5 2",
                                    "[ORIFICES]\nA T OUT NO RECTANGULAR 0.1 1 0.1 10\n"
                                    "B T OUT NO RECTANGULAR 0.1 1.00000000005 0.1 10\n"));
    model.step();
    const double depth = 2.0 - 2.0 * DT * getSlotFlow(2.0, 1.05) / 100.0;
    EXPECT_NEAR(model.link("A").newFlow, getSlotFlow(depth, 1.05), 1e-9);
    EXPECT_NEAR(model.tank("T").newDepth, depth - 2.0 * DT * getSlotFlow(depth, 1.05) / 100.0, 1e-9);
}

TEST(TankOutlets, FollowTheLevelsOfWeirsAsTheirSettingsMove) {
    const std::string weirs = "[WEIRS]\nA T OUT NO RECTANGULAR 0.1 1 1 1\nB T OUT NO RECTANGULAR 0.1 1 1.5 0\n";
    StartedProject model(getProject("9 2", weirs));
    model.step();
    const double first = 0.1;  // a head of 1 m
    EXPECT_NEAR(model.link("A").newFlow, first, 1e-12);
    EXPECT_NEAR(model.link("B").newFlow, 0.1 * std::pow(0.5 - DT * first / 100.0, 1.5), 1e-12);
    tarnvelde_setTankDepth("T", 2.0);
    model.link("A").setting = model.link("A").targetSetting = 0.5;  // now both stand at one level
    model.step();
    EXPECT_NEAR(model.link("A").newFlow, 0.1 * std::pow(0.5, 1.5), 1e-12);
    EXPECT_EQ(model.link("B").newFlow, model.link("A").newFlow);
}

TEST(TankOutlets, SurviveALevelThatIsNoNumber) {
    StartedProject model(
        getProject("5 2", "[WEIRS]\nA T OUT NO RECTANGULAR 0.1 1 nan 1\nB T OUT NO RECTANGULAR 0.1 1 1 1\n"));
    model.step();
    EXPECT_EQ(model.link("A").newFlow, 0.0);
    EXPECT_NEAR(model.link("B").newFlow, 0.1, 1e-12);
}

TEST(TankOutlets, GainWaterOverACrestThatTheHostHasLowered) {
    // The level stays at 3 m, the crest comes down to 1 m: the water above the level is negative, and so is the flow.
    StartedProject model(getProject("5 2", "[WEIRS]\nW T OUT NO RECTANGULAR 1 1 1 2\n"));
    model.link("W").setting = model.link("W").targetSetting = 0.0;
    tarnvelde_setWeirParams("W", 1, 0.0);
    model.step();
    EXPECT_NEAR(model.link("W").newFlow, (200.0 - 300.0) / DT, 1e-12);
    EXPECT_NEAR(model.tank("T").newDepth, 3.0, 1e-12);
}

TEST(TankOutlets, HaveNothingToDoWithoutACurve) {
    StartedProject model(getProject("5 2", "[ORIFICES]\n" + getSlot("A", 1.0)));
    model.tank("T").curve = -1;
    model.step();
    EXPECT_EQ(model.link("A").newFlow, 0.0);
    EXPECT_EQ(model.tank("T").newDepth, 0.0);
}

// --- the trace -----------------------------------------------------------------------------------------------------

static std::string captureSteps(StartedProject& model, int count) {
    testing::internal::CaptureStdout();
    model.step(count);
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

static std::string showTrace(double flow) {
    char text[40];
    std::snprintf(text, sizeof text, "%f\n", flow);
    return text;
}

TEST(TankTrace, PrintsTheFlowOfEachRunningOrificeInLinkOrder) {
    StartedProject model(
        getProject("5 0.6", "[ORIFICES]\n" + getSlot("A", 0.5) + "B T OUT NO RECTANGULAR 0.2 0.5 0.1 30\n"));
    EXPECT_EQ(captureSteps(model, 1), "0.023810\n0.142857\n");  // a seventh and six of 10 m3 in 60 s
    EXPECT_EQ(captureSteps(model, 1), "");                      // drained to the level
}

TEST(TankTrace, PrintsBothReleasesOfALevelThatStandsTwice) {
    StartedProject model(getProject("5 2", DOUBLE_LEVEL));
    const double first = getSlotFlow(2.0, 1.05), second = getSlotFlow(2.0 - 2.0 * DT * first / 100.0, 1.05);
    EXPECT_EQ(captureSteps(model, 1), showTrace(first) + showTrace(first) + showTrace(second) + showTrace(second));
}

TEST(TankTrace, IsSilentForWeirs) {
    StartedProject model(getProject("5 2", "[WEIRS]\nW T OUT NO RECTANGULAR 0.1 1 1 0\n"));
    EXPECT_EQ(captureSteps(model, 2), "");
}

// --- pumps ---------------------------------------------------------------------------------------------------------

static const char* const PUMPS =
    "[CURVES]\nP1 PUMP1 0 1\nP2 PUMP1 0 3\n"
    "[PUMPS]\nA T OUT P1 NO ON 0 0\nB T OUT P2 NO ON 0 0\n";

TEST(TankPumps, DeliverByTheirCurves) {
    StartedProject model(getProject("9 8", PUMPS));
    model.step();
    EXPECT_EQ(model.link("A").newFlow, 1.0);
    EXPECT_EQ(model.link("B").newFlow, 3.0);
    EXPECT_NEAR(model.tank("T").newDepth, 8.0 - 2.4, 1e-12);
}

TEST(TankPumps, ShareWhatTheTankHolds) {
    StartedProject model(getProject("9 1.2", PUMPS));  // 120 m3, and 240 m3 are wanted in a step
    model.step();
    EXPECT_NEAR(model.link("A").newFlow, 0.5, 1e-12);
    EXPECT_NEAR(model.link("B").newFlow, 1.5, 1e-12);
    EXPECT_EQ(model.tank("T").newDepth, 0.0);
    model.step();
    EXPECT_EQ(model.link("A").newFlow, 0.0);
    EXPECT_EQ(model.link("B").newFlow, 0.0);
}

TEST(TankPumps, ShareByTheirFlowsAtTheDepthThatIsLeft) {
    // At 2 m the pumps want 1 and 3 m3/s, at the bottom 1 and 1; at the end the tank is empty.
    StartedProject model(getProject("9 2",
                                    "[CURVES]\nP1 PUMP1 0 1\nP2 PUMP1 0 1 2 3\n[PUMPS]\nA T OUT P1 NO ON 0 0\n"
                                    "B T OUT P2 NO ON 0 0\n"));
    model.step();
    EXPECT_NEAR(model.link("A").newFlow, 200.0 / DT / 2.0, 1e-12);
    EXPECT_NEAR(model.link("B").newFlow, 200.0 / DT / 2.0, 1e-12);
}

TEST(TankPumps, LoseWhatTheyTookIfNoneWouldRunAtTheDepthThatIsLeft) {
    // At 2 m the pump takes 1 m3/s, but at the 1.4 m that are left its curve gives nothing: the water is gone with all
    // that it carries, and the pump has delivered none of it.
    StartedProject model(getProject("9 2", "[CURVES]\nP1 PUMP2 1.5 0 9 1\n[PUMPS]\nA T OUT P1 NO ON 0 0\n") + QUALITY);
    model.step();
    EXPECT_EQ(model.link("A").newFlow, 0.0);
    EXPECT_NEAR(model.tank("T").newDepth, 1.4, 1e-12);
    tarnvelde_report();
    EXPECT_NEAR(testModel().totals.flowError / 100.0 * 200.0, 60.0, 1e-9);
    EXPECT_NEAR(testModel().totals.qualityError / 100.0 * 200.0, 60.0, 1e-9);
}

TEST(TankPumps, TakeMoreThanThereIsWithAFullDepthOf0) {
    StartedProject model(getProject("0 0", PUMPS));
    model.step();
    // Nothing limits the pumps: 240 m3 leave a tank without any.
    EXPECT_EQ(model.link("A").newFlow, 1.0);
    EXPECT_EQ(model.link("B").newFlow, 3.0);
    EXPECT_EQ(model.tank("T").newDepth, 0.0);
    EXPECT_EQ(model.tank("T").newFlood, 0.0);
}

// --- flood ---------------------------------------------------------------------------------------------------------

TEST(TankFlood, TakesTheExcessOverTheFullVolume) {
    StartedProject model(getProject("5 6", NEVER));
    model.step();
    EXPECT_NEAR(model.tank("T").newFlood, 100.0 / DT, 1e-12);
    EXPECT_NEAR(model.tank("T").newDepth, 5.0, 1e-12);
    EXPECT_NEAR(testModel().totals.flow.floodingLoss, 100.0, 1e-9);
    EXPECT_NEAR(model.tank("T").statFloodVolume, 100.0, 1e-9);
    model.step();
    EXPECT_NEAR(model.tank("T").oldFlood, 100.0 / DT, 1e-12);
    EXPECT_EQ(model.tank("T").newFlood, 0.0);
}

TEST(TankFlood, ShowsOneStepAfterTheWaterCame) {
    StartedProject model(getProject("5 5", NEVER) + "[DWFS]\nT FLOW 0.5 \"\"\n");
    model.step();
    EXPECT_EQ(model.tank("T").newFlood, 0.0);
    EXPECT_NEAR(model.tank("T").newDepth, 5.3, 1e-12);  // above full until the next step
    model.step();
    EXPECT_NEAR(model.tank("T").newFlood, 0.5, 1e-12);
    EXPECT_NEAR(model.tank("T").newDepth, 5.3, 1e-12);
}

TEST(TankFlood, ComesOfADepthThatTheHostSets) {
    StartedProject model(getProject("5 2", NEVER));
    EXPECT_EQ(tarnvelde_setTankDepth("t", 5.6), 0);
    EXPECT_EQ(model.tank("T").newDepth, 5.6);
    model.step();
    EXPECT_NEAR(model.tank("T").newFlood, 1.0, 1e-12);
}

TEST(TankFlood, LosesASmallExcessWithoutAWord) {
    // 0.003 m3 are 0.00005 m3/s: cut off, and in no total; neither is what they carry.
    StartedProject model(getProject("5 5.00003", NEVER) + QUALITY);
    model.step();
    EXPECT_EQ(model.tank("T").newFlood, 0.0);
    EXPECT_NEAR(model.tank("T").newDepth, 5.0, 1e-12);
    tarnvelde_report();
    EXPECT_EQ(testModel().totals.flow.floodingLoss, 0.0);
    EXPECT_EQ(testModel().totals.quality[0].floodingLoss, 0.0);
    EXPECT_NEAR(testModel().totals.flowError / 100.0 * 500.003, 0.003, 1e-9);
    EXPECT_NEAR(testModel().totals.qualityError / 100.0 * 500.003, 0.003, 1e-9);
}

TEST(TankFlood, TakesAllFromATankWithAFullDepthOf0) {
    StartedProject model(getProject("0 2", NEVER));
    model.step();
    EXPECT_NEAR(model.tank("T").newFlood, 200.0 / DT, 1e-12);
    EXPECT_EQ(model.tank("T").newDepth, 0.0);
}

TEST(TankFlood, LeavesAVolumeBelowTheFullOneAlone) {
    StartedProject model(getProject("5 4.999", NEVER));
    model.step();
    EXPECT_EQ(model.tank("T").newFlood, 0.0);
    EXPECT_NEAR(model.tank("T").newDepth, 4.999, 1e-12);
}

TEST(TankHostDepth, IsRefusedForWhatIsNoTank) {
    StartedProject model(getProject("5 2", NEVER));
    EXPECT_EQ(tarnvelde_setTankDepth("OUT", 1.0), -1);
    EXPECT_EQ(tarnvelde_setTankDepth("NEVER", 1.0), -1);
    EXPECT_EQ(tarnvelde_setTankDepth(nullptr, 1.0), -1);
}

TEST(TankHostDepth, MayBeNegative) {
    StartedProject model(getProject("5 2", NEVER, "[CURVES]\nB TANK 2 80 4 120\n"));
    tarnvelde_setTankDepth("T", -1.0);
    model.step();
    EXPECT_NEAR(model.tank("T").newDepth, 1.0, 1e-12);  // the volume has no sign
}

// --- quality -------------------------------------------------------------------------------------------------------

TEST(TankQuality, MixesTheInflowBehindTheRelease) {
    StartedProject model(getProject("9 2", NEVER) + QUALITY + "[DWFS]\nT FLOW 0.5 \"\"\nT A 200 \"\"\n");
    model.step();
    EXPECT_NEAR(model.tank("T").qual[0], (200.0 * 50.0 + 30.0 * 200.0) / 230.0, 1e-12);
    EXPECT_EQ(model.node("T").newQual[0], 50.0);  // what left was the water from before the inflow
    EXPECT_NEAR(model.tank("T").newDepth, 2.3, 1e-12);
}

TEST(TankQuality, Is0WithoutWaterAndInflow) {
    StartedProject model(getProject("9 0", NEVER) + QUALITY);
    model.step();
    EXPECT_EQ(model.tank("T").qual[0], 0.0);
}

TEST(TankQuality, OfAnOutletThatLetsNothingGoIs0) {
    StartedProject model(getProject("9 2", std::string(NEVER) + "[ORIFICES]\n" + getSlot("O", 3.0)) + QUALITY);
    model.step();
    EXPECT_EQ(model.link("NEVER").newQual[0], 0.0);
    EXPECT_EQ(model.link("O").newQual[0], 0.0);
}

TEST(TankQuality, LeavesOrificesAndWeirsAheadOfTheDecayAndPumpsBehindIt) {
    const std::string outlets = "[ORIFICES]\n" + getSlot("O", 0.5) +
                                "[WEIRS]\nW T OUT NO RECTANGULAR 0.1 1 0.5 0\n[PUMPS]\nP T OUT P1 NO ON 0 0\n"
                                "[CURVES]\nP1 PUMP1 0 0.5\n";
    StartedProject model(getProject("9 2", outlets) + QUALITY + "[DECAY_COEFFICIENT]\nT NODE A FIRST 864 \"\"\n");
    model.step();
    const double left = std::exp(-0.01 * DT);
    EXPECT_EQ(model.link("O").newQual[0], 50.0);
    EXPECT_EQ(model.link("W").newQual[0], 50.0);
    EXPECT_NEAR(model.link("P").newQual[0], 50.0 * left, 1e-12);
    EXPECT_NEAR(model.node("T").newQual[0], 50.0 * left, 1e-12);
    // Booked is the decay of the water that stayed; that of the 30 m3 pumped is in no total.
    const double stayed = 200.0 - DT * (model.link("O").newFlow + model.link("W").newFlow + 0.5);
    EXPECT_NEAR(testModel().totals.quality[0].reactedLoss, 50.0 * stayed * (1.0 - left) / 1000.0, 1e-12);
    tarnvelde_report();
    const double missing = 30.0 * 50.0 * (1.0 - left) / 1000.0;
    EXPECT_NEAR(testModel().totals.qualityError / 100.0 * testModel().totals.quality[0].initStorage, missing, 1e-9);
}

TEST(TankQuality, DecaysByThePatternOfTheHour) {
    StartedProject model(getProject("9 2", NEVER) + QUALITY +
                         "[PATTERNS]\nH HOURLY 3 1\n[DECAY_COEFFICIENT]\nT NODE A FIRST 864 h\n");
    model.step();
    EXPECT_NEAR(model.tank("T").qual[0], 50.0 * std::exp(-3.0 * 0.01 * DT), 1e-12);
}

TEST(TankQuality, FloodsWithTheConcentrationBehindTheDecay) {
    StartedProject model(getProject("5 6", NEVER) + QUALITY + "[DECAY_COEFFICIENT]\nT NODE A FIRST 864 \"\"\n");
    model.step();
    EXPECT_NEAR(testModel().totals.quality[0].floodingLoss, 100.0 * 50.0 * std::exp(-0.01 * DT) / 1000.0, 1e-12);
}

// --- runs ----------------------------------------------------------------------------------------------------------

TEST(TankRun, BeginsEachTimeAsTheFirst) {
    StartedProject model(getProject("9 2", "[ORIFICES]\n" + getSlot("O", 0.5)) + QUALITY + "[DWFS]\nT FLOW 0.5 \"\"\n");
    model.step(10);
    const double depth = model.tank("T").newDepth, quality = model.tank("T").qual[0];
    tarnvelde_end();
    EXPECT_EQ(model.tank("T").qual, nullptr);
    EXPECT_EQ(tarnvelde_start(0), 0);
    EXPECT_EQ(model.tank("T").newDepth, 2.0);
    EXPECT_EQ(model.tank("T").newFlood, 0.0);
    EXPECT_EQ(model.tank("T").qual[0], 50.0);
    model.step(10);
    EXPECT_EQ(model.tank("T").newDepth, depth);
    EXPECT_EQ(model.tank("T").qual[0], quality);
}

TEST(TankRun, MayBeReportedBehindItsEnd) {
    StartedProject model(getProject("9 2", NEVER) + QUALITY);
    model.step(3);
    tarnvelde_end();
    EXPECT_EQ(tarnvelde_report(), 0);
    EXPECT_NEAR(testModel().totals.flowError, 0.0, 1e-9);
    EXPECT_NEAR(testModel().totals.qualityError, 100.0, 1e-9);  // concentrations are gone with the run, and count as 0
}

TEST(TankRun, EmptiesThroughASharpWeirAsTheDifferentialEquationSays) {
    // dh/dt = -a h^1.5 with a = c L / A has the solution h = 1 / (1 / sqrt(h0) + a t / 2)^2. The explicit step is of
    // first order: halving it halves the error.
    double errors[2];
    for (int k = 0; k < 2; ++k) {
        const std::string step = k == 0 ? "0:01:00" : "0:00:30";
        StartedProject model(getGeneral(60) + "ROUTING_STEP " + step +
                             "\n[TANKS]\nT B 5 1\n[OUTFALLS]\nOUT\n[WEIRS]\nW T OUT NO RECTANGULAR 0.2 1 0 0\n" +
                             getBasin("B", 100.0));
        model.step(k == 0 ? 30 : 60);
        const double root = 1.0 + 0.002 * 1800.0 / 2.0;
        errors[k] = model.tank("T").newDepth - 1.0 / (root * root);
    }
    EXPECT_NEAR(errors[0] / errors[1], 2.0, 0.1);
    EXPECT_LT(std::fabs(errors[1]), 0.01);
}

/// Text of a number between two others.
static std::string draw(std::mt19937& random, double low, double high) {
    return std::to_string(std::uniform_real_distribution<double>(low, high)(random));
}

namespace {

/// Sections of one tank of a cascade. The crests rise or stay in the order of the file: lower ones that stand twice
/// would lose water.
struct CascadeText {
    std::string tanks = "[TANKS]\n", curves = "[CURVES]\nP PUMP1 0.2 0 1 0.2 3 0.3\n", orifices = "[ORIFICES]\n";
    std::string weirs = "[WEIRS]\n", pumps = "[PUMPS]\n", inflows = "[DWFS]\n", decays = "[DECAY_COEFFICIENT]\n";
    std::string initial = "[INITIAL_CONCENTRATION]\n";

    void addTank(std::mt19937& random, const std::string& n, const std::string& next) {
        const std::string ends = " T" + n + " " + next + " NO ";
        tanks += "T" + n + " B" + n + " " + draw(random, 3, 4) + " " + draw(random, 0, 3) + "\n";
        curves += "B" + n + " TANK 0.5 " + draw(random, 50, 250) + " 2 " + draw(random, 50, 350) + " 4 " +
                  draw(random, 50, 350) + "\n";
        const std::string crest = draw(random, 0, 1), high = draw(random, 1, 2);
        orifices += "A" + n + ends + "CIRCULAR 0.6 " + crest + " 0.2\nB" + n + ends + "RECTANGULAR 0.6 " + crest +
                    " 0.2 0.3\nC" + n + ends + "CIRCULAR 0.6 " + high + " 0.3\n";
        weirs += "D" + n + ends + "TRIANGULAR 1.5 0.5 " + high + " 0.5\nE" + n + ends + "RECTANGULAR 1.5 0.5 2.5 0.5\n";
        pumps += "P" + n + " T" + n + " " + next + " P NO ON 1.5 0.5\n";
        inflows +=
            "T" + n + " FLOW " + draw(random, 0, 0.1) + " \"\"\nT" + n + " A " + draw(random, 0, 100) + " \"\"\n";
        initial += "T" + n + " x A " + draw(random, 0, 100) + "\n";
        decays += "T" + n + " NODE A FIRST " + draw(random, 0, 20) + " \"\"\n";
    }
};

}  // namespace

/// A cascade of tanks with random curves and outlets; with decay it has no pumps.
static std::string getCascade(unsigned seed, bool hasDecay) {
    std::mt19937 random(seed);
    CascadeText text;
    for (int k = 0; k < 10; ++k) {
        text.addTank(random, std::to_string(k), k < 9 ? "T" + std::to_string(k + 1) : "OUT");
    }
    return getGeneral(600) + text.tanks + "[OUTFALLS]\nOUT\n" + (hasDecay ? "" : text.pumps) + text.weirs +
           text.orifices + text.curves + "[POLLUTANTS]\nA 0\n" + text.inflows + text.initial +
           (hasDecay ? text.decays : "");
}

TEST(TankBalance, ClosesInGeneratedCascades) {
    for (const bool hasDecay : {false, true}) {
        for (const unsigned seed : {1u, 2u, 3u}) {
            testing::internal::CaptureStdout();  // the trace
            StartedProject model(getCascade(seed, hasDecay));
            EXPECT_EQ(stepToEnd(), 0);
            tarnvelde_report();
            std::fflush(stdout);
            testing::internal::GetCapturedStdout();
            EXPECT_NEAR(testModel().totals.flowError, 0.0, 1e-9) << seed;
            EXPECT_NEAR(testModel().totals.qualityError, 0.0, 1e-9) << seed;
            EXPECT_GT(testModel().totals.flow.externalOutflow, 0.0);
            EXPECT_EQ(testModel().totals.quality[0].reactedLoss > 0.0, hasDecay);
        }
    }
}

// --- report and rows -----------------------------------------------------------------------------------------------

TEST(TankReport, HasATableOfItsOwn) {
    Project project(getProject("5 6", NEVER) + "[DWFS]\nT FLOW 0.5 \"\"\n");
    EXPECT_EQ(project.run(), 0);
    // Full at 5 m, and 0.3 m more at the end of each step; 100 m3 flood in the first of 60 steps, 30 m3 in the others.
    const std::string expected =
        "\n  \n  ******************\n  Tank Depth Summary\n  ******************"
        "\n                         Max. Depth        Max. Vol.       Tot. Flood"
        "\n  Tank                            m               m3               m3"
        "\n  ---------------- ---------------- ---------------- ----------------"
        "\n  T                           5.300          530.000         1870.000";
    const std::string report = project.getReport();
    EXPECT_NE(report.find(expected), std::string::npos) << report;
}

TEST(TankRow, MixesOldAndNew) {
    StartedProject model(getProject("5 2", NEVER) + QUALITY);
    Tank& tank = model.tank("T");
    tank.oldDepth = 1.0;
    tank.newDepth = 2.0;
    tank.oldFlood = 0.0;
    tank.newFlood = 4.0;
    Node& node = model.node("T");
    node.oldInflow = 8.0;
    node.newInflow = 4.0;
    node.oldLatFlow = 2.0;
    node.newLatFlow = 0.0;
    node.oldQual[0] = 10.0;
    node.newQual[0] = 20.0;
    float row[6];
    rows_fill(testModel(), TANK_TABLE, model.findNode("T"), 0.75, row);
    const float expected[] = {1.75f, 175.0f, 5.0f, 0.5f, 3.0f, 17.5f};
    for (int k = 0; k < 6; ++k) {
        EXPECT_EQ(row[k], expected[k]) << k;
    }
}

TEST(TankMemory, IsMissedAtTheStart) {
    expectStartsWithoutMemory(getProject("5 2", std::string(NEVER) + "[ORIFICES]\n" + getSlot("O", 0.5)) + QUALITY);
}
