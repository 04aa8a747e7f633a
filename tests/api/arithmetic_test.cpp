// Hosts that have set the processor in their own way: they get the bytes that every host gets, and find their settings
// as they were after each call and in their callbacks. A host here is a process of its own, since the interruption of
// a calculation ends one.

#include "support/arithmetic.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "support/allkinds.h"
#include "support/child.h"
#include "tarnvelde_model.h"

#if defined(__x86_64__)

namespace fs = std::filesystem;

namespace {

struct Example {
    const char* folder;
    const char* project;
};

constexpr Example Examples[] = {{"coupled", "coupled.inp"},
                                {"first-storm", "first-storm.inp"},
                                {"green-street", "green-street.inp"},
                                {"host-c", "controller.inp"},
                                {"host-cpp", "scan.inp"},
                                {"host-mpc-c", "controller.inp"},
                                {"interceptor", "interceptor.inp"},
                                {"many-models", "town.inp"},
                                {"storm-tank", "storm-tank.inp"},
                                {"wetland-control", "wetland-control.inp"}};

/// A host with its setting and the files of its runs, which writes down what the library hands out.
struct Host {
    HostSetting setting;
    int32_t threadCount;
    std::string folder;
    std::FILE* got = nullptr;
    bool isKept = true;   ///< the settings, after each call
    bool isHeard = true;  ///< in each callback, too
    int32_t calls = 0;    ///< back into the host

    template <class Function, class... Arguments>
    int32_t call(Function function, Arguments... arguments) {
        const int32_t code = processor_call(setting, isKept, function, arguments...);
        std::fwrite(&code, sizeof code, 1, got);
        return code;
    }

    /// Within a callback.
    template <class Function, class... Arguments>
    int32_t callBack(Function function, Arguments... arguments) {
        const Processor before = processor_get();
        const int32_t code = function(arguments...);
        isKept = isKept && processor_get() == before;
        return code;
    }

    void noteCallback() {
        const Processor now = processor_get();
        isHeard = isHeard && now.vectors == setting.vectors && now.control == setting.control && now.status == 0;
        ++calls;
    }

    template <class Value>
    void keep(const Value* values, size_t count) const {
        std::fwrite(values, sizeof *values, count, got);
    }

    std::string file(const char* name) const { return folder + "/" + name; }
};

void hear(void* user, const tv_message* message) {
    Host& host = *static_cast<Host*>(user);
    host.noteCallback();
    std::fputs(message->text, host.got);
}

int32_t listen(void* user, tv_model* model, int64_t period, double date) {
    Host& host = *static_cast<Host*>(user);
    host.noteCallback();
    tv_clock clock{};
    host.callBack(tv_getClock, model, &clock);
    double depth = 0.0;
    int32_t variable = -1;
    host.callBack(tv_findVariable, int32_t{TV_NODE}, "depth", &variable);
    host.callBack(tv_getValue, model, variable, 0, int32_t{TV_NO_POLLUTANT}, &depth);
    host.keep(&period, 1);
    host.keep(&date, 1);
    host.keep(&clock.now, 1);
    host.keep(&depth, 1);
    return 0;
}

// --- the first face ------------------------------------------------------------------------------------------------

void runAtOnce(Host& host, const char* project) {
    host.call(tv_setThreads, nullptr, host.threadCount);
    host.call(tarnvelde_run, project, host.file("once.rpt").c_str(), host.file("once.bin").c_str());
}

void runStepByStep(Host& host, const char* project) {
    double days = 0.0, figures[3] = {}, value = 0.0;
    host.call(tarnvelde_open, project, host.file("steps.rpt").c_str(), host.file("steps.bin").c_str());
    host.call(tarnvelde_start, int32_t{TARNVELDE_SAVE_BINARY});
    do {
        host.call(tarnvelde_step, &days);
        host.call(tarnvelde_getRoutingStep, &value);
        host.keep(&days, 1);
    } while (days != 0.0);
    host.call(tarnvelde_report);
    host.call(tarnvelde_end);
    host.call(tarnvelde_getMassBalErr, &figures[0], &figures[1], &figures[2]);
    host.keep(figures, 3);
    host.call(tarnvelde_close);
}

// --- the second face -----------------------------------------------------------------------------------------------

/// All values that the library tells, and the balances of all nodes.
void keepValues(Host& host, tv_model* model) {
    int32_t variables = 0, nodes = 0;
    host.call(tv_getVariableCount, &variables);
    for (int32_t k = 0; k < variables; ++k) {
        tv_variable variable{};
        int32_t count = 0;
        host.call(tv_getVariable, k, &variable);
        host.call(tv_getCount, model, variable.objectClass, &count);
        const int32_t pollutant = variable.isPerPollutant ? 0 : TV_NO_POLLUTANT;
        std::vector<double> values(static_cast<size_t>(count));
        processor_call(host.setting, host.isKept, tv_getValues, model, k, pollutant, values.data(), values.size());
        host.keep(values.data(), values.size());
    }
    host.call(tv_getCount, model, int32_t{TV_NODE}, &nodes);
    for (int32_t k = 0; k < nodes; ++k) {
        tv_balance balance{};
        host.call(tv_getBalance, model, int32_t{TV_NODE}, k, int32_t{TV_NO_POLLUTANT}, &balance);
        host.keep(&balance, 1);
    }
    int32_t rows = 0;
    host.call(tv_judge, model, &rows);
    for (int32_t k = 0; k < rows; ++k) {
        tv_verdict verdict{};
        host.call(tv_getVerdict, model, k, &verdict);
        host.keep(&verdict.error, 1);
    }
}

void runModel(Host& host, const char* project) {
    tv_model* model = nullptr;
    const std::string state = host.file("model.state");
    host.call(tv_create, &model);
    host.call(tv_setEngines, model, TARNVELDE_ENGINE_FOLDER, host.file("copies/").c_str(), TARNVELDE_ENGINE_FOLDER,
              host.file("copies/").c_str());
    host.call(tv_setThreads, model, host.threadCount);
    host.call(tv_setLog, model, hear, &host);
    host.call(tv_setPeriodCallback, model, listen, &host);
    host.call(tv_open, model, project, host.file("model.rpt").c_str());
    host.call(tv_start, model, host.file("model.bin").c_str(), host.file("model.db").c_str());
    for (int step = 0; step < 5; ++step) {
        host.call(tv_step, model);
    }
    host.call(tv_saveStateFile, model, state.c_str());
    host.call(tv_restoreStateFile, model, state.c_str());
    host.call(tv_runUntil, model, double{TV_END});
    keepValues(host, model);
    host.call(tv_report, model);
    host.call(tv_end, model);
    host.call(tv_close, model);
    host.call(tv_free, model);
}

// --- hosts and their files -----------------------------------------------------------------------------------------

enum Failure { IS_SOUND, SETTINGS_ARE_LOST = 3, CALLBACKS_DIFFER, NOTHING_CALLED_BACK };

/// All runs of one project. The exit status of the host.
int runAll(Host& host, const char* project) {
    host.got = std::fopen(host.file("got").c_str(), "wb");
    if (std::freopen(host.file("stdout").c_str(), "wb", stdout) == nullptr) {
        return 2;
    }
    tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, host.file("copies/").c_str());
    tarnvelde_initVornDll(TARNVELDE_ENGINE_FOLDER, host.file("copies/").c_str());
    runStepByStep(host, project);
    runModel(host, project);
    runAtOnce(host, project);
    std::fclose(host.got);
    if (!host.isKept) {
        return SETTINGS_ARE_LOST;
    }
    if (!host.isHeard) {
        return CALLBACKS_DIFFER;
    }
    return host.calls > 0 ? IS_SOUND : NOTHING_CALLED_BACK;
}

/// What is left behind, by its name.
using Files = std::map<std::string, std::string>;

Files readFiles(const fs::path& folder) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files[entry.path().lexically_relative(folder).string()] = readFile(entry.path());
        }
    }
    return files;
}

/// Runs an example in all ways by a host with this setting. It is called from within its folder, so that all names are
/// the same ones.
Files runExample(const Example& example, const HostSetting& setting, int32_t threadCount) {
    const TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / example.folder, folder.path, fs::copy_options::recursive);
    fs::create_directory(folder.path / "copies");
    const int status = process_fork([&] {
        fs::current_path(folder.path);
        setenv("TARNVELDE_ENGINE_LOG", "engine.log", 1);
        Host host{setting, threadCount, "."};
        return runAll(host, example.project);
    });
    EXPECT_EQ(status, IS_SOUND) << example.folder;
    return readFiles(folder.path);
}

/// Expects the same names, and the same bytes behind them.
void expectSame(const Files& files, const Files& expected, const std::string& what) {
    for (const auto& [name, bytes] : expected) {
        const auto found = files.find(name);
        ASSERT_NE(found, files.end()) << what << ": " << name;
        EXPECT_TRUE(found->second == bytes) << what << ": " << name;
    }
    EXPECT_EQ(files.size(), expected.size()) << what;
}

}  // namespace

/// One thread steps the plain run; three do so with every setting, since threads begin as their maker computes.
TEST(HostArithmetic, ChangesNothingOfAnyExample) {
    for (const Example& example : Examples) {
        const Files expected = runExample(example, PlainSetting, 1);
        EXPECT_GT(expected.at("model.bin").size(), 100u);
        EXPECT_GT(expected.at("model.db").size(), 1000u);
        EXPECT_GT(expected.at("got").size(), 1000u);
        for (const HostSetting& setting : HostSettings) {
            expectSame(runExample(example, setting, 3), expected, std::string(example.folder) + ", " + setting.name);
        }
    }
}

/// The engine leaves the processor rounding up, and flushing small numbers, at its load and after each call.
TEST(EngineArithmetic, ChangesNothingOfOurs) {
    const Files expected = runExample(Examples[0], PlainSetting, 1);
    setenv("TARNVELDE_ENGINE_SPOILS", "1", 1);
    const Files spoilt = runExample(Examples[0], PlainSetting, 1);
    unsetenv("TARNVELDE_ENGINE_SPOILS");
    EXPECT_GT(expected.at("engine.log").size(), 10000u);
    expectSame(spoilt, expected, "coupled");
}

/// Calls that go through to the engine.
TEST(EngineArithmetic, DoesntReachTheHost) {
    AllKinds project;
    project.start();
    setenv("TARNVELDE_ENGINE_SPOILS", "1", 1);
    double value = 0.0;
    char id[1025];
    for (const HostSetting& setting : HostSettings) {
        bool isKept = true;
        processor_call(setting, isKept, tarnvelde_getSwmmResult, "SW", 1, "OUT", 4, &value);
        processor_call(setting, isKept, tarnvelde_getSwmmObjCount, "SW", 1);
        processor_call(setting, isKept, tarnvelde_getSwmmObjID, "SW", 1, 0, id);
        processor_call(setting, isKept, tarnvelde_setSwmmExtInflow, "SW", "IN", 0.1);
        processor_call(setting, isKept, tarnvelde_step, &value);
        EXPECT_TRUE(isKept) << setting.name;
    }
    unsetenv("TARNVELDE_ENGINE_SPOILS");
}

/// A number that is too small for a flushing processor is less than nothing all the same, and no comparison interrupts.
TEST(HostArithmetic, ComparesSmallNumbersAsTheyAre) {
    AllKinds project;
    project.start();
    for (const HostSetting& setting : HostSettings) {
        bool isKept = true;
        const double small = -0x1p-1070, none = std::numeric_limits<double>::signaling_NaN();
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setExtInflow, "J", small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setExtLoad, "J", "", small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setSetting, "C", small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setSplittedValue, "SP", small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setReactorEmptyingValue, "R", small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setWeirParams, "W", 0, small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setSwmmExtInflow, "SW", "IN", small), -1) << setting.name;
        EXPECT_EQ(processor_call(setting, isKept, tarnvelde_setExtInflow, "J", none), 0) << setting.name;
        EXPECT_TRUE(isKept) << setting.name;
    }
}

TEST(HostArithmetic, OfAListenerIsKeptBehindTheCall) {
    const TempFolder folder;
    const std::string input = std::string(TARNVELDE_SOURCE_DIR) + "/examples/first-storm/first-storm.inp";
    tv_model* model = nullptr;
    ASSERT_EQ(tv_create(&model), TV_OK);
    ASSERT_EQ(tv_open(model, input.c_str(), nullptr), TV_OK);
    ASSERT_EQ(tv_setPeriodCallback(
                  model,
                  [](void*, tv_model*, int64_t, double) {
                      processor_set(0x5F80, 0x0B7F);  // rounds up from now on
                      return 1;
                  },
                  nullptr),
              TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    const Processor behind = processor_get();
    processor_set(PlainSetting.vectors, PlainSetting.control);
    EXPECT_EQ(behind, (Processor{0x5F80, 0x0B7F, 0}));
    EXPECT_EQ(tv_free(model), TV_OK);
}

#endif
