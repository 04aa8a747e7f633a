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

namespace {

constexpr int PARCELS = 3000;  ///< each a subcatchment with junction, pipe and conduit, inflows and coverages

std::string number(int k) {
    return std::to_string(k);
}

// NOLINTBEGIN(performance-inefficient-string-concatenation): lines are easier to read as they stand

/// A town in which nothing is to be warned of.
std::string makeTown() {
    std::string land, junctions, pipes, conduits, dry, inflows, coverages, outfalls;
    for (int k = 0; k < PARCELS; ++k) {
        const std::string n = number(k);
        land += "S" + n + " G J" + n + " 0." + number(5 + k % 4) + " 60 " + number(30 + k % 50) +
                " 1.2 0.013 0.2 1.5 5 75 8 4 7 0\n";
        junctions += "J" + n + "\nK" + n + "\n";
        outfalls += "O" + n + "\n";
        pipes += "P" + n + " J" + n + " K" + n + " NO 180 2 0.2 0\n";
        conduits += "C" + n + " K" + n + " O" + n + " NO 900 0.5 0.013 CIRCULAR 0.6\n";
        dry += "J" + n + " FLOW 0.0002 DAY\nJ" + n + " COD 500 \"\"\n";
        inflows += "K" + n + " FLOW FLOW 0.001 WELL 0.001\n";
        coverages += "S" + n + " ROOF 60\nS" + n + " YARD 40\n";
    }
    std::string pattern = "DAY HOURLY";
    for (int hour = 0; hour < 24; ++hour) {
        pattern += hour % 2 == 0 ? " 0.9" : " 1.1";
    }
    return "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/20\nROUTING_STEP 0:00:30\nRUNOFF_STEP 0:05:00\n"
           "REPORT_STEP 1:00:00\n[RAINGAGES]\nG INTENSITY 0:05:00 RAIN\n[TIMESERIES]\nRAIN 2024/06/17 0:00 0 "
           "2024/06/17 "
           "0:05 0\nRAIN 2024/06/18 6:00 12 2024/06/18 6:05 24 2024/06/18 6:10 0 2024/06/21 0:00 0\n"
           "WELL 2024/06/17 0:00 1 2024/06/17 1:00 1 2024/06/22 0:00 1\n[POLLUTANTS]\nCOD 10\n[LANDUSES]\nROOF\nYARD\n"
           "[BUILDUP]\nROOF COD 40 0.3\nYARD COD 60 0.3\n[WASHOFF]\nROOF COD EXP 0.1 1.2 0\nYARD COD EXP 0.1 1.2 0\n"
           "[PATTERNS]\n" +
           pattern + "\n[SUBCATCHS]\n" + land + "[JUNCTIONS]\n" + junctions + "[OUTFALLS]\n" + outfalls + "[PIPES]\n" +
           pipes + "[CONDUITS]\n" + conduits + "[DWFS]\n" + dry + "[INFLOWS]\n" + inflows + "[COVERAGES]\n" + coverages;
}

// NOLINTEND(performance-inefficient-string-concatenation)

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
    const std::string town = makeTown();
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
    const std::string town = makeTown();
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
    const std::string town = makeTown();
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
