// Control rules: what a step of many rules costs, each on a pipe of its own. A rule's cost doesn't depend on how many
// others there are; the same network without rules tells what is that of the pipes.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <sstream>
#include <string>

#include "stepping.h"

static constexpr int SETTLING = 20;  ///< steps, more than a pipe is long

/// Junctions with a pipe each to one outfall, and water in every hundredth.
static std::string makeStar(int64_t count) {
    std::ostringstream nodes, pipes, inflows;
    for (int64_t k = 0; k < count; ++k) {
        nodes << 'J' << k << '\n';
        pipes << 'P' << k << " J" << k << " OUT NO 60 1 0.2 0\n";
        if (k % 100 == 0) {
            inflows << 'J' << k << " FLOW 0.01 \"\"\n";
        }
    }
    return "[GENERAL]\nSTART_DATE 2021/01/01\nEND_DATE 2120/01/01\nROUTING_STEP 0:01:00\nRUNOFF_STEP 24:00:00\n"
           "REPORT_STEP 24:00:00\n[OUTFALLS]\nOUT\n[JUNCTIONS]\n" +
           nodes.str() + "[PIPES]\n" + pipes.str() + "[DWFS]\n" + inflows.str();
}

static void pipesWithoutRules(benchmark::State& state) {
    const int64_t count = state.range(0);
    bench_runSteps(state, makeStar(count), static_cast<double>(count), SETTLING);
}
BENCHMARK(pipesWithoutRules)->Arg(1000)->Arg(10000)->Arg(100000);

/// All rules hold in every step, and all move their pipe, which would open by itself.
static void rulesOnPipesOfTheirOwn(benchmark::State& state) {
    const int64_t count = state.range(0);
    std::ostringstream rules;
    rules << "[CONTROL_RULES]\n";
    for (int64_t k = 0; k < count; ++k) {
        rules << "RULE R" << k << "\nIF JUNCTION J" << k << " INFLOW >= 0\nTHEN PIPE P" << k << " SETTING = 0.5\n";
    }
    bench_runSteps(state, makeStar(count) + rules.str(), static_cast<double>(count), SETTLING);
}
BENCHMARK(rulesOnPipesOfTheirOwn)->Arg(1000)->Arg(10000)->Arg(100000);

/// All rules move one pipe, and the one of the highest priority is met last.
static void rulesOnOnePipe(benchmark::State& state) {
    const int64_t count = state.range(0);
    std::ostringstream rules;
    rules << "[CONTROL_RULES]\n";
    for (int64_t k = 0; k < count; ++k) {
        rules << "RULE R" << k << "\nIF JUNCTION J" << k << " INFLOW >= 0\nTHEN PIPE P0 SETTING = 0.5\nPRIORITY " << k
              << '\n';
    }
    bench_runSteps(state, makeStar(count) + rules.str(), static_cast<double>(count), SETTLING);
}
BENCHMARK(rulesOnOnePipe)->Arg(1000)->Arg(10000)->Arg(100000);
