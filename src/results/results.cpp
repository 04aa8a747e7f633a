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

#include "hydrology/gage.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "results/binary.h"
#include "results/database.h"
#include "results/rows.h"
#include "results/systemrow.h"

static constexpr int32_t SAVE_TO_FILE = 1;
static constexpr int32_t SAVE_TO_DATABASE = 2;

int32_t ResultSumCount = 0;

/// Memory of one table, from a start to the next or to the close. What the machine's memory can't hold is null, and the
/// rows that need it are left out.
struct TableBuffer {
    int32_t* objects;  ///< indices of its objects, in the order of their class
    float* row;
    float* sums;  ///< rows added up since the last report, one per object
    int32_t count;
    int32_t length;
};

static TableBuffer Buffers[RESULT_TABLE_COUNT];
static bool IsReady = false;
static int32_t Period = 1;  ///< number of the next report

// --- open ----------------------------------------------------------------------------------------------------------

template <class T>
static T* allocate(int64_t count) {
    T* memory = arena_allocateArray<T>(ResultArena, count);
    if (!memory) {
        errors_report(ERR_MEMORY, "");
    }
    return memory;
}

static void listObjects(int32_t table) {
    TableBuffer& buffer = Buffers[table];
    buffer.objects = allocate<int32_t>(buffer.count);
    if (!buffer.objects) {
        return;
    }
    const int32_t classSize = rows_getClassSize(table);
    int32_t filled = 0;
    for (int32_t k = 0; k < classSize && filled < buffer.count; ++k) {
        if (rows_holds(table, k)) {
            buffer.objects[filled++] = k;
        }
    }
    buffer.count = filled;
}

void results_releaseBuffers() {
    IsReady = false;
    for (TableBuffer& buffer : Buffers) {
        buffer = TableBuffer{};
    }
}

static void openBuffers() {
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        TableBuffer& buffer = Buffers[table];
        buffer.length = rows_getLength(table);
        buffer.count = rows_getObjectCount(table);
        buffer.row = allocate<float>(buffer.length);
        if (buffer.count == 0) {
            continue;
        }
        listObjects(table);
        if (table != SUBCATCH_TABLE) {
            buffer.sums = allocate<float>(static_cast<int64_t>(buffer.count) * buffer.length);
        }
    }
}

void results_open() {
    results_releaseBuffers();
    if (ErrorCode) {
        return;
    }
    openBuffers();
    ResultSumCount = 0;
    Period = 1;
    IsReady = true;
    if (SaveMode == SAVE_TO_FILE) {
        binary_open();
    } else if (SaveMode == SAVE_TO_DATABASE) {
        database_open();
    }
}

// --- means ---------------------------------------------------------------------------------------------------------

static bool hasSums(const TableBuffer& buffer) {
    return buffer.objects && buffer.row && buffer.sums;
}

void results_accumulate() {
    if (!IsReady) {
        return;
    }
    for (int32_t table = JUNCTION_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const TableBuffer& buffer = Buffers[table];
        if (!hasSums(buffer)) {
            continue;
        }
        float* sums = buffer.sums;
        for (int32_t k = 0; k < buffer.count; ++k) {
            rows_fetchAhead(RowTables[table].objectType, buffer.objects, buffer.count, k);
            rows_fill(table, buffer.objects[k], 1.0, buffer.row);
            for (int32_t c = 0; c < buffer.length; ++c) {
                sums[c] += buffer.row[c];
            }
            sums += buffer.length;
        }
    }
    ++ResultSumCount;
}

static void clearSums() {
    for (const TableBuffer& buffer : Buffers) {
        if (buffer.sums) {
            std::fill_n(buffer.sums, static_cast<int64_t>(buffer.count) * buffer.length, 0.0f);
        }
    }
    ResultSumCount = 0;
}

// --- write ---------------------------------------------------------------------------------------------------------

static void writeRow(int32_t table, int32_t object, const float* row, int32_t length) {
    if (SaveMode == SAVE_TO_FILE) {
        binary_writeRow(row, length);
    } else {
        database_writeRow(table, rows_getName(table, object), Period, row, length);
    }
}

/// Rows of a table at the report time.
static void writeRows(int32_t table, double f) {
    const TableBuffer& buffer = Buffers[table];
    if (!buffer.objects || !buffer.row) {
        return;
    }
    for (int32_t k = 0; k < buffer.count; ++k) {
        const int32_t object = buffer.objects[k];
        rows_fetchAhead(RowTables[table].objectType, buffer.objects, buffer.count, k);
        rows_fill(table, object, f, buffer.row);
        writeRow(table, object, buffer.row, buffer.length);
    }
}

/// Means of a table over the period. A period without a step gives what 0 / 0 is.
static void writeMeans(int32_t table) {
    const TableBuffer& buffer = Buffers[table];
    if (!hasSums(buffer)) {
        return;
    }
    const float count = static_cast<float>(ResultSumCount);
    const float* sums = buffer.sums;
    for (int32_t k = 0; k < buffer.count; ++k) {
        for (int32_t c = 0; c < buffer.length; ++c) {
            buffer.row[c] = sums[c] / count;
        }
        writeRow(table, buffer.objects[k], buffer.row, buffer.length);
        sums += buffer.length;
    }
}

static bool hasSink() {
    return (SaveMode == SAVE_TO_FILE && BinFile) || (SaveMode == SAVE_TO_DATABASE && DbHandle);
}

static double getWeight(double older, double newer) {
    return (ReportTime - older) / (newer - older);
}

static void writeReport(DateTime date) {
    const double networkFactor = getWeight(OldRoutingTime, NewRoutingTime);
    const double landFactor = getWeight(OldRunoffTime, NewRunoffTime);
    if (SaveMode == SAVE_TO_FILE) {
        binary_startRecord(date);
    }
    float system[SYSTEM_LENGTH];
    systemrow_fill(date, networkFactor, landFactor, system);
    writeRow(SYSTEM_TABLE, 0, system, SYSTEM_LENGTH);
    writeRows(SUBCATCH_TABLE, landFactor);
    for (int32_t table = JUNCTION_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        if (ReportAverage) {
            writeMeans(table);
        } else {
            writeRows(table, networkFactor);
        }
    }
}

void results_write() {
    if (!IsReady) {
        return;
    }
    const DateTime date = project_getDate(ReportTime);
    gage_setReportRain(date);
    if (hasSink()) {
        writeReport(date);
    }
    if (ReportAverage) {
        clearSums();
    }
    ++Period;
}

// --- end and close -------------------------------------------------------------------------------------------------

void results_end() {
    binary_end(Period - 1);
}

void results_close() {
    results_releaseBuffers();
    binary_close(SaveMode == SAVE_TO_FILE);
    database_close(SaveMode == SAVE_TO_DATABASE);
}

void results_abandon() {
    results_releaseBuffers();
    binary_close(true);
    database_abandon();
}
