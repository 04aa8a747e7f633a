// See sections.h. Whatever carries water is made for the largest flow that plan_getPeak expects.

#include <algorithm>
#include <iterator>

#include "plan.h"
#include "random.h"
#include "sections.h"
#include "text.h"

namespace {

enum Stream : uint64_t { LINKS = 20, FLOWS, REACTORS };

/// A diameter, dm, and the flow of a full circular sewer of it at a slope of 0.1 % and n = 0.013 (Manning), l/s.
struct Sewer {
    int64_t size, flow;
};

constexpr Sewer SEWERS[] = {{3, 31},    {4, 66},    {5, 119},   {6, 194},    {8, 418},    {10, 758},   {12, 1233},
                            {15, 2235}, {20, 4814}, {25, 8728}, {30, 14193}, {35, 21400}, {40, 30560}, {50, 55400}};
constexpr int SEWER_COUNT = static_cast<int>(std::size(SEWERS));

constexpr int BASIN_COUNT = 8;
constexpr int64_t BASIN_AREA = 20;          ///< m2, of the smallest basin; each class has twice that of the one before
constexpr int64_t BASIN_FLOW = 20;          ///< l/s, of the pumps and orifices of the smallest basin
constexpr int64_t PAVED_PER_BASIN = 33000;  ///< m2, for the smallest basin: 15 m3 a hectare up to the weir

/// Diameters of orifices by the class of the basin, cm, for the flow of the basin at a head of 1.5 m.
constexpr int64_t ORIFICES[BASIN_COUNT] = {9, 12, 17, 25, 35, 49, 69, 98};

int findSewer(int64_t peak) {
    int sewer = 0;
    while (sewer + 1 < SEWER_COUNT && SEWERS[sewer].flow < peak) {
        ++sewer;
    }
    return sewer;
}

int findBasin(const TownPlan& plan, int64_t tank) {
    int basin = 0;
    while (basin + 1 < BASIN_COUNT && (PAVED_PER_BASIN << basin) < plan.paved[static_cast<size_t>(tank)]) {
        ++basin;
    }
    return basin;
}

bool isKind(const TownPlan& plan, int64_t node, TownNode kind) {
    return plan.nodes[static_cast<size_t>(node)] == kind;
}

bool hasPump(const TownPlan& plan, int64_t tank) {
    return plan_getOutlet(plan, tank) != ORIFICE_OUTLET;
}

bool hasOrifice(const TownPlan& plan, int64_t tank) {
    return plan_getOutlet(plan, tank) != PUMP_OUTLET;
}

int64_t getDown(const TownPlan& plan, int64_t node) {
    return plan.down[static_cast<size_t>(node)];
}

void writeDown(TownText& out, const TownPlan& plan, int64_t node) {
    sections_writeNode(out, plan, getDown(plan, node), node);
}

/// Name and ends of a link.
void writeEnds(TownText& out, const TownPlan& plan, const char* letter, int64_t node) {
    out << letter << node << " ";
    sections_writeNode(out, plan, node);
    out << " ";
    writeDown(out, plan, node);
}

/// Calls `write` for each node that `isWanted`, behind the header of the section if there is any.
template <class Wanted, class Write>
void writeSection(TownText& out, const TownPlan& plan, const char* header, Wanted isWanted, Write write) {
    bool isFirst = true;
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        if (isWanted(k)) {
            if (isFirst) {
                out << header;
                isFirst = false;
            }
            write(k);
        }
    }
}

// --- nodes ---------------------------------------------------------------------------------------------------------

void writeReactor(TownText& out, const TownPlan& plan, int64_t node) {
    const int64_t capacity = 100 * (1 + plan.paved[static_cast<size_t>(node)] / 4000);  // m3/day
    const bool isStirred = plan.turns[static_cast<size_t>(node)] % 2 == 0;
    sections_writeNode(out, plan, node);
    out << (isStirred ? " CSTR " : " PFR ");
    writeDown(out, plan, node);
    out << " FLOW_CAPACITY " << capacity << " ";
    if (isStirred) {
        out << capacity / 4 << " " << capacity / 4 << " 50\n";
    } else {
        out << "2 " << capacity / 8 << "\n";
    }
}

void writeReactions(TownText& out, const TownPlan& plan, int64_t node) {
    constexpr const char* LINES[4] = {" TSS FIRST 4 \"\"\n", " COD FIRST 1.5 \"\"\n", " NH4 ZERO 5 \"\"\n",
                                      " ZN FIRST 0.5 \"\"\n"};
    for (int p = 0; p < plan.options.pollutants; ++p) {
        sections_writeNode(out, plan, node);
        out << LINES[p];
    }
}

void writeNodes(TownText& out, const TownPlan& plan) {
    const auto ofKind = [&](TownNode kind) { return [&plan, kind](int64_t k) { return isKind(plan, k, kind); }; };
    writeSection(out, plan, "[JUNCTIONS]\n", ofKind(JUNCTION), [&](int64_t k) {
        sections_writeNode(out, plan, k);
        out << "\n";
    });
    writeSection(out, plan, "[TANKS]\n", ofKind(TANK), [&](int64_t k) {
        sections_writeNode(out, plan, k);
        out << " BASIN" << int64_t{findBasin(plan, k)} << " 3.5 0\n";
    });
    out << "[OUTFALLS]\n";
    for (int64_t k = 0; k < plan_getSize(plan); k += DISTRICT) {
        out << "OUT" << k / DISTRICT << "\n";
    }
    writeSection(out, plan, "[SPLITTERS]\n", ofKind(SPLITTER), [&](int64_t k) {
        sections_writeNode(out, plan, k);
        out << " L" << k << " FLOW " << TownDecimal{std::max<int64_t>(5, plan_getPeak(plan, k) / 4), 3} << "\n";
    });
    writeSection(out, plan, "[REACTORS]\n", ofKind(REACTOR), [&](int64_t k) { writeReactor(out, plan, k); });
    if (plan.options.pollutants > 0) {
        writeSection(out, plan, "[REACTORS_DECAY]\n", ofKind(REACTOR),
                     [&](int64_t k) { writeReactions(out, plan, k); });
    }
}

// --- links ---------------------------------------------------------------------------------------------------------

void writePipe(TownText& out, const TownPlan& plan, int64_t node) {
    TownRandom random = townRandom_make(plan.options.seed, LINKS, static_cast<uint64_t>(node));
    const int64_t period = std::max<int64_t>(60, plan.options.routingStep) * townRandom_pick(random, 2, 4);
    const int64_t reaches = 1 + (townRandom_pick(random, 0, 3) == 0 ? 1 : 0);
    writeEnds(out, plan, "L", node);
    out << " NO " << period << " " << reaches << " " << TownDecimal{townRandom_pick(random, 10, 30), 2} << " 0\n";
}

/// Longer than water runs in a step, or it would empty.
void writeConduit(TownText& out, const TownPlan& plan, int64_t node) {
    TownRandom random = townRandom_make(plan.options.seed, LINKS, static_cast<uint64_t>(node));
    const int sewer = findSewer(plan_getPeak(plan, node));
    const int64_t size = SEWERS[sewer].size;
    const int64_t steps = std::max<int64_t>(1, plan.options.routingStep / 60);
    const int64_t slope = size < 10 ? townRandom_pick(random, 20, 60) : townRandom_pick(random, 11, 20);
    writeEnds(out, plan, "L", node);
    out << " NO " << townRandom_pick(random, 180 + 5 * size, 400 + 5 * size) * steps << " " << TownDecimal{slope, 2}
        << " ";
    switch (plan.turns[static_cast<size_t>(node)] % 3) {
        case 0: out << "0.013 CIRCULAR " << TownDecimal{size, 1}; break;
        case 1: out << "0.013 RECTANGULAR " << TownDecimal{size, 1} << " " << TownDecimal{size, 1}; break;
        default: out << "0.025 IRREGULAR BED" << int64_t{sewer}; break;
    }
    out << "\n";
}

void writeOutlets(TownText& out, const TownPlan& plan) {
    const auto isTank = [&](int64_t k) { return isKind(plan, k, TANK); };
    writeSection(
        out, plan, "[PUMPS]\n", [&](int64_t k) { return isTank(k) && hasPump(plan, k); },
        [&](int64_t k) {
            out << "PU" << k << " ";
            sections_writeNode(out, plan, k);
            out << " ";
            writeDown(out, plan, k);
            out << " PUMP" << int64_t{findBasin(plan, k)} << " NO OFF 0.6 0.2\n";
        });
    writeSection(
        out, plan, "[ORIFICES]\n", [&](int64_t k) { return isTank(k) && hasOrifice(plan, k); },
        [&](int64_t k) {
            const int basin = findBasin(plan, k);
            const bool isRound = k % 2 == 0;
            writeEnds(out, plan, "OR", k);
            out << (isRound ? " NO CIRCULAR 0.62 " : " NO RECTANGULAR 0.62 ") << (hasPump(plan, k) ? "1 " : "0 ")
                << TownDecimal{ORIFICES[basin], 2};
            if (!isRound) {
                out << " " << TownDecimal{ORIFICES[basin], 2};
            }
            out << "\n";
        });
    writeSection(out, plan, "[WEIRS]\n", isTank, [&](int64_t k) {
        writeEnds(out, plan, "W", k);
        out << " NO RECTANGULAR 1.8 " << TownDecimal{std::max<int64_t>(5, plan_getPeak(plan, k) / 100), 1}
            << " 2.5 0.3\n";
    });
}

void writeLinks(TownText& out, const TownPlan& plan) {
    const auto ofKind = [&](TownLink kind) {
        return [&plan, kind](int64_t k) { return plan.links[static_cast<size_t>(k)] == kind; };
    };
    writeSection(out, plan, "[PIPES]\n", ofKind(PIPE), [&](int64_t k) { writePipe(out, plan, k); });
    writeSection(out, plan, "[CONDUITS]\n", ofKind(CONDUIT), [&](int64_t k) { writeConduit(out, plan, k); });
    const auto hasDelay = [&](int64_t k) {
        return plan.links[static_cast<size_t>(k)] == CONNECTION || isKind(plan, k, SPLITTER);
    };
    writeSection(out, plan, "[CONNECTIONS]\n", hasDelay, [&](int64_t k) {
        if (plan.links[static_cast<size_t>(k)] == CONNECTION) {
            writeEnds(out, plan, "L", k);
            out << " NO " << 60 * (1 + k % 5) << "\n";
        }
        if (isKind(plan, k, SPLITTER)) {
            out << "X" << k << " ";
            sections_writeNode(out, plan, k);
            out << " OUT" << k / DISTRICT << " NO 60\n";
        }
    });
    writeOutlets(out, plan);
}

// --- rules ---------------------------------------------------------------------------------------------------------

/// A rule on the tank: its orifice is throttled while it has room, its pump by the depth, or its weir lowered when it
/// is full.
void writeRule(TownText& out, const TownPlan& plan, int64_t rule, int64_t tank) {
    out << "RULE R" << rule << "\nIF TANK T" << tank;
    if (hasOrifice(plan, tank) && rule % 2 == 0) {
        out << " DEPTH < " << TownDecimal{10 + rule % 10, 1} << "\nAND TANK T" << tank << " INFLOW > "
            << TownDecimal{BASIN_FLOW << findBasin(plan, tank), 3} << "\nTHEN ORIFICE OR" << tank << " SETTING = 0.5\n";
    } else if (hasPump(plan, tank)) {
        out << " DEPTH > " << TownDecimal{7 + rule % 3, 1} << "\nAND TANK T" << tank << " DEPTH < "
            << TownDecimal{14 + rule % 6, 1} << "\nTHEN PUMP PU" << tank << " SETTING = 0.6\nPRIORITY " << 1 + rule % 3
            << "\n";
    } else {
        out << " DEPTH > " << TownDecimal{26 + rule % 4, 1} << "\nTHEN WEIR W" << tank << " SETTING = 1\nELSE WEIR W"
            << tank << " SETTING = 0.2\n";
    }
}

void writeRules(TownText& out, const TownPlan& plan) {
    std::vector<int64_t> tanks;
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        if (isKind(plan, k, TANK)) {
            tanks.push_back(k);
        }
    }
    const int64_t count = static_cast<int64_t>(plan.options.rules * static_cast<double>(plan_getSize(plan)));
    if (tanks.empty() || count == 0) {
        return;
    }
    out << "[CONTROL_RULES]\n";
    for (int64_t rule = 0; rule < count; ++rule) {
        writeRule(out, plan, rule, tanks[static_cast<size_t>(rule) % tanks.size()]);
    }
}

// --- curves --------------------------------------------------------------------------------------------------------

/// Curves that something names, as bits by class.
struct Curves {
    unsigned basins, pumps, beds;
};

Curves findCurves(const TownPlan& plan) {
    Curves curves{};
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        if (isKind(plan, k, TANK)) {
            curves.basins |= 1u << findBasin(plan, k);
            curves.pumps |= hasPump(plan, k) ? 1u << findBasin(plan, k) : 0u;
        } else if (plan.links[static_cast<size_t>(k)] == CONDUIT && plan.turns[static_cast<size_t>(k)] % 3 == 2) {
            curves.beds |= 1u << findSewer(plan_getPeak(plan, k));
        }
    }
    return curves;
}

void writeBed(TownText& out, int sewer) {
    constexpr int64_t BED[6][2] = {{0, 110}, {77, 41}, {103, 0}, {141, 0}, {163, 43}, {240, 110}};
    const int64_t size = SEWERS[sewer].size;
    out << "BED" << int64_t{sewer} << " TRANSECT";
    for (const auto& [station, elevation] : BED) {
        out << " " << TownDecimal{station * size, 3} << " " << TownDecimal{elevation * size, 3};
    }
    out << "\n";
}

}  // namespace

void sections_writeNode(TownText& out, const TownPlan& plan, int64_t node, int64_t source) {
    constexpr const char* LETTERS[4] = {"J", "T", "R", "F"};
    if (node == plan_getSize(plan)) {
        out << "OUT" << source / DISTRICT;
    } else {
        out << LETTERS[plan.nodes[static_cast<size_t>(node)]] << node;
    }
}

void sections_writeNetwork(TownText& out, const TownPlan& plan) {
    writeNodes(out, plan);
    writeLinks(out, plan);
    writeRules(out, plan);
}

void sections_writeFlows(TownText& out, const TownPlan& plan) {
    if (!plan.options.hasDryFlow || plan.options.weather == TownWeather::NONE) {
        return;
    }
    constexpr const char* LINES[4] = {" TSS 300 \"\"\n", " COD 600 DAY\n", " NH4 45 DAY\n", " ZN 0.2 \"\"\n"};
    out << "[DWFS]\n";
    for (int64_t k = 0; k < plan_getSize(plan); ++k) {
        const TownPlot plot = plan_makePlot(plan, k);
        sections_writeNode(out, plan, k);
        // 80 heads a hectare with 130 l a day
        out << " FLOW " << TownDecimal{plot.area * 12, 7} << (k % 3 == 0 ? " WORK\n" : " DAY\n");
        for (int p = 0; p < plan.options.pollutants; ++p) {
            sections_writeNode(out, plan, k);
            out << LINES[p];
        }
    }
}

void sections_writeTables(TownText& out, const TownPlan& plan) {
    if (plan.options.hasDryFlow || (plan.options.lids > 0.0 && plan.options.pollutants > 0)) {
        out << "[PATTERNS]\nDAY HOURLY 0.5 0.4 0.4 0.4 0.5 0.7 1.2 1.6 1.5 1.3 1.2 1.2\n"
               "DAY 1.3 1.2 1.1 1 1 1.1 1.3 1.5 1.4 1.2 0.9 0.7\n"
               "WORK HOURLY 0.3 0.3 0.3 0.3 0.4 0.7 1.3 1.8 1.9 1.8 1.7 1.6\n"
               "WORK 1.5 1.6 1.6 1.5 1.3 1 0.8 0.6 0.5 0.5 0.4 0.3\n";
    }
    const Curves curves = findCurves(plan);
    if (curves.basins + curves.pumps + curves.beds != 0) {
        out << "[CURVES]\n";
    }
    for (int k = 0; k < SEWER_COUNT; ++k) {
        if (curves.basins >> k & 1) {
            const int64_t area = BASIN_AREA << k;
            out << "BASIN" << int64_t{k} << " TANK 0 " << area << " 1 " << area + area / 10 << " 4 " << area + area / 5
                << "\n";
        }
        if (curves.pumps >> k & 1) {
            const int64_t flow = BASIN_FLOW << k;
            out << "PUMP" << int64_t{k} << (k % 2 == 0 ? " PUMP1 " : " PUMP2 ") << "0.1 " << TownDecimal{flow, 3}
                << " 1 " << TownDecimal{flow + flow / 4, 3} << " 2.5 " << TownDecimal{flow + flow / 2, 3} << "\n";
        }
        if (curves.beds >> k & 1) {
            writeBed(out, k);
        }
    }
}
