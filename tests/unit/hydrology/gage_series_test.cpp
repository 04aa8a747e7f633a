// Rain gages that don't have their series to themselves: several gages of subcatchments, gages that only LID nodes
// name, gages that nobody names, and inflows.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "hydrology/gage.h"
#include "nodes/node.h"
#include "support/land.h"
#include "support/model.h"
#include "text/datetime.h"

namespace {

/// A subcatchment on a gage, which names it too.
std::string getSubcatch(const std::string& gage) {
    return "S" + gage + " " + gage + " O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
}

/// The default project with the gages of these lines, each used by the subcatchments named.
LandProject makeProject(const std::string& gages, const std::vector<std::string>& used) {
    LandProject project;
    project.gages = gages;
    project.subcatchs = "";
    for (const std::string& gage : used) {
        project.subcatchs += getSubcatch(gage);
    }
    return project;
}

/// A trench as a node, on the gage U.
const std::string LID_NODE =
    "[LID_MONOS]\nM IT U 100 0 0 100\n[CONNECTIONS]\nC M O NO 0\n[LIDS]\nIT IT\nIT STORAGE 500 1 0\n";

const std::string INFLOW_ON_T = "[INFLOWS]\nO FLOW FLOW 0 T 1\n";

std::string sharedError(const std::string& gage) {
    return "\n  \n  ERROR 159: time series for Rain Gage " + gage + " is also used by another object.";
}

std::string formatError(const std::string& gage) {
    return "\n  \n  ERROR 900: inconsistent rainfall format for Rain Gage " + gage + ".";
}

class GageSeriesTest : public LandTest {};

// --- gages of subcatchments ----------------------------------------------------------------------------------------

TEST_F(GageSeriesTest, SeriesOfAnInflowAndTheFormatAreTestedEachByItself) {
    LandProject project = makeProject("G INTENSITY 0:05 T\nH VOLUME 0:05 T\nI INTENSITY 0:05 T\n", {"G", "H", "I"});
    project.more = INFLOW_ON_T;
    EXPECT_TRUE(failsWith(project, 159, sharedError("G") + sharedError("H") + formatError("H") + sharedError("I")))
        << "gage by gage, and a gage on an inflow's series leads and follows all the same";
}

TEST_F(GageSeriesTest, EveryFollowerIsComparedWithTheFirst) {
    const LandProject project = makeProject("G INTENSITY 0:05 T\nH VOLUME 0:05 T\nI VOLUME 0:05 T\n", {"G", "H", "I"});
    EXPECT_TRUE(failsWith(project, 900, formatError("H") + formatError("I"))) << "I equals H, but not the leader G";
}

TEST_F(GageSeriesTest, EveryFollowerFollowsTheFirst) {
    ASSERT_EQ(open(makeProject("G VOLUME 0:05 T\nH VOLUME 0:05 T\nI VOLUME 0:05 T\n", {"G", "H", "I"})), 0);
    EXPECT_EQ(testModel().gages[0].coGage, -1);
    EXPECT_EQ(testModel().gages[1].coGage, 0);
    EXPECT_EQ(testModel().gages[2].coGage, 0) << "not the follower ahead of it";
}

TEST_F(GageSeriesTest, FollowerFindsItsEventsByItsOwnInterval) {
    LandProject project = makeProject("G VOLUME 0:05 T\nH VOLUME 0:10 T\n", {"G", "H"});
    project.series = "T 0:00 3\nT 0:05 4\nT 0:10 0\nT 1:00 0\n";
    ASSERT_EQ(start(project), 0);
    ASSERT_EQ(testModel().gages[1].coGage, 0);
    // Samples of G: 3, 4, 0 ...; of H, every ten minutes: 3, 0 ...
    const double totals[] = {3.0 + 4.0, 3.0};
    for (size_t k = 0; k < 2; ++k) {
        ASSERT_NE(testModel().gages[k].events, nullptr) << "no event of gage " << testModel().gages[k].name;
        EXPECT_NEAR(testModel().gages[k].events->total, totals[k], 1e-7) << testModel().gages[k].name;
        EXPECT_EQ(testModel().gages[k].events->next, nullptr) << "a second event of gage " << testModel().gages[k].name;
    }
}

// --- gages of LID nodes --------------------------------------------------------------------------------------------

TEST_F(GageSeriesTest, GageOfALidNodeAloneMayShareTheSeriesOfAnInflow) {
    LandProject project = makeProject("G INTENSITY 0:05 T2\nU INTENSITY 0:05 T\n", {"G"});
    project.series += "T2 0:00 6\n";
    project.more = LID_NODE + INFLOW_ON_T;
    ASSERT_EQ(open(project), 0) << readReport();
    EXPECT_EQ(testModel().gages[1].isUsed, 1) << "it rains there all the same";
}

TEST_F(GageSeriesTest, GageOfALidNodeAloneNeitherLeadsNorFollows) {
    LandProject project = makeProject("U VOLUME 0:05 T\nG INTENSITY 0:05 T\n", {"G"});
    project.more = LID_NODE;
    ASSERT_EQ(open(project), 0) << "formats may differ\n" << readReport();
    EXPECT_EQ(testModel().gages[0].coGage, -1);
    EXPECT_EQ(testModel().gages[1].coGage, -1);
    tarnvelde_close();
    project.gages = "G INTENSITY 0:05 T\nU VOLUME 0:05 T\n";
    ASSERT_EQ(open(project), 0) << "nor behind the other\n" << readReport();
    EXPECT_EQ(testModel().gages[0].coGage, -1);
    EXPECT_EQ(testModel().gages[1].coGage, -1);
}

TEST_F(GageSeriesTest, GageOfALidNodeAloneAndAnotherMissWhatTheOtherHasRead) {
    LandProject project = makeProject("U INTENSITY 0:05 T\nG INTENSITY 0:05 T\n", {"G"});
    project.series = "T 0:00 12\nT 0:05 24\nT 0:10 36\nT 0:15 48\nT 0:20 60\n";
    project.more = LID_NODE;
    ASSERT_EQ(start(project), 0) << readReport();
    // Both begin at the front, with 12 and then 24. In the second period U reads on to 36 and G to 48; in the third U
    // reads 60, and nothing is left for G.
    const std::array<double, 5> ofU = {12.0, 24.0, 36.0, 0.0, 60.0};
    const std::array<double, 5> ofG = {12.0, 24.0, 0.0, 48.0, 0.0};
    for (size_t k = 0; k < 5; ++k) {
        gage_advance(testModel(),
                     datetime_addSeconds(testModel().options.startDateTime, 300.0 * static_cast<double>(k)));
        EXPECT_NEAR(testModel().gages[0].rain / ONE_MM_PER_HOUR, ofU[k], 1e-12) << "U, period " << k;
        EXPECT_NEAR(testModel().gages[1].rain / ONE_MM_PER_HOUR, ofG[k], 1e-12) << "G, period " << k;
    }
}

// --- gages of nobody -----------------------------------------------------------------------------------------------

/// An outfall with two records, so that the series Q of the flow, the older one, isn't rewound at the start.
class UnusedGageTest : public LandTest {
protected:
    /// Lateral flow after the first two minutes of two runs, with these gages.
    void run(const std::string& gages) {
        LandProject project = makeProject(gages, {});
        project.times =
            "START_DATE 2021/03/01\nSTART_TIME 10\nEND_DATE 2021/03/01\nEND_TIME 11\n"
            "RUNOFF_STEP 0:05:00\nROUTING_STEP 0:01:00\nREPORT_STEP 0:05:00\n";
        project.series =
            "Q 10:00 1\nQ 10:10 5\nQ 10:30 2\nQ 10:50 7\n"
            "Z 10:00 1\nZ 10:10 5\nZ 10:30 2\nZ 10:50 7\n";
        project.more = "[POLLUTANTS]\nP 0\n[INFLOWS]\nO FLOW FLOW 0 Q 1\nO MASS P 0 Z 1\n";
        ASSERT_EQ(open(project), 0) << readReport();
        for (std::array<double, 2>& flows : runs) {
            ASSERT_EQ(tarnvelde_start(0), 0);
            for (double& flow : flows) {
                ASSERT_EQ(tarnvelde_step(nullptr), 0);
                flow = testModel().nodes[0].newLatFlow;
            }
            runToEnd();
            tarnvelde_end();
        }
    }

    std::array<std::array<double, 2>, 2> runs{};
};

/// The line through two points.
double getOnLine(double x, double x1, double y1, double x2, double y2) {
    return y1 + (x - x1) * (y2 - y1) / (x2 - x1);
}

constexpr double MINUTE = 1.0 / 1440.0;  ///< days

TEST_F(UnusedGageTest, WithoutItTheSeriesIsALineFromTheOriginToItsSecondEntry) {
    run("");
    const double ten = datetime_encodeDate(2021, 3, 1) + 600.0 * MINUTE;
    const double first = getOnLine(ten + 1.0 * MINUTE, 0.0, 0.0, ten + 10.0 * MINUTE, 5.0);
    const double second = getOnLine(ten + 2.0 * MINUTE, 0.0, 0.0, ten + 10.0 * MINUTE, 5.0);
    for (const std::array<double, 2>& flows : runs) {
        EXPECT_NEAR(flows[0], first, 1e-9);
        EXPECT_NEAR(flows[1], second, 1e-9);
    }
}

TEST_F(UnusedGageTest, ItsSearchForEventsLeavesTheSeriesOfAnInflowAtItsEnd) {
    run("U INTENSITY 0:05 Q\n");
    // The search ends between the last two entries. The first question, a millisecond late, lies ahead of them: the
    // last entry is taken for the one before, and the second, 10:10 5, for the next. The second question then finds the
    // second entry on both sides.
    const double late = 1.0 / 60000.0;  // minutes
    const double first = getOnLine(1.0 + late, 50.0, 7.0, 10.0, 5.0);
    for (const std::array<double, 2>& flows : runs) {
        EXPECT_NEAR(flows[0], first, 1e-8);
        EXPECT_EQ(flows[1], 5.0);
    }
}

}  // namespace
