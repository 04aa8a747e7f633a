// The binary results file: head, names, codes of the columns, dates, one record of fixed length per report, and a
// closing block at the very end from which a reader finds the sections. The layout is told in the manual.
//
// Writes that fail, as on a full disk, are noticed at two places only, behind the head and behind the closing block: at
// each of them the buffer is written out, and one failure since the last test makes one error. The run goes on.

#include "results/binary.h"

#include <bit>
#include <cstring>

#include "model/errors.h"
#include "model/pollut.h"
#include "model/project.h"
#include "platform/console.h"
#include "platform/files.h"
#include "results/rows.h"

std::FILE* BinFile = nullptr;

static constexpr uint32_t MAGIC_NUMBER = 516114522;
static constexpr uint32_t FORMAT_VERSION = 21000;
static constexpr size_t BUFFER_SIZE = size_t{1} << 20;

static char Buffer[BUFFER_SIZE];
static size_t BufferFilled = 0;
static uint64_t Written = 0;    ///< bytes that have left the buffer
static bool HasFailed = false;  ///< some write since the last test

/// Where the sections begin. Of a place beyond 4 GiB the low 32 bits are stored, so such a file has no valid directory.
static uint32_t NamesOffset, CodesOffset, DateOffset, ResultsOffset;

// --- buffer --------------------------------------------------------------------------------------------------------

static void flushBuffer() {
    if (BufferFilled > 0 && std::fwrite(Buffer, 1, BufferFilled, BinFile) != BufferFilled) {
        HasFailed = true;
    }
    Written += BufferFilled;
    BufferFilled = 0;
}

static void writeBytes(const void* bytes, size_t size) {
    const char* from = static_cast<const char*>(bytes);
    while (size > BUFFER_SIZE - BufferFilled) {
        const size_t part = BUFFER_SIZE - BufferFilled;
        std::memcpy(Buffer + BufferFilled, from, part);
        BufferFilled = BUFFER_SIZE;
        flushBuffer();
        from += part;
        size -= part;
    }
    std::memcpy(Buffer + BufferFilled, from, size);
    BufferFilled += size;
}

/// Writes an integer, the lowest byte first.
template <class Integer>
static void writeInteger(Integer value) {
    unsigned char bytes[sizeof value];
    for (size_t k = 0; k < sizeof value; ++k) {
        bytes[k] = static_cast<unsigned char>(value >> (8 * k));
    }
    writeBytes(bytes, sizeof bytes);
}

static void writeCount(int32_t count) {
    writeInteger(static_cast<uint32_t>(count));
}

static uint32_t getPosition() {
    return static_cast<uint32_t>(Written + BufferFilled);
}

/// Writes out the buffer; a write that failed since the last test is told once. True if all went well.
static bool testWrites() {
    flushBuffer();
    const bool isWell = !HasFailed;
    HasFailed = false;
    if (!isWell) {
        errors_report(ERR_RESULTS_WRITE, "");
    }
    return isWell;
}

// --- sections ahead of the records ---------------------------------------------------------------------------------

static void writeHead() {
    writeInteger(MAGIC_NUMBER);
    writeInteger(FORMAT_VERSION);
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        writeCount(rows_getObjectCount(table));
    }
    writeCount(project_pollutantCount());
}

/// Writes a name as its bytes stand in the project file.
static void writeName(const char* name) {
    const size_t size = std::strlen(name) + 1;
    writeInteger(static_cast<uint32_t>(size));
    writeBytes(name, size);
}

static void writeNames() {
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        const int32_t classSize = rows_getObjectCount(table) > 0 ? rows_getClassSize(table) : 0;
        for (int32_t k = 0; k < classSize; ++k) {
            if (rows_holds(table, k)) {
                writeName(rows_getName(table, k));
            }
        }
    }
    for (const Pollut& pollutant : Polluts) {
        writeName(pollutant.id ? pollutant.id : "");
    }
}

/// The code of a column is its place in the row.
static void writeCodes() {
    for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
        const int32_t length = rows_getLength(table);
        writeCount(length);
        for (int32_t code = 0; code < length; ++code) {
            writeCount(code);
        }
    }
}

void binary_open() {
    if (BinFile) {
        std::fclose(BinFile);
    }
    BufferFilled = 0;
    Written = 0;
    HasFailed = false;
    NamesOffset = CodesOffset = DateOffset = ResultsOffset = 0;
    BinFile = std::fopen(ResultsFileName.c_str(), "w+b");
    if (!BinFile) {
        console_write("\n    Cannot open output file ");
        ErrorCode = ERR_RESULTS_FILE;
        return;
    }
    std::setvbuf(BinFile, nullptr, _IONBF, 0);
    writeHead();
    NamesOffset = getPosition();
    writeNames();
    CodesOffset = getPosition();
    writeCodes();
    DateOffset = getPosition();
    writeInteger(std::bit_cast<uint64_t>(StartDateTime));
    writeCount(ReportStep);
    if (testWrites()) {
        ResultsOffset = getPosition();
    }
}

// --- records and end -----------------------------------------------------------------------------------------------

void binary_startRecord(double date) {
    if (BinFile) {
        writeInteger(std::bit_cast<uint64_t>(date));
    }
}

void binary_writeRow(const float* row, int32_t length) {
    if (!BinFile) {
        return;
    }
    if constexpr (std::endian::native == std::endian::little) {
        writeBytes(row, static_cast<size_t>(length) * sizeof(float));
    } else {
        for (int32_t k = 0; k < length; ++k) {
            writeInteger(std::bit_cast<uint32_t>(row[k]));
        }
    }
}

void binary_end(int32_t reportCount) {
    if (!BinFile) {
        return;
    }
    writeInteger(NamesOffset);
    writeInteger(CodesOffset);
    writeInteger(DateOffset);
    writeInteger(ResultsOffset);
    writeCount(reportCount);
    writeCount(errors_getPublicCode(ErrorCode));
    writeInteger(MAGIC_NUMBER);
    testWrites();
}

void binary_close(bool isKept) {
    if (!BinFile) {
        return;
    }
    flushBuffer();
    std::fclose(BinFile);
    BinFile = nullptr;
    if (!isKept) {
        files_delete(ResultsFileName.c_str());
    }
}
