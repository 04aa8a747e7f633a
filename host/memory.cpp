// The parser of the command line makes objects ahead of main, and libraries end in std::terminate where a destructor or
// a function that may not throw runs out of memory. Then nothing is left to be saved, but a message and an exit status
// say more than a core does. All other reasons to terminate are faults of the program, which stay visible as such.

#include "memory.h"

#include <cxxabi.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>
#include <typeinfo>

#include "posix.h"
#include "status.h"

static std::atomic<bool> isNoted = false;  // threads of the engine ask for memory, too

/// Called by operator new when it finds no memory; it gives up by this very exception, caught or not.
static void noteRefusal() {
    isNoted = true;
    throw std::bad_alloc();
}

bool memory_wasRefused() {
    return isNoted;
}

void memory_tellRefusal() {
    static constexpr std::string_view MESSAGE = "tarnvelde: not enough memory\n";
    [[maybe_unused]] const ssize_t written = posix_write(STDERR_FILENO, MESSAGE.data(), MESSAGE.size());
}

/// Whether the exception that can't be caught is a refused request. Without one, it was the exception that found no
/// memory: nothing else of the program terminates so.
static bool isRefusal() {
    if (!abi::__cxa_current_exception_type()) {
        return true;
    }
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return true;
    } catch (...) {
        return false;
    }
}

[[noreturn]] static void endProgram() {
    if (isRefusal()) {
        memory_tellRefusal();
        _exit(EXIT_ENGINE_ERROR);
    }
    std::abort();
}

/// Ahead of all other objects of the program.
[[gnu::constructor(101)]] static void install() {
    std::set_terminate(endProgram);
    std::set_new_handler(noteRefusal);
}
