// Tanks with their outlets, conduits, reactors, splitters and rules: each in a project of its own, under a wave.

#include "host.h"
#include "text.h"
#include "town.h"

namespace {

constexpr const char* WAVE =
    "[TIMESERIES]\nS 2024/05/05 0:00 0 12:00 0\nS 2024/05/06 0:00 0.2 0:20 1 0:50 0.1 2:00 2 2:30 0.3 9:00 0.1\n"
    "C 2024/05/05 0:00 50 12:00 50\nC 2024/05/06 0:30 120 1:30 20 3:00 70 9:00 10\n";

std::string begin(int steps = 240, const char* options = "") {
    return "[GENERAL]\n" + general({steps, 60, 60, 60, false, 0}) + options +
           "[POLLUTANTS]\nA 0\nB 0\n[EVAPORATION]\nCONSTANT 5\n";
}

std::string feed(const std::string& node, const char* share) {
    return "[INFLOWS]\n" + node + " FLOW FLOW 0.01 S " + share + "\n" + node + " CONCEN A 0 C 1\n" + node +
           " MASS B 0.0003 S 0.001\n";
}

struct TankText {
    std::string curve = "BASIN";
    std::string depths = "2 0.4";
    std::string outlets;  ///< sections of links from T to O1 and O2
    const char* share = "0.08";
    std::string more;
};

std::string makeTank(const TankText& tank) {
    return begin() + "[TANKS]\nT " + tank.curve + " " + tank.depths + "\n[OUTFALLS]\nO1\nO2\n" + tank.outlets +
           "[INITIAL_CONCENTRATION]\nT 0 A 30\nT 0 B 5\n[DECAY_COEFFICIENT]\nT NODE A FIRST 15 DAY\n" +
           feed("T", tank.share) + WAVE + town_getTables() + tank.more;
}

void addTanks(std::vector<Case>& cases) {
    const std::string weirs =
        "[WEIRS]\nW1 T O1 NO RECTANGULAR 1.86 0.3 0.5 0.3\nW2 T O2 NO TRIANGULAR 1.4 1 0.35 0.2\n";
    const std::string orifices =
        "[ORIFICES]\nR1 T O1 NO CIRCULAR 0.62 0 0.2\nR2 T O2 NO RECTANGULAR 0.6 0.5 0.2 0.3\n"
        "R3 T O2 NO CIRCULAR 0.65 0.5 0.15\nR4 T O1 NO RECTANGULAR 0.6 0.2 0.1 0.1\n";
    const std::string pumps =
        "[PUMPS]\nP1 T O1 STEPS NO OFF 0.9 0.3\nP2 T O2 RISE NO OFF 1.3 0.6\nP3 T O1 RISE NO ON 0 0.2\n"
        "P4 T O2 STEPS NO OFF 1.2 0\n";
    cases_add(cases, "tank-weirs", makeTank({"BASIN", "2 0.4", weirs, "0.08", ""}));
    cases_add(cases, "tank-orifices", makeTank({"FUNNEL", "2 0.4", orifices, "0.1", ""}));
    cases_add(cases, "tank-pumps", makeTank({"BASIN", "2 0.4", pumps, "0.12", ""}));
    cases_add(
        cases, "tank-pumps-reversed",
        makeTank({"POND", "1.5 1.2", "[PUMPS]\nP1 T O1 RISE NO ON 0.9 0.5\nP2 T O2 STEPS NO ON 0 1.1\n", "0.1", ""}));
    cases_add(cases, "tank-all-outlets", makeTank({"POND", "1.2 1.5", weirs + orifices + pumps, "0.3", ""}));
    cases_add(cases, "tank-overflow", makeTank({"FUNNEL", "0.8 0.9", weirs, "0.6", ""}));
    cases_add(cases, "tank-no-depth", makeTank({"BASIN", "0 0.5", pumps + orifices, "0.1", ""}));
    cases_add(cases, "tank-drained",
              makeTank({"BASIN", "2 1", orifices, "-0.04", "[INFLOWS]\nT FLOW FLOW -0.02 \"\" 0\n"}));
}

// --- conduits ------------------------------------------------------------------------------------------------------

std::string makeConduits(const std::vector<std::string>& shapes, const char* share, const char* options) {
    Sections sections;
    for (const char* section : {"JUNCTIONS", "CONDUITS", "DECAY_COEFFICIENT", "INFLOWS"}) {
        sections[section];
    }
    for (size_t k = 0; k < shapes.size(); ++k) {
        const std::string node = name("J", static_cast<int>(k)), id = name("C", static_cast<int>(k));
        sections["JUNCTIONS"] << node << "\n";
        sections["CONDUITS"] << id << " " << node << " O NO " << shapes[k] << "\n";
        sections["INFLOWS"] << feed(node, share).substr(10);
        sections["DECAY_COEFFICIENT"] << id << " LINK A FIRST 20 DAY\n";
    }
    return begin(240, options) + "[OUTFALLS]\nO\n" + sections.text() + WAVE + town_getTables() +
           "[CURVES]\nCLOSED TRANSECT 0 0 1 1 2 2\n";
}

void addConduits(std::vector<Case>& cases) {
    cases_add(cases, "conduits-circular",
              makeConduits({"200 0.3 0.013 CIRCULAR 0.3", "90 0.1 0.015 CIRCULAR 0.5", "400 0.5 0.013 CIRCULAR 1.2",
                            "30 2 0.012 CIRCULAR 0.4"},
                           "0.1", ""));
    cases_add(cases, "conduits-rectangular",
              makeConduits({"200 0.3 0.013 RECTANGULAR 0.2 0.3", "90 0.1 0.03 RECTANGULAR 0.6 0.4",
                            "400 0.4 0.014 RECTANGULAR 1 2", "25 3 0.012 RECTANGULAR 0.5 0.2"},
                           "0.08", "CONDUIT_LENGTHENING 60\n"));
    cases_add(cases, "conduits-irregular",
              makeConduits(
                  {"300 0.3 0.03 IRREGULAR DITCH", "150 0.2 0.025 IRREGULAR CHANNEL", "220 0.4 0.04 IRREGULAR TERRACE",
                   "200 0.2 0.03 IRREGULAR CLOSED", "200 0.2 0.03 IRREGULAR BASIN"},
                  "0.6", ""));
}

// --- reactors and splitters ----------------------------------------------------------------------------------------

std::string makeReactor(const char* line, const char* laws, const char* emptying, const char* rules = "") {
    return begin() + "[OUTFALLS]\nO\nSURPLUS\nFIELD\n[REACTORS]\nR " + line + "\n[PIPES]\nP R O NO 120 1 0.2 0\n" +
           "[REACTORS_DECAY]\n" + laws + "[REACTORS_EMPTYING]\n" + emptying +
           "[INITIAL_CONCENTRATION]\nR 0 A 40\nR 0 B 9\n" + "[CONTROL_RULES]\n" + rules + feed("R", "0.06") + WAVE +
           town_getTables();
}

void addReactors(std::vector<Case>& cases) {
    const char* const switching =
        "RULE ON\nIF REACTOR R FILL > 0.8\nTHEN REACTOR R EMPTYING = YES\n"
        "RULE OFF\nIF REACTOR R FILL < 0.4\nTHEN REACTOR R EMPTYING = NO\n";
    cases_add(cases, "reactor-stirred",
              makeReactor("CSTR SURPLUS FLOW_CAPACITY 4000 150 120 30", "R A FIRST 20 MONTHS\nR B ZERO 30 \"\"\n",
                          "R FIELD 60 15 8 MONTHS\n", switching));
    cases_add(cases, "reactor-stirred-full",
              makeReactor("CSTR SURPLUS SURFACE_LOADING 12 80 90 100", "R A ZERO 200 MONTHS\n",
                          "R FIELD 90 200 60 DAY\n", switching));
    cases_add(cases, "reactor-plug",
              makeReactor("PFR SURPLUS FLOW_CAPACITY 3500 0.7 200", "R A FIRST 30 MONTHS\nR B CONST_RATIO 0.4 MONTHS\n",
                          "R FIELD 60 15 8 MONTHS\n"));
    cases_add(
        cases, "reactor-plug-constant",
        makeReactor("PFR SURPLUS SURFACE_LOADING 25 0.25 200", "R A CONST_CONCEN 45 \"\"\nR B ZERO 900 MONTHS\n", ""));
    std::string splitters =
        begin() +
        "[SPLITTERS]\nA1 P1 FLOW 0.03\nA2 C1 RATIO 0.35\nA3 P3 FLOW_RATIO 0.02 0.4\nA4 P4 FLOW_RATIO 0.01 -0.2\n" +
        "[OUTFALLS]\nO\n[PIPES]\nP1 A1 A2 NO 120 1 0.2 0\nP2 A2 O NO 120 2 0.1 0\nP3 A3 A4 NO 60 1 0 0\n" +
        "P4 A4 O NO 180 1 0.3 0\n[CONNECTIONS]\nC0 A1 A3 NO 45\nC1 A2 O NO 0\nC3 A3 O NO 60\nC4 A4 O NO 20\n";
    splitters +=
        "[CONTROL_RULES]\nRULE A\nIF SPLITTER A1 INFLOW > 0.1\nTHEN SPLITTER A1 VALUE = 0.06\nAND SPLITTER A2 VALUE = "
        "1.3\n"
        "ELSE SPLITTER A1 VALUE = 0.03\n";
    cases_add(cases, "splitters", splitters + feed("A1", "0.09") + WAVE);
}

// --- rules ---------------------------------------------------------------------------------------------------------

/// A chain with an object of every kind that rules can ask or move.
std::string makeControlled(const std::string& rules) {
    return begin(240, "EVENT_INTERVAL 20\nEVENT_MIN_VALUE 0.2\n") +
           "[RAINGAGES]\nG INTENSITY 0:10 RAIN\nG2 VOLUME 0:05 RAIN2\n[SUBCATCHS]\n"
           "S1 G J 0.8 90 70 1 0.013 0.2 1 3 40 4 4 5 0\nS2 G2 J 0.2 50 70 1 0.013 0.2 1 3 40 4 4 5 0\n"
           "[JUNCTIONS]\nJ\n[SPLITTERS]\nSP CN RATIO 0.7\n[TANKS]\nT BASIN 2 0.6\n[LID_MONOS]\nM CELL G 200 5 10 100\n"
           "[OUTFALLS]\nO\nO2\n[REACTORS]\nR CSTR O2 FLOW_CAPACITY 3000 60 50 20\n"
           "[PIPES]\nP J SP NO 120 1 0.2 0.05\nPX M O NO 60 1 0 0\n[CONNECTIONS]\nCN SP T NO 60\nCR R M NO 0\n"
           "[CONDUITS]\nD SP O2 NO 150 0.2 0.015 CIRCULAR 0.5\n[PUMPS]\nPU T R STEPS NO OFF 1.2 0.4\n"
           "[WEIRS]\nW T O2 NO RECTANGULAR 1.8 0.6 1 0.5\n[ORIFICES]\nOR T M NO CIRCULAR 0.62 0.1 0.15\n"
           "[REACTORS_EMPTYING]\nR O 40 10 5 \"\"\n[CONTROL_RULES]\n" +
           rules + feed("J", "0.04") + WAVE +
           "RAIN 2024/05/06 0:00 3 0:10 20 0:20 35 0:30 10 0:40 0 0:50 0 1:00 0 1:10 0 1:20 15 1:30 4 1:40 0\n"
           "RAIN2 2024/05/06 0:00 0.5 0:05 1 0:10 0 0:15 0 2:00 1.5 2:05 0\n" +
           town_getTables() + town_getLids();
}

void addRules(std::vector<Case>& cases) {
    const std::string all[] = {
        "RULE A\nIF JUNCTION J INFLOW > 0.05\nAND GAGE G EVENT = IN\nTHEN PIPE P SETTING = 0.4\nELSE PIPE P STATUS = "
        "OPEN\n"
        "RULE B\nIF TANK T DEPTH >= 0.8\nOR TANK T INFLOW > 0.03\nAND PUMP PU STATUS <> ON\nTHEN PUMP PU SETTING = "
        "0.35\n"
        "AND WEIR W SETTING = 0.2\nELSE WEIR W SETTING = 1\nPRIORITY 2\n",
        "RULE A\nIF OUTFALL O INFLOW > 0.004\nTHEN ORIFICE OR SETTING = 0.3\nRULE B\nIF SPLITTER SP INFLOW >= 0.02\n"
        "THEN SPLITTER SP VALUE = 0.4\nELSE SPLITTER SP VALUE = 0.9\nRULE C\nIF LID_MONO M INFLOW <= 0.01\n"
        "THEN PUMP PU STATUS = ON\nRULE D\nIF CONDUIT D DEPTH > TANK T DEPTH\nOR CONDUIT D FLOW > 0.01\n"
        "THEN WEIR W SETTING = 0.6\nPRIORITY -1\n",
        "RULE A\nIF PIPE P FLOW < CONNECTION CN FLOW\nTHEN PIPE P STATUS = CLOSED\nRULE B\nIF REACTOR R FILL > 0.6\n"
        "AND REACTOR R INFLOW > 0\nTHEN REACTOR R EMPTYING = YES\nELSE REACTOR R EMPTYING = NO\nRULE C\n"
        "IF GAGE G2 EVENT = GAGE G EVENT\nTHEN WEIR W SETTING = 0.7\nRULE D\nIF WEIR W FLOW > 0.001\n"
        "OR ORIFICE OR FLOW > PUMP PU FLOW\nTHEN ORIFICE OR SETTING = 0.55\nAND ORIFICE OR SETTING = 0.25\n",
        "RULE A\nIF SWMM DEPTH > 1\nOR TANK T DEPTH < 1.1\nTHEN WEIR W SETTING = 0.9\nPRIORITY 1\nRULE B\n"
        "IF TANK T DEPTH < 1.1\nTHEN WEIR W SETTING = 0.1\nPRIORITY 1\nRULE C\nIF PUMP PU STATUS = PUMP PU STATUS\n"
        "THEN ORIFICE T SETTING = 0.1\nAND PIPE D SETTING = 0.2\nAND PIPE PU SETTING = 0.8\nPRIORITY 0.5\n"};
    int index = 0;
    for (const std::string& rules : all) {
        cases_add(cases, name("rules-", index++), makeControlled(rules));
    }
}

}  // namespace

void cases_addStorage(std::vector<Case>& cases) {
    addTanks(cases);
    addConduits(cases);
    addReactors(cases);
    addRules(cases);
}
