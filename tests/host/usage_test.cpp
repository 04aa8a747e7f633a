// Arguments of the command line: wrong usage gives 2, help and version give 0.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "program.h"

using testing::HasSubstr;
using testing::MatchesRegex;

TEST(HostUsage, VersionIsThatOfTheProject) {
    const ProcessResult result = runProgram({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, MatchesRegex("tarnvelde " TARNVELDE_VERSION "\nlibrary   " TARNVELDE_VERSION
                                         "\ncommit    (unknown|[0-9a-f]+\\+?)\ncompiler  [A-Z][A-Za-z]+ [0-9.]+"
                                         "\nSQLite    " +
                                         std::string(sqlite3_libversion()) + "\n"));
    EXPECT_EQ(result.err, "");
}

TEST(HostUsage, HelpNamesTheCommands) {
    const ProcessResult result = runProgram({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("run"));
    EXPECT_THAT(result.out, HasSubstr("check"));
}

TEST(HostUsage, HelpOfRunNamesItsOptions) {
    const ProcessResult result = runProgram({"run", "--help"});
    EXPECT_EQ(result.status, 0);
    for (const char* option : {"--report", "--results", "--database", "--until", "--save-state", "--load-state",
                               "--hot-start", "--threads", "--engines", "--scratch", "--quiet", "--json"}) {
        EXPECT_THAT(result.out, HasSubstr(option));
    }
}

struct WrongUsage : testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongUsage, GivesTwoAndSaysSoOnStandardError) {
    const ProcessResult result = runProgram(GetParam());
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    HostUsage, WrongUsage,
    testing::Values(std::vector<std::string>{}, std::vector<std::string>{"walk"}, std::vector<std::string>{"run"},
                    std::vector<std::string>{"run", ""}, std::vector<std::string>{"run", "a.inp", "b.inp"},
                    std::vector<std::string>{"run", "a.inp", "--fast"},
                    std::vector<std::string>{"run", "a.inp", "--report"},
                    std::vector<std::string>{"run", "a.inp", "--report", ""}, std::vector<std::string>{"check"},
                    std::vector<std::string>{"check", "a.inp", "--quiet"},
                    std::vector<std::string>{"run", "a.inp", "check", "a.inp"},
                    std::vector<std::string>{"run", "a.inp", "--until", "tomorrow"},
                    std::vector<std::string>{"run", "a.inp", "--until", "2024/02/30"},
                    std::vector<std::string>{"run", "a.inp", "--engines", "no-such-folder"},
                    std::vector<std::string>{"run", "a.inp", "--scratch", "no-such-folder"},
                    std::vector<std::string>{"run", "a.inp", "--save-state", ""},
                    std::vector<std::string>{"run", "a.inp", "--load-state", "s", "--hot-start", "s"}));

TEST(HostUsage, ANumberOfThreadsIsWholeAndInItsRange) {
    for (const char* number : {"0", "257", "-1", "+2", "1.5", "2x", "two", "", "99999999999"}) {
        const ProcessResult result = runProgram({"run", "a.inp", "--threads", number});
        EXPECT_EQ(result.status, 2) << number;
        EXPECT_EQ(result.out, "") << number;
        EXPECT_THAT(result.err, HasSubstr(std::string("threads are from 1 to 256, not ") + number + "\n")) << number;
    }
    EXPECT_EQ(runProgram({"check", "a.inp", "--threads", "2"}).status, 2) << "nothing is stepped there";
}

TEST(HostUsage, AnUnknownCommandNamesThoseThereAre) {
    const ProcessResult result = runProgram({"foo"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("tarnvelde: there is no command foo\nCommands: run, check, explain, results, "
                                      "stats, plot, report, export, ensemble\n"));
}

TEST(HostUsage, ASlipOfTheFingerIsUnderstood) {
    for (const auto& [typed, meant] : {std::pair{"rnu", "run"},
                                       {"Run", "run"},
                                       {"chek", "check"},
                                       {"result", "results"},
                                       {"resluts", "results"},
                                       {"res", "results"},
                                       {"plott", "plot"}}) {
        const ProcessResult result = runProgram({typed, "a.inp", "--help"});
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.err, HasSubstr(std::string("no command ") + typed + "; did you mean " + meant + "?\n"));
    }
    for (const char* typed : {"summary", "go", "x", "", "walk"}) {
        EXPECT_THAT(runProgram({typed}).err, testing::Not(HasSubstr("did you mean"))) << typed;
    }
}

TEST(HostUsage, AProjectInPlaceOfACommandIsUnderstood) {
    EXPECT_THAT(runProgram({"town.inp"}).err, HasSubstr("; to run a project: tarnvelde run town.inp\n"));
}

TEST(HostUsage, HelpOfReadersOfResultsNamesTheirOptions) {
    for (const char* command : {"results", "stats", "plot"}) {
        const ProcessResult result = runProgram({command, "--help"});
        EXPECT_EQ(result.status, 0);
        for (const char* option : {"--object", "--column", "--from", "--to"}) {
            EXPECT_THAT(result.out, HasSubstr(option));
        }
    }
}
