#pragma once
// What tests use of POSIX that the C library of Windows has by other names; ahead of every source there.

#if defined(_WIN32) && defined(__cplusplus)

#include <direct.h>
#include <stdlib.h>

#include <cstring>
#include <random>

inline int setenv(const char* name, const char* value, int) {
    return _putenv_s(name, value);
}

inline int unsetenv(const char* name) {
    return _putenv_s(name, "");
}

/// Makes a folder of a name that ends with XXXXXX, which are drawn.
inline char* mkdtemp(char* name) {
    std::random_device chance;
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (char* at = name + std::strlen(name) - 6; *at; ++at) {
            *at = static_cast<char>('a' + chance() % 26);
        }
        if (_mkdir(name) == 0) {
            return name;
        }
    }
    return nullptr;
}

#endif
