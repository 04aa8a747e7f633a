#pragma once
// Runs a program and catches what it prints.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/tempfolder.h"

struct ProcessResult {
    int status;  ///< exit status; 128 + signal if a signal ended the program; -1 if it could not be started
    std::string out;
    std::string err;
};

/// Waits for a child; its status as in ProcessResult.
inline int process_wait(pid_t child) {
    int state = 0;
    waitpid(child, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
}

/// Runs `arguments`, the program first, with its output going to files.
inline ProcessResult process_run(const std::vector<std::string>& arguments) {
    TempFolder folder;
    const std::string outFile = folder.file("out");
    const std::string errFile = folder.file("err");
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = 0;
    const int failure = posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    const int status = failure != 0 ? -1 : process_wait(child);
    return {status, readFile(outFile), readFile(errFile)};
}
