// The pace of a model: what its two functions take, and when. That no result shows it is tested with the towns
// (tests/bench/pace_test.cpp).

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

namespace {

/// Land for more than one thread: 160 subcatchments, every second one with a LID unit, under a shower in dry weather.
std::string makeLand() {
    std::string subcatchments, units, coverages;
    for (int k = 0; k < 160; ++k) {
        const std::string id = "S" + std::to_string(k);
        subcatchments += id;
        subcatchments += " G O 0." + std::to_string(2 + k % 7) + " 40 " + std::to_string(20 + k % 60);
        subcatchments += " 1 0.013 0.2 1.5 4 60 6 4 7 0\n";
        coverages.append(id).append(" ROOF 60\n").append(id).append(" YARD 40\n");
        units += k % 4 == 0 ? id + " CELL 50 4 20 10\n" : k % 4 == 2 ? id + " BARREL 20 2 30 10\n" : "";
    }
    return "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:01:00\n"
           "REPORT_STEP 1:00:00\nSTART_DRY_DAYS 3\n[EVAPORATION]\nCONSTANT 4\n[RAINGAGES]\nG INTENSITY 0:05:00 RAIN\n"
           "[TIMESERIES]\nRAIN 2024/06/18 0:30 20 2024/06/18 0:35 35 2024/06/18 0:40 5 2024/06/18 0:45 0\n"
           "[POLLUTANTS]\nTSS 5\nCOD 0\n[LANDUSES]\nROOF\nYARD\n[BUILDUP]\nROOF TSS 40 0.3\nYARD COD 60 0.4\n"
           "[WASHOFF]\nROOF TSS EXP 0.1 1.2 0\nYARD COD EXP 0.1 1.4 0\n[OUTFALLS]\nO\n[LIDS]\nCELL BC\n"
           "CELL SURFACE 150 0.1 0.1 1 0\nCELL SOIL 500 0.45 0.2 0.1 40 10\nCELL STORAGE 300 0.67 3\n"
           "CELL DRAIN 3 0.5 100\nBARREL RB\nBARREL STORAGE 1500 1 0\nBARREL DRAIN 6 0.5 50 6\n"
           "[DECAY_COEFFICIENT]\nCELL LID TSS FIRST 3 \"\" SOIL\nBARREL LID COD FIRST 1 \"\" STORAGE\n[SUBCATCHS]\n" +
           subcatchments + "[COVERAGES]\n" + coverages + "[LID_GROUPS]\n" + units;
}

std::vector<char> getState(const TvModel& model) {
    size_t size = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::vector<char> bytes(size);
    EXPECT_EQ(tv_saveState(model, bytes.data(), bytes.size(), &size), TV_OK);
    return bytes;
}

}  // namespace

TEST(OneModelInThreads, ComesToTheSameStates) {
    const TvModel alone, shared;
    for (const TvModel* model : {&alone, &shared}) {
        ASSERT_EQ(model->openText(makeLand()), TV_OK);
        ASSERT_EQ(tv_start(*model, nullptr, nullptr), TV_OK);
    }
    ASSERT_EQ(tv_setThreads(shared, 3), TV_OK);
    for (int step = 0; step < 300; ++step) {
        ASSERT_EQ(tv_step(alone), TV_OK);
        ASSERT_EQ(tv_step(shared), TV_OK);
        if (step % 60 == 59) {
            ASSERT_EQ(getState(alone), getState(shared)) << "after step " << step;
        }
    }
    // Others take part from one step to the next, and nobody after the last.
    ASSERT_EQ(tv_setThreads(shared, 2), TV_OK);
    ASSERT_EQ(tv_step(alone), TV_OK);
    ASSERT_EQ(tv_step(shared), TV_OK);
    EXPECT_EQ(getState(alone), getState(shared));
    EXPECT_EQ(tv_end(shared), TV_OK);
}

namespace {

/// The file of a network of some ten thousand objects, with rows of the report time or with means.
std::string runNetwork(const Project& project, int32_t threads) {
    const TvModel model;
    EXPECT_EQ(tv_setThreads(model, threads), TV_OK);
    EXPECT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    return readFile(project.results);
}

}  // namespace

TEST(OneModelInThreads, WritesTheSameRows) {
    for (const char* const rows : {"REPORT_AVERAGE NO\n", "REPORT_AVERAGE YES\n"}) {
        const Project project(getGeneral(10) + rows + generateNetwork(7, 16000, 2));
        const std::string alone = runNetwork(project, 1);
        EXPECT_GT(alone.size(), 2u * 16000u * 4u * sizeof(float));
        for (const int32_t threads : {2, 3}) {
            EXPECT_TRUE(runNetwork(project, threads) == alone) << threads << " threads, " << rows;
        }
    }
}
