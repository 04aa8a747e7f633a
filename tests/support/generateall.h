#pragma once
// Random projects with nodes and links of all kinds but outside models, land with LID units, rules, patterns, series in
// memory and in a file: for tests of what holds in all of them.

#include <random>
#include <string>

#include "support/generate.h"
#include "support/project.h"

// NOLINTBEGIN(performance-inefficient-string-concatenation): lines are easier to read as they stand

/// The series file that the projects name, with the rain of a gage and an inflow.
inline const std::string GeneratedSeriesFile =
    "2021/03/01 0:00 0\n2021/03/01 0:20 0.2\n2021/03/01 0:45 0.05\n2021/03/01 1:30 0.4\n2021/03/01 9:00 0\n";

/// A branch of the network, which ends in an outfall of its own: a junction feeds a tank with an outlet of each kind,
/// these a conduit, that a reactor; beside them a LID monomer and a lagged link.
struct GeneratedBranch {
    std::mt19937& random;
    int number;
    int pollutants;
    std::string text;

    int pick(int n) const { return static_cast<int>(random() % static_cast<unsigned>(n)); }
    std::string name(const char* kind) const { return kind + std::to_string(number); }

    void add(const std::string& section, const std::string& lines) { text += "[" + section + "]\n" + lines + "\n"; }

    void addStorage() {
        add("JUNCTIONS", name("JT") + "\n" + name("JO") + "\n" + name("JM"));
        add("TANKS", name("T") + " SHAPE " + std::to_string(2 + pick(3)) + " 0." + std::to_string(pick(9)));
        add("OUTFALLS", name("OX") + "\n" + name("OS"));
        add("CONNECTIONS", name("CT") + " " + name("JT") + " " + name("T") + " NO " + std::to_string(90 * pick(9)));
        add("ORIFICES",
            name("OR") + " " + name("T") + " " + name("JO") + " NO CIRCULAR 0.6 0." + std::to_string(pick(5)) + " 0.1");
        add("WEIRS", name("W") + " " + name("T") + " " + name("JO") + " NO RECTANGULAR 1.8 0.8 0.5 1");
        add("PUMPS",
            name("PU") + " " + name("T") + " " + name("JO") + " DUTY NO " + (pick(2) ? "ON" : "OFF") + " 0.6 0.2");
        const char* shapes[] = {"CIRCULAR 0.4", "RECTANGULAR 0.4 0.6", "IRREGULAR BED"};
        add("CONDUITS", name("D") + " " + name("JO") + " " + name("R") + " NO 400 0.2 0.013 " + shapes[pick(3)]);
    }
    void addTreatment() {
        const std::string ends = name("R") + (pick(2) ? " PFR " : " CSTR ") + name("OS");
        add("REACTORS", ends + " FLOW_CAPACITY " + std::to_string(2000 + pick(9000)) + " 2 50 40");
        add("REACTORS_EMPTYING", name("R") + " " + name("OS") + " 9 4 5 \"\"");
        add("PIPES", name("PX") + " " + name("R") + " " + name("OX") + " " + (pick(2) ? "YES" : "NO") + " 180 3 0.2 " +
                         (pick(2) ? "0.02" : "0"));
        add("LID_MONOS", name("M") + " LID" + std::to_string(pick(3)) + " GF 300 5 20 " +
                             std::to_string(50 + pick(51)) + (pick(2) ? " " + name("OS") : ""));
        add("PIPES", name("PM") + " " + name("JM") + " " + name("M") + " NO 120 2 0.1 0");
        add("CONNECTIONS", name("CM") + " " + name("M") + " " + name("OX") + (pick(2) ? " NO " : " YES ") + "200");
    }
    void addInflows() {
        add("DWFS", name("JT") + " FLOW 0.0" + std::to_string(1 + pick(9)) + " H0\n" + name("JM") + " FLOW 0.002 \"\"");
        add("INFLOWS", name("JT") + " FLOW FLOW 0.02 SF 0.1\n" + name("JM") + " FLOW FLOW 0 S0 0.0004");
        for (int p = 0; p < pollutants; ++p) {
            const std::string q = "Q" + std::to_string(p);
            add("DWFS", name("JT") + " " + q + " " + std::to_string(100 + pick(300)) + " H0");
            add("INFLOWS", name("JM") + " MASS " + q + " 0.0001 S0 0.00001\n");
            add("DECAY_COEFFICIENT", name("T") + " NODE " + q + " FIRST 4 H0\n" + name("D") + " LINK " + q +
                                         " FIRST 9 \"\"\n" + name("PX") + " LINK " + q + " FIRST 9 H0");
            add("REACTORS_DECAY", name("R") + " " + q + " FIRST 24 \"\"");
            add("INITIAL_CONCENTRATION", name("T") + " 0 " + q + " 40\n" + name("R") + " 0 " + q + " 25");
        }
    }
    void addRules() {
        add("CONTROL_RULES", "RULE " + name("A") + "\nIF TANK " + name("T") + " DEPTH > 0.7\nTHEN WEIR " + name("W") +
                                 " SETTING = 0.8\nAND PIPE " + name("PX") + " SETTING = 0.6\nELSE WEIR " + name("W") +
                                 " SETTING = 0.2\nPRIORITY 2\nRULE " + name("B") + "\nIF REACTOR " + name("R") +
                                 " FILL > 0.5\nTHEN REACTOR " + name("R") + " EMPTYING = YES\nELSE REACTOR " +
                                 name("R") + " EMPTYING = NO\nRULE " + name("C") +
                                 "\nIF GAGE G EVENT = IN\nTHEN ORIFICE " + name("OR") + " SETTING = 0.5");
    }
};

/// Three subcatchments with land uses, and LID units on two of them.
inline std::string generateLand(std::mt19937& random, int pollutants) {
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    std::string text =
        "[EVAPORATION]\nCONSTANT 4\n[RAINGAGES]\nG INTENSITY 0:10 RAIN\nG2 INTENSITY 0:10 RAIN\nGF VOLUME 0:10 RAINF\n"
        "[SUBCATCHS]\nS G N0 2 90 40 1 0.012 0.1 1 3 40 6 4 5 30\nU GF N1 1 60 70 2 0.012 0.1 1 3 30 5 4 5 0\n"
        "V G2 N2 0.5 20 10 1 0.015 0.2 1 5 25 3 4 7 0\n"
        "[LIDS]\nLID0 BC\nLID0 SURFACE 150 0.1 0.1 1 0\nLID0 SOIL 500 0.45 0.2 0.1 40 10\nLID0 STORAGE 300 0.67 3\n"
        "LID0 DRAIN 3 0.5 100\nLID1 RB\nLID1 STORAGE 900 1 0\nLID1 DRAIN 5 0.5 0\nLID2 VS\n"
        "LID2 SURFACE 200 0.1 0.2 1 3\nLID3 PP\nLID3 SURFACE 5 0.1 0.1 1 0\nLID3 PAVEMENT 100 0.25 360\n"
        "LID3 STORAGE 300 0.67 2\nLID3 DRAIN 2 0.5 50\nLID4 GR\nLID4 SOIL 120 0.5 0.25 0.1 36 10\n"
        "LID4 SURFACE 30 0 0.1 1 0\nLID4 DRAINMAT 25 0.5 0.1\n";
    for (const char* subcatch : {"S", "U"}) {
        for (int k = 0; k < 1 + pick(2); ++k) {
            text += std::string("[LID_GROUPS]\n") + subcatch + " LID" + std::to_string(pick(5)) + " " +
                    std::to_string(200 + pick(900)) + " 10 " + std::to_string(pick(60)) + " " +
                    std::to_string(10 + pick(30)) + (pick(2) ? " N1" : "") + "\n";
        }
    }
    text += "[LANDUSES]\nROAD\nROOF\n[COVERAGES]\nS ROAD 60\nS ROOF 40\nU ROOF 100\nV ROAD 100\n";
    for (int p = 0; p < pollutants; ++p) {
        const std::string q = "Q" + std::to_string(p);
        text += "[BUILDUP]\nROAD " + q + " 40 0.4\nROOF " + q + " 10 0.4\n[WASHOFF]\nROAD " + q +
                " EXP 0.4 1.2 0.1\nROOF " + q + " EMC 12 YES 0\n[LOADINGS]\nS " + q + " 20\n";
    }
    return text + "[TIMESERIES]\nRAIN 2021/03/01 0:00 0 0:10 " + std::to_string(5 + pick(60)) +
           " 0:40 12 0:50 0 1:20 25 2:00 3\nRAINF FILE rain.txt\n";
}

/// Options of two to five hours; steps that divide each other, and steps that don't.
inline std::string generateOptions(std::mt19937& random) {
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const char* steps[] = {"ROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\nREPORT_STEP 0:05:00\n",
                           "ROUTING_STEP 0:00:45\nRUNOFF_STEP 0:04:00\nREPORT_STEP 0:07:00\n",
                           "ROUTING_STEP 0:00:50\nRUNOFF_STEP 0:02:00\nREPORT_STEP 0:01:40\n"};
    return "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME " + std::to_string(2 + pick(3)) + ":0" +
           std::to_string(pick(10)) + ":20\nSTART_DRY_DAYS 3\n" + steps[pick(3)] + "REPORT_AVERAGE " +
           (pick(2) ? "YES" : "NO") + "\nLID_MONO_RAINFALL " + (pick(2) ? "YES" : "NO") + "\n";
}

/// The whole project. Files "series.txt" and "rain.txt" belong into its folder.
inline std::string generateProject(unsigned seed) {
    std::mt19937 random(seed + 1000);
    const int pollutants = static_cast<int>(seed % 3);
    std::string text = generateOptions(random) + generateNetwork(seed, 4 + static_cast<int>(random() % 20), pollutants);
    text +=
        "[CURVES]\nSHAPE TANK 0 20 2 60 6 90\nDUTY PUMP2 0 0.01 1 0.03 6 0.05\n"
        "BED TRANSECT 0 2 1 0.4 2 0 3 0.5 4 2\n[TIMESERIES]\nSF FILE series.txt\n" +
        generateLand(random, pollutants);
    for (int k = 0; k < 1 + static_cast<int>(random() % 3); ++k) {
        GeneratedBranch branch{random, k, pollutants, ""};
        branch.addStorage();
        branch.addTreatment();
        branch.addInflows();
        branch.addRules();
        text += branch.text;
    }
    return text;
}
// NOLINTEND(performance-inefficient-string-concatenation)
