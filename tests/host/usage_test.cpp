// Arguments of the command line: wrong usage gives 2, help and version give 0.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"

using testing::HasSubstr;

TEST(HostUsage, VersionIsThatOfTheProject) {
    const ProcessResult result = runProgram({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "tarnvelde " TARNVELDE_VERSION "\n");
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
                               "--hot-start", "--engines", "--quiet", "--json"}) {
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
                    std::vector<std::string>{"run", "a.inp", "--save-state", ""},
                    std::vector<std::string>{"run", "a.inp", "--load-state", "s", "--hot-start", "s"}));
