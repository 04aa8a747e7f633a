// Projects that are wrong in one unit, as they come from practice: one word or a few of a small project that is sound
// otherwise. Opening it says which word is meant; the sound project says nothing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/tvmodel.h"
#include "warnings/cases.h"

// --- the sound projects ----------------------------------------------------------------------------------------------

/// A block of houses that drains to a sewer.
static std::string aBlock() {
    return aDay(R"([RAINGAGES]
GAGE VOLUME 0:05:00 STORM
[EVAPORATION]
MONTHLY 0.4 0.7 1.4 2.2 3.0 3.5 3.6 3.0 2.0 1.1 0.5 0.3
[SUBCATCHS]
BLOCK GAGE HEAD 1.2 90 55 0.8 0.013 0.2 1.5 5 62 7.5 4.1 6 0
[JUNCTIONS]
HEAD
[OUTFALLS]
WORKS
[PIPES]
SEWER HEAD WORKS NO 180 2 0.15 0
[DWFS]
HEAD FLOW 0.0042 ""
[TIMESERIES]
STORM 2024/06/18 14:00 1.2 14:05 3.4 14:10 6.1 14:15 2.2 14:20 0.8 14:25 0
)");
}

/// A trunk sewer of two conduits and a rising main, with a metered inflow.
static std::string aTrunk() {
    return aDay(R"([JUNCTIONS]
TOP
MIDDLE
PUMPED
[OUTFALLS]
WORKS
[CONDUITS]
UPPER TOP MIDDLE NO 650 0.35 0.013 CIRCULAR 0.7
LOWER MIDDLE PUMPED NO 540 0.25 0.014 RECTANGULAR 0.9 1.1
[CONNECTIONS]
MAIN PUMPED WORKS NO 600
[INFLOWS]
TOP FLOW FLOW 0.085 METER 1
[TIMESERIES]
METER 2024/06/17 22:00 0 23:00 0
METER 2024/06/18 8:00 0.04 12:00 0.12 20:00 0.03
METER 2024/06/19 1:00 0.02
)");
}

/// A storm tank with a throttle, an overflow and a pump.
static std::string aStormTank() {
    return aDay(R"([JUNCTIONS]
INLET
[TANKS]
TANK SHAPE 3.5 0.1
[OUTFALLS]
WORKS
BROOK
[CONNECTIONS]
FEED INLET TANK NO 0
[ORIFICES]
THROTTLE TANK WORKS NO CIRCULAR 0.63 0 0.2
[WEIRS]
CREST TANK BROOK NO RECTANGULAR 1.85 5 3 0
[PUMPS]
PUMP TANK WORKS DUTY NO OFF 1.4 0.6
[CURVES]
SHAPE TANK 0 420 3.5 420
DUTY PUMP1 0 0.05 3.5 0.06
[POLLUTANTS]
TSS 0
[DWFS]
INLET FLOW 0.031 ""
INLET TSS 210 ""
[DECAY_COEFFICIENT]
TANK NODE TSS FIRST 2.5 ""
)");
}

/// A parking lot over a rain garden.
static std::string aGarden() {
    return aDay(R"([RAINGAGES]
GAGE INTENSITY 0:10:00 STORM
[SUBCATCHS]
LOT GAGE HEAD 0.9 60 50 0.5 0.012 0.2 1.2 5 50 6 4 7 0
[LIDS]
GARDEN BC
GARDEN SURFACE 200 0.1 0.12 1 0
GARDEN SOIL 600 0.42 0.2 0.1 150 12
GARDEN STORAGE 350 0.6 4
GARDEN DRAIN 2.5 0.5 80
[LID_GROUPS]
LOT GARDEN 450 12 15 80
[JUNCTIONS]
HEAD
[OUTFALLS]
BROOK
[CONNECTIONS]
DRAIN HEAD BROOK NO 60
[TIMESERIES]
STORM 2024/06/18 9:00 2 9:10 14 9:20 22 9:30 7 9:40 0
)");
}

// --- one wrong unit each ---------------------------------------------------------------------------------------------

struct UnitProject {
    const char* name;
    std::string (*makeSound)();
    const char* old;    ///< words of the sound project
    const char* words;  ///< what stands in their place
    const char* warning;
    const char* object;
    const char* word;
};

static const UnitProject Projects[] = {
    {"ImperviousnessAsFraction", aBlock, "90 55 0.8", "90 0.55 0.8", "W-unit-impervious", "BLOCK", "0.55"},
    {"SlopeOfLandInMetresPerMetre", aBlock, "90 55 0.8", "90 55 0.008", "W-unit-slope", "BLOCK", "0.008"},
    {"AreaInSquareMetres", aBlock, "HEAD 1.2 90", "HEAD 12000 90", "W-unit-area", "BLOCK", "12000"},
    {"StricklersCoefficientOfLand", aBlock, "0.013 0.2 1.5", "77 5 1.5", "W-unit-roughness", "BLOCK", "77"},
    {"HortonInMetresPerSecond", aBlock, "62 7.5", "1.7e-5 2.1e-6", "W-unit-infiltration", "BLOCK", "1.7e-5"},
    {"EvaporationInMonths", aBlock, "0.4 0.7 1.4 2.2 3.0 3.5 3.6 3.0 2.0 1.1 0.5 0.3",
     "12 20 43 66 93 105 112 93 60 34 15 9", "W-unit-evaporation", "", "20"},
    {"KInMinutes", aBlock, "NO 180 2 0.15", "NO 60 2 0.15", "W-step-pipe", "SEWER", "60"},
    {"DryWeatherFlowInLitres", aBlock, "FLOW 0.0042", "FLOW 42", "W-unit-flow", "HEAD", "42"},
    {"RainOfADayInFiveMinutes", aBlock, "6.1 14:15", "61 14:15", "W-rain-unusual", "STORM", "STORM"},
    {"IntervalAsPlainNumber", aBlock, "VOLUME 0:05:00", "VOLUME 5", "W-step-plain", "GAGE", "5"},
    {"ReportStepAsPlainNumber", aBlock, "REPORT_STEP 1:00:00", "REPORT_STEP 15", "W-step-plain", "REPORT_STEP", "15"},
    {"DiameterInMillimetres", aTrunk, "CIRCULAR 0.7", "CIRCULAR 700", "W-unit-size", "UPPER", "700"},
    {"SlopeOfSewerInMetresPerMetre", aTrunk, "650 0.35", "650 0.0035", "W-unit-slope", "UPPER", "0.0035"},
    {"StricklersCoefficientOfSewer", aTrunk, "0.35 0.013", "0.35 75", "W-unit-roughness", "UPPER", "75"},
    {"LengthInKilometres", aTrunk, "NO 650", "NO 0.65", "W-unit-length", "UPPER", "0.65"},
    {"DelayInHours", aTrunk, "WORKS NO 600", "WORKS NO 0.1667", "W-unit-delay", "MAIN", "0.1667"},
    {"InflowInLitres", aTrunk, "FLOW 0.085 METER", "FLOW 85 METER", "W-unit-flow", "TOP", "85"},
    {"SeriesInLitres", aTrunk, "0.12 20:00", "120 20:00", "W-series-flow", "TOP", "TOP"},
    {"WeirForFeet", aStormTank, "RECTANGULAR 1.85", "RECTANGULAR 3.33", "W-unit-coefficient", "CREST", "3.33"},
    {"CrestAboveTheSea", aStormTank, "1.85 5 3 0", "1.85 5 183 0", "W-unit-level", "CREST", "183"},
    {"OrificeInMillimetres", aStormTank, "0.63 0 0.2", "0.63 0 200", "W-unit-size", "THROTTLE", "200"},
    {"PumpInCubicMetresAnHour", aStormTank, "0 0.05 3.5 0.06", "0 180 3.5 216", "W-unit-flow", "DUTY", "180"},
    {"DecayPerSecond", aStormTank, "FIRST 2.5", "FIRST 2.9e-5", "W-unit-reaction", "TANK", "2.9e-5"},
    {"RoutingStepAsPlainNumber", aStormTank, "ROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\nREPORT_STEP 1:00:00",
     "ROUTING_STEP 1\nRUNOFF_STEP 2\nREPORT_STEP 2", "W-unit-step", "ROUTING_STEP", "1"},
    {"LayerInMetres", aGarden, "SOIL 600", "SOIL 0.6", "W-unit-layer", "GARDEN", "0.6"},
    {"PorosityInPercent", aGarden, "0.42 0.2 0.1", "42 20 10", "W-unit-porosity", "GARDEN", "42"},
    {"ConductivityInMetresPerSecond", aGarden, "0.1 150 12", "0.1 4.2e-5 12", "W-unit-conductivity", "GARDEN",
     "4.2e-5"},
    {"SaturationAsFraction", aGarden, "450 12 15 80", "450 12 0.15 80", "W-unit-share", "LOT", "0.15"},
};

static std::string replace(std::string project, const std::string& old, const std::string& words) {
    const size_t at = project.find(old);
    EXPECT_NE(at, std::string::npos) << old;
    EXPECT_EQ(project.find(old, at + 1), std::string::npos) << old;
    return project.replace(at, old.size(), words);
}

class UnitProjects : public testing::TestWithParam<UnitProject> {};

TEST_P(UnitProjects, AreToldAtTheWrongWord) {
    const UnitProject& test = GetParam();
    const TvModel model;
    ASSERT_EQ(model.openText(replace(test.makeSound(), test.old, test.words)), TV_OK);
    std::vector<std::string> told;
    for (const tv_message& message : model.getMessages()) {
        if (message.level == TV_WARNING) {
            const std::string words = message.words;
            const std::string word = message.column > 0 ? words.substr(static_cast<size_t>(message.column) - 1,
                                                                       static_cast<size_t>(message.length))
                                                        : "";
            told.push_back(std::string(message.name) + " " + message.object + " " + word);
        }
    }
    EXPECT_THAT(told, testing::Contains(std::string(test.warning) + " " + test.object + " " + test.word));
}

static std::string nameProject(const testing::TestParamInfo<UnitProject>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, UnitProjects, testing::ValuesIn(Projects), nameProject);

TEST(SoundUnitProjects, SayNothing) {
    EXPECT_THAT(getWarnings(aBlock()), testing::IsEmpty());
    EXPECT_THAT(getWarnings(aTrunk()), testing::IsEmpty());
    EXPECT_THAT(getWarnings(aStormTank()), testing::IsEmpty());
    EXPECT_THAT(getWarnings(aGarden()), testing::IsEmpty());
}
