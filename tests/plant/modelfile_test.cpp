// What is wrong in a model file is told with its line; what is right is taken. And the state as bytes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plants.h"
#include "series.h"

namespace {

struct Fault {
    const char* old;
    const char* replacement;
    const char* message;  // with the line, and the first line being 1
};

std::string describe(const std::string& text) {
    PlantModel model;
    return modelfile_describe("m", modelfile_read(text, model));
}

}  // namespace

TEST(PlantFile, SaysWhatIsWrongInWhichLine) {
    const std::vector<Fault> faults = {
        {"MODEL ASM2D", "MODEL ASM3", "m:2: no model: \"ASM3\"; ASM1, BSM1 and ASM2D are known"},
        {"START 2021/06/01", "START 2021/02/29", "m:3: no date of the form YEAR/MONTH/DAY [HOUR:MINUTE[:SECOND]]"},
        {"END 2021/06/15", "END 2021/05/15", "m: END is not after START"},
        {"STEP 900", "STEP 0", "m:5: the step is not between 1 and 86400: \"0\""},
        {"STEP 900", "STEP 0.5e", "m:5: the step is no number: \"0.5e\""},
        {"STEP 900", "STEP 1.5", "m:5: the step is no whole number of seconds"},
        {"STEP 900", "STRIDE 900", "m:5: [PLANT] knows no \"STRIDE\""},
        {"STEP 900", "STEP nan", "m:5: the step is no number: \"nan\""},
        {"AN 300", "AN", "m:8: the volume is missing"},
        {"AN 300", "AN -300", "m:8: the volume is not between 0.1 and 1e+09: \"-300\""},
        {"AN 300", "DN 300", "m:9: a second tank \"DN\""},
        {"OXYGEN 2 20 240", "OXYGEN 2 20", "m:10: too few words"},
        {"OXYGEN 2 20 240", "OXYGEN 2 20 10", "m:10: the largest KLa is not between 20 and 5000: \"10\""},
        {"OXYGEN 2 20 240", "BUBBLES", "m:10: no aeration: \"BUBBLES\"; NONE, KLA and OXYGEN are known"},
        {"FEED DN 0.2", "FEED DN 0.1", "m:14: the shares of FEED add up to 0.9, not to 1"},
        {"FEED DN 0.2", "FEED XX 0.2", "m:14: no tank: \"XX\""},
        {"RECYCLE N2 DN", "RECYCLE DN N2", "m:15: a recycle leads to its own tank or to one before it"},
        {"RATIO 2.5", "RATIO", "m:15: the flow is missing"},
        {"RATIO 2.5", "RATE 2.5", "m:15: no part of a flow: \"RATE\"; CONSTANT, RATIO, MIN and MAX are known"},
        {"RATIO 2.5", "MIN 2 MAX 1", "m:15: MIN is above MAX"},
        {"AREA 420", "", "m: AREA of [SETTLER] is missing"},
        {"AREA 420", "AREA 420\nFEED 11", "m: FEED of [SETTLER] is above the highest layer"},
        {"AREA 420", "AREA 420\nKIND MAGIC", "m:21: no settler: \"MAGIC\"; TAKACS and IDEAL are known"},
        {"[SETTLER]", "[SETTLERS]", "m:19: no section: \"[SETTLERS]\""},
        {"RAW", "", "m: [INFLUENTS] is missing or empty"},
        {"SLUDGE WASTE", "CLEAR WASTE", "m:26: a second unit \"CLEAR\""},
        {"SLUDGE WASTE", "SLUDGE CAKE", "m:26: no stream: \"CAKE\"; EFFLUENT, OVERFLOW, WASTE and BYPASS are known"},
        {"S_F 0.14", "S_F 0.94", "m:29: the fractions of COD add up to more than 1"},
        {"FLOW 2000", "FLOW 0", "m: FLOW of [DESIGN] is missing, with which the steady state is found"},
        {"COD 450", "BOD 450", "m:32: neither constituent nor component: \"BOD\""},
        {"[DESIGN]", "[PARAMETERS]\nmu_X 3\n[DESIGN]", "m:31: ASM2d has no parameter \"mu_X\""},
        {"[DESIGN]", "[PARAMETERS]\nY_H 0\n[DESIGN]",
         "m:31: with these parameters denitrification on S_F keeps no balance of COD, nitrogen, phosphorus or charge"},
        {"[DESIGN]", "[INITIAL]\nLAYER11 X_H 3\n[DESIGN]", "m:31: neither a tank nor a layer: \"LAYER11\""},
        {"[DESIGN]", "[INITIAL]\nAN X_Q 3\n[DESIGN]", "m:31: ASM2d has no component \"X_Q\""},
        {"[PLANT]", "AN 300\n[PLANT]", "m:1: a line before the first section: \"AN\""},
    };
    ASSERT_EQ(describe(PhosphorusPlant), "");
    for (const Fault& fault : faults) {
        const std::string text = describe(replaceText(PhosphorusPlant, fault.old, fault.replacement));
        EXPECT_THAT(text, testing::StartsWith(std::string(fault.message) + "\n")) << fault.replacement;
    }
}

TEST(PlantFile, ReadsTheDatesOfTheProject) {
    PlantModel model;
    ASSERT_TRUE(
        modelfile_read(replaceText(PhosphorusPlant, "START 2021/06/01", "START 2021/03/01 06:30"), model).empty());
    EXPECT_EQ(model.start, 44256.0 + (6 * 3600 + 1800) / 86400.0);  // the day number of 1 March 2021 is 44256
    EXPECT_EQ(model.end, 44256.0 + 106);
}

TEST(PlantFile, TakesAnyCaseCommentsAndEndsOfLines) {
    std::string text = PhosphorusPlant;
    for (size_t place = text.find('\n'); place != std::string::npos; place = text.find('\n', place + 12)) {
        text.insert(place, " // noted \r");
    }
    EXPECT_EQ(describe(text), "");
    EXPECT_EQ(describe(replaceText(replaceText(PhosphorusPlant, "OXYGEN", "oxygen"), "[FLOWS]", "[flows]")), "");
}

TEST(PlantFile, SplitsConstituentsAndGivesThemBack) {
    PlantModel model;
    ASSERT_TRUE(modelfile_read(PhosphorusPlant, model).empty());
    std::vector<double> components(model.matrix.names.size());
    plantmodel_splitInflow(model, {400, 30, 2, 8, 250, 350}, components.data());
    const auto at = [&](const char* name) { return components[matrix_findComponent(model.matrix, name)]; };
    EXPECT_DOUBLE_EQ(at("S_I"), 32);
    EXPECT_DOUBLE_EQ(at("S_F"), 56);
    EXPECT_DOUBLE_EQ(at("S_A"), 32);
    EXPECT_DOUBLE_EQ(at("X_I"), 60);
    EXPECT_DOUBLE_EQ(at("X_H"), 40);
    EXPECT_NEAR(at("X_S"), 180, 1e-9);
    EXPECT_NEAR(at("S_PO4"), 8 - 0.01 * 56 - 0.01 * 60 - 0.01 * 180 - 0.02 * 40, 1e-9);
    EXPECT_DOUBLE_EQ(at("S_ALK"), 7);
    EXPECT_DOUBLE_EQ(at("X_TSS"), 250);
    std::array<double, PRODUCT_COUNT> products{};
    plantmodel_mapProducts(model, components.data(), products);
    EXPECT_DOUBLE_EQ(products[8], 350);
    EXPECT_DOUBLE_EQ(products[16], 250);
}

TEST(PlantFile, MapsAsm1ToTheComponentsOfHosts) {
    PlantModel model;
    ASSERT_TRUE(modelfile_read(BenchmarkPlant, model).empty());
    std::vector<double> components(model.matrix.names.size());
    for (size_t c = 0; c < components.size(); ++c) {
        components[c] = static_cast<double>(c + 1);
    }
    std::array<double, PRODUCT_COUNT> products{};
    plantmodel_mapProducts(model, components.data(), products);
    // In the order of the table: S_I 1, S_S 2, X_I 3, X_S 4, X_BH 5, X_BA 6, X_P 7, S_O 8, S_NO 9, S_NH 10, S_ND 11,
    // X_ND 12, S_ALK 13, S_N2 14, S_PO4 15, X_MIN 16.
    const std::array<double, PRODUCT_COUNT> expected = {
        8, 2, 0, 1, 10, 14, 9, 15, 13 * 50, 3 + 7, 4, 5, 0, 0, 0, 6, 0.75 * (3 + 4 + 5 + 6 + 7) + 16, 0, 0};
    for (size_t k = 0; k < PRODUCT_COUNT; ++k) {
        EXPECT_DOUBLE_EQ(products[k], expected[k]) << ProductNames[k];
    }
}

TEST(PlantFile, ReadsATableOfInflow) {
    PlantModel model;
    std::vector<InflowRow> rows;
    ASSERT_TRUE(modelfile_read(PhosphorusPlant, model).empty());
    ASSERT_EQ(modelfile_describe("i", series_read("day,flow,S_NH4\n0,100,5\n0.5,200,6\n", model, rows)), "");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[1].flow, 200.0);
    EXPECT_EQ(rows[1].components[4], 6.0);
    const std::vector<std::pair<std::string, std::string>> faults = {
        {"", "i: no rows\n"},
        {"day,BOD\n0,1\n", "i:1: no column of an inflow: \"BOD\"\n"},
        {"flow\n0\n", "i:1: no column \"day\"\n"},
        {"day,flow\n0,1\n0,2\n", "i:3: the days don't rise\n"},
        {"day,flow\n0\n", "i:2: not as many numbers as columns\n"},
        {"day,flow\n0,-1\n", "i:2: no number between 0 and 1e9: \"-1\"\n"},
    };
    for (const auto& [text, message] : faults) {
        EXPECT_EQ(modelfile_describe("i", series_read(text, model, rows)), message);
    }
}

TEST(PlantState, GoesOnToTheSameBits) {
    Plant plant;
    Plant other;
    openPlant(PhosphorusPlant, plant);
    openPlant(PhosphorusPlant, other);
    ASSERT_EQ(plant_start(plant), "");
    ASSERT_EQ(plant_start(other), "");
    const auto step = [](Plant& run, int k) {
        run.inputs[0] = {0.02 + 0.001 * k, 9.0, 0.6, 0.0, 0.16, 4.0, 7.0};
        EXPECT_EQ(plant_step(run), "");
    };
    for (int k = 0; k < 20; ++k) {
        step(plant, k);
    }
    const std::vector<char> saved = state_save(plant);
    ASSERT_TRUE(state_restore(saved.data(), saved.size(), other));
    for (int k = 20; k < 40; ++k) {
        step(plant, k);
        step(other, k);
    }
    EXPECT_EQ(state_save(plant), state_save(other));
    EXPECT_NE(state_save(plant), saved);
    EXPECT_EQ(other.now, 40 * 900);
}

TEST(PlantState, RefusesBytesThatAreNotItsOwn) {
    Plant plant;
    Plant other;
    openPlant(PhosphorusPlant, plant);
    openPlant(replaceText(PhosphorusPlant, "AN 300", "AN 301"), other);
    EXPECT_TRUE(state_save(plant).empty()) << "before the start";
    ASSERT_EQ(plant_start(plant), "");
    ASSERT_EQ(plant_start(other), "");
    const std::vector<char> saved = state_save(plant);
    EXPECT_FALSE(state_restore(saved.data(), saved.size(), other)) << "of another model";
    for (size_t place = 0; place < saved.size(); place += 7) {
        std::vector<char> damaged = saved;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x20);
        EXPECT_FALSE(state_restore(damaged.data(), damaged.size(), plant)) << place;
    }
    for (const size_t size : {size_t{0}, size_t{8}, saved.size() - 1}) {
        EXPECT_FALSE(state_restore(saved.data(), size, plant)) << size;
    }
    EXPECT_EQ(state_save(plant), saved);
}

TEST(PlantFailure, NamesTheTankAndEndsTheRun) {
    Plant plant;
    openPlant(PhosphorusPlant, plant);
    ASSERT_EQ(plant_start(plant), "");
    std::vector<double> absurd = plant.model.designInflow;
    absurd[matrix_findComponent(plant.model.matrix, "S_NH4")] = 1e308;
    const std::string failure = plant_stepWith(plant, 1e6, absurd);
    EXPECT_THAT(failure, testing::StartsWith("after 0 s the integration fails"));
    EXPECT_THAT(failure, testing::HasSubstr("tank AN, S_NH4")) << "where the inflow enters";
    EXPECT_TRUE(plant_isOver(plant));
    EXPECT_EQ(plant_step(plant), failure) << "and says so when it is asked again";
    EXPECT_EQ(plant.now, 0);
}
