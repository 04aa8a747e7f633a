// Cost of the land: nanoseconds per subcatchment and runoff step, with 4 land uses and 4 pollutants, through the public
// interface alone. A step here is one of runoff and one of routing, with all subcatchments at one outfall.
//
// Three kinds of weather: dry (buildup grows), rain (infiltration, flow and washoff), and a long dry time, when all
// buildup stands at its limit and hardly a value changes any more.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "tarnvelde.h"

namespace {

enum Weather { DRY, RAIN, LONG_DRY };

void writeModel(const std::string& name, int64_t count, Weather weather) {
    std::FILE* file = std::fopen(name.c_str(), "w");
    std::fprintf(file,
                 "[GENERAL]\nSTART_DATE 2024/06/01\nEND_DATE 2034/06/01\nRUNOFF_STEP 0:01:00\nROUTING_STEP 0:01:00\n"
                 "START_DRY_DAYS %d\n[RAINGAGES]\nG INTENSITY 24 T\n[TIMESERIES]\n",
                 weather == LONG_DRY ? 1000 : 2);
    if (weather == RAIN) {
        for (int day = 1; day <= 30; ++day) {
            std::fprintf(file, "T 2024/06/%02d 0:00 12\n", day);
        }
    } else {
        std::fprintf(file, "T 2024/06/01 0:00 0\n");
    }
    std::fprintf(file, "[OUTFALLS]\nO\n[POLLUTANTS]\nP0 1\nP1 2\nP2 0\nP3 0\n[LANDUSES]\nL0\nL1\nL2\nL3\n");
    std::fprintf(file, "[BUILDUP]\n");
    for (int k = 0; k < 16; ++k) {
        std::fprintf(file, "L%d P%d %d 0.%d\n", k / 4, k % 4, 10 + k, 2 + k % 5);
    }
    std::fprintf(file, "[WASHOFF]\n");
    for (int k = 0; k < 16; ++k) {
        std::fprintf(file, k % 2 ? "L%d P%d EXP 0.001 1.2 0\n" : "L%d P%d EMC 20 YES 0\n", k / 4, k % 4);
    }
    std::fprintf(file, "[SUBCATCHS]\n");
    for (int64_t k = 0; k < count; ++k) {
        std::fprintf(file, "S%ld G O 1 %ld 50 1 0.015 0.1 1 2 60 6 4 5 0\n", static_cast<long>(k),
                     static_cast<long>(90 + k % 20));
    }
    std::fprintf(file, "[COVERAGES]\n");
    for (int64_t k = 0; k < 4 * count; ++k) {
        std::fprintf(file, "S%ld L%ld 25\n", static_cast<long>(k / 4), static_cast<long>(k % 4));
    }
    std::fclose(file);
}

void stepLand(benchmark::State& state, Weather weather) {
    std::string folder = (std::filesystem::temp_directory_path() / "tarnvelde-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) {
        state.SkipWithError("no folder");
        return;
    }
    const std::string model = folder + "/land.inp";
    writeModel(model, state.range(0), weather);
    if (tarnvelde_open(model.c_str(), (folder + "/land.rpt").c_str(), (folder + "/land.bin").c_str()) ||
        tarnvelde_start(0)) {
        state.SkipWithError("the model doesn't start");
    }
    double elapsed = 0.0;
    for (int k = 0; k < 60; ++k) {
        tarnvelde_step(&elapsed);
    }
    for ([[maybe_unused]] auto _ : state) {
        tarnvelde_step(&elapsed);
    }
    state.counters["subcatchment-step"] = benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                                                             benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    tarnvelde_end();
    tarnvelde_close();
    std::filesystem::remove_all(folder);
}

BENCHMARK_CAPTURE(stepLand, dry, DRY)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(stepLand, rain, RAIN)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(stepLand, long_dry, LONG_DRY)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
