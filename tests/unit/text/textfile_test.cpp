#include "text/textfile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/tempfolder.h"
#include "text/tokens.h"

/// All lines of a file as pieces of at most `size` - 1 characters.
static std::vector<std::string> readLines(const std::string& content, int32_t size = 1024) {
    const TempFolder folder;
    TextFile text{};
    EXPECT_TRUE(textfile_open(text, folder.write("t", content).c_str()));
    std::vector<std::string> lines;
    std::vector<char> line(static_cast<size_t>(size));
    while (textfile_getLine(text, line.data(), size)) {
        lines.emplace_back(line.data());
    }
    EXPECT_TRUE(text.isAtEnd);
    textfile_close(text);
    return lines;
}

using Lines = std::vector<std::string>;

TEST(TextFile, KeepsTheLineFeedOfALine) {
    EXPECT_EQ(readLines("a\nb"), (Lines{"a\n", "b"}));
    EXPECT_EQ(readLines(""), Lines{});
    EXPECT_EQ(readLines("\n\n"), (Lines{"\n", "\n"}));
}

TEST(TextFile, ReadsCarriageReturnLineFeedAsLineFeed) {
    EXPECT_EQ(readLines("a\r\nb\rc\r\n"), (Lines{"a\n", "b\rc\n"}));
    EXPECT_EQ(readLines("a\r"), Lines{"a\r"});
}

TEST(TextFile, EndsAtByte1A) {
    EXPECT_EQ(readLines("a\nb\x1A"
                        "c\nd"),
              (Lines{"a\n", "b"}));
}

TEST(TextFile, CutsALongLineIntoPieces) {
    EXPECT_EQ(readLines("abcdefg\nh", 4), (Lines{"abc", "def", "g\n", "h"}));
    EXPECT_EQ(readLines(std::string(1023, 'x') + "\n"), (Lines{std::string(1023, 'x'), "\n"}));
}

TEST(TextFile, ReadsCarriageReturnAcrossItsBuffer) {
    const std::string filler(65535, '\n');  // the buffer holds 65536 bytes
    const Lines lines = readLines(filler + "\r\nx");
    ASSERT_EQ(lines.size(), 65537u);
    EXPECT_EQ(lines[65535], "\n");
    EXPECT_EQ(lines[65536], "x");
}

TEST(TextFile, TellsTheEndOnlyWhenAReadHasMetIt) {
    const TempFolder folder;
    TextFile text{};
    ASSERT_TRUE(textfile_open(text, folder.write("t", "ab\ncd").c_str()));
    char line[8];
    ASSERT_TRUE(textfile_getLine(text, line, 8));
    EXPECT_FALSE(text.isAtEnd);
    ASSERT_TRUE(textfile_getLine(text, line, 3));  // a full piece: the end isn't known yet
    EXPECT_STREQ(line, "cd");
    EXPECT_FALSE(text.isAtEnd);
    EXPECT_FALSE(textfile_getLine(text, line, 8));
    EXPECT_TRUE(text.isAtEnd);
    textfile_setPosition(text, 0);
    EXPECT_FALSE(text.isAtEnd);
    ASSERT_TRUE(textfile_getLine(text, line, 8));
    EXPECT_STREQ(line, "ab\n");
    textfile_close(text);
}

TEST(TextFile, GoesBackToAPlaceFarBehindItsBuffer) {
    const TempFolder folder;
    std::string content;
    for (int k = 0; k < 30000; ++k) {
        content += std::to_string(100000 + k) + "\n";
    }
    TextFile text{};
    ASSERT_TRUE(textfile_open(text, folder.write("t", content).c_str()));
    char line[16];
    ASSERT_TRUE(textfile_getLine(text, line, 16));
    const int64_t place = textfile_getPosition(text);
    EXPECT_EQ(place, 7);
    while (textfile_getLine(text, line, 16)) {
    }
    textfile_setPosition(text, place);
    ASSERT_TRUE(textfile_getLine(text, line, 16));
    EXPECT_STREQ(line, "100001\n");
    textfile_close(text);
}

TEST(TextFile, RefusesFoldersAndMissingFiles) {
    const TempFolder folder;
    TextFile text{};
    EXPECT_FALSE(textfile_open(text, folder.path.c_str()));
    EXPECT_FALSE(textfile_open(text, folder.file("none").c_str()));
    EXPECT_FALSE(textfile_open(text, ""));
}

TEST(TextFile, EndsALineForItsReaderAtANulByte) {
    const Lines lines = readLines(std::string("ab\0cd\nef", 8));
    EXPECT_EQ(lines, (Lines{"ab", "ef"}));
}

/// Whether more stands after the end of a text, read to that.
static bool hasMore(const std::string& content) {
    TextFile text{};
    textfile_openText(text, content.data(), content.size());
    char line[LINE_SIZE];
    while (textfile_getLine(text, line, LINE_SIZE)) {
    }
    return textfile_hasMore(text);
}

TEST(TextFile, TellsOfWhatStandsBehindItsEndMark) {
    EXPECT_TRUE(hasMore("a\n\x1A\nb\n"));
    EXPECT_TRUE(
        hasMore("a\x1A"
                "b"));
    EXPECT_FALSE(hasMore("a\n\x1A"));
    EXPECT_FALSE(hasMore("a\n\x1A\x1A \r\n"));
    EXPECT_FALSE(hasMore("a\n"));
    EXPECT_FALSE(hasMore(""));
}

TEST(TextFile, TellsOfWhatStandsFarBehindItsEndMark) {
    const TempFolder folder;
    TextFile text{};
    ASSERT_TRUE(textfile_open(text, folder.write("t", "a\n\x1A" + std::string(200000, ' ') + "b").c_str()));
    char line[LINE_SIZE];
    while (textfile_getLine(text, line, LINE_SIZE)) {
    }
    EXPECT_TRUE(textfile_hasMore(text));
    textfile_close(text);
}

/// What textfile_getLine must give of a text: pieces of at most `size` - 1 characters, as the rules have it word by
/// word.
static std::vector<std::string> cutByRules(const std::string& content, size_t size) {
    std::vector<std::string> lines;
    std::string line;
    for (size_t k = 0; k < content.size() && content[k] != '\x1A'; ++k) {
        const bool isPair = content[k] == '\r' && k + 1 < content.size() && content[k + 1] == '\n';
        k += isPair ? 1 : 0;
        line += content[k];
        if (content[k] == '\n' || line.size() == size - 1) {
            lines.push_back(line);
            line.clear();
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

TEST(TextFile, ReadsWhateverBytesByItsRules) {
    std::mt19937 random(20011231);
    const std::string bytes = "abcdefghijklmnop \t\r\n\x1F\x80\xFF";
    for (int k = 0; k < 20000; ++k) {
        std::string content;
        for (size_t length = random() % 60; content.size() < length;) {
            content += random() % 4 == 0 ? "\r\n" : std::string(1, bytes[random() % bytes.size()]);
        }
        content += random() % 8 == 0 ? "\x1A" : "";
        content += std::string(random() % 30, 'z');
        const auto size = static_cast<int32_t>(random() % 2 == 0 ? 2 + random() % 30 : 1024);
        TextFile text{};
        textfile_openText(text, content.data(), content.size());
        std::vector<std::string> lines;
        std::vector<char> line(static_cast<size_t>(size));
        while (textfile_getLine(text, line.data(), size)) {
            lines.emplace_back(line.data());
        }
        ASSERT_EQ(lines, cutByRules(content, static_cast<size_t>(size))) << testing::PrintToString(content);
        textfile_close(text);
    }
}

TEST(TextFile, KnowsItsPlaceAfterEachLine) {
    const std::string content = "a line of some length\r\nanother, not so long\n\nthe last one\n";
    TextFile text{};
    textfile_openText(text, content.data(), content.size());
    char line[64];
    for (const int64_t place : {23, 44, 45, 58}) {
        ASSERT_TRUE(textfile_getLine(text, line, sizeof line));
        EXPECT_EQ(textfile_getPosition(text), place);
        EXPECT_FALSE(text.isAtEnd);
    }
    textfile_setPosition(text, 23);
    ASSERT_TRUE(textfile_getLine(text, line, sizeof line));
    EXPECT_STREQ(line, "another, not so long\n");
    textfile_close(text);
}

TEST(TextFile, ShowsWhatStandsBehindItsPlace) {
    TextFile text{};
    EXPECT_TRUE(textfile_peek(text).empty());
    textfile_openText(text, "one\ntwo\n", 8);
    char line[16];
    ASSERT_TRUE(textfile_getLine(text, line, sizeof line));
    EXPECT_EQ(textfile_peek(text), "two\n");
    ASSERT_TRUE(textfile_getLine(text, line, sizeof line));
    EXPECT_STREQ(line, "two\n");
    EXPECT_TRUE(textfile_peek(text).empty());
    textfile_close(text);
}
