// Warnings about time series against the run and against what reads them, and about patterns.

#include "warnings/cases.h"
#include "warnings/town.h"

// --- inflows: a day from 2024/06/18 on -------------------------------------------------------------------------------

static std::string aMeter(const std::string& entries, const std::string& record = "FLOW FLOW 0.01 METER 1") {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n[INFLOWS]\nJ1 " + record +
                "\n[TIMESERIES]\nMETER " + entries + "\n");
}

WARNING_CASE("W-series-short", aMeter("2024/06/18 2:00 0.2 3:00 0.3 30:00 0"),
             aMeter("2024/06/18 2:00 0 3:00 0.3 30:00 0"), "METER", "METER");
WARNING_CASE("W-series-short", aMeter("2024/06/17 2:00 0.2 40:00 0.3"), aMeter("2024/06/17 2:00 0.2 49:00 0.3"),
             "METER", "METER");
// A concentration matters while there is water.
WARNING_CASE("W-series-short",
             aMeter("2024/06/18 2:00 20 3:00 30 30:00 0", "FLOW FLOW 0.01 \"\" 0\nJ1 CONCEN A 0 METER 1") +
                 "[POLLUTANTS]\nA 0\n",
             aMeter("2024/06/18 2:00 20 3:00 30 30:00 0", "FLOW FLOW 0 FLUSH 1\nJ1 CONCEN A 0 METER 1") +
                 "FLUSH 2024/06/18 2:00 0 3:00 1 4:00 0\n[POLLUTANTS]\nA 0\n",
             "METER", "METER");
WARNING_CASE("W-series-last", aMeter("2024/06/17 2:00 0.2 48:00 0.3"), aMeter("2024/06/17 2:00 0.2 48:00 0"), "METER",
             "METER");
WARNING_CASE("W-series-outside", aMeter("2023/06/18 0:00 0 2:00 0.2 48:00 0"),
             aMeter("2024/06/18 0:00 0 2:00 0.2 48:00 0"), "METER", "METER");
WARNING_CASE("W-series-flow", aMeter("2024/06/18 0:00 0 2:00 210 48:00 0"),
             aMeter("2024/06/18 0:00 0 2:00 210 48:00 0", "FLOW FLOW 0.01 METER 0.001"), "J1", "J1");
WARNING_CASE("W-series-flow", aMeter("2024/06/18 0:00 0 2:00 210 48:00 0", "FLOW FLOW 0.01 METER -1"),
             aMeter("2024/06/18 0:00 0 2:00 210 48:00 0", "FLOW FLOW 0.01 METER -0.0001"), "J1", "J1");

// --- rain ------------------------------------------------------------------------------------------------------------

static std::string aRain(const std::string& gage, const std::string& entries) {
    return aDay("[RAINGAGES]\nG1 " + gage +
                " RAIN\n[SUBCATCHS]\nS1 G1 J1 1 100 50 1 0.014 0.2 1.5 4 60 8 4 7 0\n"
                "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n[TIMESERIES]\nRAIN " +
                entries + "\n");
}

WARNING_CASE("W-series-outside", aRain("INTENSITY 0:10", "2024/06/20 1:00 4 1:10 8 1:20 0"),
             aRain("INTENSITY 0:10", "2024/06/18 1:00 4 1:10 8 1:20 0"), "RAIN", "RAIN");
WARNING_CASE("W-gage-dry", aRain("INTENSITY 0:10", "2024/06/17 1:00 4 1:10 8 1:20 0 49:00 1"),
             aRain("INTENSITY 0:10", "2024/06/17 23:40 4 23:50 8 24:00 6 24:10 0 49:00 1"), "G1", "G1");
WARNING_CASE("W-gage-interval", aRain("INTENSITY 0:15", "2024/06/18 1:00 4 1:05 8 1:10 0"),
             aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:05 8 1:10 0"), "G1", "G1");
WARNING_CASE("W-gage-interval", aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:15 8 1:30 0"),
             aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:15 8 1:20 2 1:30 0"), "G1", "G1");
// 5 minutes: 107.6 mm are the records, 26.9 mm a quarter of them.
WARNING_CASE("W-rain-high", aRain("VOLUME 0:05", "2024/06/18 1:00 4 1:05 108 1:10 0"),
             aRain("VOLUME 0:05", "2024/06/18 1:00 4 1:05 107 1:10 0"), "RAIN", "RAIN");
WARNING_CASE("W-rain-unusual", aRain("VOLUME 0:05", "2024/06/18 1:00 4 1:05 27 1:10 0"),
             aRain("VOLUME 0:05", "2024/06/18 1:00 4 1:05 26 1:10 0"), "RAIN", "RAIN");
WARNING_CASE("W-rain-unusual", aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:05 330 1:10 0"),
             aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:05 310 1:10 0"), "RAIN", "RAIN");
WARNING_CASE("W-rain-negative", aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:05 -999 1:10 0"),
             aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:05 9 1:10 0"), "RAIN", "RAIN");
WARNING_CASE("W-step-plain", aRain("INTENSITY 5", "2024/06/18 1:00 4 1:05 9 1:10 0"),
             aRain("INTENSITY 0:05", "2024/06/18 1:00 4 1:05 9 1:10 0"), "G1", "5");

// --- patterns --------------------------------------------------------------------------------------------------------

static std::string aPattern(const std::string& factor) {
    std::string factors;
    for (int k = 0; k < 24; ++k) {
        factors += " " + factor;
    }
    return aDay(
        "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n[DWFS]\nJ1 FLOW 0.02 DAY\n"
        "[PATTERNS]\nDAY HOURLY" +
        factors + "\n");
}

WARNING_CASE("W-pattern-mean", aPattern("100"), aPattern("1"), "DAY", "DAY");
WARNING_CASE("W-pattern-mean", aPattern("0.0417"), aPattern("0.9"), "DAY", "DAY");
