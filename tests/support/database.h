#pragma once
// Runs into the results database, and a look into it through the sqlite3 program.

#include <gtest/gtest.h>

#include <string>

#include "support/process.h"
#include "support/project.h"

inline std::string getDatabase(const Project& project) {
    return project.folder.file("model.db");
}

/// What the sqlite3 program answers, rows in lines and columns divided by bars.
inline std::string ask(const std::string& database, const std::string& sql) {
    const ProcessResult result = process_run({"sqlite3", database, sql});
    EXPECT_EQ(result.status, 0) << sql << '\n' << result.err;
    return result.out;
}

/// Runs a project into its database; the code of the last step.
inline int32_t runToDatabase(Project& project) {
    EXPECT_EQ(project.open(), 0);
    int32_t code = tarnvelde_start(2);
    double elapsed = 1.0;
    for (int k = 0; k < 10 && elapsed > 0.0; ++k) {
        code = tarnvelde_step(&elapsed);
    }
    tarnvelde_report();
    tarnvelde_end();
    tarnvelde_close();
    return code;
}
