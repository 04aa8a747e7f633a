// Warnings about words and lines that are dropped, or taken otherwise than they look.

#include "warnings/cases.h"

/// A junction, an outfall and a pipe between them, with more sections behind.
static std::string aPipe(const std::string& words = "300 3 0.2 0", const std::string& more = "") {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO " + words + "\n" + more);
}

static std::string withInflow(const std::string& line) {
    return aPipe("300 3 0.2 0", "[INFLOWS]\n" + line + "\n");
}

/// A tank with two pollutants, and a line of a section.
static std::string aTank(const std::string& section, const std::string& line) {
    return aDay(
        "[POLLUTANTS]\nBOD 0\nTSS 0\n[CURVES]\nAREA TANK 0 20 5 20\n[TANKS]\nT1 AREA 3 1\n[OUTFALLS]\nO1\n[ORIFICES]\n"
        "R1 T1 O1 NO CIRCULAR 0.6 0 0.1\n[" +
        section + "]\n" + line + "\n");
}

/// A project whose whole [GENERAL] is given.
static std::string withOptions(const std::string& lines) {
    return "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\n" +
           lines + "\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n";
}

static std::string withStep(const std::string& step) {
    return withOptions("REPORT_STEP " + step);
}

// --- the file --------------------------------------------------------------------------------------------------------

WARNING_CASE("W-byte-order-mark", "\xEF\xBB\xBF" + aPipe(), aPipe(), "", "");
WARNING_CASE("W-byte-order-mark", "\xEF\xBB\xBF// a town\n" + aPipe(), "// a town\n" + aPipe(), "", "");
WARNING_CASE("W-section-unknown", aPipe() + "[TIMESERIS]\n", aPipe() + "[TIMESERIES]\n", "[TIMESERIS]", "[TIMESERIS]");
WARNING_CASE("W-section-unknown", aPipe() + "[CURVES]//none\n", aPipe() + "[CURVES] //none\n", "[CURVES]//none", "-");
WARNING_CASE("W-section-unknown", aPipe() + "[WHATEVER_THIS_IS]\n", aPipe() + "[LABELS]\n", "[WHATEVER_THIS_IS]", "-");
WARNING_CASE("W-section-quoted", aPipe() + "\"[CURVES]\"\n", aPipe() + "[CURVES]\n", "[CURVES]", "[CURVES]");
WARNING_CASE("W-file-end-mark", aPipe() + "\x1A[LABELS]\n", aPipe() + "\x1A\x1A\n", "", "");
WARNING_CASE("W-line-nul", aPipe("300 3 0.2 0" + std::string(1, '\0') + "9"), aPipe(), "", "");
WARNING_CASE("W-line-nul", aPipe() + std::string(1, '\0') + "\n", aPipe() + "\n", "", "");
WARNING_CASE("W-line-nul", aPipe() + "// end" + std::string(1, '\0'), aPipe() + "// end", "", "");
WARNING_CASE("W-line-length", aPipe("300 3 0.2 0//" + std::string(1100, 'x')), aPipe("300 3 0.2 0//x"), "", "-");
WARNING_CASE("W-line-length", aPipe() + "//" + std::string(1022, '-') + "-\n",
             aPipe() + "//" + std::string(1021, '-') + "\n", "", "-");
WARNING_CASE("W-line-length", aPipe() + "//" + std::string(1022, '-') + "\n",
             aPipe() + "[LABELS]\n" + std::string(3000, '-') + "\n", "", "-");

// --- lines -----------------------------------------------------------------------------------------------------------

static std::string repeat(const std::string& word, int count) {
    std::string text;
    for (int k = 0; k < count; ++k) {
        text += " " + word;
    }
    return text;
}

static std::string aSeries(const std::string& line) {
    return withInflow("J1 FLOW FLOW 0 STORM 1\n[TIMESERIES]\nSTORM 2024/06/17 0:00 0 1:00 0\nSTORM " + line);
}

/// A series of so many entries a minute apart, with their dates.
static std::string listEntries(int count) {
    std::string text;
    for (int k = 0; k < count; ++k) {
        text += " 2024/06/18 0:" + std::to_string(k + 10) + " 0.1";
    }
    return text;
}

/// A curve of so many points in its first line.
static std::string aCurve(int count) {
    std::string points;
    for (int k = 0; k < count; ++k) {
        points += " " + std::to_string(k) + " 20";
    }
    return aDay("[CURVES]\nAREA TANK" + points +
                "\n[TANKS]\nT1 AREA 3 1\n[OUTFALLS]\nO1\n[ORIFICES]\nR1 T1 O1 NO CIRCULAR 0.6 0 0.1\n");
}

WARNING_CASE("W-line-words", aSeries(listEntries(14)), aSeries(listEntries(13)), "STORM", "-");
WARNING_CASE("W-line-words", aPipe("300 3 0.2 0" + repeat("x", 40)), aPipe("300 3 0.2 0 //" + repeat("x", 40)), "P1",
             "x");
WARNING_CASE("W-curve-points", aCurve(20), aCurve(19), "AREA", "20");
WARNING_CASE("W-words-unused", aPipe("300 3 0.2 0 DN300"), aPipe("300 3 0.2 0 // DN300"), "P1", "DN300");
WARNING_CASE("W-words-unused", aPipe("300 3 0.2 0 ; DN300"),
             aDay("[JUNCTIONS]\nJ1 a note\n[OUTFALLS]\nO1 another\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"), "P1", ";");
WARNING_CASE("W-words-unused", aTank("INITIAL_CONCENTRATION", "T1 0 BOD 3 mg/L"),
             aTank("INITIAL_CONCENTRATION", "T1 0 BOD 3"), "T1", "mg/L");
WARNING_CASE("W-words-unused", aTank("DECAY_COEFFICIENT", "T1 NODE BOD FIRST 2 \"\" STORAGE"),
             aTank("DECAY_COEFFICIENT", "T1 NODE BOD FIRST 2 \"\""), "T1", "STORAGE");
WARNING_CASE("W-words-unused", aPipe() + "[EVAPORATION]\nCONSTANT 3 mm/day\n",
             aPipe() + "[EVAPORATION]\nMONTHLY 1 1 1 2 3 4 4 3 2 1 1 1\n", "CONSTANT", "mm/day");
WARNING_CASE("W-semicolon", aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\n;;Name\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"),
             ";; a town\n" + aPipe() + "[LABELS]\n;;Name\n", ";;Name", ";;Name");
WARNING_CASE("W-description-lines", "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n" + aPipe(),
             "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n\n// 11\n" + aPipe(), "", "");
WARNING_CASE("W-id-long",
             aDay("[JUNCTIONS]\nJUNCTION_AT_THE_OLD_MILL\n[OUTFALLS]\nO1\n[PIPES]\nP1 JUNCTION_AT_THE_OLD_MILL O1 NO "
                  "300 3 0.2 0\n"),
             aDay("[JUNCTIONS]\nJUNCTION_AT_MILL\n[OUTFALLS]\nO1\n[PIPES]\nP1 JUNCTION_AT_MILL O1 NO 300 3 0.2 0\n"),
             "JUNCTION_AT_THE_OLD_MILL", "JUNCTION_AT_THE_OLD_MILL");

// --- options ---------------------------------------------------------------------------------------------------------

WARNING_CASE("W-option-words", withOptions("REPORT_STEP 1:00:00\nSTART_DATE 2024/06/18 06:00"),
             withOptions("REPORT_STEP 1:00:00\nSTART_TIME 06:00\nEND_TIME 6:00"), "START_DATE", "06:00");
WARNING_CASE("W-option-words", withOptions("REPORT_STEP 1:00:00\nREPORT_AVERAGE YES please"),
             withOptions("REPORT_STEP 1:00:00\nRTC_STEP 1 2 3\nRTC_ON"), "REPORT_AVERAGE", "please");
WARNING_CASE("W-option-empty", withOptions("REPORT_STEP 1:00:00\nREPORT_AVERAGE"),
             withOptions("REPORT_STEP 1:00:00\nREPORT_AVERAGE NO"), "REPORT_AVERAGE", "REPORT_AVERAGE");
WARNING_CASE("W-line-replaced", withOptions("REPORT_STEP 1:00:00\nReport_Step 2:00:00"),
             withOptions("REPORT_STEP 1:00:00"), "Report_Step", "");
WARNING_CASE("W-time-form", withStep("1h"), withStep("1:00:00"), "REPORT_STEP", "1h");
WARNING_CASE("W-time-form", withStep("2.5h"), withStep("2.5"), "REPORT_STEP", "2.5h");
WARNING_CASE("W-time-form", withStep("1:00:00:00"), withStep("24:00"), "REPORT_STEP", "1:00:00:00");
WARNING_CASE("W-time-form", withOptions("REPORT_STEP 1:00:00\nSTART_TIME 6h"),
             withOptions("REPORT_STEP 1:00:00\nSTART_TIME 6"), "START_TIME", "6h");
WARNING_CASE("W-step-negative", withStep("-1"), withStep("1"), "REPORT_STEP", "-1");
WARNING_CASE("W-date-tail", withOptions("REPORT_STEP 1:00:00\nEND_DATE 2024/06/20T06:00"),
             withOptions("REPORT_STEP 1:00:00\nEND_DATE 2024-JUN-20"), "END_DATE", "2024/06/20T06:00");
WARNING_CASE("W-number-cut", withOptions("REPORT_STEP 1:00:00\nROUTING_STEP 0.0004"),
             withOptions("REPORT_STEP 1:00:00\nROUTING_STEP 0.0167"), "ROUTING_STEP", "0.0004");

// --- numbers ---------------------------------------------------------------------------------------------------------

WARNING_CASE("W-number-bytes",
             withInflow("J1 FLOW FLOW \xE2\x88\x92"
                        "0.02 \"\" 0"),
             withInflow("J1 FLOW FLOW -0.02 \"\" 0"), "J1",
             "\xE2\x88\x92"
             "0.02");
WARNING_CASE("W-number-bytes", aPipe("300\xC2\xA0s 3 0.2 0"), aPipe("300 3 0.2 0"), "P1", "-");
WARNING_CASE(
    "W-number-bytes", aPipe("300 3 0.2 0\xC2\xA0"),
    aDay("[JUNCTIONS]\nK\xC3\xA4ranlage\n[OUTFALLS]\nO1\n[PIPES]\nP\xC3\xBC K\xC3\xA4ranlage O1 NO 300 3 0.2 0\n"),
    "P1", "-");
WARNING_CASE("W-number-empty", aPipe("300 3 0.2 \"\""), aPipe("300 3 0.2 0"), "P1", "");
WARNING_CASE("W-number-empty", withInflow("J1 FLOW FLOW \"\" \"\" 0"), withInflow("J1 FLOW FLOW 0 \"\" 0"), "J1", "");
WARNING_CASE("W-number-special", aPipe("300 3 0.2 0x1"), aPipe("300 3 0.2 1"), "P1", "0x1");
WARNING_CASE(
    "W-number-special", aPipe("300 3 0.2 nan"),
    aDay("[JUNCTIONS]\nNAN\nINF\n[OUTFALLS]\nO1\n[PIPES]\nP1 NAN O1 NO 300 3 0.2 0\nP2 INF O1 NO 300 3 0.2 0\n"), "P1",
    "nan");
WARNING_CASE("W-number-special", withInflow("J1 FLOW FLOW 0.1 \"\" -inf"), withInflow("J1 FLOW FLOW 0.1 \"\" -0.1"),
             "J1", "-inf");
WARNING_CASE("W-number-special", withOptions("REPORT_STEP 1:00:00\nSTART_DRY_DAYS infinity"),
             withOptions("REPORT_STEP 1:00:00\nSTART_DRY_DAYS 3"), "START_DRY_DAYS", "infinity");
WARNING_CASE("W-number-word", aTank("DECAY_COEFFICIENT", "T1 NODE BOD FIRST 0.5x \"\""),
             aTank("DECAY_COEFFICIENT", "T1 NODE BOD FIRST 0.5 \"\""), "T1", "0.5x");
WARNING_CASE("W-number-word", aTank("INITIAL_CONCENTRATION", "T1 0 BOD much"),
             aTank("INITIAL_CONCENTRATION", "T1 0 BOD 9"), "T1", "much");
WARNING_CASE("W-number-cut", aPipe("300 2.9 0.2 0"), aPipe("300 2.0 0.2 0"), "P1", "2.9");

// Of several long IDs the longest is told.
WARNING_CASE("W-id-long",
             aDay("[JUNCTIONS]\nJUNCTION_AT_MILL_2\n[OUTFALLS]\nOUTFALL_AT_THE_MILL\n[PIPES]\n"
                  "P1 JUNCTION_AT_MILL_2 OUTFALL_AT_THE_MILL NO 300 3 0.2 0\n"),
             aPipe(), "OUTFALL_AT_THE_MILL", "OUTFALL_AT_THE_MILL");
