// Control rules: reading of the clauses, with all their messages.
//
// Nothing is read from a file here: the tests fill the tables of objects themselves and hand over the clauses one by
// one.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/arena.h"
#include "support/model.h"
#include "support/rules.h"

// --- the state machine ---------------------------------------------------------------------------------------------

TEST_F(RuleTest, FirstClauseOfAProjectMustBeRule) {
    EXPECT_EQ(testModel().clauseState, CLAUSE_PRIORITY);
    testModel().rules.push_back(Rule{});
    for (const char* line : {"IF JUNCTION J INFLOW > 1", "AND JUNCTION J INFLOW > 1", "OR JUNCTION J INFLOW > 1",
                             "THEN PIPE P STATUS = OPEN", "ELSE PIPE P STATUS = OPEN", "PRIORITY 1"}) {
        EXPECT_EQ(read(line), ERR_RULE_CLAUSE) << line;
        EXPECT_EQ(testModel().error.objectName, "") << line;
    }
}

TEST_F(RuleTest, AcceptsAllClausesInSequence) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1", "AND JUNCTION J INFLOW > 2", "OR JUNCTION J INFLOW > 3",
             "THEN PIPE P STATUS = OPEN", "AND PIPE P2 STATUS = OPEN", "ELSE PIPE P STATUS = CLOSED",
             "AND PIPE P2 STATUS = CLOSED", "PRIORITY 2.5", "RULE S"});
    EXPECT_STREQ(testModel().rules[0].name, "R");
    EXPECT_EQ(testModel().rules[0].priority, 2.5);
    EXPECT_STREQ(testModel().rules[1].name, "S");
    EXPECT_EQ(testModel().rules[1].priority, 0.0);
}

TEST_F(RuleTest, ClauseWordsAreReadInAnyCase) {
    readAll({"rule R", "If junction J inflow > 1", "then Pipe P status = open", "priority 1"});
}

TEST_F(RuleTest, ClausesOutOfSequenceAreRefused) {
    const std::string condition = " JUNCTION J INFLOW > 1", action = " PIPE P STATUS = OPEN";
    const std::vector<std::string> rule = {"RULE R"}, inIf = {"RULE R", "IF" + condition},
                                   inThen = {"RULE R", "IF" + condition, "THEN" + action},
                                   inElse = {"RULE R", "IF" + condition, "THEN" + action, "ELSE" + action},
                                   done = {"RULE R", "IF" + condition, "THEN" + action, "PRIORITY 1"};
    const struct {
        std::vector<std::string> before;
        std::vector<std::string> refused;
    } cases[] = {
        {rule, {"AND" + condition, "OR" + condition, "THEN" + action, "ELSE" + action, "PRIORITY 1"}},
        {inIf, {"IF" + condition, "ELSE" + action, "PRIORITY 1"}},
        {inThen, {"IF" + condition, "OR" + condition, "THEN" + action}},
        {inElse, {"IF" + condition, "OR" + condition, "THEN" + action, "ELSE" + action}},
        {done, {"IF" + condition, "AND" + condition, "OR" + condition, "THEN" + action, "ELSE" + action, "PRIORITY 1"}},
    };
    for (const auto& c : cases) {
        for (const std::string& line : c.refused) {
            expectRefused(c.before, line, ERR_RULE_CLAUSE, "");
        }
    }
}

TEST_F(RuleTest, SurplusWordBehindRuleIsRefusedButTheRuleBegins) {
    EXPECT_EQ(read("RULE R more"), ERR_RULE_CLAUSE);
    EXPECT_EQ(testModel().error.objectName, "");
    EXPECT_STREQ(testModel().rules[0].name, "R");
    readAll({"IF JUNCTION J INFLOW > 1"});
}

TEST_F(RuleTest, BadIfStillOpensTheConditions) {
    readAll({"RULE R"});
    EXPECT_EQ(read("IF JUNCTION nobody INFLOW > 1"), ERR_UNDEFINED_OBJECT);
    readAll({"AND JUNCTION J INFLOW > 1", "THEN PIPE P STATUS = OPEN"});
}

TEST_F(RuleTest, BadThenStillOpensTheActions) {
    readAll(InAction);
    EXPECT_EQ(read("THEN PIPE nobody STATUS = OPEN"), ERR_UNDEFINED_OBJECT);
    readAll({"AND PIPE P STATUS = OPEN", "ELSE PIPE P STATUS = CLOSED"});
    EXPECT_EQ(listActions(testModel().rules[0].thenActions).size(), 1u);
}

TEST_F(RuleTest, BadElseStillOpensTheElsePart) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN"});
    EXPECT_EQ(read("ELSE PIPE P STATUS = AJAR"), ERR_KEYWORD);
    readAll({"AND PIPE P STATUS = CLOSED"});
    EXPECT_EQ(listActions(testModel().rules[0].elseActions).size(), 1u);
}

TEST_F(RuleTest, PriorityIsReadBeforeSurplusWordsAreRefused) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN"});
    EXPECT_EQ(read("PRIORITY x y"), ERR_NUMBER);
    EXPECT_EQ(testModel().error.objectName, "x");
    EXPECT_EQ(testModel().clauseState, CLAUSE_PRIORITY);
    EXPECT_EQ(testModel().rules[0].priority, 0.0);
}

TEST_F(RuleTest, SurplusWordBehindPriorityIsRefusedButThePriorityCounts) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN"});
    EXPECT_EQ(read("PRIORITY -3 y"), ERR_RULE_CLAUSE);
    EXPECT_EQ(testModel().error.objectName, "");
    EXPECT_EQ(testModel().rules[0].priority, -3.0);
}

TEST_F(RuleTest, ANewProjectBeginsInFrontOfTheFirstRule) {
    readAll({"RULE R"});
    rule_createAll(testModel());
    EXPECT_EQ(testModel().clauseState, CLAUSE_PRIORITY);
}

// --- conditions ----------------------------------------------------------------------------------------------------

TEST_F(RuleTest, AndIsKeptTwiceAmongConditions) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1", "AND JUNCTION J INFLOW > 2", "OR JUNCTION J INFLOW > 3"});
    const std::vector<const Premise*> list = listPremises(testModel().rules[0]);
    ASSERT_EQ(list.size(), 4u);
    const int32_t logic[] = {LOGIC_AND, LOGIC_AND, LOGIC_OR, LOGIC_OR};
    const double values[] = {1.0, 2.0, 2.0, 3.0};
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(list[k]->logic, logic[k]) << k;
        EXPECT_EQ(list[k]->value, values[k]) << k;
    }
    EXPECT_EQ(testModel().rules[0].lastPremise, list[3]);
}

TEST_F(RuleTest, AndIsKeptOnceAmongActions) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN", "AND PIPE P2 STATUS = OPEN"});
    EXPECT_EQ(listActions(testModel().rules[0].thenActions).size(), 2u);
    EXPECT_EQ(listPremises(testModel().rules[0]).size(), 1u);
}

TEST_F(RuleTest, EachTypeOfConditionTakesItsAttributesOnly) {
    const struct {
        const char* object;
        std::vector<std::string> allowed;
    } types[] = {{"JUNCTION J", {"INFLOW"}},  {"TANK T", {"DEPTH", "INFLOW"}}, {"OUTFALL O", {"INFLOW"}},
                 {"PIPE P", {"FLOW"}},        {"PUMP PU", {"FLOW", "STATUS"}}, {"WEIR W", {"FLOW"}},
                 {"ORIFICE OR", {"FLOW"}},    {"GAGE G", {"EVENT"}},           {"REACTOR RE", {"INFLOW", "FILL"}},
                 {"SPLITTER SP", {"INFLOW"}}, {"LID_MONO LM", {"INFLOW"}},     {"CONDUIT CD", {"DEPTH", "FLOW"}},
                 {"CONNECTION CN", {"FLOW"}}};
    for (const auto& type : types) {
        for (const std::string attribute :
             {"DEPTH", "INFLOW", "FLOW", "STATUS", "SETTING", "EVENT", "EMPTYING", "FILL", "VALUE", "COLOUR"}) {
            const std::string value = attribute == "STATUS" ? "ON" : attribute == "EVENT" ? "IN" : "1";
            std::string line = "IF ";
            line.append(type.object).append(" ").append(attribute).append(" = ").append(value);
            if (std::count(type.allowed.begin(), type.allowed.end(), attribute)) {
                forgetRules();
                readAll({"RULE R", line});
            } else {
                expectRefused(InCondition, line, ERR_KEYWORD, attribute);
            }
        }
    }
}

TEST_F(RuleTest, SwmmConditionTakesAnyAttribute) {
    for (const char* line :
         {"IF SWMM DEPTH = 1", "IF SWMM INFLOW = 1", "IF SWMM FLOW = 1", "IF SWMM STATUS = ON", "IF SWMM SETTING = 1",
          "IF SWMM EVENT = IN", "IF SWMM EMPTYING = 1", "IF SWMM FILL = 1", "IF SWMM VALUE = 1"}) {
        forgetRules();
        readAll({"RULE R", line});
    }
    expectRefused(InCondition, "IF SWMM COLOUR = 1", ERR_KEYWORD, "COLOUR");
}

TEST_F(RuleTest, SwmmConditionReadsItsValueInTheWordsOfTheAttribute) {
    expectRefused(InCondition, "IF SWMM STATUS = 1", ERR_KEYWORD, "1");
    expectRefused(InCondition, "IF SWMM EVENT = 1", ERR_KEYWORD, "1");
}

TEST_F(RuleTest, OperandKeepsObjectAndRowOfItsKind) {
    addNode("RE2", REACTOR);
    readAll({"RULE R", "IF REACTOR RE2 FILL > 0.5", "OR GAGE G EVENT = IN", "OR PUMP PU STATUS = ON"});
    const std::vector<const Premise*> list = listPremises(testModel().rules[0]);
    EXPECT_EQ(list[0]->left.node, findNode("RE2"));
    EXPECT_EQ(list[0]->left.reactor, 1);
    EXPECT_EQ(list[0]->left.junction, -1);
    EXPECT_EQ(list[0]->left.link, -1);
    EXPECT_EQ(list[0]->left.gage, -1);
    EXPECT_EQ(list[1]->left.gage, 0);
    EXPECT_EQ(list[1]->left.node, -1);
    EXPECT_EQ(list[2]->left.link, findLink("PU"));
    EXPECT_EQ(list[2]->left.pump, 0);
    EXPECT_EQ(list[2]->left.pipe, -1);
    EXPECT_EQ(list[2]->left.attribute, ATTRIBUTE_STATUS);
}

TEST_F(RuleTest, ConditionOfLessThanFiveWordsIsRefused) {
    expectRefused(InCondition, "IF", ERR_ITEMS, "");
    expectRefused(InCondition, "IF JUNCTION J INFLOW", ERR_ITEMS, "");
    expectRefused(InCondition, "IF JUNCTION J INFLOW >", ERR_ITEMS, "");
}

TEST_F(RuleTest, WrongWordsOfAConditionAreNamed) {
    expectRefused(InCondition, "IF POND J INFLOW > 1", ERR_KEYWORD, "POND");
    expectRefused(InCondition, "IF JUNCTION nobody INFLOW > 1", ERR_UNDEFINED_OBJECT, "nobody");
    expectRefused(InCondition, "IF JUNCTION J INFLOW => 1", ERR_KEYWORD, "=>");
    expectRefused(InCondition, "IF JUNCTION J INFLOW > much", ERR_NUMBER, "much");
    expectRefused(InCondition, "IF PUMP PU STATUS = OPEN", ERR_KEYWORD, "OPEN");
    expectRefused(InCondition, "IF GAGE G EVENT = YES", ERR_KEYWORD, "YES");
}

TEST_F(RuleTest, ObjectOfAnotherKindIsUndefined) {
    expectRefused(InCondition, "IF JUNCTION O INFLOW > 1", ERR_UNDEFINED_OBJECT, "O");
    expectRefused(InCondition, "IF PIPE PU FLOW > 1", ERR_UNDEFINED_OBJECT, "PU");
    expectRefused(InCondition, "IF PIPE J FLOW > 1", ERR_UNDEFINED_OBJECT, "J");
}

TEST_F(RuleTest, ObjectWhoseSectionComesLaterIsUndefined) {
    addNode("later", -1);
    expectRefused(InCondition, "IF JUNCTION later INFLOW > 1", ERR_UNDEFINED_OBJECT, "later");
}

TEST_F(RuleTest, LineThatEndsAtItsValueIsTooShort) {
    // A SWMM object has no name, so five words lack nothing, while here the relation is the last of five.
    expectRefused(InCondition, "IF PIPE P FLOW >", ERR_ITEMS, "");
    readAll({"RULE Q", "IF SWMM FLOW > 1"});
}

TEST_F(RuleTest, RelationsAreMatchedAsTheyStand) {
    const char* relations[] = {"=", "<>", "<", "<=", ">", ">="};
    for (int32_t k = 0; k < 6; ++k) {
        forgetRules();
        readAll({"RULE R", std::string("IF JUNCTION J INFLOW ") + relations[k] + " 1"});
        EXPECT_EQ(testModel().rules[0].premises->relation, k);
    }
    expectRefused(InCondition, "IF JUNCTION J INFLOW == 1", ERR_KEYWORD, "==");
    expectRefused(InCondition, "IF JUNCTION J INFLOW is 1", ERR_KEYWORD, "is");
}

TEST_F(RuleTest, WordsOfStatusAndEventAreNumbers) {
    readAll({"RULE R", "IF PUMP PU STATUS = off", "OR PUMP PU STATUS = On", "OR GAGE G EVENT = OUT",
             "OR GAGE G EVENT = in"});
    const std::vector<const Premise*> list = listPremises(testModel().rules[0]);
    EXPECT_EQ(list[0]->value, 0.0);
    EXPECT_EQ(list[1]->value, 1.0);
    EXPECT_EQ(list[2]->value, 0.0);
    EXPECT_EQ(list[3]->value, 1.0);
}

TEST_F(RuleTest, RightSideCanBeAnObject) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > REACTOR RE INFLOW"});
    const Premise& premise = *testModel().rules[0].premises;
    EXPECT_EQ(premise.value, NO_VALUE);
    EXPECT_EQ(premise.right.node, findNode("RE"));
    EXPECT_EQ(premise.right.reactor, 0);
    EXPECT_EQ(premise.right.attribute, ATTRIBUTE_INFLOW);
}

TEST_F(RuleTest, RightObjectOfAnotherAttributeIsRefused) {
    expectRefused(InCondition, "IF JUNCTION J INFLOW > PIPE P FLOW", ERR_RULE_ATTRIBUTE, "");
    expectRefused(InCondition, "IF JUNCTION J INFLOW > SWMM FLOW", ERR_RULE_ATTRIBUTE, "");
}

TEST_F(RuleTest, RightObjectCutShortIsRefused) {
    expectRefused(InCondition, "IF JUNCTION J INFLOW > REACTOR", ERR_ITEMS, "");
    expectRefused(InCondition, "IF JUNCTION J INFLOW > REACTOR RE", ERR_ITEMS, "");
    expectRefused(InCondition, "IF JUNCTION J INFLOW > SWMM", ERR_ITEMS, "");
}

TEST_F(RuleTest, WrongWordsOfTheRightObjectAreNamed) {
    expectRefused(InCondition, "IF JUNCTION J INFLOW > REACTOR nobody INFLOW", ERR_UNDEFINED_OBJECT, "nobody");
    expectRefused(InCondition, "IF JUNCTION J INFLOW > REACTOR RE DEPTH", ERR_KEYWORD, "DEPTH");
    expectRefused(InCondition, "IF JUNCTION J INFLOW > REACTOR RE COLOUR", ERR_KEYWORD, "COLOUR");
}

TEST_F(RuleTest, RightObjectWithWordsBehindItIsReadAsAValue) {
    expectRefused(InCondition, "IF JUNCTION J INFLOW > REACTOR RE INFLOW more", ERR_NUMBER, "REACTOR");
    expectRefused(InCondition, "IF PUMP PU STATUS = PUMP PU STATUS more", ERR_KEYWORD, "PUMP");
}

TEST_F(RuleTest, RightSwmmObjectHasRoomForOneSurplusWord) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > SWMM INFLOW", "OR JUNCTION J INFLOW > SWMM INFLOW more"});
    expectRefused(InCondition, "IF JUNCTION J INFLOW > SWMM INFLOW more more", ERR_NUMBER, "SWMM");
}

TEST_F(RuleTest, SecondClauseOnTheLineOfAConditionIsRefused) {
    expectRefused(InCondition, "IF JUNCTION J INFLOW > 1 THEN PIPE P STATUS = OPEN", ERR_RULE_CLAUSE, "");
    EXPECT_EQ(testModel().rules[0].premises, nullptr);
}

TEST_F(RuleTest, OtherWordsBehindAConditionAreFree) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1 m3/s in the morning"});
}

TEST_F(RuleTest, FailedAllocationOfAPremiseIsTheMemoryError) {
    readAll(InCondition);
    arena_failAfter(1);
    EXPECT_EQ(read("IF JUNCTION J INFLOW > 1"), ERR_MEMORY);
    arena_failAfter(0);
    EXPECT_EQ(testModel().rules[0].premises, nullptr);
}

// --- actions -------------------------------------------------------------------------------------------------------

TEST_F(RuleTest, EachTypeOfActionStoresItsValue) {
    const struct {
        const char* line;
        int32_t attribute;
        double value;
    } cases[] = {{"THEN PIPE P STATUS = CLOSED", ATTRIBUTE_STATUS, 0.0},
                 {"THEN PIPE P STATUS = open", ATTRIBUTE_STATUS, 1.0},
                 {"THEN PIPE P SETTING = 0.5", ATTRIBUTE_SETTING, 0.5},
                 {"THEN PUMP PU STATUS = OFF", ATTRIBUTE_STATUS, 0.0},
                 {"THEN PUMP PU STATUS = ON", ATTRIBUTE_STATUS, 1.0},
                 {"THEN PUMP PU SETTING = 0.5", ATTRIBUTE_SETTING, 0.5},
                 {"THEN WEIR W SETTING = 0.5", ATTRIBUTE_SETTING, 0.5},
                 {"THEN ORIFICE OR SETTING = 0.5", ATTRIBUTE_SETTING, 0.5},
                 {"THEN SPLITTER SP VALUE = 7.5", ATTRIBUTE_VALUE, 7.5},
                 {"THEN REACTOR RE EMPTYING = NO", ATTRIBUTE_EMPTYING, 0.0},
                 {"THEN REACTOR RE EMPTYING = yes", ATTRIBUTE_EMPTYING, 1.0},
                 {"THEN SWMM SW gate SETTING = 0.5", ATTRIBUTE_SETTING, 0.5}};
    for (const auto& c : cases) {
        forgetRules();
        readAll(InAction);
        readAll({c.line});
        ASSERT_NE(testModel().rules[0].thenActions, nullptr) << c.line;
        EXPECT_EQ(testModel().rules[0].thenActions->attribute, c.attribute) << c.line;
        EXPECT_EQ(testModel().rules[0].thenActions->value, c.value) << c.line;
    }
}

TEST_F(RuleTest, EachTypeOfActionTakesItsAttributesOnly) {
    const struct {
        const char* object;
        std::vector<std::string> allowed;
    } types[] = {{"PIPE P", {"STATUS", "SETTING"}}, {"PUMP PU", {"STATUS", "SETTING"}}, {"WEIR W", {"SETTING"}},
                 {"ORIFICE OR", {"SETTING"}},       {"SPLITTER SP", {"VALUE"}},         {"REACTOR RE", {"EMPTYING"}}};
    for (const auto& type : types) {
        for (const std::string attribute :
             {"DEPTH", "INFLOW", "FLOW", "STATUS", "SETTING", "EVENT", "EMPTYING", "FILL", "VALUE", "COLOUR"}) {
            if (!std::count(type.allowed.begin(), type.allowed.end(), attribute)) {
                // The attribute is refused before the value is looked at.
                expectRefused(InAction, std::string("THEN ") + type.object + " " + attribute + " = ?", ERR_KEYWORD,
                              attribute);
            }
        }
    }
}

TEST_F(RuleTest, TypesWithoutActionsAreRefused) {
    for (const char* type : {"JUNCTION", "TANK", "OUTFALL", "GAGE", "LID_MONO", "CONDUIT", "CONNECTION", "POND"}) {
        expectRefused(InAction, std::string("THEN ") + type + " P SETTING = 1", ERR_KEYWORD, type);
    }
}

TEST_F(RuleTest, ActionOfLessThanSixWordsIsRefused) {
    expectRefused(InAction, "THEN", ERR_ITEMS, "");
    expectRefused(InAction, "THEN POND P STATUS OPEN", ERR_ITEMS, "");
}

TEST_F(RuleTest, WrongWordsOfAnActionAreNamed) {
    expectRefused(InAction, "THEN PIPE nobody STATUS = OPEN", ERR_UNDEFINED_OBJECT, "nobody");
    expectRefused(InAction, "THEN PIPE P STATUS = ON", ERR_KEYWORD, "ON");
    expectRefused(InAction, "THEN PUMP PU STATUS = OPEN", ERR_KEYWORD, "OPEN");
    expectRefused(InAction, "THEN REACTOR RE EMPTYING = 1", ERR_KEYWORD, "1");
    expectRefused(InAction, "THEN PIPE P SETTING = half", ERR_NUMBER, "half");
    expectRefused(InAction, "THEN SPLITTER SP VALUE = 1m", ERR_NUMBER, "1m");
}

TEST_F(RuleTest, WordInTheSignsPlaceIsNotLookedAt) {
    readAll(InAction);
    readAll({"THEN PIPE P SETTING to 0.5"});
    EXPECT_EQ(testModel().rules[0].thenActions->value, 0.5);
}

TEST_F(RuleTest, SwmmActionIsTestedFromItsAttributeOn) {
    expectRefused(InAction, "THEN SWMM nobody gate DEPTH = x", ERR_UNDEFINED_OBJECT, "nobody");
    expectRefused(InAction, "THEN SWMM SW gate STATUS =", ERR_KEYWORD, "STATUS");
    expectRefused(InAction, "THEN SWMM SW gate SETTING =", ERR_ITEMS, "");
    expectRefused(InAction, "THEN SWMM SW gate SETTING = x", ERR_NUMBER, "x");
}

TEST_F(RuleTest, SwmmActionKeepsTheNameOfTheLink) {
    readAll(InAction);
    readAll({"THEN SWMM SW gate SETTING = 0.5", "AND SPLITTER SP VALUE = 1"});
    EXPECT_STREQ(testModel().rules[0].thenActions->next->swmmLink, "gate");
    EXPECT_EQ(testModel().rules[0].thenActions->next->swmm, 0);
    EXPECT_EQ(testModel().rules[0].thenActions->swmmLink, nullptr);
}

TEST_F(RuleTest, SecondClauseOnTheLineOfAnActionIsRefused) {
    expectRefused(InAction, "THEN PIPE P STATUS = OPEN ELSE PIPE P STATUS = CLOSED", ERR_RULE_CLAUSE, "");
    EXPECT_EQ(testModel().rules[0].thenActions, nullptr);
    readAll({"AND PIPE P STATUS = OPEN for ever"});
}

TEST_F(RuleTest, SettingsAreLimitedToOne) {
    readAll(InAction);
    readAll({"THEN PIPE P SETTING = 1.5", "AND PUMP PU SETTING = -0.5", "AND WEIR W SETTING = inf",
             "AND ORIFICE OR SETTING = nan", "AND SWMM SW gate SETTING = 2"});
    const std::vector<const Action*> list = listActions(testModel().rules[0].thenActions);
    const double values[] = {1.0, 0.0, 1.0, 0.0, 1.0};
    for (size_t k = 0; k < 5; ++k) {
        EXPECT_EQ(list[k]->value, values[k]) << k;
    }
}

TEST_F(RuleTest, SplitValuesAreLimitedFromBelowOnly) {
    readAll(InAction);
    readAll({"THEN SPLITTER SP VALUE = 12", "AND SPLITTER SP VALUE = -1", "AND SPLITTER SP VALUE = nan"});
    const std::vector<const Action*> list = listActions(testModel().rules[0].thenActions);
    EXPECT_EQ(list[0]->value, 0.0);
    EXPECT_EQ(list[1]->value, 0.0);
    EXPECT_EQ(list[2]->value, 12.0);
}

TEST_F(RuleTest, ActionsStandInReverseOrderOfTheirLines) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN", "AND PIPE P2 STATUS = OPEN", "AND PIPE P3 STATUS = OPEN",
             "ELSE PIPE P3 STATUS = OPEN", "AND PIPE P STATUS = OPEN"});
    const std::vector<const Action*> thenList = listActions(testModel().rules[0].thenActions);
    const std::vector<const Action*> elseList = listActions(testModel().rules[0].elseActions);
    ASSERT_EQ(thenList.size(), 3u);
    ASSERT_EQ(elseList.size(), 2u);
    EXPECT_EQ(thenList[0]->link, findLink("P3"));
    EXPECT_EQ(thenList[2]->link, findLink("P"));
    EXPECT_EQ(elseList[0]->link, findLink("P"));
}

TEST_F(RuleTest, NameOfLinkAndNodeKeepsBoth) {
    addNode("both", SPLITTER);
    addLink("both", PIPE);
    readAll(InAction);
    readAll({"THEN SPLITTER both VALUE = 1"});
    const Action& action = *testModel().rules[0].thenActions;
    EXPECT_EQ(action.link, findLink("both"));
    EXPECT_EQ(action.node, findNode("both"));
    EXPECT_EQ(action.splitter, 1);
    EXPECT_EQ(action.reactor, -1);
}

TEST_F(RuleTest, KindsOfLinkWithoutActionsFillNothing) {
    readAll(InAction);
    readAll({"THEN PIPE CN STATUS = OPEN"});
    const Action& action = *testModel().rules[0].thenActions;
    EXPECT_EQ(action.link, findLink("CN"));
    EXPECT_EQ(action.node, -1);
}

TEST_F(RuleTest, FailedAllocationOfAnActionIsTheMemoryError) {
    readAll(InAction);
    arena_failAfter(1);
    EXPECT_EQ(read("THEN PIPE P STATUS = OPEN"), ERR_MEMORY);
    arena_failAfter(2);
    EXPECT_EQ(read("AND SWMM SW gate SETTING = 1"), ERR_MEMORY);
    arena_failAfter(0);
    EXPECT_EQ(testModel().rules[0].thenActions, nullptr);
}
