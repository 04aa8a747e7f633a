// Warnings that come in a run, or at its end.

#include <fstream>

#include "support/tempfolder.h"
#include "warnings/cases.h"

static const std::string OUTFALL = "[OUTFALLS]\nO1\n";

static std::string aTank(const std::string& inflow, const std::string& sections) {
    return aDay("[TANKS]\nT1 AREA 2 0\n" + OUTFALL + "[CURVES]\nAREA TANK 0 10 4 10\n" + sections +
                "\n[INFLOWS]\nT1 FLOW FLOW " + inflow + " \"\" 0\n");
}

static std::string aWeir(const std::string& crest) {
    return "[WEIRS]\nW1 T1 O1 NO RECTANGULAR 1.8 1 " + crest + " 0";
}

RUN_WARNING_CASE("W-run-spill", aTank("0.04", aWeir("3")), aTank("0.04", aWeir("1")), "T1", "T1");

static std::string aPipe(const std::string& inflow) {
    return aDay("[JUNCTIONS]\nJ1\n" + OUTFALL + "[PIPES]\nP1 J1 O1 NO 300 3 0.2 0.5\n[INFLOWS]\nJ1 FLOW FLOW " +
                inflow + " \"\" 0\n");
}

RUN_WARNING_CASE("W-run-flood", aPipe("0.6"), aPipe("0.4"), "P1", "P1");

// 0.5 m3/s are 30 m3 in a step, and the tank holds 10 m3 at the shut-off depth of 1 m.
static std::string aPump(const std::string& shutOff, const std::string& curve) {
    return "[PUMPS]\nP1 T1 O1 DUTY NO OFF 1.9 " + shutOff + "\n[CURVES]\nDUTY PUMP2 " + curve;
}

RUN_WARNING_CASE("W-run-pump-dry", aTank("0.02", aPump("1", "0.01 0.5 4 0.5")),
                 aTank("0.02", aPump("1", "0.01 0.1 4 0.1")), "T1", "T1");
RUN_WARNING_CASE("W-run-pump-lost", aTank("0.02", aPump("1", "1.9 0 4 0.1")), aTank("0.02", aPump("1", "0.1 0 4 0.1")),
                 "T1", "T1");
RUN_WARNING_CASE("W-run-balance", aTank("0.02", aPump("1", "1.9 0 4 0.1")), aTank("0.02", aPump("1", "0.1 0 4 0.1")),
                 "T1", "T1");

// A concentration that is no number.
static std::string aSeries(const std::string& value) {
    return aDay("[JUNCTIONS]\nJ1\nJ2\n" + OUTFALL +
                "[CONNECTIONS]\nC1 J1 J2 NO 0\nC2 J2 O1 NO 0\n[INFLOWS]\nJ2 FLOW FLOW 0.1 \"\" 0\n"
                "J1 FLOW FLOW 0 S 1\n[TIMESERIES]\nS 2024/06/17 0:00 0.1 2024/06/18 12:00 " +
                value + " 2024/06/20 0:00 0.1\n");
}

RUN_WARNING_CASE("W-run-number", aSeries("nan"), aSeries("0.1"), "J1", "J1");

/// The file of a model for the engine of SWMM nodes, one that refuses its steps or doesn't.
static std::string makeModelFile(const std::string& name, const std::string& refusal) {
    static const TempFolder folder;
    std::string path = folder.file(name);
    std::ofstream(path) << "units metric\nperiod 45461 0 45462 0\nstep 60\nnode IN\nnode OUT\nreach R IN OUT 0\n"
                        << refusal;
    return path;
}

static std::string aModelInside(const std::string& name, const std::string& refusal) {
    return aDay("[JUNCTIONS]\nJ1\n" + OUTFALL + "[SWMM_INPS]\nS1 \"" + makeModelFile(name, refusal) +
                "\" NO\nINFLOW IN C1\nOUTFLOW OUT C2\n[CONNECTIONS]\nC1 J1 S1 NO 0\nC2 S1 O1 NO 0\n"
                "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 0\n");
}

RUN_WARNING_CASE("W-run-engine", aModelInside("refusing.inp", "refuse swmm_step 5\n"), aModelInside("sound.inp", ""),
                 "S1", "S1");

// In two hours of a pipe with K of 40 minutes a third of the water stands in its sums at the end: that is no loss.
RUN_WARNING_CASE("W-run-balance", aTank("0.02", aPump("1", "1.9 0 4 0.1")),
                 "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/18\nEND_TIME 3:00\nROUTING_STEP 0:01:00\n"
                 "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 O1 NO 2400 1 0.2 0\n"
                 "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 0\n",
                 "T1", "T1");

static std::string aWell(const std::string& taken) {
    return aDay("[JUNCTIONS]\nJ1\nJ2\n" + OUTFALL +
                "[CONNECTIONS]\nC1 J1 J2 NO 0\nC2 J2 O1 NO 0\n[INFLOWS]\n"
                "J1 FLOW FLOW 0.02 \"\" 0\nJ2 FLOW FLOW " +
                taken + " \"\" 0\n");
}

RUN_WARNING_CASE("W-run-negative", aWell("-0.05"), aWell("-0.01"), "J2", "J2");
