#pragma once
// The netCDF library, opened when an export asks for it: with all that it brings along it would make the start of every
// other command slower, and a machine without it can do without.

#ifdef TARNVELDE_NETCDF_LIBRARY

#include <netcdf.h>

#include <string>

// Functions in use, as netcdf.h declares them, without their "nc_".
#define NETCDF_CALLS(use)                                                                                         \
    use(close) use(create) use(def_dim) use(def_var) use(def_var_chunking) use(def_var_deflate) use(def_var_fill) \
        use(enddef) use(put_att_text) use(put_var_double) use(put_var_string) use(put_vara_float)                 \
            use(set_var_chunk_cache) use(strerror)

/// The library and its functions. It stays open till the process ends, as it keeps things of its own.
struct NetcdfCalls {
#define NETCDF_CALL(name) decltype(&nc_##name) name = nullptr;
    NETCDF_CALLS(NETCDF_CALL)
#undef NETCDF_CALL
};

/// An empty text, or why the library isn't there.
[[nodiscard]] std::string netcdfcalls_open(NetcdfCalls& calls);

#endif
