#include "bench.h"

#include <fstream>
#include <sstream>

#include "town.h"

namespace {

/// 2000 junctions and pipes in a tree that leads down to one outfall, with four pollutants from each head; or no inflow
/// at all.
std::string makeNetwork(bool isDry) {
    constexpr int SIZE = 2000, POLLUTANTS = 4;
    Random random(7);
    Sections sections;
    sections["GENERAL"] << general({20000, 60, 300, 300, false, 0});
    sections["OUTFALLS"] << "O\n";
    std::string isFed(SIZE, 'n');
    for (int k = 0; k < SIZE; ++k) {
        const int to = k + 1 + random.pick(40);
        const std::string id = name("J", k);
        sections["JUNCTIONS"] << id << "\n";
        sections["PIPES"] << name("P", k) << " " << id << " " << (to < SIZE ? name("J", to) : "O") << " NO "
                          << std::to_string(60 * (1 + k % 5)) << " " << std::to_string(1 + k % 3) << " 0.2 0\n";
        if (!isDry && isFed[static_cast<size_t>(k)] == 'n') {
            sections["INFLOWS"] << id << " FLOW FLOW 0.002 \"\" 0\n";
            for (int p = 0; p < POLLUTANTS; ++p) {
                sections["INFLOWS"] << id << " CONCEN " << name("Q", p) << " 100 \"\" 0\n";
            }
        }
        if (to < SIZE) {
            isFed[static_cast<size_t>(to)] = 'y';
        }
    }
    for (int p = 0; p < POLLUTANTS; ++p) {
        sections["POLLUTANTS"] << name("Q", p) << " 0\n";
    }
    return sections.text();
}

std::string makeTown() {
    Town town;
    town.seed = 77;
    town.stages = 120;
    town.subcatchs = 40;
    town.pollutants = 3;
    town.times = {600, 60, 60, 300, false, 0};
    return town_make(town);
}

std::string readStreet(const std::string& examples) {
    std::ostringstream text;
    text << std::ifstream(examples + "/green-street/green-street.inp", std::ios::binary).rdbuf();
    return text.str();
}

}  // namespace

std::string bench_makeProject(const std::string& name, const std::string& examples) {
    return name == "network"  ? makeNetwork(false)
           : name == "dry"    ? makeNetwork(true)
           : name == "town"   ? makeTown()
           : name == "street" ? readStreet(examples)
                              : "";
}
