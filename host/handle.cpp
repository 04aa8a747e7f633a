// A model that can't be made is thrown: nothing can be done without it.

#include "handle.h"

#include <cstdint>
#include <stdexcept>

/// A folder as the engine knows one: by the separator at its end.
static std::string closeFolder(const std::string& folder) {
    return folder.empty() || folder.back() == '/' || folder.back() == '\\' ? folder : folder + '/';
}

ModelHandle handle_make(const std::string& engines) {
    tv_model* made = nullptr;
    int32_t code = tv_create(&made);
    ModelHandle model(made);
    if (code == TV_OK) {
        const std::string folder = closeFolder(engines);
        code = tv_setEngines(model.get(), folder.c_str(), nullptr, folder.c_str(), nullptr);
    }
    if (code != TV_OK) {
        throw std::runtime_error(tv_describeCode(code));
    }
    return model;
}
