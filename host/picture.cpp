// A picture takes the place of an older one at once or not at all.

#include "picture.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "files.h"

namespace fs = std::filesystem;

PictureForm picture_getForm(const std::string& name) {
    std::string extension = fs::path(name).extension().string();
    for (char& c : extension) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension == ".svg"   ? PictureForm::SVG
           : extension == ".png" ? PictureForm::PNG
           : extension == ".pdf" ? PictureForm::PDF
                                 : PictureForm::NONE;
}

bool picture_isWhole(PictureForm form, const std::string& bytes) {
    static const std::string PNG_END("\0\0\0\0IEND\xAE\x42\x60\x82", 12);
    const size_t last = bytes.find_last_not_of("\r\n ");
    const std::string text = bytes.substr(0, last == std::string::npos ? 0 : last + 1);
    switch (form) {
        case PictureForm::SVG: return text.starts_with("<?xml") && text.ends_with("</svg>");
        case PictureForm::PNG: return bytes.starts_with("\x89PNG") && bytes.ends_with(PNG_END);
        case PictureForm::PDF: return bytes.starts_with("%PDF") && text.ends_with("%%EOF");
        default: return false;
    }
}

static bool writeAll(int file, const std::string& bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t written = write(file, bytes.data() + at, bytes.size() - at);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        at += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

/// Access as of the file that is there, or as of any new file.
static mode_t getMode(const std::string& name) {
    struct stat status;
    if (stat(name.c_str(), &status) == 0) {
        return status.st_mode & 0777u;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666u & ~mask;
}

/// Where a name leads that is a link; the file may still be missing there.
static fs::path followLinks(fs::path name) {
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

std::string picture_write(const std::string& name, const std::string& bytes) {
    const fs::path target = followLinks(name);
    const auto tell = [&](int reason) { return "cannot write " + name + ": " + std::strerror(reason); };
    if (files_exists(name) && !files_isRegular(name)) {
        return "cannot write " + name + ": it is no file";
    }
    if (files_exists(name) && access(name.c_str(), W_OK) != 0) {
        return tell(errno);
    }
    std::string aside = (target.parent_path() / ".tarnvelde-XXXXXX").string();
    const int file = mkstemp(aside.data());
    if (file < 0) {
        return tell(errno);
    }
    bool isWritten = writeAll(file, bytes) && fchmod(file, getMode(target.string())) == 0 && fsync(file) == 0;
    int reason = isWritten ? 0 : errno;
    if (close(file) != 0 && isWritten) {
        reason = errno;
        isWritten = false;
    }
    if (isWritten && std::rename(aside.c_str(), target.c_str()) != 0) {
        reason = errno;
        isWritten = false;
    }
    if (!isWritten) {
        unlink(aside.c_str());
        return tell(reason);
    }
    return {};
}
