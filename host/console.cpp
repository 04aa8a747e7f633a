// What the systems do differently with standard streams.

#include "console.h"

#include <cstdio>

#include <cerrno>
#include <cstring>

#include "status.h"

static bool isReaderGone();
static bool closeOutput();

bool console_isOutputBroken() {
    return std::ferror(stdout) != 0;
}

int console_endOutput(int status) {
    // A stream keeps that it has failed, but not why: that is only known of the last of it.
    const bool isBroken = std::ferror(stdout) != 0;
    errno = 0;
    const bool isFlushed = std::fflush(stdout) == 0;
    const int reason = errno;
    if ((isBroken || !isFlushed) && isReaderGone()) {
        return status < EXIT_SIGNAL ? EXIT_PIPE : status;
    }
    if (!isBroken && isFlushed && closeOutput()) {  // some file systems tell of a full disk no earlier
        return status;
    }
    const int cause = reason != 0 || isBroken ? reason : errno;
    std::fprintf(stderr, "tarnvelde: cannot write to standard output%s%s\n", cause != 0 ? ": " : "",
                 cause != 0 ? std::strerror(cause) : "");
    return status == EXIT_DONE || status == EXIT_DOUBT ? EXIT_ENGINE_ERROR : status;
}

#if defined(_WIN32)

#include <fcntl.h>
#include <io.h>

static bool isReaderGone() {
    return errno == EINVAL || errno == EPIPE;  // the former is what a write to such a pipe gives here
}

static bool closeOutput() {
    return _close(_fileno(stdout)) == 0;
}

/// A descriptor of a file is never that of a stream here. Lines end as on other systems.
void console_openStreams() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

bool console_isOutputTerminal() {
    return _isatty(_fileno(stdout)) != 0;
}

bool console_isErrorTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

#else

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

/// The end of a pipe to write to is in error from the moment on at which nobody holds the other one.
static bool isReaderGone() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return poll(&output, 1, 0) == 1;  // which is told unasked, and nothing else of a stream that is open
}

static bool closeOutput() {
    return close(STDOUT_FILENO) == 0;
}

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
