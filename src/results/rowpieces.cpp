// A report goes through the objects once, run by run: each run fills its own part of the record, and adds what its
// objects share to the sums of the system. Threads take pieces as they come. What their objects share is kept then as
// it is, and added in its turn: in single the order of a sum is part of its result, and so it is always that of the
// objects.

#include "results/rowpieces.h"

#include <atomic>
#include <mutex>
#include <vector>

#include "model/model.h"
#include "platform/workers.h"
#include "results/systemrow.h"

static constexpr int64_t OBJECTS_OF_PIECE = 1024;
static constexpr int64_t LEAST_PIECES = 32;  ///< below which it costs more to wake a thread than it gives

static int64_t countPieces(const Model& model) {
    return (model_getPlaceCount(model) + OBJECTS_OF_PIECE - 1) / OBJECTS_OF_PIECE;
}

static int32_t countWorkers(const Model& model) {
    return countPieces(model) >= LEAST_PIECES ? model.pace.threadCount : 1;
}

/// Runs that one thread takes at once.
struct RowPiece {
    size_t index;
    const RowRun *first, *end;
};

static RowPiece getPiece(const std::vector<RowRun>& runs, size_t pieces, size_t index) {
    const size_t first = runs.size() * index / pieces, end = runs.size() * (index + 1) / pieces;
    return {index, runs.data() + first, runs.data() + end};
}

/// Calls `make` with each piece and with the worker that takes it. Whoever is done with one takes the next.
template <class Make>
static void sharePieces(Model& model, int32_t workers, Make make) {
    const auto pieces = static_cast<size_t>(countPieces(model));
    std::atomic<size_t> next{0};
    auto takePieces = [&](int32_t worker) {
        for (size_t k = next++; k < pieces; k = next++) {
            make(getPiece(model.results->runs, pieces, k), worker);
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

/// The same by several. Whoever has filled a piece adds what is next, as far as it is there and nobody else is at it:
/// the order is that of the pieces, whoever adds them.
static void addTogether(Model& model, int32_t workers, const RowWeights& weights, float* sums) {
    ResultBuffers& results = *model.results;
    results.shares.resize(static_cast<size_t>(rows_countShares(results.runs)));
    float* const shares = results.shares.data();
    const auto pieces = static_cast<size_t>(countPieces(model));
    std::vector<std::atomic<bool>> isFilled(pieces);
    std::mutex turn;
    size_t next = 0;
    const auto addNext = [&] {
        for (; next < pieces && isFilled[next].load(std::memory_order_acquire); ++next) {
            const RowPiece piece = getPiece(results.runs, pieces, next);
            for (const RowRun* run = piece.first; run < piece.end; ++run) {
                rows_addShares(*run, shares + run->sharePlace, sums);
            }
        }
    };
    sharePieces(model, workers, [&](const RowPiece& piece, int32_t) {
        for (const RowRun* run = piece.first; run < piece.end; ++run) {
            rows_fillAndKeep(model, *run, getWeight(*run, weights), findInRecord(results, *run),
                             shares + run->sharePlace);
        }
        isFilled[piece.index].store(true, std::memory_order_release);
        const std::unique_lock<std::mutex> mine(turn, std::try_to_lock);
        if (mine.owns_lock()) {
            addNext();
        }
    });
    addNext();
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

static void addRows(const Model& model, const RowRun& run, float* rows) {
    const ResultBuffers& results = *model.results;
    float* const sums = findSums(results, run);
    if (!sums) {
        return;
    }
    rows_fillRun(model, run, 1.0, rows);
    const int32_t values = run.count * results.buffers[run.table].length;
    for (int32_t k = 0; k < values; ++k) {
        sums[k] += rows[k];
    }
}

void rowpieces_addToSums(Model& model) {
    ResultBuffers& results = *model.results;
    const int32_t workers = countWorkers(model);
    results.scratch.resize(static_cast<size_t>(workers));
    for (std::vector<float>& rows : results.scratch) {
        rows.resize(static_cast<size_t>(ROWS_OF_RUN * results.longestRow));
    }
    sharePieces(model, workers, [&](const RowPiece& piece, int32_t worker) {
        for (const RowRun* run = piece.first; run < piece.end; ++run) {
            addRows(model, *run, results.scratch[static_cast<size_t>(worker)].data());
        }
    });
}

static void divideSums(const ResultBuffers& results, const RowRun& run) {
    const float* const sums = findSums(results, run);
    if (!sums) {
        return;
    }
    const float count = static_cast<float>(results.sumCount);
    float* const rows = findInRecord(results, run);
    const int32_t values = run.count * results.buffers[run.table].length;
    for (int32_t k = 0; k < values; ++k) {
        rows[k] = sums[k] / count;
    }
}

/// System and land are those of the report time, so the whole record is made for it, and the means take their places. A
/// period without a step gives what 0 / 0 is.
void rowpieces_makeMeans(Model& model, DateTime date, const RowWeights& weights) {
    rowpieces_makeRecord(model, date, weights);
    sharePieces(model, countWorkers(model), [&](const RowPiece& piece, int32_t) {
        for (const RowRun* run = piece.first; run < piece.end; ++run) {
            divideSums(*model.results, *run);
        }
    });
}
