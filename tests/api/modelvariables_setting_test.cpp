// Variables that a host sets: each takes a value, shows it, and acts.

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "support/variables.h"

namespace {

/// A variable of an object.
struct Place {
    int32_t variable;
    int32_t object;
    int32_t pollutant;
};

bool has(const TestModel& model, const Place& place, double* value) {
    return tv_getValue(model.model, place.variable, place.object, place.pollutant, value) == 0;
}

/// The flow of links that work it out again before it is used.
bool isShownOnly(const TestModel& model, const Place& place) {
    return tv_setValue(model.model, place.variable, place.object, place.pollutant, 1.0) == TV_ERROR_READ_ONLY;
}

/// Places of all settable variables, at all objects that have them.
std::vector<Place> listPlaces(const TestModel& model) {
    std::vector<Place> places;
    for (int32_t v = 0; v < getVariableCount(); ++v) {
        const tv_variable variable = getVariable(v);
        for (int32_t k = 0; variable.when != TV_NEVER && k < model.count(variable.objectClass); ++k) {
            for (int32_t p = 0; p < (variable.isPerPollutant ? model.count(TV_POLLUTANT) : 1); ++p) {
                const Place place = {v, k, variable.isPerPollutant ? p : TV_NO_POLLUTANT};
                double value;
                if (has(model, place, &value) && !isShownOnly(model, place)) {
                    places.push_back(place);
                }
            }
        }
    }
    return places;
}

/// A variable and what kind of object has it; a definition of a LID control counts by its type.
std::string describe(const TestModel& model, const Place& place) {
    const tv_variable variable = getVariable(place.variable);
    int32_t kind = 0;
    tv_getKind(model.model, variable.objectClass, place.object, &kind);
    if (variable.objectClass == TV_LID) {
        kind = static_cast<int32_t>(model.get(TV_LID, "lid_type", place.object));
    }
    return std::to_string(variable.objectClass) + ' ' + variable.name + ' ' + std::to_string(kind);
}

/// Values to try in place of another one.
std::vector<double> listTrials(double value) {
    if (std::isnan(value)) {
        return {0.02, 0.5, 30.0, 0.0};
    }
    return {value * 0.7, value * 1.3, value * 1.01, 0.05, 0.5, 5.0, 1.0, 2.0, 0.0};
}

/// Sets a place to another value that is taken. False if none is.
bool setOther(const TestModel& model, const Place& place, size_t& trial) {
    double before = 0.0, after = 0.0;
    EXPECT_TRUE(has(model, place, &before));
    const std::vector<double> trials = listTrials(before);
    for (; trial < trials.size(); ++trial) {
        const double value = trials[trial];
        if (value != before && tv_setValue(model.model, place.variable, place.object, place.pollutant, value) == 0) {
            EXPECT_TRUE(has(model, place, &after));
            EXPECT_NEAR(after, value, 1e-12 * std::fabs(value)) << describe(model, place);
            ++trial;
            return true;
        }
    }
    return false;
}

std::vector<double> getRun(const std::string& text) {
    const TestModel model(text);
    model.start();
    model.finish();
    return readRun(model);
}

/// Whether a place acts, if it is set ahead of the start or after some steps.
bool acts(const std::string& text, const Place& place, int steps, const std::vector<double>& base) {
    size_t trial = 0;
    for (;;) {
        const TestModel model(text);
        if (steps > 0) {
            model.start();
            model.step(steps);
        }
        if (!setOther(model, place, trial)) {
            return false;
        }
        if (steps == 0) {
            model.start();
        }
        model.finish();
        if (!isSame(readRun(model), base)) {
            return true;
        }
    }
}

/// Which variables of which kinds act, and which don't.
std::set<std::string> findIdle(const std::string& text, int32_t when, int steps) {
    const std::vector<double> base = getRun(text);
    std::map<std::string, bool> isActing;
    const TestModel model(text);
    if (steps > 0) {
        model.start();
        model.step(steps);
    }
    for (const Place& place : listPlaces(model)) {
        bool& isDone = isActing[describe(model, place)];
        if (!isDone && (getVariable(place.variable).when & when) != 0) {
            isDone = acts(text, place, steps, base);
        } else if ((getVariable(place.variable).when & when) == 0) {
            isActing.erase(describe(model, place));
        }
    }
    std::set<std::string> idle;
    for (const auto& [name, isDone] : isActing) {
        if (!isDone) {
            idle.insert(name);
        }
    }
    return idle;
}

std::string join(const std::set<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += name + '\n';
    }
    return text;
}

}  // namespace

TEST(VariableSetting, ActsAheadOfTheStart) {
    EXPECT_EQ(join(findIdle(TownText + ConstantEvaporation, TV_WHEN_OPEN, 0)), "");
}

TEST(VariableSetting, ActsInTheRun) {
    EXPECT_EQ(join(findIdle(TownText + ConstantEvaporation, TV_WHEN_STARTED, 15)), "");
}

TEST(VariableSetting, OfTheEvaporationByMonthActs) {
    const std::string text = TownText + MonthlyEvaporation;
    const std::vector<double> base = getRun(text);
    const TestModel model(text);
    ASSERT_EQ(model.set(TV_SYSTEM, "march_evaporation", "", 60.0), 0);
    EXPECT_EQ(model.get(TV_SYSTEM, "march_evaporation", 0), 60.0);
    EXPECT_EQ(model.set(TV_SYSTEM, "constant_evaporation", "", 60.0), TV_ERROR_KIND);
    model.start();
    model.finish();
    EXPECT_FALSE(isSame(readRun(model), base));
}
