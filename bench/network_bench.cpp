// Networks of N junctions and N pipes with P pollutants, through the public interface alone: opening the project file,
// starting a run, routing steps, and the ratio of such a step to its bare arithmetic. `object` in the counters is a
// junction with its pipe. Everything is timed in processor time, which other programs on the machine disturb least.

#include <benchmark/benchmark.h>

#include "bound.h"
#include "network.h"
#include "tarnvelde.h"

namespace {

constexpr int32_t OUTFALL_CLASS = 4;
constexpr int32_t INFLOW_RESULT = 0;

constexpr int32_t HOUR = 3600;  ///< s, report step

/// Steps after which the periods of all pipes are through.
constexpr int32_t ROUND = 60;

benchmark::Counter perObject(double times, int64_t objects) {
    return benchmark::Counter(times * static_cast<double>(objects) * 1e-9,
                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void openNetwork(benchmark::State& state) {
    const BenchProject project =
        bench_makeProject(bench_makeNetwork(state.range(0)), static_cast<int32_t>(state.range(1)), HOUR);
    for ([[maybe_unused]] auto _ : state) {
        if (!bench_openProject(project)) {
            state.SkipWithError("the project doesn't open");
            break;
        }
        state.PauseTiming();
        tarnvelde_close();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * project.size);
    state.counters["ns/object"] = perObject(static_cast<double>(state.iterations()), state.range(0));
    bench_closeProject(project);
}

void startNetwork(benchmark::State& state) {
    const BenchProject project =
        bench_makeProject(bench_makeNetwork(state.range(0)), static_cast<int32_t>(state.range(1)), HOUR);
    if (!bench_openProject(project)) {
        state.SkipWithError("the project doesn't open");
    }
    for ([[maybe_unused]] auto _ : state) {
        tarnvelde_start(0);
        state.PauseTiming();
        tarnvelde_end();
        state.ResumeTiming();
    }
    state.counters["ns/object"] = perObject(static_cast<double>(state.iterations()), state.range(0));
    bench_closeProject(project);
}

/// Iterations are whole rounds, so that each holds as many firings as the next.
void stepNetwork(benchmark::State& state) {
    const BenchProject project =
        bench_makeProject(bench_makeNetwork(state.range(0)), static_cast<int32_t>(state.range(1)), HOUR);
    if (!bench_openProject(project) || tarnvelde_start(0)) {
        state.SkipWithError("the project doesn't start");
    }
    double elapsed = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        for (int32_t k = 0; k < ROUND; ++k) {
            tarnvelde_step(&elapsed);
        }
    }
    state.counters["ns/object/step"] = perObject(static_cast<double>(state.iterations()) * ROUND, state.range(0));
    bench_closeProject(project);
}

/// A network to which no water comes.
BenchNetwork makeDry(int64_t size) {
    BenchNetwork network = bench_makeNetwork(size);
    network.isHead.assign(network.isHead.size(), 0);  // nobody gets an inflow then
    return network;
}

/// Rounds of the library and of the bare arithmetic by turns. Both meet the same noise, and the ratio is steadier than
/// the times. At the end both must have arrived at the same flow.
void measureRatio(benchmark::State& state, const BenchNetwork& network) {
    const int32_t pollutants = static_cast<int32_t>(state.range(1));
    const BenchProject project = bench_makeProject(network, pollutants, HOUR);
    if (!bench_openProject(project) || tarnvelde_start(0)) {
        state.SkipWithError("the project doesn't start");
    }
    Bound bound = bound_create(network, pollutants, bench_getDuration());
    double elapsed = 0.0, libraryTime = 0.0, boundTime = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        const double begin = bench_getProcessorTime();
        for (int32_t k = 0; k < ROUND; ++k) {
            tarnvelde_step(&elapsed);
        }
        const double middle = bench_getProcessorTime();
        for (int32_t k = 0; k < ROUND; ++k) {
            bound_step(bound);
        }
        const double end = bench_getProcessorTime();
        libraryTime += middle - begin;
        boundTime += end - middle;
        state.SetIterationTime(middle - begin);
    }
    double inflow = -1.0;
    tarnvelde_getResult(OUTFALL_CLASS, "OUT", INFLOW_RESULT, &inflow);
    if (inflow != bound.inflow.back()) {
        state.SkipWithError("the library and the bare arithmetic differ");
    }
    const double steps = static_cast<double>(state.iterations()) * ROUND * static_cast<double>(state.range(0));
    state.counters["library ns"] = libraryTime / steps * 1e9;
    state.counters["bound ns"] = boundTime / steps * 1e9;
    state.counters["ratio"] = libraryTime / boundTime;
    bench_closeProject(project);
}

void ratioNetwork(benchmark::State& state) {
    measureRatio(state, bench_makeNetwork(state.range(0)));
}

/// The same without a drop: the bare arithmetic doesn't rest.
void ratioDryNetwork(benchmark::State& state) {
    measureRatio(state, makeDry(state.range(0)));
}

void setSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgsProduct({{1000, 10000, 100000, 1000000}, {0, 1, 4}})->ArgNames({"N", "P"});
    benchmark->Unit(benchmark::kMillisecond);
}

BENCHMARK(openNetwork)->Apply(setSizes);
BENCHMARK(startNetwork)->Apply(setSizes);
BENCHMARK(stepNetwork)->Apply(setSizes);
BENCHMARK(ratioNetwork)->Apply(setSizes)->UseManualTime();
BENCHMARK(ratioDryNetwork)->Apply(setSizes)->UseManualTime();

}  // namespace
