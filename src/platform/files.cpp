// Files and their names. File names are bytes, as the host gave them. What
// systems do differently with them stands here, for the rooms that read text, write results or copy engines.

#include "platform/files.h"

#include <sys/stat.h>

#include <cerrno>
#include <memory>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <windows.h>

#include "platform/filenames.h"
#else
#include <fcntl.h>
#include <unistd.h>
#endif

static constexpr size_t COPY_BLOCK = 4096;             ///< bytes
static constexpr size_t READ_BLOCK = size_t{1} << 20;  ///< bytes

PathParts files_splitPath(const std::string& path) {
    PathParts parts;
    size_t start = 0;
    const bool hasLetter = path.size() >= 2 && path[1] == ':' &&
                           ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
    if (hasLetter) {
        parts.drive = path.substr(0, 2);
        start = 2;
    }
    const size_t separator = path.find_last_of("/\\");
    const size_t name = separator == std::string::npos || separator < start ? start : separator + 1;
    parts.folder = path.substr(start, name - start);
    size_t point = path.find_last_of('.');
    point = point == std::string::npos || point < name ? path.size() : point;
    parts.base = path.substr(name, point - name);
    parts.extension = path.substr(point);
    return parts;
}

std::FILE* files_openForReading(const char* path) {
#if defined(_WIN32)
    const std::wstring name = filenames_widen(path);
    struct _stat64 status;
    const bool isFile = _wstat64(name.c_str(), &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG;
    return isFile ? _wfsopen(name.c_str(), L"rb", _SH_DENYNO) : nullptr;
#else
    struct stat status;
    if (stat(path, &status) != 0 || (status.st_mode & S_IFMT) != S_IFREG) {
        return nullptr;
    }
    return std::fopen(path, "rb");
#endif
}

void files_seek(std::FILE* file, int64_t position) {
#if defined(_WIN32)
    _fseeki64(file, position, SEEK_SET);
#else
    fseeko(file, static_cast<off_t>(position), SEEK_SET);
#endif
}

int64_t files_getSize(std::FILE* file) {
#if defined(_WIN32)
    return _filelengthi64(_fileno(file));
#else
    struct stat status;
    return fstat(fileno(file), &status) == 0 ? static_cast<int64_t>(status.st_size) : -1;
#endif
}

bool files_cut(std::FILE* file, int64_t length) {
    std::fflush(file);
#if defined(_WIN32)
    const bool isCut = _chsize_s(_fileno(file), length) == 0;
#else
    const bool isCut = ftruncate(fileno(file), static_cast<off_t>(length)) == 0;
#endif
    files_seek(file, length);
    return isCut;
}

#if defined(_WIN32)

bool files_delete(const char* path) {
    return _wremove(filenames_widen(path).c_str()) == 0;
}

bool files_exists(const std::string& path) {
    return GetFileAttributesW(filenames_widen(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string files_getProgramPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return filenames_narrow(path.c_str());
        }
        path.resize(path.size() * 2);
    }
}

/// Makes a file that wasn't there before.
static std::FILE* makeFile(const char* path) {
    int descriptor = -1;
    if (_wsopen_s(&descriptor, filenames_widen(path).c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _SH_DENYNO,
                  _S_IREAD | _S_IWRITE) != 0) {
        return nullptr;
    }
    std::FILE* file = _fdopen(descriptor, "wb");
    if (!file) {  // no memory
        _close(descriptor);
        files_delete(path);
    }
    return file;
}

#else

bool files_delete(const char* path) {
    return std::remove(path) == 0;
}

bool files_exists(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

std::string files_getProgramPath() {
    std::string path(256, '\0');
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
        if (length < static_cast<ssize_t>(path.size())) {
            path.resize(length < 0 ? 0 : static_cast<size_t>(length));
            return path;
        }
        path.resize(path.size() * 2);
    }
}

/// Makes a file that wasn't there before.
static std::FILE* makeFile(const char* path) {
    const int descriptor = open(path, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    std::FILE* file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
    if (descriptor >= 0 && !file) {  // no memory
        close(descriptor);
        files_delete(path);
    }
    return file;
}

#endif

// --- whole files ---------------------------------------------------------------------------------------------------

bool files_readWhole(const std::string& path, std::vector<char>& bytes) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(files_openForReading(path.c_str()), std::fclose);
    if (!file) {
        return false;
    }
    bytes.clear();
    for (size_t count = 1; count > 0;) {
        const size_t filled = bytes.size();
        bytes.resize(filled + READ_BLOCK);
        count = std::fread(bytes.data() + filled, 1, READ_BLOCK, file.get());
        bytes.resize(filled + count);
    }
    return !std::ferror(file.get());
}

// --- copies --------------------------------------------------------------------------------------------------------

static bool copyBytes(std::FILE* from, std::FILE* to) {
    char block[COPY_BLOCK];
    size_t count;
    while ((count = std::fread(block, 1, sizeof block, from)) > 0) {
        if (std::fwrite(block, 1, count, to) != count) {
            return false;
        }
    }
    return !std::ferror(from);
}

CopyResult files_copy(const std::string& source, const std::string& target) {
    std::FILE* from = files_openForReading(source.c_str());
    if (!from) {
        return COPY_FAILED;
    }
    errno = 0;
    std::FILE* to = makeFile(target.c_str());
    if (!to) {
        const bool isThere = errno == EEXIST;
        std::fclose(from);
        return isThere ? COPY_EXISTS : COPY_FAILED;
    }
    bool isComplete = copyBytes(from, to);
    isComplete = std::fclose(to) == 0 && isComplete;
    std::fclose(from);
    if (!isComplete) {
        files_delete(target.c_str());
        return COPY_FAILED;
    }
    return COPY_DONE;
}
