// The benchmarks of this folder as one program.

#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
