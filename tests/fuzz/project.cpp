// Fuzzer of the project file: whatever the file holds, open, start, a few steps, report, end and close go through
// without a crash, a hang or a leak. Numbers that only ask for much time or memory are left out.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/tempfolder.h"
#include "tarnvelde.h"
#include "tarnvelde_model.h"

static constexpr size_t LARGEST_FILE = 4096;
static constexpr int MOST_DIGITS = 5;
static constexpr int MOST_STEPS = 40;

static const TempFolder& getFolder() {
    static const TempFolder folder;
    return folder;
}

static bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

static bool hasHugeNumber(const std::string& text) {
    int digits = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        digits = isDigit(text[i]) ? digits + 1 : 0;
        const bool isExponent = i > 0 && isDigit(text[i - 1]) && (text[i] == 'e' || text[i] == 'E' || text[i] == 'x');
        if (digits > MOST_DIGITS || isExponent) {
            return true;
        }
    }
    return false;
}

/// Coupled nodes find libraries that can be copied and not loaded, so their lines and checks are gone through, and no
/// engine reads or writes what the fuzzer thinks up.
static void offerBrokenEngines() {
    getFolder().write("swmm5ex.dll", "no library");
    getFolder().write("vorn.dll", "no library");
    const std::string folder = getFolder().path.string() + "/";
    tarnvelde_initSwmmDll(folder.c_str(), "");
    tarnvelde_initVornDll(folder.c_str(), "");
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    offerBrokenEngines();
    // The progress lines of the engine.
    return std::freopen("/dev/null", "w", stdout) ? 0 : 1;
}

/// Every place has a balance, and every message a column within its line.
static void lookAtRun(tv_model* model) {
    int32_t rows = 0, count = 0;
    if (tv_judge(model, &rows) != TV_OK) {
        return;  // it never started
    }
    for (const int32_t objectClass : {TV_SUBCATCHMENT, TV_LID_UNIT, TV_NODE, TV_LINK}) {
        tv_getCount(model, objectClass, &count);
        for (int32_t k = 0; k < count; ++k) {
            tv_balance balance{};
            if (tv_getBalance(model, objectClass, k, TV_NO_POLLUTANT, &balance) != TV_OK) {
                std::abort();
            }
        }
    }
}

static void lookAtMessages(const tv_model* model) {
    int32_t count = 0;
    tv_getMessageCount(model, &count);
    for (int32_t k = 0; k < count; ++k) {
        tv_message message{};
        tv_getMessage(model, k, &message);
        const auto end = static_cast<size_t>(message.column > 0 ? message.column - 1 + message.length : 0);
        if (end > std::strlen(message.words) || (message.level == TV_WARNING && !*message.text)) {
            std::abort();
        }
    }
}

/// The same by a model as an object, which warns, and keeps loads by place.
static void runModel(const std::string& file) {
    tv_model* model = nullptr;
    tv_create(&model);
    const std::string folder = getFolder().path.string() + "/";
    tv_setEngines(model, folder.c_str(), nullptr, folder.c_str(), nullptr);
    if (tv_open(model, file.c_str(), nullptr) == TV_OK) {
        tv_keepLoads(model, 1);
        tv_start(model, nullptr, nullptr);
        for (int step = 0; step < MOST_STEPS; ++step) {
            tv_step(model);
        }
        lookAtRun(model);
        tv_end(model);
    }
    lookAtMessages(model);
    tv_free(model);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (size > LARGEST_FILE || hasHugeNumber(text)) {
        return -1;
    }
    const std::string model = getFolder().write("model.inp", text);
    int32_t code =
        tarnvelde_open(model.c_str(), getFolder().file("model.rpt").c_str(), getFolder().file("model.bin").c_str());
    if (code == 0) {
        code = tarnvelde_start(1);
        double days = 0.0;
        for (int step = 0; step < MOST_STEPS && code == 0; ++step) {
            code = tarnvelde_step(&days);
        }
        tarnvelde_report();
        tarnvelde_end();
    }
    tarnvelde_close();
    runModel(model);
    return 0;
}
