#pragma once
// Shared libraries that are loaded while the program runs.

/// A loaded library; null is none.
using LibraryHandle = void*;

/// Loads the library in exactly this file; a name without a folder means the current one, never a search through the
/// folders of the system. Null if it can't be loaded. What the library defines is seen by nobody else.
[[nodiscard]] LibraryHandle library_load(const char* path);

/// Lets go of a library; what was found in it must not be called any more.
void library_release(LibraryHandle library);

/// The address of a function that the library shows, or null.
void* library_findEntry(LibraryHandle library, const char* name);

/// The file name that a library "engine" has by the habit of this system, if that isn't "engine.dll"; empty otherwise.
#if defined(_WIN32)
#define LIBRARY_NATIVE_NAME(engine) ""
#else
#define LIBRARY_NATIVE_NAME(engine) "lib" engine ".so"
#endif
