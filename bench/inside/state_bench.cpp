// States of a town of N junctions, pipes and subcatchments with P pollutants: saving and restoring beside a step of the
// same run, each in processor time. Linked with the objects of the library, since hosts reach states by files.

#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "api/run.h"
#include "model/model.h"
#include "project/state.h"

namespace {

constexpr int STEPS = 6;  ///< a round, which holds one runoff step

double getProcessorTime() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1.0e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/// A tree that leads down to one outfall, with a subcatchment at each junction.
std::string makeTown(int64_t size, int64_t pollutants) {
    std::string junctions, pipes, land, quality;
    for (int64_t k = 0; k < size; ++k) {
        const std::string id = std::to_string(k);
        const int64_t down = k + 1 + (k * 7919) % 40;
        junctions += "J" + id + "\n";
        pipes += "P" + id + " J" + id + " " + (down < size ? "J" + std::to_string(down) : "OUT") + " NO " +
                 std::to_string(60 * (1 + k % 5)) + " " + std::to_string(1 + k % 3) + " 0.2 0\n";
        land += "S" + id + " G J" + id + " 0.5 60 40 1 0.012 0.1 1 3 40 6 4 5 0\n";
    }
    for (int64_t p = 0; p < pollutants; ++p) {
        quality += "Q" + std::to_string(p) + " 3\n";
    }
    return "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2031/03/01\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\n"
           "REPORT_STEP 1:00\nREPORT_AVERAGE NO\n[POLLUTANTS]\n" +
           quality + "[JUNCTIONS]\n" + junctions + "[OUTFALLS]\nOUT\n[PIPES]\n" + pipes +
           "[RAINGAGES]\nG INTENSITY 0:10 RAIN\n[SUBCATCHS]\n" + land +
           "[TIMESERIES]\nRAIN 2021/03/01 0:00 20 2:00 30 4:00 10\n";
}

void saveAndRestore(benchmark::State& state) {
    const std::string name = "/tmp/tarnvelde-state-" + std::to_string(getpid());
    std::ofstream(name + ".inp", std::ios::binary) << makeTown(state.range(0), state.range(1));
    auto model = std::make_unique<Model>();
    model->isSilent = true;
    if (run_open(*model, (name + ".inp").c_str(), (name + ".rpt").c_str(), (name + ".bin").c_str()) ||
        run_start(*model, 0)) {
        state.SkipWithError("the project isn't good");
    }
    double elapsed, stepTime = 0.0, saveTime = 0.0, restoreTime = 0.0;
    for (int k = 0; k < 30; ++k) {
        run_step(*model, &elapsed);
    }
    std::vector<char> bytes(2 * state_getSize(*model));  // a state grows and shrinks a little
    size_t size = 0;
    for ([[maybe_unused]] auto _ : state) {
        const double begin = getProcessorTime();
        for (int k = 0; k < STEPS; ++k) {
            run_step(*model, &elapsed);
        }
        const double stepped = getProcessorTime();
        for (int k = 0; k < STEPS; ++k) {
            size = state_saveInto(*model, bytes.data(), bytes.size());
        }
        const double saved = getProcessorTime();
        if (state_restore(*model, bytes.data(), size)) {
            state.SkipWithError("the state isn't taken");
        }
        const double end = getProcessorTime();
        stepTime += (stepped - begin) / STEPS;
        saveTime += (saved - stepped) / STEPS;
        restoreTime += end - saved;
        state.SetIterationTime((saved - stepped) / STEPS);
    }
    const double rounds = static_cast<double>(state.iterations());
    state.counters["MB"] = static_cast<double>(size) * 1.0e-6;
    state.counters["step ms"] = stepTime / rounds * 1.0e3;
    state.counters["save ms"] = saveTime / rounds * 1.0e3;
    state.counters["restore ms"] = restoreTime / rounds * 1.0e3;
    run_close(*model);
    for (const char* end : {".inp", ".rpt", ".bin"}) {
        unlink((name + end).c_str());
    }
}

BENCHMARK(saveAndRestore)
    ->ArgsProduct({{10000, 100000}, {0, 1, 4}})
    ->ArgNames({"N", "P"})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
