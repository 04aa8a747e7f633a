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

/// The new name of a file is on the disk once its folder is. Where folders can't be brought there, they need not.
bool syncFolder(const fs::path& target) {
    const fs::path folder = target.parent_path();
    const Descriptor opened(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.number < 0 || fsync(opened.number) == 0 || errno == EINVAL || errno == ENOTSUP;
}

}  // namespace

std::string aside_getName(const std::string& name) {
    return addEnding(followLinks(name)).string();
}

AsideFile::~AsideFile() {
    if (descriptor >= 0) {
        ::close(descriptor);
        unlink(aside.c_str());
    }
    if (lock >= 0) {
        ::close(lock);
    }
}

static std::string describe(const std::string& name, int reason) {
    return "cannot write " + name + ": " + std::strerror(reason);
}

/// What stands where the file would; an empty text for nothing that keeps it away.
static std::string findObstacle(const std::string& name, const fs::path& target) {
    std::error_code error;
    if (fs::is_symlink(target, error)) {
        return describe(name, ELOOP);
    }
    if (files_exists(name) && !files_isRegular(name)) {
        return "cannot write " + name + ": it is no file";
    }
    return files_exists(name) && access(name.c_str(), W_OK) != 0 ? describe(name, errno) : "";
}

std::string aside_begin(AsideFile& file, const std::string& name) {
    const fs::path target = followLinks(name);
    file.name = name;
    file.target = target.string();
    file.aside = addEnding(target).string();
    const std::string failure = "cannot write " + name + ": ";
    if (std::string obstacle = findObstacle(name, target); !obstacle.empty()) {
        return obstacle;
    }
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;  // no link, no waiting at a pipe
    Descriptor opened(open(file.aside.c_str(), FLAGS, 0600));
    if (opened.number < 0) {
        const int reason = errno;
        return failure + (files_exists(file.aside) ? file.aside + " is in the way: " : "") + std::strerror(reason);
    }
    // The second descriptor holds the lock until the file has its name; closing the first one tells of a full disk.
    file.lock = fcntl(opened.number, F_DUPFD_CLOEXEC, 0);
    const bool isTaken = file.lock >= 0 && flock(file.lock, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (isTaken || !isOnlyHere(opened.number, file.aside)) {
        return failure + file.aside + " is in the way" + (isTaken ? ": another program is writing it" : "");
    }
    file.descriptor = std::exchange(opened.number, -1);
    return ftruncate(file.descriptor, 0) == 0 ? "" : describe(name, errno);
}

std::string aside_writeAt(AsideFile& file, uint64_t place, const void* bytes, size_t size) {
    const auto* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = pwrite(file.descriptor, at, size, static_cast<off_t>(place));
        if (written < 0 && errno != EINTR) {
            return describe(file.name, errno);
        }
        const size_t done = written > 0 ? static_cast<size_t>(written) : 0;
        at += done;
        place += done;
        size -= done;
    }
    return {};
}

std::string aside_settle(AsideFile& file) {
    bool isDone = fchmod(file.descriptor, getMode(file.target)) == 0 && fsync(file.descriptor) == 0;
    isDone = isDone && ::close(std::exchange(file.descriptor, -1)) == 0;
    isDone = isDone && std::rename(file.aside.c_str(), file.target.c_str()) == 0;
    if (!isDone) {
        const int reason = errno;
        unlink(file.aside.c_str());
        return describe(file.name, reason);
    }
    return syncFolder(file.target) ? std::string() : describe(file.name, errno);
}

std::string aside_write(const std::string& name, const std::string& bytes) {
    AsideFile file;
    std::string failure = aside_begin(file, name);
    if (failure.empty()) {
        failure = aside_writeAt(file, 0, bytes.data(), bytes.size());
    }
    return failure.empty() ? aside_settle(file) : failure;
}
