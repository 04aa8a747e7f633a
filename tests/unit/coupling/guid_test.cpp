// Names of private copies.

#include "coupling/guid.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>

static std::string makeGuid(uint32_t seed) {
    char text[GUID_SIZE];
    guid_write(seed, text);
    return text;
}

/// The text written out once more, pair by pair.
static std::string writeByHand(uint32_t seed) {
    uint64_t state = seed;
    const auto draw = [&] {
        state = (state * 1103515245 + 12345) % 4294967296;
        return static_cast<int>(state / 65536 % 32768);
    };
    std::string text;
    for (int i = 0; i < 16; ++i) {
        char pair[8];
        const int r = draw() % 255;
        if (i == 6) {
            std::snprintf(pair, sizeof pair, "4%x", static_cast<unsigned>(r % 15));
        } else if (i == 8) {
            std::snprintf(pair, sizeof pair, "%c%x", "89ab"[draw() % 4], static_cast<unsigned>(r % 15));
        } else {
            std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned>(r));
        }
        text += pair;
        text += i == 3 || i == 5 || i == 7 || i == 9 ? "-" : "";
    }
    return text;
}

TEST(Guid, HasTheFormOfARandomOne) {
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-e][0-9a-f]{2}-[89ab][0-9a-e][0-9a-f]{2}-[0-9a-f]{12}");
    for (uint32_t seed = 0; seed < 20000; ++seed) {
        ASSERT_TRUE(std::regex_match(makeGuid(seed * 49), form)) << makeGuid(seed * 49);
    }
}

TEST(Guid, NeverHoldsAPairOfTheHighestValue) {
    for (uint32_t seed = 0; seed < 20000; ++seed) {
        std::string text = makeGuid(seed);
        std::erase(text, '-');
        for (size_t at = 0; at < text.size(); at += 2) {
            ASSERT_NE(text.substr(at, 2), "ff");
        }
        ASSERT_NE(text[13], 'f');  // the digit behind the version
        ASSERT_NE(text[17], 'f');  // and the one behind the variant
    }
}

TEST(Guid, ComesFromItsSeedAlone) {
    for (const uint32_t seed : {0u, 1u, 4711u, 999999u}) {
        EXPECT_EQ(makeGuid(seed), writeByHand(seed));
    }
    EXPECT_NE(makeGuid(1), makeGuid(2));
}

TEST(Guid, LeavesTheRandomNumbersOfTheHostAlone) {
    std::srand(7);
    const int first = std::rand(), second = std::rand();
    std::srand(7);
    EXPECT_EQ(std::rand(), first);
    char text[GUID_SIZE];
    guid_make(text);
    EXPECT_EQ(std::rand(), second);
    EXPECT_EQ(std::string(text).size(), static_cast<size_t>(GUID_SIZE - 1));
}
