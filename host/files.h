#pragma once
// Names of the files of a run.

#include <filesystem>
#include <string>

/// The files of a run. An empty name is no file.
struct ProjectFiles {
    std::string model;
    std::string report;
    std::string results;   ///< binary
    std::string database;  ///< of results
};

/// `model` with another extension, which begins with a point.
std::string files_replaceExtension(const std::string& model, const char* extension);

/// A name as the standard library wants it: names are UTF-8, also where the system has others.
std::filesystem::path files_toPath(const std::string& name);

/// Whether there is a file of the name, and no folder, device or pipe.
bool files_isRegular(const std::string& name);

/// Whether two names mean one file, however they are written. The engine compares names by their bytes alone, and would
/// empty a model that is named in another way as the report.
bool files_isSame(const std::string& first, const std::string& second);

bool files_exists(const std::string& name);
bool files_isFolder(const std::string& name);

/// Whether a name ends as that of a folder does.
bool files_endsAsFolder(const std::string& name);

/// Whether there is something of the name that can be read.
bool files_isReadable(const std::string& name);

/// Makes a folder of our own for files that nobody asked for; empty if that fails.
std::string files_makeTemporaryFolder();
