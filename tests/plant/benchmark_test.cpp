// Against the literature, and against what must hold of any plant.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "plants.h"

namespace {

struct Published {
    const char* component;
    double value;
};

/// Effluent of BSM1 at the constant inflow without control: Alex et al. (2008), Benchmark Simulation Model no. 1, the
/// steady state of the open loop.
constexpr std::array<Published, 13> Effluents = {{{"S_I", 30.0},
                                                  {"S_S", 0.88949},
                                                  {"X_I", 4.3918},
                                                  {"X_S", 0.18844},
                                                  {"X_BH", 9.7815},
                                                  {"X_BA", 0.57251},
                                                  {"X_P", 1.7283},
                                                  {"S_O", 0.49094},
                                                  {"S_NO", 10.4152},
                                                  {"S_NH", 1.7334},
                                                  {"S_ND", 0.68828},
                                                  {"X_ND", 0.01348},
                                                  {"S_ALK", 4.1256}}};

void expectPublished(const Plant& plant, const std::vector<double>& state) {
    const Layout& layout = plant.integrator.system.layout;
    const double* top = state.data() + layout.layer(layout.layers - 1);
    for (const Published& published : Effluents) {
        const double found = top[matrix_findComponent(plant.model.matrix, published.component)];
        EXPECT_NEAR(found / published.value, 1.0, 1e-4) << published.component;
    }
    EXPECT_NEAR(matrix_computeSolids(plant.model.matrix, top) / 12.4969, 1.0, 1e-4);
}

void setDesign(Plant& plant) {
    system_setInflow(plant.integrator.system, plant.model.designFlow, plant.model.designInflow.data());
}

/// A pattern of the day, and a storm on the ninth day.
double getFactor(int step) {
    const double day = step / 96.0;
    const double pattern = 1.0 + 0.4 * std::sin(6.283185307179586 * day);
    return day > 8.5 && day < 9.1 ? 3.5 * pattern : pattern;
}

/// Runs a fortnight; the lowest concentration of any tank or layer in parts of its tolerance.
double runFortnight(Plant& plant) {
    EXPECT_EQ(plant_start(plant), "");
    const Layout& layout = plant.integrator.system.layout;
    double lowest = 0.0;
    for (int step = 0; !plant_isOver(plant); ++step) {
        const double factor = getFactor(step);
        std::vector<double> inflow = plant.model.designInflow;
        for (double& value : inflow) {
            value /= factor > 2.0 ? 2.5 : 1.0;  // a storm dilutes
        }
        EXPECT_EQ(plant_stepWith(plant, plant.model.designFlow * factor, inflow), "");
        for (size_t k = 0; k < layout.tanks; ++k) {
            const auto begin = plant.state.begin() + static_cast<std::ptrdiff_t>(layout.tank(k));
            lowest = std::min(lowest, *std::min_element(begin, begin + static_cast<std::ptrdiff_t>(layout.components)));
        }
        for (size_t place = layout.layer(0); place < layout.overflow(); ++place) {
            lowest = std::min(lowest, plant.state[place]);
        }
    }
    return lowest / plant.model.absoluteTolerance;
}

/// The plant of the benchmark at its design inflow, and a first guess of its state.
std::vector<double> openBenchmark(Plant& plant) {
    openPlant(BenchmarkPlant, plant);
    setDesign(plant);
    return steady_guess(plant.integrator.system);
}

}  // namespace

TEST(PlantBenchmark, EndsAtThePublishedSteadyStateAfterTwoHundredDays) {
    Plant plant;
    std::vector<double> state = openBenchmark(plant);
    ASSERT_EQ(steady_step(plant.integrator, 200.0, state), "");
    expectPublished(plant, state);
}

TEST(PlantBenchmark, HasThePublishedSteadyStateByNewtonsMethodToo) {
    Plant plant;
    std::vector<double> state = openBenchmark(plant);
    ASSERT_EQ(steady_step(plant.integrator, 30.0, state), "");
    ASSERT_EQ(steady_solve(plant.integrator, state), "");
    expectPublished(plant, state);
}

TEST(PlantBenchmark, FindsOneSteadyStateOfAsm2dByStepsAndByNewtonsMethod) {
    Plant plant;
    openPlant(replaceText(PhosphorusPlant, "TEMPERATURE 15", "TEMPERATURE 15\nTOLERANCES 1e-6 1e-5"), plant);
    setDesign(plant);
    std::vector<double> stepped = steady_guess(plant.integrator.system);
    ASSERT_EQ(steady_step(plant.integrator, 600.0, stepped), "");
    std::vector<double> solved = steady_guess(plant.integrator.system);
    ASSERT_EQ(steady_step(plant.integrator, 100.0, solved), "");
    ASSERT_EQ(steady_solve(plant.integrator, solved), "");
    for (size_t place = 0; place < plant.integrator.system.layout.overflow(); ++place) {
        EXPECT_NEAR(stepped[place], solved[place], 1e-4 * std::max(1.0, std::fabs(solved[place])))
            << integrator_describePlace(plant.integrator.system, place);
    }
    // A plant that removes phosphorus holds the organisms that do.
    const size_t organisms = matrix_findComponent(plant.model.matrix, "X_PAO");
    EXPECT_GT(solved[plant.integrator.system.layout.tank(0) + organisms], 100.0);
}

TEST(PlantBenchmark, StaysAtItsSteadyState) {
    Plant plant;
    openPlant(BenchmarkPlant, plant);
    ASSERT_EQ(plant_start(plant), "");
    while (!plant_isOver(plant)) {
        ASSERT_EQ(plant_stepWith(plant, plant.model.designFlow, plant.model.designInflow), "");
    }
    expectPublished(plant, plant.state);
}

TEST(PlantBenchmark, KeepsItsBooksThroughAFortnightWithAStorm) {
    for (const std::string& text : {BenchmarkPlant, PhosphorusPlant}) {
        Plant plant;
        openPlant(text, plant);
        EXPECT_GT(runFortnight(plant), -1.0) << plant.model.table.name;
        EXPECT_NEAR(plant.books.waterIn, plant.books.waterOut, 1e-9 * plant.books.waterIn);
        for (const Content content : {COD, NITROGEN, PHOSPHORUS}) {
            const Balance balance = plant_computeBalance(plant, content);
            EXPECT_LE(std::fabs(balance.gap), 1e-6 * std::max(balance.in, 1.0)) << plant.model.table.name << content;
        }
    }
}

TEST(PlantBenchmark, HasNothingToGiveWithoutWater) {
    Plant plant;
    openPlant(PhosphorusPlant + "[INITIAL]\nEMPTY\nAN S_NH4 5\n", plant);
    ASSERT_EQ(plant_start(plant), "");
    for (int k = 0; k < 10; ++k) {
        ASSERT_EQ(plant_step(plant), "");
    }
    EXPECT_EQ(plant.outputs[0][0], 0.0);
    EXPECT_EQ(plant.books.waterIn, 0.0);
    EXPECT_NEAR(plant_computeBalance(plant, NITROGEN).gap, 0.0, 1e-6);
}

TEST(PlantSettler, HasTheVelocityAndTheFluxesOfTakacs) {
    const Settler settler;  // the benchmark's
    const double velocity = 474 * (std::exp(-0.000576 * 2990) - std::exp(-0.00286 * 2990));
    EXPECT_NEAR(settler_computeVelocity(settler, 3000, 10), velocity, 1e-9);
    EXPECT_EQ(settler_computeVelocity(settler, 10, 10), 0.0);
    EXPECT_EQ(settler_computeVelocity(settler, 800, 0), 250.0) << "no faster than v0'";
    const double thin = settler_computeVelocity(settler, 500, 10) * 500;
    const double dense = settler_computeVelocity(settler, 9000, 10) * 9000;
    ASSERT_LT(dense, thin);
    EXPECT_NEAR(settler_computeFlux(settler, 500, 9000, 10, false), dense, 1e-9);
    EXPECT_NEAR(settler_computeFlux(settler, 500, 9000, 10, true), dense, 1e-9) << "above the threshold";
    EXPECT_NEAR(settler_computeFlux(settler, 500, 2, 10, false), 0.0, 1e-9);
    EXPECT_NEAR(settler_computeFlux(settler, 500, 2, 10, true), thin, 1e-9) << "falls freely above the feed";
}

TEST(PlantHydraulics, SharesTheWaterAsTheFileSays) {
    Plant plant;
    openPlant(PhosphorusPlant, plant);
    Flows flows;
    hydraulics_compute(plant.model, 7000.0, flows);
    EXPECT_EQ(flows.bypass, 1000.0);
    EXPECT_EQ(flows.treated, 6000.0);
    EXPECT_EQ(flows.returned, 4800.0);
    EXPECT_EQ(flows.recycles[0], 15000.0);
    EXPECT_EQ(flows.entering[0], 0.8 * 6000 + 4800);
    EXPECT_EQ(flows.entering[1], 0.8 * 6000 + 4800 + 0.2 * 6000 + 15000);
    EXPECT_EQ(flows.through[3], 6000.0 + 4800);
    EXPECT_EQ(flows.overflow, 6000.0 - 50);
    hydraulics_compute(plant.model, 20.0, flows);
    EXPECT_EQ(flows.waste, 20.0) << "no more than comes";
    EXPECT_EQ(flows.overflow, 0.0);
}

TEST(PlantAeration, HoldsTheOxygenWithinTheLimitsOfKla) {
    Plant plant;
    openPlant(PhosphorusPlant, plant);
    ASSERT_EQ(plant_start(plant), "");
    const Layout& layout = plant.integrator.system.layout;
    EXPECT_NEAR(plant.state[layout.tank(2) + plant.model.matrix.oxygen], 2.0, 1e-3);
    const Tank& tank = plant.model.tanks[2];
    EXPECT_EQ(system_computeKla(tank, 100.0, 0.0), 20.0);
    EXPECT_EQ(system_computeKla(tank, 0.0, 1000.0), 240.0);
}

TEST(PlantSettler, MayBeIdeal) {
    Plant plant;
    openPlant(replaceText(BenchmarkPlant, "AREA 1500", "KIND IDEAL\nFNS 0.01"), plant);
    ASSERT_EQ(plant_start(plant), "");
    ASSERT_EQ(plant_stepWith(plant, plant.model.designFlow, plant.model.designInflow), "");
    const Layout& layout = plant.integrator.system.layout;
    const double solids = matrix_computeSolids(plant.model.matrix, plant.state.data() + layout.tank(4));
    EXPECT_NEAR(plant.outputs[0][17], 0.01 * solids, 1e-3 * solids);
    const double thick = ((18446.0 + 18446.0) * solids - (18446.0 - 385.0) * 0.01 * solids) / (18446.0 + 385.0);
    EXPECT_NEAR(plant.outputs[1][17], thick, 1e-3 * thick);
}
