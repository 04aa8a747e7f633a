// Names of the files of a run: defaults beside the model, and a look at names that would cost the user a file.

#include "files.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "posix.h"

namespace fs = std::filesystem;

fs::path files_toPath(const std::string& name) {
#if defined(_WIN32)
    return std::u8string(name.begin(), name.end());
#else
    return name;
#endif
}

std::string files_replaceExtension(const std::string& model, const char* extension) {
    const size_t name = model.find_last_of("/\\") + 1;
    const size_t point = model.find_last_of('.');
    return model.substr(0, point == std::string::npos || point < name ? model.size() : point) + extension;
}

bool files_isSame(const std::string& first, const std::string& second) {
    std::error_code error;
    if (first == second || fs::equivalent(files_toPath(first), files_toPath(second), error)) {
        return true;
    }
    error.clear();
    const fs::path firstPath = fs::weakly_canonical(files_toPath(first), error);
    return !error && firstPath == fs::weakly_canonical(files_toPath(second), error);
}

bool files_isRegular(const std::string& name) {
    std::error_code error;
    return fs::is_regular_file(files_toPath(name), error);
}

bool files_exists(const std::string& name) {
    std::error_code error;
    return fs::exists(files_toPath(name), error);
}

bool files_isFolder(const std::string& name) {
    std::error_code error;
    return fs::is_directory(files_toPath(name), error);
}

bool files_endsAsFolder(const std::string& name) {
    return !name.empty() && (name.back() == '/' || name.back() == static_cast<char>(fs::path::preferred_separator));
}

bool files_isReadable(const std::string& name) {
    return !files_isFolder(name) && std::ifstream(name, std::ios::binary).good();
}

std::string files_makeTemporaryFolder() {
    std::error_code error;
    fs::path base = fs::temp_directory_path(error);
    if (error) {
        base = "/tmp";
    }
    std::string folder = (base / "tarnvelde-XXXXXX").string();
    if (!posix_makeFolder(folder)) {
        folder.clear();
    }
    return folder;  // moved: a copy that finds no memory would leave the folder behind
}
