#pragma once
// Random networks of the kinds that hold and move water without outside models, for tests of what holds in all of them.

#include <random>
#include <string>
#include <vector>

/// An in-tree of junctions and splitters down to two outfalls, with pipes, connections, inflows and pollutants. Links
/// are listed behind all nodes. `prefix` stands before every name.
inline std::string generateNetwork(unsigned seed, int nodes, int pollutants, const std::string& prefix = "") {
    std::mt19937 random(seed);
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const auto name = [&](const char* kind, int k) { return prefix + kind + std::to_string(k); };
    std::string junctions, splitters, pipes, connections, inflows, dwfs, decays;
    const auto target = [&](int k) { return k < nodes ? name("N", k) : name("OUT", k % 2); };
    int links = 0;
    const auto addLink = [&](int from, int to) {
        std::string id = name("L", links++);
        const std::string ends = id + " " + name("N", from) + " " + target(to) + " NO ";
        if (pick(3) > 0) {
            pipes += ends + std::to_string(60 * (1 + pick(5))) + " " + std::to_string(1 + pick(3)) + " 0." +
                     std::to_string(pick(5)) + (pick(4) == 0 ? " 0.05" : " 0") + "\n";
            if (pollutants > 0 && pick(2) == 0) {
                decays +=
                    id + " LINK " + name("Q", pick(pollutants)) + " FIRST " + std::to_string(pick(20)) + " \"\"\n";
            }
        } else {
            connections += ends + std::to_string(pick(600)) + "\n";
        }
        return id;
    };
    for (int k = 0; k < nodes; ++k) {
        if (pick(4) == 0) {
            const char* rules[] = {"FLOW 0.02", "RATIO 0.3", "FLOW_RATIO 0.01 0.5"};
            const std::string first = addLink(k, k + 1 + pick(5));
            addLink(k, k + 1 + pick(5));
            splitters += name("N", k) + " " + first + " " + rules[pick(3)] + "\n";
        } else {
            junctions += name("N", k) + "\n";
            addLink(k, k + 1 + pick(5));
        }
        if (pick(2) == 0) {
            dwfs += name("N", k) + " FLOW 0.0" + std::to_string(1 + pick(9)) + " " + name("H", 0) + "\n";
            for (int p = 0; p < pollutants; ++p) {
                dwfs += name("N", k) + " " + name("Q", p) + " " + std::to_string(pick(300)) + " \"\"\n";
            }
        }
        if (pick(5) == 0) {
            inflows += name("N", k) + " FLOW FLOW 0.01 " + name("S", 0) + " 0.001\n";
        }
    }
    std::string quality;
    for (int p = 0; p < pollutants; ++p) {
        quality += name("Q", p) + " 0\n";
    }
    return "[JUNCTIONS]\n" + junctions + "[OUTFALLS]\n" + name("OUT", 0) + "\n" + name("OUT", 1) + "\n[SPLITTERS]\n" +
           splitters + "[PIPES]\n" + pipes + "[CONNECTIONS]\n" + connections + "[POLLUTANTS]\n" + quality +
           "[DECAY_COEFFICIENT]\n" + decays + "[INFLOWS]\n" + inflows + "[DWFS]\n" + dwfs + "[PATTERNS]\n" +
           name("H", 0) + " HOURLY 1 1.5 0.7 1.2\n[TIMESERIES]\n" + name("S", 0) +
           " 2021/02/28 0:00 0 12:00 0 2021/03/01 0:00 0 0:30 40 1:00 10 2:00 90 3:00 0\n";
}
