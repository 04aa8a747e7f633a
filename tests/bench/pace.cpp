// See pace.h. Small towns have one gage and one LID unit on a subcatchment; here the gages go by turns, so that it
// rains on some of the land alone, and some land has a barrel beside its unit.

#include "pace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <sstream>

#include "support/tempfolder.h"
#include "support/tvmodel.h"
#include "towns/random.h"

namespace {

enum Stream : uint64_t { TOWN = 100, DEEDS, STATES };

// --- towns ---------------------------------------------------------------------------------------------------------

template <class Value, size_t Count>
Value pickOne(TownRandom& random, const Value (&values)[Count]) {
    return values[townRandom_pick(random, 0, static_cast<int64_t>(Count) - 1)];
}

TownOptions drawOptions(uint64_t seed, TownRandom& random) {
    TownOptions options;
    options.seed = seed;
    // Threads share the work in pieces: the larger towns have some for each.
    options.subcatchments = townRandom_pick(random, 15, 40) + (seed % 4 == 3 ? 80 : 0);
    constexpr TownWeather WEATHERS[] = {TownWeather::STORM, TownWeather::WEEK, TownWeather::DRY};
    options.weather = WEATHERS[seed % 3];
    options.days = options.weather == TownWeather::STORM ? 1 : static_cast<int>(townRandom_pick(random, 1, 2));
    options.pollutants = static_cast<int>(townRandom_pick(random, 0, 4));
    options.landUses = static_cast<int>(townRandom_pick(random, 1, 2));
    options.hasDryFlow = townRandom_isChosen(random, 0.4);
    options.routingStep = pickOne(random, {60, 120, 300});
    options.runoffStep = pickOne(random, {60, 300, 600});
    options.reportStep = pickOne(random, {300, 900, 3600});
    options.gages = static_cast<int>(townRandom_pick(random, 1, 3));
    const auto draw = [&](double most) { return most * townRandom_getUnit(random); };
    options.conduits = draw(0.5);
    options.connections = draw(0.2);
    options.tanks = draw(0.3);
    options.reactors = draw(0.15);
    options.splitters = draw(0.15);
    options.rules = draw(0.3);
    options.lids = draw(0.5);
    return options;
}

void replace(std::string& text, const std::string& old, const std::string& next) {
    if (const size_t place = text.find(old); place != std::string::npos) {
        text.replace(place, old.size(), next);
    }
}

/// The gages of the subcatchments go by turns.
void spreadGages(std::string& text, int gages) {
    size_t place = text.find("[SUBCATCHS]");
    const size_t end = text.find('[', place + 1);
    for (int k = 0; (place = text.find(" GAGE0 ", place)) < end; ++k) {
        text[place + 5] = static_cast<char>('0' + k % gages);
        ++place;
    }
}

/// Barrels beside the units of some subcatchments, one of which begins full, and one below its drain.
void addBarrels(std::string& text) {
    const std::string header = "[LID_GROUPS]\n";
    size_t place = text.find(header);
    if (place == std::string::npos) {
        return;
    }
    place += header.size();
    const std::string first = text.substr(place, text.find(' ', place) - place);
    text.insert(place, first + " BARREL 8 2 100 10\n" + first + " BARREL 5 2 3 0\n");
}

// --- hosts ---------------------------------------------------------------------------------------------------------

/// Classes by how often a host sets something of them.
constexpr int32_t CLASSES[] = {TV_SYSTEM,    TV_SUBCATCHMENT, TV_SUBCATCHMENT, TV_GAGE,    TV_GAGE,
                               TV_GAGE,      TV_NODE,         TV_NODE,         TV_LINK,    TV_LINK,
                               TV_LAND_USE,  TV_LAND_USE,     TV_LID,          TV_LID,     TV_LID_UNIT,
                               TV_POLLUTANT, TV_CURVE,        TV_SERIES,       TV_PATTERN, TV_RULE};

/// What may be set in a run, by class.
std::vector<std::vector<int32_t>> listSettable() {
    std::vector<std::vector<int32_t>> settable(TV_CLASS_COUNT);
    int32_t count = 0;
    tv_getVariableCount(&count);
    for (int32_t k = 0; k < count; ++k) {
        tv_variable variable;
        tv_getVariable(k, &variable);
        if ((variable.when & TV_WHEN_STARTED) != 0) {
            settable[static_cast<size_t>(variable.objectClass)].push_back(k);
        }
    }
    return settable;
}

/// A value around the present one, at an end of the range, or anywhere.
double drawValue(TownRandom& random, const tv_variable& variable, double present) {
    const double base = std::isfinite(present) ? present : 0.0;
    switch (townRandom_pick(random, 0, 7)) {
        case 0: return 0.0;
        case 1: return -0.0;
        case 2: return std::isfinite(variable.minimum) ? variable.minimum : -1.0;
        case 3: return std::isfinite(variable.maximum) ? variable.maximum : 20.0;
        case 4: return townRandom_getUnit(random);
        case 5: return base;
        default: return base * 2.0 * townRandom_getUnit(random);
    }
}

struct Host {
    TownRandom random;
    std::vector<std::vector<int32_t>> settable;
    std::string codes;
};

std::string describe(const char* deed, const tv_variable& variable, int32_t index, double value, int32_t code) {
    std::ostringstream text;
    text << deed << " " << variable.objectClass << " " << variable.name << " " << index << " " << std::hex
         << std::bit_cast<uint64_t>(value) << std::dec << " = " << code << "\n";
    return text.str();
}

/// Sets something, or releases it. Much of it is refused, in every manner alike.
void act(Host& host, tv_model* model) {
    const int32_t objectClass = pickOne(host.random, CLASSES);
    const std::vector<int32_t>& variables = host.settable[static_cast<size_t>(objectClass)];
    int32_t count = 0, pollutants = 0;
    tv_getCount(model, objectClass, &count);
    tv_getCount(model, TV_POLLUTANT, &pollutants);
    if (count == 0 || variables.empty()) {
        return;
    }
    const auto last = static_cast<int64_t>(variables.size()) - 1;
    const int32_t number = variables[static_cast<size_t>(townRandom_pick(host.random, 0, last))];
    const auto index = static_cast<int32_t>(townRandom_pick(host.random, 0, count - 1));
    tv_variable variable;
    tv_getVariable(number, &variable);
    const int32_t pollutant = variable.isPerPollutant
                                  ? static_cast<int32_t>(townRandom_pick(host.random, 0, std::max(pollutants, 1) - 1))
                                  : TV_NO_POLLUTANT;
    double value = 0.0;
    int32_t code = tv_getValue(model, number, index, pollutant, &value);
    host.codes += describe("is", variable, index, value, code);
    if (variable.access == TV_FORCING && townRandom_isChosen(host.random, 0.4)) {
        code = tv_releaseValue(model, number, index, pollutant);
        host.codes += describe("release", variable, index, 0.0, code);
        return;
    }
    value = drawValue(host.random, variable, value);
    code = tv_setValue(model, number, index, pollutant, value);
    host.codes += describe("set", variable, index, value, code);
}

// --- runs ----------------------------------------------------------------------------------------------------------

std::string save(tv_model* model) {
    size_t size = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::string state(size, '\0');
    EXPECT_EQ(tv_saveState(model, state.data(), state.size(), &size), TV_OK);
    return state;
}

void restore(tv_model* model, const std::string& state) {
    EXPECT_EQ(tv_restoreState(model, state.data(), state.size()), TV_OK);
}

void choose(tv_model* model, Manner manner) {
    EXPECT_EQ(tv_setThreads(model, manner.threads), TV_OK);
    EXPECT_EQ(tv_setSkipping(model, manner.skips), TV_OK);
}

/// Steps up to a share of the run; false after its end.
bool stepTo(const TvModel& model, double progress) {
    const tv_clock clock = model.getClock();
    if (model.getPhase() != TV_STARTED) {
        return false;
    }
    EXPECT_GE(tv_runUntil(model, clock.start + progress * (clock.end - clock.start)), 0);
    return model.getPhase() == TV_STARTED;
}

/// Something is set in some of the steps, and then nothing for long, so that things come to rest between.
void setNowAndThen(const TvModel& model, uint64_t seed, Leavings& left) {
    Host host{townRandom_make(seed, DEEDS, 0), listSettable(), {}};
    const double share = seed % 2 == 0 ? 0.01 : 0.05;
    while (model.getPhase() == TV_STARTED) {
        for (int deeds = townRandom_isChosen(host.random, share) ? 3 : 0; deeds > 0; --deeds) {
            act(host, model);
        }
        if (townRandom_isChosen(host.random, 0.01)) {
            left.states.push_back(save(model));
        }
        if (tv_step(model) != TV_OK) {
            break;
        }
    }
    left.codes = host.codes;
}

/// Ahead from a state and back to it, and from there on.
void goBack(const TvModel& model, uint64_t seed, Leavings& left) {
    TownRandom random = townRandom_make(seed, STATES, 0);
    double progress = 0.0;
    for (int k = 0; k < 3; ++k) {
        progress += 0.3 * townRandom_getUnit(random);
        if (!stepTo(model, progress)) {
            return;
        }
        left.states.push_back(save(model));
        stepTo(model, progress + 0.1 * townRandom_getUnit(random));
        restore(model, left.states.back());
        EXPECT_TRUE(save(model) == left.states.back());
    }
}

std::string compareBytes(const char* what, const std::string& expected, const std::string& got) {
    if (expected == got) {
        return "";
    }
    const size_t shorter = std::min(expected.size(), got.size());
    const auto place =
        std::mismatch(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(shorter), got.begin());
    return std::string(what) + " from byte " + std::to_string(place.first - expected.begin()) + " on, of " +
           std::to_string(expected.size()) + " and " + std::to_string(got.size()) + "; ";
}

}  // namespace

std::string pace_describe(Manner manner) {
    return std::to_string(manner.threads) + " threads, " + (manner.skips ? "skipping" : "plain");
}

std::string pace_drawTown(uint64_t seed) {
    TownRandom random = townRandom_make(seed, TOWN, 0);
    const TownOptions options = drawOptions(seed, random);
    std::string text = town_makeText(options);
    spreadGages(text, options.gages);
    addBarrels(text);
    if (townRandom_isChosen(random, 0.3)) {
        replace(text, "REPORT_AVERAGE NO", "REPORT_AVERAGE YES");
    }
    if (townRandom_isChosen(random, 0.3)) {
        replace(text, "MONTHLY 0.4 0.7 1.4 2.2 3.0 3.5 3.6 3.0 2.0 1.1 0.5 0.3", "CONSTANT 60");
    }
    if (townRandom_isChosen(random, 0.5)) {
        replace(text, "GAGE0 INTENSITY ", "GAGE0 VOLUME ");
    }
    return text;
}

Leavings pace_run(const std::string& text, uint64_t seed, Manner manner, PaceHost host) {
    const TempFolder folder;
    const std::string report = folder.file("town.rpt"), results = folder.file("town.bin");
    Leavings left;
    const TvModel model;
    choose(model, manner);
    EXPECT_EQ(model.openText(text, report.c_str()), TV_OK);
    EXPECT_EQ(tv_start(model, results.c_str(), nullptr), TV_OK);
    if (host == PaceHost::SETS) {
        setNowAndThen(model, seed, left);
    } else if (host == PaceHost::GOES_BACK) {
        goBack(model, seed, left);
    }
    stepTo(model, 2.0);
    left.states.push_back(save(model));
    EXPECT_EQ(tv_report(model), TV_OK);
    EXPECT_EQ(tv_close(model), TV_OK);
    left.report = readFile(report);
    left.results = readFile(results);
    return left;
}

std::string pace_goOn(const std::string& text, const std::string& state, Manner manner) {
    const TvModel model;
    choose(model, manner);
    EXPECT_EQ(model.openText(text), TV_OK);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    restore(model, state);
    stepTo(model, 2.0);
    return save(model);
}

std::string pace_compare(const Leavings& expected, const Leavings& got) {
    std::string text = compareBytes("the report", expected.report, got.report) +
                       compareBytes("the results", expected.results, got.results) +
                       compareBytes("the answers", expected.codes, got.codes);
    if (expected.states.size() != got.states.size()) {
        return text + "the number of states";
    }
    for (size_t k = 0; k < expected.states.size(); ++k) {
        const std::string what = "state " + std::to_string(k);
        text += compareBytes(what.c_str(), expected.states[k], got.states[k]);
    }
    return text;
}
