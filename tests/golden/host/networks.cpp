// Trees of junctions and splitters with pipes and connections, and grids of the parameters of these links.

#include "host.h"
#include "text.h"

namespace {

struct Tree {
    uint64_t seed;
    int nodes, pollutants;
    Times times;
};

void addLink(Random& random, Sections& sections, const Tree& tree, const std::string& ends, const std::string& id) {
    if (random.isOneOf(3)) {
        sections["CONNECTIONS"] << ends << std::to_string(random.pick(900)) << "\n";
        return;
    }
    const int multiple = 1 + random.pick(5);
    sections["PIPES"] << ends << std::to_string(tree.times.routing * multiple + random.pick(3) * 7) << " "
                      << std::to_string(1 + random.pick(5)) << " " << real(random, 0, 0.5) << " "
                      << (random.isOneOf(4) ? "0.03" : "0") << "\n";
    if (tree.pollutants > 0 && random.isOneOf(2)) {
        sections["DECAY_COEFFICIENT"] << id << " LINK " << name("Q", random.pick(tree.pollutants)) << " FIRST "
                                      << real(random, 0, 60) << (random.isOneOf(2) ? " \"\"\n" : " H\n");
    }
}

std::string makeTree(const Tree& tree) {
    Random random(tree.seed);
    Sections sections;
    sections["GENERAL"] << general(tree.times);
    int links = 0;
    const auto add = [&](int from) {
        const int to = from + 1 + random.pick(5);
        std::string id = name("L", links++);
        addLink(random, sections, tree,
                id + " " + name("N", from) + " " + (to < tree.nodes ? name("N", to) : name("OUT", to % 2)) + " NO ",
                id);
        return id;
    };
    const char* const modes[] = {"FLOW 0.02", "RATIO 0.3", "FLOW_RATIO 0.01 0.5"};
    for (const char* section : {"JUNCTIONS", "OUTFALLS", "SPLITTERS", "PIPES", "CONNECTIONS", "DECAY_COEFFICIENT"}) {
        sections[section];
    }
    sections["OUTFALLS"] << "OUT0\nOUT1\n";
    for (int k = 0; k < tree.nodes; ++k) {
        const std::string first = add(k);
        if (random.isOneOf(4)) {
            add(k);
            sections["SPLITTERS"] << name("N", k) << " " << first << " " << modes[random.pick(3)] << "\n";
        } else {
            sections["JUNCTIONS"] << name("N", k) << "\n";
        }
        if (random.isOneOf(2)) {
            sections["DWFS"] << name("N", k) << " FLOW " << real(random, 0.001, 0.04) << " H\n";
            for (int p = 0; p < tree.pollutants; ++p) {
                sections["DWFS"] << name("N", k) << " " << name("Q", p) << " " << real(random, 0, 300) << " \"\"\n";
            }
        }
        if (random.isOneOf(4)) {
            sections["INFLOWS"] << name("N", k) << " FLOW FLOW 0.005 S 0.0007\n";
        }
    }
    for (int p = 0; p < tree.pollutants; ++p) {
        sections["POLLUTANTS"] << name("Q", p) << " 0\n";
    }
    return sections.text() + "[PATTERNS]\nH HOURLY 1 1.5 0.7 1.2 0.4 1.9\n[TIMESERIES]\n" +
           "S 2024/05/05 0:00 0 12:00 0\nS 2024/05/06 0:00 5 0:30 40 1:00 10 2:00 90 3:00 0 9:00 20 24:00 20\n";
}

constexpr const char* WAVE =
    "[TIMESERIES]\nS 2024/05/05 0:00 0 12:00 0\nS 2024/05/06 0:00 0.2 0:20 1 0:50 0.1 2:00 2 2:30 0.3 9:00 0.1\n";

/// A junction for each pipe or connection, all under the same wave.
std::string makeRow(const char* section, const std::vector<std::string>& links) {
    Sections sections;
    sections["GENERAL"] << general({300, 60, 60, 60, false, 0});
    sections["POLLUTANTS"] << "A 0\nB 0\n";
    sections["OUTFALLS"] << "O\n";
    for (size_t k = 0; k < links.size(); ++k) {
        const int index = static_cast<int>(k);
        sections["JUNCTIONS"] << name("J", index) << "\n";
        sections["INFLOWS"] << name("J", index) << " FLOW FLOW 0.01 S 0.1\n"
                            << name("J", index) << " CONCEN A 50 S 30\n"
                            << name("J", index) << " MASS B 0.001 \"\" 0\n";
        sections[section] << name("L", index) + " " + name("J", index) + " O " + links[k] + "\n";
        sections["DECAY_COEFFICIENT"] << name("L", index) << " LINK A FIRST 12 H\n";
    }
    return sections.text() + WAVE + "[PATTERNS]\nH HOURLY 1 2 0.5 1 3\n";
}

std::vector<std::string> makePipes() {
    std::vector<std::string> pipes;
    for (const char* k : {"60", "90", "120", "300", "1000"}) {
        for (const char* rest : {"1 0", "1 0.5", "3 0.2", "8 0.35", "2.9 0.1"}) {
            pipes.push_back(std::string("NO ") + k + " " + rest + (pipes.size() % 3 ? " 0" : " 0.06"));
        }
    }
    return pipes;
}

std::string makeLagged() {
    return "[GENERAL]\n" + general({240, 60, 60, 60, false, 0}) +
           "[POLLUTANTS]\nA 0\n[JUNCTIONS]\nIN\nMIX\nBACK\n[SPLITTERS]\nS1 OUTLET RATIO 0.6\nS2 L2 FLOW 0.03\n"
           "[OUTFALLS]\nO\n[PIPES]\nL1 IN MIX NO 120 2 0.2 0\nL2 S2 S1 NO 60 1 0.1 0\n"
           "RECYCLE S2 MIX YES 180 1 0.3 0\n[CONNECTIONS]\nL3 MIX S2 NO 30\nOUTLET S1 O NO 60\nREST S1 BACK NO 0\n"
           "LOOP BACK IN YES 90\n[INFLOWS]\nIN FLOW FLOW 0.02 S 0.03\nIN CONCEN A 40 \"\" 0\n" +
           WAVE;
}

}  // namespace

void cases_addNetworks(std::vector<Case>& cases) {
    for (int k = 0; k < 8; ++k) {
        const Tree tree{
            1 + static_cast<uint64_t>(k), 10 + 7 * k, k % 5,
            k % 4 == 3 ? Times{300, 60, 300, 300, true, 0} : Times{240, k % 2 ? 60 : 30, 60, k % 2 ? 60 : 30}};
        cases_add(cases, name("network-", k), makeTree(tree));
    }
    cases_add(cases, "pipes", makeRow("PIPES", makePipes()));
    cases_add(cases, "connections",
              makeRow("CONNECTIONS", {"NO 0", "NO 30", "NO 60", "NO 90", "NO 600", "NO 3601", "NO 1e6"}));
    cases_add(cases, "lagged-links", makeLagged());
}
