// A report goes through the objects once, run by run: each run fills its own part of the record, and adds what its
// objects share to the sums of the system. Threads take runs as they come. What they share is kept then as it is, and
// added when all is there: in single the order of a sum is part of its result, and so it is always that of the objects.

#include "results/rowpieces.h"

#include <algorithm>
#include <atomic>
#include <vector>

#include "model/model.h"
#include "platform/workers.h"
#include "results/systemrow.h"

static constexpr int64_t OBJECTS_OF_PIECE = 1024;
static constexpr int64_t LEAST_PIECES = 4;  ///< below which threads cost more than they give

static int64_t countPieces(const Model& model) {
    return (model_getPlaceCount(model) + OBJECTS_OF_PIECE - 1) / OBJECTS_OF_PIECE;
}

static int32_t countWorkers(const Model& model) {
    return countPieces(model) >= LEAST_PIECES ? model.pace.threadCount : 1;
}

/// Calls `make` with each run and with the worker that takes it. Whoever is done with a piece takes the next.
template <class Make>
static void shareRuns(Model& model, int32_t workers, Make make) {
    const std::vector<RowRun>& runs = model.results->runs;
    if (runs.empty()) {
        return;
    }
    const size_t pieces = static_cast<size_t>(countPieces(model));
    const size_t step = (runs.size() + pieces - 1) / pieces;
    std::atomic<size_t> next{0};
    auto takePieces = [&](int32_t worker) {
        for (size_t first = next.fetch_add(step); first < runs.size(); first = next.fetch_add(step)) {
            const size_t end = std::min(first + step, runs.size());
            for (size_t k = first; k < end; ++k) {
                make(runs[k], worker);
            }
        }
    };
    workers_share(*model.workers, workers, takePieces);
}

/// Where the rows of a run stand among those of their table, or of all tables; null without rows.
static float* findRows(const TableBuffer& buffer, float* rows, const RowRun& run) {
    return rows ? rows + static_cast<int64_t>(run.rowPlace) * buffer.length : nullptr;
}

static float* findInRecord(const ResultBuffers& results, const RowRun& run) {
    if (run.table < 0) {
        return nullptr;
    }
    const TableBuffer& buffer = results.buffers[run.table];
    return findRows(buffer, results.record + buffer.place, run);
}

// --- samples -------------------------------------------------------------------------------------------------------

static double getWeight(const RowRun& run, const RowWeights& weights) {
    return run.table == SUBCATCH_TABLE ? weights.land : weights.network;
}

/// The rows, and the sums by one thread.
static void addAlone(Model& model, const RowWeights& weights, float* sums) {
    const ResultBuffers& results = *model.results;
    for (const RowRun& run : results.runs) {
        rows_fillAndAdd(model, run, getWeight(run, weights), findInRecord(results, run), sums);
    }
}

static void addTogether(Model& model, int32_t workers, const RowWeights& weights, float* sums) {
    ResultBuffers& results = *model.results;
    results.shares.resize(static_cast<size_t>(rows_countShares(results.runs)));
    float* const shares = results.shares.data();
    shareRuns(model, workers, [&](const RowRun& run, int32_t) {
        rows_fillAndKeep(model, run, getWeight(run, weights), findInRecord(results, run), shares + run.sharePlace);
    });
    for (const RowRun& run : results.runs) {
        rows_addShares(run, shares + run.sharePlace, sums);
    }
}

void rowpieces_makeRecord(Model& model, DateTime date, const RowWeights& weights) {
    float sums[SYSTEM_SUM_COUNT] = {};
    const int32_t workers = countWorkers(model);
    if (workers > 1) {
        addTogether(model, workers, weights, sums);
    } else {
        addAlone(model, weights, sums);
    }
    systemrow_close(model, date, model.results->runs, sums, model.results->record);
}

// --- means ---------------------------------------------------------------------------------------------------------

/// Sums of the rows of a run; null where there are none.
static float* findSums(const ResultBuffers& results, const RowRun& run) {
    return run.table < 0 ? nullptr : findRows(results.buffers[run.table], results.buffers[run.table].sums, run);
}

void rowpieces_addToSums(Model& model) {
    ResultBuffers& results = *model.results;
    const int32_t workers = countWorkers(model);
    results.scratch.resize(static_cast<size_t>(workers));
    for (std::vector<float>& rows : results.scratch) {
        rows.resize(static_cast<size_t>(ROWS_OF_RUN * results.longestRow));
    }
    shareRuns(model, workers, [&](const RowRun& run, int32_t worker) {
        float* const sums = findSums(results, run);
        if (!sums) {
            return;
        }
        float* const rows = results.scratch[static_cast<size_t>(worker)].data();
        rows_fillRun(model, run, 1.0, rows);
        const int32_t values = run.count * results.buffers[run.table].length;
        for (int32_t k = 0; k < values; ++k) {
            sums[k] += rows[k];
        }
    });
}

/// System and land are those of the report time, so the whole record is made for it, and the means take their places. A
/// period without a step gives what 0 / 0 is.
void rowpieces_makeMeans(Model& model, DateTime date, const RowWeights& weights) {
    const ResultBuffers& results = *model.results;
    rowpieces_makeRecord(model, date, weights);
    const float count = static_cast<float>(results.sumCount);
    shareRuns(model, countWorkers(model), [&](const RowRun& run, int32_t) {
        const float* const sums = findSums(results, run);
        if (!sums) {
            return;
        }
        float* const rows = findInRecord(results, run);
        const int32_t values = run.count * results.buffers[run.table].length;
        for (int32_t k = 0; k < values; ++k) {
            rows[k] = sums[k] / count;
        }
    });
}
