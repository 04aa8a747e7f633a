// The program becomes Python: keys, signals and the exit status are those of the package from then on. Which Python
// that is says TARNVELDE_PYTHON; else it is the first that has the package, of the system's own and the one on the
// path.

#include "ensemble.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "characters.h"
#include "status.h"

#if defined(_WIN32)

int ensemble_execute(int, char**) {
    std::fputs("tarnvelde: run python -m tarnvelde ensemble ...\n", stderr);
    return EXIT_WRONG_USAGE;
}

#else

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

static int tellMissing() {
    std::fputs(
        "tarnvelde: ensembles need the Python package tarnvelde, which no python3 here has.\n"
        "Install it (Debian: apt-get install python3-pandas; then pip install ./python in the source tree), or name a "
        "Python that has it in the environment: TARNVELDE_PYTHON=/path/to/python3\n",
        stderr);
    return EXIT_ENGINE_ERROR;
}

/// Whether a Python has the package, found without running it. What it prints about that is not shown.
static bool hasPackage(const char* python) {
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, STDIN_FILENO);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execlp(python, python, "-c", "import importlib.util as u, sys; sys.exit(u.find_spec('tarnvelde') is None)",
               static_cast<char*>(nullptr));
        _exit(EXIT_ENGINE_ERROR);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

static const char* findPython() {
    const char* named = std::getenv("TARNVELDE_PYTHON");
    if (named && *named) {
        return named;
    }
    for (const char* python : {"/usr/bin/python3", "python3"}) {
        if (hasPackage(python)) {
            return python;
        }
    }
    return nullptr;
}

int ensemble_execute(int wordCount, char** words) {
    const char* python = findPython();
    if (!python) {
        return tellMissing();
    }
    std::string program = python;
    std::string option = "-m", package = "tarnvelde", command = "ensemble";
    std::vector<char*> all{program.data(), option.data(), package.data(), command.data()};
    all.insert(all.end(), words, words + wordCount);
    all.push_back(nullptr);
    execvp(python, all.data());
    std::fprintf(stderr, "tarnvelde: %s can't be started: %s\n", characters_makePrintable(python).c_str(),
                 std::strerror(errno));
    return EXIT_ENGINE_ERROR;
}

#endif
