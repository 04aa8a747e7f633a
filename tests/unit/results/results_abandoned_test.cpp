// What is left of a run whose project is still open when the next one comes.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "support/process.h"
#include "support/results.h"

namespace {

/// Opens a project, starts it and goes some steps; each of them is reported.
void begin(Project& project, int32_t saveMode, int steps) {
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(saveMode), 0);
    double elapsed = 0.0;
    for (int k = 0; k < steps; ++k) {
        ASSERT_EQ(tarnvelde_step(&elapsed), 0);
    }
}

/// The number of reports in the database of a project.
std::string countReports(const Project& project) {
    const ProcessResult result =
        process_run({"sqlite3", project.folder.file("model.db"), "select count(*) from System"});
    return result.status == 0 ? result.out : result.err;
}

}  // namespace

TEST(AbandonedRun, LeavesABinaryFileWithoutItsClosingBlock) {
    Project whole(getPlainProject()), first(getPlainProject()), second(getPlainProject());
    begin(whole, 1, 2);
    tarnvelde_end();
    tarnvelde_close();
    begin(first, 1, 2);
    ASSERT_EQ(second.open(), 0);
    const std::string complete = readFile(whole.results), left = readFile(first.results);
    EXPECT_EQ(left, complete.substr(0, complete.size() - 28)) << "all records and nothing behind them";
}

TEST(AbandonedRun, LeavesAFileOfAnotherSaveMode) {
    Project first(getPlainProject()), second(getPlainProject());
    begin(first, 1, 2);
    tarnvelde_end();
    ASSERT_EQ(tarnvelde_start(0), 0);
    ASSERT_EQ(second.open(), 0);
    EXPECT_TRUE(std::filesystem::exists(first.results)) << "only a close deletes it";
}

TEST(AbandonedRun, LosesAllRowsOfTheDatabaseAlsoBehindItsEnd) {
    for (const bool isEnded : {false, true}) {
        Project first(getPlainProject()), second(getPlainProject());
        begin(first, 2, 1);
        tarnvelde_end();
        tarnvelde_close();
        ASSERT_EQ(countReports(first), "1\n");
        begin(first, 2, 3);
        if (isEnded) {
            tarnvelde_end();
        }
        ASSERT_EQ(second.open(), 0);
        EXPECT_EQ(countReports(first), "1\n") << "those of the run before stay, ended: " << isEnded;
    }
}

TEST(AbandonedRun, LeavesANewDatabaseEmpty) {
    Project first(getPlainProject()), second(getPlainProject());
    begin(first, 2, 3);
    ASSERT_EQ(second.run(), 0);
    EXPECT_NE(countReports(first).find("no such table"), std::string::npos);
}
