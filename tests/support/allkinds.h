#pragma once
// A project with an object of every kind, outside models included. Its first six nodes have the kinds 0 to 5 in this
// order, and so have its first six links: a host may thus set the parameters of these links.

#include <string>

#include "support/engines.h"

/// Object codes of parameters and results, and an object of each in the project.
struct CodedObject {
    int32_t code;
    const char* id;
    int32_t parameterCount;
    int32_t resultCount;  ///< with two pollutants
};

constexpr CodedObject CODED_OBJECTS[] = {
    {TARNVELDE_SUBCATCHMENT, "S", 13, 6}, {TARNVELDE_JUNCTION, "J", 0, 4},  {TARNVELDE_TANK, "T", 2, 7},
    {TARNVELDE_OUTFALL, "O", 0, 4},       {TARNVELDE_SPLITTER, "SP", 3, 6}, {TARNVELDE_REACTOR, "R", 0, 10},
    {TARNVELDE_LID_MONOMER, "M", 0, 14},  {TARNVELDE_PIPE, "P", 4, 6},      {TARNVELDE_PUMP, "PU", 3, 3},
    {TARNVELDE_CONNECTION, "C", 1, 4},    {TARNVELDE_CONDUIT, "D", 3, 8},   {TARNVELDE_WEIR, "W", 5, 3},
    {TARNVELDE_ORIFICE, "OR", 5, 3}};

/// Rain of 36 mm/h in the first hour. Pollutants: B, 5 mg/L in rain, and J, which bears the name of a node.
inline const std::string AllKindsText =
    "EVENT_INTERVAL 2\nLID_MONO_RAINFALL YES\n[EVAPORATION]\nCONSTANT 4\n[RAINGAGES]\nG INTENSITY 1:00 RAIN\n"
    "[TIMESERIES]\nRAIN 2021/03/01 0:00 36 1:00 0 2:00 0\n[PATTERNS]\nDAY HOURLY 1 1 1 1\n"
    "[POLLUTANTS]\nB 5\nJ 0\n[LANDUSES]\nROAD\n[COVERAGES]\nS ROAD 100\n"
    "[BUILDUP]\nROAD J 40 0.4\n[WASHOFF]\nROAD J EMC 10 NO 0\n[LOADINGS]\nS J 20\n"
    // name, gage, outlet, ha, width, impervious %, slope %, two n, two storages, infiltration
    "[SUBCATCHS]\nS G OS 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\nGRASS G OS 2 100 0 2 0.01 0.1 1 3 5 5 4 7 0\n"
    "[LIDS]\nCELL BC\nCELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 40 10\nCELL STORAGE 300 0.67 3\n"
    "CELL DRAIN 3 0.5 100\n"
    "[JUNCTIONS]\nJ\n[TANKS]\nT SHAPE 10 1\n[OUTFALLS]\nO\n[SPLITTERS]\nSP C FLOW_RATIO 0.2 0\n"
    "[SWMM_INPS]\nSW a.inp NO\nINFLOW IN CR\nOUTFLOW OUT CS\n[REACTORS]\nR CSTR OR2 FLOW_CAPACITY 864 100 50 50\n"
    "[LID_MONOS]\nM CELL G 300 5 20 100\n[VORN_INPS]\nV p.sti NO\nINFLUENT I CS CVIN\nEFFLUENT E CV CVOUT\n"
    "[OUTFALLS]\nO2\nOS\nOR2\n"
    "[PIPES]\nP J SP NO 1350 1 0 0\n[PUMPS]\nPU T O DUTY NO ON 0 0\n[CONNECTIONS]\nC SP T NO 0\n"
    "[CONDUITS]\nD SP R NO 20000 0.01 0.013 RECTANGULAR 2 3\n[WEIRS]\nW T O NO RECTANGULAR 1.86 6 50 0.4\n"
    "[ORIFICES]\nOR T M NO RECTANGULAR 0.62 0 0.3 0.2\n"
    "[CONNECTIONS]\nCM M O2 NO 0\nCR R SW NO 0\nCS SW V NO 0\nCV V O2 NO 0\n"
    "[CONVERTERS]\nCVOUT VORN_EFFLUENT\nCVOUT B CONSTANT 0 0\nCVOUT J CONSTANT 0 0\nCVIN VORN_INFLUENT\nCVIN COD "
    "CONSTANT 0 0\nCVIN NH4 CONSTANT 0 0\n"
    "CVIN NO3 CONSTANT 0 0\nCVIN TP CONSTANT 0 0\nCVIN TSS CONSTANT 0 0\nCVIN ALK CONSTANT 0 0\n"
    "[CURVES]\nSHAPE TANK 0 1000 20 1000\nDUTY PUMP2 0 0.05 20 0.05\n"
    "[REACTORS_EMPTYING]\nR OR2 36 36 86.4 \"\"\n"
    "[CONTROL_RULES]\nRULE X\nIF REACTOR R FILL > 0.9\nTHEN REACTOR R EMPTYING = YES\n";

constexpr int ALL_KINDS_STEPS = 16;  ///< three hours

struct AllKinds : CoupledProject {
    AllKinds() : CoupledProject(AllKindsText, ALL_KINDS_STEPS) {
        model("a.inp", getPassingModel(ALL_KINDS_STEPS, "substances B J\ngage RG IN 100\n"));
        model("p.sti", getPassingPlant(ALL_KINDS_STEPS));
    }
};

/// Two steps of the project with all kinds; J and SP, M and R get water and J a load too.
struct AllKindsRun : AllKinds {
    explicit AllKindsRun(int32_t saveMode) {
        EXPECT_EQ(open(), 0) << getReport();
        EXPECT_EQ(tarnvelde_start(saveMode), 0);
        for (int k = 0; k < 2; ++k) {
            for (const char* node : {"J", "SP", "R", "M"}) {
                tarnvelde_setExtInflow(node, 0.3);
            }
            tarnvelde_setExtLoad("J", "", 0.004);
            step();
        }
    }
    void finish() {
        tarnvelde_end();
        tarnvelde_close();
    }
};
