// A model that can't be made is thrown: nothing can be done without it.

#include "handle.h"

#include <cstdint>
#include <stdexcept>

/// A folder as the engine knows one: by the separator at its end.
static std::string closeFolder(const std::string& folder) {
    return folder.empty() || folder.back() == '/' ? folder : folder + '/';
}

ModelHandle handle_make(const EngineFolders& folders) {
    tv_model* made = nullptr;
    int32_t code = tv_create(&made);
    ModelHandle model(made);
    if (code == TV_OK) {
        const std::string engines = closeFolder(folders.engines), scratch = closeFolder(folders.scratch);
        code = tv_setEngines(model.get(), engines.c_str(), scratch.c_str(), engines.c_str(), scratch.c_str());
    }
    if (code != TV_OK) {
        throw std::runtime_error(tv_describeCode(code));
    }
    return model;
}
