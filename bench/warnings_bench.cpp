// What warnings and balances cost: opening and stepping a sound town with and without them, through the public
// interface. The ratios come from one run, in turn, so that a busy machine is busy for both.
//
// Instructions, which no machine's mood moves:
//     valgrind --tool=callgrind build/release/tarnvelde_bench --benchmark_filter=openTown/warnings:0

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tarnvelde_model.h"
#include "town.h"

namespace {

constexpr int PARCELS = 3000;

tv_model* openTown(const std::string& town, bool hasWarnings) {
    tv_model* model = nullptr;
    if (tv_create(&model) != TV_OK || tv_setWarnings(model, hasWarnings) != TV_OK ||
        tv_openText(model, town.data(), town.size(), nullptr, nullptr) != TV_OK) {
        return nullptr;
    }
    return model;
}

/// Whether a model has been opened, and no warning stood in the way of measuring.
bool isSound(const tv_model* model) {
    int32_t count = -1;
    return model && tv_getMessageCount(model, &count) == TV_OK && count == 0;
}

void openTown(benchmark::State& state) {
    const std::string town = bench_makeTown(PARCELS);
    for ([[maybe_unused]] auto _ : state) {
        tv_model* model = openTown(town, state.range(0) != 0);
        if (!isSound(model)) {
            state.SkipWithError("the town isn't sound");
            return;
        }
        tv_free(model);
    }
}

template <class Work>
double measure(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The smallest of many times is that of the machine at rest.
void ratioOpenTown(benchmark::State& state) {
    const std::string town = bench_makeTown(PARCELS);
    double with = 1e9, without = 1e9;
    for ([[maybe_unused]] auto _ : state) {
        with = std::min(with, measure([&] { tv_free(openTown(town, true)); }));
        without = std::min(without, measure([&] { tv_free(openTown(town, false)); }));
    }
    state.counters["with/without"] = with / without;
}

tv_model* startTown(const std::string& town, bool hasWarnings, bool hasLoads) {
    tv_model* model = openTown(town, hasWarnings);
    tv_keepLoads(model, hasLoads);
    tv_start(model, nullptr, nullptr);
    return model;
}

/// A step with warnings, and one that keeps loads by place as well, by one without.
void ratioStepTown(benchmark::State& state) {
    const std::string town = bench_makeTown(PARCELS);
    tv_model* models[] = {startTown(town, false, false), startTown(town, true, false), startTown(town, true, true)};
    std::vector<double> best(3, 1e9);
    for ([[maybe_unused]] auto _ : state) {
        for (size_t k = 0; k < 3; ++k) {
            best[k] = std::min(best[k], measure([&] { tv_step(models[k]); }));
        }
    }
    state.counters["warnings"] = best[1] / best[0];
    state.counters["loads"] = best[2] / best[0];
    for (tv_model* model : models) {
        tv_free(model);
    }
}

BENCHMARK(openTown)->ArgName("warnings")->Arg(0)->Arg(1)->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(ratioOpenTown)->Iterations(30)->Unit(benchmark::kMillisecond);
BENCHMARK(ratioStepTown)->Iterations(500)->Unit(benchmark::kMillisecond);

}  // namespace
