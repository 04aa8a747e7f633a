// What the engine asks of the memory of the system.

#include "platform/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

TEST(LargePages, LeaveTheTableItself) {
    std::vector<char> table((size_t{9} << 20) + 3, 'a');
    const std::vector<char> before = table;
    for (const size_t start : {size_t{0}, size_t{1}, size_t{4097}}) {
        for (const size_t size : {size_t{0}, size_t{1}, size_t{3} << 20, table.size() - start}) {
            memory_useLargePages(table.data() + start, size);
            EXPECT_EQ(table, before);
        }
    }
    memory_useLargePages(nullptr, 0);
    std::fill(table.begin(), table.end(), 'b');
    EXPECT_EQ(std::count(table.begin(), table.end(), 'b'), static_cast<ptrdiff_t>(table.size()));
}
