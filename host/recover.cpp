// A binary file whose run was killed ends somewhere in a record. It is cut behind its last whole one and gets the
// closing block that the run would have written, so that every reader of the format takes it. A file that a run still
// writes is left alone, and one that is closed already too.

#include "recover.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "characters.h"
#include "console.h"
#include "posix.h"
#include "resultfile.h"
#include "status.h"

namespace {

/// A file that is open for writing.
struct OpenFile {
    int descriptor;

    explicit OpenFile(const std::string& name) : descriptor(posix_open(name, O_RDWR | O_CLOEXEC)) {}
    ~OpenFile() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
};

std::string getFault(const std::string& name) {
    return name + ": " + std::strerror(errno);
}

/// Cuts the file behind its records, closes it, and hands it to the disk.
void closeFile(int descriptor, const ResultFile& file) {
    const std::vector<unsigned char> block = result_makeClosing(file);
    const uint64_t end = file.resultsOffset + static_cast<uint64_t>(file.periods) * file.recordLength;
    const bool isCut = ftruncate(descriptor, static_cast<off_t>(end)) == 0;
    if (!isCut ||
        pwrite(descriptor, block.data(), block.size(), static_cast<off_t>(end)) != static_cast<ssize_t>(block.size()) ||
        fsync(descriptor) != 0) {
        throw ResultError(getFault(file.name));
    }
}

}  // namespace

int recover_execute(const std::string& name) {
    try {
        const OpenFile open(name);
        if (open.descriptor < 0) {
            throw ResultError(getFault(name));
        }
        if (flock(open.descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            throw ResultError(name + ": a run still writes it");
        }
        ResultFile file;
        result_open(file, name);
        if (file.database) {
            throw ResultError(name + " is a database, which SQLite itself puts right");
        }
        if (file.isEnded) {
            std::printf("%s is closed already\n", characters_makePrintable(name).c_str());
            return EXIT_DONE;
        }
        closeFile(open.descriptor, file);
        std::printf("%s: closed after %d reports\n", characters_makePrintable(name).c_str(),
                    static_cast<int>(file.periods));
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
    return EXIT_DONE;
}
