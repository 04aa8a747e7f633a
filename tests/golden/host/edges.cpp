// Values that lie exactly on a limit, where "below" and "at most" part ways.

#include <cmath>

#include "host.h"
#include "text.h"
#include "town.h"

namespace {

/// Levels of everything that starts, stops or overflows in the tank, a little below and above them, and some between.
std::vector<double> listLevels() {
    const double marks[] = {0.0, 0.1, 0.2,       0.3,       0.4, 0.5,       0.8, 0.9,
                            1.0, 1.2, 0.1 + 0.2, 0.5 + 0.2, 1.6, 1.6 + 0.3, 2.0, 0.5 + 0.15};
    std::vector<double> levels;
    for (const double mark : marks) {
        for (const double level :
             {mark, std::nextafter(mark, 9.0), std::nextafter(mark, 0.0), mark + 1e-5, mark - 1e-5}) {
            levels.push_back(level);
        }
    }
    return levels;
}

void script_setLevels(Host& host) {
    host.objects = {{3, "T"}, {9, "P1"}, {9, "P2"}, {12, "W1"}, {12, "W2"}, {13, "R1"}, {13, "R2"}, {13, "R3"}};
    host.pollutants = 1;
    CALL(open, "model.inp", "model.rpt", "model.bin");
    CALL(start, TARNVELDE_SAVE_BINARY);
    double days = 1.0;
    for (const double level : listLevels()) {
        CALL(setTankDepth, "T", level);
        CALL(step, &days);
        host_look(host);
    }
    CALL(report);
    CALL(end);
    CALL(close);
}

/// `outlets` in sections; upright walls, no inflow.
std::string makeTank(const std::string& depth, const std::string& outlets) {
    return "[GENERAL]\n" + general({100, 60, 60, 60, false, 0}) + "[POLLUTANTS]\nA 0\n[TANKS]\nT WALLS " + depth +
           "\n[OUTFALLS]\nO1\nO2\n" + outlets +
           "[CURVES]\nWALLS TANK 0 50 9 50\n[INITIAL_CONCENTRATION]\nT 0 A 30\n[DECAY_COEFFICIENT]\n"
           "T NODE A FIRST 15 \"\"\n[CONTROL_RULES]\nRULE A\nIF TANK T DEPTH >= 0.5\nAND TANK T DEPTH <= 0.9\n"
           "OR TANK T DEPTH = 1.6\nTHEN WEIR W1 SETTING = 0.5\nELSE WEIR W1 SETTING = 1\nRULE B\nIF TANK T DEPTH > "
           "1.2\n"
           "OR TANK T DEPTH < 0.2\nOR TANK T DEPTH <> TANK T DEPTH\nTHEN ORIFICE R1 SETTING = 0.4\n" +
           town_getTables();
}

void addTanks(std::vector<Case>& cases) {
    const std::string openings =
        "[WEIRS]\nW1 T O1 NO RECTANGULAR 1.8 0.1 1.6 0.3\nW2 T O2 NO TRIANGULAR 1.4 1 1 0.2\n[ORIFICES]\n"
        "R1 T O1 NO CIRCULAR 0.62 0.1 0.2\nR2 T O2 NO RECTANGULAR 0.6 0.5 0.2 0.1\nR3 T O2 NO CIRCULAR 0.65 0.5 0.15\n";
    const auto add = [&](const char* name, const std::string& depth, const std::string& outlets) {
        cases_add(cases, name, makeTank(depth, outlets), script_setLevels);
    };
    add("edges-pumps", "2 0.8", "[PUMPS]\nP1 T O1 STEPS NO OFF 0.9 0.3\nP2 T O2 STEPS NO ON 0 0.5\n" + openings);
    add("edges-openings", "2 0.5", "[PUMPS]\nP1 T O1 RISE NO OFF 1.2 0.4\n" + openings);
    // Each pump alone, so that the depth is still the one set when its curve is asked.
    add("edges-steps", "2 0.2",
        "[PUMPS]\nP1 T O1 STEPS NO ON 0.9 0.3\nP2 T O2 RISE NO ON 0 0\n[WEIRS]\nW1 T O1 NO RECTANGULAR 1.8 1 9 "
        "0\n[ORIFICES]\n"
        "R1 T O1 NO CIRCULAR 0.6 9 1\n");
    // Crests that are nearly the same, and levels out of their order.
    add("edges-levels", "2 0.5",
        "[PUMPS]\nP1 T O1 RISE NO OFF 1.2 0.4\nP2 T O2 RISE NO OFF 0 0\n[WEIRS]\nW1 T O1 NO RECTANGULAR 1.8 0.1 1 0\n"
        "W2 T O2 NO TRIANGULAR 1.4 1 0.99999999999 0\nW3 T O2 NO RECTANGULAR 1.4 0.2 1.2 0\n"
        "W4 T O2 NO RECTANGULAR 1.4 0.3 0.8 0.2\n[ORIFICES]\nR1 T O1 NO CIRCULAR 0.62 0.30000000000004 0.2\n"
        "R2 T O2 NO RECTANGULAR 0.6 0.30000000000002 0.2 0.1\nR3 T O2 NO CIRCULAR 0.65 0.3 0.15\n"
        "R4 T O1 NO CIRCULAR 0.65 0.1 0.05\nR5 T O1 NO CIRCULAR 0.65 0.2 0.05\nR6 T O1 NO CIRCULAR 0.6 0.5 0.05\n");
    // Nothing takes water but the flood.
    add("edges-flood", "2 2.5",
        "[PUMPS]\nP1 T O1 STEPS NO OFF 0 0\nP2 T O2 RISE NO OFF 0 0\n[WEIRS]\nW1 T O1 NO RECTANGULAR 1.8 1 9 "
        "0\n[ORIFICES]\n"
        "R1 T O1 NO CIRCULAR 0.6 9 1\n");
    add("edges-no-depth", "0 0.5",
        "[PUMPS]\nP1 T O1 STEPS NO ON 0 0\nP2 T O2 RISE NO ON 0 0\n[WEIRS]\nW1 T O1 NO RECTANGULAR 1.8 1 0 "
        "0\n[ORIFICES]\n"
        "R1 T O1 NO CIRCULAR 0.6 9 1\n");
}

/// Inflows that equal what splitters, reactors and pipes let through, and an inflow that turns negative.
std::string makeFlows() {
    return "[GENERAL]\n" + general({200, 60, 60, 60, false, 0}) +
           "[POLLUTANTS]\nA 0\n[SPLITTERS]\nS1 P1 FLOW 0.01\nS2 P3 FLOW_RATIO 0.01 0.5\n[REACTORS]\n"
           "R1 CSTR O FLOW_CAPACITY 864 2 9 50\nR2 PFR O FLOW_CAPACITY 864 0 9\nR3 CSTR O FLOW_CAPACITY 864 5 50 100\n"
           "[OUTFALLS]\nO\n[PIPES]\nP1 S1 O NO 60 1 0.5 0.01\nP2 S1 O NO 120 1 0 0.005\nP3 S2 R1 NO 60 1 0 0\n"
           "P4 S2 R2 NO 60 1 0 0\nP5 R1 O NO 60 1 0 0\nP6 R2 O NO 60 1 0 0\nP7 R3 O NO 60 1 0 0\n[REACTORS_DECAY]\n"
           "R2 A CONST_RATIO 0.3 \"\"\nR3 A ZERO 5 \"\"\n[REACTORS_EMPTYING]\nR1 O 3600 0 0 \"\"\nR3 O 30 900 90 \"\"\n"
           "[CONTROL_RULES]\nRULE A\nIF REACTOR R1 FILL >= 1\nTHEN REACTOR R1 EMPTYING = YES\nELSE REACTOR R1 EMPTYING "
           "= NO\n"
           "RULE B\nIF REACTOR R3 FILL > 0.9\nTHEN REACTOR R3 EMPTYING = YES\n[INFLOWS]\nS1 FLOW FLOW 0.01 S 1\n"
           "S1 MASS A 0.001 \"\" 0\nS2 FLOW FLOW 0.01 T 1\nS2 CONCEN A 50 \"\" 0\nR3 FLOW FLOW 0 U 1\nR3 CONCEN A 9 "
           "\"\" 0\n"
           "[TIMESERIES]\nS 2024/05/05 0:00 0 12:00 0\nS 2024/05/06 1:00 0 1:00:01 -0.01 1:30 -0.01 1:30:01 0.005 9:00 "
           "0\n"
           "T 2024/05/05 0:00 0 12:00 0\nT 2024/05/06 0:30 0 0:30:01 0.01 1:00 0.01 2:00 -0.02 9:00 0\n"
           "U 2024/05/05 0:00 0.01 12:00 0.01\nU 2024/05/06 0:40 0.01 0:50 0 1:30 -0.02 2:00 0.03 9:00 0\n";
}

/// Full layers under water, and a buildup close below its limit.
std::string makeFull() {
    return "[GENERAL]\n" + general({150, 60, 60, 60, false, 0}) +
           "[EVAPORATION]\nCONSTANT 30\n[POLLUTANTS]\nA 5\n[RAINGAGES]\nG INTENSITY 0:01 T\n[SUBCATCHS]\n"
           "S1 G O 0.5 30 80 1 0.013 0.2 1 3 9 4 4 5 0\nS2 G O 0.5 30 80 1 0.013 0.2 1 3 9 4 4 5 9\n"
           "S3 G O 0.1 30 80 1 0.013 0.2 1 3 9 4 4 5 0\n[LIDS]\n"
           "BCF BC\nBCF SURFACE 300 0.1 0.1 1 0\nBCF SOIL 50 0.5 0.2 0.1 400 1\nBCF STORAGE 30 0.5 0\nBCF DRAIN 0.4 "
           "0.5 5\n"
           "PPF PP\nPPF SURFACE 200 0 0.1 1 0\nPPF PAVEMENT 40 0.3 900\nPPF STORAGE 30 0.5 0\nPPF DRAIN 0.5 0.5 0\n"
           "PPS PP\nPPS SURFACE 200 0 0.1 1 0\nPPS PAVEMENT 40 0.3 900\nPPS SOIL 30 0.5 0.2 0.1 500 1\n"
           "PPS STORAGE 20 0.5 1\nPPS DRAIN 0.5 0.5 0\nITF IT\nITF SURFACE 100 0 0.1 1 0\nITF STORAGE 60 0.5 1\n"
           "ITF DRAIN 0.3 0.5 10\nRBF RB\nRBF STORAGE 100 1 0\nRBF DRAIN 0.2 0.5 0 0\nGRF GR\nGRF SURFACE 60 0.1 0.1 1 "
           "0\n"
           "GRF SOIL 30 0.5 0.3 0.1 900 1\nGRF DRAINMAT 10 0.5 9\nVSF VS\nVSF SURFACE 90 0.2 0.2 0.3 2\n"
           "RGF RG\nRGF SURFACE 90 0 0.1 1 0\nRGF SOIL 40 0.5 0.2 0.1 300 1\nRGF STORAGE 20 0.5 2\n[LID_GROUPS]\n"
           "S1 BCF 100 5 100 20\nS1 PPF 100 5 100 20\nS1 PPS 100 5 100 20\nS1 ITF 50 2 100 20\nS2 RBF 9 0 100 10\n"
           "S2 GRF 300 4 100 20\nS2 VSF 100 2 0 20\nS2 RGF 90 2 100 30\n[LANDUSES]\nU\nV\n[COVERAGES]\nS1 U 100\nS2 V "
           "100\n"
           "S3 U 50\n[BUILDUP]\nU A 40 0.3\nV A 20 0.01\n[WASHOFF]\nU A EXP 0.05 1.1 0\nV A EMC 25 YES 0\n[LOADINGS]\n"
           "S1 A 39.97\nS2 A 25\nS3 A 39.9\n[OUTFALLS]\nO\n[TIMESERIES]\nT 2024/05/06 0:30 60 0:31 90 0:32 120 0:33 "
           "120\n"
           "T 0:34 150 0:35 150 0:36 100 0:37 90 0:38 60 0:39 60 0:40 60 0:41 30 0:42 30 0:43 30 0:44 9 0:45 0 0:46 "
           "0\n" +
           town_getTables();
}

/// Steps of a second against a gage that changes within them, and rules that ask for its events alone.
std::string makeSeconds(int step) {
    return "[GENERAL]\n" + general({400, step, step, step, false, 0}) +
           "EVENT_INTERVAL 1\nEVENT_MIN_VALUE 0\n[POLLUTANTS]\nA 5\n[RAINGAGES]\nG INTENSITY 0:00:10 T\n[SUBCATCHS]\n"
           "S1 G T 0.5 90 80 1 0.013 0.2 0.1 0.3 9 4 4 5 0\n[TANKS]\nT WALLS 2 0.5\n[OUTFALLS]\nO\n[WEIRS]\n"
           "W T O NO RECTANGULAR 1.8 0.2 0.3 0.2\n[CURVES]\nWALLS TANK 0 50 9 50\n[CONTROL_RULES]\nRULE A\nIF GAGE G "
           "EVENT = IN\n"
           "THEN WEIR W SETTING = 0.9\nELSE WEIR W SETTING = 0.4\n[TIMESERIES]\nT 2024/05/06 0:00:40 90 0:00:50 120\n"
           "T 0:01 150 0:01:10 0 0:03:01 60 0:03:11 20 0:03:20 40 0:03:31 0 0:05 90 0:05:10 0\n";
}

}  // namespace

void cases_addEdges(std::vector<Case>& cases) {
    addTanks(cases);
    cases_add(cases, "edges-flows", makeFlows());
    cases_add(cases, "edges-full-layers", makeFull());
    cases_add(cases, "edges-seconds", makeSeconds(1));
    cases_add(cases, "edges-ten-seconds", makeSeconds(10));
}
