#pragma once
// Files of the program's own making, which take the place of older ones at once or not at all.

#include <cstddef>
#include <cstdint>
#include <string>

/// Where the bytes of a file stand until they are whole: its name, followed through links, with ".part" behind it.
[[nodiscard]] std::string aside_getName(const std::string& name);

/// Writes the bytes aside and puts them in place when they are whole and on the disk: until then, what stood there
/// stays. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_write(const std::string& name, const std::string& bytes);

/// A file that is written aside piece by piece. Unless it is settled it goes with its owner.
struct AsideFile {
    std::string name;    ///< as it was given
    std::string target;  ///< behind all links
    std::string aside;
    int descriptor = -1;
    int lock = -1;  ///< held until the file has its name

    AsideFile() = default;
    ~AsideFile();
    AsideFile(const AsideFile&) = delete;
    AsideFile& operator=(const AsideFile&) = delete;
};

/// Begins an empty file aside. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_begin(AsideFile& file, const std::string& name);

/// Writes bytes at a place; an empty text, or why it can't be done.
[[nodiscard]] std::string aside_writeAt(AsideFile& file, uint64_t place, const void* bytes, size_t size);

/// Puts the file in place; an empty text, or why it can't be done.
[[nodiscard]] std::string aside_settle(AsideFile& file);
