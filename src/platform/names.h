#pragma once
// Names of files where the system has them in UTF-16.

#if defined(_WIN32)

#include <string>

/// A name of a host: UTF-8, or else in the code page of the process.
[[nodiscard]] std::wstring names_widen(const std::string& name);

/// A name of the system, in UTF-8.
[[nodiscard]] std::string names_narrow(const wchar_t* name);

#endif
