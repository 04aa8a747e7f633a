// Shared libraries. Each file that is loaded is an image of its own with its own static data, also if another file with
// the same bytes is loaded beside it: that is what private copies of an engine rest on.
// What such a library does when it is loaded and released is code of others as well: one that was linked for fast
// mathematics sets the processor so.
// Called by the rooms of coupled nodes.

#include "platform/library.h"

#include <cstring>
#include <string>

#include "platform/arithmetic.h"

#if defined(_WIN32)

#include <windows.h>

#include "platform/filenames.h"

LibraryHandle library_load(const char* path) {
    const GuestArithmetic arithmetic;
    const bool hasFolder = std::strpbrk(path, "/\\:") != nullptr;
    return LoadLibraryW(filenames_widen(hasFolder ? path : std::string(".\\") + path).c_str());
}

void library_release(LibraryHandle library) {
    const GuestArithmetic arithmetic;
    FreeLibrary(static_cast<HMODULE>(library));
}

void* library_findEntry(LibraryHandle library, const char* name) {
    return library ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name)) : nullptr;
}

#else

#include <dlfcn.h>

LibraryHandle library_load(const char* path) {
    const GuestArithmetic arithmetic;
    const bool hasFolder = std::strchr(path, '/') != nullptr;
    return dlopen(hasFolder ? path : (std::string("./") + path).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void library_release(LibraryHandle library) {
    const GuestArithmetic arithmetic;
    dlclose(library);
}

void* library_findEntry(LibraryHandle library, const char* name) {
    return library ? dlsym(library, name) : nullptr;
}

#endif
