// What a killed program leaves aside is overwritten by the next one, so it stands under a name that is known. That name
// may belong to something else: only a file that nobody else has open for the same, and that has no other name, is
// written over.

#include "aside.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "files.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* ENDING = ".part";
constexpr size_t LONGEST = 255;  ///< bytes of a name in its folder, wherever Linux runs

/// A descriptor that is closed with its owner, if it hasn't been before.
struct Descriptor {
    int number;

    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor() {
        if (number >= 0) {
            ::close(number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    /// False, with errno, if what was written turns out not to be there.
    [[nodiscard]] bool close() {
        const int closed = number;
        number = -1;
        return ::close(closed) == 0;
    }
};

/// Where a name leads that is a link; the file may still be missing there.
fs::path followLinks(fs::path name) {
    constexpr int MOST = 40;  // as the system does
    std::error_code error;
    for (int k = 0; k < MOST && fs::is_symlink(name, error); ++k) {
        const fs::path next = fs::read_symlink(name, error);
        if (error) {
            break;
        }
        name = name.parent_path() / next;  // an absolute one stands for itself
    }
    return name;
}

fs::path addEnding(const fs::path& target) {
    const std::string file = target.filename().string();
    return target.parent_path() / (file.substr(0, LONGEST - std::strlen(ENDING)) + ENDING);
}

/// Access as of the file that is there, or as of any new file.
mode_t getMode(const std::string& name) {
    struct stat status;
    if (stat(name.c_str(), &status) == 0) {
        return status.st_mode & 0777u;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666u & ~mask;
}

/// Whether the open file is a plain one that is known by this name alone, and stands there still.
bool isOnlyHere(int file, const std::string& name) {
    struct stat open, named;
    return fstat(file, &open) == 0 && lstat(name.c_str(), &named) == 0 && S_ISREG(open.st_mode) && open.st_nlink == 1 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool writeAll(int file, const std::string& bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t written = write(file, bytes.data() + at, bytes.size() - at);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        at += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

/// The new name of a file is on the disk once its folder is. Where folders can't be brought there, they need not.
bool syncFolder(const fs::path& target) {
    const fs::path folder = target.parent_path();
    const Descriptor opened(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.number < 0 || fsync(opened.number) == 0 || errno == EINVAL || errno == ENOTSUP;
}

}  // namespace

/// A file on its way.
struct AsideFile {
    std::string name;  ///< as it was given
    fs::path target;
    std::string place;  ///< aside
    Descriptor file{-1};
    Descriptor lock{-1};   ///< holds the lock until the file has its name; closing the other one tells of a full disk
    bool isThere = false;  ///< aside, and ours to take away
};

void AsideEnd::operator()(AsideFile* file) const {
    if (file->isThere) {
        unlink(file->place.c_str());
    }
    delete file;
}

static std::string describeFailure(const std::string& name) {
    return "cannot write " + name + ": ";
}

/// What failed of a file that goes by that, by errno.
static std::string giveUp(AsideFile& file) {
    const int reason = errno;
    unlink(file.place.c_str());
    file.isThere = false;
    return describeFailure(file.name) + std::strerror(reason);
}

std::string aside_getName(const std::string& name) {
    return addEnding(followLinks(name)).string();
}

AsideHandle aside_begin(const std::string& name, std::string& failure) {
    AsideHandle handle(new AsideFile);
    AsideFile& file = *handle;
    file.name = name;
    file.target = followLinks(name);
    file.place = addEnding(file.target).string();
    failure = describeFailure(name);
    std::error_code error;
    if (fs::is_symlink(file.target, error)) {
        failure += std::strerror(ELOOP);
        return nullptr;
    }
    if (files_exists(name) && !files_isRegular(name)) {
        failure += "it is no file";
        return nullptr;
    }
    if (files_exists(name) && access(name.c_str(), W_OK) != 0) {
        failure += std::strerror(errno);
        return nullptr;
    }
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;  // no link, no waiting at a pipe
    file.file.number = open(file.place.c_str(), FLAGS, 0600);
    if (file.file.number < 0) {
        const int reason = errno;
        failure += (files_exists(file.place) ? file.place + " is in the way: " : "") + std::strerror(reason);
        return nullptr;
    }
    file.lock.number = fcntl(file.file.number, F_DUPFD_CLOEXEC, 0);
    const bool isTaken =
        file.lock.number >= 0 && flock(file.lock.number, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (isTaken || !isOnlyHere(file.file.number, file.place)) {
        failure += file.place + " is in the way" + (isTaken ? ": another program is writing it" : "");
        return nullptr;
    }
    file.isThere = true;
    failure = ftruncate(file.file.number, 0) == 0 ? std::string() : giveUp(file);
    return file.isThere ? std::move(handle) : nullptr;
}

std::string aside_append(AsideFile& file, const std::string& bytes) {
    return writeAll(file.file.number, bytes) ? std::string() : giveUp(file);
}

std::string aside_writeAt(AsideFile& file, uint64_t place, const void* bytes, size_t size) {
    const auto* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = pwrite(file.file.number, at, size, static_cast<off_t>(place));
        if (written < 0 && errno != EINTR) {
            return giveUp(file);
        }
        const size_t done = written > 0 ? static_cast<size_t>(written) : 0;
        at += done;
        place += done;
        size -= done;
    }
    return {};
}

std::string aside_end(AsideFile& file) {
    const bool isPlaced = fchmod(file.file.number, getMode(file.target.string())) == 0 &&
                          fsync(file.file.number) == 0 && file.file.close() &&
                          std::rename(file.place.c_str(), file.target.c_str()) == 0;
    if (!isPlaced) {
        return giveUp(file);
    }
    file.isThere = false;
    return syncFolder(file.target) ? std::string() : describeFailure(file.name) + std::strerror(errno);
}

std::string aside_write(const std::string& name, const std::string& bytes) {
    std::string failure;
    const AsideHandle file = aside_begin(name, failure);
    if (file) {
        failure = aside_append(*file, bytes);
    }
    return failure.empty() ? aside_end(*file) : failure;
}
