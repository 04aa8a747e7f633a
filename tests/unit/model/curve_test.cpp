#include "model/curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "support/lines.h"
#include "support/model.h"
#include "support/tables.h"

struct CurveTest : testing::Test, Tables {
    void SetUp() override {
        addName(CURVE, "C");
        addName(CURVE, "D");
        curve_createAll(testModel());
    }

    static Curve makeCurve(std::vector<CurvePoint> points, int32_t type = TANK_CURVE) {
        return {"C", type, nullptr, std::move(points)};
    }
};

static int32_t readCurve(const char* line) {
    return parseLine(line, curve_readLine);
}

// --- lines ---------------------------------------------------------------------------------------------------------

TEST_F(CurveTest, ACurveGoesOnOverSeveralLines) {
    EXPECT_EQ(readCurve("c TANK 0 1 1 2"), 0);
    EXPECT_EQ(readCurve("C 2 3"), 0);
    ASSERT_EQ(testModel().curves[0].entries.size(), 3u);
    EXPECT_EQ(testModel().curves[0].entries[2].x, 2.0);
    EXPECT_EQ(testModel().curves[0].entries[2].y, 3.0);
    EXPECT_EQ(testModel().curves[0].curveType, TANK_CURVE);
    EXPECT_STREQ(testModel().curves[0].id, "C");
}

TEST_F(CurveTest, ACurveKnowsItsFourTypes) {
    const char* lines[] = {"C tank 1 1", "C PUMP1 1 1", "C Pump2 1 1", "C TRANSECT 1 1"};
    for (int32_t type = 0; type < 4; ++type) {
        curve_createAll(testModel());
        EXPECT_EQ(readCurve(lines[type]), 0);
        EXPECT_EQ(testModel().curves[0].curveType, type);
    }
}

TEST_F(CurveTest, ACurveLineIsRefused) {
    expectLineError("C TANK", curve_readLine, ERR_ITEMS, "");
    expectLineError("X TANK 1 2", curve_readLine, ERR_UNDEFINED_OBJECT, "X");
    expectLineError("C TANK 1", curve_readLine, ERR_ITEMS, "");
    expectLineError("C 1 x", curve_readLine, ERR_NUMBER, "x");
    expectLineError("C y 1", curve_readLine, ERR_NUMBER, "y");
    EXPECT_EQ(readCurve("C -1 -2"), 0);  // neither sign nor order is tested here
}

TEST_F(CurveTest, ACurveOfABadTypeGoesOnWithoutOne) {
    expectLineError("C WEIR 1 2", curve_readLine, ERR_KEYWORD, "WEIR");
    EXPECT_EQ(readCurve("C 3 4"), 0);
    EXPECT_EQ(testModel().curves[0].curveType, -1);
    ASSERT_EQ(testModel().curves[0].entries.size(), 1u);
    EXPECT_EQ(testModel().curves[0].entries[0].x, 3.0);
}

TEST_F(CurveTest, ACurveKeepsThePairsBeforeABadOne) {
    expectLineError("C TANK 1 2 3 x", curve_readLine, ERR_NUMBER, "x");
    EXPECT_EQ(testModel().curves[0].entries.size(), 1u);
}

// --- validation ----------------------------------------------------------------------------------------------------

TEST_F(CurveTest, XMustGrow) {
    EXPECT_EQ(curve_validate(makeCurve({{0, 1}, {1, 5}, {1.25, 2}})), 0);
    EXPECT_EQ(curve_validate(makeCurve({{0, 1}, {3, 5}, {3, 6}})), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(curve_validate(makeCurve({{5, 1}, {4, 5}})), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(curve_validate(makeCurve({{7, 8}})), 0);
    EXPECT_EQ(curve_validate(makeCurve({})), 0);
}

TEST_F(CurveTest, ATransectMayGoStraightUp) {
    EXPECT_EQ(curve_validate(makeCurve({{0, 1}, {0, 5}, {1, 5}}, TRANSECT_CURVE)), 0);
    EXPECT_EQ(curve_validate(makeCurve({{0, 1}, {0, 1}}, TRANSECT_CURVE)), ERR_CURVE_SEQUENCE);
    EXPECT_EQ(curve_validate(makeCurve({{1, 1}, {0, 5}}, TRANSECT_CURVE)), ERR_CURVE_SEQUENCE);
}

// --- interpolation -------------------------------------------------------------------------------------------------

TEST_F(CurveTest, TheLineGoesThroughBothPointsAndBeyond) {
    const CurvePoint a{2.0, 10.0}, b{4.0, 16.0};
    EXPECT_EQ(curve_interpolate(a, b, 2.0), 10.0);
    EXPECT_EQ(curve_interpolate(a, b, 3.0), 13.0);
    EXPECT_EQ(curve_interpolate(a, b, 4.0), 16.0);
    EXPECT_EQ(curve_interpolate(b, a, 5.0), 19.0);
}

TEST_F(CurveTest, PointsAtTheSameXHaveTheirMean) {
    EXPECT_EQ(curve_interpolate({2.0, 10.0}, {2.0, 16.0}, 7.0), 13.0);
    EXPECT_EQ(curve_interpolate({0.0, 10.0}, {0.9e-20, 16.0}, 0.0), 13.0);
    EXPECT_EQ(curve_interpolate({0.0, 10.0}, {1.1e-20, 16.0}, 0.0), 10.0);
}

// --- inverse -------------------------------------------------------------------------------------------------------

/// Volume below a depth by the trapezoidal rule over fine slices: independent of the closed form.
static double getVolume(const std::vector<CurvePoint>& entries, double depth) {
    const auto area = [&](double x) {
        double x1 = 0.0, y1 = 0.0;
        for (const CurvePoint& e : entries) {
            if (x <= e.x) {
                return y1 + (e.y - y1) * (x - x1) / (e.x - x1);
            }
            x1 = e.x;
            y1 = e.y;
        }
        const CurvePoint &b = entries.back(), &a = entries[entries.size() - 2];
        return b.y + (b.y - a.y) / (b.x - a.x) * (x - b.x);
    };
    double volume = 0.0;
    const int slices = 20000;
    for (int k = 0; k < slices; ++k) {
        volume += area(depth * (k + 0.5) / slices) * depth / slices;
    }
    return volume;
}

TEST_F(CurveTest, TheInverseFindsTheDepthOfAVolume) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0.1, 1.0);
    for (int trial = 0; trial < 20; ++trial) {
        std::vector<CurvePoint> entries;
        double x = 0.0;
        for (int k = 0; k < 4; ++k) {
            x += unit(random);
            entries.push_back({x, 100.0 * unit(random)});
        }
        entries.back().y = entries[2].y + 5.0;  // so that the last slope can go on
        const Curve table = makeCurve(entries);
        for (double depth = 0.05; depth < x + 0.5; depth += 0.3) {
            EXPECT_NEAR(curve_inverseLookup(table, getVolume(entries, depth)), depth, 1e-4);
        }
    }
}

TEST_F(CurveTest, TheInverseHasItsSpecialPlaces) {
    const Curve box = makeCurve({{2, 10}, {4, 10}});
    EXPECT_EQ(curve_inverseLookup(box, -1.0), 0.0);
    EXPECT_EQ(curve_inverseLookup(box, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(box, 10.0), 2.0);  // the first stretch is a cone: 10 * 2 / 2
    EXPECT_DOUBLE_EQ(curve_inverseLookup(box, 25.0), 3.5);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(box, 40.0), 5.0);  // beyond the end at constant area
    EXPECT_EQ(curve_inverseLookup(makeCurve({}), 5.0), 0.0);
    EXPECT_EQ(curve_inverseLookup(makeCurve({{2, 0}}), 0.0), 0.0);
    EXPECT_EQ(curve_inverseLookup(makeCurve({{2, 0}}), 5.0), 2.0);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(makeCurve({{2, 4}}), 8.0), 3.0);
}

TEST_F(CurveTest, TheInverseStopsWhereANarrowingStoreHasNoMoreRoom) {
    const Curve cone = makeCurve({{0, 10}, {1, 5}});  // 7.5 m3 at 1 m, and 2.5 m3 more up to the tip
    EXPECT_DOUBLE_EQ(curve_inverseLookup(cone, 7.5), 1.0);
    EXPECT_DOUBLE_EQ(curve_inverseLookup(cone, 10.0), 2.0);
    EXPECT_EQ(curve_inverseLookup(cone, 11.0), 1.0);  // no root: the end of the curve, and never a NaN
}

TEST_F(CurveTest, TheInverseOfNoNumberIsTheEndOfTheCurve) {
    EXPECT_EQ(curve_inverseLookup(makeCurve({{0, 100}, {9, 100}}), std::nan("")), 9.0);
    EXPECT_EQ(curve_inverseLookup(makeCurve({{1, 100}}), std::nan("")), 1.0);
}
