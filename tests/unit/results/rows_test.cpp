#include "results/rows.h"
#include "nodes/splitter.h"
#include "results/systemrow.h"

#include <gtest/gtest.h>

#include "coupling/swmm.h"

#include <cmath>
#include <limits>

#include "hydrology/gage.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/pipe.h"
#include "model/curve.h"
#include "model/pattern.h"
#include "model/timeseries.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "support/model.h"
#include "support/project.h"
#include "support/tables.h"

namespace {

/// The row of the system at a date, by one walk over all objects. Pollutants have no part in it, nor a place in what
/// the tests below fill.
void fillSystem(Model& model, DateTime date, double networkFactor, double landFactor, float* row) {
    model.counts.objects[POLLUT] = 0;
    inflows_openRun(model);
    const std::vector<RowRun> runs = rows_listRuns(model);
    std::vector<float> rows(ROWS_OF_RUN * 32);
    float sums[SYSTEM_SUM_COUNT] = {};
    for (const RowRun& run : runs) {
        rows_fillAndAdd(model, run, run.table == SUBCATCH_TABLE ? landFactor : networkFactor, rows.data(), sums);
    }
    systemrow_close(model, date, runs, sums, row);
}

/// Tables filled by hand, with two pollutants.
struct Rows : testing::Test, Tables {
    double older[2] = {1.0, 10.0};
    double newer[2] = {3.0, 30.0};
    float row[32];

    void SetUp() override {
        setPollutantCount(2);
        std::fill_n(row, 32, -1.0f);
    }

    Node& addFilledNode(int32_t kind, int32_t kindIndex = 0) {
        Node node{};
        node.kind = kind;
        node.kindIndex = kindIndex;
        node.oldInflow = 2.0;
        node.newInflow = 4.0;
        node.oldLatFlow = 0.5;
        node.newLatFlow = 1.5;
        node.oldQual = older;
        node.newQual = newer;
        testModel().nodes.push_back(node);
        return testModel().nodes.back();
    }
    Link& addFilledLink(int32_t kind, int32_t kindIndex = 0) {
        Link link{};
        link.kind = static_cast<int16_t>(kind);
        link.clock.isChanged = true;
        link.kindIndex = kindIndex;
        link.oldFlow = 6.0;
        link.newFlow = 7.0;
        link.oldQual = older;
        link.newQual = newer;
        testModel().links.push_back(link);
        return testModel().links.back();
    }
    /// A tank of 100 m2 at all depths.
    void addTank(double oldDepth, double newDepth, double oldFlood, double newFlood) {
        testModel().curves.resize(1);
        testModel().curves[0].curveType = TANK_CURVE;
        testModel().curves[0].entries = {{0.0, 100.0}, {20.0, 100.0}};
        Tank tank{};
        tank.curve = 0;
        tank.oldDepth = oldDepth;
        tank.newDepth = newDepth;
        tank.oldFlood = oldFlood;
        tank.newFlood = newFlood;
        testModel().tanks.fill(1, tank);
        addFilledNode(TANK);
    }
    void addReactor(double volume) {
        Reactor reactor{};
        reactor.storedVolume = volume;
        testModel().reactors.fill(1, reactor);
        addFilledNode(REACTOR);
    }

    /// 100 m2 with water in all four layers: level times void, and for the soil moisture times porosity.
    static constexpr float LID_VOLUME = 100.0f * (0.1f * 0.5f + 0.2f * 0.25f + 0.4f * 0.5f + 0.2f * 0.5f);
    void addLid() {
        Lid lid{};
        lid.surfaceVoid = lid.porosity = lid.storageVoid = 0.5;
        lid.pavementVoid = 0.25;
        lid.soilDepth = 7.0;  // has no part in it
        testModel().lids.fill(1, lid);
        LidMono mono{};
        mono.gage = -1;
        mono.unit.area = 100.0;
        mono.unit.surfaceLevel = 0.1;
        mono.unit.pavementLevel = 0.2;
        mono.unit.soilMoisture = 0.4;
        mono.unit.storageLevel = 0.2;
        testModel().lidMonos.fill(1, mono);
        addFilledNode(LID_MONO);
    }

    /// A rectangle 2 m wide and 3 m high, 100 m long.
    void addConduit(double depth, double oldFlood, double newFlood) {
        Conduit conduit{};
        conduit.shape = RECTANGULAR_CONDUIT;
        conduit.width = 2.0;
        conduit.height = conduit.fullDepth = 3.0;
        conduit.length = 100.0;
        conduit.depth = depth;
        conduit.oldFlood = oldFlood;
        conduit.newFlood = newFlood;
        testModel().conduits.fill(1, conduit);
        addFilledLink(CONDUIT);
    }
    void expectRow(std::initializer_list<float> values) const {
        size_t k = 0;
        for (const float value : values) {
            EXPECT_EQ(row[k], value) << "column " << k;
            ++k;
        }
        EXPECT_EQ(row[k], -1.0f) << "written behind the row";
    }
};

}  // namespace

TEST_F(Rows, LengthsGrowWithThePollutants) {
    const int32_t fixed[] = {12, 4, 2, 5, 2, 4, 8, 11, 4, 1, 2, 6, 1, 1};
    const int32_t blocks[] = {0, 1, 1, 1, 1, 1, 1, 4, 1, 1, 1, 1, 1, 1};
    for (const int32_t pollutants : {0, 1, 3}) {
        testModel().counts.objects[POLLUT] = pollutants;
        for (int32_t table = 0; table < RESULT_TABLE_COUNT; ++table) {
            EXPECT_EQ(rows_getLength(testModel(), table), fixed[table] + blocks[table] * pollutants)
                << RowTables[table].name;
        }
    }
}

TEST_F(Rows, JunctionAndOutfallInterpolate) {
    addFilledNode(JUNCTION);
    addFilledNode(OUTFALL);
    for (int32_t node = 0; node < 2; ++node) {
        std::fill_n(row, 32, -1.0f);
        rows_fill(testModel(), node == 0 ? JUNCTION_TABLE : OUTFALL_TABLE, node, 0.25, row);
        expectRow({2.5f, 0.75f, 1.5f, 15.0f});
    }
}

TEST_F(Rows, SplitterTakesItsSecondOutflowFromTheRoundedValues) {
    testModel().splitters.resize(1);
    testModel().splitters[0].oldFlow = 0.1;
    testModel().splitters[0].newFlow = 0.1;
    addFilledNode(SPLITTER).newInflow = 0.7;
    testModel().nodes[0].oldInflow = 0.7;
    rows_fill(testModel(), SPLITTER_TABLE, 0, 1.0, row);
    expectRow({0.7f, 1.5f, 0.1f, 0.7f - 0.1f, 3.0f, 30.0f});
    EXPECT_NE(row[3], 0.6f);
}

TEST_F(Rows, PipeSumsItsReachesInDouble) {
    // 16777216 + 1 + 1 is lost in single precision at the first addition.
    double storage[3] = {16777216.0, 1.0, 1.0};
    testModel().pipes.resize(1);
    testModel().pipes[0].n = testModel().pipes[0].reachCount = 3;
    testModel().pipes[0].storage = storage;
    testModel().pipes[0].oldInflow = 1.0;
    testModel().pipes[0].newInflow = 2.0;
    testModel().pipes[0].oldFlood = 0.0;
    testModel().pipes[0].newFlood = 8.0;
    addFilledLink(PIPE);
    rows_fill(testModel(), PIPE_TABLE, 0, 0.5, row);
    expectRow({16777218.0f, 1.5f, 6.5f, 4.0f, 2.0f, 20.0f});
}

TEST_F(Rows, PipeThatHasRolledShowsTheSameTwice) {
    testModel().pipes.resize(1);
    testModel().pipes[0].oldInflow = 1.0;
    testModel().pipes[0].newInflow = 2.0;
    testModel().pipes[0].oldFlood = 4.0;
    testModel().pipes[0].newFlood = 8.0;
    addFilledLink(PIPE).clock.isChanged = false;
    rows_fill(testModel(), PIPE_TABLE, 0, 0.5, row);
    expectRow({0.0f, 2.0f, 6.5f, 8.0f, 2.0f, 20.0f});
}

TEST_F(Rows, ConnectionShowsBothEnds) {
    testModel().connections.resize(1);
    testModel().connections[0].oldInflow = 1.0;
    testModel().connections[0].newInflow = 2.0;
    addFilledLink(CONNECTION);
    rows_fill(testModel(), CONNECTION_TABLE, 0, 0.5, row);
    expectRow({1.5f, 6.5f, 2.0f, 20.0f});
}

TEST_F(Rows, RegulatorsShowTheirFlow) {
    for (const auto& [kind, table] : {std::pair{PUMP, PUMP_TABLE}, {WEIR, WEIR_TABLE}, {ORIFICE, ORIFICE_TABLE}}) {
        testModel().links.clear();
        addFilledLink(kind);
        std::fill_n(row, 32, -1.0f);
        rows_fill(testModel(), table, 0, 0.5, row);
        expectRow({6.5f, 2.0f, 20.0f});
    }
}

TEST_F(Rows, AFactorBeyondTheStepExtrapolates) {
    addFilledNode(JUNCTION);
    rows_fill(testModel(), JUNCTION_TABLE, 0, 1.5, row);
    expectRow({5.0f, 2.0f, 4.0f, 40.0f});
}

TEST_F(Rows, AnInfiniteOldValueSpoilsTheRowEvenWithoutWeight) {
    addFilledNode(JUNCTION).oldInflow = std::numeric_limits<double>::infinity();
    rows_fill(testModel(), JUNCTION_TABLE, 0, 1.0, row);
    EXPECT_TRUE(std::isnan(row[0]));
    EXPECT_EQ(row[1], 1.5f);
}

TEST_F(Rows, SubcatchmentShowsRatesAsDepthsPerTime) {
    testModel().gages.resize(1);
    testModel().gages[0].reportRain = 10.0 / 3600000.0;
    Subcatch s{};
    s.gage = 0;
    s.area = 1.0e4;
    s.evapRate = 2.0 / 86400000.0;
    s.infilRate = 5.0 / 3600000.0;
    s.lastRunoff = 0.2;
    s.thisRunoff = 0.4;
    s.lastQuality = older;
    s.thisQuality = newer;
    testModel().subcatches.push_back(s);
    testModel().counts.objects[SUBCATCH] = 1;
    rows_fill(testModel(), SUBCATCH_TABLE, 0, 0.5, row);
    testModel().counts.objects[SUBCATCH] = 0;
    EXPECT_FLOAT_EQ(row[0], 10.0f);
    EXPECT_FLOAT_EQ(row[1], 2.0f);
    EXPECT_FLOAT_EQ(row[2], 5.0f);
    EXPECT_FLOAT_EQ(row[3], 0.3f);
    EXPECT_EQ(row[4], 2.0f);
    EXPECT_EQ(row[5], 20.0f);
}

TEST_F(Rows, ADrySubcatchmentKeepsItsConcentrations) {
    Subcatch s{};
    s.gage = -1;
    s.area = 1.0e4;
    s.lastQuality = older;
    s.thisQuality = newer;
    s.thisRunoff = 0.99 * 7.056e-6;
    testModel().subcatches.fill(2, s);
    testModel().subcatches[1].thisRunoff = -1.0;  // an extrapolation may go below 0
    for (int32_t k = 0; k < 2; ++k) {
        rows_fill(testModel(), SUBCATCH_TABLE, k, 1.0, row);
        EXPECT_EQ(row[0], 0.0f);
        EXPECT_EQ(row[3], 0.0f);
        EXPECT_EQ(row[4], 3.0f);
    }
}

// --- the system ----------------------------------------------------------------------------------------------------

TEST_F(Rows, SystemWithoutLandHasNoRain) {
    fillSystem(testModel(), 44256.0, 1.0, 1.0, row);
    expectRow({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
}

TEST_F(Rows, SystemTakesMeansOverTheLand) {
    testModel().gages.resize(1);
    testModel().gages[0].reportRain = 10.0 / 3600000.0;
    Subcatch s{};
    s.gage = 0;
    s.area = 1.0e4;
    s.evapRate = 2.0 / 86400000.0;
    s.infilRate = 4.0 / 3600000.0;
    s.lastRunoff = 1.0;
    s.thisRunoff = 3.0;
    testModel().subcatches.fill(2, s);
    testModel().subcatches[1].gage = -1;
    testModel().subcatches[1].area = 3.0e4;
    testModel().subcatches[1].evapRate = 0.0;
    fillSystem(testModel(), 44256.0, 1.0, 0.5, row);
    EXPECT_FLOAT_EQ(row[0], 2.5f);  // a quarter of the land has the rain
    EXPECT_FLOAT_EQ(row[1], 0.5f);
    EXPECT_FLOAT_EQ(row[2], 4.0f);
    EXPECT_EQ(row[3], 4.0f);
}

TEST_F(Rows, SystemWithoutAreaHasNoRunoff) {
    Subcatch s{};
    s.gage = -1;
    s.thisRunoff = 3.0;
    testModel().subcatches.fill(1, s);
    fillSystem(testModel(), 44256.0, 1.0, 1.0, row);
    for (int32_t k = 0; k < 4; ++k) {
        EXPECT_EQ(row[k], 0.0f);
    }
}

TEST_F(Rows, SystemAddsTheNetworkInSinglePrecision) {
    // Each term is rounded and added in single: 1 is lost beside 2^24, twice.
    addFilledNode(JUNCTION).newInflow = 16777216.0;
    addFilledNode(OUTFALL).newInflow = 1.0;
    addFilledNode(SWMM).newInflow = 1.0;
    testModel().swmmNodes.resize(3);
    double storage[1] = {5.0};
    testModel().pipes.resize(1);
    testModel().pipes[0].n = testModel().pipes[0].reachCount = 1;
    testModel().pipes[0].storage = storage;
    testModel().pipes[0].newFlood = 0.25;
    addFilledLink(PIPE);
    fillSystem(testModel(), 44256.0, 1.0, 1.0, row);
    testModel().swmmNodes.clear();
    expectRow({0, 0, 0, 0, 16777216.0f, 0, 0, 0.25f, 0, 1.0f, 0, 5.0f});
}

TEST_F(Rows, SystemCountsTheFloodOfATank) {
    addTank(1.0, 3.0, 0.0, 4.0);
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_EQ(row[7], 2.0f);
    fillSystem(testModel(), 44256.0, 0.25, 1.0, row);
    EXPECT_EQ(row[7], 1.0f);
}

TEST_F(Rows, SystemCountsTheFloodOfAConduit) {
    addConduit(0.5, 4.0, 0.0);
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_EQ(row[7], 2.0f);
    fillSystem(testModel(), 44256.0, 0.25, 1.0, row);
    EXPECT_EQ(row[7], 3.0f);
}

TEST_F(Rows, SystemCountsTheWaterOfATankAtItsDepthBetweenTheStates) {
    addTank(1.0, 3.0, 0.0, 0.0);
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_FLOAT_EQ(row[11], 100.0f * 2.0f);
    fillSystem(testModel(), 44256.0, 0.25, 1.0, row);
    EXPECT_FLOAT_EQ(row[11], 100.0f * 1.5f);
}

TEST_F(Rows, SystemCountsTheWaterOfAReactor) {
    addReactor(50.0);
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_EQ(row[11], 50.0f);
}

TEST_F(Rows, SystemCountsTheWaterInAllLayersOfALid) {
    addLid();
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_FLOAT_EQ(row[11], LID_VOLUME);
}

TEST_F(Rows, SystemCountsTheWaterOfAConduit) {
    addConduit(0.5, 0.0, 0.0);
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_FLOAT_EQ(row[11], 2.0f * 0.5f * 100.0f);
}

TEST_F(Rows, SystemAddsUpStoresOfAllKinds) {
    addTank(1.0, 3.0, 0.0, 4.0);
    addReactor(50.0);
    addLid();
    addConduit(0.5, 4.0, 0.0);
    fillSystem(testModel(), 44256.0, 0.5, 1.0, row);
    EXPECT_FLOAT_EQ(row[7], 2.0f + 2.0f);
    EXPECT_FLOAT_EQ(row[11], 200.0f + 50.0f + LID_VOLUME + 100.0f);
}

TEST_F(Rows, SystemTakesTheInflowsOfModelsAtTheirClockAndTheirOutflowsAsTheyStand) {
    Model& model = testModel();
    CoupledFlow in{}, secondIn{}, out{}, secondOut{};
    in.oldFlow = 1.0;
    in.newFlow = 3.0;
    out.oldFlow = 7.0;
    out.newFlow = 5.0;
    addFilledNode(SWMM);
    model.swmmNodes.resize(1);
    OutsideNode& outside = model.swmmNodes[0].outside;
    outside.inflows.head = &in;
    outside.outflows.head = &out;
    model.clock.oldRoutingTime = 0.0;
    model.clock.newRoutingTime = 675000.0;
    const auto expectFlows = [&](float inflow, float outflow) {
        fillSystem(model, 44256.0, 0.25, 1.0, row);  // the weight of the network has no part in it
        EXPECT_EQ(row[8], inflow);
        EXPECT_EQ(row[10], outflow);
    };
    outside.newTime = 337500.0;
    expectFlows(2.0f, 5.0f);
    outside.newTime = 0.0;
    expectFlows(1.0f, 5.0f);
    outside.newTime = 1350000.0;
    expectFlows(5.0f, 5.0f);  // a step ahead: as much more again
    secondIn.newFlow = 8.0;
    secondOut.newFlow = 0.25;
    in.next = &secondIn;
    out.next = &secondOut;
    outside.newTime = 337500.0;
    expectFlows(2.0f + 4.0f, 5.25f);
    model.clock.oldRoutingTime = model.clock.newRoutingTime;
    expectFlows(1.0f, 5.25f);  // equal clocks: the old state
    model.clock.oldRoutingTime = model.clock.newRoutingTime = 0.0;
    model.swmmNodes.clear();
}

TEST_F(Rows, SystemCountsTheFirstFlowRecordAndTheRequestsOfTheHost) {
    ExtInflow second{INFLOW_FLOW, -1, 100.0, -1, 1.0, nullptr};
    ExtInflow flow{INFLOW_FLOW, -1, 0.25, -1, 1.0, &second};
    ExtInflow mass{INFLOW_MASS, 0, 7.0, -1, 1.0, &flow};
    addFilledNode(JUNCTION).extInflow = &mass;
    addFilledNode(JUNCTION);
    testModel().requests.inflows = {{1, 0, 4.0}, {0, 0, 2.0}};
    fillSystem(testModel(), 44256.0, 1.0, 1.0, row);
    EXPECT_EQ(row[5], 6.25f);
}

TEST_F(Rows, SystemCountsTheDryWeatherFlowOfEachNode) {
    DwfInflow flow{-1, -1, 0.5, nullptr};
    DwfInflow quality{0, -1, 200.0, &flow};
    addFilledNode(JUNCTION).dwfInflow = &quality;
    addFilledNode(JUNCTION).dwfInflow = &flow;
    fillSystem(testModel(), 44256.0, 1.0, 1.0, row);
    EXPECT_EQ(row[6], 1.0f);
}

TEST_F(Rows, SystemTakesTheDryWeatherFlowAtTheHourOfTheReport) {
    Pattern pattern{};
    pattern.type = PATTERN_HOURLY;
    pattern.count = 2;
    pattern.factors[0] = 1.0;
    pattern.factors[1] = 3.0;
    testModel().patterns.fill(1, pattern);
    DwfInflow flow{-1, 0, 0.5, nullptr};
    addFilledNode(JUNCTION).dwfInflow = &flow;
    const DateTime start = 44256.0;
    fillSystem(testModel(), start + 0.001 / 86400.0, 1.0, 1.0, row);
    EXPECT_EQ(row[6], 0.5f * 1.0f);
    fillSystem(testModel(), start + 3600.001 / 86400.0, 1.0, 1.0, row);
    EXPECT_EQ(row[6], 0.5f * 3.0f);
}

TEST_F(Rows, SystemLeavesTheCursorOfASeriesWhereItWas) {
    TempFolder folder;
    folder.write("series.dat", "2021/03/01 0:00 1\n2021/03/01 1:00 3\n2021/03/01 2:00 5\n");
    Project project(getGeneral(60) +
                    "[OUTFALLS]\nO1\nO2\n[INFLOWS]\nO1 FLOW FLOW 0 T1 1\nO2 FLOW FLOW 10 T2 2\n"
                    "[TIMESERIES]\nT1 2021/03/01 0:00 1 1:00 3 2:00 5\nT2 FILE " +
                    folder.file("series.dat") + "\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    double elapsed = 0.0;
    for (int k = 0; k < 30; ++k) {
        ASSERT_EQ(tarnvelde_step(&elapsed), 0);
    }
    const SeriesCursor cursors[2] = {testModel().timeSeries[0].cursor, testModel().timeSeries[1].cursor};
    fillSystem(testModel(), testModel().options.startDateTime + 1.5 / 24.0, 1.0, 1.0, row);
    EXPECT_FLOAT_EQ(row[5], 4.0f + 10.0f + 2.0f * 4.0f);
    for (int k = 0; k < 2; ++k) {
        const SeriesCursor &cursor = testModel().timeSeries[k].cursor, &old = cursors[k];
        EXPECT_EQ(cursor.before.date, old.before.date);
        EXPECT_EQ(cursor.before.value, old.before.value);
        EXPECT_EQ(cursor.after.date, old.after.date);
        EXPECT_EQ(cursor.after.value, old.after.value);
        EXPECT_EQ(cursor.nextEntry, old.nextEntry);
        EXPECT_EQ(cursor.position, old.position);
    }
    tarnvelde_close();
}

TEST_F(Rows, SystemLeavesASeriesFileAtItsEnd) {
    TempFolder folder;
    folder.write("series.dat", "2021/03/01 0:00 1\n2021/03/01 0:10 3\n");
    Project project(getGeneral(60) + "[OUTFALLS]\nO1\n[INFLOWS]\nO1 FLOW FLOW 0 T1 1\n[TIMESERIES]\nT1 FILE " +
                    folder.file("series.dat") + "\n");
    ASSERT_EQ(project.open(), 0);
    ASSERT_EQ(tarnvelde_start(0), 0);
    Series& series = testModel().timeSeries[0];
    SeriesCursor& cursor = series.cursor;
    SeriesEntry entry;
    ASSERT_TRUE(timeseries_getFirstEntry(series, cursor, entry));
    while (timeseries_getNextEntry(series, cursor, entry)) {
    }
    ASSERT_TRUE(cursor.isAtEnd);
    const int64_t position = cursor.position;
    fillSystem(testModel(), testModel().options.startDateTime + 5.0 / 1440.0, 1.0, 1.0,
               row);  // goes back to the first entry
    EXPECT_FLOAT_EQ(row[5], 2.0f);
    EXPECT_TRUE(cursor.isAtEnd);
    EXPECT_EQ(cursor.position, position);
    tarnvelde_close();
}
