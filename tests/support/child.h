#pragma once
// A part of a test in a process of its own, which may be killed or lack something that the others have.

#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "support/process.h"

/// Runs `work` in a child; its result is the exit status. A child that a signal ends gives 128 + signal.
template <class Work>
int process_fork(Work&& work) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int status = work();
        std::fflush(nullptr);
        _exit(status);
    }
    return process_wait(child);
}

/// From now on rights of files hold for this process: root may do all. False if they can't be made to.
inline bool process_giveUpRights() {
    constexpr unsigned NOBODY = 65534;
    return geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(NOBODY, NOBODY, NOBODY) == 0 &&
                              setresuid(NOBODY, NOBODY, NOBODY) == 0);
}

/// From now on no file of this process grows beyond a size: what a full disk does, without one.
inline void process_limitFileSize(size_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

/// From now on this process takes no more memory from the system than so much on top of what it has. A process of the
/// address sanitizer can't be held so: its shadow alone is larger.
inline void process_limitMemory(size_t bytes) {
    size_t pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        const int count = std::fscanf(file, "%zu", &pages);
        std::fclose(file);
        pages = count == 1 ? pages : 0;
    }
    const size_t size = pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) + bytes;
    const rlimit limit{size, size};
    setrlimit(RLIMIT_AS, &limit);
}
