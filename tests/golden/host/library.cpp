#include "library.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Calls a function of the other header that makes the default model work in another manner, if this is asked for.
static bool choose(void* handle, const char* variable, const char* name, int32_t value) {
    if (!std::getenv(variable)) {
        return true;
    }
    auto* function = reinterpret_cast<int32_t (*)(void*, int32_t)>(dlsym(handle, name));
    if (function && function(nullptr, value) == 0) {
        return true;
    }
    std::fprintf(stderr, "%s: the library has no %s, or refuses the number\n", variable, name);
    return false;
}

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
    const char* threads = std::getenv("GOLDEN_THREADS");
    return isWhole && choose(handle, "GOLDEN_THREADS", "tv_setThreads", threads ? std::atoi(threads) : 1) &&
           choose(handle, "GOLDEN_PLAIN", "tv_setSkipping", 0);
}
