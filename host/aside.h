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

/// A file on its way that is too large for memory, that grows as a run goes on, or that a library writes by its name.
/// What isn't ended is taken back; a program that is killed leaves what there is.
struct AsideFile {
    std::string name;    ///< as the user has it
    std::string target;  ///< where links of that name lead
    std::string aside;   ///< where it is written; empty if nothing is on its way
    int file = -1;       ///< open for writing
    int lock = -1;       ///< held till the file has its name

    AsideFile() = default;
    ~AsideFile();
    AsideFile(AsideFile&& other) noexcept;
    AsideFile(const AsideFile&) = delete;
    AsideFile& operator=(const AsideFile&) = delete;
};

/// Opens an empty file aside. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_begin(AsideFile& aside, const std::string& name);

/// Adds bytes. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_append(AsideFile& aside, const std::string& bytes);

/// Writes bytes at a place of the file, likewise.
[[nodiscard]] std::string aside_writeAt(AsideFile& aside, uint64_t place, const void* bytes, size_t size);

/// Puts the file in place, once its bytes are on the disk. An empty text, or why it can't be done.
[[nodiscard]] std::string aside_end(AsideFile& aside);
