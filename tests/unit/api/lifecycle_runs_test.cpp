// Whole runs: what holds in every network, and how two runs that should be the same compare.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include "model/arena.h"
#include "model/project.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/project.h"
#include "support/sanitizer.h"

/// Runs a project to its end and gives the report.
static std::string runProject(const std::string& text) {
    Project project(text);
    EXPECT_EQ(project.run(), 0);
    return project.getReport();
}

// --- runs that should be the same ----------------------------------------------------------------------------------

TEST(Runs, AreTheSameByStepsAndAtOnce) {
    const std::string text = getGeneral(180) + generateNetwork(5, 30, 2);
    const std::string whole = runProject(text);
    Project project(text);
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(1), 0);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(tarnvelde_report(), 0);
    EXPECT_EQ(tarnvelde_end(), 0);
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), whole);
}

TEST(Runs, AreTheSameASecondTime) {
    const std::string text = getGeneral(180) + generateNetwork(6, 30, 2);
    const std::string first = runProject(text);
    Project project(text);
    ASSERT_EQ(project.open(), 0);
    for (int run = 0; run < 3; ++run) {
        ASSERT_EQ(tarnvelde_start(0), 0);
        EXPECT_EQ(stepToEnd(), 0);
        if (run == 1) {
            EXPECT_EQ(tarnvelde_report(), 0);
        }
        EXPECT_EQ(tarnvelde_end(), 0);
    }
    tarnvelde_close();
    EXPECT_EQ(project.getReport(), first);
}

TEST(Runs, DontDependOnTheReportStep) {
    const std::string network = generateNetwork(7, 30, 2);
    EXPECT_EQ(runProject(getGeneral(180) + network),
              runProject(getGeneral(180) + "[GENERAL]\nREPORT_STEP 0:17:00\nREPORT_AVERAGE NO\n" + network));
}

TEST(Runs, DontDependOnNamesAndLayout) {
    const std::string general = getGeneral(120);
    const std::string plain = runProject(general + generateNetwork(8, 25, 1));
    std::string spaced = general + generateNetwork(8, 25, 1);
    spaced = std::regex_replace(spaced, std::regex(" "), "\t  ");
    spaced = std::regex_replace(spaced, std::regex("\n"), "  // comment\r\n\r\n/ comment\r\n");
    EXPECT_EQ(runProject(spaced), plain);
    const auto getNumbers = [](const std::string& report) {
        std::string numbers;
        const std::regex number("-?[0-9]+\\.[0-9]{3}");
        for (std::sregex_iterator at(report.begin(), report.end(), number), end; at != end; ++at) {
            numbers += at->str() + "\n";
        }
        return numbers;
    };
    EXPECT_EQ(getNumbers(runProject(general + generateNetwork(8, 25, 1, "z"))), getNumbers(plain));
}

TEST(Runs, DontDependOnTheOrderOfSectionsWithDefinitionsFirst) {
    const std::string general = getGeneral(120);
    const std::string network = generateNetwork(9, 25, 1);
    const std::string plain = runProject(general + network);
    // Pollutants, patterns and series ahead of the network.
    const size_t patterns = network.find("[PATTERNS]");
    EXPECT_EQ(runProject(network.substr(patterns) + network.substr(0, patterns) + general), plain);
}

TEST(Runs, LeaveMemoryAsItWas) {
    const std::string text = getGeneral(30) + generateNetwork(10, 20, 1);
    for (int k = 0; k < 50; ++k) {
        Project project(text);
        ASSERT_EQ(project.open(), 0);
        if (k % 2 == 0) {
            ASSERT_EQ(tarnvelde_start(0), 0);
        }
        if (k % 3 == 0) {
            tarnvelde_end();
        }
        tarnvelde_close();
        EXPECT_EQ(testModel().memory.project.taken, 0u);
        EXPECT_EQ(testModel().memory.results.taken, 0u);
        EXPECT_EQ(testModel().memory.run.taken, 0u);
        EXPECT_TRUE(testModel().nodes.empty());
    }
}

/// Open files of this process, the look itself among them.
static ptrdiff_t countOpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Memory of this process that the machine holds, in kB.
static long getResidentMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return std::stol(line.substr(6));
        }
    }
    return -1;
}

TEST(Runs, LeaveTheProcessAsItWas) {
    const int32_t cycles = 2000;
    Project project(getGeneral(30) + generateNetwork(10, 20, 1));
    ptrdiff_t files = 0;
    long memory = 0;
    int32_t failures = 0;
    testing::internal::CaptureStdout();
    for (int32_t k = 0; k < cycles; ++k) {
        if (k == cycles / 10) {  // what is taken once and kept has been taken by now
            files = countOpenFiles();
            memory = getResidentMemory();
        }
        failures += project.run() != 0;
        // Some file systems wait for the disk when a file is emptied and written anew.
        std::filesystem::remove(project.report);
        std::filesystem::remove(project.results);
    }
    const ptrdiff_t filesAtEnd = countOpenFiles();
    const long memoryAtEnd = getResidentMemory();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(filesAtEnd, files);
    ASSERT_GT(memory, 0);
    if (!IS_FREED_MEMORY_KEPT) {
        EXPECT_LT(memoryAtEnd, memory + 1024);  // a leak of 1 kB in each cycle would make 1800 kB
    }
}
