// The record of a LID unit: its arrays, and its way from step to step.

#include "hydrology/lidunit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "model/errors.h"
#include "model/project.h"
#include "support/model.h"
#include "support/tables.h"

namespace {

class UnitRecord : public ::testing::Test, protected Tables {
protected:
    LidUnit unit{};

    void SetUp() override { setPollutantCount(3); }

    std::vector<double*> getLayers() const {
        return {unit.lastSurfaceMass, unit.lastPavementMass, unit.lastSoilMass, unit.lastStorageMass,
                unit.thisSurfaceMass, unit.thisPavementMass, unit.thisSoilMass, unit.thisStorageMass,
                unit.thisSurfaceLoad, unit.thisDrainLoad};
    }
    std::vector<double*> getBalance() const {
        return {unit.load,           unit.rainLoad,     unit.inflowLoad, unit.exfilLoad,
                unit.surfaceOutLoad, unit.drainOutLoad, unit.finalLoad,  unit.reactedLoad};
    }
};

/// Whether each array has room for 3 numbers of its own.
bool standApart(const std::vector<double*>& arrays) {
    std::set<double*> numbers;
    for (double* array : arrays) {
        numbers.insert({array, array + 1, array + 2});
    }
    return numbers.count(nullptr) == 0 && numbers.size() == 3 * arrays.size();
}

TEST_F(UnitRecord, ArraysStandApart) {
    ASSERT_TRUE(lidunit_createArrays(testModel(), unit, testModel().memory.results));
    lidunit_openBalance(testModel(), unit);
    std::vector<double*> all = getLayers();
    for (double* array : getBalance()) {
        all.push_back(array);
    }
    EXPECT_TRUE(standApart(all));
}

TEST_F(UnitRecord, ClearedArraysAreZeroToTheLastPollutant) {
    ASSERT_TRUE(lidunit_createArrays(testModel(), unit, testModel().memory.results));
    for (double* array : getLayers()) {
        std::fill_n(array, 3, 5.0);
    }
    lidunit_clearArrays(testModel(), unit);
    for (const double* array : getLayers()) {
        EXPECT_TRUE(std::all_of(array, array + 3, [](double value) { return value == 0.0; }));
    }
}

TEST_F(UnitRecord, RollMakesNewMassesOldOfAnyNumberOfPollutants) {
    for (int32_t count = 1; count <= 6; ++count) {
        setPollutantCount(count);
        ASSERT_TRUE(lidunit_createArrays(testModel(), unit, testModel().memory.results));
        const std::vector<double*> layers = getLayers();
        for (size_t k = 0; k < layers.size(); ++k) {
            for (int32_t p = 0; p < count; ++p) {
                layers[k][p] = static_cast<double>(k) + 0.1 * p + 1.0;
            }
        }
        lidunit_shiftState(testModel(), unit);
        for (size_t k = 0; k < layers.size(); ++k) {
            for (int32_t p = 0; p < count; ++p) {
                EXPECT_EQ(layers[k][p], k < 4 ? static_cast<double>(k + 4) + 0.1 * p + 1.0 : 0.0)
                    << "array " << k << ", pollutant " << p << " of " << count;
            }
        }
    }
}

TEST_F(UnitRecord, WithoutMemoryThereAreNone) {
    ASSERT_TRUE(lidunit_createArrays(testModel(), unit, testModel().memory.results));
    lidunit_openBalance(testModel(), unit);
    arena_failAfter(1);
    EXPECT_FALSE(lidunit_createArrays(testModel(), unit, testModel().memory.results));
    EXPECT_EQ(getLayers(), std::vector<double*>(10, nullptr));
    arena_failAfter(1);
    lidunit_openBalance(testModel(), unit);
    EXPECT_EQ(getBalance(), std::vector<double*>(8, nullptr));
    EXPECT_EQ(testModel().error.code, ERR_MEMORY);
}

TEST_F(UnitRecord, ForgottenArraysAreGone) {
    ASSERT_TRUE(lidunit_createArrays(testModel(), unit, testModel().memory.results));
    lidunit_openBalance(testModel(), unit);
    lidunit_forgetArrays(unit);
    EXPECT_EQ(getLayers(), std::vector<double*>(10, nullptr));
    EXPECT_NE(unit.rainLoad, nullptr);
    lidunit_forgetBalance(unit);
    EXPECT_EQ(getBalance(), std::vector<double*>(8, nullptr));
}

}  // namespace
