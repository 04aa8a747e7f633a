// Treatment reactors: the reaction laws against closed forms, and each stage of a stirred tank's step: surplus, mixing,
// overflow, evaporation, infiltration, emptying.

#include "nodes/reactor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "model/decay.h"
#include "model/pattern.h"
#include "routing/routing.h"
#include "support/model.h"
#include "support/reactors.h"

// --- reaction laws -------------------------------------------------------------------------------------------------

static double react(int32_t type, double coefficient, double concentration, double seconds, int32_t pattern = -1,
                    DateTime date = 0.0) {
    Reactor reactor{};
    reactor.reactionType = &type;
    reactor.reactionCoeff = &coefficient;
    reactor.reactionPattern = &pattern;
    return reactor_react(testModel(), reactor, 0, concentration, seconds, datetime_getHour(date));
}

TEST(ReactionTest, ConstantConcentrationIsNeverRaised) {
    EXPECT_EQ(react(CONST_CONCEN, 5.0, 20.0, 60.0), 5.0);
    EXPECT_EQ(react(CONST_CONCEN, 5.0, 3.0, 60.0), 3.0);
}

TEST(ReactionTest, ConstantRatioTakesItsShareButNotMoreThanAll) {
    EXPECT_EQ(react(CONST_RATIO, 0.25, 20.0, 60.0), 15.0);
    EXPECT_EQ(react(CONST_RATIO, 3.0, 20.0, 60.0), 0.0);
}

TEST(ReactionTest, ZeroOrderEndsAtNothing) {
    EXPECT_EQ(react(ZERO_ORDER, 0.25, 20.0, 60.0), 5.0);
    EXPECT_EQ(react(ZERO_ORDER, 0.25, 20.0, 80.0), 0.0);
    EXPECT_EQ(react(ZERO_ORDER, 0.25, 20.0, 800.0), 0.0);
}

TEST(ReactionTest, FirstOrderIsExponential) {
    EXPECT_DOUBLE_EQ(react(FIRST_ORDER, 0.01, 20.0, 60.0), 20.0 * std::exp(-0.6));
}

TEST(ReactionTest, NoReactionLeavesTheConcentration) {
    EXPECT_EQ(react(-1, 0.5, 20.0, 60.0), 20.0);
}

TEST(ReactionTest, PatternIsAskedByTheHourWhateverItsTypeSays) {
    Pattern months{};
    months.type = PATTERN_MONTHLY;
    months.factors[0] = 1.0;
    months.factors[13] = 3.0;
    testModel().patterns.fill(1, months);
    EXPECT_EQ(react(ZERO_ORDER, 0.1, 20.0, 10.0, 0, 45000.0), 19.0);
    EXPECT_EQ(react(ZERO_ORDER, 0.1, 20.0, 10.0, 0, 45000.0 + 13.5 / 24.0), 17.0);
    testModel().patterns.clear();
}

// --- stirred tank: batch and steady state --------------------------------------------------------------------------

TEST_F(ReactorTest, FirstOrderBatchFollowsTheExponential) {
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 1 100 0 50");
    text.quality = "R 0 A 80";
    text.decay = "R A FIRST 12 \"\"";
    start(text);
    for (int32_t k = 1; k <= 119; ++k) {
        step();
        EXPECT_NEAR(reactor().qual[0], 80.0 * std::exp(-12.0 * k * 60.0 / DAY), 1e-11);
    }
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, ZeroOrderBatchFallsInALineToNothing) {
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 1 100 0 50");
    text.quality = "R 0 A 80";
    text.decay = "R A ZERO 1440 \"\"";  // 1 mg/L per minute
    start(text);
    for (int32_t k = 1; k <= 119; ++k) {
        step();
        EXPECT_NEAR(reactor().qual[0], k < 80 ? 80.0 - k : 0.0, 1e-10);
    }
    EXPECT_NEAR(reactor().statReactedLoad[0], 80.0 * 50.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, SteadyStirredTankLiesOnItsClosedForm) {
    // Mixing and reaction in turn: c = E (I cin + V c) / (I + V). With shorter steps this is Q cin / (Q + k V).
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 60 0 100");
    text.inflow = "R FLOW FLOW 0.1 \"\" 1\nR CONCEN A 50 \"\" 1";
    text.decay = "R A FIRST 86.4 \"\"";  // 0.001 per second
    text.endTime = "12:00:00";
    text.step = "0:00:05";
    start(text);
    runToEnd();
    const double in = 5.0 * 0.1, volume = 60.0, left = std::exp(-0.001 * 5.0);
    const double steady = left * in * 50.0 / (in + volume - volume * left);
    EXPECT_NEAR(reactor().qual[0], steady, 1e-9);
    const double continuous = 0.1 * 50.0 / (0.1 + 0.001 * volume);
    EXPECT_NEAR(steady, continuous, 0.001 * 5.0 * continuous);
    EXPECT_NEAR(reactor().newOutflow, 0.1, 1e-12);
    EXPECT_NEAR(node("OUT").newQual[0], steady, 1e-9);
}

TEST_F(ReactorTest, TracerWashesOutOfAStirredTank) {
    // Without reaction and with clean inflow each step dilutes by V / (I + V).
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 60 0 100"));
    reactor().qual[0] = 100.0;
    for (int32_t k = 1; k <= 50; ++k) {
        update(0.1);
        EXPECT_NEAR(node("R").newQual[0], 100.0 * std::pow(60.0 / 66.0, k), 1e-10);
    }
}

// --- stirred tank: filling and surplus -----------------------------------------------------------------------------

TEST_F(ReactorTest, TankBelowItsVolumeGivesNothing) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 10"));
    update(1.0, 20.0);  // 60 m3 into 10 of 100
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(node("R").newQual[0], 0.0);
    EXPECT_EQ(reactor().storedVolume, 70.0);
    EXPECT_DOUBLE_EQ(reactor().qual[0], 60.0 * 20.0 / 70.0);
}

TEST_F(ReactorTest, TankFilledExactlyGivesNothing) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 40"));
    update(1.0, 20.0);
    EXPECT_EQ(reactor().storedVolume, 100.0);
    EXPECT_EQ(reactor().newOutflow, 0.0);
    EXPECT_EQ(node("R").newQual[0], 0.0);
}

TEST_F(ReactorTest, FullTankPassesTheRestOn) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 100"));
    update(1.5, 20.0);
    EXPECT_EQ(reactor().storedVolume, 100.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 1.5);
    EXPECT_EQ(reactor().surpassFlow, 0.0);
    EXPECT_DOUBLE_EQ(node("R").newQual[0], 90.0 * 20.0 / 190.0);
}

TEST_F(ReactorTest, FullTankLetsItsCapacityThroughAndTheRestSurpasses) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 100"));  // 0.5 m3/s
    update(2.0, 20.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.5);
    EXPECT_DOUBLE_EQ(reactor().surpassFlow, 1.5);
    EXPECT_DOUBLE_EQ(node("SUR").newLatFlow, 1.5);
    EXPECT_DOUBLE_EQ(node("SUR").massInflow[0], 1.5 * 20.0 / 1000.0);
    EXPECT_DOUBLE_EQ(reactor().statSurpassLoad[0], 1.5 * 20.0 / 1000.0 * 60.0);
}

TEST_F(ReactorTest, TankFillsUpBeforeAnythingSurpasses) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 40"));
    update(1.25);  // 75 m3: 60 fill it, 15 are within the 30 that may run through
    EXPECT_EQ(reactor().surpassFlow, 0.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.25);
    reactor().storedVolume = 40.0;
    update(2.0);  // 120 m3: 60 fill it, 30 run through, 30 surpass
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.5);
    EXPECT_DOUBLE_EQ(reactor().surpassFlow, 0.5);
}

TEST_F(ReactorTest, CapacityCanGoWithTheSurface) {
    start(withReactor("R CSTR SUR SURFACE_LOADING 8640 100 5 100"));  // 0.1 m/s on 5 m2
    update(2.0);
    EXPECT_DOUBLE_EQ(reactor().newOutflow, 0.5);
    EXPECT_DOUBLE_EQ(reactor().surpassFlow, 1.5);
}

TEST_F(ReactorTest, PlugFlowReactorTakesItsCapacity) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 43200 0 0"));
    update(2.0, 20.0);
    EXPECT_EQ(reactor().newOutflow, 0.5);
    EXPECT_EQ(reactor().surpassFlow, 1.5);
    EXPECT_DOUBLE_EQ(node("SUR").massInflow[0], 1.5 * 20.0 / 1000.0);
}

TEST_F(ReactorTest, InflowOfExactlyTheCapacitySurpassesWithNothing) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 43200 0 0"));
    reactor().surpassFlow = 9.0;
    update(0.5);
    EXPECT_EQ(reactor().surpassFlow, 0.0);
    EXPECT_EQ(reactor().newOutflow, 0.5);
}

TEST_F(ReactorTest, SurplusOfTwoReactorsAddsUpInOneNode) {
    start({});
    node("SUR").newLatFlow = 0.0;
    reactor().flowCapacity = 0.0;
    reactor().storedVolume = reactor().volume;
    update(2.0, 10.0);
    node("R").newInflow = 1.0;
    node("R").massInflow[0] = 0.5;
    reactor_update(testModel(), node("R"), reactor());
    EXPECT_DOUBLE_EQ(node("SUR").newLatFlow, 3.0);
    EXPECT_DOUBLE_EQ(node("SUR").massInflow[0], 0.02 + 0.5);
}

TEST_F(ReactorTest, ReactorThatIsItsOwnSurplusNodeKeepsItsInletConcentration) {
    start(withReactor("R PFR SUR FLOW_CAPACITY 43200 0 0"));
    reactor().surpassNode = findNode("R");
    update(2.0, 20.0);
    EXPECT_DOUBLE_EQ(node("R").newQual[0], 20.0);
}

TEST_F(ReactorTest, LoadWithoutWaterIsNotTakenIn) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 50"));
    node("R").massInflow[0] = 3.0;
    node("R").newInflow = 0.0;
    reactor_update(testModel(), node("R"), reactor());
    EXPECT_EQ(reactor().qual[0], 0.0);
}

TEST_F(ReactorTest, EmptyTankHasNoConcentration) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 43200 100 0 0"));
    reactor().qual[0] = 7.0;
    update(0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
}

// --- evaporation and infiltration ----------------------------------------------------------------------------------

/// Half full: 50 m3 on 10 m2, with the losses of a [REACTORS_EMPTYING] line.
static ReactorProject withLosses(const std::string& infiltration, const std::string& evaporation,
                                 const std::string& pattern = "\"\"") {
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 10 50");
    text.emptying = "R EMP 0 " + infiltration + " " + evaporation + " " + pattern;
    text.quality = "R 0 A 20";
    return text;
}

TEST_F(ReactorTest, EvaporationLeavesTheLoadBehind) {
    start(withLosses("0", "1440000"));  // 1 m per minute: 10 m3 in a step
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 40.0, 1e-12);
    EXPECT_NEAR(reactor().qual[0], 20.0 * 50.0 / 40.0, 1e-12);
    EXPECT_NEAR(reactor().evapDepth, 1440000.0, 1e-6);
    EXPECT_EQ(reactor().statInfilLoad[0], 0.0);
}

TEST_F(ReactorTest, EvaporationThatDriesOutLosesTheLoad) {
    start(withLosses("0", "14400000"));  // 100 m3 in a step
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_NEAR(reactor().evapDepth, 50.0 / 60.0 / 10.0 * 8.64e7, 1e-6);
    EXPECT_DOUBLE_EQ(reactor().statInfilLoad[0], 20.0 * 50.0 / 1000.0);
}

TEST_F(ReactorTest, EvaporationFollowsItsPatternByTheHour) {
    start(withLosses("0", "144000", "HOURS"));  // 1 m3 in a step, times 4 in the first hour and 5 in the second
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 46.0, 1e-12);
    testModel().clock.newRoutingTime = 3600.0 * 1000.0;
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 41.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationTakesItsLoadAlong) {
    start(withLosses("60000", "0"));  // 1 m per minute: 10 m3 in a step
    update(0.0);
    EXPECT_NEAR(reactor().storedVolume, 40.0, 1e-12);
    EXPECT_DOUBLE_EQ(reactor().qual[0], 20.0);
    EXPECT_NEAR(reactor().infilDepth, 60000.0, 1e-8);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 10.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationTakesNoMoreThanIsThere) {
    start(withLosses("600000", "0"));  // 100 m3 in a step
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_NEAR(reactor().infilDepth, 50.0 / 60.0 / 10.0 * 3.6e6, 1e-8);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 50.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationOfExactlyTheStoreDriesIt) {
    ReactorProject text = withLosses("3600000", "0");  // 1 m/s
    text.reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 1 60";
    start(text);  // 60 m3 on 1 m2
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0) << "a dry store has no concentration";
    EXPECT_DOUBLE_EQ(reactor().infilDepth, 3600000.0);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 60.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, InfiltrationGetsWhatEvaporationLeaves) {
    start(withLosses("600000", "1440000"));
    update(0.0);
    EXPECT_NEAR(reactor().infilDepth, 40.0 / 60.0 / 10.0 * 3.6e6, 1e-8);
    EXPECT_NEAR(reactor().statInfilLoad[0], 20.0 * 50.0 / 1000.0, 1e-12);
}

TEST_F(ReactorTest, ReactorWithoutAreaLosesNothing) {
    ReactorProject text = withLosses("600000", "14400000");
    text.reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 0 50";
    start(text);
    update(0.0);
    EXPECT_EQ(reactor().storedVolume, 50.0);
    EXPECT_EQ(reactor().evapDepth, 0.0);
    EXPECT_EQ(reactor().infilDepth, 0.0);
}

TEST_F(ReactorTest, DryStoreWithoutLossesHasNoConcentration) {
    // No water and no loss: the loss counts as large enough to dry the store, and nothing is booked.
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 10 0"));
    update(0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_EQ(reactor().statInfilLoad[0], 0.0);
}

TEST_F(ReactorTest, PlugFlowReactorLosesNothing) {
    ReactorProject text = withLosses("60000", "1440000");
    text.reactor = "R PFR SUR FLOW_CAPACITY 864000 0 10";
    start(text);
    reactor().isEmptying = 1;
    reactor().emptyingRate = 1.0;
    update(1.0, 10.0);
    EXPECT_EQ(reactor().newOutflow, 1.0);
    EXPECT_EQ(reactor().evapDepth, 0.0);
    EXPECT_EQ(reactor().infilDepth, 0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(node("EMP").newLatFlow, 0.0);
}

// --- emptying ------------------------------------------------------------------------------------------------------

/// Half full: 50 m3 at 20 mg/L; empties 0.5 m3/s, 30 m3 in a step.
static ReactorProject withEmptyingRate() {
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 50");
    text.emptying = "R EMP 1800 0 0 \"\"";
    text.quality = "R 0 A 20";
    return text;
}

TEST_F(ReactorTest, NothingIsEmptiedUntilARuleSaysSo) {
    start(withEmptyingRate());
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, EmptyingSendsWaterAndLoadToItsNode) {
    start(withEmptyingRate());
    reactor().isEmptying = 1;
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.5);
    EXPECT_EQ(reactor().storedVolume, 20.0);
    EXPECT_EQ(reactor().qual[0], 20.0);
    EXPECT_EQ(node("EMP").newLatFlow, 0.5);
    EXPECT_DOUBLE_EQ(node("EMP").massInflow[0], 0.5 * 20.0 / 1000.0);
    EXPECT_DOUBLE_EQ(reactor().statEmptyingLoad[0], 0.5 * 20.0 / 1000.0 * 60.0);
}

TEST_F(ReactorTest, LastOfTheWaterGoesWithItsConcentration) {
    start(withEmptyingRate());
    reactor().isEmptying = 1;
    update(0.0);
    update(0.0);
    EXPECT_DOUBLE_EQ(reactor().emptyingFlow, 20.0 / 60.0);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 0.0);
    EXPECT_DOUBLE_EQ(node("EMP").massInflow[0], 20.0 / 60.0 * 20.0 / 1000.0);
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
}

TEST_F(ReactorTest, StoreEmptiedExactlyKeepsItsConcentrationForTheStep) {
    start(withEmptyingRate());
    reactor().isEmptying = 1;
    reactor().storedVolume = 30.0;
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.5);
    EXPECT_EQ(reactor().storedVolume, 0.0);
    EXPECT_EQ(reactor().qual[0], 20.0);
}

TEST_F(ReactorTest, ReactorWithoutEmptyingNodeKeepsItsWater) {
    start(withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 50"));
    reactor().isEmptying = 1;
    ASSERT_EQ(tarnvelde_setReactorEmptyingValue("R", 0.5), 0);
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.0);
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, RuleWithoutEmptyingNodeLosesNothing) {
    ReactorProject text = withReactor("R CSTR SUR FLOW_CAPACITY 864000 100 0 50");
    text.more = "[CONTROL_RULES]\nRULE X\nIF OUTFALL OUT INFLOW >= 0\nTHEN REACTOR R EMPTYING = YES";
    start(text);
    ASSERT_EQ(tarnvelde_setReactorEmptyingValue("R", 0.5), 0);
    step(10);
    EXPECT_EQ(reactor().isEmptying, 1);
    EXPECT_EQ(reactor().storedVolume, 50.0);
}

TEST_F(ReactorTest, RuleEmptiesFromTheFirstStepOn) {
    ReactorProject text = withEmptyingRate();
    text.more =
        "[CONTROL_RULES]\nRULE X\nIF REACTOR R FILL > 0.25\nTHEN REACTOR R EMPTYING = YES\n"
        "ELSE REACTOR R EMPTYING = NO";
    start(text);
    step();
    EXPECT_EQ(reactor().storedVolume, 20.0);
    EXPECT_EQ(node("EMP").newInflow, 0.5);
    step();  // the rule sees a fill of 0.2
    EXPECT_EQ(reactor().storedVolume, 20.0);
}

TEST_F(ReactorTest, HostSetsTheRateOfEmptying) {
    start(withEmptyingRate());
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("r", 0.25), 0);
    reactor().isEmptying = 1;
    update(0.0);
    EXPECT_EQ(reactor().emptyingFlow, 0.25);
}

TEST_F(ReactorTest, HostCantSetARateOfAnythingElse) {
    start(withEmptyingRate());
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("R", -0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("OUT", 0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("C", 0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue("", 0.25), -1);
    EXPECT_EQ(tarnvelde_setReactorEmptyingValue(nullptr, 0.25), -1);
    EXPECT_EQ(reactor().emptyingRate, 0.5);
}
