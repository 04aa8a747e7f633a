// Runs that go on from a state: with what a host has asked for, in a model of their own, in another sink.

#include <gtest/gtest.h>

#include <cstring>

#include "links/link.h"
#include "support/stateruns.h"

TEST(StateRun, KeepsWhatAHostHasSet) {
    const GeneratedFolder folder(4);
    ModelRun plain(folder, "plain"), run(folder, "run");
    for (ModelRun* each : {&plain, &run}) {
        Model& model = *each->model;
        model.pipes[0].n = 4;  // ahead of the start, which makes so many reaches
        model.conduits[0].height = 0.3;
        model.conduits[0].shape = CIRCULAR_CONDUIT;
        each->start();
        each->step(12);
        model.subcatches[0].slope = 0.05;
        model.pumps[0].hostFlow = 0.02;
        model.pumps[0].useHostFlow = true;
        model.links[2].isHostSetting = true;
        model.links[2].setting = model.links[2].targetSetting = 0.5;
        link_noteTarget(model, 2);
        model.requests.inflows.push_back({1, 0, 0.05});
    }
    const StateBytes state = run.save();
    ModelRun other(folder, "other");
    other.start();
    ASSERT_EQ(other.restore(state), STATE_OK);
    EXPECT_EQ(tellDifference(*other.model, state, other.save()), "");
    plain.step(40);
    other.step(40);
    EXPECT_EQ(tellDifference(*plain.model, plain.save(), other.save()), "");
}

TEST(StateRun, LeavesOtherModelsAlone) {
    const GeneratedFolder folder(5), otherFolder(7);
    ModelRun alone(folder, "alone"), turns(folder, "turns"), other(otherFolder, "other");
    alone.start();
    turns.start();
    other.start();
    const StateBytes begin = other.save();
    alone.step(40);
    for (int k = 0; k < 40; ++k) {
        turns.step();
        other.step();
        if (k % 10 == 9) {
            ASSERT_EQ(other.restore(begin), STATE_OK);
        }
    }
    EXPECT_EQ(tellDifference(*alone.model, alone.save(), turns.save()), "");
}

/// A record of the file: the date and the rows of all tables.
static std::string getTail(const std::string& file, size_t size) {
    const size_t closing = 7 * sizeof(int32_t);
    return file.substr(file.size() - closing - size, size);
}

TEST(StateRun, WritesTheRowsFromItsPeriodOn) {
    const GeneratedFolder folder(4);
    ModelRun plain(folder, "plain"), run(folder, "run");
    plain.start();
    plain.step(50);
    const StateBytes state = plain.save();
    const int32_t before = plain.model->results->period - 1;
    plain.stepToEnd();
    const int32_t all = plain.model->results->period - 1;
    const size_t begin = static_cast<size_t>(plain.model->binary->runs.front().offset);
    plain.finish();
    run.start();
    ASSERT_EQ(run.restore(state), STATE_OK);
    run.stepToEnd();
    run.finish();
    EXPECT_EQ(run.readReport(), plain.readReport());
    run_close(*plain.model);
    run_close(*run.model);
    const std::string whole = readFile(plain.results), part = readFile(run.results);
    const size_t record = (whole.size() - 28 - begin) / static_cast<size_t>(all);
    EXPECT_EQ(part.size(), whole.size() - record * static_cast<size_t>(before));
    const size_t rows = record * static_cast<size_t>(all - before);
    EXPECT_EQ(getTail(part, rows), getTail(whole, rows));
    int32_t count = 0;
    std::memcpy(&count, part.data() + part.size() - 12, sizeof count);
    EXPECT_EQ(count, all - before);
}

TEST(StateRun, FillsAGapThatALaterStateHasLeft) {
    const GeneratedFolder folder(4);
    ModelRun plain(folder, "plain"), run(folder, "run");
    plain.start();
    plain.step(20);
    const StateBytes early = plain.save();
    plain.step(60);
    const StateBytes late = plain.save();
    plain.stepToEnd();
    plain.finish();
    run.start();
    run.step(30);
    ASSERT_EQ(run.restore(late), STATE_OK);
    run.step(20);
    ASSERT_EQ(run.restore(late), STATE_OK);
    run.step(5);
    ASSERT_EQ(run.restore(early), STATE_OK);
    run.stepToEnd();
    run.finish();
    run_close(*plain.model);
    run_close(*run.model);
    EXPECT_EQ(readFile(run.results), readFile(plain.results));
}

TEST(StateRun, GetsThePeriodOfItsClockFromARunWithoutReports) {
    std::string text = generateProject(4);
    text += "[GENERAL]\nREPORT_AVERAGE NO\n";
    const GeneratedFolder folder(text);
    ModelRun plain(folder, "plain"), silent(folder, "silent"), run(folder, "run");
    plain.start();
    silent.start(0);
    run.start();
    plain.step(50);
    silent.step(50);
    ASSERT_EQ(run.restore(silent.save()), STATE_OK);
    EXPECT_EQ(run.model->results->period, plain.model->results->period);
    EXPECT_EQ(run.model->clock.reportTime, plain.model->clock.reportTime);
}

TEST(StateRun, TakesRowsOfADatabaseBack) {
    const GeneratedFolder folder(4);
    std::filesystem::create_directory(folder.file("other"));
    for (const char* file : {"model.inp", "series.txt", "rain.txt"}) {
        std::filesystem::copy_file(folder.file(file), folder.file(std::string("other/") + file));
    }
    ModelRun plain(folder, "plain"), run(folder, "run", "other/model.inp");
    plain.start(2);
    plain.stepToEnd();
    plain.finish();
    run.start(2);
    run.step(25);
    const StateBytes state = run.save();
    run.step(30);
    ASSERT_EQ(run.restore(state), STATE_OK);
    run.stepToEnd();
    run.finish();
    run_close(*plain.model);
    run_close(*run.model);
    EXPECT_EQ(readFile(folder.file("other/model.db")), readFile(folder.file("model.db")));
}
