// The engine prints its progress on the standard output of the process, and knows no switch for it. So the descriptor
// itself is led elsewhere for as long as the engine works.

#include "console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

static constexpr const char* NOWHERE = "/dev/null";

void console_openStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest free descriptor is the one asked for, since those below are open.
            [[maybe_unused]] const int opened = open(NOWHERE, O_RDWR);
        }
    }
}

int console_silence() {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int nowhere = open(NOWHERE, O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    return saved;
}

void console_restore(int saved) {
    std::fflush(stdout);
    if (saved >= 0) {
        dup2(saved, STDOUT_FILENO);
        close(saved);
    }
}
