// Many models in one process: side by side, in threads, one after the other by the thousand.

#include <gtest/gtest.h>

#include <dirent.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/allkinds.h"
#include "support/generate.h"
#include "support/sanitizer.h"
#include "support/tvmodel.h"

namespace {

/// What a run leaves behind.
struct Outcome {
    std::string report, results;
    bool operator==(const Outcome&) const = default;
};

/// A model on its way through a run of which it leaves the files.
struct Runner {
    TvModel model;
    TempFolder folder;
    std::string report = folder.file("a.rpt"), results = folder.file("a.bin");

    explicit Runner(const std::string& input) {
        EXPECT_EQ(tv_open(model, input.c_str(), report.c_str()), TV_OK) << input;
        EXPECT_EQ(tv_start(model, results.c_str(), nullptr), TV_OK) << input;
    }

    /// Some steps more; false at the end.
    bool step(int count) const {
        for (int k = 0; k < count && model.getPhase() == TV_STARTED; ++k) {
            EXPECT_EQ(tv_step(model), TV_OK);
        }
        return model.getPhase() == TV_STARTED;
    }

    Outcome end() const {
        EXPECT_EQ(tv_report(model), TV_OK);
        EXPECT_EQ(tv_close(model), TV_OK);
        return {readFile(report), readFile(results)};
    }
};

/// Eight projects that together enter every room: all kinds of node and link with engines, land, LID units, tanks with
/// rules, reactors, plain networks.
struct EightProjects {
    AllKinds allKinds;
    std::vector<Project> networks{3};
    std::vector<std::string> inputs{allKinds.input};

    EightProjects() {
        for (const std::string name : {"green-street", "interceptor", "storm-tank", "wetland-control"}) {
            const std::string folder = TARNVELDE_SOURCE_DIR "/examples/" + name;
            inputs.push_back(std::filesystem::path(folder) / (name + ".inp"));
        }
        unsigned seed = 7;
        for (Project& network : networks) {
            network.write(getGeneral(120) + generateNetwork(seed, 30, static_cast<int>(seed % 3)));
            ++seed;
            inputs.push_back(network.input);
        }
    }
};

constexpr int STEPS = 100;

Outcome runAlone(const std::string& input) {
    const Runner runner(input);
    runner.step(STEPS);
    return runner.end();
}

std::vector<Outcome> runEachAlone(const EightProjects& projects) {
    std::vector<Outcome> outcomes;
    for (const std::string& input : projects.inputs) {
        outcomes.push_back(runAlone(input));
        EXPECT_GT(outcomes.back().results.size(), 500u) << input;
    }
    return outcomes;
}

}  // namespace

TEST(ManyModels, SteppedInTurnDoNotTouchEachOther) {
    const EightProjects projects;
    const std::vector<Outcome> alone = runEachAlone(projects);
    std::vector<std::unique_ptr<Runner>> runners;
    for (const std::string& input : projects.inputs) {
        runners.push_back(std::make_unique<Runner>(input));
    }
    for (int step = 0; step < STEPS; ++step) {
        for (const auto& runner : runners) {
            runner->step(1);
        }
    }
    for (size_t k = 0; k < runners.size(); ++k) {
        EXPECT_TRUE(runners[k]->end() == alone[k]) << projects.inputs[k];
    }
}

TEST(ManyModels, OfOneProjectDoNotTouchEachOther) {
    const EightProjects projects;
    for (const std::string& input : projects.inputs) {
        const Outcome alone = runAlone(input);
        const Runner slow(input), fast(input);
        slow.step(10);
        fast.step(STEPS);
        EXPECT_TRUE(fast.end() == alone) << input;
        slow.step(STEPS - 10);
        EXPECT_TRUE(slow.end() == alone) << input;
    }
}

TEST(ManyModels, RunInThreads) {
    const EightProjects projects;
    const std::vector<Outcome> alone = runEachAlone(projects);
    const int rounds = IS_THREAD_SANITIZED ? 100 : 10;
    std::atomic<int> differences = 0;
    std::vector<std::thread> threads;
    for (size_t k = 0; k < projects.inputs.size(); ++k) {
        threads.emplace_back([&, k] {
            for (int round = 0; round < rounds; ++round) {
                differences += runAlone(projects.inputs[k]) == alone[k] ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differences, 0);
}

TEST(ManyModels, StandBesideTheDefaultOne) {
    const EightProjects projects;
    const Outcome alone = runAlone(projects.inputs[5]);
    const Project& other = projects.networks[1];
    ASSERT_EQ(other.run(), 0);
    const std::string report = readFile(other.report);
    ASSERT_EQ(other.open(), 0);
    ASSERT_EQ(tarnvelde_start(1), 0);
    const Runner runner(projects.inputs[5]);
    double days = 0.0;
    int steps = 0;
    do {
        runner.step(++steps <= STEPS ? 1 : 0);
        ASSERT_EQ(tarnvelde_step(&days), 0);
    } while (days > 0.0);
    ASSERT_GE(steps, STEPS);
    EXPECT_TRUE(runner.end() == alone);
    tarnvelde_report();
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(readFile(other.report), report);
}

// --- thousands -----------------------------------------------------------------------------------------------------

/// Pages of memory that the process holds, and its open files.
static long countPages() {
    long size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident;
}

static int countFiles() {
    int count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (readdir(folder)) {
        ++count;
    }
    closedir(folder);
    return count;
}

TEST(ManyModels, ByTheThousandLeaveMemoryAndFilesFlat) {
    const std::string text = getGeneral(10) + generateNetwork(4, 20, 2);
    const auto use = [&](int k) {
        TvModel model;
        if (k % 10 == 9) {
            EXPECT_EQ(model.openText("[JUNCTIONS]\nA\nA\n"), 200);
            return;
        }
        ASSERT_EQ(model.openText(text), TV_OK);
        if (k % 3 == 0) {
            ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
            ASSERT_EQ(tv_step(model), TV_OK);
        }
    };
    const int count = IS_FREED_MEMORY_KEPT ? 500 : 10000;
    for (int k = 0; k < count / 10; ++k) {
        use(k);
    }
    const long pages = countPages();
    const int files = countFiles();
    for (int k = 0; k < count; ++k) {
        use(k);
    }
    EXPECT_EQ(countFiles(), files);
    if (!IS_FREED_MEMORY_KEPT) {
        EXPECT_LT(countPages(), pages + 256) << "a megabyte may be the heap's own";
    }
}

TEST(ManyModels, AtOnceByTheThousand) {
    const std::string text = getGeneral(10) + generateNetwork(4, 5, 1);
    std::vector<TvModel> models(1000);
    for (const TvModel& model : models) {
        ASSERT_EQ(model.openText(text), TV_OK);
        ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    }
    for (const TvModel& model : models) {
        ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
        EXPECT_EQ(model.getPhase(), TV_FINISHED);
    }
}
