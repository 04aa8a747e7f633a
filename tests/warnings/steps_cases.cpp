// Warnings about steps that are longer than objects bear.

#include "warnings/cases.h"

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
