// Saved states, hot starts and clones of the second face.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/allkinds.h"
#include "support/child.h"
#include "support/generate.h"
#include "support/generateall.h"
#include "support/sanitizer.h"
#include "support/tvmodel.h"

namespace {

using State = std::vector<char>;

State save(tv_model* model) {
    size_t size = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
    State state(size);
    EXPECT_EQ(tv_saveState(model, state.data(), state.size(), &size), TV_OK);
    EXPECT_EQ(size, state.size());
    return state;
}

void step(tv_model* model, int count) {
    int32_t phase = 0;
    for (int k = 0; k < count && tv_getPhase(model, &phase) == TV_OK && phase == TV_STARTED; ++k) {
        EXPECT_EQ(tv_step(model), TV_OK);
    }
}

/// A project in a folder, with the files of one run.
struct StateProject : Project {
    std::string results2 = folder.file("second.bin"), report2 = folder.file("second.rpt");
    using Project::Project;

    void start(tv_model* model) const {
        ASSERT_EQ(tv_open(model, input.c_str(), report2.c_str()), TV_OK);
        ASSERT_EQ(tv_start(model, results2.c_str(), nullptr), TV_OK);
    }

    /// The rest of a run; its report and results, one after the other.
    std::string finish(tv_model* model) const {
        int32_t phase = 0;
        EXPECT_EQ(tv_getPhase(model, &phase), TV_OK);
        EXPECT_EQ(tv_runUntil(model, TV_END), phase == TV_FINISHED ? TV_ERROR_FINISHED : TV_OK);
        EXPECT_EQ(tv_report(model), TV_OK);
        EXPECT_EQ(tv_close(model), TV_OK);
        return readFile(report2) + readFile(results2);
    }
};

std::string makeText(unsigned seed) {
    return getGeneral(90) + generateNetwork(seed, 15, static_cast<int>(seed % 4));
}

}  // namespace

TEST(ModelState, GoesBackAndOnToTheSameBytes) {
    std::mt19937 random(5);
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const StateProject project(makeText(seed));
        TvModel straight;
        project.start(straight);
        const std::string expected = project.finish(straight);
        TvModel model;
        project.start(model);
        for (int k = 0; k < 5; ++k) {
            step(model, static_cast<int>(random() % 15));
            const State state = save(model);
            step(model, static_cast<int>(random() % 40));
            ASSERT_EQ(tv_restoreState(model, state.data(), state.size()), TV_OK);
            EXPECT_EQ(save(model), state);
        }
        EXPECT_TRUE(project.finish(model) == expected) << seed;
    }
}

TEST(ModelState, OfSeveralPollutantsNeedsNoPattern) {
    const StateProject project(getGeneral(90) +
                               "[POLLUTANTS]\nTSS 0\nCOD 0\n[JUNCTIONS]\nA\n[OUTFALLS]\nB\n"
                               "[PIPES]\nP A B NO 120 2 0.2 0\n[DECAY_COEFFICIENT]\nP LINK TSS FIRST 0.5 \"\"\n");
    TvModel model;
    project.start(model);
    step(model, 10);
    const State state = save(model);
    step(model, 10);
    ASSERT_EQ(tv_restoreState(model, state.data(), state.size()), TV_OK);
    EXPECT_EQ(save(model), state);
}

TEST(ModelState, IsTakenAlsoAtTheEnd) {
    const StateProject project(makeText(3));
    TvModel model;
    project.start(model);
    const State begin = save(model);
    step(model, 1000);
    ASSERT_EQ(model.getPhase(), TV_FINISHED);
    const State end = save(model);
    ASSERT_EQ(tv_restoreState(model, begin.data(), begin.size()), TV_OK);
    EXPECT_EQ(model.getPhase(), TV_STARTED);
    EXPECT_EQ(model.getClock().progress, 0.0);
    ASSERT_EQ(tv_restoreState(model, end.data(), end.size()), TV_OK);
    EXPECT_EQ(model.getPhase(), TV_FINISHED);
    EXPECT_EQ(model.getClock().progress, 1.0);
}

namespace {

/// The records of a binary results file, without its head and its closing block.
std::string getRecords(const std::string& file) {
    constexpr size_t CLOSING_BLOCK = 28, RESULTS_PLACE = 12;
    uint32_t place = 0;
    std::memcpy(&place, file.data() + file.size() - CLOSING_BLOCK + RESULTS_PLACE, sizeof place);
    return file.substr(place, file.size() - CLOSING_BLOCK - place);
}

/// A generated project with the series that it names.
struct GeneratedProject : StateProject {
    explicit GeneratedProject(unsigned seed) : StateProject(generateProject(seed)) {
        folder.write("series.txt", GeneratedSeriesFile);
        folder.write("rain.txt", GeneratedSeriesFile);
    }
    std::string getStateFile(int k) const { return folder.file("state" + std::to_string(k)); }
};

constexpr int STATES = 20;

/// Runs a project to its end and saves states on the way, at random steps; the last one waits for the disk, as hosts
/// do.
void runAndSave(const GeneratedProject& project, std::mt19937& random, std::string& report, std::string& records) {
    TvModel model;
    project.start(model);
    for (int k = 0; k < STATES - 1; ++k) {
        step(model, static_cast<int>(random() % 12));
        const State state = save(model);
        project.folder.write("state" + std::to_string(k), std::string(state.begin(), state.end()));
    }
    step(model, static_cast<int>(random() % 12));
    ASSERT_EQ(tv_saveStateFile(model, project.getStateFile(STATES - 1).c_str()), TV_OK);
    project.finish(model);
    report = readFile(project.report2);
    records = getRecords(readFile(project.results2));
}

/// Goes on from a state: the same report, and of the rows those from then on. What differs, or nothing.
std::string goOn(const GeneratedProject& project, int k, const std::string& report, const std::string& records) {
    TvModel model;
    project.start(model);
    if (const int32_t code = tv_restoreStateFile(model, project.getStateFile(k).c_str())) {
        return tv_describeCode(code);
    }
    project.finish(model);
    if (readFile(project.report2) != report) {
        return "the report";
    }
    return records.ends_with(getRecords(readFile(project.results2))) ? "" : "the rows";
}

}  // namespace

TEST(ModelState, PassesThroughFilesIntoANewProcess) {
    std::mt19937 random(11);
    const unsigned projects = IS_FREED_MEMORY_KEPT || IS_THREAD_SANITIZED ? 10 : 100;
    for (unsigned seed = 1; seed <= projects; ++seed) {
        const GeneratedProject project(seed);
        std::string report, records;
        ASSERT_NO_FATAL_FAILURE(runAndSave(project, random, report, records)) << seed;
        EXPECT_FALSE(project.folder.has("state" + std::to_string(STATES - 1) + ".part"));
        const int status = process_fork([&] {
            for (int k = 0; k < STATES; ++k) {
                if (const std::string difference = goOn(project, k, report, records); !difference.empty()) {
                    std::fprintf(stderr, "project %u, state %d: %s\n", seed, k, difference.c_str());
                    return 1;
                }
            }
            return 0;
        });
        EXPECT_EQ(status, 0) << seed;
    }
}

TEST(ModelState, IsRefusedAsItIs) {
    const StateProject project(makeText(2));
    TvModel model;
    size_t size = 77;
    char byte = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_ERROR_NOT_OPEN);
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    EXPECT_EQ(tv_getStateSize(model, &size), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_saveState(model, &byte, 1, &size), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_restoreState(model, &byte, 1), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_hotStart(model, &byte, 1), TV_ERROR_NOT_STARTED);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    step(model, 10);
    EXPECT_EQ(tv_saveState(model, &byte, 1, &size), TV_ERROR_SIZE);
    EXPECT_EQ(tv_saveState(model, nullptr, 0, &size), TV_ERROR_NULL);
    EXPECT_EQ(tv_restoreState(model, nullptr, 0), TV_ERROR_NULL);
    EXPECT_EQ(tv_restoreState(model, &byte, 1), TV_ERROR_NO_STATE);
    EXPECT_EQ(size, 77u);
    State state = save(model);
    const State before = state;
    EXPECT_EQ(tv_restoreState(model, state.data(), state.size() - 1), TV_ERROR_NO_STATE);
    state.back() ^= 1;
    EXPECT_EQ(tv_restoreState(model, state.data(), state.size()), TV_ERROR_STATE_DAMAGED);
    state.back() ^= 1;
    EXPECT_EQ(tv_hotStart(model, state.data(), state.size()), TV_ERROR_NOT_NOW);
    TvModel other;
    ASSERT_EQ(other.openText(makeText(4)), TV_OK);
    ASSERT_EQ(tv_start(other, nullptr, nullptr), TV_OK);
    EXPECT_EQ(tv_restoreState(other, state.data(), state.size()), TV_ERROR_STATE_PROJECT);
    EXPECT_EQ(tv_hotStart(other, state.data(), state.size()), TV_ERROR_STATE_PROJECT);
    EXPECT_EQ(save(model), before);

    EXPECT_EQ(tv_restoreStateFile(model, project.folder.file("none").c_str()), TV_ERROR_FILE);
    EXPECT_EQ(tv_restoreStateFile(model, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_restoreStateFile(model, project.input.c_str()), TV_ERROR_NO_STATE);
    EXPECT_EQ(tv_saveStateFile(model, project.folder.file("no/such/folder").c_str()), TV_ERROR_FILE);
    EXPECT_EQ(tv_saveStateFile(model, nullptr), TV_ERROR_NULL);
}

TEST(ModelState, AFileThatCannotBeReplacedStays) {
    if (!std::ifstream("/dev/full")) {
        GTEST_SKIP() << "no device that is full";
    }
    const StateProject project(makeText(2));
    TvModel model;
    project.start(model);
    const std::string file = project.folder.file("a.state");
    ASSERT_EQ(tv_saveStateFile(model, file.c_str()), TV_OK);
    const std::string before = readFile(file);
    std::filesystem::create_symlink("/dev/full", file + ".part");
    step(model, 5);
    EXPECT_EQ(tv_saveStateFile(model, file.c_str()), TV_ERROR_FILE);
    EXPECT_EQ(readFile(file), before);
}

// --- clones --------------------------------------------------------------------------------------------------------

TEST(ModelClone, GoesItsOwnWayToTheSameStates) {
    AllKinds project;
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    step(model, 7);
    const State before = save(model);
    TvModel clone;
    tv_free(std::exchange(clone.handle, nullptr));
    ASSERT_EQ(tv_clone(model, &clone.handle), TV_OK);
    EXPECT_EQ(save(clone), before);
    step(clone, 1000);
    EXPECT_EQ(save(model), before);
    step(model, 1000);
    EXPECT_EQ(save(model), save(clone));
}

TEST(ModelClone, OfATextNeedsNoFile) {
    TvModel model;
    ASSERT_EQ(model.openText(makeText(6)), TV_OK);
    tv_model* clone = nullptr;
    EXPECT_EQ(tv_clone(model, &clone), TV_ERROR_NOT_STARTED);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    step(model, 20);
    EXPECT_EQ(tv_clone(model, nullptr), TV_ERROR_NULL);
    ASSERT_EQ(tv_clone(model, &clone), TV_OK);
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_EQ(tv_runUntil(clone, TV_END), TV_OK);
    EXPECT_EQ(tv_free(clone), TV_OK);
}

TEST(ModelClone, IsNotMadeOfAProjectThatHasChanged) {
    const StateProject project(makeText(6));
    TvModel model;
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    project.write(makeText(6) + "[DESCRIPTION]\nanother one\n");
    tv_model* clone = nullptr;
    EXPECT_EQ(tv_clone(model, &clone), TV_ERROR_STATE_PROJECT);
    EXPECT_EQ(clone, nullptr);
}

// --- hot starts ----------------------------------------------------------------------------------------------------

/// A tank that is filled on one day and emptied on the next.
static std::string makeDay(const std::string& day, const std::string& inflow) {
    return "[GENERAL]\nSTART_DATE " + day + "\nEND_DATE " + day +
           "\nEND_TIME 12:00:00\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\nREPORT_STEP 0:05:00\n"
           "[JUNCTIONS]\nA\n[TANKS]\nT SHAPE 10 1\n[OUTFALLS]\nO\n[CONNECTIONS]\nC A T NO 600\n"
           "[ORIFICES]\nOR T O NO CIRCULAR 0.62 0 0.1 0\n[CURVES]\nSHAPE TANK 0 100 20 100\n[POLLUTANTS]\nQ 0\n"
           "[INFLOWS]\nA FLOW FLOW " +
           inflow + " \"\" 0\nA CONCEN Q 10 \"\" 0\n";
}

static double getBalance(const std::string& report, const std::string& row) {
    const size_t place = report.find("  " + row);
    EXPECT_NE(place, std::string::npos) << row;
    return place == std::string::npos ? 0.0 : std::stod(report.substr(place + 28));
}

TEST(ModelHotStart, CarriesWaterIntoADayWithDatesOfItsOwn) {
    TvModel first;
    ASSERT_EQ(first.openText(makeDay("2021/03/01", "0.05")), TV_OK) << first.getMessages()[0].text;
    ASSERT_EQ(tv_start(first, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(first, TV_END), TV_OK);
    const State state = save(first);
    const StateProject project(makeDay("2021/07/20", "0"));
    TvModel second;
    project.start(second);
    ASSERT_EQ(tv_hotStart(second, state.data(), state.size()), TV_OK);
    EXPECT_EQ(second.getClock().progress, 0.0);
    project.finish(second);
    const std::string report = readFile(project.report2);
    EXPECT_GT(getBalance(report, "Init. Storage"), 100.0) << report;
    EXPECT_NEAR(getBalance(report, "Continuity Error (%)"), 0.0, 0.1) << report;
    EXPECT_GT(getBalance(report, "External Outflow"), 100.0);
}

// --- what a host has set -------------------------------------------------------------------------------------------

namespace {

/// Another value that a variable may take; the same if there is none.
double pickOther(const tv_variable& variable, double value) {
    const double start = std::isnan(value) ? 0.5 : value;
    for (const double other : {start * 0.5 + 0.125, start * 0.9, start + 1.0, 1.0, 0.0}) {
        if (other != value && other > variable.minimum && other < variable.maximum) {
            return other;
        }
    }
    return value;
}

/// Sets all that can be set in a run to other values; what was set, by variable, object and pollutant.
std::vector<std::pair<std::string, double>> setAll(tv_model* model, bool isRead) {
    std::vector<std::pair<std::string, double>> values;
    int32_t count = 0;
    EXPECT_EQ(tv_getVariableCount(&count), TV_OK);
    for (int32_t v = 0; v < count; ++v) {
        tv_variable variable{};
        int32_t objects = 0, pollutants = 0;
        EXPECT_EQ(tv_getVariable(v, &variable), TV_OK);
        EXPECT_EQ(tv_getCount(model, variable.objectClass, &objects), TV_OK);
        EXPECT_EQ(tv_getCount(model, TV_POLLUTANT, &pollutants), TV_OK);
        if (!(variable.when & TV_WHEN_STARTED)) {
            continue;
        }
        for (int32_t k = 0; k < objects; ++k) {
            for (int32_t p = variable.isPerPollutant ? 0 : TV_NO_POLLUTANT;
                 p < (variable.isPerPollutant ? pollutants : 0); ++p) {
                double value = 0.0;
                if (tv_getValue(model, v, k, p, &value) != TV_OK) {
                    continue;
                }
                if (!isRead && tv_setValue(model, v, k, p, pickOther(variable, value)) != TV_OK) {
                    continue;
                }
                EXPECT_EQ(tv_getValue(model, v, k, p, &value), TV_OK);
                values.emplace_back(std::string(variable.name) + " of class " + std::to_string(variable.objectClass) +
                                        ", object " + std::to_string(k) + ", pollutant " + std::to_string(p),
                                    value);
            }
        }
    }
    return values;
}

}  // namespace

TEST(ModelState, HoldsAllThatAHostHasSet) {
    AllKinds project;
    TvModel model, other;
    for (tv_model* m : {model.handle, other.handle}) {
        ASSERT_EQ(tv_open(m, project.input.c_str(), nullptr), TV_OK);
        ASSERT_EQ(tv_start(m, nullptr, nullptr), TV_OK);
        step(m, 3);
    }
    setAll(model, false);
    const auto expected = setAll(model, true);
    ASSERT_GT(expected.size(), 30u);
    const State state = save(model);
    setAll(model, false);
    for (tv_model* m : {model.handle, other.handle}) {
        ASSERT_EQ(tv_restoreState(m, state.data(), state.size()), TV_OK);
        const auto restored = setAll(m, true);
        ASSERT_EQ(restored.size(), expected.size());
        for (size_t k = 0; k < restored.size(); ++k) {
            EXPECT_THAT(restored[k].second, testing::NanSensitiveDoubleEq(expected[k].second)) << restored[k].first;
        }
    }
}
