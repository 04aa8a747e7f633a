// Projects inside nodes that can't be what they are meant to be, and the engine called by hand.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>

#include "engines/nested_towns.h"
#include "support/process.h"
#include "tarnvelde.h"

namespace fs = std::filesystem;

namespace {

/// Opens a project that holds `text`. The messages, if it is refused.
std::string refuse(const TempFolder& folder, const std::string& text) {
    folder.write("inside.inp", text);
    const NestedModel model;
    const int32_t code = tv_open(model, folder.write("around.inp", getAround("inside.inp")).c_str(), nullptr);
    EXPECT_NE(code, TV_OK);
    return model.getTexts(TV_ERROR);
}

bool has(const std::string& text, const std::string& piece) {
    return text.find(piece) != std::string::npos;
}

/// A project that holds a project with a treatment plant in it, whose model has lines of its own.
std::string writePlant(const TempFolder& folder, const std::string& lines) {
    const tv_clock clock = [&] {
        const NestedModel model;
        EXPECT_EQ(tv_open(model, folder.write("any.inp", getDistrict(0.1, 0.0)).c_str(), nullptr), TV_OK);
        return model.getClock();
    }();
    char period[100];
    std::snprintf(period, sizeof period, "period %.0f 0 %.0f 7200\n", clock.start, clock.start);
    folder.write("plant.sti",
                 std::string(period) + "step 60\nsolution unsteady\ninfluent I\neffluent E\nbasin 0 0\n" + lines);
    folder.write("inside.inp", getDistrict(0.1, 10.0) +
                                   "[VORN_INPS]\nPLANT plant.sti NO\n[CONVERTERS]\nV VORN_INFLUENT\n"
                                   "V COD CONSTANT 0 0\nV NH4 CONSTANT 0 0\nV NO3 CONSTANT 0 0\n"
                                   "V TP CONSTANT 0 0\nV TSS CONSTANT 0 0\nV ALK CONSTANT 0 0\n"
                                   "W VORN_EFFLUENT\nW COD CONSTANT 0 0\n");
    return folder.write("around.inp", getAround("inside.inp"));
}

}  // namespace

// --- faults of the project inside ----------------------------------------------------------------------------------

TEST(NestedFaults, AreToldWithTheirPlace) {
    const TempFolder folder;
    const std::string texts = refuse(folder, getDistrict(0.1, 10.0) + "[CONNECTIONS]\nX NOWHERE OUT NO 0\n");
    EXPECT_TRUE(has(texts, "233 cannot open swmm input file for swmm node NODE.")) << texts;
    EXPECT_TRUE(has(texts, "inside.inp: ERROR 209: undefined object NOWHERE")) << texts;
    EXPECT_TRUE(has(texts, "at line 21 of [CONNECTIONS]")) << texts;
    EXPECT_FALSE(has(texts, "237 ")) << texts;
    EXPECT_FALSE(has(texts, "241 ")) << texts;
}

TEST(NestedFaults, TwoProjectsDeepAreToldToo) {
    const TempFolder folder;
    folder.write("inmost.inp", getDistrict(0.1, 10.0) + "[CONNECTIONS]\nX NOWHERE OUT NO 0\n");
    const std::string texts = refuse(folder, getAround("inmost.inp"));
    EXPECT_TRUE(has(texts, "inside.inp: ERROR 233: cannot open swmm input file")) << texts;
    EXPECT_TRUE(has(texts, "inmost.inp: ERROR 209: undefined object NOWHERE")) << texts;
}

/// The dates of both must be the same: a project inside can't end before the one around.
TEST(NestedFaults, OfDatesAreToldAsOfAnyEngine) {
    const TempFolder folder;
    std::string text = getDistrict(0.1, 10.0);
    text.replace(text.find("END_TIME 02:00"), 14, "END_TIME 01:59");
    const std::string texts = refuse(folder, text);
    EXPECT_TRUE(has(texts, "177 ")) << texts;
    EXPECT_FALSE(has(texts, "175 ")) << texts;
    EXPECT_FALSE(has(texts, "233 ")) << texts;
}

TEST(NestedFaults, OfNamesAreToldAsOfAnyEngine) {
    const TempFolder folder;
    const std::string texts = refuse(folder, NestedGeneral + "[POLLUTANTS]\nTSS 0\n[OUTFALLS]\nELSEWHERE\n");
    EXPECT_TRUE(has(texts, "237 cannot find swmm node IN.")) << texts;
    EXPECT_TRUE(has(texts, "237 cannot find swmm node OUT.")) << texts;
    EXPECT_TRUE(has(texts, "241 Pollutant COD does not exist in swmm input file.")) << texts;
}

TEST(NestedFaults, OfFilesThatAreNoProjectAreMessages) {
    const TempFolder folder;
    std::string binary(5000, '\xff');
    for (size_t k = 0; k < binary.size(); k += 3) {
        binary[k] = static_cast<char>(k);
    }
    for (const std::string& text : {std::string(), binary, std::string(2'000'000, 'x'), "[JUNCTIONS]\n" + binary,
                                    std::string("[SWMM_INPS]\n\n[SWMM_INPS\nINFLOW\nOUTFLOW A B\n")}) {
        EXPECT_TRUE(has(refuse(folder, text), "233 ") || has(refuse(folder, text), "175 "));
    }
    fs::remove(folder.file("inside.inp"));
    fs::create_directory(folder.file("inside.inp"));
    const NestedModel model;
    EXPECT_NE(tv_open(model, folder.file("around.inp").c_str(), nullptr), TV_OK);
    EXPECT_TRUE(has(model.getTexts(TV_ERROR), "ERROR 303")) << model.getTexts(TV_ERROR);
}

/// Water can't enter or leave at a node that has a model inside.
TEST(NestedFaults, OfPlacesThatTakeNoWaterAreTold) {
    const TempFolder folder;
    folder.write("inmost.inp", getDistrict(0.05, 300.0));
    std::string text = getAround("inmost.inp");
    text.replace(text.find("OUTFALLS]\nOUT"), 13, "OUTFALLS]\nEND");
    text.replace(text.find("NODE inmost"), 4, "OUT ");
    text.replace(text.find("IN NODE"), 7, "IN OUT");
    text.replace(text.find("NODE OUT"), 8, "OUT END");
    EXPECT_EQ(refuse(folder, text), "237 cannot find swmm node OUT.\n");
}

/// An engine inside the project refuses its steps: all around hear of it once, and the run goes on.
TEST(NestedFaults, OfAnEngineInsideReachTheProjectAround) {
    const TempFolder folder;
    const std::string around = writePlant(folder, "refuse vorn_step 7\n");
    const NestedModel model;
    ASSERT_EQ(tv_open(model, around.c_str(), nullptr), TV_OK) << model.getTexts(TV_ERROR);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    EXPECT_NEAR(runToEnd(model, "OUT").flows.back(), 0.1, 1e-12);
    int refusals = 0;
    for (const tv_message& message : model.getMessages()) {
        refusals += std::string(message.name) == "W-run-engine" ? 1 : 0;
    }
    EXPECT_EQ(refusals, 1);
    EXPECT_EQ(model.getTexts(TV_INFO), "0 node NODE: node PLANT: the engine inside the node has refused a step\n");
}

/// A report that can't be put in place is missed.
TEST(NestedFaults, OfAReportThatIsLostAreTold) {
    const TempFolder folder;
    folder.write("inside.inp", getDistrict(0.1, 10.0));
    const std::string around = folder.write("around.inp", getAround("inside.inp"));
    const NestedModel model;
    ASSERT_EQ(tv_open(model, around.c_str(), folder.file("around.rpt").c_str()), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    fs::create_directories(folder.path / "inside.rpt" / "in-the-way");
    ASSERT_EQ(tv_end(model), TV_OK);
    EXPECT_EQ(model.getTexts(TV_ERROR), "");
    ASSERT_EQ(tv_close(model), TV_OK);
    EXPECT_TRUE(has(model.getTexts(TV_ERROR), "inside.inp: the report can't be written")) << model.getTexts(TV_ERROR);
    EXPECT_TRUE(folder.has("around.rpt"));
}

/// What a report of the same name is being written by.
TEST(NestedFaults, OfAReportThatAnotherRunWritesAreTold) {
    const TempFolder folder;
    folder.write("inside.inp", getDistrict(0.1, 10.0));
    const std::string around = folder.write("around.inp", getAround("inside.inp"));
    const NestedModel first, second;
    ASSERT_EQ(tv_open(first, around.c_str(), folder.file("first.rpt").c_str()), TV_OK);
    EXPECT_NE(tv_open(second, around.c_str(), folder.file("second.rpt").c_str()), TV_OK);
    EXPECT_TRUE(has(second.getTexts(TV_ERROR), "inside.inp: ERROR 305")) << second.getTexts(TV_ERROR);
}

// --- projects without an end ---------------------------------------------------------------------------------------

TEST(NestedEndlessly, AProjectInsideItselfIsRefused) {
    const TempFolder folder;
    const std::string around = folder.write("around.inp", getAround("around.inp"));
    const NestedModel model;
    EXPECT_NE(tv_open(model, around.c_str(), nullptr), TV_OK);
    EXPECT_TRUE(has(model.getTexts(TV_ERROR), "around.inp is inside itself")) << model.getTexts(TV_ERROR);
}

TEST(NestedEndlessly, AProjectInsideItselfIsRefusedUnderAnotherName) {
    const TempFolder folder;
    fs::create_directory(folder.path / "sub");
    fs::create_symlink("../one.inp", folder.path / "sub" / "again.inp");
    folder.write("one.inp", getAround("two.inp"));
    folder.write("two.inp", getAround("sub/again.inp"));
    const NestedModel model;
    EXPECT_NE(tv_open(model, folder.file("one.inp").c_str(), nullptr), TV_OK);
    EXPECT_TRUE(has(model.getTexts(TV_ERROR), "sub/again.inp is inside itself")) << model.getTexts(TV_ERROR);
}

TEST(NestedEndlessly, EightProjectsMayStandAroundOneAndNoMore) {
    const TempFolder folder;
    for (int k = 0; k < 9; ++k) {
        folder.write(std::to_string(k) + ".inp", getAround(std::to_string(k + 1) + ".inp"));
    }
    folder.write("9.inp", getDistrict(0.05, 300.0));
    const NestedModel eight, nine;
    EXPECT_EQ(tv_open(eight, folder.file("1.inp").c_str(), nullptr), TV_OK) << eight.getTexts(TV_ERROR);
    EXPECT_NE(tv_open(nine, folder.file("0.inp").c_str(), nullptr), TV_OK);
    EXPECT_TRUE(has(nine.getTexts(TV_ERROR), "inside more than 8 others")) << nine.getTexts(TV_ERROR);
    ASSERT_EQ(tv_start(eight, nullptr, nullptr), TV_OK);
    EXPECT_NEAR(runToEnd(eight, "OUT").flows.back(), 0.05, 1e-12);
}

/// Few files may mean many projects: each of three holds three others, which are the same for all.
TEST(NestedEndlessly, AllProjectsTogetherHaveARoom) {
    const TempFolder folder;
    for (const char* level : {"a", "b"}) {
        const std::string next = *level == 'a' ? "b" : "c";
        for (int k = 0; k < 3; ++k) {
            std::string text = NestedGeneral + "[POLLUTANTS]\nCOD 0\n[OUTFALLS]\nOUT\n";
            for (int n = 0; n < 3; ++n) {
                text += "[SWMM_INPS]\nN" + std::to_string(n) + " " + next + std::to_string(n) + ".inp NO\n";
            }
            folder.write(level + std::to_string(k) + ".inp", text);
        }
    }
    for (int k = 0; k < 3; ++k) {
        folder.write("c" + std::to_string(k) + ".inp", getDistrict(0.1, 10.0));
    }
    const NestedModel wide, narrow;  // a0 holds 3 projects, and these hold 9
    ASSERT_EQ(tv_setSurroundings(wide, "", 12), TV_OK);
    ASSERT_EQ(tv_setSurroundings(narrow, "", 11), TV_OK);
    EXPECT_EQ(tv_open(wide, folder.file("a0.inp").c_str(), nullptr), TV_OK) << wide.getTexts(TV_ERROR);
    EXPECT_NE(tv_open(narrow, folder.file("a0.inp").c_str(), nullptr), TV_OK);
    EXPECT_TRUE(has(narrow.getTexts(TV_ERROR), "too many projects")) << narrow.getTexts(TV_ERROR);
}

// --- anywhere the same ---------------------------------------------------------------------------------------------

TEST(NestedSameness, HoldsInOtherProcesses) {
    std::string first, inside;
    for (int k = 0; k < 2; ++k) {
        const TempFolder folder;
        fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "nested-town", folder.path);
        const ProcessResult result =
            process_run({TARNVELDE_PROGRAM, "run", folder.file("nested-town.inp"), "--engines", "nested", "--quiet"});
        ASSERT_EQ(result.status, 0) << result.err;
        const std::string report = readFile(folder.path / "nested-town.rpt");
        const std::string own = readFile(folder.path / "district.rpt");
        EXPECT_TRUE(has(own, "Outfall Loading Summary"));
        first = k == 0 ? report : first;
        inside = k == 0 ? own : inside;
        EXPECT_EQ(report, first);
        EXPECT_EQ(own, inside);
    }
}

/// The name of the engines for projects says nothing of plants: these are found where they are without it.
TEST(NestedSameness, HoldsForPlantsInside) {
    const TempFolder folder;
    const std::string around = writePlant(folder, "");
    const ProcessResult result = process_run({TARNVELDE_PROGRAM, "run", around, "--engines", "nested", "--quiet"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_FALSE(has(result.err, "W-run-engine")) << result.err;
    const ProcessResult unknown = process_run({TARNVELDE_PROGRAM, "run", around, "--engines", "nestd", "--quiet"});
    EXPECT_NE(unknown.status, 0);
    EXPECT_TRUE(has(unknown.err, "no folder: nestd")) << unknown.err;
}

/// A run that is saved, and ended by another process, leaves the reports of one that went through.
TEST(NestedSameness, HoldsForStatesInOtherProcesses) {
    const TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "nested-town", folder.path);
    const auto run = [&](std::vector<std::string> more) {
        std::vector<std::string> words = {TARNVELDE_PROGRAM, "run",    folder.file("nested-town.inp"),
                                          "--engines",       "nested", "--quiet"};
        words.insert(words.end(), more.begin(), more.end());
        const ProcessResult result = process_run(words);
        EXPECT_EQ(result.status, 0) << result.err;
        return readFile(folder.path / "nested-town.rpt") + readFile(folder.path / "district.rpt");
    };
    const std::string whole = run({});
    EXPECT_NE(run({"--until", "2021/06/14 15:30", "--save-state", folder.file("state")}), whole);
    EXPECT_EQ(run({"--load-state", folder.file("state")}), whole);
}

TEST(NestedSameness, HoldsInALocaleWithACommaForAPoint) {
    const TempFolder folder;
    folder.write("inside.inp", getDistrict(0.05, 300.5));
    const std::string around = folder.write("around.inp", getAround("inside.inp", NestedWave));
    const NestedSeries expected = runProject(around, "OUT");
    const std::string place = folder.file("comma");
    ASSERT_EQ(process_run({"localedef", "-f", "UTF-8", "-i", "de_DE", place}).status, 0);
    ASSERT_EQ(setenv("LOCPATH", folder.path.c_str(), 1), 0);
    ASSERT_STREQ(setlocale(LC_ALL, "comma"), "comma");
    char number[8];
    std::snprintf(number, sizeof number, "%.1f", 0.5);
    const NestedSeries found = runProject(around, "OUT");
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    EXPECT_STREQ(number, "0,5");
    EXPECT_EQ(found, expected);
}

// --- the engine by hand --------------------------------------------------------------------------------------------

namespace {

/// The library as any host loads it.
struct Engine {
    void* library = dlopen(TARNVELDE_NESTED_FOLDER "libswmm5ex.so", RTLD_NOW | RTLD_LOCAL);

    Engine() { EXPECT_NE(library, nullptr) << dlerror(); }
    ~Engine() { dlclose(library); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    template <class... Arguments>
    int call(const char* name, Arguments... arguments) const {
        const auto function = reinterpret_cast<int (*)(Arguments...)>(dlsym(library, name));
        EXPECT_NE(function, nullptr) << name;
        return function ? function(arguments...) : -1000;
    }
};

struct OpenEngine : Engine {
    TempFolder folder;

    OpenEngine() {
        const std::string input = folder.write("inside.inp", getDistrict(0.05, 300.0));
        EXPECT_EQ(
            call("swmm_open", input.c_str(), folder.file("inside.rpt").c_str(), folder.file("inside.out").c_str()), 0);
    }
    ~OpenEngine() { EXPECT_EQ(call("swmm_close"), 0); }

    double getFlow() const {
        double flow = -1.0;
        EXPECT_EQ(call("swmm_getResult", 1, "OUT", 4, &flow), 0);
        return flow;
    }
};

}  // namespace

TEST(NestedEngine, ShowsTheFunctionsOfAnEngineAndNothingElse) {
    const ProcessResult listing = process_run(
        {TARNVELDE_NM, "-D", "--defined-only", "-P", std::string(TARNVELDE_NESTED_FOLDER) + "libswmm5ex.so"});
    ASSERT_EQ(listing.status, 0) << listing.err;
    std::istringstream lines(listing.out);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_EQ(line.find("swmm_"), 0u) << line;
    }
    EXPECT_EQ(count, 39);  // 35, and two pairs besides
}

/// The clock of the engine must not seem to be ahead of that around it, whatever the length of the step.
TEST(NestedEngine, TellsTimesThatAreNeverLateByRounding) {
    const OpenEngine engine;
    ASSERT_EQ(engine.call("swmm_start", 0), 0);
    int exact = 0;
    for (int k = 1; k < NESTED_STEPS; ++k) {
        double days = 0.0;
        ASSERT_EQ(engine.call("swmm_step", &days), 0);
        const double time = days * 86400000.0;
        ASSERT_LE(time, k * 60000.0);
        ASSERT_GT(time, k * 60000.0 - 1e-6);
        exact += time == k * 60000.0 ? 1 : 0;
    }
    EXPECT_GT(exact, NESTED_STEPS * 3 / 4);
    double days = 1.0;
    ASSERT_EQ(engine.call("swmm_step", &days), 0);
    EXPECT_EQ(days, 0.0);
    const double last = engine.getFlow();
    ASSERT_EQ(engine.call("swmm_step", &days), 0);
    EXPECT_EQ(days, 0.0);
    EXPECT_EQ(engine.getFlow(), last);
    EXPECT_EQ(engine.call("swmm_end"), 0);
}

TEST(NestedEngine, TakesAnInflowForOneStep) {
    const OpenEngine engine;
    ASSERT_EQ(engine.call("swmm_start", 0), 0);
    double days = 0.0, load = 0.0;
    ASSERT_EQ(engine.call("swmm_setExtInflow", "IN", 0.4), 0);
    ASSERT_EQ(engine.call("swmm_setExtInflow", "IN", 0.2), 0);
    ASSERT_EQ(engine.call("swmm_setExtPollutLoad", "IN", "COD", 0.01), 0);
    ASSERT_EQ(engine.call("swmm_step", &days), 0);
    EXPECT_NEAR(engine.getFlow(), 0.25, 1e-12);
    ASSERT_EQ(engine.call("swmm_getResult", 1, "OUT", 6, &load), 0);
    EXPECT_NEAR(load, (0.05 * 0.3 + 0.01) / 0.25 * 1000.0, 1e-9);
    ASSERT_EQ(engine.call("swmm_step", &days), 0);
    EXPECT_NEAR(engine.getFlow(), 0.05, 1e-12);
    EXPECT_NE(engine.call("swmm_setExtInflow", "IN", -1.0), 0);
    EXPECT_NE(engine.call("swmm_setExtInflow", "IN", std::nan("")), 0);
    EXPECT_NE(engine.call("swmm_setExtInflow", "NOWHERE", 1.0), 0);
    EXPECT_NE(engine.call("swmm_setExtPollutLoad", "IN", "NOTHING", 1.0), 0);
    ASSERT_EQ(engine.call("swmm_step", &days), 0);
    EXPECT_NEAR(engine.getFlow(), 0.05, 1e-12);
    EXPECT_EQ(engine.call("swmm_end"), 0);
}

TEST(NestedEngine, AnswersAboutItsObjects) {
    const OpenEngine engine;
    char id[1025];
    EXPECT_EQ(engine.call("swmm_getObjCount", 1), 2);
    EXPECT_EQ(engine.call("swmm_getObjID", 1, 1, id), 0);
    EXPECT_STREQ(id, "OUT");
    EXPECT_EQ(engine.call("swmm_getObjIndex", 1, "OUT"), 1);
    EXPECT_EQ(engine.call("swmm_getObjCount", 99), -1);
    EXPECT_LT(engine.call("swmm_isNode", "C"), 0);
    EXPECT_EQ(engine.call("swmm_isLink", "C"), 0);
    int32_t delay = 0;
    double value = -1.0;
    ASSERT_EQ(tv_findVariable(TV_LINK, "delay", &delay), TV_OK);
    EXPECT_EQ(engine.call("swmm_setParam", 2, "C", static_cast<int>(delay), 120.0), 0);
    EXPECT_EQ(engine.call("swmm_getLinkParam", 0, "C", static_cast<int>(delay), &value), 0);
    EXPECT_EQ(value, 120.0);
    EXPECT_NE(engine.call("swmm_getNodeParam", 0, "OUT", static_cast<int>(delay), &value), 0);
    EXPECT_NE(engine.call("swmm_setParam", 2, "C", -1, 1.0), 0);
    EXPECT_NE(engine.call("swmm_setSetting", "C", 0.5, 60.0), 0);  // a connection has no opening
}

TEST(NestedEngine, RefusesBytesThatAreNoState) {
    const OpenEngine engine;
    ASSERT_EQ(engine.call("swmm_start", 0), 0);
    double days = 0.0;
    ASSERT_EQ(engine.call("swmm_step", &days), 0);
    const int size = engine.call("swmm_saveState", static_cast<void*>(nullptr), 0);
    ASSERT_GT(size, 0);
    std::vector<char> state(static_cast<size_t>(size));
    ASSERT_EQ(engine.call("swmm_saveState", static_cast<void*>(state.data()), size), size);
    const auto restore = [&](const std::vector<char>& bytes) {
        return engine.call("swmm_restoreState", static_cast<const void*>(bytes.data()), static_cast<int>(bytes.size()));
    };
    for (size_t k = 0; k < state.size(); k += k < 32 ? 1 : 97) {
        std::vector<char> cut(state.begin(), state.begin() + static_cast<std::ptrdiff_t>(k)), spoilt = state;
        EXPECT_NE(restore(cut), 0) << k;
        spoilt[k] = static_cast<char>(spoilt[k] ^ 0x80);
        if (k < 16 || k >= 24) {  // between them is the time, of which only a wrong sign can be seen
            EXPECT_NE(restore(spoilt), 0) << k;
        }
    }
    EXPECT_EQ(restore(state), 0);
    EXPECT_EQ(engine.call("swmm_end"), 0);
}

/// Nothing is asked of a project that isn't there.
TEST(NestedEngine, RefusesCallsWithoutAProject) {
    const Engine engine;
    double value = 0.0;
    int index = 0;
    char id[1025];
    EXPECT_NE(engine.call("swmm_start", 1), 0);
    EXPECT_EQ(engine.call("swmm_step", &value), 0);
    EXPECT_EQ(value, 0.0);
    EXPECT_NE(engine.call("swmm_end"), 0);
    EXPECT_NE(engine.call("swmm_getResult", 1, "OUT", 4, &value), 0);
    EXPECT_NE(engine.call("swmm_setExtInflow", "IN", 1.0), 0);
    EXPECT_NE(engine.call("swmm_getObjID", 1, 0, id), 0);
    EXPECT_NE(engine.call("swmm_getStartAndEndTime", &value, &value), 0);
    EXPECT_EQ(engine.call("swmm_isPollut", "COD", &index), 0);
    EXPECT_LT(engine.call("swmm_saveState", static_cast<void*>(nullptr), 0), 0);
    EXPECT_NE(engine.call("swmm_restoreState", static_cast<const void*>(id), 1025), 0);
    EXPECT_EQ(engine.call("swmm_close"), 0);
}

/// The functions of the one model reach a project inside as well.
TEST(NestedEngine, ServesTheFunctionsOfOneModel) {
    const TempFolder folder, copies;
    folder.write("inside.inp", getDistrict(0.05, 300.0));
    const std::string around = folder.write("around.inp", getAround("inside.inp")), report = folder.file("around.rpt");
    const std::string place = copies.path.string() + "/";
    tarnvelde_initSwmmDll(TARNVELDE_NESTED_FOLDER, place.c_str());
    ASSERT_EQ(tarnvelde_open(around.c_str(), report.c_str(), folder.file("around.bin").c_str()), 0) << readFile(report);
    ASSERT_EQ(tarnvelde_start(0), 0);
    double elapsed = 0.0, value = 0.0;
    ASSERT_EQ(tarnvelde_setSwmmExtInflow("NODE", "IN", 0.1), 0);
    ASSERT_EQ(tarnvelde_step(&elapsed), 0);
    EXPECT_EQ(tarnvelde_getSwmmObjCount("NODE", 1), 2);
    EXPECT_EQ(tarnvelde_getSwmmResult("NODE", 1, "OUT", 4, &value), 0);
    EXPECT_NEAR(value, 0.05, 1e-12);  // the record of IN overrides the request
    tarnvelde_end();
    tarnvelde_close();
    tarnvelde_initSwmmDll("", "");
    EXPECT_TRUE(copies.list().empty());
}
