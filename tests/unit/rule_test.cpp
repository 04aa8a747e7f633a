// Control rules: reading of the clauses with all their messages, and evaluation: premises from left to right,
// priorities, and what the actions change.
//
// Nothing is read from a file here: the tests fill the tables of objects themselves and hand over the clauses one by
// one.

#include "controls/rule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "coupling/swmm.h"
#include "engine/arena.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "input/names.h"
#include "input/tokens.h"
#include "routing/conduit.h"
#include "routing/link.h"
#include "routing/node.h"
#include "routing/reactor.h"
#include "routing/tank.h"

static void clearProject() {
    Nodes.clear();
    Links.clear();
    Splitters.clear();
    Reactors.clear();
    Tanks.clear();
    Conduits.clear();
    std::fill(std::begin(ObjectCount), std::end(ObjectCount), 0);
    std::fill(std::begin(NodeKindCount), std::end(NodeKindCount), 0);
    std::fill(std::begin(LinkKindCount), std::end(LinkKindCount), 0);
    rule_deleteAll();
    names_clear();
    arena_release(RunArena);
    arena_release(ProjectArena);
    ErrorCode = 0;
    ErrorObjectName.clear();
}

static int32_t addNode(const std::string& id, int32_t kind) {
    const int32_t index = ObjectCount[NODE]++;
    project_addObject(NODE, id.c_str(), index);
    Node node{};
    node.id = project_findId(NODE, id.c_str());
    node.kind = kind;
    node.kindIndex = kind < 0 ? 0 : NodeKindCount[kind]++;
    Nodes.push_back(node);
    return index;
}

static int32_t addLink(const std::string& id, int32_t kind) {
    const int32_t index = ObjectCount[LINK]++;
    project_addObject(LINK, id.c_str(), index);
    Link link{};
    link.id = project_findId(LINK, id.c_str());
    link.kind = kind;
    link.kindIndex = kind < 0 ? 0 : LinkKindCount[kind]++;
    link.setting = link.targetSetting = 1.0;
    Links.push_back(link);
    return index;
}

static Node& nodeOf(const std::string& id) {
    return Nodes[static_cast<size_t>(project_findObject(NODE, id.c_str()))];
}

static Link& linkOf(const std::string& id) {
    return Links[static_cast<size_t>(project_findObject(LINK, id.c_str()))];
}

static Reactor& reactorOf(const std::string& id) {
    return Reactors[static_cast<size_t>(nodeOf(id).kindIndex)];
}

static Splitter& splitterOf(const std::string& id) {
    return Splitters[static_cast<size_t>(nodeOf(id).kindIndex)];
}

/// Reads one clause into the last rule; a RULE line makes a new one.
static int32_t read(const std::string& text) {
    static std::string line;
    line = text;
    ErrorObjectName = "?";
    input_splitTokens(line.data());
    const int32_t clause = input_findKeyword(Tok[0], ClauseWords);
    if (clause == CLAUSE_RULE) {
        project_addObject(RULE, Tok[1], static_cast<int32_t>(Rules.size()));
        Rules.push_back(Rule{});
    }
    return rule_readLine(static_cast<int32_t>(Rules.size()) - 1, clause);
}

/// Reads clauses that must all be good.
static void readAll(const std::vector<std::string>& clauses) {
    for (const std::string& clause : clauses) {
        ASSERT_EQ(read(clause), ERR_NONE) << clause << ": " << ErrorObjectName;
    }
}

static std::vector<const Premise*> listPremises(const Rule& rule) {
    std::vector<const Premise*> list;
    for (const Premise* premise = rule.premises; premise; premise = premise->next) {
        list.push_back(premise);
    }
    return list;
}

static std::vector<const Action*> listActions(const Action* head) {
    std::vector<const Action*> list;
    for (; head; head = head->next) {
        list.push_back(head);
    }
    return list;
}

/// One object of each kind, and three pipes more for actions.
class RuleTest : public ::testing::Test {
protected:
    void SetUp() override {
        clearProject();
        addNode("J", JUNCTION);
        addNode("T", TANK);
        addNode("O", OUTFALL);
        addNode("SP", SPLITTER);
        addNode("SW", SWMM);
        addNode("RE", REACTOR);
        addNode("LM", LID_MONO);
        addLink("P", PIPE);
        addLink("PU", PUMP);
        addLink("CN", CONNECTION);
        addLink("CD", CONDUIT);
        addLink("W", WEIR);
        addLink("OR", ORIFICE);
        addLink("P2", PIPE);
        addLink("P3", PIPE);
        project_addObject(GAGE, "G", ObjectCount[GAGE]++);
        Splitters.assign(1, Splitter{});
        SwmmNodes.resize(2);  // without libraries: every call is answered with a failure
        Tanks.resize(1);
        Conduits.resize(1);
        Reactors.assign(1, Reactor{});
        Reactors[0].volume = 200.0;
        RoutingStep = 10;
        NewRoutingTime = 0.0;
        rule_createAll();
    }

    void TearDown() override {
        SwmmNodes.clear();
        clearProject();
    }

    /// Begins the run and evaluates once.
    static int32_t evaluate() {
        link_openLists();
        rule_openRun();
        return rule_evaluate();
    }

    /// Whether a rule of these clauses is fulfilled. They may use J, SP, RE with inflows of 1, 2 and 3 m3/s.
    static bool isTrue(const std::vector<std::string>& conditions) {
        nodeOf("J").newInflow = 1.0;
        nodeOf("SP").newInflow = 2.0;
        nodeOf("RE").newInflow = 3.0;
        rule_deleteAll();
        rule_createAll();
        readAll({"RULE R"});
        readAll(conditions);
        readAll({"THEN PIPE P SETTING = 0.25", "ELSE PIPE P SETTING = 0.75"});
        linkOf("P").targetSetting = 1.0;
        EXPECT_EQ(evaluate(), 1);
        return linkOf("P").targetSetting == 0.25;
    }

    /// Expects a line to fail in the state behind `before`, with a failure and the text that its message shows.
    static void expectRefused(const std::vector<std::string>& before, const std::string& line, int32_t error,
                              const std::string& name) {
        rule_deleteAll();
        rule_createAll();
        readAll(before);
        EXPECT_EQ(read(line), error) << line;
        EXPECT_EQ(ErrorObjectName, name) << line;
    }
};

static const std::vector<std::string> InCondition = {"RULE R"};
static const std::vector<std::string> InAction = {"RULE R", "IF JUNCTION J INFLOW > 1"};

// --- the state machine ---------------------------------------------------------------------------------------------

TEST_F(RuleTest, FirstClauseOfAProjectMustBeRule) {
    EXPECT_EQ(ClauseState, CLAUSE_PRIORITY);
    Rules.push_back(Rule{});
    for (const char* line : {"IF JUNCTION J INFLOW > 1", "AND JUNCTION J INFLOW > 1", "OR JUNCTION J INFLOW > 1",
                             "THEN PIPE P STATUS = OPEN", "ELSE PIPE P STATUS = OPEN", "PRIORITY 1"}) {
        EXPECT_EQ(read(line), ERR_RULE_CLAUSE) << line;
        EXPECT_EQ(ErrorObjectName, "") << line;
    }
}

TEST_F(RuleTest, AcceptsAllClausesInSequence) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1", "AND JUNCTION J INFLOW > 2", "OR JUNCTION J INFLOW > 3",
             "THEN PIPE P STATUS = OPEN", "AND PIPE P2 STATUS = OPEN", "ELSE PIPE P STATUS = CLOSED",
             "AND PIPE P2 STATUS = CLOSED", "PRIORITY 2.5", "RULE S"});
    EXPECT_STREQ(Rules[0].name, "R");
    EXPECT_EQ(Rules[0].priority, 2.5);
    EXPECT_STREQ(Rules[1].name, "S");
    EXPECT_EQ(Rules[1].priority, 0.0);
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
    EXPECT_EQ(ErrorObjectName, "");
    EXPECT_STREQ(Rules[0].name, "R");
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
    EXPECT_EQ(listActions(Rules[0].thenActions).size(), 1u);
}

TEST_F(RuleTest, BadElseStillOpensTheElsePart) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN"});
    EXPECT_EQ(read("ELSE PIPE P STATUS = AJAR"), ERR_KEYWORD);
    readAll({"AND PIPE P STATUS = CLOSED"});
    EXPECT_EQ(listActions(Rules[0].elseActions).size(), 1u);
}

TEST_F(RuleTest, PriorityIsReadBeforeSurplusWordsAreRefused) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN"});
    EXPECT_EQ(read("PRIORITY x y"), ERR_NUMBER);
    EXPECT_EQ(ErrorObjectName, "x");
    EXPECT_EQ(ClauseState, CLAUSE_PRIORITY);
    EXPECT_EQ(Rules[0].priority, 0.0);
}

TEST_F(RuleTest, SurplusWordBehindPriorityIsRefusedButThePriorityCounts) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN"});
    EXPECT_EQ(read("PRIORITY -3 y"), ERR_RULE_CLAUSE);
    EXPECT_EQ(ErrorObjectName, "");
    EXPECT_EQ(Rules[0].priority, -3.0);
}

TEST_F(RuleTest, ANewProjectBeginsInFrontOfTheFirstRule) {
    readAll({"RULE R"});
    rule_createAll();
    EXPECT_EQ(ClauseState, CLAUSE_PRIORITY);
}

// --- conditions ----------------------------------------------------------------------------------------------------

TEST_F(RuleTest, AndIsKeptTwiceAmongConditions) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1", "AND JUNCTION J INFLOW > 2", "OR JUNCTION J INFLOW > 3"});
    const std::vector<const Premise*> list = listPremises(Rules[0]);
    ASSERT_EQ(list.size(), 4u);
    const int32_t logic[] = {LOGIC_AND, LOGIC_AND, LOGIC_OR, LOGIC_OR};
    const double values[] = {1.0, 2.0, 2.0, 3.0};
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(list[k]->logic, logic[k]) << k;
        EXPECT_EQ(list[k]->value, values[k]) << k;
    }
    EXPECT_EQ(Rules[0].lastPremise, list[3]);
}

TEST_F(RuleTest, AndIsKeptOnceAmongActions) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN", "AND PIPE P2 STATUS = OPEN"});
    EXPECT_EQ(listActions(Rules[0].thenActions).size(), 2u);
    EXPECT_EQ(listPremises(Rules[0]).size(), 1u);
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
                rule_deleteAll();
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
        rule_deleteAll();
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
    const std::vector<const Premise*> list = listPremises(Rules[0]);
    EXPECT_EQ(list[0]->left.node, project_findObject(NODE, "RE2"));
    EXPECT_EQ(list[0]->left.reactor, 1);
    EXPECT_EQ(list[0]->left.junction, -1);
    EXPECT_EQ(list[0]->left.link, -1);
    EXPECT_EQ(list[0]->left.gage, -1);
    EXPECT_EQ(list[1]->left.gage, 0);
    EXPECT_EQ(list[1]->left.node, -1);
    EXPECT_EQ(list[2]->left.link, project_findObject(LINK, "PU"));
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
        rule_deleteAll();
        readAll({"RULE R", std::string("IF JUNCTION J INFLOW ") + relations[k] + " 1"});
        EXPECT_EQ(Rules[0].premises->relation, k);
    }
    expectRefused(InCondition, "IF JUNCTION J INFLOW == 1", ERR_KEYWORD, "==");
    expectRefused(InCondition, "IF JUNCTION J INFLOW is 1", ERR_KEYWORD, "is");
}

TEST_F(RuleTest, WordsOfStatusAndEventAreNumbers) {
    readAll({"RULE R", "IF PUMP PU STATUS = off", "OR PUMP PU STATUS = On", "OR GAGE G EVENT = OUT",
             "OR GAGE G EVENT = in"});
    const std::vector<const Premise*> list = listPremises(Rules[0]);
    EXPECT_EQ(list[0]->value, 0.0);
    EXPECT_EQ(list[1]->value, 1.0);
    EXPECT_EQ(list[2]->value, 0.0);
    EXPECT_EQ(list[3]->value, 1.0);
}

TEST_F(RuleTest, RightSideCanBeAnObject) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > REACTOR RE INFLOW"});
    const Premise& premise = *Rules[0].premises;
    EXPECT_EQ(premise.value, NO_VALUE);
    EXPECT_EQ(premise.right.node, project_findObject(NODE, "RE"));
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
    EXPECT_EQ(Rules[0].premises, nullptr);
}

TEST_F(RuleTest, OtherWordsBehindAConditionAreFree) {
    readAll({"RULE R", "IF JUNCTION J INFLOW > 1 m3/s in the morning"});
}

TEST_F(RuleTest, FailedAllocationOfAPremiseIsTheMemoryError) {
    readAll(InCondition);
    arena_failAfter(1);
    EXPECT_EQ(read("IF JUNCTION J INFLOW > 1"), ERR_MEMORY);
    arena_failAfter(0);
    EXPECT_EQ(Rules[0].premises, nullptr);
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
        rule_deleteAll();
        readAll(InAction);
        readAll({c.line});
        ASSERT_NE(Rules[0].thenActions, nullptr) << c.line;
        EXPECT_EQ(Rules[0].thenActions->attribute, c.attribute) << c.line;
        EXPECT_EQ(Rules[0].thenActions->value, c.value) << c.line;
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
    EXPECT_EQ(Rules[0].thenActions->value, 0.5);
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
    EXPECT_STREQ(Rules[0].thenActions->next->swmmLink, "gate");
    EXPECT_EQ(Rules[0].thenActions->next->swmm, 0);
    EXPECT_EQ(Rules[0].thenActions->swmmLink, nullptr);
}

TEST_F(RuleTest, SecondClauseOnTheLineOfAnActionIsRefused) {
    expectRefused(InAction, "THEN PIPE P STATUS = OPEN ELSE PIPE P STATUS = CLOSED", ERR_RULE_CLAUSE, "");
    EXPECT_EQ(Rules[0].thenActions, nullptr);
    readAll({"AND PIPE P STATUS = OPEN for ever"});
}

TEST_F(RuleTest, SettingsAreLimitedToOne) {
    readAll(InAction);
    readAll({"THEN PIPE P SETTING = 1.5", "AND PUMP PU SETTING = -0.5", "AND WEIR W SETTING = inf",
             "AND ORIFICE OR SETTING = nan", "AND SWMM SW gate SETTING = 2"});
    const std::vector<const Action*> list = listActions(Rules[0].thenActions);
    const double values[] = {1.0, 0.0, 1.0, 0.0, 1.0};
    for (size_t k = 0; k < 5; ++k) {
        EXPECT_EQ(list[k]->value, values[k]) << k;
    }
}

TEST_F(RuleTest, SplitValuesAreLimitedFromBelowOnly) {
    readAll(InAction);
    readAll({"THEN SPLITTER SP VALUE = 12", "AND SPLITTER SP VALUE = -1", "AND SPLITTER SP VALUE = nan"});
    const std::vector<const Action*> list = listActions(Rules[0].thenActions);
    EXPECT_EQ(list[0]->value, 0.0);
    EXPECT_EQ(list[1]->value, 0.0);
    EXPECT_EQ(list[2]->value, 12.0);
}

TEST_F(RuleTest, ActionsStandInReverseOrderOfTheirLines) {
    readAll(InAction);
    readAll({"THEN PIPE P STATUS = OPEN", "AND PIPE P2 STATUS = OPEN", "AND PIPE P3 STATUS = OPEN",
             "ELSE PIPE P3 STATUS = OPEN", "AND PIPE P STATUS = OPEN"});
    const std::vector<const Action*> thenList = listActions(Rules[0].thenActions);
    const std::vector<const Action*> elseList = listActions(Rules[0].elseActions);
    ASSERT_EQ(thenList.size(), 3u);
    ASSERT_EQ(elseList.size(), 2u);
    EXPECT_EQ(thenList[0]->link, project_findObject(LINK, "P3"));
    EXPECT_EQ(thenList[2]->link, project_findObject(LINK, "P"));
    EXPECT_EQ(elseList[0]->link, project_findObject(LINK, "P"));
}

TEST_F(RuleTest, NameOfLinkAndNodeKeepsBoth) {
    addNode("both", SPLITTER);
    addLink("both", PIPE);
    readAll(InAction);
    readAll({"THEN SPLITTER both VALUE = 1"});
    const Action& action = *Rules[0].thenActions;
    EXPECT_EQ(action.link, project_findObject(LINK, "both"));
    EXPECT_EQ(action.pipe, 3);  // behind P, P2 and P3
    EXPECT_EQ(action.node, project_findObject(NODE, "both"));
    EXPECT_EQ(action.splitter, 1);
    EXPECT_EQ(action.reactor, -1);
}

TEST_F(RuleTest, KindsOfLinkWithoutActionsFillNothing) {
    readAll(InAction);
    readAll({"THEN PIPE CN STATUS = OPEN"});
    const Action& action = *Rules[0].thenActions;
    EXPECT_EQ(action.link, project_findObject(LINK, "CN"));
    EXPECT_EQ(std::max({action.pipe, action.pump, action.weir, action.orifice, action.node}), -1);
}

TEST_F(RuleTest, FailedAllocationOfAnActionIsTheMemoryError) {
    readAll(InAction);
    arena_failAfter(1);
    EXPECT_EQ(read("THEN PIPE P STATUS = OPEN"), ERR_MEMORY);
    arena_failAfter(2);
    EXPECT_EQ(read("AND SWMM SW gate SETTING = 1"), ERR_MEMORY);
    arena_failAfter(0);
    EXPECT_EQ(Rules[0].thenActions, nullptr);
}

// --- values of operands --------------------------------------------------------------------------------------------

static double valueOf(const std::string& operand) {
    std::string line = operand;
    input_splitTokens(line.data());
    RuleOperand read{};
    int32_t place = 0;
    EXPECT_EQ(rule_readOperand(place, read), ERR_NONE) << operand;
    return rule_operandValue(read);
}

TEST_F(RuleTest, InflowIsThatOfTheNode) {
    nodeOf("LM").newInflow = 0.75;
    nodeOf("LM").oldInflow = 0.5;
    EXPECT_EQ(valueOf("LID_MONO LM INFLOW"), 0.75);
}

TEST_F(RuleTest, DepthIsThatOfTheTankOrOfTheConduit) {
    Tanks[0].oldDepth = 0.5;
    Tanks[0].newDepth = 0.75;
    Conduits[0].depth = 0.25;
    EXPECT_EQ(valueOf("TANK T DEPTH"), 0.75);
    EXPECT_EQ(valueOf("CONDUIT CD DEPTH"), 0.25);
    EXPECT_TRUE(isTrue({"IF CONDUIT CD DEPTH < TANK T DEPTH"}));
    EXPECT_FALSE(isTrue({"IF TANK T DEPTH <= 0.5"}));
}

TEST_F(RuleTest, FlowIsThatOfTheLink) {
    linkOf("W").newFlow = 0.75;
    linkOf("W").oldFlow = 0.5;
    EXPECT_EQ(valueOf("WEIR W FLOW"), 0.75);
}

TEST_F(RuleTest, StatusIsTheSettingAndNotTheTarget) {
    linkOf("PU").setting = 0.5;
    linkOf("PU").targetSetting = 1.0;
    EXPECT_EQ(valueOf("PUMP PU STATUS"), 0.5);
}

TEST_F(RuleTest, FillIsTheShareOfTheFullVolume) {
    reactorOf("RE").storedVolume = 50.0;
    EXPECT_EQ(valueOf("REACTOR RE FILL"), 0.25);
}

TEST_F(RuleTest, FillOfAPlugFlowReactorIsNoNumber) {
    reactorOf("RE").volume = 0.0;
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
        rule_deleteAll();
        readAll({"RULE R", std::string("IF JUNCTION J INFLOW ") + c.relation + " 1"});
        nodeOf("J").newInflow = below;
        EXPECT_EQ(rule_testPremise(*Rules[0].premises), c.isBelow) << c.relation;
        nodeOf("J").newInflow = 1.0;
        EXPECT_EQ(rule_testPremise(*Rules[0].premises), c.isEqual) << c.relation;
        nodeOf("J").newInflow = above;
        EXPECT_EQ(rule_testPremise(*Rules[0].premises), c.isAbove) << c.relation;
    }
}

TEST_F(RuleTest, NoNumberIsUnequalToEverythingAndNothingElse) {
    reactorOf("RE").volume = 0.0;
    for (const std::string relation : {"=", "<>", "<", "<=", ">", ">="}) {
        rule_deleteAll();
        readAll({"RULE R", "IF REACTOR RE FILL " + relation + " 0.5"});
        EXPECT_EQ(rule_testPremise(*Rules[0].premises), relation == "<>") << relation;
    }
}

TEST_F(RuleTest, ObjectsAreCompared) {
    EXPECT_TRUE(isTrue({"IF JUNCTION J INFLOW < REACTOR RE INFLOW"}));
    EXPECT_FALSE(isTrue({"IF JUNCTION J INFLOW > REACTOR RE INFLOW"}));
}

TEST_F(RuleTest, ValueThatMeansNoValueIsFalse) {
    nodeOf("J").newInflow = 1.0;
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
    EXPECT_EQ(linkOf("P").targetSetting, 0.5);
}

// --- choice of actions ---------------------------------------------------------------------------------------------

static const std::string Always = "IF JUNCTION J INFLOW = 0", Never = "IF JUNCTION J INFLOW <> 0";

TEST_F(RuleTest, NoRulesChangeNothing) {
    EXPECT_EQ(evaluate(), 0);
}

TEST_F(RuleTest, FalseRuleWithoutElseDoesNothing) {
    readAll({"RULE R", Never, "THEN PIPE P SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(linkOf("P").targetSetting, 1.0);
}

TEST_F(RuleTest, FalseRuleTakesItsElsePart) {
    readAll({"RULE R", Never, "THEN PIPE P SETTING = 0.5", "ELSE PIPE P2 SETTING = 0.25"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("P").targetSetting, 1.0);
    EXPECT_EQ(linkOf("P2").targetSetting, 0.25);
}

TEST_F(RuleTest, HigherPriorityWins) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 1", "RULE S", Always,
             "THEN PIPE P SETTING = 0.5", "PRIORITY 2", "RULE T", Always, "THEN PIPE P SETTING = 0.75",
             "PRIORITY 1.5"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("P").targetSetting, 0.5);
}

TEST_F(RuleTest, NegativePriorityLosesAgainstNone) {
    readAll(
        {"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY -1", "RULE S", Always, "THEN PIPE P SETTING = 0.5"});
    evaluate();
    EXPECT_EQ(linkOf("P").targetSetting, 0.5);
}

TEST_F(RuleTest, FirstOfEqualPrioritiesWins) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 3", "RULE S", Always,
             "THEN PIPE P SETTING = 0.5", "PRIORITY 3"});
    evaluate();
    EXPECT_EQ(linkOf("P").targetSetting, 0.25);
}

TEST_F(RuleTest, LastLineOfARuleOnATargetWins) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "AND PIPE P SETTING = 0.5", "AND PIPE p SETTING = 0.75"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("P").targetSetting, 0.75);
}

TEST_F(RuleTest, OneTargetIsOneWhateverTypeTheLinesGiveIt) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 1", "RULE S", Always,
             "THEN WEIR P SETTING = 0.5", "PRIORITY 2"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("P").targetSetting, 0.5);
}

TEST_F(RuleTest, ActionOfAnEarlierStepHoldsNoTarget) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "PRIORITY 5", "RULE S", "IF JUNCTION J INFLOW >= 0",
             "THEN PIPE P SETTING = 0.75"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("P").targetSetting, 0.25);
    nodeOf("J").newInflow = 1.0;  // R is false from now on
    EXPECT_EQ(rule_evaluate(), 1);
    EXPECT_EQ(linkOf("P").targetSetting, 0.75);
}

// --- what actions change -------------------------------------------------------------------------------------------

TEST_F(RuleTest, UnchangedValuesAreNoChanges) {
    readAll({"RULE R", Always, "THEN PIPE P STATUS = OPEN", "AND PIPE P2 SETTING = 0.5", "AND SPLITTER SP VALUE = 3"});
    EXPECT_EQ(evaluate(), 2);
    EXPECT_EQ(rule_evaluate(), 0);
}

TEST_F(RuleTest, PipesAndOrificesOpenAgainInTheStepInWhichNoRuleHoldsThem) {
    linkOf("PU").kind = WEIR;  // a pump would be switched by the depth of its tank
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "AND WEIR W SETTING = 0.25",
             "AND ORIFICE OR SETTING = 0.25", "AND PIPE CN SETTING = 0.25", "AND PIPE CD SETTING = 0.25"});
    evaluate();
    link_applyTargets();
    for (const char* link : {"P", "W", "OR", "CN", "CD"}) {
        EXPECT_EQ(linkOf(link).setting, 0.25) << link;
    }
    nodeOf("J").newInflow = 1.0;
    link_setTargets();
    EXPECT_EQ(rule_evaluate(), 0);
    link_applyTargets();
    for (const char* link : {"P", "OR"}) {
        EXPECT_EQ(linkOf(link).setting, 1.0) << link;
    }
    for (const char* link : {"W", "CN", "CD"}) {
        EXPECT_EQ(linkOf(link).setting, 0.25) << link;  // they stay where they were put
    }
}

TEST_F(RuleTest, LinkHeldByTheHostGetsATargetButNoSetting) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25"});
    linkOf("P").isHostSetting = 1;
    linkOf("P").setting = 0.5;
    EXPECT_EQ(evaluate(), 1);
    link_applyTargets();
    EXPECT_EQ(linkOf("P").targetSetting, 0.25);
    EXPECT_EQ(linkOf("P").setting, 0.5);
}

TEST_F(RuleTest, SplitValueIsWrittenBesideThatOfTheHost) {
    splitterOf("SP").value = 1.0;
    splitterOf("SP").hostValue = 7.0;
    splitterOf("SP").useHostValue = 1;
    readAll({"RULE R", Always, "THEN SPLITTER SP VALUE = 2"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(splitterOf("SP").value, 2.0);
    EXPECT_EQ(splitterOf("SP").hostValue, 7.0);
}

TEST_F(RuleTest, EmptyingOfAReactorStartsAndStops) {
    readAll({"RULE R", Always, "THEN REACTOR RE EMPTYING = YES", "ELSE REACTOR RE EMPTYING = NO"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(reactorOf("RE").isEmptying, 1);
    EXPECT_EQ(rule_evaluate(), 0);
    nodeOf("J").newInflow = 1.0;
    EXPECT_EQ(rule_evaluate(), 1);
    EXPECT_EQ(reactorOf("RE").isEmptying, 0);
}

TEST_F(RuleTest, NumberGivenToAReactorIsCut) {
    readAll({"RULE R", Always, "THEN SPLITTER RE VALUE = 0.9"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(reactorOf("RE").isEmptying, 0);
    EXPECT_EQ(rule_evaluate(), 1);  // 0.9 differs from 0 in every step
    rule_deleteAll();
    readAll({"RULE R", Always, "THEN SPLITTER RE VALUE = 2.9"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(reactorOf("RE").isEmptying, 2);
}

TEST_F(RuleTest, TypeWordDoesNotDecideWhatIsSet) {
    readAll({"RULE R", Always, "THEN REACTOR SP EMPTYING = YES"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(splitterOf("SP").value, 1.0);
}

TEST_F(RuleTest, LinkGetsTheValueOfANameThatIsANodeAsWell) {
    addNode("both", SPLITTER);
    Splitters.push_back(Splitter{});
    addLink("both", PIPE);
    readAll({"RULE R", Always, "THEN SPLITTER both VALUE = 3"});
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("both").targetSetting, 3.0);
    EXPECT_EQ(splitterOf("both").value, 0.0);
}

TEST_F(RuleTest, NodeReadBeforeItsSectionIsLeftAlone) {
    addNode("later", -1);
    Splitters.push_back(Splitter{});
    readAll({"RULE R", Always, "THEN SPLITTER later VALUE = 3"});
    nodeOf("later").kind = SPLITTER;
    nodeOf("later").kindIndex = 1;
    EXPECT_EQ(evaluate(), 0);
    EXPECT_EQ(splitterOf("later").value, 0.0);
}

TEST_F(RuleTest, LinkReadBeforeItsSectionIsMovedAllTheSame) {
    addLink("later", -1);
    readAll({"RULE R", Always, "THEN PIPE later SETTING = 0.5"});
    linkOf("later").kind = PIPE;
    EXPECT_EQ(evaluate(), 1);
    EXPECT_EQ(linkOf("later").targetSetting, 0.5);
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
    const std::vector<int32_t> targets = targetsOf(Rules[0]);
    EXPECT_NE(targets[0], targets[1]);
    EXPECT_NE(targets[0], targets[2]);  // compared exactly
    EXPECT_NE(targets[1], targets[2]);
    EXPECT_EQ(targets[0], targets[3]);
}

TEST_F(RuleTest, MissingLinkOfASwmmNodeIsATargetOfItsOwn) {
    readAll({"RULE R", Always, "THEN SWMM SW a SETTING = 1", "AND PIPE SW SETTING = 1", "AND WEIR SW SETTING = 1"});
    evaluate();
    const std::vector<int32_t> targets = targetsOf(Rules[0]);
    EXPECT_NE(targets[0], targets[1]);
    EXPECT_EQ(targets[1], targets[2]);
}

TEST_F(RuleTest, LinkNameMakesOneTargetWhateverTheLinkInsideIs) {
    addNode("both", SWMM);
    addLink("both", PIPE);
    readAll({"RULE R", Always, "THEN SWMM both a SETTING = 1", "AND SWMM both b SETTING = 1"});
    evaluate();
    const std::vector<int32_t> targets = targetsOf(Rules[0]);
    EXPECT_EQ(targets[0], targets[1]);
}

TEST_F(RuleTest, TwoNodesAreTwoTargets) {
    addNode("SP2", SPLITTER);
    Splitters.push_back(Splitter{});
    readAll(
        {"RULE R", Always, "THEN SPLITTER SP VALUE = 1", "AND SPLITTER SP2 VALUE = 2", "AND SPLITTER sp VALUE = 3"});
    EXPECT_EQ(evaluate(), 2);
    EXPECT_EQ(splitterOf("SP").value, 3.0);
    EXPECT_EQ(splitterOf("SP2").value, 2.0);
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
        linkOf("L" + std::to_string(k)).targetSetting = 1.0;
    }
    EXPECT_EQ(rule_evaluate(), count);
}

TEST_F(RuleTest, SecondRunChoosesAsTheFirst) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25", "AND PIPE P2 SETTING = 0.5"});
    EXPECT_EQ(evaluate(), 2);
    linkOf("P").targetSetting = linkOf("P2").targetSetting = 1.0;
    EXPECT_EQ(evaluate(), 2);
    EXPECT_EQ(linkOf("P").targetSetting, 0.25);
    EXPECT_EQ(linkOf("P2").targetSetting, 0.5);
}

TEST_F(RuleTest, FailedAllocationOfTheListIsTheMemoryError) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25"});
    link_openLists();
    arena_failAfter(1);
    rule_openRun();
    arena_failAfter(0);
    EXPECT_EQ(ErrorCode, ERR_MEMORY);
    EXPECT_EQ(rule_evaluate(), 0);
}

TEST_F(RuleTest, NothingOfADeletedProjectIsLeft) {
    readAll({"RULE R", Always, "THEN PIPE P SETTING = 0.25"});
    evaluate();
    linkOf("P").targetSetting = 1.0;
    rule_deleteAll();
    EXPECT_EQ(rule_evaluate(), 0);
    EXPECT_EQ(linkOf("P").targetSetting, 1.0);
}
