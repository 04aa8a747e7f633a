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
#include "model/inputfiles.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/project.h"
#include "results/binary.h"
#include "results/database.h"
#include "results/rowpieces.h"
#include "results/rows.h"
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

void results_releaseBuffers(Model& model) {
    model.results->isReady = false;
    for (std::vector<float>& kept : model.results->kept) {
        kept = {};
    }
    for (TableBuffer& buffer : model.results->buffers) {
        buffer = TableBuffer{};
    }
    model.results->runs = {};
    model.results->record = nullptr;
    model.results->shares = {};
    model.results->scratch = {};
}

static bool hasMeans(const Model& model, int32_t table) {
    return model.options.reportAverage && table != SUBCATCH_TABLE;
}

static void openTable(Model& model, int32_t table) {
    ResultBuffers& results = *model.results;
    TableBuffer& buffer = results.buffers[table];
    buffer.length = rows_getLength(model, table);
    buffer.count = rows_getObjectCount(model, table);
    if (hasMeans(model, table) && buffer.count > 0) {
        buffer.sums = allocate<float>(model, static_cast<int64_t>(buffer.count) * buffer.length);
    }
    buffer.place = results.recordLength;
    results.recordLength += static_cast<int64_t>(buffer.count) * buffer.length;
    results.longestRow = std::max(results.longestRow, buffer.length);
}

static void openBuffers(Model& model) {
    ResultBuffers& results = *model.results;
    results.runs = rows_listRuns(model);
    results.recordLength = SYSTEM_LENGTH;
    results.longestRow = 0;
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        openTable(model, table);
    }
    if (model.sinks & (SINK_FILE | SINK_DATABASE | SINK_MEMORY) && !model.error.code) {
        results.record = allocate<float>(model, results.recordLength);
    }
}

/// A database that would be written over what the project reads is one that can't be opened.
static void openDatabase(Model& model) {
    if (inputfiles_findUse(model, model.files.databaseName, true).empty()) {
        database_open(model);
        return;
    }
    messages_tell(model, "\n    Cannot open database file ");
    model.error.code = ERR_DATABASE_FILE;
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
        openDatabase(model);
    }
}

// --- means ---------------------------------------------------------------------------------------------------------

void results_accumulate(Model& model) {
    if (model.results->isReady) {
        rowpieces_addToSums(model);
        ++model.results->sumCount;
    }
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

/// Rows of a table in the record.
static const float* getRows(const Model& model, int32_t table) {
    return model.results->record + (table == SYSTEM_TABLE ? 0 : model.results->buffers[table].place);
}

static void writeToDatabase(Model& model) {
    const ResultBuffers& results = *model.results;
    database_writeRow(model, SYSTEM_TABLE, "", results.period, results.record, SYSTEM_LENGTH);
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const TableBuffer& buffer = results.buffers[table];
        const float* row = getRows(model, table);
        for (const RowRun& run : results.runs) {
            for (int32_t k = 0; run.table == table && buffer.count > 0 && k < run.count; ++k) {
                database_writeRow(model, table, rows_getName(model, table, run.first + k), results.period, row,
                                  buffer.length);
                row += buffer.length;
            }
        }
    }
    database_endReport(model);
}

static void keepInMemory(Model& model) {
    ResultBuffers& results = *model.results;
    results.kept[SYSTEM_TABLE].assign(results.record, results.record + SYSTEM_LENGTH);
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const TableBuffer& buffer = results.buffers[table];
        const float* const rows = getRows(model, table);
        results.kept[table].assign(rows, rows + static_cast<int64_t>(buffer.count) * buffer.length);
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
    const RowWeights weights{getWeight(model, model.clock.oldRoutingTime, model.clock.newRoutingTime),
                             getWeight(model, model.clock.oldRunoffTime, model.clock.newRunoffTime)};
    if (model.options.reportAverage) {
        rowpieces_makeMeans(model, date, weights);
    } else {
        rowpieces_makeRecord(model, date, weights);
    }
    if (model.sinks & SINK_FILE) {
        binary_writeRecord(model, date, model.results->record, model.results->recordLength);
    }
    if (model.sinks & SINK_DATABASE) {
        writeToDatabase(model);
    }
    if (model.sinks & SINK_MEMORY) {
        keepInMemory(model);
    }
}

void results_write(Model& model) {
    if (!model.results->isReady) {
        return;
    }
    const DateTime date = model_getDate(model, model.clock.reportTime);
    gage_setReportRain(model, date);
    if (model.results->record && hasSink(model)) {
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
    return sizeof(double) + static_cast<uint64_t>(model.results->recordLength) * sizeof(float);
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

void results_drop(Model& model) {
    results_releaseBuffers(model);
    binary_drop(model);
    database_drop(model);
}

void results_abandon(Model& model) {
    results_releaseBuffers(model);
    binary_leave(model);
    database_abandon(model);
}
