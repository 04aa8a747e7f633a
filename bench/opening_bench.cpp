// How fast projects open, in MB of text a second of processor time: networks of N junctions and N pipes, a town, and a
// series in the project file and in a file of its own. Validation and the order of the network are part of it. Beside
// each stands a bare loop in the same run, which reads the same file and looks for the ends of its lines alone; `ratio`
// is how many times as long the opening takes.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "network.h"
#include "tarnvelde_model.h"
#include "town.h"

namespace {

/// Reads a file and counts its lines; its size in bytes.
size_t findLines(const std::string& path, size_t& lines) {
    static constexpr size_t BLOCK = size_t{1} << 16;
    std::vector<char> block(BLOCK);
    std::FILE* file = std::fopen(path.c_str(), "rb");
    size_t size = 0, count;
    while (file && (count = std::fread(block.data(), 1, BLOCK, file)) > 0) {
        size += count;
        const char* const end = block.data() + count;
        const auto findEnd = [end](const char* from) {
            return static_cast<const char*>(std::memchr(from, '\n', static_cast<size_t>(end - from)));
        };
        for (const char* at = block.data(); (at = findEnd(at)); ++at) {
            ++lines;
        }
    }
    if (file) {
        std::fclose(file);
    }
    return size;
}

/// Opens a project as long as the benchmark wants, and counts the bytes of `text`, the file that matters. The smallest
/// of many times is that of the machine at rest.
void openFile(benchmark::State& state, const std::string& project, const std::string& text) {
    const std::string report = project + ".rpt";
    double opening = 1e9, bare = 1e9;
    size_t size = 0, lines = 0;
    for ([[maybe_unused]] auto _ : state) {
        double begin = bench_getProcessorTime();
        size = findLines(text, lines);
        bare = std::min(bare, bench_getProcessorTime() - begin);
        tv_model* model = nullptr;
        begin = bench_getProcessorTime();
        const bool isOpen = tv_create(&model) == TV_OK && tv_open(model, project.c_str(), report.c_str()) == TV_OK;
        const double time = bench_getProcessorTime() - begin;
        tv_free(model);
        opening = std::min(opening, time);
        state.SetIterationTime(time);
        if (!isOpen) {
            state.SkipWithError("the project doesn't open");
            return;
        }
    }
    benchmark::DoNotOptimize(lines);
    state.counters["MB/s"] = static_cast<double>(size) * 1e-6 / opening;
    state.counters["ratio"] = opening / bare;
}

/// A folder for the files of one benchmark.
struct Folder {
    std::string path = (std::filesystem::temp_directory_path() / "tarnvelde-opening").string();

    Folder() { std::filesystem::create_directories(path); }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path + "/" + name, std::ios::binary) << text;
        return path + "/" + name;
    }
};

void openNetwork(benchmark::State& state) {
    const auto pollutants = static_cast<int32_t>(state.range(1));
    const BenchProject project = bench_makeProject(bench_makeNetwork(state.range(0)), pollutants, 3600);
    const std::string path = project.folder + "/network.inp";
    openFile(state, path, path);
    std::filesystem::remove_all(project.folder);
}

void openTown(benchmark::State& state) {
    const Folder folder;
    const std::string path = folder.write("town.inp", bench_makeTown(static_cast<int>(state.range(0))));
    openFile(state, path, path);
}

/// Entries five minutes apart, of which each line begins with `head`.
std::string makeEntries(int64_t count, const std::string& head) {
    std::string text;
    for (int64_t k = 0; k < count; ++k) {
        char line[64];
        const int minutes = static_cast<int>(k % 288) * 5, day = static_cast<int>(k / 288);
        std::snprintf(line, sizeof line, "%d/%02d/%02d %02d:%02d %d.%03d\n", 1900 + day / 336, 1 + day % 336 / 28,
                      1 + day % 28, minutes / 60, minutes % 60, static_cast<int>(k * 7 % 13),
                      static_cast<int>(k % 1000));
        text += head + line;
    }
    return text;
}

void openSeries(benchmark::State& state) {
    static const std::string BEGIN =
        "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/20\nROUTING_STEP 0:00:30\nRUNOFF_STEP 0:05:00\n"
        "REPORT_STEP 1:00:00\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 180 2 0.2 0\n[INFLOWS]\n"
        "J FLOW FLOW 0 RAIN 0.001\n[TIMESERIES]\n";
    const Folder folder;
    const bool isInFile = state.range(1) != 0;
    const std::string series = folder.write("series.txt", makeEntries(state.range(0), ""));
    const std::string lines = isInFile ? "RAIN FILE series.txt\n" : makeEntries(state.range(0), "RAIN ");
    const std::string project = folder.write("series.inp", BEGIN + lines);
    openFile(state, project, isInFile ? series : project);
}

BENCHMARK(openNetwork)
    ->ArgsProduct({{10000, 100000, 1000000}, {0, 1}})
    ->ArgNames({"N", "P"})
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK(openTown)->Arg(3000)->Arg(100000)->Iterations(5)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(openSeries)
    ->ArgsProduct({{500000}, {0, 1}})
    ->ArgNames({"entries", "file"})
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

}  // namespace
