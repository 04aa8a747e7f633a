// Steps of tanks and conduits: what an outlet of a tank costs, by the number of outlets, and what a conduit costs, by
// its section and by the points of its transect. Times are those of a whole step through the public functions.

#include <benchmark/benchmark.h>

#include <cmath>
#include <sstream>
#include <string>

#include "stepping.h"

static constexpr int SETTLING = 1000;  ///< steps up to the steady state

static const char* const GENERAL =
    "[GENERAL]\nSTART_DATE 2021/01/01\nEND_DATE 2120/01/01\nROUTING_STEP 0:00:10\nRUNOFF_STEP 24:00:00\n"
    "REPORT_STEP 24:00:00\n[OUTFALLS]\nOUT\n";

/// One tank whose weirs stand at different levels, all below the water.
static void tankLevels(benchmark::State& state) {
    const int64_t count = state.range(0);
    std::string text = std::string(GENERAL) + "[TANKS]\nT B 50 10\n[WEIRS]\n";
    for (int64_t k = 0; k < count; ++k) {
        const double crest = 5.0 * static_cast<double>(k) / static_cast<double>(count);
        text += "W" + std::to_string(k) + " T OUT NO RECTANGULAR 0.0001 1 " + std::to_string(crest) + " 0\n";
    }
    text += "[CURVES]\nB TANK 0 1e6 20 1e6\n[DWFS]\nT FLOW 0.01 \"\"\n";
    bench_runSteps(state, text, static_cast<double>(count), SETTLING);
}
BENCHMARK(tankLevels)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

/// Many tanks with two weirs and a pump each.
static void tankCascade(benchmark::State& state) {
    const int64_t count = state.range(0);
    std::ostringstream tanks, weirs, pumps;
    tanks << "[TANKS]\n";
    weirs << "[WEIRS]\n";
    pumps << "[PUMPS]\n";
    for (int64_t k = 0; k < count; ++k) {
        const std::string next = k + 1 < count ? "T" + std::to_string(k + 1) : "OUT";
        tanks << 'T' << k << " B 5 1\n";
        weirs << 'A' << k << " T" << k << ' ' << next << " NO RECTANGULAR 1.8 1 2 0.5\n";
        weirs << 'B' << k << " T" << k << ' ' << next << " NO TRIANGULAR 1.4 1 3 0\n";
        pumps << 'P' << k << " T" << k << ' ' << next << " C NO ON 1 0.2\n";
    }
    bench_runSteps(state,
                   GENERAL + tanks.str() + weirs.str() + pumps.str() +
                       "[CURVES]\nB TANK 0.5 50 1 200 5 220\nC PUMP1 0.2 0.01 2 0.1\n[DWFS]\nT0 FLOW 0.2 \"\"\n",
                   static_cast<double>(count), SETTLING);
}
BENCHMARK(tankCascade)->Arg(100)->Arg(10000);

/// A chain of conduits of one section.
static std::string makeChain(int64_t count, const std::string& section) {
    std::ostringstream nodes, conduits;
    nodes << "[JUNCTIONS]\n";
    conduits << "[CONDUITS]\n";
    for (int64_t k = 0; k < count; ++k) {
        const std::string next = k + 1 < count ? "J" + std::to_string(k + 1) : "OUT";
        nodes << 'J' << k << '\n';
        conduits << 'C' << k << " J" << k << ' ' << next << " NO 200 0.2 0.013 " << section << '\n';
    }
    return GENERAL + nodes.str() + conduits.str() + "[DWFS]\nJ0 FLOW 0.3 \"\"\n";
}

static void conduitCircular(benchmark::State& state) {
    bench_runSteps(state, makeChain(state.range(0), "CIRCULAR 1"), static_cast<double>(state.range(0)), SETTLING);
}
BENCHMARK(conduitCircular)->Arg(1000);

static void conduitRectangular(benchmark::State& state) {
    bench_runSteps(state, makeChain(state.range(0), "RECTANGULAR 1 1"), static_cast<double>(state.range(0)), SETTLING);
}
BENCHMARK(conduitRectangular)->Arg(1000);

/// Conduits on a transect of so many points.
static void conduitIrregular(benchmark::State& state) {
    const int64_t points = state.range(0);
    std::string text = makeChain(100, "IRREGULAR X") + "[CURVES]\n";
    for (int64_t k = 0; k < points; ++k) {
        const double x = 10.0 * static_cast<double>(k) / static_cast<double>(points - 1) - 5.0;
        text += std::string("X ") + (k == 0 ? "TRANSECT " : "") + std::to_string(x) + " " +
                std::to_string(0.1 * x * x + 0.02 * std::sin(40.0 * x)) + "\n";
    }
    bench_runSteps(state, text, 100.0, SETTLING);
}
BENCHMARK(conduitIrregular)->Arg(10)->Arg(100)->Arg(1000);
