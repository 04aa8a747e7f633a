// Places of networks without coordinates, for small ones that can be drawn by hand, and for rules that any network
// keeps.

#include "networklayout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <utility>

namespace {

const double NONE = std::nan("");

using Links = std::vector<LayoutLink>;
using Points = std::vector<LayoutPoint>;

bool isDistinct(const Points& points) {
    std::set<std::pair<double, double>> places;
    for (const LayoutPoint& point : points) {
        if (!std::isfinite(point.x) || !std::isfinite(point.y) || !places.emplace(point.x, point.y).second) {
            return false;
        }
    }
    return true;
}

/// On which side of the line from a to b a point lies.
double getSide(const LayoutPoint& a, const LayoutPoint& b, const LayoutPoint& point) {
    return (b.x - a.x) * (point.y - a.y) - (b.y - a.y) * (point.x - a.x);
}

bool areCrossing(const LayoutPoint& a, const LayoutPoint& b, const LayoutPoint& c, const LayoutPoint& d) {
    return getSide(a, b, c) * getSide(a, b, d) < 0.0 && getSide(c, d, a) * getSide(c, d, b) < 0.0;
}

/// Nodes that drain to one of those ahead of them: a tree with its outfall at 0.
Links makeTree(size_t count, unsigned seed) {
    std::mt19937 random(seed);
    Links links;
    for (size_t node = 1; node < count; ++node) {
        links.push_back({node, random() % node});
    }
    return links;
}

}  // namespace

TEST(NetworkLayout, WaterFlowsToTheRight) {
    const Links chain{{0, 1}, {1, 2}};
    const Points points = networklayout_arrange(3, chain);
    EXPECT_LT(points[0].x, points[1].x);
    EXPECT_LT(points[1].x, points[2].x);
    EXPECT_EQ(points[0].y, points[2].y);
}

TEST(NetworkLayout, ADepthIsTheLongestWayToAnOutfall) {
    // 0 reaches the outfall 3 directly, and by 1 and 2.
    EXPECT_EQ(networklayout_measureDepths(4, {{0, 3}, {0, 1}, {1, 2}, {2, 3}}), (std::vector<size_t>{3, 2, 1, 0}));
}

TEST(NetworkLayout, ANodeStandsBetweenItsBranches) {
    // 1 and 2 drain to 3, which drains to 4.
    const Points points = networklayout_arrange(5, {{1, 3}, {2, 3}, {3, 4}, {0, 4}});
    EXPECT_DOUBLE_EQ(points[3].y, (points[1].y + points[2].y) / 2.0);
    EXPECT_EQ(std::fabs(points[1].y - points[2].y), 1.0);
    EXPECT_DOUBLE_EQ(points[4].y, (points[3].y + points[0].y) / 2.0);
}

TEST(NetworkLayout, OfALoopOneLinkRunsBackwards) {
    // 0 -> 1 -> 2 -> 0, and out of it 2 -> 3: the link that closes the loop is that from 2 back to 0.
    const Links links{{0, 1}, {1, 2}, {2, 0}, {2, 3}};
    EXPECT_EQ(networklayout_measureDepths(4, links), (std::vector<size_t>{3, 2, 1, 0}));
    EXPECT_TRUE(isDistinct(networklayout_arrange(4, links)));
}

TEST(NetworkLayout, ALoopWithoutAnOutfallHasPlacesToo) {
    const Points points = networklayout_arrange(3, {{0, 1}, {1, 2}, {2, 0}});
    EXPECT_TRUE(isDistinct(points));
}

TEST(NetworkLayout, LinksThatLeadNowhereDoNotCount) {
    const Points points = networklayout_arrange(2, {{0, 0}, {0, LAYOUT_NONE}, {7, 1}, {0, 1}});
    EXPECT_LT(points[0].x, points[1].x);
    EXPECT_TRUE(networklayout_arrange(0, {{0, 1}}).empty());
}

TEST(NetworkLayout, PiecesStandBelowEachOther) {
    // A tree of three nodes at 2, one of two at 4, and three nodes alone.
    const Points points = networklayout_arrange(8, {{3, 4}, {0, 2}, {1, 2}});
    EXPECT_TRUE(isDistinct(points));
    const double ofFirst = std::min(points[0].y, points[1].y);
    EXPECT_LT(points[3].y, ofFirst);  // the smaller piece is below
    for (const size_t alone : {size_t{5}, size_t{6}, size_t{7}}) {
        EXPECT_LT(points[alone].y, points[3].y);
    }
    EXPECT_EQ(points[2].x, points[4].x);  // both outfalls
}

TEST(NetworkLayout, BranchesOfATreeDoNotCross) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const Links links = makeTree(60, seed);
        const Points points = networklayout_arrange(60, links);
        ASSERT_TRUE(isDistinct(points)) << seed;
        for (size_t a = 0; a < links.size(); ++a) {
            ASSERT_LT(points[links[a].from].x, points[links[a].to].x) << seed;
            for (size_t b = 0; b < a; ++b) {
                ASSERT_FALSE(
                    areCrossing(points[links[a].from], points[links[a].to], points[links[b].from], points[links[b].to]))
                    << seed << ": links " << a << " and " << b;
            }
        }
    }
}

TEST(NetworkLayout, AnyNetworkGetsDistinctPlacesAndIsDrawnTheSameTwice) {
    std::mt19937 random(5);
    for (int k = 0; k < 50; ++k) {
        Links links;
        const size_t count = 2 + random() % 40;
        for (size_t link = random() % 80; link-- > 0;) {
            links.push_back({random() % count, random() % count});
        }
        const Points points = networklayout_arrange(count, links), again = networklayout_arrange(count, links);
        ASSERT_TRUE(isDistinct(points)) << k;
        for (size_t node = 0; node < count; ++node) {
            ASSERT_EQ(points[node].x, again[node].x);
            ASSERT_EQ(points[node].y, again[node].y);
        }
    }
}

TEST(NetworkLayout, ASewerOfAHundredThousandLinksHasRoom) {
    Links links;
    constexpr size_t COUNT = 100001;
    for (size_t node = 0; node + 1 < COUNT; ++node) {
        links.push_back({node, node + 1});
    }
    const std::vector<size_t> depths = networklayout_measureDepths(COUNT, links);
    EXPECT_EQ(depths.front(), COUNT - 1);
    const Points points = networklayout_arrange(COUNT, links);
    EXPECT_LT(points.front().x, points.back().x);
}

TEST(NetworkLayout, WhoHasAPlaceKeepsIt) {
    // 0 and 3 are given, 1 and 2 lie between them; 4 is alone.
    Points points{{100.0, 50.0}, {NONE, NONE}, {NONE, NONE}, {400.0, 50.0}, {NONE, NONE}};
    networklayout_fill(points, {{0, 1}, {1, 2}, {2, 3}});
    EXPECT_EQ(points[0].x, 100.0);
    EXPECT_EQ(points[3].x, 400.0);
    EXPECT_TRUE(isDistinct(points));
    const auto measure = [&](size_t a, size_t b) {
        return std::hypot(points[a].x - points[b].x, points[a].y - points[b].y);
    };
    EXPECT_LT(measure(0, 1), 150.0);
    EXPECT_LT(measure(3, 2), 150.0);
    EXPECT_LT(points[4].y, std::min({points[0].y, points[1].y, points[2].y, points[3].y}));
}

TEST(NetworkLayout, NobodyHasAPlace) {
    Points points(3, LayoutPoint{NONE, NONE});
    networklayout_fill(points, {{0, 1}});
    EXPECT_TRUE(isDistinct(points));
}

TEST(NetworkLayout, AreasStandBesideTheNodeTheyDrainTo) {
    const Points nodes = networklayout_arrange(3, {{0, 2}, {1, 2}});
    Points areas(5, LayoutPoint{NONE, NONE});
    areas[4] = {7.0, 8.0};
    networklayout_attach(nodes, {0, 0, 1, LAYOUT_NONE, 1}, 1.0, areas);
    for (const size_t area : {size_t{0}, size_t{1}}) {
        EXPECT_LT(std::hypot(areas[area].x - nodes[0].x, areas[area].y - nodes[0].y), 1.0);
    }
    EXPECT_LT(std::hypot(areas[2].x - nodes[1].x, areas[2].y - nodes[1].y), 1.0);
    EXPECT_LT(areas[3].y, std::min({nodes[0].y, nodes[1].y, areas[0].y, areas[1].y, areas[2].y}));
    EXPECT_EQ(areas[4].x, 7.0);
    Points all = nodes;
    all.insert(all.end(), areas.begin(), areas.end());
    EXPECT_TRUE(isDistinct(all));
}
