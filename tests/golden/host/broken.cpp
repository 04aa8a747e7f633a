// Projects with errors: of each section's lines, of the checks of the whole, one and many at a time.

#include "host.h"
#include "text.h"
#include "town.h"

namespace {

const std::string GENERAL = "[GENERAL]\n" + general({60, 60, 60, 60, false, 0});

/// A sound network to hang wrong lines on.
const std::string GOOD =
    "[POLLUTANTS]\nA 1\nB 0\n[RAINGAGES]\nG INTENSITY 0:05 T\n[TIMESERIES]\nT 2024/05/06 0:00 9 1:00 0\n"
    "[JUNCTIONS]\nJ\nK\n[SPLITTERS]\nS PS RATIO 0.5\n[TANKS]\nTK BASIN 2 0.3\n[OUTFALLS]\nO\nO2\n"
    "[REACTORS]\nR CSTR O FLOW_CAPACITY 900 50 40 50\nF PFR O SURFACE_LOADING 3 1 40\n"
    "[LID_MONOS]\nM CELL G 100 5 10 100\n[PIPES]\nP J S NO 120 1 0.2 0\nPS S TK NO 60 1 0 0\nPK K O NO 60 1 0 0\n"
    "PR R O NO 60 1 0 0\nPF F O NO 60 1 0 0\nPM M O NO 60 1 0 0\n[CONNECTIONS]\nC S O2 NO 0\n"
    "[PUMPS]\nPU TK O RISE NO OFF 0.9 0.3\n[WEIRS]\nW TK O NO RECTANGULAR 1.8 1 1 0.2\n"
    "[ORIFICES]\nOR TK O2 NO CIRCULAR 0.6 0 0.1\n[LANDUSES]\nU\n[SUBCATCHS]\nLAND G J 1 100 50 1 0.013 0.2 1 3 40 4 4 "
    "5 0\n" +
    town_getTables() + town_getLids();

void add(std::vector<Case>& cases, const char* what, const std::string& text) {
    cases_add(cases, std::string("broken-") + what, text, script_tryOut);
}

void addNetworkLines(std::vector<Case>& cases) {
    add(cases, "general",
        "[GENERAL]\nSTART_DATE 2024/13/40\nSTART_TIME x\nEND_DATE 2024/2/30\nROUTING_STEP 0\nROUTING_STEP "
        "-3\nRUNOFF_STEP 1e9\n"
        "START_DRY_DAYS -1\nREPORT_AVERAGE MAYBE\nNO_SUCH_OPTION 1\nEVENT_INTERVAL x\nCONDUIT_LENGTHENING "
        "-2\nEVENT_MIN_VALUE y\n"
        "LID_MONO_RAINFALL 1\n" +
            GOOD);
    add(cases, "names",
        GENERAL + GOOD +
            "[JUNCTIONS]\nJ\n[TANKS]\nj BASIN 1 0\n[PIPES]\nPU J K NO 60 1 0 0\n[NO_SUCH_SECTION]\nsome words\n"
            "more words\n[POLLUTANTS]\nA 0\n[LANDUSES]\nU\n[RAINGAGES]\nG VOLUME 1 T\n[PIPES]//x\nline\n");
    add(cases, "network-lines",
        GENERAL + GOOD +
            "[PIPES]\nB1 J K NO 60 1 0\nB2 X K NO 60 1 0 0\nB3 J X NO 60 1 0 0\nB4 J K SO 60 1 0 0\nB5 J K NO -6 1 0 "
            "0\n"
            "B6 J K NO 60 x 0 0\nB7 J K NO 60 1 1,5 0\nB8 J K NO 60 1 0 -1\n[CONNECTIONS]\nB9 J K NO\nB10 J X NO "
            "0\nB11 J K NO -1\n"
            "B12 J K MAYBE 1\n[SPLITTERS]\nB13 P FLOW\nB14 X FLOW 1\nB15 P SHARE 1\nB16 P FLOW -1\nB17 P FLOW_RATIO 1\n"
            "B18 P FLOW_RATIO 1 x\n");
    add(cases, "storage-lines",
        GENERAL + GOOD +
            "[TANKS]\nB1 BASIN 1\nB2 X 1 0\nB3 BASIN -1 0\nB4 BASIN 1 x\n[PUMPS]\nB5 TK O RISE NO ON 0\nB6 X O RISE NO "
            "ON 0 0\n"
            "B7 TK O X NO ON 0 0\nB8 TK O RISE NO MAYBE 0 0\nB9 TK O RISE NO ON -1 0\nB10 TK O RISE NO ON 0 -1\n"
            "[WEIRS]\nB11 TK O NO RECTANGULAR 1.8 1 1\nB12 TK O NO ROUND 1.8 1 1 0\nB13 TK O NO RECTANGULAR 0 1 1 0\n"
            "B14 TK O NO RECTANGULAR 1.8 0 1 0\nB15 TK O NO RECTANGULAR 1.8 1 -1 0\nB16 TK O NO RECTANGULAR 1.8 1 1 x\n"
            "[ORIFICES]\nB17 TK O NO CIRCULAR 0.6 0\nB18 TK O NO RECTANGULAR 0.6 0 1\nB19 TK O NO SQUARE 0.6 0 1\n"
            "B20 TK O NO CIRCULAR 0.6 0 0\nB21 TK O NO RECTANGULAR 0.6 0 1 0\nB22 TK O NO CIRCULAR 0.6 -1 1\n"
            "[CONDUITS]\nB23 J K NO 100 1 0.01 CIRCULAR\nB24 J K NO 0 1 0.01 CIRCULAR 1\nB25 J K NO 9 -1 0.01 CIRCULAR "
            "1\n"
            "B26 J K NO 9 1 0 CIRCULAR 1\nB27 J K NO 9 1 0.01 OVAL 1\nB28 J K NO 9 1 0.01 RECTANGULAR 1\n"
            "B29 J K NO 9 1 0.01 RECTANGULAR 1 0\nB30 J K NO 9 1 0.01 IRREGULAR X\n");
}

void addQualityLines(std::vector<Case>& cases) {
    add(cases, "quality-lines",
        GENERAL + GOOD +
            "[POLLUTANTS]\nC -1\nD\n[DECAY_COEFFICIENT]\nP LINK A FIRST 1\nX LINK A FIRST 1 \"\"\nP PIPE A FIRST 1 "
            "\"\"\n"
            "P LINK X FIRST 1 \"\"\nP LINK A ZERO 1 \"\"\nP LINK A FIRST -1x \"\"\nP LINK A FIRST 1 X\nJ NODE A FIRST "
            "1 \"\"\n"
            "CELL LID A FIRST 1 \"\"\nCELL LID A FIRST 1 \"\" ROOT\nCELL LID A ZERO 1 \"\" SOIL\nX LID A FIRST 1 \"\" "
            "SOIL\n"
            "CELL LID A THIRD 1 \"\" SOIL\n[INITIAL_CONCENTRATION]\nTK 0 A\nX 0 A 1\nTK 0 X 1\nTK 0 A -1x\nJ 0 X 1\n"
            "[INFLOWS]\nJ FLOW FLOW 1 \"\"\nX FLOW FLOW 1 \"\" 1\nJ WATER A 1 \"\" 1\nJ FLOW flow 1 \"\" 1\nJ CONCEN X "
            "1 \"\" 1\n"
            "J MASS A x \"\" 1\nJ MASS A 1 X 1\nJ MASS A 1 \"\" x\n[DWFS]\nJ FLOW 1\nX FLOW 1 \"\"\nJ X 1 \"\"\nJ A x "
            "\"\"\nJ A 1 X\n");
}

void addLandLines(std::vector<Case>& cases) {
    add(cases, "land-lines",
        GENERAL + GOOD +
            "[RAINGAGES]\nG1 INTENSITY 0:05\nG2 DEPTH 0:05 T\nG3 VOLUME 0 T\nG4 VOLUME 0:05 X\n[SUBCATCHS]\nL1 G J 1\n"
            "L2 X J 1 1 1 1 1 1 1 1 1 1 1 1 1\nL3 G X 1 1 1 1 1 1 1 1 1 1 1 1 1\nL4 G J 0 1 1 1 1 1 1 1 1 1 1 1 1\n"
            "L5 G J 1 1 -1 1 1 1 1 1 1 1 1 1 1\nL6 G J 1 1 1 nan 1 1 1 1 1 1 1 1 1\nL7 G J 1 1 1 1 1 1 1 1 1 1 1 1 x\n"
            "[EVAPORATION]\nCONSTANT\nWEEKLY 1\nMONTHLY 1 2 3\nCONSTANT x\nCONSTANT 1\nCONSTANT 2\n[COVERAGES]\nLAND "
            "U\nX U 1\nLAND X 1\n"
            "LAND U x\n[BUILDUP]\nU A 1\nX A 1 1\nU X 1 1\nU A -1 1\nU A 1 x\n[WASHOFF]\nU A EXP 1 1\nX A EXP 1 1 0\nU "
            "X EXP 1 1 0\n"
            "U A POW 1 1 0\nU A EXP -1 1 0\nU A EMC 1 MAYBE 0\nU A EMC 1 NO x\n[LOADINGS]\nLAND A\nX A 1\nLAND X "
            "1\nLAND A -1\n");
    add(cases, "lid-lines",
        GENERAL + GOOD +
            "[LIDS]\nY1 BC\nY1 SURFACE 1 1\nY1 SOIL 1 x 1 1 1 1\nY1 ROOT 1\nY1 STORAGE 1 1 -1\nY1\nROOF DRAINMAT "
            "1\n[LID_GROUPS]\n"
            "LAND CELL 1 1 1\nX CELL 1 1 1 1\nLAND X 1 1 1 1\nLAND CELL 0 1 1 1\nLAND CELL 1 -1 1 1\nLAND CELL 1 1 x "
            "1\n"
            "LAND CELL 1 1 1 1 X\n[LID_MONOS]\nY2 CELL G 1 1 1\nY3 X G 1 1 1 1\nY4 CELL X 1 1 1 1\nY5 CELL G 0 1 1 1\n"
            "Y6 CELL G 1 -1 1 1\nY7 CELL G 1 1 1 1 X\n[REACTORS]\nY8 CSTR O FLOW_CAPACITY 1 1\nY9 TUBE O FLOW_CAPACITY "
            "1 1 1 1\n"
            "Y10 CSTR X FLOW_CAPACITY 1 1 1 1\nY11 CSTR O VOLUME 1 1 1 1\nY12 CSTR O FLOW_CAPACITY 1 0 1 1\n"
            "Y13 CSTR O FLOW_CAPACITY 1 1 1\n[REACTORS_DECAY]\nR A FIRST 1\nX A FIRST 1 \"\"\nR X FIRST 1 \"\"\nR A "
            "SECOND 1 \"\"\n"
            "R A FIRST -1 \"\"\nR A FIRST 1 X\n[REACTORS_EMPTYING]\nR O 1 1 1\nX O 1 1 1 \"\"\nR X 1 1 1 \"\"\nR O -1 "
            "1 1 \"\"\n"
            "R O 1 1 1 X\n");
}

void addRulesAndTables(std::vector<Case>& cases) {
    add(cases, "rules",
        GENERAL + GOOD +
            "[CONTROL_RULES]\nIF JUNCTION J INFLOW > 1\nRULE\nRULE A B\nRULE A\nTHEN PIPE P SETTING = 1\nIF JUNCTION "
            "J\n"
            "IF ROAD J INFLOW > 1\nAND JUNCTION X INFLOW > 1\nAND JUNCTION J DEPTH > 1\nAND JUNCTION J INFLOW == 1\n"
            "AND JUNCTION J INFLOW > x\nAND PUMP PU STATUS = MAYBE\nOR GAGE G EVENT = ON\nOR TANK TK DEPTH > JUNCTION "
            "J INFLOW\n"
            "OR TANK TK DEPTH > TANK TK\nTHEN PIPE P\nAND PIPE X SETTING = 1\nAND TANK TK DEPTH = 1\nAND PIPE P VALUE "
            "= 1\n"
            "AND PIPE P STATUS = HALF\nAND PUMP PU SETTING = x\nELSE PIPE P SETTING = 1\nTHEN PIPE P SETTING = 1\n"
            "PRIORITY x\nPRIORITY 1 2\nRULE A\nIF JUNCTION J INFLOW > 1 THEN PIPE P SETTING = 1\nNEVER\nAND SWMM J X "
            "SETTING = 1\n");
    add(cases, "tables",
        GENERAL + GOOD +
            "[CURVES]\nK1 TANK\nK2 SQUARE 1 2\nK2 3 4\nK3 TANK 1 2 3\nK4 TANK x 2\nBASIN 9 x\n[PATTERNS]\nH1\nH2 DAILY "
            "1 2\nH2 3 4\n"
            "H3 HOURLY 1 x\n[TIMESERIES]\nS1 0:00 1\nS2 2024/05/06 0:00 x\nS3 2024/05/06 x 1\nS4 FILE\nS5 2024/04/31 "
            "0:00 1\n");
}

void addDates(std::vector<Case>& cases) {
    add(cases, "dates",
        "[GENERAL]\nSTART_DATE 2024/05/06\nEND_DATE 2024/05/05\nROUTING_STEP 0:10\nREPORT_STEP 0:05\n" + GOOD);
    add(cases, "runoff-step",
        "[GENERAL]\nEND_DATE 2020/01/02\nROUTING_STEP 0:05\nRUNOFF_STEP 0:01\nREPORT_STEP 0:05\n" + GOOD);
    add(cases, "empty", "");
    add(cases, "nothing-but-dates", GENERAL);
}

void addNetworks(std::vector<Case>& cases) {
    add(cases, "network",
        GENERAL + GOOD +
            "[JUNCTIONS]\nN1\nN2\n[SPLITTERS]\nZ1 P RATIO 0.1\nZ2 ZP RATIO 0.1\n[TANKS]\nZT DAYLIGHT 1 "
            "1\n[CURVES]\nDAYLIGHT PUMP1 0 1\n"
            "[PIPES]\nZP Z2 O NO 60 1 0 0\nX1 N1 O NO 60 1 0 0\nX2 N1 O NO 30 0 0.6 0\nX3 O O2 NO 60 1 0 0\nX4 TK O NO "
            "60 1 0 0\n"
            "[PUMPS]\nXP J O BASIN NO OFF 2 1\nXQ TK O STEPS NO OFF 0.5 0.5\n[WEIRS]\nXW K O NO RECTANGULAR 1 1 1 1\n"
            "[ORIFICES]\nXO K O NO CIRCULAR 1 1 1\n");
    add(cases, "loop",
        GENERAL +
            "[JUNCTIONS]\nA\nB\nC\nD\n[OUTFALLS]\nO\n[SPLITTERS]\nS BACK RATIO 0.1\n[PIPES]\nP1 A B NO 60 1 0 0\nP2 B "
            "S NO 60 1 0 0\n"
            "BACK S B NO 60 1 0 0\nP3 S O NO 60 1 0 0\nP4 C D NO 60 1 0 0\nP5 D C NO 60 1 0 0\n");
    add(cases, "no-head",
        GENERAL +
            "[JUNCTIONS]\nA\nC\nD\n[OUTFALLS]\nO\n[PIPES]\nP1 A O NO 60 1 0 0\nP4 C D NO 60 1 0 0\nP5 D C NO 60 1 0 "
            "0\n");
    add(cases, "loop-over-surplus",
        GENERAL +
            "[REACTORS]\nR CSTR J FLOW_CAPACITY 1 1 1 1\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J R NO 60 1 0 0\nQ "
            "R O NO 60 1 0 0\n");
}

void addOtherChecks(std::vector<Case>& cases) {
    add(cases, "patterns",
        GENERAL + GOOD +
            "[DWFS]\nJ FLOW 0.1 MONTHS\nK A 5 MONTHS\n[REACTORS_DECAY]\nR A CONST_RATIO 0.5 DAY\nR B FIRST 1 DAY\nF A "
            "CONST_CONCEN 1 DAY\n"
            "[INFLOWS]\nJ FLOW FLOW 0 T 1\n[SUBCATCHS]\nSTEEP G J 1 100 50 1 0.013 0.2 1 3 4 40 4 5 0\n");
    add(cases, "series",
        GENERAL + GOOD +
            "[TIMESERIES]\nS1 2024/05/06 1:00 1 0:30 2\nS2 FILE nowhere.dat\nS3 FILE model.inp\nS4 2024/05/06 1:00 1 "
            "1:00 2\n"
            "[CURVES]\nK1 TANK 1 1 1 2\nK2 TRANSECT 0 1 2 1 1 1\nK3 PUMP1 2 1 1 1\n[RAINGAGES]\nG9 VOLUME 0:05 T\n"
            "[SUBCATCHS]\nL9 G9 J 1 100 50 1 0.013 0.2 1 3 40 4 4 5 0\n");
    add(cases, "lids",
        GENERAL + GOOD +
            "[LIDS]\nY1 SURFACE 1 0 1 1 1\nY2 BC\nY2 SURFACE 1 0 1 1 1\nY3 GR\nY3 SOIL 10 0.5 0.2 0.1 1 1\nY4 PP\n"
            "Y4 PAVEMENT 10 0 0\nY5 RG\nY5 SOIL 10 0.2 0.5 0.1 1 1\nY6 IT\nY6 STORAGE 10 0 1\nY7 VS\nY7 SURFACE 0 0 0 "
            "0 0\n"
            "[LID_GROUPS]\nLAND DITCHES 9000 0 1 60\nLAND CELL 9000 1 1 60\n");
}

void addManyErrors(std::vector<Case>& cases) {
    std::string many = GENERAL + GOOD + "[PIPES]\n";
    for (int k = 0; k < 130; ++k) {
        many += name("B", k) + " J X NO 60 1 0 0\n";
    }
    add(cases, "hundred-lines", many);
    std::string doubled = GENERAL + GOOD + "[JUNCTIONS]\n";
    for (int k = 0; k < 130; ++k) {
        doubled += "J\n";
    }
    add(cases, "hundred-names", doubled);
}

void addOddTexts(std::vector<Case>& cases) {
    add(cases, "order",
        GENERAL +
            "[CONTROL_RULES]\nRULE A\nIF JUNCTION J INFLOW > 0\nTHEN PUMP PU SETTING = 1\n[DECAY_COEFFICIENT]\nP LINK "
            "A FIRST 1 \"\"\n"
            "TK NODE A FIRST 1 \"\"\n[INITIAL_CONCENTRATION]\nTK 0 A 5\n[REACTORS_DECAY]\nR A FIRST 1 \"\"\n" +
            GOOD);
    add(cases, "quotes",
        GENERAL + "[JUNCTIONS]\n\"J\"\n\"K\n[OUTFALLS]\nO\n[PIPES]\nP \"J\" O NO 60 1 0 0\n\"\" J O NO 60 1 0 0\n");
    add(cases, "good-after-all", GENERAL + GOOD);
}

}  // namespace

void cases_addBroken(std::vector<Case>& cases) {
    addNetworkLines(cases);
    addQualityLines(cases);
    addLandLines(cases);
    addRulesAndTables(cases);
    addDates(cases);
    addNetworks(cases);
    addOtherChecks(cases);
    addManyErrors(cases);
    addOddTexts(cases);
}
