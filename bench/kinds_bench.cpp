// What a step of each kind of object costs, beside the bare arithmetic of its law on plain arrays. Both take turns in
// one run, so that both meet the same noise, and the ratio is steadier than the times; each is the median of the
// rounds. At the end both must have come to the same bits.
//
// A round is two hours, in wet weather a whole storm. The engine's step has all that a run has but results: the land
// and the network, totals, statistics.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bare/conduits.h"
#include "bare/land.h"
#include "bare/reactors.h"
#include "bare/tanks.h"
#include "bare/units.h"
#include "bound.h"
#include "network.h"
#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr int ROUND = 120;     ///< steps
constexpr int SETTLING = 120;  ///< steps
constexpr int64_t POLLUTANTS = 3;

double getMedian(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double getSeconds(double begin) {
    return bench_getProcessorTime() - begin;
}

BareWeather getWeather(const benchmark::State& state) {
    return static_cast<BareWeather>(state.range(1));
}

void tellTimes(benchmark::State& state, const std::vector<double>& engine, const std::vector<double>& bare) {
    const double steps = ROUND * static_cast<double>(state.range(0)) * 1e-9;
    state.counters["engine ns"] = getMedian(engine) / steps;
    std::vector<double> ratios;
    for (size_t k = 0; k < engine.size(); ++k) {
        ratios.push_back(engine[k] / bare[k]);
    }
    state.counters["bare ns"] = getMedian(bare) / steps;
    state.counters["ratio"] = getMedian(ratios);
}

template <class Bare>
void compare(benchmark::State& state, Bare bare, const std::string& project, void (*step)(Bare&),
             bool (*isSame)(const Bare&, const tv_model*)) {
    tv_model* model = bare_startModel(project);
    if (!model) {
        state.SkipWithError("the project doesn't start");
        return;
    }
    for (int k = 0; k < SETTLING; ++k) {
        tv_step(model);
        step(bare);
    }
    std::vector<double> engineTimes, bareTimes;
    for ([[maybe_unused]] auto _ : state) {
        const double begin = bench_getProcessorTime();
        for (int k = 0; k < ROUND; ++k) {
            tv_step(model);
        }
        engineTimes.push_back(getSeconds(begin));
        const double middle = bench_getProcessorTime();
        for (int k = 0; k < ROUND; ++k) {
            step(bare);
        }
        bareTimes.push_back(getSeconds(middle));
        state.SetIterationTime(engineTimes.back());
    }
    if (!isSame(bare, model)) {
        state.SkipWithError("the engine and the bare arithmetic differ");
    }
    tellTimes(state, engineTimes, bareTimes);
    tv_free(model);
}

// --- kinds ---------------------------------------------------------------------------------------------------------

void kindLand(benchmark::State& state) {
    const BareLand bare = bareLand_create(state.range(0), POLLUTANTS, getWeather(state));
    compare(state, bare, bareLand_makeProject(bare), bareLand_step, bareLand_isSame);
}

void kindUnit(benchmark::State& state, BareUnit type) {
    const BareUnits bare = bareUnits_create(type, state.range(0), POLLUTANTS, getWeather(state));
    compare(state, bare, bareUnits_makeProject(bare), bareUnits_step, bareUnits_isSame);
}

void kindTank(benchmark::State& state) {
    const BareTanks bare = bareTanks_create(state.range(0), POLLUTANTS, getWeather(state));
    compare(state, bare, bareTanks_makeProject(bare, getWeather(state)), bareTanks_step, bareTanks_isSame);
}

void kindConduit(benchmark::State& state, BareSection section) {
    const BareConduits bare = bareConduits_create(section, state.range(0), POLLUTANTS, getWeather(state));
    compare(state, bare, bareConduits_makeProject(bare, getWeather(state)), bareConduits_step, bareConduits_isSame);
}

void kindReactor(benchmark::State& state) {
    const BareReactors bare = bareReactors_create(state.range(0), POLLUTANTS, getWeather(state));
    compare(state, bare, bareReactors_makeProject(bare, getWeather(state)), bareReactors_step, bareReactors_isSame);
}

// --- a plain town --------------------------------------------------------------------------------------------------

/// Subcatchments, each with a junction and a pipe: the land and the network one after the other.
struct BareTown {
    BareLand land;
    BenchNetwork tree;
    Bound network;
};

BareTown makeTown(int64_t count, BareWeather weather) {
    constexpr double DURATION = 3652.0 * 86400000.0;  // that of the head of the project
    BareTown town{bareLand_create(count, POLLUTANTS, weather), bench_makeNetwork(count), {}};
    town.network = bound_create(town.tree, static_cast<int32_t>(POLLUTANTS), DURATION);
    return town;
}

void stepTown(BareTown& town) {
    bareLand_stepInto(town.land, town.network.lateral.data(), town.network.lateralLoad.data());
    bound_step(town.network);
}

std::string makeTownProject(const BareTown& town) {
    TownText out;
    out << bareLand_makeProject(town.land, true) << "[JUNCTIONS]\n";
    for (int64_t k = 0; k < town.land.count; ++k) {
        out << "J" << k << "\n";
    }
    out << "[PIPES]\n";
    for (int64_t k = 0; k < town.land.count; ++k) {
        const int64_t down = town.tree.down[static_cast<size_t>(k)];
        out << "L" << k << " J" << k << " ";
        if (down < town.land.count) {
            out << "J" << down;
        } else {
            out << "OUT";
        }
        out << " NO " << int64_t{bench_getPipeK(k)} << " " << int64_t{bench_getPipeReaches(k)} << " 0.2 0\n";
    }
    return std::move(out.text);
}

bool isTownSame(const BareTown& town, const tv_model* model) {
    int32_t outfall = 0, variable = 0;
    double flow = -1.0, quality = -1.0;
    const bool isFound = tv_findObject(model, TV_NODE, "OUT", &outfall) == 0 &&
                         tv_findVariable(TV_NODE, "upstream_flow", &variable) == 0 &&
                         tv_getValue(model, variable, outfall, TV_NO_POLLUTANT, &flow) == 0 &&
                         tv_findVariable(TV_NODE, "concentration", &variable) == 0 &&
                         tv_getValue(model, variable, outfall, POLLUTANTS - 1, &quality) == 0;
    const std::vector<double> volumes(town.network.flowVolume.begin(), town.network.flowVolume.end() - 1);
    const std::vector<double> qualities(town.network.newQual.begin(), town.network.newQual.end() - POLLUTANTS);
    return isFound && bare_isSame(model, TV_LINK, "flow_volume", volumes) &&
           bare_isSame(model, TV_LINK, "concentration", qualities, POLLUTANTS) && flow == town.network.inflow.back() &&
           quality == town.network.qual.back() && bareLand_isSame(town.land, model);
}

void kindTown(benchmark::State& state) {
    const BareTown town = makeTown(state.range(0), getWeather(state));
    compare(state, town, makeTownProject(town), stepTown, isTownSame);
}

// --- sizes and weather ---------------------------------------------------------------------------------------------

void addSmall(benchmark::internal::Benchmark* benchmark) {
    for (const BareWeather weather : {BareWeather::WET, BareWeather::DRY, BareWeather::STILL}) {
        benchmark->Args({1000, static_cast<int64_t>(weather)});
    }
    benchmark->ArgNames({"N", "weather"})->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(7);
}

void addLarge(benchmark::internal::Benchmark* benchmark) {
    for (const BareWeather weather : {BareWeather::WET, BareWeather::DRY}) {
        benchmark->Args({30000, static_cast<int64_t>(weather)});
    }
    benchmark->ArgNames({"N", "weather"})->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);
}

BENCHMARK(kindLand)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, cell, BareUnit::CELL)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, garden, BareUnit::GARDEN)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, roof, BareUnit::ROOF)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, trench, BareUnit::TRENCH)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, pavement, BareUnit::PAVEMENT)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, barrel, BareUnit::BARREL)->Apply(addSmall);
BENCHMARK_CAPTURE(kindUnit, swale, BareUnit::SWALE)->Apply(addSmall);
BENCHMARK(kindTank)->Apply(addSmall);
BENCHMARK_CAPTURE(kindConduit, circular, BareSection::CIRCULAR)->Apply(addSmall);
BENCHMARK_CAPTURE(kindConduit, rectangular, BareSection::RECTANGULAR)->Apply(addSmall);
BENCHMARK_CAPTURE(kindConduit, irregular, BareSection::IRREGULAR)->Apply(addSmall);
BENCHMARK(kindReactor)->Apply(addSmall);
BENCHMARK(kindTown)->Apply(addSmall);

BENCHMARK(kindLand)->Apply(addLarge);
BENCHMARK_CAPTURE(kindUnit, cell, BareUnit::CELL)->Apply(addLarge);
BENCHMARK(kindTank)->Apply(addLarge);
BENCHMARK_CAPTURE(kindConduit, circular, BareSection::CIRCULAR)->Apply(addLarge);
BENCHMARK(kindReactor)->Apply(addLarge);
BENCHMARK(kindTown)->Apply(addLarge);

}  // namespace
