#pragma once
// Numbers are read and written with a point, whatever locale the host has set.

#include <locale.h>

/// While one lives, this thread reads and writes numbers in the C locale; the host's own setting comes back with its
/// end.
struct NumberLocale {
#if defined(_WIN32)
    NumberLocale();
    ~NumberLocale();
    int oldMode;
    char oldName[128];
#else
    NumberLocale();
    ~NumberLocale();
    locale_t plain;  ///< the C locale; null without memory, and then the host's stays
    locale_t old;
#endif
    NumberLocale(const NumberLocale&) = delete;
    NumberLocale& operator=(const NumberLocale&) = delete;
};
