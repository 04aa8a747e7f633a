// What a run does to the files that stand where its own are to stand, and to those that it reads.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "program.h"
#include "runningprogram.h"
#include "support/child.h"
#include "support/sanitizer.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

/// A project with a series in a file.
struct HostOutputs : testing::Test {
    TempFolder folder;
    std::string series = folder.write("rain.dat", "2024/01/01 0:00 1\n2024/01/01 2:00 2\n");
    std::string model = folder.write("model.inp", std::string(GOOD_PROJECT) +
                                                      "O1 FLOW FLOW 0 RAIN 1\n"
                                                      "[TIMESERIES]\n"
                                                      "RAIN FILE rain.dat\n");

    ProcessResult run(std::vector<std::string> options) const {
        options.insert(options.begin(), {"run", model, "--quiet"});
        return runProgramWithin(20, options);
    }
};

}  // namespace

TEST(HostOutputsKilled, LeavesWhatWasThere) {
    RunningProgram run({});
    const std::string report = run.folder.write("model.rpt", "the report before");
    const std::string results = run.folder.write("model.bin", "the results before");
    ASSERT_TRUE(run.waitForSize("model.bin.part", 4000));
    kill(run.child, SIGKILL);
    EXPECT_EQ(run.wait(), 128 + SIGKILL);
    EXPECT_EQ(readFile(report), "the report before");
    EXPECT_EQ(readFile(results), "the results before");
    EXPECT_TRUE(fs::exists(report + ".part"));
}

TEST(HostOutputsKilled, CanBeReadAndRecovered) {
    RunningProgram run({});
    const std::string part = run.folder.file("model.bin.part");
    ASSERT_TRUE(run.waitForSize("model.bin.part", 4000));
    const ProcessResult early = runProgram({"results", part, "--recover"});
    EXPECT_EQ(early.status, 1);
    EXPECT_THAT(early.err, HasSubstr("a run still writes it"));
    kill(run.child, SIGKILL);
    EXPECT_EQ(run.wait(), 128 + SIGKILL);

    const ProcessResult before = runProgram({"results", part, "--object", "P1", "--csv"});
    EXPECT_EQ(before.status, 0);
    EXPECT_THAT(before.out, HasSubstr("\n2024-01-01 00:10:00"));
    EXPECT_THAT(before.err, HasSubstr("has no closing block"));
    const ProcessResult recovery = runProgram({"results", part, "--recover"});
    EXPECT_EQ(recovery.status, 0) << recovery.err;
    EXPECT_THAT(recovery.out, HasSubstr(": closed after "));
    const ProcessResult after = runProgram({"results", part, "--object", "P1", "--csv"});
    EXPECT_EQ(after.out, before.out);
    EXPECT_EQ(after.err, "");
    EXPECT_THAT(runProgram({"results", part, "--recover"}).out, HasSubstr("is closed already"));
}

TEST_F(HostOutputs, ThatAreRecoveredAreThoseOfAShorterRun) {
    ASSERT_EQ(run({"--until", "2024/01/01 1:00"}).status, 0);
    const std::string shorter = readFile(folder.file("model.bin"));
    ASSERT_EQ(run({}).status, 0);
    const std::string whole = readFile(folder.file("model.bin"));
    ASSERT_GT(whole.size(), shorter.size());
    const std::string cut = folder.write("cut.bin", whole.substr(0, shorter.size() - 28 + 5));  // and part of a record
    EXPECT_EQ(runProgram({"results", cut, "--recover"}).status, 0);
    EXPECT_TRUE(readFile(cut) == shorter);
}

TEST_F(HostOutputs, TellHowTheirRunEnded) {
    ASSERT_EQ(run({}).status, 0);
    const std::string bin = folder.file("model.bin");
    EXPECT_THAT(runProgram({"results", bin}).out,
                HasSubstr("\nrun: complete, from 2024-01-01 00:00:00 to 2024-01-01 02:00:00; version "));
    ASSERT_EQ(run({"--until", "2024/01/01 1:00", "--database=" + folder.file("r.db")}).status, 0);
    EXPECT_THAT(runProgram({"results", folder.file("r.db")}).out,
                HasSubstr("\nrun: stopped, from 2024-01-01 00:00:00 to 2024-01-01 01:00:00; version "));
    fs::last_write_time(bin, fs::last_write_time(bin) + std::chrono::seconds(10));  // another run wrote over it
    EXPECT_THAT(runProgram({"results", bin}).out, testing::Not(HasSubstr("\nrun: ")));
}

TEST_F(HostOutputs, ThatAreMovedHaveNoIdentityOfOthers) {
    // A file that is moved keeps its time, and is older than the text of the run that it takes the results of.
    const std::string other = folder.file("other.bin"), bin = folder.file("model.bin");
    std::string later = readFile(model);
    later.replace(later.find("START_DATE"), 0, "START_TIME 0:30\n");
    const std::string laterModel = folder.write("later.inp", later);
    const auto expectNone = [&] {
        fs::rename(other, bin);
        ASSERT_TRUE(fs::exists(bin + ".run"));
        ASSERT_LE(fs::last_write_time(bin), fs::last_write_time(bin + ".run"));
        const ProcessResult result = runProgram({"results", bin});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, testing::Not(HasSubstr("\nrun: ")));
    };
    ASSERT_EQ(runProgram({"run", laterModel, "--results", other, "--quiet"}).status, 0);  // that begins later
    ASSERT_EQ(run({}).status, 0);
    expectNone();
    ASSERT_EQ(run({"--results", other}).status, 0);  // that goes on for longer
    ASSERT_EQ(run({"--until", "2024/01/01 1:00"}).status, 0);
    expectNone();
}

TEST_F(HostOutputs, OfAReaderThatLeavesAreComplete) {
    std::string project = readFile(model);
    // Long enough for the reader to leave in time, also of a program that sanitizers make slow.
    project.replace(project.find("END_DATE 2024"), 13, IS_FREED_MEMORY_KEPT ? "END_DATE 2028" : "END_DATE 2044");
    folder.write("model.inp", project);
    const auto runIntoHead = [&](const char* count, std::vector<std::string> arguments) {
        const std::string text = std::string("{ \"$@\" 2>\"$0.err\"; echo $? >\"$0.status\"; } | head -") + count;
        arguments.insert(arguments.begin(),
                         {"sh", "-c", text, folder.file("it"), "env", "--default-signal=PIPE", TARNVELDE_PROGRAM});
        const ProcessResult result = process_run(arguments);
        EXPECT_EQ(readFile(folder.file("it.status")), "141\n");
        return result.out;
    };
    const std::string lines = runIntoHead("5", {"run", model});  // the last ones tell of steps
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 5);
    const std::string err = readFile(folder.file("it.err"));
    EXPECT_THAT(err, HasSubstr("\ntarnvelde: stopped by SIGPIPE at 20"));
    EXPECT_THAT(err, testing::Not(HasSubstr("standard output")));
    EXPECT_THAT(readFile(folder.file("model.rpt")), HasSubstr("Flow Routing Continuity"));
    EXPECT_THAT(runProgram({"results", folder.file("model.bin")}).out, HasSubstr("\nrun: stopped, from "));
    const std::string rows = runIntoHead("1", {"results", folder.file("model.bin"), "--object", "P1", "--csv"});
    EXPECT_EQ(rows.substr(0, 5), "Date,");
    EXPECT_EQ(readFile(folder.file("it.err")), "");
}

TEST(HostOutputsShared, ASecondRunIsRefused) {
    RunningProgram first({});
    ASSERT_TRUE(first.waitForSize("model.bin.part", 4000));
    const std::string other = first.folder.write("other.inp", GOOD_PROJECT);
    const ProcessResult report = runProgram({"run", other, "--report", first.folder.file("model.rpt"), "--quiet"});
    EXPECT_EQ(report.status, 1);
    EXPECT_THAT(report.err, HasSubstr("ERROR 305: cannot open the report file " + first.folder.file("model.rpt") +
                                      ": another run writes it\n"));
    const ProcessResult results = runProgram({"run", other, "--results", first.folder.file("model.bin"), "--quiet"});
    EXPECT_EQ(results.status, 1);
    EXPECT_THAT(results.err, HasSubstr("ERROR 307: cannot open the binary results file " +
                                       first.folder.file("model.bin") + ": another run writes it\n"));
    kill(first.child, SIGTERM);
    EXPECT_EQ(first.wait(), 143);
    EXPECT_EQ(runProgram({"results", first.folder.file("model.bin"), "--summary"}).status, 0);
    EXPECT_THAT(readFile(first.folder.file("model.rpt")), HasSubstr("Flow Routing Continuity"));
}

TEST_F(HostOutputs, AreNeverWhatTheRunReads) {
    fs::create_directory(folder.file("deep"));
    fs::create_symlink(series, folder.file("link"));
    fs::create_hard_link(series, folder.file("twin"));
    const std::string seriesBytes = readFile(series), modelBytes = readFile(model);
    for (const char* option : {"--report", "--results", "--database"}) {
        for (const char* name : {"rain.dat", "deep/../rain.dat", "./rain.dat", "link", "twin", "./model.inp"}) {
            SCOPED_TRACE(std::string(option) + ' ' + name);
            std::vector<std::string> options = {option, folder.path.string() + '/' + name};
            if (option == std::string("--database")) {
                options = {"--database=" + options[1]};
            }
            const ProcessResult result = run(options);
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.err, HasSubstr("ERROR 301"));
            EXPECT_EQ(readFile(series), seriesBytes);
            EXPECT_EQ(readFile(model), modelBytes);
            EXPECT_TRUE(fs::is_symlink(folder.file("link")));
            EXPECT_FALSE(fs::exists(series + ".part"));
        }
    }
}

TEST_F(HostOutputs, OfAStateAreNeverWhatTheRunReads) {
    fs::create_symlink(series, folder.file("link"));
    fs::create_hard_link(series, folder.file("twin"));
    folder.write("model.bin", "the results before");
    folder.write("model.rpt", "the report before");
    const std::string seriesBytes = readFile(series);
    for (const char* name : {"rain.dat", "./rain.dat", "link", "twin"}) {
        SCOPED_TRACE(name);
        const std::string state = folder.path.string() + '/' + name;
        const ProcessResult result = run({"--save-state", state});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("ERROR 301: files share same names. (the state " + state +
                                          " is the file of time series RAIN)\n"));
        EXPECT_EQ(readFile(series), seriesBytes);
        EXPECT_EQ(readFile(folder.file("model.bin")), "the results before");  // it ends ahead of its first step
        EXPECT_EQ(readFile(folder.file("model.rpt")), "the report before");
        EXPECT_EQ(countFiles(folder.path), 6U);
    }
}

TEST_F(HostOutputs, NeverStandAsideWhereAStateIsRead) {
    const std::pair<const char*, const char*> outputs[] = {
        {"--results", "r.bin"}, {"--report", "r.rpt"}, {"--save-state", "r.tvs"}};
    for (const auto& [option, output] : outputs) {
        SCOPED_TRACE(output);
        const std::string state = folder.file(std::string(output) + ".part");
        ASSERT_EQ(run({"--until", "2024/01/01 1:00", "--save-state", state}).status, 0);
        const std::string bytes = readFile(state);
        const ProcessResult result = run({option, folder.file(output), "--load-state", state});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("ERROR 301: " + folder.file(output) + " is written as " + state));
        EXPECT_EQ(readFile(state), bytes);
    }
}

TEST_F(HostOutputs, AreNotTheSeriesOfAProjectWithErrors) {
    const std::string bytes = readFile(series);
    const std::string text = readFile(model);
    for (const std::string& fault : {std::string("[NOTHING]\n"), std::string("[PIPES]\nP9 J1 O1 NO x 1 0.2 0\n")}) {
        folder.write("model.inp", fault + text);
        const ProcessResult result = run({"--report", series});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(readFile(series), bytes);
    }
}

TEST_F(HostOutputs, AreNotTheJournalOfTheDatabase) {
    for (const char* ending : {"-journal", "-wal", ".part"}) {
        const ProcessResult result =
            run({"--database=" + folder.file("r.db"), "--results", folder.file("r.db") + ending});
        EXPECT_EQ(result.status, 1) << ending;
        EXPECT_THAT(result.err, HasSubstr("ERROR 301"));
    }
}

TEST_F(HostOutputs, AreNoPipes) {
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const char* option : {"--report", "--results"}) {
        const ProcessResult result = run({option, pipe});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("it is a folder, a device or a pipe"));
    }
}

TEST_F(HostOutputs, ThatFindNoRoomLeaveWhatWasThere) {
    ASSERT_EQ(run({}).status, 0);
    const std::string report = readFile(folder.file("model.rpt")), results = readFile(folder.file("model.bin"));
    const size_t largest = std::max(report.size(), results.size());
    for (size_t limit = 0; limit < largest; limit += 1 + largest / 40) {
        SCOPED_TRACE(limit);
        folder.write("model.rpt", "the report before");
        folder.write("model.bin", "the results before");
        const int status = process_fork([&] {
            process_limitFileSize(limit);
            const ProcessResult result = run({});
            return result.status;
        });
        EXPECT_EQ(status, 1);
        if (limit < report.size()) {
            EXPECT_EQ(readFile(folder.file("model.rpt")), "the report before");
        }
        EXPECT_FALSE(fs::exists(folder.file("model.rpt.part")));
        if (limit < results.size()) {
            EXPECT_EQ(readFile(folder.file("model.bin")), "the results before");
        }
        if (fs::exists(folder.file("model.bin.part"))) {
            EXPECT_EQ(runProgram({"results", folder.file("model.bin.part"), "--summary"}).status, 0);
        }
    }
}

TEST_F(HostOutputs, OfAFullDiskHoldTheWholePeriodsAside) {
    ASSERT_EQ(run({}).status, 0);
    const std::string whole = runProgram({"results", folder.file("model.bin"), "--object", "P1", "--csv"}).out;
    const size_t size = readFile(folder.file("model.bin")).size();
    const int status = process_fork([&] {
        process_limitFileSize(size - 200);
        return runProgram({"run", model, "--report", "/dev/null"}).status;
    });
    EXPECT_EQ(status, 1);
    const std::string cut = runProgram({"results", folder.file("model.bin.part"), "--object", "P1", "--csv"}).out;
    EXPECT_GT(cut.size(), 100U);
    EXPECT_LT(cut.size(), whole.size());
    EXPECT_EQ(cut, whole.substr(0, cut.size()));
}

TEST_F(HostOutputs, OfAStartThatFailsLeaveWhatWasThere) {
    const std::string results = folder.write("model.bin", "the results before");
    const ProcessResult result = run({"--results", results, "--database=" + folder.file("no/folder/r.db")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(readFile(results), "the results before");
    EXPECT_FALSE(fs::exists(results + ".part"));
}
