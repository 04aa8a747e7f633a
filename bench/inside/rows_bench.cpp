// A report of a network of N junctions and as many pipes with P pollutants, beside what it can't do without: the lines
// of memory that hold its values, each touched once (`lines`), and one fwrite of the same bytes (`fwrite`). `rows` is
// the making of the record, `report` the record and its way into the file. Ahead of each goes a step of the network,
// which leaves the caches as it leaves them in a run. All take turns; each time is the median of the rounds, as time
// goes by, since several threads take part. Both files lie in the folder for temporary files, and what is written stays
// in the memory that the system keeps of it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "../network.h"
#include "api/run.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/prefetch.h"
#include "platform/workers.h"
#include "results/results.h"

namespace {

constexpr int32_t DAY = 86400;

/// Sums of bits, so that nothing is left out.
struct Touched {
    uint64_t sum = 0;
    void touch(const void* line) { sum += *static_cast<const uint64_t*>(line); }
};

void touchNodes(const Model& model, int32_t first, int32_t end, int32_t pollutants, Touched& touched) {
    for (int32_t k = first; k < end; ++k) {
        const Node& node = model.nodes[k];
        prefetch_line(&node + 24);
        touched.touch(&node);
        if (pollutants > 0) {
            prefetch_line(&(&node + 24)->newQual);
            touched.touch(node.newQual);
            touched.touch(node.oldQual);
        }
    }
}

/// Each pipe stands in the row of its link here.
void touchLinks(const Model& model, int32_t first, int32_t end, int32_t pollutants, Touched& touched) {
    for (int32_t k = first; k < end; ++k) {
        const Link& link = model.links[k];
        const Pipe& pipe = model.pipes[k];
        prefetch_line(&link + 24);
        prefetch_line(&(&pipe + 24)->storage);
        if (k + 8 < end) {
            prefetch_reaches(model.pipes[k + 8], pollutants);
        }
        touched.touch(&link);
        touched.touch(&pipe.storage);
        touched.touch(pipe.storage);
        if (pollutants > 0) {
            touched.touch(link.newQual);
            touched.touch(link.oldQual);
        }
    }
}

void touchLines(Model& model, int32_t threads) {
    constexpr int32_t PIECE = 1024;
    const int32_t pollutants = model_pollutantCount(model);
    const int32_t count = model.links.size();
    std::atomic<int32_t> next{0};
    auto work = [&](int32_t) {
        Touched touched;
        for (int32_t first = next.fetch_add(PIECE); first < 2 * count; first = next.fetch_add(PIECE)) {
            if (first < count) {
                touchNodes(model, first, std::min(first + PIECE, count), pollutants, touched);
            }
            if (first + PIECE > count) {
                touchLinks(model, std::max(first - count, 0), std::min(first + PIECE - count, count), pollutants,
                           touched);
            }
        }
        benchmark::DoNotOptimize(touched.sum);
    };
    workers_share(*model.workers, threads, work);
}

double getLeast(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

/// Milliseconds of something that comes after a step.
template <class Work>
double timeAfterStep(Model& model, Work work) {
    double elapsed = 0.0;
    run_step(model, &elapsed);
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

void reportNetwork(benchmark::State& state) {
    const BenchProject project =
        bench_makeProject(bench_makeNetwork(state.range(0)), static_cast<int32_t>(state.range(1)), DAY);
    const auto threads = static_cast<int32_t>(state.range(2));
    const std::string name = project.folder + "/network";
    auto model = std::make_unique<Model>();
    model->isSilent = true;
    model->pace.threadCount = threads;
    if (run_open(*model, (name + ".inp").c_str(), (name + ".rpt").c_str(), (name + ".bin").c_str()) ||
        run_start(*model, SINK_FILE)) {
        state.SkipWithError("the project isn't good");
    }
    double elapsed = 0.0;
    for (int k = 0; k < 30; ++k) {
        run_step(*model, &elapsed);
    }
    const ResultBuffers& results = *model->results;
    std::FILE* file = std::fopen((project.folder + "/bare.bin").c_str(), "w+b");
    std::setvbuf(file, nullptr, _IONBF, 0);
    std::vector<double> lines, rows, writes, reports;
    for ([[maybe_unused]] auto _ : state) {
        lines.push_back(timeAfterStep(*model, [&] { touchLines(*model, threads); }));
        rows.push_back(timeAfterStep(*model, [&] { rowpieces_makeRecord(*model, 44256.0, {0.5, 0.5}); }));
        writes.push_back(timeAfterStep(*model, [&] {
            std::fwrite(results.record, sizeof(float), static_cast<size_t>(results.recordLength), file);
        }));
        reports.push_back(timeAfterStep(*model, [&] { results_write(*model); }));
        state.SetIterationTime(reports.back() * 1.0e-3);
    }
    const double line = getLeast(lines), row = getLeast(rows), write = getLeast(writes), report = getLeast(reports);
    state.counters["lines ms"] = line;
    state.counters["rows ms"] = row;
    state.counters["fwrite ms"] = write;
    state.counters["report ms"] = report;
    state.counters["to least"] = report / (line + write);
    state.counters["to fwrite"] = report / write;
    std::fclose(file);
    run_close(*model);
    std::filesystem::remove_all(project.folder);
}

BENCHMARK(reportNetwork)
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {0, 4}, {1, 2}})
    ->ArgNames({"N", "P", "threads"})
    ->UseManualTime()
    ->MinTime(0.1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
