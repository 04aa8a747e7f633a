// The binary results file: head, names, codes of the columns, dates, one record of fixed length per report, and a
// closing block at the very end from which a reader finds the sections. The layout is told in the manual.
//
// Writes that fail, as on a full disk, are noticed at two places only, behind the head and behind the closing block: at
// each of them the buffer is written out, and one failure since the last test makes one error. The run goes on.

#include "results/binary.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

#include "model/errors.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "platform/files.h"
#include "results/rows.h"

static constexpr uint32_t MAGIC_NUMBER = 516114522;
static constexpr uint32_t FORMAT_VERSION = 21000;
static constexpr size_t BUFFER_SIZE = size_t{1} << 20;
static constexpr size_t LARGE_SIZE = size_t{1} << 16;  ///< which is better written as it stands

// --- buffer --------------------------------------------------------------------------------------------------------

static void writeOut(BinaryResults& out, const void* bytes, size_t size) {
    if (size > 0 && std::fwrite(bytes, 1, size, out.file) != size) {
        out.hasFailed = true;
    }
    out.written += size;
}

static void flushBuffer(BinaryResults& out) {
    writeOut(out, out.buffer.get(), out.bufferFilled);
    out.bufferFilled = 0;
}

/// Large pieces don't go through the buffer.
static void writeBytes(BinaryResults& out, const void* bytes, size_t size) {
    const bool isLarge = size >= LARGE_SIZE;
    if (isLarge || size > BUFFER_SIZE - out.bufferFilled) {
        flushBuffer(out);
    }
    if (isLarge) {
        writeOut(out, bytes, size);
        return;
    }
    std::memcpy(out.buffer.get() + out.bufferFilled, bytes, size);
    out.bufferFilled += size;
}

/// Writes an integer, the lowest byte first.
template <class Integer>
static void writeInteger(BinaryResults& out, Integer value) {
    unsigned char bytes[sizeof value];
    for (size_t k = 0; k < sizeof value; ++k) {
        bytes[k] = static_cast<unsigned char>(value >> (8 * k));
    }
    writeBytes(out, bytes, sizeof bytes);
}

static void writeCount(BinaryResults& out, int32_t count) {
    writeInteger(out, static_cast<uint32_t>(count));
}

static uint32_t getPosition(BinaryResults& out) {
    return static_cast<uint32_t>(out.written + out.bufferFilled);
}

/// Writes out the buffer; a write that failed since the last test is told once. True if all went well.
static bool testWrites(Model& model) {
    BinaryResults& out = *model.binary;
    flushBuffer(out);
    const bool isWell = !out.hasFailed;
    out.hasFailed = false;
    if (!isWell) {
        errors_report(model, ERR_RESULTS_WRITE, "");
    }
    return isWell;
}

// --- sections ahead of the records ---------------------------------------------------------------------------------

static void writeHead(Model& model) {
    BinaryResults& out = *model.binary;
    writeInteger(out, MAGIC_NUMBER);
    writeInteger(out, FORMAT_VERSION);
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        writeCount(out, rows_getObjectCount(model, table));
    }
    writeCount(out, model_pollutantCount(model));
}

/// Writes a name as its bytes stand in the project file.
static void writeName(BinaryResults& out, const char* name) {
    const size_t size = std::strlen(name) + 1;
    writeInteger(out, static_cast<uint32_t>(size));
    writeBytes(out, name, size);
}

static void writeNames(Model& model) {
    BinaryResults& out = *model.binary;
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const int32_t classSize = rows_getObjectCount(model, table) > 0 ? rows_getClassSize(model, table) : 0;
        for (int32_t k = 0; k < classSize; ++k) {
            if (rows_holds(model, table, k)) {
                writeName(out, rows_getName(model, table, k));
            }
        }
    }
    for (const Pollut& pollutant : model.polluts) {
        writeName(out, pollutant.id ? pollutant.id : "");
    }
}

/// The code of a column is its place in the row.
static void writeCodes(Model& model) {
    BinaryResults& out = *model.binary;
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        const int32_t length = rows_getLength(model, table);
        writeCount(out, length);
        for (int32_t code = 0; code < length; ++code) {
            writeCount(out, code);
        }
    }
}

void binary_open(Model& model) {
    BinaryResults& out = *model.binary;
    if (out.file) {
        std::fclose(out.file);
    }
    out = {};
    out.buffer = std::make_unique_for_overwrite<char[]>(BUFFER_SIZE);
    out.file = std::fopen(model.files.resultsName.c_str(), "w+b");
    if (!out.file) {
        messages_tell(model, "\n    Cannot open output file ");
        model.error.code = ERR_RESULTS_FILE;
        return;
    }
    std::setvbuf(out.file, nullptr, _IONBF, 0);
    writeHead(model);
    out.namesOffset = getPosition(out);
    writeNames(model);
    out.codesOffset = getPosition(out);
    writeCodes(model);
    out.dateOffset = getPosition(out);
    writeInteger(out, std::bit_cast<uint64_t>(model.options.startDateTime));
    writeCount(out, model.options.reportStep);
    if (testWrites(model)) {
        out.resultsOffset = getPosition(out);
    }
    out.runs.push_back({1, out.written + out.bufferFilled});
}

// --- records and end -----------------------------------------------------------------------------------------------

void binary_writeRecord(Model& model, double date, const float* values, int64_t count) {
    BinaryResults& out = *model.binary;
    if (!out.file) {
        return;
    }
    writeInteger(out, std::bit_cast<uint64_t>(date));
    if constexpr (std::endian::native == std::endian::little) {
        writeBytes(out, values, static_cast<size_t>(count) * sizeof(float));
    } else {
        for (int64_t k = 0; k < count; ++k) {
            writeInteger(out, std::bit_cast<uint32_t>(values[k]));
        }
    }
}

void binary_reserveTakeBack(Model& model) {
    model.binary->runs.reserve(model.binary->runs.size() + 1);
}

/// Records from the place of one run to that of the next.
static int32_t countRecords(uint64_t from, uint64_t to, uint64_t recordSize) {
    return static_cast<int32_t>((to - from) / recordSize);
}

void binary_takeBack(Model& model, int32_t period, uint64_t recordSize) {
    BinaryResults& out = *model.binary;
    if (!out.file || out.runs.empty()) {
        return;
    }
    flushBuffer(out);
    uint64_t end = out.written;
    for (; out.runs.size() > 1 && out.runs.back().period >= period; out.runs.pop_back()) {
        end = out.runs.back().offset;
    }
    const RecordRun last = out.runs.back();
    end = std::min(end, last.offset + static_cast<uint64_t>(period - last.period) * recordSize);
    if (!files_cut(out.file, static_cast<int64_t>(end))) {
        out.hasFailed = true;
    }
    out.written = end;
    if (last.period + countRecords(last.offset, end, recordSize) != period) {
        out.runs.push_back({period, end});
    }
    out.missingCount = period - 1 - countRecords(out.runs.front().offset, end, recordSize);
}

void binary_end(Model& model, int32_t periodCount) {
    BinaryResults& out = *model.binary;
    if (!out.file) {
        return;
    }
    writeInteger(out, out.namesOffset);
    writeInteger(out, out.codesOffset);
    writeInteger(out, out.dateOffset);
    writeInteger(out, out.resultsOffset);
    writeCount(out, periodCount - out.missingCount);
    writeCount(out, errors_getPublicCode(model.error.code));
    writeInteger(out, MAGIC_NUMBER);
    testWrites(model);
}

void binary_close(Model& model, bool isKept) {
    BinaryResults& out = *model.binary;
    if (!out.file) {
        return;
    }
    flushBuffer(out);
    std::fclose(out.file);
    out = {};
    if (!isKept) {
        files_delete(model.files.resultsName.c_str());
    }
}
