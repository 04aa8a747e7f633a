#pragma once
// Rules that a test hands over clause by clause, for one object of each kind.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controls/rule.h"
#include "controls/rulereader.h"
#include "coupling/swmm.h"
#include "links/conduit.h"
#include "links/link.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "routing/linkkinds.h"
#include "support/lines.h"
#include "support/model.h"
#include "support/tables.h"
#include "text/tokens.h"

/// Reads one clause into the last rule; a RULE line makes a new one.
inline int32_t read(const std::string& text) {
    static std::string line;
    line = text;
    testModel().error.objectName = "?";
    TestTokens = tokens_split(line.data());
    const int32_t clause = tokens_findKeyword(TestTokens[0], ClauseWords);
    if (clause == CLAUSE_RULE) {
        names_add(testModel(), RULE, TestTokens[1], testModel().rules.size());
        testModel().rules.push_back(Rule{});
    }
    return rulereader_readLine(testModel(), TestTokens, testModel().rules.size() - 1, clause);
}

/// An empty table of rules again.
inline void forgetRules() {
    testModel().rules = {};
    *testModel().actionList = {};
    testModel().clauseState = CLAUSE_PRIORITY;
}

/// Reads clauses that must all be good.
inline void readAll(const std::vector<std::string>& clauses) {
    for (const std::string& clause : clauses) {
        ASSERT_EQ(read(clause), ERR_NONE) << clause << ": " << testModel().error.objectName;
    }
}

inline std::vector<const Premise*> listPremises(const Rule& rule) {
    std::vector<const Premise*> list;
    for (const Premise* premise = rule.premises; premise; premise = premise->next) {
        list.push_back(premise);
    }
    return list;
}

inline std::vector<const Action*> listActions(const Action* head) {
    std::vector<const Action*> list;
    for (; head; head = head->next) {
        list.push_back(head);
    }
    return list;
}

/// One object of each kind, and three pipes more for actions.
class RuleTest : public ::testing::Test, protected Tables {
protected:
    void SetUp() override {
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
        addName(GAGE, "G");
        testModel().splitters.fill(1, Splitter{});
        testModel().swmmNodes.resize(2);  // without libraries: every call is answered with a failure
        testModel().tanks.resize(1);
        testModel().conduits.resize(1);
        testModel().reactors.fill(1, Reactor{});
        testModel().reactors[0].volume = 200.0;
        testModel().options.routingStep = 10;
        testModel().clock.newRoutingTime = 0.0;
        rule_createAll(testModel());
    }

    /// Begins the run and evaluates once.
    static int32_t evaluate() {
        linkkinds_openRun(testModel());
        rule_openRun(testModel());
        return rule_evaluate(testModel());
    }

    /// Whether a rule of these clauses is fulfilled. They may use J, SP, RE with inflows of 1, 2 and 3 m3/s.
    static bool isTrue(const std::vector<std::string>& conditions) {
        node("J").newInflow = 1.0;
        node("SP").newInflow = 2.0;
        node("RE").newInflow = 3.0;
        forgetRules();
        rule_createAll(testModel());
        readAll({"RULE R"});
        readAll(conditions);
        readAll({"THEN PIPE P SETTING = 0.25", "ELSE PIPE P SETTING = 0.75"});
        link("P").targetSetting = 1.0;
        EXPECT_EQ(evaluate(), 1);
        return link("P").targetSetting == 0.25;
    }

    /// Expects a line to fail in the state after `before`, with a failure and the text that its message shows.
    static void expectRefused(const std::vector<std::string>& before, const std::string& line, int32_t error,
                              const std::string& name) {
        forgetRules();
        rule_createAll(testModel());
        readAll(before);
        EXPECT_EQ(read(line), error) << line;
        EXPECT_EQ(testModel().error.objectName, name) << line;
    }
};

inline const std::vector<std::string> InCondition = {"RULE R"};
inline const std::vector<std::string> InAction = {"RULE R", "IF JUNCTION J INFLOW > 1"};
