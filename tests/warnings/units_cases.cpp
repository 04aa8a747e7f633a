// Warnings about numbers that are in another unit than meant.

#include "warnings/cases.h"

static std::string aConduit(const std::string& slope) {
    return aDay("[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\nC1 J1 O1 NO 600 " + slope +
                " 0.013 CIRCULAR 0.6\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n");
}

WARNING_CASE("W-unit-slope", aConduit("0.005"), aConduit("0.5"), "C1", "0.005");
