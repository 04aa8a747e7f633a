// A model that can't be made is thrown: nothing can be done without it.

#include "handle.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>

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

ModelHandle handle_make(const EngineFolders& folders) {
    tv_model* made = nullptr;
    int32_t code = tv_create(&made);
    ModelHandle model(made);
    if (code == TV_OK) {
        const std::string engines = closeFolder(folders.engines.empty() ? findInstalledEngines() : folders.engines);
        const std::string scratch = closeFolder(folders.scratch);
        code = tv_setEngines(model.get(), engines.c_str(), scratch.c_str(), engines.c_str(), scratch.c_str());
    }
    if (code != TV_OK) {
        throw std::runtime_error(tv_describeCode(code));
    }
    return model;
}
