// See town.h.

#include "town.h"

static std::string number(int k) {
    return std::to_string(k);
}

// NOLINTBEGIN(performance-inefficient-string-concatenation): lines are easier to read as they stand

std::string bench_makeTown(int parcels) {
    std::string land, junctions, pipes, conduits, dry, inflows, coverages, outfalls;
    for (int k = 0; k < parcels; ++k) {
        const std::string n = number(k);
        land += "S" + n + " G J" + n + " 0." + number(5 + k % 4) + " 60 " + number(30 + k % 50) +
                " 1.2 0.013 0.2 1.5 5 75 8 4 7 0\n";
        junctions += "J" + n + "\nK" + n + "\n";
        outfalls += "O" + n + "\n";
        pipes += "P" + n + " J" + n + " K" + n + " NO 180 2 0.2 0\n";
        conduits += "C" + n + " K" + n + " O" + n + " NO 900 0.5 0.013 CIRCULAR 0.6\n";
        dry += "J" + n + " FLOW 0.0002 DAY\nJ" + n + " COD 500 \"\"\n";
        inflows += "K" + n + " FLOW FLOW 0.001 WELL 0.001\n";
        coverages += "S" + n + " ROOF 60\nS" + n + " YARD 40\n";
    }
    std::string pattern = "DAY HOURLY";
    for (int hour = 0; hour < 24; ++hour) {
        pattern += hour % 2 == 0 ? " 0.9" : " 1.1";
    }
    return "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/20\nROUTING_STEP 0:00:30\nRUNOFF_STEP 0:05:00\n"
           "REPORT_STEP 1:00:00\n[RAINGAGES]\nG INTENSITY 0:05:00 RAIN\n[TIMESERIES]\nRAIN 2024/06/17 0:00 0 "
           "2024/06/17 "
           "0:05 0\nRAIN 2024/06/18 6:00 12 2024/06/18 6:05 24 2024/06/18 6:10 0 2024/06/21 0:00 0\n"
           "WELL 2024/06/17 0:00 1 2024/06/17 1:00 1 2024/06/22 0:00 1\n[POLLUTANTS]\nCOD 10\n[LANDUSES]\nROOF\nYARD\n"
           "[BUILDUP]\nROOF COD 40 0.3\nYARD COD 60 0.3\n[WASHOFF]\nROOF COD EXP 0.1 1.2 0\nYARD COD EXP 0.1 1.2 0\n"
           "[PATTERNS]\n" +
           pattern + "\n[SUBCATCHS]\n" + land + "[JUNCTIONS]\n" + junctions + "[OUTFALLS]\n" + outfalls + "[PIPES]\n" +
           pipes + "[CONDUITS]\n" + conduits + "[DWFS]\n" + dry + "[INFLOWS]\n" + inflows + "[COVERAGES]\n" + coverages;
}

// NOLINTEND(performance-inefficient-string-concatenation)
