// Fuzzer of saved states: a state of a run with objects of most kinds is changed as the input says, with sums that are
// right again, and handed back. It is refused and changes nothing, or the run goes on, without a crash or a hang.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "project/statehash.h"
#include "support/generateall.h"
#include "support/tempfolder.h"
#include "tarnvelde_model.h"

namespace {

constexpr size_t HEAD_SIZE = 64, SUM_PLACE = 48, HEAD_SUM_PLACE = 56;
constexpr int MOST_STEPS = 20;

struct Origin {
    tv_model* model = nullptr;
    std::vector<char> state;
};

void expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

std::vector<char> save(tv_model* model) {
    size_t size = 0;
    expect(tv_getStateSize(model, &size) == TV_OK);
    std::vector<char> state(size);
    expect(tv_saveState(model, state.data(), state.size(), &size) == TV_OK);
    return state;
}

Origin& getOrigin() {
    static Origin origin = [] {
        Origin made;
        static const TempFolder folder;
        folder.write("rain.txt", GeneratedSeriesFile);
        folder.write("series.txt", GeneratedSeriesFile);
        const std::string text = generateProject(3);
        expect(tv_create(&made.model) == TV_OK);
        expect(tv_openText(made.model, text.data(), text.size(), folder.path.c_str(), nullptr) == TV_OK);
        expect(tv_start(made.model, nullptr, nullptr) == TV_OK);
        for (int k = 0; k < MOST_STEPS; ++k) {
            expect(tv_step(made.model) == TV_OK);
        }
        made.state = save(made.model);
        return made;
    }();
    return origin;
}

void correctSums(std::vector<char>& state) {
    const uint64_t sum = statehash_getSum(state.data() + HEAD_SIZE, state.size() - HEAD_SIZE);
    std::memcpy(state.data() + SUM_PLACE, &sum, sizeof sum);
    const uint64_t headSum = statehash_getSum(state.data(), HEAD_SUM_PLACE);
    std::memcpy(state.data() + HEAD_SUM_PLACE, &headSum, sizeof headSum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Origin& origin = getOrigin();
    std::vector<char> state = origin.state;
    // Each five bytes: a place, and what to do with the number there.
    for (size_t k = 0; k + 5 <= size && k < 200; k += 5) {
        const size_t place = (size_t{data[k]} << 16 | size_t{data[k + 1]} << 8 | data[k + 2]) % (state.size() - 8);
        static const uint64_t NUMBERS[] = {0, 1, UINT64_MAX, 0x7FF0000000000000u, 0x7FF8000000000000u, 0x7FFFFFFFu};
        switch (data[k + 3] % 4) {
            case 0: state[place] = static_cast<char>(data[k + 4]); break;
            case 1: std::memcpy(&state[place / 4 * 4], &NUMBERS[data[k + 4] % 6], 8); break;
            case 2: std::memcpy(&state[place / 4 * 4], &NUMBERS[data[k + 4] % 6], 4); break;
            default: state[place] = static_cast<char>(state[place] + 1); break;
        }
    }
    correctSums(state);
    const std::vector<char> before = save(origin.model);
    if (tv_restoreState(origin.model, state.data(), state.size()) != TV_OK) {
        expect(save(origin.model) == before);
        return 0;
    }
    for (int k = 0; k < MOST_STEPS; ++k) {
        tv_step(origin.model);
    }
    expect(tv_restoreState(origin.model, origin.state.data(), origin.state.size()) == TV_OK);
    expect(save(origin.model) == origin.state);
    return 0;
}
