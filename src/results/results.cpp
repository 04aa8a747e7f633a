// Results of each report period: the buffers of the rows, the means of a period, and the sink that they go to. Called
// by the clock of a run:
//
//     results_open, then for each step: results_accumulate before the report time, with means; at or after it
//     results_write, with results_accumulate ahead of it for a step that ends at the report time, and after it for a
//     step that crosses it; then results_end and, with the project, results_close.
//
// Rows are written table by table in the order of columns.def: the system, subcatchments, nodes and links kind by kind;
// in a table in the order of the project file. Rows of the system and of subcatchments are those of the report time
// itself, also with means.

#include "results/results.h"

#include <algorithm>
#include <cmath>

#include "hydrology/gage.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/project.h"
#include "results/binary.h"
#include "results/database.h"
#include "results/rows.h"
#include "results/systemrow.h"
#include "text/units.h"

// --- open ----------------------------------------------------------------------------------------------------------

template <class T>
static T* allocate(Model& model, int64_t count) {
    T* memory = arena_allocateArray<T>(model.memory.results, count);
    if (!memory) {
        errors_report(model, ERR_MEMORY, "");
    }
    return memory;
}

/// Rows that are made at once, few enough to stay in the nearest memory until they are written.
static constexpr int32_t ROWS_AT_ONCE = 64;

static void listObjects(Model& model, int32_t table) {
    TableBuffer& buffer = model.results->buffers[table];
    buffer.objects = allocate<int32_t>(model, buffer.count);
    if (!buffer.objects) {
        return;
    }
    const int32_t classSize = rows_getClassSize(model, table);
    int32_t filled = 0;
    for (int32_t k = 0; k < classSize && filled < buffer.count; ++k) {
        if (rows_holds(model, table, k)) {
            buffer.objects[filled++] = k;
        }
    }
    buffer.count = filled;
}

void results_releaseBuffers(Model& model) {
    model.results->isReady = false;
    for (std::vector<float>& kept : model.results->kept) {
        kept = {};
    }
    for (TableBuffer& buffer : model.results->buffers) {
        buffer = TableBuffer{};
    }
}

static void openBuffers(Model& model) {
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        TableBuffer& buffer = model.results->buffers[table];
        buffer.length = rows_getLength(model, table);
        buffer.count = rows_getObjectCount(model, table);
        const int32_t rows = std::clamp(buffer.count, 1, ROWS_AT_ONCE);
        buffer.row = allocate<float>(model, static_cast<int64_t>(rows) * buffer.length);
        if (buffer.count == 0) {
            continue;
        }
        listObjects(model, table);
        if (table != SUBCATCH_TABLE) {
            buffer.sums = allocate<float>(model, static_cast<int64_t>(buffer.count) * buffer.length);
        }
    }
}

void results_open(Model& model) {
    results_releaseBuffers(model);
    if (model.error.code) {
        return;
    }
    openBuffers(model);
    model.results->sumCount = 0;
    model.results->period = 1;
    model.results->isReady = true;
    if (model.sinks & SINK_FILE) {
        binary_open(model);
    }
    if (model.sinks & SINK_DATABASE && !model.error.code) {
        database_open(model);
    }
}

// --- means ---------------------------------------------------------------------------------------------------------

static bool hasSums(const TableBuffer& buffer) {
    return buffer.objects && buffer.row && buffer.sums;
}

void results_accumulate(Model& model) {
    if (!model.results->isReady) {
        return;
    }
    for (int32_t table = JUNCTION_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const TableBuffer& buffer = model.results->buffers[table];
        if (!hasSums(buffer)) {
            continue;
        }
        float* sums = buffer.sums;
        for (int32_t first = 0; first < buffer.count; first += ROWS_AT_ONCE) {
            const int32_t end = std::min(buffer.count, first + ROWS_AT_ONCE);
            rows_fillMany(model, table, {buffer.objects, buffer.count}, first, end, 1.0, buffer.row);
            const int32_t values = (end - first) * buffer.length;
            for (int32_t k = 0; k < values; ++k) {
                sums[k] += buffer.row[k];
            }
            sums += values;
        }
    }
    ++model.results->sumCount;
}

static void clearSums(Model& model) {
    for (const TableBuffer& buffer : model.results->buffers) {
        if (buffer.sums) {
            std::fill_n(buffer.sums, static_cast<int64_t>(buffer.count) * buffer.length, 0.0f);
        }
    }
    model.results->sumCount = 0;
}

// --- write ---------------------------------------------------------------------------------------------------------

/// The sinks that few runs have, apart, so that the file's way stays short.
static void writeRowElsewhere(Model& model, int32_t table, int32_t object, const float* row, int32_t length) {
    if (model.sinks & SINK_DATABASE) {
        database_writeRow(model, table, rows_getName(model, table, object), model.results->period, row, length);
    }
    if (model.sinks & SINK_MEMORY) {
        std::vector<float>& kept = model.results->kept[table];
        kept.insert(kept.end(), row, row + length);
    }
}

static bool hasOtherSinks(const Model& model) {
    return (model.sinks & (SINK_DATABASE | SINK_MEMORY)) != 0;
}

[[gnu::always_inline]] static inline void writeRow(Model& model, int32_t table, int32_t object, const float* row,
                                                   int32_t length) {
    if (model.sinks & SINK_FILE) {
        binary_writeRow(model, row, length);
    }
    if (hasOtherSinks(model)) {
        writeRowElsewhere(model, table, object, row, length);
    }
}

/// Rows of a table at the report time.
static void writeRows(Model& model, int32_t table, double f) {
    const TableBuffer& buffer = model.results->buffers[table];
    if (!buffer.objects || !buffer.row) {
        return;
    }
    for (int32_t first = 0; first < buffer.count; first += ROWS_AT_ONCE) {
        const int32_t end = std::min(buffer.count, first + ROWS_AT_ONCE);
        rows_fillMany(model, table, {buffer.objects, buffer.count}, first, end, f, buffer.row);
        if (model.sinks & SINK_FILE) {
            binary_writeRow(model, buffer.row, (end - first) * buffer.length);
        }
        for (int32_t k = first; hasOtherSinks(model) && k < end; ++k) {
            const float* row = buffer.row + static_cast<int64_t>(k - first) * buffer.length;
            writeRowElsewhere(model, table, buffer.objects[k], row, buffer.length);
        }
    }
}

/// Means of a table over the period. A period without a step gives what 0 / 0 is.
static void writeMeans(Model& model, int32_t table) {
    const TableBuffer& buffer = model.results->buffers[table];
    if (!hasSums(buffer)) {
        return;
    }
    const float count = static_cast<float>(model.results->sumCount);
    const float* sums = buffer.sums;
    for (int32_t k = 0; k < buffer.count; ++k) {
        for (int32_t c = 0; c < buffer.length; ++c) {
            buffer.row[c] = sums[c] / count;
        }
        writeRow(model, table, buffer.objects[k], buffer.row, buffer.length);
        sums += buffer.length;
    }
}

static bool hasSink(const Model& model) {
    return (model.sinks & SINK_FILE && model.binary->file) || (model.sinks & SINK_DATABASE && model.database->handle) ||
           model.sinks & SINK_MEMORY;
}

static double getWeight(const Model& model, double older, double newer) {
    return (model.clock.reportTime - older) / (newer - older);
}

static void writeReport(Model& model, DateTime date) {
    const double networkFactor = getWeight(model, model.clock.oldRoutingTime, model.clock.newRoutingTime);
    const double landFactor = getWeight(model, model.clock.oldRunoffTime, model.clock.newRunoffTime);
    for (std::vector<float>& kept : model.results->kept) {
        kept.clear();
    }
    if (model.sinks & SINK_FILE) {
        binary_startRecord(model, date);
    }
    float system[SYSTEM_LENGTH];
    systemrow_fill(model, date, networkFactor, landFactor, system);
    writeRow(model, SYSTEM_TABLE, 0, system, SYSTEM_LENGTH);
    writeRows(model, SUBCATCH_TABLE, landFactor);
    for (int32_t table = JUNCTION_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        if (model.options.reportAverage) {
            writeMeans(model, table);
        } else {
            writeRows(model, table, networkFactor);
        }
    }
    if (model.sinks & SINK_DATABASE) {
        database_endReport(model);
    }
}

void results_write(Model& model) {
    if (!model.results->isReady) {
        return;
    }
    const DateTime date = model_getDate(model, model.clock.reportTime);
    gage_setReportRain(model, date);
    if (hasSink(model)) {
        writeReport(model, date);
    }
    if (model.options.reportAverage) {
        clearSums(model);
    }
    ++model.results->period;
}

// --- back to an earlier state --------------------------------------------------------------------------------------

/// Bytes of a record in the file: its date, and the rows that are written.
static uint64_t getRecordSize(const Model& model) {
    uint64_t size = sizeof(double) + SYSTEM_LENGTH * sizeof(float);
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const TableBuffer& buffer = model.results->buffers[table];
        const bool isMean = model.options.reportAverage && table != SUBCATCH_TABLE;
        if (isMean ? hasSums(buffer) : buffer.objects && buffer.row) {
            size += static_cast<uint64_t>(buffer.count) * static_cast<uint64_t>(buffer.length) * sizeof(float);
        }
    }
    return size;
}

void results_reserveTakeBack(Model& model) {
    binary_reserveTakeBack(model);
}

void results_takeBack(Model& model, bool hasReports) {
    if (model.sinks && !hasReports) {
        // The first report time that the clock hasn't reached, and the number of its report.
        const double step = model.options.reportStep * MS_PER_SECOND;
        const double reached = std::floor(model.clock.newRoutingTime / step);
        model.results->period = static_cast<int32_t>(reached) + 1;
        model.results->sumCount = 0;
        model.clock.reportTime = (reached + 1.0) * step;
    }
    if (model.sinks & SINK_FILE) {
        binary_takeBack(model, model.results->period, getRecordSize(model));
    }
    if (model.sinks & SINK_DATABASE) {
        database_takeBack(model, model.results->period);
    }
    for (std::vector<float>& kept : model.results->kept) {
        kept.clear();
    }
}

// --- end and close -------------------------------------------------------------------------------------------------

void results_end(Model& model) {
    binary_end(model, model.results->period - 1);
}

void results_close(Model& model) {
    results_releaseBuffers(model);
    binary_close(model, model.sinks & SINK_FILE);
    database_close(model, model.sinks & SINK_DATABASE);
}

void results_abandon(Model& model) {
    results_releaseBuffers(model);
    binary_close(model, true);
    database_abandon(model);
}
