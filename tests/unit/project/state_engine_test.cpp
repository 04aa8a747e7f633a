// States of projects with models of their own inside nodes.

#include <gtest/gtest.h>

#include "support/allkinds.h"
#include "support/stateruns.h"

namespace {

/// The project with all kinds, in models of its own.
struct EngineFolder : TempFolder {
    EngineLibraries engines{TARNVELDE_ENGINE_FOLDER, path.string() + "/", TARNVELDE_ENGINE_FOLDER, path.string() + "/"};

    /// `more` stands behind the lines of the plant, such as one that makes it refuse a call.
    explicit EngineFolder(const std::string& more = "") {
        write("model.inp", getCoupledGeneral(ALL_KINDS_STEPS) + AllKindsText);
        write("a.inp", getPeriod(ALL_KINDS_STEPS) +
                           "step 200 475\nnode IN\nnode OUT\nreach R IN OUT 900 5\nsubstances B J\ngage RG IN 100\n");
        write("p.sti", getPeriod(ALL_KINDS_STEPS) + "step 675\ninfluent I\neffluent E\nbasin 700 3\n" + more);
    }
};

struct EngineRun : ModelRun {
    EngineRun(const EngineFolder& folder, const std::string& name)
        : ModelRun(folder, name, "model.inp", folder.engines) {
        start();
    }
};

}  // namespace

TEST(StateOfEngines, GoesWithTheNetwork) {
    const EngineFolder folder;
    EngineRun plain(folder, "plain"), run(folder, "run");
    EXPECT_EQ(state_findRefusal(*run.model), nullptr);
    plain.stepToEnd();
    run.step(5);
    run.model->requests.swmmSettings.push_back({4, "R", "", 0.5});
    run.model->requests.swmmSettings.clear();
    const StateBytes state = run.save();
    run.step(4);
    ASSERT_EQ(run.restore(state), STATE_OK);
    EXPECT_EQ(tellDifference(*run.model, state, run.save()), "");
    run.stepToEnd();
    EXPECT_EQ(tellDifference(*run.model, plain.save(), run.save()), "");
    plain.finish();
    run.finish();
    EXPECT_EQ(run.readReport(), plain.readReport());
}

TEST(StateOfEngines, GoesToAnotherModel) {
    const EngineFolder folder;
    EngineRun run(folder, "run"), other(folder, "other");
    run.step(5);
    ASSERT_EQ(other.restore(run.save()), STATE_OK);
    run.step(3);
    other.step(3);
    EXPECT_EQ(tellDifference(*run.model, run.save(), other.save()), "");
}

TEST(StateOfEngines, IsRefusedByOneThatCannotSave) {
    const EngineFolder folder("refuse vorn_saveState -1\n");
    EngineRun run(folder, "run");
    EXPECT_STREQ(state_findRefusal(*run.model), "V");
    EXPECT_EQ(state_getSize(*run.model), 0u);
}

TEST(StateOfEngines, IsRefusedByOneWithoutTheFunctions) {
    const EngineFolder folder;
    EngineRun run(folder, "run");
    const StateBytes state = run.save();
    run.model->swmmNodes[0].outside.stateCalls = {};
    EXPECT_STREQ(state_findRefusal(*run.model), "SW");
    EXPECT_EQ(state_getSize(*run.model), 0u);
    EXPECT_EQ(run.restore(state), STATE_ENGINE);
}

TEST(StateOfEngines, ChangesNothingIfOneRefusesIt) {
    const EngineFolder folder("refuse vorn_restoreState 7\n");
    EngineRun run(folder, "run");
    run.step(5);
    const StateBytes state = run.save();
    run.step(2);
    const StateBytes later = run.save();
    EXPECT_EQ(run.restore(state), STATE_ENGINE);
    EXPECT_EQ(tellDifference(*run.model, later, run.save()), "");
}

TEST(StateOfEngines, StaysOutOfAHotStart) {
    const EngineFolder folder;
    EngineRun run(folder, "run"), other(folder, "other");
    run.step(5);
    ASSERT_EQ(other.hotStart(run.save()), STATE_OK);
    EXPECT_EQ(other.model->swmmNodes[0].outside.newTime, 0.0);
    EXPECT_EQ(other.model->tanks[0].newDepth, run.model->tanks[0].newDepth);
}
