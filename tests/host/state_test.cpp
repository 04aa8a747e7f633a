// States on the command line: what is saved is gone on with, and what doesn't fit is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "program.h"
#include "runningprogram.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

/// A tank that fills over half an hour and runs dry afterwards, so that each moment differs from the others.
constexpr const char* TANK_PROJECT =
    "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 3:00\nROUTING_STEP 0:01:00\n"
    "REPORT_STEP 0:15:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\nJ1\n[TANKS]\nT1 SHAPE 4 0.5\n[OUTFALLS]\nO1\n"
    "[CONNECTIONS]\nC1 J1 T1 NO 180\n[ORIFICES]\nG1 T1 O1 NO CIRCULAR 0.6 0 0.3\n[CURVES]\nSHAPE TANK 0 400 4 600\n"
    "[INFLOWS]\nJ1 FLOW FLOW 1 STORM 1\n[TIMESERIES]\nSTORM 2024/01/01 0:00 0.1 0:30 0.9 1:30 0\n";

struct HostState : testing::Test {
    TempFolder folder;
    std::string model = folder.write("model.inp", TANK_PROJECT);
    std::string state = folder.file("state");

    ProcessResult run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"run", model});
        return runProgram(arguments);
    }

    /// Runs until 1:00 and saves.
    void save() const {
        const ProcessResult result =
            run({"--until", "2024/01/01 1:00", "--save-state", state, "--results", folder.file("first.bin")});
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.out, EndsWith("  State:   " + state + "\n"));
    }

    /// Rows of the tank, behind a date.
    std::string readRows(const char* file, const std::string& date) const {
        const std::string rows = runProgram({"results", folder.file(file), "--object", "T1", "--csv"}).out;
        const size_t begin = rows.find(date);
        return begin == std::string::npos ? "no row " + date : rows.substr(begin);
    }
};

}  // namespace

TEST_F(HostState, ARunGoesOnToTheSameEnd) {
    ASSERT_EQ(run({"--results", folder.file("whole.bin"), "--report", folder.file("whole.rpt")}).status, 0);
    save();
    const ProcessResult rest =
        run({"--load-state", state, "--results", folder.file("rest.bin"), "--report", folder.file("rest.rpt")});
    EXPECT_EQ(rest.status, 0) << rest.err;
    EXPECT_EQ(readRows("rest.bin", "2024-01-01 01:15:00"), readRows("whole.bin", "2024-01-01 01:15:00"));
    EXPECT_EQ(readFile(folder.file("rest.rpt")), readFile(folder.file("whole.rpt")));
}

TEST_F(HostState, AStateIsSavedWhereItCameFrom) {
    save();
    const std::string first = readFile(state);
    EXPECT_EQ(run({"--load-state", state, "--save-state", state, "--until", "2024/01/01 2:00", "--quiet"}).status, 0);
    EXPECT_NE(readFile(state), first);
    EXPECT_EQ(run({"--load-state", state, "--report", folder.file("rest.rpt"), "--quiet"}).status, 0);
    EXPECT_EQ(run({"--report", folder.file("whole.rpt"), "--quiet"}).status, 0);
    EXPECT_EQ(readFile(folder.file("rest.rpt")), readFile(folder.file("whole.rpt")));
}

TEST_F(HostState, AHotStartBeginsWithTheWaterAtItsOwnStart) {
    save();
    EXPECT_EQ(run({"--hot-start", state, "--json"}).status, 0);
    const std::string depth = readRows("model.bin", "2024-01-01 00:15:00");
    EXPECT_EQ(run({"--quiet"}).status, 0);
    EXPECT_NE(depth, readRows("model.bin", "2024-01-01 00:15:00"));
}

TEST_F(HostState, TheFileIsToldToPrograms) {
    const ProcessResult result = run({"--save-state", state, "--json"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\"state\": \"" + state + '"'));
}

TEST_F(HostState, AMissingStateSparesTheResults) {
    folder.write("model.bin", "of a run before");
    for (const char* option : {"--load-state", "--hot-start"}) {
        const ProcessResult result = run({option, folder.file("nothing")});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("tarnvelde: cannot open the state " + folder.file("nothing") + "\n"));
        EXPECT_EQ(readFile(folder.file("model.bin")), "of a run before");
    }
}

TEST_F(HostState, AFolderIsNoState) {
    for (const char* option : {"--load-state", "--hot-start"}) {
        const ProcessResult result = runProgram({"run", model, option, folder.path.string(), "--quiet"});
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.err.find("cannot open the state " + folder.path.string()), std::string::npos) << result.err;
    }
}

TEST_F(HostState, WhatIsNoStateIsRefused) {
    folder.write("state", "something else");
    for (const char* option : {"--load-state", "--hot-start"}) {
        const ProcessResult result = run({option, state});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err,
                    HasSubstr("tarnvelde: cannot start from the state " + state + ": the bytes are no state"));
    }
}

TEST_F(HostState, AStateOfAnotherProjectIsRefused) {
    save();
    const std::string other = folder.write("other.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", other, "--load-state", state});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("the state belongs to another project"));
}

TEST_F(HostState, AStateThatCanNotBeSavedIsToldAheadOfTheRun) {
    folder.write("model.bin", "of a run before");
    const ProcessResult result = run({"--save-state", folder.file("no/such/folder")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("tarnvelde: cannot save the state " + folder.file("no/such/folder") +
                                      ": No such file or directory\n"));
    EXPECT_EQ(readFile(folder.file("model.bin")), "of a run before");
    EXPECT_FALSE(std::filesystem::exists(folder.file("model.rpt")));
}

TEST(HostStateSignal, AStateThatCanNotBeSavedAtTheEndLeavesTheReport) {
    TempFolder folder;
    const std::string place = folder.file("place");
    std::filesystem::create_directory(place);
    RunningProgram run({"--save-state", place + "/state"});
    ASSERT_TRUE(run.waitForSize("model.bin.part", 4000));
    std::filesystem::remove(place);
    kill(run.child, SIGINT);
    EXPECT_EQ(run.wait(), 1);
    EXPECT_THAT(readFile(run.folder.file("err")), HasSubstr("tarnvelde: cannot save the state " + place + "/state"));
    EXPECT_THAT(readFile(run.folder.file("model.rpt")), HasSubstr("Flow Routing Continuity"));
}

TEST_F(HostState, AStateInPlaceOfAnotherFileIsError301) {
    for (const char* name : {"model.inp", "model.rpt", "model.bin"}) {
        for (const char* option : {"--save-state", "--load-state", "--hot-start"}) {
            const ProcessResult result = run({option, folder.file(name)});
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.err,
                        HasSubstr("ERROR 301: the state must be another file than model, report and results"));
        }
    }
    EXPECT_EQ(readFile(model), TANK_PROJECT);
}

TEST_F(HostState, NoStateIsSavedAfterAnError) {
    const std::string bad = folder.write("bad.inp", BAD_PROJECT);
    EXPECT_EQ(runProgram({"run", bad, "--save-state", state}).status, 1);
    EXPECT_FALSE(std::filesystem::exists(state));
}

TEST(HostStateSignal, ASignalSavesTheState) {
    TempFolder folder;
    RunningProgram run({"--save-state", folder.file("state")});
    ASSERT_TRUE(run.waitForSize("model.bin.part", 4000));
    kill(run.child, SIGINT);
    EXPECT_EQ(run.wait(), 130);
    EXPECT_THAT(readFile(run.folder.file("out")), HasSubstr("  State:   " + folder.file("state") + "\n"));
    const ProcessResult rest = runProgram({"run", run.model, "--load-state", folder.file("state"), "--until",
                                           "2024/01/02", "--quiet", "--report", folder.file("rest.rpt")});
    EXPECT_EQ(rest.status, 0) << rest.err;
    EXPECT_THAT(rest.err, Not(HasSubstr("cannot")));
}
