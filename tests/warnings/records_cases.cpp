// Warnings about lines that replace or drop each other, and about records that nothing comes of.

#include "support/tempfolder.h"
#include "warnings/cases.h"

/// Two pollutants, a junction, and a pipe to an outfall; behind them further sections.
static std::string aPipe(const std::string& more) {
    return aDay("[POLLUTANTS]\nBOD 0\nTSS 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n" +
                more);
}

static std::string withInflows(const std::string& lines) {
    return aPipe("[INFLOWS]\n" + lines + "\n");
}

/// A tank, a stirred reactor behind its orifice, and a plug flow reactor; behind them further sections.
static std::string aWorks(const std::string& more, const std::string& area = "50") {
    return aDay(
        "[POLLUTANTS]\nBOD 0\nTSS 0\n[CURVES]\nAREA TANK 0 20 5 20\n[TANKS]\nT1 AREA 3 1\n[OUTFALLS]\nO1\n[ORIFICES]\n"
        "X1 T1 R1 NO CIRCULAR 0.6 0 0.1\n[REACTORS]\nR1 CSTR O1 FLOW_CAPACITY 5000 100 " +
        area + " 50\nR2 PFR O1 FLOW_CAPACITY 5000 2 50\n[CONNECTIONS]\nC1 R1 R2 NO 60\nC2 R2 O1 NO 60\n" + more);
}

/// A land use on a subcatchment, and a gage; behind them further sections.
static std::string aLand(const std::string& more, const std::string& shares = "60 1.5") {
    return aDay(
        "[POLLUTANTS]\nTSS 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"
        "[TIMESERIES]\nRAIN 2024/06/18 6:00 5 6:10 9\nCOPY 2024/06/18 6:00 5 6:10 9\n"
        "FLOWS 2024/06/18 0:00 0.1 12:00 0.2\n[RAINGAGES]\nG1 INTENSITY 0:10 RAIN\n[SUBCATCHS]\n"
        "S1 G1 J1 2 90 " +
        shares + " 0.012 0.1 1 3 40 6 4 5 0\n[LANDUSES]\nROAD\n" + more);
}

// --- lines that replace lines ----------------------------------------------------------------------------------------

WARNING_CASE("W-line-replaced", withInflows("J1 FLOW FLOW 0.1 \"\" 0\nJ1 FLOW FLOW 0.2 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.1 \"\" 0"), "J1", "");
WARNING_CASE("W-line-replaced", withInflows("J1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN BOD 1 \"\" 0\nJ1 CONCEN BOD 2 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN BOD 1 \"\" 0\nJ1 CONCEN TSS 2 \"\" 0"), "J1", "");
WARNING_CASE("W-line-replaced", withInflows("J1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN BOD 1 \"\" 0\nJ1 FLOW FLOW 0.2 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN BOD 1 \"\" 0"), "J1", "");
WARNING_CASE("W-record-wiped", withInflows("J1 CONCEN BOD 1 \"\" 0\nJ1 FLOW FLOW 0.2 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.2 \"\" 0\nJ1 CONCEN BOD 1 \"\" 0"), "J1", "FLOW");
WARNING_CASE("W-record-wiped", withInflows("J1 FLOW FLOW 0.2 \"\" 0\nJ1 MASS BOD 1 \"\" 0\nJ1 CONCEN BOD 1 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.2 \"\" 0\nJ1 MASS BOD 1 \"\" 0\nJ1 CONCEN TSS 1 \"\" 0"), "J1", "CONCEN");
WARNING_CASE("W-record-wiped",
             aDay("[INFLOWS]\nJ1 MASS BOD 1 \"\" 0\nJ1 FLOW FLOW 1 \"\" 0\n[POLLUTANTS]\nBOD 0\n[JUNCTIONS]\nJ1\n"
                  "[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"),
             withInflows("J1 FLOW FLOW 0.2 \"\" 0\nJ1 MASS BOD 1 \"\" 0"), "J1", "FLOW");
WARNING_CASE("W-factor-zero",
             withInflows("J1 FLOW FLOW 0.2 S 0\n[TIMESERIES]\nS 2024/06/17 0:00 1 2024/06/20 0:00 1\n"),
             withInflows("J1 FLOW FLOW 0.2 S 1\n[TIMESERIES]\nS 2024/06/17 0:00 1 2024/06/20 0:00 1\n"), "J1", "0");
WARNING_CASE("W-loads-added", withInflows("J1 FLOW FLOW 0.2 \"\" 0\nJ1 MASS BOD 1 \"\" 0\nJ1 MASS BOD 1 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.2 \"\" 0\nJ1 MASS BOD 1 \"\" 0\nJ1 MASS TSS 1 \"\" 0"), "J1", "BOD");
WARNING_CASE("W-line-replaced", aPipe("[DWFS]\nJ1 FLOW 0.1 \"\"\nJ1 FLOW 0.1 \"\"\n"),
             aPipe("[DWFS]\nJ1 FLOW 0.1 \"\"\nJ1 BOD 100 \"\"\n"), "J1", "");
WARNING_CASE("W-line-replaced", aWorks("[DECAY_COEFFICIENT]\nT1 NODE BOD FIRST 1 \"\"\nT1 NODE BOD FIRST 2 \"\"\n"),
             aWorks("[DECAY_COEFFICIENT]\nT1 NODE BOD FIRST 1 \"\"\nT1 NODE TSS FIRST 2 \"\"\n"), "T1", "");
WARNING_CASE("W-line-replaced", aWorks("[INITIAL_CONCENTRATION]\nT1 0 BOD 0\nT1 0 BOD 5\n"),
             aWorks("[INITIAL_CONCENTRATION]\nT1 0 BOD 0\nR1 0 BOD 5\nT1 0 TSS 3\n"), "T1", "");
WARNING_CASE("W-line-replaced", aWorks("[REACTORS_DECAY]\nR1 BOD FIRST 1 \"\"\nR1 BOD ZERO 2 \"\"\n"),
             aWorks("[REACTORS_DECAY]\nR1 BOD FIRST 1 \"\"\nR2 BOD ZERO 2 \"\"\n"), "R1", "");
WARNING_CASE("W-line-replaced", aWorks("[REACTORS_EMPTYING]\nR1 O1 1 1 1 \"\"\nR1 O1 2 1 1 \"\"\n"),
             aWorks("[REACTORS_EMPTYING]\nR1 O1 1 1 1 \"\"\n"), "R1", "");
WARNING_CASE("W-line-replaced", aLand("[COVERAGES]\nS1 ROAD 20\nS1 ROAD 30\n"), aLand("[COVERAGES]\nS1 ROAD 20\n"),
             "S1", "");
WARNING_CASE("W-line-replaced", aLand("[BUILDUP]\nROAD TSS 20 1\nROAD TSS 30 1\n"), aLand("[BUILDUP]\nROAD TSS 20 1\n"),
             "ROAD", "");
WARNING_CASE("W-line-replaced", aLand("[WASHOFF]\nROAD TSS EMC 0 NO 0\nROAD TSS EXP 0 1 0\n"),
             aLand("[WASHOFF]\nROAD TSS EMC 0 NO 0\n"), "ROAD", "");
WARNING_CASE("W-line-replaced", aLand("[COVERAGES]\nS1 ROAD 50\n[LOADINGS]\nS1 TSS 3\nS1 TSS 4\n"),
             aLand("[COVERAGES]\nS1 ROAD 50\n[LOADINGS]\nS1 TSS 3\n"), "S1", "");

// --- lines that are dropped ------------------------------------------------------------------------------------------

WARNING_CASE("W-line-dropped", aWorks("[DECAY_COEFFICIENT]\nC1 LINK BOD FIRST 1 \"\"\n"),
             aPipe("[DECAY_COEFFICIENT]\nP1 LINK BOD FIRST 1 \"\"\n"), "C1", "C1");
WARNING_CASE("W-line-dropped", aWorks("[INITIAL_CONCENTRATION]\nO1 0 BOD 5\n"),
             aWorks("[INITIAL_CONCENTRATION]\nT1 0 BOD 5\nR1 0 BOD 5\n"), "O1", "O1");
WARNING_CASE("W-line-dropped", aWorks("[INITIAL_CONCENTRATION]\nR2 0 BOD 5\n"),
             aWorks("[INITIAL_CONCENTRATION]\nR1 0 BOD 5\n"), "R2", "R2");
WARNING_CASE("W-line-dropped", aWorks("[REACTORS_EMPTYING]\nR2 O1 1 1 1 \"\"\n"),
             aWorks("[REACTORS_EMPTYING]\nR1 O1 1 1 1 \"\"\n"), "R2", "R2");
WARNING_CASE("W-reactor-area", aWorks("[REACTORS_EMPTYING]\nR1 O1 1 0 2.5 \"\"\n", "0"),
             aWorks("[REACTORS_EMPTYING]\nR1 O1 1 0 0 \"\"\n", "0"), "R1", "2.5");
WARNING_CASE(
    "W-section-order",
    aDay("[POLLUTANTS]\nBOD 0\n[DECAY_COEFFICIENT]\nP1 LINK BOD FIRST 1 \"\"\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n"
         "[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n"),
    aPipe("[DECAY_COEFFICIENT]\nP1 LINK BOD FIRST 1 \"\"\n"), "P1", "P1");
WARNING_CASE("W-section-order", "[INITIAL_CONCENTRATION]\nT1 0 BOD 5\n" + aWorks(""),
             aWorks("[INITIAL_CONCENTRATION]\nT1 0 BOD 5\n"), "T1", "T1");

// --- values cut to their limits --------------------------------------------------------------------------------------

static std::string aSplitter(const std::string& words) {
    return aDay("[SPLITTERS]\nS1 P1 " + words +
                "\n[OUTFALLS]\nO1\nO2\n[PIPES]\nP1 S1 O1 NO 300 3 0.2 0\nP2 S1 O2 NO 300 3 0.2 0\n");
}

static std::string aReactor(const std::string& filling) {
    return aDay("[OUTFALLS]\nO1\n[REACTORS]\nR1 CSTR O1 FLOW_CAPACITY 5000 100 50 " + filling +
                "\n[CONNECTIONS]\nC1 R1 O1 NO 60\n");
}

WARNING_CASE("W-value-limit", aLand("", "140 1.5"), aLand("", "100 1.5"), "S1", "140");
WARNING_CASE("W-value-limit", aLand("", "60 150"), aLand("", "60 100"), "S1", "150");
WARNING_CASE("W-value-limit", aSplitter("RATIO 1.5"), aSplitter("RATIO 1"), "S1", "1.5");
WARNING_CASE("W-value-limit", aSplitter("FLOW_RATIO 2 3"), aSplitter("FLOW 2"), "S1", "3");
WARNING_CASE("W-value-limit", aReactor("120"), aReactor("100"), "R1", "120");

// --- loads without water ---------------------------------------------------------------------------------------------

WARNING_CASE("W-concentration-no-flow", withInflows("J1 CONCEN BOD 30 \"\" 0"),
             withInflows("J1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN BOD 30 \"\" 0"), "J1", "J1");
WARNING_CASE("W-concentration-no-flow", aPipe("[DWFS]\nJ1 BOD 100 \"\"\n"),
             aPipe("[DWFS]\nJ1 BOD 100 \"\"\nJ1 FLOW 0.1 \"\"\n"), "J1", "J1");
WARNING_CASE("W-load-no-flow", withInflows("J1 MASS BOD 1 \"\" 0"),
             aPipe("[INFLOWS]\nJ1 MASS BOD 1 \"\" 0\n[DWFS]\nJ1 FLOW 0.1 \"\"\n"), "J1", "J1");
WARNING_CASE("W-load-no-flow", withInflows("J1 MASS BOD 1 \"\" 0"), withInflows("O1 MASS BOD 1 \"\" 0"), "J1", "J1");
WARNING_CASE("W-load-no-flow", withInflows("J1 MASS BOD 1 \"\" 0"), aLand("[INFLOWS]\nJ1 MASS TSS 1 \"\" 0\n"), "J1",
             "J1");

// --- patterns --------------------------------------------------------------------------------------------------------

static std::string aPattern(const std::string& type, int count) {
    std::string factors;
    for (int k = 0; k < count; ++k) {
        factors += " 1";
    }
    return aPipe("[DWFS]\nJ1 FLOW 0.1 \"\"\n[PATTERNS]\nDAY " + type + factors + " \n");
}

WARNING_CASE("W-pattern-length", aPattern("HOURLY", 23), aPattern("HOURLY", 24), "DAY", "DAY");
WARNING_CASE("W-pattern-monthly", aPattern("MONTHLY", 12), aPattern("MONTHLY", 24), "DAY", "DAY");
WARNING_CASE("W-pattern-factors", aPattern("HOURLY", 25), aPattern("HOURLY", 24), "DAY", "1");
WARNING_CASE("W-pattern-factors", aPattern("HOURLY", 24) + "DAY 7\n", aPattern("HOURLY", 20) + "DAY 1 1 1 1\n", "DAY",
             "7");

// --- series ----------------------------------------------------------------------------------------------------------

static std::string aSeries(const std::string& lines) {
    return withInflows("J1 FLOW FLOW 0 STORM 1\n[TIMESERIES]\n" + lines);
}

/// A series file of a text.
static std::string aFile(const std::string& text) {
    static const TempFolder folder;
    static int count = 0;
    return "STORM FILE " + folder.write(std::to_string(++count) + ".txt", text);
}

static const std::string Entries = "2024/06/18 0:00 0.1\n2024/06/18 6:00 0.2\n";

WARNING_CASE("W-series-entry", aSeries("STORM 2024/06/18 0:00 1 2024/06/19"), aSeries("STORM 2024/06/18 0:00 1 6:00 2"),
             "STORM", "2024/06/19");
WARNING_CASE("W-series-entry", aSeries("STORM 2024/06/18 0:00 1 6:00"), aSeries("STORM 2024/06/18 0:00 1 6:00 2"),
             "STORM", "6:00");
WARNING_CASE("W-series-date", aSeries("STORM 2024/04/31 0 1 2"), aSeries("STORM 2024/04/30 0 1 1 2"), "STORM",
             "2024/04/31");
WARNING_CASE("W-series-date", aSeries("STORM 18/06/2024 0.1 2024/06/20 0:00 1"),
             aSeries("STORM 2024/06/18 0.1 1 0.2 1"), "STORM", "18/06/2024");
WARNING_CASE("W-date-tail", aSeries("STORM 2024/06/18T 0:00 1 6:00 2"), aSeries("STORM 2024/06/18 0:00 1 6:00 2"),
             "STORM", "2024/06/18T");
WARNING_CASE("W-time-form", aSeries("STORM 2024/06/18 0:00 1 6h 2"), aSeries("STORM 2024/06/18 0:00 1 6 2"), "STORM",
             "6h");
WARNING_CASE("W-series-file", aSeries("STORM 2024/06/18 0:00 1 6:00 2\n" + aFile(Entries)), aSeries(aFile(Entries)),
             "STORM", "FILE");
WARNING_CASE("W-series-file", aSeries(aFile(Entries) + "\nSTORM 2024/06/18 0:00 1 6:00 2"), aSeries(aFile(Entries)),
             "STORM", "");
WARNING_CASE("W-line-replaced", aSeries(aFile(Entries) + "\n" + aFile(Entries)), aSeries(aFile(Entries)), "STORM", "");
WARNING_CASE("W-series-last-line", aSeries(aFile(Entries + "2024/06/18 7:00")), aSeries(aFile(Entries + "; end")),
             "STORM", "STORM");
WARNING_CASE("W-series-last-line", aSeries(aFile(Entries + "2024/06/18 7:00")),
             aSeries(aFile(Entries + "2024/06/18 7:00 9")), "STORM", "STORM");

WARNING_CASE("W-series-line", aSeries(aFile(Entries + "2024/06/18 7h 0.3\n2024/06/18 9:00 1\n")),
             aSeries(aFile(Entries + "2024/06/18 7 0.3 a note\n2024-JUN-18 9:00 1\n")), "STORM", "STORM");
WARNING_CASE("W-series-line", aSeries(aFile("2024/06/17T 0:00 0.1\n" + Entries)),
             aSeries(aFile("2024/06/17 0:00 0.1\n" + Entries)), "STORM", "STORM");

/// A node with a flow, and a load behind it whose line is the newest.
static std::string aStart(const std::string& entries, const std::string& more) {
    return withInflows("J1 FLOW FLOW 0 STORM 1\n" + more + "\n[TIMESERIES]\nSTORM " + entries);
}

static const std::string Load = "J1 MASS BOD 0.001 \"\" 0";

WARNING_CASE("W-series-start", aStart("2024/06/18 0:00 1 6:00 5 7:00 2", Load),
             aStart("2024/06/18 0:00 1 6:00 5 7:00 2", ""), "STORM", "STORM");
WARNING_CASE("W-series-start", aStart("2024/06/18 0:00 1 6:00 5 7:00 2", Load),
             aStart("2024/06/18 0:00 5 6:00 5 7:00 2", Load), "STORM", "STORM");
WARNING_CASE("W-series-start", aStart("2024/06/18 3:00 1 6:00 5 7:00 2", Load),
             aStart("2024/06/17 3:00 1 6:00 5 7:00 2", Load), "STORM", "STORM");

// --- gages and series ------------------------------------------------------------------------------------------------

static std::string aMonomer(const std::string& gages, const std::string& more) {
    return aLand(
        "[RAINGAGES]\n" + gages +
        "\n[LIDS]\nBED BC\nBED SOIL 500 0.45 0.2 0.1 40 10\n[LID_MONOS]\nM1 BED G2 100 5 0 100\n[CONNECTIONS]\n"
        "C1 M1 O1 NO 60\n[GENERAL]\nLID_MONO_RAINFALL YES\n" +
        more);
}

WARNING_CASE("W-series-shared", aMonomer("G2 INTENSITY 0:10 RAIN", ""), aMonomer("G2 INTENSITY 0:10 COPY", ""), "G2",
             "G2");
WARNING_CASE("W-series-shared", aMonomer("G2 INTENSITY 0:10 COPY", "[INFLOWS]\nJ1 FLOW FLOW 0 COPY 1\n"),
             aMonomer("G2 INTENSITY 0:10 COPY", "[INFLOWS]\nJ1 FLOW FLOW 0 FLOWS 1\n"), "G2", "G2");
WARNING_CASE("W-series-shared",
             aLand("[RAINGAGES]\nG2 INTENSITY 0:10 FLOWS\n[INFLOWS]\nJ1 FLOW FLOW 0 FLOWS 1\nJ1 MASS TSS 0 \"\" 0\n"),
             aLand("[RAINGAGES]\nG2 INTENSITY 0:10 FLOWS\n[INFLOWS]\nJ1 FLOW FLOW 0 FLOWS 1\n"), "G2", "G2");
WARNING_CASE("W-number-cut", aMonomer("G2 INTENSITY 0.0009 COPY", ""), aMonomer("G2 INTENSITY 0.0833 COPY", ""), "G2",
             "0.0009");
WARNING_CASE("W-time-form", aMonomer("G2 INTENSITY 1h COPY", ""), aMonomer("G2 INTENSITY 1 COPY", ""), "G2", "1h");

// --- curves ----------------------------------------------------------------------------------------------------------

static std::string aTank(const std::string& area, const std::string& depth,
                         const std::string& pumping = "0 0.1 2 0.2") {
    return aDay("[CURVES]\nAREA TANK " + area + "\nDUTY PUMP1 " + pumping + "\n[TANKS]\nT1 AREA " + depth +
                " 1\n[OUTFALLS]\nO1\n[PUMPS]\nX1 T1 O1 DUTY NO OFF 1.5 1.2\n");
}

WARNING_CASE("W-curve-range", aTank("0 20 3 30", "3.5"), aTank("0 20 3.5 30", "3.5"), "T1", "T1");
WARNING_CASE("W-curve-range", aTank("0 20 3 30", "3.5"), aTank("0 20", "3.5"), "T1", "T1");
WARNING_CASE("W-curve-range", aTank("0 20 3 20", "3", "0 0.1 1 0.2"), aTank("0 20 3 20", "3.5", "0 0.1"), "X1", "X1");

static std::string aBed(const std::string& type) {
    return aDay(
        "[CURVES]\nBED " + type +
        " 0 1 1 0 2 0.2 3 1\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\nC1 J1 O1 NO 900 0.5 0.03 IRREGULAR BED\n");
}

WARNING_CASE("W-curve-type", aBed("TANK"), aBed("TRANSECT"), "C1", "C1");

// --- land uses -------------------------------------------------------------------------------------------------------

static std::string aRoad(const std::string& lines) {
    return aLand("[COVERAGES]\nS1 ROAD 100\n" + lines);
}

WARNING_CASE("W-washoff-type", aRoad("[WASHOFF]\nROAD TSS SURFACE 1 1 0\n"), aRoad("[WASHOFF]\nROAD TSS EMC 0 NO 0\n"),
             "ROAD", "SURFACE");
WARNING_CASE("W-washoff-dry", aRoad("[WASHOFF]\nROAD TSS EMC 80 NO 0\n"),
             aRoad("[WASHOFF]\nROAD TSS EMC 80 NO 0\n[BUILDUP]\nROAD TSS 20 0.4\n"), "ROAD", "ROAD");
WARNING_CASE("W-washoff-dry", aRoad("[WASHOFF]\nROAD TSS EXP 80 1 0\n[BUILDUP]\nROAD TSS 20 0\n"),
             aRoad("[WASHOFF]\nROAD TSS EXP 80 1 0\n[LOADINGS]\nS1 TSS 5\n"), "ROAD", "ROAD");
WARNING_CASE("W-load-no-land", aLand("[LOADINGS]\nS1 TSS 5\n"), aRoad("[LOADINGS]\nS1 TSS 5\n"), "S1", "S1");

static std::string aPollutant(const std::string& name) {
    return aDay("[POLLUTANTS]\n" + name + " 0\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 300 3 0.2 0\n");
}

WARNING_CASE("W-pollutant-name", aPollutant("Flow"), aPollutant("BOD"), "Flow", "Flow");
