// Warnings about steps that are longer than objects bear.

#include "warnings/cases.h"
#include "warnings/town.h"

static std::string aConduit(const std::string& line) {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\n" + line + "\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n");
}

// DN 600 at 5 % runs 6.6 m/s when full (Manning): 20 m in 3 s.
WARNING_CASE("W-step-conduit", aConduit("C1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6"),
             aConduit("C1 J1 O1 NO 600 5 0.013 CIRCULAR 0.6"), "C1", "C1");
WARNING_CASE("W-step-conduit", aConduit("C1 J1 O1 NO 20 5 0.013 RECTANGULAR 0.6 0.5"),
             aConduit("C1 J1 O1 NO 600 5 0.013 RECTANGULAR 0.6 0.5"), "C1", "C1");
WARNING_CASE("W-step-conduit", aConduit("C1 J1 O1 NO 20 5 0.013 IRREGULAR BED\n[CURVES]\nBED TRANSECT 0 1 1 0 2 0 3 1"),
             aConduit("C1 J1 O1 NO 900 5 0.013 IRREGULAR BED\n[CURVES]\nBED TRANSECT 0 1 1 0 2 0 3 1"), "C1", "C1");

RUN_WARNING_CASE("W-run-emptied", aConduit("C1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6"),
                 aConduit("C1 J1 O1 NO 600 5 0.013 CIRCULAR 0.6"), "C1", "C1");

// --- pipes and delays ------------------------------------------------------------------------------------------------

static std::string aPipe(const std::string& k, const std::string& rest) {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO " + k + " " + rest +
                " 0\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n");
}

static std::string aDelay(const std::string& delay) {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO " + delay +
                "\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n");
}

static std::string aFilter(const std::string& hours) {
    return aDay("[JUNCTIONS]\nJ1\n[REACTORS]\nR1 PFR O1 FLOW_CAPACITY 2000 " + hours +
                " 200\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 R1 NO 0\nC2 R1 O1 NO 0\n"
                "[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n");
}

// Steps of 60 s.
WARNING_CASE("W-step-pipe", aPipe("60", "2 0.2"), aPipe("120", "2 0.2"), "P1", "60");
WARNING_CASE("W-step-pipe", aPipe("119", "2 0.2"), aPipe("180", "2 0.2"), "P1", "119");
WARNING_CASE("W-step-multiple", aPipe("200", "2 0.2"), aPipe("180", "2 0.2"), "P1", "200");
WARNING_CASE("W-muskingum", aPipe("180", "2 0.5"), aPipe("180", "2 0.49"), "P1", "0.5");
// 29 reaches of 48 minutes take as long as the day.
WARNING_CASE("W-pipe-travel", aPipe("2880", "29 0.2"), aPipe("2880", "28 0.2"), "P1", "29");
WARNING_CASE("W-step-connection", aDelay("90"), aDelay("120"), "C1", "90");
WARNING_CASE("W-delay-run", aDelay("86400"), aDelay("86340"), "C1", "86400");
WARNING_CASE("W-delay-run", aFilter("24"), aFilter("23.9"), "R1", "24");
WARNING_CASE("W-conduit-lengthened", aTownWith("TANK NO 600", "TANK NO 40"), aTownWith("TANK NO 600", "TANK NO 500"),
             "C1", "40");

// --- tanks and pumps -------------------------------------------------------------------------------------------------

static std::string aSump(const std::string& area, const std::string& pump, const std::string& curve,
                         const std::string& more = "") {
    return aDay(
        "[JUNCTIONS]\nJ1\n[TANKS]\nT1 SHAPE 3 0.5\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 T1 NO 0\n[PUMPS]\n"
        "U1 T1 O1 DUTY NO OFF " +
        pump + "\n[CURVES]\nSHAPE TANK 0 " + area + " 3 " + area + "\nDUTY " + curve +
        "\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n" + more);
}

// A pump of 0.1 m3/s takes 6 m3 in a step of 60 s.
WARNING_CASE("W-step-tank", aSump("1.5", "0 0", "PUMP1 0 0.1 3 0.1"), aSump("40", "0 0", "PUMP1 0 0.1 3 0.1"), "T1",
             "T1");
WARNING_CASE("W-step-tank", aSump("50", "0 0", "PUMP1 0 0.1 3 0.1", "[ORIFICES]\nQ1 T1 O1 NO CIRCULAR 0.62 0 1\n"),
             aSump("50", "0 0", "PUMP1 0 0.1 3 0.1", "[ORIFICES]\nQ1 T1 O1 NO CIRCULAR 0.62 0 0.5\n"), "T1", "T1");
// A flow of 0.02 m3/s brings 1.2 m3 in a step.
WARNING_CASE("W-step-tank", aSump("0.39", "0 0", "PUMP1 0 0.001 3 0.001"),
             aSump("0.41", "0 0", "PUMP1 0 0.001 3 0.001"), "T1", "T1");
WARNING_CASE("W-step-pump", aSump("50", "1 0.9", "PUMP1 0 0.1 3 0.1"), aSump("50", "1 0.8", "PUMP1 0 0.1 3 0.1"), "U1",
             "U1");
// 8 m3 at 0.1 m3/s: a start in 320 s; 10 m3 make 400 s.
WARNING_CASE("W-pump-cycle", aSump("40", "1 0.8", "PUMP1 0 0.1 3 0.1"), aSump("40", "1 0.75", "PUMP1 0 0.1 3 0.1"),
             "U1", "U1");
// From 0.8 m one step of 6 m3 leads to 0.68 m.
WARNING_CASE("W-pump-lost", aSump("50", "1.5 0.8", "PUMP2 0.7 0 3 0.1"), aSump("50", "1.5 0.8", "PUMP2 0.6 0 3 0.1"),
             "U1", "U1");

// --- the steps of the project ----------------------------------------------------------------------------------------

static std::string aRun(const std::string& options) {
    return "[GENERAL]\n" + options +
           "\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n";
}

static std::string aSpan(const std::string& end, const std::string& step, const std::string& report = "1:00") {
    return aRun("START_DATE 2024/06/18\nEND_DATE " + end + "\nROUTING_STEP " + step +
                "\nRUNOFF_STEP 0:30\nREPORT_STEP " + report);
}

WARNING_CASE("W-step-report", aSpan("2024/06/19", "0:01:00", "0:02:30"), aSpan("2024/06/19", "0:01:00", "0:02:00"), "",
             "");
WARNING_CASE("W-step-last", aSpan("2024/06/19", "0:07:00", "0:14"), aSpan("2024/06/19", "0:06:00", "0:12"), "", "");
WARNING_CASE("W-duration", aSpan("2024/06/18\nEND_TIME 4:00", "0:01:00"), aSpan("2024/06/18\nEND_TIME 3:00", "0:01:00"),
             "", "");
WARNING_CASE("W-duration-long", aSpan("2250/06/18", "0:05:00"), aSpan("2150/06/18", "0:05:00"), "", "");

static std::string aRoof(const std::string& interval, const std::string& land) {
    return aDay("[RAINGAGES]\nG1 INTENSITY " + interval +
                " RAIN\n[SUBCATCHS]\nS1 G1 J1 1 100 50 1 0.014 0.2 1.5 4 60 8 4 7 0\n" + land +
                "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n"
                "[TIMESERIES]\nRAIN 2024/06/18 1:00 0 2:00 4 2:10 12 2:20 0\n");
}

WARNING_CASE("W-step-runoff", aRoof("0:00:30", ""), aRoof("0:10:00", ""), "G1", "G1");
// Ten metres of a roof at 2 %: water passes them in 3 s. The last one of the file counts.
WARNING_CASE("W-step-runoff", aRoof("0:10:00", "S2 G1 J1 0.01 10 100 2 0.014 0.2 1.5 4 60 8 4 7 0\n"),
             aRoof("0:10:00", "S2 G1 J1 1 100 50 1 0.014 0.2 1.5 4 60 8 4 7 0\n"), "S2", "S2");
