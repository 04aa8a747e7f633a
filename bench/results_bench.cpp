// What it costs to save results, beside the least that it could cost: for the binary file one fwrite per row of rows
// filled with constants (`ratio`) and one per report (`by blocks`), for the database one sqlite3_exec per row of texts
// that are ready. Saving is the time of a run that reports at each step, less that of the same run without a save mode,
// so it contains the making of the rows, too. The three are timed by turns, in processor time. `row` in the counters is
// that of a junction or a pipe. Of the database `in place` and `aside` are a run of each face into a file that holds
// one of as many rows, and `aside, new` one of the second face into a new file, each as a multiple of one in place into
// a new file.

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <string>
#include <vector>

#include "network.h"
#include "tarnvelde.h"
#include "tarnvelde_model.h"

namespace {

constexpr int32_t TO_NOTHING = 0;
constexpr int32_t TO_FILE = 1;
constexpr int32_t TO_DATABASE = 2;

constexpr int32_t STEPS = 20;  ///< reports of a run
constexpr size_t SYSTEM_VALUES = 12;
constexpr size_t JUNCTION_VALUES = 2;
constexpr size_t PIPE_VALUES = 4;

struct Sizes {
    size_t objects;  ///< junctions, and as many pipes
    size_t pollutants;
};

/// A run from its start to its end.
double timeRun(int32_t saveMode) {
    tarnvelde_start(saveMode);
    double elapsed = 0.0;
    const double begin = bench_getProcessorTime();
    for (int32_t k = 0; k < STEPS; ++k) {
        tarnvelde_step(&elapsed);
    }
    tarnvelde_end();
    return bench_getProcessorTime() - begin;
}

/// The same, from the opening to the close of the project, since a database is complete only then.
double timeProject(const BenchProject& project, int32_t saveMode) {
    const double begin = bench_getProcessorTime();
    bench_openProject(project);
    timeRun(saveMode);
    tarnvelde_close();
    return bench_getProcessorTime() - begin;
}

/// The same of the second face, into a database or nowhere.
double timeModel(const BenchProject& project, const char* database) {
    const std::string report = project.folder + "/model2.rpt";
    const double begin = bench_getProcessorTime();
    tv_model* model = nullptr;
    tv_create(&model);
    tv_setWarnings(model, 0);
    tv_open(model, (project.folder + "/network.inp").c_str(), report.c_str());
    tv_start(model, nullptr, database);
    for (int32_t k = 0; k < STEPS; ++k) {
        tv_step(model);
    }
    tv_end(model);
    tv_free(model);
    return bench_getProcessorTime() - begin;
}

double timeWrites(const BenchProject& project, const Sizes& sizes) {
    const std::string path = project.folder + "/bare.bin";
    const std::vector<float> row(SYSTEM_VALUES + sizes.pollutants, 1.25f);
    const double begin = bench_getProcessorTime();
    std::FILE* file = std::fopen(path.c_str(), "w+b");
    for (int32_t k = 0; k < STEPS; ++k) {
        std::fwrite(row.data(), sizeof(float), SYSTEM_VALUES + sizes.pollutants, file);
        for (const size_t values : {JUNCTION_VALUES, PIPE_VALUES}) {
            for (size_t object = 0; object < sizes.objects; ++object) {
                std::fwrite(row.data(), sizeof(float), values + sizes.pollutants, file);
            }
        }
    }
    std::fclose(file);
    return bench_getProcessorTime() - begin;
}

/// The least that the bytes can cost: one fwrite for all rows of a report.
double timeBlocks(const BenchProject& project, const Sizes& sizes) {
    const std::string path = project.folder + "/block.bin";
    const size_t values = (JUNCTION_VALUES + PIPE_VALUES + 2 * sizes.pollutants) * sizes.objects;
    const std::vector<float> rows(SYSTEM_VALUES + values, 1.25f);
    const double begin = bench_getProcessorTime();
    std::FILE* file = std::fopen(path.c_str(), "w+b");
    for (int32_t k = 0; k < STEPS; ++k) {
        std::fwrite(rows.data(), sizeof(float), rows.size(), file);
    }
    std::fclose(file);
    return bench_getProcessorTime() - begin;
}

/// Ready texts for one report: `table` with a row for each object.
void addTexts(std::vector<std::string>& texts, const char* table, char letter, size_t values, size_t objects) {
    for (size_t object = 0; object < objects; ++object) {
        std::string text = std::string("insert into ") + table + " values ('" + letter + std::to_string(object) + "',1";
        for (size_t k = 0; k < values; ++k) {
            text += ",0.002000";
        }
        texts.push_back(text + ")");
    }
}

void createTable(sqlite3* database, const char* table, size_t values) {
    std::string text = std::string("create table ") + table + " (Name TEXT,Period INT";
    for (size_t k = 0; k < values; ++k) {
        text += ",C" + std::to_string(k) + " FLOAT";
    }
    sqlite3_exec(database, (text + ")").c_str(), nullptr, nullptr, nullptr);
}

double timeStatements(const BenchProject& project, const Sizes& sizes) {
    std::vector<std::string> texts;
    addTexts(texts, "Junction", 'J', JUNCTION_VALUES + sizes.pollutants, sizes.objects);
    addTexts(texts, "Pipe", 'L', PIPE_VALUES + sizes.pollutants, sizes.objects);
    const std::string path = project.folder + "/bare.db";
    std::remove(path.c_str());
    const double begin = bench_getProcessorTime();
    sqlite3* database = nullptr;
    sqlite3_open(path.c_str(), &database);
    sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr);
    createTable(database, "Junction", JUNCTION_VALUES + sizes.pollutants);
    createTable(database, "Pipe", PIPE_VALUES + sizes.pollutants);
    for (int32_t k = 0; k < STEPS; ++k) {
        for (const std::string& text : texts) {
            sqlite3_exec(database, text.c_str(), nullptr, nullptr, nullptr);
        }
    }
    sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(database);
    return bench_getProcessorTime() - begin;
}

void setCounters(benchmark::State& state, const Sizes& sizes, double saving, double bare) {
    const double rows = 2.0 * static_cast<double>(sizes.objects) * STEPS * static_cast<double>(state.iterations());
    state.counters["saving ns/row"] = saving / rows * 1e9;
    state.counters["bare ns/row"] = bare / rows * 1e9;
    state.counters["ratio"] = saving / bare;
}

Sizes getSizes(const benchmark::State& state) {
    return {static_cast<size_t>(state.range(0)), static_cast<size_t>(state.range(1))};
}

BenchProject makeProject(const benchmark::State& state) {
    return bench_makeProject(bench_makeNetwork(state.range(0)), static_cast<int32_t>(state.range(1)), BENCH_STEP);
}

void saveToFile(benchmark::State& state) {
    const Sizes sizes = getSizes(state);
    const BenchProject project = makeProject(state);
    if (!bench_openProject(project)) {
        state.SkipWithError("the project doesn't open");
    }
    double saving = 0.0, bare = 0.0, blocks = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        const double idle = timeRun(TO_NOTHING);
        const double saved = timeRun(TO_FILE);
        bare += timeWrites(project, sizes);
        blocks += timeBlocks(project, sizes);
        saving += saved - idle;
        state.SetIterationTime(saved);
    }
    setCounters(state, sizes, saving, bare);
    state.counters["by blocks"] = saving / blocks;
    bench_closeProject(project);
}

void saveToDatabase(benchmark::State& state) {
    const Sizes sizes = getSizes(state);
    const BenchProject project = makeProject(state);
    const std::string inPlace = project.folder + "/network.db", aside = project.folder + "/second.db";
    double saving = 0.0, bare = 0.0, replaced = 0.0, newAside = 0.0, replacedAside = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        const double idle = timeProject(project, TO_NOTHING);
        std::remove(inPlace.c_str());
        const double saved = timeProject(project, TO_DATABASE);
        replaced += timeProject(project, TO_DATABASE) - idle;
        const double idleAside = timeModel(project, nullptr);
        std::remove(aside.c_str());
        newAside += timeModel(project, aside.c_str()) - idleAside;
        replacedAside += timeModel(project, aside.c_str()) - idleAside;
        bare += timeStatements(project, sizes);
        saving += saved - idle;
        state.SetIterationTime(saved);
    }
    setCounters(state, sizes, saving, bare);
    state.counters["in place"] = replaced / saving;
    state.counters["aside, new"] = newAside / saving;
    state.counters["aside"] = replacedAside / saving;
    bench_closeProject(project);
}

BENCHMARK(saveToFile)
    ->ArgsProduct({{1000, 10000, 100000}, {0, 1, 4}})
    ->ArgNames({"N", "P"})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK(saveToDatabase)
    ->ArgsProduct({{1000, 10000}, {0, 4}})
    ->ArgNames({"N", "P"})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

}  // namespace
