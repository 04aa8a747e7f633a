#pragma once
// A run that takes long, on its way, for tests that stop it.

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "program.h"

/// A project that no machine runs to its end while a test waits.
inline std::string makeLongProject() {
    std::string text = GOOD_PROJECT;
    text.replace(text.find("END_DATE 2024/01/01"), 19, "END_DATE 2999/01/01");
    text.replace(text.find("ROUTING_STEP 0:01:00"), 20, "ROUTING_STEP 0:00:10\nREPORT_STEP 0:10:00");
    return text;
}

/// A run on its way, whose output goes to files.
struct RunningProgram {
    TempFolder folder;
    std::string model = folder.write("model.inp", makeLongProject());
    pid_t child = 0;

    explicit RunningProgram(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {TARNVELDE_PROGRAM, "run", model});
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, folder.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder.file("err").c_str(), O_WRONLY | O_CREAT, 0600);
        // Whoever starts the tests may have had the signals ignored.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        sigaddset(&signals, SIGHUP);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        EXPECT_EQ(posix_spawn(&child, pointers[0], &actions, &attributes, pointers.data(), environ), 0);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    ~RunningProgram() {
        if (child > 0) {
            kill(child, SIGKILL);
            process_wait(child);
        }
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Waits until a file of the run has grown so far. False if it takes too long.
    [[nodiscard]] bool waitForSize(const std::string& name, size_t bytes) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        std::error_code error;
        while (std::chrono::steady_clock::now() < end) {
            const auto size = std::filesystem::file_size(folder.file(name), error);
            if (!error && size >= bytes) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    /// The status of the run; -1 if it is still there after some time.
    [[nodiscard]] int wait() {
        for (int k = 0; k < 600; ++k) {
            int state = 0;
            if (waitpid(child, &state, WNOHANG) == child) {
                child = 0;
                return WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return -1;
    }
};
