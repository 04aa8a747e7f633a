#pragma once
// Projects made from text, through the public functions, and what they leave behind.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/records.h"
#include "support/tempfolder.h"
#include "tarnvelde.h"

constexpr const char* BANNER = "\n  TARNVELDE - VERSION 2.1\n  -----------------------\n";

/// A project file in a folder of its own, with the names of its results. Records by their IDs are those of the project
/// opened last; only tests that are linked with the engine's objects have them.
struct Project : Records {
    TempFolder folder;
    std::string input = folder.file("model.inp");
    std::string report = folder.file("model.rpt");
    std::string results = folder.file("model.bin");

    Project() = default;
    explicit Project(const std::string& text) { write(text); }
    ~Project() { tarnvelde_close(); }
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    /// Another text for the file.
    void write(const std::string& text) const { folder.write("model.inp", text); }

    int32_t open() const { return tarnvelde_open(input.c_str(), report.c_str(), results.c_str()); }
    int32_t run() const { return tarnvelde_run(input.c_str(), report.c_str(), results.c_str()); }

    /// Opens and starts a project that must be good.
    void start(int32_t saveMode = 0) const {
        ASSERT_EQ(open(), 0) << getReport();
        ASSERT_EQ(tarnvelde_start(saveMode), 0) << getReport();
    }

    /// Steps of a started run, all of which must be good.
    static void step(int count = 1) {
        double elapsed;
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
    }

    /// The rest of a started run, all of whose steps must be good.
    static void runToEnd();

    /// The report behind its banner; complete only after the close.
    std::string getReport() const {
        const std::string text = readFile(report);
        const std::string banner = BANNER;
        return text.compare(0, banner.size(), banner) == 0 ? text.substr(banner.size()) : "no banner: " + text;
    }

    /// What the report of an open project holds so far, behind the banner.
    std::string readReport() const;
};

/// A project that must be good, opened and started without results.
struct StartedProject : Project {
    explicit StartedProject(const std::string& text, int32_t saveMode = 0) : Project(text) { start(saveMode); }
};

struct OpenResult {
    int32_t code;
    std::string report;  ///< behind the banner
};

/// Opens and closes a project.
inline OpenResult openProject(const std::string& text) {
    const Project project(text);
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

inline void Project::runToEnd() {
    ASSERT_EQ(stepToEnd(), 0);
}
