// The counter of microseconds.

#include "platform/clock.h"

#include <gtest/gtest.h>

TEST(Clock, CountsMicrosecondsOfASecond) {
    const uint32_t first = clock_getMicroseconds();
    EXPECT_LT(first, 1000000u);
    while (clock_getMicroseconds() == first) {
    }
}
