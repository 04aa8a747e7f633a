// Names of the files of a run: defaults beside the model, and a look at names that would cost the user a file.

#include "files.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

std::string files_replaceExtension(const std::string& model, const char* extension) {
    const size_t name = model.find_last_of("/\\") + 1;
    const size_t point = model.find_last_of('.');
    return model.substr(0, point == std::string::npos || point < name ? model.size() : point) + extension;
}

bool files_isSame(const std::string& first, const std::string& second) {
    std::error_code error;
    if (first == second || fs::equivalent(first, second, error)) {
        return true;
    }
    error.clear();
    const fs::path firstPath = fs::weakly_canonical(first, error);
    return !error && firstPath == fs::weakly_canonical(second, error);
}

bool files_isRegular(const std::string& name) {
    std::error_code error;
    return fs::is_regular_file(name, error);
}

bool files_exists(const std::string& name) {
    std::error_code error;
    return fs::exists(name, error);
}

bool files_isFolder(const std::string& name) {
    std::error_code error;
    return fs::is_directory(name, error);
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
    if (!mkdtemp(folder.data())) {
        folder.clear();
    }
    return folder;  // moved: a copy that finds no memory would leave the folder behind
}
