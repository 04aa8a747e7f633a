// Balances of places, and the verdict: by the same books as the report.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/tvmodel.h"

static void run(const TvModel& model) {
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
}

static tv_balance getBalance(const TvModel& model, int32_t objectClass, int32_t index,
                             int32_t pollutant = TV_NO_POLLUTANT) {
    tv_balance balance{};
    EXPECT_EQ(tv_getBalance(model, objectClass, index, pollutant, &balance), TV_OK) << objectClass << " " << index;
    return balance;
}

static double sumMissing(const TvModel& model, int32_t objectClass, int32_t pollutant = TV_NO_POLLUTANT) {
    double sum = 0.0;
    for (int32_t k = 0; k < model.getCount(objectClass); ++k) {
        sum += getBalance(model, objectClass, k, pollutant).missing;
    }
    return sum;
}

static std::vector<tv_verdict> judge(const TvModel& model) {
    int32_t count = 0;
    EXPECT_EQ(tv_judge(model, &count), TV_OK);
    std::vector<tv_verdict> rows(static_cast<size_t>(count));
    for (int32_t k = 0; k < count; ++k) {
        EXPECT_EQ(tv_getVerdict(model, k, &rows[static_cast<size_t>(k)]), TV_OK);
    }
    return rows;
}

static tv_verdict findRow(const std::vector<tv_verdict>& rows, int32_t part, int32_t pollutant = TV_NO_POLLUTANT) {
    for (const tv_verdict& row : rows) {
        if (row.part == part && row.pollutant == pollutant) {
            return row;
        }
    }
    ADD_FAILURE() << "no such row";
    return {};
}

/// A day of 0.02 m3/s through a link.
static std::string aDay(const std::string& link, const std::string& general = "ROUTING_STEP 0:00:30\n") {
    return "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\n" + general +
           "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n" + link + "\n";
}

static const char* const STEEP = "[CONDUITS]\nC1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6";

TEST(ModelBalances, NameTheConduitThatLosesAllItsWater) {
    const TvModel model;
    ASSERT_EQ(model.openText(aDay(STEEP)), TV_OK);
    run(model);
    const tv_balance balance = getBalance(model, TV_LINK, 0);
    EXPECT_NEAR(balance.in, 1728.0, 1e-6);
    EXPECT_EQ(balance.out, 0.0);
    EXPECT_NEAR(balance.missing, 1728.0, 1e-6);
    EXPECT_NEAR(balance.error, 100.0, 1e-9);
    const tv_verdict flow = findRow(judge(model), TV_PART_FLOW);
    EXPECT_EQ(flow.grade, TV_GRADE_RED);
    EXPECT_NEAR(flow.error, 100.0, 1e-9);
    EXPECT_NEAR(flow.missing, 1728.0, 1e-6);
    ASSERT_EQ(flow.causeCount, 1);
    tv_cause cause{};
    ASSERT_EQ(tv_getCause(model, 0, 0, &cause), TV_OK);
    EXPECT_EQ(cause.objectClass, TV_LINK);
    EXPECT_EQ(cause.index, 0);
    EXPECT_NEAR(cause.missing, 1728.0, 1e-6);
    EXPECT_NEAR(cause.share, 1.0, 1e-12);
}

TEST(ModelBalances, GradesAreGreenAmberAndRed) {
    // A pipe of two hours at the end of a day holds K times the flow in its sums: 120 s of 86400 s are 0.14 %.
    const auto getGrade = [](const std::string& pipe) {
        const TvModel model;
        EXPECT_EQ(model.openText(aDay("[PIPES]\n" + pipe)), TV_OK);
        run(model);
        const tv_verdict row = findRow(judge(model), TV_PART_FLOW);
        EXPECT_STRNE(row.words, "");
        return row.grade;
    };
    EXPECT_EQ(getGrade("P1 J1 O1 NO 300 3 0.2 0"), TV_GRADE_GREEN);
    EXPECT_EQ(getGrade("P1 J1 O1 NO 3600 3 0.2 0"), TV_GRADE_GREEN);
}

TEST(ModelBalances, OfARunWithoutWaterThereIsNothingToJudge) {
    const TvModel model;
    ASSERT_EQ(model.openText("[GENERAL]\nEND_DATE 2020/01/02\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n"
                             "[CONNECTIONS]\nC1 J1 O1 NO 0\n"),
              TV_OK);
    run(model);
    const tv_verdict row = findRow(judge(model), TV_PART_FLOW);
    EXPECT_EQ(row.grade, TV_GRADE_NOTHING);
    EXPECT_EQ(row.error, 0.0);
    EXPECT_EQ(getBalance(model, TV_NODE, 0).error, 0.0);
}

/// A day of 0.1 m3/s with 100 mg/L through a pipe in which half of it decays.
static const char* const DECAY =
    "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:01:00\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n"
    "[PIPES]\nP1 J1 O1 NO 600 6 0.2 0\n[POLLUTANTS]\nCOD 0\n[DECAY_COEFFICIENT]\nP1 LINK COD FIRST 14 \"\"\n"
    "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 0\nJ1 CONCEN COD 100 \"\" 0\n";

TEST(ModelBalances, LoadsOfNodesAndLinksAreKeptIfTheyAreWanted) {
    const TvModel model;
    tv_balance balance{};
    ASSERT_EQ(model.openText(DECAY), TV_OK);
    run(model);
    EXPECT_EQ(tv_getBalance(model, TV_LINK, 0, 0, &balance), TV_ERROR_KIND);
    EXPECT_EQ(findRow(judge(model), TV_PART_QUALITY, 0).causeCount, 0);
    EXPECT_EQ(tv_keepLoads(model, 1), TV_ERROR_STARTED);
    ASSERT_EQ(tv_end(model), TV_OK);
    ASSERT_EQ(tv_keepLoads(model, 1), TV_OK);
    run(model);
    // 0.1 m3/s x 100 mg/L x 86400 s = 864 kg come in.
    EXPECT_NEAR(getBalance(model, TV_NODE, 0, 0).in, 864.0, 1e-6);
    EXPECT_NEAR(getBalance(model, TV_NODE, 0, 0).missing, 0.0, 1e-6);
    const tv_balance pipe = getBalance(model, TV_LINK, 0, 0);
    EXPECT_NEAR(pipe.in, 864.0, 1e-6);
    // exp(-14 x 600 / 86400) is left of each of six reaches, 0.558 of all; of what decays about half is booked.
    const double decayed = pipe.in - pipe.out - pipe.stored;
    EXPECT_GT(pipe.lost, 0.4 * decayed);
    EXPECT_LT(pipe.lost, 0.6 * decayed);
    EXPECT_NEAR(pipe.missing, decayed - pipe.lost, 1e-9);
    const tv_verdict quality = findRow(judge(model), TV_PART_QUALITY, 0);
    EXPECT_EQ(quality.grade, TV_GRADE_RED);
    ASSERT_EQ(quality.causeCount, 1);
    EXPECT_NEAR(pipe.missing, quality.missing, 1e-6);
}

TEST(ModelBalances, KeepingLoadsChangesNoResult) {
    const auto getErrors = [](bool isKept) {
        const TvModel model;
        EXPECT_EQ(model.openText(DECAY), TV_OK);
        EXPECT_EQ(tv_keepLoads(model, isKept), TV_OK);
        run(model);
        std::vector<double> errors;
        for (const tv_verdict& row : judge(model)) {
            errors.push_back(row.error);
        }
        return errors;
    };
    EXPECT_EQ(getErrors(false), getErrors(true));
}

/// A stirred reactor that a pollutant decays in.
static const char* const POND =
    "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:01:00\n[POLLUTANTS]\nTSS 0\n"
    "[JUNCTIONS]\nJ1\n[REACTORS]\nPOND CSTR O1 FLOW_CAPACITY 5200 900 750 60\n[OUTFALLS]\nO1\n"
    "[CONNECTIONS]\nL1 J1 POND NO 0\nL2 POND O1 NO 0\n[INFLOWS]\nJ1 FLOW FLOW 0.02 \"\" 0\n"
    "J1 CONCEN TSS 100 \"\" 0\n[REACTORS_DECAY]\nPOND TSS FIRST 1.7 \"\"\n";

TEST(ModelBalances, LoadsBeginAnewBehindARestoredState) {
    const TvModel model;
    ASSERT_EQ(model.openText(POND), TV_OK);
    ASSERT_EQ(tv_keepLoads(model, 1), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, model.getClock().start + 0.5), TV_OK);
    const int32_t pond = model.find(TV_NODE, "POND");
    const tv_balance half = getBalance(model, TV_NODE, pond, 0);
    EXPECT_GT(half.lost, 0.0);
    EXPECT_NEAR(half.missing, 0.0, 1e-9);
    size_t size = 0;
    ASSERT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::vector<char> state(size);
    ASSERT_EQ(tv_saveState(model, state.data(), state.size(), &size), TV_OK);
    ASSERT_EQ(tv_restoreState(model, state.data(), size), TV_OK);
    EXPECT_NEAR(getBalance(model, TV_NODE, pond, 0).lost, 0.0, 1e-12);
    EXPECT_NEAR(getBalance(model, TV_NODE, pond, 0).initial, half.stored, 1e-9);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    // As much comes in the second half as in the first.
    EXPECT_NEAR(getBalance(model, TV_NODE, pond, 0).in, half.in, 1e-6);
    EXPECT_NEAR(getBalance(model, TV_NODE, pond, 0).missing, 0.0, 1e-9);
}

TEST(ModelBalances, ACloneKeepsLoadsAndTellsWarningsAsItsModelDoes) {
    for (const int32_t isWanted : {0, 1}) {
        const TvModel model;
        ASSERT_EQ(tv_setWarnings(model, isWanted), TV_OK);
        ASSERT_EQ(model.openText(aDay(STEEP) + "[POLLUTANTS]\nTSS 0\n"), TV_OK);
        ASSERT_EQ(tv_keepLoads(model, isWanted), TV_OK);
        ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
        tv_model* clone = nullptr;
        ASSERT_EQ(tv_clone(model, &clone), TV_OK);
        tv_balance balance{};
        EXPECT_EQ(tv_getBalance(clone, TV_LINK, 0, 0, &balance), isWanted ? TV_OK : TV_ERROR_KIND);
        int32_t count = 0;
        EXPECT_EQ(tv_getMessageCount(clone, &count), TV_OK);
        EXPECT_EQ(count > 0, isWanted != 0);
        EXPECT_EQ(tv_free(clone), TV_OK);
    }
}

TEST(ModelBalances, RefusesWhatIsNotThere) {
    const TvModel model;
    tv_balance balance{};
    int32_t count = 0;
    EXPECT_EQ(tv_getBalance(nullptr, TV_NODE, 0, TV_NO_POLLUTANT, &balance), TV_ERROR_NULL);
    EXPECT_EQ(tv_keepLoads(nullptr, 1), TV_ERROR_NULL);
    EXPECT_EQ(tv_keepLoads(model, 1), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_getBalance(model, TV_NODE, 0, TV_NO_POLLUTANT, &balance), TV_ERROR_NOT_OPEN);
    ASSERT_EQ(model.openText(aDay(STEEP)), TV_OK);
    EXPECT_EQ(tv_getBalance(model, TV_NODE, 0, TV_NO_POLLUTANT, &balance), TV_ERROR_NOT_STARTED);
    EXPECT_EQ(tv_judge(model, &count), TV_ERROR_NOT_STARTED);
    run(model);
    EXPECT_EQ(tv_getBalance(model, TV_NODE, 2, TV_NO_POLLUTANT, &balance), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getBalance(model, TV_NODE, -1, TV_NO_POLLUTANT, &balance), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getBalance(model, TV_NODE, 0, 0, &balance), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getBalance(model, TV_CLASS_COUNT, 0, TV_NO_POLLUTANT, &balance), TV_ERROR_CLASS);
    EXPECT_EQ(tv_getBalance(model, TV_SYSTEM, 0, TV_NO_POLLUTANT, &balance), TV_ERROR_CLASS);
    EXPECT_EQ(tv_getBalance(model, TV_NODE, 0, TV_NO_POLLUTANT, nullptr), TV_ERROR_NULL);
    tv_verdict verdict{};
    tv_cause cause{};
    EXPECT_EQ(tv_getVerdict(model, 0, &verdict), TV_ERROR_INDEX);  // not judged yet
    EXPECT_EQ(tv_judge(model, nullptr), TV_ERROR_NULL);
    ASSERT_EQ(tv_judge(model, &count), TV_OK);
    EXPECT_EQ(tv_getVerdict(model, count, &verdict), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getVerdict(model, 0, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getCause(model, 0, 1, &cause), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getCause(model, 0, 0, nullptr), TV_ERROR_NULL);
}

/// The examples that have all kinds of objects between them.
class ExampleBalances : public testing::TestWithParam<const char*> {};

TEST_P(ExampleBalances, MissTogetherWhatTheContinuityErrorSays) {
    const TvModel model;
    ASSERT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, nullptr, TARNVELDE_ENGINE_FOLDER, nullptr), TV_OK);
    ASSERT_EQ(tv_open(model, (std::string(TARNVELDE_SOURCE_DIR "/examples/") + GetParam()).c_str(), nullptr), TV_OK);
    run(model);
    const std::vector<tv_verdict> rows = judge(model);
    if (model.getCount(TV_SUBCATCHMENT) > 0) {
        const tv_verdict runoff = findRow(rows, TV_PART_RUNOFF);
        EXPECT_NEAR(sumMissing(model, TV_SUBCATCHMENT), runoff.missing, 1e-9 * runoff.in);
        for (int32_t p = 0; p < model.getCount(TV_POLLUTANT); ++p) {
            const tv_verdict washoff = findRow(rows, TV_PART_WASHOFF, p);
            EXPECT_NEAR(sumMissing(model, TV_SUBCATCHMENT, p), washoff.missing, 1e-9 * washoff.in);
        }
    }
    const tv_verdict flow = findRow(rows, TV_PART_FLOW);
    EXPECT_NEAR(sumMissing(model, TV_NODE) + sumMissing(model, TV_LINK), flow.missing, 1e-5 * flow.in);
}

INSTANTIATE_TEST_SUITE_P(All, ExampleBalances,
                         testing::Values("interceptor/interceptor.inp", "first-storm/first-storm.inp",
                                         "storm-tank/storm-tank.inp", "wetland-control/wetland-control.inp",
                                         "green-street/green-street.inp", "coupled/coupled.inp"));
