// What the systems do differently with standard streams.

#include "console.h"

#include <cstdio>

bool console_endOutput() {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return true;
    }
    std::fprintf(stderr, "tarnvelde: cannot write to standard output\n");
    return false;
}

#if defined(_WIN32)

#include <io.h>

void console_openStreams() {}  // a descriptor of a file is never that of a stream here

bool console_isOutputTerminal() {
    return _isatty(_fileno(stdout)) != 0;
}

bool console_isErrorTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

#else

#include <fcntl.h>
#include <unistd.h>

void console_openStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest free descriptor is the one asked for, since those below are open.
            [[maybe_unused]] const int opened = open("/dev/null", O_RDWR);
        }
    }
}

bool console_isOutputTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

bool console_isErrorTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

#endif
