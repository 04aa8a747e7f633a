#pragma once
// Files of the program's own making, which take the place of older ones at once or not at all.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// Where the bytes of a file stand until they are whole: its name, followed through links, with ".part" behind it.
[[nodiscard]] std::string aside_getName(const std::string& name);

struct AsideFile;

/// Takes away what stands aside, if it hasn't been put in place.
struct AsideEnd {
    void operator()(AsideFile* file) const;
};
using AsideHandle = std::unique_ptr<AsideFile, AsideEnd>;

/// Begins a file that grows aside, where a killed program leaves what there is. None if it can't be done, which the
/// text tells.
[[nodiscard]] AsideHandle aside_begin(const std::string& name, std::string& failure);

/// Adds bytes. An empty text, or why it can't be done: then nothing of the file is left.
[[nodiscard]] std::string aside_append(AsideFile& file, const std::string& bytes);

/// Writes bytes at a place of the file, likewise.
[[nodiscard]] std::string aside_writeAt(AsideFile& file, uint64_t place, const void* bytes, size_t size);

/// Puts the file in place, whole and on the disk. An empty text, or why it can't be done, likewise.
[[nodiscard]] std::string aside_end(AsideFile& file);

/// Writes the bytes aside and puts them in place when they are whole and on the disk: until then, what stood there
/// stays. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_write(const std::string& name, const std::string& bytes);
