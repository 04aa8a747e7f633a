// Fuzzer of the project file: whatever the file holds, open, start, a few steps, report, end and close go through
// without a crash, a hang or a leak. Numbers that only ask for much time or memory are left out.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "support/tempfolder.h"
#include "tarnvelde.h"

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

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The progress lines of the engine.
    return std::freopen("/dev/null", "w", stdout) ? 0 : 1;
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
    return 0;
}
