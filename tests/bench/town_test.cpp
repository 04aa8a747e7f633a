// Towns to measure on: the same from the same seed, good projects, weather as it is told.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>

#include "tarnvelde_model.h"
#include "towns/rain.h"
#include "towns/random.h"
#include "towns/town.h"

namespace {

/// Data lines by section.
std::map<std::string, int> countLines(const std::string& text) {
    std::map<std::string, int> counts;
    std::istringstream in(text);
    std::string section;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] == '[') {
            section = line;
        } else if (!line.empty()) {
            ++counts[section];
        }
    }
    return counts;
}

struct Outcome {
    int32_t code = 0;
    int warnings = 0;     ///< that aren't notes
    double runoff = 0.0;  ///< %, continuity errors
    double flow = 0.0;
    double flooded = 0.0;  ///< share of what came in
    double water = 0.0;    ///< m3, runoff
};

double getSystemValue(const tv_model* model, const char* name) {
    int32_t variable = 0;
    double value = NAN;
    EXPECT_EQ(tv_findVariable(TV_SYSTEM, name, &variable), 0);
    EXPECT_EQ(tv_getValue(model, variable, 0, TV_NO_POLLUTANT, &value), 0);
    return value;
}

Outcome runTown(const TownOptions& options) {
    const std::string text = town_makeText(options);
    Outcome run;
    tv_model* model = nullptr;
    tv_create(&model);
    run.code = tv_openText(model, text.data(), text.size(), nullptr, nullptr);
    run.code = run.code ? run.code : tv_start(model, nullptr, nullptr);
    run.code = run.code ? run.code : tv_runUntil(model, TV_END);
    int32_t count = 0;
    tv_getMessageCount(model, &count);
    for (int32_t k = 0; k < count; ++k) {
        tv_message message;
        tv_getMessage(model, k, &message);
        run.warnings += message.level == TV_ERROR || (message.level == TV_WARNING && message.severity != TV_NOTE);
    }
    run.runoff = getSystemValue(model, "runoff_error");
    run.flow = getSystemValue(model, "flow_error");
    run.water = getSystemValue(model, "runoff_surface_runoff");
    run.flooded = getSystemValue(model, "flow_flooding_loss") /
                  (getSystemValue(model, "flow_dry_weather_inflow") + getSystemValue(model, "flow_wet_weather_inflow"));
    tv_free(model);
    return run;
}

TEST(Town, IsTheSameForTheSameSeed) {
    TownOptions options;
    const std::string first = town_makeText(options);
    EXPECT_TRUE(first == town_makeText(options));
    options.seed = 2;
    EXPECT_FALSE(first == town_makeText(options));
}

// Worked out from the definition of SplitMix64 by hand: the first numbers of the state 0, which others publish as well.
TEST(Town, TakesTheNumbersOfSplitMix) {
    TownRandom random{0};
    EXPECT_EQ(townRandom_next(random), 0xe220a8397b1dcdafu);
    EXPECT_EQ(townRandom_next(random), 0x6e789e6aa1b965f4u);
    EXPECT_EQ(townRandom_next(random), 0x06c45d188009454fu);
}

TEST(Town, DrawsExponentialNumbers) {
    TownRandom random{7};
    constexpr int COUNT = 200000;
    double sum = 0.0;
    int above = 0;
    for (int k = 0; k < COUNT; ++k) {
        const double x = townRandom_getExponential(random);
        sum += x;
        above += x > 2.0;
    }
    EXPECT_NEAR(sum / COUNT, 1.0, 0.01);
    EXPECT_NEAR(static_cast<double>(above) / COUNT, std::exp(-2.0), 0.003);
}

TEST(Town, GoesIntoAFilePieceByPieceAsTheSameText) {
    TownOptions options;
    options.subcatchments = 6000;  // above a piece
    std::FILE* file = std::tmpfile();
    ASSERT_TRUE(town_writeText(options, file));
    std::rewind(file);
    std::string written(4000000, ' ');
    written.resize(std::fread(written.data(), 1, written.size(), file));
    std::fclose(file);
    EXPECT_TRUE(written == town_makeText(options));
}

TEST(Town, HasTheSharesThatWereAskedFor) {
    TownOptions options;
    options.subcatchments = 10000;
    std::map<std::string, int> counts = countLines(town_makeText(options));
    EXPECT_EQ(counts["[SUBCATCHS]"], 10000);
    EXPECT_EQ(counts["[OUTFALLS]"], 40);
    EXPECT_NEAR(counts["[TANKS]"], 300, 75);
    EXPECT_EQ(counts["[WEIRS]"], counts["[TANKS]"]);
    EXPECT_NEAR(counts["[CONDUITS]"], 1940, 160);
    EXPECT_NEAR(counts["[REACTORS]"], 100, 40);
    EXPECT_NEAR(counts["[SPLITTERS]"], 100, 40);
    EXPECT_NEAR(counts["[LID_GROUPS]"], 1000, 120);
    EXPECT_EQ(counts["[COVERAGES]"], 20000);
    EXPECT_EQ(counts["[JUNCTIONS]"] + counts["[TANKS]"] + counts["[REACTORS]"] + counts["[SPLITTERS]"], 10000);
}

TEST(Town, IsPlainIfAskedFor) {
    TownOptions options;
    town_makePlain(options);
    options.subcatchments = 500;
    std::vector<std::string> sections;
    for (const auto& [section, count] : countLines(town_makeText(options))) {
        sections.push_back(section);
    }
    EXPECT_THAT(sections,
                testing::UnorderedElementsAre("[DESCRIPTION]", "[GENERAL]", "[EVAPORATION]", "[TIMESERIES]",
                                              "[RAINGAGES]", "[SUBCATCHS]", "[JUNCTIONS]", "[OUTFALLS]", "[PIPES]",
                                              "[POLLUTANTS]", "[LANDUSES]", "[BUILDUP]", "[WASHOFF]", "[COVERAGES]"));
}

// --- the program ---------------------------------------------------------------------------------------------------

/// What the program writes to standard output, and its exit status.
std::string runProgram(const std::string& words, int& status) {
    std::FILE* pipe = popen((std::string(TARNVELDE_TOWN) + " " + words + " 2>/dev/null").c_str(), "r");
    std::string text;
    char piece[4096];
    for (size_t size; (size = std::fread(piece, 1, sizeof piece, pipe)) > 0;) {
        text.append(piece, size);
    }
    status = WEXITSTATUS(pclose(pipe));
    return text;
}

TEST(TownProgram, WritesTheTownOfItsOptions) {
    TownOptions options;
    town_makePlain(options);
    options.seed = 4;
    options.subcatchments = 30;
    options.weather = TownWeather::WEEK;
    options.pollutants = 2;
    options.tanks = 0.5;
    options.reportStep = 600;
    int status = -1;
    EXPECT_TRUE(runProgram("4 30 --plain --weather week --pollutants 2 --tanks 0.5 --report-step 600 -", status) ==
                town_makeText(options));
    EXPECT_EQ(status, 0);
}

TEST(TownProgram, RefusesWhatItDoesntKnow) {
    for (const char* words : {"", "1 10", "x 10 -", "1 0 -", "1 10 --weather fog -", "1 10 --tanks 2 -",
                              "1 10 --pollutants 5 -", "1 10 --towers 1 -", "1 10 --days -"}) {
        int status = -1;
        EXPECT_EQ(runProgram(words, status), "") << words;
        EXPECT_EQ(status, 2) << words;
    }
}

TEST(TownProgram, TellsOfAFileThatCantBeWritten) {
    int status = -1;
    (void)runProgram("1 10 /nowhere/at/all.inp", status);
    EXPECT_EQ(status, 1);
}

// --- runs ----------------------------------------------------------------------------------------------------------

class TownOfAWeather : public testing::TestWithParam<TownWeather> {};

TEST_P(TownOfAWeather, RunsWithoutWarningsAndKeepsItsWater) {
    for (const uint64_t seed : {1u, 2u, 3u}) {
        TownOptions options;
        options.seed = seed;
        options.weather = GetParam();
        options.subcatchments = 260;  // two districts
        options.days = GetParam() == TownWeather::YEAR ? 5 : 0;
        const Outcome run = runTown(options);
        EXPECT_EQ(run.code, 0) << seed;
        EXPECT_EQ(run.warnings, 0) << seed;
        EXPECT_LT(std::fabs(run.runoff), 1.0) << seed;
        EXPECT_LT(std::fabs(run.flow), 1.0) << seed;
        EXPECT_FALSE(run.flooded > 0.01) << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(Weather, TownOfAWeather,
                         testing::Values(TownWeather::NONE, TownWeather::DRY, TownWeather::STORM, TownWeather::WEEK,
                                         TownWeather::YEAR));

TEST(Town, RainsAWeekOnTenToFortyMillimetres) {
    TownOptions wet;
    wet.weather = TownWeather::WEEK;
    EXPECT_GT(runTown(wet).water, 0.0);
    wet.weather = TownWeather::DRY;
    EXPECT_EQ(runTown(wet).water, 0.0);
}

// --- rain ----------------------------------------------------------------------------------------------------------

struct YearOfRain {
    double wetHours;  ///< share of the hours with a tenth of a millimetre
    int wetDays;      ///< likewise
    double depth;     ///< mm
};

YearOfRain measureYear(uint64_t seed) {
    const std::vector<int32_t> rates = rain_makeYear(seed, 0);
    YearOfRain year{};
    for (size_t day = 0; day < RAIN_DAYS; ++day) {
        double ofDay = 0.0;
        for (size_t hour = 0; hour < 24; ++hour) {
            double ofHour = 0.0;
            for (size_t k = 0; k < 6; ++k) {
                ofHour += rates[(day * 24 + hour) * 6 + k] / 600.0;
            }
            year.wetHours += ofHour >= 0.1 ? 1.0 / (RAIN_DAYS * 24.0) : 0.0;
            ofDay += ofHour;
        }
        year.wetDays += ofDay >= 0.1;
        year.depth += ofDay;
    }
    return year;
}

TEST(TownRain, HasTheCharacterOfAYear) {
    constexpr int SEEDS = 40;
    double hours = 0.0, days = 0.0, depth = 0.0;
    for (uint64_t seed = 1; seed <= SEEDS; ++seed) {
        const YearOfRain year = measureYear(seed);
        EXPECT_THAT(year.wetHours, testing::AllOf(testing::Gt(0.045), testing::Lt(0.09))) << seed;
        EXPECT_THAT(year.wetDays, testing::AllOf(testing::Gt(80), testing::Lt(145))) << seed;
        EXPECT_THAT(year.depth, testing::AllOf(testing::Gt(380.0), testing::Lt(950.0))) << seed;
        hours += year.wetHours / SEEDS;
        days += year.wetDays / double{SEEDS};
        depth += year.depth / SEEDS;
    }
    EXPECT_THAT(hours, testing::AllOf(testing::Gt(0.05), testing::Lt(0.08)));
    EXPECT_NEAR(days, 110.0, 10.0);
    EXPECT_NEAR(depth, 630.0, 60.0);
}

// The mean of the model is that of its parameters: storms by cells by duration by rate, of each season.
TEST(TownRain, HasTheDepthOfItsParameters) {
    const double expected =
        365.0 / 12.0 * (4 * 0.29 * 6.0 * 1.6 * 0.55 + 5 * 0.27 * 5.0 * 1.2 * 0.95 + 3 * 0.26 * 4.0 * 0.7 * 3.2);
    double depth = 0.0;
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        depth += measureYear(seed).depth / 300.0;
    }
    EXPECT_NEAR(depth / expected, 1.0, 0.03);
}

TEST(TownRain, FallsOnAllGagesFromTheSameStorms) {
    const std::vector<int32_t> first = rain_makeYear(5, 0), second = rain_makeYear(5, 1);
    int both = 0, wet = 0;
    for (size_t k = 0; k + 1 < first.size(); ++k) {
        wet += first[k] > 0;
        both += first[k] > 0 && second[k + 1] > 0;
    }
    EXPECT_FALSE(first == second);
    EXPECT_GT(both, wet * 95 / 100);
}

}  // namespace
