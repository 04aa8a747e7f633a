// Look-ups by name through the public functions, in a small project and in one of a million objects: what a call costs
// more in the large one is memory out of reach of the caches, and no longer walk.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "network.h"
#include "tarnvelde.h"

namespace {

constexpr size_t CALLS = 1000;
constexpr int32_t HOUR = 3600;  ///< s

/// Names spread over the whole table.
std::vector<std::string> getNames(char letter, int64_t count) {
    std::vector<std::string> names;
    for (size_t k = 0; k < CALLS; ++k) {
        names.push_back(letter + std::to_string(static_cast<int64_t>(k) * 7919 % count));
    }
    return names;
}

/// Calls of one function for many names.
template <class Call>
void callByName(benchmark::State& state, char letter, Call call) {
    const BenchProject project = bench_makeProject(bench_makeNetwork(state.range(0)), 1, HOUR);
    if (!bench_openProject(project)) {
        state.SkipWithError("the project doesn't open");
    }
    const std::vector<std::string> names = getNames(letter, state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        for (const std::string& name : names) {
            if (call(name.c_str()) < 0) {
                state.SkipWithError("a name isn't found");
            }
        }
    }
    state.counters["ns/call"] = benchmark::Counter(static_cast<double>(state.iterations()) * CALLS * 1e-9,
                                                   benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    bench_closeProject(project);
}

void findObject(benchmark::State& state) {
    callByName(state, 'J', [](const char* id) { return tarnvelde_findObject(1, id); });
}

void getResult(benchmark::State& state) {
    double value = 0.0;
    callByName(state, 'J', [&](const char* id) {
        return tarnvelde_getResult(TARNVELDE_JUNCTION, id, TARNVELDE_RESULT_JUNCTION_INFLOW, &value);
    });
}

void getSetting(benchmark::State& state) {
    double value = 0.0;
    callByName(state, 'L', [&](const char* id) { return tarnvelde_getSetting(id, &value); });
}

BENCHMARK(findObject)->Arg(500)->Arg(500000);
BENCHMARK(getResult)->Arg(500)->Arg(500000);
BENCHMARK(getSetting)->Arg(500)->Arg(500000);

}  // namespace
