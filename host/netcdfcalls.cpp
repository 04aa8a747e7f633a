// Finds the functions of the netCDF library by their names.

#include "netcdfcalls.h"

#ifdef TARNVELDE_NETCDF_LIBRARY

#include <dlfcn.h>

#include <cstdlib>

std::string netcdfcalls_open(NetcdfCalls& calls) {
    // The library below it would lock files once more, and take our own lock for another program's.
    setenv("HDF5_USE_FILE_LOCKING", "FALSE", 1);
    void* const library = dlopen(TARNVELDE_NETCDF_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const reason = dlerror();
        return "the netCDF library can't be loaded: " + std::string(reason == nullptr ? "" : reason);
    }
#define NETCDF_CALL(name)                                                             \
    calls.name = reinterpret_cast<decltype(calls.name)>(dlsym(library, "nc_" #name)); \
    if (calls.name == nullptr) {                                                      \
        return "the netCDF library has no nc_" #name;                                 \
    }
    NETCDF_CALLS(NETCDF_CALL)
#undef NETCDF_CALL
    return {};
}

#endif
