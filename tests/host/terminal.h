#pragma once
// The program on a terminal.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "program.h"

/// What `tarnvelde ARGUMENTS` writes on a terminal that is one of its standard streams, the other leading nowhere. It
/// must end with the status that is given.
inline std::string terminal_run(std::vector<std::string> arguments, int stream = STDERR_FILENO, int status = 0) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        ADD_FAILURE() << "no terminal to be had";
        return {};
    }
    const std::string name = ptsname(master);
    const int terminal = open(name.c_str(), O_RDWR | O_NOCTTY);
    const int other = stream == STDERR_FILENO ? STDOUT_FILENO : STDERR_FILENO;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, other, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, stream, name.c_str(), O_RDWR | O_NOCTTY, 0);
    arguments.insert(arguments.begin(), TARNVELDE_PROGRAM);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    pid_t child = 0;
    EXPECT_EQ(posix_spawn(&child, pointers[0], &actions, nullptr, pointers.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(process_wait(child), status);
    // We hold the terminal open ourselves, so what was written waits there. It is little enough to wait.
    fcntl(master, F_SETFL, O_NONBLOCK);
    std::string shown;
    char buffer[4096];
    for (ssize_t length = 0; (length = read(master, buffer, sizeof buffer)) > 0;) {
        shown.append(buffer, static_cast<size_t>(length));
    }
    close(terminal);
    close(master);
    return shown;
}
