// The bar on standard error: drawn on a terminal only, and only by a run that the host steps itself.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "program.h"

using testing::HasSubstr;

/// What `tarnvelde run MODEL OPTION` writes on a terminal that is its standard error.
static std::string runOnTerminal(const std::string& model, const char* option) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        ADD_FAILURE() << "no terminal to be had";
        return {};
    }
    const std::string name = ptsname(master);
    const int terminal = open(name.c_str(), O_RDWR | O_NOCTTY);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, name.c_str(), O_RDWR | O_NOCTTY, 0);
    std::string arguments[] = {TARNVELDE_PROGRAM, "run", model, option};
    char* pointers[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(), nullptr};
    pid_t child = 0;
    EXPECT_EQ(posix_spawn(&child, pointers[0], &actions, nullptr, pointers, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(process_wait(child), 0);
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

TEST(HostProgress, IsDrawnOnATerminalAndTakenAway) {
    TempFolder folder;
    const std::string shown = runOnTerminal(folder.write("model.inp", GOOD_PROJECT), "--quiet");
    EXPECT_THAT(shown, HasSubstr(" %   day 0.0 of 0.1"));
    EXPECT_TRUE(shown.ends_with("\r\033[K"));
}

TEST(HostProgress, IsNotDrawnBesideTheLinesOfTheEngine) {
    TempFolder folder;
    const std::string report = "--report=" + folder.file("other.rpt");
    EXPECT_EQ(runOnTerminal(folder.write("model.inp", GOOD_PROJECT), report.c_str()), "");
}
