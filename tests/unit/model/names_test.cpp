#include "model/names.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

#include "model/arena.h"
#include "model/project.h"
#include "support/model.h"

struct Names : testing::Test {
    void TearDown() override {
        testModel().names = {};
        arena_release(testModel().memory.project);
    }
};

TEST_F(Names, FindsAnIdWhateverItsCase) {
    EXPECT_EQ(names_add(testModel(), NODE, "Abc", 3), 1);
    EXPECT_EQ(names_find(testModel(), NODE, "aBC"), 3);
    EXPECT_STREQ(names_findId(testModel(), NODE, "ABC"), "Abc");
}

TEST_F(Names, RefusesASecondIdOfAClass) {
    EXPECT_EQ(names_add(testModel(), NODE, "A", 0), 1);
    EXPECT_EQ(names_add(testModel(), NODE, "a", 1), 0);
    EXPECT_EQ(names_add(testModel(), LINK, "a", 1), 1);
    EXPECT_EQ(names_find(testModel(), NODE, "A"), 0);
    EXPECT_EQ(names_find(testModel(), LINK, "A"), 1);
}

TEST_F(Names, FindsNothingForNullEmptyAndUnknown) {
    EXPECT_EQ(names_find(testModel(), NODE, "x"), -1);
    names_add(testModel(), NODE, "A", 0);
    EXPECT_EQ(names_find(testModel(), NODE, nullptr), -1);
    EXPECT_EQ(names_find(testModel(), NODE, ""), -1);
    EXPECT_EQ(names_find(testModel(), NODE, "AB"), -1);
    EXPECT_EQ(names_findId(testModel(), NODE, nullptr), nullptr);
    EXPECT_EQ(names_findId(testModel(), NODE, ""), nullptr);
}

TEST_F(Names, TakesTheEmptyIdOnce) {
    EXPECT_EQ(names_add(testModel(), RULE, "", 0), 1);
    EXPECT_EQ(names_add(testModel(), RULE, "", 1), 0);
}

TEST_F(Names, ComparesBytesPastAsciiAsTheyAre) {
    EXPECT_EQ(names_add(testModel(), NODE, "\xE9", 0), 1);
    EXPECT_EQ(names_add(testModel(), NODE, "\xC9", 1), 1);  // another letter in no code page that the engine knows
    EXPECT_EQ(names_find(testModel(), NODE, "\xC9"), 1);
}

TEST_F(Names, KeepsManyNamesApart) {
    for (int k = 0; k < 100000; ++k) {
        ASSERT_EQ(names_add(testModel(), NODE, ("N" + std::to_string(k)).c_str(), k), 1);
    }
    for (int k = 0; k < 100000; ++k) {
        ASSERT_EQ(names_find(testModel(), NODE, ("n" + std::to_string(k)).c_str()), k);
    }
}

/// Adds names with a number in them and gives the mean walk to one of them.
static double walkTo(const char* format, int count) {
    testModel().names = {};
    for (int k = 0; k < count; ++k) {
        char name[32];
        std::snprintf(name, sizeof name, format, k);
        EXPECT_EQ(names_add(testModel(), NODE, name, k), 1);
    }
    return names_getMeanWalk(testModel(), NODE);
}

TEST_F(Names, AreFoundAtTheSameCostAmongAMillion) {
    // Names of eight slots stand in one line of memory. Half filled at most, few of them are pushed into the next one.
    for (const char* format : {"J%d", "%d", "NODE_%07d", "%d-upper-manhole"}) {
        EXPECT_LT(walkTo(format, 1000), 1.7) << format;
        EXPECT_LT(walkTo(format, 1000000), 1.7) << format;
    }
}

TEST_F(Names, OfEightLettersAndMoreAreKeptApart) {
    // Any one letter, of short and of long names, in the part that is taken at once or in another.
    const std::string name = "abcdefghijklmnopqrs";
    int32_t count = 0;
    for (size_t length = 1; length <= name.size(); ++length) {
        for (size_t place = 0; place < length; ++place) {
            for (const char letter : {'0', '1', '8', '\xE9'}) {
                std::string one = name.substr(0, length);
                one[place] = letter;
                ASSERT_EQ(names_add(testModel(), LINK, one.c_str(), count++), 1) << one;
            }
        }
    }
    EXPECT_EQ(names_find(testModel(), LINK, "0"), 0);
    EXPECT_EQ(names_find(testModel(), LINK, "ABCDEFGHIJKLMNOPQR1"), count - 3);
    EXPECT_EQ(names_find(testModel(), LINK, "abcdefgh"), -1);
}

TEST_F(Names, AreFoundInWhateverOrder) {
    constexpr int COUNT = 50;
    for (int k = 0; k < COUNT; ++k) {
        names_add(testModel(), NODE, ("N" + std::to_string(k)).c_str(), 100 + k);
    }
    std::mt19937 random(7);
    const char* const ways[] = {"N%d", "n%d"};
    for (int k = 0; k < 10000; ++k) {
        // Runs of neighbours, upwards and downwards, from two places by turns, and now and then what isn't there.
        const int walk = k % 3 == 0 ? k % COUNT : k % 3 == 1 ? (k / 2) % COUNT : COUNT - 1 - k % COUNT;
        const int number = random() % 10 == 0 ? static_cast<int>(random() % (2 * COUNT)) : walk;
        char name[16];
        std::snprintf(name, sizeof name, ways[random() % 2], number);
        ASSERT_EQ(names_find(testModel(), NODE, name), number < COUNT ? 100 + number : -1) << name;
    }
}

TEST_F(Names, OfARowAreFoundNearIt) {
    EXPECT_EQ(names_add(testModel(), NODE, "A", 5), 1);
    EXPECT_EQ(names_add(testModel(), NODE, "B", 6), 1);
    const char* const id = names_findId(testModel(), NODE, "b");
    EXPECT_EQ(names_findNear(testModel(), NODE, id, 1), 6);
    EXPECT_EQ(names_findNear(testModel(), NODE, id, 0), 6);
    EXPECT_EQ(names_findNear(testModel(), NODE, id, -1), 6);
    EXPECT_EQ(names_findNear(testModel(), NODE, id, 2), 6);
    EXPECT_EQ(names_findNear(testModel(), NODE, "C", 1), -1);
    EXPECT_EQ(names_findNear(testModel(), NODE, nullptr, 1), -1);
}

TEST_F(Names, AskedForAheadAreNotMadeKnown) {
    names_fetch(testModel(), NODE, "A");
    EXPECT_EQ(names_add(testModel(), NODE, "B", 0), 1);
    names_fetch(testModel(), NODE, "A");
    EXPECT_EQ(names_find(testModel(), NODE, "A"), -1);
    EXPECT_EQ(names_add(testModel(), NODE, "A", 1), 1);
    EXPECT_EQ(names_find(testModel(), NODE, "B"), 0);
}

TEST_F(Names, FindTheEmptyIdOfARowNowhere) {
    EXPECT_EQ(names_add(testModel(), RULE, "", 0), 1);
    EXPECT_EQ(names_find(testModel(), RULE, ""), -1);
    EXPECT_EQ(names_findNear(testModel(), RULE, "", 0), -1);
}

TEST_F(Names, CopiesTextsLongerThanABlock) {
    const std::string text(500000, 'x');
    EXPECT_EQ(names_copyText(testModel(), text.c_str()), text);
}

TEST_F(Names, TellsThatMemoryIsShort) {
    arena_failAfter(1);
    EXPECT_EQ(names_add(testModel(), NODE, "A", 0), -1);
    EXPECT_EQ(names_find(testModel(), NODE, "A"), -1);
    arena_failAfter(0);
}
