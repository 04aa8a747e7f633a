#include "model/names.h"

#include <gtest/gtest.h>

#include <cstdio>
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
    // Half filled at most, a table with linear probing asks for 1.5 looks in the mean.
    for (const char* format : {"J%d", "%d", "NODE_%07d", "%d-upper-manhole"}) {
        EXPECT_LT(walkTo(format, 1000), 1.7) << format;
        EXPECT_LT(walkTo(format, 1000000), 1.7) << format;
    }
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
