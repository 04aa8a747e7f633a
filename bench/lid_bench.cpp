// Cost of LID units: a generated project with one subcatchment for ten units, stepped under rain. Each step is one
// routing and one runoff step; what subcatchments cost by themselves is measured by the same project without units.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tarnvelde.h"

namespace {

constexpr int UNITS_PER_SUBCATCHMENT = 10;

const char* const Definitions =
    "BC BC\nBC SURFACE 150 0.1 0.1 1 0\nBC SOIL 500 0.45 0.2 0.1 40 10\nBC STORAGE 300 0.67 3\nBC DRAIN 3 0.5 100\n"
    "RG RG\nRG SURFACE 150 0.1 0.1 1 0\nRG SOIL 500 0.45 0.2 0.1 40 10\nRG STORAGE 0 0 8\n"
    "GR GR\nGR SURFACE 20 0 0.1 2 0\nGR SOIL 100 0.5 0.3 0.1 80 10\nGR DRAINMAT 25 0.5 0.3\n"
    "IT IT\nIT SURFACE 50 0 0.1 1 0\nIT STORAGE 900 0.67 12\nIT DRAIN 4 0.5 600\n"
    "PP PP\nPP SURFACE 5 0 0.02 1 0\nPP PAVEMENT 120 0.2 500\nPP SOIL 100 0.4 0.2 0.1 60 10\n"
    "PP STORAGE 300 0.67 3\nPP DRAIN 3 0.5 150\n"
    "RB RB\nRB STORAGE 1500 1 0\nRB DRAIN 6 0.5 50 6\n"
    "VS VS\nVS SURFACE 400 0.1 0.15 1 3\nVS STORAGE 100 1 5\n";

const char* const Types[] = {"BC", "RG", "GR", "IT", "PP", "RB", "VS"};

/// Writes the project; `type` 7 takes all types in turn, and with 0 units per subcatchment there is none.
void writeProject(const std::string& name, int64_t units, int64_t type, int64_t pollutants, bool withUnits) {
    std::ofstream file(name);
    file << "[GENERAL]\nSTART_DATE 2021/01/01\nEND_DATE 2031/01/01\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:01:00\n"
            "REPORT_STEP 24:00:00\n[RAINGAGES]\nG INTENSITY 24:00 RAIN\n[TIMESERIES]\nRAIN 2021/01/01 0:00 6\n"
            "[OUTFALLS]\nOUT\n[LIDS]\n"
         << Definitions << "[POLLUTANTS]\n";
    for (int64_t p = 0; p < pollutants; ++p) {
        file << "P" << p << " 10\n";
    }
    const int64_t subcatchments = units / UNITS_PER_SUBCATCHMENT;
    file << "[SUBCATCHS]\n";
    for (int64_t k = 0; k < subcatchments; ++k) {
        file << "S" << k << " G OUT 1 50 50 1 0.01 0.1 1 2 30 3 4 7 0\n";
    }
    file << "[LID_GROUPS]\n";
    for (int64_t k = 0; k < units && withUnits; ++k) {
        file << "S" << k / UNITS_PER_SUBCATCHMENT << ' ' << Types[type < 7 ? type : k % 7] << " 100 4 20 8\n";
    }
    file << "[DECAY_COEFFICIENT]\n";
    for (int64_t p = 0; p < pollutants; ++p) {
        for (const char* word : Types) {
            file << word << " LID P" << p << " FIRST 1 \"\" STORAGE\n";
            file << word << " LID P" << p << " FIRST 2 \"\" SOIL\n";
        }
    }
}

void stepProject(benchmark::State& state, bool withUnits) {
    const int64_t units = state.range(0);
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tarnvelde-bench-lid";
    std::filesystem::create_directories(folder);
    const std::string input = (folder / "model.inp").string();
    writeProject(input, units, state.range(1), state.range(2), withUnits);
    const std::string report = (folder / "model.rpt").string(), results = (folder / "model.bin").string();
    if (tarnvelde_open(input.c_str(), report.c_str(), results.c_str()) != 0 || tarnvelde_start(0) != 0) {
        state.SkipWithError("the generated project doesn't run");
    } else {
        double elapsed = 0.0;
        for ([[maybe_unused]] auto _ : state) {
            tarnvelde_step(&elapsed);
        }
        state.counters["per_unit"] = benchmark::Counter(
            static_cast<double>(units), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    }
    tarnvelde_end();
    tarnvelde_close();
    std::filesystem::remove_all(folder);
}

/// Units, type (7: all in turn), pollutants.
void BM_lidUnits(benchmark::State& state) {
    stepProject(state, true);
}

void BM_lidSubcatchmentsAlone(benchmark::State& state) {
    stepProject(state, false);
}

void addTypes(benchmark::internal::Benchmark* benchmark) {
    for (int64_t type = 0; type <= 7; ++type) {
        benchmark->Args({100000, type, 0})->Args({100000, type, 4});
    }
    benchmark->Args({1000, 7, 4})->Args({10000, 7, 4});
}

BENCHMARK(BM_lidUnits)->Apply(addTypes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_lidSubcatchmentsAlone)->Args({100000, 7, 0})->Args({100000, 7, 4})->Unit(benchmark::kMillisecond);

}  // namespace
