// What a step adds to the statistics of a node and of a link.

#include "model/statistics.h"

#include <gtest/gtest.h>

#include <limits>

static constexpr double DT = 60.0;

TEST(StatisticsOfAStep, OfALinkAreItsVolumeAndItsLargestFlow) {
    Link link{};
    for (const double flow : {0.5, 2.0, 1.0}) {
        link.newFlow = flow;
        statistics_countLink(link, DT);
    }
    EXPECT_EQ(link.statFlowVolume, 60.0 * 3.5);
    EXPECT_EQ(link.statMaxFlow, 2.0);
}

TEST(StatisticsOfAStep, OfANodeAreItsVolumeAndItsLargestInflow) {
    Node node{};
    for (const double flow : {0.25, 0.0, 4.0, 0.75}) {
        node.newInflow = flow;
        statistics_countNode(node, DT);
    }
    EXPECT_EQ(node.statInflowVolume, 60.0 * 5.0);
    EXPECT_EQ(node.statMaxInflow, 4.0);
}

TEST(StatisticsOfAStep, OfANegativeFlowLowerTheVolumeAndNotTheLargestFlow) {
    Link link{};
    link.newFlow = -2.0;
    statistics_countLink(link, DT);
    EXPECT_EQ(link.statFlowVolume, -120.0);
    EXPECT_EQ(link.statMaxFlow, 0.0);
}

TEST(StatisticsOfAStep, MaximumKeepsItsPlaceAgainstWhatIsNoNumber) {
    double maximum = 3.0;
    statistics_keepMaximum(maximum, std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(maximum, 3.0);
    statistics_keepMaximum(maximum, 3.5);
    EXPECT_EQ(maximum, 3.5);
}
