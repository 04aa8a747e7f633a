// The header, seen from C.

#include <gtest/gtest.h>

#include <cstdint>

extern "C" int32_t header_callFromC();
extern "C" int32_t header_callModelFromC();

TEST(Header, ServesC) {
    EXPECT_EQ(header_callFromC(), 0);
    EXPECT_EQ(header_callModelFromC(), 0);
}
