#pragma once
// Networks of junctions and pipes in any size, as projects for the benchmarks: a tree that leads down to one outfall,
// with a constant inflow and a constant concentration at each head.

#include <cstdint>
#include <string>
#include <vector>

/// Junction k discharges through pipe k into junction `down[k]`, always one of a higher number; number `down.size()` is
/// the outfall.
struct BenchNetwork {
    std::vector<int32_t> down;
    std::vector<uint8_t> isHead;  ///< by junction: 1 if nothing flows into it
};

constexpr double HEAD_FLOW = 0.002;           ///< m3/s
constexpr double HEAD_CONCENTRATION = 100.0;  ///< mg/L, of every pollutant
constexpr int32_t BENCH_STEP = 60;            ///< s, routing step
constexpr double PIPE_X = 0.2;

/// Muskingum K of a pipe, s, and the number of its reaches.
inline int32_t bench_getPipeK(int64_t pipe) {
    return 60 * static_cast<int32_t>(1 + pipe % 5);
}

inline int32_t bench_getPipeReaches(int64_t pipe) {
    return static_cast<int32_t>(1 + pipe % 3);
}

/// The same network for the same size, each time.
BenchNetwork bench_makeNetwork(int64_t size);

/// A run long enough for any benchmark, ms.
double bench_getDuration();

/// A project file in a folder of its own.
struct BenchProject {
    std::string folder;
    int64_t size;  ///< bytes of the project file
};

/// Writes the project file of a network; its results are reported each `reportStep` seconds, as they are at that time.
BenchProject bench_makeProject(const BenchNetwork& network, int32_t pollutants, int32_t reportStep);

/// Opens the project; false if that fails.
bool bench_openProject(const BenchProject& project);

/// Ends and closes the project and deletes its folder.
void bench_closeProject(const BenchProject& project);

/// Processor time of the process, s.
double bench_getProcessorTime();
