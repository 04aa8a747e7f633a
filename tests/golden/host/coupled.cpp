// Projects with outside models, run by the engines of engines/trial. Their log is one of the results.

#include "coupledtext.h"
#include "host.h"

namespace {

constexpr const char* VORN_ALL =
    "[CONVERTERS]\nIN VORN_INFLUENT\nIN COD POLLUTANT A 1.2\nIN COD POLLUTANT B 0.3 ADD\nIN NH4 POLLUTANT B 0.5\n"
    "IN NH4 CONSTANT 2 1 SUBTRACT\nIN NO3 CONSTANT 1.5 2\nIN TP POLLUTANT A 0.01\nIN TSS POLLUTANT B 1\nIN ALK "
    "CONSTANT 300 1\n"
    "IN2 VORN_INFLUENT\nIN2 COD CONSTANT 90 1\nIN2 NH4 CONSTANT 0 1\nIN2 NO3 CONSTANT 0 1\nIN2 TP CONSTANT 0 1\n"
    "IN2 TSS POLLUTANT A 0.4\nIN2 ALK CONSTANT 0 1\nOUTC VORN_EFFLUENT\nOUTC A POLLUTANT S_F 1\nOUTC A POLLUTANT X_S 1 "
    "ADD\n"
    "OUTC A CONSTANT 3 1 SUBTRACT\nOUTC B POLLUTANT S_NH4 7\nSLUDGE VORN_EFFLUENT\nSLUDGE A POLLUTANT X_I 1\n"
    "SLUDGE B CONSTANT 40 1\n";

constexpr const char* WORKS =
    "step 675\ninfluent RAW\ninfluent RAIN\neffluent CLEAR 0.8\neffluent MUD 0.2\nbasin 4000 60 300 20 1 5 200 250\n";

std::string feeds() {
    return "[POLLUTANTS]\nA 3\nB 0\n[DWFS]\nJ FLOW 0.02 H\nJ A 120 \"\"\nJ B 30 H\nK FLOW 0.01 \"\"\nK A 60 H\n"
           "[PATTERNS]\nH HOURLY 1 1.6 0.5 1.2 2 0.8 1.1\n[RAINGAGES]\nG INTENSITY 0:10 RAIN\n[TIMESERIES]\n"
           "RAIN 2021/03/01 0:00 2 0:30 30 1:30 12 3:00 0 5:00 8 6:00 0\n";
}

/// Two districts one after the other; between them a link of the kind asked for.
std::string makeDistricts(const std::string& between, int steps, int step) {
    return coupled_getGeneral(steps, step) + feeds() +
           "[SUBCATCHS]\nLAND G SW 1 100 60 1 0.013 0.2 1 3 40 4 4 5 0\n[JUNCTIONS]\nJ\nK\n[SWMM_INPS]\nSW a.inp YES\n"
           "INFLOW IN FROM_J\nINFLOW MID LAND\nOUTFLOW OUT TO_X\nOUTFLOW SIDE TO_O\nSX b.inp NO\nINFLOW IN TO_X\n"
           "INFLOW KIN FROM_K\nOUTFLOW OUT LAST\n[OUTFALLS]\nO\n" +
           between + "[CONNECTIONS]\nFROM_J J SW NO 60\nTO_O SW O NO 300\n[PIPES]\nFROM_K K SX NO " +
           std::to_string(2 * step) + " 1 0.2 0\n[CONDUITS]\nLAST SX O NO 900 0.3 0.02 CIRCULAR 0.6\n" +
           "[CONTROL_RULES]\nRULE GATE\nIF JUNCTION J INFLOW > 0.025\nTHEN SWMM SW R1 SETTING = 0.3\n"
           "ELSE SWMM SW R1 SETTING = 0.9\n";
}

std::vector<File> makeDistrictFiles(const std::string& between, int steps, int step, const std::string& first,
                                    const std::string& second) {
    const std::string period = coupled_getPeriod(steps, step);
    return {{"model.inp", makeDistricts(between, steps, step)},
            {"a.inp", period + first +
                          "substances B A\nnode IN\nnode MID\nnode OUT\nnode SIDE\nreach R1 IN MID 1800 20 50 9\n"
                          "reach R2 MID OUT 900\nspring SIDE 0.003 12 4\n"},
            {"b.inp", period + second +
                          "substances A X B\nnode IN\nnode KIN\nnode BIN\nnode OUT\nreach R1 IN OUT 2400 5 80\nreach "
                          "R2 KIN OUT 600\n"
                          "reach R3 BIN OUT 0\ngage RG IN 500\n"}};
}

void addDistricts(std::vector<Case>& cases) {
    const std::string pipe = "[PIPES]\nTO_X SW SX NO 5400 2 0.2 0.05\n", delay = "[CONNECTIONS]\nTO_X SW SX NO 450\n",
                      conduit = "[CONDUITS]\nTO_X SW SX NO 700 0.2 0.02 RECTANGULAR 0.4 0.5\n";
    cases.push_back(
        {"coupled-connection", makeDistrictFiles(delay, 40, 675, "step 675\n", "step 675\n"), script_runCoupled});
    cases.push_back({"coupled-pipe", makeDistrictFiles(pipe, 60, 675, "step 675\n", "step 225\n"), script_runCoupled});
    cases.push_back({"coupled-conduit", makeDistrictFiles(conduit, 40, 675, "step 1350 200\n", "step 500 70 1000\n"),
                     script_runCoupled});
    cases.push_back(
        {"coupled-minutes", makeDistrictFiles(delay, 240, 60, "step 60\n", "step 30 45\n"), script_runCoupled});
    cases.push_back({"coupled-over-early",
                     makeDistrictFiles(pipe, 40, 675, "step 675\nover 9000\n", "step 675\nover 20250\n"),
                     script_runCoupled});
}

std::string makePlant(int steps, int step) {
    return coupled_getGeneral(steps, step) + feeds() +
           "[JUNCTIONS]\nJ\nK\n[VORN_INPS]\nV p.sti NO\nINFLUENT RAW CJ IN\nINFLUENT RAIN CK IN2\nEFFLUENT CLEAR CO "
           "OUTC\n"
           "EFFLUENT MUD PM SLUDGE\n[OUTFALLS]\nO\nM\n[CONNECTIONS]\nCJ J V NO 60\nCK K V NO 0\nCO V O NO 200\n"
           "[PIPES]\nPM V M NO " +
           std::to_string(4 * step) + " 1 0.2 0\n" + VORN_ALL;
}

/// What comes back to a district a step late, over a lagged link.
void addLagged(std::vector<Case>& cases) {
    std::vector<File> files =
        makeDistrictFiles("[CONNECTIONS]\nTO_X SW SX NO 450\n", 50, 675, "step 675\n", "step 300\n");
    std::string& text = files[0].text;
    const auto insert = [&](const std::string& behind, const std::string& lines) {
        text.insert(text.find(behind) + behind.size(), lines);
    };
    insert("INFLOW KIN FROM_K\n", "INFLOW BIN BACK\nOUTFLOW OUT BEYOND\n");
    insert("INFLOW IN FROM_J\n", "INFLOW MID LATE\n");
    text +=
        "[SPLITTERS]\nSP BACK RATIO 0.4\nSP2 LATE FLOW 0.004\n[PIPES]\nBACK SP SX YES 1350 2 0.2 0\n"
        "REST SP O NO 675 1 0 0\n[CONNECTIONS]\nBEYOND SX SP NO 0\nLATE SP2 SW YES 100\nEARLY SP2 O NO 0\n"
        "[SWMM_INPS]\nSY c.inp NO\nINFLOW A TO_Y\nOUTFLOW B TO_SP2\n[CONNECTIONS]\nTO_Y L SY YES 0\nTO_SP2 SY SP2 NO "
        "30\n"
        "[JUNCTIONS]\nL\n[DWFS]\nL FLOW 0.02 H\nL A 33 \"\"\nL B 12 H\n";
    files.push_back(
        {"c.inp", coupled_getPeriod(50, 675) + "step 675\nsubstances A B\nnode A\nnode B\nreach R A B 2000 3 9 9\n"});
    cases.push_back({"coupled-lagged", files, script_runCoupled});
}

void addPlants(std::vector<Case>& cases) {
    cases.push_back({"coupled-plant",
                     {{"model.inp", makePlant(48, 675)}, {"p.sti", coupled_getPeriod(48, 675) + WORKS}},
                     script_runCoupled});
    cases.push_back(
        {"coupled-plant-minutes",
         {{"model.inp", makePlant(200, 60)},
          {"p.sti", coupled_getPeriod(200, 60) + "influent RAW\ninfluent RAIN\neffluent CLEAR\neffluent MUD 0.1\n"
                                                 "step 45 60\nbasin 900 10 100 5 0 1 50 90\n"}},
         script_runCoupled});
    addLagged(cases);
    cases.push_back({"coupled-all-kinds", coupled_makeAllKinds(96), script_runCoupled});
}

// --- what goes wrong -----------------------------------------------------------------------------------------------

void addBroken(std::vector<Case>& cases) {
    const std::string delay = "[CONNECTIONS]\nTO_X SW SX NO 450\n";
    const auto add = [&](const char* what, const std::string& first, const std::string& second) {
        cases.push_back(
            {std::string("coupled-broken-") + what, makeDistrictFiles(delay, 10, 675, first, second), script_tryOut});
    };
    add("start", "step 675\n", "step 675\nrefuse swmm_start 5\n");
    add("step", "step 675\nrefuse swmm_setExtInflow 3\n", "step 675\nrefuse swmm_getResult 4\n");
    add("dates", "period 44256 0 44257 0\nstep 675\n", "period 44255 0 44256 6750\nunits english\n");

    add("open", "nonsense\n", "refuse swmm_getStartAndEndTime 9\n");
    std::vector<File> files = makeDistrictFiles(delay, 10, 675, "", "");
    files[0].text +=
        "[SWMM_INPS]\nSY a.inp NO\nSZ nowhere.inp NO\nINFLOW NOBODY FROM_J\nSQ b.inp NO\nOUTFLOW NOBODY LAST\nOUTFLOW "
        "OUT W\n"
        "[TANKS]\nTK BASIN 1 0\n[CURVES]\nBASIN TANK 0 9\n[WEIRS]\nW TK O NO RECTANGULAR 1 1 1 "
        "1\n[POLLUTANTS]\nUNKNOWN 0\n";
    cases.push_back({"coupled-broken-checks", files, script_tryOut});
    files[0].text =
        coupled_getGeneral(10, 675) +
        "[SWMM_INPS]\nINFLOW IN X\nSW a.inp\nSW a.inp MAYBE\nSX a.inp NO\nINFLOW IN\nINFLOW IN X\nOUTFLOW OUT X\n"
        "[VORN_INPS]\nINFLUENT A\nV p.sti NO\nINFLUENT A B\nINFLUENT A B C\nEFFLUENT A L C\n[OUTFALLS]\nO\n[PIPES]\n"
        "L SX O NO 900 1 0 0\n[CONVERTERS]\nC\nC VORN_MAYBE\nC VORN_INFLUENT\nC COD POLLUTANT A 1\nC COD CONSTANT -1x "
        "1\n"
        "C COD FORMULA 1 1\nC XYZ CONSTANT 1 1\nC COD CONSTANT 1 1 TIMES\n";
    cases.push_back({"coupled-broken-lines", files, script_tryOut});
    const auto addPlant = [&](const char* what, const std::string& plant, const std::string& more) {
        cases.push_back({std::string("coupled-broken-") + what,
                         {{"model.inp", makePlant(10, 675) + more}, {"p.sti", plant}},
                         script_tryOut});
    };
    addPlant("plant-units", coupled_getPeriod(10, 675) + "influent RAW\nsolution steady\n", "");
    addPlant("plant-dates", coupled_getPeriod(9, 675) + WORKS, "[VORN_INPS]\nV2 p.sti NO\nV3 q.sti NO\n");
    addPlant("plant-open",
             coupled_getPeriod(10, 675) + WORKS + "refuse vorn_open 8\nrefuse vorn_getStartAndEndTime 7\n", "");
    addPlant("plant-begin", "period 44255 0 44256 6750\n" + std::string(WORKS), "");
    addPlant("plant-start", coupled_getPeriod(10, 675) + WORKS + "refuse vorn_start 8\n", "");
    addPlant("converters", coupled_getPeriod(10, 675) + WORKS,
             "[POLLUTANTS]\nC 0\n[CONVERTERS]\nPOOR VORN_INFLUENT\nPOOR COD CONSTANT 1 1\n");
}

void script_findNoEngines(Host& host) {
    CALL(initSwmmDll, "nowhere/", "copies/");
    CALL(initVornDll, "engines/", "nowhere/");
    host_say(host, "the folder of the host has engines, a missing folder for copies is told");
    CALL(open, "model.inp", "model.rpt", "model.bin");
    CALL(start, 0);
    CALL(close);
    CALL(initVornDll, "engines/", "copies/");
    CALL(initSwmmDll, "engines/", "nowhere/");
    CALL(open, "model.inp", "model2.rpt", "model.bin");
    CALL(close);
}

}  // namespace

void cases_addCoupled(std::vector<Case>& cases) {
    addDistricts(cases);
    addPlants(cases);
    addBroken(cases);
    cases.push_back({"coupled-no-folder", coupled_makeAllKinds(4), script_findNoEngines});
}
