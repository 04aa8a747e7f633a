// LID groups: lines, good and bad, and the validation of their units.

#include "hydrology/lidgroup.h"

#include <gtest/gtest.h>

#include <string>

#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/project.h"
#include "support/lids.h"
#include "support/model.h"

namespace {

TEST(GroupLine, UnitsStandInTheOrderOfTheirLines) {
    LidProject project = withLids("A RB\nB RB\n");
    project.groups = "S A 100 2 50 25\nS B 200 3 150 0 DRAIN\nS A 100 2 50 25\n";
    const OpenLids open(project);
    ASSERT_EQ(open.code, 0);
    const Table<LidUnit>& units = testModel().lidUnits;
    ASSERT_EQ(units.size(), 3);
    EXPECT_EQ(testModel().lidGroups[0].firstUnit, 0);
    EXPECT_EQ(units[0].next, 1);
    EXPECT_EQ(units[1].next, 2);
    EXPECT_EQ(units[2].next, -1);
    EXPECT_EQ(units[0].area, 100.0);
    EXPECT_EQ(units[0].fullWidth, 2.0);
    EXPECT_EQ(units[0].initialSaturation, 0.5);
    EXPECT_EQ(units[0].fromImpervious, 0.25);
    EXPECT_EQ(units[1].lid, 1);
    EXPECT_EQ(units[1].drainNode, 1);
    EXPECT_NE(units[0].thisDrainLoad, units[2].thisDrainLoad) << "two units of one kind share nothing";
}

TEST(GroupLine, WithoutPollutantsIsRead) {
    LidProject project = withLids("A RB\n");
    project.groups = "S A 100 2 50 25\n";
    project.pollutants = "";
    const OpenLids open(project);
    EXPECT_EQ(open.code, 0);
}

TEST(GroupLine, LostMemoryIsTold) {
    LidProject project = withLids("A RB\n");
    project.groups = "S A 100 2 50 25\n";
    const std::string text = project.text();
    // The arrays of the unit are the last request of the reading.
    std::string report;
    bool isTold = false;
    for (int64_t count = 1; count < 200 && !isTold; ++count) {
        Project file(text);
        arena_failAfter(count);
        file.open();
        arena_failAfter(0);
        tarnvelde_close();
        report = file.getReport();
        isTold = report.find(getLineError(text, "ERROR 101: memory allocation error.", "[LID_GROUPS]",
                                          "S A 100 2 50 25")) != std::string::npos;
    }
    EXPECT_TRUE(isTold);
}

class BadGroup : public ::testing::TestWithParam<BadLidLine> {};

TEST_P(BadGroup, IsTold) {
    LidProject project = withLids("A RB\n");
    project.groups = std::string(GetParam().line) + "\n";
    const std::string text = project.text();
    const OpenResult result = openProject(text);
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.report, getLineError(text, GetParam().message, "[LID_GROUPS]", GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(All, BadGroup,
                         ::testing::Values(BadLidLine{"S A 1 1 1", TOO_FEW_ITEMS},
                                           BadLidLine{"X A 1 1 1 1", "ERROR 209: undefined object X"},
                                           BadLidLine{"S X 1 1 1 1", "ERROR 209: undefined object X"},
                                           BadLidLine{"X Y 0 1 1 1", "ERROR 209: undefined object X"},
                                           BadLidLine{"S A 0 1 1 1", "ERROR 211: invalid number 0"},
                                           BadLidLine{"S A nan 1 1 1", "ERROR 211: invalid number nan"},
                                           BadLidLine{"S A 1 -1 1 1", "ERROR 211: invalid number -1"},
                                           BadLidLine{"S A 1 nan 1 1", "ERROR 211: invalid number nan"},
                                           BadLidLine{"S A 1 1 1x 1", "ERROR 211: invalid number 1x"},
                                           BadLidLine{"S A 1 1 1 -1", "ERROR 211: invalid number -1"},
                                           BadLidLine{"S A 1 1 1 1 X", "ERROR 209: undefined object X"},
                                           BadLidLine{"S A 1 1 1 1 *", "ERROR 209: undefined object *"},
                                           BadLidLine{"S A 1 1 1 1 \"\"", "ERROR 209: undefined object  "},
                                           // of several faults the first counts, with the drain node last
                                           BadLidLine{"S X 0 1 1 1", "ERROR 209: undefined object X"},
                                           BadLidLine{"S A 0 -1 1 1", "ERROR 211: invalid number 0"},
                                           BadLidLine{"S A 1 1 1 -1 X", "ERROR 211: invalid number -1"}));

// --- validation of units -------------------------------------------------------------------------------------------

TEST(UnitValidation, AreaIsSummedAndAFullCoverIsMadeExact) {
    const std::vector<std::pair<std::string, double>> cases = {{"S A 400 1 0 0\nS A 600 1 0 0\n", 1000.0},
                                                               {"S A 9990 1 0 0\n", 9990.0},
                                                               {"S A 9991 1 0 0\n", 10000.0},
                                                               {"S A 10009 1 0 0\n", 10000.0}};
    for (const auto& [groups, lidArea] : cases) {
        LidProject project = withLids("A RB\n");
        project.groups = groups;
        const OpenLids open(project);
        ASSERT_EQ(open.code, 0) << groups;
        EXPECT_EQ(testModel().subcatches[0].lidArea, lidArea) << groups;
    }
}

TEST(UnitValidation, UnitsWithoutANodeDrainToTheOutletAndSaturationIsLimited) {
    LidProject project = withLids("A RB\n");
    project.groups = "S A 1 1 150 0\nS A 1 1 0 0 DRAIN\n";
    const OpenLids open(project);
    EXPECT_EQ(testModel().lidUnits[0].drainNode, 0);
    EXPECT_EQ(testModel().lidUnits[0].initialSaturation, 1.0);
    EXPECT_EQ(testModel().lidUnits[1].drainNode, 1);
}

TEST(UnitValidation, ErrorsGoUnitByUnitThenAreaThenShare) {
    LidProject project = withLids(GOOD_LIDS[LID_VS]);
    project.groups = "S A 9000 0 0 60\nS A 9000 0 0 60\n";
    const OpenResult result = openProject(project.text());
    const std::string width = getLidError("ERROR 703: invalid parameter value for LID A - invalid swale width.");
    EXPECT_EQ(result.report, width + width + getLidError("ERROR 705: LID area exceeds total area for Subcatchment S.") +
                                 getLidError("ERROR 707: LID capture area exceeds total area for Subcatchment S."));
    EXPECT_EQ(result.code, 707);
}

TEST(UnitValidation, AreaMayExceedByAThousandth) {
    LidProject project = withLids("A RB\n");
    project.groups = "S A 10010 1 0 0\n";
    EXPECT_EQ(openProject(project.text()).code, 705);
    // The product is not quite 10010, and an area of exactly as much passes.
    static_assert(10000.0 * 1.001 == 10009.999999999998);
    project.groups = "S A 10009.999999999998 1 0 0\n";
    EXPECT_EQ(openProject(project.text()).code, 0);
    project.groups = "S A 10010.1 1 0 0\n";
    EXPECT_EQ(openProject(project.text()).code, 705);
}

TEST(UnitValidation, SharesMaySumToAThousandthMore) {
    LidProject project = withLids("A RB\n");
    project.groups = "S A 1 1 0 100.1\n";
    EXPECT_EQ(openProject(project.text()).code, 0);
    project.groups = "S A 1 1 0 100.2\n";
    EXPECT_EQ(openProject(project.text()).code, 707);
}

TEST(UnitValidation, ComesBeforeTheTimeSteps) {
    LidProject project = withLids("A BC\n");
    project.options = "RUNOFF_STEP 0:00:30\n";
    EXPECT_EQ(openProject(project.text()).report,
              getLidError("ERROR 701: missing layer for LID A.") +
                  getLidError("ERROR 179: runoff time step is less than routing time step."));
}

}  // namespace
