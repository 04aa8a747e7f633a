#pragma once
// The binary results file: written in one pass, small pieces through one large buffer, little-endian on every machine.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "platform/outputs.h"

struct Model;

/// Records of consecutive periods in the file, up to the next run of them.
struct RecordRun {
    int32_t period;   ///< of the first
    uint64_t offset;  ///< where it begins
};

/// The file of a run. Of a place beyond 4 GiB the low 32 bits are stored, so such a file has no valid directory.
struct BinaryResults {
    std::FILE* file;  ///< null while none is open
    OutputPlace place;
    std::unique_ptr<char[]> buffer;  ///< bytes on their way to the file
    size_t bufferFilled;
    uint64_t written;                                              ///< bytes that have left the buffer
    bool hasFailed;                                                ///< some write since the last test
    bool isLost;                                                   ///< a file aside that lacks records
    uint64_t recordSize;                                           ///< bytes
    uint32_t namesOffset, codesOffset, dateOffset, resultsOffset;  ///< where the sections begin
    std::vector<RecordRun> runs;                                   ///< of all records; mostly one, from period 1 on
    int32_t missingCount;                                          ///< periods ahead of the next record that have none
};

/// Makes the file of the project, or empties it, and writes all that stands ahead of the first record. Without a file
/// the functions below do nothing. For a host of models it is written aside, and put in place by the close.
void binary_open(Model& model);

/// Adds the record of a report: its date (days), and so many values.
void binary_writeRecord(Model& model, double date, const float* values, int64_t count);

/// Takes back the records of a period and of all later ones, each of `recordSize` bytes; the next record will be that
/// of this period. The memory for it is asked for ahead, which throws without.
void binary_reserveTakeBack(Model& model);
void binary_takeBack(Model& model, int32_t period, uint64_t recordSize);

/// Writes the closing block, by which readers find the sections.
void binary_end(Model& model, int32_t periodCount);

/// Closes the file, if one is open, and deletes it if it isn't to be kept. One that lacks records stays aside, closed
/// after its last whole one.
void binary_close(Model& model, bool isKept);

/// Closes the file and leaves nothing of it; of what stands in its place, nothing is touched.
void binary_drop(Model& model);

/// Closes the file as it stands.
void binary_leave(Model& model);
