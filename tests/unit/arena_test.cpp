#include "engine/arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

struct ArenaTest : testing::Test {
    Arena arena{};
    void TearDown() override { arena_release(arena); }
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
