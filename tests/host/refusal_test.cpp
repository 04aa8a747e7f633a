// Memory that isn't there: a command whose request for memory is refused, whichever it is, says so and ends with a
// status. It never ends in an abort, and it leaves nothing behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/resultsfixture.h"
#include "support/sanitizer.h"

namespace {

/// Runs a command with requests refused from the one of this number on; 0 refuses none.
ProcessResult runRefused(const TempFolder& folder, const std::vector<std::string>& arguments, int64_t request,
                         bool isRestRefused) {
    std::vector<std::string> command{"env", "TMPDIR=" + folder.path.string(), "LD_PRELOAD=" TARNVELDE_REFUSALS,
                                     "REFUSE_COUNT=" + folder.file("requests")};
    if (request > 0) {
        command.push_back("REFUSE_AT=" + std::to_string(request));
    }
    if (isRestRefused) {
        command.emplace_back("REFUSE_REST=1");
    }
    command.emplace_back(TARNVELDE_PROGRAM);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return process_run(command);
}

/// What differs between two equal runs.
std::string removeTimes(std::string text) {
    const size_t at = text.find("\"wallTime\"");
    return text.erase(std::min(at, text.size()), at == std::string::npos ? 0 : text.find('\n', at) - at);
}

}  // namespace

struct Refusals : Results, testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(Refusals, EndInAMessageAndAStatus) {
    if constexpr (IS_FREED_MEMORY_KEPT || IS_THREAD_SANITIZED) {
        GTEST_SKIP() << "a sanitizer has memory of its own";
    }
    const TempFolder work;
    std::vector<std::string> arguments = GetParam();
    for (std::string& argument : arguments) {
        argument = argument == "BIN"     ? binary
                   : argument == "DB"    ? database
                   : argument == "MODEL" ? model
                   : argument == "SVG"   ? folder.file("a.svg")
                   : argument == "CSV"   ? folder.write("a.csv", "Date,Flow (m3/s)\n2021-03-01 0:02,0.4\n")
                   : argument == "NC"    ? folder.file("a.nc")
                                         : argument;
    }
    const ProcessResult whole = runRefused(work, arguments, 0, false);
    ASSERT_EQ(whole.status, 0) << whole.err;
    const int64_t requests = std::stoll("0" + readFile(work.file("requests")));
    ASSERT_GT(requests, 100);
    std::filesystem::remove(work.file("requests"));
    // All of the first ones, which come ahead of main, then one in so many: a few hundred altogether.
    const int64_t stride = requests / 80 + 1;
    int refused = 0;
    for (const bool isRestRefused : {false, true}) {
        for (int64_t request = 1; request <= requests; request += request < 30 ? 1 : stride) {
            const ProcessResult result = runRefused(work, arguments, request, isRestRefused);
            ASSERT_TRUE(result.status == 0 || result.status == 1) << request << ": " << result.status << result.err;
            if (result.status == 0) {
                ASSERT_EQ(removeTimes(result.out), removeTimes(whole.out)) << request;
                continue;
            }
            ++refused;
            ASSERT_NE(result.err, "") << request;
            ASSERT_EQ(countFiles(work.path), 0u) << request;
        }
    }
    EXPECT_GT(refused, 100) << "nothing was refused";
}

INSTANTIATE_TEST_SUITE_P(
    HostRefusals, Refusals,
    testing::Values(std::vector<std::string>{"--version"}, std::vector<std::string>{"run", "--help"},
                    std::vector<std::string>{"explain"}, std::vector<std::string>{"check", "MODEL", "--json"},
                    std::vector<std::string>{"run", "MODEL", "--json", "--balances"},
                    std::vector<std::string>{"run", "MODEL", "--database"},
                    std::vector<std::string>{"results", "BIN", "--csv"},
                    std::vector<std::string>{"export", "BIN", "-o", "NC"},
                    std::vector<std::string>{"results", "DB", "--summary", "--json"},
                    std::vector<std::string>{"plot", "BIN", "--object", "J1", "--column", "TotInflow", "-o", "SVG"},
                    std::vector<std::string>{"plot", "BIN", "--object", "J1", "--column", "TotInflow", "--column",
                                             "NH4-N", "--mean", "0.02", "--rain", "--measured", "CSV", "-o", "SVG"}),
    [](const testing::TestParamInfo<std::vector<std::string>>& arguments) {
        std::string name;
        for (const std::string& word : arguments.param) {
            std::copy_if(word.begin(), word.end(), std::back_inserter(name), isalnum);
        }
        return name;
    });
