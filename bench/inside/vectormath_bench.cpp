// Logarithms and exponentials of an array, beside a loop that calls the C library for each number. Both take turns in
// one run, so that both meet the same noise; each time is the median of the rounds. The numbers are those that growing
// buildups ask for, from all along the curve. At the end both must have come to the same bits.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <vector>

#include "platform/vectormath.h"

namespace {

constexpr size_t ARRAYS = 32;  ///< of other numbers, so that no branch is learnt
constexpr int TURNS = 4;       ///< of all arrays in a round

using Function = void (*)(const double*, double*, size_t);

[[gnu::noinline]] void callLog(const double* x, double* y, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        y[k] = std::log(x[k]);
    }
}

[[gnu::noinline]] void callExp(const double* x, double* y, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        y[k] = std::exp(x[k]);
    }
}

/// Spread evenly between two bounds by the golden ratio, in an order that leaps about.
std::vector<double> makeNumbers(size_t count, double low, double high) {
    constexpr double GOLDEN = 0.61803398874989485;
    std::vector<double> numbers(count);
    double place = 0.0;
    for (double& number : numbers) {
        place += GOLDEN;
        place -= std::floor(place);
        number = low + (high - low) * place;
    }
    return numbers;
}

/// Nanoseconds for a number.
double measure(Function function, const std::vector<double>& numbers, std::vector<double>& results) {
    const size_t count = numbers.size() / ARRAYS;
    const auto begin = std::chrono::steady_clock::now();
    for (int turn = 0; turn < TURNS; ++turn) {
        for (size_t k = 0; k < ARRAYS; ++k) {
            function(&numbers[k * count], &results[k * count], count);
        }
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    return time.count() / TURNS / static_cast<double>(numbers.size());
}

double getMedian(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compare(benchmark::State& state, Function engine, Function library, double low, double high) {
    const std::vector<double> numbers = makeNumbers(ARRAYS * static_cast<size_t>(state.range(0)), low, high);
    std::vector<double> ours(numbers.size()), theirs(numbers.size()), times, libraryTimes, ratios;
    for ([[maybe_unused]] auto round : state) {
        times.push_back(measure(engine, numbers, ours));
        libraryTimes.push_back(measure(library, numbers, theirs));
        ratios.push_back(times.back() / libraryTimes.back());
    }
    if (std::memcmp(ours.data(), theirs.data(), ours.size() * sizeof(double)) != 0) {
        state.SkipWithError("other bits than those of the library");
        return;
    }
    state.counters["engine ns"] = getMedian(times);
    state.counters["library ns"] = getMedian(libraryTimes);
    state.counters["ratio"] = getMedian(ratios);
}

void logarithms(benchmark::State& state) {
    compare(state, vectormath_log, callLog, 0.001, 1.0);
}

void exponentials(benchmark::State& state) {
    compare(state, vectormath_exp, callExp, -7.0, 0.0);
}

}  // namespace

BENCHMARK(logarithms)->Arg(6)->Arg(24)->Arg(96)->Arg(384);
BENCHMARK(exponentials)->Arg(6)->Arg(24)->Arg(96)->Arg(384);

BENCHMARK_MAIN();
