#pragma once
// Names of files, which some systems have in UTF-16.

#include <filesystem>
#include <string>

/// A name of a host as the standard library takes it.
[[nodiscard]] std::filesystem::path filenames_toPath(const std::string& name);

#if defined(_WIN32)

/// A name of a host: UTF-8, or else in the code page of the process.
[[nodiscard]] std::wstring filenames_widen(const std::string& name);

/// A name of the system, in UTF-8.
[[nodiscard]] std::string filenames_narrow(const wchar_t* name);

#endif
