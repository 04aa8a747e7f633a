// Records made run by run, beside the rows of single objects and the sums of these.

#include "results/rowpieces.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "model/model.h"
#include "nodes/lidmono.h"
#include "results/rowvalues.h"
#include "support/allkinds.h"
#include "support/generate.h"
#include "support/model.h"
#include "support/project.h"
#include "support/tables.h"

namespace {

constexpr DateTime DATE = 44256.05;
constexpr RowWeights WEIGHTS{0.25, 0.75};

bool areSameBits(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

/// A record that nothing is left in of the one before.
std::vector<float> makeRecord() {
    ResultBuffers& results = *testModel().results;
    std::fill_n(results.record, results.recordLength, -1.0f);
    rowpieces_makeRecord(testModel(), DATE, WEIGHTS);
    return {results.record, results.record + results.recordLength};
}

/// The rows of all objects, each by itself.
std::vector<float> makeRows() {
    const Model& model = testModel();
    std::vector<float> rows;
    for (int32_t table = SUBCATCH_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        std::vector<float> row(static_cast<size_t>(rows_getLength(model, table)));
        for (int32_t k = 0; k < rows_getClassSize(model, table); ++k) {
            if (rows_holds(model, table, k)) {
                rows_fill(model, table, k, table == SUBCATCH_TABLE ? WEIGHTS.land : WEIGHTS.network, row.data());
                rows.insert(rows.end(), row.begin(), row.end());
            }
        }
    }
    return rows;
}

/// What a column of a table adds to one of the system, object by object.
struct Addend {
    int32_t table, column, sum;
};
constexpr Addend ADDENDS[] = {{JUNCTION_TABLE, 0, SYSTEM_TOTAL_INFLOW},
                              {TANK_TABLE, 2, SYSTEM_TOTAL_INFLOW},
                              {TANK_TABLE, 4, SYSTEM_FLOOD},
                              {TANK_TABLE, 1, SYSTEM_STORAGE},
                              {OUTFALL_TABLE, 0, SYSTEM_TOTAL_INFLOW},
                              {OUTFALL_TABLE, 0, SYSTEM_OUTFLOW},
                              {SPLITTER_TABLE, 0, SYSTEM_TOTAL_INFLOW},
                              {REACTOR_TABLE, 1, SYSTEM_TOTAL_INFLOW},
                              {REACTOR_TABLE, 0, SYSTEM_STORAGE},
                              {LID_MONO_TABLE, 0, SYSTEM_TOTAL_INFLOW},
                              {PIPE_TABLE, 0, SYSTEM_STORAGE},
                              {PIPE_TABLE, 3, SYSTEM_FLOOD},
                              {CONDUIT_TABLE, 1, SYSTEM_STORAGE},
                              {CONDUIT_TABLE, 5, SYSTEM_FLOOD}};

void addRow(int32_t objectType, int32_t object, float* sums) {
    const Model& model = testModel();
    for (int32_t table = JUNCTION_TABLE; table < RESULT_TABLE_COUNT; ++table) {
        if (RowTables[table].objectType == objectType && rows_holds(model, table, object)) {
            float row[64];
            rows_fill(model, table, object, WEIGHTS.network, row);
            for (const Addend& addend : ADDENDS) {
                sums[addend.sum] += addend.table == table ? row[addend.column] : 0.0f;
            }
        }
    }
}

/// Sums of what the rows show, and what shows in none of them.
std::vector<float> addRows() {
    Model& model = testModel();
    std::vector<float> sums(SYSTEM_LENGTH);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        addRow(NODE, k, sums.data());
        if (node.kind == SWMM || node.kind == VORN) {
            sums[SYSTEM_TOTAL_INFLOW] +=
                static_cast<float>(rowvalues_mix(WEIGHTS.network, node.oldInflow, node.newInflow));
        } else if (node.kind == LID_MONO) {
            sums[SYSTEM_STORAGE] += static_cast<float>(lidmono_getVolume(model, node.kindIndex));
        }
    }
    for (int32_t k = 0; k < model.links.size(); ++k) {
        addRow(LINK, k, sums.data());
    }
    return sums;
}

void expectWholeRecord(const std::vector<float>& record, const std::string& when) {
    const std::vector<float> rows = makeRows(), sums = addRows();
    EXPECT_TRUE(areSameBits({record.begin() + SYSTEM_LENGTH, record.end()}, rows)) << when;
    for (const int32_t column : {SYSTEM_TOTAL_INFLOW, SYSTEM_FLOOD, SYSTEM_OUTFLOW, SYSTEM_STORAGE}) {
        EXPECT_EQ(record[static_cast<size_t>(column)], sums[static_cast<size_t>(column)]) << when << column;
    }
}

/// Nodes enough for several threads, with a state in all of them.
struct LargeNetwork : StartedProject {
    explicit LargeNetwork(const std::string& options = "")
        : StartedProject(getGeneral(60) + options + generateNetwork(7, 16000, 2), 1) {
        step(20);
    }
    ~LargeNetwork() { testModel().pace.threadCount = 1; }
};

}  // namespace

TEST(RowPieces, ARecordHoldsEachRowAndTheirSums) {
    AllKindsRun run(1);
    for (int step = 0; step < 10; ++step) {
        tarnvelde_setExtInflow("R", 0.25);
        tarnvelde_setExtInflow("J", 0.5);
        expectWholeRecord(makeRecord(), "step " + std::to_string(step) + ", column ");
        Project::step();
    }
    run.finish();
}

TEST(RowPieces, SharesThatAreKeptAddUpToThoseThatAreAddedAtOnce) {
    AllKindsRun run(1);
    Project::step(4);
    const ResultBuffers& results = *testModel().results;
    std::vector<float> rows(static_cast<size_t>(ROWS_OF_RUN * results.longestRow)), shares(ROWS_OF_RUN * 8);
    for (const RowRun& each : results.runs) {
        std::vector<float> added(SYSTEM_SUM_COUNT, 0.5f), kept = added;
        rows_fillAndAdd(testModel(), each, 0.25, rows.data(), added.data());
        rows_fillAndKeep(testModel(), each, 0.25, rows.data(), shares.data());
        rows_addShares(each, shares.data(), kept.data());
        EXPECT_TRUE(areSameBits(kept, added)) << "table " << each.table << ", object " << each.first;
    }
    run.finish();
}

TEST(RowPieces, ARecordOfSeveralThreadsIsThatOfOne) {
    const LargeNetwork network;
    const std::vector<float> alone = makeRecord();
    expectWholeRecord(alone, "column ");
    EXPECT_GT(alone[SYSTEM_TOTAL_INFLOW], 0.0f);
    EXPECT_GT(alone[SYSTEM_DIRECT_INFLOW], 0.0f);
    EXPECT_GT(alone[SYSTEM_DRY_WEATHER_FLOW], 0.0f);
    EXPECT_GT(alone[SYSTEM_STORAGE], 0.0f);
    for (const int32_t threads : {2, 3, 5}) {
        testModel().pace.threadCount = threads;
        EXPECT_TRUE(areSameBits(makeRecord(), alone)) << threads;
    }
}

TEST(RowPieces, MeansOfSeveralThreadsAreThoseOfOne) {
    const LargeNetwork network("REPORT_AVERAGE YES\n");
    ResultBuffers& results = *testModel().results;
    const auto makeMeans = [&results](int32_t threads) {
        testModel().pace.threadCount = threads;
        for (const TableBuffer& buffer : results.buffers) {
            std::fill_n(buffer.sums, buffer.sums ? buffer.count * buffer.length : 0, 0.1f);
        }
        rowpieces_addToSums(testModel());
        rowpieces_addToSums(testModel());
        results.sumCount = 3;
        rowpieces_makeMeans(testModel(), DATE, WEIGHTS);
        return std::vector<float>(results.record, results.record + results.recordLength);
    };
    const std::vector<float> alone = makeMeans(1);
    float row[4];  // of the first junction: inflow, lateral inflow, two concentrations
    rows_fill(testModel(), JUNCTION_TABLE, 0, 1.0, row);
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(alone[SYSTEM_LENGTH + k], ((0.1f + row[k]) + row[k]) / 3.0f) << k;
    }
    for (const int32_t threads : {2, 3}) {
        EXPECT_TRUE(areSameBits(makeMeans(threads), alone)) << threads;
    }
}

TEST(RowPieces, RunsEndWhereTheKindOrTheOrderOfTheKindEnds) {
    Tables tables;
    Model& model = testModel();
    const auto addNode = [&model](int32_t kind, int32_t kindIndex) {
        Node node{};
        node.kind = kind;
        node.kindIndex = kindIndex;
        model.nodes.push_back(node);
    };
    addNode(JUNCTION, 0);
    addNode(JUNCTION, 1);
    addNode(OUTFALL, 0);
    addNode(SWMM, 0);
    addNode(JUNCTION, 2);
    addNode(JUNCTION, 4);
    addNode(JUNCTION, 3);
    Link link{};
    link.kind = PIPE;
    for (link.kindIndex = 0; link.kindIndex <= ROWS_OF_RUN; ++link.kindIndex) {
        model.links.push_back(link);
    }
    const std::vector<RowRun> runs = rows_listRuns(model);
    struct Expected {
        int32_t table, first, count, kindIndex, rowPlace;
        int64_t sharePlace;
    };
    // A junction and a model share their inflow, an outfall its outflow too, a pipe flood and water.
    const std::vector<Expected> expected = {
        {JUNCTION_TABLE, 0, 2, 0, 0, 0},
        {OUTFALL_TABLE, 2, 1, 0, 0, 2},
        {-1, 3, 1, 0, 0, 4},
        {JUNCTION_TABLE, 4, 1, 2, 2, 5},
        {JUNCTION_TABLE, 5, 1, 4, 3, 6},
        {JUNCTION_TABLE, 6, 1, 3, 4, 7},
        {PIPE_TABLE, 0, ROWS_OF_RUN, 0, 0, 8},
        {PIPE_TABLE, ROWS_OF_RUN, 1, ROWS_OF_RUN, ROWS_OF_RUN, 8 + 2 * ROWS_OF_RUN}};
    ASSERT_EQ(runs.size(), expected.size());
    for (size_t k = 0; k < runs.size(); ++k) {
        EXPECT_EQ(runs[k].table, expected[k].table) << k;
        EXPECT_EQ(runs[k].first, expected[k].first) << k;
        EXPECT_EQ(runs[k].count, expected[k].count) << k;
        EXPECT_EQ(runs[k].kindIndex, expected[k].kindIndex) << k;
        EXPECT_EQ(runs[k].rowPlace, expected[k].rowPlace) << k;
        EXPECT_EQ(runs[k].sharePlace, expected[k].sharePlace) << k;
    }
    EXPECT_EQ(rows_countShares(runs), 8 + 2 * (ROWS_OF_RUN + 1));
}
