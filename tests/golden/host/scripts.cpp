// Hosts that act on a run, ask much, ask for what can't be, and begin again and again.

#include <filesystem>
#include <fstream>

#include "coupledtext.h"
#include "host.h"
#include "town.h"

namespace {

constexpr const char* NODES[] = {"J", "T", "O", "SP", "SW", "R", "M", "V"};
constexpr const char* LINKS[] = {"P", "PU", "C", "D", "W", "OR"};

void openEngines(Host& host) {
    CALL(initSwmmDll, "engines/swmm5ex.dll", "copies/");
    CALL(initVornDll, "engines/", "copies/");
}

void openAllKinds(Host& host, const char* files = "model") {
    openEngines(host);
    host.objects = {{1, "S"}, {1, "GRASS"}, {2, "J"},  {3, "T"},  {4, "O"},  {5, "SP"}, {6, "R"},
                    {7, "M"}, {8, "P"},     {9, "PU"}, {10, "C"}, {11, "D"}, {12, "W"}, {13, "OR"}};
    host.pollutants = 2;
    const std::string base = files;
    CALL(open, "model.inp", (base + ".rpt").c_str(), (base + ".bin").c_str());
}

void step(Host& host, int count) {
    double days = 1.0;
    for (int k = 0; k < count; ++k) {
        CALL(step, &days);
    }
}

void finish(Host& host) {
    double runoff = MARK, flow = MARK, quality = MARK;
    CALL(report);
    CALL(end);
    CALL(getMassBalErr, &runoff, &flow, &quality);
    CALL(close);
}

void listFolder(Host& host) {
    for (const char* file : {"model.rpt", "model.bin", "model.db", "other.rpt", "other.bin"}) {
        host_say(host, std::string(file) + (std::filesystem::exists(file) ? " is there" : " is not there"));
    }
}

// --- states --------------------------------------------------------------------------------------------------------

/// Every function that asks or acts, once.
void askAll(Host& host) {
    double a = MARK, b = MARK, c = MARK;
    int32_t kind = 99;
    CALL(findObject, 0, "S");
    CALL(findObject, 1, "t");
    CALL(findObject, 2, "or");
    CALL(findObject, 3, "S");
    CALL(findObject, 1, "nobody");
    CALL(getNodeType, "V", &kind);
    CALL(getLinkType, "OR", &kind);
    CALL(getNodeType, "nobody", &kind);
    CALL(getLinkType, "", &kind);
    CALL(getDateTime, &a, &b);
    CALL(getRoutingStep, &a);
    CALL(isInEvent, "G");
    CALL(isInEvent, "nobody");
    CALL(getMassBalErr, &a, &b, &c);
    CALL(setExtInflow, "J", 0.01);
    CALL(setExtLoad, "J", "J", 0.002);
    CALL(setSplittedValue, "SP", 0.02);
    CALL(setPumpFlow, "PU", 0.03);
    CALL(setReactorEmptyingValue, "R", 0.004);
    CALL(setWeirParams, "W", 0, 1.5);
    CALL(setWeirParams, "W", 1, 0.1);
    CALL(setSetting, "OR", 0.5);
    CALL(getSetting, "OR", &a);
    CALL(getSetting, "nobody", &a);
    CALL(setTankDepth, "T", 1.1);
    CALL(setLinkFlow, "C", 0.01);
    CALL(getParam, TARNVELDE_TANK, "T", 0, &a);
    CALL(setParam, TARNVELDE_TANK, "T", 0, 2.5);
    CALL(getResult, TARNVELDE_TANK, "T", 0, &a);
}

void askSwmm(Host& host) {
    double a = MARK;
    char text[1100] = "untouched";
    CALL(setSwmmRainfall, "SW", "RG", 12.0);
    CALL(getSwmmResult, "SW", 1, "OUT", 4, &a);
    CALL(getSwmmResult, "SW", 2, "R", 1, &a);
    CALL(getSwmmResult, "SW", 1, "OUT", 77, &a);
    CALL(getSwmmObjCount, "SW", 1);
    CALL(getSwmmObjID, "SW", 1, 1, &text[0]);
    CALL(getSwmmObjID, "SW", 1, 9, &text[0]);
    CALL(getSwmmObjIndex, "SW", 2, "R");
    CALL(getSwmmCurrentSetting, "SW", "R", &a);
    CALL(setSwmmParam, "SW", 1, "IN", 2, 3.5);
    CALL(getSwmmParam, "SW", 1, "IN", 2, &a);
    CALL(setSwmmNodeParam, "SW", 1, "IN", 3, 4.5);
    CALL(getSwmmNodeParam, "SW", 1, "IN", 3, &a);
    CALL(setSwmmLinkParam, "SW", 2, "R", 1, 5.5);
    CALL(getSwmmLinkParam, "SW", 2, "R", 1, &a);
    CALL(setSwmmNodeDepth, "SW", "IN", 0.4);
    CALL(setSwmmLinkDepth, "SW", "R", 0.3);
    CALL(setSwmmLinkFlow, "SW", "R", 0.02);
    CALL(setSwmmExtInflow, "SW", "OUT", 0.005);
    CALL(setSwmmSetting, "SW", "R", 0.7);
    CALL(setSwmmExtLoad, "SW", "OUT", "B", 0.0001);
    CALL(setSwmmExtInflow, "SW", "OUT", -1.0);
    CALL(setSwmmSetting, "SW", "R", 1.5);
    CALL(setSwmmExtLoad, "SW", "NOBODY", "B", 0.0001);
    CALL(getSwmmObjCount, "J", 1);
    CALL(getSwmmObjCount, "V", 1);
    CALL(getSwmmObjCount, "nobody", 1);
}

void script_states(Host& host) {
    double days = MARK;
    const auto ask = [&](const char* state) {
        host_say(host, state);
        askAll(host);
        askSwmm(host);
    };
    ask("closed");
    CALL(close);
    CALL(end);
    CALL(report);
    openAllKinds(host);
    ask("open");
    CALL(report);
    CALL(start, 1);
    ask("started");
    CALL(step, nullptr);
    CALL(step, &days);
    ask("stepped");
    host_stepToEnd(host);
    host_look(host);
    ask("over");
    step(host, 2);
    CALL(report);
    CALL(end);
    ask("ended");
    host_look(host);
    CALL(end);
    CALL(close);
    ask("closed again");
}

void script_wrongOrder(Host& host) {
    double days = MARK;
    CALL(start, 1);
    CALL(step, &days);
    CALL(end);
    openAllKinds(host);
    CALL(step, &days);
    CALL(start, 1);
    CALL(close);
    openAllKinds(host);
    CALL(start, 1);
    step(host, 3);
    CALL(start, 1);
    step(host, 3);
    CALL(report);
    finish(host);
    listFolder(host);
    openAllKinds(host);
    CALL(start, 0);
    step(host, 4);
    CALL(close);
    listFolder(host);
}

void script_nothing(Host& host) {
    CALL(open, nullptr, "model.rpt", "model.bin");
    CALL(open, "model.inp", nullptr, "model.bin");
    CALL(close);
    CALL(open, "", "", "");
    CALL(close);
    CALL(initSwmmDll, nullptr, nullptr);
    CALL(initVornDll, nullptr, nullptr);
    openAllKinds(host, "model");
    CALL(start, 0);
    CALL(findObject, 1, nullptr);
    CALL(getNodeType, "J", nullptr);
    CALL(getLinkType, nullptr, nullptr);
    CALL(getDateTime, nullptr, nullptr);
    CALL(getRoutingStep, nullptr);
    CALL(isInEvent, nullptr);
    CALL(getMassBalErr, nullptr, nullptr, nullptr);
    CALL(setExtInflow, nullptr, 1.0);
    CALL(setExtLoad, "J", nullptr, 1.0);
    CALL(getSetting, "OR", nullptr);
    CALL(getParam, 3, "T", 0, nullptr);
    CALL(getResult, 3, nullptr, 0, nullptr);
    for (const Object& object : host.objects) {
        CALL(getResult, object.code, object.id.c_str(), 0, nullptr);
        CALL(getParam, object.code, object.id.c_str(), 1, nullptr);
        CALL(setParam, object.code, nullptr, 1, 1.0);
    }
    CALL(setSwmmExtInflow, "SW", nullptr, 1.0);
    CALL(setSwmmSetting, "SW", nullptr, 1.0);
    CALL(setSetting, nullptr, 1.0);
    CALL(setTankDepth, nullptr, 1.0);
    CALL(getSwmmResult, "SW", 1, nullptr, 4, nullptr);
    CALL(getSwmmObjID, "SW", 1, 0, nullptr);
    CALL(setSwmmExtLoad, "SW", "OUT", nullptr, 1.0);
    CALL(setSwmmRainfall, nullptr, "RG", 1.0);
    finish(host);
}

void script_files(Host& host) {
    CALL(run, "model.inp", "model.inp", "model.bin");
    CALL(run, "model.inp", "model.rpt", "model.rpt");
    CALL(run, "nowhere.inp", "model.rpt", "model.bin");
    CALL(run, "model.inp", "nowhere/model.rpt", "model.bin");
    CALL(run, "model.inp", "model.rpt", "nowhere/model.bin");
    CALL(open, "copies", "model.rpt", "model.bin");
    CALL(close);
    std::filesystem::create_directory("model.db");
    CALL(open, "model.inp", "other.rpt", "other.bin");
    CALL(start, TARNVELDE_SAVE_DATABASE);
    finish(host);
    std::filesystem::remove("model.db");
    listFolder(host);
    CALL(open, "model.inp", "other.rpt", "other.bin");
    CALL(start, 7);
    step(host, 5);
    finish(host);
    listFolder(host);
}

// --- runs ----------------------------------------------------------------------------------------------------------

/// Several runs of one open project, into different files; some are cut short.
void script_again(Host& host) {
    openAllKinds(host);
    CALL(start, TARNVELDE_SAVE_BINARY);
    step(host, 20);
    CALL(end);
    CALL(start, TARNVELDE_SAVE_DATABASE);
    host_stepToEnd(host);
    CALL(report);
    CALL(end);
    CALL(start, TARNVELDE_SAVE_BINARY);
    host_stepToEnd(host);
    CALL(report);
    CALL(report);
    finish(host);
    listFolder(host);
    openAllKinds(host, "other");
    CALL(start, TARNVELDE_SAVE_DATABASE);
    host_stepToEnd(host);
    finish(host);
    listFolder(host);
}

void script_abandon(Host& host) {
    CALL(open, "model.inp", "other.rpt", "other.bin");
    CALL(start, TARNVELDE_SAVE_DATABASE);
    step(host, 10);
    CALL(open, "model.inp", "third.rpt", "third.bin");
    CALL(start, TARNVELDE_SAVE_BINARY);
    step(host, 15);
    CALL(run, "model.inp", "model.rpt", "model.bin");
    CALL(open, "model.inp", "fourth.rpt", "fourth.bin");
    CALL(start, TARNVELDE_SAVE_DATABASE);
    host_stepToEnd(host);
    finish(host);
    listFolder(host);
}

void script_saveModes(Host& host) {
    for (const int32_t mode : {2, 1, 0, -1, 3, 2}) {
        CALL(open, "model.inp", "model.rpt", "model.bin");
        CALL(start, mode);
        host_stepToEnd(host);
        finish(host);
        listFolder(host);
    }
}

// --- parameters and results ----------------------------------------------------------------------------------------

void showParams(Host& host) {
    for (const Object& object : host.objects) {
        for (int32_t k = -1; k < 14; ++k) {
            double value = MARK;
            CALL(getParam, object.code, object.id.c_str(), k, &value);
        }
    }
}

/// All parameters moved a little, then a run; and again while it runs.
void moveParams(Host& host, double factor) {
    for (const Object& object : host.objects) {
        for (int32_t k = 0; k < 13; ++k) {
            double value = 0.0;
            const bool isMode = (object.code == TARNVELDE_SPLITTER || object.code == TARNVELDE_CONDUIT ||
                                 object.code == TARNVELDE_WEIR || object.code == TARNVELDE_ORIFICE) &&
                                k == 0;
            host.library.getParam(object.code, object.id.c_str(), k, &value);
            if (object.code == TARNVELDE_PIPE && k == 0) {
                value = 1350.0;
            }
            CALL(setParam, object.code, object.id.c_str(), k, isMode ? value : value * factor);
        }
    }
}

void script_params(Host& host) {
    openAllKinds(host);
    showParams(host);
    moveParams(host, 1.2);
    showParams(host);
    CALL(start, TARNVELDE_SAVE_DATABASE);
    step(host, 30);
    moveParams(host, 0.9);
    host_stepToEnd(host);
    CALL(report);
    CALL(end);
    CALL(setParam, TARNVELDE_SPLITTER, "SP", TARNVELDE_PARAM_SPLITTER_MODE, 1.0);
    CALL(setParam, TARNVELDE_SPLITTER, "SP", TARNVELDE_PARAM_SPLITTER_VALUE, 0.4);
    CALL(setParam, TARNVELDE_CONDUIT, "D", TARNVELDE_PARAM_CONDUIT_SHAPE, 0.0);
    CALL(setParam, TARNVELDE_WEIR, "W", TARNVELDE_PARAM_WEIR_SHAPE, 1.0);
    CALL(setParam, TARNVELDE_ORIFICE, "OR", TARNVELDE_PARAM_ORIFICE_SHAPE, 0.0);
    CALL(setParam, TARNVELDE_PIPE, "P", TARNVELDE_PARAM_PIPE_N, 4.7);
    CALL(setParam, TARNVELDE_PIPE, "CM", TARNVELDE_PARAM_PIPE_X, 0.3);
    CALL(setParam, TARNVELDE_TANK, "J", 0, 1.0);
    CALL(setParam, 14, "J", 0, 1.0);
    CALL(start, TARNVELDE_SAVE_BINARY);
    host_stepToEnd(host);
    showParams(host);
    finish(host);
}

/// All results of each class of every object, right and wrong.
void script_results(Host& host) {
    openAllKinds(host);
    CALL(start, TARNVELDE_SAVE_NOTHING);
    double days = 1.0;
    for (int32_t k = 0; k < 30 && days > 0.0; ++k) {
        CALL(step, &days);
        host_look(host);
        CALL(isInEvent, "G");
    }
    for (int32_t code = 0; code < 15; ++code) {
        for (const char* id : {"S", "J", "T", "SP", "R", "M", "V", "P", "PU", "C", "D", "W", "OR"}) {
            for (const int32_t result : {-1, 0, 3, 5, 8, 13, 14, 99}) {
                double value = MARK;
                CALL(getResult, code, id, result, &value);
            }
        }
    }
    finish(host);
}

// --- acting --------------------------------------------------------------------------------------------------------

/// One call by chance, good or bad.
void act(Host& host, Random& random) {
    const char* node = NODES[random.pick(8)];
    const char* link = LINKS[random.pick(6)];
    const double value = random.isOneOf(8) ? random.real(-1.0, 2.0) : random.real(0.0, 0.06);
    const bool isOther = random.isOneOf(3);
    const int selector = random.pick(3);
    const double setting = random.real(-0.1, 1.1), depth = random.real(0.0, 3.5);
    switch (random.pick(16)) {
        case 0:
        case 1: CALL(setExtInflow, node, value); break;
        case 2: CALL(setExtLoad, isOther ? node : "J", "B", value / 50.0); break;
        case 3: CALL(setSplittedValue, isOther ? node : "SP", value); break;
        case 4: CALL(setPumpFlow, isOther ? link : "PU", value); break;
        case 5: CALL(setReactorEmptyingValue, isOther ? node : "R", value); break;
        case 6: CALL(setWeirParams, isOther ? link : "W", selector, depth / 2.0); break;
        case 7:
        case 8: CALL(setSetting, link, setting); break;
        case 9: CALL(setTankDepth, isOther ? node : "T", depth); break;
        case 10: CALL(setLinkFlow, link, value); break;
        case 11: CALL(setSwmmExtInflow, "SW", isOther ? "IN" : "OUT", value); break;
        case 12: CALL(setSwmmSetting, "SW", "R", setting); break;
        case 13: CALL(setSwmmExtLoad, "SW", "OUT", "J", value / 100.0); break;
        case 14: CALL(setSwmmRainfall, "SW", "RG", depth * 15.0); break;
        default: CALL(setParam, TARNVELDE_TANK, "T", 0, depth + 1.0); break;
    }
}

void actThroughRun(Host& host, uint64_t seed) {
    Random random(seed);
    openAllKinds(host);
    act(host, random);
    CALL(start, seed % 2 ? TARNVELDE_SAVE_BINARY : TARNVELDE_SAVE_DATABASE);
    double days = 1.0;
    int32_t code = 0;
    for (int32_t k = 0; k < 500 && code == 0 && days > 0.0; ++k) {
        for (int count = random.pick(4); count > 0; --count) {
            act(host, random);
        }
        code = CALL(step, &days);
        if (random.isOneOf(12)) {
            host_look(host);
        }
    }
    CALL(report);
    CALL(end);
    host_say(host, "again, with what stays");
    CALL(start, TARNVELDE_SAVE_NOTHING);
    step(host, 12);
    host_look(host);
    finish(host);
}

void script_act1(Host& host) {
    actThroughRun(host, 1);
}
void script_act2(Host& host) {
    actThroughRun(host, 2);
}
void script_act3(Host& host) {
    actThroughRun(host, 3);
}
void script_act4(Host& host) {
    actThroughRun(host, 4);
}

/// One action at a time, each in a run of its own that goes on after it.
void script_eachAction(Host& host) {
    openAllKinds(host);
    for (int action = 0; action < 10; ++action) {
        CALL(start, TARNVELDE_SAVE_NOTHING);
        step(host, 10);
        switch (action) {
            case 0: CALL(setSplittedValue, "SP", 0.01); break;
            case 1: CALL(setPumpFlow, "PU", 0.008); break;
            case 2: CALL(setReactorEmptyingValue, "R", 0.002); break;
            case 3: CALL(setWeirParams, "W", 1, 0.05); break;
            case 4: CALL(setWeirParams, "W", 0, 1.1); break;
            case 5: CALL(setSetting, "OR", 0.25); break;
            case 6: CALL(setSetting, "P", 0.0); break;
            case 7: CALL(setTankDepth, "T", 2.9); break;
            case 8: CALL(setSetting, "PU", 0.5); break;
            default: CALL(setLinkFlow, "P", 0.5); break;
        }
        step(host, 15);
        host_look(host);
        CALL(end);
    }
    CALL(close);
}

void script_swmm(Host& host) {
    openAllKinds(host);
    askSwmm(host);
    CALL(start, TARNVELDE_SAVE_DATABASE);
    for (int k = 0; k < 20; ++k) {
        askSwmm(host);
        step(host, 2);
    }
    host_stepToEnd(host);
    finish(host);
}

/// A controller of the storm tank: depth in, pump and gate out.
void script_control(Host& host) {
    CALL(open, "model.inp", "model.rpt", "model.bin");
    CALL(start, TARNVELDE_SAVE_BINARY);
    double days = 1.0;
    for (int32_t k = 0; k < 2000 && days > 0.0; ++k) {
        double depth = MARK;
        CALL(getResult, TARNVELDE_TANK, "TANK", TARNVELDE_RESULT_TANK_DEPTH, &depth);
        CALL(setPumpFlow, "PUMP", depth < 0.3 ? 0.0 : depth > 1.0 ? 0.25 : 0.25 * (depth - 0.3) / 0.7);
        CALL(setSetting, "GATE", depth < 3.0 ? 0.0 : depth > 3.8 ? 1.0 : (depth - 3.0) / 0.8);
        CALL(step, &days);
    }
    finish(host);
}

std::string makeSmallTown() {
    Town town;
    town.seed = 900;
    town.times.steps = 80;
    return town_make(town);
}

/// Names that the database can't take: an apostrophe, columns that clash.
std::string makeBadNames() {
    return "[GENERAL]\n" + general({6, 60, 60, 60, false, 0}) +
           "[POLLUTANTS]\nA-B 0\nA_B 0\n[JUNCTIONS]\nJ'1\n[OUTFALLS]\nO\n[PIPES]\nP J'1 O NO 60 1 0 0\n[DWFS]\nJ'1 "
           "FLOW 0.1 \"\"\n";
}

}  // namespace

void cases_addScripts(std::vector<Case>& cases) {
    const std::vector<File> kinds = coupled_makeAllKinds(64);
    const auto add = [&](const char* name, void (*script)(Host&)) {
        cases.push_back({std::string("script-") + name, kinds, script});
    };
    add("states", script_states);
    add("wrong-order", script_wrongOrder);
    add("nothing", script_nothing);
    add("again", script_again);
    add("params", script_params);
    add("results", script_results);
    add("act-1", script_act1);
    add("act-2", script_act2);
    add("act-3", script_act3);
    add("act-4", script_act4);
    add("each-action", script_eachAction);
    add("swmm", script_swmm);
    cases_add(cases, "script-files", makeSmallTown(), script_files);
    cases_add(cases, "script-abandon", makeSmallTown(), script_abandon);
    cases_add(cases, "script-save-modes", makeSmallTown(), script_saveModes);
    cases_add(cases, "script-bad-names", makeBadNames());
    for (const Case& other : cases) {
        if (other.name == "example-host-c") {
            cases.push_back({"script-control", other.files, script_control});
            break;
        }
    }
}
