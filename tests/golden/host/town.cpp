// A town is a row of stages. Each one is a node of some kind whose links lead to one of the next three stages, or to an
// outfall, so that no loop arises; now and then a splitter has a lagged link back.

#include "town.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

const char* const TOWN_LIDS[7] = {"CELL", "GARDEN", "ROOF", "TRENCH", "PAVING", "BARREL", "DITCHES"};

std::string town_getTables() {
    return "[CURVES]\n"
           "BASIN TANK 0 40 1 90\nBASIN 2.5 130 4 160\nFUNNEL TANK 0.5 30 3 120\nPOND TANK 0 150\n"
           "STEPS PUMP2 0.2 0.002 0.8 0.03 1.6 0.06 9 0.09\nRISE PUMP1 0.1 0.004 1 0.03 2 0.07\n"
           "DITCH TRANSECT 0 1.9 1.2 0.7 1.6 0 2.4 0 2.8 0.63 5 0.81 6.4 1.8\n"
           "CHANNEL TRANSECT 0 1.2 0 0.2 0.7 0 1.4 0.2 1.4 1.2\n"
           "TERRACE TRANSECT 0 2 1 0.9 1.5 0.3 2 0.5 2.6 0.1 3.4 0.77 4 1.4 5 2.2\n"
           "[PATTERNS]\n"
           "DAY HOURLY 1.3 0.7 1.6 0.9 1.1 0.5 1.3 1.8 1.6 1.3 1.2 1.2\nDAY 1.3 1.2 1.1 1 1.1 1.3 1.5 1.4 1.2 1 0.8 "
           "0.6\n"
           "NIGHT HOURLY 0.8 1.4 0.6 1.2 1 0.9\n"
           "MONTHS MONTHLY 1.2 0.8 1.5 0.7 1.1 1.3 0.9 1.4 0.6 1 1.2 0.8\nMONTHS 1 1.1 0.9 1 1 1 1 1 1 1 1 1\n";
}

std::string town_getLids() {
    return "[LIDS]\n"
           "CELL BC\nCELL SURFACE 120 0.1 0.1 1 0\nCELL SOIL 300 0.45 0.2 0.1 60 10\nCELL STORAGE 200 0.67 4\n"
           "CELL DRAIN 5 0.5 20\n"
           "GARDEN RG\nGARDEN SURFACE 100 0.15 0.1 1.5 0\nGARDEN SOIL 250 0.47 0.21 0.08 50 12\nGARDEN STORAGE 0 0 9\n"
           "ROOF GR\nROOF SURFACE 15 0 0.1 2 0\nROOF SOIL 80 0.5 0.3 0.1 90 10\nROOF DRAINMAT 25 0.5 0.3\n"
           "TRENCH IT\nTRENCH SURFACE 40 0 0.1 1 0\nTRENCH STORAGE 600 0.67 14\nTRENCH DRAIN 5 0.5 60\n"
           "PAVING PP\nPAVING SURFACE 4 0 0.02 1 0\nPAVING PAVEMENT 100 0.2 400\nPAVING SOIL 80 0.4 0.2 0.1 70 10\n"
           "PAVING STORAGE 200 0.67 3\nPAVING DRAIN 4 0.5 15\n"
           "BARREL RB\nBARREL STORAGE 900 1 0\nBARREL DRAIN 30 0.5 20 0.25\n"
           "DITCHES VS\nDITCHES SURFACE 300 0.1 0.12 1 3\nDITCHES STORAGE 100 1 6\n";
}

namespace {

constexpr int OUTFALLS = 3;

/// A town in the making.
struct Maker {
    Random random;
    Town town;
    Sections sections;
    std::vector<std::string> nodes;
    std::vector<std::string> pipes, pumps, weirs, orifices, conduits, connections;
    std::vector<std::string> tanks, reactors, junctions, splitters;
    std::vector<std::string> stirred;  ///< reactors that can be emptied
    int links = 0;
};

std::string getPollutant(Maker& maker) {
    return name("Q", maker.random.pick(maker.town.pollutants));
}

std::string getTarget(Maker& maker, int stage) {
    const int target = stage + 1 + maker.random.pick(3);
    return target < maker.town.stages ? maker.nodes[static_cast<size_t>(target)] : name("OUT", target % OUTFALLS);
}

template <class T>
T choose(Random& random, const std::vector<T>& list) {
    return list[static_cast<size_t>(random.pick(static_cast<int>(list.size())))];
}

std::string choose(Random& random, std::initializer_list<const char*> list) {
    return *(list.begin() + random.pick(static_cast<int>(list.size())));
}

void addDecay(Maker& maker, const std::string& id, const char* type) {
    if (maker.town.pollutants > 0 && !maker.random.isOneOf(3)) {
        maker.sections["DECAY_COEFFICIENT"] << id << " " << type << " " << getPollutant(maker) << " FIRST "
                                            << real(maker.random, 0.5, 40.0) << " "
                                            << choose(maker.random, {"\"\"", "DAY", "MONTHS"}) << "\n";
    }
}

// --- links ---------------------------------------------------------------------------------------------------------

void addPipe(Maker& maker, const std::string& id, const std::string& ends) {
    Random& random = maker.random;
    const int k = maker.town.times.routing * (random.isOneOf(8) ? 1 : 2 + random.pick(5));
    maker.sections["PIPES"] << ends << std::to_string(k + (random.isOneOf(4) ? random.pick(50) : 0)) << " "
                            << std::to_string(1 + random.pick(4)) << " " << real(random, 0.0, 0.5) << " "
                            << (random.isOneOf(3) ? real(random, 0.01, 0.12) : "0") << "\n";
    maker.pipes.push_back(id);
    addDecay(maker, id, "LINK");
}

void addConduit(Maker& maker, const std::string& id, const std::string& ends) {
    Random& random = maker.random;
    std::string shape;
    switch (random.pick(3)) {
        case 0: shape = "CIRCULAR " + real(random, 0.3, 0.9); break;
        case 1:
            shape = (Text() << "RECTANGULAR " << real(random, 0.2, 0.9) << " " << real(random, 0.3, 1.2)).text;
            break;
        default: shape = "IRREGULAR " + choose(random, {"DITCH", "CHANNEL", "TERRACE"}); break;
    }
    maker.sections["CONDUITS"] << ends << real(random, 80, 400) << " " << real(random, 0.05, 0.6) << " "
                               << real(random, 0.012, 0.035) << " " << shape << "\n";
    maker.conduits.push_back(id);
    addDecay(maker, id, "LINK");
}

/// A link of a kind that may start anywhere but at a tank.
std::string addLink(Maker& maker, const std::string& from, const std::string& to, bool isLagged = false) {
    Random& random = maker.random;
    std::string id = name("L", maker.links++);
    const std::string ends = id + " " + from + " " + to + (isLagged ? " YES " : " NO ");
    switch (random.pick(5)) {
        case 0:
        case 1: addPipe(maker, id, ends); break;
        case 2:
            maker.sections["CONNECTIONS"] << ends << number(random.isOneOf(3) ? 0 : random.pick(900)) << "\n";
            maker.connections.push_back(id);
            break;
        default: addConduit(maker, id, ends); break;
    }
    return id;
}

void addOrifice(Maker& maker, const std::string& from, const std::string& to, double crest) {
    Random& random = maker.random;
    const std::string id = name("OR", maker.links++);
    const bool isRound = random.isOneOf(2);
    maker.sections["ORIFICES"] << id << " " << from << " " << to << " NO " << (isRound ? "CIRCULAR " : "RECTANGULAR ")
                               << real(random, 0.58, 0.66) << " " << number(crest) << " " << real(random, 0.08, 0.25)
                               << (isRound ? "" : " " + real(random, 0.08, 0.3)) << "\n";
    maker.orifices.push_back(id);
}

void addWeir(Maker& maker, const std::string& from, const std::string& to, double crest) {
    Random& random = maker.random;
    const std::string id = name("W", maker.links++);
    maker.sections["WEIRS"] << id << " " << from << " " << to << " NO "
                            << choose(random, {"RECTANGULAR ", "TRIANGULAR "}) << real(random, 1.3, 1.9) << " "
                            << real(random, 0.2, 2.0) << " " << number(crest) << " " << real(random, 0.05, 0.4) << "\n";
    maker.weirs.push_back(id);
}

void addPump(Maker& maker, const std::string& from, const std::string& to) {
    Random& random = maker.random;
    const std::string id = name("PU", maker.links++);
    const double shutoff = random.real(0.15, 0.5);
    maker.sections["PUMPS"] << id << " " << from << " " << to << " " << choose(random, {"STEPS", "RISE"}) << " NO "
                            << choose(random, {"OFF", "ON"}) << " "
                            << (random.isOneOf(5) ? "0" : number(shutoff + random.real(0.1, 0.9))) << " "
                            << number(shutoff) << "\n";
    maker.pumps.push_back(id);
}

// --- nodes ---------------------------------------------------------------------------------------------------------

void addTank(Maker& maker, const std::string& id, int stage) {
    Random& random = maker.random;
    const double full = random.real(1.0, 2.2);
    maker.sections["TANKS"] << id << " " << choose(random, {"BASIN", "FUNNEL", "POND"}) << " " << number(full) << " "
                            << real(random, 0.0, 1.2) << "\n";
    maker.tanks.push_back(id);
    if (!random.isOneOf(3)) {
        const double crest = random.isOneOf(2) ? 0.0 : random.real(0.0, 0.3);
        addOrifice(maker, id, getTarget(maker, stage), crest);
    }
    if (random.isOneOf(2)) {
        const double crest = random.real(0.3, 0.8);
        addOrifice(maker, id, getTarget(maker, stage), crest);
    }
    const int weirs = random.pick(3);
    for (int k = 0; k < weirs; ++k) {
        const double crest = full * random.real(0.3, 0.9);
        addWeir(maker, id, getTarget(maker, stage), crest);
    }
    const int pumps = 1 + random.pick(2);
    for (int k = 0; k < pumps; ++k) {
        addPump(maker, id, getTarget(maker, stage));
    }
    addDecay(maker, id, "NODE");
    for (int p = 0; p < maker.town.pollutants; ++p) {
        maker.sections["INITIAL_CONCENTRATION"] << id << " - " << name("Q", p) << " " << real(random, 0, 80) << "\n";
    }
}

void addReactor(Maker& maker, const std::string& id, int stage) {
    Random& random = maker.random;
    const bool isStirred = random.isOneOf(2);
    const std::string surplus = getTarget(maker, stage);
    const bool isFlow = random.isOneOf(2);
    maker.sections["REACTORS"] << id << (isStirred ? " CSTR " : " PFR ") << surplus
                               << (isFlow ? " FLOW_CAPACITY " : " SURFACE_LOADING ")
                               << (isFlow ? real(random, 500, 6000) : real(random, 2, 20)) << " "
                               << (isStirred ? real(random, 20, 200) : real(random, 0.1, 1.5)) << " "
                               << real(random, 50, 300) << " " << (isStirred ? real(random, 10, 100) : "") << "\n";
    maker.reactors.push_back(id);
    for (int p = 0; p < maker.town.pollutants; ++p) {
        const std::string law = isStirred ? choose(random, {"ZERO ", "FIRST "})
                                          : choose(random, {"ZERO ", "FIRST ", "CONST_RATIO ", "CONST_CONCEN "});
        const double high = law == "CONST_RATIO " ? 1.0 : 40.0;
        maker.sections["REACTORS_DECAY"] << id << " " << name("Q", p) << " " << law << real(random, 0.1, high) << " "
                                         << choose(random, {"\"\"", "MONTHS"}) << "\n";
        maker.sections["INITIAL_CONCENTRATION"] << id << " - " << name("Q", p) << " " << real(random, 0, 50) << "\n";
    }
    if (!random.isOneOf(3)) {
        maker.sections["REACTORS_EMPTYING"] << id << " " << getTarget(maker, stage) << " " << real(random, 5, 60) << " "
                                            << real(random, 0, 20) << " " << real(random, 0, 12) << " "
                                            << choose(random, {"\"\"", "MONTHS", "DAY"}) << "\n";
        if (isStirred) {
            maker.stirred.push_back(id);
        }
    }
    addLink(maker, id, getTarget(maker, stage));
}

void addSplitter(Maker& maker, const std::string& id, int stage) {
    Random& random = maker.random;
    const std::string first = addLink(maker, id, getTarget(maker, stage));
    if (stage > 2 && random.isOneOf(3)) {
        addLink(maker, id, maker.nodes[static_cast<size_t>(random.pick(stage - 1))], true);
    } else {
        addLink(maker, id, getTarget(maker, stage));
    }
    const std::string modes[] = {
        "FLOW " + real(random, 0.005, 0.05), "RATIO " + real(random, 0.4, 0.9),
        (Text() << "FLOW_RATIO " << real(random, 0.005, 0.04) << " " << real(random, 0.2, 0.8)).text};
    maker.sections["SPLITTERS"] << id << " " << first << " " << modes[random.pick(3)] << "\n";
    maker.splitters.push_back(id);
}

void addMonomer(Maker& maker, const std::string& id, int stage) {
    Random& random = maker.random;
    maker.sections["LID_MONOS"] << id << " " << TOWN_LIDS[random.pick(7)] << " G" << std::to_string(random.pick(2))
                                << " " << real(random, 60, 500) << " " << real(random, 2, 12) << " "
                                << real(random, 0, 60) << " " << real(random, 40, 100)
                                << (random.isOneOf(2) ? " " + getTarget(maker, stage) : std::string()) << "\n";
    addLink(maker, id, getTarget(maker, stage));
}

void addStage(Maker& maker, int stage) {
    const std::string& id = maker.nodes[static_cast<size_t>(stage)];
    switch (id[0]) {
        case 'T': addTank(maker, id, stage); break;
        case 'S': addSplitter(maker, id, stage); break;
        case 'R': addReactor(maker, id, stage); break;
        case 'M': addMonomer(maker, id, stage); break;
        default:
            maker.sections["JUNCTIONS"] << id << "\n";
            maker.junctions.push_back(id);
            addLink(maker, id, getTarget(maker, stage));
            break;
    }
}

// --- what comes in -------------------------------------------------------------------------------------------------

void addInflows(Maker& maker) {
    Random& random = maker.random;
    Text flows, loads;
    for (int k = 0; k < maker.town.stages; ++k) {
        const std::string& id = maker.nodes[static_cast<size_t>(k)];
        if (k == 0 || random.isOneOf(2)) {
            maker.sections["DWFS"] << id << " FLOW " << real(random, 0.002, 0.03) << " "
                                   << choose(random, {"DAY", "NIGHT", "\"\""}) << "\n";
            for (int p = 0; p < maker.town.pollutants; ++p) {
                maker.sections["DWFS"] << id << " " << name("Q", p) << " " << real(random, 20, 300) << " "
                                       << choose(random, {"DAY", "\"\""}) << "\n";
            }
        }
        if (random.isOneOf(3)) {
            flows << id << " FLOW FLOW " << real(random, 0.0, 0.01) << " WAVE " << real(random, 0.01, 0.12) << "\n";
            if (maker.town.pollutants > 0) {
                loads << id << " CONCEN " << getPollutant(maker) << " " << real(random, 5, 90) << " \"\" 0\n";
            }
        }
        if (maker.town.pollutants > 0 && random.isOneOf(4)) {
            loads << id << " MASS " << getPollutant(maker) << " " << real(random, 0, 0.0005) << " LOAD 0.0004\n";
        }
    }
    maker.sections["INFLOWS"] << flows.text << loads.text;
}

void addRain(Maker& maker) {
    Random& random = maker.random;
    Text& series = maker.sections["TIMESERIES"];
    const int start = maker.town.times.start;
    series << "WAVE 2024/05/05 22:00 0 23:00 0\nWAVE 2024/05/06 ";
    for (const auto& [minutes, value] : {std::pair{0, "0.2"}, {40, "1.4"}, {70, "0.6"}, {150, "2.1"}, {180, "0.3"}}) {
        series << clockTime(start + 60 * minutes) << " " << value << " ";
    }
    series << "\nWAVE 2024/05/07 12:00 0\nLOAD 2024/05/05 22:00 1 23:00 1\nLOAD 2024/05/06 " << clockTime(start + 1800)
           << " 2\nLOAD 2024/05/06 " << clockTime(start + 5400) << " 0\nLOAD 2024/05/07 12:00 0.5\n";
    const int rise = start + 600 * random.pick(3);
    for (int k = 0; k < 24; ++k) {
        const double share = k < 10 ? k / 10.0 : k < 18 ? (18 - k) / 8.0 : k == 21 ? 0.3 : 0.0;
        series << "RAIN 2024/05/06 " << clockTime(rise + 300 * k) << " " << number(share * random.real(10, 90)) << "\n";
    }
    for (int k = 0; k < 12; ++k) {
        series << "FALL 2024/05/06 " << clockTime(start + 600 * k) << " " << number(k % 5 ? random.real(0, 6) : 0.0)
               << "\n";
    }
    maker.sections["RAINGAGES"] << "G0 INTENSITY 0:05 RAIN\nG1 VOLUME 0:10 FALL\n";
    maker.sections["EVAPORATION"] << (random.isOneOf(2) ? "CONSTANT " + real(random, 1, 9) + "\n"
                                                        : "MONTHLY 1 1 2 3 6.5 4 5 5 3 2 1 1\n");
}

// --- land ----------------------------------------------------------------------------------------------------------

std::string makeWashoff(Random& random) {
    if (random.isOneOf(2)) {
        return (Text() << "EXP " << real(random, 0.05, 0.4) << " " << real(random, 0.9, 1.5)).text;
    }
    return (Text() << "EMC " << real(random, 10, 90) << choose(random, {" YES", " NO"})).text;
}

void addLandUses(Maker& maker) {
    Random& random = maker.random;
    maker.sections["LANDUSES"] << "HOMES\nTRADE\n";
    for (const char* use : {"HOMES", "TRADE"}) {
        for (int p = 0; p < maker.town.pollutants; ++p) {
            const std::string pair = std::string(use) + " " + name("Q", p) + " ";
            maker.sections["BUILDUP"] << pair << real(random, 5, 80) << " " << real(random, 0.1, 0.6) << "\n";
            maker.sections["WASHOFF"] << pair << makeWashoff(random) << " "
                                      << (random.isOneOf(2) ? real(random, 0, 0.4) : "0") << "\n";
        }
    }
}

void addSubcatchs(Maker& maker) {
    Random& random = maker.random;
    for (int k = 0; k < maker.town.subcatchs; ++k) {
        const std::string id = name("LAND", k);
        maker.sections["SUBCATCHS"] << id << " G" << std::to_string(random.pick(2)) << " "
                                    << choose(random, maker.nodes) << " " << real(random, 0.3, 1.5) << " "
                                    << real(random, 40, 200) << " " << real(random, 20, 95) << " "
                                    << real(random, 0.3, 2) << " " << real(random, 0.011, 0.02) << " "
                                    << real(random, 0.1, 0.3) << " " << real(random, 0.5, 2) << " "
                                    << real(random, 1, 4) << " " << real(random, 20, 60) << " " << real(random, 2, 9)
                                    << " " << real(random, 2, 5) << " 5 "
                                    << (random.isOneOf(3) ? real(random, 10, 40) : "0") << "\n";
        if (maker.town.pollutants > 0) {
            const double share = random.real(20, 80);
            maker.sections["COVERAGES"] << id << " HOMES " << number(share) << "\n"
                                        << id << " TRADE " << number(random.isOneOf(3) ? 10.0 : 100.0 - share) << "\n";
            if (random.isOneOf(3)) {
                maker.sections["LOADINGS"] << id << " " << getPollutant(maker) << " " << real(random, 5, 60) << "\n";
            }
        }
        const int groups = maker.town.hasLids ? random.pick(3) : 0;
        for (int g = 0; g < groups; ++g) {
            maker.sections["LID_GROUPS"] << id << " " << TOWN_LIDS[random.pick(7)] << " " << real(random, 50, 900)
                                         << " " << real(random, 2, 15) << " " << real(random, 0, 60) << " "
                                         << real(random, 10, 45)
                                         << (random.isOneOf(2) ? " " + choose(random, maker.nodes) : "") << "\n";
        }
    }
}

void addLidDecay(Maker& maker) {
    const char* const layers[][2] = {{"CELL", "SOIL"},      {"GARDEN", "SOIL"},    {"ROOF", "DRAINMAT"},
                                     {"TRENCH", "STORAGE"}, {"PAVING", "STORAGE"}, {"PAVING", "PAVEMENT"},
                                     {"BARREL", "STORAGE"}, {"DITCHES", "SURFACE"}};
    for (const auto& layer : layers) {
        if (maker.town.pollutants > 0) {
            maker.sections["DECAY_COEFFICIENT"] << std::string(layer[0]) << " LID " << getPollutant(maker) << " FIRST "
                                                << real(maker.random, 1, 30) << " "
                                                << choose(maker.random, {"\"\"", "DAY"}) << " " << layer[1] << "\n";
        }
    }
}

// --- rules ---------------------------------------------------------------------------------------------------------

std::string makeCondition(Maker& maker) {
    Random& random = maker.random;
    const std::string relation = choose(random, {" > ", " >= ", " < ", " <= "});
    std::vector<std::string> choices = {"GAGE G0 EVENT = " + choose(random, {"IN", "OUT"})};
    const auto offer = [&](const std::vector<std::string>& ids, const char* type, const char* attribute, double high) {
        if (!ids.empty()) {
            choices.push_back(
                (Text() << type << " " << choose(random, ids) << " " << attribute << relation << real(random, 0, high))
                    .text);
        }
    };
    offer(maker.junctions, "JUNCTION", "INFLOW", 0.08);
    offer(maker.splitters, "SPLITTER", "INFLOW", 0.08);
    offer(maker.tanks, "TANK", "DEPTH", 1.8);
    offer(maker.tanks, "TANK", "INFLOW", 0.1);
    offer(maker.reactors, "REACTOR", "FILL", 1.0);
    offer(maker.pipes, "PIPE", "FLOW", 0.06);
    offer(maker.conduits, "CONDUIT", "DEPTH", 0.4);
    offer(maker.conduits, "CONDUIT", "FLOW", 0.06);
    offer(maker.weirs, "WEIR", "FLOW", 0.03);
    offer(maker.orifices, "ORIFICE", "FLOW", 0.03);
    offer(maker.connections, "CONNECTION", "FLOW", 0.05);
    offer(maker.pumps, "PUMP", "FLOW", 0.05);
    if (!maker.pumps.empty()) {
        choices.push_back(
            (Text() << "PUMP " << choose(random, maker.pumps) << " STATUS " << choose(random, {"=", "<>"}) << " ON")
                .text);
    }
    if (!maker.conduits.empty() && !maker.tanks.empty()) {
        choices.push_back((Text() << "CONDUIT " << choose(random, maker.conduits) << " DEPTH" << relation << "TANK "
                                  << choose(random, maker.tanks) << " DEPTH")
                              .text);
    }
    return choose(random, choices);
}

std::string makeAction(Maker& maker) {
    Random& random = maker.random;
    std::vector<std::string> choices;
    const auto offer = [&](const std::vector<std::string>& ids, const std::string& type, const std::string& rest) {
        if (!ids.empty()) {
            choices.push_back(type + " " + choose(random, ids) + " " + rest);
        }
    };
    offer(maker.pumps, "PUMP", "STATUS = " + choose(random, {"ON", "OFF"}));
    offer(maker.pumps, "PUMP", "SETTING = " + real(random, 0, 1));
    offer(maker.weirs, "WEIR", "SETTING = " + real(random, 0, 1));
    offer(maker.orifices, "ORIFICE", "SETTING = " + real(random, 0, 1));
    offer(maker.pipes, "PIPE", "SETTING = " + real(random, 0.3, 1));
    offer(maker.pipes, "PIPE", "STATUS = " + choose(random, {"OPEN", "CLOSED"}));
    offer(maker.splitters, "SPLITTER", "VALUE = " + real(random, 0, 0.5));
    offer(maker.stirred, "REACTOR", "EMPTYING = " + choose(random, {"YES", "NO"}));
    return choices.empty() ? "PIPE L0 SETTING = 1" : choose(random, choices);
}

void addRules(Maker& maker) {
    Random& random = maker.random;
    Text& rules = maker.sections["CONTROL_RULES"];
    const int count = 4 + random.pick(5);
    for (int k = 0; k < count; ++k) {
        rules << "RULE RULE" << std::to_string(k) << "\nIF " << makeCondition(maker) << "\n";
        for (int more = random.pick(3); more > 0; --more) {
            rules << choose(random, {"AND ", "OR "}) << makeCondition(maker) << "\n";
        }
        rules << "THEN " << makeAction(maker) << "\n";
        for (int more = random.pick(3); more > 0; --more) {
            rules << "AND " << makeAction(maker) << "\n";
        }
        if (random.isOneOf(2)) {
            rules << "ELSE " << makeAction(maker) << "\n";
        }
        if (random.isOneOf(3)) {
            rules << "PRIORITY " << real(random, -2, 5) << "\n";
        }
    }
}

/// Each kind once, then by chance; mixed.
void nameStages(Maker& maker) {
    const std::string kinds = "JTSRMTJR";
    std::vector<char> letters(kinds.begin(), kinds.end());
    while (static_cast<int>(letters.size()) < maker.town.stages) {
        letters.push_back(kinds[static_cast<size_t>(maker.random.pick(static_cast<int>(kinds.size())))]);
    }
    letters.resize(static_cast<size_t>(maker.town.stages));
    for (size_t k = letters.size() - 1; k > 0; --k) {
        std::swap(letters[k], letters[static_cast<size_t>(maker.random.pick(static_cast<int>(k + 1)))]);
    }
    for (size_t k = 0; k < letters.size(); ++k) {
        if (letters[k] == 'M' && !maker.town.hasLids) {
            letters[k] = 'J';
        }
        maker.nodes.push_back(std::string(1, letters[k]) + std::to_string(k));
    }
}

/// Nodes and links in an order by chance; what speaks of them stands behind.
void orderSections(Maker& maker) {
    std::vector<std::string> titles = {"JUNCTIONS", "TANKS",       "OUTFALLS", "SPLITTERS", "REACTORS", "LID_MONOS",
                                       "PIPES",     "CONNECTIONS", "CONDUITS", "PUMPS",     "WEIRS",    "ORIFICES"};
    for (size_t k = titles.size() - 1; k > 0; --k) {
        std::swap(titles[k], titles[static_cast<size_t>(maker.random.pick(static_cast<int>(k + 1)))]);
    }
    for (const std::string& title : titles) {
        maker.sections[title];
    }
}

}  // namespace

std::string town_make(const Town& town) {
    Maker maker{Random(town.seed), town, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, 0};
    Random& random = maker.random;
    maker.sections["DESCRIPTION"] << "A town of seed " << std::to_string(town.seed) << "\n";
    maker.sections["GENERAL"] << general(town.times) << "START_DRY_DAYS " << real(random, 0, 8)
                              << "\nEVENT_INTERVAL 10\nEVENT_MIN_VALUE 0.5\nLID_MONO_RAINFALL "
                              << choose(random, {"YES", "NO"}) << "\nCONDUIT_LENGTHENING "
                              << (random.isOneOf(2) ? "120" : "0") << "\n";
    for (int p = 0; p < town.pollutants; ++p) {
        maker.sections["POLLUTANTS"] << name("Q", p) << " " << real(random, 0, 12) << "\n";
    }
    nameStages(maker);
    orderSections(maker);
    for (int k = 0; k < OUTFALLS; ++k) {
        maker.sections["OUTFALLS"] << name("OUT", k) << "\n";
    }
    for (int k = 0; k < town.stages; ++k) {
        addStage(maker, k);
    }
    addRain(maker);
    addInflows(maker);
    addLandUses(maker);
    addSubcatchs(maker);
    if (town.hasLids) {
        addLidDecay(maker);
    }
    if (town.hasRules) {
        addRules(maker);
    }
    return maker.sections.text() + town_getTables() + (town.hasLids ? town_getLids() : std::string());
}
