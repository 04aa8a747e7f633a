#include "nodes/outlets.h"

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

#include "model/project.h"

using testing::ElementsAre;

static std::vector<double> getLevels(const std::vector<double>& values) {
    std::vector<double> levels(values.size());
    int32_t count = 0;
    for (const double value : values) {
        outlets_insertLevel(levels.data(), count, value);
    }
    levels.resize(static_cast<size_t>(count));
    return levels;
}

TEST(Levels, RiseBehindTheLowest) {
    EXPECT_THAT(getLevels({1.0, 3.0, 2.0, 4.0}), ElementsAre(1.0, 2.0, 3.0, 4.0));
}

TEST(Levels, KeepTheFirstInFront) {
    EXPECT_THAT(getLevels({2.0, 1.0}), ElementsAre(2.0, 1.0));
    EXPECT_THAT(getLevels({2.0, 1.0, 3.0}), ElementsAre(2.0, 1.0, 3.0));
}

TEST(Levels, PutEachLowerOneDirectlyBehindTheFirst) {
    EXPECT_THAT(getLevels({5.0, 3.0, 1.0, 2.0}), ElementsAre(5.0, 2.0, 1.0, 3.0));
    EXPECT_THAT(getLevels({5.0, 3.0, 7.0, 4.0, 6.0}), ElementsAre(5.0, 4.0, 3.0, 6.0, 7.0));
}

TEST(Levels, DropWhatStandsAtOrAboveTheFirst) {
    EXPECT_THAT(getLevels({1.0, 1.0}), ElementsAre(1.0));
    EXPECT_THAT(getLevels({1.0, 3.0, 2.0, 3.0, 2.0}), ElementsAre(1.0, 2.0, 3.0));
}

TEST(Levels, TakeALowerOneTwice) {
    EXPECT_THAT(getLevels({2.0, 1.0, 1.0}), ElementsAre(2.0, 1.0, 1.0));
}

TEST(Levels, AreDifferentHoweverCloseTheyAre) {
    const double next = std::nextafter(1.0, 2.0);
    EXPECT_THAT(getLevels({1.0, next}), ElementsAre(1.0, next));
}

TEST(Levels, EndTheWalkAtWhatIsNoNumber) {
    const std::vector<double> levels = getLevels({1.0, std::nan(""), 2.0, 0.5});
    ASSERT_EQ(levels.size(), 4u);
    EXPECT_EQ(levels[0], 1.0);
    EXPECT_EQ(levels[1], 0.5);
    EXPECT_TRUE(std::isnan(levels[2]));
    EXPECT_EQ(levels[3], 2.0);
    EXPECT_EQ(getLevels({std::nan(""), 2.0, 1.0})[1], 1.0);
}

namespace {

/// A list of weirs with given keys, without a tank around it.
struct KeyList {
    std::vector<double> keys, newKeys, levels, volumes, flows;
    std::vector<int32_t> links, byKey, members;
    LevelList list{};

    explicit KeyList(const std::vector<double>& values) : keys(values) {
        const size_t n = keys.size();
        newKeys.resize(n);
        levels.resize(n);
        volumes.resize(n);
        flows.resize(n);
        links.resize(n);
        byKey.resize(n);
        members.resize(n);
        list = {WEIR,
                static_cast<int32_t>(n),
                0,
                0,
                links.data(),
                keys.data(),
                newKeys.data(),
                levels.data(),
                volumes.data(),
                byKey.data(),
                members.data(),
                flows.data()};
        outlets_makeLevels(list);
    }
    std::vector<int32_t> at(double level) {
        const int32_t count = outlets_findMembers(list, level);
        return {members.begin(), members.begin() + count};
    }
};

}  // namespace

TEST(Members, AreTheOutletsOfALevelInLinkOrder) {
    KeyList keys({2.0, 1.0, 2.0, 3.0, 1.0});
    EXPECT_THAT(keys.at(2.0), ElementsAre(0, 2));
    EXPECT_THAT(keys.at(1.0), ElementsAre(1, 4));
    EXPECT_THAT(keys.at(3.0), ElementsAre(3));
    EXPECT_THAT(keys.at(2.5), ElementsAre());
}

TEST(Members, IncludeTheTolerance) {
    // 2^-34 is 5.8e-11, and 2^-33 is 1.2e-10; both are exact beside 1.
    const double within = std::ldexp(1.0, -34);
    const double beyond = std::ldexp(1.0, -33);
    KeyList keys({1.0 + within, 1.0, 1.0 - within, 1.0 + beyond, 1.0 - beyond});
    EXPECT_THAT(keys.at(1.0), ElementsAre(0, 1, 2));
    EXPECT_EQ(KeyList({0.0, 1.0e-10}).at(0.0).size(), 2u);  // exactly at the limit counts
}

TEST(Members, NeverHoldWhatIsNoNumber) {
    KeyList keys({std::nan(""), 1.0, std::nan("")});
    EXPECT_THAT(keys.at(1.0), ElementsAre(1));
    EXPECT_THAT(keys.at(std::nan("")), ElementsAre());
    EXPECT_THAT(KeyList({INFINITY, 1.0}).at(INFINITY), ElementsAre());
}
