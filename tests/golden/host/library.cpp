#include "library.h"

#include <dlfcn.h>

#include <cstdio>

bool library_load(const std::string& path, Library& library) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        std::fprintf(stderr, "%s\n", dlerror());
        return false;
    }
    bool isWhole = true;
    const auto find = [&](const char* name) {
        void* function = dlsym(handle, name);
        if (!function) {
            std::fprintf(stderr, "%s has no %s\n", path.c_str(), name);
            isWhole = false;
        }
        return function;
    };
#define GOLDEN_FIND(name) library.name = reinterpret_cast<decltype(library.name)>(find("tarnvelde_" #name));
    GOLDEN_FUNCTIONS(GOLDEN_FIND)
#undef GOLDEN_FIND
    return isWhole;
}
