// Where the pace of a model is kept: with what the host holds of it, over all projects that are opened there.

#include <gtest/gtest.h>

#include "api/modelhandle.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/project.h"
#include "support/tvmodel.h"

namespace {

void expectPace(const Pace& pace, int32_t threads, bool isPlain) {
    EXPECT_EQ(pace.threadCount, threads);
    EXPECT_EQ(pace.isPlain, isPlain);
}

std::string makeText() {
    return getGeneral(60) + generateNetwork(1, 12, 2);
}

TEST(ModelPace, IsOneThreadThatLeavesOutWhatCannotChangeAtFirst) {
    const TvModel model;
    ASSERT_EQ(model.openText(makeText()), TV_OK);
    expectPace(model.handle->model->pace, 1, false);
}

TEST(ModelPace, IsKeptOverOpeningsAndCloses) {
    const TvModel model;
    ASSERT_EQ(tv_setThreads(model, 3), TV_OK);
    ASSERT_EQ(tv_setSkipping(model, 0), TV_OK);
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(model.openText(makeText()), TV_OK);
        expectPace(model.handle->model->pace, 3, true);
        ASSERT_EQ(tv_close(model), TV_OK);
    }
}

TEST(ModelPace, OfAnOpenProjectHoldsForTheNext) {
    const TvModel model;
    ASSERT_EQ(model.openText(makeText()), TV_OK);
    ASSERT_EQ(tv_setThreads(model, 5), TV_OK);
    ASSERT_EQ(tv_setSkipping(model, 0), TV_OK);
    expectPace(model.handle->model->pace, 5, true);
    ASSERT_EQ(tv_setSkipping(model, 7), TV_OK);
    ASSERT_EQ(tv_setThreads(model, 0), TV_ERROR_RANGE);
    expectPace(model.handle->model->pace, 5, false);
    ASSERT_EQ(tv_close(model), TV_OK);
    ASSERT_EQ(model.openText(makeText()), TV_OK);
    expectPace(model.handle->model->pace, 5, false);
}

TEST(ModelPace, GoesOverToAClone) {
    const TvModel model;
    ASSERT_EQ(model.openText(makeText()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_setThreads(model, 3), TV_OK);
    ASSERT_EQ(tv_setSkipping(model, 0), TV_OK);
    tv_model* clone = nullptr;
    ASSERT_EQ(tv_clone(model, &clone), TV_OK);
    expectPace(clone->model->pace, 3, true);
    ASSERT_EQ(tv_setThreads(clone, 1), TV_OK);
    expectPace(model.handle->model->pace, 3, true);
    EXPECT_EQ(tv_free(clone), TV_OK);
}

TEST(ModelPace, OfTheOtherFaceIsKeptOverItsProjects) {
    const Project project(makeText());
    ASSERT_EQ(tv_setThreads(nullptr, 4), TV_OK);
    ASSERT_EQ(tv_setSkipping(nullptr, 0), TV_OK);
    for (int k = 0; k < 2; ++k) {
        project.start();
        expectPace(testModel().pace, 4, true);
        tarnvelde_close();
        expectPace(testModel().pace, 4, true);
    }
    const TvModel model;
    ASSERT_EQ(model.openText(makeText()), TV_OK);
    expectPace(model.handle->model->pace, 1, false);
    ASSERT_EQ(tv_setThreads(nullptr, 1), TV_OK);
    ASSERT_EQ(tv_setSkipping(nullptr, 1), TV_OK);
    expectPace(testModel().pace, 1, false);
}

}  // namespace
