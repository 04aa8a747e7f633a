#include "model/names.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "model/arena.h"
#include "model/project.h"

struct Names : testing::Test {
    void TearDown() override {
        names_clear();
        arena_release(ProjectArena);
    }
};

TEST_F(Names, FindsAnIdWhateverItsCase) {
    EXPECT_EQ(names_add(NODE, "Abc", 3), 1);
    EXPECT_EQ(names_find(NODE, "aBC"), 3);
    EXPECT_STREQ(names_findId(NODE, "ABC"), "Abc");
}

TEST_F(Names, RefusesASecondIdOfAClass) {
    EXPECT_EQ(names_add(NODE, "A", 0), 1);
    EXPECT_EQ(names_add(NODE, "a", 1), 0);
    EXPECT_EQ(names_add(LINK, "a", 1), 1);
    EXPECT_EQ(names_find(NODE, "A"), 0);
    EXPECT_EQ(names_find(LINK, "A"), 1);
}

TEST_F(Names, FindsNothingForNullEmptyAndUnknown) {
    EXPECT_EQ(names_find(NODE, "x"), -1);
    names_add(NODE, "A", 0);
    EXPECT_EQ(names_find(NODE, nullptr), -1);
    EXPECT_EQ(names_find(NODE, ""), -1);
    EXPECT_EQ(names_find(NODE, "AB"), -1);
    EXPECT_EQ(names_findId(NODE, nullptr), nullptr);
    EXPECT_EQ(names_findId(NODE, ""), nullptr);
}

TEST_F(Names, TakesTheEmptyIdOnce) {
    EXPECT_EQ(names_add(RULE, "", 0), 1);
    EXPECT_EQ(names_add(RULE, "", 1), 0);
}

TEST_F(Names, ComparesBytesPastAsciiAsTheyAre) {
    EXPECT_EQ(names_add(NODE, "\xE9", 0), 1);
    EXPECT_EQ(names_add(NODE, "\xC9", 1), 1);  // another letter in no code page that the engine knows
    EXPECT_EQ(names_find(NODE, "\xC9"), 1);
}

TEST_F(Names, KeepsManyNamesApart) {
    for (int k = 0; k < 100000; ++k) {
        ASSERT_EQ(names_add(NODE, ("N" + std::to_string(k)).c_str(), k), 1);
    }
    for (int k = 0; k < 100000; ++k) {
        ASSERT_EQ(names_find(NODE, ("n" + std::to_string(k)).c_str()), k);
    }
}

/// Adds names with a number in them and gives the mean walk to one of them.
static double walkTo(const char* format, int count) {
    names_clear();
    for (int k = 0; k < count; ++k) {
        char name[32];
        std::snprintf(name, sizeof name, format, k);
        EXPECT_EQ(names_add(NODE, name, k), 1);
    }
    return names_getMeanWalk(NODE);
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
    EXPECT_EQ(names_copyText(text.c_str()), text);
}

TEST_F(Names, TellsThatMemoryIsShort) {
    arena_failAfter(1);
    EXPECT_EQ(names_add(NODE, "A", 0), -1);
    EXPECT_EQ(names_find(NODE, "A"), -1);
    arena_failAfter(0);
}
