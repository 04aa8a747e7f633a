#pragma once
// Folders that nobody but this process puts anything into, for files that are loaded as code.

#include <string>
#include <vector>

/// A folder of this process. While it has it, nobody takes it for a leftover.
struct PrivateFolder {
    std::string path;  ///< with its separator; empty while there is none
    int lock = -1;
};

/// The folders of the system for files that don't last, in the order in which they are to be tried. One that somebody
/// else could exchange things in is passed over.
[[nodiscard]] std::vector<std::string> privatefolder_findPlaces();

/// Makes a folder of a fresh name in another one, which only this user may enter. False if it can't be made.
[[nodiscard]] bool privatefolder_make(const std::string& place, PrivateFolder& folder);

/// Removes a folder, which must be empty. One that isn't stays until it is cleared.
void privatefolder_remove(PrivateFolder& folder);

/// Removes, with the files in them, the folders of this user whose processes ended without doing so. What only bears
/// such a name is left alone: links, files, folders of others, folders with folders in them.
void privatefolder_clearLeftovers(const std::string& place);

/// Whether the file of a loaded library can go while the library is used.
#if defined(_WIN32)
constexpr bool LOADED_FILES_CAN_GO = false;
#else
constexpr bool LOADED_FILES_CAN_GO = true;
#endif
