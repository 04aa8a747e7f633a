// A model that can't be made is thrown: nothing can be done without it.

#include "handle.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "files.h"
#include "posix.h"

/// A folder as the engine knows one: by the separator at its end.
static std::string closeFolder(const std::string& folder) {
    return folder.empty() || files_endsAsFolder(folder) ? folder : folder + '/';
}

/// Where engines stand that were installed with the program; empty for none, and where the folder of the program has
/// some of its own, which the library finds by itself.
static std::string findInstalledEngines() {
    std::error_code error;
    const std::filesystem::path program = files_toPath(posix_getProgram()).parent_path();
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

std::string handle_findEngines(const std::string& name) {
    if (name.empty() || name.find_first_of("/\\") != std::string::npos || name.starts_with('.')) {
        return {};
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const std::filesystem::path& place : {program / "engines", program / TARNVELDE_ENGINES_FROM_PROGRAM}) {
        if (!error && (hasLibrary(place / name, SWMM_NAMES) || hasLibrary(place / name, PLANT_NAMES))) {
            return (place / name).lexically_normal().string();
        }
    }
    return {};
}

/// Where the engine of treatment plants is: in a build it has a folder of its own, and an installation has it with the
/// other one.
static std::string findPlants() {
    const std::string built = handle_findEngines("plant");
    return built.empty() ? findInstalledEngines() : built;
}

/// The folders of both kinds of engine. What was installed by name is of one kind: the other is where it is without.
static std::pair<std::string, std::string> chooseFolders(const std::string& given) {
    std::error_code error;
    const std::string named = std::filesystem::is_directory(given, error) ? std::string() : handle_findEngines(given);
    if (named.empty()) {
        return {closeFolder(given.empty() ? findInstalledEngines() : given),
                closeFolder(given.empty() ? findPlants() : given)};
    }
    return {closeFolder(hasLibrary(named, SWMM_NAMES) ? named : findInstalledEngines()),
            closeFolder(hasLibrary(named, PLANT_NAMES) ? named : findPlants())};
}

ModelHandle handle_make(const EngineFolders& folders) {
    tv_model* made = nullptr;
    int32_t code = tv_create(&made);
    ModelHandle model(made);
    if (code == TV_OK) {
        const auto [swmm, plants] = chooseFolders(folders.engines);
        const std::string scratch = closeFolder(folders.scratch);
        code = tv_setEngines(model.get(), swmm.c_str(), scratch.c_str(), plants.c_str(), scratch.c_str());
    }
    if (code != TV_OK) {
        throw std::runtime_error(tv_describeCode(code));
    }
    return model;
}
