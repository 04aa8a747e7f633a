#pragma once
// Files that the engine reads for a project, so that none of them is written over.

#include <string>

struct Model;

/// What stands after the name of a binary file of results for the text about its run.
constexpr const char* IDENTITY_ENDING = ".run";

/// Bytes of the longest ending that SQLite puts after the name of a database.
constexpr size_t JOURNAL_ROOM = 8;

/// What the project itself is read for.
constexpr const char* PROJECT_USE = "the project";

/// Notes a file that is read; `use` says what for, as in "the file of time series RAIN".
void inputfiles_add(Model& model, const std::string& path, const std::string& use);

/// Notes a file that an outside model writes.
void inputfiles_addForeign(Model& model, const std::string& path, const std::string& use);

/// What the file is read for that an output of this name would be written over, under whatever spelling; empty for
/// none. The database of results has a journal beside it, and an output may be written aside.
[[nodiscard]] std::string inputfiles_findUse(const Model& model, const std::string& output, bool isDatabase);

/// Whether two outputs, of which the second may be a database, would be one file.
[[nodiscard]] bool inputfiles_areOne(const std::string& first, const std::string& second, bool isDatabase);
