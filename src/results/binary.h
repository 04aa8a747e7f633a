#pragma once
// The binary results file: written in one pass through one large buffer, little-endian on every machine.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

struct Model;

/// The file of a run. Of a place beyond 4 GiB the low 32 bits are stored, so such a file has no valid directory.
struct BinaryResults {
    std::FILE* file;                 ///< null while none is open
    std::unique_ptr<char[]> buffer;  ///< bytes on their way to the file
    size_t bufferFilled;
    uint64_t written;                                              ///< bytes that have left the buffer
    bool hasFailed;                                                ///< some write since the last test
    uint32_t namesOffset, codesOffset, dateOffset, resultsOffset;  ///< where the sections begin
};

/// Makes the file of the project, or empties it, and writes all that stands ahead of the first record. Without a file
/// the functions below do nothing.
void binary_open(Model& model);

/// Begins the record of a report at its date (days).
void binary_startRecord(Model& model, double date);

/// Adds a row to the record.
void binary_writeRow(Model& model, const float* row, int32_t length);

/// Writes the closing block, by which readers find the sections.
void binary_end(Model& model, int32_t reportCount);

/// Closes the file, if one is open, and deletes it if it isn't to be kept.
void binary_close(Model& model, bool isKept);
