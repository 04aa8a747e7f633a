#include "text/tokens.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

static std::vector<std::string> split(const std::string& line) {
    static char buffer[4096];
    std::strcpy(buffer, line.c_str());
    const Tokens tokens = tokens_split(buffer);
    return {tokens.words, tokens.words + tokens.count};
}

using Words = std::vector<std::string>;

TEST(SplitTokens, SeparatesAtBlanksTabsAndLineEnds) {
    EXPECT_EQ(split("  a\tb \r c\n"), (Words{"a", "b", "c"}));
    EXPECT_EQ(split(""), Words{});
    EXPECT_EQ(split(" \t\r\n"), Words{});
}

TEST(SplitTokens, KeepsBlanksBetweenQuotes) {
    EXPECT_EQ(split("a \"b c\" d"), (Words{"a", "b c", "d"}));
    EXPECT_EQ(split("a \"\" d"), (Words{"a", "", "d"}));
    EXPECT_EQ(split("\"a\"b"), (Words{"a", "b"}));
    EXPECT_EQ(split("a\"b c\""), (Words{"a\"b", "c\""}));
}

TEST(SplitTokens, LetsAnOpenQuoteRunToTheEndOfTheLine) {
    EXPECT_EQ(split("a \"b c d\n"), (Words{"a", "b c d"}));
    EXPECT_EQ(split("\""), Words{""});
}

TEST(SplitTokens, CutsTheLineAtTwoSlashesAlsoInQuotes) {
    EXPECT_EQ(split("a b//c d"), (Words{"a", "b"}));
    EXPECT_EQ(split("a \"http://b\" c"), (Words{"a", "http:"}));
    EXPECT_EQ(split("// all"), Words{});
    EXPECT_EQ(split("a / b"), (Words{"a", "/", "b"}));
}

TEST(SplitTokens, DropsWhatFollowsTheFortiethWord) {
    std::string line;
    for (int k = 0; k < 50; ++k) {
        line += std::to_string(k) + " ";
    }
    const Words words = split(line);
    ASSERT_EQ(words.size(), 40u);
    EXPECT_EQ(words.back(), "39");
}

TEST(SplitTokens, LeavesTheWordsThatTheLineDoesntHaveNull) {
    char line[] = "a";
    EXPECT_EQ(tokens_split(line)[1], nullptr);
}

static int getOddities(const std::string& line) {
    char buffer[4096];
    std::strcpy(buffer, line.c_str());
    return tokens_split(buffer).oddities;
}

TEST(SplitTokens, TellsWordsThatMayBeNoPlainNumbers) {
    for (const char* line : {"a 1 -2.5e3 +.5", "\"a b\" 10", "x0 0 1n", "// nan", ""}) {
        EXPECT_EQ(getOddities(line), 0) << line;
    }
    for (const char* line :
         {"a nan 1", "Infinity", "-inf", "+NaN", "a 0x1p3", "a \"\" b", "2\xA0", "\xE2\x88\x92\x31"}) {
        EXPECT_EQ(getOddities(line), TOKENS_ODD) << line;
    }
    EXPECT_EQ(getOddities("a \"\" "), TOKENS_END_EMPTY);
    EXPECT_EQ(getOddities("a \""), TOKENS_END_EMPTY);
    EXPECT_EQ(getOddities("\"\" \"\"\n"), TOKENS_ODD | TOKENS_END_EMPTY);
}

TEST(SplitTokens, TellsWhetherWordsWereDropped) {
    std::string line;
    for (int k = 0; k < 40; ++k) {
        line += "w ";
    }
    EXPECT_EQ(getOddities(line + " \t\n"), 0);
    EXPECT_EQ(getOddities(line + "// more"), 0);
    EXPECT_EQ(getOddities(line + "more"), TOKENS_CUT);
}

TEST(FindOddity, TellsWhatANumberIsBesides) {
    EXPECT_EQ(tokens_findOddity(""), NUMBER_EMPTY);
    EXPECT_EQ(tokens_findOddity("1.5\xA0"), NUMBER_BYTES);
    EXPECT_EQ(tokens_findOddity("\xE2\x88\x92"
                                "3"),
              NUMBER_BYTES);
    for (const char* word : {"nan", "-INF", "0x1F", "infinity"}) {
        EXPECT_EQ(tokens_findOddity(word), NUMBER_SPECIAL) << word;
    }
    for (const char* word : {"0", "-1.5e3", "name", "info", "0xg", "0:30", "-0.5"}) {
        EXPECT_EQ(tokens_findOddity(word), NUMBER_PLAIN) << word;
    }
}

TEST(MatchKeyword, IgnoresTheCaseOfLettersOnly) {
    EXPECT_TRUE(tokens_matchKeyword("Yes", "YES"));
    EXPECT_TRUE(tokens_matchKeyword("FLOW_ratio", "FLOW_RATIO"));
    EXPECT_FALSE(tokens_matchKeyword("FLOW", "FLOW_RATIO"));
    EXPECT_FALSE(tokens_matchKeyword("FLOW_RATIO", "FLOW"));
    EXPECT_FALSE(tokens_matchKeyword("{", "["));
}

TEST(MatchKeyword, NeverMatchesAnEmptyKeyword) {
    EXPECT_FALSE(tokens_matchKeyword("", ""));
    EXPECT_FALSE(tokens_matchKeyword("a", ""));
    EXPECT_FALSE(tokens_matchKeyword("", "a"));
}

TEST(MatchKeyword, SkipsLeadingBlanksButComparesWholeLengths) {
    EXPECT_FALSE(tokens_matchKeyword(" YES", "YES"));
    EXPECT_TRUE(tokens_matchKeyword(" YES", " YES"));
    EXPECT_FALSE(tokens_matchKeyword(" YE", "YES"));
    EXPECT_TRUE(tokens_matchKeyword("  ", "  "));
}

TEST(FindKeyword, GivesTheFirstMatch) {
    EXPECT_EQ(tokens_findKeyword("no", NoYesWords), 0);
    EXPECT_EQ(tokens_findKeyword("YES", NoYesWords), 1);
    EXPECT_EQ(tokens_findKeyword("Y", NoYesWords), -1);
}

static double number(const char* text) {
    double value = -7.0;
    EXPECT_TRUE(tokens_getDouble(text, &value)) << text;
    return value;
}

TEST(GetDouble, ReadsWhatTheStandardConversionReads) {
    EXPECT_EQ(number("1.5"), 1.5);
    EXPECT_EQ(number("+1.5"), 1.5);
    EXPECT_EQ(number("-.5e-3"), -0.5e-3);
    EXPECT_EQ(number("1e3"), 1000.0);
    EXPECT_EQ(number("0x1F"), 31.0);
    EXPECT_EQ(number("1e999"), HUGE_VAL);
    EXPECT_EQ(number("INF"), HUGE_VAL);
    EXPECT_EQ(number("-infinity"), -HUGE_VAL);
    EXPECT_TRUE(std::isnan(number("nan")));
    EXPECT_TRUE(std::isnan(number("nan(12)")));
    EXPECT_EQ(number(" 2"), 2.0);
    EXPECT_EQ(number("5e-324"), 5e-324);
    EXPECT_EQ(number("1e-400"), 0.0);
}

TEST(GetDouble, RefusesTextBehindTheNumberAndStoresTheNumber) {
    double value = -7.0;
    EXPECT_FALSE(tokens_getDouble("12a", &value));
    EXPECT_EQ(value, 12.0);
    EXPECT_FALSE(tokens_getDouble("abc", &value));
    EXPECT_EQ(value, 0.0);
    EXPECT_FALSE(tokens_getDouble("1,5", &value));
    EXPECT_EQ(value, 1.0);
}

TEST(GetDouble, LetsABytePastAsciiBehindTheNumberThrough) {
    EXPECT_EQ(number("12\xA0"), 12.0);
    EXPECT_EQ(number("12\xC2\xA0xyz"), 12.0);
    EXPECT_EQ(number("\xE9"), 0.0);
    EXPECT_EQ(number(""), 0.0);
}

TEST(GetNonNegative, RefusesOnlyWhatIsBelowZero) {
    double value;
    EXPECT_TRUE(tokens_getNonNegative("0", &value));
    EXPECT_TRUE(tokens_getNonNegative("nan", &value));
    EXPECT_TRUE(tokens_getNonNegative("inf", &value));
    EXPECT_FALSE(tokens_getNonNegative("-1e-9", &value));
    EXPECT_FALSE(tokens_getNonNegative("1x", &value));
}

/// Whether a text is read as the standard conversion reads it, to the last bit.
static bool isReadAlike(const std::string& text) {
    char* rest = nullptr;
    const double expected = std::strtod(text.c_str(), &rest);
    double value = -7.0;
    const bool isNumber = tokens_getDouble(text.c_str(), &value);
    return isNumber == (static_cast<signed char>(*rest) <= 0) && std::memcmp(&value, &expected, sizeof value) == 0;
}

TEST(GetDouble, ReadsPlainNumbersToTheBit) {
    for (const char* text : {"-0",
                             "-0.000",
                             "0",
                             "000",
                             ".5",
                             "5.",
                             ".",
                             "-",
                             "-.",
                             "--1",
                             "1.2.3",
                             "0.1",
                             "0.3",
                             "999999999999999",
                             "9999999999999999",
                             "0.000000000000001",
                             "0.0000000000000001",
                             "123456789012345.6",
                             "1234567.12345678",
                             "9007199254740993",
                             "18446744073709551617",
                             "0.30000000000000004",
                             "1-",
                             "1+1",
                             "+1",
                             "1 "}) {
        EXPECT_TRUE(isReadAlike(text)) << text;
    }
}

TEST(GetDouble, ReadsRandomNumbersToTheBit) {
    std::mt19937 random(19700101);
    const std::string others = "+-.eExXinfa0 :,";
    for (int k = 0; k < 400000; ++k) {
        std::string text = random() % 4 == 0 ? "-" : "";
        const size_t digits = random() % 20;
        const size_t point = random() % 24;
        for (size_t at = 0; at < digits; ++at) {
            text += at == point ? "." : "";
            text += static_cast<char>('0' + random() % 10);
        }
        if (random() % 3 == 0) {
            text.insert(random() % (text.size() + 1), 1, others[random() % others.size()]);
        }
        ASSERT_TRUE(isReadAlike(text)) << text;
    }
}

/// What the words of a line are, rule by rule: the comment is cut off first.
static Words splitByRules(std::string line) {
    line.resize(std::min(line.find("//"), line.size()));
    Words words;
    for (size_t at = 0; words.size() < MAX_TOKENS;) {
        at = line.find_first_not_of(" \t\r\n", at);
        if (at == std::string::npos) {
            break;
        }
        const bool isQuoted = line[at] == '"';
        at += isQuoted ? 1 : 0;
        const size_t end = std::min(line.find_first_of(isQuoted ? "\"\n" : " \t\r\n", at), line.size());
        words.push_back(line.substr(at, end - at));
        at = std::min(end + 1, line.size());
    }
    return words;
}

TEST(SplitTokens, CutsWhateverLineByItsRules) {
    std::mt19937 random(19991231);
    const std::string bytes = "ab/ /\t\"\n";
    for (int k = 0; k < 200000; ++k) {
        std::string line;
        for (size_t length = random() % 24; line.size() < length;) {
            line += bytes[random() % bytes.size()];
        }
        ASSERT_EQ(split(line), splitByRules(line)) << testing::PrintToString(line);
    }
}

TEST(SplitTokens, TakesACommentBehindTheFortiethWordForNoWord) {
    std::string line;
    for (int k = 0; k < 40; ++k) {
        line += "w ";
    }
    EXPECT_EQ(getOddities(line + "// a note"), 0);
    EXPECT_EQ(getOddities(line + "/ a note"), TOKENS_CUT);
}
