// What warnings cost: the time to open a project grows with its size and no faster, whatever its lines are.

#include <gtest/gtest.h>

#include <chrono>

#include "support/tvmodel.h"
#include "warnings/cases.h"

/// A tank with a pump that has no flow at its shut-off depth, once it has pumped for a step.
static std::string aPumpedTank(const std::string& pumps, const std::string& rules) {
    return aDay(
        "[CURVES]\nAREA TANK 0 2 5 2\nDUTY PUMP1 0.3 0 1 0.03 4 0.04\n[TANKS]\nT AREA 4 0.2\n[OUTFALLS]\nO\n"
        "[PUMPS]\nU T O DUTY NO OFF 1.5 0.5\n" +
        pumps + "[CONTROL_RULES]\n" + rules);
}

static std::string repeatNumbered(int count, const std::string& front, const std::string& back) {
    std::string text;
    for (int k = 0; k < count; ++k) {
        text.append(front).append(std::to_string(k)).append(back);
    }
    return text;
}

/// Opens it: a fraction of a second, and ten or more if each line looks at all others.
static void expectQuick(const std::string& project) {
    const TvModel model;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(model.openText(project), TV_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(WarningCost, RulesGrowInALine) {
    const std::string clauses = "\nIF TANK T DEPTH > 1\nTHEN PUMP U SETTING = 0\n";
    expectQuick(aPumpedTank("", repeatNumbered(100000, "RULE R", clauses)));
}

TEST(WarningCost, ConditionsGrowInALine) {
    std::string conditions;
    for (int k = 0; k < 100000; ++k) {
        conditions += "AND TANK T DEPTH > 1\n";
    }
    expectQuick(aPumpedTank("", "RULE R\nIF PUMP U FLOW > 1\n" + conditions + "THEN PUMP U SETTING = 0\n"));
}

TEST(WarningCost, PumpsOfATankGrowInALine) {
    expectQuick(aPumpedTank(repeatNumbered(50000, "U", " T O DUTY NO OFF 1.5 0.5\n"), ""));
}
