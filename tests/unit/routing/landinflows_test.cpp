// The way of runoff from a subcatchment to its node.

#include "routing/landinflows.h"

#include <gtest/gtest.h>

#include <vector>

#include "coupling/swmm.h"
#include "hydrology/runoff.h"
#include "results/rows.h"
#include "support/land.h"
#include "support/model.h"

namespace {

// --- the way to the node -------------------------------------------------------------------------------------------

class OutletTest : public LandTest {
protected:
    void SetUp() override {
        LandProject project;
        project.more = "[POLLUTANTS]\nA 0\n";
        ASSERT_EQ(start(project), 0);
        s = &testModel().subcatches[0];
        s->lastRunoff = 2.0;
        s->thisRunoff = 6.0;
        s->lastQuality[0] = 100.0;
        s->thisQuality[0] = 50.0;
        testModel().clock.oldRunoffTime = 1000.0;
        testModel().clock.newRunoffTime = 5000.0;
        testModel().options.routingStep = 10;
    }

    Subcatch* s;
};

TEST_F(OutletTest, FlowAndLoadAreBetweenTheLastTwoSteps) {
    landinflows_addRunoff(testModel(), 2000.0);
    EXPECT_DOUBLE_EQ(testModel().nodes[0].newLatFlow, 0.75 * 2.0 + 0.25 * 6.0);
    EXPECT_DOUBLE_EQ(testModel().nodes[0].massInflow[0], 0.75 * 0.2 + 0.25 * 0.3) << "of the loads, kg/s";
    EXPECT_DOUBLE_EQ(testModel().totals.flow.wetWeatherInflow, 30.0);
    EXPECT_DOUBLE_EQ(testModel().totals.quality[0].wetWeatherInflow, 10.0 * 0.225);
}

TEST_F(OutletTest, WeightStaysBetweenBothSteps) {
    EXPECT_EQ(subcatch_getWeight(testModel(), 0.0), 0.0);
    EXPECT_EQ(subcatch_getWeight(testModel(), 1000.0), 0.0);
    EXPECT_EQ(subcatch_getWeight(testModel(), 5000.0), 1.0);
    EXPECT_EQ(subcatch_getWeight(testModel(), 9000.0), 1.0);
    testModel().clock.newRunoffTime = testModel().clock.oldRunoffTime;
    EXPECT_EQ(subcatch_getWeight(testModel(), 1000.0), 0.0) << "clocks that stand together";
}

TEST_F(OutletTest, WithoutAreaItDeliversNoFlowButItsLoad) {
    s->area = 0.0;
    landinflows_addRunoff(testModel(), 2000.0);
    EXPECT_EQ(testModel().nodes[0].newLatFlow, 0.0);
    EXPECT_DOUBLE_EQ(testModel().nodes[0].massInflow[0], 0.225);
}

TEST_F(OutletTest, WithoutAnOutletItDeliversNothing) {
    s->outNode = -1;
    landinflows_addRunoff(testModel(), 2000.0);
    EXPECT_EQ(testModel().nodes[0].newLatFlow, 0.0);
    EXPECT_EQ(testModel().totals.flow.wetWeatherInflow, 0.0);
}

TEST_F(OutletTest, OutsideModelIsInNoTotal) {
    testModel().nodes[0].kind = SWMM;
    testModel().swmmNodes.resize(1);
    landinflows_addRunoff(testModel(), 2000.0);
    testModel().swmmNodes.clear();
    testModel().nodes[0].kind = OUTFALL;
    EXPECT_EQ(testModel().nodes[0].newLatFlow, 0.0);
    EXPECT_EQ(testModel().nodes[0].massInflow[0], 0.0);
    EXPECT_EQ(testModel().totals.flow.wetWeatherInflow, 0.0);
    EXPECT_EQ(testModel().totals.quality[0].wetWeatherInflow, 0.0);
}

TEST_F(OutletTest, RowHoldsRatesInTheUnitsOfResults) {
    testModel().gages[0].reportRain = 12.0 * ONE_MM_PER_HOUR;
    s->evapRate = 2.0 / 86400000.0;
    s->infilRate = 5.0 * ONE_MM_PER_HOUR;
    float row[5];
    rows_fill(testModel(), SUBCATCH_TABLE, 0, 0.25, row);
    EXPECT_FLOAT_EQ(row[0], 12.0F);
    EXPECT_FLOAT_EQ(row[1], 2.0F);
    EXPECT_FLOAT_EQ(row[2], 5.0F);
    EXPECT_FLOAT_EQ(row[3], 3.0F);
    EXPECT_FLOAT_EQ(row[4], 87.5F);
}

TEST_F(OutletTest, RowShowsNoTrickleAndNoRainWithoutAGage) {
    s->gage = -1;
    s->lastRunoff = 0.0;
    s->thisRunoff = s->area * 7.0e-10;
    float row[5];
    rows_fill(testModel(), SUBCATCH_TABLE, 0, 1.0, row);
    EXPECT_EQ(row[0], 0.0F);
    EXPECT_EQ(row[3], 0.0F);
    s->thisRunoff = s->area * 7.1e-10;
    rows_fill(testModel(), SUBCATCH_TABLE, 0, 1.0, row);
    EXPECT_FLOAT_EQ(row[3], 7.1e-6F);
}

}  // namespace
