// Rates and water of LID units on subcatchments, against their totals and against their layers.

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/variables.h"

namespace {

std::string readExample() {
    std::ifstream file(std::string(TARNVELDE_SOURCE_DIR) + "/examples/green-street/green-street.inp");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A project whose network goes by so short a step that the land, whose step is cut at the start, makes no two in it.
std::string makeFine(std::string text) {
    const std::string key = "ROUTING_STEP 0:01:00";
    return text.replace(text.find(key), key.size(), "ROUTING_STEP 0:00:05");
}

/// A rate as mm/s over the area of a unit, and the total that it adds up to, mm.
struct Rate {
    const char* name;
    const char* total;
    double perSecond;  ///< 0 of a flow, which goes by the area
};
constexpr Rate RATES[] = {{"inflow", "inflow_depth", 0.0},
                          {"evaporation", "evaporated_depth", 1.0 / 86400.0},
                          {"infiltration", "infiltrated_depth", 1.0 / 3600.0},
                          {"surface_flow", "surface_outflow_depth", 0.0},
                          {"drain_flow", "drain_outflow_depth", 0.0}};

/// Makes a step of the network. Whether the land has made one too, which goes ahead of it.
bool stepBoth(const TestModel& model) {
    const double lead = model.get(TV_SYSTEM, "runoff_lead", 0);
    const double step = model.get(TV_SYSTEM, "routing_step", 0);
    model.step();
    return lead < step - 0.001;
}

/// Adds a runoff step to sums by unit and rate, mm.
void addRates(const TestModel& model, std::vector<double>& sums) {
    size_t place = 0;
    for (int32_t unit = 0; unit < model.count(TV_LID_UNIT); ++unit) {
        const double area = model.get(TV_LID_UNIT, "area", unit);
        for (const Rate& rate : RATES) {
            const double factor = rate.perSecond > 0.0 ? rate.perSecond : 1000.0 / area;
            sums[place++] += model.get(TV_LID_UNIT, rate.name, unit) * factor * model.get(TV_SYSTEM, "runoff_step", 0);
        }
    }
}

void compareSums(const std::string& text, int32_t steps) {
    const TestModel model(makeFine(text));
    model.start();
    ASSERT_GE(model.get(TV_SYSTEM, "runoff_step", 0), model.get(TV_SYSTEM, "routing_step", 0));
    std::vector<double> sums(static_cast<size_t>(model.count(TV_LID_UNIT)) * std::size(RATES));
    std::vector<double> largest(std::size(RATES));
    for (int32_t step = 0; step < steps; ++step) {
        if (stepBoth(model)) {
            addRates(model, sums);
        }
    }
    for (size_t place = 0; place < sums.size(); ++place) {
        const auto unit = static_cast<int32_t>(place / std::size(RATES));
        const size_t rate = place % std::size(RATES);
        const double total = model.get(TV_LID_UNIT, RATES[rate].total, unit);
        EXPECT_NEAR(sums[place], total, 1e-9 * total) << "unit " << unit << ' ' << RATES[rate].name;
        largest[rate] = std::max(largest[rate], total);
    }
    EXPECT_GT(*std::min_element(largest.begin(), largest.end()), 0.5) << "something of each";
}

/// Rates and volumes of all units.
std::vector<double> readRates(const TestModel& model) {
    std::vector<double> values;
    for (int32_t unit = 0; unit < model.count(TV_LID_UNIT); ++unit) {
        for (const Rate& rate : RATES) {
            values.push_back(model.get(TV_LID_UNIT, rate.name, unit));
        }
        values.push_back(model.get(TV_LID_UNIT, "volume", unit));
    }
    return values;
}

/// Water of a unit of the example by its layers, m3, as the project file describes them.
double getWater(const TestModel& model, int32_t unit) {
    const auto get = [&](const char* name) { return model.get(TV_LID_UNIT, name, unit); };
    const double surface = get("surface_depth"), soil = get("soil_moisture");
    const double storage = get("storage_depth"), pavement = get("pavement_depth");
    const double voids = 0.67 / 1.67;  // of a storage with 0.67 parts of voids by one of solids
    switch (unit) {
        case 0: return 120.0 * (surface * 0.9 + soil * 0.5 + storage * voids);
        case 1: return 150.0 * (surface * 0.85 + soil * 0.4);
        case 2: return 900.0 * (surface + soil * 0.1 + storage * 0.5);
        case 3: return 60.0 * (surface + storage * voids);
        case 4: return 600.0 * (surface + pavement * 0.2 / 1.2 + soil * 0.1 + storage * voids);
        case 5: return 12.0 * storage;  // what spilled stands on no surface
        default: {
            const double depth = std::min(surface, 0.4);
            return 50.0 * (1.6 + 3.0 * depth) * depth * 0.9;  // 4 m wide at its full depth, 50 m long
        }
    }
}

constexpr int32_t EXAMPLE_STEPS = 2880, FINE_STEPS = 12 * EXAMPLE_STEPS, SWALE = 6;

}  // namespace

TEST(RatesOfLidUnits, AddUpToTheirTotals) {
    compareSums(readExample(), FINE_STEPS);
    compareSums(TownText + ConstantEvaporation, 12 * TOWN_STEPS);
}

TEST(RatesOfLidUnits, AreThoseOfUnitsThatDoNotRest) {
    const std::string text = readExample();
    const TestModel resting(text), working(text);
    EXPECT_EQ(tv_setSkipping(working.model, 0), TV_OK);
    resting.start();
    working.start();
    for (int32_t step = 0; step < EXAMPLE_STEPS; ++step) {
        resting.step();
        working.step();
        ASSERT_TRUE(isSame(readRates(resting), readRates(working))) << "behind step " << step;
    }
}

TEST(RatesOfLidUnits, GoAlongWithStates) {
    const std::string text = readExample();
    const TestModel model(text), other(text);
    model.start();
    other.start();
    model.step(200);  // in the rain
    size_t size = 0;
    ASSERT_EQ(tv_getStateSize(model.model, &size), TV_OK);
    std::vector<char> state(size);
    ASSERT_EQ(tv_saveState(model.model, state.data(), state.size(), &size), TV_OK);
    ASSERT_EQ(tv_restoreState(other.model, state.data(), size), TV_OK);
    EXPECT_TRUE(isSame(readRates(model), readRates(other)));
    tv_model* clone = nullptr;
    ASSERT_EQ(tv_clone(model.model, &clone), TV_OK);
    int32_t inflow = -1;
    ASSERT_EQ(tv_findVariable(TV_LID_UNIT, "inflow", &inflow), TV_OK);
    double value = 0.0;
    EXPECT_EQ(tv_getValue(clone, inflow, 0, TV_NO_POLLUTANT, &value), TV_OK);
    EXPECT_EQ(value, model.get(TV_LID_UNIT, "inflow", 0));
    EXPECT_GT(value, 0.0);
    EXPECT_EQ(tv_free(clone), TV_OK);
}

TEST(VolumeOfLidUnits, IsTheWaterInTheirLayers) {
    const TestModel model(makeFine(readExample()));
    ASSERT_EQ(model.count(TV_LID_UNIT), SWALE + 1);
    model.start();
    std::vector<double> before(SWALE + 1), largest(SWALE + 1);
    for (int32_t step = 0; step < FINE_STEPS; ++step) {
        const bool isNew = stepBoth(model);
        for (int32_t unit = 0; unit <= SWALE; ++unit) {
            const size_t k = static_cast<size_t>(unit);
            const double volume = model.get(TV_LID_UNIT, "volume", unit);
            ASSERT_NEAR(volume, getWater(model, unit), 1e-12 + 1e-12 * volume) << unit << " behind step " << step;
            if (isNew && step > 0 && unit != SWALE) {
                // The balance counts the water at the start of a step, but for swales.
                const double area = model.get(TV_LID_UNIT, "area", unit);
                ASSERT_NEAR(model.get(TV_LID_UNIT, "final_storage", unit) * area / 1000.0, before[k],
                            1e-12 + 1e-9 * before[k])
                    << unit << " behind step " << step;
            }
            before[k] = volume;
            largest[k] = std::max(largest[k], volume);
        }
    }
    EXPECT_GT(*std::min_element(largest.begin(), largest.end()), 0.1) << "each holds water at some time";
}

TEST(LeadOfTheLand, IsWhatARunoffStepHasBeforehand) {
    const TestModel model(TownText);
    model.start();
    const double step = model.get(TV_SYSTEM, "runoff_step", 0);
    EXPECT_EQ(model.get(TV_SYSTEM, "runoff_lead", 0), 0.0);
    for (int32_t minute = 1; minute <= TOWN_STEPS; ++minute) {
        model.step();
        const double time = 60.0 * minute;
        EXPECT_NEAR(model.get(TV_SYSTEM, "runoff_lead", 0), std::ceil(time / step - 1e-9) * step - time, 1e-6);
    }
}
