#include "project/state.h"

#include <gtest/gtest.h>

#include "support/stateruns.h"

TEST(State, TellsNothingWithoutARun) {
    const GeneratedFolder folder(1);
    ModelRun run(folder, "a");
    EXPECT_EQ(state_getSize(*run.model), 0u);
    EXPECT_EQ(state_restore(*run.model, nullptr, 0), STATE_NO_RUN);
    EXPECT_EQ(state_hotStart(*run.model, nullptr, 0), STATE_NO_RUN);
}

TEST(State, IsTheSameWhenSavedTwice) {
    const GeneratedFolder folder(1);
    ModelRun run(folder, "a");
    run.start();
    run.step(20);
    const StateBytes first = run.save();
    EXPECT_EQ(tellDifference(*run.model, first, run.save()), "");
    EXPECT_EQ(first, run.save());
    EXPECT_EQ(state_getTime(first.data(), first.size()), run.model->clock.newRoutingTime);
}

TEST(State, IsTheSameAfterItsRestoring) {
    const GeneratedFolder folder(2);
    ModelRun run(folder, "a");
    run.start();
    run.step(20);
    const StateBytes first = run.save();
    run.step(20);
    const StateBytes second = run.save();
    EXPECT_NE(tellDifference(*run.model, first, second), "");
    ASSERT_EQ(run.restore(first), STATE_OK);
    EXPECT_EQ(tellDifference(*run.model, first, run.save()), "");
    run.step(20);
    EXPECT_EQ(tellDifference(*run.model, second, run.save()), "");
}

TEST(State, GoesToAnotherModelOfTheProject) {
    const GeneratedFolder folder(4);
    ModelRun run(folder, "a");
    run.start();
    run.step(30);
    const StateBytes state = run.save();
    ModelRun other(folder, "b");
    other.start();
    ASSERT_EQ(other.restore(state), STATE_OK);
    EXPECT_EQ(tellDifference(*run.model, state, other.save()), "");
    run.step(25);
    other.step(25);
    EXPECT_EQ(tellDifference(*run.model, run.save(), other.save()), "");
}

/// At random steps of a run: saved, gone on, restored, gone on. Report and results are those of a run without.
TEST(State, LeavesNoTraceInARunThatIsPutBack) {
    const unsigned projects = IS_FREED_MEMORY_KEPT ? 12 : 100;
    unsigned restorings = 0;
    for (unsigned seed = 0; seed < projects; ++seed) {
        const GeneratedFolder folder(seed);
        ModelRun plain(folder, "plain");
        plain.start();
        const int steps = plain.stepToEnd();
        plain.finish();
        ModelRun run(folder, "run");
        run.start();
        std::mt19937 random(seed);
        int done = 0;
        for (int k = 0; k < 20; ++k) {
            const int next = done + static_cast<int>(random() % static_cast<unsigned>(steps / 10));
            if (next >= steps - 1) {
                break;
            }
            run.step(next - done);
            done = next;
            const StateBytes state = run.save();
            run.step(1 + static_cast<int>(random() % 40));
            ASSERT_EQ(run.restore(state), STATE_OK) << seed;
            ASSERT_EQ(tellDifference(*run.model, state, run.save()), "") << seed << " at step " << next;
            ++restorings;
        }
        run.stepToEnd();
        run.finish();
        run_close(*plain.model);
        run_close(*run.model);
        ASSERT_EQ(readFile(run.report), readFile(plain.report)) << seed;
        ASSERT_EQ(readFile(run.results), readFile(plain.results)) << seed;
    }
    EXPECT_GE(restorings, projects * 15);
}
