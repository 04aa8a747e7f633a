#pragma once
// The binary results file: written in one pass through one large buffer, little-endian on every machine.

#include <cstdint>
#include <cstdio>

extern std::FILE* BinFile;  ///< null while none is open

/// Makes the file of the project, or empties it, and writes all that stands ahead of the first record. Without a file
/// the functions below do nothing.
void binary_open();

/// Begins the record of a report at its date (days).
void binary_startRecord(double date);

/// Adds a row to the record.
void binary_writeRow(const float* row, int32_t length);

/// Writes the closing block, by which readers find the sections.
void binary_end(int32_t reportCount);

/// Closes the file, if one is open, and deletes it if it isn't to be kept.
void binary_close(bool isKept);
