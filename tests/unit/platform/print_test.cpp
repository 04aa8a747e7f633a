// Formats give the same bytes on every system, a NaN with its sign included.

#include "platform/print.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

std::string print(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    const int length = print_toText(text, sizeof text, format, arguments);
    va_end(arguments);
    EXPECT_EQ(length, static_cast<int>(std::string(text).size()));
    return text;
}

constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();

}  // namespace

TEST(Print, NumbersAndWordsHaveTheirPlaces) {
    EXPECT_EQ(print("  %-16s|%16.3f|%8d%%\n", "Rain", 2.5, -7), "  Rain            |           2.500|      -7%\n");
    EXPECT_EQ(print("%-*s|%ld|%s", 6, "ab", 123456789L, ""), "ab    |123456789|");
    EXPECT_EQ(print("%16.3f%12.4e", 0.0005, 12345.0), "           0.001  1.2345e+04");
    EXPECT_EQ(print("no place at all"), "no place at all");
}

TEST(Print, NothingHasASign) {
    EXPECT_EQ(print("[%16.3f]", std::copysign(NOTHING, 1.0)), "[             nan]");
    EXPECT_EQ(print("[%16.3f]", std::copysign(NOTHING, -1.0)), "[            -nan]");
    EXPECT_EQ(print("[%08.2f]", std::copysign(NOTHING, -1.0)), "[    -nan]");
    EXPECT_EQ(print("%f", std::numeric_limits<double>::infinity()), "inf");
    char text[16];
    EXPECT_EQ(print_number(text, sizeof text, "%f", std::copysign(NOTHING, -1.0)), 4);
    EXPECT_STREQ(text, "-nan");
}
