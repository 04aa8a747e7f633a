// Files and their names. File names are bytes, as the host gave them.

#include "platform/files.h"

#include <sys/stat.h>

PathParts file_splitPath(const std::string& path) {
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

std::FILE* file_openForReading(const char* path) {
    struct stat status;
    if (stat(path, &status) != 0 || (status.st_mode & S_IFMT) == S_IFDIR) {
        return nullptr;
    }
    return std::fopen(path, "rb");
}

void file_seek(std::FILE* file, int64_t position) {
#if defined(_WIN32)
    _fseeki64(file, position, SEEK_SET);
#else
    fseeko(file, static_cast<off_t>(position), SEEK_SET);
#endif
}

bool file_delete(const char* path) {
    return std::remove(path) == 0;
}
