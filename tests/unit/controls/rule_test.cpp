// Control rules: evaluation. Premises from left to right, priorities, and what the actions change.
//
// Nothing is read from a file here: the tests fill the tables of objects themselves and hand over the clauses one by
// one.

#include "controls/rule.h"
#include "controls/rulereader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "model/arena.h"
#include "routing/linkkinds.h"
#include "support/model.h"
#include "support/rules.h"

// --- values of operands --------------------------------------------------------------------------------------------

static double valueOf(const std::string& operand) {
    std::string line = operand;
    TestTokens = tokens_split(line.data());
    RuleOperand read{};
    int32_t place = 0;
    EXPECT_EQ(rulereader_readOperand(testModel(), TestTokens, place, read), ERR_NONE) << operand;
    return rule_operandValue(testModel(), read);
}

TEST_F(RuleTest, InflowIsThatOfTheNode) {
    node("LM").newInflow = 0.75;
    node("LM").oldInflow = 0.5;
    EXPECT_EQ(valueOf("LID_MONO LM INFLOW"), 0.75);
}

TEST_F(RuleTest, DepthIsThatOfTheTankOrOfTheConduit) {
    testModel().tanks[0].oldDepth = 0.5;
    testModel().tanks[0].newDepth = 0.75;
    testModel().conduits[0].depth = 0.25;
    EXPECT_EQ(valueOf("TANK T DEPTH"), 0.75);
    EXPECT_EQ(valueOf("CONDUIT CD DEPTH"), 0.25);
    EXPECT_TRUE(isTrue({"IF CONDUIT CD DEPTH < TANK T DEPTH"}));
    EXPECT_FALSE(isTrue({"IF TANK T DEPTH <= 0.5"}));
}

TEST_F(RuleTest, FlowIsThatOfTheLink) {
    link("W").newFlow = 0.75;
    link("W").oldFlow = 0.5;
    EXPECT_EQ(valueOf("WEIR W FLOW"), 0.75);
}

TEST_F(RuleTest, StatusIsTheSettingAndNotTheTarget) {
    link("PU").setting = 0.5;
    link("PU").targetSetting = 1.0;
    EXPECT_EQ(valueOf("PUMP PU STATUS"), 0.5);
}

TEST_F(RuleTest, FillIsTheShareOfTheFullVolume) {
    reactor("RE").storedVolume = 50.0;
    EXPECT_EQ(valueOf("REACTOR RE FILL"), 0.25);
}

TEST_F(RuleTest, FillOfAPlugFlowReactorIsNoNumber) {
    reactor("RE").volume = 0.0;
    EXPECT_TRUE(std::isnan(valueOf("REACTOR RE FILL")));
}

TEST_F(RuleTest, SwmmOperandHasNoValue) {
    for (const char* operand : {"SWMM DEPTH", "SWMM INFLOW", "SWMM FLOW", "SWMM STATUS", "SWMM SETTING", "SWMM EVENT",
                                "SWMM EMPTYING", "SWMM FILL", "SWMM VALUE"}) {
        EXPECT_EQ(valueOf(operand), NO_VALUE) << operand;
    }
}

// --- premises ------------------------------------------------------------------------------------------------------

TEST_F(RuleTest, RelationsCompareExactly) {
    const double below = std::nextafter(1.0, 0.0), above = std::nextafter(1.0, 2.0);
    const struct {
        const char* relation;
        bool isBelow, isEqual, isAbove;
    } cases[] = {{"=", false, true, false}, {"<>", true, false, true}, {"<", true, false, false},
                 {"<=", true, true, false}, {">", false, false, true}, {">=", false, true, true}};
    for (const auto& c : cases) {
        forgetRules();
        readAll({"RULE R", std::string("IF JUNCTION J INFLOW ") + c.relation + " 1"});
        node("J").newInflow = below;
        EXPECT_EQ(rule_testPremise(testModel(), *testModel().rules[0].premises), c.isBelow) << c.relation;
        node("J").newInflow = 1.0;
        EXPECT_EQ(rule_testPremise(testModel(), *testModel().rules[0].premises), c.isEqual) << c.relation;
        node("J").newInflow = above;
        EXPECT_EQ(rule_testPremise(testModel(), *testModel().rules[0].premises), c.isAbove) << c.relation;
    }
}

TEST_F(RuleTest, NoNumberIsUnequalToEverythingAndNothingElse) {
    reactor("RE").volume = 0.0;
    for (const std::string relation : {"=", "<>", "<", "<=", ">", ">="}) {
        forgetRules();
        readAll({"RULE R", "IF REACTOR RE FILL " + relation + " 0.5"});
        EXPECT_EQ(rule_testPremise(testModel(), *testModel().rules[0].premises), relation == "<>") << relation;
    }
}

TEST_F(RuleTest, ObjectsAreCompared) {
    EXPECT_TRUE(isTrue({"IF JUNCTION J INFLOW < REACTOR RE INFLOW"}));
    EXPECT_FALSE(isTrue({"IF JUNCTION J INFLOW > REACTOR RE INFLOW"}));
}

TEST_F(RuleTest, ValueThatMeansNoValueIsFalse) {
    node("J").newInflow = 1.0;
    EXPECT_FALSE(isTrue({"IF JUNCTION J INFLOW > -1e10"}));
    EXPECT_FALSE(isTrue({"IF JUNCTION J INFLOW <> -1e10"}));
    EXPECT_TRUE(isTrue({"IF JUNCTION J INFLOW > -1.0000001e10"}));
}

TEST_F(RuleTest, SwmmConditionIsFalseButAnOrCanFollow) {
    EXPECT_FALSE(isTrue({"IF SWMM FLOW <> 1"}));
    EXPECT_TRUE(isTrue({"IF SWMM FLOW <> 1", "OR JUNCTION J INFLOW = 1"}));
    EXPECT_FALSE(isTrue({"IF JUNCTION J INFLOW <> SWMM INFLOW"}));
}

// J has an inflow of 1, SP of 2, RE of 3: each condition's truth stands in its relation.
static const std::string TrueIf = "IF JUNCTION J INFLOW = 1", FalseIf = "IF JUNCTION J INFLOW <> 1",
                         TrueAnd = "AND SPLITTER SP INFLOW = 2", FalseAnd = "AND SPLITTER SP INFLOW <> 2",
                         TrueOr = "OR REACTOR RE INFLOW = 3", FalseOr = "OR REACTOR RE INFLOW <> 3";

TEST_F(RuleTest, AndThenOrReadsFromLeftToRight) {
    EXPECT_TRUE(isTrue({TrueIf, TrueAnd, TrueOr}));
    EXPECT_TRUE(isTrue({TrueIf, TrueAnd, FalseOr}));
    EXPECT_TRUE(isTrue({TrueIf, FalseAnd, TrueOr}));
    EXPECT_FALSE(isTrue({TrueIf, FalseAnd, FalseOr}));
}

TEST_F(RuleTest, FalseResultAheadOfAnAndEndsTheRule) {
    EXPECT_FALSE(isTrue({FalseIf, TrueAnd, TrueOr}));
    EXPECT_FALSE(isTrue({FalseIf, FalseAnd, TrueOr}));
}

TEST_F(RuleTest, OrThenAndHasNoPrecedence) {
    EXPECT_TRUE(isTrue({TrueIf, FalseOr, TrueAnd}));
    EXPECT_TRUE(isTrue({FalseIf, TrueOr, TrueAnd}));
    EXPECT_FALSE(isTrue({TrueIf, TrueOr, FalseAnd}));
    EXPECT_FALSE(isTrue({FalseIf, FalseOr, TrueAnd}));
}

TEST_F(RuleTest, RuleWithoutPremisesIsTrue) {
    readAll({"RULE R"});
    EXPECT_EQ(read("IF JUNCTION J INFLOW >"), ERR_ITEMS);
    readAll({"THEN PIPE P SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("P").targetSetting, 0.5);
}

// --- choice of actions ---------------------------------------------------------------------------------------------

static const std::string Always = "IF JUNCTION J INFLOW = 0", Never = "IF JUNCTION J INFLOW <> 0";

TEST_F(RuleTest, NoRulesChangeNothing) {
    EXPECT_EQ(evaluate(), 0);
}

TEST_F(RuleTest, FalseRuleWithoutElseDoesNothing) {
    readAll({"RULE R", Never, "THEN PIPE P SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(link("P").targetSetting, 1.0);
}

TEST_F(RuleTest, FalseRuleTakesItsElsePart) {
    readAll({"RULE R", Never, "THEN PIPE P SETTING = 0.5", "ELSE PIPE P2 SETTING = 0.25"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("P").targetSetting, 1.0);
    EXPECT_EQ(link("P2").targetSetting, 0.25);
}

TEST_F(RuleTest, HigherPriorityWins) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 1", "RULE S", Always,
             "THEN PIPE P SETTING = 0.5", "PRIORITY 2", "RULE T", Always, "THEN PIPE P SETTING = 0.75",
             "PRIORITY 1.5"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("P").targetSetting, 0.5);
}

TEST_F(RuleTest, NegativePriorityLosesAgainstNone) {
    readAll(
        {"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY -1", "RULE S", Always, "THEN PIPE P SETTING = 0.5"});
    evaluate();
    EXPECT_EQ(link("P").targetSetting, 0.5);
}

TEST_F(RuleTest, FirstOfEqualPrioritiesWins) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 3", "RULE S", Always,
             "THEN PIPE P SETTING = 0.5", "PRIORITY 3"});
    evaluate();
    EXPECT_EQ(link("P").targetSetting, 0.25);
}

TEST_F(RuleTest, LastLineOfARuleOnATargetWins) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "AND PIPE P SETTING = 0.5", "AND PIPE p SETTING = 0.75"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("P").targetSetting, 0.75);
}

TEST_F(RuleTest, OneTargetIsOneWhateverTypeTheLinesGiveIt) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 1", "RULE S", Always,
             "THEN WEIR P SETTING = 0.5", "PRIORITY 2"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("P").targetSetting, 0.5);
}

TEST_F(RuleTest, ActionOfAnEarlierStepHoldsNoTarget) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 5", "RULE S", "IF JUNCTION J INFLOW >= 0",
             "THEN PIPE P SETTING = 0.75"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("P").targetSetting, 0.25);
    node("J").newInflow = 1.0;  // R is false from now on
    EXPECT_EQ(rule_evaluate(testModel()), 1);
    EXPECT_EQ(link("P").targetSetting, 0.75);
}

// --- what rules did ------------------------------------------------------------------------------------------------

TEST_F(RuleTest, FiresAnewAfterEachStepThatFoundItUnfulfilled) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1", "THEN PIPE P SETTING = 0.25", "RULE S", Always,
             "THEN PIPE P2 SETTING = 0.5"});
    evaluate();
    for (const double inflow : {2.0, 3.0, 1.0, 1.0, 4.0}) {
        node("J").newInflow = inflow;
        rule_evaluate(testModel());
    }
    const Rule& rule = testModel().rules[0];
    EXPECT_EQ(rule.firedCount, 2);
    EXPECT_EQ(rule.fulfilledSteps, 3);
    EXPECT_EQ(rule.isFulfilled, 1);
    rule_openRun(testModel());
    EXPECT_EQ(rule.firedCount, 0);
    EXPECT_EQ(rule.fulfilledSteps, 0);
    EXPECT_EQ(rule.isFulfilled, 0);
}

// --- what actions change -------------------------------------------------------------------------------------------

TEST_F(RuleTest, UnchangedValuesAreNoChanges) {
    readAll({"RULE R", Always, "THEN PIPE P STATUS = OPEN", "AND PIPE P2 SETTING = 0.5", "AND SPLITTER SP VALUE = 3"});
    EXPECT_EQ(evaluate(), 2);
    EXPECT_EQ(rule_evaluate(testModel()), 0);
}

TEST_F(RuleTest, PipesAndOrificesOpenAgainInTheStepInWhichNoRuleHoldsThem) {
    link("PU").kind = WEIR;  // a pump would be switched by the depth of its tank
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "AND WEIR W SETTING = 0.25",
             "AND ORIFICE OR SETTING = 0.25", "AND PIPE CN SETTING = 0.25", "AND PIPE CD SETTING = 0.25"});
    evaluate();
    linkkinds_applyTargets(testModel());
    for (const char* id : {"P", "W", "OR", "CN", "CD"}) {
        EXPECT_EQ(link(id).setting, 0.25) << id;
    }
    node("J").newInflow = 1.0;
    linkkinds_setTargets(testModel());
    EXPECT_EQ(rule_evaluate(testModel()), 0);
    linkkinds_applyTargets(testModel());
    for (const char* id : {"P", "OR"}) {
        EXPECT_EQ(link(id).setting, 1.0) << id;
    }
    for (const char* id : {"W", "CN", "CD"}) {
        EXPECT_EQ(link(id).setting, 0.25) << id;  // they stay where they were put
    }
}

TEST_F(RuleTest, LinkHeldByTheHostGetsATargetButNoSetting) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25"});
    link("P").isHostSetting = 1;
    link("P").setting = 0.5;
    EXPECT_EQ(evaluate(), 1);
    linkkinds_applyTargets(testModel());
    EXPECT_EQ(link("P").targetSetting, 0.25);
    EXPECT_EQ(link("P").setting, 0.5);
}

TEST_F(RuleTest, SplitValueIsWrittenBesideThatOfTheHost) {
    splitter("SP").value = 1.0;
    splitter("SP").hostValue = 7.0;
    splitter("SP").useHostValue = 1;
    readAll({"RULE R", Always, "THEN SPLITTER SP VALUE = 2"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(splitter("SP").value, 2.0);
    EXPECT_EQ(splitter("SP").hostValue, 7.0);
}

TEST_F(RuleTest, EmptyingOfAReactorStartsAndStops) {
    readAll({"RULE R", Always, "THEN REACTOR RE EMPTYING = YES", "ELSE REACTOR RE EMPTYING = NO"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(reactor("RE").isEmptying, 1);
    EXPECT_EQ(rule_evaluate(testModel()), 0);
    node("J").newInflow = 1.0;
    EXPECT_EQ(rule_evaluate(testModel()), 1);
    EXPECT_EQ(reactor("RE").isEmptying, 0);
}

TEST_F(RuleTest, NumberGivenToAReactorIsCut) {
    readAll({"RULE R", Always, "THEN SPLITTER RE VALUE = 0.9"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(reactor("RE").isEmptying, 0);
    EXPECT_EQ(rule_evaluate(testModel()), 1);  // 0.9 differs from 0 in every step
    forgetRules();
    readAll({"RULE R", Always, "THEN SPLITTER RE VALUE = 2.9"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(reactor("RE").isEmptying, 2);
}

TEST_F(RuleTest, TypeWordDoesNotDecideWhatIsSet) {
    readAll({"RULE R", Always, "THEN REACTOR SP EMPTYING = YES"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(splitter("SP").value, 1.0);
}

TEST_F(RuleTest, LinkGetsTheValueOfANameThatIsANodeAsWell) {
    addNode("both", SPLITTER);
    testModel().splitters.push_back(Splitter{});
    addLink("both", PIPE);
    readAll({"RULE R", Always, "THEN SPLITTER both VALUE = 3"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("both").targetSetting, 3.0);
    EXPECT_EQ(splitter("both").value, 0.0);
}

TEST_F(RuleTest, NodeReadBeforeItsSectionIsLeftAlone) {
    addNode("later", -1);
    testModel().splitters.push_back(Splitter{});
    readAll({"RULE R", Always, "THEN SPLITTER later VALUE = 3"});
    node("later").kind = SPLITTER;
    node("later").kindIndex = 1;
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(splitter("later").value, 0.0);
}

TEST_F(RuleTest, LinkReadBeforeItsSectionIsMovedAllTheSame) {
    addLink("later", -1);
    readAll({"RULE R", Always, "THEN PIPE later SETTING = 0.5"});
    link("later").kind = PIPE;
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(link("later").targetSetting, 0.5);
}

TEST_F(RuleTest, NodesThatTakeNoActionAreLeftAlone) {
    readAll({"RULE R", Always, "THEN PIPE J SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 0);
}

TEST_F(RuleTest, SwmmNodeUnderAnotherTypeHasNoLinkToSet) {
    readAll({"RULE R", Always, "THEN PIPE SW SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 0);
}

// --- targets -------------------------------------------------------------------------------------------------------

/// Numbers of the targets of a rule's actions, in the order of the lines.
static std::vector<int32_t> targetsOf(const Rule& rule) {
    std::vector<int32_t> targets;
    for (const Action* action : listActions(rule.thenActions)) {
        targets.insert(targets.begin(), action->target);
    }
    return targets;
}

TEST_F(RuleTest, LinksInsideASwmmNodeAreTargetsOfTheirOwn) {
    readAll({"RULE R", Always, "THEN SWMM SW a SETTING = 1", "AND SWMM SW b SETTING = 1", "AND SWMM SW A SETTING = 1",
             "AND SWMM sw a SETTING = 1"});
    evaluate();
    const std::vector<int32_t> targets = targetsOf(testModel().rules[0]);
    EXPECT_NE(targets[0], targets[1]);
    EXPECT_NE(targets[0], targets[2]);  // compared exactly
    EXPECT_NE(targets[1], targets[2]);
    EXPECT_EQ(targets[0], targets[3]);
}

TEST_F(RuleTest, MissingLinkOfASwmmNodeIsATargetOfItsOwn) {
    readAll({"RULE R", Always, "THEN SWMM SW a SETTING = 1", "AND PIPE SW SETTING = 1", "AND WEIR SW SETTING = 1"});
    evaluate();
    const std::vector<int32_t> targets = targetsOf(testModel().rules[0]);
    EXPECT_NE(targets[0], targets[1]);
    EXPECT_EQ(targets[1], targets[2]);
}

TEST_F(RuleTest, LinkNameMakesOneTargetWhateverTheLinkInsideIs) {
    addNode("both", SWMM);
    addLink("both", PIPE);
    readAll({"RULE R", Always, "THEN SWMM both a SETTING = 1", "AND SWMM both b SETTING = 1"});
    evaluate();
    const std::vector<int32_t> targets = targetsOf(testModel().rules[0]);
    EXPECT_EQ(targets[0], targets[1]);
}

TEST_F(RuleTest, TwoNodesAreTwoTargets) {
    addNode("SP2", SPLITTER);
    testModel().splitters.push_back(Splitter{});
    readAll(
        {"RULE R", Always, "THEN SPLITTER SP VALUE = 1", "AND SPLITTER SP2 VALUE = 2", "AND SPLITTER sp VALUE = 3"});
    EXPECT_EQ(evaluate(), 2);
    EXPECT_EQ(splitter("SP").value, 3.0);
    EXPECT_EQ(splitter("SP2").value, 2.0);
}

TEST_F(RuleTest, ThousandsOfRulesEachMoveTheirLink) {
    const int32_t count = 10000;
    for (int32_t k = 0; k < count; ++k) {
        const std::string name = "L" + std::to_string(k);
        addLink(name, PIPE);
        readAll({"RULE R" + name, Always, "THEN PIPE " + name + " SETTING = 0.5"});
    }
    EXPECT_EQ(evaluate(), count);
    for (int32_t k = 0; k < count; ++k) {
        link("L" + std::to_string(k)).targetSetting = 1.0;
    }
    EXPECT_EQ(rule_evaluate(testModel()), count);
}

TEST_F(RuleTest, SecondRunChoosesAsTheFirst) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "AND PIPE P2 SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 2);
    link("P").targetSetting = link("P2").targetSetting = 1.0;
    EXPECT_EQ(evaluate(), 2);
    EXPECT_EQ(link("P").targetSetting, 0.25);
    EXPECT_EQ(link("P2").targetSetting, 0.5);
}

TEST_F(RuleTest, FailedAllocationOfTheListIsTheMemoryError) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25"});
    linkkinds_openRun(testModel());
    arena_failAfter(1);
    rule_openRun(testModel());
    arena_failAfter(0);
    EXPECT_EQ(testModel().error.code, ERR_MEMORY);
    EXPECT_EQ(rule_evaluate(testModel()), 0);
}

TEST_F(RuleTest, NothingOfADeletedProjectIsLeft) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25"});
    evaluate();
    link("P").targetSetting = 1.0;
    forgetRules();
    EXPECT_EQ(rule_evaluate(testModel()), 0);
    EXPECT_EQ(link("P").targetSetting, 1.0);
}
