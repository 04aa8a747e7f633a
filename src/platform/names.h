#pragma once
// Names of files, which some systems have in UTF-16.

#include <filesystem>
#include <string>

/// A name of a host as the standard library takes it.
[[nodiscard]] std::filesystem::path names_toPath(const std::string& name);

#if defined(_WIN32)

/// A name of a host: UTF-8, or else in the code page of the process.
[[nodiscard]] std::wstring names_widen(const std::string& name);

/// A name of the system, in UTF-8.
[[nodiscard]] std::string names_narrow(const wchar_t* name);

#endif
