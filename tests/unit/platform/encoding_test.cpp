#include "platform/encoding.h"

#include <gtest/gtest.h>

static std::string toUtf8(const char* text) {
    std::string result = "=";
    encoding_appendUtf8(result, text);
    return result;
}

TEST(Text, PlainAsciiStays) {
    EXPECT_EQ(toUtf8("P-1 (2)"), "=P-1 (2)");
    EXPECT_EQ(toUtf8(""), "=");
}

TEST(Text, ValidUtf8Stays) {
    EXPECT_EQ(toUtf8("Stra\xC3\x9F"
                     "e"),
              "=Stra\xC3\x9F"
              "e");
    EXPECT_EQ(toUtf8("\xE2\x82\xAC \xF0\x9F\x92\xA7 \xF4\x8F\xBF\xBF"),
              "=\xE2\x82\xAC \xF0\x9F\x92\xA7 \xF4\x8F\xBF\xBF");
}

TEST(Text, OtherBytesAreWindows1252) {
    EXPECT_EQ(toUtf8("Stra\xDF"
                     "e"),
              "=Stra\xC3\x9F"
              "e");
    EXPECT_EQ(toUtf8("\x80"), "=\xE2\x82\xAC");  // the euro sign
    EXPECT_EQ(toUtf8("\x92"), "=\xE2\x80\x99");  // an apostrophe, but not the one that ends a literal
    EXPECT_EQ(toUtf8("\xE9"), "=\xC3\xA9");
}

TEST(Text, BytesThatTheCodePageLeavesOpenStandForThemselves) {
    EXPECT_EQ(toUtf8("\x81\x8D\x8F\x90\x9D"), "=\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D");
}

TEST(Text, FalseUtf8IsTakenByteByByte) {
    EXPECT_EQ(toUtf8("\xC0\xAF"), "=\xC3\x80\xC2\xAF");                                  // overlong
    EXPECT_EQ(toUtf8("\xED\xA0\x80"), "=\xC3\xAD\xC2\xA0\xE2\x82\xAC");                  // a surrogate
    EXPECT_EQ(toUtf8("\xF4\x90\x80\x80"), "=\xC3\xB4\xC2\x90\xE2\x82\xAC\xE2\x82\xAC");  // beyond the last character
    EXPECT_EQ(toUtf8("\xE0\x80\x80"), "=\xC3\xA0\xE2\x82\xAC\xE2\x82\xAC");
    EXPECT_EQ(toUtf8("\xE2\x82"), "=\xC3\xA2\xE2\x80\x9A");  // cut off by the end of the text
    EXPECT_EQ(toUtf8("\xC3\xA9\xE9"), "=\xC3\xA9\xC3\xA9");  // both in one text
}
