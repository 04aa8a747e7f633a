// The balances of all places together are the balance of the whole, in projects of all kinds, from a start, in the
// middle of a run, behind a hot start and behind a restored state.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/generateall.h"
#include "support/tvmodel.h"

namespace {

double sumMissing(const TvModel& model, int32_t objectClass, int32_t pollutant = TV_NO_POLLUTANT) {
    double sum = 0.0;
    for (int32_t k = 0; k < model.getCount(objectClass); ++k) {
        tv_balance balance{};
        EXPECT_EQ(tv_getBalance(model, objectClass, k, pollutant, &balance), TV_OK);
        EXPECT_NEAR(balance.missing, balance.initial + balance.in - balance.out - balance.lost - balance.stored,
                    1e-9 * (1.0 + balance.initial + balance.in));
        sum += balance.missing;
    }
    return sum;
}

/// How much the places together miss more than the whole, by what came in: of the land, of its pollutants, and of the
/// network.
void expectSums(const TvModel& model, double networkTolerance, bool hasLoads = true) {
    int32_t count = 0;
    ASSERT_EQ(tv_judge(model, &count), TV_OK);
    for (int32_t row = 0; row < count; ++row) {
        tv_verdict v{};
        ASSERT_EQ(tv_getVerdict(model, row, &v), TV_OK);
        const double in = std::fabs(v.in) + 1e-3;
        if (v.part == TV_PART_RUNOFF || v.part == TV_PART_WASHOFF) {
            EXPECT_NEAR(sumMissing(model, TV_SUBCATCHMENT, v.pollutant), v.missing, 1e-7 * in) << v.part;
        }
        if (v.part == TV_PART_FLOW) {
            const double sum = sumMissing(model, TV_NODE) + sumMissing(model, TV_LINK);
            EXPECT_NEAR(sum, v.missing, networkTolerance * in);
        }
        if (v.part == TV_PART_QUALITY && hasLoads) {
            const double sum = sumMissing(model, TV_NODE, v.pollutant) + sumMissing(model, TV_LINK, v.pollutant);
            EXPECT_NEAR(sum, v.missing, networkTolerance * in) << v.pollutant;
        }
    }
}

/// A project of all kinds, opened beside the series that it reads.
void open(const TvModel& model, const TempFolder& folder, const std::string& text, const std::string& name) {
    std::ofstream(folder.file(name)) << text;
    ASSERT_EQ(tv_open(model, folder.file(name).c_str(), nullptr), TV_OK) << text;
    ASSERT_EQ(tv_keepLoads(model, 1), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
}

/// Pipes weigh old and new flow in the step in which they fire, so what they count differs from what arrives by a share
/// of a step for each change.
constexpr double WEIGHTS = 2e-3;

/// Behind a hot start what is on its way in pipes is estimated.
constexpr double WEIGHTS_OF_A_STATE = 2e-2;

TEST(PlaceBalances, AreTogetherTheBalanceOfTheWhole) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        const TempFolder folder;
        std::ofstream(folder.file("series.txt")) << GeneratedSeriesFile;
        std::ofstream(folder.file("rain.txt")) << GeneratedSeriesFile;
        const TvModel model;
        open(model, folder, generateProject(seed), "model.inp");
        for (int step = 0; step < 40; ++step) {
            ASSERT_EQ(tv_step(model), TV_OK);
        }
        size_t size = 0;
        ASSERT_EQ(tv_getStateSize(model, &size), TV_OK);
        std::vector<char> state(size);
        ASSERT_EQ(tv_saveState(model, state.data(), size, &size), TV_OK);
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        expectSums(model, WEIGHTS);

        const TvModel restored, hot;
        open(restored, folder, generateProject(seed), "restored.inp");
        ASSERT_EQ(tv_restoreState(restored, state.data(), size), TV_OK);
        ASSERT_EQ(tv_runUntil(restored, TV_END), TV_OK);
        expectSums(restored, WEIGHTS, false);  // loads begin anew there
        open(hot, folder, generateProject(seed), "hot.inp");
        ASSERT_EQ(tv_hotStart(hot, state.data(), size), TV_OK);
        ASSERT_EQ(tv_runUntil(hot, TV_END), TV_OK);
        expectSums(hot, WEIGHTS_OF_A_STATE);
    }
}

}  // namespace
