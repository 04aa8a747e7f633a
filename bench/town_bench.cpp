// Steps of whole towns: through a storm, in a dry week in which buildup grows, when nothing can change any more, and
// through the first days of a year. Times are those of a step by subcatchment, without results.

#include <benchmark/benchmark.h>

#include <string>

#include "network.h"
#include "tarnvelde_model.h"
#include "towns/town.h"

namespace {

constexpr int FIRST = 60;  ///< steps that don't count: the storm begins behind them

struct Sample {
    TownWeather weather;
    int steps;
};

tv_model* startTown(const TownOptions& options) {
    const std::string text = town_makeText(options);
    tv_model* model = nullptr;
    if (tv_create(&model) || tv_setWarnings(model, 0) ||
        tv_openText(model, text.data(), text.size(), nullptr, nullptr) || tv_start(model, nullptr, nullptr)) {
        tv_free(model);
        return nullptr;
    }
    return model;
}

/// A run anew for each iteration, so that each goes through the same weather.
void stepTown(benchmark::State& state, Sample sample, bool isPlain) {
    TownOptions options;
    options.subcatchments = state.range(0);
    options.weather = sample.weather;
    if (isPlain) {
        town_makePlain(options);
    }
    tv_model* model = startTown(options);
    if (!model) {
        state.SkipWithError("the town doesn't start");
        return;
    }
    double time = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        for (int k = 0; k < FIRST; ++k) {
            tv_step(model);
        }
        const double begin = bench_getProcessorTime();
        for (int k = 0; k < sample.steps; ++k) {
            tv_step(model);
        }
        const double seconds = bench_getProcessorTime() - begin;
        state.SetIterationTime(seconds);
        time += seconds;
        tv_end(model);
        tv_start(model, nullptr, nullptr);
    }
    const double steps = static_cast<double>(state.iterations()) * sample.steps * static_cast<double>(state.range(0));
    state.counters["engine ns"] = time / steps * 1e9;
    tv_free(model);
}

void addSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1000)->Arg(10000)->ArgName("N")->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);
}

BENCHMARK_CAPTURE(stepTown, storm, {TownWeather::STORM, 240}, false)->Apply(addSizes);
BENCHMARK_CAPTURE(stepTown, dry, {TownWeather::DRY, 240}, false)->Apply(addSizes);
BENCHMARK_CAPTURE(stepTown, none, {TownWeather::NONE, 240}, false)->Apply(addSizes);
BENCHMARK_CAPTURE(stepTown, year, {TownWeather::YEAR, 7200}, false)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1)
    ->ArgName("N");
BENCHMARK_CAPTURE(stepTown, plain_storm, {TownWeather::STORM, 240}, true)->Apply(addSizes);
BENCHMARK_CAPTURE(stepTown, plain_dry, {TownWeather::DRY, 240}, true)->Apply(addSizes);
BENCHMARK_CAPTURE(stepTown, plain_none, {TownWeather::NONE, 240}, true)->Apply(addSizes);
BENCHMARK_CAPTURE(stepTown, plain_year, {TownWeather::YEAR, 7200}, true)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1)
    ->ArgName("N");

}  // namespace
