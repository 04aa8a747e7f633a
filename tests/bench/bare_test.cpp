// What the benchmarks compare the engine with works out the same bits.

#include <gtest/gtest.h>

#include "bare/conduits.h"
#include "bare/land.h"
#include "bare/reactors.h"
#include "bare/tanks.h"
#include "bare/units.h"
#include "tarnvelde_model.h"

namespace {

struct Case {
    const char* name;
    BareWeather weather;
    int64_t pollutants;
    int steps;
};

void PrintTo(const Case& value, std::ostream* out) {
    *out << value.name;
}

class BareArithmetic : public testing::TestWithParam<Case> {};

/// Steps both as often as the case says, and asks at each tenth of it whether they are the same.
template <class Bare>
void expectSame(Bare bare, const std::string& project, int steps, void (*step)(Bare&),
                bool (*isSame)(const Bare&, const tv_model*)) {
    tv_model* model = bare_startModel(project);
    ASSERT_NE(model, nullptr);
    for (int k = 1; k <= steps; ++k) {
        ASSERT_EQ(tv_step(model), 0);
        step(bare);
        if (k % (steps / 10) == 0) {
            ASSERT_TRUE(isSame(bare, model)) << "after " << k << " steps";
        }
    }
    tv_free(model);
}

TEST_P(BareArithmetic, OfTheLandIsThatOfTheEngine) {
    const Case& c = GetParam();
    const BareLand bare = bareLand_create(150, c.pollutants, c.weather);
    expectSame(bare, bareLand_makeProject(bare), c.steps, bareLand_step, bareLand_isSame);
}

TEST_P(BareArithmetic, OfLidUnitsIsThatOfTheEngine) {
    const Case& c = GetParam();
    for (const BareUnit type : {BareUnit::CELL, BareUnit::GARDEN, BareUnit::ROOF, BareUnit::TRENCH, BareUnit::PAVEMENT,
                                BareUnit::BARREL, BareUnit::SWALE}) {
        SCOPED_TRACE(static_cast<int>(type));
        const BareUnits bare = bareUnits_create(type, 100, c.pollutants, c.weather);
        expectSame(bare, bareUnits_makeProject(bare), c.steps, bareUnits_step, bareUnits_isSame);
    }
}

TEST_P(BareArithmetic, OfTanksIsThatOfTheEngine) {
    const Case& c = GetParam();
    const BareTanks bare = bareTanks_create(100, c.pollutants, c.weather);
    expectSame(bare, bareTanks_makeProject(bare, c.weather), c.steps, bareTanks_step, bareTanks_isSame);
}

TEST_P(BareArithmetic, OfReactorsIsThatOfTheEngine) {
    const Case& c = GetParam();
    const BareReactors bare = bareReactors_create(100, c.pollutants, c.weather);
    expectSame(bare, bareReactors_makeProject(bare, c.weather), c.steps, bareReactors_step, bareReactors_isSame);
}

TEST_P(BareArithmetic, OfConduitsIsThatOfTheEngine) {
    const Case& c = GetParam();
    for (const BareSection section : {BareSection::CIRCULAR, BareSection::RECTANGULAR, BareSection::IRREGULAR}) {
        SCOPED_TRACE(static_cast<int>(section));
        const BareConduits bare = bareConduits_create(section, 100, c.pollutants, c.weather);
        expectSame(bare, bareConduits_makeProject(bare, c.weather), c.steps, bareConduits_step, bareConduits_isSame);
    }
}

INSTANTIATE_TEST_SUITE_P(Weather, BareArithmetic,
                         testing::Values(Case{"wet", BareWeather::WET, 3, 1000}, Case{"dry", BareWeather::DRY, 3, 1000},
                                         Case{"still", BareWeather::STILL, 3, 500},
                                         Case{"wetWithoutPollutants", BareWeather::WET, 0, 1000}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
