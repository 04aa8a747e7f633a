#pragma once
// The folder platform: what depends on the operating system, and nothing else does. Here alone stand the `#ifdef`s for
// one. It uses the standard library and the system; it must know nothing of drainage, nor of texts beyond their bytes.
// A room is a handful of plain functions whose header looks the same on every system.
//
// Files and their names on this operating system.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

/// A file name in its parts. The folder keeps its separator at the end, the extension its point at the front.
struct PathParts {
    std::string drive;
    std::string folder;
    std::string base;
    std::string extension;
};

/// Cuts a file name into its parts: "X:" in front is the drive, '/' and '\' both end a folder, and the extension begins
/// at the last point of the last component.
[[nodiscard]] PathParts files_splitPath(const std::string& path);

/// Opens for reading, bytes as they are; null also for a directory, which some systems would open.
std::FILE* files_openForReading(const char* path);

/// Moves a file to a place, which may lie beyond 2 GiB.
void files_seek(std::FILE* file, int64_t position);

/// Bytes of an open file; below 0 if the system doesn't tell. Nothing may stand in a buffer of its stream.
[[nodiscard]] int64_t files_getSize(std::FILE* file);

/// Cuts a file open for writing to a length, and moves to its end. Nothing may stand in a buffer of its stream.
bool files_cut(std::FILE* file, int64_t length);

/// Deletes a file; a missing one is no failure.
bool files_delete(const char* path);

/// Whether something of this name is there, a file or a folder.
[[nodiscard]] bool files_exists(const std::string& path);

/// The file of the program that this process runs; empty if the system doesn't tell.
[[nodiscard]] std::string files_getProgramPath();

/// Reads a whole file; false if it can't be read. Throws without memory for it.
[[nodiscard]] bool files_readWhole(const std::string& path, std::vector<char>& bytes);

enum CopyResult : int32_t {
    COPY_DONE,
    COPY_EXISTS,  ///< there is a file of the new name; it was left alone
    COPY_FAILED   ///< nothing is left of the copy
};

/// Copies a file byte for byte to a new one, which nobody but the user may read.
[[nodiscard]] CopyResult files_copy(const std::string& source, const std::string& target);
