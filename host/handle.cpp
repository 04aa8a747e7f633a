// A model that can't be made is thrown: nothing can be done without it.

#include "handle.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "files.h"
#include "posix.h"

/// A folder as the engine knows one: by the separator at its end.
static std::string closeFolder(const std::string& folder) {
    return folder.empty() || files_endsAsFolder(folder) ? folder : folder + '/';
}

/// The folder of the program, with a link to it followed.
static std::filesystem::path findProgram() {
    return files_toPath(posix_getProgram()).parent_path();
}

/// Where engines stand that were installed with the program; empty for none, and where the folder of the program has
/// some of its own, which the library finds by itself.
static std::string findInstalledEngines() {
    std::error_code error;
    const std::filesystem::path program = findProgram();
    for (const char* own : {"swmm5ex.dll", "vorn.dll", "libswmm5ex.so", "libvorn.so"}) {
        if (program.empty() || std::filesystem::exists(program / own, error)) {
            return {};
        }
    }
    const std::filesystem::path installed = (program / TARNVELDE_ENGINES_FROM_PROGRAM).lexically_normal();
    return std::filesystem::is_directory(installed, error) ? installed.string() : std::string();
}

/// A library by the name that it has everywhere, and by the habit of this system.
using LibraryNames = std::array<const char*, 2>;
static constexpr LibraryNames SWMM_NAMES = {"swmm5ex.dll", "libswmm5ex.so"};
static constexpr LibraryNames PLANT_NAMES = {"vorn.dll", "libvorn.so"};

static bool hasLibrary(const std::filesystem::path& folder, const LibraryNames& names) {
    std::error_code error;
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return std::filesystem::exists(folder / name, error); });
}

static bool hasEngine(const std::filesystem::path& folder) {
    return hasLibrary(folder, SWMM_NAMES) || hasLibrary(folder, PLANT_NAMES);
}

std::string handle_findEngines(const std::string& name) {
    if (name.empty() || name.find_first_of("/\\") != std::string::npos || name.starts_with('.')) {
        return {};
    }
    const std::filesystem::path program = findProgram();
    for (const std::filesystem::path& place : {program / "engines", program / TARNVELDE_ENGINES_FROM_PROGRAM}) {
        if (!program.empty() && hasEngine(place / name)) {
            return (place / name).lexically_normal().string();
        }
    }
    return {};
}

/// A folder stays as it is named; else it is the name of engines.
static std::string settleFolder(const std::string& given) {
    std::error_code error;
    const std::string found = std::filesystem::is_directory(given, error) ? std::string() : handle_findEngines(given);
    return closeFolder(found.empty() ? given : found);
}

/// The engine of treatment plants has a folder of its own in a build; an installation has it with the other one.
static std::string findPlants() {
    const std::string built = handle_findEngines("plant");
    return built.empty() ? findInstalledEngines() : built;
}

/// The folder of one kind of engine: the first of the named ones that has it, else the usual one. A named folder
/// without any engine is a mistake, which a message of the library is to name.
static std::string chooseFolder(const std::vector<std::string>& named, const LibraryNames& names,
                                const std::string& usual) {
    const auto first =
        std::find_if(named.begin(), named.end(), [&](const auto& one) { return hasLibrary(one, names); });
    if (first != named.end()) {
        return *first;
    }
    const auto mistaken = std::find_if_not(named.begin(), named.end(), hasEngine);
    if (mistaken != named.end()) {
        return *mistaken;
    }
    const bool isThere = hasLibrary(usual.empty() ? findProgram() : std::filesystem::path(usual), names);
    return named.empty() || isThere ? usual : named.front();
}

ModelHandle handle_make(const EngineFolders& folders) {
    tv_model* made = nullptr;
    int32_t code = tv_create(&made);
    ModelHandle model(made);
    if (code == TV_OK) {
        std::vector<std::string> named(folders.engines.size());
        std::transform(folders.engines.begin(), folders.engines.end(), named.begin(), settleFolder);
        const std::string swmm = chooseFolder(named, SWMM_NAMES, closeFolder(findInstalledEngines()));
        const std::string plants = chooseFolder(named, PLANT_NAMES, closeFolder(findPlants()));
        const std::string scratch = closeFolder(folders.scratch);
        code = tv_setEngines(model.get(), swmm.c_str(), scratch.c_str(), plants.c_str(), scratch.c_str());
    }
    if (code != TV_OK) {
        throw std::runtime_error(tv_describeCode(code));
    }
    return model;
}
