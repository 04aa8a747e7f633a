#include "model/arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "platform/memory.h"
#include "support/sanitizer.h"

struct ArenaTest : testing::Test {
    Memory memory;
    Arena& arena = memory.results;
};

TEST_F(ArenaTest, GivesZeroedAlignedMemory) {
    for (int k = 1; k < 2000; ++k) {
        auto* bytes = static_cast<unsigned char*>(arena_allocate(arena, static_cast<size_t>(k)));
        ASSERT_NE(bytes, nullptr);
        ASSERT_EQ(reinterpret_cast<uintptr_t>(bytes) % 16, 0u);
        ASSERT_TRUE(std::all_of(bytes, bytes + k, [](unsigned char b) { return b == 0; }));
        std::fill(bytes, bytes + k, static_cast<unsigned char>(0xFF));
    }
}

TEST_F(ArenaTest, GivesSomethingForNothing) {
    EXPECT_NE(arena_allocate(arena, 0), nullptr);
    EXPECT_NE(arena_allocateArray<double>(arena, 0), nullptr);
    EXPECT_NE(arena_allocateArray<double>(arena, -5), nullptr);
}

TEST_F(ArenaTest, RefusesMoreThanTheMachineHas) {
    EXPECT_EQ(arena_allocateArray<double>(arena, INT64_MAX), nullptr);
    EXPECT_EQ(arena_allocateArray<double>(arena, int64_t{1} << 50), nullptr);
    EXPECT_EQ(arena_allocateArray<double>(arena, int64_t{1} << 40),
              nullptr);  // 8 TiB, which an address space could hold
    EXPECT_NE(arena_allocate(arena, 8), nullptr);
}

// Two requests of which each would fit: the first isn't touched, so the machine doesn't miss it yet.
TEST_F(ArenaTest, RefusesWhatWouldFitOnlyBesideUntouchedMemory) {
    if (IS_FREED_MEMORY_KEPT) {
        GTEST_SKIP() << "the shadow of so much memory would be real";
    }
    size_t available = size_t{1} << 20;
    for (size_t step = size_t{1} << 46; step >= size_t{1} << 20; step /= 2) {
        available += memory_isAvailable(available + step, 0) ? step : 0;
    }
    const size_t request = available / 10 * 6;
    ASSERT_NE(arena_allocate(arena, request), nullptr);
    EXPECT_EQ(arena_allocate(arena, request), nullptr);
    arena_release(arena);
    EXPECT_NE(arena_allocate(arena, request), nullptr) << "a release gives the promise back";
}

TEST_F(ArenaTest, ServesRequestsLargerThanItsBlocks) {
    auto* numbers = arena_allocateArray<double>(arena, 10000000);
    ASSERT_NE(numbers, nullptr);
    numbers[9999999] = 1.0;
    EXPECT_GE(arena.taken, 80000000u);
}

TEST_F(ArenaTest, FailsOnceWhenAsked) {
    arena_failAfter(2);
    EXPECT_NE(arena_allocate(arena, 8), nullptr);
    EXPECT_EQ(arena_allocate(arena, 8), nullptr);
    EXPECT_NE(arena_allocate(arena, 8), nullptr);
}

TEST_F(ArenaTest, StartsAfreshAfterARelease) {
    arena_allocate(arena, 100);
    arena_release(arena);
    EXPECT_EQ(arena.taken, 0u);
    EXPECT_EQ(arena.current, nullptr);
    EXPECT_NE(arena_allocate(arena, 100), nullptr);
}
