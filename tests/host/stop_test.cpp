// A run that stops ahead of its end, at a date or by a signal: what it leaves is complete.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <thread>

#include "dates.h"
#include "program.h"
#include "runningprogram.h"

using testing::HasSubstr;
using testing::Not;

namespace {

double parseDate(const std::string& text) {
    double date = -1.0;
    return dates_parse(text, &date) ? date : -1.0;
}

}  // namespace

struct HostStop : testing::TestWithParam<int> {};

TEST_P(HostStop, ASignalLeavesCompleteFiles) {
    RunningProgram run({});
    ASSERT_TRUE(run.waitForSize("model.bin.part", 4000));
    kill(run.child, GetParam());
    EXPECT_EQ(run.wait(), 128 + GetParam());
    EXPECT_THAT(readFile(run.folder.file("model.rpt")), HasSubstr("Flow Routing Continuity"));
    const std::string name = std::string("SIG") + sigabbrev_np(GetParam());
    EXPECT_THAT(readFile(run.folder.file("err")), HasSubstr("tarnvelde: stopped by " + name + " at 2"));
    EXPECT_THAT(readFile(run.folder.file("out")), HasSubstr("  Simulation stopped\n  Writing output report\n"));
    const ProcessResult results = runProgram({"results", run.folder.file("model.bin"), "--summary"});
    EXPECT_EQ(results.status, 0) << results.err;
    EXPECT_THAT(results.out, HasSubstr("Pipe"));
}

INSTANTIATE_TEST_SUITE_P(Signals, HostStop, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGPIPE));

TEST(HostStop, ASecondSignalEndsAtOnce) {
    RunningProgram run({});
    ASSERT_TRUE(run.waitForSize("model.bin.part", 1));
    kill(run.child, SIGSTOP);  // so that both are there before the run can act on one
    kill(run.child, SIGINT);
    kill(run.child, SIGTERM);
    kill(run.child, SIGCONT);
    EXPECT_GT(run.wait(), 128);
    EXPECT_EQ(readFile(run.folder.file("err")), "");
    EXPECT_FALSE(std::filesystem::exists(run.folder.file("model.rpt")));
}

TEST(HostStop, ADatabaseIsCommitted) {
    RunningProgram run({"--database", "--results", "/dev/null"});
    ASSERT_TRUE(run.waitForSize("model.rpt.part", 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    kill(run.child, SIGTERM);
    EXPECT_EQ(run.wait(), 143);
    EXPECT_FALSE(std::filesystem::exists(run.folder.file("model.db-journal")));
    const ProcessResult results = runProgram({"results", run.folder.file("model.db"), "--object", "P1", "--csv"});
    EXPECT_EQ(results.status, 0) << results.err;
    EXPECT_THAT(results.out, HasSubstr("\n2024-01-01 00:10:00"));
}

TEST(HostStop, ASignalThatIsIgnoredAtTheStartStaysIgnored) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = process_run(
        {"sh", "-c", "trap '' INT; \"$0\" run \"$1\" --quiet & kill -INT $!; wait $!", TARNVELDE_PROGRAM, model});
    EXPECT_EQ(result.status, 0);
}

TEST(HostStop, ADateStopsTheRun) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    std::string shorter = GOOD_PROJECT;
    shorter.replace(shorter.find("END_TIME 02:00"), 14, "END_TIME 00:45");
    const std::string other = folder.write("other.inp", shorter);
    const ProcessResult result = runProgram({"run", model, "--until", "2024/01/01 0:45"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("  Simulation stopped\n"));
    EXPECT_THAT(result.out, HasSubstr("  Stopped: 2024-01-01 00:45:00\n"));
    ASSERT_EQ(runProgram({"run", other, "--quiet"}).status, 0);
    const std::string here = readFile(folder.file("model.bin")), there = readFile(folder.file("other.bin"));
    EXPECT_EQ(here.size(), there.size());
    EXPECT_EQ(runProgram({"results", folder.file("model.bin"), "--object", "P1", "--csv"}).out,
              runProgram({"results", folder.file("other.bin"), "--object", "P1", "--csv"}).out);
    EXPECT_EQ(readFile(folder.file("model.rpt")), readFile(folder.file("other.rpt")));
}

TEST(HostStop, ADateBehindTheEndIsTheEnd) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model, "--until", "2024/01/02"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("  Simulation complete\n"));
}

TEST(HostStop, ADateThatIsNotBehindTheStartIsWrongUsage) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model, "--until", "2024/01/01"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("not later than the start of the run, 2024-01-01 00:00:00\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.bin")));
}

TEST(HostStop, DatesAreReadAsTheProjectFileWritesThem) {
    constexpr double DAY = 45292.0;  // 2024/01/01
    EXPECT_EQ(parseDate("2024/01/01"), DAY);
    EXPECT_EQ(parseDate("2024-1-1"), DAY);
    EXPECT_EQ(parseDate("2024/JAN/01"), DAY);
    EXPECT_EQ(parseDate("2024-feb-29"), DAY + 59);
    EXPECT_EQ(parseDate("2024/01/01 6:00"), DAY + 0.25);
    EXPECT_EQ(parseDate("2024-01-01T06:00:00"), DAY + 0.25);
    EXPECT_EQ(parseDate("2024/01/01 6"), DAY + 0.25);
    EXPECT_EQ(parseDate("2024/01/01 1.5"), DAY + 0.0625);
    EXPECT_EQ(parseDate("2024/01/01 24:00"), DAY + 1.0);
    EXPECT_EQ(parseDate("1899/12/30"), 0.0);
    for (const char* wrong : {"", "2024", "2024/01", "2024/13/01", "2023/02/29", "2024/01/01 ", "2024/01/01 25:00",
                              "2024/01/01 6:00x", "2024/01/01 6:60", "2024/01/01 -1", "01/02/2024x", "2024/-1/01",
                              "-2024/01/01", "2024/01/01 nan", "2024/XXX/01"}) {
        double date = 7.0;
        EXPECT_FALSE(dates_parse(wrong, &date)) << wrong;
        EXPECT_EQ(date, 7.0) << wrong;
    }
}
