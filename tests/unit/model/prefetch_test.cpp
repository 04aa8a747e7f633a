// Where the look ahead looks.

#include "model/prefetch.h"

#include <gtest/gtest.h>

#include <array>

TEST(Prefetch, LooksTowardTheEndOfTheTable) {
    struct Row {
        double numbers[3];
    };
    const std::array<Row, 12> table{};
    EXPECT_EQ(prefetch_getFar(table[2], 9), &table[11]);
    EXPECT_EQ(prefetch_getFar(table[2], 0), &table[2]);
}
