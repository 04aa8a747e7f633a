// Fuzzer of model files of plants: a text is refused with messages, or it is a plant that starts and steps without a
// crash, with results that are numbers, or ends with a message.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "plant.h"
#include "series.h"

namespace {

void expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

void stepPlant(Plant& plant) {
    // The search for a steady state takes its time: of the large ones only the reading is tried.
    constexpr size_t MOST_EQUATIONS = 120;
    constexpr int MOST_STEPS = 3;
    if (plant.integrator.system.layout.size() > MOST_EQUATIONS) {
        return;
    }
    plant.model.startsSteady = false;
    if (!plant_start(plant).empty()) {
        return;
    }
    for (int k = 0; k < MOST_STEPS && !plant_isOver(plant); ++k) {
        for (Input& input : plant.inputs) {
            input = {0.02, 9.0, 0.6, 0.0, 0.1, 4.0, 6.0};
        }
        expect(plant_step(plant).empty() == !plant.isFailed);
        for (const Output& output : plant.outputs) {
            for (const double value : output) {
                expect(std::isfinite(value));
            }
        }
    }
    const std::vector<char> saved = state_save(plant);
    expect(state_restore(saved.data(), saved.size(), plant) && state_save(plant) == saved);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Plant plant;
    std::vector<InflowRow> rows;
    if (plant_open("plant.sti", text, plant).empty()) {
        stepPlant(plant);
        (void)series_read(text.substr(0, 500), plant.model, rows);
    }
    return 0;
}
