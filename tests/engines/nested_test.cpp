// Projects inside nodes of other projects: what the town in pieces gives, beside the town in one piece.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <regex>
#include <thread>

#include "engines/nested_towns.h"

namespace fs = std::filesystem;

namespace {

/// Numbers that differ by rounding alone: a load is handed over as a concentration.
constexpr double ROUNDING = 1e-12;

void expectEqual(const std::vector<double>& values, const std::vector<double>& expected) {
    ASSERT_EQ(values.size(), expected.size());
    for (size_t k = 0; k < values.size(); ++k) {
        ASSERT_NEAR(values[k], expected[k], std::abs(expected[k]) * ROUNDING) << k;
    }
}

/// What each value but the last makes one step later, with 0 in the first.
std::vector<double> delay(std::vector<double> values) {
    std::rotate(values.rbegin(), values.rbegin() + 1, values.rend());
    values.front() = 0.0;
    return values;
}

/// The example: a town in two projects, and in one.
struct Town {
    TempFolder folder;

    Town() { fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "nested-town", folder.path); }

    /// Replaces a piece of text in all projects that have it.
    void replace(const std::string& before, const std::string& after) const {
        for (const char* name : {"nested-town.inp", "whole-town.inp", "district.inp"}) {
            const std::string text = readFile(folder.path / name);
            const size_t at = text.find(before);
            if (at != std::string::npos) {
                folder.write(name, text.substr(0, at) + after + text.substr(at + before.size()));
            }
        }
    }

    NestedSeries run(const char* name, const char* outfall = "WORKS") const {
        return runProject(folder.file(name), outfall);
    }
};

}  // namespace

// --- one town and two projects -------------------------------------------------------------------------------------

/// Nothing goes into the district: its outfall hands over what the junction of the one town has in the same step, so
/// water and load of the town below are those of the one town in each step, but for rounding.
TEST(NestedTown, IsTheOneTownBelowAnOutfallThatTheDistrictAloneFeeds) {
    const Town town;
    town.replace("VILLAGE  FLOW  0.012", "VILLAGE  FLOW  0.0");
    const NestedSeries split = town.run("nested-town.inp"), whole = town.run("whole-town.inp");
    ASSERT_EQ(whole.flows.size(), 1440u);
    EXPECT_GT(whole.getVolume(), 3000.0);
    EXPECT_GT(whole.getMass(), 1000.0);
    expectEqual(split.flows, whole.flows);
    expectEqual(split.loads, whole.loads);
}

/// What the village sends enters the district one step late. Up to any moment that is what it has sent in that step, at
/// most its largest flow times the step; streets, basin and trunk hand on no more of a difference than they get.
TEST(NestedTown, DiffersFromTheOneTownByTheHandOverOfOneStep) {
    const Town town;
    const NestedSeries split = town.run("nested-town.inp"), whole = town.run("whole-town.inp");
    const double largestFlow = 0.012 * 1.8, largestLoad = largestFlow * 0.480;  // of the village: m3/s, kg/s
    const double water = std::abs(split.getVolume() - whole.getVolume());
    const double mass = std::abs(split.getMass() - whole.getMass());
    EXPECT_GT(water, 0.0);
    EXPECT_LE(water, largestFlow * NESTED_STEP);
    EXPECT_LE(mass, largestLoad * NESTED_STEP);
}

/// A conduit takes the newest state of the district, which is one step ahead: what it gets begins with the second value
/// and has the last one twice.
TEST(NestedTown, HandsOverToAConduitOneStepEarly) {
    const TempFolder folder;
    folder.write("inside.inp", getDistrict(0.0, 0.0).substr(0, getDistrict(0.0, 0.0).find("[INFLOWS]")) + NestedWave);
    std::string text = getAround("inside.inp");
    text.replace(text.find("LAST NODE OUT NO 0\n"), 19, "");
    text += "[CONDUITS]\nLAST NODE OUT NO 100 0.5 0.014 CIRCULAR 1.5\n";
    const NestedModel model;
    ASSERT_EQ(tv_open(model, folder.write("around.inp", text).c_str(), nullptr), TV_OK) << model.getTexts(TV_ERROR);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    (void)runToEnd(model, "OUT");
    const NestedSeries inside = runProject(folder.file("inside.inp"), "OUT");
    const double expected = inside.getVolume() + (inside.flows.back() - inside.flows.front()) * NESTED_STEP;
    EXPECT_NEAR(model.getTotal("flow_swmm_inflow"), expected, expected * ROUNDING);
}

TEST(NestedTown, PassesWaterAndLoadOneStepLate) {
    const TempFolder folder;
    folder.write("inside.inp", getDistrict(0.0, 0.0));
    const std::string around = folder.write("around.inp", getAround("inside.inp", NestedWave));
    const std::string direct = getDistrict(0.0, 0.0);
    const std::string whole = folder.write("whole.inp", direct.substr(0, direct.find("[INFLOWS]")) + NestedWave);
    const NestedSeries split = runProject(around, "OUT"), one = runProject(whole, "OUT");
    ASSERT_EQ(one.flows.size(), size_t{NESTED_STEPS});
    EXPECT_GT(one.flows[100], one.flows[80]);
    expectEqual(split.flows, delay(one.flows));
    expectEqual(split.loads, delay(one.loads));
    EXPECT_NEAR(one.getVolume() - split.getVolume(), one.flows.back() * NESTED_STEP, 1e-9);
    EXPECT_NEAR(one.getMass() - split.getMass(), one.loads.back() * NESTED_STEP, 1e-9);
}

/// Both projects keep books, and they agree.
TEST(NestedTown, KeepsBooksOfItsOwn) {
    const Town town;
    const NestedModel model;
    const std::string report = town.folder.file("nested-town.rpt");
    ASSERT_EQ(tv_open(model, town.folder.file("nested-town.inp").c_str(), report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    const double given = model.getTotal("flow_swmm_outflow"), taken = model.getTotal("flow_swmm_inflow");
    const double lastOut = model.getFlow("HAND_OVER") * NESTED_STEP;  // the total counts a connection one step late
    ASSERT_EQ(tv_close(model), TV_OK);
    const std::string inside = readFile(town.folder.path / "district.rpt");
    std::smatch external, gate;
    ASSERT_TRUE(std::regex_search(inside, external, std::regex("External Inflow +([0-9.]+)")));
    ASSERT_TRUE(std::regex_search(inside, gate, std::regex("GATE +OUTFALL +([0-9.]+)")));
    const double lastStep = 0.012 * 0.6 * NESTED_STEP;  // of the village, which the district never sees
    EXPECT_NEAR(std::stod(external[1]), given - lastStep, 0.001);
    EXPECT_NEAR(std::stod(gate[1]), taken + lastOut, 0.001);
    EXPECT_FALSE(town.folder.has("district.out"));
}

TEST(NestedTown, LeavesResultsOfTheDistrictIfTheProjectWantsThem) {
    const Town town;
    town.replace("district.inp  NO", "district.inp  YES");
    const NestedModel model;
    const std::string report = town.folder.file("nested-town.rpt");
    ASSERT_EQ(tv_open(model, town.folder.file("nested-town.inp").c_str(), report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    ASSERT_EQ(tv_end(model), TV_OK);
    const NestedModel alone;
    ASSERT_EQ(tv_open(alone, town.folder.file("district.inp").c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(alone, town.folder.file("alone.out").c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(alone, TV_END), TV_OK);
    ASSERT_EQ(tv_end(alone), TV_OK);
    EXPECT_EQ(fs::file_size(town.folder.file("district.out")), fs::file_size(town.folder.file("alone.out")));
}

// --- more projects than two ----------------------------------------------------------------------------------------

/// Each project on the way takes one step.
TEST(NestedProjects, StandInsideOneAnother) {
    const TempFolder folder;
    folder.write("inmost.inp", getDistrict(0.05, 300.0));
    folder.write("middle.inp", getAround("inmost.inp"));
    const NestedSeries split = runProject(folder.write("around.inp", getAround("middle.inp", NestedWave)), "OUT");
    const std::string text = getDistrict(0.0, 0.0);
    const NestedSeries wave =
        runProject(folder.write("wave.inp", text.substr(0, text.find("[INFLOWS]")) + NestedWave), "OUT");
    std::vector<double> flows = delay(delay(wave.flows)), loads = delay(delay(wave.loads));
    for (size_t k = 0; k < flows.size(); ++k) {
        flows[k] += 0.05;
        loads[k] += 0.05 * 0.3;
    }
    ASSERT_EQ(split.flows.size(), flows.size());
    for (size_t k = 0; k < flows.size(); ++k) {
        ASSERT_NEAR(split.flows[k], flows[k], 1e-12) << k;
        ASSERT_NEAR(split.loads[k], loads[k], 1e-12) << k;
    }
}

namespace {

/// Two districts side by side, with 0.1 m3/s at 200 mg/L and 0.3 m3/s at 50 mg/L.
std::string writePair(const TempFolder& folder) {
    folder.write("north.inp", getDistrict(0.1, 200.0));
    folder.write("south.inp", getDistrict(0.3, 50.0));
    return folder.write("pair.inp", NestedGeneral +
                                        "[POLLUTANTS]\nCOD 0\n[OUTFALLS]\nOUT\nOTHER\n[SWMM_INPS]\nN north.inp NO\n"
                                        "OUTFLOW OUT L\nS south.inp NO\nOUTFLOW OUT M\n[CONNECTIONS]\n"
                                        "L N OUT NO 0\nM S OTHER NO 0\n");
}

}  // namespace

TEST(NestedProjects, OfOneProjectShareNothing) {
    const TempFolder folder;
    const NestedModel model;
    ASSERT_EQ(tv_open(model, writePair(folder).c_str(), nullptr), TV_OK) << model.getTexts(TV_ERROR);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_step(model), TV_OK);
    EXPECT_NEAR(model.get("inflow", "OUT"), 0.1, 1e-12);
    EXPECT_NEAR(model.get("load", "OUT", 0), 0.02, 1e-12);
    EXPECT_NEAR(model.get("inflow", "OTHER"), 0.3, 1e-12);
    EXPECT_NEAR(model.get("load", "OTHER", 0), 0.015, 1e-12);
}

TEST(NestedProjects, OfTwoThreadsShareNothing) {
    const Town town;
    const TempFolder folder;
    folder.write("inside.inp", getDistrict(0.05, 300.0));
    const std::string other = folder.write("around.inp", getAround("inside.inp", NestedWave));
    const NestedSeries expected = town.run("nested-town.inp"), expectedOther = runProject(other, "OUT");
    std::vector<NestedSeries> found(4);
    std::vector<std::thread> threads;
    for (size_t k = 0; k < found.size(); ++k) {
        threads.emplace_back(
            [&, k] { found[k] = k % 2 == 0 ? town.run("nested-town.inp") : runProject(other, "OUT"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found[0], expected);
    EXPECT_EQ(found[2], expected);
    EXPECT_EQ(found[1], expectedOther);
    EXPECT_EQ(found[3], expectedOther);
}

/// An ended run begins anew.
TEST(NestedProjects, RunTwiceToTheSameBits) {
    const Town town;
    const NestedModel model;
    ASSERT_EQ(tv_open(model, town.folder.file("nested-town.inp").c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    const NestedSeries first = runToEnd(model, "WORKS");
    ASSERT_EQ(tv_end(model), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    EXPECT_EQ(runToEnd(model, "WORKS"), first);
}

// --- settings ------------------------------------------------------------------------------------------------------

/// A rule of the town closes the throttle of the district while the village sleeps, for five hours, and opens it again.
TEST(NestedSettings, OfRulesReachTheLinksInside) {
    const Town town;
    const std::string text = readFile(town.folder.path / "nested-town.inp");
    town.folder.write("nested-town.inp", text +
                                             "[CONTROL_RULES]\nRULE CLOSED\nIF JUNCTION VILLAGE INFLOW < 0.008\n"
                                             "THEN SWMM DISTRICT THROTTLE SETTING = 0\n"
                                             "ELSE SWMM DISTRICT THROTTLE SETTING = 1\n");
    const NestedModel model;
    ASSERT_EQ(tv_open(model, town.folder.file("nested-town.inp").c_str(), nullptr), TV_OK) << model.getTexts(TV_ERROR);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    for (int k = 0; k < 290; ++k) {
        ASSERT_EQ(tv_step(model), TV_OK);
        ASSERT_EQ(model.get("inflow", "INLET"), 0.0) << k;
    }
    for (int k = 0; k < 60; ++k) {
        ASSERT_EQ(tv_step(model), TV_OK);
    }
    EXPECT_GT(model.get("inflow", "INLET"), 0.0);
}

// --- states --------------------------------------------------------------------------------------------------------

namespace {

std::vector<char> save(const tv_model* model) {
    size_t size = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::vector<char> state(size);
    EXPECT_EQ(tv_saveState(model, state.data(), state.size(), &size), TV_OK);
    state.resize(size);
    return state;
}

}  // namespace

TEST(NestedStates, AreSavedRestoredAndClonedToTheSameBits) {
    const Town town;
    const NestedModel model, other;
    for (const NestedModel* each : {&model, &other}) {
        ASSERT_EQ(tv_open(*each, town.folder.file("nested-town.inp").c_str(), nullptr), TV_OK);
        ASSERT_EQ(tv_start(*each, nullptr, nullptr), TV_OK);
    }
    for (int k = 0; k < 930; ++k) {  // into the shower
        ASSERT_EQ(tv_step(model), TV_OK);
    }
    const std::vector<char> state = save(model);
    NestedModel clone;
    ASSERT_EQ(tv_free(clone.handle), TV_OK);
    ASSERT_EQ(tv_clone(model, &clone.handle), TV_OK);
    const NestedSeries expected = runToEnd(model, "WORKS");
    ASSERT_EQ(expected.flows.size(), 510u);
    ASSERT_EQ(tv_restoreState(model, state.data(), state.size()), TV_OK);
    EXPECT_EQ(save(model), state);
    EXPECT_EQ(runToEnd(model, "WORKS"), expected);
    ASSERT_EQ(tv_restoreState(other, state.data(), state.size()), TV_OK);
    EXPECT_EQ(runToEnd(other, "WORKS"), expected);
    EXPECT_EQ(runToEnd(clone, "WORKS"), expected);
}

/// What a look ahead does inside stays there.
TEST(NestedStates, ReachProjectsInsideProjects) {
    const TempFolder folder;
    folder.write("inmost.inp", getDistrict(0.05, 300.0));
    folder.write("middle.inp", getAround("inmost.inp"));
    const NestedModel model;
    ASSERT_EQ(tv_open(model, folder.write("around.inp", getAround("middle.inp", NestedWave)).c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    for (int k = 0; k < 60; ++k) {
        ASSERT_EQ(tv_step(model), TV_OK);
    }
    NestedModel ahead;
    ASSERT_EQ(tv_free(ahead.handle), TV_OK);
    ASSERT_EQ(tv_clone(model, &ahead.handle), TV_OK);
    const NestedSeries seen = runToEnd(ahead, "OUT");
    EXPECT_EQ(runToEnd(model, "OUT"), seen);
    EXPECT_EQ(seen.flows.size(), 60u);
}

/// A project with a report has one inside as well; a clone has neither, and doesn't meet that of its model.
TEST(NestedStates, OfARunWithAReportAreCloned) {
    const Town town;
    const NestedModel model;
    const std::string report = town.folder.file("nested-town.rpt");
    ASSERT_EQ(tv_open(model, town.folder.file("nested-town.inp").c_str(), report.c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_step(model), TV_OK);
    tv_model* clone = nullptr;
    ASSERT_EQ(tv_clone(model, &clone), TV_OK);
    ASSERT_EQ(tv_step(clone), TV_OK);
    ASSERT_EQ(tv_free(clone), TV_OK);
    EXPECT_FALSE(town.folder.has("district.rpt"));
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_TRUE(town.folder.has("district.rpt"));
}
