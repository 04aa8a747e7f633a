#pragma once
// A folder for the files of one test, gone when the test is.

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct TempFolder {
    std::filesystem::path path;

    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "tarnvelde-test-XXXXXX").string();
        path = mkdtemp(name.data());
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string file(const std::string& name) const { return (path / name).string(); }

    bool has(const std::string& name) const { return std::filesystem::exists(path / name); }

    /// Names of all that is there, in order.
    std::vector<std::string> list() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path / name, std::ios::binary) << text;
        return file(name);
    }
};

inline std::string readFile(const std::filesystem::path& name) {
    std::ifstream stream(name, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}
