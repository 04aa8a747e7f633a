// Private folders. A name that nobody could have foreseen, made in one go with the rights of its owner alone, is not
// followed anywhere: a link that was planted under it makes the next name be taken. The folder is locked for as long as
// its process has it, so whoever finds one that isn't locked knows that its process is gone, in whatever container that
// lived. Called by the room outside, for copies of engines.

#include "platform/privatefolder.h"

#include <cstdlib>
#include <cstring>

static constexpr const char* NAME = "tarnvelde-engine-";

static std::string closePath(const std::string& place) {
    return place.empty() || place.back() == '/' || place.back() == '\\' ? place : place + '/';
}

#if defined(_WIN32)

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include "platform/filenames.h"

std::vector<std::string> privatefolder_findPlaces() {
    std::wstring place(MAX_PATH + 1, L'\0');
    const DWORD length = GetTempPathW(static_cast<DWORD>(place.size()), place.data());
    return length > 0 && length < place.size() ? std::vector<std::string>{filenames_narrow(place.c_str())}
                                               : std::vector<std::string>{};
}

static constexpr const char* LOCK = "lock";  ///< a file that nobody else can open while its process has it

static int openLock(const std::string& folder, int mode) {
    int lock = -1;
    const int flags = mode | _O_RDWR | _O_BINARY | _O_NOINHERIT;
    return _wsopen_s(&lock, filenames_widen(closePath(folder) + LOCK).c_str(), flags, _SH_DENYRW,
                     _S_IREAD | _S_IWRITE) == 0
               ? lock
               : -1;
}

/// The folder of the user is his own already.
bool privatefolder_make(const std::string& place, PrivateFolder& folder) {
    const std::string front = closePath(place) + NAME + std::to_string(GetCurrentProcessId()) + '-';
    for (int attempt = 0; attempt < 1000; ++attempt) {
        LARGE_INTEGER counter{};
        QueryPerformanceCounter(&counter);
        std::string path = front + std::to_string(counter.QuadPart) + '\\';
        if (CreateDirectoryW(filenames_widen(path).c_str(), nullptr) == 0) {
            if (GetLastError() != ERROR_ALREADY_EXISTS) {
                return false;
            }
            continue;
        }
        folder.lock = openLock(path, _O_CREAT | _O_EXCL);
        if (folder.lock >= 0) {
            folder.path = std::move(path);
            return true;
        }
        RemoveDirectoryW(filenames_widen(path).c_str());
    }
    return false;
}

void privatefolder_remove(PrivateFolder& folder) {
    if (!folder.path.empty()) {
        _close(folder.lock);
        DeleteFileW(filenames_widen(folder.path + LOCK).c_str());
        RemoveDirectoryW(filenames_widen(folder.path).c_str());
        folder = {};
    }
}

/// Deletes the copies of engines in a folder; false if there are none.
static bool deleteCopies(const std::string& path) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW(filenames_widen(path + "\\*.dll").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    do {
        DeleteFileW(filenames_widen(path + '\\' + filenames_narrow(entry.cFileName)).c_str());
    } while (FindNextFileW(search, &entry) != 0);
    FindClose(search);
    return true;
}

/// A folder whose lock can't be opened belongs to a living process. One without a lock has just been made, or is of a
/// version that made none; the copy that a process has loaded can't be deleted, and so its folder stays.
static void clearFolder(const std::string& path) {
    const int lock = openLock(path, 0);
    const bool hasLock =
        lock >= 0 || GetFileAttributesW(filenames_widen(closePath(path) + LOCK).c_str()) != INVALID_FILE_ATTRIBUTES;
    if (lock >= 0) {
        deleteCopies(path);
        _close(lock);
        DeleteFileW(filenames_widen(closePath(path) + LOCK).c_str());
        RemoveDirectoryW(filenames_widen(path).c_str());
    } else if (!hasLock && deleteCopies(path)) {
        RemoveDirectoryW(filenames_widen(path).c_str());
    }
}

void privatefolder_clearLeftovers(const std::string& place) {
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW(filenames_widen(closePath(place) + NAME + '*').c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        const DWORD kind = entry.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
        if (kind == FILE_ATTRIBUTE_DIRECTORY) {
            clearFolder(closePath(place) + filenames_narrow(entry.cFileName));
        }
    } while (FindNextFileW(search, &entry) != 0);
    FindClose(search);
}

#else

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

static constexpr mode_t OWNER_ALONE = S_IRWXU;
static constexpr const char* DRAWN = "XXXXXX";  ///< the part of the name that is drawn

/// Whether nobody but the owner and the system can exchange what is in a folder.
static bool isTrusted(const char* place) {
    struct stat status;
    if (stat(place, &status) != 0 || !S_ISDIR(status.st_mode)) {
        return false;
    }
    const bool isOwn = status.st_uid == 0 || status.st_uid == geteuid();
    const bool isShared = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return isOwn && (!isShared || (status.st_mode & S_ISVTX) != 0);
}

std::vector<std::string> privatefolder_findPlaces() {
    // A program that runs with the rights of somebody else doesn't let its user choose.
    const char* chosen = geteuid() == getuid() ? std::getenv("TMPDIR") : nullptr;
    std::vector<std::string> places;
    for (const char* place : {chosen, "/tmp", "/var/tmp"}) {
        if (place && *place == '/' && isTrusted(place)) {
            places.emplace_back(place);
        }
    }
    return places;
}

/// Locks a new folder. False if somebody who clears leftovers was faster: it is gone then. Where a file system knows no
/// locks of folders nobody gets one, and leftovers stay.
static bool lockFolder(const std::string& path, int& lock) {
    lock = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (lock < 0) {
        return false;
    }
    while (flock(lock, LOCK_EX) != 0 && errno == EINTR) {
    }
    struct stat held, named;
    if (fstat(lock, &held) == 0 && lstat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
        held.st_ino == named.st_ino) {
        return true;
    }
    close(lock);
    lock = -1;
    return false;
}

bool privatefolder_make(const std::string& place, PrivateFolder& folder) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string path = closePath(place) + NAME + DRAWN;
        if (!mkdtemp(path.data())) {
            return false;
        }
        if (lockFolder(path, folder.lock)) {
            folder.path = path + '/';
            return true;
        }
    }
    return false;
}

void privatefolder_remove(PrivateFolder& folder) {
    if (!folder.path.empty()) {
        rmdir(folder.path.c_str());
        close(folder.lock);
        folder = {};
    }
}

static bool isOurName(const char* name) {
    const size_t length = std::strlen(NAME);
    return std::strncmp(name, NAME, length) == 0 && std::strlen(name) == length + std::strlen(DRAWN);
}

/// Deletes the files of a folder; a link goes, and what it leads to stays.
static void deleteFiles(int folder) {
    const int copy = fcntl(folder, F_DUPFD_CLOEXEC, 0);
    DIR* listing = copy < 0 ? nullptr : fdopendir(copy);
    if (!listing) {
        if (copy >= 0) {
            close(copy);
        }
        return;
    }
    while (const dirent* entry = readdir(listing)) {
        unlinkat(folder, entry->d_name, 0);
    }
    closedir(listing);
}

/// A folder of ours, neither a link nor of somebody else, that nobody holds.
static void clearFolder(int place, const char* name) {
    const int folder = openat(place, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) {
        return;
    }
    struct stat status;
    if (fstat(folder, &status) == 0 && status.st_uid == geteuid() && (status.st_mode & 07777) == OWNER_ALONE &&
        flock(folder, LOCK_EX | LOCK_NB) == 0) {
        deleteFiles(folder);
        unlinkat(place, name, AT_REMOVEDIR);
    }
    close(folder);
}

void privatefolder_clearLeftovers(const std::string& place) {
    DIR* listing = opendir(place.c_str());
    if (!listing) {
        return;
    }
    while (const dirent* entry = readdir(listing)) {
        if (isOurName(entry->d_name)) {
            clearFolder(dirfd(listing), entry->d_name);
        }
    }
    closedir(listing);
}

#endif
