#pragma once
// What the program asks of the system beyond the standard library, by the names that POSIX has for it. Where the system
// is no POSIX one, posix.cpp does the same by its own means; names of files are UTF-8 there too, by the manifest of the
// program (tarnvelde.manifest).

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#if defined(_WIN32)

constexpr int O_CLOEXEC = O_NOINHERIT | O_BINARY;  ///< and no text with other ends of lines
constexpr int O_NOFOLLOW = 0, O_NONBLOCK = 0;      ///< nothing waits, and links need rights that users don't have
constexpr int LOCK_EX = 2, LOCK_NB = 4;            ///< the only lock that is asked for

/// With errno, as POSIX has them.
[[nodiscard]] ssize_t pread(int file, void* bytes, size_t size, off_t place);
[[nodiscard]] ssize_t pwrite(int file, const void* bytes, size_t size, off_t place);
[[nodiscard]] int flock(int file, int kind);
[[nodiscard]] int fsync(int file);

#else

#include <sys/file.h>

#endif

/// As open(), of a file that may get another name while it is open.
[[nodiscard]] int posix_open(const std::string& name, int flags, int mode = 0);

/// As write() and rename(), which takes the place of a file that is there.
[[nodiscard]] ssize_t posix_write(int file, const void* bytes, size_t size);
[[nodiscard]] int posix_rename(const std::string& from, const std::string& to);

/// A second descriptor of a file.
[[nodiscard]] int posix_duplicate(int file);

/// Whether the open file is a plain one that is known by this name alone, and stands there still.
[[nodiscard]] bool posix_isOnlyHere(int file, const std::string& name);

/// Gives an open file the access that a file has which is there, or any new file.
[[nodiscard]] bool posix_takeMode(int file, const std::string& name);

/// Brings the names in a folder to the disk. Where folders can't be brought there, they need not.
[[nodiscard]] bool posix_syncFolder(const std::string& folder);

/// Bytes of an open file; below 0 if the system doesn't say.
[[nodiscard]] int64_t posix_getSize(int file);

/// Whether the first file was written before the second; also if one of them isn't there.
[[nodiscard]] bool posix_isOlder(const std::string& first, const std::string& second);

/// What a function writes to a stream into memory; empty without memory for it.
[[nodiscard]] std::string posix_catchText(const std::function<void(std::FILE*)>& write);

/// Makes a folder whose name nobody has, out of one that ends with XXXXXX; false if it can't be made.
[[nodiscard]] bool posix_makeFolder(std::string& name);

/// The file of this program; empty if the system doesn't say.
[[nodiscard]] std::string posix_getProgram();
