#pragma once
// Entry points of outside engines: a table of functions, each of which stands for itself until a library gives its own.

#include "platform/library.h"

/// A function of any signature that does nothing and gives back one number.
template <class Function, int RESULT>
struct StandIn;

template <class Result, class... Arguments, int RESULT>
struct StandIn<Result(Arguments...), RESULT> {
    static Result call(Arguments...) { return static_cast<Result>(RESULT); }
};

/// Takes the function of a name from a library. False, with the entry as it was, if it isn't there.
template <class Function>
[[nodiscard]] bool entries_find(LibraryHandle library, const char* name, Function*& entry) {
    void* address = library_findEntry(library, name);
    if (address) {
        entry = reinterpret_cast<Function*>(address);
    }
    return address != nullptr;
}
