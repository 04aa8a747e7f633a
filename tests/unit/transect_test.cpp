#include "links/transect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

struct TransectTest : testing::Test {
    Arena arena{};
    std::vector<CurvePoint> points;
    const Transect* transect = nullptr;

    ~TransectTest() override { arena_release(arena); }

    void make(const std::vector<CurvePoint>& bed) {
        arena_release(arena);
        points = bed;
        transect = transect_make(arena, points.data(), static_cast<int32_t>(points.size()));
        ASSERT_NE(transect, nullptr);
    }
    double getArea(double depth) const { return transect_getArea(*transect, depth); }
    double getPerimeter(double depth) const { return transect_getPerimeter(*transect, depth); }
};

}  // namespace

namespace {

/// Wetted section of a bed by pieces: each piece of the bed is cut at the water line by itself, and the water above it
/// is a triangle or a trapezoid.
struct Wetted {
    double area = 0.0;
    double perimeter = 0.0;
};

}  // namespace

static Wetted clipByPieces(const std::vector<CurvePoint>& bed, double water) {
    Wetted wetted;
    for (size_t k = 1; k < bed.size(); ++k) {
        CurvePoint a = bed[k - 1], b = bed[k];
        if (a.y >= water && b.y >= water) {
            continue;
        }
        const double share = a.y == b.y ? 0.0 : (water - a.y) / (b.y - a.y);
        const CurvePoint cut = {a.x + share * (b.x - a.x), water};
        if (a.y > water) {
            a = cut;
        } else if (b.y > water) {
            b = cut;
        }
        wetted.area += ((water - a.y) + (water - b.y)) / 2.0 * (b.x - a.x);
        wetted.perimeter += std::hypot(b.x - a.x, b.y - a.y);
    }
    return wetted;
}

static double getLowest(const std::vector<CurvePoint>& bed) {
    double lowest = bed[0].y;
    for (const CurvePoint& point : bed) {
        lowest = std::min(lowest, point.y);
    }
    return lowest;
}

TEST_F(TransectTest, OfARectangleIsWidthByDepth) {
    make({{0, 5}, {0, 2}, {4, 2}, {4, 5}});
    EXPECT_EQ(transect->fullDepth, 3.0);
    EXPECT_NEAR(getArea(1.5), 6.0, 1e-9);
    EXPECT_NEAR(getPerimeter(1.5), 7.0, 1e-9);
}

TEST_F(TransectTest, OfATriangleFollowsTheSquareOfTheDepth) {
    make({{-3, 3}, {0, 0}, {3, 3}});
    EXPECT_NEAR(getArea(1.25), 1.25 * 1.25, 1e-9);
    EXPECT_NEAR(getPerimeter(1.25), 2.0 * 1.25 * std::sqrt(2.0), 1e-9);
}

TEST_F(TransectTest, OfATrapezoidHasItsFlatBottom) {
    make({{0, 2}, {2, 0}, {5, 0}, {7, 2}});
    EXPECT_NEAR(getArea(1.0), 4.0, 1e-9);
    EXPECT_NEAR(getPerimeter(1.0), 3.0 + 2.0 * std::sqrt(2.0), 1e-9);
}

TEST_F(TransectTest, AddsUpItsPools) {
    make({{0, 4}, {1, 0}, {2, 0}, {3, 3}, {4, 1}, {6, 1}, {7, 4}});
    const Wetted wetted = clipByPieces(points, 2.0);
    EXPECT_NEAR(getArea(2.0), wetted.area, 1e-9);
    EXPECT_NEAR(getPerimeter(2.0), wetted.perimeter, 1e-9);
}

TEST_F(TransectTest, IsFullAtItsLowerBank) {
    make({{0, 4}, {2, 1}, {5, 3}});
    EXPECT_EQ(transect->fullDepth, 2.0);
    make({{0, 3}, {2, 1}, {5, 4}});
    EXPECT_EQ(transect->fullDepth, 2.0);
}

TEST_F(TransectTest, WithItsLowestPointAtABankHoldsNothing) {
    make({{0, 1}, {2, 3}, {5, 4}});
    EXPECT_EQ(transect->fullDepth, 0.0);
    EXPECT_EQ(getArea(0.0), 0.0);
}

TEST_F(TransectTest, AgreesWithPiecewiseClippingOnRandomBeds) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int bedNumber = 0; bedNumber < 300; ++bedNumber) {
        std::vector<CurvePoint> bed = {{-2.0 + 4.0 * unit(random), 6.0 + unit(random)}};
        const int count = 3 + static_cast<int>(20.0 * unit(random));
        for (int k = 0; k < count; ++k) {
            const CurvePoint last = bed.back();
            const double kind = unit(random);
            const bool isWall = bed.size() > 1 && bed[bed.size() - 2].x == last.x;
            if (kind < 0.2 && !isWall) {
                bed.push_back({last.x, 5.0 * unit(random)});  // a wall; two in a row would run over one another
            } else if (kind < 0.4) {
                bed.push_back({last.x + 0.2 + unit(random), last.y});  // a flat stretch
            } else {
                bed.push_back({last.x + 0.2 + unit(random), 5.0 * unit(random)});
            }
        }
        bed.push_back({bed.back().x + unit(random), 6.0 + unit(random)});
        make(bed);
        const double lowest = getLowest(bed);
        for (int k = 1; k <= 20; ++k) {
            const double depth = transect->fullDepth * (k - unit(random)) / 20.0;
            const Wetted wetted = clipByPieces(bed, lowest + depth);
            EXPECT_NEAR(getArea(depth), wetted.area, 1e-7) << bedNumber << ' ' << depth;
            EXPECT_NEAR(getPerimeter(depth), wetted.perimeter, 1e-7) << bedNumber << ' ' << depth;
        }
    }
}

TEST_F(TransectTest, AgreesWithPiecewiseClippingOfDenseBeds) {
    std::vector<CurvePoint> bed;
    for (int k = 0; k <= 400; ++k) {
        const double x = k * 0.05;
        bed.push_back({x, 3.0 + 0.03 * (x - 10.0) * (x - 10.0) + std::sin(3.0 * x)});
    }
    make(bed);
    for (const double depth : {0.3337, 1.2345, 2.7183}) {
        const Wetted wetted = clipByPieces(bed, getLowest(bed) + depth);
        EXPECT_NEAR(getArea(depth), wetted.area, 1e-7);
        EXPECT_NEAR(getPerimeter(depth), wetted.perimeter, 1e-7);
    }
}

// --- odd places ----------------------------------------------------------------------------------------------------

TEST_F(TransectTest, IsTouchedAndNotEnteredAtATurningPoint) {
    make({{0, 4}, {2, 0}, {4, 2}, {6, 1}, {8, 4}});
    // The water reaches just up to the ridge between two pools: the ridge is no crossing, so one outline holds both.
    const Wetted wetted = clipByPieces(points, 2.0);
    EXPECT_NEAR(getArea(2.0), wetted.area, 1e-9);
    EXPECT_NEAR(getPerimeter(2.0), wetted.perimeter, 1e-9);
}

TEST_F(TransectTest, IsDryWhenTheWaterOnlyTouchesItsLowestPoint) {
    make({{0, 4}, {2, 0}, {4, 4}});
    EXPECT_EQ(getArea(0.0), 0.0);
    EXPECT_EQ(getPerimeter(0.0), 0.0);
}

TEST_F(TransectTest, HasTheWidthOfItsFlatBottomAsPerimeterAtDepth0) {
    make({{0, 2}, {1, 0}, {4, 0}, {5, 2}});
    EXPECT_NEAR(getArea(0.0), 0.0, 1e-12);
    EXPECT_NEAR(getPerimeter(0.0), 3.0, 1e-9);
}

TEST_F(TransectTest, CountsAShelfAtTheWaterLineAsAPoolOfItsOwn) {
    // The shelf is parallel to the water line and gives no crossing; both of its ends do. The water is entered at one
    // end and left at the other, so the way down into the channel enters nothing, and the channel is never closed.
    make({{0, 3}, {1, 2}, {3, 2}, {4, 1}, {5, 3}});
    EXPECT_EQ(getArea(1.0), 0.0);
    EXPECT_NEAR(getArea(1.0 + 1e-6), clipByPieces(points, 2.0 + 1e-6).area, 1e-5);
}

TEST_F(TransectTest, IsHeldBySideWallsAboveItsBanks) {
    make({{0, 2}, {1, 0}, {3, 0}, {4, 3}});
    const double water = 2.5;
    // Up to the bank at 2 the section is that of the bed; above it the left wall stands at station 0.
    const double expected = clipByPieces({{0, 3}, {0, 2}, {1, 0}, {3, 0}, {4, 3}}, water).area;
    EXPECT_NEAR(getArea(water), expected, 1e-9);
}

TEST_F(TransectTest, WithoutPointsIsNothing) {
    make({});
    EXPECT_EQ(getArea(1.0), 0.0);
    EXPECT_EQ(getPerimeter(1.0), 0.0);
}

TEST_F(TransectTest, OfOnePointIsNothing) {
    make({{3, 2}});
    EXPECT_EQ(transect->fullDepth, 0.0);
    EXPECT_EQ(getArea(1.0), 0.0);
    EXPECT_EQ(getPerimeter(1.0), 0.0);
}

TEST_F(TransectTest, WithABankAtTheTopOfTheWallStaysWhole) {
    make({{0, 10000}, {2, 9990}, {4, 10000}});
    EXPECT_NEAR(getArea(5.0), 5.0, 1e-6);
}

TEST_F(TransectTest, TakesElevationsAboveTheWallAsTheyAre) {
    make({{0, 20004}, {2, 20000}, {4, 20004}});
    EXPECT_NEAR(getArea(2.0), 2.0, 1e-6);
}

TEST_F(TransectTest, SurvivesNumbersThatAreNone) {
    make({{0, NAN}, {2, 0}, {NAN, 4}, {INFINITY, 1}});
    getArea(1.0);
    getPerimeter(NAN);
    make({{0, 4}, {2, 0}, {4, 4}});
    EXPECT_EQ(getArea(NAN), 0.0);
}

/// The quick look at a piece far from the water must never change a result: far stations switch it off.
TEST_F(TransectTest, IsTheSameWithTheQuickLookAndWithoutIt) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int bedNumber = 0; bedNumber < 200; ++bedNumber) {
        std::vector<CurvePoint> bed;
        double x = 0.0;
        for (int k = 0; k < 12; ++k) {
            // Heights on a grid, so that the water line often meets points, shelves and nearly flat pieces.
            bed.push_back({x, std::floor(8.0 * unit(random)) / 2.0 + (unit(random) < 0.2 ? 1e-9 : 0.0)});
            x += std::floor(3.0 * unit(random));
            if (k > 0 && bed[bed.size() - 2].x == bed.back().x && bed[bed.size() - 2].y == bed.back().y) {
                bed.pop_back();
            }
        }
        make(bed);
        Transect slow = *transect;
        slow.isPlain = false;
        for (int k = 0; k <= 8; ++k) {
            EXPECT_EQ(getArea(k / 2.0), transect_getArea(slow, k / 2.0)) << bedNumber << ' ' << k;
            EXPECT_EQ(getPerimeter(k / 2.0), transect_getPerimeter(slow, k / 2.0)) << bedNumber << ' ' << k;
        }
    }
}

TEST_F(TransectTest, NeedsMemory) {
    const CurvePoint bed[] = {{0, 1}, {1, 0}, {2, 1}};
    for (int64_t k = 1; k <= 4; ++k) {
        arena_failAfter(k);
        EXPECT_EQ(transect_make(arena, bed, 3), nullptr);
    }
    arena_failAfter(0);
}
