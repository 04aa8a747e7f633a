// A whole simulation. Where the engine's own run does all that is asked for, it is left to it, progress lines included.
// Otherwise the host takes the engine through the same calls itself, in silence, with a bar on standard error.

#include "run.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

#include "console.h"
#include "files.h"
#include "messages.h"
#include "progress.h"
#include "status.h"
#include "tarnvelde.h"

static constexpr int32_t SAVE_TO_FILE = 1;
static constexpr int32_t SAVE_TO_DATABASE = 2;
static constexpr int32_t CODE_SAME_NAMES = 301;

/// Steps the started run to its end; the first code other than 0 ends it early.
static int32_t stepToEnd() {
    double startDate = 0.0;
    double endDate = 0.0;
    tarnvelde_getDateTime(&startDate, &endDate);
    Progress progress = progress_begin(endDate - startDate);
    int32_t code = 0;
    double days = 0.0;
    do {
        code = tarnvelde_step(&days);
        progress_update(progress, days);
    } while (code == 0 && days > 0.0);
    progress_end(progress);
    return code;
}

static int32_t stepProject(const ProjectFiles& files, int32_t saveMode) {
    int32_t code = tarnvelde_open(files.model.c_str(), files.report.c_str(), files.results.c_str());
    if (code == 0) {
        code = tarnvelde_start(saveMode);
        if (code == 0) {
            code = stepToEnd();
        }
        tarnvelde_report();
        const int32_t endCode = tarnvelde_end();
        code = code != 0 ? code : endCode;
    }
    tarnvelde_close();
    // The close itself always gives 0, though its commit of the database may have failed. The error is sticky, and a
    // report, which writes nothing on a closed project, hands it out.
    const int32_t closeCode = tarnvelde_report();
    return code != 0 ? code : closeCode;
}

/// Where the results of a run go. An open compares the name of the binary file with the others even where none is made:
/// for a run into the database it gets the name of the database, which no other file of the run may have anyway.
static std::string nameResults(const RunRequest& request) {
    if (request.toDatabase) {
        return files_replaceExtension(request.model, ".db");
    }
    return request.results.empty() ? files_replaceExtension(request.model, ".bin") : request.results;
}

/// Whether any two of the files of a run are one.
static bool isAmbiguous(const ProjectFiles& files) {
    return files_isSame(files.model, files.report) || files_isSame(files.model, files.results) ||
           files_isSame(files.report, files.results);
}

/// Whether the report has its table of flows. The engine tells nothing of a report that a full disk cuts. What is no
/// file, as a terminal, can't be read again and passes.
static bool isComplete(const std::string& report) {
    if (!files_isRegular(report)) {
        return true;
    }
    std::ifstream file(report);
    for (std::string line; file && std::getline(file, line);) {
        if (line.find("Flow Routing Continuity") != std::string::npos) {
            return true;
        }
    }
    return false;
}

int run_execute(const RunRequest& request) {
    const ProjectFiles files{request.model,
                             request.report.empty() ? files_replaceExtension(request.model, ".rpt") : request.report,
                             nameResults(request)};
    if (const std::string name = files_findLongName(files); !name.empty()) {
        std::fprintf(stderr, "tarnvelde: a file name of more than %zu bytes: %s\n", LONGEST_NAME, name.c_str());
        return EXIT_WRONG_USAGE;
    }
    if (isAmbiguous(files)) {
        messages_show(CODE_SAME_NAMES, files, false);
        return EXIT_ENGINE_ERROR;
    }
    int32_t code = 0;
    if (request.isQuiet || request.toDatabase) {
        const int saved = console_silence();
        code = stepProject(files, request.toDatabase ? SAVE_TO_DATABASE : SAVE_TO_FILE);
        console_restore(saved);
    } else {
        code = tarnvelde_run(files.model.c_str(), files.report.c_str(), files.results.c_str());
        std::printf("\n");  // the engine's last line has no end
        std::fflush(stdout);
    }
    if (code != 0) {
        messages_show(code, files, false);
        return EXIT_ENGINE_ERROR;
    }
    if (!isComplete(files.report)) {
        std::fprintf(stderr, "tarnvelde: the report can't be written: %s\n", files.report.c_str());
        return EXIT_ENGINE_ERROR;
    }
    if (!request.isQuiet) {
        std::printf("  Report:  %s\n", files.report.c_str());
        if (files_exists(files.results)) {
            std::printf("  Results: %s\n", files.results.c_str());
        }
    }
    return EXIT_DONE;
}
