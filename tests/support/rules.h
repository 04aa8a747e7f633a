#pragma once
// Rules that a test hands over clause by clause, for one object of each kind.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controls/rule.h"
#include "coupling/swmm.h"
#include "links/conduit.h"
#include "links/link.h"
#include "model/errors.h"
#include "model/project.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "routing/linkkinds.h"
#include "support/lines.h"
#include "support/objects.h"
#include "text/tokens.h"

inline Node& nodeOf(const std::string& id) {
    return Nodes[names_find(NODE, id.c_str())];
}

inline Link& linkOf(const std::string& id) {
    return Links[names_find(LINK, id.c_str())];
}

inline Reactor& reactorOf(const std::string& id) {
    return Reactors[nodeOf(id).kindIndex];
}

inline Splitter& splitterOf(const std::string& id) {
    return Splitters[nodeOf(id).kindIndex];
}

/// Reads one clause into the last rule; a RULE line makes a new one.
inline int32_t read(const std::string& text) {
    static std::string line;
    line = text;
    ErrorObjectName = "?";
    TestTokens = tokens_split(line.data());
    const int32_t clause = tokens_findKeyword(TestTokens[0], ClauseWords);
    if (clause == CLAUSE_RULE) {
        names_add(RULE, TestTokens[1], Rules.size());
        Rules.push_back(Rule{});
    }
    return rule_readLine(TestTokens, Rules.size() - 1, clause);
}

/// Reads clauses that must all be good.
inline void readAll(const std::vector<std::string>& clauses) {
    for (const std::string& clause : clauses) {
        ASSERT_EQ(read(clause), ERR_NONE) << clause << ": " << ErrorObjectName;
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
class RuleTest : public ::testing::Test {
protected:
    void SetUp() override {
        rule_deleteAll();
        clearObjects();
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
        names_add(GAGE, "G", ObjectCount[GAGE]++);
        Splitters.fill(1, Splitter{});
        SwmmNodes.resize(2);  // without libraries: every call is answered with a failure
        Tanks.resize(1);
        Conduits.resize(1);
        Reactors.fill(1, Reactor{});
        Reactors[0].volume = 200.0;
        RoutingStep = 10;
        NewRoutingTime = 0.0;
        rule_createAll();
    }

    void TearDown() override {
        SwmmNodes.clear();
        rule_deleteAll();
        clearObjects();
    }

    /// Begins the run and evaluates once.
    static int32_t evaluate() {
        linkkinds_openRun();
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

inline const std::vector<std::string> InCondition = {"RULE R"};
inline const std::vector<std::string> InAction = {"RULE R", "IF JUNCTION J INFLOW > 1"};
