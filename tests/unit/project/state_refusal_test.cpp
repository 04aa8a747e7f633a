// States that are none, or are somebody else's. Whatever the bytes say, a refused one changes nothing, and one that is
// taken leaves a model that can go on.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "project/statehash.h"
#include "support/stateruns.h"

namespace {

// Places in the head.
constexpr size_t FORMAT_PLACE = 12, LENGTH_PLACE = 40, SUM_PLACE = 48, HEAD_SUM_PLACE = 56, HEAD_SIZE = 64;

/// Makes both sums those of the bytes.
void correctSums(StateBytes& bytes) {
    const uint64_t sum = statehash_getSum(bytes.data() + HEAD_SIZE, bytes.size() - HEAD_SIZE);
    std::memcpy(bytes.data() + SUM_PLACE, &sum, sizeof sum);
    const uint64_t headSum = statehash_getSum(bytes.data(), HEAD_SUM_PLACE);
    std::memcpy(bytes.data() + HEAD_SUM_PLACE, &headSum, sizeof headSum);
}

/// A small run with its state, and another one that the state's bytes are tried on.
struct TriedState {
    GeneratedFolder folder;
    ModelRun run;
    StateBytes good, own;

    explicit TriedState(unsigned seed) : folder(seed), run(folder, "a") {
        run.start();
        run.step(30);
        run.model->requests.inflows.push_back({1, 0, 0.01});
        run.model->requests.swmmInflows.push_back({1, "object", "pollutant", 0.01});
        good = run.save();
        run.step(5);
        own = run.save();
    }
    bool isUntouched() { return run.save() == own; }
};

/// Every one, or every so many under the sanitizers.
constexpr size_t STRIDE = IS_FREED_MEMORY_KEPT ? 37 : 1;

}  // namespace

TEST(StateRefusal, CutAtAnyLength) {
    TriedState state(4);
    for (size_t size = 0; size < state.good.size(); size += STRIDE) {
        const StateBytes cut(state.good.begin(), state.good.begin() + static_cast<ptrdiff_t>(size));
        ASSERT_EQ(state.run.restore(cut), STATE_NO_STATE) << size;
    }
    state.good.push_back(0);
    EXPECT_EQ(state.run.restore(state.good), STATE_DAMAGED);
    EXPECT_TRUE(state.isUntouched());
}

TEST(StateRefusal, CutWithCorrectedSums) {
    TriedState state(4);
    for (size_t size = HEAD_SIZE; size < state.good.size(); size += STRIDE) {
        StateBytes cut(state.good.begin(), state.good.begin() + static_cast<ptrdiff_t>(size));
        const uint64_t length = size - HEAD_SIZE;
        std::memcpy(cut.data() + LENGTH_PLACE, &length, sizeof length);
        correctSums(cut);
        ASSERT_EQ(state.run.restore(cut), STATE_DAMAGED) << size;
    }
    EXPECT_TRUE(state.isUntouched());
}

TEST(StateRefusal, AnyByteChanged) {
    TriedState state(4);
    for (size_t k = 0; k < state.good.size(); k += STRIDE) {
        StateBytes bytes = state.good;
        bytes[k] = static_cast<char>(bytes[k] ^ (1 << k % 8));
        ASSERT_NE(state.run.restore(bytes), STATE_OK) << k;
    }
    EXPECT_TRUE(state.isUntouched());
}

/// With right sums nobody can tell what was saved from what wasn't: it is refused, or the run goes on with it.
TEST(StateRefusal, AnyByteChangedWithCorrectedSums) {
    TriedState state(4);
    int taken = 0, refused = 0;
    for (size_t k = HEAD_SIZE; k < state.good.size(); k += STRIDE) {
        StateBytes bytes = state.good;
        bytes[k] = static_cast<char>(bytes[k] ^ (k % 3 == 0 ? 0xFF : 1 << k % 8));
        correctSums(bytes);
        if (state.run.restore(bytes) == STATE_OK) {
            double elapsed;
            ++taken;
            (void)run_step(*state.run.model, &elapsed);
            (void)run_step(*state.run.model, &elapsed);
            state.run.model->error.code = 0;
            ASSERT_EQ(state.run.restore(state.own), STATE_OK) << k;
        } else {
            ++refused;
            if (k % 64 == 0) {
                ASSERT_TRUE(state.isUntouched()) << k;
            }
        }
    }
    EXPECT_GT(taken, 0);
    EXPECT_GT(refused, 0);
    EXPECT_TRUE(state.isUntouched());
}

/// Numbers that computing may stumble over, at places of eight and of four bytes.
TEST(StateRefusal, ExtremeNumbersWithCorrectedSums) {
    const double doubles[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                              -1.0e300, 1.0e300, -1.0};
    const int32_t integers[] = {INT32_MAX, INT32_MIN, -1, 1 << 20};
    TriedState state(4);
    std::mt19937 random(1);
    for (int k = 0; k < (IS_FREED_MEMORY_KEPT ? 1500 : 20000); ++k) {
        StateBytes bytes = state.good;
        for (int change = 0; change < 1 + k % 3; ++change) {
            const size_t place = HEAD_SIZE + random() % (bytes.size() - HEAD_SIZE - 8);
            if (random() % 2) {
                std::memcpy(bytes.data() + place, &doubles[random() % 5], 8);
            } else {
                std::memcpy(bytes.data() + place, &integers[random() % 4], 4);
            }
        }
        correctSums(bytes);
        if (state.run.restore(bytes) == STATE_OK) {
            double elapsed;
            (void)run_step(*state.run.model, &elapsed);
            (void)run_step(*state.run.model, &elapsed);
            state.run.model->error.code = 0;
            ASSERT_EQ(state.run.restore(state.own), STATE_OK) << k;
        }
    }
    EXPECT_TRUE(state.isUntouched());
}

TEST(StateRefusal, AnotherVersion) {
    TriedState state(4);
    for (const size_t place : {size_t{8}, FORMAT_PLACE, size_t{16}, size_t{20}}) {
        StateBytes bytes = state.good;
        bytes[place] = static_cast<char>(bytes[place] + 1);
        correctSums(bytes);
        EXPECT_EQ(state.run.restore(bytes), STATE_VERSION) << place;
    }
    EXPECT_TRUE(state.isUntouched());
}

TEST(StateRefusal, AnotherProject) {
    const std::string text = generateProject(4);
    const GeneratedFolder folder(text);
    folder.write("comment.inp", text + "// no other word\n");
    folder.write("name.inp", text + "[JUNCTIONS]\nMORE\n[PIPES]\nMOREPIPE MORE OUT0 NO 60 1 0 0\n");
    ModelRun run(folder, "a"), comment(folder, "b", "comment.inp"), name(folder, "c", "name.inp");
    run.start();
    comment.start();
    name.start();
    const StateBytes state = run.save();
    EXPECT_EQ(comment.restore(state), STATE_OTHER_PROJECT);
    EXPECT_EQ(name.restore(state), STATE_OTHER_PROJECT);
    EXPECT_EQ(comment.hotStart(state), STATE_OK);
    EXPECT_EQ(name.hotStart(state), STATE_OTHER_PROJECT);
}

TEST(StateRefusal, AHotStartAfterAStep) {
    const GeneratedFolder folder(4);
    ModelRun run(folder, "a");
    run.start();
    run.step();
    const StateBytes state = run.save();
    EXPECT_EQ(run.hotStart(state), STATE_NOT_AT_START);
    EXPECT_EQ(run.save(), state);
}
