// What a killed program leaves aside is overwritten by the next one, so it stands under a name that is known. That name
// may belong to something else: only a file that nobody else has open for the same, and that has no other name, is
// written over.

#include "aside.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "files.h"
#include "posix.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* ASIDE_ENDING = ".part";
constexpr size_t LONGEST_NAME = 255;  ///< bytes of a name in its folder, wherever Linux runs

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
    return target.parent_path() / (file.substr(0, LONGEST_NAME - std::strlen(ASIDE_ENDING)) + ASIDE_ENDING);
}

bool writeAll(int file, const std::string& bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t written = posix_write(file, bytes.data() + at, bytes.size() - at);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        at += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

/// Gives the file aside its target's name, with its bytes on the disk. False with errno.
bool moveInPlace(Descriptor& file, const AsideFile& aside) {
    return posix_takeMode(file.number, aside.target) && fsync(file.number) == 0 && file.close() &&
           posix_rename(aside.aside, aside.target) == 0;
}

std::string describeFailure(const std::string& name, const std::string& reason) {
    return "cannot write " + name + ": " + reason;
}

}  // namespace

std::string aside_getName(const std::string& name) {
    return addEnding(followLinks(files_toPath(name))).string();
}

AsideFile::~AsideFile() {
    if (!aside.empty()) {
        unlink(aside.c_str());
    }
    const Descriptor opened(file), locked(lock);
}

AsideFile::AsideFile(AsideFile&& other) noexcept
    : name(std::move(other.name)),
      target(std::move(other.target)),
      aside(std::exchange(other.aside, {})),
      file(std::exchange(other.file, -1)),
      lock(std::exchange(other.lock, -1)) {}

std::string aside_begin(AsideFile& aside, const std::string& name) {
    const fs::path target = followLinks(files_toPath(name));
    std::string beside = addEnding(target).string();
    aside.name = name;  // ahead of the file: what finds no memory leaves none behind
    aside.target = target.string();
    std::error_code error;
    if (fs::is_symlink(target, error)) {
        return describeFailure(name, std::strerror(ELOOP));
    }
    if (files_exists(name) && !files_isRegular(name)) {
        return describeFailure(name, "it is no file");
    }
    if (files_exists(name) && access(name.c_str(), W_OK) != 0) {
        return describeFailure(name, std::strerror(errno));
    }
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;  // no link, no waiting at a pipe
    Descriptor file(posix_open(beside, FLAGS, 0600));
    if (file.number < 0) {
        const int reason = errno;
        return describeFailure(name, (files_exists(beside) ? beside + " is in the way: " : "") + std::strerror(reason));
    }
    // The second descriptor holds the lock until the file has its name; closing the first one tells of a full disk.
    Descriptor lock(posix_duplicate(file.number));
    const bool isTaken = lock.number >= 0 && flock(lock.number, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (isTaken || !posix_isOnlyHere(file.number, beside)) {
        return describeFailure(name, beside + " is in the way" + (isTaken ? ": another program is writing it" : ""));
    }
    if (ftruncate(file.number, 0) != 0) {
        const int reason = errno;
        unlink(beside.c_str());
        return describeFailure(name, std::strerror(reason));
    }
    aside.aside = std::move(beside);
    aside.file = std::exchange(file.number, -1);
    aside.lock = std::exchange(lock.number, -1);
    return {};
}

std::string aside_append(AsideFile& aside, const std::string& bytes) {
    return writeAll(aside.file, bytes) ? std::string() : describeFailure(aside.name, std::strerror(errno));
}

std::string aside_writeAt(AsideFile& aside, uint64_t place, const void* bytes, size_t size) {
    const auto* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = pwrite(aside.file, at, size, static_cast<off_t>(place));
        if (written < 0 && errno != EINTR) {
            return describeFailure(aside.name, std::strerror(errno));
        }
        const size_t done = written > 0 ? static_cast<size_t>(written) : 0;
        at += done;
        place += done;
        size -= done;
    }
    return {};
}

std::string aside_end(AsideFile& aside) {
    Descriptor file(std::exchange(aside.file, -1));
    if (!moveInPlace(file, aside)) {
        const int reason = errno;
        unlink(aside.aside.c_str());
        aside.aside.clear();
        return describeFailure(aside.name, std::strerror(reason));
    }
    aside.aside.clear();
    // The new name of a file is on the disk once its folder is.
    return posix_syncFolder(files_toPath(aside.target).parent_path().string())
               ? std::string()
               : describeFailure(aside.name, std::strerror(errno));
}

std::string aside_write(const std::string& name, const std::string& bytes) {
    AsideFile aside;
    if (std::string failure = aside_begin(aside, name); !failure.empty()) {
        return failure;
    }
    const std::string failure = aside_append(aside, bytes);
    return failure.empty() ? aside_end(aside) : failure;
}
