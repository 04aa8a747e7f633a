#include "stepping.h"

#include <unistd.h>

#include <fstream>

#include "tarnvelde.h"

/// Opens and starts a project; false if it isn't good.
static bool startProject(const std::string& text) {
    const std::string name = "/tmp/tarnvelde-bench-" + std::to_string(getpid());
    std::ofstream(name + ".inp", std::ios::binary) << text;
    const int32_t code = tarnvelde_open((name + ".inp").c_str(), (name + ".rpt").c_str(), (name + ".bin").c_str());
    unlink((name + ".inp").c_str());
    unlink((name + ".rpt").c_str());
    return code == 0 && tarnvelde_start(0) == 0;
}

void bench_runSteps(benchmark::State& state, const std::string& text, double objects, int settling) {
    if (!startProject(text)) {
        state.SkipWithError("the project isn't good");
        return;
    }
    double elapsed = 0.0;
    for (int k = 0; k < settling; ++k) {
        tarnvelde_step(&elapsed);
    }
    for ([[maybe_unused]] auto step : state) {
        tarnvelde_step(&elapsed);
    }
    tarnvelde_end();
    tarnvelde_close();
    state.counters["per_object"] =
        benchmark::Counter(objects, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
