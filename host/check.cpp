// A check is an open and a close. Report and results, which an open wants to have a name for, go to a temporary folder.

#include "check.h"

#include <cstdint>
#include <cstdio>

#include "console.h"
#include "files.h"
#include "messages.h"
#include "status.h"
#include "tarnvelde.h"

int check_execute(const std::string& model) {
    const std::string folder = files_makeTemporaryFolder();
    if (folder.empty()) {
        std::fprintf(stderr, "tarnvelde: cannot make a temporary folder\n");
        return EXIT_ENGINE_ERROR;
    }
    const ProjectFiles files{model, folder + "/check.rpt", folder + "/check.bin"};
    int status = EXIT_DONE;
    if (const std::string name = files_findLongName(files); !name.empty()) {
        std::fprintf(stderr, "tarnvelde: a file name of more than %zu bytes: %s\n", LONGEST_NAME, name.c_str());
        status = EXIT_WRONG_USAGE;
    } else {
        const int saved = console_silence();
        const int32_t code = tarnvelde_open(files.model.c_str(), files.report.c_str(), files.results.c_str());
        tarnvelde_close();
        console_restore(saved);
        if (code != 0) {
            messages_show(code, files, true);
            status = EXIT_ENGINE_ERROR;
        } else {
            std::printf("%s: no errors\n", model.c_str());
        }
    }
    files_removeFolder(folder);
    return status;
}
