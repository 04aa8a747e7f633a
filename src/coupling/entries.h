#pragma once
// Entry points of outside engines: a table of functions, each of which stands for itself until a library gives its own.

#include "platform/arithmetic.h"
#include "platform/library.h"

/// A function of an engine. Whatever the engine makes of the arithmetic of the thread ends with the call.
template <class Function>
struct Entry;

template <class Result, class... Arguments>
struct Entry<Result(Arguments...)> {
    Result (*function)(Arguments...);

    Result operator()(Arguments... arguments) const {
        const GuestArithmetic arithmetic;
        return function(arguments...);
    }
};

/// A function of any signature that does nothing and gives back one number.
template <class Function, int RESULT>
struct StandIn;

template <class Result, class... Arguments, int RESULT>
struct StandIn<Result(Arguments...), RESULT> {
    static Result call(Arguments...) { return static_cast<Result>(RESULT); }
};

/// Takes the function of a name from a library. False, with the entry as it was, if it isn't there.
template <class Function>
[[nodiscard]] bool entries_find(LibraryHandle library, const char* name, Entry<Function>& entry) {
    void* address = library_findEntry(library, name);
    if (address) {
        entry.function = reinterpret_cast<Function*>(address);
    }
    return address != nullptr;
}
