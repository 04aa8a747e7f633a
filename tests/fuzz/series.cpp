// Fuzzer of the file of a time series: whatever the file holds, a project whose rain and inflow it is can be opened,
// run for some steps and closed, without a crash, a hang or a leak.

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/tempfolder.h"
#include "tarnvelde_model.h"

static constexpr size_t LARGEST_FILE = 4096;
static constexpr int MOST_STEPS = 60;

static constexpr const char* PROJECT =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 12:00:00\nROUTING_STEP 0:05:00\n"
    "RUNOFF_STEP 0:05:00\nREPORT_STEP 0:15:00\n[JUNCTIONS]\nJ\n[OUTFALLS]\nO\n[PIPES]\nP J O NO 900 1 0.2 0\n"
    "[RAINGAGES]\nG INTENSITY 0:05 S\n[SUBCATCHS]\nS1 G J 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n"
    "[INFLOWS]\nJ FLOW FLOW 0.5 S 1\n[TIMESERIES]\nS FILE series.txt\n";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempFolder folder;
    static const std::string project = folder.write("model.inp", PROJECT);
    if (size > LARGEST_FILE) {
        return -1;
    }
    folder.write("series.txt", std::string(reinterpret_cast<const char*>(data), size));
    tv_model* model = nullptr;
    tv_create(&model);
    if (tv_open(model, project.c_str(), nullptr) == TV_OK && tv_start(model, nullptr, nullptr) == TV_OK) {
        for (int step = 0; step < MOST_STEPS; ++step) {
            tv_step(model);
        }
        tv_report(model);
    }
    tv_free(model);
    return 0;
}
