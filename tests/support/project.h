#pragma once
// Runs project texts through the public functions and hands back what they leave behind.

#include <string>
#include <vector>

#include "support/tempfolder.h"
#include "tarnvelde.h"

constexpr const char* BANNER = "\n  TARNVELDE - VERSION 2.1\n  -----------------------\n";

/// A project file in a folder of its own, with the names of its results.
struct ProjectFile {
    TempFolder folder;
    std::string input = folder.file("model.inp");
    std::string report = folder.file("model.rpt");
    std::string results = folder.file("model.bin");

    explicit ProjectFile(const std::string& text) { folder.write("model.inp", text); }
    ~ProjectFile() { tarnvelde_close(); }

    int32_t open() { return tarnvelde_open(input.c_str(), report.c_str(), results.c_str()); }
    int32_t run() { return tarnvelde_run(input.c_str(), report.c_str(), results.c_str()); }

    /// The report behind its banner; complete only after the close.
    std::string getReport() const {
        const std::string text = readFile(report);
        const std::string banner = BANNER;
        return text.compare(0, banner.size(), banner) == 0 ? text.substr(banner.size()) : "no banner: " + text;
    }
};

struct OpenResult {
    int32_t code;
    std::string report;  ///< behind the banner
};

/// Opens and closes a project.
inline OpenResult openProject(const std::string& text) {
    ProjectFile project(text);
    const int32_t code = project.open();
    tarnvelde_close();
    return {code, project.getReport()};
}

/// Options of a run of some steps of 60 s from 1 March 2021 on; runoff and report steps are 5 minutes.
inline std::string getGeneral(int steps) {
    char end[64];
    std::snprintf(end, sizeof end, "END_TIME %d:%02d:00\n", steps / 60, steps % 60);
    return std::string("[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\n") + end +
           "ROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\nREPORT_STEP 0:05:00\n";
}

/// Steps a started run to its end; the last code.
inline int32_t stepToEnd() {
    double elapsed = 0.0;
    int32_t code;
    do {
        code = tarnvelde_step(&elapsed);
    } while (code == 0 && elapsed > 0.0);
    return code;
}
