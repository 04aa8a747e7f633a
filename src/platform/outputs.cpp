// Files that the engine writes, in place or aside. What keeps two runs off one file is an advisory lock of the system,
// which goes with the process: on the file that is written, and, of one that is written aside, also on the file that
// will be replaced. A lock is only good if the name still stands for the file that has it: the run before may have put
// another one in its place in between.

#include "platform/outputs.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

#include "platform/files.h"

#if defined(_WIN32)
#include <io.h>
#include <process.h>
#include <share.h>
#include <windows.h>

#include "platform/filenames.h"
#else
#include <sys/file.h>
#include <unistd.h>
#endif

#if defined(_WIN32)

// --- the system: Windows -------------------------------------------------------------------------------------------

static constexpr const char* SEPARATORS = "/\\:";

static void closeDescriptor(int32_t descriptor) {
    _close(descriptor);
}

int32_t outputs_getProcess() {
    return _getpid();
}

static bool isLink(const std::string&) {
    return false;
}

static bool hasOneName(std::FILE*) {
    return true;
}

/// A file that is open stays where it is.
static bool isStillThere(const OutputPlace&, int32_t) {
    return true;
}

static std::string resolve(const std::string& name) {
    const std::wstring wide = filenames_widen(name);
    std::wstring path(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr) + size_t{1}, L'\0');
    const DWORD length = GetFullPathNameW(wide.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
    return length > 0 && length < path.size() ? filenames_narrow(path.c_str()) : name;
}

static bool isSpecial(const std::string& path) {
    struct _stat64 status;
    return _wstat64(filenames_widen(path).c_str(), &status) == 0 && (status.st_mode & _S_IFMT) != _S_IFREG;
}

bool outputs_isNowhere(const std::string& path) {
    return path == "\\\\.\\NUL" || path == "\\\\.\\nul";
}

/// Opens a file that nobody else may write from now on; below 0 with a fault.
static int32_t openOwn(const std::string& path, bool isNew, OutputFault& fault) {
    int descriptor = -1;
    const int flags = (isNew ? _O_CREAT | _O_RDWR : _O_RDONLY) | _O_BINARY | _O_NOINHERIT;
    const int error = _wsopen_s(&descriptor, filenames_widen(path).c_str(), flags, _SH_DENYWR, _S_IREAD | _S_IWRITE);
    fault = error == 0 ? OUTPUT_FINE : GetLastError() == ERROR_SHARING_VIOLATION ? OUTPUT_IN_USE : OUTPUT_NOT_OPEN;
    return error == 0 ? descriptor : -1;
}

/// Opens a file that others write by their own means: a byte that no file has is locked, so the lock is in nobody's way
/// but that of another one; and the file may get its name while it is held.
static int32_t openShared(const std::string& path, OutputFault& fault) {
    constexpr DWORD LOCKED_HIGH = 0x7FFFFFFF;
    const HANDLE file = CreateFileW(filenames_widen(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    fault = file != INVALID_HANDLE_VALUE ? OUTPUT_FINE : OUTPUT_NOT_OPEN;
    if (file == INVALID_HANDLE_VALUE) {
        return -1;
    }
    OVERLAPPED where{};
    where.OffsetHigh = LOCKED_HIGH;
    const bool isFree = LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &where) != 0;
    const int descriptor = isFree ? _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_NOINHERIT) : -1;
    if (descriptor < 0) {
        fault = isFree ? OUTPUT_NOT_OPEN : OUTPUT_IN_USE;
        CloseHandle(file);
    }
    return descriptor;
}

static bool canBeWritten(const std::string& path) {
    return _waccess(filenames_widen(path).c_str(), 2) == 0;
}

static bool canBeReplaced(const std::string& path) {
    return canBeWritten(path);
}

/// Only an attempt would tell whether something can be made in a folder.
static bool hasOpenFolder(const std::string&) {
    return true;
}

static std::FILE* makeStream(int32_t descriptor) {
    return _fdopen(descriptor, "r+b");
}

static bool cut(int32_t descriptor) {
    return _chsize_s(descriptor, 0) == 0;
}

static void copyMode(const std::string&, int32_t) {}

static bool sync(std::FILE* file) {
    return _commit(_fileno(file)) == 0;
}

/// A file can't be replaced while it is open: the locks end here.
static int32_t keepLock(std::FILE*) {
    return -1;
}

static bool replace(OutputPlace& place) {
    if (place.held >= 0) {
        closeDescriptor(place.held);
        place.held = -1;
    }
    return MoveFileExW(filenames_widen(place.written).c_str(), filenames_widen(place.target).c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

static int32_t getDescriptor(std::FILE* file) {
    return _fileno(file);
}

FileIdentity outputs_identify(const std::string& name) {
    FileIdentity identity{resolve(name)};
    const HANDLE file =
        CreateFileW(filenames_widen(name).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    BY_HANDLE_FILE_INFORMATION known;
    if (file != INVALID_HANDLE_VALUE && GetFileInformationByHandle(file, &known)) {
        identity.device = known.dwVolumeSerialNumber;
        identity.number = (uint64_t{known.nFileIndexHigh} << 32) | known.nFileIndexLow;
        identity.exists = true;
    }
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
    return identity;
}

#else

// --- the system: all others ----------------------------------------------------------------------------------------

static constexpr const char* SEPARATORS = "/";
static constexpr int32_t MOST_LINKS = 40;  ///< on the way to a file, as systems count them
static constexpr int32_t MOST_TRIES = 16;  ///< to get hold of a file that others put in place meanwhile

/// The lock goes at once, also where a forked process still has the descriptor.
static void closeDescriptor(int32_t descriptor) {
    flock(descriptor, LOCK_UN);
    close(descriptor);
}

int32_t outputs_getProcess() {
    return static_cast<int32_t>(getpid());
}

static std::string getFolder(const std::string& path) {
    const size_t separator = path.find_last_of('/');
    return separator == std::string::npos ? std::string() : path.substr(0, separator + 1);
}

/// What a link leads to; empty if the name is no link.
static std::string readLink(const std::string& path) {
    char text[4096];
    const ssize_t length = readlink(path.c_str(), text, sizeof text);
    if (length <= 0 || length == static_cast<ssize_t>(sizeof text)) {
        return {};
    }
    std::string next(text, static_cast<size_t>(length));
    return next.front() == '/' ? next : getFolder(path) + next;
}

/// The path of a file behind all links, also of one that isn't there yet.
static std::string resolve(const std::string& name) {
    std::string path = name;
    for (int32_t k = 0; k < MOST_LINKS; ++k) {
        std::string next = readLink(path);
        if (next.empty()) {
            break;
        }
        path = std::move(next);
    }
    const std::string folder = getFolder(path);
    const std::unique_ptr<char, void (*)(void*)> real(realpath(folder.empty() ? "." : folder.c_str(), nullptr),
                                                      std::free);
    if (!real) {
        return path;
    }
    const std::string whole = real.get();
    return (whole == "/" ? whole : whole + '/') + path.substr(folder.size());
}

static bool isSpecial(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

bool outputs_isNowhere(const std::string& path) {
    struct stat status, nowhere;
    return stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode) && stat("/dev/null", &nowhere) == 0 &&
           S_ISCHR(nowhere.st_mode) && status.st_rdev == nowhere.st_rdev;
}

static bool standsFor(const std::string& path, const struct stat& open) {
    struct stat named;
    return stat(path.c_str(), &named) == 0 && named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

static bool isLink(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

/// Whether nobody knows the file by another name.
static bool hasOneName(std::FILE* file) {
    struct stat status;
    return fstat(fileno(file), &status) == 0 && status.st_nlink == 1;
}

/// Whether the file that was written still stands aside.
static bool isStillThere(const OutputPlace& place, int32_t lock) {
    struct stat status;
    return lock < 0 || fstat(lock, &status) != 0 || standsFor(place.written, status);
}

/// Opens a file that nobody else may write from now on; below 0 with a fault. Where the system has no locks, as on some
/// shares, it goes without.
static int32_t openOwn(const std::string& path, bool isNew, OutputFault& fault) {
    const int flags = (isNew ? O_RDWR | O_CREAT : O_RDONLY) | O_CLOEXEC;
    for (int32_t k = 0; k < MOST_TRIES; ++k) {
        int descriptor = open(path.c_str(), flags, 0666);
        if (descriptor < 0 && errno == EACCES) {
            descriptor = open(path.c_str(), (flags & ~(O_RDWR | O_RDONLY)) | O_WRONLY, 0666);
        }
        struct stat status;
        if (descriptor < 0 || fstat(descriptor, &status) != 0) {
            break;
        }
        fault = OUTPUT_FINE;
        if (!S_ISREG(status.st_mode)) {
            return descriptor;
        }
        if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            close(descriptor);
            fault = OUTPUT_IN_USE;
            return -1;
        }
        if (standsFor(path, status)) {
            return descriptor;
        }
        close(descriptor);
    }
    fault = OUTPUT_NOT_OPEN;
    return -1;
}

static int32_t openShared(const std::string& path, OutputFault& fault) {
    return openOwn(path, true, fault);
}

static bool canBeWritten(const std::string& path) {
    return access(path.c_str(), W_OK) == 0;
}

/// Whether another file may take the place of one; errno if not. In a folder for all, as /tmp, only of one's own.
static bool canBeReplaced(const std::string& path) {
    struct stat file, folder;
    const std::string place = getFolder(path);
    const bool isShared = stat(place.empty() ? "." : place.c_str(), &folder) == 0 && (folder.st_mode & S_ISVTX) != 0;
    if (isShared && stat(path.c_str(), &file) == 0 && geteuid() != 0 && file.st_uid != geteuid() &&
        folder.st_uid != geteuid()) {
        errno = EPERM;
        return false;
    }
    return canBeWritten(path);
}

/// Whether something can be made in the folder of a file; errno if not.
static bool hasOpenFolder(const std::string& path) {
    const std::string folder = getFolder(path);
    return access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

static std::FILE* makeStream(int32_t descriptor) {
    const int flags = fcntl(descriptor, F_GETFL);
    return fdopen(descriptor, (flags & O_ACCMODE) == O_WRONLY ? "wb" : "r+b");
}

static bool cut(int32_t descriptor) {
    struct stat status;
    return fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || ftruncate(descriptor, 0) == 0;
}

/// A file that takes the place of another one is open to the same users.
static void copyMode(const std::string& from, int32_t descriptor) {
    struct stat status;
    if (stat(from.c_str(), &status) == 0) {
        static_cast<void>(!fchown(descriptor, status.st_uid, status.st_gid));
        static_cast<void>(fchmod(descriptor, status.st_mode & 0777));
    }
}

static bool sync(std::FILE* file) {
    return fsync(fileno(file)) == 0 || errno == EINVAL;
}

/// Keeps the lock of a file that is closed, until it is in place.
static int32_t keepLock(std::FILE* file) {
    return fcntl(fileno(file), F_DUPFD_CLOEXEC, 0);
}

static bool replace(OutputPlace& place) {
    return std::rename(place.written.c_str(), place.target.c_str()) == 0;
}

static int32_t getDescriptor(std::FILE* file) {
    return fileno(file);
}

FileIdentity outputs_identify(const std::string& name) {
    FileIdentity identity{resolve(name)};
    struct stat status;
    if (stat(name.c_str(), &status) == 0) {
        identity.device = static_cast<uint64_t>(status.st_dev);
        identity.number = static_cast<uint64_t>(status.st_ino);
        identity.exists = true;
    }
    return identity;
}

#endif

bool outputs_isSame(const FileIdentity& first, const FileIdentity& second) {
    const bool isOne = first.exists && second.exists && first.device == second.device && first.number == second.number;
    return isOne || first.path == second.path;
}

// --- names ---------------------------------------------------------------------------------------------------------

static constexpr size_t LONGEST_NAME = 255;  ///< bytes in its folder, on all systems that are known

static size_t findName(const std::string& path) {
    const size_t separator = path.find_last_of(SEPARATORS);
    return separator == std::string::npos ? 0 : separator + 1;
}

bool outputs_isTooLong(const std::string& target, size_t room) {
    return target.size() - findName(target) + room > LONGEST_NAME;
}

std::string outputs_nameAside(const std::string& target, size_t room) {
    if (!outputs_isTooLong(target, std::strlen(FILE_IN_THE_MAKING) + room)) {
        return target + FILE_IN_THE_MAKING;
    }
    const size_t name = findName(target);
    uint64_t sum = 14695981039346656037U;  // FNV-1a
    for (size_t k = name; k < target.size(); ++k) {
        sum = (sum ^ static_cast<unsigned char>(target[k])) * 1099511628211U;
    }
    char ending[32];
    const int length =
        std::snprintf(ending, sizeof ending, "~%016llx%s", static_cast<unsigned long long>(sum), FILE_IN_THE_MAKING);
    size_t kept = LONGEST_NAME - room - static_cast<size_t>(length);
    while (kept > 0 && (static_cast<unsigned char>(target[name + kept]) & 0xC0U) == 0x80U) {
        --kept;  // no half of a character: there are systems that take none
    }
    return target.substr(0, name + kept) + ending;
}

// --- opening -------------------------------------------------------------------------------------------------------

static std::FILE* refuse(OutputPlace& place, OutputFault& fault, OutputFault which) {
    fault = which;
    place.reason = which == OUTPUT_NOT_OPEN ? errno : 0;
    if (place.held >= 0) {
        closeDescriptor(place.held);
    }
    place.held = -1;
    place.written.clear();
    return nullptr;
}

/// Makes a stream of a descriptor that was opened well.
static std::FILE* open(OutputPlace& place, int32_t descriptor, OutputFault& fault) {
    std::FILE* file = descriptor < 0 ? nullptr : makeStream(descriptor);
    if (descriptor >= 0 && !file) {
        closeDescriptor(descriptor);
    }
    return file ? file : refuse(place, fault, fault == OUTPUT_IN_USE ? OUTPUT_IN_USE : OUTPUT_NOT_OPEN);
}

bool outputs_isInTheMaking(const std::string& path) {
    const std::string aside = outputs_nameAside(resolve(path));
    if (!files_exists(aside) || isSpecial(aside)) {
        return false;
    }
    OutputFault fault;
    const int32_t descriptor = openOwn(aside, false, fault);
    if (descriptor >= 0) {
        closeDescriptor(descriptor);
    }
    return fault == OUTPUT_IN_USE;
}

static std::FILE* openInPlace(OutputPlace& place, const std::string& name, OutputFault& fault) {
    if (outputs_isInTheMaking(name)) {
        return refuse(place, fault, OUTPUT_IN_USE);
    }
    place.target = place.written = resolve(name);
    place.isOurs = true;
    return open(place, openOwn(name, true, fault), fault);
}

/// What keeps a file aside from being opened may be its own, or its folder's, and not the target's.
static OutputFault tellAside(const OutputPlace& place, bool isNew, OutputFault fault) {
    if (fault != OUTPUT_NOT_OPEN || (place.reason != EACCES && place.reason != EROFS)) {
        return fault;
    }
    return isNew ? OUTPUT_NO_FOLDER : OUTPUT_NO_ASIDE;
}

static std::FILE* openAside(OutputPlace& place, const std::string& name, OutputFault& fault) {
    errno = 0;
    place.target = resolve(name);
    place.written = outputs_nameAside(place.target);
    if (outputs_isNowhere(place.target)) {
        return openInPlace(place, name, fault);
    }
    if (isSpecial(place.target)) {
        return refuse(place, fault, OUTPUT_NO_FILE);
    }
    if (isSpecial(place.written) || isLink(place.written)) {
        return refuse(place, fault, OUTPUT_NO_ASIDE);
    }
    if (outputs_isTooLong(place.target, 0)) {  // the file aside could be written, but not be put in place
        errno = ENAMETOOLONG;
        return refuse(place, fault, OUTPUT_NOT_OPEN);
    }
    if (isLink(place.target)) {  // in a circle
        return refuse(place, fault, OUTPUT_NOT_OPEN);
    }
    const bool isThere = files_exists(place.target), isNew = !files_exists(place.written);
    const std::string written = place.written;
    if (isThere && !canBeReplaced(place.target)) {
        return refuse(place, fault, OUTPUT_NOT_OPEN);
    }
    if (isThere) {
        place.held = openOwn(place.target, false, fault);
        if (place.held < 0) {
            return refuse(place, fault, fault);
        }
    }
    place.isOurs = isNew;
    const int32_t descriptor = openOwn(place.written, true, fault);
    std::FILE* file = open(place, descriptor, fault);
    if (!file) {
        if (descriptor >= 0 && isNew) {
            files_delete(written.c_str());
        }
        fault = tellAside(place, isNew, fault);
        return nullptr;
    }
    if (!hasOneName(file)) {
        std::fclose(file);
        return refuse(place, fault, OUTPUT_NO_ASIDE);
    }
    if (isThere) {
        copyMode(place.target, getDescriptor(file));
    }
    return file;
}

std::FILE* outputs_open(OutputPlace& place, const std::string& name, bool isAside, OutputFault& fault) {
    place = {};
    place.process = outputs_getProcess();
    errno = 0;
    fault = OUTPUT_FINE;
    return isAside ? openAside(place, name, fault) : openInPlace(place, name, fault);
}

bool outputs_empty(OutputPlace& place, std::FILE* file) {
    place.isOurs = true;
    return cut(getDescriptor(file));
}

int32_t outputs_lock(const std::string& path, OutputFault& fault) {
    return openShared(path, fault);
}

void outputs_unlock(int32_t lock) {
    if (lock >= 0) {
        closeDescriptor(lock);
    }
}

// --- the end -------------------------------------------------------------------------------------------------------

static bool isAside(const OutputPlace& place) {
    return place.written != place.target;
}

static bool isForeign(const OutputPlace& place) {
    return place.process != outputs_getProcess();
}

/// Lets go of a file that another process, of which this one was forked, goes on writing: with nothing of what waits in
/// the buffers, and with its locks, which both have.
static void forget(OutputPlace& place, std::FILE*& file) {
#if !defined(_WIN32)
    close(fileno(file));
    if (place.held >= 0) {
        close(place.held);
    }
#endif
    file = nullptr;
    place = {};
}

static void release(OutputPlace& place) {
    if (place.held >= 0) {
        closeDescriptor(place.held);
    }
    place.held = -1;
    place.written.clear();
}

/// Puts a closed file in place, if nobody else has begun to write one there.
static OutputFault putInPlace(OutputPlace& place) {
    OutputFault fault = OUTPUT_FINE;
    if (isSpecial(place.target)) {
        return OUTPUT_NO_FILE;
    }
    if (place.held < 0 && files_exists(place.target)) {
        place.held = openOwn(place.target, false, fault);
    }
    if (fault != OUTPUT_IN_USE) {
        fault = replace(place) ? OUTPUT_FINE : OUTPUT_NOT_OPEN;
    }
    place.reason = fault == OUTPUT_NOT_OPEN ? errno : 0;
    return fault;
}

OutputFault outputs_finish(OutputPlace& place, std::FILE*& file) {
    if (!file) {
        return OUTPUT_FINE;
    }
    if (isForeign(place)) {
        forget(place, file);
        return OUTPUT_FINE;
    }
    errno = 0;
    bool isWell = std::fflush(file) == 0 && std::ferror(file) == 0;
    if (isWell && isAside(place) && files_exists(place.target)) {
        isWell = sync(file);  // a name is never taken from a whole file for one that the disk doesn't have yet
    }
    const int32_t lock = isAside(place) ? keepLock(file) : -1;
    isWell = std::fclose(file) == 0 && isWell;
    file = nullptr;
    OutputFault fault = isWell ? OUTPUT_FINE : OUTPUT_NOT_WRITTEN;
    place.reason = isWell ? 0 : errno;
    if (isAside(place)) {
        if (!isStillThere(place, lock)) {
            fault = OUTPUT_TAKEN;
        } else if (isWell) {
            fault = putInPlace(place);
        } else {
            files_delete(place.written.c_str());
        }
    }
    if (lock >= 0) {
        closeDescriptor(lock);
    }
    release(place);
    return fault;
}

void outputs_leave(OutputPlace& place, std::FILE*& file) {
    if (file && isForeign(place)) {
        forget(place, file);
        return;
    }
    if (file) {
        std::fclose(file);
        file = nullptr;
    }
    release(place);
}

void outputs_drop(OutputPlace& place, std::FILE*& file) {
    if (file && isForeign(place)) {
        forget(place, file);
        return;
    }
    if (file) {
        const bool isLeft = isSpecial(place.written) || !place.isOurs || !isStillThere(place, getDescriptor(file));
        const std::string written = isLeft ? std::string() : place.written;
#if !defined(_WIN32)
        files_delete(written.c_str());  // while its lock keeps others off the name
#endif
        std::fclose(file);
        file = nullptr;
#if defined(_WIN32)
        files_delete(written.c_str());
#endif
    }
    release(place);
}

static std::string describe(int32_t reason) {
    return reason != 0 ? std::generic_category().message(reason) : "the system refuses";
}

std::string outputs_findObstacle(const std::string& name, bool isReplaced) {
    const std::string target = resolve(name), aside = outputs_nameAside(target);
    errno = 0;
    if (outputs_isNowhere(target)) {
        return {};
    }
    if (isSpecial(target)) {
        return outputs_describe(OUTPUT_NO_FILE, 0);
    }
    if (outputs_isTooLong(target, 0)) {
        return outputs_describe(OUTPUT_NOT_OPEN, ENAMETOOLONG);
    }
    if (files_exists(target) && !(isReplaced ? canBeReplaced(target) : canBeWritten(target))) {
        return outputs_describe(OUTPUT_NOT_OPEN, errno);
    }
    if (isSpecial(aside) || isLink(aside)) {
        return outputs_describe(OUTPUT_NO_ASIDE, 0);
    }
    if (!hasOpenFolder(target)) {
        return outputs_describe(errno == EACCES || errno == EROFS ? OUTPUT_NO_FOLDER : OUTPUT_NOT_OPEN, errno);
    }
    return files_exists(aside) && !canBeWritten(aside) ? outputs_describe(OUTPUT_NO_ASIDE, errno) : std::string();
}

std::string outputs_describe(OutputFault fault, int32_t reason) {
    switch (fault) {
        case OUTPUT_IN_USE: return "another run writes it";
        case OUTPUT_NO_FILE: return "it is a folder, a device or a pipe";
        case OUTPUT_TAKEN: return "what was written aside has been taken away";
        case OUTPUT_NO_FOLDER: return describe(reason) + " in its folder";
        case OUTPUT_NO_ASIDE:
            return reason != 0 ? describe(reason) + " for the .part file beside it"
                               : "what stands as .part file beside it is none of a run";
        case OUTPUT_NOT_OPEN:
        case OUTPUT_NOT_WRITTEN: return describe(reason);
        default: return {};
    }
}

OutputFault outputs_writeWhole(const std::string& path, const void* bytes, size_t size) {
    OutputPlace place;
    OutputFault fault;
    std::FILE* file = outputs_open(place, path, true, fault);
    if (!file) {
        return fault;
    }
    if (!outputs_empty(place, file) || std::fwrite(bytes, 1, size, file) != size) {
        outputs_drop(place, file);
        return OUTPUT_NOT_WRITTEN;
    }
    return outputs_finish(place, file);
}
