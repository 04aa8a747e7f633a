// The pace of a model: what its two functions take, and when. That no result shows it is tested with the towns
// (tests/bench/pace_test.cpp).

#include <gtest/gtest.h>

#include <string>

#include "support/generate.h"
#include "support/project.h"
#include "support/tvmodel.h"

TEST(ModelPace, TakesFromOneThreadToTheMost) {
    const TvModel model;
    for (const int32_t count : {1, 2, TV_MAX_THREADS}) {
        EXPECT_EQ(tv_setThreads(model, count), TV_OK) << count;
    }
    for (const int32_t count : {0, -1, TV_MAX_THREADS + 1, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(tv_setThreads(model, count), TV_ERROR_RANGE) << count;
        EXPECT_EQ(tv_setThreads(nullptr, count), TV_ERROR_RANGE) << count;
    }
}

TEST(ModelPace, IsSetInEveryPhase) {
    const TvModel model;
    const auto expectTaken = [&model](int32_t phase) {
        EXPECT_EQ(model.getPhase(), phase);
        EXPECT_EQ(tv_setThreads(model, 2), TV_OK) << phase;
        EXPECT_EQ(tv_setSkipping(model, 0), TV_OK) << phase;
        EXPECT_EQ(tv_setSkipping(model, 1), TV_OK) << phase;
    };
    expectTaken(TV_CLOSED);
    EXPECT_NE(model.openText("[NONSENSE]\n"), TV_OK);
    expectTaken(TV_FAILED);
    ASSERT_EQ(tv_close(model), TV_OK);
    ASSERT_EQ(model.openText(getGeneral(60) + generateNetwork(1, 12, 2)), TV_OK);
    expectTaken(TV_OPEN);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    expectTaken(TV_STARTED);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    expectTaken(TV_FINISHED);
}

TEST(ModelPace, OfTheOtherFaceChangesNothingInItsFiles) {
    const Project project(getGeneral(60) + generateNetwork(3, 12, 2));
    ASSERT_EQ(project.run(), 0);
    const std::string report = readFile(project.report), results = readFile(project.results);
    ASSERT_EQ(tv_setThreads(nullptr, 3), TV_OK);
    ASSERT_EQ(tv_setSkipping(nullptr, 0), TV_OK);
    EXPECT_EQ(project.run(), 0);
    EXPECT_EQ(readFile(project.report), report);
    EXPECT_EQ(readFile(project.results), results);
    EXPECT_EQ(tv_setThreads(nullptr, 1), TV_OK);
    EXPECT_EQ(tv_setSkipping(nullptr, 1), TV_OK);
}
