// Control rules in whole projects: messages with their places, and what later sections mean for rules.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "controls/rule.h"
#include "model/errors.h"
#include "model/project.h"
#include "support/lineerrors.h"
#include "support/model.h"

TEST(RuleLines, NeedARuleFirst) {
    expectRefused("[CONTROL_RULES]", "IF", "ERROR 203: too few items ");
    expectRefused("[CONTROL_RULES]", "IF NODE A", "ERROR 215: control rule clause invalid or out of sequence ");
    expectRefused("[CONTROL_RULES]", "WHILE NODE A", "ERROR 215: control rule clause invalid or out of sequence ");
}

TEST(RuleLines, RefuseASecondRuleOfAName) {
    EXPECT_EQ(getErrors("[CONTROL_RULES]\nRULE \"\"\nrule \"\"\n"),
              lineError("ERROR 207: duplicate ID name  ", LINES_BEFORE + 3, "[CONTROL_RULES]", "rule \"\"\n"));
}

TEST(RuleLines, InQuotesWereNeverCounted) {
    expectRefused("[CONTROL_RULES]", "\"RULE\" R", "ERROR 207: duplicate ID name RULE ");
}

TEST(RuleLines, CompareTheSameAttribute) {
    EXPECT_EQ(getErrors("[CONTROL_RULES]\nRULE R\nIF JUNCTION A INFLOW > PIPE P1 FLOW\n"),
              lineError("ERROR 219: mismatched control rule attribute ", LINES_BEFORE + 3, "[CONTROL_RULES]",
                        "IF JUNCTION A INFLOW > PIPE P1 FLOW\n"));
}

/// Water of 0.5 m3/s runs from J through the splitter SP, which sends a quarter of it to A and the rest to B.
static std::string getNetwork(int steps) {
    return getGeneral(steps) +
           "[JUNCTIONS]\nJ\n[OUTFALLS]\nA\nB\n[SPLITTERS]\nSP CA RATIO 0.25\n[CONNECTIONS]\nC J SP NO 0\nCA SP A NO 0\n"
           "CB SP B NO 0\n[INFLOWS]\nJ FLOW FLOW 0.5 \"\" 1\n";
}

static const std::string RulesSection = "[CONTROL_RULES]\n";

/// A message about a clause; `clause` counts the lines of the section from 1, behind the network.
static std::string ruleError(const std::string& message, int clause, const std::string& text) {
    const std::string before = getNetwork(5) + RulesSection;
    const auto line = std::count(before.begin(), before.end(), '\n') + clause;
    return "\n  \n  ERROR " + message + "at line " + std::to_string(line) + " of [CONTROL_RULES] section:\n  " + text;
}

TEST(RulesInAFile, MessagesHaveTheirPlaceAndReadingGoesOn) {
    const OpenResult result = openProject(getNetwork(5) + RulesSection +
                                          "RULE R\n"
                                          "IF JUNCTION J INFLOW > much\n"
                                          "AND JUNCTION J INFLOW > CONNECTION C FLOW\n"
                                          "AND JUNCTION J\n"
                                          "THEN SPLITTER X VALUE = 1\n"
                                          "AND SPLITTER SP WIDTH = 1\n"
                                          "IF JUNCTION J INFLOW > 1\n"
                                          "ELSE SPLITTER SP VALUE = 1\n");
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(
        result.report,
        ruleError("211: invalid number much ", 2, "IF JUNCTION J INFLOW > much\n") +
            ruleError("219: mismatched control rule attribute ", 3, "AND JUNCTION J INFLOW > CONNECTION C FLOW\n") +
            ruleError("203: too few items ", 4, "AND JUNCTION J\n") +
            ruleError("209: undefined object X ", 5, "THEN SPLITTER X VALUE = 1\n") +
            ruleError("205: invalid keyword WIDTH ", 6, "AND SPLITTER SP WIDTH = 1\n") +
            ruleError("215: control rule clause invalid or out of sequence ", 7, "IF JUNCTION J INFLOW > 1\n"));
}

TEST(RulesInAFile, UnknownClauseIsRefusedBeforeAndBehindTheFirstRule) {
    const OpenResult result = openProject(getNetwork(5) + RulesSection + "WHEN x\nRULE R\nWHEN x\n");
    const std::string message = "215: control rule clause invalid or out of sequence ";
    EXPECT_EQ(result.report, ruleError(message, 1, "WHEN x\n") + ruleError(message, 3, "WHEN x\n"));
}

TEST(RulesInAFile, ClausesBehindADuplicateRuleGoToTheLastGoodOne) {
    Project project(getNetwork(5) + RulesSection +
                    "RULE R\nIF JUNCTION J INFLOW > 1\nRULE r\nOR JUNCTION J INFLOW > 2\nTHEN SPLITTER SP VALUE = 1\n");
    EXPECT_EQ(project.open(), 200);
    ASSERT_NE(testModel().rules[0].premises, nullptr);
    EXPECT_NE(testModel().rules[0].premises->next, nullptr);
    EXPECT_NE(testModel().rules[0].thenActions, nullptr);
    EXPECT_EQ(testModel().rules[1].name, nullptr);
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), ruleError("207: duplicate ID name r ", 3, "RULE r\n"));
}

TEST(RulesInAFile, ConditionAheadOfItsObjectIsRefusedAndAnActionIsNot) {
    const std::string head = getGeneral(5), network = getNetwork(5).substr(head.size());
    const OpenResult condition = openProject(head + "[CONTROL_RULES]\nRULE R\nIF JUNCTION J INFLOW > 1\n" + network);
    EXPECT_NE(condition.report.find("ERROR 209: undefined object J at line 10 of [CONTROL_RULES] section:"),
              std::string::npos)
        << condition.report;
    const OpenResult action =
        openProject(head + "[CONTROL_RULES]\nRULE R\nIF SWMM FLOW > 1\nTHEN PIPE C SETTING = 1\n" +
                    "AND SPLITTER SP VALUE = 1\n" + network);
    EXPECT_EQ(action.code, 0) << action.report;
}

TEST(RulesInAFile, NextProjectBeginsWithoutRulesOfTheLast) {
    EXPECT_EQ(openProject(getNetwork(5) + RulesSection + "RULE R\nIF JUNCTION J INFLOW > 1\n").code, 0);
    EXPECT_TRUE(testModel().rules.empty());
    EXPECT_EQ(openProject(getNetwork(5) + RulesSection + "RULE R\nAND JUNCTION J INFLOW > 1\n").report,
              ruleError("215: control rule clause invalid or out of sequence ", 2, "AND JUNCTION J INFLOW > 1\n"));
}
