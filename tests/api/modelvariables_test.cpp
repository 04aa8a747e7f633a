// The list of variables, the refusals, columns, and what a host holds for a while.

#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "support/variables.h"

namespace {

int32_t find(int32_t objectClass, const char* name) {
    int32_t variable = -1;
    EXPECT_EQ(tv_findVariable(objectClass, name, &variable), 0) << name;
    return variable;
}

/// The town after an hour and a half.
struct Town : TestModel {
    Town() : TestModel(TownText + ConstantEvaporation) {
        start();
        step(90);
    }
};

}  // namespace

TEST(VariableList, NamesEachVariableOnceInItsClass) {
    std::set<std::pair<int32_t, std::string>> names;
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        EXPECT_TRUE(names.emplace(variable.objectClass, variable.name).second) << variable.name;
        EXPECT_EQ(find(variable.objectClass, variable.name), v);
        EXPECT_STRNE(variable.meaning, "");
        EXPECT_NE(variable.kinds, 0u) << variable.name;
        EXPECT_LE(variable.minimum, variable.maximum);
        EXPECT_EQ(variable.access == TV_FORCING, variable.when == TV_WHEN_STARTED && variable.access != TV_STATE);
        EXPECT_TRUE(variable.access == TV_PARAMETER || (variable.when & TV_WHEN_OPEN) == 0) << variable.name;
    }
    EXPECT_EQ(names.size(), static_cast<size_t>(getVariableCount()));
}

TEST(VariableList, RefusesWhatIsNotThere) {
    int32_t count = 0, variable = 7;
    tv_variable description{};
    EXPECT_EQ(tv_getVariableCount(nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getVariable(0, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getVariable(-1, &description), TV_ERROR_VARIABLE);
    ASSERT_EQ(tv_getVariableCount(&count), 0);
    EXPECT_EQ(tv_getVariable(count, &description), TV_ERROR_VARIABLE);
    EXPECT_EQ(tv_findVariable(TV_NODE, nullptr, &variable), TV_ERROR_NULL);
    EXPECT_EQ(tv_findVariable(TV_NODE, "inflow", nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_findVariable(TV_CLASS_COUNT, "inflow", &variable), TV_ERROR_CLASS);
    EXPECT_EQ(tv_findVariable(-1, "inflow", &variable), TV_ERROR_CLASS);
    EXPECT_EQ(tv_findVariable(TV_NODE, "Inflow", &variable), TV_ERROR_ID);
    EXPECT_EQ(tv_findVariable(TV_RULE, "inflow", &variable), TV_ERROR_ID);
    EXPECT_EQ(variable, 7);
}

TEST(Variables, AreReadInTheKindsThatTheListNames) {
    const Town town;
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        for (int32_t k = 0; k < town.count(variable.objectClass); ++k) {
            int32_t kind = 0;
            ASSERT_EQ(tv_getKind(town.model, variable.objectClass, k, &kind), 0);
            double value = 7.0;
            const int32_t code = tv_getValue(town.model, v, k, variable.isPerPollutant ? 0 : TV_NO_POLLUTANT, &value);
            if ((variable.kinds >> kind & 1u) == 0) {
                EXPECT_EQ(code, TV_ERROR_KIND) << variable.name << ' ' << k;
            }
            EXPECT_TRUE(code == 0 || (code == TV_ERROR_KIND && value == 7.0)) << variable.name << ' ' << k;
        }
    }
}

TEST(Variables, OfAColumnAreThoseOneByOne) {
    const Town town;
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        const int32_t pollutant = variable.isPerPollutant ? 1 : TV_NO_POLLUTANT;
        std::vector<double> column(static_cast<size_t>(town.count(variable.objectClass)), 7.0);
        ASSERT_EQ(tv_getValues(town.model, v, pollutant, column.data(), column.size()), 0) << variable.name;
        for (size_t k = 0; k < column.size(); ++k) {
            double value = std::nan("");
            tv_getValue(town.model, v, static_cast<int32_t>(k), pollutant, &value);
            EXPECT_TRUE(value == column[k] || (std::isnan(value) && std::isnan(column[k]))) << variable.name;
        }
    }
}

TEST(Variables, AreKnownInTheirPhases) {
    const int32_t depth = find(TV_NODE, "depth"), area = find(TV_SUBCATCHMENT, "area");
    double value = 7.0;
    EXPECT_EQ(tv_getValue(nullptr, depth, 0, -1, &value), TV_ERROR_NULL);
    const TestModel model;
    EXPECT_EQ(tv_getValue(model.model, depth, 0, -1, &value), TV_ERROR_NOT_OPEN);
    EXPECT_EQ(tv_setValue(model.model, depth, 0, -1, 1.0), TV_ERROR_NOT_OPEN);
    model.open(TownText + ConstantEvaporation);
    const int32_t tank = model.index(TV_NODE, "T1");
    const int32_t added = find(TV_NODE, "added_inflow"), initial = find(TV_NODE, "initial_depth");
    for (int32_t run = 0; run < 2; ++run) {
        EXPECT_EQ(tv_getValue(model.model, depth, tank, -1, &value), TV_ERROR_NOT_NOW);
        EXPECT_EQ(tv_setValue(model.model, depth, tank, -1, 1.0), TV_ERROR_NOT_NOW);
        EXPECT_EQ(tv_setValue(model.model, added, tank, -1, 1.0), TV_ERROR_NOT_NOW);
        EXPECT_EQ(tv_releaseValue(model.model, added, tank, -1), TV_ERROR_NOT_NOW);
        EXPECT_EQ(value, 7.0);
        EXPECT_EQ(model.get(TV_SUBCATCHMENT, "area", "LAND"), 1.0);
        EXPECT_EQ(tv_setValue(model.model, initial, tank, -1, 0.4), 0);
        EXPECT_EQ(tv_setValue(model.model, area, 0, -1, 1.0), 0);
        model.start();
        EXPECT_EQ(model.get(TV_NODE, "depth", "T1"), 0.4);
        EXPECT_EQ(tv_setValue(model.model, depth, tank, -1, 1.0), 0);
        EXPECT_EQ(tv_setValue(model.model, initial, tank, -1, 1.0), TV_ERROR_NOT_NOW);
        EXPECT_EQ(tv_setValue(model.model, area, 0, -1, 1.0), 0);
        model.finish();
        EXPECT_GT(model.get(TV_NODE, "depth", "T1"), 0.0);
        EXPECT_EQ(tv_setValue(model.model, depth, tank, -1, 1.0), TV_ERROR_NOT_NOW);
        EXPECT_EQ(tv_setValue(model.model, area, 0, -1, 1.0), TV_ERROR_NOT_NOW);
        ASSERT_EQ(tv_end(model.model), 0);
    }
}

TEST(Variables, AreRefusedByIndexPollutantAndSize) {
    const Town town;
    double value = 7.0;
    const int32_t depth = find(TV_NODE, "depth"), quality = find(TV_NODE, "concentration");
    const int32_t tank = town.index(TV_NODE, "T1");
    EXPECT_EQ(tv_getValue(town.model, -1, tank, -1, &value), TV_ERROR_VARIABLE);
    EXPECT_EQ(tv_getValue(town.model, getVariableCount(), tank, -1, &value), TV_ERROR_VARIABLE);
    EXPECT_EQ(tv_getValue(town.model, depth, -1, -1, &value), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getValue(town.model, depth, town.count(TV_NODE), -1, &value), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getValue(town.model, depth, tank, 0, &value), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getValue(town.model, quality, tank, TV_NO_POLLUTANT, &value), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getValue(town.model, quality, tank, 2, &value), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getValue(town.model, depth, town.index(TV_NODE, "J1"), -1, &value), TV_ERROR_KIND);
    EXPECT_EQ(tv_getValue(town.model, depth, tank, -1, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_setValue(town.model, find(TV_NODE, "inflow"), tank, -1, 1.0), TV_ERROR_READ_ONLY);
    EXPECT_EQ(tv_releaseValue(town.model, depth, tank, -1), TV_ERROR_READ_ONLY);
    EXPECT_EQ(town.set(TV_LINK, "flow", "PU1", 1.0), TV_ERROR_READ_ONLY);
    EXPECT_EQ(value, 7.0);
    std::vector<double> column(static_cast<size_t>(town.count(TV_NODE)), 7.0);
    EXPECT_EQ(tv_getValues(town.model, depth, -1, column.data(), column.size() - 1), TV_ERROR_SIZE);
    EXPECT_EQ(tv_setValues(town.model, depth, -1, column.data(), column.size() + 1), TV_ERROR_SIZE);
    EXPECT_EQ(tv_getValues(town.model, depth, -1, nullptr, column.size()), TV_ERROR_NULL);
    EXPECT_EQ(tv_getValues(town.model, quality, -1, column.data(), column.size()), TV_ERROR_INDEX);
    EXPECT_EQ(tv_setValues(town.model, find(TV_NODE, "inflow"), -1, column.data(), column.size()), TV_ERROR_READ_ONLY);
    EXPECT_EQ(column[0], 7.0);
}

/// No settable variable takes what is no finite number or lies outside its limits, and nothing is stored then.
TEST(Variables, KeepTheirRanges) {
    const TestModel idle(TownText + ConstantEvaporation);
    const Town town;
    constexpr double NO_NUMBER = std::numeric_limits<double>::quiet_NaN();
    constexpr double ENDLESS = std::numeric_limits<double>::infinity();
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        const TestModel& model = (variable.when & TV_WHEN_STARTED) != 0 ? static_cast<const TestModel&>(town) : idle;
        const int32_t pollutant = variable.isPerPollutant ? 0 : TV_NO_POLLUTANT;
        for (int32_t k = 0; variable.when != TV_NEVER && k < model.count(variable.objectClass); ++k) {
            double before = 0.0, after = 0.0;
            if (tv_getValue(model.model, v, k, pollutant, &before) != 0) {
                EXPECT_EQ(tv_setValue(model.model, v, k, pollutant, 1.0), TV_ERROR_KIND) << variable.name;
                continue;
            }
            for (const double bad : {NO_NUMBER, ENDLESS, -ENDLESS, std::nextafter(variable.minimum, -ENDLESS),
                                     std::nextafter(variable.maximum, ENDLESS)}) {
                if (std::isfinite(bad) && (std::isinf(variable.minimum) || bad >= variable.minimum) &&
                    (std::isinf(variable.maximum) || bad <= variable.maximum)) {
                    continue;
                }
                EXPECT_EQ(tv_setValue(model.model, v, k, pollutant, bad), TV_ERROR_RANGE) << variable.name << bad;
                EXPECT_EQ(tv_getValue(model.model, v, k, pollutant, &after), 0);
                EXPECT_TRUE(before == after || (std::isnan(before) && std::isnan(after))) << variable.name;
            }
        }
    }
}

TEST(Variables, GoTogetherWithOthers) {
    const TestModel model(TownText + ConstantEvaporation);
    EXPECT_EQ(model.set(TV_SUBCATCHMENT, "first_infiltration", "LAND", 5.0), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_SUBCATCHMENT, "final_infiltration", "LAND", 21.0), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_SUBCATCHMENT, "area", "SBC", 0.015), TV_ERROR_RANGE);  // its unit has 200 m2
    EXPECT_EQ(model.set(TV_LINK, "k", "P1", 59.0), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LINK, "reach_count", "P1", 2.5), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LINK, "initial_setting", "PU1", 0.5), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LINK, "startup_depth", "PU1", 0.4), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LINK, "shutoff_depth", "PU1", 0.7), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_NODE, "split_value", "SP3", 1.1), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_NODE, "split_value", "SP2", 1.1), 0);
    EXPECT_EQ(model.set(TV_LID, "porosity", "BC", 0.15), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LID, "wilting_point", "BC", 0.3), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LID, "surface_roughness", "VS", 0.0), TV_ERROR_RANGE);
    EXPECT_EQ(model.set(TV_LID, "soil_depth", "VS", 100.0), TV_ERROR_KIND);
    EXPECT_EQ(model.set(TV_NODE, "retention_time", "R1", 1.0), TV_ERROR_KIND);
    EXPECT_EQ(model.set(TV_SYSTEM, "march_evaporation", "", 1.0), TV_ERROR_KIND);
    const int32_t area = find(TV_LID_UNIT, "area"), share = find(TV_LID_UNIT, "inflow_share");
    EXPECT_EQ(tv_setValue(model.model, area, 0, -1, 10011.0), TV_ERROR_RANGE);
    EXPECT_EQ(tv_setValue(model.model, area, 0, -1, 5000.0), 0);
    EXPECT_EQ(model.get(TV_SUBCATCHMENT, "lid_area", "SBC"), 5000.0);
    EXPECT_EQ(tv_setValue(model.model, share, 0, -1, 100.05), 0);
}

TEST(Variables, OfAColumnAreSetTogetherOrNotAtAll) {
    const Town town;
    const int32_t depth = find(TV_NODE, "depth");
    std::vector<double> column(static_cast<size_t>(town.count(TV_NODE)), std::nan(""));
    const auto tank = static_cast<size_t>(town.index(TV_NODE, "T1"));
    column[0] = 3.0;  // a junction: passed over
    column[tank] = 0.8;
    ASSERT_EQ(tv_setValues(town.model, depth, -1, column.data(), column.size()), 0);
    EXPECT_EQ(town.get(TV_NODE, "depth", "T1"), 0.8);

    const int32_t setting = find(TV_LINK, "held_setting");
    column.assign(static_cast<size_t>(town.count(TV_LINK)), 0.5);
    column.back() = 1.5;
    EXPECT_EQ(tv_setValues(town.model, setting, -1, column.data(), column.size()), TV_ERROR_RANGE);
    EXPECT_TRUE(std::isnan(town.get(TV_LINK, "held_setting", "P1")));
    column.back() = 0.5;
    EXPECT_EQ(tv_setValues(town.model, setting, -1, column.data(), column.size()), 0);
    EXPECT_EQ(town.get(TV_LINK, "held_setting", "P1"), 0.5);
    EXPECT_EQ(town.get(TV_LINK, "setting", "C1"), 1.0);
}

TEST(Variables, OfUnitsOnOneSubcatchmentShareItsRoom) {
    std::string text = TownText + ConstantEvaporation;
    text.insert(text.find("SRG RG 200"), "SBC BC 100 5 30 20\n");
    const TestModel model(text);
    const int32_t area = find(TV_LID_UNIT, "area");
    std::vector<double> column(static_cast<size_t>(model.count(TV_LID_UNIT)), std::nan(""));
    column[0] = column[1] = 6000.0;  // either would find room beside the other as it is
    EXPECT_EQ(tv_setValues(model.model, area, -1, column.data(), column.size()), TV_ERROR_RANGE);
    EXPECT_EQ(model.get(TV_LID_UNIT, "area", 0), 200.0);
    EXPECT_EQ(model.get(TV_LID_UNIT, "area", 1), 100.0);
    EXPECT_EQ(model.get(TV_SUBCATCHMENT, "lid_area", "SBC"), 300.0);
}

// --- forcings ------------------------------------------------------------------------------------------------------

TEST(Forcings, HoldUntilTheyAreReleased) {
    const Town town;
    EXPECT_TRUE(std::isnan(town.get(TV_NODE, "added_inflow", "J3")));
    ASSERT_EQ(town.set(TV_NODE, "added_inflow", "J3", 0.25), 0);
    ASSERT_EQ(town.set(TV_NODE, "added_load", "J3", 0.5, 1), 0);
    for (int k = 0; k < 3; ++k) {
        town.step();
        EXPECT_EQ(town.get(TV_NODE, "lateral_flow", "J3"), 0.25);
        EXPECT_EQ(town.get(TV_NODE, "added_inflow", "J3"), 0.25);
    }
    const double mass = town.get(TV_SYSTEM, "quality_external_inflow", 0, 1);
    const double before = town.get(TV_SYSTEM, "flow_external_inflow", 0);
    town.step();
    EXPECT_NEAR(town.get(TV_SYSTEM, "quality_external_inflow", 0, 1) - mass, 60.0 * (0.5 + 0.1 * 30.0 / 1000.0), 1e-6);
    EXPECT_NEAR(town.get(TV_SYSTEM, "flow_external_inflow", 0) - before, 60.0 * (0.25 + 0.1), 1e-6);
    ASSERT_EQ(town.release(TV_NODE, "added_inflow", "J3"), 0);
    ASSERT_EQ(town.release(TV_NODE, "added_load", "J3", 1), 0);
    ASSERT_EQ(town.release(TV_NODE, "added_load", "J3", 1), 0);  // what nobody holds
    town.step();
    EXPECT_EQ(town.get(TV_NODE, "lateral_flow", "J3"), 0.0);
    EXPECT_TRUE(std::isnan(town.get(TV_NODE, "added_inflow", "J3")));
}

TEST(Forcings, EndWithTheRun) {
    const Town town;
    const std::vector<double> base = [] {
        const TestModel model(TownText + ConstantEvaporation);
        model.start();
        model.finish();
        return readRun(model);
    }();
    ASSERT_EQ(town.set(TV_NODE, "added_inflow", "J3", 0.25), 0);
    ASSERT_EQ(town.set(TV_NODE, "held_split", "SP1", 0.5), 0);
    ASSERT_EQ(town.set(TV_NODE, "held_emptying_rate", "R1", 0.5), 0);
    ASSERT_EQ(town.set(TV_GAGE, "held_rain", "G", 50.0), 0);
    ASSERT_EQ(town.set(TV_SYSTEM, "held_evaporation", "", 50.0), 0);
    ASSERT_EQ(town.set(TV_LINK, "held_setting", "W1", 0.2), 0);
    ASSERT_EQ(town.set(TV_LINK, "held_flow", "PU1", 0.2), 0);
    ASSERT_EQ(town.set(TV_LINK, "held_sill", "W2", 0.2), 0);
    ASSERT_EQ(town.set(TV_LINK, "held_coefficient", "W2", 0.2), 0);
    town.finish();
    ASSERT_EQ(tv_end(town.model), 0);
    town.start();
    for (const char* name : {"added_inflow", "held_split", "held_emptying_rate"}) {
        const char* node = name == std::string("held_split") ? "SP1" : "R1";
        EXPECT_TRUE(std::isnan(town.get(TV_NODE, name, node))) << name;
    }
    EXPECT_TRUE(std::isnan(town.get(TV_GAGE, "held_rain", "G")));
    town.finish();
    std::vector<double> again = readRun(town);
    // The second run lists its rain events behind those of the first one: they alone differ.
    size_t differing = 0;
    for (size_t k = 0; k < again.size(); ++k) {
        differing += again[k] == base[k] || (std::isnan(again[k]) && std::isnan(base[k])) ? 0 : 1;
    }
    EXPECT_LE(differing, 4u);
}

TEST(Forcings, LeaveNoTraceWhenTheyAreReleasedAtOnce) {
    const Town touched, untouched;
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        const int32_t pollutant = variable.isPerPollutant ? 0 : TV_NO_POLLUTANT;
        for (int32_t k = 0; variable.access == TV_FORCING && k < touched.count(variable.objectClass); ++k) {
            const bool isSetting = variable.name == std::string("held_setting");  // a pump stays where it was put
            if (!isSetting && tv_setValue(touched.model, v, k, pollutant, 0.3) == 0) {
                EXPECT_EQ(tv_releaseValue(touched.model, v, k, pollutant), 0);
            }
        }
    }
    touched.finish();
    untouched.finish();
    EXPECT_TRUE(isSame(readRun(touched), readRun(untouched)));
}

TEST(Forcings, OfASettingGiveWayToRulesAgain) {
    const Town town;
    EXPECT_EQ(town.get(TV_LINK, "setting", "W1"), 0.9);
    ASSERT_EQ(town.set(TV_LINK, "held_setting", "W1", 0.1), 0);
    ASSERT_EQ(town.set(TV_LINK, "held_setting", "OR1", 0.0), 0);
    town.step();
    EXPECT_EQ(town.get(TV_LINK, "setting", "W1"), 0.1);
    EXPECT_EQ(town.get(TV_LINK, "target_setting", "W1"), 0.9);
    EXPECT_EQ(town.get(TV_LINK, "flow", "OR1"), 0.0);
    ASSERT_EQ(town.release(TV_LINK, "held_setting", "W1"), 0);
    ASSERT_EQ(town.release(TV_LINK, "held_setting", "OR1"), 0);
    town.step();
    EXPECT_EQ(town.get(TV_LINK, "setting", "W1"), 0.9);
    EXPECT_EQ(town.get(TV_LINK, "setting", "OR1"), 1.0);
}

TEST(Forcings, OfRainCoverTheSeriesBeneath) {
    const Town town;
    const TestModel plain(TownText + ConstantEvaporation);
    plain.start();
    plain.step(90);
    ASSERT_EQ(town.set(TV_GAGE, "held_rain", "G", 36.0), 0);
    town.step(10);
    plain.step(10);
    EXPECT_DOUBLE_EQ(town.get(TV_SUBCATCHMENT, "rain", "LAND"), 36.0);
    EXPECT_DOUBLE_EQ(town.get(TV_GAGE, "rain", "G"), 36.0);
    EXPECT_EQ(plain.get(TV_GAGE, "rain", "G"), 0.0);
    EXPECT_EQ(town.get(TV_GAGE, "rain", "G2"), 0.0);
    ASSERT_EQ(town.release(TV_GAGE, "held_rain", "G"), 0);
    for (int k = 0; k < 60; ++k) {  // the next shower comes as if nothing had been
        town.step();
        plain.step();
        EXPECT_EQ(town.get(TV_GAGE, "rain", "G"), plain.get(TV_GAGE, "rain", "G"));
        EXPECT_EQ(town.get(TV_SUBCATCHMENT, "rain", "SVS"), plain.get(TV_SUBCATCHMENT, "rain", "SVS"));
    }
}

TEST(Forcings, OfRainHeldAcrossAShowerGiveWayToIt) {
    const Town town;
    const TestModel plain(TownText + ConstantEvaporation);
    plain.start();
    plain.step(90);
    ASSERT_EQ(town.set(TV_GAGE, "held_rain", "G", 0.0), 0);
    town.step(45);
    plain.step(45);
    EXPECT_GT(plain.get(TV_GAGE, "rain", "G"), 0.0);
    EXPECT_EQ(town.get(TV_GAGE, "rain", "G"), 0.0);
    ASSERT_EQ(town.release(TV_GAGE, "held_rain", "G"), 0);
    EXPECT_EQ(town.get(TV_GAGE, "rain", "G"), plain.get(TV_GAGE, "rain", "G"));
}

TEST(Forcings, OfAWeirHoldOneOfItsValuesAlone) {
    const Town town;
    ASSERT_EQ(town.set(TV_LINK, "held_coefficient", "W2", 1.4), 0);  // what it has anyhow
    const Town plain;
    town.step(5);
    plain.step(5);
    EXPECT_EQ(town.get(TV_LINK, "flow", "W2"), plain.get(TV_LINK, "flow", "W2"));
    EXPECT_TRUE(std::isnan(town.get(TV_LINK, "held_sill", "W2")));
}

TEST(Variables, OfTwoModelsDontTouchEachOther) {
    const Town a, b;
    const std::vector<double> before = readRun(b);
    ASSERT_EQ(a.set(TV_NODE, "depth", "T1", 2.0), 0);
    ASSERT_EQ(a.set(TV_GAGE, "held_rain", "G", 99.0), 0);
    ASSERT_EQ(a.set(TV_SUBCATCHMENT, "area", "LAND", 5.0), 0);
    a.step(20);
    EXPECT_TRUE(isSame(readRun(b), before));
    EXPECT_EQ(b.get(TV_SUBCATCHMENT, "area", "LAND"), 1.0);
}
