// The system behind files of the program's own making. On Windows a descriptor is opened so that its file can get
// another name meanwhile; a lock is one of a byte that no file has, so that it keeps nobody from reading.

#include "posix.h"

#include <cerrno>
#include <cstdio>

#if defined(_WIN32)

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <memory>

namespace {

constexpr size_t MOST_BYTES = size_t{1} << 30;  ///< of a call
constexpr DWORD LOCKED_HIGH = 0x7FFFFFFF;       ///< where the byte is

HANDLE getHandle(int file) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(file));
}

int tellError() {
    switch (GetLastError()) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME: return ENOENT;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION: return EACCES;
        case ERROR_HANDLE_DISK_FULL:
        case ERROR_DISK_FULL: return ENOSPC;
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS: return EEXIST;
        case ERROR_NOT_ENOUGH_MEMORY: return ENOMEM;
        default: return EIO;
    }
}

int fail() {
    errno = tellError();
    return -1;
}

OVERLAPPED makePlace(off_t place) {
    OVERLAPPED where{};
    where.Offset = static_cast<DWORD>(static_cast<uint64_t>(place));
    where.OffsetHigh = static_cast<DWORD>(static_cast<uint64_t>(place) >> 32);
    return where;
}

std::wstring widen(const std::string& name) {
    const int length = MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, nullptr, 0);
    std::wstring wide(static_cast<size_t>(std::max(length, 1)), L'\0');
    MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, wide.data(), length);
    wide.pop_back();
    return wide;
}

/// What the system knows of a file; false if there is none.
bool look(const std::string& name, BY_HANDLE_FILE_INFORMATION& known) {
    const HANDLE file =
        CreateFileW(widen(name).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    const bool isKnown = file != INVALID_HANDLE_VALUE && GetFileInformationByHandle(file, &known) != 0;
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
    return isKnown;
}

}  // namespace

ssize_t pread(int file, void* bytes, size_t size, off_t place) {
    OVERLAPPED where = makePlace(place);
    DWORD count = 0;
    const BOOL isRead =
        ReadFile(getHandle(file), bytes, static_cast<DWORD>(std::min(size, MOST_BYTES)), &count, &where);
    return isRead != 0 || GetLastError() == ERROR_HANDLE_EOF ? static_cast<ssize_t>(count) : fail();
}

ssize_t pwrite(int file, const void* bytes, size_t size, off_t place) {
    OVERLAPPED where = makePlace(place);
    DWORD count = 0;
    const BOOL isWritten =
        WriteFile(getHandle(file), bytes, static_cast<DWORD>(std::min(size, MOST_BYTES)), &count, &where);
    return isWritten != 0 ? static_cast<ssize_t>(count) : fail();
}

int flock(int file, int) {
    OVERLAPPED where{};
    where.OffsetHigh = LOCKED_HIGH;
    if (LockFileEx(getHandle(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &where) != 0) {
        return 0;
    }
    const DWORD reason = GetLastError();
    errno = reason == ERROR_LOCK_VIOLATION || reason == ERROR_IO_PENDING ? EWOULDBLOCK : ENOTSUP;
    return -1;
}

int fsync(int file) {
    return FlushFileBuffers(getHandle(file)) != 0 ? 0 : fail();
}

int posix_open(const std::string& name, int flags, int) {
    const bool isWritten = (flags & (O_WRONLY | O_RDWR)) != 0;
    const HANDLE file =
        CreateFileW(widen(name).c_str(), GENERIC_READ | (isWritten ? GENERIC_WRITE : 0U),
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    (flags & O_CREAT) != 0 ? OPEN_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return fail();
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(file), O_NOINHERIT | (isWritten ? 0 : O_RDONLY));
    if (descriptor < 0) {
        CloseHandle(file);
        errno = EMFILE;
    }
    return descriptor;
}

ssize_t posix_write(int file, const void* bytes, size_t size) {
    DWORD count = 0;
    const BOOL isWritten =
        WriteFile(getHandle(file), bytes, static_cast<DWORD>(std::min(size, MOST_BYTES)), &count, nullptr);
    return isWritten != 0 ? static_cast<ssize_t>(count) : fail();
}

int posix_rename(const std::string& from, const std::string& to) {
    constexpr DWORD HOW = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return MoveFileExW(widen(from).c_str(), widen(to).c_str(), HOW) != 0 ? 0 : fail();
}

int posix_duplicate(int file) {
    return _dup(file);
}

bool posix_isOnlyHere(int file, const std::string& name) {
    BY_HANDLE_FILE_INFORMATION open{}, named{};
    return GetFileType(getHandle(file)) == FILE_TYPE_DISK && GetFileInformationByHandle(getHandle(file), &open) != 0 &&
           look(name, named) && open.nNumberOfLinks == 1 && open.dwVolumeSerialNumber == named.dwVolumeSerialNumber &&
           open.nFileIndexHigh == named.nFileIndexHigh && open.nFileIndexLow == named.nFileIndexLow;
}

/// A new file has the access of its folder.
bool posix_takeMode(int, const std::string&) {
    return true;
}

bool posix_syncFolder(const std::string&) {
    return true;
}

int64_t posix_getSize(int file) {
    LARGE_INTEGER size{};
    return GetFileSizeEx(getHandle(file), &size) != 0 ? size.QuadPart : -1;
}

bool posix_isOlder(const std::string& first, const std::string& second) {
    BY_HANDLE_FILE_INFORMATION a{}, b{};
    return !look(first, a) || !look(second, b) || CompareFileTime(&a.ftLastWriteTime, &b.ftLastWriteTime) < 0;
}

bool posix_makeFolder(std::string& name) {
    constexpr int MOST_TRIES = 100;
    constexpr size_t DRAWN = 6;
    for (int k = 0; k < MOST_TRIES && name.size() >= DRAWN; ++k) {
        LARGE_INTEGER counter{};
        QueryPerformanceCounter(&counter);
        auto number = static_cast<uint64_t>(counter.QuadPart) * 2654435761U + GetCurrentProcessId();
        for (size_t at = name.size() - DRAWN; at < name.size(); ++at, number /= 26) {
            name[at] = static_cast<char>('a' + number % 26);
        }
        if (CreateDirectoryW(widen(name).c_str(), nullptr) != 0) {
            return true;
        }
        if (GetLastError() != ERROR_ALREADY_EXISTS) {
            return false;
        }
    }
    return false;
}

std::string posix_getProgram() {
    constexpr DWORD LONGEST = 32768;
    std::string name(LONGEST, '\0');
    const DWORD length = GetModuleFileNameA(nullptr, name.data(), LONGEST);
    name.resize(length < LONGEST ? length : 0);
    return name;
}

/// There are no streams into memory here: the text goes into a file that the system deletes when it is closed.
std::string posix_catchText(const std::function<void(std::FILE*)>& write) {
    std::wstring folder(MAX_PATH + 1, L'\0'), name(MAX_PATH + 1, L'\0');
    GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    if (GetTempFileNameW(folder.c_str(), L"tar", 0, name.data()) == 0) {
        return {};
    }
    const HANDLE file = CreateFileW(
        name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
        static_cast<DWORD>(FILE_ATTRIBUTE_TEMPORARY) | static_cast<DWORD>(FILE_FLAG_DELETE_ON_CLOSE), nullptr);
    const int descriptor = file == INVALID_HANDLE_VALUE ? -1 : _open_osfhandle(reinterpret_cast<intptr_t>(file), 0);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(descriptor < 0 ? nullptr : _fdopen(descriptor, "w+b"),
                                                                 std::fclose);
    if (!stream) {
        return {};
    }
    write(stream.get());
    std::rewind(stream.get());
    std::string text(static_cast<size_t>(std::max<int64_t>(posix_getSize(descriptor), 0)), '\0');
    const bool isWhole = std::fread(text.data(), 1, text.size(), stream.get()) == text.size();
    return isWhole && std::ferror(stream.get()) == 0 ? text : std::string();
}

#else

#include <cstdlib>
#include <filesystem>
#include <system_error>

int posix_open(const std::string& name, int flags, int mode) {
    return open(name.c_str(), flags, mode);
}

ssize_t posix_write(int file, const void* bytes, size_t size) {
    return write(file, bytes, size);
}

int posix_rename(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str());
}

int posix_duplicate(int file) {
    return fcntl(file, F_DUPFD_CLOEXEC, 0);
}

bool posix_isOnlyHere(int file, const std::string& name) {
    struct stat open, named;
    return fstat(file, &open) == 0 && lstat(name.c_str(), &named) == 0 && S_ISREG(open.st_mode) && open.st_nlink == 1 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool posix_takeMode(int file, const std::string& name) {
    struct stat status;
    if (stat(name.c_str(), &status) == 0) {
        return fchmod(file, status.st_mode & 0777U) == 0;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return fchmod(file, 0666U & ~mask) == 0;
}

bool posix_syncFolder(const std::string& folder) {
    const int opened = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened < 0) {
        return true;
    }
    const bool isWell = fsync(opened) == 0 || errno == EINVAL || errno == ENOTSUP;
    const int reason = errno;
    close(opened);
    errno = reason;
    return isWell;
}

int64_t posix_getSize(int file) {
    struct stat status;
    return fstat(file, &status) == 0 ? static_cast<int64_t>(status.st_size) : -1;
}

bool posix_isOlder(const std::string& first, const std::string& second) {
    struct stat a = {}, b = {};
    if (stat(first.c_str(), &a) != 0 || stat(second.c_str(), &b) != 0) {
        return true;
    }
    return a.st_mtim.tv_sec != b.st_mtim.tv_sec ? a.st_mtim.tv_sec < b.st_mtim.tv_sec
                                                : a.st_mtim.tv_nsec < b.st_mtim.tv_nsec;
}

std::string posix_catchText(const std::function<void(std::FILE*)>& write) {
    char* text = nullptr;
    size_t length = 0;
    std::FILE* out = open_memstream(&text, &length);
    if (!out) {
        return {};
    }
    try {
        write(out);
    } catch (...) {
        std::fclose(out);
        std::free(text);
        throw;
    }
    const bool isWhole = std::ferror(out) == 0;
    const bool isClosed = std::fclose(out) == 0;
    std::string bytes = isWhole && isClosed ? std::string(text, length) : "";
    std::free(text);
    return bytes;
}

bool posix_makeFolder(std::string& name) {
    return mkdtemp(name.data()) != nullptr;
}

std::string posix_getProgram() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : program.string();
}

#endif
