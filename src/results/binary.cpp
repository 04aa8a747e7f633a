// The binary results file: head, names, codes of the columns, dates, one record of fixed length per report, and a
// closing block at the very end from which a reader finds the sections. The layout is in the manual.
//
// Writes that fail, as on a full disk, are noticed after the head and after the closing block: at each of them the
// buffer is written out, and one failure since the last test makes one error. The run goes on. Only of a file that is
// written aside a lost record ends the run at once: it is never put in place, but cut after its last whole record and
// closed there, so that what the run had done until then can still be read.

#include "results/binary.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

#include "model/errors.h"
#include "model/inputfiles.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "platform/files.h"
#include "results/identity.h"
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

/// Opens the file, or tells that it can't be.
static bool openFile(Model& model) {
    BinaryResults& out = *model.binary;
    const std::string& name = model.files.resultsName;
    OutputFault fault = OUTPUT_NOT_OPEN;
    if (inputfiles_findUse(model, name, false).empty()) {
        out.file = outputs_open(out.place, name, model.log != nullptr, fault);
    }
    if (out.file && !outputs_empty(out.place, out.file)) {
        outputs_leave(out.place, out.file);
    }
    if (out.file) {
        if (out.place.written == out.place.target) {
            identity_removeBeside(out.place.target);  // nothing is written in place that would belong to these results
        }
        return true;
    }
    messages_tell(model, "\n    Cannot open output file ");
    messages_addFault(model, ERR_RESULTS_FILE, name + ": " + outputs_describe(fault, out.place.reason));
    model.error.code = ERR_RESULTS_FILE;
    return false;
}

void binary_open(Model& model) {
    BinaryResults& out = *model.binary;
    binary_leave(model);
    out.buffer = std::make_unique_for_overwrite<char[]>(BUFFER_SIZE);
    if (!openFile(model)) {
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

// --- a file that lacks records -------------------------------------------------------------------------------------

/// A record or the closing block of a file aside is lost: the run is told of it once.
static void loseRecords(Model& model) {
    BinaryResults& out = *model.binary;
    out.hasFailed = false;
    if (!out.isLost) {
        out.isLost = true;
        messages_setDetail(model, (" (" + model.files.resultsName + ")").c_str());
        errors_report(model, ERR_RESULTS_WRITE, "");
    }
}

static void writeClosingBlock(Model& model, int32_t recordCount) {
    BinaryResults& out = *model.binary;
    writeInteger(out, out.namesOffset);
    writeInteger(out, out.codesOffset);
    writeInteger(out, out.dateOffset);
    writeInteger(out, out.resultsOffset);
    writeCount(out, recordCount);
    writeCount(out, errors_getPublicCode(model.error.code));
    writeInteger(out, MAGIC_NUMBER);
    flushBuffer(out);
}

/// Closes the file after the last record for which there is room, the closing block included. False if there isn't a
/// single one.
static bool closeBehindWholeRecords(Model& model) {
    BinaryResults& out = *model.binary;
    const int64_t size = files_getSize(out.file);
    const uint64_t first = out.runs.empty() ? 0 : out.runs.front().offset;
    if (size < 0 || out.recordSize == 0 || static_cast<uint64_t>(size) < first) {
        return false;
    }
    for (uint64_t count = (static_cast<uint64_t>(size) - first) / out.recordSize; count > 0; --count) {
        out.bufferFilled = 0;
        out.hasFailed = !files_cut(out.file, static_cast<int64_t>(first + count * out.recordSize));
        writeClosingBlock(model, static_cast<int32_t>(count));
        if (!out.hasFailed && std::fflush(out.file) == 0) {
            return true;
        }
        std::clearerr(out.file);
    }
    return false;
}

/// Leaves aside what there is of a file that lacks records, and says so.
static void keepAside(Model& model) {
    BinaryResults& out = *model.binary;
    if (!closeBehindWholeRecords(model)) {
        outputs_drop(out.place, out.file);
        return;
    }
    const std::string text = "the periods that could be written stand in " + out.place.written;
    outputs_leave(out.place, out.file);
    messages_addInfo(model, text.c_str());
}

// --- records and end -----------------------------------------------------------------------------------------------

void binary_writeRecord(Model& model, double date, const float* values, int64_t count) {
    BinaryResults& out = *model.binary;
    if (!out.file) {
        return;
    }
    out.recordSize = sizeof date + static_cast<uint64_t>(count) * sizeof(float);
    writeInteger(out, std::bit_cast<uint64_t>(date));
    if constexpr (std::endian::native == std::endian::little) {
        writeBytes(out, values, static_cast<size_t>(count) * sizeof(float));
    } else {
        for (int64_t k = 0; k < count; ++k) {
            writeInteger(out, std::bit_cast<uint32_t>(values[k]));
        }
    }
    if (out.hasFailed && model.log) {
        loseRecords(model);
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

/// Whether the file belongs to a process of which this one was forked.
static bool isForeign(const BinaryResults& out) {
    return out.file && out.place.process != outputs_getProcess();
}

void binary_end(Model& model, int32_t periodCount) {
    BinaryResults& out = *model.binary;
    if (!out.file || isForeign(out)) {
        return;
    }
    if (out.isLost) {
        return;
    }
    writeClosingBlock(model, periodCount - out.missingCount);
    if (model.log && out.hasFailed) {
        loseRecords(model);
    } else {
        testWrites(model);
    }
}

/// Puts a file aside in place. Of one that is written in place, nobody asks any more.
static void finish(Model& model) {
    BinaryResults& out = *model.binary;
    const std::string written = out.place.written, target = out.place.target;
    const bool isAside = written != out.place.target;
    if (isAside) {
        identity_removeBeside(target);
    }
    const OutputFault fault = outputs_finish(out.place, out.file);
    if (fault == OUTPUT_FINE && isAside) {
        identity_writeBeside(model, target);
    }
    if (fault == OUTPUT_FINE || !model.log) {
        return;
    }
    std::string detail = model.files.resultsName + ": " + outputs_describe(fault, out.place.reason);
    if (fault == OUTPUT_NOT_OPEN || fault == OUTPUT_IN_USE) {
        detail += "; the results stand in " + written;
    }
    messages_setDetail(model, (" (" + detail + ")").c_str());
    errors_report(model, ERR_RESULTS_WRITE, "");
}

void binary_close(Model& model, bool isKept) {
    BinaryResults& out = *model.binary;
    if (!out.file) {
        return;
    }
    if (isForeign(out)) {
        binary_leave(model);
        return;
    }
    flushBuffer(out);
    if (out.isLost) {
        keepAside(model);
    } else if (isKept) {
        finish(model);
    } else {
        outputs_drop(out.place, out.file);
    }
    out = {};
}

void binary_drop(Model& model) {
    outputs_drop(model.binary->place, model.binary->file);
    *model.binary = {};
}

void binary_leave(Model& model) {
    BinaryResults& out = *model.binary;
    if (out.file && !isForeign(out)) {
        flushBuffer(out);
    }
    outputs_leave(out.place, out.file);
    out = {};
}
