// Warnings about control rules that do something else than they say.

#include "warnings/cases.h"

static const std::string Network =
    "[CURVES]\nAREA TANK 0 20 5 20\n[JUNCTIONS]\nJ1\n[TANKS]\nT1 AREA 3 1\n[SPLITTERS]\nS1 P1 RATIO "
    "0.5\n[OUTFALLS]\nO1\n"
    "[ORIFICES]\nX1 T1 S1 NO CIRCULAR 0.6 0 0.1\n[PIPES]\nP1 S1 O1 NO 300 3 0.2 0\n[CONNECTIONS]\nC1 S1 R1 NO 60\n"
    "C2 R1 R2 NO 60\nC3 R2 R3 NO 60\nC4 R3 O1 NO 60\nC5 J1 T1 NO 60\n[REACTORS]\nR1 CSTR O1 FLOW_CAPACITY 5000 100 50 "
    "50\n"
    "R2 PFR O1 FLOW_CAPACITY 5000 2 50\nR3 CSTR O1 FLOW_CAPACITY 5000 100 50 50\n[REACTORS_EMPTYING]\nR3 O1 1 0 0 "
    "\"\"\n";

static std::string aProject(const std::string& rules) {
    return aDay(Network + "[CONTROL_RULES]\nRULE A\n" + rules + "\n");
}

static std::string anAction(const std::string& words) {
    return aProject("IF TANK T1 DEPTH > 2\nTHEN " + words);
}

static std::string aCondition(const std::string& words) {
    return aProject("IF " + words + "\nTHEN PIPE P1 SETTING = 0.5\nELSE PIPE P1 SETTING = 1");
}

static std::string someConditions(const std::string& lines) {
    return aProject("IF TANK T1 DEPTH > 2\n" + lines + "\nTHEN PIPE P1 SETTING = 0.5");
}

// --- actions ---------------------------------------------------------------------------------------------------------

WARNING_CASE("W-rule-target", anAction("PIPE C1 SETTING = 0.5"), anAction("PIPE P1 SETTING = 0.5"), "A", "C1");
WARNING_CASE("W-rule-target", anAction("SPLITTER J1 VALUE = 0.5"), anAction("SPLITTER S1 VALUE = 0.5"), "A", "J1");
WARNING_CASE("W-rule-target", anAction("REACTOR R1 EMPTYING = YES"), anAction("REACTOR R3 EMPTYING = YES"), "A", "R1");
WARNING_CASE("W-rule-target", anAction("REACTOR R2 EMPTYING = YES"), anAction("REACTOR R3 EMPTYING = YES"), "A", "R2");
WARNING_CASE("W-rule-type", anAction("PIPE X1 SETTING = 0.5"), anAction("ORIFICE X1 SETTING = 0.5"), "A", "PIPE");
WARNING_CASE("W-rule-type",
             aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONTROL_RULES]\nRULE A\nIF JUNCTION J1 INFLOW > 1\n"
                  "THEN PUMP P1 STATUS = OFF\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"),
             aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONTROL_RULES]\nRULE A\nIF JUNCTION J1 INFLOW > 1\n"
                  "THEN PIPE P1 STATUS = CLOSED\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"),
             "A", "PUMP");
WARNING_CASE("W-section-order",
             aDay("[JUNCTIONS]\nJ1\n[CONTROL_RULES]\nRULE A\nIF JUNCTION J1 INFLOW > 1\nTHEN SPLITTER S1 VALUE = 0.1\n"
                  "[SPLITTERS]\nS1 P1 RATIO 0.5\n[OUTFALLS]\nO1\n[PIPES]\nP1 S1 O1 NO 300 3 0.2 0\n"
                  "P2 S1 O1 NO 300 3 0.2 0\nP3 J1 S1 NO 300 3 0.2 0\n"),
             anAction("SPLITTER S1 VALUE = 0.1"), "A", "S1");
WARNING_CASE("W-value-limit", anAction("PIPE P1 SETTING = 1.5"), anAction("PIPE P1 SETTING = 1"), "A", "1.5");
WARNING_CASE("W-value-limit", anAction("SPLITTER S1 VALUE = -1"), anAction("SPLITTER S1 VALUE = 2"), "A", "-1");
WARNING_CASE("W-rule-relation", anAction("PIPE P1 SETTING >= 0.5"), anAction("PIPE P1 SETTING = 0.5"), "A", ">=");
WARNING_CASE("W-rule-twice", anAction("PIPE P1 SETTING = 0.5\nAND PIPE P1 SETTING = 0.7"),
             anAction("PIPE P1 SETTING = 0.5\nELSE PIPE P1 SETTING = 0.7"), "A", "-");
WARNING_CASE("W-rule-empty", aProject("IF TANK T1 DEPTH > 2"), anAction("PIPE P1 SETTING = 0.5"), "A", "-");
WARNING_CASE("W-words-unused", anAction("PIPE P1 SETTING = 0.5 m"), anAction("PIPE P1 SETTING = 0.5 // m"), "A", "m");

// --- conditions ------------------------------------------------------------------------------------------------------

WARNING_CASE("W-rule-condition", aCondition("SWMM FLOW > 0.5"), aCondition("PIPE P1 FLOW > 0.5"), "A", "SWMM");
WARNING_CASE("W-rule-condition", aCondition("REACTOR R2 FILL > 0.5"), aCondition("REACTOR R1 FILL > 0.5"), "A",
             "REACTOR");
WARNING_CASE("W-rule-condition", aCondition("REACTOR R1 FILL > REACTOR R2 FILL"),
             aCondition("REACTOR R1 FILL > REACTOR R3 FILL"), "A", "REACTOR");
WARNING_CASE("W-rule-condition", aCondition("TANK T1 DEPTH > -1e10"), aCondition("TANK T1 DEPTH > -1e9"), "A", "TANK");
WARNING_CASE("W-rule-condition", someConditions("AND SWMM FLOW > 0.5"), someConditions("AND TANK T1 DEPTH < 3"), "A",
             "SWMM");
WARNING_CASE("W-rule-equal", aCondition("PIPE P1 FLOW = 0.5"), aCondition("PIPE P1 FLOW = 0"), "A", "=");
WARNING_CASE("W-rule-equal", aCondition("TANK T1 DEPTH <> 0.5"), aCondition("TANK T1 DEPTH >= 0.5"), "A", "<>");
WARNING_CASE("W-rule-mixed", someConditions("AND PIPE P1 FLOW > 0.1\nOR REACTOR R1 FILL > 0.9"),
             someConditions("AND PIPE P1 FLOW > 0.1\nAND REACTOR R1 FILL > 0.9"), "A", "OR");
WARNING_CASE("W-rule-mixed", someConditions("OR PIPE P1 FLOW > 0.1\nAND REACTOR R1 FILL > 0.9"),
             someConditions("OR PIPE P1 FLOW > 0.1\nOR REACTOR R1 FILL > 0.9"), "A", "AND");
WARNING_CASE("W-rule-mixed", someConditions("AND PIPE P1 FLOW > 0.1\nOR REACTOR R1 FILL > 0.9"),
             someConditions("AND PIPE P1 FLOW > 0.1\nOR TANK T1 DEPTH > 2.5"), "A", "OR");
WARNING_CASE("W-words-unused", aCondition("TANK T1 DEPTH > 2 m"), aCondition("TANK T1 DEPTH > 2"), "A", "m");
WARNING_CASE("W-number-bytes", aCondition("TANK T1 DEPTH > 2\xC2\xA0m"), aCondition("TANK T1 DEPTH > 2"), "A", "-");
