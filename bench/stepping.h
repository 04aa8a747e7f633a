#pragma once
// Steps of a project through the public functions, for the benchmarks.

#include <benchmark/benchmark.h>

#include <string>

/// Steps a project as long as the state wants, after `settling` steps that don't count; `objects` of them count per
/// step.
void bench_runSteps(benchmark::State& state, const std::string& text, double objects, int settling);
