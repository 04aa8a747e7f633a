// Reactions: their laws, and decay in tanks and conduits by the hour of the day, where a step decays by the hour in
// which it ends.

#include "model/decay.h"

#include <gtest/gtest.h>

#include <cmath>

#include "model/pattern.h"
#include "model/project.h"
#include "support/model.h"
#include "support/storage.h"

// --- laws ----------------------------------------------------------------------------------------------------------

TEST(Reaction, NoRuleLeavesTheConcentration) {
    Decay rule{-1, -1, 5.0, 0.0, 1.0};
    EXPECT_EQ(decay_react(testModel(), rule, 7.0, 0, 100.0), 7.0);
}

TEST(Reaction, ConstantConcentrationIsAnUpperLimit) {
    Decay rule{CONST_CONCEN, -1, 5.0, 0.0, 1.0};
    EXPECT_EQ(decay_react(testModel(), rule, 7.0, 0, 100.0), 5.0);
    EXPECT_EQ(decay_react(testModel(), rule, 3.0, 0, 100.0), 3.0);
}

TEST(Reaction, ConstantRatioIsTakenOff) {
    Decay rule{CONST_RATIO, -1, 0.25, 0.0, 1.0};
    EXPECT_EQ(decay_react(testModel(), rule, 8.0, 0, 100.0), 6.0);
    rule.k = 1.5;
    EXPECT_EQ(decay_react(testModel(), rule, 8.0, 0, 100.0), 0.0);
}

TEST(Reaction, ZeroOrderTakesAnAmountDownToNothing) {
    Decay rule{ZERO_ORDER, -1, 0.03125, 0.0, 1.0};
    EXPECT_EQ(decay_react(testModel(), rule, 8.0, 0, 64.0), 6.0);
    EXPECT_EQ(decay_react(testModel(), rule, 2.0, 0, 64.0), 0.0);
    EXPECT_EQ(decay_react(testModel(), rule, 1.0, 0, 64.0), 0.0);
}

TEST(Reaction, FirstOrderIsExponential) {
    Decay rule{FIRST_ORDER, -1, 0.01, 0.0, 1.0};
    EXPECT_NEAR(decay_react(testModel(), rule, 8.0, 0, 100.0), 8.0 * std::exp(-1.0), 1e-14);
    EXPECT_NEAR(decay_react(testModel(), rule, 4.0, 0, 100.0), 4.0 * std::exp(-1.0), 1e-14)
        << "the same again, from what is kept";
    EXPECT_NEAR(decay_react(testModel(), rule, 8.0, 0, 200.0), 8.0 * std::exp(-2.0), 1e-14);
}

TEST(Reaction, NegativeRateMakesMassesGrow) {
    Decay rule{FIRST_ORDER, -1, -0.01, 0.0, 1.0};
    EXPECT_NEAR(decay_react(testModel(), rule, 8.0, 0, 100.0), 8.0 * std::exp(1.0), 1e-13);
}

TEST(Reaction, PatternIsAskedAtTheHour) {
    Pattern pattern{};
    pattern.factors[1] = 2.0;
    pattern.factors[2] = 3.0;
    testModel().patterns.fill(1, pattern);
    Decay rule{FIRST_ORDER, 0, 0.01, 0.0, 1.0};
    EXPECT_NEAR(decay_react(testModel(), rule, 8.0, 1, 100.0), 8.0 * std::exp(-2.0), 1e-14);
    EXPECT_NEAR(decay_react(testModel(), rule, 8.0, 2, 100.0), 8.0 * std::exp(-3.0), 1e-14);
    testModel().patterns.clear();
}

TEST(Reaction, OtherThanFirstOrderIsLeftToTheLayersOfControls) {
    for (const int32_t type : {-1, static_cast<int32_t>(CONST_CONCEN), static_cast<int32_t>(ZERO_ORDER)}) {
        Decay rule{type, -1, 0.01, 0.0, 1.0};
        EXPECT_EQ(decay_getFactor(testModel(), rule, 0, 100.0), 1.0);
    }
}

// --- tanks and conduits --------------------------------------------------------------------------------------------

static constexpr double DT = 1800.0;  ///< s, the routing step: the second one ends at the full hour

/// Water of 50 mg/L, and 8.64 per day, that is 0.0001 per second, times 3 in the first hour and times 1 in the second.
static std::string getProject(const std::string& network) {
    return getGeneral(240) + "ROUTING_STEP 0:30:00\nRUNOFF_STEP 1:00:00\nREPORT_STEP 1:00:00\n[OUTFALLS]\nOUT\n" +
           "[POLLUTANTS]\nA 0\n[PATTERNS]\nH HOURLY 3 1\n" + network;
}

static const double FirstHour = std::exp(-3.0 * 0.0001 * DT), SecondHour = std::exp(-1.0 * 0.0001 * DT);

TEST(Decay, InATankIsThatOfTheHourAtTheEndOfTheStep) {
    StartedProject model(getProject("[TANKS]\nT B 9 2\n[WEIRS]\nNEVER T OUT NO TRIANGULAR 1 1 1000 0\n" +
                                    getBasin("B", 100.0) +
                                    "[INITIAL_CONCENTRATION]\nT x A 50\n[DECAY_COEFFICIENT]\nT NODE A FIRST 8.64 H\n"));
    model.step();
    EXPECT_NEAR(model.node("T").newQual[0], 50.0 * FirstHour, 1e-12);
    model.step();
    EXPECT_NEAR(model.node("T").newQual[0], 50.0 * FirstHour * SecondHour, 1e-12);
}

TEST(Decay, InAConduitIsThatOfTheHourAtTheEndOfTheStep) {
    StartedProject model(
        getProject("[JUNCTIONS]\nJ\n[CONDUITS]\nC J OUT NO 100000 0.0001 1 RECTANGULAR 2 10\n"
                   "[DWFS]\nJ FLOW 1 \"\"\nJ A 50 \"\"\n"
                   "[DECAY_COEFFICIENT]\nC LINK A FIRST 8.64 H\n"));
    model.step();
    const double first = 50.0 * FirstHour;
    EXPECT_NEAR(model.link("C").newQual[0], first, 1e-12);
    // The water of the second step meets what the first one left.
    const double inflow = 1.0 * DT, stored = DT * (1.0 - model.link("C").newFlow);
    EXPECT_GT(stored, 0.99 * inflow);  // so wide and flat a bed hardly moves it
    model.step();
    EXPECT_NEAR(model.link("C").newQual[0], (stored * first + inflow * 50.0) / (stored + inflow) * SecondHour, 1e-9);
}
