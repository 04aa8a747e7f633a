// Results by the numbers that hosts know: against the rows.

#include "results/codes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/names.h"
#include "model/project.h"
#include "results/rows.h"
#include "support/allkinds.h"
#include "support/model.h"

namespace {

/// What a host gets by its number is what a row holds after the step.
enum class Told { SAME, OTHER };

const std::vector<std::vector<Told>> TOLD = {
#define RESULT_TABLE(...) {
#define RESULT_MIXED(...) Told::SAME,
#define RESULT_KEPT(...) Told::SAME,
#define RESULT_VALUE(...) Told::OTHER,
#define RESULT_QUALITY(...) Told::SAME, Told::SAME,
#define RESULT_END() \
    }                \
    ,
#include "results/columns.def"
};

}  // namespace

TEST(Codes, ARowHoldsWhatAHostIsToldWhereBothMeanTheSame) {
    AllKindsRun run(0);
    for (const CodedObject& object : CODED_OBJECTS) {
        const RowTable& table = RowTables[object.code];
        const std::vector<Told>& told = TOLD[static_cast<size_t>(object.code)];
        std::vector<float> row(static_cast<size_t>(rows_getLength(testModel(), object.code)), -1.0f);
        const int32_t index = names_find(testModel(), table.objectType, object.id);
        ASSERT_GE(index, 0) << object.id;
        rows_fill(testModel(), object.code, index, 1.0, row.data());
        for (size_t k = 0; k < told.size(); ++k) {
            const auto result = codes_find(testModel(), object.code, index, static_cast<int32_t>(k));
            ASSERT_TRUE(result) << table.name << ' ' << k;
            EXPECT_EQ(result->isSuccess,
                      object.code == TARNVELDE_SUBCATCHMENT || static_cast<int32_t>(k) >= table.columnCount)
                << table.name << ' ' << k;
            if (told[k] == Told::SAME) {
                EXPECT_EQ(row[k], static_cast<float>(result->value)) << table.name << ' ' << k;
            }
        }
    }
}

TEST(Codes, OnlyTheseMeanSomethingElseToAHost) {
    std::vector<std::string> others;
    for (size_t table = 1; table < TOLD.size(); ++table) {
        for (size_t k = 0; k < TOLD[table].size(); ++k) {
            if (TOLD[table][k] == Told::OTHER) {
                others.push_back(RowTables[table].name + (' ' + std::string(RowTables[table].columns[k].name)));
            }
        }
    }
    const std::vector<std::string> expected = {"Subcatchment Rainfall", "Subcatchment Runoff", "Tank Vol",
                                               "Splitter Outflow2",     "LID_Mono Rainfall",   "Conduit Velocity"};
    EXPECT_EQ(others, expected);
}

TEST(Codes, ThereIsNoCodeBeyondThem) {
    AllKindsRun run(0);
    for (const CodedObject& object : CODED_OBJECTS) {
        const int32_t index = names_find(testModel(), RowTables[object.code].objectType, object.id);
        for (const int32_t code : {-1, object.resultCount, object.resultCount + 1, INT32_MAX, INT32_MIN}) {
            EXPECT_FALSE(codes_find(testModel(), object.code, index, code)) << object.id << ' ' << code;
        }
        EXPECT_TRUE(codes_find(testModel(), object.code, index, object.resultCount - 1)) << object.id;
    }
    for (const int32_t table : {-1, 0, 14, INT32_MAX, INT32_MIN}) {
        EXPECT_FALSE(codes_find(testModel(), table, 0, 0)) << table;
    }
}
