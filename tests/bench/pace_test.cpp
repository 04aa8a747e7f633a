// The pace of a model can't be seen in anything that it leaves behind: reports, results, states and answers of small
// towns of all kinds are the same with one thread and with several, and whether what can't change is left out or not.
//
//     TARNVELDE_PACE_TOWNS=200 bench_tests --gtest_filter='SamePace*'     so many towns; TARNVELDE_PACE_FIRST: from
//     which

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <string>

#include "pace.h"

namespace {

uint64_t getNumber(const char* variable, uint64_t otherwise) {
    const char* text = std::getenv(variable);
    return text ? std::strtoull(text, nullptr, 10) : otherwise;
}

/// Seeds of the towns. Each has a weather by turns, and each test towns of its own.
struct Seeds {
    uint64_t first, end;

    Seeds(uint64_t base, uint64_t count)
        : first(base + getNumber("TARNVELDE_PACE_FIRST", 1)), end(first + getNumber("TARNVELDE_PACE_TOWNS", count)) {}
};

/// Threads that have to share their cores with other tests wait for each other: of the manners with several, each town
/// has one by turns, unless more towns are asked for.
bool isWanted(size_t manner, uint64_t seed) {
    return manner == 0 || 1 + seed % (std::size(OTHERS) - 1) == manner || std::getenv("TARNVELDE_PACE_TOWNS");
}

void expectTheSame(uint64_t seed, PaceHost host) {
    const std::string text = pace_drawTown(seed);
    const Leavings plain = pace_run(text, seed, PLAIN, host);
    EXPECT_GT(plain.results.size(), 1000u) << "town " << seed;
    for (size_t k = 0; k < std::size(OTHERS); ++k) {
        if (isWanted(k, seed)) {
            const Leavings other = pace_run(text, seed, OTHERS[k], host);
            EXPECT_EQ(pace_compare(plain, other), "") << "town " << seed << ", " << pace_describe(OTHERS[k]);
        }
    }
}

void expectTheSameOfAll(const Seeds& seeds, PaceHost host) {
    for (uint64_t seed = seeds.first; seed < seeds.end; ++seed) {
        expectTheSame(seed, host);
    }
}

TEST(SamePace, LeavesTheSameInEveryManner) {
    expectTheSameOfAll(Seeds(0, 16), PaceHost::NONE);
}

TEST(SamePace, LeavesTheSameWhateverAHostSets) {
    expectTheSameOfAll(Seeds(1000, 16), PaceHost::SETS);
}

TEST(SamePace, LeavesTheSameBehindRestoredStates) {
    expectTheSameOfAll(Seeds(2000, 8), PaceHost::GOES_BACK);
}

TEST(SamePace, GoesOnFromAStateAsTheWholeRunInEveryManner) {
    const Seeds seeds(3000, 8);
    for (uint64_t seed = seeds.first; seed < seeds.end; ++seed) {
        const std::string text = pace_drawTown(seed);
        const Leavings whole = pace_run(text, seed, PLAIN, PaceHost::NONE);
        const Leavings skipping = pace_run(text, seed, OTHERS[0], PaceHost::GOES_BACK);
        EXPECT_TRUE(skipping.report == whole.report && skipping.results == whole.results) << "town " << seed;
        for (const std::string& state : skipping.states) {
            EXPECT_TRUE(pace_goOn(text, state, PLAIN) == whole.states.back()) << "town " << seed;
            EXPECT_TRUE(pace_goOn(text, state, OTHERS[1]) == whole.states.back()) << "town " << seed;
        }
    }
}

}  // namespace
