// Warnings about objects that nothing names, and about ways of the water that can't be meant.

#include "warnings/cases.h"
#include "warnings/town.h"

// --- objects ---------------------------------------------------------------------------------------------------------

#define UNUSED_CASE(name, object, lines) WARNING_CASE(name, aTown() + lines, aTown(), object, object)

UNUSED_CASE("W-object-unused", "SPARE", "[TIMESERIES]\nSPARE 2024/06/18 0:00 1 1:00 1\n");
UNUSED_CASE("W-object-unused", "SPARE", "[PATTERNS]\nSPARE HOURLY 1 1 1\n");
UNUSED_CASE("W-object-unused", "SPARE", "[CURVES]\nSPARE TANK 0 1 1 1\n");
UNUSED_CASE("W-object-unused", "SPARE", "[LANDUSES]\nSPARE\n");
UNUSED_CASE("W-object-unused", "SPARE", "[LIDS]\nSPARE RB\nSPARE STORAGE 1000 1 0\n");
UNUSED_CASE(
    "W-object-unused", "SPARE",
    "[CONVERTERS]\nSPARE VORN_INFLUENT\nSPARE COD CONSTANT 1 1\nSPARE NH4 CONSTANT 1 1\nSPARE NO3 CONSTANT 1 1\n"
    "SPARE TP CONSTANT 1 1\nSPARE TSS CONSTANT 1 1\nSPARE ALK CONSTANT 1 1\n");
UNUSED_CASE("W-gage-unused", "SPARE", "[RAINGAGES]\nSPARE INTENSITY 0:10 RAIN\n");
UNUSED_CASE("W-pollutant-unused", "SPARE", "[POLLUTANTS]\nSPARE 0\n");
// What serves in another place than in an inflow.
WARNING_CASE("W-object-unused", aTown() + "[PATTERNS]\nSPARE HOURLY 1 1 1\n",
             aTown() + "[PATTERNS]\nSPARE HOURLY 1 1 1\n[DECAY_COEFFICIENT]\nP1 LINK COD FIRST 0.3 SPARE\n", "SPARE",
             "SPARE");
WARNING_CASE("W-gage-unused", aTown() + "[RAINGAGES]\nSPARE INTENSITY 0:10 RAIN\n",
             aTown() +
                 "[RAINGAGES]\nSPARE INTENSITY 0:10 RAIN\n[CONTROL_RULES]\nRULE R\nIF GAGE SPARE EVENT = IN\n"
                 "THEN ORIFICE O1 SETTING = 1\n",
             "SPARE", "SPARE");
WARNING_CASE("W-pollutant-unused", aTown() + "[POLLUTANTS]\nSPARE 0\n",
             aTown() + "[POLLUTANTS]\nSPARE 0\n[INITIAL_CONCENTRATION]\nPOND 0 SPARE 3\n", "SPARE", "SPARE");

// --- order and loops -------------------------------------------------------------------------------------------------

/// Two ways lead from A to B, so that the paths are as many as the nodes.
static std::string aFork(const std::string& more) {
    return aDay(
        "[JUNCTIONS]\nA\nB\nC\nD\nE\n[SPLITTERS]\nS L2 RATIO 0.5\n[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\n"
        "L1 A S NO 0\nL2 S C NO 0\nL3 S D NO 0\nL4 C B NO 0\nL5 D B NO 0\nL6 B O1 NO 0\n" +
        more + "[INFLOWS]\nA FLOW FLOW 0.02 \"\" 0\n");
}

// E runs into itself: no head leads there.
WARNING_CASE("W-node-unreached", aFork("L7 E E NO 0\n[JUNCTIONS]\nF\n[CONNECTIONS]\nL8 F O2 NO 0\n"),
             aFork("L7 E O2 NO 0\n[JUNCTIONS]\nF\n[CONNECTIONS]\nL8 F O2 NO 0\n"), "E", "E");

/// A recycle from the splitter S back to A, whose own line comes first or last.
static std::string aRecycle(bool isFirst, const std::string& back = "BACK S A YES 0\n") {
    return aDay("[JUNCTIONS]\nA\nHEAD\n[SPLITTERS]\nS BACK RATIO 0.2\n[OUTFALLS]\nO1\n[CONNECTIONS]\n" +
                (isFirst ? back : "") + "L1 HEAD A NO 0\nL2 A S NO 0\nL3 S O1 NO 0\n" + (isFirst ? "" : back) +
                "[INFLOWS]\nHEAD FLOW FLOW 0.02 \"\" 0\n");
}

WARNING_CASE("W-node-order", aRecycle(true), aRecycle(false), "L1", "L1");
WARNING_CASE("W-lagged-pipe", aRecycle(false, "[PIPES]\nBACK S A YES 180 1 0.2 0\n"), aRecycle(false), "BACK", "YES");

/// A reactor that empties into the node that takes its surplus as well, with another inflow there from behind it.
static std::string aBasin(const std::string& emptying) {
    return aDay(
        "[JUNCTIONS]\nHEAD\nX\n[REACTORS]\nR1 CSTR X FLOW_CAPACITY 2000 100 50 50\nR2 CSTR X FLOW_CAPACITY 2000 100 50 "
        "50\n"
        "[OUTFALLS]\nO1\nO2\n[CONNECTIONS]\nL1 HEAD R1 NO 0\nL2 R1 R2 NO 0\nL3 R2 O1 NO 0\nL4 X O2 NO 0\n"
        "[REACTORS_EMPTYING]\nR1 " +
        emptying + " 5 0 0 \"\"\n[INFLOWS]\nHEAD FLOW FLOW 0.02 \"\" 0\n");
}

WARNING_CASE("W-discharge-order", aBasin("X"), aBasin("O1"), "R2", "R2");

static std::string aRing(const std::string& last) {
    return aDay("[JUNCTIONS]\nHEAD\nA\nB\nC\n[OUTFALLS]\nO1\n[CONNECTIONS]\nL1 HEAD A NO 0\nL2 A B NO 0\n" + last +
                "L4 C O1 NO 0\n[INFLOWS]\nHEAD FLOW FLOW 0.02 \"\" 0\nC FLOW FLOW 0.02 \"\" 0\n");
}

WARNING_CASE("W-lagged-loop", aRing("L3 B A YES 0\n"), aRing("L3 B C NO 0\n"), "L3", "L3");
WARNING_CASE("W-lagged-loop",
             aDay("[JUNCTIONS]\nHEAD\nA\n[REACTORS]\nR1 CSTR A FLOW_CAPACITY 2000 100 50 50\n[CONNECTIONS]\n"
                  "L1 HEAD R1 NO 0\nL2 R1 HEAD YES 0\nL3 A HEAD YES 0\n[INFLOWS]\nHEAD FLOW FLOW 0.02 \"\" 0\n"),
             aRecycle(false), "L2", "L2");

// --- what comes in, and what gets out --------------------------------------------------------------------------------

static std::string aLine(const std::string& inflow, const std::string& link) {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n" + link + "\n[DWFS]\nJ1 FLOW " + inflow + " \"\"\n");
}

WARNING_CASE("W-node-idle", aTown() + "[JUNCTIONS]\nIDLE\n[CONNECTIONS]\nL9 IDLE LOW NO 0\n",
             aTown() + "[JUNCTIONS]\nIDLE\n[CONNECTIONS]\nL9 IDLE LOW NO 0\n[DWFS]\nIDLE FLOW 0.01 \"\"\n", "IDLE",
             "IDLE");
WARNING_CASE("W-node-idle", aTown() + "[JUNCTIONS]\nIDLE\n[CONNECTIONS]\nL9 IDLE LOW NO 0\n",
             aTown() + "[JUNCTIONS]\nIDLE\n[CONNECTIONS]\nL9 IDLE LOW NO 0\n[LID_GROUPS]\nS1 CELL 10 1 0 1 IDLE\n",
             "IDLE", "IDLE");
WARNING_CASE("W-tank-closed", aTown() + "[TANKS]\nSHUT SHAPE 4 0\n[INFLOWS]\nSHUT FLOW FLOW 0.01 \"\" 0\n",
             aTown() +
                 "[TANKS]\nSHUT SHAPE 4 0\n[ORIFICES]\nO9 SHUT WORKS NO CIRCULAR 0.6 0 0.2\n"
                 "[INFLOWS]\nSHUT FLOW FLOW 0.01 \"\" 0\n",
             "SHUT", "SHUT");
WARNING_CASE("W-capacity", aLine("0.5", "[PIPES]\nP1 J1 O1 NO 180 2 0.2 0.3"),
             aLine("0.2", "[PIPES]\nP1 J1 O1 NO 180 2 0.2 0.3"), "P1", "P1");
// DN 300 at 0.5 % and n 0.013 carries 0.0684 m3/s when full (Manning).
WARNING_CASE("W-capacity", aLine("0.075", "[CONDUITS]\nC1 J1 O1 NO 900 0.5 0.013 CIRCULAR 0.3"),
             aLine("0.073", "[CONDUITS]\nC1 J1 O1 NO 900 0.5 0.013 CIRCULAR 0.3"), "C1", "C1");
// 1 m by 0.5 m: R = 0.25 m without the roof, 0.5 x 0.25^(2/3) x 0.0707 / 0.013 = 1.079 m3/s.
WARNING_CASE("W-capacity", aLine("1.09", "[CONDUITS]\nC1 J1 O1 NO 900 0.5 0.013 RECTANGULAR 0.5 1"),
             aLine("1.07", "[CONDUITS]\nC1 J1 O1 NO 900 0.5 0.013 RECTANGULAR 0.5 1"), "C1", "C1");

// --- tanks -----------------------------------------------------------------------------------------------------------

WARNING_CASE("W-tank-start", aTownWith("SHAPE 4 0.2", "SHAPE 4 4.2"), aTown(), "TANK", "TANK");
WARNING_CASE("W-tank-volume", aTownWith("TANK 0 250 5 250", "TANK 0 0 5 0"),
             aTownWith("TANK 0 250 5 250", "TANK 0 0 5 9"), "TANK", "TANK");
WARNING_CASE("W-pump-idle", aTownWith("0.3 0.03 4 0.04", "0.3 0 4 0"), aTownWith("0.3 0.03 4 0.04", "0.3 0 4 0.04"),
             "U1", "U1");
// A flow between depths without one.
WARNING_CASE("W-pump-idle", aTownWith("0.3 0.03 4 0.04", "0.3 0 4 0"),
             aTownWith("0.3 0.03 4 0.04", "0.3 0 1.1 0 2 0.04 3 0 4 0"), "U1", "U1");
// A flow below the shut-off depth and above the rim alone.
WARNING_CASE("W-pump-idle", aTownWith("0.3 0.03 4 0.04", "0.3 0.03 1 0 4 0 5 0.1"),
             aTownWith("0.3 0.03 4 0.04", "0.3 0.03 1 0 3.9 0 5 0.1"), "U1", "U1");
WARNING_CASE("W-outlet-high", aTownWith("1.8 6 3.2 0.4", "1.8 6 4 0.4"), aTown(), "W1", "W1");
WARNING_CASE("W-outlet-high", aTownWith("OFF 1.5 1.1", "OFF 4.5 1.1"), aTown(), "U1", "U1");
WARNING_CASE("W-outlet-high", aTownWith("0.61 0.5 0.3", "0.61 5.1 0.3"), aTown(), "O2", "O2");
WARNING_CASE("W-outlet-order",
             aTownWith("0.62 0 0.25", "0.62 0.7 0.25") + "[ORIFICES]\nO3 TANK WORKS NO CIRCULAR 0.6 0.5 0.2\n",
             aTownWith("0.62 0 0.25", "0.62 0.7 0.25") + "[ORIFICES]\nO3 TANK WORKS NO CIRCULAR 0.6 0.6 0.2\n", "TANK",
             "TANK");
WARNING_CASE("W-outlet-order", aTown() + "[WEIRS]\nW3 TANK AFTER NO TRIANGULAR 1.39 1 3.40000000001 0\n",
             aTown() + "[WEIRS]\nW3 TANK AFTER NO TRIANGULAR 1.39 1 3.4 0\n", "TANK", "TANK");

// --- land ------------------------------------------------------------------------------------------------------------

WARNING_CASE("W-coverage-sum", aTownWith("LIVING 100", "LIVING 0.9"), aTown(), "S1", "S1");
WARNING_CASE("W-coverage-sum", aTown() + "[LANDUSES]\nMORE\n[COVERAGES]\nS1 MORE 20\n",
             aTownWith("LIVING 100", "LIVING 80") + "[LANDUSES]\nMORE\n[COVERAGES]\nS1 MORE 20\n", "S1", "S1");
WARNING_CASE("W-coverage-rest", aTownWith("LIVING 100", "LIVING 60"), aTown(), "S1", "S1");
WARNING_CASE("W-horton-limit", aTownWith("4.2 7 0", "4.2 7 40"), aTownWith("4.2 7 0", "4.2 7 50"), "S1", "40");
// 0.4 of 200 mm by 300 h^0.5: 2 x 0.4 x 14.1 / 300 x 0.9 = 0.034 h.
WARNING_CASE("W-lid-emptying", aTownWith("DRAIN 3 0.5 100", "DRAIN 300 0.5 100"), aTown(), "CELL", "CELL");
WARNING_CASE("W-lid-emptying", aTownWith("300 0.67 3\nCELL DRAIN 3 0.5", "300 0.67 0\nCELL DRAIN 0.01 0.5"), aTown(),
             "CELL", "CELL");
