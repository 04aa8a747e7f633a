#include "results/results.h"

#include <gtest/gtest.h>

#include <cmath>

#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "results/binary.h"
#include "support/model.h"
#include "support/results.h"

namespace {

/// A binary results file of the small project, by its columns.
struct ResultFile {
    std::string bytes;
    size_t record;

    explicit ResultFile(const std::string& name) : bytes(readFile(name)), record(8 + 4 * (12 + 3 + 3 + 3)) {}

    int32_t getCount() const { return getClosing(bytes, 4); }
    float getValue(int32_t period, size_t place) const {
        const size_t start = static_cast<size_t>(getClosing(bytes, 3));
        return getFloat(bytes, start + static_cast<size_t>(period - 1) * record + 8 + 4 * place);
    }
    float getSystem(int32_t period, size_t column) const { return getValue(period, column); }
    float getOutfall(int32_t period, size_t column) const { return getValue(period, 12 + 3 + column); }
    float getConnection(int32_t period, size_t column) const { return getValue(period, 12 + 6 + column); }
};

ResultFile runToFile(Project& project) {
    EXPECT_EQ(project.run(), 0);
    return ResultFile(project.results);
}

}  // namespace

TEST(Results, SampledRowsInterpolateWithinTheStep) {
    // Steps of 60 s and reports of 90 s: the first report lies in the middle of the second step, the second at the end
    // of the third, the delivery begins in the third. A sample at 270 s is never due.
    Project project(getDelayedProject("REPORT_STEP 0:01:30\nREPORT_AVERAGE NO\n"));
    const ResultFile file = runToFile(project);
    ASSERT_EQ(file.getCount(), 2);
    EXPECT_EQ(file.getConnection(1, 1), 0.0f);
    EXPECT_EQ(file.getConnection(2, 1), 0.5f);
}

TEST(Results, ASampleBetweenTwoStatesIsTheirWeightedMean) {
    Project project(getDelayedProject("REPORT_STEP 0:02:30\nREPORT_AVERAGE NO\n"));
    const ResultFile file = runToFile(project);  // 150 s is in the middle of the third step
    ASSERT_EQ(file.getCount(), 1);
    // The old inflow of a connection is only rolled if the node of the same number is an outfall, which node 0 isn't.
    EXPECT_EQ(file.getConnection(1, 0), 0.25f);
    EXPECT_EQ(file.getConnection(1, 1), 0.25f);
    EXPECT_EQ(file.getOutfall(1, 0), 0.25f);
    EXPECT_EQ(file.getOutfall(1, 2), 2.0f);
    EXPECT_EQ(file.getSystem(1, 4), 0.75f);
    EXPECT_EQ(file.getSystem(1, 9), 0.25f);
}

TEST(Results, MeansCoverTheStepsOfThePeriod) {
    Project project(getDelayedProject("REPORT_STEP 0:03:00\nREPORT_AVERAGE YES\n"));
    const ResultFile file = runToFile(project);
    ASSERT_EQ(file.getCount(), 1);
    EXPECT_EQ(file.getConnection(1, 0), 1.5f / 3.0f);
    EXPECT_EQ(file.getConnection(1, 1), 0.5f / 3.0f);
    EXPECT_EQ(file.getOutfall(1, 2), 4.0f / 3.0f);
    EXPECT_EQ(file.getSystem(1, 9), 0.5f);  // the system is that of the report time
}

TEST(Results, AStepThatCrossesTheReportTimeCountsToTheNextPeriod) {
    Project project(getDelayedProject("REPORT_STEP 0:01:30\nREPORT_AVERAGE YES\n"));
    const ResultFile file = runToFile(project);
    ASSERT_EQ(file.getCount(), 2);
    EXPECT_EQ(file.getConnection(1, 1), 0.0f);   // step 1 alone
    EXPECT_EQ(file.getConnection(2, 1), 0.25f);  // steps 2 and 3
}

TEST(Results, MeansAreTheDefault) {
    Project project(getDelayedProject("REPORT_STEP 0:03:00\n"));
    EXPECT_EQ(runToFile(project).getConnection(1, 1), 0.5f / 3.0f);
}

TEST(Results, APeriodWithoutAStepIsNoNumber) {
    Project project(getDelayedProject("REPORT_STEP 0:02:00\nREPORT_AVERAGE YES\n"));
    project.open();
    tarnvelde_start(1);
    double elapsed = 0.0;
    tarnvelde_step(&elapsed);
    tarnvelde_step(&elapsed);
    EXPECT_EQ(testModel().results->sumCount, 0);
    results_write(testModel());
    tarnvelde_end();
    tarnvelde_close();
    const ResultFile file(project.results);
    ASSERT_EQ(file.getCount(), 2);
    EXPECT_EQ(file.getConnection(1, 0), 0.5f);
    EXPECT_TRUE(std::isnan(file.getConnection(2, 0)));
    EXPECT_EQ(file.getSystem(2, 4), 0.5f);
}

TEST(Results, CallsBehindTheEndStillAccumulateAndWrite) {
    Project project(getDelayedProject("REPORT_STEP 0:03:00\nREPORT_AVERAGE YES\n"));
    project.open();
    tarnvelde_start(1);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(testModel().results->sumCount, 1);
    double elapsed = 1.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(elapsed, 0.0);
    EXPECT_EQ(testModel().results->sumCount, 2);
    testModel().clock.reportTime = testModel().clock.newRoutingTime;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(testModel().results->sumCount, 0);
    tarnvelde_end();
    tarnvelde_close();
    const ResultFile file(project.results);
    ASSERT_EQ(file.getCount(), 2);
    EXPECT_EQ(file.getConnection(2, 1), 0.5f);
}

TEST(Results, AStepThatAnErrorFreezesStillSavesTheStateThatItFinds) {
    Project project(getDelayedProject("REPORT_STEP 0:03:00\nREPORT_AVERAGE YES\n"));
    project.open();
    EXPECT_EQ(tarnvelde_start(1), 0);
    EXPECT_EQ(testModel().options.runoffStep, 1);  // without land, so that the next step needs runoff again
    double elapsed = 0.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(testModel().results->sumCount, 1);
    EXPECT_EQ(tarnvelde_start(1), 400);
    EXPECT_EQ(tarnvelde_step(&elapsed), 400);
    EXPECT_EQ(testModel().clock.newRoutingTime, 60000.0);
    EXPECT_EQ(testModel().results->sumCount, 2);
    EXPECT_EQ(testModel().clock.reportTime, 180000.0);
    testModel().clock.reportTime = 60000.0;  // now due: the state counts a third time and is written
    EXPECT_EQ(tarnvelde_step(&elapsed), 400);
    EXPECT_EQ(testModel().clock.newRoutingTime, 60000.0);
    EXPECT_EQ(testModel().results->sumCount, 0);
    EXPECT_EQ(testModel().clock.reportTime, 240000.0);
    EXPECT_EQ(tarnvelde_end(), 400);
    tarnvelde_close();
    const ResultFile file(project.results);
    EXPECT_EQ(file.getCount(), 1);
    EXPECT_EQ(getClosing(file.bytes, 5), 400);
    EXPECT_EQ(file.getConnection(1, 0), 0.5f);  // three times the same state
    EXPECT_EQ(file.getSystem(1, 4), 0.5f);
}

TEST(Results, AStartForgetsTheStepsBehindTheLastReportOfTheRunBefore) {
    Project project(getDelayedProject("REPORT_STEP 0:03:00\nREPORT_AVERAGE YES\n"));
    project.open();
    EXPECT_EQ(tarnvelde_start(1), 0);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(testModel().results->sumCount, 1);  // the fourth step
    tarnvelde_end();
    const std::string first = readFile(project.results);
    EXPECT_EQ(tarnvelde_start(1), 0);
    EXPECT_EQ(testModel().results->sumCount, 0);
    EXPECT_EQ(stepToEnd(), 0);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(readFile(project.results), first);
    EXPECT_EQ(getClosing(first, 4), 1);
}

TEST(Results, ReportTimeMovesOnByOneStepAtATime) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    testModel().clock.reportTime = -180000.0;  // long past
    double elapsed = 0.0;
    tarnvelde_step(&elapsed);
    EXPECT_EQ(testModel().clock.reportTime, -120000.0);
    tarnvelde_close();
}

TEST(Results, WithoutASaveModeTheReportTimeStands) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(0);
    stepToEnd();
    EXPECT_EQ(testModel().clock.reportTime, 60000.0);
    EXPECT_EQ(testModel().results->sumCount, 0);
    tarnvelde_close();
}

TEST(Results, AnUnknownSaveModeKeepsTheReportTimeGoing) {
    Project project(getDelayedProject("REPORT_STEP 0:01:00\nREPORT_AVERAGE YES\n"));
    project.open();
    tarnvelde_start(3);
    double elapsed = 0.0;
    tarnvelde_step(&elapsed);
    EXPECT_EQ(testModel().clock.reportTime, 120000.0);
    EXPECT_EQ(testModel().results->sumCount, 0);
    tarnvelde_close();
}

TEST(Results, SavingDoesNotChangeTheRun) {
    const std::string series = "[TIMESERIES]\nT1 2021/03/01 0:00 0.1 0:01 0.7 0:02 0.2 0:10 0.9\n";
    const std::string inflow = "[INFLOWS]\nO1 FLOW FLOW 0 T1 1\n";
    std::string reports[3];
    for (const int32_t mode : {0, 1, 2}) {
        Project project(getDelayedProject("REPORT_STEP 0:01:17\nREPORT_AVERAGE NO\n").append(inflow).append(series));
        project.open();
        tarnvelde_start(mode);
        EXPECT_EQ(stepToEnd(), 0);
        tarnvelde_report();
        tarnvelde_end();
        tarnvelde_close();
        reports[mode] = project.getReport();
    }
    EXPECT_NE(reports[0], "");
    EXPECT_EQ(reports[1], reports[0]);
    EXPECT_EQ(reports[2], reports[0]);
}

// --- land and its own clock ----------------------------------------------------------------------------------------

namespace {

/// Land whose runoff goes from 1 to 2 m3/s between two ends of a runoff step, and nothing else but an outfall.
struct LandRun {
    Project project;

    explicit LandRun(const std::string& average)
        : project(getGeneral(10) + "REPORT_AVERAGE " + average +
                  "\n[RAINGAGES]\nG INTENSITY 1:00 R\n[TIMESERIES]\nR 2021/03/01 0:00 0 1:00 0 2:00 0\n"
                  "[SUBCATCHS]\nS G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n[OUTFALLS]\nO\n") {
        EXPECT_EQ(project.open(), 0);
        EXPECT_EQ(tarnvelde_start(1), 0);
        testModel().subcatches.at(0).lastRunoff = 1.0;
        testModel().subcatches.at(0).thisRunoff = 2.0;
    }

    /// Writes one report with these clocks and expects this runoff of the land and of the system.
    void expectRunoff(float runoff) {
        results_write(testModel());
        tarnvelde_end();
        tarnvelde_close();
        const std::string file = readFile(project.results);
        const size_t record = static_cast<size_t>(getClosing(file, 3)) + 8;
        EXPECT_FLOAT_EQ(getFloat(file, record + 4 * 3), runoff) << "Runoff of the system";
        EXPECT_FLOAT_EQ(getFloat(file, record + 4 * (12 + 3)), runoff) << "Runoff of the subcatchment";
    }
};

}  // namespace

TEST(Results, LandIsTakenBetweenTheEndsOfItsOwnStep) {
    for (const char* average : {"YES", "NO"}) {
        SCOPED_TRACE(average);
        LandRun run(average);
        testModel().clock.oldRoutingTime = 0.0;
        testModel().clock.newRoutingTime = 60000.0;
        testModel().clock.oldRunoffTime = 0.0;
        testModel().clock.newRunoffTime = 300000.0;
        testModel().clock.reportTime = 60000.0;
        run.expectRunoff(1.0f + 60.0f / 300.0f);  // not 2, as by the clock of the network
    }
}

TEST(Results, LandIsExtrapolatedOutsideOfItsStep) {
    for (const char* average : {"YES", "NO"}) {
        SCOPED_TRACE(average);
        LandRun run(average);
        testModel().clock.oldRoutingTime = 0.0;
        testModel().clock.newRoutingTime = 60000.0;
        testModel().clock.oldRunoffTime = 60000.0;
        testModel().clock.newRunoffTime = 120000.0;
        testModel().clock.reportTime = 30000.0;
        run.expectRunoff(1.0f - 30.0f / 60.0f);
    }
}

// --- memory --------------------------------------------------------------------------------------------------------

namespace {

/// Starts a run without results, then opens a file with the request number `count` failing. The errors reported.
int countMemoryErrors(Project& project, int64_t count) {
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(0), 0);
    testModel().sinks = SINK_FILE;
    arena_failAfter(count);
    results_open(testModel());
    arena_failAfter(0);
    results_accumulate(testModel());
    results_write(testModel());
    results_end(testModel());
    const int32_t code = testModel().error.code;
    tarnvelde_close();
    const std::string report = project.getReport();
    const std::string message = "\n  \n  ERROR 101: memory allocation error.";
    EXPECT_EQ(report.size() % message.size(), 0u);
    EXPECT_EQ(code, report.empty() ? ERR_NONE : ERR_MEMORY);
    return static_cast<int>(report.size() / message.size());
}

}  // namespace

TEST(Results, ABufferWithoutMemoryGivesOneErrorAndLeavesTheRowsOut) {
    constexpr size_t RECORD = 8 + 4 * 12 + 3 * 3 * 4;
    for (const bool isMean : {true, false}) {
        const std::string options =
            std::string("REPORT_STEP 0:01:00\nREPORT_AVERAGE ") + (isMean ? "YES" : "NO") + '\n';
        // The record, and for means the sums of the three kinds that the project has.
        const int64_t requests = isMean ? 4 : 1;
        Project whole(getDelayedProject(options));
        EXPECT_EQ(countMemoryErrors(whole, requests + 1), 0);
        const size_t wholeSize = readFile(whole.results).size();
        for (int64_t count = 1; count <= requests; ++count) {
            Project project(getDelayedProject(options));
            EXPECT_EQ(countMemoryErrors(project, count), 1) << count;
            EXPECT_EQ(readFile(project.results).size(), wholeSize - RECORD) << count;
        }
    }
}

TEST(Results, AnErrorOfTheStartLeavesTheOldFileAlone) {
    Project project(getDelayedProject());
    project.folder.write("model.bin", "old");
    project.open();
    arena_failAfter(1);  // an array of the start
    EXPECT_EQ(tarnvelde_start(1), 101);
    arena_failAfter(0);
    double elapsed = 0.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 101);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(readFile(project.results), "old");
}

TEST(Results, AreGivenBackByTheClose) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    EXPECT_GT(testModel().memory.results.taken, 0u);
    EXPECT_NE(testModel().binary->file, nullptr);
    tarnvelde_close();
    EXPECT_EQ(testModel().memory.results.taken, 0u);
    EXPECT_EQ(testModel().binary->file, nullptr);
}

TEST(Results, ASecondStartTakesNoMoreMemory) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    const size_t taken = testModel().memory.results.taken;
    tarnvelde_end();
    tarnvelde_start(1);
    EXPECT_EQ(testModel().memory.results.taken, taken);
    tarnvelde_close();
}
