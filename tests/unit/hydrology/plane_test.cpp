// The reservoir of a surface that drains over its edge.

#include "hydrology/plane.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "support/land.h"

namespace {

// --- surface -------------------------------------------------------------------------------------------------------

/// A plane of a hectare at 1 %.
struct Surface {
    double storage = 0.002, area = 10000.0, width = 100.0, slope = 0.01, roughness = 0.015;
    double depth = 0.0;

    double drain(double rain, double evap, double infil, double dt) {
        SlopeRoot root{};
        SheetPower sheet{};
        return plane_drain({rain, evap, infil, storage, area, width, slope, roughness}, depth, sheet, root, dt);
    }
    double alpha() const { return std::sqrt(slope) * width / area / roughness; }
    double flowAt(double d) const { return d > storage ? alpha() * std::pow(d - storage, 5.0 / 3.0) * area : 0.0; }
};

TEST(Surface, KnowsThePowerOfTheSheetThatItLeft) {
    const Surface surface;
    const Plane plane{0.0, 0.0, 0.0, surface.storage, surface.area, surface.width, surface.slope, surface.roughness};
    SlopeRoot root{};
    SheetPower kept{}, none{};
    double depth = 0.02, other = 0.02;
    for (int step = 0; step < 20; ++step) {
        none = {};
        EXPECT_EQ(plane_drain(plane, depth, kept, root, 60.0), plane_drain(plane, other, none, root, 60.0));
        EXPECT_EQ(depth, other);
        EXPECT_EQ(kept.height, depth - surface.storage);
        EXPECT_EQ(kept.power, std::pow(depth - surface.storage, 1.6666666666666667));
    }
    depth = other = 0.01;  // another sheet than the one that is known
    none = {};
    EXPECT_EQ(plane_drain(plane, depth, kept, root, 60.0), plane_drain(plane, other, none, root, 60.0));
}

TEST(Surface, DriesOutWhereLossesTakeAll) {
    Surface surface;
    surface.depth = 0.003;
    EXPECT_EQ(surface.drain(1e-5, 1e-5, 1e-5, 300.0), 0.0);
    EXPECT_EQ(surface.depth, 0.0);
}

TEST(Surface, FillsUpToItsStorageWithoutFlow) {
    Surface surface;
    EXPECT_EQ(surface.drain(0.5e-5, 0.0, 0.0, 300.0), 0.0);
    EXPECT_DOUBLE_EQ(surface.depth, 0.0015);
    surface.depth = 0.0;
    surface.storage = 0.5;
    EXPECT_EQ(surface.drain(0.5, 0.0, 0.0, 1.0), 0.0) << "exactly full";
    EXPECT_EQ(surface.depth, 0.5);
}

TEST(Surface, BelowItsStorageItKeepsWaterWhileItDrains) {
    Surface surface;
    surface.depth = 0.0019;
    surface.drain(0.0, 1e-6, 0.0, 300.0);
    EXPECT_DOUBLE_EQ(surface.depth, 0.0016);
}

TEST(Surface, FillingTakesItsTimeOffTheStep) {
    // 1 mm is missing, at 1e-5 m/s: 100 s; 200 s are left for the flow from a full storage on.
    Surface cut, full;
    cut.depth = 0.001;
    full.depth = 0.002;
    const double flow = cut.drain(1e-5, 0.0, 0.0, 300.0);
    EXPECT_NEAR(flow, full.drain(1e-5, 0.0, 0.0, 200.0), 1e-15);
    EXPECT_NEAR(cut.depth, full.depth, 1e-15);
    EXPECT_GT(flow, 0.0);
}

/// The classical Runge-Kutta step of order four, written out.
double stepClassical(const Surface& s, double inflow, double dt) {
    const auto g = [&](double d) { return inflow - s.flowAt(d) / s.area; };
    const double k1 = g(s.depth), k2 = g(s.depth + dt / 2.0 * k1), k3 = g(s.depth + dt / 2.0 * k2),
                 k4 = g(s.depth + dt * k3);
    return s.depth + dt * (k1 / 6.0 + k2 / 3.0 + k3 / 3.0 + k4 / 6.0);
}

TEST(Surface, ExactlyFullItRoutesTheWholeStep) {
    Surface surface;
    surface.depth = surface.storage;
    const double expected = stepClassical(surface, 1e-5, 300.0);
    const double flow = surface.drain(1e-5, 0.0, 0.0, 300.0);
    EXPECT_NEAR(surface.depth, expected, 1e-15);
    EXPECT_NEAR(flow, surface.flowAt(expected), 1e-12);
}

TEST(Surface, SteadyFlowIsTheInflowAndManningsSheet) {
    Surface surface;
    double flow = 0.0;
    for (int32_t k = 0; k < 2000; ++k) {
        flow = surface.drain(2e-5, 3e-6, 2e-6, 60.0);
    }
    EXPECT_NEAR(flow, 1.5e-5 * surface.area, 1e-9);
    const double sheet = surface.depth - surface.storage;
    EXPECT_NEAR(flow, surface.width / surface.roughness * std::sqrt(surface.slope) * std::pow(sheet, 5.0 / 3.0), 1e-9);
}

TEST(Surface, ConvergesOnTheFineSolutionByTheFourthOrder) {
    const double inflow = 2e-5, total = 1920.0;
    const auto depthBy = [&](int32_t steps) {
        Surface surface;
        surface.depth = 0.01;
        for (int32_t k = 0; k < steps; ++k) {
            surface.drain(inflow, 0.0, 0.0, total / steps);
        }
        return surface.depth;
    };
    // The midpoint rule with very small steps, independent of the scheme tested.
    Surface fine;
    double depth = 0.01;
    const int32_t n = 400000;
    for (int32_t k = 0; k < n; ++k) {
        const double h = total / n;
        const double middle = depth + h / 2.0 * (inflow - fine.flowAt(depth) / fine.area);
        depth += h * (inflow - fine.flowAt(middle) / fine.area);
    }
    const double coarse = std::fabs(depthBy(8) - depth);
    const double half = std::fabs(depthBy(16) - depth);
    const double quarter = std::fabs(depthBy(32) - depth);
    EXPECT_GT(coarse, 10.0 * half);
    EXPECT_GT(half, 10.0 * quarter);
}

TEST(Surface, FlowIsManningsAtTheDepthItEndsWith) {
    Surface surface;
    surface.depth = 0.01;
    const double flow = surface.drain(1e-5, 0.0, 0.0, 60.0);
    EXPECT_NEAR(flow, surface.flowAt(surface.depth), 1e-12);
}

TEST(Surface, WithoutAreaItEndsFullWithoutFlow) {
    for (const double depth : {0.0, 0.002, 0.01}) {
        Surface surface;
        surface.area = 0.0;
        surface.depth = depth;
        EXPECT_EQ(surface.drain(1e-5, 0.0, 0.0, 300.0), 0.0) << depth;
        EXPECT_EQ(surface.depth, surface.storage) << depth;
    }
    Surface below;
    below.area = 0.0;
    EXPECT_EQ(below.drain(1e-6, 0.0, 0.0, 300.0), 0.0);
    EXPECT_DOUBLE_EQ(below.depth, 0.0003) << "a step that fits into the storage fills it only so far";
}

TEST(Surface, KeepsNoNaN) {
    Surface surface;
    surface.depth = 0.01;
    surface.roughness = 0.0;
    surface.slope = 0.0;
    EXPECT_EQ(surface.drain(1e-5, 0.0, 0.0, 300.0), 0.0);
    EXPECT_EQ(surface.depth, surface.storage);
}

}  // namespace
